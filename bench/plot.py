#!/usr/bin/env python3
"""plot.py FOLDER - pictures of the benchmark tables in FOLDER (CSV of Google Benchmark), by gnuplot.

A row is <routine>/<variant>/.../<size>; rows that differ in the size alone are one curve, drawn over the size as the
ratio to the best SSE peer and, where the table has it, as the share of the peak (arithmetic, or a memory copy).
Writes <table>.svg beside each table; says so where gnuplot is missing.
"""
import csv
import re
import shutil
import subprocess
import sys
from pathlib import Path

most_curves = 12  # more are not told apart


def curves(table):
    with table.open() as file:
        rows = list(csv.reader(file))
    start = next((i for i, row in enumerate(rows) if row and row[0] == "name"), None)
    if start is None:
        return {}
    found = {}
    for row in rows[start + 1:]:
        values = dict(zip(rows[start], row))
        name = values["name"].split("/iterations")[0]
        # A size is the last part: n, or m x n x k, drawn where all three are equal.
        curve, _, size = name.rpartition("/")
        sides = set(re.findall(r"\d+", size))
        # Rows of threads are speed-ups over one thread, not ratios to a peer.
        if values.get("ratio") and len(sides) == 1 and "threads" not in curve:
            peak = values.get("peak")
            found.setdefault(curve, []).append((int(sides.pop()), float(values["ratio"]), float(peak) if peak else None))
    return {curve: sorted(points) for curve, points in found.items() if len(points) > 2}


def chief(found):
    """The curves worth drawing: one variant a routine, and of many routines those of double precision."""
    first = {}
    for curve in found:
        first.setdefault(curve.split("/")[0], curve)
    if len(first) > most_curves:
        first = {routine: curve for routine, curve in first.items() if routine.startswith(("d", "z"))}
    return list(first.values())[:most_curves]


def panel(label, curves_of, column):
    """One plot: `column` of the points of every curve."""
    drawn = {curve: [(p[0], p[column]) for p in points if p[column] is not None] for curve, points in curves_of}
    drawn = {curve: points for curve, points in drawn.items() if points}
    if not drawn:
        return []
    script = [f"set ylabel '{label}'",
              "plot 1 with lines lc 'black' dt 2 notitle, "
              + ", ".join(f"'-' with linespoints title '{curve}' noenhanced" for curve in drawn)]
    for points in drawn.values():
        script += [f"{n} {y}" for n, y in points] + ["e"]
    return script


def draw(table):
    found = curves(table)
    names = chief(found)
    if not names:
        return
    chosen = [(name, found[name]) for name in names]
    picture = table.with_suffix(".svg")
    panels = [panel("speed, best SSE peer = 1", chosen, 1), panel("share of the peak", chosen, 2)]
    panels = [p for p in panels if p]
    script = [
        f"set terminal svg size 900,{420 * len(panels)} background 'white'", f"set output '{picture}'",
        f"set multiplot layout {len(panels)},1", "set logscale x", "set xlabel 'n'", "set grid",
        "set key outside right", "set yrange [0:*]",
    ]
    for p in panels:
        script += p
    subprocess.run(["gnuplot"], input="\n".join(script + ["unset multiplot"]), text=True, check=True)
    print(f"bench: picture in {picture}")


def main():
    if shutil.which("gnuplot") is None:
        print("bench: no gnuplot, no pictures")
        return
    for table in sorted(Path(sys.argv[1]).glob("*.csv")):
        draw(table)


if __name__ == "__main__":
    main()
