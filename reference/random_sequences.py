#!/usr/bin/env python3
"""The sequences that the variate generators are fixed to, computed by plain loops that share nothing with the library.

Prints, for each generator of tests/random/VariateStreamsTest.cpp, its first five numbers and the mean of the first
20000. Beta and binomial variates draw from the congruential generator with state 1, normal ones from it as well; the
gamma, chi-square and exponential ones from the Twister with seed 34567 (open interval, 32 bits).

Usage: random_sequences.py
"""
import random
from math import exp, log, log1p, sqrt


def congruential():
    x = 1
    while True:
        x = 397204094 * x % 2147483647 or 1
        yield x / 2147483648.0


def twister():
    words = [34567]
    for i in range(1, 624):
        words.append((1812433253 * (words[-1] ^ (words[-1] >> 30)) + i) & 0xFFFFFFFF)
    source = random.Random()
    source.setstate((3, tuple(words) + (624,), None))
    while True:
        yield (source.getrandbits(32) + 0.5) / 4294967296.0


XI = 2.216035867166471


def remainder(t):
    return max(0.0, 0.3989422804014327 * exp(-t * t / 2) - 0.180025191068563 * max(0.0, XI - abs(t))) if t else 0.0


def normal(draw):
    u = draw()
    if u < 0.884070402298758:
        return XI * (1.13113163544418 * u + draw() - 1)
    if u >= 0.973310954173898:
        while True:
            v = draw()
            x = 2.45540748228413 - log(draw())
            if v * v * x <= 2.45540748228413:
                return sqrt(2 * x) if u < 0.986655477086949 else -sqrt(2 * x)
    while True:
        v = draw()
        w = draw()
        small, large, apart = min(v, w), max(v, w), abs(v - w)
        if u >= 0.958720824790463:
            t = XI - 0.63083480192196 * small
            accept = large <= 0.755591531667601 or 0.034240503750111 * apart <= remainder(t)
        elif u >= 0.911312780288703:
            t = 0.479727404222441 + 1.10547366102207 * small
            accept = large <= 0.87283497667179 or 0.049264496373128 * apart <= remainder(t)
        else:
            t = 0.479727404222441 - 0.59550713801594 * small
            accept = t >= 0 and (large <= 0.805577924423817 or 0.053377549506886 * apart <= remainder(t))
        if accept:
            return t if v < w else -t


def beta_symmetric(draw, a):
    """Ahrens and Dieter, BS, without the quick tests."""
    while True:
        s = normal(draw)
        if abs(s) > sqrt(2 * (a - 1)):
            continue
        u = draw()
        y = s * s / (2 * (a - 1))
        if u <= (exp((a - 1) * (log1p(-y) + y)) if y < 1 else 0.0):
            return 0.5 + 0.5 * (s / sqrt(2 * (a - 1)))


def beta_bb(draw, a0, b0):
    """Cheng, BB, without the quick tests."""
    a, b = min(a0, b0), max(a0, b0)
    slope = sqrt((a + b - 2) / (2 * a * b - a - b))
    while True:
        u1 = draw()
        u2 = draw()
        v = slope * log(u1 / (1 - u1))
        w = a * exp(v)
        if (a + 1 / slope) * v - log(4) + (a + b) * log((a + b) / (b + w)) >= log(u1 * u1 * u2):
            return w / (b + w) if a == a0 else b / (b + w)


def beta_bc(draw, a0, b0):
    """Cheng, BC; its quick tests are made of rounded constants, but decide as the plain one does."""
    a, b = max(a0, b0), min(a0, b0)
    while True:
        u1 = draw()
        u2 = draw()
        v = log(u1 / (1 - u1)) / b
        w = a * exp(v)
        if (a + b) * (log((a + b) / (b + w)) + v) - log(4) >= log(u1 * u1 * u2):
            return w / (b + w) if a == a0 else b / (b + w)


def binomial(draw, n, p):
    k, low, width, share = 0, 0.0, 1.0, p
    while n >= 100:
        if n % 2 == 0:
            k += draw() <= share
            n -= 1
        a = (n + 1) // 2
        x = beta_symmetric(draw, a)
        middle = low + x * width
        if p < middle:
            width *= x
        else:
            low, width, k = middle, width * (1 - x), k + a
        share = (p - low) / width
        n = a - 1
    if share <= 0 or share >= 1:
        return float(k + (n if share >= 1 else 0))
    return float(k + sum(draw() <= share for _ in range(n)))


def gamma(draw, shape, rate):
    e = 2.718281828459045
    if shape == 1:
        return -log(1 - draw()) / rate
    while shape > 1:
        x = -log(1 - draw())
        if (shape - 1) * (log(x) + 1 - x) >= log(1 - draw()):
            return shape * x / rate
    while True:
        p = (shape + e) / e * draw()
        if p <= 1:
            x = exp(log(p) / shape)
            if draw() <= exp(-x):
                return x / rate
        else:
            x = -log(((shape + e) / e - p) / shape)
            if (shape - 1) * log(x) >= log(1 - draw()):
                return x / rate


CASES = [
    ("normal", congruential, lambda d: normal(d)),
    ("beta 2 2", congruential, lambda d: beta_symmetric(d, 2)),
    ("beta 50.5 50.5", congruential, lambda d: beta_symmetric(d, 50.5)),
    ("beta 1.5 1.5", congruential, lambda d: beta_bb(d, 1.5, 1.5)),
    ("beta 20 300", congruential, lambda d: beta_bb(d, 20, 300)),
    ("beta 300 1.1", congruential, lambda d: beta_bb(d, 300, 1.1)),
    ("beta 0.3 0.3", congruential, lambda d: beta_bc(d, 0.3, 0.3)),
    ("beta 0.3 40", congruential, lambda d: beta_bc(d, 0.3, 40)),
    ("beta 5 1", congruential, lambda d: beta_bc(d, 5, 1)),
    ("binomial 20 0.3", congruential, lambda d: binomial(d, 20, 0.3)),
    ("binomial 1000 0.7", congruential, lambda d: binomial(d, 1000, 0.7)),
    ("binomial 999999 1e-4", congruential, lambda d: binomial(d, 999999, 1e-4)),
    ("gamma 0.1 2", twister, lambda d: gamma(d, 0.1, 2)),
    ("gamma 0.5 1", twister, lambda d: gamma(d, 0.5, 1)),
    ("gamma 1 3", twister, lambda d: gamma(d, 1, 3)),
    ("gamma 1.5 1", twister, lambda d: gamma(d, 1.5, 1)),
    ("gamma 50 0.25", twister, lambda d: gamma(d, 50, 0.25)),
    ("gamma 5000 1", twister, lambda d: gamma(d, 5000, 1)),
    ("chi-square 7", twister, lambda d: gamma(d, 3.5, 0.5)),
]

for name, source, variate in CASES:
    uniforms = source()
    values = [variate(lambda: next(uniforms)) for _ in range(20000)]
    print(f'        {{"{name}", {{{", ".join(repr(v) for v in values[:5])}}}, {sum(values) / len(values)!r}}},')
