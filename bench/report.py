#!/usr/bin/env python3
"""Writes docs/performance.md and its plots from what scripts/bench measured: report.py RESULTS DOCS

RESULTS holds times.json, counts.txt, arm.txt (may be missing), trace.txt and machine.txt.  Standard library only.
"""
import json
import math
import os
import re
import sys

OURS = "tldevice"

# One line is one bar: what is asked, the question's name and size, the peer, what is compared, and the most that our part
# of the peer's may be.  "instructions" are callgrind's; "cpu" and "wall_p10" are nanoseconds.
SIZES = (10, 1000, 100000, 1000000)


def by_size(what, question, peer, bars, measure="cpu"):
    return [(f"{what}, N = {size}", f"{question}/{size}", peer, measure, bar) for size, bar in zip(SIZES, bars)]


BARS = [
    ("start to reap, parent of 10 MB", "launch/10MB", "bare-fork", "cpu", 1.05),
    ("the same, tenth percentile of wall time", "launch/10MB", "bare-fork", "wall_p10", 1.07),
    ("start to reap, parent of 10 MB", "launch/10MB", "Boost.Process", "cpu", 1.05),
    ("start to reap, parent of 10 MB", "launch/10MB", "libuv", "cpu", 1.05),
    ("start to reap, parent of 10 MB", "launch/10MB", "GSubprocess", "cpu", 0.9),
    ("start to reap, parent of 10 MB", "launch/10MB", "QProcess", "cpu", 0.9),
    ("start to reap, parent of 10 MB", "launch/10MB", "Poco", "cpu", 0.3),
    ("start to reap, parent of 200 MB", "launch/200MB", "bare-fork", "cpu", 1.05),
    ("start to reap, parent of 2 GB", "launch/2000MB", "bare-fork", "cpu", 1.05),
    ("wait()", "wait", "poll-and-usleep", "cpu", 1.03),
    ("tl::system, parent of 10 MB", "system/10MB", "system(3)", "cpu", 1.05),
    ("tl::system, parent of 200 MB", "system/200MB", "system(3)", "cpu", 1.05),
    ("tl::system, parent of 2 GB", "system/2000MB", "system(3)", "cpu", 1.05),
    *by_size("add + cancel among N", "timer-add-cancel", "libuv", (0.5, 0.25, 0.25, 0.25)),
    *by_size("add + cancel before N", "timer-add-cancel-earliest", "libuv", (0.5, 0.25, 0.25, 0.25)),
    *by_size("add + cancel among N", "timer-add-cancel", "libevent", (1, 1, 1, 1)),
    *by_size("add + cancel among N", "timer-add-cancel", "Boost.Asio", (1, 1, 1, 1)),
    *by_size("add + cancel among N", "timer-add-cancel", "GLib", (1, 1, 1, 1)),
    *by_size("random replace", "timer-replace", "libuv", (0.75, 0.6, 0.6, 0.65)),
    *by_size("add + fire", "timer-add-fire", "libuv", (0.7, 0.45, 0.4, 0.3)),
    *by_size("idle Process()", "timer-idle", "clock_gettime", (1.15, 1.15, 1.15, 1.15)),
    ("bytes a timer, N = 100000", "timer-memory/100000", "libuv", "bytes", 0.45),
    ("find on kernel strings", "find", "RE2::Set", "instructions", 1.0),
    ("find on kernel strings", "find", "RE2::Set", "cpu", 1.0),
    ("look-up by type", "look-up-by-type", "std::unordered_map", "instructions", 0.9),
    ("look-up by id", "look-up-by-id", "std::map", "instructions", 1.0),
    ("SplitString, 4 pieces", "split/4", "absl::StrSplit", "instructions", 0.75),
    ("SplitString, 10 pieces", "split/10", "absl::StrSplit", "instructions", 0.75),
    ("SplitString, 40 pieces", "split/40", "absl::StrSplit", "instructions", 0.75),
    ("SplitString, 10 pieces", "split/10", "boost::split", "instructions", 0.5),
    ("SplitString, 40 pieces", "split/40", "boost::split", "instructions", 0.5),
    ("axtoi", "hex-to-number", "std::from_chars", "instructions", 1.0),
    ("wtoax", "number-to-hex", "fmt", "instructions", 0.4),
    ("intToString", "number-to-decimal", "std::ostringstream", "instructions", 0.1),
    ("composing a failure line", "failure-line", "std::ostringstream", "instructions", 0.4),
    ("composing a failure line", "failure-line", "syslog(3)", "cpu", 0.1),
    ("loading the library", "load", "boost_filesystem", "instructions", 1.0),
    ("loading the library", "load", "Qt5Core", "instructions", 0.2),
    ("the same, in a program that uses `<iostream>`", "load/streams-in-use", "boost_filesystem", "instructions", 1.0),
]
STATIC_INITIALISATION = 72000

