"""Measured figures side by side: medians, their spread, and the goals."""

import json
import os
import statistics
from dataclasses import dataclass
from pathlib import Path


def alternate(runs, *measurements):
    """Runs the measurements in turn, so that other load on the machine affects them alike, and returns the results of
    each. The first round only warms the caches."""
    results = [[] for _ in measurements]
    for number in range(runs + 1):
        for measurement, result in zip(measurements, results):
            value = measurement()
            if number > 0:
                result.append(value)
    return results


@dataclass
class Row:
    what: str
    unit: str
    ours: list
    theirs: list = None
    other: str = ""
    goal: float = 0
    kind: str = "times"      # the goal bounds ours / theirs; with "more" it bounds ours - theirs; alone, it bounds ours

    def compared(self):
        """The figure to compare with the goal."""
        ours = statistics.median(self.ours)
        if not self.theirs:
            return ours
        theirs = statistics.median(self.theirs)
        return ours - theirs if self.kind == "more" else ours / theirs

    def reached(self):
        return self.compared() <= self.goal

    def spread(self, values):
        """Half the interquartile range, as a percentage of the median."""
        if len(values) < 3 or not statistics.median(values):
            return ""
        low, _, high = statistics.quantiles(values, n=4)
        return f"±{(high - low) / 2 / statistics.median(values):.0%}"

    def cells(self):
        def figure(values):
            median = statistics.median(values)
            digits = 0 if median >= 100 else 1 if median >= 10 else 2
            return f"{median:.{digits}f} {self.unit} {self.spread(values)}".strip()

        theirs = f"{self.other}: {figure(self.theirs)}" if self.theirs else ""
        ratio = goal = f"{self.goal:g} {self.unit}".strip()
        if not self.theirs:
            ratio = ""
        elif self.kind == "more":
            ratio, goal = f"{self.compared():+.1f} {self.unit}", f"{self.goal:+g} {self.unit}"
        else:
            ratio, goal = f"{self.compared():.2f}×", f"{self.goal:g}×"
        return [self.what, figure(self.ours), theirs, ratio, goal, "yes" if self.reached() else "**no**"]


class Table:
    HEAD = ["what", "ours", "theirs", "ratio", "at most", "reached"]

    def __init__(self):
        self.rows = []

    def add(self, row):
        self.rows.append(row)
        print("   " + " | ".join(row.cells()), flush=True)

    def text(self):
        lines = [self.HEAD, ["---"] * len(self.HEAD), *(row.cells() for row in self.rows)]
        return "\n".join("| " + " | ".join(cells) + " |" for cells in lines)

    def write(self, folder):
        machine = f"{os.cpu_count()} processors, {os.uname().sysname} {os.uname().machine}"
        rows = [{"what": row.what, "unit": row.unit, "ours": row.ours, "theirs": row.theirs, "other": row.other,
                 "kind": row.kind, "compared": row.compared(), "goal": row.goal, "reached": row.reached()}
                for row in self.rows]
        (folder / "results.json").write_text(json.dumps({"machine": machine, "rows": rows}, indent=1) + "\n")
        (folder / "results.md").write_text(self.text() + "\n")
