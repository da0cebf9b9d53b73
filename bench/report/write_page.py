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
RECORDED_BY_GTEST = {"name", "file", "line", "status", "result", "timestamp", "time", "classname", "value_param",
                     "type_param"}
MET = {True: "yes", False: "**no**"}
FEW_LOOKS = 5  # fewer of them make no median to speak of
TIMES_OF_A_RUN = {"ms": "the quick tenth", "median_ms": "median"}
BY_ITSELF = "the library by itself, two threads"
MACHINES = {"x86_64": "x86-64", "armhf": "32-bit ARM"}
SCAN_TO_LIBRARY = "`quorin scan` / the library by itself, two threads"
PEER_TO_OURS = "fastest peer / ours, recognised"
TAGLIB_TO_OURS = "TagLib / ours, cover of 1.5 MB"
# Target -> what to know when it is not met; of the fastest peer when that is mpg123.
WHY_NOT = {
    PEER_TO_OURS:
        "mpg123 makes more calls on an MP3 than ours, but short ones: on a plain one it reads 549 bytes by four "
        "calls, and asks neither whether the item is a folder nor for its kind. Ours takes 9 KiB by one call, so "
        "that what lies behind a large picture is found by the second one. Which of both is faster depends on "
        "what a call costs on the machine, and what copying; \"fastest peer / floor\" below is what there is to be "
        "had, and the profile tells where the rest goes. A picture of 20 KB is read through by both: the cache "
        "holds the begin of an item without gaps, because a failure of the source in it is to be noticed.",
    TAGLIB_TO_OURS:
        "TagLib copies the picture, and how long that takes depends on the machine.",
    SCAN_TO_LIBRARY:
        "A scan is over so soon that the start of its process counts, and it does for each file what the library by "
        "itself does not: see \"The command\". By computing time is what it would reach if both cores were busy from "
        "its first moment to its last.",
}
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
        self.instructions = {name: self.counted(folder / f"instructions-{name}.txt") for name in MACHINES}
        self.profile = self.json(folder / "profile.json")
        self.parts = [part for name in ("driver_files", "driver_memory", "scans", "analyzers")
                      for part in self.json(folder / f"{name}.json")["benchmarks"] if self.is_shown(part["name"])]
        self.variants = list(self.calls)
        self.recognised = [variant for variant in self.variants if self.side["variants"][variant][OURS]["recognised"]]

    @staticmethod
    def is_shown(part):
        """Of the analyzers, each on its own format and on what is none."""
        analyzer, _, item = part.partition("/")
        wholes = ("driver_files", "driver_memory", "scan", "open")
        return analyzer in wholes or item.startswith((analyzer, "unrecognised"))

    @staticmethod
    def json(path):
        return json.loads(path.read_text())

    @staticmethod
    def properties(path, test):
        """What a test recorded: item -> text."""
        tests = [case for suite in json.loads(path.read_text())["testsuites"] for case in suite["testsuite"]]
        (found,) = [case for case in tests if case["name"] == test]
        return {name: value for name, value in found.items() if name not in RECORDED_BY_GTEST}

    @staticmethod
    def counted(path):
        return {variant: int(count) for variant, count in map(str.split, open(path))}

    def time(self, variant, who):
        return self.side["variants"][variant][who]["us"]

    def to_floor(self, variant):
        return self.time(variant, OURS) / self.time(variant, FLOOR)

    def taglib(self, variant):
        """How much longer TagLib takes; None where it does not know what it reads."""
        reader = self.side["variants"][variant].get("TagLib")
        return reader["us"] / self.time(variant, OURS) if reader and reader["recognised"] else None

    def cover(self, variant, who):
        """How much longer a file with a large cover takes than the same without."""
        return self.time(variant, who) / self.time(WITH_LARGE_COVER[variant], who)

    def best_peer(self, variant):
        """Name and time of the fastest that recognised it, too."""
        readers = self.side["variants"][variant]
        peers = {who: reader["us"] for who, reader in readers.items()
                 if who not in (OURS, FLOOR) and reader["recognised"] == readers[OURS]["recognised"]}
        who = min(peers, key=peers.get)
        return who, peers[who]


def reached_text(values, worst, digits):
    return number(values[worst], digits) + (f" ({worst})" if worst else "")


def at_most(limit, what, values, shown=None, digits=2, beside=""):
    """A row for a target: VALUES are name -> number, the name being empty where there is only one."""
    worst = max(values, key=values.get)
    reached = reached_text(values, worst, digits) + beside
    return [what, f"at most {shown or limit}", reached, MET[values[worst] <= limit]]


