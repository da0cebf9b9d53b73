#!/usr/bin/python3
"""measure.py LIST BARE QUORIN OUTPUT: whole processes, as a shell would start them, into OUTPUT (JSON).

One file: quorin against a program that does the same I/O and nothing else, mediainfo and ffprobe. Each is run in turns,
so that whatever else the machine does meets all alike. Then 2,000 files: `quorin scan` against mediainfo, exiftool and
ffprobe, each run in the best way there is on two cores.
"""

import json
import os
import pathlib
import shlex
import statistics
import subprocess
import sys
import tempfile

ROUNDS = 10
RUNS = 20
QUANTILE = 10  # of a hundred: a process this short is over before the scheduler is fair to it
SCAN_ROUNDS = 5
QUICK_SCANS = 5  # in a round: one is over so soon that the start of a compiler beside it would halve its speed
FFPROBE_FILES = 100  # of the library; it starts a process for each
FAILS = "ffprobe"  # in a scan, as some files are no music; so does exiftool, of which `wait` tells nothing


def hyperfine(commands, runs, warmup=2, may_fail=False):
    """Command -> times in seconds, and the computing time of a run. Not measured from here, where waiting with a time
    limit means to look again and again, after 16 and 32 ms: it doubled the time of a scan."""
    with tempfile.NamedTemporaryFile() as report:
        process = subprocess.run(["hyperfine", "-N", "--style", "none", *(["--ignore-failure"] if may_fail else []),
                                  "--warmup", str(warmup), "--runs", str(runs), "--export-json", report.name,
                                  *commands], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                                 timeout=600)
        if process.returncode != 0:
            sys.exit(f"measure.py: {commands}: {process.stderr}")
        return {result["command"]: (result["times"], result["user"] + result["system"])
                for result in json.load(report)["results"]}


def peak_kilobytes(command):
    """GNU time measures it: a process started from here would begin with the memory of this one."""
    words = ["/usr/bin/time", "-f", "%M", *shlex.split(command)]
    return int(subprocess.run(words, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True,
                              timeout=60).stderr.splitlines()[-1])


def one_file(path, bare, quorin):
    commands = {"bare": f"{bare} {path}", "quorin": f"{quorin} {path}", "mediainfo": f"mediainfo {path}",
                "ffprobe": f"ffprobe -v error -show_format -show_streams {path}"}
    names = {command: name for name, command in commands.items()}
    times = {name: [] for name in commands}
    for _ in range(ROUNDS):
        for command, (some, _) in hyperfine(list(commands.values()), RUNS).items():
            times[names[command]] += some
    return {name: {"ms": 1000 * statistics.quantiles(times[name], n=100)[QUANTILE - 1],
                   "median_ms": 1000 * statistics.median(times[name]),
                   "peak_kb": statistics.median(peak_kilobytes(commands[name]) for _ in range(5))}
            for name in commands}


def scans(paths, quorin, folder):
    """Files per second, and the microseconds that all threads together compute for a file."""
    everything = folder / "all"
    everything.write_text("\n".join(paths))
    few = folder / "few"
    few.write_text("\n".join(paths[:: len(paths) // FFPROBE_FILES]))
    halves = folder / "half0", folder / "half1"
    for number, half in enumerate(halves):
        half.write_text("\n".join(paths[number::2]))
    library = os.path.commonpath(paths)
    commands = {
        # name: command, files
        "quorin": (f"{quorin} scan -j 2 {library}", len(paths)),
        "mediainfo": (f"xargs -a {everything} -P 2 -n {(len(paths) + 1) // 2} mediainfo", len(paths)),
        "exiftool": (f"sh -c 'exiftool -fast2 -@ {halves[0]} & exiftool -fast2 -@ {halves[1]}; wait'", len(paths)),
        "ffprobe": (f"xargs -a {few} -P 2 -n 1 ffprobe -v error -show_format -show_streams",
                    len(few.read_text().split("\n"))),
    }
    records = subprocess.run(shlex.split(commands["quorin"][0]), stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             check=True, timeout=60).stdout.splitlines()
    if len(records) != len(paths):  # one that ends at once would look the fastest
        sys.exit(f"measure.py: quorin scan told {len(records)} of {len(paths)} files")
    rates = {name: [] for name in commands}
    computing = {name: [] for name in commands}
    for _ in range(SCAN_ROUNDS):
        for name, (command, files) in commands.items():
            runs = QUICK_SCANS if name == "quorin" else 1
            times, own = hyperfine([command], runs, warmup=0, may_fail=name == FAILS)[command]
            rates[name] += [files / seconds for seconds in times]
            computing[name].append(1e6 * own / files)
    return {name: {"median": statistics.median(rates[name]), "own_us": statistics.median(computing[name])}
            for name in commands}


def main():
    listed, bare, quorin, output = sys.argv[1:]
    items = [line.rstrip("\n").split("\t") for line in open(listed)]
    library = [path for _, part, path in items if part == "library"]
    with tempfile.TemporaryDirectory() as folder:
        figures = {"one_file": one_file(library[0], bare, quorin), "scan": scans(library, quorin, pathlib.Path(folder))}
    pathlib.Path(output).write_text(json.dumps(figures, indent=1))
    print(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
