#!/usr/bin/env python3
"""Writes the table of exact values that the tests and the accuracy program compare with (needs mpmath).

Usage: distribution_table.py POINTS SEED [FUNCTION] > TABLE      (tests/data/distributions.txt: 10 points, seed 1)
FUNCTION keeps only the functions whose names begin so.

One line a point: function, region, the arguments as shortest decimals that read back to the same double, and the exact
value to 20 digits. Lines of quantiles have, before the value x, the sensitivity x * density(x) / smaller tail. Every value is summed here from its defining series with 60 digits; nothing is taken from the library.
"""
import math
import random
import sys

from mpmath import mp, mpf, mpmathify, erfc, erfinv, exp, findroot, log, loggamma, nstr, sqrt

mp.dps = 60
TINY = mpf(10) ** -50


def log_uniform(low, high):
    return math.exp(random.uniform(math.log(low), math.log(high)))


def beta_below_mean(x, y, a, b):
    """I_x(a, b) by a series of positive terms."""
    term = total = mpf(1)
    k = 0
    tiny = mpf(10) ** (10 - mp.dps)
    while True:
        ratio = (a + b + k) / (a + 1 + k) * x
        term *= ratio
        total += term
        k += 1
        if ratio < 1 and term < tiny * total * (1 - ratio):
            break
    return total * exp(a * log(x) + b * log(y) + loggamma(a + b) - loggamma(a) - loggamma(b)) / a


def beta_tails(x, y, a, b):
    a, b = mpf(a), mpf(b)
    if b < 100 and a > 1000 and x > 0.5:  # the series from the other side is much shorter, with digits to cancel
        with mp.workdps(400):
            upper = beta_below_mean(mpf(y), mpf(x), b, a)
            return 1 - upper, upper
    if x * (a + b) <= a:
        lower = beta_below_mean(x, y, a, b)
        return lower, 1 - lower
    upper = beta_below_mean(y, x, b, a)
    return 1 - upper, upper


def unit_tails(x, a, b):
    return beta_tails(mpf(x), 1 - mpf(x), a, b)


def normal_cdf(x):
    return erfc(-mpf(x) / sqrt(mpf(2))) / 2


def normal_quantile(p):
    p = mpf(p)
    z = mpf(1)
    q = min(p, 1 - p)
    z = -sqrt(-2 * log(q)) if q < 0.2 else mpf(float(sqrt(2) * erfinv(2 * q - 1)))
    for _ in range(60):  # Newton on the logarithm of the tail
        cdf = normal_cdf(z)
        density = exp(-z * z / 2) / sqrt(2 * mp.pi)
        step = log(cdf / q) * cdf / density
        z -= step
        if abs(step) < TINY * 1000:
            break
    return z if p <= 0.5 else -z


def t_tail(t, df):
    """P(T > |t|)."""
    with mp.workdps(400):
        square, df = mpf(t) ** 2, mpf(df)
        return beta_tails(df / (df + square), square / (df + square), df / 2, mpf(1) / 2)[0] / 2


def t_cdf(t, df):
    return t_tail(t, df) if t < 0 else 1 - t_tail(t, df)


def t_density(t, df):
    t, df = mpf(t), mpf(df)
    return exp(loggamma((df + 1) / 2) - loggamma(df / 2) - (df + 1) / 2 * log(1 + t * t / df)) / sqrt(df * mp.pi)


def f_weight(x, df1, df2):
    scaled = mpf(x) * mpf(df1)
    return beta_weight(scaled / (scaled + df2), df2 / (scaled + df2), mpf(df1) / 2, mpf(df2) / 2)


def f_tails(x, df1, df2):
    scaled = mpf(x) * mpf(df1)
    return beta_tails(scaled / (scaled + df2), df2 / (scaled + df2), mpf(df1) / 2, mpf(df2) / 2)


def gamma_weight(x, a):
    return exp(a * log(x) - x - loggamma(a))


