#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT
"""Compares two revisions by the JSON output of their benchmark programs.

    compare.py --before FILE... --after FILE... [--instructions-before FILE --instructions-after FILE] [--fail]

Each file is the output of one run of one program; the runs of the two revisions should alternate. For each benchmark, a
Mann-Whitney U test shows how likely such a difference would be by chance alone, and a bootstrap estimates an interval
for the ratio of the medians. A benchmark counts as slower or faster if the p value is below 1 % after Holm's correction
for the number of benchmarks, and the whole interval is more than 2 % away from 1. With --fail, the exit code is 1 if a
benchmark is slower, or if a hot path needs more than 4 % more instructions.

Google Benchmark's own compare.py has the U test, but no interval and no exit code.
"""

import argparse
import json
import math
import pathlib
import random
import sys
from collections import defaultdict
from typing import NamedTuple

LEVEL = 0.01
MARGIN = 0.02
RESAMPLES = 2000
MAX_EXACT = 400  # product of the sample sizes up to which the exact distribution is computed


def median(values):
    ordered = sorted(values)
    middle = len(ordered) // 2
    return ordered[middle] if len(ordered) % 2 else (ordered[middle - 1] + ordered[middle]) / 2


def u_statistic(before, after):
    """Returns the number of pairs in which the value of after is larger; a tie counts as a half."""
    return sum((a > b) + 0.5 * (a == b) for a in after for b in before)


def exact_p(u, m, n):
    """Returns the exact two-sided p value of U; assumes that there are no ties."""
    ways = [[None] * (n + 1) for _ in range(m + 1)]  # ways[i][j][u]
    for i in range(m + 1):
        for j in range(n + 1):
            if i == 0 or j == 0:
                ways[i][j] = [1]
                continue
            counts = [0] * (i * j + 1)
            for k, count in enumerate(ways[i - 1][j]):
                counts[k + j] += count
            for k, count in enumerate(ways[i][j - 1]):
                counts[k] += count
            ways[i][j] = counts
    counts = ways[m][n]
    tail = sum(counts[: int(min(u, m * n - u)) + 1])
    return min(1.0, 2 * tail / sum(counts))


def normal_p(u, before, after):
    """Returns the p value of U from the normal approximation, corrected for ties and continuity."""
    m, n = len(before), len(after)
    total = m + n
    sizes = defaultdict(int)
    for value in [*before, *after]:
        sizes[value] += 1
    ties = sum(size**3 - size for size in sizes.values())
    variance = m * n / 12 * (total + 1 - ties / (total * (total - 1)))
    if variance <= 0:
        return 1.0
    z = max(0.0, abs(u - m * n / 2) - 0.5) / math.sqrt(variance)
    return math.erfc(z / math.sqrt(2))


def mann_whitney(before, after):
    """Returns the two-sided p value of the hypothesis that both come from one distribution."""
    u = u_statistic(before, after)
    has_ties = len({*before, *after}) < len(before) + len(after)
    if not has_ties and len(before) * len(after) <= MAX_EXACT:
        return exact_p(u, len(before), len(after))
    return normal_p(u, before, after)


def ratio_interval(before, after, seed=1):
    """Returns the interval that contains 99 % of the ratios of the medians of random resamples."""
    chance = random.Random(seed)
    ratios = sorted(median(chance.choices(after, k=len(after))) / median(chance.choices(before, k=len(before)))
                    for _ in range(RESAMPLES))
    edge = int(RESAMPLES * LEVEL / 2)
    return ratios[edge], ratios[-1 - edge]


def holm(p_values):
    """Returns the p values with Holm's correction for their number."""
    order = sorted(range(len(p_values)), key=lambda i: p_values[i])
    corrected = [0.0] * len(p_values)
    largest = 0.0
    for rank, i in enumerate(order):
        largest = max(largest, min(1.0, p_values[i] * (len(p_values) - rank)))
        corrected[i] = largest
    return corrected


class Comparison(NamedTuple):
    name: str
    before: float  # median
    after: float
    low: float  # of the ratio after/before
    high: float
    p: float

    @property
    def verdict(self):
        if self.p < LEVEL and self.low > 1 + MARGIN:
            return "slower"
        if self.p < LEVEL and self.high < 1 - MARGIN:
            return "faster"
        return ""


def compare(before, after):
    """Compares {name: [time]} of two revisions. Returns a Comparison for each name that both have."""
    names = [name for name in before if name in after]
    corrected = holm([mann_whitney(before[name], after[name]) for name in names])
    return [Comparison(name, median(before[name]), median(after[name]), *ratio_interval(before[name], after[name]), p)
            for name, p in zip(names, corrected)]


def read_runs(paths):
    """Returns {name: [time in ns]}. Omits the contestants from other libraries, which cannot have changed."""
    times = defaultdict(list)
    for path in paths:
        for run in json.loads(pathlib.Path(path).read_text(encoding="utf-8"))["benchmarks"]:
            if run.get("run_type") != "iteration" or "/QvUtil" not in run["run_name"]:
                continue
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run.get('error_message', 'failed')}")
            unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
            times[run["run_name"]].append(run["real_time"] * unit)
    return times


def read_instructions(path):
    """Reads lines of a name, a tab and a number."""
    lines = pathlib.Path(path).read_text(encoding="utf-8").splitlines()
    return {name: float(count) for name, count in (line.split("\t") for line in lines)}


def print_table(header, rows):
    widths = [max(len(cell) for cell in column) for column in zip(header, *rows)]
    for row in (header, *rows):
        print("  ".join(cell.ljust(width) if i == 0 else cell.rjust(width)
                        for i, (cell, width) in enumerate(zip(row, widths))).rstrip())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--before", nargs="+", required=True, help="output of the programs of the base")
    parser.add_argument("--after", nargs="+", required=True, help="output of the programs to judge")
    parser.add_argument("--instructions-before", help="instructions of the hot paths, NAME<tab>COUNT")
    parser.add_argument("--instructions-after")
    parser.add_argument("--fail", action="store_true", help="exit with 1 if something is clearly slower")
    arguments = parser.parse_args()
    comparisons = compare(read_runs(arguments.before), read_runs(arguments.after))
    print_table(("benchmark", "before/ns", "after/ns", "ratio", "99 % interval", "p", ""),
                [(c.name, f"{c.before:.4g}", f"{c.after:.4g}", f"{c.after / c.before:.3f}", f"{c.low:.3f}..{c.high:.3f}",
                  f"{c.p:.2g}", c.verdict) for c in comparisons])
    slower = any(c.verdict == "slower" for c in comparisons)
    if arguments.instructions_before and arguments.instructions_after:
        before, after = (read_instructions(path) for path in (arguments.instructions_before,
                                                              arguments.instructions_after))
        names = [name for name in before if name in after]
        print()
        print_table(("hot path", "instructions before", "after", "ratio"),
                    [(name, f"{before[name]:.4g}", f"{after[name]:.4g}", f"{after[name] / before[name]:.3f}")
                     for name in names])
        # Instruction counts hardly depend on the machine's load.
        slower = slower or any(after[name] > before[name] * (1 + 2 * MARGIN) for name in names)
    sys.exit(1 if arguments.fail and slower else 0)


if __name__ == "__main__":
    main()
