#!/usr/bin/python3
"""count.py MACHINE LIST PROGRAM OUTPUT: how many instructions one analysis takes, per variant, into OUTPUT.

MACHINE is x86_64 (counted by callgrind) or armhf (counted one by one under qemu). The counts are held against
MACHINE.txt beside this script; one that grew by more than 5 % fails. Who means to take more copies OUTPUT there, with
the reason in the commit.

One analysis is the difference of two runs of PROGRAM (analyse_times) by the number of analyses that the second has
more. So neither the start of a process counts nor what only its first analysis does.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
MOST_GROWTH = 1.05
SYSROOT = HERE.parent.parent / "build/armhf-sysroot"
FEW, MORE = 2, 12


def by_callgrind(program, path, times):
    process = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, path, str(times)],
        env={}, stderr=subprocess.PIPE, check=True, text=True, timeout=300)
    return int(re.search(r"Collected : (\d+)", process.stderr)[1])


def by_qemu(program, path, times):
    """Every instruction is a block of its own, and every block that runs writes a line."""
    with tempfile.TemporaryDirectory() as folder:
        pipe = os.path.join(folder, "trace")
        os.mkfifo(pipe)
        command = ["qemu-arm-static", "-L", SYSROOT, "-singlestep", "-d", "nochain,exec", "-D", pipe, program, path,
                   str(times)]
        with subprocess.Popen(command, env={}) as process, subprocess.Popen(
                ["grep", "-c", "^Trace"], stdin=open(pipe, "rb"), stdout=subprocess.PIPE, text=True) as count:
            lines = int(count.communicate(timeout=300)[0])
            if process.wait() != 0:
                raise RuntimeError(f"{command} ended with {process.returncode}")
            return lines


COUNTERS = {"x86_64": by_callgrind, "armhf": by_qemu}


def count(machine, listed, program):
    """The first file of each variant. Its path always has the same length, which is part of what is counted."""
    firsts = {}
    for line in open(listed):
        variant, _, path = line.rstrip("\n").split("\t")
        firsts.setdefault(variant, path)
    library = os.path.dirname(os.path.abspath(listed))
    with tempfile.TemporaryDirectory(dir="/tmp") as folder:
        link = os.path.join(folder, "l")
        os.symlink(library, link)
        for variant, path in firsts.items():
            short = os.path.join(link, os.path.relpath(path, library))
            few, more = (COUNTERS[machine](program, short, times) for times in (FEW, MORE))
            yield variant, (more - few) // (MORE - FEW)


def main():
    machine, listed, program, output = sys.argv[1:]
    counts = dict(count(machine, listed, os.path.abspath(program)))
    for variant, instructions in counts.items():
        print(f"{variant:17} {instructions:9}")
    pathlib.Path(output).write_text("".join(f"{variant:17} {number:9}\n" for variant, number in counts.items()))
    budget = {variant: int(number) for variant, number in map(str.split, open(HERE / f"{machine}.txt"))}
    grown = [f"{variant}: {number} instructions, {budget.get(variant)} before" for variant, number in counts.items()
             if number > MOST_GROWTH * budget.get(variant, 0)]
    if grown:
        sys.exit("count.py: grown by more than 5 %:\n" + "\n".join(grown))


if __name__ == "__main__":
    main()
