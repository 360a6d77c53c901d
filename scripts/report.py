#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT
"""Converts the JSON output of the benchmark programs to a Markdown page and a chart.

Each benchmark is named Subject/Contestant[/argument]. Within a subject and argument, results are relative to that of
the contestant whose name begins with "raw". If a program timed single runs, the counter p99_ns is their 99th percentile.
"""

import argparse
import json
import pathlib
import sys
from collections import defaultdict
from typing import NamedTuple, Optional

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402

OWN = "QvUtil"


class Result(NamedTuple):
    median: float  # ns
    spread: float  # half the distance between the extremes, relative to the median
    p99: Optional[float]  # ns


def median_of(values):
    return sorted(values)[len(values) // 2]


def natural_order(text):
    """Sorts "x 10" after "x 9"."""
    return [(word.isdigit(), int(word) if word.isdigit() else word) for word in text.split()]


def split_name(name):
    """Returns the subject with its argument, and the contestant, without the additions of the benchmark library."""
    subject, contestant, *arguments = name.split("/")
    arguments = [word for word in arguments if not word.startswith("iterations:") and not word.endswith("_time")]
    return " ".join([subject, *arguments]), contestant


def read_runs(paths):
    """Returns {subject: {contestant: Result}}, in the order of the subjects' names."""
    subjects = defaultdict(dict)
    for path in paths:
        times = defaultdict(list)
        percentiles = defaultdict(list)
        for run in json.loads(pathlib.Path(path).read_text())["benchmarks"]:
            if run.get("run_type") != "iteration":
                continue
            if run.get("error_occurred"):
                sys.exit(f"{path}: {run['name']}: {run.get('error_message', 'failed')}")
            unit = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
            times[run["run_name"]].append(run["real_time"] * unit)
            if "p99_ns" in run:
                percentiles[run["run_name"]].append(run["p99_ns"])
        for name, values in times.items():
            subject, contestant = split_name(name)
            median = median_of(values)
            spread = (max(values) - min(values)) / median / 2
            p99 = median_of(percentiles[name]) if name in percentiles else None
            subjects[subject][contestant] = Result(median, spread, p99)
    return dict(sorted(subjects.items(), key=lambda item: natural_order(item[0])))


def show_time(ns):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{ns / size:.3g} {unit}"
    return f"{ns:.3g} ns"


def show_ratio(ratio):
    return f"{ratio:.2f}" if ratio >= 0.1 else f"{ratio:.2g}"


def measure_of(contestants):
    return next((name for name in contestants if name.startswith("raw")), next(iter(contestants)))


def write_tables(subjects, out):
    for subject, contestants in subjects.items():
        measure = measure_of(contestants)
        has_p99 = any(result.p99 is not None for result in contestants.values())
        out.write(f"\n### {subject}\n\n| contestant | time | ratio to “{measure}” | spread |"
                  f"{' 99th percentile |' if has_p99 else ''}\n|---|---:|---:|---:|{'---:|' if has_p99 else ''}\n")
        for name, result in sorted(contestants.items(), key=lambda item: item[1].median):
            label = f"**{name}**" if name.startswith(OWN) else name
            ratio = result.median / contestants[measure].median
            p99 = f" {show_time(result.p99)} |" if has_p99 else ""
            out.write(f"| {label} | {show_time(result.median)} | {show_ratio(ratio)} | ±{result.spread * 100:.0f} % |"
                      f"{p99}\n")


def draw_chart(subjects, path):
    rows = []
    for subject, contestants in subjects.items():
        measure = contestants[measure_of(contestants)].median
        rows.append((subject, None, None))
        rows.extend((name, result.median / measure, result.spread * result.median / measure)
                    for name, result in sorted(contestants.items(), key=lambda item: item[1].median))
    figure, axes = plt.subplots(figsize=(9, 0.24 * len(rows) + 1))
    for y, (label, ratio, noise) in enumerate(rows):
        if ratio is None:
            axes.text(-0.01, y, label, ha="right", va="center", weight="bold", transform=axes.get_yaxis_transform())
            continue
        colour = "#1b6ca8" if label.startswith(OWN) else "#b8b8b8"
        axes.barh(y, ratio, xerr=noise, color=colour, error_kw={"elinewidth": 0.8, "ecolor": "#444444"})
        axes.text(-0.01, y, label, ha="right", va="center", transform=axes.get_yaxis_transform())
        axes.annotate(show_ratio(ratio), (ratio + noise, y), xytext=(6, 0), textcoords="offset points", va="center",
                      fontsize=8, bbox={"facecolor": "white", "edgecolor": "none", "pad": 0.8})
    axes.axvline(1, color="#444444", linewidth=0.8, linestyle="--")
    axes.set_xscale("log")
    axes.set_ylim(len(rows) - 0.5, -0.5)
    axes.set_yticks([])
    axes.set_xlabel("time, as a multiple of the raw contestant's (logarithmic; shorter is better)")
    for side in ("top", "right", "left"):
        axes.spines[side].set_visible(False)
    figure.tight_layout()
    figure.savefig(path)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("json", nargs="+", help="output of a benchmark program (--benchmark_out=FILE)")
    parser.add_argument("--tables", required=True, help="Markdown file to write")
    parser.add_argument("--chart", required=True, help="picture to write (.svg or .png)")
    arguments = parser.parse_args()
    subjects = read_runs(arguments.json)
    with open(arguments.tables, "w", encoding="utf-8") as out:
        write_tables(subjects, out)
    draw_chart(subjects, arguments.chart)


if __name__ == "__main__":
    main()
