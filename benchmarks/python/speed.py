"""modelcore beside its peers in Python, one thread each, on the same data in the same run.

Usage: python benchmarks/python/speed.py [--quick]    (needs scipy, scikit-learn, statsmodels, pandas)

Both of a row must agree before either is timed. Times are the least processor time of several runs, so that what else the
machine does shows little.
"""

import os

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"

import sys
import time
import timeit
import warnings

import numpy as np
import pandas as pd
import scipy.special as sp
import scipy.stats as st
import statsmodels.api as sm
from sklearn import linear_model, preprocessing

import modelcore as mc
from modelcore import encoders, stats

warnings.simplefilter("ignore")
QUICK = "--quick" in sys.argv
N = 100_000 if QUICK else 1_000_000
rng = np.random.default_rng(1)
rows = []


def best(call, repeat=3):
    times = []
    for _ in range(1 if QUICK else repeat):
        start = time.process_time()
        result = call()
        times.append(time.process_time() - start)
    return min(times), result


def row(name, ours, theirs, agree=1e-8, value=lambda x: x):
    a, x = best(ours)
    b, y = best(theirs)
    if agree is not None:
        x, y = np.asarray(value(x), float), np.asarray(value(y), float)
        worst = np.nanmax(np.abs(x - y) / (np.abs(y) + 1e-12 * np.nanmax(np.abs(y)) + 1e-300))
        if not worst <= agree:
            print(f"| {name} | results differ: {worst:.1e}; not timed | | |")
            return
    rows.append(b / a)
    print(f"| {name} | {1e3 * a:.1f} ms | {1e3 * b:.1f} ms | {b / a:.2f} |", flush=True)


def distributions():
    x, p = rng.normal(size=N) * 2, rng.uniform(0.001, 0.999, N)
    positive = rng.gamma(2.0, 3.0, N)
    n = N // 10
    for name, ours, theirs in (
        ("normal cdf / scipy.special.ndtr", lambda: stats.norm_cdf(x), lambda: sp.ndtr(x)),
        ("normal cdf / scipy.stats", lambda: stats.norm_cdf(x), lambda: st.norm.cdf(x)),
        ("normal quantile / ndtri", lambda: stats.norm_quantile(p), lambda: sp.ndtri(p)),
        ("t cdf / stdtr", lambda: stats.t_cdf(x, 7.5), lambda: sp.stdtr(7.5, x)),
        ("t quantile / stdtrit", lambda: stats.t_quantile(p[:n], 7.5), lambda: sp.stdtrit(7.5, p[:n])),
        ("F cdf / fdtr", lambda: stats.f_cdf(positive, 3.5, 20.0), lambda: sp.fdtr(3.5, 20.0, positive)),
        ("F quantile / fdtri", lambda: stats.f_quantile(p[:n], 3.5, 20.0), lambda: sp.fdtri(3.5, 20.0, p[:n])),
        ("beta cdf / betainc", lambda: stats.beta_cdf(p, 2.5, 4.0), lambda: sp.betainc(2.5, 4.0, p)),
        (
            "beta quantile / betaincinv",
            lambda: stats.beta_quantile(p[:n], 2.5, 4.0),
            lambda: sp.betaincinv(2.5, 4.0, p[:n]),
        ),
        ("chi-square cdf / chdtr", lambda: stats.chi2_cdf(positive, 5.5), lambda: sp.chdtr(5.5, positive)),
        ("chi-square quantile / scipy.stats", lambda: stats.chi2_quantile(p[:n], 5.5), lambda: st.chi2.ppf(p[:n], 5.5)),
        (
            "noncentral chi-square cdf / chndtr",
            lambda: stats.noncentral_chi2_cdf(positive[:n], 5.5, 3.0),
            lambda: sp.chndtr(positive[:n], 5.5, 3.0),
        ),
        (
            "noncentral F cdf / ncfdtr",
            lambda: stats.noncentral_f_cdf(positive[:n], 3.5, 20.0, 3.0),
            lambda: sp.ncfdtr(3.5, 20.0, 3.0, positive[:n]),
        ),
        (
            "noncentral t cdf / scipy.stats",
            lambda: stats.noncentral_t_cdf(np.abs(x[:n]), 9.0, 1.0),
            lambda: st.nct.cdf(np.abs(x[:n]), 9.0, 1.0),
        ),
    ):
        row(name, ours, theirs)


