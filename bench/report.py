#!/usr/bin/env python3
"""Writes docs/performance.md, its picture, and every measured column, docs/performance/columns.md: report.py RESULTS DOCS

The picture is drawn by gnuplot.
"""
import os
import re
import subprocess
import sys

from results import FLOOR, OURS, Results, number, table

# One line is one row of the page: what a user does, the question, what is compared, the column that shows what nothing could
# be faster than (or bytes), what that column is, and the alternatives.
# autopep8: off
ROWS = [
    ("Start a program and reap it",          "launch/10MB",           "cpu",          "bare-fork",
     "fork, exec, waitpid",           ["libuv", "Boost.Process", "QProcess", "GSubprocess", "Poco"]),
    ("The same, from a 200 MB process",      "launch/200MB",          "cpu",          "bare-fork",
     "fork, exec, waitpid",           ["libuv", "Boost.Process", "QProcess", "GSubprocess", "Poco"]),
    ("Run a shell command",                  "system/10MB",           "cpu",          "system(3)",
     "system(3)",                     []),
    ("Add and cancel a timer, 1000 waiting", "timer-add-cancel/1000", "cpu",          "clock_gettime",
     "read the clock",                ["libuv", "libevent", "Boost.Asio", "GLib"]),
    ("Add a timer and let it fire",          "timer-add-fire/1000",   "cpu",          "clock_gettime",
     "read the clock",                ["libuv", "libevent", "Boost.Asio", "GLib"]),
    ("Poll timers when none is due",         "timer-idle/1000",       "cpu",          "clock_gettime",
     "read the clock",                []),
    ("Memory of a waiting timer",            "timer-memory/100000",   "bytes",        20,
     "deadline, callback, id",        ["libuv", "libevent", "Boost.Asio", "GLib"]),
    ("Find the device id in a text",         "find",                  "cpu",          FLOOR,
     "read the text once",            ["RE2::Set", "plain-loop"]),
    ("Look up a device type's id",           "look-up-by-type",       "cpu",          FLOOR,
     "index an array",                ["std::unordered_map"]),
    ("Look up an id's device type",          "look-up-by-id",         "cpu",          FLOOR,
     "compare one id",                ["std::map"]),
    ("Split a line into 10 pieces",          "split/10",              "cpu",          FLOOR,
     "allocate and copy the pieces",  ["absl::StrSplit", "boost::split"]),
    ("Hexadecimal text to number",           "hex-to-number",         "cpu",          FLOOR,
     "read the digits",               ["std::from_chars"]),
    ("Number to hexadecimal text",           "number-to-hex",         "cpu",          FLOOR,
     "make a string",                 ["fmt", "snprintf"]),
    ("Number to decimal text",               "number-to-decimal",     "cpu",          FLOOR,
     "make a string",                 ["std::to_chars", "fmt", "snprintf", "std::ostringstream"]),
    ("Compose the log line of a failure",    "failure-line",          "cpu",          FLOOR,
     "copy the line",                 ["std::ostringstream"]),
    ("Load the library",                     "load",                  "instructions", FLOOR,
     "load an empty library",         ["boost_filesystem", "Qt5Core"]),
]
# autopep8: on
CLOCK = "timer-idle/1000"  # the question that clock_gettime is a column of

PAGE = """# Performance

What a call costs, beside the alternatives and beside what the kernel, the clock or the memory takes in any case.

{table}
- Each row is one run on one machine, the columns interleaved; times are medians of CPU time.
- Starting a program costs a fork and an exec; posix_spawn(3) alone is cheaper, but its child cannot report a failed exec.
- A timer costs one reading of the clock and a heap operation; cached clocks are cheaper and late by up to a loop's turn.
- Look-ups and conversions are calls into a shared library, which costs about a nanosecond where peers are inlined.
- Loading sets up the catalogue, so that look-ups work in the constructors of a program's static objects.

![Add and cancel one of N waiting timers](performance/timer-add-cancel.svg)

[All columns](performance/columns.md), with instruction counts, ARM and how to repeat a measurement. {machine}
Written by `scripts/measure/bench{full}`.
"""

COLUMNS = """# Performance: all columns

Every column of every question. The columns of a question were measured in one run, interleaved at random, in several
processes of which the median counts; before anything is timed, every column must give the answers of the first. Times
are CPU time unless they say otherwise. Instructions are counted by callgrind and do not depend on what else the machine
does. A column `floor` is the part of the work that nothing could save. Written by `scripts/measure/bench{full}`.

{machine}
"""

ARM = """## ARM

Instructions of one run, counted by a plugin of the emulator (`bench/countInstructions.c`).

{table}
Not measured on ARM: times, since the emulator's say nothing about a device; launches and waits, whose cost is the
kernel's; loading, since the emulated dynamic linker's counts would need the device's own; and the peers, which are not
installed for ARM.
"""