def gamma_tails(x, a):
    x, a = mpf(x), mpf(a)
    if x <= a + 1:
        term = total = 1 / a
        k = a
        while term > TINY * total:
            k += 1
            term *= x / k
            total += term
        lower = total * gamma_weight(x, a)
        return lower, 1 - lower
    # Lentz's method for the continued fraction of the upper tail
    b = x + 1 - a
    c = mpf(10) ** 300
    d = 1 / b
    h = d
    i = 0
    while True:
        i += 1
        an = -i * (i - a)
        b += 2
        d = 1 / (an * d + b)
        c = b + an / c
        h *= c * d
        if abs(c * d - 1) < TINY:
            break
    upper = h * gamma_weight(x, a)
    return 1 - upper, upper


def beta_weight(x, y, a, b):
    return exp(a * log(x) + b * log(y) + loggamma(a + b) - loggamma(a) - loggamma(b))


# Points

def near_mean(a, b, sigmas):
    """A point of (0, 1) so many standard deviations from the mean of the beta distribution, on the logit scale."""
    shift = sigmas * math.sqrt(1 / a + 1 / b)
    odds = a / b * math.exp(max(-300.0, min(300.0, shift)))
    return odds / (1 + odds)


def beta_point(low, high):
    a, b = log_uniform(low, high), log_uniform(low, high)
    x = near_mean(a, b, random.uniform(-1, 1) * random.choice([2, 8, 36]))
    return (x, a, b) if 0 < x < 1 else beta_point(low, high)


def t_point(low, high):
    df = log_uniform(low, high)
    if random.random() < 0.5 and df > 1:
        df = float(round(df) + 1)
    return random.choice([random.uniform(-4, 4), random.uniform(-37, 0), -log_uniform(1e-6, 1e4)]), df


def f_point(low, high):
    df1, df2 = log_uniform(low, high), log_uniform(low, high)
    spread = math.sqrt(2 / df1 + 2 / df2) * random.choice([2, 8, 30])
    return math.exp(max(-300.0, min(300.0, random.uniform(-1, 1) * spread))), df1, df2


def probability():
    return random.choice([random.random(), log_uniform(1e-300, 0.5), 1 - log_uniform(1e-15, 0.5),
                          0.5 + random.choice([-1, 1]) * log_uniform(1e-12, 0.4)])


def gamma_point(low, high, scale):
    """A point and a shape; scale 2 makes them chi-square and its degrees of freedom."""
    shape = log_uniform(low, high)
    x = shape * math.exp(max(-300.0, min(300.0, random.uniform(-1, 1) * random.choice([2, 8, 36]) / math.sqrt(shape))))
    return x * scale, shape * scale


def binomial_point(low, high):
    n = float(round(log_uniform(low, high)))
    p = random.choice([random.uniform(0.01, 0.99), log_uniform(1e-6, 0.5)])
    k = float(math.floor(n * p + random.uniform(-1, 1) * random.choice([2, 8]) * math.sqrt(n * p * (1 - p))))
    return (k, n, p) if 0 < k < n else binomial_point(low, high)


def binomial_density(k, n, p):
    return exp(loggamma(mpf(n) + 1) - loggamma(mpf(k) + 1) - loggamma(mpf(n) - k + 1) + k * log(mpf(p)) +
               (mpf(n) - k) * log(1 - mpf(p)))


def hyper_point(low, high):
    N = round(log_uniform(low, high))
    M, n = random.randint(0, N), random.randint(0, min(N, 1000))
    sd = math.sqrt(max(1.0, n * (M / N) * (1 - M / N)))
    k = math.floor(n * M / N + random.uniform(-5, 5) * sd)
    if not max(0, n - N + M) <= k <= min(n, M):
        return hyper_point(low, high)
    return float(k), float(N), float(M), float(n)


def log_choose(n, k):
    return loggamma(mpf(n) + 1) - loggamma(mpf(k) + 1) - loggamma(mpf(n) - k + 1)


def hyper_density(k, N, M, n):
    return exp(log_choose(M, k) + log_choose(N - M, n - k) - log_choose(N, n))


def noncentral_chi_point(high):
    df, nc = log_uniform(0.1, 100), log_uniform(0.01, high)
    spread = math.sqrt(2 * (df + 2 * nc))
    return (df + nc) * math.exp(random.uniform(-1, 1) * random.choice([2, 6]) * spread / (df + nc)), df, nc


