#!/usr/bin/env python3
"""bars.py RESULTS: compares the results with the acceptance figures.  Exits 1 if one is missed, and
prints the known reasons.  Standard library only."""
import math
import sys

from results import OURS, Results, number, table

# One line per bar: a description, the question's name and size, the peer, what is compared, and the
# highest allowed ratio of ours to the peer's.  "instructions" are callgrind's; "cpu" and "wall_p10"
# are nanoseconds.
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

# Why a bar may be missed.
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
    "find": "Each id is looked at.",
    "look-up-by-type": "The catalogue's hashed index takes its bucket from a table of prime divisors, in a function of its "
                       "own, and a call into a shared library comes on top; the map is inlined where it is used.  An array "
                       "by type would be ahead, and leave the container's index without a use.",
    "look-up-by-id": "Both walk a tree of the same shape.",
    "split": "With many pieces the vector's growth and the pieces' own memory outweigh the search, and those are the same "
             "for all.",
    "hex-to-number": "std::from_chars is inlined; axtoi is a call into a shared library.",
    "number-to-hex": "", "number-to-decimal": "",
    "failure-line": "The texts are copied once, strerror(3) looks its text up.",
    "load": "Two libraries are loaded, libtldevice.so and libtlshared.so; the catalogue, with its rows in three indices, "
            "is built at load because look-ups must work before any constructor of the user's.  And a third of the count "
            "is libstdc++ setting up the standard streams, which it does, before version 13, in the first that includes "
            "`<iostream>`: in a program that uses them itself the bar is met.  The library reports on std::cerr and "
            "std::cout, so that a program which leads these elsewhere gets its lines too; stdio would save the third, and "
            "lose that.",
}


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


def main(folder):
    results = Results(folder)
    rows, missed = bars(results)
    print(table(["question", "against", "measured", "ours", "theirs", "ratio", "bar", ""], rows))
    if missed:
        print(explanations(missed))
    print(net_of_clock(results))
    sys.exit(1 if missed else 0)


if __name__ == "__main__":
    main(sys.argv[1])
