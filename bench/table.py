#!/usr/bin/env python3
"""Sets the least times of a benchmark run side by side.

table.py RESULTS.json: prints a Markdown table of operation, size, content, ours, plain, peer, the
ratio of ours to the peer and the goal. Ratios of searches, whose peer is plain code, are to that.
"""
import collections
import json
import pathlib
import sys


def read_goals():
    goals = {}
    for line in (pathlib.Path(__file__).parent / "goals.tsv").read_text().splitlines():
        if line and not line.startswith("#"):
            operation, peer, small, large = line.split("\t")
            goals[operation] = (peer, float(small), float(large))
    return goals


def read_least_times(path):
    times = collections.defaultdict(dict)
    for run in json.load(open(path))["benchmarks"]:
        if run.get("run_type") != "iteration" or run["name"].count("/") < 3:
            continue
        operation, side, content, variant = run["name"].split("/")[:4]
        row = times[operation, int(side), content]
        row[variant] = min(row.get(variant, run["real_time"]), run["real_time"])
    return times


def show_time(microseconds):
    if microseconds is None:
        return ""
    if microseconds < 1000:
        return f"{microseconds:.3g} us"
    return f"{microseconds / 1000:.3g} ms"


def main():
    goals = read_goals()
    order = list(goals)
    times = read_least_times(sys.argv[1])
    print("| operation | size | content | ours | plain | peer | ours / peer | goal | peer is |")
    print("|---|---|---|---|---|---|---|---|---|")
    place = lambda name: order.index(name) if name in goals else len(order)
    missed = 0
    for key in sorted(times, key=lambda k: (place(k[0]), k)):
        operation, side, content = key
        row = times[key]
        peer, small, large = goals.get(operation, ("", None, None))
        beside = row.get("plain") if peer == "plain code" else row.get("peer")
        ratio = row["ours"] / beside if "ours" in row and beside else None
        goal = small if side <= 1024 else large
        reached = "" if ratio is None or goal is None or ratio <= goal else " missed"
        missed += bool(reached)
        print(f"| {operation} | {side} | {content} | {show_time(row.get('ours'))} "
              f"| {show_time(row.get('plain'))} | {show_time(row.get('peer'))} "
              f"| {'' if ratio is None else format(ratio, '.3g')} "
              f"| {'' if goal is None else format(goal, 'g')}{reached} | {peer} |")
    print(f"\n{len(times)} rows, {missed} above their goal.")


if __name__ == "__main__":
    main()
