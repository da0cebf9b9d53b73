#!/usr/bin/python3
"""clang_tidy.py BUILD PATTERN: clang-tidy over the files of BUILD's compile commands whose path matches PATTERN.

A file that passed is not looked at again before it, a header that it includes, the checks or clang-tidy change: a whole
run takes seven minutes of two cores, and a change seldom touches more than a few files. What counts is the text as the
preprocessor leaves it, with its comments, because some of those excuse findings.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

TIDY = "clang-tidy-14"


def preprocessed(entry):
    """What the compiler sees of a file; None when it does not get that far."""
    command = shlex.split(entry["command"])
    output = command.index("-o")
    command[output:output + 2] = ["-E", "-C", "-dD"]  # with the comments, and the macros
    result = subprocess.run(command, cwd=entry["directory"], capture_output=True, check=False)
    return result.stdout if result.returncode == 0 else None


def check(entry, build, conditions, passed):
    """Returns the stamp of a file that passes, or None, and what clang-tidy says of one that does not."""
    text = preprocessed(entry)
    own = pathlib.Path(entry["file"]).read_bytes()
    stamp = passed / hashlib.sha256(conditions + entry["command"].encode() + own + (text or b"")).hexdigest()
    if text is not None and stamp.exists():
        return stamp, ""
    result = subprocess.run([TIDY, "-quiet", "-p", build, entry["file"]], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        return None, result.stdout or f"{entry['file']}: error: {TIDY} ended with {result.returncode}: {result.stderr}"
    stamp.touch()
    return stamp, ""


def main():
    build, pattern = sys.argv[1:]
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as commands:
        entries = [entry for entry in json.load(commands) if re.search(pattern, entry["file"])]
    if not entries:
        sys.exit(f"clang_tidy.py: no file of {build} matches {pattern}")
    version = subprocess.run([TIDY, "--version"], capture_output=True, check=True).stdout
    conditions = version + pathlib.Path(".clang-tidy").read_bytes()
    passed = pathlib.Path(build, "clang-tidy")
    passed.mkdir(exist_ok=True)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda entry: check(entry, build, conditions, passed), entries))
    for stamp in set(passed.iterdir()) - {stamp for stamp, _ in results}:
        stamp.unlink()
    failed = [finding for stamp, finding in results if stamp is None]
    print("\n".join(failed), end="")
    sys.exit(1 if failed else 0)


main()
