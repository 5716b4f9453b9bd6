"""Distribution functions on numbers and arrays."""

import pathlib

import numpy as np
import pandas as pd
import polars as pl
import pytest
from hypothesis import given, settings, strategies as st
from hypothesis.extra import numpy as hnp

from modelcore import stats

TABLE = pathlib.Path(__file__).parents[3] / "tests" / "data" / "distributions.txt"
# Functions of the table of exact values that are there under these names; the arguments are in the same order.
NAMES = {
    "CdfNorm": "norm_cdf",
    "IdfNorm": "norm_quantile",
    "CdfChi": "chi2_cdf",
    "SigChi": "chi2_sf",
    "IdfChi": "chi2_quantile",
    "CdfGam": "gamma_cdf",
    "IdfGam": "gamma_quantile",
    "PdfGamma": "gamma_pdf",
    "CdfBeta": "beta_cdf",
    "IdfBeta": "beta_quantile",
    "CdfT": "t_cdf",
    "SigT": "t_sf",
    "PdfT": "t_pdf",
    "CdfF": "f_cdf",
    "SigF": "f_sf",
    "IdfF": "f_quantile",
    "CdfBin": "binom_cdf",
    "IdfBin": "binom_quantile",
    "PdfBin": "binom_pmf",
    "PdfNegBin": "negbinom_pmf",
    "NonCentralCdfChi": "noncentral_chi2_cdf",
    "NonCentralCdfF": "noncentral_f_cdf",
    "NonCentralCdfT": "noncentral_t_cdf",
    "NonCentralPdfT": "noncentral_t_pdf",
    "tavodnlgam": "gammaln",
}


def test_table_of_exact_values():
    found = {name: [] for name in NAMES}
    for name, region, *words in map(str.split, TABLE.read_text().splitlines()):
        if name in NAMES and region in ("domain", "small", "medium"):
            found[name].append([-np.finfo(float).max if word == "missing" else float(word) for word in words])
    for name, rows in found.items():
        width = min(map(len, rows)) - 1  # between the arguments and the value of a quantile stands its sensitivity
        *arguments, expected = np.array([row[:width] + row[-1:] for row in rows]).T
        expected[expected == -np.finfo(float).max] = np.nan
        np.testing.assert_allclose(getattr(stats, NAMES[name])(*arguments), expected, rtol=2e-11, err_msg=name)


def test_tails_beyond_the_usual_digits():
    assert stats.norm_sf(38.0) == pytest.approx(2.885428360068784e-316, rel=1e-6)
    assert stats.f_sf(1e300, 2, 2) == pytest.approx(1e-300, rel=1e-14)
    assert stats.t_sf(0.0, 5) == 0.5 and stats.norm_quantile(0.5, mean=3.0) == 3.0


BROADCAST = st.tuples(*[st.sampled_from([(), (1,), (3,), (2, 1), (2, 3), (4, 1, 3), (0,), (1, 2, 1)])] * 3)


@settings(deadline=None)
@given(BROADCAST, st.data())
def test_arrays_broadcast_as_in_numpy_with_the_bits_of_the_scalars(shapes, data):
    draw = lambda shape, low, high: data.draw(hnp.arrays(float, shape, elements=st.floats(low, high)))
    x, a, b = draw(shapes[0], -1, 5), draw(shapes[1], -1, 9), draw(shapes[2], 0.5, 9)
    x = x.T.copy().T
    try:
        points = np.broadcast(x, a, b)
    except ValueError:
        with pytest.raises(ValueError):
            stats.f_cdf(x, a, b)
        return
    expected = [stats.f_cdf(float(p), float(q), float(r)) for p, q, r in points]
    got = stats.f_cdf(x, a, b)
    assert np.shape(got) == points.shape
    np.testing.assert_array_equal(np.ravel(got), expected)


@pytest.mark.parametrize(
    "name, parameters",
    [("norm_cdf", (1.0, 3.0)), ("norm_sf", (1.0, 3.0)), ("norm_quantile", (1.0, 3.0)), ("chi2_cdf", (4.5,))]
    + [("chi2_sf", (4.5,)), ("chi2_quantile", (4.5,)), ("t_cdf", (7.0,)), ("t_sf", (7.0,)), ("t_quantile", (7.0,))]
    + [("f_cdf", (3.0, 30.0)), ("f_sf", (3.0, 30.0)), ("f_quantile", (3.0, 30.0))],
)
def test_one_set_of_parameters_for_a_whole_array_gives_the_bits_of_the_scalars(name, parameters):
    function = getattr(stats, name)
    x = np.concatenate([np.linspace(-3.0, 9.0, 61), np.geomspace(1e-300, 1e300, 41), [np.nan, np.inf, -np.inf]])
    for points in (x, x[::-3], x[:1], x[:0]):
        expected = np.array([function(float(each), *parameters) for each in points])
        np.testing.assert_array_equal(function(points, *parameters), expected)
    with pytest.raises(ValueError):
        function(x, *parameters[:-1], -1.0, raise_errors=True)