def noncentral_f_point(high):
    x, df1, nc = noncentral_chi_point(high)
    return x / df1, df1, log_uniform(0.5, 200), nc


def noncentral_t_point(high):
    df, nc = log_uniform(0.5, 200), random.choice([-1, 1]) * log_uniform(0.01, high)
    return random.choice([random.uniform(-10, 10), nc * random.uniform(0.3, 2), nc + random.uniform(-5, 5)]), df, nc


def poisson_mixture(mean, shift, tail, piece):
    """Sum of w(j + shift) F(j), F(j) = F(j + 1) + piece(j), from far above the last term that matters."""
    count = int(mean + 40 * math.sqrt(float(mean)) + 400)
    value = tail(count)
    total = mpf(0)
    weight = exp(-mean + (count + shift) * log(mean) - loggamma(count + shift + 1))
    for j in range(count, -1, -1):
        total += weight * value
        if j > 0:
            value += piece(j - 1)
            weight *= (j + shift) / mean
    return total


def noncentral_chi(x, df, nc):
    y, a, mean = mpf(x) / 2, mpf(df) / 2, mpf(nc) / 2
    return poisson_mixture(mean, 0, lambda j: gamma_tails(y, a + j)[0], lambda j: gamma_weight(y, a + j) / (a + j))


def noncentral_beta(x, y, a, b, mean, shift):
    return poisson_mixture(mean, shift, lambda j: beta_below_mean(x, y, a + j, b),
                           lambda j: beta_weight(x, y, a + j, b) / (a + j))


def noncentral_f(x, df1, df2, nc):
    scaled = mpf(x) * mpf(df1)
    return noncentral_beta(scaled / (scaled + df2), df2 / (scaled + df2), mpf(df1) / 2, mpf(df2) / 2, mpf(nc) / 2, 0)


def noncentral_t_above(t, df, nc, sign):
    """P(0 < T <= t) for noncentrality sign * nc, t and nc positive."""
    square, df, mean = mpf(t) ** 2, mpf(df), mpf(nc) ** 2 / 2
    x, y = square / (df + square), df / (df + square)
    half = mpf(1) / 2
    return (noncentral_beta(x, y, half, df / 2, mean, 0) + sign * noncentral_beta(x, y, half * 2, df / 2, mean, half)) / 2


def noncentral_t(t, df, nc):
    with mp.workdps(150):
        sign = 1 if (t > 0) == (nc > 0) else -1
        inner = noncentral_t_above(abs(t), df, abs(nc), sign)
        return normal_cdf(-nc) + inner if t > 0 else normal_cdf(-nc) - inner


def noncentral_t_density(t, df, nc):
    with mp.workdps(150):
        t, df, nc = mpf(t), mpf(df), mpf(nc)
        z = t * nc * sqrt(mpf(2)) / sqrt(df + t * t)
        total, j = mpf(0), 0
        even, odd = mpf(1), exp(loggamma((df + 2) / 2) - loggamma((df + 1) / 2)) * z
        while True:
            total += even + odd
            if j > abs(z) and abs(even) + abs(odd) < mpf(10) ** -140 * abs(total):
                break
            even *= (df + 1 + j) / 2 * z * z / ((j + 1) * (j + 2))
            odd *= (df + 2 + j) / 2 * z * z / ((j + 2) * (j + 3))
            j += 2
        return t_density(t, df) * exp(-nc * nc / 2) * total


def noncentral_t_by_integral(t, df, nc, density=False):
    """The distribution function or density by the trapezoidal rule for S^2 = W/shape, W gamma-distributed: any arguments."""
    t, nc, shape = mpf(t), mpf(nc), mpf(df) / 2

    def value(v):
        w = exp(v)
        s = sqrt(w / shape)
        z = t * s - nc
        factor = s * exp(-z * z / 2) / sqrt(2 * mp.pi) if density else normal_cdf(z)
        return exp(shape * (v - log(shape)) - (w - shape)) * factor

    # The peak: a coarse scan of the logarithm, then a fine one.
    centre, reach = log(shape), mpf(60) / sqrt(shape) + 3 * log(1 + abs(nc)) / min(1, shape) + 2
    for _ in range(6):
        grid = [centre + reach * i / 40 for i in range(-40, 41)]
        centre = max(grid, key=value)
        reach /= 15
    step = mpf(1) / 5 / sqrt(exp(centre) + (abs(nc) + 4) ** 2 / 2 + 1)
    total = value(centre)
    for sign in (1, -1):
        k = 0
        while True:
            k += sign
            term = value(centre + k * step)
            total += term
            if term < mpf(10) ** -30 * total:
                break
    return total * step * exp(shape * log(shape) - shape - loggamma(shape))


