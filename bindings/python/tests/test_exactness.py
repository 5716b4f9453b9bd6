"""Bits, digits and counts beside rational arithmetic and plain loops."""

from fractions import Fraction

import numpy as np
import pytest
from hypothesis import given, strategies as st

from modelcore import Categories, CrossProducts, LinearRegression, PairwiseProducts, Summary, SymMatrix, gains, roc
from modelcore.charts import Histogram

small = st.integers(-50, 50)


def exact_moments(rows, weights):
    """Means and products of deviations as rational numbers."""
    rows = [[Fraction(float(x)) for x in row] for row in rows]
    weights = [Fraction(float(w)) for w in weights]
    total = sum(weights)
    p = len(rows[0])
    means = [sum(w * row[j] for w, row in zip(weights, rows)) / total for j in range(p)]
    products = [
        [sum(w * (row[i] - means[i]) * (row[j] - means[j]) for w, row in zip(weights, rows)) for j in range(p)]
        for i in range(p)
    ]
    return total, means, products


@given(
    st.lists(st.tuples(small, small, small), min_size=2, max_size=30),
    st.lists(st.integers(1, 4), min_size=30, max_size=30),
    st.integers(1, 9),
)
def test_cross_products_of_whole_numbers(rows, weights, block):
    weights = weights[: len(rows)]
    x = CrossProducts(block_rows=block).update(rows, frequency=weights)
    total, means, products = exact_moments(rows, weights)
    assert x.sum_frequencies == x.sum_weights == total
    np.testing.assert_allclose(x.means, [float(m) for m in means], rtol=1e-14, atol=1e-14)
    expected = [[float(v) for v in row] for row in products]
    np.testing.assert_allclose(x.products(), expected, rtol=1e-12, atol=1e-9)


@given(st.lists(st.tuples(small | st.none(), st.integers(0, 3)), min_size=1, max_size=40))
def test_summaries_and_categories_of_whole_numbers(cases):
    values = [value for value, _ in cases]
    weights = [weight for _, weight in cases]
    kept = [(value, weight) for value, weight in cases if value is not None and weight > 0]
    s = Summary(quantiles=True).update(values, frequency=weights)
    c = Categories().update(values, frequency=weights)
    assert s.n_missing[0] == values.count(None)
    assert c.missing == sum(w for v, w in cases if v is None)
    assert c.counts == {v: sum(w for u, w in kept if u == v) for v in sorted({v for v, _ in kept})}
    if not kept:
        assert np.isnan([s.mean[0], s.minimum[0], s.variance[0]]).all()
        return
    repeated = np.repeat([v for v, _ in kept], [w for _, w in kept]).astype(float)
    assert (s.minimum[0], s.maximum[0]) == (repeated.min(), repeated.max())
    assert s.sum_frequencies[0] == len(repeated)
    np.testing.assert_allclose(s.mean[0], repeated.mean(), rtol=1e-13, atol=1e-13)
    if len(repeated) > 1:
        np.testing.assert_allclose(s.variance[0], repeated.var(ddof=1), rtol=1e-12, atol=1e-12)
    for p in (0.1, 0.5, 0.9):
        assert s.quantile([p])[0, 0] == np.quantile(repeated, p, method="inverted_cdf")


def test_one_block_has_the_bits_of_the_defining_loops():
    rows = np.random.default_rng(2).normal(size=(100, 3))
    total, sums = 0.0, np.zeros(3)
    for row in rows:
        total += 1.0
        sums += row
    means = sums / total
    products = np.zeros((3, 3))
    for row in rows:
        d = row - means
        products += np.outer(d, d)
    x = CrossProducts().update(rows)
    assert x.means.tolist() == means.tolist()
    assert x.products().to_numpy().tolist() == products.tolist()


def test_the_sweep_has_the_bits_of_its_definition():
    a = np.random.default_rng(3).normal(size=(9, 4))
    matrix = SymMatrix(a.T @ a, check=False)
    s = matrix.to_numpy()
    for k in (2, 0):
        pivot, column = s[k, k], s[:, k].copy()
        for i in range(4):
            for j in range(4):
                if i != k and j != k:
                    low, high = max(i, j), min(i, j)  # the lower triangle counts
                    s[i, j] = s[i, j] + -column[low] * (column[high] / abs(pivot))
        s[k, :] = s[:, k] = column / abs(pivot)
        s[k, k] = -1.0 / pivot
    assert matrix.sweep([2, 0]) == []
    assert matrix.to_numpy().tolist() == s.tolist()


def test_pairs_of_weighted_rows():
    rows = np.random.default_rng(4).integers(-9, 9, (60, 3)).astype(float)
    rows[::7, 0], rows[::5, 2] = np.nan, np.nan
    weights = np.arange(60) % 3
    pairs = PairwiseProducts(batch=7).update(rows, frequency=weights)
    for i in range(3):
        for j in range(i):
            both = ~np.isnan(rows[:, [i, j]]).any(axis=1)
            expected = np.cov(rows[both][:, [i, j]].T, fweights=weights[both])
            np.testing.assert_allclose(pairs.covariance()[i, j], expected[0, 1], rtol=1e-11, atol=1e-12)
    np.testing.assert_allclose(np.diag(pairs.correlation()), 1.0)


@pytest.mark.parametrize("solver", ["auto", "sweep", "qr"])
def test_a_line_through_whole_numbers(solver):
    # 2, 3 and 5 lie beside the line through 0: slope 3/2, intercept 1/3, residuals 1/6, -1/3, 1/6.
    m = LinearRegression(solver=solver).fit([[1], [2], [3]], [2, 3, 5])
    np.testing.assert_allclose(m.params_, [1 / 3, 3 / 2], rtol=1e-14)
    assert m.sigma_ == pytest.approx((1 / 6) ** 0.5, rel=1e-12)
    assert m.df_resid_ == 1 and m.rank_ == 1
    assert m.std_errors_[1] == pytest.approx((1 / 12) ** 0.5, rel=1e-12)
    assert m.r2_ == pytest.approx(27 / 28, rel=1e-12)
    assert m.p_values_[1] == pytest.approx(1 - 2 / np.pi * np.arctan(27**0.5), rel=1e-10)
    half = 12.706204736432095 * (1 / 12) ** 0.5
    np.testing.assert_allclose(m.conf_int()[1], [1.5 - half, 1.5 + half], rtol=1e-10)
    for level in (0.0, 1.0, float("nan")):
        with pytest.raises(ValueError):
            m.conf_int(level)


@given(st.lists(st.tuples(st.booleans(), st.integers(0, 6), st.integers(1, 3)), min_size=2, max_size=40))
def test_frequencies_are_repetitions(cases):
    y = [float(hit) for hit, _, _ in cases]
    score = [float(s) for _, s, _ in cases]
    times = [t for _, _, t in cases]
    long_y, long_score = np.repeat(y, times), np.repeat(score, times)
    a, b = roc(y, score, times), roc(long_y, long_score)
    for name in ("fpr", "tpr", "thresholds", "auc"):
        np.testing.assert_allclose(a[name], b[name], rtol=1e-12)
    h, k = Histogram(0, 6, 3).update(score, frequency=times), Histogram(0, 6, 3).update(long_score)
    assert h.frequencies.tolist() == k.frequencies.tolist()
    table = gains(y, score, times, segments=3)
    assert table["cumulative_count"][-1] == sum(times)
    assert table["segment_sum"].sum() == long_y.sum()
