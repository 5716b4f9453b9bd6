"""Accumulators: any cut of the rows, merging, taking back, saving."""

import json
import multiprocessing
import pickle

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

from modelcore import Categories, CrossProducts, PairwiseProducts, SparseRows, Summary, SymMatrix

RNG = np.random.default_rng(7)
ROWS = RNG.normal(size=(5000, 4)) * [1, 10, 0.1, 3] + [0, 5, -2, 1000]
ROWS[RNG.random(ROWS.shape) < 0.01] = np.nan
FREQUENCY = RNG.integers(0, 4, 5000).astype(float)
WEIGHT = RNG.random(5000)
MAKERS = {
    "products": CrossProducts,
    "raw products": lambda: CrossProducts(intercept=False),
    "small blocks": lambda: CrossProducts(block_rows=7),
    "pairs": PairwiseProducts,
    "one by one": lambda: PairwiseProducts(batch=1, origin=[0, 5, -2, 1000]),
    "summary": Summary,
    "quantiles": lambda: Summary(quantiles=True),
}


def whole(make):
    return make().update(ROWS, frequency=FREQUENCY, weight=WEIGHT)


@pytest.mark.parametrize("name", MAKERS)
@settings(max_examples=15, deadline=None)
@given(cuts=st.lists(st.integers(0, 5000), max_size=12))
def test_any_cut_of_the_rows_gives_the_same_bits(name, cuts):
    x = MAKERS[name]()
    edges = [0, *sorted(cuts), 5000]
    for a, b in zip(edges, edges[1:]):
        x.update(ROWS[a:b], frequency=FREQUENCY[a:b], weight=WEIGHT[a:b])
        x.to_json()  # looking changes nothing
    assert x.to_json() == whole(MAKERS[name]).to_json()


@pytest.mark.parametrize("name", MAKERS)
def test_saved_and_restored_objects_go_on_with_the_same_bits(name):
    x = MAKERS[name]().update(ROWS[:3000])
    copies = [pickle.loads(pickle.dumps(x)), type(x).from_json(x.to_json()), x.copy()]
    for y in [x, *copies]:
        y.update(ROWS[3000:])
    assert all(y.to_json() == x.to_json() for y in copies)
    with pytest.raises(ValueError):
        type(x).from_json("{}")
    with pytest.raises(ValueError):
        type(x).from_json(x.to_json().replace("item", "itme"))


def test_products_agree_with_plain_sums():
    kept = ~np.isnan(ROWS).any(axis=1) & (FREQUENCY > 0)
    x, f, w = ROWS[kept], FREQUENCY[kept], (FREQUENCY * WEIGHT)[kept]
    p = whole(CrossProducts)
    d = x - np.average(x, axis=0, weights=w)
    assert p.n_rows == kept.sum() and p.n_missing == np.isnan(ROWS).any(axis=1).sum()
    assert p.sum_frequencies == f.sum()
    np.testing.assert_allclose(p.means, np.average(x, axis=0, weights=w), rtol=1e-13)
    np.testing.assert_allclose(np.asarray(p.products()), (d * w[:, None]).T @ d, rtol=1e-9, atol=1e-10)
    np.testing.assert_allclose(p.covariance() * (f.sum() - 1), p.products(), rtol=1e-14)
    np.testing.assert_allclose(whole(MAKERS["raw products"]).products(), (x * w[:, None]).T @ x, rtol=1e-12)
    scale = np.sqrt(np.diag(p.covariance()))
    np.testing.assert_allclose(p.correlation(), p.covariance() / np.outer(scale, scale), rtol=1e-14)


def test_pairs_and_summaries_agree_with_pandas_rules():
    pairs = PairwiseProducts(origin=[0, 5, -2, 1000]).update(ROWS)
    s = Summary(quantiles=True).update(ROWS)
    for i in range(4):
        column = ROWS[~np.isnan(ROWS[:, i]), i]
        assert (s.minimum[i], s.maximum[i]) == (column.min(), column.max())
        np.testing.assert_allclose([s.mean[i], s.std[i]], [column.mean(), column.std(ddof=1)], rtol=1e-12)
        np.testing.assert_array_equal(
            s.quantile([0.0, 0.25, 0.5, 1.0])[:, i], np.quantile(column, [0.0, 0.25, 0.5, 1.0], method="inverted_cdf")
        )
        for j in range(i):
            both = ~np.isnan(ROWS[:, [i, j]]).any(axis=1)
            np.testing.assert_allclose(pairs.covariance()[i, j], np.cov(ROWS[both][:, [i, j]].T)[0, 1], rtol=1e-9)