def quantile_row(point, tails, weight):
    """The arguments of a quantile near a given point x, params: p rounded to a double, its quantile to first order in
    that rounding, and the sensitivity. The weight is x times the density."""
    x, params = point[0], point[1:]
    lower, upper = tails(x, *params)
    p = float(lower)
    # Beyond these points the quantile of a double p is no longer told by a double.
    if not 1e-300 < p < 1 - 1e-6 or p == 0.5 or (tails is unit_tails and x > 0.99):
        return None
    pull = weight(x, *params)
    exact = mpf(x) * (1 + (mpf(p) - lower) / pull)
    return (p,) + tuple(params), abs(pull) / min(lower, upper), exact


COUNTS = [("small", 2, 50), ("medium", 50, 1e4), ("large", 1e4, 1e6), ("huge", 1e6, 5e7)]
FAMILIES = [("small", 0.01, 1), ("medium", 1, 50), ("large", 50, 2000), ("huge", 2000, 1e6)]


DOMAIN = """
CdfStdNorm 0 0.5;  -0.0 0.5;  inf 1;  -inf 0;  9 1;  -40 0;  1e300 1;  -1e300 0;  missing 0;  nan nan
IdfStdNorm 0.5 0;  0 missing;  1 missing;  -0.1 missing;  1.5 missing;  inf missing;  nan missing;  missing missing
PdfNormalStandard 0 0.3989422804014327;  inf 0;  -40 0;  nan nan
CdfNorm 3 3 2 0.5;  1 2 0 missing;  1 2 -1 missing;  1 2 nan missing;  inf 2 3 1
IdfNorm 0.5 3 2 3;  0 3 2 missing;  1 3 2 missing;  0.3 3 0 missing;  nan 3 2 missing
PdfNormal 2 2 -1 -0.3989422804014327;  1 2 0 missing;  1 2 nan missing
tavodnlgam 1 0;  2 0;  0.5 0.5723649429247001;  0 missing;  -0.0 missing;  -2.5 missing;  -inf missing;  inf inf;  nan nan
CdfChi 0 3 0;  1 0 missing;  1 nan missing;  inf 3 1;  nan 3 nan;  1 inf missing
SigChi 0 3 1;  -1 0.1 1;  0 0 missing;  1418 2 0
IdfChi 0 3 0;  1 3 missing;  nan 3 missing;  0.1 1e-4 0;  0.5 0 missing
CdfGam 709 1 1 1;  1e200 2 1e200 1;  1 1 0 missing;  1 -1 1 missing;  -1 2 3 0
IdfGam 0 0 1 0;  0.5 0 1 missing;  -0.1 1 1 missing;  0.5 1 0 missing;  1 1 1 missing
PdfGamma 0 1 2.5 2.5;  0 2 2.5 0;  0 0.5 1 missing;  -1 0.5 1 0;  1 0 1 missing;  1 1 nan missing;  1e304 2.5 1.5 0
CdfBeta -0.5 2 3 0;  0 2 3 0;  1 2 3 1;  inf 2 3 1;  0.5 0 3 missing;  0.5 1 -3 missing;  0.5 nan 3 missing;  0.5 1 inf missing;  nan 2 3 nan
IdfBeta 0 2 3 0;  1 2 3 1;  -0.1 2 3 missing;  1.1 2 3 missing;  0.5 0 3 missing;  0.5 2 inf missing;  nan 2 3 missing;  1e-30 0.01 5 0
CdfT 0 3 0.5;  -inf 3 0;  inf 3 1;  1 0 missing;  1 nan missing;  nan 3 nan
SigT 0 7.5 0.5;  inf 3 0;  1 -1 missing;  0 nan missing
IdfT 0 3 missing;  1 3 missing;  nan 3 missing;  0.3 0 missing;  0.5 3 0;  1e-9 0.01 missing
PdfT inf 3 0;  1 0 missing;  1 nan missing;  nan 3 nan;  1e304 3 0
CdfF -1 3 4 0;  inf 3 4 1;  1 0 4 missing;  1 3 -1 missing
SigF -1 3 4 1;  inf 3 4 0;  1 3 nan missing;  nan 3 4 nan
IdfF 0 3 4 0;  1 3 4 missing;  -0.1 3 4 missing;  0.5 0 4 missing;  0.5 3 inf missing;  nan 3 4 missing;  0.999 3 0.001 missing
PdfBin 10 10 0.5 0.0009765625;  0 3 0.25 0.421875;  2.5 10 0.3 0;  -1 10 0.3 0;  11 10 0.3 0;  0 10 0 1;  1 10 0 0;  10 10 1 1;  500 1000 1e-3 0
CdfBin -0.1 10 0.5 0;  0 3 0.25 0.421875;  10 10 0.5 1;  0 10 0 1;  9 10 1 0;  nan 10 0.5 nan
IdfBin 0.171875 10 0.5 3;  0.1719 10 0.5 4;  0 10 0.5 0;  1 10 0.5 10
PdfNegBin 1 2 0.5 0;  2.5 2 0.5 0;  3 3 1 1;  4 3 1 0
PdfHyper 4 10 4 3 0;  0 10 9 3 0;  1 0 0 0 missing;  1 10 11 3 missing;  1 10 -1 3 missing;  1 10 4 11 missing;  -9e18 10 4 3 0
CDFHyper -1 10 4 3 0;  3 10 4 3 1;  nan 10 4 3 nan
NonCentralCdfChi -1 2 3 0;  inf 2 3 1;  1 0 1 missing;  1 nan 1 missing;  1 inf 1 missing;  1 1 -1 missing;  1 1 nan missing;  nan 1 1 nan
NonCentralCdfF 0 2 3 4 0;  inf 2 3 4 1;  1 0 2 1 missing;  1 2 nan 1 missing;  1 2 2 -1 missing;  1 2 2 inf missing
NonCentralCdfT -inf 3 2 0;  inf 3 2 1;  1 0 1 missing;  1 nan 1 missing;  1 3 inf missing;  nan 3 1 nan
NonCentralPdfT inf 3 2 0;  1 0 1 missing;  1 3 nan missing;  1e200 3 1 0
FindNCParamChi 3 4 0.9 missing;  3 4 0 missing;  3 4 1 missing;  3 4 nan missing;  0 4 0.1 missing;  3 0 0.1 missing
FindNCParamF 1 4 20 0.9 missing;  1 4 20 nan missing;  1 0 20 0.1 missing;  1 4 inf 0.1 missing
FindNCParamT 1e9 4 0.5 missing;  1 0 0.5 missing;  inf 4 0.5 missing;  1 4 1 missing
"""


