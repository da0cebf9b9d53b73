#!/usr/bin/python3
"""trace_calls.py ONE_BY_ONE LIST CALLS: which system calls an analysis makes on each file.

CALLS receives, for each file, a line "F PATH" and a line for each call: o FLAGS, S (stat by path), s (fstat),
r LENGTH, p LENGTH OFFSET, c. CALLS.json receives the counts per variant. What the floor repeats is this, with one
fstat however many there were: those would not be the machine's limit.
"""

import collections
import json
import os
import re
import statistics
import subprocess
import sys

NEXT = re.compile(r'access\("/next/(\w+)"')
OPEN = re.compile(r'open(?:at)?\((?:AT_FDCWD, )?"[^"]*", ([A-Z_|]+)')
READ = re.compile(r'read\(\d+, .*, (\d+)\)\s+= (-?\d+)')
PREAD = re.compile(r'pread64\(\d+, .*, (\d+), (\d+)\)\s+= (-?\d+)')
BY_DESCRIPTOR = re.compile(r'(?:fstat\(|(?:newfstatat|statx)\(\d+, "")')
BY_PATH = re.compile(r'(?:l?stat\(|(?:newfstatat|statx)\(AT_FDCWD, ")')


class Unknown(Exception):
    pass


def flags_of(names):
    value = 0
    for name in names.split("|"):
        value |= getattr(os, name)
    return value


def parse(call):
    """A line of CALLS and the bytes read; None for a call that touches no file."""
    if call.startswith("pread64("):
        length, offset, got = map(int, PREAD.match(call).groups())
        return f"p {length} {offset}", max(got, 0)
    if call.startswith("read("):
        length, got = map(int, READ.match(call).groups())
        return f"r {length} 0", max(got, 0)
    if call.startswith("open"):
        return f"o {flags_of(OPEN.match(call)[1])} 0", 0
    if BY_DESCRIPTOR.match(call):
        return "s 0 0", 0
    if BY_PATH.match(call):
        return "S 0 0", 0
    if call.startswith("close("):
        return "c 0 0", 0
    if call.startswith(("brk(", "mmap(", "munmap(", "madvise(", "futex(", "access(", "+++", "---", "exit_group(")):
        return None
    raise Unknown(call)


def trace(program, listed, output):
    subprocess.run(["strace", "-s", "0", "-o", output, program, listed], check=True, timeout=600)
    number = None
    for line in open(output):
        begin = NEXT.match(line)
        if begin:
            if begin[1] == "end":
                return
            number = int(begin[1])
        elif number is not None:
            call = parse(line)
            if call:
                yield number, *call


def main():
    program, listed, output = sys.argv[1:]
    items = [line.rstrip("\n").split("\t") for line in open(listed)]
    calls = collections.defaultdict(list)
    counts = collections.Counter()
    read = collections.Counter()
    for number, line, got in trace(program, listed, output + ".strace"):
        counts[number] += 1
        read[number] += got
        if not (line.startswith("s") and line in calls[number]):
            calls[number].append(line)
    with open(output, "w") as file:
        for number, (_, _, path) in enumerate(items):
            print("F", path, file=file)
            print(*calls[number], sep="\n", file=file)
    variants = collections.defaultdict(list)
    for number, (variant, _, _) in enumerate(items):
        variants[variant].append(number)
    summary = {
        variant: {
            "calls": max(counts[number] for number in numbers),
            "bytes": max(read[number] for number in numbers),
            "median_bytes": statistics.median(read[number] for number in numbers),
        }
        for variant, numbers in variants.items()
    }
    with open(output + ".json", "w") as file:
        json.dump(summary, file, indent=1)


if __name__ == "__main__":
    main()
