"""Parts, states and folds of modelcore.distributed, without an engine."""

import sys

import numpy as np
import pandas as pd
import pyarrow as pa
import pyarrow.csv
import pyarrow.parquet
import pytest

from modelcore import LinearRegression, LogisticRegression, distributed, roc

N = 4000
RNG = np.random.default_rng(3)


def frame():
    x = RNG.normal(size=(N, 2)) * [1, 1e-3] + [0, 1e4]
    region = np.array(["north", "south", "12", "west"])[RNG.integers(0, 4, N)]
    data = pd.DataFrame({"a": x[:, 0], "b": x[:, 1], "region": region, "w": RNG.random(N)})
    data["y"] = 1 + data.a - 3 * data.b + (region == "west") + RNG.normal(size=N)
    data["bought"] = np.where(RNG.random(N) < 1 / (1 + np.exp(-data.a)), "yes", "no")
    for name in ("a", "region", "w", "y", "bought"):
        data.loc[RNG.random(N) < 0.01, name] = None
    return data


DATA = frame()
TABLE = pa.Table.from_pandas(DATA, preserve_index=False)
LINEAR = dict(factors=["region"], weights="w")


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    folder = tmp_path_factory.mktemp("layout")
    pa.parquet.write_table(TABLE, folder / "rows.parquet", row_group_size=500)
    pa.csv.write_csv(TABLE, folder / "rows.csv")
    return folder


def dense():
    """The design by other means."""
    levels = ["north", "south", "west"]  # "12" is the first and the reference
    region = np.column_stack([np.where(DATA.region.isna(), np.nan, DATA.region == level) for level in levels])
    names = ["a", "b", *(f"region={level}" for level in levels)]
    return pd.DataFrame(np.column_stack([DATA[["a", "b"]], region]), columns=names)


def test_fits_agree_with_the_estimators(files):
    layout = distributed.layout(str(files / "rows.parquet"))
    assert len(layout) == 8
    model = distributed.fit_linear(layout, "y", ["a", "b"], **LINEAR)
    expected = LinearRegression(solver="sweep").fit(dense(), DATA.y, DATA.w)
    assert list(model.feature_names_in_) == ["a", "b", "region=north", "region=south", "region=west"]
    assert model.n_missing_ == expected.n_missing_ > 0
    np.testing.assert_allclose(model.params_, expected.params_, rtol=1e-6)
    np.testing.assert_allclose(model.std_errors_, expected.std_errors_, rtol=1e-6)
    refined = distributed.fit_linear(layout, "y", ["a", "b"], refine=True, **LINEAR)
    expected = LinearRegression().fit(dense(), DATA.y, DATA.w)
    np.testing.assert_allclose(refined.params_, expected.params_, rtol=1e-13)
    np.testing.assert_allclose(refined.std_errors_, expected.std_errors_, rtol=1e-9)
    logit = distributed.fit_logistic(layout, "bought", ["a", "b"], **LINEAR)
    known = DATA.bought.notna()
    expected = LogisticRegression().fit(dense()[known], DATA.bought[known], DATA.w[known])
    np.testing.assert_allclose(logit.params_, expected.params_, rtol=1e-6)
    np.testing.assert_allclose(logit.log_likelihood_, expected.log_likelihood_, rtol=1e-12)
    np.testing.assert_allclose(logit.null_log_likelihood_, expected.null_log_likelihood_, rtol=1e-12)

    judged = distributed.evaluate(layout, "bought", logit, weights="w")
    chance = logit.predict_proba(dense())[:, 1]
    ok = known & ~np.isnan(chance) & DATA.w.notna()
    area = roc((DATA.bought == "yes")[ok].astype(float), chance[ok], DATA.w[ok])["auc"]
    assert abs(judged.auc - area) <= judged.auc_error < 1e-3
    assert judged.table().sum() == pytest.approx(DATA.w[ok].sum(), rel=1e-12)
    assert judged.gains()["gain"][-1] == pytest.approx(1.0)
    judged = distributed.evaluate(layout, "y", model, weights="w")
    np.testing.assert_allclose([judged.r2, judged.mae > 0], [model.r2_, True], rtol=1e-6)
    column = distributed.evaluate(pd.DataFrame({"t": [0, 1, 1, 0], "p": [0.1, 0.9, 0.4, 0.6]}), "t", "p", binary=True)
    assert column.auc == 0.75 and column.brier == pytest.approx(0.185)

    found = distributed.describe(layout, ["a", "y"], factors=["region"])
    assert found.categories["region"].counts == DATA.region.value_counts().to_dict()
    np.testing.assert_array_equal(found.summary.maximum, DATA[["a", "y"]].max())


