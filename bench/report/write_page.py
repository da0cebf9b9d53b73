#!/usr/bin/python3
"""write_page.py FIGURES DOCS: the page DOCS/performance.md and its plots, of what bench/run.sh left in FIGURES."""

import json
import os
import pathlib
import platform
import re
import subprocess
import sys
import textwrap

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "quorin", "svg.fonttype": "none", "font.size": 9})
import matplotlib.pyplot as plt  # noqa: E402  the backend has to be chosen first

OURS, FLOOR = "ours", "floor"
WITH_LARGE_COVER = {"mp3-cover-1.5m": "mp3-tagged", "flac-cover-1.5m": "flac"}
MARKS = {OURS: "D", FLOOR: "s"}
COLOURS = {OURS: "#2a6f97", FLOOR: "#b0b0b0", "peer": "#e09f3e"}


def table(header, rows):
    """Markdown; all columns but the first are numbers."""
    lines = [header, ["---"] + ["---:"] * (len(header) - 1), *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines) + "\n"


def wrapped(text):
    return "\n".join(textwrap.wrap(text, 120, break_on_hyphens=False))


def number(value, digits=1):
    return f"{value:,.{digits}f}".replace(",", " ")


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    memory = int(re.search(r"MemTotal: +(\d+)", pathlib.Path("/proc/meminfo").read_text())[1]) >> 20
    system = re.search(r'PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text())[1]
    return (f"{os.cpu_count()} cores of {model[1] if model else platform.machine()}, {memory} GiB, {system}, "
            f"Linux {platform.release()}")


def peers():
    packages = ("libtag1v5", "libavformat59", "libmediainfo0v5", "libmpg123-0", "libsndfile1")
    return subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${Version}, ", *packages], stdout=subprocess.PIPE,
                          text=True, check=False).stdout.rstrip(", ")


class Figures:
    def __init__(self, folder):
        self.side = self.json(folder / "side_by_side.json")
        self.calls = self.json(folder / "library/calls.txt.json")
        self.process = self.json(folder / "whole_process.json")
        self.conditions = self.json(folder / "conditions.json")
        self.allocations = self.properties(folder / "allocations.json", "OfAnAnalysisIsSmall")
        self.requests = self.properties(folder / "requests.json", "OfAnyItemThatCanBeSoughtAreFewAndSmall")
        self.instructions = {name: dict(line.split() for line in open(folder / f"instructions-{name}.txt"))
                             for name in ("x86_64", "armhf")}
        self.parts = [part for name in ("driver_memory", "scans", "analyzers")
                      for part in self.json(folder / f"{name}.json")["benchmarks"] if self.is_shown(part["name"])]
        self.variants = [variant for variant in self.calls if variant in self.side["variants"]]

    @staticmethod
    def is_shown(part):
        """Of the analyzers, each on its own format and on what is none."""
        analyzer, _, item = part.partition("/")
        return analyzer in ("driver_memory", "scan", "open") or item.startswith((analyzer, "unrecognised"))

    @staticmethod
    def json(path):
        return json.loads(path.read_text())

    @staticmethod
    def properties(path, test):
        """What a test recorded: item -> text."""
        tests = [case for suite in json.loads(path.read_text())["testsuites"] for case in suite["testsuite"]]
        (found,) = [case for case in tests if case["name"] == test]
        own = ("unrecognised", "text", "noise", "false-syncs")  # the others have an ending
        return {name: value for name, value in found.items() if "." in name or name in own}

    def time(self, variant, who):
        return self.side["variants"][variant].get(who, {}).get("us")

    def best_peer(self, variant):
        """Name and time of the fastest that recognised it, too."""
        readers = self.side["variants"][variant]
        peers = {who: reader["us"] for who, reader in readers.items()
                 if who not in (OURS, FLOOR) and reader["recognised"] == readers[OURS]["recognised"]}
        who = min(peers, key=peers.get)
        return who, peers[who]


def one_file(figures):
    rows = []
    for variant in figures.variants:
        ours, floor = figures.time(variant, OURS), figures.time(variant, FLOOR)
        peer, time = figures.best_peer(variant)
        without = WITH_LARGE_COVER.get(variant)
        rows.append([variant, number(ours / floor, 2), number(time / ours, 2), number(time / floor, 2), peer,
                     number(figures.time(variant, "TagLib") / ours),
                     *(number(figures.time(variant, who) / figures.time(without, who), 2) if without else ""
                       for who in (OURS, FLOOR))])
    return table(["variant", "ours / floor", "fastest peer / ours", "fastest peer / floor", "which", "TagLib / ours",
                  "ours / ours without cover", "floor / floor without cover"], rows)