REPEAT = """## How to repeat it

    scripts/measure/bench           # both pages, in a few minutes; --full: more repetitions
    scripts/test instructions       # what CI holds the counts to, within a tenth

- One column: `build/bench/bench/bench_find --benchmark_filter=RE2`, `build/bench/bench/count_find find/tldevice 1000`.
- The command beside timeout(1), and a static build of it: `build/bench/bench/supervise PREFIX/bin/tldevice...`.
- The parent's size: `BENCH_PARENT_MB=200 build/bench/bench/bench_launch --benchmark_filter=launch`.
- A peer that is not installed leaves its column out; the configuration names it.

## Ways not taken

- A hierarchical timer wheel has no logarithm, but exact deadlines make it hard to explain; it was not tried.
- A slot map for timer ids saves a few nanoseconds a call. Its ids come back early, and its memory cannot be given back
  while its last slot is in use.
- A coarse clock makes adding and an idle `Process()` cheaper (see libevent's two columns), and deadlines wrong by
  milliseconds.
- vfork(2) or posix_spawn(3) makes a launch independent of the parent's size. The child could then neither report a
  failed dup2(2) or exec nor run the handlers of exit(3), both of which callers see today.
- A table of rows by type saves a hash; the catalogue's index by type would then have no use.
"""

PICTURE = """set terminal svg size 720,420 font "sans-serif,12" background "white"
set output "{out}"
set title "Add and cancel one of N waiting timers"
set xlabel "timers waiting"
set ylabel "nanoseconds of CPU time"
set logscale xy
set format x "%.0s%c"
set key outside right top
set grid ytics
plot {lines}
"""


def shown(value, measure):
    if value is None:
        return "-"
    if measure == "bytes":
        return f"{value:.0f} bytes"
    if measure == "instructions":
        return f"{value:,.0f} instructions"
    for limit, unit in ((1e6, "ms"), (1e3, "µs")):
        if value >= limit:
            return f"{value / limit:.3g} {unit}"
    return f"{value:.3g} ns"


def limit(results, question, column, measure):
    if isinstance(column, int):
        return column
    asked = CLOCK if column == "clock_gettime" else question
    return results.value(asked, column, measure)


def answer(results):
    """The one table: what does it cost me beside the alternatives?"""
    rows = []
    for what, question, measure, floor, is_what, peers in ROWS:
        others = [f"{peer} {shown(results.value(question, peer, measure), measure)}" for peer in peers
                  if results.value(question, peer, measure) is not None]
        rows.append([what, f"**{shown(results.value(question, OURS, measure), measure)}**", ", ".join(others),
                     f"{shown(limit(results, question, floor, measure), measure)}: {is_what}"])
    return table(["", "tldevice", "alternatives", "the limit"], rows)


def families(times):
    found = {}
    for question in times:
        family, _, size = question.partition("/")
        found.setdefault(family, []).append(size)
    return found


def family_table(results, family, sizes):
    columns = list(dict.fromkeys(c for size in sizes for c in results.times[f"{family}/{size}".rstrip("/")]))
    columns.sort(key=lambda column: (column != OURS, column))
    measure = "bytes" if family == "timer-memory" else "cpu"
    head, rows = [""], [[column] for column in columns]
    for size in sizes:
        question = f"{family}/{size}".rstrip("/")
        measures = {f"{size} bytes" if measure == "bytes" else f"{size} ns CPU": measure}
        if family == "launch":
            measures[f"{size} ns wall, 10th percentile"] = "wall_p10"
        if f"{question}/{OURS}" in results.counts:
            measures[f"{size} instructions"] = "instructions"
        for title, each in measures.items():
            head.append(title.strip())
            for row in rows:
                row.append(number(results.value(question, row[0], each)))
    return table(head, rows)


def draw(results, family, sizes, out):
    """The picture, both axes logarithmic; our line is the thick one."""
    series = {}
    for size in sorted(sizes, key=int):
        for column, values in results.times[f"{family}/{size}"].items():
            series.setdefault(column, []).append(f"{size} {values['cpu']}")
    names = sorted(series, key=lambda name: (name != OURS, name))
    lines = ", ".join(f"'-' using 1:2 with linespoints linewidth {4 if name == OURS else 1.5} title '{name}' noenhanced"
                      for name in names)
    data = "".join("\n".join(series[name]) + "\ne\n" for name in names)
    subprocess.run(["gnuplot"], input=PICTURE.format(out=out, lines=lines) + data, text=True, check=True)


def all_columns(results, full):
    parts = [COLUMNS.format(full=full, machine=results.machine)]
    for family, sizes in families(results.times).items():
        parts.append(f"## {family}\n\n" + family_table(results, family, sizes))
    loads = [[name.split("/", 1)[1], number(count)] for name, count in results.counts.items() if name.startswith("load/")]
    parts.append("## load\n\n" + table(["dlopen(3), lazily bound", "instructions"], loads))
    parts.append("## System calls of a launch\n\n" + results.trace)
    if results.arm:
        rows = [[column, number(count), number(results.counts.get(column))] for column, count in results.arm.items()]
        parts.append(ARM.format(table=table(["", "ARMv7, emulated", "this machine"], rows)))
    parts.append(REPEAT)
    return re.sub(r"\n{3,}", "\n\n", "\n".join(parts))


def write(path, text):
    with open(path, "w", encoding="utf-8") as out:
        out.write(text)


def main(folder, docs, full):
    results = Results(folder)
    full = " --full" if full else ""
    os.makedirs(f"{docs}/performance", exist_ok=True)
    draw(results, "timer-add-cancel", families(results.times)["timer-add-cancel"], f"{docs}/performance/timer-add-cancel.svg")
    write(f"{docs}/performance/columns.md", all_columns(results, full))
    machine = results.machine.split("  ")[0].replace("Machine: ", "Machine: ")
    write(f"{docs}/performance.md", PAGE.format(table=answer(results), machine=machine, full=full))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2], "--full" in sys.argv)
