#!/usr/bin/env python3
"""Prints the tables of modelcore/distributions/internal/GammaWeightTables.h (needs mpmath).

Both are polynomials in s = 1/x - middle, highest power first, that interpolate at the Chebyshev points of a piece,
worked out with 50 digits. The error relative to the function is printed after each piece.
"""
from mpmath import mp, mpf, cos, exp, log, loggamma, nstr, pi, sqrt

mp.dps = 50
DEGREE = 12


def weight(y):
    """x^(x - 1/2) exp(-x) / Gamma(x) at x = 1/y"""
    if y < mpf(10) ** -12:
        return (1 - y / 12) / sqrt(2 * pi)
    x = 1 / y
    return exp((x - mpf(1) / 2) * log(x) - x - loggamma(x))


def half_step(y):
    """2/sqrt(pi) * Gamma(x + 1/2) / (Gamma(x) sqrt(x)) at x = 1/y"""
    if y < mpf(10) ** -12:
        return 2 * (1 - y / 8) / sqrt(pi)
    x = 1 / y
    return 2 * exp(loggamma(x + mpf(1) / 2) - loggamma(x)) / sqrt(pi * x)


def interpolate(function, low, high):
    middle = (low + high) / 2
    points = [(high - low) / 2 * cos(pi * (2 * i + 1) / (2 * DEGREE + 2)) for i in range(DEGREE + 1)]
    c = [function(middle + s) for s in points]
    for j in range(1, DEGREE + 1):  # divided differences
        for i in range(DEGREE, j - 1, -1):
            c[i] = (c[i] - c[i - 1]) / (points[i] - points[i - j])
    powers = [c[DEGREE]]  # lowest first
    for i in range(DEGREE - 1, -1, -1):
        powers = [a - points[i] * b for a, b in zip([mpf(0)] + powers, powers + [mpf(0)])]
        powers[0] += c[i]
    return powers[::-1]


def error(function, coefficients, low, high):
    worst = mpf(0)
    for i in range(201):
        y = low + (high - low) * i / 200
        value = mpf(0)
        for c in coefficients:
            value = value * (y - (low + high) / 2) + mpf(float(c))
        worst = max(worst, abs(value / function(y) - 1))
    return worst


def main():
    ends = [mpf(e) for e in ("0", "0.125", "0.25", "0.5", "1", "1.5", "2")]
    for name, function, count in (("kGammaWeight", weight, 6), ("kHalfStep", half_step, 4)):
        print("inline constexpr double %s[%d][%d] = {" % (name, count, DEGREE + 1))
        for low, high in zip(ends[:count], ends[1:]):
            c = interpolate(function, low, high)
            for first in range(0, DEGREE + 1, 4):
                start = "    {" if first == 0 else "     "
                end = "}, // %s to %s: %s" % (nstr(low, 4), nstr(high, 4), nstr(error(function, c, low, high), 2))
                row = ", ".join(repr(float(a)) for a in c[first : first + 4])
                print(start + row + ("," if first + 4 <= DEGREE else end))
        print("};")


if __name__ == "__main__":
    main()
