#!/usr/bin/env python3
"""Assembles the matrices beside this file: assemble.py DIRECTORY

    plate.mtx   plane stress in a plate with a round hole, quarter of it, linear triangles on a mesh that is graded
                towards the hole and jittered: two unknowns a node, symmetric positive definite
    flow.mtx    heat carried by a rotating flow through a medium of two conductivities, finite volumes with upwinding on
                a graded grid: unsymmetric
    magnet.mtx  a charged particle in a magnetic field, finite differences with link phases (Peierls 1933) on a graded
                disc: Hermitian positive definite

Everything is computed here from nothing but a fixed seed.
"""
import cmath
import math
import random
import sys
from collections import defaultdict
from pathlib import Path


def write(path, comment, kind, n, entries):
    """The lower triangle where `kind` names a symmetry."""
    field, symmetry = kind.split()
    items = sorted((j, i, v) for (i, j), v in entries.items() if symmetry == "general" or j <= i)
    with open(path, "w", encoding="ascii") as out:
        out.write(f"%%MatrixMarket matrix coordinate {field} {symmetry}\n")
        out.writelines(f"% {line}\n" for line in comment.strip().splitlines())
        out.write(f"{n} {n} {len(items)}\n")
        for j, i, v in items:
            value = f"{v.real:.9g} {v.imag:.9g}" if field == "complex" else f"{v:.10g}"
            out.write(f"{i + 1} {j + 1} {value}\n")


