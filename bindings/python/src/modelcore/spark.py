"""modelcore on Spark: the functions of modelcore.distributed over the partitions of a Spark DataFrame, or over the parts
of files that its executors read.

    from modelcore import distributed, spark
    model = spark.fit_linear(frame, "y", ["a", "b"], factors=["region"], weights="w")
    model = spark.fit_linear(distributed.layout("rows.parquet"), "y", ["a", "b"], session=session)

A partition becomes a state by mapInArrow, the states are collected and merged in the order of the partitions. Scheduling,
shuffles and retries are Spark's. Python and modelcore must be installed where the executors run.
"""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import Any

from . import distributed as _d


def _runner(source: Any, session: Any) -> _d.Run:
    sql = _d.needs("pyspark.sql", "pyspark")
    session = session or getattr(source, "sparkSession", None) or sql.SparkSession.getActiveSession()
    if session is None:
        raise ValueError("there is no Spark session: give session=")

    def of_units(task: _d.Task) -> Any:
        units = source.units

        def states(batches: Iterator[Any]) -> Iterator[Any]:
            for batch in batches:
                for number in batch.column(0).to_pylist():
                    yield _row(number, _d.unit_state(task, units[number]))

        slices = min(len(units), max(1, 4 * session.sparkContext.defaultParallelism))
        rows = session.range(0, len(units), 1, slices).mapInArrow(states, _SCHEMA).collect()
        return len(units), ((number, bytes(state)) for number, state in rows)

    def of_partitions(task: _d.Task) -> Any:
        def states(batches: Iterator[Any]) -> Iterator[Any]:
            number = _d.needs("pyspark", "pyspark").TaskContext.get().partitionId()
            yield _row(number, _d.frame_state(task, batches))

        frame = source.select(*[_quoted(name) for name in task.needed()])
        rows = sorted(frame.mapInArrow(states, _SCHEMA).collect())  # a partition of no rows may be left out
        return len(rows), ((i, bytes(state)) for i, (_, state) in enumerate(rows))

    return of_units if isinstance(source, _d.Layout) else of_partitions


_SCHEMA = "number long, state binary"


def _quoted(name: str) -> str:
    """A column of that very name, whatever dots and quotes it has."""
    return "`" + name.replace("`", "``") + "`"


def _row(number: int, state: bytes) -> Any:
    pa = _d.needs("pyarrow", "pyarrow")
    return pa.RecordBatch.from_arrays([pa.array([number], pa.int64()), pa.array([state])], names=["number", "state"])


def accumulate(frame: Any, columns: Sequence[str], *, session: Any = None, **options: Any) -> Any:
    """modelcore.distributed.accumulate of a Spark DataFrame, or of a layout that the executors of the session read; the options are its."""
    return _d.accumulate(_runner(frame, session), columns, **options)


def describe(frame: Any, columns: Sequence[str], *, session: Any = None, **options: Any) -> _d.Description:
    """modelcore.distributed.describe of a Spark DataFrame, or of a layout that the executors of the session read; the options are its."""
    return _d.describe(_runner(frame, session), columns, **options)


def fit_linear(frame: Any, target: str, columns: Sequence[str], *, session: Any = None, **options: Any) -> Any:
    """modelcore.distributed.fit_linear of a Spark DataFrame, or of a layout that the executors of the session read; the options are its."""
    return _d.fit_linear(_runner(frame, session), target, columns, **options)


def fit_logistic(frame: Any, target: str, columns: Sequence[str], *, session: Any = None, **options: Any) -> Any:
    """modelcore.distributed.fit_logistic of a Spark DataFrame, or of a layout that the executors of the session read; the options are its."""
    return _d.fit_logistic(_runner(frame, session), target, columns, **options)


def evaluate(frame: Any, target: str, score: Any, *, session: Any = None, **options: Any) -> _d.Evaluation:
    """modelcore.distributed.evaluate of a Spark DataFrame, or of a layout that the executors of the session read; the options are its."""
    return _d.evaluate(_runner(frame, session), target, score, **options)


__all__ = ["accumulate", "describe", "evaluate", "fit_linear", "fit_logistic"]