def test_the_bits_depend_on_the_layout_alone(files):
    parts = [DATA.iloc[i : i + 500] for i in range(0, N, 500)]
    layout = distributed.layout(str(files / "rows.parquet"))
    csv = distributed.layout(str(files / "rows.csv"), block_bytes=20_000)
    both = distributed.fit_logistic(parts, "bought", ["a", "b"], **LINEAR)
    tasks = [
        distributed.Products(both.design_),
        distributed.Products(both.design_, exact=True),
        distributed.NewtonPass(both.design_, both._b, "bought", ("no", "yes"), both._shift, both._scale, True),
        distributed.Residuals(both.design_, np.ones(5), np.zeros(5), 1.0, "y"),
        distributed.Levels(("region", "bought")),
        distributed.Describe(("a",), ("region",), "w"),
        distributed.Evaluate("y", "b", None, distributed.Design((), (), None, "w")),
        distributed.Evaluate("y", "a"),
    ]
    for task in tasks:
        whole = [distributed.frame_state(task, [part]) for part in parts]
        cut = [distributed.frame_state(task, [part.iloc[i : i + 77] for i in range(0, 500, 77)]) for part in parts]
        groups = [distributed.unit_state(task, unit) for unit in layout.units]
        assert whole == cut == groups
        # In any order, some twice.
        fold = distributed.Fold(task)
        order = [5, 3, 0, 0, 1, 7, 2, 3, 4, 6]
        assert [fold.add(k, whole[k]) for k in order] == [True] * 3 + [False] + [True] * 3 + [False] + [True] * 2
        total = distributed.run_task(distributed.runner(parts), task)
        assert task.save(fold.result(8)) == task.save(total)
    # Exact sums do not see the layout either: shuffled rows, and lines of CSV.
    one = distributed.fit_linear(layout, "y", ["a", "b"], exact=True, **LINEAR)
    for other in (DATA.sample(frac=1, random_state=1), csv, [DATA.iloc[1000:], DATA.iloc[:1000]]):
        again = distributed.fit_linear(other, "y", ["a", "b"], exact=True, **LINEAR)
        assert again._products.to_bytes() == one._products.to_bytes()


@pytest.mark.parametrize("block", [7, 64, 100, 977, 1 << 20])
def test_every_line_of_csv_is_in_one_block(tmp_path, block):
    numbers = RNG.integers(0, 10 ** RNG.integers(1, 9, 300))
    path = tmp_path / "lines.csv"
    path.write_text("x,name\n" + "".join(f"{x},{x}\n" for x in numbers)[:-1])  # the last line has no end
    layout = distributed.layout(str(path), block_bytes=block)
    tables = [distributed.read(unit, ["x", "name"], ["name"]) for unit in layout.units]
    assert pa.concat_tables(tables)["x"].to_pylist() == numbers.tolist()
    assert pa.concat_tables(tables)["name"].to_pylist() == [str(x) for x in numbers]  # digits are text there


def test_what_is_wrong_is_said_and_nothing_is_merged(files):
    layout = distributed.layout(str(files / "rows.parquet"))
    task = distributed.Products(distributed.Design(("a", "b")))
    states = [distributed.unit_state(task, unit) for unit in layout.units]
    fold = distributed.Fold(task)
    fold.add(0, states[0])
    before = task.save(fold.total)
    narrow = distributed.unit_state(distributed.Products(distributed.Design(("a",))), layout.units[1])
    for bad, words in (
        (states[1][:-9], "part 1: the state is truncated"),
        (states[1][:50] + b"?" + states[1][51:], "part 1: the state is damaged"),
        (b"no state at all", "part 1: .* no saved state"),
        (distributed.Levels(("region",)).state([TABLE]), "part 1: .*Levels, not CrossProducts"),
        (narrow, "number of variables"),
    ):
        other = distributed.Fold(task)
        other.add(0, states[0])
        with pytest.raises(ValueError, match=words):
            other.add(1, bad)
        assert task.save(other.total) == before
    with pytest.raises(ValueError, match="part 1 of 8 is not there"):
        fold.result(8)

    some = DATA[DATA.region != "west"]
    region = pd.Categorical(some.region, categories=["west", "south", "12", "north"])  # no row has the first
    unused = some.assign(region=region, flag=some.a > 0)
    levels = {"region": ["12", "north", "south"], "flag": [False, True]}
    found = distributed.accumulate(unused, ["b"], factors=levels)
    assert found.names == ["b", "region=north", "region=south", "flag=True"]
    assert np.array_equal(distributed.accumulate(unused, ["b"], factors=list(levels)).means, found.means)
    with pytest.raises(ValueError, match="'west' is not among its levels"):
        distributed.accumulate(DATA, ["a"], factors={"region": ["12", "north", "south"]})
    with pytest.raises(ValueError, match="named twice"):
        distributed.accumulate(DATA, ["a", "a"])
    with pytest.raises(ValueError, match="one class"):
        distributed.fit_logistic(DATA[DATA.bought == "no"], "bought", ["a"])
    with pytest.raises(KeyError):
        distributed.accumulate(DATA, ["nowhere"])


def test_engines_that_are_not_there_are_named(monkeypatch):
    import modelcore.dask
    import modelcore.spark

    for engine, module in ((modelcore.dask, "dask"), (modelcore.spark, "pyspark.sql")):
        monkeypatch.setitem(sys.modules, module, None)
        with pytest.raises(ImportError, match=f"this needs {module}.*pip install"):
            engine.fit_linear(DATA, "y", ["a"])