def at_least(limit, what, values, shown=None, digits=2, beside=""):
    worst = min(values, key=values.get)
    reached = reached_text(values, worst, digits) + beside
    return [what, f"at least {shown or limit}", reached, MET[values[worst] >= limit]]


def targets_of_files(figures):
    rates = figures.side["files_per_second"]
    unrecognised = [variant for variant in figures.variants if variant not in figures.recognised]
    peers, peers_to_floor = {}, {}
    for variant in figures.recognised:
        who, time = figures.best_peer(variant)
        peers[f"{variant}, {who}"] = time / figures.time(variant, OURS)
        peers_to_floor[f"{variant}, {who}"] = time / figures.time(variant, FLOOR)
    slowest = min(WITH_LARGE_COVER, key=figures.taglib)
    taglib_to_floor = figures.time(slowest, "TagLib") / figures.time(slowest, FLOOR)
    longer, longer_floor = (figures.time("wav-5g", who) / figures.time("wav-5m", who) for who in (OURS, FLOOR))
    yield at_most(2, "ours / floor, recognised", {name: figures.to_floor(name) for name in figures.recognised})
    yield at_most(3, "ours / floor, unrecognised", {name: figures.to_floor(name) for name in unrecognised})
    yield at_least(1.3, PEER_TO_OURS, peers,
                   beside=f"; the floor alone {number(peers_to_floor[min(peers, key=peers.get)], 2)}")
    yield at_least(20, TAGLIB_TO_OURS, {name: figures.taglib(name) for name in WITH_LARGE_COVER}, digits=1,
                   beside=f"; the floor alone {number(taglib_to_floor)}")
    for variant, without in WITH_LARGE_COVER.items():
        yield at_most(1.3, f"{variant} / {without}", {"": figures.cover(variant, OURS)},
                      beside=f"; the floor alone {number(figures.cover(variant, FLOOR), 2)}")
    yield at_most(1.1, "wav-5g / wav-5m, time", {"": longer}, beside=f"; the floor alone {number(longer_floor, 2)}")
    yield at_most(1.05, "wav-5g / wav-5m, instructions",
                  {MACHINES[name]: counts["wav-5g"] / counts["wav-5m"]
                   for name, counts in figures.instructions.items()})
    # How many that are belongs to the machine: on the one that the target is of, TagLib reads 33,000.
    yield at_least(100000 / 33000, "files of the library per second, one thread / TagLib",
                   {"": rates["TagLib"]["ours_ratio"]}, "3.03 (100 000 where TagLib reads 33 000)",
                   beside=f"; {number(rates[OURS]['one'], 0)} files/s here")
    yield at_least(1.6, "two threads / one", {"": rates[OURS]["ratio_of_two"]},
                   beside=f"; the floor alone {number(rates[FLOOR]['ratio_of_two'], 2)}")


def targets_of_costs(figures):
    over_http = {name: tuple(map(int, text.split())) for name, text in figures.requests.items()}
    yield at_most(7, "system calls", {name: calls["calls"] for name, calls in figures.calls.items()}, digits=0)
    yield at_most(65536, "bytes read", {name: calls["bytes"] for name, calls in figures.calls.items()}, "65 536",
                  digits=0)
    yield at_most(40, "allocations", {name: int(count) for name, count in figures.allocations.items()}, digits=0)
    yield at_most(3, "HTTP: requests", {name: count for name, (count, _) in over_http.items()}, digits=0)
    yield at_most(65536, "HTTP: bytes of body", {name: size for name, (_, size) in over_http.items()}, "65 536",
                  digits=0)


def targets_of_command(figures):
    one, scans = figures.process["one_file"], figures.process["scan"]
    for name, limit, shown in (("bare", 2.5, "2.5"), ("mediainfo", 1 / 3, "1/3"), ("ffprobe", 1 / 10, "1/10")):
        yield at_most(limit, f"`quorin FILE` / {name}, time", {label: one["quorin"][which] / one[name][which]
                                                               for which, label in TIMES_OF_A_RUN.items()}, shown)
    yield at_most(1 / 2, "`quorin FILE` / mediainfo, memory",
                  {"": one["quorin"]["peak_kb"] / one["mediainfo"]["peak_kb"]}, "1/2")
    yield at_least(10, "`quorin scan` / other programs",
                   {name: scans["quorin"]["median"] / scan["median"] for name, scan in scans.items()
                    if name != "quorin"}, digits=1)
    library = figures.side["files_per_second"][OURS]["two"]
    never_idle = 2e6 / scans["quorin"]["own_us"]
    yield at_least(0.6, SCAN_TO_LIBRARY, {"": scans["quorin"]["median"] / library},
                   beside=f"; by computing time {number(never_idle / library, 2)}")


