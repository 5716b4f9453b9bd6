#!/usr/bin/env python3
"""Prints the rows of modelcore/distributions/internal/LogTable.h (needs mpmath).

Row j belongs to mantissas nearest to (90 + j)/128. Its reciprocal is rounded to 10 fractional bits, so that the product
of a 53-bit mantissa, split in two halves, with it is exact; the logarithm of the rounded reciprocal, negated, follows as
the sum of two doubles.
"""
from mpmath import mp, mpf, log, nint

mp.prec = 200


def two_doubles(value):
    head = float(value)
    return head, float(value - mpf(head))


def main():
    for j in range(92):
        reciprocal = nint(mpf(1024) * 128 / (90 + j)) / 1024
        head, tail = two_doubles(-log(reciprocal))
        print("    {%s, %s, %s}," % (float(reciprocal).hex(), head.hex(), tail.hex()))


if __name__ == "__main__":
    main()
