#!/usr/bin/env python3
"""Sets the least times of a benchmark run side by side.

table.py RESULTS.json: prints two Markdown tables: ours beside the plain definition and the peer,
with the ratio of ours to the peer and the goal (the searches' peer is plain code); and how the cost
of ours grows with the picture.
"""
import collections
import json
import pathlib
import sys


def read_goals():
    goals = {}
    for line in (pathlib.Path(__file__).parent / "goals.tsv").read_text().splitlines():
        if line and not line.startswith("#"):
            operation, peer, *ratios = line.split("\t")
            goals[operation] = (peer, [float(ratio) for ratio in ratios])
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


def beside(row, peer):
    return row.get("plain") if peer == "plain code" else row.get("peer")


def goal_at(ratios, side):
    """Of two goals, that of 512 or of 4096, whichever is nearer; of more, that of 512, 1024, ..."""
    if len(ratios) > 2:
        return ratios[min((side // 1024).bit_length(), len(ratios) - 1)]
    return ratios[0 if side <= 1024 else -1] if ratios else None


def print_comparison(times, goals):
    print("| operation | size | content | ours | plain | peer | ours / peer | goal | peer is |")
    print("|---|---|---|---|---|---|---|---|---|")
    compared = missed = 0
    for (operation, side, content), row in times:
        if len(row) < 2:
            continue
        peer, ratios = goals.get(operation, ("", []))
        goal = goal_at(ratios, side)
        ratio = row["ours"] / beside(row, peer) if beside(row, peer) else None
        is_missed = None not in (ratio, goal) and ratio > goal
        compared += 1
        missed += is_missed
        print(f"| {operation} | {side} | {content} | {show_time(row.get('ours'))} "
              f"| {show_time(row.get('plain'))} | {show_time(row.get('peer'))} "
              f"| {'' if ratio is None else format(ratio, '.3g')} "
              f"| {'' if goal is None else format(goal, 'g')}{' missed' if is_missed else ''} "
              f"| {peer} |")
    print(f"\n{compared} rows, {missed} above their goal.")


def print_growth(times):
    print("\n| operation | content | 256 | 1024 | 4096 |\n|---|---|---|---|---|")
    costs = collections.defaultdict(dict)
    for (operation, side, content), row in times:
        if side in (256, 1024, 4096) and "ours" in row:
            costs[operation, content][side] = row["ours"]
    for (operation, content), cost in costs.items():
        if len(cost) == 3:
            cells = [f"{show_time(cost[side])}, {cost[side] * 1000 / side**2:.3g} ns a pixel"
                     for side in sorted(cost)]
            print(f"| {operation} | {content} | {' | '.join(cells)} |")


def main():
    goals = read_goals()
    order = list(goals)
    place = lambda name: order.index(name) if name in goals else len(order)
    times = sorted(read_least_times(sys.argv[1]).items(), key=lambda t: (place(t[0][0]), t[0]))
    print_comparison(times, goals)
    print_growth(times)


if __name__ == "__main__":
    main()
