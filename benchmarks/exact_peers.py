#!/usr/bin/env python3
"""Times math.fsum and fractions of Python on cross products of uniform doubles, for ExactBench to be compared with.

Usage: exact_peers.py [PATH OF ExactBench]

math.fsum adds without rounding until its end, but the products that it is given are rounded: the sum of two parts of
each product is what ExactBench computes. With the program's path its line of uniform data is run first.
"""
import math
import random
import subprocess
import sys
import time
from fractions import Fraction

ROWS, COLUMNS = 10_240, 10


def split_product(x, y):
    """x*y as sum of two doubles (Dekker 1971)."""
    def halves(a):
        wide = 134217729.0 * a
        high = wide - (wide - a)
        return high, a - high
    product = x * y
    (x1, x2), (y1, y2) = halves(x), halves(y)
    return product, x2 * y2 - (((product - x1 * y1) - x2 * y1) - x1 * y2)


def main():
    if len(sys.argv) > 1:
        subprocess.run([sys.argv[1], "--benchmark_filter=^uniform, 102400 x 10"], check=True)
    draw = random.Random(3)
    columns = [[draw.random() for _ in range(ROWS)] for _ in range(COLUMNS)]
    pairs = [(x, y) for i, x in enumerate(columns) for y in columns[:i + 1]]
    contenders = {
        "math.fsum of rounded products": lambda x, y: math.fsum(a * b for a, b in zip(x, y)),
        "math.fsum of split products": lambda x, y: math.fsum(p for a, b in zip(x, y) for p in split_product(a, b)),
        "fractions": lambda x, y: sum((Fraction(a) * Fraction(b) for a, b in zip(x, y)), Fraction()),
    }
    exact = contenders["fractions"](*pairs[1])
    print(f"uniform, {ROWS} x {COLUMNS}, Python {sys.version.split()[0]}: ns for each product, and the first sum")
    for name, dot in contenders.items():
        chosen = pairs if name != "fractions" else pairs[:2]
        start = time.process_time()
        sums = [dot(x, y) for x, y in chosen]
        each = (time.process_time() - start) / (len(chosen) * ROWS) * 1e9
        right = "correctly rounded" if sums[1] in (float(exact), exact) else "not correctly rounded"
        print(f"{name:32} {each:10.1f} ns   {right}")


if __name__ == "__main__":
    main()
