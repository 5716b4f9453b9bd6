"""One hash for all: Spark, Dask, MPI and this process on the same million rows."""

import hashlib
import json
import os
import subprocess
from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.csv
import pyarrow.parquet
import pytest

pytest.importorskip("pyspark")
pytest.importorskip("dask.distributed")

import modelcore.dask
import modelcore.spark
from deadly import Deadly
from modelcore import distributed
from modelcore._core import unwrap_state

ROWS = int(os.environ.get("MODELCORE_ROWS", 1_000_000))
COLUMNS = ["a", "b", "n"]
OPTIONS = dict(factors=["region"], weights="w")
BLOCK = 1 << 22
pytestmark = pytest.mark.filterwarnings("ignore")  # those of the engines are not ours


def digest(*objects):
    return hashlib.sha256(b"".join(x if isinstance(x, bytes) else x.to_bytes() for x in objects)).hexdigest()


@pytest.fixture(scope="session")
def folder(tmp_path_factory):
    """Two Parquet files with row groups of 50000 rows, and the same rows as CSV."""
    folder = tmp_path_factory.mktemp("rows")
    rng = np.random.default_rng(21)
    a, b = rng.normal(size=ROWS), 1e5 + rng.normal(size=ROWS)
    n = rng.integers(0, 9, ROWS)
    region = np.array(["north", "south", "east", "west"])[rng.integers(0, 4, ROWS)]
    y = 1 + a - 2 * b + 0.1 * n + (region == "west") + rng.normal(size=ROWS)
    bought = np.where(rng.random(ROWS) < 1 / (1 + np.exp(-a)), "yes", "no")
    columns = {"a": a, "b": b, "n": n, "region": region, "w": rng.random(ROWS), "y": y, "bought": bought}
    table = pa.table({name: pa.array(x, mask=rng.random(ROWS) < 0.003) for name, x in columns.items()})
    for k in range(2):
        part = table.slice(k * ROWS // 2, ROWS // 2)
        pa.parquet.write_table(part, folder / f"rows{k}.parquet", row_group_size=ROWS // 20)
    pa.csv.write_csv(table, folder / "rows.csv")
    return folder


@pytest.fixture(scope="session")
def layouts(folder):
    both = {
        "parquet": distributed.layout(str(folder / "rows*.parquet")),
        "csv": distributed.layout(str(folder / "rows.csv"), block_bytes=BLOCK),
    }
    assert len(both["parquet"]) == 20 and len(both["csv"]) > 10 * (ROWS // 1_000_000)
    return both


def everything(engine, source, **options):
    """The hash of all that the functions give."""
    model = engine.fit_linear(source, "y", COLUMNS, **OPTIONS, **options)
    logit = engine.fit_logistic(source, "bought", ["a", "n"], **OPTIONS, **options)
    found = engine.describe(source, COLUMNS, factors=["region"], weights="w", limit=200, **options)
    judged = engine.evaluate(source, "bought", logit, weights="w", **options)
    errors = engine.evaluate(source, "y", model, weights="w", **options)
    assert 0.7 < judged.auc < 0.8 and errors.r2 == pytest.approx(model.r2_, rel=1e-6) and model.n_missing_ > 0
    return digest(model._products, model.params_.tobytes(), logit.params_.tobytes(), found, judged, errors)


@pytest.fixture(scope="session")
def expected(layouts):
    """What this process gives alone."""
    hashes = {name: everything(distributed, layout) for name, layout in layouts.items()}
    exact = [distributed.fit_linear(x, "y", COLUMNS, exact=True, **OPTIONS)._products for x in layouts.values()]
    assert digest(exact[0]) == digest(exact[1])  # the rows are the same, and how they lie does not matter
    return {**hashes, "exact": digest(exact[0])}


@pytest.fixture(scope="session")
def client():
    from dask.distributed import Client, LocalCluster

    with LocalCluster(n_workers=4, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
        yield client


@pytest.fixture(scope="session", params=["local[2]", "local-cluster[2,1,1024]"])
def spark(request, tmp_path_factory):
    from pyspark.sql import SparkSession

    builder = SparkSession.builder.master(request.param).appName("modelcore")
    settings = {
        "spark.driver.memory": "1g",
        "spark.executor.memory": "1g",
        "spark.executorEnv.PYTHONPATH": os.environ.get("PYTHONPATH", ""),
        "spark.driver.bindAddress": "127.0.0.1",
        "spark.driver.host": "127.0.0.1",
        "spark.local.dir": str(tmp_path_factory.mktemp("spark")),
        "spark.sql.warehouse.dir": str(tmp_path_factory.mktemp("warehouse")),
        "spark.sql.shuffle.partitions": "5",
        "spark.ui.enabled": "false",
        "spark.ui.showConsoleProgress": "false",
    }
    for name, value in settings.items():
        builder = builder.config(name, value)
    session = builder.getOrCreate()
    session.sparkContext.setLogLevel("ERROR")
    yield session
    session.stop()


def survives(layout, run, grave, **options):
    """A fit during which a process is killed gives the same hash."""
    levels, _ = distributed._factors(distributed.runner(layout), ["region"])
    design = distributed.Design(tuple(COLUMNS), levels, "y", "w")
    total = distributed.run_task(run, Deadly(design, grave=str(grave), **options))
    victim = int(grave.read_text())
    assert not Path(f"/proc/{victim}").exists() or Path(f"/proc/{victim}/stat").read_text().split()[2] == "Z"
    assert digest(total) == digest(distributed.fit_linear(layout, "y", COLUMNS, **OPTIONS)._products)


@pytest.mark.parametrize("files", ["parquet", "csv"])
def test_dask_gives_the_bits_of_one_process(client, layouts, expected, files):
    assert everything(modelcore.dask, layouts[files]) == expected[files]


def test_dask_after_a_worker_was_killed(client, layouts, tmp_path):
    survives(layouts["parquet"], modelcore.dask._runner(layouts["parquet"]), tmp_path / "grave")


def test_dask_exact_after_a_shuffle(client, folder, expected):
    import dask.dataframe as dd

    frame = dd.read_parquet(str(folder / "rows*.parquet"), split_row_groups=True)
    fit = modelcore.dask.fit_linear(frame, "y", COLUMNS, **OPTIONS)
    again = distributed.fit_linear(distributed.layout(str(folder / "rows*.parquet")), "y", COLUMNS, **OPTIONS)
    assert digest(fit._products) == digest(again._products)  # the partitions are the row groups
    mixed = frame.shuffle("n", npartitions=7)
    for other in (frame.repartition(npartitions=3), mixed):
        exact = modelcore.dask.fit_linear(other, "y", COLUMNS, exact=True, **OPTIONS)
        assert digest(exact._products) == expected["exact"]


@pytest.mark.parametrize("files", ["parquet", "csv"])
def test_spark_gives_the_bits_of_one_process(spark, layouts, expected, files):
    assert everything(modelcore.spark, layouts[files], session=spark) == expected[files]


def test_spark_exact_after_a_random_repartition(spark, folder, expected):
    from pyspark.sql.functions import rand

    frame = spark.read.parquet(str(folder / "rows*.parquet"))
    options = dict(factors={"region": ["east", "north", "south", "west"]}, weights="w")
    one = modelcore.spark.fit_linear(frame, "y", COLUMNS, **options)
    csv = spark.read.csv(str(folder / "rows.csv"), header=True, schema=frame.schema)
    for other in (frame.repartition(7, rand(1)), csv):
        exact = modelcore.spark.fit_linear(other, "y", COLUMNS, exact=True, **options)
        assert digest(exact._products) == expected["exact"]
        np.testing.assert_allclose(one.params_, exact.params_, rtol=1e-6)


def test_spark_after_an_executor_was_killed(spark, layouts, tmp_path):
    if spark.sparkContext.master.startswith("local["):
        pytest.skip("without a cluster Spark does not try again")
    run = modelcore.spark._runner(layouts["parquet"], spark)
    for victim in ("self", "java"):
        survives(layouts["parquet"], run, tmp_path / victim, victim=victim)


def test_mpi_gives_the_bits_of_one_process(folder, layouts, tmp_path):
    program = os.environ.get("MODELCORE_MPI")
    if not program:
        pytest.skip("MODELCORE_MPI does not say where the MPI program is")
    levels = ["region=north", "region=south", "region=west"]
    outputs = set()
    for ranks in (1, 2, 4, 7):
        call = ["mpirun", "--oversubscribe", "--allow-run-as-root", "-n", str(ranks), program]
        call += [str(folder / "rows.csv"), str(tmp_path / "state"), str(BLOCK), "w", *COLUMNS, *levels, "y"]
        text = subprocess.run(call, check=True, capture_output=True).stdout
        outputs.add((text, (tmp_path / "state").read_bytes()))
    ((text, state),) = outputs
    model = distributed.fit_linear(layouts["csv"], "y", COLUMNS, **OPTIONS)
    assert unwrap_state("MCMeansXProducts", state) in model._products.to_bytes()
    printed = [float(line.split()[-1]) for line in text.decode().splitlines()]
    np.testing.assert_allclose(printed, model.coef_, rtol=1e-9)


def test_states_of_files_by_hand(folder, layouts, tmp_path):
    linreg = os.environ.get("MODELCORE_LINREG")
    if not linreg:
        pytest.skip("MODELCORE_LINREG does not say where linreg is")
    lines = (folder / "rows.csv").read_bytes().splitlines(keepends=True)
    parts = []
    for k in range(3):
        parts.append(tmp_path / f"part{k}.csv")
        parts[-1].write_bytes(b"".join(lines[:1] + lines[1 + k * ROWS // 3 : 1 + (k + 1) * ROWS // 3]))
    fit = Path(__file__).parents[4] / "examples/distributed/files/fit.sh"
    call = [fit, *parts, "--", "--model", "y ~ a + b + n + region", "--weight", "w", "--", "--format", "json"]
    texts = {subprocess.run(call, check=True, capture_output=True, env={**os.environ, "LINREG": linreg}).stdout for _ in "ab"}
    (text,) = texts
    values = {one["parameter"]: one.get("estimate") for one in json.loads(text)["coefficients"]}
    model = distributed.fit_linear(layouts["csv"], "y", COLUMNS, **OPTIONS)
    for name, b in zip(model.feature_names_in_, model.coef_):
        assert values[name] == pytest.approx(b, rel=1e-8)


def test_a_damaged_state_stops_the_job(client, layouts):
    run = modelcore.dask._runner(layouts["parquet"])

    def damaged(task):
        parts, states = run(task)
        return parts, ((k, state[:40] + b"\0" + state[41:] if k == 3 else state) for k, state in states)

    with pytest.raises(ValueError, match="part 3: the state is damaged"):
        distributed.accumulate(damaged, COLUMNS, weights="w")
