#!/usr/bin/python3
"""trace_calls.py ONE_BY_ONE LIST CALLS: which system calls an analysis makes on each file.

CALLS receives, for each file, a line "F PATH" and a line for each call, with what it returned first: o RESULT FLAGS (0
for any descriptor), f RESULT (stat as a folder), s RESULT (fstat), p RESULT LENGTH OFFSET, c RESULT. CALLS.json
receives the counts per variant.
What the floor repeats is this, with one fstat however many there were: those would not be the machine's limit.
"""

import collections
import json
import os
import re
import subprocess
import sys

NEXT = re.compile(r'access\("/next/(\w+)"')
OPEN = re.compile(r'openat\(AT_FDCWD, "[^"]*", ([A-Z_|]+)\)\s+= (-?\d+)')
PREAD = re.compile(r'pread64\(\d+, .*, (\d+), (\d+)\)\s+= (-?\d+)')
STAT_AS_FOLDER = re.compile(r'(?:stat\(|newfstatat\(AT_FDCWD, )"[^"]*/", .*\)\s+= (-?\d+)')
FSTAT = re.compile(r'(?:fstat\(\d+, |newfstatat\(\d+, "", ).*\)\s+= (-?\d+)')
CLOSE = re.compile(r'close\(\d+\)\s+= (-?\d+)')
# Not the mapping of a file, whose bytes would then be read without a call.
MEMORY = re.compile(r'brk\(|munmap\(|mmap\(.*\bMAP_ANONYMOUS\b')


class Unknown(Exception):
    pass


def flags_of(names):
    value = 0
    for name in names.split("|"):
        value |= getattr(os, name)
    return value


def parse(call):
    """A line of CALLS and the bytes read; None for a call that touches no file."""
    if match := PREAD.match(call):
        length, offset, got = map(int, match.groups())
        return f"p {got} {length} {offset}", max(got, 0)
    if match := OPEN.match(call):
        return f"o {min(int(match[2]), 0)} {flags_of(match[1])}", 0
    if match := STAT_AS_FOLDER.match(call):
        return f"f {match[1]}", 0
    if match := FSTAT.match(call):
        return f"s {match[1]}", 0
    if match := CLOSE.match(call):
        return f"c {match[1]}", 0
    if MEMORY.match(call):
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
            print("F " + path, *calls[number], sep="\n", file=file)
    variants = collections.defaultdict(list)
    for number, (variant, _, _) in enumerate(items):
        variants[variant].append(number)
    summary = {
        variant: {
            "calls": max(counts[number] for number in numbers),
            "bytes": max(read[number] for number in numbers),
        }
        for variant, numbers in variants.items()
    }
    with open(output + ".json", "w") as file:
        json.dump(summary, file, indent=1)


if __name__ == "__main__":
    main()
