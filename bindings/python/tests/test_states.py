"""States as bytes, and sums without rounding."""

import pickle
from fractions import Fraction

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st

from modelcore import Categories, CrossProducts, ExactProducts, LinearRegression, PairwiseProducts, Summary, _core
from modelcore.charts import BarChart, Histogram, ScatterGrid

RNG = np.random.default_rng(11)
ROWS = RNG.normal(size=(700, 3)) * [1, 1e-9, 1e7] + [0, 5, 1e8]
ROWS[RNG.random(ROWS.shape) < 0.02] = np.nan
WEIGHT = RNG.random(700)


def encoder(name, **settings):
    one = _core.Encoder(name, "field", settings)
    one.learn(["a", None, "b", "a"] if "ategor" in name or "String" in name else ROWS[:, 0])
    one.finish()
    return one


OBJECTS = {
    "CrossProducts": lambda: CrossProducts(block_rows=100).update(ROWS, weight=WEIGHT),
    "ExactProducts": lambda: ExactProducts().update(ROWS, weight=WEIGHT),
    "PairwiseProducts": lambda: PairwiseProducts(origin=[0, 5, 1e8]).update(ROWS),
    "Summary": lambda: Summary(quantiles=True).update(ROWS[:90], weight=WEIGHT[:90]),
    "Categories": lambda: Categories().update([2.5, "z", None, "a", True]),
    "MCHistogramData": lambda: Histogram(-3, 3).update(ROWS[:, 0]),
    "MCScatterPlotData": lambda: ScatterGrid((-3, 3), (5, 6), 3, 2).update(ROWS[:, :2]),
    "MCBarChartData": lambda: BarChart(["x", "y"]).update([0, 1, 1]),
    "MCContinuousEncoder": lambda: encoder("MCContinuousEncoder"),
    "MCStringEncoder": lambda: encoder("MCStringEncoder"),
}


@pytest.mark.parametrize("kind", OBJECTS)
def test_bytes_restore_every_bit_and_show_all_damage(kind):
    one = OBJECTS[kind]()
    state, cls = one.to_bytes(), type(one)
    assert cls.from_bytes(state).to_bytes() == state == pickle.loads(pickle.dumps(one)).to_bytes()
    head = 16 + len(kind)
    places = {*range(head + 12), *RNG.integers(0, len(state), 200).tolist(), len(state) - 1}
    for k in places:
        damaged = state[:k] + bytes([state[k] ^ (1 << k % 8)]) + state[k + 1 :]
        with pytest.raises(ValueError):
            cls.from_bytes(damaged)
    stranger = OBJECTS["Summary" if kind == "Categories" else "Categories"]().to_bytes()
    contradictory = _core.wrap_state(kind, state[head : len(state) - 5])
    for bad, words in (
        (state[: len(state) // 2], "truncated"),
        (state + b"x", "damaged"),
        (b"PK\3\4" + state, "no saved state"),
        (state[:4] + b"\7\0" + state[6:], "version 7"),
        (stranger, "another class: (Summary|Categories), not "),
        (contradictory, "contradicts"),
    ):
        with pytest.raises(ValueError, match=words):
            cls.from_bytes(bad)


def test_a_state_goes_on_where_it_stood_and_finished_states_merge_alike():
    whole = CrossProducts(block_rows=64).update(ROWS)
    part = CrossProducts(block_rows=64).update(ROWS[:333])
    assert CrossProducts.from_bytes(part.to_bytes()).update(ROWS[333:]).to_bytes() == whole.to_bytes()
    small = CrossProducts.from_bytes(part.copy().finish().to_bytes())
    rest = CrossProducts(block_rows=64).update(ROWS[333:])
    assert len(small.to_bytes()) < len(part.to_bytes())
    assert (small + rest).to_bytes() == (part + rest).to_bytes()
    for mine, theirs, words in (
        (CrossProducts(), CrossProducts(intercept=False).update(ROWS), "intercept"),
        (ExactProducts(), ExactProducts(intercept=False).update(ROWS), "intercept"),
        (ExactProducts().update(ROWS), ExactProducts().update(ROWS[:, :2]), "number of variables"),
        (PairwiseProducts(origin=[0, 0, 0]).update(ROWS), PairwiseProducts().update(ROWS), "origin"),
    ):
        before = mine.to_bytes()
        with pytest.raises(ValueError, match=words):
            mine.merge(theirs)
        assert mine.to_bytes() == before


values = st.floats(-1e300, 1e300)


@settings(max_examples=60)
@given(st.data(), st.lists(st.tuples(values, values, st.floats(0, 1e9)), min_size=1, max_size=30))
def test_exact_sums_do_not_depend_on_order_or_cuts(data, rows):
    array = np.array(rows)
    whole = ExactProducts().update(array[:, :2], weight=array[:, 2])
    order = data.draw(st.permutations(range(len(rows))))
    cut = data.draw(st.integers(0, len(rows)))
    a, b = (ExactProducts().update(array[k, :2], weight=array[k, 2]) for k in (order[:cut], order[cut:]))
    assert (a + b).to_bytes() == (b + a).to_bytes() == whole.to_bytes()
    extra = ExactProducts().update([[1e-5, 3.0]], weight=[0.1])
    assert (whole + extra).remove([[1e-5, 3.0]], weight=[0.1]).to_bytes() == whole.to_bytes()
    total = sum(Fraction(w) for *_, w in rows)
    if total:
        mean = sum(Fraction(x) * Fraction(w) for x, _, w in rows) / total
        assert whole.means[0] == float(mean) and whole.sum_weights == float(total)


def test_exact_products_refuse_what_has_no_exact_sum():
    one = ExactProducts().update(ROWS)
    assert one.n_missing == np.isnan(ROWS).any(axis=1).sum() and one.n_rows + one.n_missing == 700
    np.testing.assert_allclose(one.covariance(), CrossProducts().update(ROWS).covariance(), rtol=1e-6)
    before = one.to_bytes()
    for wrong in ([[1.0, 2.0, np.inf]], [[1.0, 2.0]]):
        with pytest.raises(ValueError):
            one.update(wrong)
    with pytest.raises(ValueError, match="more rows"):
        ExactProducts().update(ROWS[:2]).remove(ROWS[:5])
    assert one.to_bytes() == before


def test_an_exact_fit_depends_on_the_set_of_rows_alone():
    x = RNG.normal(size=(500, 3)) + [0, 1e5, 0]
    y, w = x @ [1, 2, 3] + RNG.normal(size=500), RNG.random(500)
    one = LinearRegression(exact=True).fit(x, y, w)
    order = RNG.permutation(500)
    other = LinearRegression(exact=True).partial_fit(x[order[:99]], y[order[:99]], w[order[:99]])
    other.merge(LinearRegression(exact=True).fit(x[order[99:]], y[order[99:]], w[order[99:]]))
    for name in ("params_", "std_errors_", "p_values_", "r2_"):
        assert np.array_equal(getattr(one, name), getattr(other, name))
    assert np.array_equal(LinearRegression.from_json(one.to_json()).params_, one.params_)
    np.testing.assert_allclose(one.params_, LinearRegression().fit(x, y, w).params_, rtol=1e-9)
