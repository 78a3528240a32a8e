"""What scripts/measure/bench measured, for the programs that tell of it.

A folder of results holds times.json, counts.txt, arm.txt (may be missing), trace.txt and machine.txt.
"""
import json
import os

OURS = "tldevice"
FLOOR = "floor"


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