def test_any_container_and_any_stride():
    x = np.linspace(0, 3, 4000).reshape(40, 100)
    expected = stats.t_cdf(x.copy(), 4)
    for view, wanted in ((x.T, expected.T), (x[::-2, ::3], expected[::-2, ::3]), (x.astype(np.float32), None)):
        got = stats.t_cdf(view, 4.0)
        np.testing.assert_array_equal(got, stats.t_cdf(view.astype(float), 4) if wanted is None else wanted)
        assert got.flags.owndata
    for column in (
        [0.5, None],
        (0.5, None),
        pd.Series([0.5, None]),
        pd.Series([0.5, None], dtype="Float64"),
        pl.Series([0.5, None]),
        np.ma.masked_invalid([0.5, np.nan]),
        np.array([0.5, None], object),
    ):
        np.testing.assert_array_equal(stats.norm_cdf(column), [stats.norm_cdf(0.5), np.nan])
    for number in (1, True, np.float64(1), np.int32(1), np.array(1.0)):
        assert stats.norm_cdf(number) == stats.norm_cdf(1.0)


def test_what_does_not_exist_is_nan_or_raises():
    with np.errstate(all="raise"):
        assert np.isnan(stats.t_cdf(1.0, -1.0)) and np.isnan(stats.t_cdf(1.0, np.nan))
    with pytest.raises(ValueError, match="t_cdf"):
        stats.t_cdf([1.0, 2.0], [3.0, 0.0], raise_errors=True)
    stats.t_cdf([1.0, np.nan], 3.0, raise_errors=True)  # a missing argument is no fault
    for wrong in (None, "1", object(), 1j, ["1"], {}):
        with pytest.raises((TypeError, ValueError)):
            stats.norm_cdf(wrong)
    with pytest.raises(TypeError):
        stats.f_cdf(1.0)
    with pytest.raises(OverflowError):
        stats.norm_cdf(10**400)


def test_every_function_agrees_with_scipy_where_scipy_is_right():
    special = pytest.importorskip("scipy.stats")
    s, x, p = special, np.linspace(0.1, 6, 50), np.linspace(0.02, 0.98, 25)
    for got, expected in (
        (stats.norm_pdf(x, 1, 2), s.norm.pdf(x, 1, 2)),
        (stats.norm_sf(x, 1, 2), s.norm.sf(x, 1, 2)),
        (stats.norm_quantile(p, 1, 2), s.norm.ppf(p, 1, 2)),
        (stats.gamma_cdf(x, 2, 3), s.gamma.cdf(x, 2, scale=1 / 3)),
        (stats.gamma_quantile(p, 2, 3), s.gamma.ppf(p, 2, scale=1 / 3)),
        (stats.gamma_pdf(x, 2, 3), s.gamma.pdf(x, 2, scale=1 / 3)),
        (stats.beta_quantile(p, 2, 3), s.beta.ppf(p, 2, 3)),
        (stats.t_pdf(x, 3), s.t.pdf(x, 3)),
        (stats.t_quantile(p, 3), s.t.ppf(p, 3)),
        (stats.f_quantile(p, 3, 4), s.f.ppf(p, 3, 4)),
        (stats.binom_quantile(p, 20, 0.3), s.binom.ppf(p, 20, 0.3)),
        (stats.negbinom_pmf(np.arange(3, 9), 3, 0.4), s.nbinom.pmf(np.arange(6), 3, 0.4)),
        (stats.hypergeom_pmf(np.arange(5), 20, 7, 5), s.hypergeom.pmf(np.arange(5), 20, 7, 5)),
        (stats.hypergeom_cdf(np.arange(5), 20, 7, 5), s.hypergeom.cdf(np.arange(5), 20, 7, 5)),
        (stats.gammaln(x), __import__("scipy.special", fromlist=["x"]).gammaln(x)),
    ):
        np.testing.assert_allclose(got, expected, rtol=1e-9, atol=1e-13)
    for find, cdf, args in (
        (stats.noncentrality_chi2, stats.noncentral_chi2_cdf, (9.0, 4.0)),
        (stats.noncentrality_t, stats.noncentral_t_cdf, (2.0, 7.0)),
        (stats.noncentrality_f, stats.noncentral_f_cdf, (3.0, 4.0, 9.0)),
    ):
        assert cdf(*args, find(*args, 0.1)) == pytest.approx(0.1, rel=1e-9)


def test_percentiles():
    x = [5.0, 1.0, 3.0, None, 2.0, 4.0]
    assert stats.percentile(x, 50) == 3.0
    assert stats.median_interval(np.arange(1.0, 101))[0] == 50.5
    median, lower, upper, reached = stats.median_interval(np.arange(1.0, 101), interpolate=False)
    assert 38 <= lower < median < upper <= 63 and reached >= 95
    assert np.isnan(stats.percentile([1.0], 50))
