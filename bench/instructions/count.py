#!/usr/bin/python3
"""count.py MACHINE LIST PROGRAM OUTPUT: how many instructions one analysis takes, per variant, into OUTPUT.

MACHINE is x86_64 (counted by callgrind) or armhf (counted one by one under qemu). The counts are held against the
budget in MACHINE.txt beside this script. One that is more than 5 % above it fails: who means to take more copies OUTPUT
there, with the reason in the commit. So does one more than 5 % below, because the budget would not notice that it grows
again, and a variant without a budget.

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
MOST, LEAST = 1.05, 0.95  # of the budget
TIME_LIMIT = 120  # seconds of one run, which takes about one
SYSROOT = HERE.parent.parent / "build/armhf-sysroot"
FEW, MORE = 2, 12


class CountError(Exception):
    pass


def by_callgrind(program, variant, path, times):
    """Without `rep movsb`: callgrind counts it once for each byte, and from which length on glibc uses it, depends on
    the CPU."""
    process = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, variant, path, str(times)],
        env={"GLIBC_TUNABLES": "glibc.cpu.x86_rep_movsb_threshold=0x40000000"}, stdout=subprocess.DEVNULL,
        stderr=subprocess.PIPE, text=True, timeout=TIME_LIMIT)
    if process.returncode != 0:
        raise CountError(f"{variant}: the analysis ended with {process.returncode}:\n{process.stderr}")
    return int(re.search(r"Collected : (\d+)", process.stderr)[1])


def by_qemu(program, variant, path, times):
    """Every instruction is a block of its own, and every block that runs writes a line."""
    with tempfile.TemporaryDirectory() as folder:
        pipe = os.path.join(folder, "trace")
        os.mkfifo(pipe)
        trace = os.open(pipe, os.O_RDWR)  # would wait for qemu otherwise, for ever if that does not even start
        command = ["qemu-arm-static", "-L", SYSROOT, "-singlestep", "-d", "nochain,exec", "-D", pipe, program, variant,
                   path, str(times)]
        with subprocess.Popen(["grep", "-c", "^Trace"], stdin=open(pipe, "rb"), stdout=subprocess.PIPE,
                              text=True) as count:
            try:
                process = subprocess.run(command, env={}, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                         timeout=TIME_LIMIT)
            finally:
                os.close(trace)  # with the last writer, grep comes to the end
            if process.returncode != 0:
                raise CountError(f"{variant}: the analysis ended with {process.returncode}:\n{process.stderr}")
            return int(count.communicate(timeout=TIME_LIMIT)[0])


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
            few, more = (COUNTERS[machine](program, variant, short, times) for times in (FEW, MORE))
            instructions = (more - few) // (MORE - FEW)
            if instructions <= 0:
                raise CountError(f"{variant}: {MORE} analyses take {more} instructions, {FEW} of them {few}")
            yield variant, instructions


def complaints(counts, budget, name):
    for variant, number in counts.items():
        if variant not in budget:
            yield f"{variant}: no budget; add the line '{variant:17} {number:9}' to {name}"
        elif number > MOST * budget[variant]:
            yield f"{variant}: {number} instructions, {budget[variant]} before"
        elif number < LEAST * budget[variant]:
            yield f"{variant}: {number} instructions, only; renew the budget of {budget[variant]} in {name}"
    for variant in budget:
        if variant not in counts:
            yield f"{variant}: not in the library; take it out of {name}"


def main():
    machine, listed, program, output = sys.argv[1:]
    try:
        counts = dict(count(machine, listed, os.path.abspath(program)))
    except (CountError, subprocess.TimeoutExpired) as error:
        sys.exit(f"count.py: {error}")
    lines = [f"{variant:17} {number:9}\n" for variant, number in counts.items()]
    print(*lines, sep="", end="")
    pathlib.Path(output).write_text("".join(lines))
    file = HERE / f"{machine}.txt"
    budget = {variant: int(number) for variant, number in map(str.split, open(file))}
    found = list(complaints(counts, budget, f"bench/instructions/{file.name}"))
    if found:
        sys.exit(f"count.py: not within 5 % of the budget; what was counted stands in {output}:\n" + "\n".join(found))


if __name__ == "__main__":
    main()