# What binds where a bar is missed.
BINDS = {
    "launch": "The launch is the bare sequence and two access(2) calls, an fcntl(2) and the unlink of the earlier log, all "
              "of which belong to its contract; the rest is the kernel's fork and exec.  The peers fork as well, as the growth of their cost with "
              "the parent shows, so that none of them leaves room for a ratio much below 1 above its own extras: where the "
              "bare sequence is itself near a bar or above it, nothing that forks can reach that bar.  posix_spawn(3) could; "
              "ours stays a fork because the child reports a failed dup2(2) or exec in words.",
    "wait": "Both loops make the same system calls; ours also asks the timer manager, which reads the clock, and notes what "
            "it saw.  A pass costs some microseconds, nearly all of them the kernel's, so that this ratio is the least "
            "certain of all on a loaded machine.",
    "system": "tl::system() is one call of system(3) and nothing else: a ratio other than 1 is the machine's noise.",
    "timer-add-cancel": "The time starts when the timer does, so adding reads the clock once, and so does libuv where its "
                        "time is brought up to date: the row *clock_gettime* of the idle table is the floor of both.  "
                        "Up to N = 1000 the bar against libuv is less than the clock alone takes, and beyond it leaves a "
                        "few nanoseconds for the timer itself.  Net of the clock see the table below.  libevent keeps a timer's place in the user's "
                        "own structure, without an id that has to be looked up and to stay harmless after its timer has "
                        "gone.",
    "timer-add-cancel-earliest": "As above: the clock is the floor.",
    "timer-replace": "As above; and an id is looked up in a table, since it must stay harmless after its timer has gone.  "
                     "A slot map in its place measured 0.64 at N = 1000, but an id would come back after a thousand "
                     "others and the memory of a burst could not be given back.",
    "timer-add-fire": "Where the loop's own part is small, both pay for the clock when a timer is added.",
    "timer-idle": "Process() is one reading of the clock, a call into the library and a comparison.",
    "timer-memory": "The tables grow by doubling, so a timer takes from 48 to 96 bytes, and the id that the user keeps eight: "
                    "without these eight, the ratio is 0.41.",
    "find": "Each of the 38 ids is looked at.",
    "look-up-by-type": "The catalogue's hashed index takes its bucket from a table of prime divisors, in a function of its "
                       "own, and a call into a shared library comes on top; the map is inlined where it is used.  An array "
                       "by type would be ahead, and leave the container's index without a use.",
    "look-up-by-id": "Both walk a tree of the same shape.",
    "split": "With many pieces the vector's growth and the pieces' own memory outweigh the search, and those are the same "
             "for all.",
    "hex-to-number": "std::from_chars is inlined; axtoi is a call into a shared library.",
    "number-to-hex": "", "number-to-decimal": "",
    "failure-line": "The texts are copied once, strerror(3) looks its text up.",
    "load": "Two libraries are loaded, libtldevice.so and libtlshared.so; the catalogue, with its 38 rows in three indices, "
            "is built at load because look-ups must work before any constructor of the user's.  And a third of the count "
            "is libstdc++ setting up the standard streams, which it does, before version 13, in the first that includes "
            "`<iostream>`: in a program that uses them itself the bar is met.  The library reports on std::cerr and "
            "std::cout, so that a program which leads these elsewhere gets its lines too; stdio would save the third, and "
            "lose that.",
}
PLOTS = [
    ("timer-add-cancel", "add + cancel among N waiting timers", "timers waiting", "ns, CPU"),
    ("timer-add-cancel-earliest", "add + cancel before N waiting timers", "timers waiting", "ns, CPU"),
    ("timer-replace", "replace one of N waiting timers", "timers waiting", "ns, CPU"),
    ("timer-add-fire", "add and fire N timers, each", "timers", "ns, CPU"),
    ("split", "SplitString", "pieces", "ns, CPU"),
    ("launch", "start to reap", "MB in use by the parent", "ns, CPU"),
]
COLOURS = ("#c0392b", "#2471a3", "#229954", "#b9770e", "#7d3c98", "#717d7e", "#148f77", "#34495e")


