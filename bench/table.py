#!/usr/bin/env python3
"""Sets the least times of a benchmark run side by side.

table.py RESULTS.json: prints two Markdown tables: ours beside the plain definition and the peer,
with the ratio of ours to the peer and the goal (the searches' peer is plain code); and how the cost
of ours grows with the picture.

table.py RESULTS.json MEASURED: prints the page bench/performance.md.in, filled with the rows of
bench/shown.txt, with those above their goal, and with MEASURED, the words that say when and where.
"""
import collections
import json
import pathlib
import string
import sys

HERE = pathlib.Path(__file__).parent
HEADINGS = ("operation", "size", "content", "ours", "plain", "peer", "ours / peer", "goal", "peer is")


def read_lines(name):
    lines = (HERE / name).read_text().splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def read_goals():
    goals = {}
    for line in read_lines("goals.tsv"):
        operation, peer, *ratios = line.split("\t")
        goals[operation] = (peer, [float(ratio) for ratio in ratios])
    return goals


def read_least_times(path, clock="real_time"):
    """{(operation, side, content): {variant: microseconds}}"""
    times = collections.defaultdict(dict)
    for run in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
        if run.get("run_type") != "iteration" or run["name"].count("/") < 3:
            continue
        operation, side, content, variant = run["name"].split("/")[:4]
        row = times[operation, int(side), content]
        row[variant] = min(row.get(variant, run[clock]), run[clock])
    return times


def goal_at(ratios, side):
    """Of two goals, that of 512 or of 4096, whichever is nearer; of more, that of 512, 1024, ..."""
    if len(ratios) > 2:
        return ratios[min((side // 1024).bit_length(), len(ratios) - 1)]
    return ratios[0 if side <= 1024 else -1] if ratios else None


class Row:
    """The times of an operation on pictures of one size and content."""

    def __init__(self, key, times, goals):
        self.operation, self.side, self.content = key
        self.times = times
        self.peer, ratios = goals.get(self.operation, ("", []))
        self.goal = goal_at(ratios, self.side)
        beside = times.get("plain" if self.peer == "plain code" else "peer")
        self.ratio = times["ours"] / beside if beside and "ours" in times else None
        self.is_missed = None not in (self.ratio, self.goal) and self.ratio > self.goal

    def name(self):
        return f"{self.operation}/{self.side}/{self.content}"

    def cells(self):
        goal = show(self.goal, "g") + (" missed" if self.is_missed else "")
        times = [show_time(self.times.get(variant)) for variant in ("ours", "plain", "peer")]
        return [self.operation, str(self.side), self.content, *times, show(self.ratio, ".3g"), goal,
                self.peer]


def read_rows(path):
    """The rows with something to compare, in the order of the goals, and all times in that order."""
    goals = read_goals()
    order = {operation: place for place, operation in enumerate(goals)}
    times = sorted(read_least_times(path).items(),
                   key=lambda item: (order.get(item[0][0], len(order)), item[0]))
    return [Row(key, row, goals) for key, row in times if len(row) > 1], times


def show(number, form):
    return "" if number is None else format(number, form)


def show_time(microseconds):
    if microseconds is None:
        return ""
    if microseconds < 1000:
        return f"{microseconds:.3g} us"
    return f"{microseconds / 1000:.3g} ms"


def table(headings, rows):
    lines = [headings, ["---"] * len(headings), *rows]
    return "".join(f"| {' | '.join(cells)} |\n" for cells in lines)


def comparison(rows):
    missed = sum(row.is_missed for row in rows)
    return (table(HEADINGS, [row.cells() for row in rows]) +
            f"\n{len(rows)} rows, {missed} above their goal.\n")


def growth(times):
    costs = collections.defaultdict(dict)
    for (operation, side, content), row in times:
        if side in (256, 1024, 4096) and "ours" in row:
            costs[operation, content][side] = row["ours"]
    rows = [[*key, *(f"{show_time(cost[side])}, {cost[side] * 1000 / side**2:.3g} ns a pixel"
                     for side in sorted(cost))]
            for key, cost in costs.items() if len(cost) == 3]
    return table(("operation", "content", "256", "1024", "4096"), rows)


def missed_goals(rows):
    by_operation = collections.defaultdict(list)
    for row in rows:
        if row.is_missed:
            by_operation[row.operation].append(
                f"{row.side} {row.content} {row.ratio:.3g} ({row.goal:g})")
    head = f"{sum(map(len, by_operation.values()))} of {len(rows)} rows are above their goal"
    if not by_operation:
        return head + ".\n"
    return (head + ". Ours / peer, and the goal in brackets:\n\n" +
            "".join(f"- {operation}: {', '.join(cells)}\n"
                    for operation, cells in by_operation.items()))


def page(rows, measured):
    by_name = {row.name(): row for row in rows}
    shown = table(HEADINGS, [by_name[name].cells() for name in read_lines("shown.txt")])
    return string.Template((HERE / "performance.md.in").read_text()).substitute(
        measured=measured, rows=shown, missed=missed_goals(rows))


def main():
    rows, times = read_rows(sys.argv[1])
    if len(sys.argv) > 2:
        print(page(rows, sys.argv[2]), end="")
    else:
        print(comparison(rows) + "\n" + growth(times), end="")


if __name__ == "__main__":
    main()
