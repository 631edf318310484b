#!/usr/bin/env python3
"""plot.py FOLDER - pictures of the benchmark tables in FOLDER (CSV of Google Benchmark), by gnuplot.

A row is <routine>/<variant>/.../<size>; rows that differ in the size alone are one curve, drawn as the ratio to the
best SSE peer over the size. Writes <table>.svg beside each table; says so where gnuplot is missing.
"""
import csv
import re
import shutil
import subprocess
import sys
from pathlib import Path


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
            found.setdefault(curve, []).append((int(sides.pop()), float(values["ratio"])))
    return {curve: sorted(points) for curve, points in found.items() if len(points) > 2}


def draw(table):
    found = curves(table)
    if not found:
        return
    picture = table.with_suffix(".svg")
    script = [
        "set terminal svg size 900,480 background 'white'", f"set output '{picture}'", "set logscale x",
        "set xlabel 'n'", "set ylabel 'speed, best SSE peer = 1'", "set grid", "set key outside right",
        "set yrange [0:*]", "plot 1 with lines lc 'black' dt 2 notitle, "
        + ", ".join(f"'-' with linespoints title '{curve}' noenhanced" for curve in found),
    ]
    for points in found.values():
        script += [f"{n} {ratio}" for n, ratio in points] + ["e"]
    subprocess.run(["gnuplot"], input="\n".join(script), text=True, check=True)
    print(f"bench: picture in {picture}")


def main():
    if shutil.which("gnuplot") is None:
        print("bench: no gnuplot, no pictures")
        return
    for table in sorted(Path(sys.argv[1]).glob("*.csv")):
        draw(table)


if __name__ == "__main__":
    main()