def moments():
    for p in (10, 50):
        x = rng.normal(size=(N // 4, p)) + 3
        w = rng.integers(1, 4, len(x))
        frame = pd.DataFrame(x)
        row(
            f"weighted covariance, {len(x)} x {p} / numpy.cov(fweights)",
            lambda: mc.CrossProducts().update(x, frequency=w).covariance(),
            lambda: np.cov(x.T, fweights=w),
        )
        row(f"covariance, {len(x)} x {p} / pandas cov", lambda: mc.CrossProducts().update(x).covariance(), frame.cov)
        holes = x[: len(x) // 10].copy()
        holes[rng.random(holes.shape) < 0.05] = np.nan
        frame = pd.DataFrame(holes)
        row(
            f"pairwise covariance, 5 % missing, {len(holes)} x {p} / pandas cov",
            lambda: mc.PairwiseProducts().update(holes).covariance(),
            frame.cov,
            value=lambda c: np.asarray(c)[np.tril_indices(p, -1)],
        )


def models():
    x = rng.normal(size=(N // 10, 20))
    beta = rng.normal(size=20)
    y = x @ beta + rng.normal(size=len(x))
    w = rng.random(len(x)) + 0.1
    z = (x @ beta * 0.3 + rng.logistic(size=len(x)) > 0).astype(int)
    full = sm.add_constant(x)
    size = f"{len(x)} x 20"
    row(
        f"linear regression, {size} / scikit-learn",
        lambda: mc.LinearRegression().fit(x, y),
        lambda: linear_model.LinearRegression().fit(x, y),
        value=lambda m: m.coef_,
    )
    row(
        f"linear regression with standard errors, {size} / statsmodels OLS",
        lambda: mc.LinearRegression().fit(x, y).std_errors_,
        lambda: sm.OLS(y, full).fit().bse,
    )
    row(
        f"weighted, {size} / statsmodels WLS",
        lambda: mc.LinearRegression().fit(x, y, w).std_errors_,
        lambda: sm.WLS(y, full, weights=w).fit().bse,
    )
    row(
        f"logistic regression, {size} / scikit-learn (no penalty)",
        lambda: mc.LogisticRegression().fit(x, z),
        lambda: linear_model.LogisticRegression(C=np.inf, tol=1e-10, max_iter=1000).fit(x, z),
        1e-5,
        lambda m: m.coef_,
    )
    row(
        f"logistic regression with standard errors, {size} / statsmodels GLM",
        lambda: mc.LogisticRegression().fit(x, z).std_errors_,
        lambda: sm.GLM(z, full, family=sm.families.Binomial()).fit(tol=1e-12).bse,
        1e-6,
    )


def encoding():
    codes = rng.integers(0, 30, (N, 1)).astype(float)
    x = rng.normal(size=(N, 1))
    row(
        "indicators of 30 categories / OneHotEncoder",
        lambda: encoders.CategoricalEncoder().fit(codes).transform(codes),
        lambda: preprocessing.OneHotEncoder(sparse_output=False).fit(codes).transform(codes),
    )
    bins = preprocessing.KBinsDiscretizer(10, encode="ordinal", strategy="uniform", subsample=None)
    row(
        "10 bins of equal width / KBinsDiscretizer",
        lambda: encoders.BinningEncoder(method="equal_width", bins=10, closed="lower").fit(x).transform(x),
        lambda: bins.fit(x).transform(x),
        None,
    )


if __name__ == "__main__":
    print("| what / peer | modelcore | peer | speed of modelcore relative to the peer |\n|---|---|---|---|")
    for part in (distributions, moments, models, encoding):
        part()
    print(f"\nGeometric mean {np.exp(np.mean(np.log(rows))):.2f}, worst {min(rows):.2f}, {len(rows)} rows.")
    for name, call in (
        ("stats.norm_cdf(1.0)", lambda: stats.norm_cdf(1.0)),
        ("scipy.special.ndtr(1.0)", lambda: sp.ndtr(1.0)),
    ):
        print(f"Overhead: {name} {timeit.timeit(call, number=100_000) / 1e5 * 1e9:.0f} ns")