def bare_times(figures):
    names = sorted({who for variant in figures.variants for who in figures.side["variants"][variant]} - {OURS, FLOOR})
    rows = []
    for variant in figures.variants:
        row = [variant]
        for who in (FLOOR, OURS, *names):
            reader = figures.side["variants"][variant].get(who)
            text = number(reader["us"]) if reader else ""
            row.append(text if reader and reader["recognised"] or who in (OURS, FLOOR) else f"({text})")
        rows.append(row)
    return table(["microseconds", FLOOR, OURS, *names], rows)


def library(figures):
    rates = figures.side["files_per_second"]
    ours = rates[OURS]
    rows = [[who, number(ours["one"] / rate["one"], 2), number(rate["two"] / rate["one"], 2),
             number(rate["best_two"] / rate["best_one"], 2), number(rate["own_two"] / rate["own_one"], 2),
             *(number(rate[name], 0) for name in ("one", "two", "best_one", "best_two"))]
            for who, rate in sorted(rates.items(), key=lambda item: -item[1]["one"])]
    return table(["reader", "ours / reader", "two threads / one", "best rounds", "computing time", "files/s",
                  "two threads", "best round", "best, two threads"], rows)


def counts(figures):
    rows = [[variant, figures.calls[variant]["calls"], number(figures.calls[variant]["bytes"], 0),
             *(number(int(figures.instructions[name].get(variant, 0)), 0) for name in ("x86_64", "armhf"))]
            for variant in figures.variants]
    return table(["variant", "system calls", "bytes read", "instructions, x86-64", "instructions, 32-bit ARM"], rows)


def allocations(figures):
    return table(["item", "allocations"], figures.allocations.items())


def requests(figures):
    return table(["item", "requests", "bytes of body"],
                 [[name, *text.split()] for name, text in figures.requests.items()])


def whole_process(figures):
    one = figures.process["one_file"]
    rows = [[name, number(one["quorin"]["ms"] / run["ms"], 2), number(one["quorin"]["peak_kb"] / run["peak_kb"], 2),
             number(run["ms"], 2), number(run["peak_kb"], 0)] for name, run in one.items()]
    return table(["program", "quorin / program, time", "quorin / program, memory", "ms", "peak KiB"], rows)


def scan(figures):
    rates = figures.process["scan"]
    predicted = figures.side["files_per_second"][OURS]
    rates["the library by itself, two threads"] = {"median": predicted["two"], "best": predicted["best_two"]}
    rows = [[name, *(number(rates["quorin"][which] / rate[which], 2) for which in ("median", "best")),
             *(number(rate[which], 0) for which in ("median", "best"))] for name, rate in rates.items()]
    return table(["program", "quorin scan / program", "best rounds", "files/s", "best round"], rows)


def parts(figures):
    rows = [[f"`{part['name']}`", number(part["cpu_time"], 0),
             number(part["bytes_per_second"] / 1e9, 2) if "bytes_per_second" in part else ""]
            for part in figures.parts]
    return table(["part", "ns", "GB/s"], rows)


def plot_floor(figures, path):
    values = [figures.time(variant, OURS) / figures.time(variant, FLOOR) for variant in figures.variants]
    figure, axes = plt.subplots(figsize=(7, 3.6))
    axes.barh(figures.variants, values, color=COLOURS[OURS])
    axes.axvline(1, color=COLOURS[FLOOR], linewidth=2)
    axes.invert_yaxis()
    axes.set_xlim(left=0)
    axes.set_xlabel("time of an analysis, in times of the same system calls with nothing else")
    save(figure, path)


def plot_peers(figures, path):
    figure, axes = plt.subplots(figsize=(7, 4.4))
    for place, variant in enumerate(figures.variants):
        readers = figures.side["variants"][variant]
        peers = [reader["us"] for who, reader in readers.items() if who not in (OURS, FLOOR) and reader["recognised"]]
        axes.plot(peers, [place] * len(peers), "o", color=COLOURS["peer"], label="peers" if place == 0 else None)
        for who in (FLOOR, OURS):
            axes.plot(readers[who]["us"], place, MARKS[who], color=COLOURS[who], label=who if place == 0 else None)
    axes.set_xscale("log")
    axes.set_yticks(range(len(figures.variants)), figures.variants)
    axes.invert_yaxis()
    axes.grid(axis="x", color="#e5e5e5")
    axes.set_xlabel("microseconds per file, warm")
    axes.legend()
    save(figure, path)