def domain():
    """(function, its arguments and value as words) where a domain ends or a value is exact by definition."""
    for line in DOMAIN.strip().splitlines():
        function, rest = line.split(None, 1)
        for row in rest.split(";"):
            yield function, row.split()


def edges():
    """Points where the usual sums are at their ends: (function, arguments, the exact value)."""
    gamma = lambda x, shape, rate=1: gamma_tails(mpf(x) * mpf(rate), shape)
    # above the mode of a large shape, where the convergents of the fraction leave the range before they converge
    for x, df in [(96001.1, 96000), (20010.3, 20000), (2.0001e6, 2e6)]:
        yield "SigChi", (x, df), lambda x, df: gamma(mpf(x) / 2, mpf(df) / 2)[1]
    yield "CdfGam", (48001, 48000, 1), lambda *v: gamma(*v)[0]
    # products and quotients that are no doubles
    yield "CdfGam", (1e-300, 1e-3, 1e-100), lambda *v: gamma(*v)[0]
    yield "CdfChi", (5e-324, 1e-3), lambda x, df: gamma(mpf(x) / 2, mpf(df) / 2)[0]
    yield "SigChi", (2, 2e-9), lambda x, df: gamma(mpf(x) / 2, mpf(df) / 2)[1]
    yield "PdfGamma", (1e-300, 1, 1e-100), lambda x, shape, rate: mpf(rate)
    yield "PdfGamma", (1, 1e-290, 1), lambda x, shape, rate: gamma_weight(mpf(x), mpf(shape))
    yield "CdfF", (1e-320, 0.001, 5), lambda *v: f_tails(*v)[0]
    yield "SigF", (1e300, 5, 0.001), lambda *v: f_tails(*v)[1]
    yield "CdfT", (-1e160, 1e-3), t_cdf
    yield "CdfT", (-1e-300, 2), t_cdf
    yield "SigT", (1e300, 0.25), lambda t, df: t_cdf(-t, df)
    for args in [(0.5, 1e-9, 1e-9), (1e-8, 1e-6, 1), (1e-8, 1, 1e-6)]:
        yield "CdfBeta", args, lambda x, a, b: beta_tails(mpf(x), 1 - mpf(x), a, b)[0]
    yield "PdfT", (1, 1e-290), t_density
    # the noncentral ones: two large numbers that nearly cancel, far tails of one sign, large shapes
    yield "NonCentralCdfChi", (672664.136, 670893.987, 1263.179), noncentral_chi
    yield "NonCentralCdfChi", (1.01e5, 10, 1e5), noncentral_chi
    yield "NonCentralCdfF", (1010, 100, 1e4, 1e5), noncentral_f
    for args in [(-6400, 100, -6300), (6400, 100, 6300), (1e5, 1e8, 99999), (-300, 1e6, -290), (200, 3, 150), (-200, 3, -150),
                 (-1e3, 0.5, -0.5), (-60, 40, -1), (30, 1000, 41), (-7000, 2.5, -40.5), (5, 1e4, 30)]:
        yield "NonCentralCdfT", args, noncentral_t_by_integral
    for args in [(3, 1e4, 2), (3, 1e7, 2), (1, 1e12, 0.5), (400, 1e5, 380), (-1e6, 1.5, -12), (1e-3, 700, 11), (80, 3, 41)]:
        yield "NonCentralPdfT", args, lambda *v: noncentral_t_by_integral(*v, density=True)


