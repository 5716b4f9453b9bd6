"""A linear regression of a Parquet file on the engines themselves: modelcore beside Spark MLlib, and beside dask + numpy.

    build/distributed/venv/bin/python benchmarks/distributed/fit.py [ROWS [COLUMNS [REPEATS]]]

scripts/test distributed makes that environment. All methods of an engine read the same file on the same two cores in
the same session, one after the other, and each once before the clock runs; the shortest of REPEATS is printed. The file
stays in build/distributed. Also the memory of the workers, the bytes of a state and the time to merge one.
"""

from __future__ import annotations

import os
import resource
import sys
import time
from pathlib import Path

os.environ.setdefault("OMP_NUM_THREADS", "1")  # two workers, two cores
os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")
os.environ.setdefault("PYSPARK_PYTHON", sys.executable)

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq

import modelcore.dask
import modelcore.spark
from modelcore import distributed

ROWS = int(sys.argv[1]) if len(sys.argv) > 1 else 10_000_000
P = int(sys.argv[2]) if len(sys.argv) > 2 else 10
REPEATS = int(sys.argv[3]) if len(sys.argv) > 3 else 3
NAMES = [f"x{j}" for j in range(P)]
BETA = np.arange(1.0, P + 1.0)


def data() -> str:
    """The file: row groups of 250000 rows of normal values."""
    path = Path(__file__).parents[2] / f"build/distributed/rows-{ROWS}-{P}.parquet"
    if not path.exists():
        path.parent.mkdir(parents=True, exist_ok=True)
        writer, rng, left = None, np.random.default_rng(1), ROWS
        while left > 0:
            x = rng.normal(size=(P, min(left, 250_000)))
            y = 3.0 + BETA @ x + rng.normal(size=x.shape[1])
            table = pa.table([*x, y], names=[*NAMES, "y"])
            writer = writer or pq.ParquetWriter(str(path), table.schema)
            writer.write_table(table, row_group_size=250_000)
            left -= x.shape[1]
        if writer:
            writer.close()
    return str(path)


def clock(name: str, fit: object, base: float | None = None) -> float:
    """Time of the best run, and how many times as long as the base it takes."""
    best = np.inf
    for k in range(REPEATS + 1):
        start = time.perf_counter()
        coef = fit()  # type: ignore[operator]
        if k > 0:
            best = min(best, time.perf_counter() - start)
    assert np.allclose(coef, BETA, atol=0.05), coef
    ratio = "" if base is None else f"  {best / base:5.2f} x"
    print(f"  {name:<46} {best:7.2f} s  {ROWS / best / 1e6:6.2f} M rows/s{ratio}", flush=True)
    return best


def on_spark(path: str) -> None:
    from pyspark.ml.feature import VectorAssembler
    from pyspark.ml.regression import LinearRegression
    from pyspark.sql import SparkSession

    builder = SparkSession.builder.master("local[2]").config("spark.driver.memory", "2g")
    session = builder.config("spark.ui.enabled", "false").config("spark.ui.showConsoleProgress", "false").getOrCreate()
    session.sparkContext.setLogLevel("ERROR")
    print("Spark local[2]")
    layout = distributed.layout(path)
    base = clock("modelcore, row groups", lambda: modelcore.spark.fit_linear(layout, "y", NAMES, session=session).coef_)
    frame = session.read.parquet(path)
    clock("modelcore, a DataFrame", lambda: modelcore.spark.fit_linear(frame, "y", NAMES).coef_, base)

    def mllib() -> object:
        features = VectorAssembler(inputCols=NAMES, outputCol="features").transform(session.read.parquet(path))
        return LinearRegression(labelCol="y", solver="normal").fit(features).coefficients.toArray()

    clock("MLlib LinearRegression", mllib, base)
    session.stop()


def _moments(frame: object) -> object:
    x = frame.to_numpy()  # type: ignore[attr-defined]
    x = np.column_stack([np.ones(len(x)), x])
    return x.T @ x


def _peak() -> int:
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss // 1024


def on_dask(path: str) -> None:
    import dask
    import dask.dataframe as dd
    from dask.distributed import Client, LocalCluster

    print("Dask, 2 worker processes of one thread")
    layout = distributed.layout(path)
    frame = dd.read_parquet(path, split_row_groups=True)

    def numpy() -> object:
        sums = dask.delayed(sum)([dask.delayed(_moments)(part) for part in frame.to_delayed()])
        products = sums.compute()
        return np.linalg.solve(products[:-1, :-1], products[:-1, -1])[1:]

    base = 0.0
    for name, fit in (
        ("modelcore, row groups", lambda: modelcore.dask.fit_linear(layout, "y", NAMES).coef_),
        ("modelcore, exact", lambda: modelcore.dask.fit_linear(layout, "y", NAMES, exact=True).coef_),
        ("modelcore, a DataFrame", lambda: modelcore.dask.fit_linear(frame, "y", NAMES).coef_),
        ("dask + numpy, X'X of the DataFrame", numpy),
    ):
        with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
            time_of = clock(name, fit, base or None)
            base = base or time_of
            print(f"    largest worker: {max(client.run(_peak).values())} MB")


def states(path: str) -> None:
    """What travels, and what it costs to merge."""
    unit = distributed.layout(path).units[0]
    table = distributed.read(unit, [*NAMES, "y"], [])
    print("States")
    for width in (2, 11, 51, 101):
        names = [f"v{j}" for j in range(width)]
        wide = pa.table([table.column(j % table.num_columns) for j in range(width)], names=names).slice(0, 20_000)
        for exact in (False, True):
            task = distributed.Products(distributed.Design(tuple(names)), exact=exact)
            state = task.state([wide])
            fold, start = distributed.Fold(task), time.perf_counter()
            for k in range(200):
                fold.add(k, state)
            each = (time.perf_counter() - start) / 200
            kind = "exact" if exact else "plain"
            print(f"  {width:4} columns, {kind}: {len(state):8} bytes, {1e6 * each:8.1f} us to read and merge", flush=True)


if __name__ == "__main__":
    rows = data()
    print(f"{ROWS} rows x {P} columns, {os.path.getsize(rows) / 1e6:.0f} MB of Parquet")
    states(rows)
    on_dask(rows)
    on_spark(rows)