def plate(rings=26, rays=28, young=1.0, poisson=0.3):
    """Nodes on rays from the hole (radius 1) to the edge (4 by 4); the straight sides are symmetry lines."""
    rng = random.Random(1)
    nodes = []
    for r in range(rings + 1):
        for a in range(rays + 1):
            angle = math.pi / 2 * a / rays
            inner = (math.cos(angle), math.sin(angle))
            reach = 4 / max(inner)
            t = (r / rings) ** 1.6
            x, y = ((1 - t + t * reach) * c for c in inner)
            if 0 < r < rings and 0 < a < rays:
                x += 0.012 * rng.uniform(-1, 1) * (1 + 3 * t)
                y += 0.012 * rng.uniform(-1, 1) * (1 + 3 * t)
            nodes.append((x, y))
    triangles = []
    for r in range(rings):
        for a in range(rays):
            p, q = r * (rays + 1) + a, (r + 1) * (rays + 1) + a
            # Diagonals this way and that.
            triangles += [(p, q, q + 1), (p, q + 1, p + 1)] if rng.random() < 0.5 else [(p, q, p + 1), (q, q + 1, p + 1)]
    stiffness = defaultdict(float)
    factor = young / (1 - poisson**2)
    law = ((factor, factor * poisson, 0), (factor * poisson, factor, 0), (0, 0, factor * (1 - poisson) / 2))
    for t in triangles:
        (x0, y0), (x1, y1), (x2, y2) = (nodes[i] for i in t)
        double = (x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0)
        assert double > 0, "a triangle is turned over"
        dx = [(y1 - y2) / double, (y2 - y0) / double, (y0 - y1) / double]
        dy = [(x2 - x1) / double, (x0 - x2) / double, (x1 - x0) / double]
        strain = [[0.0] * 6 for _ in range(3)]
        for k in range(3):
            strain[0][2 * k], strain[1][2 * k + 1] = dx[k], dy[k]
            strain[2][2 * k], strain[2][2 * k + 1] = dy[k], dx[k]
        for i in range(6):
            for j in range(6):
                value = sum(strain[p][i] * law[p][q] * strain[q][j] for p in range(3) for q in range(3))
                stiffness[2 * t[i // 2] + i % 2, 2 * t[j // 2] + j % 2] += value * double / 2
    # On the symmetry lines nothing moves across: those rows and columns keep a diagonal of the size of the others.
    fixed = {2 * (r * (rays + 1)) + 1 for r in range(rings + 1)} | {2 * (r * (rays + 1) + rays) for r in range(rings + 1)}
    entries = {(i, j): v for (i, j), v in stiffness.items() if not (i in fixed or j in fixed) or i == j}
    comment = f"""Plane stress in a quarter of a plate with a hole, {len(triangles)} linear triangles; two unknowns a node.
Made by assemble.py."""
    return comment, "real symmetric", 2 * len(nodes), entries


def graded(n):
    """Cells from 0 to 1, finer at both ends."""
    return [(1 - math.cos(math.pi * i / n)) / 2 for i in range(n + 1)]


def flow(n=34):
    faces = graded(n)
    centre = [(a + b) / 2 for a, b in zip(faces, faces[1:])]
    width = [b - a for a, b in zip(faces, faces[1:])]
    entries = defaultdict(float)

    def conductivity(i, j):
        return 0.02 if (centre[i] - 0.6) ** 2 + (centre[j] - 0.4) ** 2 < 0.05 else 0.002

    def link(p, q, conduct, through):
        """Exchange between neighbours; `through` flows from p to q."""
        entries[p, p] += conduct + max(through, 0)
        entries[q, q] += conduct + max(-through, 0)
        entries[p, q] -= conduct + max(-through, 0)
        entries[q, p] -= conduct + max(through, 0)

    # The flow is that of the stream function sin(pi x) sin(pi y), so that what enters a cell leaves it.
    stream = [[math.sin(math.pi * x) * math.sin(math.pi * y) for y in faces] for x in faces]
    for i in range(n):
        for j in range(n):
            p = i * n + j
            for di, dj in ((1, 0), (0, 1)):
                if i + di == n or j + dj == n:
                    continue
                q = p + di * n + dj
                k, l = conductivity(i, j), conductivity(i + di, j + dj)
                a, b = (width[i], width[i + 1]) if di else (width[j], width[j + 1])
                side = width[j] if di else width[i]
                conduct = side * 2 * k * l / (a * l + b * k)
                through = stream[i + 1][j + 1] - stream[i + 1][j] if di else stream[i][j + 1] - stream[i + 1][j + 1]
                link(p, q, conduct, through)
            # The left wall is held at a temperature.
            if i == 0:
                entries[p, p] += width[j] * 2 * conductivity(i, j) / width[i]
    comment = f"""Heat in a rotating flow, {n} by {n} finite volumes on a graded grid, upwind.
Made by assemble.py."""
    return comment, "real general", n * n, dict(entries)


def magnet(n=40, field=60.0):
    faces = graded(n)
    inside = {}
    for i in range(1, n):
        for j in range(1, n):
            if (faces[i] - 0.5) ** 2 + (faces[j] - 0.5) ** 2 < 0.24:
                inside[i, j] = len(inside)
    entries = defaultdict(complex)
    for (i, j), p in inside.items():
        x, y = faces[i], faces[j]
        for di, dj in ((1, 0), (-1, 0), (0, 1), (0, -1)):
            u, v = faces[i + di], faces[j + dj]
            reach = abs(u - x) + abs(v - y)
            across = (faces[j + 1] - faces[j - 1]) / 2 if di else (faces[i + 1] - faces[i - 1]) / 2
            weight = across / reach
            entries[p, p] += weight
            q = inside.get((i + di, j + dj))
            if q is not None:
                # The phase of the vector potential (-y, x)/2 along the link.
                phase = field / 2 * ((x + u) / 2 * (v - y) - (y + v) / 2 * (u - x))
                entries[p, q] -= weight * cmath.exp(1j * phase)
    comment = f"""A charged particle in a magnetic field in a disc, finite differences on a graded grid.
Made by assemble.py."""
    return comment, "complex hermitian", len(inside), dict(entries)


if __name__ == "__main__":
    for make in (plate, flow, magnet):
        write(Path(sys.argv[1]) / f"{make.__name__}.mtx", *make())
