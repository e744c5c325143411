#!/usr/bin/env python3
"""Measures two builds of the project side by side.

compare.py OLD NEW REGEX ROUNDS: runs the benchmark programs OLD and NEW alternately, ROUNDS times
each, on the rows of ours that REGEX matches, and prints the least times and their ratio as a
Markdown table, the worst first. Rows that seem slower are measured again, twice, with three times
the rounds. Exit code 1 if some seem so each time.
"""
import os
import re
import subprocess
import sys
import tempfile

from table import read_least_times, table

ALLOWED = 1.03  # new / old
REPETITIONS = 8  # short ones, which another program seldom interrupts


def run(program, rows, folder):
    """One round of a program: {(operation, side, content): microseconds}."""
    results = os.path.join(folder, "results.json")
    done = subprocess.run(
        [program, f"--benchmark_filter={rows}", "--benchmark_min_time=0.002",
         f"--benchmark_repetitions={REPETITIONS}", f"--benchmark_out={results}",
         "--benchmark_out_format=json"],
        env={**os.environ, "TMPDIR": folder}, capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"error: {program}: {done.stderr}")
    return {key: row["ours"] for key, row in read_least_times(results).items() if "ours" in row}


def measure(programs, rows, rounds):
    """The least times of each program, of the rows that both have: {row: (old, new)}."""
    least = [{} for _ in programs]
    with tempfile.TemporaryDirectory() as folder:
        for number in range(rounds):
            print(f"\rround {number + 1} of {rounds}", end="", file=sys.stderr, flush=True)
            for times, program in zip(least, programs):
                for key, time in run(program, rows, folder).items():
                    times[key] = min(time, times.get(key, time))
    print(file=sys.stderr)
    return {key: (old, least[1][key]) for key, old in least[0].items() if key in least[1]}


def ratio(times):
    return times[1] / times[0]


def name(key):
    return "/".join(map(str, key))


def names_only(keys):
    """A regular expression for the rows of ours with these keys."""
    return f"^({'|'.join(name(key).replace('.', '[.]') for key in keys)})/ours"


def slower(times):
    return [key for key in times if ratio(times[key]) > ALLOWED]


def print_table(times):
    rows = [[name(key), *(format(time / 1000, ".4g") for time in times[key]),
             format(ratio(times[key]), ".3f")]
            for key in sorted(times, key=lambda key: -ratio(times[key]))]
    print(table(("row", "old ms", "new ms", "new / old"), rows), flush=True)


def list_rows(program, pattern):
    listed = subprocess.run([program, "--benchmark_list_tests"], capture_output=True, text=True,
                            check=True).stdout.splitlines()
    return [line.split("/")[:3] for line in listed if "/ours" in line and re.search(pattern, line)]


def main():
    programs, pattern, rounds = sys.argv[1:3], sys.argv[3], int(sys.argv[4])
    rows = list_rows(programs[1], pattern)
    if not rows:
        sys.exit("error: no row of ours has such a name")
    for rounds in (rounds, 3 * rounds, 3 * rounds):
        times = measure(programs, names_only(rows), rounds)
        print_table(times)
        rows = slower(times)
        print(f"{len(rows)} of {len(times)} rows are more than {100 * ALLOWED - 100:.0f} % slower"
              f"{': ' if rows else '.'}{'; '.join(map(name, rows))}\n", flush=True)
        if not rows:
            sys.exit()
    sys.exit(1)


if __name__ == "__main__":
    main()
