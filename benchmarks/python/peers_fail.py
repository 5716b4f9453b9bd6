"""Cases where the usual libraries lose digits or fail, beside modelcore: what docs/python-peers.md shows.

Usage: python benchmarks/python/peers_fail.py    (needs scipy, scikit-learn, statsmodels, pandas)
"""

import fractions
import pathlib
import warnings

import numpy as np

import modelcore as mc
from modelcore import stats

warnings.simplefilter("ignore")


def versions():
    import pandas
    import scipy
    import sklearn
    import statsmodels

    print("| library | version |\n|---|---|")
    for module in (mc, np, scipy, sklearn, statsmodels, pandas):
        print(f"| {module.__name__} | {module.__version__} |")


def tails():
    """Exact values: 30 digits of mpmath, rounded, where a reference is given."""
    import scipy.stats as st

    print(
        "\n## Small tails of the noncentral t\n\n| P(T <= t) of t, df, nc | exact | modelcore | scipy |\n|---|---|---|---|"
    )
    for t, df, nc in ((-5.0, 30.0, 3.0), (-2.0, 5.0, 6.0), (-10.0, 50.0, 5.0), (-1.0, 200.0, 10.0)):
        print(
            f"| {t:g}, {df:g}, {nc:g} | {exact_nct(t, df, nc):.10e} | {stats.noncentral_t_cdf(t, df, nc):.10e} "
            f"| {st.nct.cdf(t, df, nc):.10e} |"
        )


def exact_nct(t, df, nc):
    """P(T <= t) = the integral of Phi(t*s - nc) over the density of s = sqrt(chi2/df), by mpmath in 40 digits."""
    import mpmath as mp

    mp.mp.dps = 40
    t, df, nc = mp.mpf(t), mp.mpf(df), mp.mpf(nc)
    scale = 2 * (df / 2) ** (df / 2) / mp.gamma(df / 2)
    density = lambda s: scale * s ** (df - 1) * mp.exp(-df * s * s / 2)
    return mp.quad(lambda s: mp.ncdf(t * s - nc) * density(s), [0, 0.25, 0.5, 0.75, 1, 1.25, 1.5, 2, 3, 6])


def moments():
    import pandas as pd
    from statsmodels.stats.weightstats import DescrStatsW

    rng = np.random.default_rng(1)
    n = 2000
    x = rng.normal(size=(n, 2)) + [1e6, -1e6]
    w = rng.integers(1, 5, n)
    exact = [[fractions.Fraction(float(v)) for v in column] for column in x.T]
    total = int(w.sum())
    means = [sum(int(a) * v for a, v in zip(w, column)) / total for column in exact]
    product = sum(int(a) * (u - means[0]) * (v - means[1]) for a, u, v in zip(w, *exact)) / (total - 1)
    error = lambda value: abs(float((fractions.Fraction(float(value)) - product) / product))
    print("\n## Weighted covariance, mean/deviation 1e6\n\n| by | relative error |\n|---|---|")
    print(f"| modelcore `CrossProducts` | {error(mc.CrossProducts().update(x, frequency=w).covariance()[0, 1]):.1e} |")
    print(f"| modelcore `CrossProducts`, in 50 parts that are merged | {error(merged(mc.CrossProducts, x, w)):.1e} |")
    print(f"| modelcore `ExactProducts`, in 50 parts that are merged | {error(merged(mc.ExactProducts, x, w)):.1e} |")
    print(f"| `numpy.cov(fweights=)` | {error(np.cov(x.T, fweights=w)[0, 1]):.1e} |")
    print(f"| statsmodels `DescrStatsW` | {error(DescrStatsW(x, weights=w, ddof=1).cov[0, 1]):.1e} |")
    raw = (w[:, None] * x).T @ x - np.outer(w @ x, w @ x) / total
    print(f"| raw sums, as partial results are usually kept | {error(raw[0, 1] / (total - 1)):.1e} |")
    repeated = pd.DataFrame(np.repeat(x, w, axis=0))
    print(f"| pandas `cov` of the repeated rows | {error(repeated.cov().iloc[0, 1]):.1e} |")


def merged(products, x, w):
    total = products()
    for part in np.array_split(np.arange(len(x)), 50):
        total.merge(products().update(x[part], frequency=w[part]))
    return total.covariance()[0, 1]


def filip():
    import statsmodels.api as sm
    from sklearn.linear_model import LinearRegression

    rows = np.loadtxt(pathlib.Path(__file__).parents[2] / "bindings" / "python" / "tests" / "filip.txt")
    y, x = rows.T
    powers = np.power.outer(x, np.arange(1, 11))
    certified = np.array(
        [
            -1467.48961422980,
            -2772.17959193342,
            -2316.37108160893,
            -1127.97394098372,
            -354.478233703349,
            -75.1242017393757,
            -10.8753180355343,
            -1.06221498588947,
            -0.670191154593408e-01,
            -0.246781078275479e-02,
            -0.402962525080404e-04,
        ]
    )
    full = np.column_stack([np.ones(len(x)), powers])
    fits = {"modelcore LinearRegression": mc.LinearRegression().fit(powers, y).params_}
    peer = LinearRegression().fit(powers, y)
    fits["scikit-learn LinearRegression"] = np.append(peer.intercept_, peer.coef_)
    fits["numpy.linalg.lstsq"] = np.linalg.lstsq(full, y, rcond=None)[0]
    fits["statsmodels OLS (pinv, its default)"] = sm.OLS(y, full).fit().params
    fits["statsmodels OLS (qr)"] = sm.OLS(y, full).fit(method="qr").params
    print("\n## NIST's Filip\n\n| by | right digits of the worst coefficient |\n|---|---|")
    for name, b in fits.items():
        print(f"| {name} | {max(0.0, -np.log10(np.max(np.abs(b / certified - 1)))):.1f} |")


def rank_deficient():
    import statsmodels.api as sm
    from sklearn.linear_model import LinearRegression

    rng = np.random.default_rng(3)
    x = rng.normal(size=(200, 3))
    x = np.column_stack([x, x[:, 0] + x[:, 1]])
    y = x @ [1.0, 2.0, 3.0, 0.0] + rng.normal(size=200)
    m = mc.LinearRegression().fit(x, y)
    fit = sm.OLS(y, sm.add_constant(x)).fit()
    print("\n## A column that is the sum of two others\n\n| by | coefficients | said about it |\n|---|---|---|")
    print(
        f"| modelcore | {m.params_[1:].round(4).tolist()} | aliased: {np.flatnonzero(m.aliased_[1:]).tolist()}, df {m.df_resid_:g} |"
    )
    print(
        f"| statsmodels OLS | {fit.params[1:].round(4).tolist()} | condition number {fit.condition_number:.1e}, standard errors "
        f"given for all |"
    )
    print(f"| scikit-learn | {LinearRegression().fit(x, y).coef_.round(4).tolist()} | nothing |")


if __name__ == "__main__":
    versions()
    tails()
    moments()
    filip()
    rank_deficient()
