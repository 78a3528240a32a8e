#!/usr/bin/env python3
"""Counts the instructions that one run of a column executes: the difference between two numbers of runs.

    count.py BUILD                  prints the count of every column of the programs count_* in BUILD
    count.py BUILD --hold-to FILE   compares the columns that FILE names, one "count name" per line,
                                    and fails if a count has grown by more than a tenth
    count.py BUILD --write FILE     updates the counts of the columns that FILE names
    --arm PLUGIN SYSROOT            the programs are for ARM and run in the emulator

Standard library only.
"""
import math
import os
import re
import subprocess
import sys

CATALOGUE = os.path.join(os.path.dirname(__file__), "../tests/device/catalogue.golden")
TOLERANCE = 1.10
STATIC_INITIALISATION = "load/static-initialisation"  # of the catalogue
TOO_LONG_TO_PREPARE = re.compile(r"^timer-.*/1000+0/|^split/400|^load/")


def runs():
    """A multiple of every number of inputs (64 texts, one look-up per type), so that all are used equally often."""
    with open(CATALOGUE, encoding="utf-8") as table:
        return math.lcm(64, len(table.readlines()) - 1)


MORE = runs()


def executed(tool, command):
    result = subprocess.run(tool + command, capture_output=True, text=True, check=False, timeout=300)
    found = re.search(r"Collected\s*: (\d+)", result.stderr)
    if found is None or result.returncode != 0:
        sys.exit(f"{' '.join(tool + command)} failed:\n{result.stderr[-2000:]}")
    return int(found.group(1))


class Counter:
    def __init__(self, build, arm=None):
        self.build = build
        self.tool = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
        if arm:
            self.tool = ["qemu-arm", "-L", arm[1], "-plugin", arm[0]]
        self.emulator = ["qemu-arm", "-L", arm[1]] if arm else []

    def columns(self):
        """Every column by name, with its program."""
        found = {}
        for name in sorted(os.listdir(self.build)):
            program = f"{self.build}/{name}"
            if name.startswith("count_") and os.access(program, os.X_OK):
                listed = subprocess.run(self.emulator + [program], capture_output=True, text=True, check=True).stdout
                found.update((column, program) for column in listed.split())
        return found

    def count(self, program, column):
        if column == STATIC_INITIALISATION:
            tool = self.tool + ["--toggle-collect=_GLOBAL__sub_I*DeviceType*"]
            return executed(["env", "LD_BIND_NOW=1"] + tool, [program, "load/tldevice", "1"])
        first, more = (0, 1) if column.startswith("load/") else (64, MORE)
        counts = [executed(self.tool, [program, column, str(times)]) for times in (first, first + more)]
        return (counts[1] - counts[0]) / more


def named_in(file):
    with open(file, encoding="utf-8") as lines:
        pairs = [line.split() for line in lines if line.strip() and not line.startswith("#")]
    return {name: float(count) for count, name in pairs}


def hold_to(counter, file):
    columns = counter.columns()
    grown = 0
    for name, before in named_in(file).items():
        program = columns["load/tldevice" if name == STATIC_INITIALISATION else name]
        now = counter.count(program, name)
        verdict = "GROWN" if now > TOLERANCE * before else "ok"
        grown += verdict == "GROWN"
        print(f"{now:10.1f} instructions, {now / before:5.2f} of {before:10.1f}  {verdict:5}  {name}", flush=True)
    return grown


def write(counter, file):
    columns = counter.columns()
    with open(file, encoding="utf-8") as lines:
        comments = [line for line in lines if line.startswith("#")]
    names = list(named_in(file))
    with open(file, "w", encoding="utf-8") as out:
        out.writelines(comments)
        for name in names:
            program = columns["load/tldevice" if name == STATIC_INITIALISATION else name]
            out.write(f"{counter.count(program, name):10.1f}  {name}\n")


def all_counts(counter):
    """Every column that can be counted within seconds, and the loads."""
    counts = {}
    columns = counter.columns()
    for name, program in columns.items():
        if not TOO_LONG_TO_PREPARE.match(name) and "syslog" not in name:
            counts[name] = counter.count(program, name)
    if not counter.emulator:
        for name, program in columns.items():
            if name.startswith("load/"):
                counts[name] = counter.count(program, name)
        counts[STATIC_INITIALISATION] = counter.count(columns["load/tldevice"], STATIC_INITIALISATION)
    return counts


def main(words):
    build = words.pop(0)
    arm = None
    if "--arm" in words:
        at = words.index("--arm")
        arm = words[at + 1:at + 3]
        del words[at:at + 3]
    counter = Counter(build, arm)
    if words and words[0] == "--hold-to":
        sys.exit(1 if hold_to(counter, words[1]) else 0)
    if words and words[0] == "--write":
        write(counter, words[1])
        return
    for name, count in all_counts(counter).items():
        print(f"{count:10.1f}  {name}")


if __name__ == "__main__":
    main(sys.argv[1:])