class Results:
    def __init__(self, folder):
        with open(f"{folder}/times.json", encoding="utf-8") as times:
            self.times = json.load(times)
        self.counts = self.counted(f"{folder}/counts.txt")
        self.arm = self.counted(f"{folder}/arm.txt")
        with open(f"{folder}/trace.txt", encoding="utf-8") as trace:
            self.trace = trace.read()
        with open(f"{folder}/machine.txt", encoding="utf-8") as machine:
            self.machine = machine.read()

    @staticmethod
    def counted(file):
        if not os.path.exists(file):
            return {}
        with open(file, encoding="utf-8") as lines:
            pairs = [line.split() for line in lines]
        return {name: float(count) for count, name in pairs}

    def value(self, question, column, measure):
        if measure == "instructions":
            return self.counts.get(f"{question}/{column}")
        return self.times.get(question, {}).get(column, {}).get(measure)


def number(value):
    if value is None:
        return "-"
    return f"{value:,.0f}" if value >= 1000 else f"{value:.1f}"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


def bars(results):
    rows, missed = [], []
    for what, question, peer, measure, bar in BARS:
        ours, theirs = (results.value(question, column, measure) for column in (OURS, peer))
        if ours is None or theirs is None:
            rows.append([what, peer, measure, number(ours), number(theirs), "-", f"{bar}", "not measured"])
            continue
        verdict = "met" if ours / theirs <= bar else "**missed**"
        if verdict != "met":
            missed.append((what, peer, ours / theirs, bar, question.split("/")[0]))
        rows.append([what, peer, measure, number(ours), number(theirs), f"{ours / theirs:.2f}", f"{bar}", verdict])
    count = results.counts.get("load/static-initialisation")
    if count is not None:
        verdict = "met" if count <= STATIC_INITIALISATION else "**missed**"
        rows.append(["static initialisation of the catalogue", "", "instructions", number(count), "", "",
                     number(STATIC_INITIALISATION), verdict])
    return rows, missed


def explanations(missed):
    text = []
    for family in dict.fromkeys(family for *_, family in missed):
        which = ", ".join(f"{what} against {peer} {ratio:.2f} (bar {bar})" for what, peer, ratio, bar, of in missed
                          if of == family)
        text.append(f"- **{family}**: {which}.  {BINDS[family]}")
    return "\n".join(text) + "\n"


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
    rows = []
    for column in columns:
        cells = [column]
        for size in sizes:
            question = f"{family}/{size}".rstrip("/")
            cells.append(number(results.value(question, column, measure)))
            if family == "launch":
                cells.append(number(results.value(question, column, "wall_p10")))
            if f"{question}/{OURS}" in results.counts:
                cells.append(number(results.value(question, column, "instructions")))
        rows.append(cells)
    head = [""]
    for size in sizes:
        question = f"{family}/{size}".rstrip("/")
        head.append(f"{size} {measure if measure == 'bytes' else 'ns CPU'}".strip())
        if family == "launch":
            head.append(f"{size} ns wall, 10th percentile")
        if f"{question}/{OURS}" in results.counts:
            head.append(f"{size} instructions".strip())
    return table(head, rows)


