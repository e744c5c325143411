#!/usr/bin/env python3
"""Measures two builds of the project side by side.

compare.py OLD NEW REGEX ROUNDS: runs the benchmark programs OLD and NEW alternately, ROUNDS times
each, on the rows of ours that REGEX matches, and prints the least times and their ratio as a
Markdown table, the worst first. A row counts as slower if its time and its CPU time have grown: the
first grows with what other programs do meanwhile, the second holds what prepares each run as well.
Rows that seem slower are measured again, twice, with three times the rounds. Exit code 1 if some
seem so each time.
"""
import itertools
import os
import re
import subprocess
import sys
import tempfile

from table import read_least_times, table

ALLOWED = {"real_time": 1.03, "cpu_time": 1.01}  # new / old
REPETITIONS = 5  # short ones, which another program seldom interrupts


def name(row):
    return "/".join(map(str, row))


def names_only(rows):
    """A regular expression for these rows of ours."""
    return f"^({'|'.join(name(row).replace('.', '[.]') for row in rows)})/ours"


def run(program, rows, folder):
    """One round of a program: {((operation, side, content), clock): microseconds}."""
    results = os.path.join(folder, "results.json")
    done = subprocess.run(
        [program, f"--benchmark_filter={names_only(rows)}", "--benchmark_min_time=0.002",
         f"--benchmark_repetitions={REPETITIONS}", f"--benchmark_out={results}",
         "--benchmark_out_format=json"],
        env={**os.environ, "TMPDIR": folder}, capture_output=True, text=True)
    if done.returncode:
        sys.exit(f"error: {program}: {done.stderr}")
    if os.path.getsize(results) == 0:  # it has no such row
        return {}
    return {(key, clock): row["ours"]
            for clock in ALLOWED for key, row in read_least_times(results, clock).items()}


def measure(programs, rows, rounds):
    """The least times of rows that both programs have: {(row, clock): (old, new)}. One operation
    after another, so that both programs meet it while the machine is equally busy."""
    least = [{} for _ in programs]
    operations = [list(rows) for _, rows in itertools.groupby(rows, key=lambda row: row[0])]
    with tempfile.TemporaryDirectory() as folder:
        for place, of_operation in enumerate(operations, 1):
            print(f"\r{place} of {len(operations)} operations", end="", file=sys.stderr, flush=True)
            for times, program in [*zip(least, programs)] * rounds:
                for key, time in run(program, of_operation, folder).items():
                    times[key] = min(time, times.get(key, time))
    print(file=sys.stderr)
    return {key: (old, least[1][key]) for key, old in least[0].items() if key in least[1]}


def rows_of(times):
    return sorted({row for row, _ in times})


def ratio(times, row, clock="real_time"):
    old, new = times[row, clock]
    return new / old


def slower(times):
    return [row for row in rows_of(times)
            if all(ratio(times, row, clock) > allowed for clock, allowed in ALLOWED.items())]


def print_table(times):
    lines = [[name(row), *(format(time / 1000, ".4g") for time in times[row, "real_time"]),
              *(format(ratio(times, row, clock), ".3f") for clock in ALLOWED)]
             for row in sorted(rows_of(times), key=lambda row: -ratio(times, row))]
    print(table(("row", "old ms", "new ms", "new / old", "in CPU time"), lines), flush=True)


def list_rows(program, pattern):
    listed = subprocess.run([program, "--benchmark_list_tests"], capture_output=True, text=True,
                            check=True).stdout.splitlines()
    return sorted(line.split("/")[:3] for line in listed
                  if "/ours" in line and re.search(pattern, line))


def main():
    programs, pattern, rounds = sys.argv[1:3], sys.argv[3], int(sys.argv[4])
    rows = list_rows(programs[1], pattern)
    if not rows:
        sys.exit("error: no row of ours has such a name")
    for rounds in (rounds, 3 * rounds, 3 * rounds):
        times = measure(programs, rows, rounds)
        print_table(times)
        rows = slower(times)
        print(f"{len(rows)} of {len(rows_of(times))} rows are more than 3 % slower"
              f"{': ' if rows else '.'}{'; '.join(map(name, rows))}\n", flush=True)
        if not rows:
            sys.exit()
    sys.exit(1)


if __name__ == "__main__":
    main()