@pytest.mark.parametrize("name", MAKERS)
def test_merged_parts_are_the_whole_and_strangers_are_refused(name):
    make = MAKERS[name]
    a, b = make().update(ROWS[:2000]), make().update(ROWS[2000:])
    parts, all_rows = a + b, make().update(ROWS)
    assert a.n_rows + b.n_rows == parts.n_rows == all_rows.n_rows
    for get in ("covariance", "mean", "variance"):
        if hasattr(a, get):
            x, y = (getattr(o, get) for o in (parts, all_rows))
            np.testing.assert_allclose(x() if callable(x) else x, y() if callable(y) else y, rtol=1e-8, atol=1e-11)
    assert make().merge(a).to_json() == (a + make()).to_json()
    before = a.to_json()
    with pytest.raises(ValueError):
        a.merge(type(a)().update(ROWS[:, :2]))
    with pytest.raises(TypeError):
        a.merge("other")
    assert a.to_json() == before


def test_rows_taken_back():
    for make in (CrossProducts, Summary):
        x = make().update(ROWS, frequency=FREQUENCY)
        x.remove(ROWS[:4000], frequency=FREQUENCY[:4000])
        y = make().update(ROWS[4000:], frequency=FREQUENCY[4000:])
        assert x.n_rows == y.n_rows
        if make is CrossProducts:
            np.testing.assert_allclose(x.covariance(), y.covariance(), rtol=1e-7, atol=1e-9)
        else:
            np.testing.assert_allclose([x.mean, x.variance], [y.mean, y.variance], rtol=1e-8)
        before = x.to_json()
        with pytest.raises(ValueError):
            x.remove(np.tile(ROWS, (2, 1)))
        assert x.to_json() == before
    s = Summary().update([1.0, 2.0, 3.0]).remove([3.0])
    assert np.isnan(s.maximum[0]) and s.minimum[0] == 1.0 and s.mean[0] == 1.5
    with pytest.raises(ValueError):
        Summary(quantiles=True).update([1.0, 2.0]).remove([1.0])


def test_quantiles_refuse_what_a_sketch_cannot_hold():
    s = Summary(quantiles=True).update([1.0, 2.0], frequency=[1.0, 8e307])
    before = s.to_bytes()
    for refused in (
        lambda: s.update([3.0, np.inf]),
        lambda: s.update([3.0], frequency=[8e307]),
        lambda: s.merge(s.copy()),
    ):
        with pytest.raises(ValueError, match="2\\^1023"):
            refused()
        assert s.to_bytes() == before


def test_categories_count_merge_and_take_back():
    values = ["b", "a", None, 1, 2.5, True, "b", float("nan"), -0.0]
    c = Categories().update(values, frequency=[1, 2, 3, 4, 5, 6, 7, 8, 9])
    assert c.counts == {0: 9, 1: 10, 2.5: 5, "a": 2, "b": 8} and c.missing == 11 and c.total == 34
    assert list(c.counts) == c.categories == [0, 1, 2.5, "a", "b"] and c["b"] == 8 and c["z"] == 0
    for same in (pickle.loads(pickle.dumps(c)), Categories.from_json(c.to_json()), c + Categories()):
        assert same.to_json() == c.to_json()
    assert json.loads(c.to_json())["texts"] == ["a", "b"]
    before = c.to_json()
    for wrong, error in ((["a"] * 3, ValueError), ([object()], TypeError), (["new"], ValueError)):
        with pytest.raises(error):
            c.remove(["b", *wrong])
        assert c.to_json() == before
    assert c.remove(["a"], frequency=[2]).categories == [0, 1, 2.5, "b"]
    import pandas as pd
    import polars as pl

    for column in (pd.Series(["x", None, "x"]), pl.Series(["x", None, "x"]), pd.Categorical(["x", None, "x"])):
        series = pd.Series(column) if isinstance(column, pd.Categorical) else column
        x = Categories().update(series)
        assert x.counts == {"x": 2} and x.missing == 1