def net_of_clock(results):
    clock = results.value("timer-idle/10", "clock_gettime", "cpu")
    if clock is None:
        return ""
    rows = []
    for question in ("timer-add-cancel", "timer-add-cancel-earliest", "timer-replace"):
        for size in SIZES:
            ours, theirs = (results.value(f"{question}/{size}", column, "cpu") for column in (OURS, "libuv"))
            if ours is not None and theirs is not None:
                ratio = (ours - clock) / (theirs - clock) if theirs > clock else math.nan
                rows.append([f"{question}/{size}", number(ours - clock), number(theirs - clock), f"{ratio:.2f}"])
    return table(["net of one clock_gettime", OURS, "libuv", "ratio"], rows)


def nice(value):
    for limit, unit in ((1e6, "M"), (1e3, "k")):
        if value >= limit:
            return f"{value / limit:g}{unit}"
    return f"{value:g}"


def plot(results, family, sizes, title, x_title, y_title):
    """An SVG, both axes logarithmic."""
    numbers = [float(re.sub(r"\D", "", size)) for size in sizes]
    series = {}
    for size, x in zip(sizes, numbers):
        for column, values in results.times[f"{family}/{size}"].items():
            series.setdefault(column, []).append((x, values["cpu"]))
    ys = [y for points in series.values() for _, y in points]
    width, height, left, right, top, bottom = 720, 420, 70, 190, 40, 55
    x_low, x_high = math.log10(min(numbers)), math.log10(max(numbers))
    y_low, y_high = math.floor(math.log10(min(ys))), math.ceil(math.log10(max(ys)))

    def at(x, y):
        horizontal = (math.log10(x) - x_low) / ((x_high - x_low) or 1)
        vertical = (math.log10(y) - y_low) / ((y_high - y_low) or 1)
        return left + horizontal * (width - left - right), height - bottom - vertical * (height - top - bottom)

    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           f'<text x="{left}" y="24" font-size="15">{title}</text>',
           f'<text x="{left}" y="{height - 12}">{x_title}</text>',
           f'<text transform="translate(16,{height - bottom}) rotate(-90)">{y_title}</text>']
    for exponent in range(y_low, y_high + 1):
        x, y = at(numbers[0], 10.0 ** exponent)
        svg.append(f'<line x1="{left}" x2="{width - right}" y1="{y:.1f}" y2="{y:.1f}" stroke="#ddd"/>')
        svg.append(f'<text x="{left - 6}" y="{y + 4:.1f}" text-anchor="end">{nice(10.0 ** exponent)}</text>')
    for x_value in numbers:
        x, y = at(x_value, 10.0 ** y_low)
        svg.append(f'<text x="{x:.1f}" y="{y + 18:.1f}" text-anchor="middle">{nice(x_value)}</text>')
    for place, column in enumerate(sorted(series, key=lambda name: (name != OURS, name))):
        colour = COLOURS[place % len(COLOURS)]
        points = " ".join("{:.1f},{:.1f}".format(*at(x, y)) for x, y in series[column])
        stroke = 3 if column == OURS else 1.5
        svg.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="{stroke}"/>')
        svg.append(f'<text x="{width - right + 12}" y="{top + 18 * place + 10}" fill="{colour}">{column}</text>')
    return "\n".join(svg + ["</svg>"]) + "\n"


def arm_table(results):
    rows = []
    for column, count in results.arm.items():
        native = results.counts.get(column)
        rows.append([column, number(count), number(native)])
    return table(["", "ARMv7, emulated", "this machine"], rows)


