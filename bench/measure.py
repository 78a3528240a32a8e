#!/usr/bin/env python3
"""Runs the programs of bench/ and writes what they measured as JSON: python3 measure.py BUILD OUT [--full] [PROGRAM...]

Each group of columns (a question and a size) is run in several processes of its own, the columns interleaved at random,
and the median is kept.  Standard library only.
"""
import json
import os
import re
import statistics
import subprocess
import sys


def questions(program):
    """What a program measures: question and size, without the columns."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, capture_output=True, text=True).stdout
    names = (re.sub(r"/iterations:.*", "", name) for name in listed.splitlines())
    return list(dict.fromkeys(name.rsplit("/", 1)[0] for name in names))


def run(program, question, full):
    """One process: every column's repetitions, in random order.  A launch column is one sample a repetition."""
    wanted = f"^{question}/[^/]*(/iterations.*)?$"
    sampled = question.startswith(("launch", "system", "wait"))
    repetitions = (30 if full else 12) if sampled else (20 if full else 7)
    output = subprocess.run(
        [program, "--benchmark_filter=" + wanted, "--benchmark_format=json",
         "--benchmark_enable_random_interleaving=true", f"--benchmark_repetitions={repetitions}",
         "--benchmark_min_time=" + ("0.02" if full else "0.002")],
        check=True, capture_output=True, text=True).stdout
    samples = {}
    for result in json.loads(output)["benchmarks"]:
        if result["run_type"] != "iteration":
            continue
        column = re.sub(r"/iterations:.*", "", result["name"]).rsplit("/", 1)[1]
        measured = "manual_time" in result["name"]
        values = {"cpu": result["real_time"] if measured else result["cpu_time"]}
        for counter in ("bytes", "wall_p10"):
            if counter in result:
                values[counter] = result[counter]
        for key, value in values.items():
            samples.setdefault(column, {}).setdefault(key, []).append(value)
    return samples


def measure(build, full, chosen):
    results = {}
    programs = sorted(name for name in os.listdir(build) if name.startswith("bench_") and os.access(f"{build}/{name}", os.X_OK))
    for name in programs:
        if chosen and name not in chosen:
            continue
        for question in questions(f"{build}/{name}"):
            merged = {}
            for _ in range(5 if full else 3):
                for column, values in run(f"{build}/{name}", question, full).items():
                    for key, value in values.items():
                        merged.setdefault(column, {}).setdefault(key, []).append(statistics.median(value))
            results[question] = {
                column: {key: statistics.median(value) for key, value in values.items()}
                for column, values in merged.items()
            }
            print(question, {c: round(v["cpu"], 1) for c, v in results[question].items()}, flush=True)
    return results


if __name__ == "__main__":
    words = [word for word in sys.argv[3:] if word != "--full"]
    measured = measure(sys.argv[1], "--full" in sys.argv, words)
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        json.dump(measured, out, indent=1)