def rows():
    """(function, region, a maker of arguments, the exact value)"""
    yield "CdfStdNorm", "body", lambda: (random.uniform(-5, 8),), normal_cdf
    yield "CdfStdNorm", "tail", lambda: (random.uniform(-37, -5),), normal_cdf
    yield "PdfNormalStandard", "all", lambda: (random.uniform(-37, 37),), lambda x: exp(-mpf(x) ** 2 / 2) / sqrt(2 * mp.pi)
    yield "IdfStdNorm", "all", lambda: (probability(),), normal_quantile
    yield "tavodnlgam", "small", lambda: (log_uniform(1e-300, 0.9),), lambda x: loggamma(mpf(x))
    yield "tavodnlgam", "medium", lambda: (random.uniform(2.1, 20),), lambda x: loggamma(mpf(x))
    yield "tavodnlgam", "large", lambda: (log_uniform(20, 1e300),), lambda x: loggamma(mpf(x))
    for region, low, high in FAMILIES:
        yield "CdfChi", region, lambda: gamma_point(low, high, 2), lambda x, df: gamma_tails(mpf(x) / 2, mpf(df) / 2)[0]
        yield "SigChi", region, lambda: gamma_point(low, high, 2), lambda x, df: gamma_tails(mpf(x) / 2, mpf(df) / 2)[1]
        yield "CdfGam", region, lambda: gamma_point(low, high, 1) + (log_uniform(0.1, 10),), \
            lambda x, shape, rate: gamma_tails(mpf(x) * mpf(rate), shape)[0]
        yield "PdfGamma", region, lambda: gamma_point(low, high, 1) + (log_uniform(0.9, 1.1),), \
            lambda x, shape, rate: gamma_weight(mpf(x) * mpf(rate), mpf(shape)) / mpf(x)
        yield "IdfChi", region, lambda: quantile_row(gamma_point(low, high, 2), \
            lambda x, df: gamma_tails(mpf(x) / 2, mpf(df) / 2), \
            lambda x, df: gamma_weight(mpf(x) / 2, mpf(df) / 2)), None
        yield "CdfBeta", region, lambda: beta_point(low, high), lambda x, a, b: beta_tails(mpf(x), 1 - mpf(x), a, b)[0]
        yield "CdfT", region, lambda: t_point(low, high), t_cdf
        yield "SigT", region, lambda: (lambda t, df: (-t, df))(*t_point(low, high)), lambda t, df: t_cdf(-t, df)
        yield "CdfF", region, lambda: f_point(low, high), lambda *args: f_tails(*args)[0]
        yield "SigF", region, lambda: f_point(low, high), lambda *args: f_tails(*args)[1]
        yield "IdfBeta", region, lambda: quantile_row(beta_point(low, high), \
            unit_tails, lambda x, a, b: beta_weight(mpf(x), 1 - mpf(x), mpf(a), mpf(b)) / (1 - mpf(x))), None
        yield "PdfT", region, lambda: t_point(low, high), t_density
        yield "IdfT", region, lambda: quantile_row(t_point(low, high), \
            lambda t, df: (t_cdf(t, df), 1 - t_cdf(t, df)), lambda t, df: mpf(t) * t_density(t, df)), None
        yield "IdfF", region, lambda: quantile_row(f_point(low, high), f_tails, f_weight), None
    for region, low, high in COUNTS:
        yield "CdfBin", region, lambda: binomial_point(low, high), \
            lambda k, n, p: beta_tails(mpf(p), 1 - mpf(p), k + 1, n - k)[1]
        yield "PdfBin", region, lambda: binomial_point(low, high), binomial_density
        yield "PdfNegBin", region, lambda: (lambda k, n, p: (n, k + 1.0, p))(*binomial_point(low, high)), \
            lambda x, r, p: binomial_density(r - 1, x - 1, p) * mpf(p)
        yield "PdfHyper", region, lambda: hyper_point(low, high), hyper_density
        yield "CDFHyper", region, lambda: hyper_point(low, high), \
            lambda k, N, M, n: sum(hyper_density(j, N, M, n) for j in range(max(0, int(n - N + M)), int(k) + 1))
    for region, high in [("small", 2), ("medium", 40), ("large", 1000)]:
        yield "NonCentralCdfChi", region, lambda: noncentral_chi_point(high), noncentral_chi
        yield "NonCentralCdfF", region, lambda: noncentral_f_point(high), noncentral_f
    for region, high in [("small", 1), ("medium", 6), ("large", 30)]:
        yield "NonCentralCdfT", region, lambda: noncentral_t_point(high), noncentral_t
        yield "NonCentralPdfT", region, lambda: noncentral_t_point(high), noncentral_t_density
    yield "CdfBeta", "mixed", lambda: beta_point(0.01, 1e5), lambda x, a, b: beta_tails(mpf(x), 1 - mpf(x), a, b)[0]


def main():
    points, seed = int(sys.argv[1]), int(sys.argv[2])
    only = sys.argv[3] if len(sys.argv) > 3 else ""
    for function, words in domain():
        if function.startswith(only):
            print(function, "domain", *words)
    for function, args, exact in edges():
        if function.startswith(only):
            print(function, "edge", *[repr(float(v)) for v in args], nstr(exact(*[float(v) for v in args]), 20))
    for function, region, make, exact in rows():
        if not function.startswith(only):
            continue
        random.seed("%s %s %d" % (function, region, seed))
        written = 0
        while written < points:
            args = make()
            if exact is None:  # a quantile
                if args is None:
                    continue
                args, sensitivity, value = args
                words = [*[repr(float(v)) for v in args], nstr(sensitivity, 5)]
            else:
                value = exact(*args)
                words = [repr(float(v)) for v in args]
            if 0 < abs(value) < mpf(10) ** -300:
                continue
            print(function, region, *words, nstr(value, 20))
            written += 1


if __name__ == "__main__":
    main()
