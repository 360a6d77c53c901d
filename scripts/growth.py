#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT
"""Draws how cost grows: reads the output of measure_Growth and writes log-log charts as plain SVG.

    growth.py CSV FOLDER

Writes FOLDER/growth-CHART.svg for each chart, and FOLDER/growth.md, which contains the charts, the slopes at both ends
and in the steepest step of each curve (1: twice the size costs twice the time), and the single figures.
"""

import csv
import math
import pathlib
import sys
from collections import defaultdict
from xml.sax.saxutils import escape

# Title, x axis, y axis.
CHARTS = {
    "path-siblings": ("Read through a path of one level", "siblings", "seconds"),
    "path-depth": ("Read through a path", "levels", "seconds"),
    "load": ("Load a document", "bytes of the document", "seconds"),
    "save": ("Save a document", "bytes of the document", "seconds"),
    "memory": ("Memory of a loaded document", "bytes of the document", "bytes"),
    "message-size": ("Send a message", "bytes in the message", "seconds per message"),
    "message-throughput": ("Throughput of messages", "bytes in the message", "bytes per second"),
    "message-parameters": ("Send a message of many parameters", "parameters", "seconds per message"),
    "settings": ("Settings", "values in the store", "seconds"),
    "expression": ("Evaluate an expression", "operands", "seconds"),
}
COLOURS = ("#1b6ca8", "#d1495b", "#66a182", "#edae49", "#6f4e7c", "#5c5c5c")
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 760, 420, 84, 32, 40, 52


def read_points(lines):
    """Returns {chart: {contestant: [(x, y)]}}."""
    charts = defaultdict(lambda: defaultdict(list))
    for chart, contestant, x, y in csv.reader(lines):
        charts[chart][contestant].append((float(x), float(y)))
    return charts


def decades(values):
    return math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))


def slope(first, second):
    """Returns the exponent with which cost grows from the first point to the second."""
    return math.log(second[1] / first[1]) / math.log(second[0] / first[0])


def ends(points):
    """Returns the slopes of the first and of the last step."""
    return slope(*points[:2]), slope(*points[-2:])


def steepest(points):
    """Returns the steepest step, as its two sizes and the slope between them."""
    steps = [(first[0], second[0], slope(first, second)) for first, second in zip(points, points[1:])]
    return max(steps, key=lambda step: step[2])


def show_power(exponent, unit):
    if unit.startswith("seconds"):
        for name, size in (("s", 0), ("ms", -3), ("µs", -6), ("ns", -9)):
            if exponent >= size:
                return f"{10 ** (exponent - size)} {name}"
    for name, size in (("G", 9), ("M", 6), ("k", 3)):
        if exponent >= size:
            return f"{10 ** (exponent - size)} {name}"
    return str(10**exponent) if exponent >= 0 else f"1e{exponent}"


def draw(title, x_axis, y_axis, contestants):
    """Returns the chart as SVG."""
    points = [point for curve in contestants.values() for point in curve]
    x_low, x_high = decades([x for x, _ in points])
    y_low, y_high = decades([y for _, y in points])
    x_high, y_high = max(x_high, x_low + 1), max(y_high, y_low + 1)

    def x_at(x):
        return LEFT + (math.log10(x) - x_low) / (x_high - x_low) * (WIDTH - LEFT - RIGHT)

    def y_at(y):
        return HEIGHT - BOTTOM - (math.log10(y) - y_low) / (y_high - y_low) * (HEIGHT - TOP - BOTTOM)

    height = HEIGHT + 20 * len(contestants)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" font-family="sans-serif" '
             f'font-size="13">', f'<rect width="{WIDTH}" height="{height}" fill="white"/>',
             f'<text x="{LEFT}" y="24" font-size="16" font-weight="bold">{escape(title)}</text>']
    for exponent in range(x_low, x_high + 1):
        x = x_at(10**exponent)
        parts.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#dddddd"/>'
                     f'<text x="{x:.1f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="middle">'
                     f"{show_power(exponent, x_axis)}</text>")
    for exponent in range(y_low, y_high + 1):
        y = y_at(10**exponent)
        parts.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#dddddd"/>'
                     f'<text x="{LEFT - 8}" y="{y + 4:.1f}" text-anchor="end">{show_power(exponent, y_axis)}</text>')
    parts.append(f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 12}" text-anchor="middle">{escape(x_axis)}'
                 "</text>")
    for i, (name, curve) in enumerate(contestants.items()):
        colour = COLOURS[i % len(COLOURS)]
        line = " ".join(f"{x_at(x):.1f},{y_at(y):.1f}" for x, y in curve)
        parts.append(f'<polyline points="{line}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts.extend(f'<circle cx="{x_at(x):.1f}" cy="{y_at(y):.1f}" r="3" fill="{colour}"/>' for x, y in curve)
        y = HEIGHT + 20 * i + 8
        parts.append(f'<path d="M{LEFT} {y - 4}h24" stroke="{colour}" stroke-width="3"/>'
                     f'<text x="{LEFT + 32}" y="{y}">{escape(name)}</text>')
    return "\n".join([*parts, "</svg>", ""])


def show_figure(value, name):
    if name.endswith("(s)"):
        return f"{value * 1e3:.3g} ms"
    return f"{value:,.0f} bytes" if name.endswith("(bytes)") else f"{value:,.0f}"


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    charts = read_points(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8").splitlines())
    page = []
    for name, (title, x_axis, y_axis) in CHARTS.items():
        if name not in charts:
            continue
        (folder / f"growth-{name}.svg").write_text(draw(title, x_axis, y_axis, charts[name]), encoding="utf-8")
        page.append(f"### {title}\n\n![{title}](growth-{name}.svg)\n\n"
                    "| curve | slope at first | slope at last | steepest step |\n|---|---:|---:|---|\n")
        for contestant, points in charts[name].items():
            if len(points) < 2:  # the sweep was interrupted
                continue
            first, last = ends(points)
            start, end, slope_between = steepest(points)
            page.append(f"| {contestant} | {first:.2f} | {last:.2f} | "
                        f"{slope_between:.2f} from {start:,.0f} to {end:,.0f} |\n")
        page.append("\n")
    if "figure" in charts:
        page.append("### Single figures\n\n| what | value |\n|---|---:|\n")
        page.extend(f"| {name.rsplit(' (', 1)[0]} | {show_figure(points[0][1], name)} |\n"
                    for name, points in charts["figure"].items())
    (folder / "growth.md").write_text("".join(page), encoding="utf-8")


if __name__ == "__main__":
    main()