def targets(figures):
    rows = [*targets_of_files(figures), *targets_of_costs(figures), *targets_of_command(figures)]
    reasons = [wrapped(f"Not met: {what}. {WHY_NOT[what]}") + "\n"
               for what, _, reached, met in rows
               if met != MET[True] and what in WHY_NOT and (what != PEER_TO_OURS or "mpg123" in reached)]
    return "\n".join([table(["target", "to reach", "reached (the worst)", "met"], rows), *reasons])


def one_file(figures):
    rows = []
    for variant in figures.variants:
        peer, time = figures.best_peer(variant)
        taglib = figures.taglib(variant)
        rows.append([variant, number(figures.to_floor(variant), 2), number(time / figures.time(variant, OURS), 2),
                     number(time / figures.time(variant, FLOOR), 2), peer, number(taglib) if taglib else "",
                     *(number(figures.cover(variant, who), 2) if variant in WITH_LARGE_COVER else ""
                       for who in (OURS, FLOOR))])
    return table(["variant", "ours / floor", "fastest peer / ours", "fastest peer / floor", "which", "TagLib / ours",
                  "ours / ours without cover", "floor / floor without cover"], rows)


def bare_time(who, reader):
    if not reader:
        return ""
    text = number(reader["us"]) + ("\\*" if reader["n"] < FEW_LOOKS else "")
    return text if reader["recognised"] or who in (OURS, FLOOR) else f"({text})"


def bare_times(figures):
    readers = figures.side["variants"]
    names = [FLOOR, OURS, *sorted({who for variant in figures.variants for who in readers[variant]} - {OURS, FLOOR})]
    rows = [[variant, *(bare_time(who, readers[variant].get(who)) for who in names)] for variant in figures.variants]
    return table(["microseconds", *names], rows)


def percents(columns):
    """Markdown of {heading: {group: percent}}, without the groups that take next to nothing anywhere."""
    groups = [group for group in next(iter(columns.values()))
              if any(column[group] >= 0.5 for column in columns.values())]
    return table(["percent of the time", *columns],
                 [[group, *(number(column[group], 0) for column in columns.values())] for group in groups])


def profile_of_analyses(figures):
    if "missing" in figures.profile:
        return "Where the time goes was not recorded: perf cannot do so on this machine.\n"
    return "Where the time goes when one file is analysed again and again, as perf samples it:\n\n" + percents(
        figures.profile["analyses"])


def profile_of_scan(figures):
    if "missing" in figures.profile:
        return "Where the time of a scan goes was not recorded: perf cannot do so on this machine.\n"
    return (f"Where the computing time of a scan goes, as perf samples {figures.profile['scans']} of them:\n\n"
            + percents({"scan": figures.profile["scan"]}))


def library(figures):
    rates = figures.side["files_per_second"]
    rows = [[who, number(rate["ours_ratio"], 2), number(rate["ratio_of_two"], 2),
             number(rate["own_two"] / rate["own_one"], 2), *(number(rate[name], 0) for name in ("one", "two"))]
            for who, rate in sorted(rates.items(), key=lambda item: -item[1]["one"])]
    return table(["reader", "ours / reader", "two threads / one", "computing time", "files/s", "two threads"], rows)


def counts(figures):
    rows = [[variant, figures.calls[variant]["calls"], number(figures.calls[variant]["bytes"], 0),
             *(number(counted[variant], 0) for counted in figures.instructions.values())]
            for variant in figures.variants]
    return table(["variant", "system calls", "bytes read", *(f"instructions, {name}" for name in MACHINES.values())],
                 rows)


def allocations(figures):
    return table(["item", "allocations"], figures.allocations.items())


def requests(figures):
    return table(["item", "requests", "bytes of body"],
                 [[name, *(number(int(count), 0) for count in text.split())]
                  for name, text in figures.requests.items()])


