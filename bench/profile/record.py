#!/usr/bin/python3
"""record.py LIST ANALYSE_TIMES QUORIN OUTPUT: where the time of an analysis and of a scan goes, by perf, into OUTPUT.

OUTPUT (JSON) receives, in percent of the samples, what each group of functions takes while one file is analysed again
and again, for a few variants, and while `quorin scan` reads the library. Where perf is not there, or may not look into
the kernel, it says so instead: nothing else depends on it.
"""

import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

VARIANTS = ("mp3-plain", "mp3-tagged", "mp3-cover-20k", "mp3-cover-1.5m", "flac", "flac-cover-1.5m")
TIMES = 300000  # that each of them is analysed; some seconds
SCANS = 40
FREQUENCY = 4000  # samples per second of computing
TIME_LIMIT = 60  # seconds of each recording
FRAME = re.compile(r"\s+[0-9a-f]+ (.*) \((.*)\)$")

PROCESS = "start and end of the process"
READING, OPENING = "kernel: read the file", "kernel: open the file"

# Group -> what is found in a sample; the first group that matches has it. A sample in the kernel is "kernel" and its
# functions, innermost first, up to the one that called the kernel. Any other is a library or program and its function.
IN_KERNEL = {
    PROCESS: r"^(ld-linux|kernel .*(execve|exit_mmap|do_exit|do_group_exit|sys_mmap|sys_munmap|sys_mprotect|mmap_pgoff"
             r"|ret_from_fork|sys_clone))",
    READING: r"^kernel .*(sys_p?read|ksys_read|_pread|\bread\b)",
    OPENING: r"^kernel .*(sys_open|libc_open|open64)",
    "kernel: whether it is a folder, size and time": r"^kernel .*(sys_newf?stat|sys_statx|fstat)",
    "kernel: entry, page faults, folders, close and the rest": r"^kernel ",
}
IN_C_LIBRARY = {
    "C library: copying, comparing, searching": r"^libc\S* (mem|__mem|str|__str|__wmem|__rawmemchr)",
    "C library: memory": r"^(libc\S* (\w*malloc|\w*free|cfree|calloc|realloc|_int_|unlink_chunk|sysmalloc|tcache)"
                         r"|libstdc\S* (operator (new|delete)|malloc|free))",
    "C library, C++ library: the rest": r"^(libc|libm\.|libgcc|libstdc|\[vdso\])",
}
GROUPS_OF_ANALYSIS = {
    **IN_KERNEL,
    **IN_C_LIBRARY,
    "the library and its platform": r"^libmd-",
}
GROUPS_OF_SCAN = {
    **IN_KERNEL,
    "finding files, handing jobs over": r"^(libstdc\S* std::filesystem|quorin .*(FileWalk|ScanPool|Agenda|deque))",
    "records as JSON": r"^quorin .*(rapidjson|[jJ]son|::write|isUtf8)",
    "jobs and what is kept of them": r"^quorin ",
    **IN_C_LIBRARY,
    "analysis": r"^libmd-",
}
REST = "rest"


class NoProfile(Exception):
    pass


def perf(*words, **how):
    process = subprocess.run(["perf", *map(str, words)], stderr=subprocess.PIPE, text=True, timeout=TIME_LIMIT, **how)
    if process.returncode != 0:
        raise NoProfile(f"perf {words[0]} failed: {process.stderr.strip()}")
    return process.stdout


def samples(program, command):
    """A text for each sample of PROGRAM that was taken while COMMAND ran."""
    with tempfile.NamedTemporaryFile() as data:
        # A clock, because the counters of the CPU are not there in every virtual machine. Kernels are built so that
        # perf can tell who called whom in them, unlike programs.
        perf("record", "--quiet", "--call-graph", "fp", "--event", "cpu-clock", "--freq", FREQUENCY, "--output",
             data.name, "--", *command, stdout=subprocess.DEVNULL)
        text = perf("script", "--input", data.name, "--no-inline", "--fields", "comm,ip,sym,dso",
                    stdout=subprocess.PIPE)
    for sample in text.split("\n\n"):
        name, *lines = sample.strip("\n").split("\n")
        frames = [match.groups() for match in map(FRAME.match, lines) if match]
        if name.strip() != program or not frames:
            continue
        if not frames[0][1].startswith("[kernel"):
            function, where = frames[0]
            yield f"{os.path.basename(where)} {function}"
            continue
        functions = []
        for function, where in frames:
            functions.append(function)
            if not where.startswith("[kernel"):
                break
        yield " ".join(["kernel", *functions])


def shares(groups, program, command):
    """Group -> percent."""
    counts = collections.Counter()
    rest = collections.Counter()
    for sample in samples(program, command):
        group = next((group for group, pattern in groups.items() if re.search(pattern, sample)), REST)
        counts[group] += 1
        if group == REST:
            rest[sample] += 1
    if not counts[READING] or not counts[OPENING]:
        raise NoProfile("perf tells nothing of the kernel here")
    print(program, *(f"{sample}: {count}" for sample, count in rest.most_common(3)), sep="\n  rest: ")
    return {group: 100 * counts[group] / counts.total() for group in [*groups, REST]}


def profile(listed, analyse_times, quorin):
    items = [line.rstrip("\n").split("\t") for line in open(listed)]
    firsts = {variant: path for variant, _, path in reversed(items)}
    library = os.path.commonpath([path for _, part, path in items if part == "library"])
    analyses = {variant: shares(GROUPS_OF_ANALYSIS, "analyse_times", [analyse_times, variant, firsts[variant], TIMES])
                for variant in VARIANTS}
    again = f'for i in $(seq {SCANS}); do "$0" scan -q -j 2 "$1"; done'
    scan = shares(GROUPS_OF_SCAN, "quorin", ["sh", "-c", again, quorin, library])
    return {"analyses": analyses, "scan": scan, "scans": SCANS}


def main():
    listed, analyse_times, quorin, output = sys.argv[1:]
    try:
        figures = profile(listed, analyse_times, quorin)
    except (NoProfile, FileNotFoundError, subprocess.TimeoutExpired) as error:
        figures = {"missing": str(error)}
    pathlib.Path(output).write_text(json.dumps(figures, indent=1))
    print(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
