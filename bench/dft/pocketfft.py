#!/usr/bin/env python3
# bench/dft/pocketfft.py - pocketfft, as SciPy brings it, on the lengths of the engine's benchmark: one thread, one
# transform a call, best of several passes, in the same units (5 n log2 n flop, half of it for real data).
#
# A process of its own, so no ratios within a pass. A call through Python costs a few microseconds: that of length 1 is
# measured and taken off, which leaves short lengths without meaning; they are not shown.
# Needs Debian's python3-scipy. Usage: bench/dft/pocketfft.py [length ...]

import math
import sys
import time

import numpy
import scipy
from scipy import fft

LENGTHS = [1 << order for order in range(10, 23)] + [1000, 6561, 10000, 100000, 1009, 65537]


def least(transform, x, seconds=0.1):
    best, end = math.inf, time.perf_counter() + seconds
    while time.perf_counter() < end:
        start = time.perf_counter()
        transform(x)
        best = min(best, time.perf_counter() - start)
    return best


print(f"SciPy {scipy.__version__}, GFLOP/s")
print(f"{'length':>8} {'complex d':>10} {'complex s':>10} {'real d':>10} {'real s':>10}")
for n in [int(a) for a in sys.argv[1:]] or LENGTHS:
    rates = []
    for transform, types, flop in ((fft.fft, ("c16", "c8"), 5), (fft.rfft, ("f8", "f4"), 2.5)):
        for kind in types:
            call = least(transform, numpy.ones(1, kind), 0.02)
            taken = least(transform, (numpy.arange(n) % 17 - 8).astype(kind)) - call
            rates.append(flop * n * math.log2(n) / taken * 1e-9)
    print(f"{n:>8} " + " ".join(f"{r:>10.2f}" for r in rates))