def whole_process(figures):
    one = figures.process["one_file"]
    rows = [[name, *(number(one["quorin"][which] / run[which], 2) for which in (*TIMES_OF_A_RUN, "peak_kb")),
             *(number(run[which], 2) for which in TIMES_OF_A_RUN), number(run["peak_kb"], 0)]
            for name, run in one.items()]
    labels = TIMES_OF_A_RUN.values()
    return table(["program", *(f"quorin / program, {label}" for label in labels), "quorin / program, memory",
                  *(f"ms, {label}" for label in labels), "peak KiB"], rows)


def scan(figures):
    rates = figures.side["files_per_second"][OURS]
    everyone = {**figures.process["scan"], BY_ITSELF: {"median": rates["two"], "own_us": 2e6 / rates["own_two"]}}
    ours = everyone["quorin"]
    rows = [[name, number(ours["median"] / rate["median"], 2), number(rate["median"], 0), number(rate["own_us"])]
            for name, rate in everyone.items()]
    return table(["program", "quorin scan / program", "files/s", "computing time per file, microseconds"], rows)


def parts(figures):
    rows = [[f"`{part['name']}`", number(part["cpu_time"], 0),
             number(part["bytes_per_second"] / 1e9, 2) if "bytes_per_second" in part else ""]
            for part in figures.parts]
    return table(["part", "ns", "GB/s"], rows)


def plot_floor(figures, path):
    values = [figures.to_floor(variant) for variant in figures.variants]
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
picture in the file, `5m`, `5g` and `1g` the length of a file that is mostly a hole; `tiny` is a note of a few bytes.

## Targets

Each against the worst there is, which is named where there are several. The floor, the variants and the peers are told
of below; where the floor alone misses a target, too, no program that makes these calls could meet it on this machine.

{targets(figures)}
What no figure here shows is held by tests: that a scan through a file allocates nothing
(`AllocationCount.OfAScanIsNone` in `tests/driver/allocation`), that a small item takes one request
(`NetworkRequests.OfASmallItemIsOne` in `tests/network`), and that a local file does not load what the network needs
(`test_local_files_load_no_network` in `tests/system/test_startup.py`).

## One file

The **floor** is the system calls that an analysis makes on the file, with nothing else: whether it is a folder,
open, fstat, the same reads, close. That is what this machine takes whatever the program does. All readers take turns in
one process, over the whole library, {conditions["rounds"]} times; the figures are medians of all looks at the files of
a variant. A peer counts as the fastest only where it recognises the file as ours does, and TagLib is compared only
where it knows what it reads. "Fastest peer / floor" is what no program could exceed that makes these calls, and
"floor / floor without cover" is what the calls alone take more for a cover.

{wrapped(f"Peers: {peers()}.")}

{one_file(figures)}
![times of the floor](performance/floor.svg)

![ours, the floor and the peers](performance/peers.svg)

{profile_of_analyses(figures)}
In brackets: did not recognise the file. With an asterisk: no median of many looks, because the reader takes so long
that it saw files of this variant fewer than {FEW_LOOKS} times.

{bare_times(figures)}
## The whole library

2,000 files, by one thread and by two; the first two ratios are medians of those of each round. Who else wants the two
cores takes speed from two threads at once, hence the computing time: two threads to one by what the threads themselves
took.

{library(figures)}
## What an analysis asks for

Instructions are those of the process, without the kernel's, counted one by one: by callgrind, and under qemu for 32-bit
ARM. On x86-64 all copies are made of plain loads and stores: which of them the C library leaves to one long instruction
depends on the CPU. `bench/instructions/count.py` fails when one leaves its budget by more than 5 %.

{counts(figures)}
{allocations(figures)}
## Over HTTP

As counted by nginx; each item on one connection.

{requests(figures)}
## The command

`quorin FILE` as a shell starts it, beside a program that does the same I/O and nothing else. The quick tenth is the
time that one run in ten stays below: processes so short are over before the scheduler is fair to them.

{whole_process(figures)}
`quorin scan -j 2` of the 2,000 files, beside others run in the best way there is on two cores: `mediainfo` and
`exiftool -fast2` as two processes with half of the files each, `ffprobe` as two processes at a time.

{scan(figures)}
The library by itself is what the two threads of a scan would reach if they did nothing but analyse, with everything
started. What a scan computes beyond that makes it a scan: finding each file, its size and time for `--resume`, its
record.

{profile_of_scan(figures)}
## Parts

By Google Benchmark: `driver_files` on the files of the library, everything else on items in memory. Each is a single
short run: these show which part is worth a look, and prove no ratio.

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