INTRODUCTION = """# Performance

Side by side with what a user would take instead.  All columns of a table were measured in one run, interleaved at random,
in several processes of which the median counts; before anything is timed, every column must give the answers of the first.
Times are CPU time, unless they say otherwise; instructions are counted by callgrind and do not depend on what else the
machine does.  Written by `scripts/bench`{full}.

{machine}
"""

COMMANDS = """## How to repeat it

    scripts/bench            # this page again, in a few minutes; --full: more repetitions
    scripts/test instructions    # what CI holds the counts to, within a tenth

- A column alone: `build/bench/bench/bench_find --benchmark_filter=RE2`, `build/bench/bench/count_find find/tldevice 1000`.
- The parent's size: `BENCH_PARENT_MB=200 build/bench/bench/bench_launch --benchmark_filter=launch`.
- A peer that is not installed leaves its column out, and the configuration says so.
"""

NOT_MEASURED = """Not measured on ARM: times, since the emulator's say nothing about a device; launches and waits, whose
cost is the kernel's; loading, since the emulated dynamic linker's counts would need the device's own; and the peers, which
are not installed for ARM.  What remains are the library's own pure computations and the standard library's.
"""

LEFT = """## Left on the table

- A hierarchical timer wheel would be without the heap's logarithm; with exact deadlines it takes a page to explain, and was
  not tried.
- A slot map for timer ids is faster than the hash table by some nanoseconds a call; its ids come back early, and its memory
  cannot be given back while its last slot is in use.
- A coarse clock would make adding and an idle `Process()` cheaper (see libevent's two columns), and deadlines wrong by
  milliseconds.
- vfork(2) or posix_spawn(3) would make a launch independent of the parent's size; the child could then neither report a
  failed dup2(2) or exec in words nor run the handlers of exit(3), both of which callers see today.
- A table of rows by type would save a hash; the catalogue's index by type would then have no use.
"""


def page(results, full):
    rows, missed = bars(results)
    parts = [INTRODUCTION.format(full=" --full" if full else "", machine=results.machine)]
    parts.append("## The bars\n\n" + table(["question", "against", "measured", "ours", "theirs", "ratio", "bar", ""], rows))
    parts.append("## Where a bar is missed\n\n" + (explanations(missed) if missed else "Nowhere.\n"))
    parts.append(net_of_clock(results))
    parts.append("## All columns\n")
    for family, sizes in families(results.times).items():
        parts.append(f"### {family}\n\n" + family_table(results, family, sizes))
        if any(entry[0] == family for entry in PLOTS) and len(sizes) > 1:
            parts.append(f"![{family}](performance/{family}.svg)\n")
    loads = [[name.split('/', 1)[1], number(count)] for name, count in results.counts.items() if name.startswith("load/")]
    parts.append("### load\n\n" + table(["dlopen(3), lazily bound", "instructions"], loads))
    parts.append("## System calls of a launch\n\n" + results.trace)
    if results.arm:
        parts.append("## ARM\n\nInstructions of one run, counted by a plugin of the emulator "
                     "(`bench/countInstructions.c`).\n\n" + arm_table(results) + "\n" + NOT_MEASURED)
    parts.append(COMMANDS)
    parts.append(LEFT)
    return "\n".join(parts)


def main(folder, docs, full):
    results = Results(folder)
    os.makedirs(f"{docs}/performance", exist_ok=True)
    sizes_of = families(results.times)
    for family, title, x_title, y_title in PLOTS:
        sizes = sizes_of.get(family, [])
        if len(sizes) > 1:
            with open(f"{docs}/performance/{family}.svg", "w", encoding="utf-8") as out:
                out.write(plot(results, family, sizes, title, x_title, y_title))
    with open(f"{docs}/performance.md", "w", encoding="utf-8") as out:
        out.write(page(results, full))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2], "--full" in sys.argv)
