#!/usr/bin/env python3
"""Prints kHalfIntegerWeight of modelcore/distributions/internal/GammaPieces.cpp (needs mpmath):
x^x exp(-x) / Gamma(x) for x = 1/2, 1, 3/2, ..., 8 to 21 digits."""
from mpmath import mp, mpf, exp, gamma, nstr

mp.dps = 40
for k in range(1, 17):
    x = mpf(k) / 2
    print("    %s," % nstr(x**x * exp(-x) / gamma(x), 21))