def test_sweep_inverts_and_names_what_is_aliased():
    a = RNG.normal(size=(30, 5))
    a[:, 3] = a[:, 0] + a[:, 1]
    s = SymMatrix(a.T @ a, check=False)
    assert s.sweep(tolerance=1e-10) == [3] and s.swept == [0, 1, 2, 4]
    rows = np.ix_(s.swept, s.swept)
    np.testing.assert_allclose(-s.to_numpy()[rows], np.linalg.inv((a.T @ a)[rows]), rtol=1e-9)
    restored = pickle.loads(pickle.dumps(s))
    assert restored.sweep(s.swept, tolerance=1e-10) == [] and restored.swept == []
    np.testing.assert_allclose(restored.to_numpy(), a.T @ a, atol=1e-10)
    for rows in ([5], [-6], [0.5]):
        with pytest.raises(IndexError):
            s.sweep(rows)
    with pytest.raises(ValueError):
        SymMatrix([[-1.0]]).sweep()


def test_factor_eigenvalues_and_solutions_agree_with_numpy():
    for n in (1, 2, 3, 60, 250):
        a = RNG.normal(size=(n + 5, n))
        square = a.T @ a
        square = (square + square.T) / 2
        s = SymMatrix(square)
        factor, kept = s.cholesky()
        assert kept == list(range(n))
        np.testing.assert_allclose(factor @ factor.T, square, atol=1e-12 * n * n)
        values, vectors = s.eigen()
        np.testing.assert_allclose(values, np.linalg.eigvalsh(square), rtol=1e-9, atol=1e-10)
        np.testing.assert_allclose(square @ vectors, vectors * values, atol=1e-10 * n)
        b = RNG.normal(size=(n, 2))
        np.testing.assert_allclose(square @ s.solve(b), b, atol=1e-7)
        assert np.array_equal(s.solve(b[:, 0]), s.solve(b)[:, 0])
        np.testing.assert_allclose(square @ s.solve_indefinite(b[:, 0]), b[:, 0], atol=1e-7)
        np.testing.assert_allclose(s.inverse().to_numpy() @ square, np.eye(n), atol=1e-6)
        np.testing.assert_allclose(s.log_determinant()[0], np.linalg.slogdet(square)[1], rtol=1e-9)
    for wrong in ([[1.0, 2.0]], [[1.0, 2.0], [3.0, 4.0]], [[1.0, np.nan], [np.nan, 1.0]]):
        with pytest.raises(ValueError):
            SymMatrix(wrong)
    with pytest.raises(ValueError):
        SymMatrix([[1.0, 1.0], [1.0, 1.0]]).solve_indefinite([1.0, 2.0])


def test_sparse_rows_agree_with_scipy():
    sparse = pytest.importorskip("scipy.sparse")
    a = sparse.random(40, 12, 0.2, "csr", random_state=3)
    a.sort_indices()
    s = SparseRows.from_scipy(a)
    data, indices, indptr = s.to_csr()
    assert np.array_equal(data, a.data) and np.array_equal(indices, a.indices) and np.array_equal(indptr, a.indptr)
    v, w, b = RNG.normal(size=12), RNG.random(40), RNG.normal(size=(12, 3))
    np.testing.assert_allclose(s @ v, a @ v)
    np.testing.assert_allclose(s @ b, a @ b)
    np.testing.assert_allclose(w @ s, w @ a.toarray())
    np.testing.assert_allclose(s.cross_products(w), (a.toarray() * w[:, None]).T @ a.toarray())
    assert np.array_equal(pickle.loads(pickle.dumps(s)).to_dense(), a.toarray())
    for wrong in (([1.0], [12], [0, 1]), ([1.0, 1.0], [3, 3], [0, 2]), ([1.0], [0], [0, 2]), ([1.0], [0.5], [0, 1])):
        with pytest.raises(ValueError):
            SparseRows(*wrong, n_columns=12)


def _covariance(pickled):
    x = pickle.loads(pickled)
    return pickle.dumps(x.update(ROWS[3000:]))


def test_objects_cross_processes():
    x = CrossProducts().update(ROWS[:3000])
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        there = pickle.loads(pool.apply(_covariance, (pickle.dumps(x),)))
    assert there.to_json() == x.update(ROWS[3000:]).to_json()