def save(figure, path):
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)
    path.write_text("\n".join(line.rstrip() for line in path.read_text().split("\n")))


def page(figures):
    conditions = figures.conditions
    return f"""# How fast it is

Written by `bench/run.sh`, which makes the library of music files, measures and writes this page.
{wrapped(f"Measured on {conditions['date']}: {machine()}; load average before it began: {conditions['load']}.")}

Everything is measured against something else of the same run, and ratios come first; the bare times belong to the
machine. Files are warm. A variant stands for files of real encoders: `cover-20k` and `cover-1.5m` tell the size of the
picture in the file, `5m`, `5g` and `1g` the length of a file that is mostly a hole.

## One file

The **floor** is the system calls that an analysis makes on the file, with nothing else: the attempt to open it as a
folder, open, fstat, the same reads, close. That is what this machine takes whatever the program does. All readers take
turns in one process, over the whole library, {conditions["rounds"]} times; the figures are medians.
A peer counts as the fastest only where it recognises the file as ours does. "Fastest peer / floor" is what no program
could exceed that makes these calls, and "floor / floor without cover" is what the calls alone take more for a cover: the
slower a machine is at copying memory, the closer mpg123 gets, which reads 4 KiB and looks at no frame of a tag, and the
more the read behind a large cover weighs.

{wrapped(f"Peers: {peers()}.")}

{one_file(figures)}
![times of the floor](performance/floor.svg)

![ours, the floor and the peers](performance/peers.svg)

Where time goes when one file is analysed again and again (by perf on 2026-11-21), in percent: of `mp3-cover-20k` 51 the
kernel, 21 the C library (7 of it copying what was read, 6 memory), 27 the library and the platform; of `mp3-tagged` 52, 17
(1 copying) and 30.

In brackets: did not recognise the file.

{bare_times(figures)}
## The whole library

2,000 files, by one thread and by two. Who else wants the two cores takes speed from two threads at once, hence the best
rounds beside the medians, and the computing time, which is what the threads themselves took.

{library(figures)}
## What an analysis asks for

Instructions are those of the process, without the kernel's, counted one by one: by callgrind, and under qemu for 32-bit
ARM. `bench/instructions/count.py` fails when one grows by more than 5 %.

{counts(figures)}
{allocations(figures)}
## Over HTTP

As counted by nginx; each item on one connection.

{requests(figures)}
## The command

`quorin FILE` as a shell starts it, beside a program that does the same I/O and nothing else. Times are those that one run
in ten stays below: processes so short are over before the scheduler is fair to them.

{whole_process(figures)}
`quorin scan -j 2` of the 2,000 files, beside others run in the best way there is on two cores: `mediainfo` and
`exiftool -fast2` as two processes with half of the files each, `ffprobe` as two processes at a time.

{scan(figures)}
The library by itself is what the two threads of a scan would reach if they did nothing but analyse, with everything
started. This is where the computing time of a scan goes, 15 microseconds a file (by perf, 40 scans on 2026-11-21):

| part | % |
| --- | ---: |
| kernel: read the files | 22 |
| kernel: open, as folder and as file | 13 |
| kernel: size and time, of each name found and of each file opened | 6 |
| kernel: entry, page faults, folders, close | 11 |
| C library around these calls | 9 |
| analysis | 9 |
| records as JSON | 14 |
| memory of jobs, records and analyses | 6 |
| finding files, handing jobs over | 4 |
| start of the process | 4 |

An analysis alone is 8.5 of these 15 microseconds. The rest is what makes it a scan: finding each file, its size and time
for `--resume`, its record.

## Parts

By Google Benchmark, on items in memory.

{parts(figures)}"""


def main():
    source, docs = map(pathlib.Path, sys.argv[1:])
    figures = Figures(source)
    (docs / "performance").mkdir(exist_ok=True)
    plot_floor(figures, docs / "performance/floor.svg")
    plot_peers(figures, docs / "performance/peers.svg")
    (docs / "performance.md").write_text(page(figures).rstrip() + "\n")


if __name__ == "__main__":
    main()
