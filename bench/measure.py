#!/usr/bin/env python3
"""measure.py BUILD OUT [--full] [PROGRAM...]: runs the programs of bench/ and writes the results as JSON.

Each group of columns (a question and a size) runs in several processes of its own, with the columns
interleaved at random, and the median is kept.  Standard library only.
"""
import json
import os
import re
import statistics
import subprocess
import sys


PARENTS_MB = (10, 200, 2000)  # memory of the launching program
BIG = ("/2000MB", "fire/1000000", "memory/1000000")  # take seconds per sample
NEEDED_KB = 6 << 20           # with less available memory, the largest parent is left out


def questions(program, environment):
    """What a program measures: question and size, without the columns."""
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, capture_output=True, text=True,
                            env=environment).stdout
    names = (re.sub(r"/iterations:.*", "", name) for name in listed.splitlines())
    return list(dict.fromkeys(name.rsplit("/", 1)[0] for name in names))


def run(program, environment, question, repetitions, seconds):
    """Runs every column's repetitions in random order, in one process.  Returns each column's values by measure."""
    output = subprocess.run(
        [program, f"--benchmark_filter=^{question}/[^/]*(/iterations.*)?$", "--benchmark_format=json",
         "--benchmark_enable_random_interleaving=true", f"--benchmark_repetitions={repetitions}",
         f"--benchmark_min_time={seconds}"],
        check=True, capture_output=True, text=True, env=environment).stdout
    found = {}
    for result in json.loads(output)["benchmarks"]:
        if result["run_type"] != "iteration":
            continue
        column = re.sub(r"/iterations:.*", "", result["name"]).rsplit("/", 1)[1]
        values = found.setdefault(column, {})
        if "bytes" in result:
            values.setdefault("bytes", []).append(result["bytes"])
            continue
        measured_itself = "manual_time" in result["name"]
        values.setdefault("cpu", []).append(result["real_time"] if measured_itself else result["cpu_time"])
        if "wall_p10" in result:
            values.setdefault("wall_p10", []).append(result["wall_p10"])
    return found


def median_of_processes(program, environment, question, full):
    big = question.endswith(BIG)
    processes = 1 if big and not full else 5 if full else 3
    repetitions = 2 if big else 25 if full else 9
    values = {}
    for _ in range(processes):
        for column, measures in run(program, environment, question, repetitions, "0.02" if full else "0.002").items():
            for measure, samples in measures.items():
                values.setdefault(column, {}).setdefault(measure, []).append(statistics.median(samples))
    return {column: {measure: statistics.median(medians) for measure, medians in measures.items()}
            for column, measures in values.items()}


def environments(name):
    """A launch is measured from parents of several sizes, every other program once."""
    if name != "bench_launch":
        return [os.environ]
    with open("/proc/meminfo", encoding="ascii") as meminfo:
        available = int(re.search(r"MemAvailable:\s*(\d+)", meminfo.read()).group(1))
    sizes = [size for size in PARENTS_MB if size < 1000 or available > NEEDED_KB]
    if len(sizes) < len(PARENTS_MB):
        print("bench: not enough memory for the largest parent, it is left out")
    return [dict(os.environ, BENCH_PARENT_MB=str(size)) for size in sizes]


def measure(build, full, chosen):
    results = {}
    for name in sorted(os.listdir(build)):
        program = f"{build}/{name}"
        if not name.startswith("bench_") or not os.access(program, os.X_OK) or (chosen and name not in chosen):
            continue
        for environment in environments(name):
            for question in questions(program, environment):
                results[question] = median_of_processes(program, environment, question, full)
                shown = {column: {key: round(value, 1) for key, value in values.items()}
                         for column, values in results[question].items()}
                print(question, shown, flush=True)
    return results


if __name__ == "__main__":
    words = [word for word in sys.argv[3:] if word != "--full"]
    measured = measure(sys.argv[1], "--full" in sys.argv, words)
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        json.dump(measured, out, indent=1)
