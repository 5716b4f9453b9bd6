"""modelcore on Dask: the functions of modelcore.distributed over the partitions of a Dask DataFrame, or over the parts of
files that its workers read.

    from modelcore import dask, distributed
    model = dask.fit_linear(frame, "y", ["a", "b"], factors=["region"], weights="w")
    model = dask.fit_linear(distributed.layout("rows.parquet"), "y", ["a", "b"])

Each partition is a delayed call whose result is a state; the states are merged in the order of the partitions. They run
where Dask runs its work: on the cluster of the client that is there, else on Dask's own threads. Scheduling and retries are
Dask's.
"""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

from . import distributed as _d


def _state_of_frame(task: _d.Task, frame: Any) -> bytes:
    return _d.frame_state(task, [frame])


def _runner(source: Any) -> _d.Run:
    dask = _d.needs("dask", "dask")

    def run(task: _d.Task) -> Any:
        if isinstance(source, _d.Layout):
            state = dask.delayed(_d.unit_state, pure=True)
            work = [state(task, unit) for unit in source.units]
        else:
            state = dask.delayed(_state_of_frame, pure=True)
            work = [state(task, part) for part in source[task.needed()].to_delayed()]
        return len(work), enumerate(dask.compute(*work))

    return run


def accumulate(frame: Any, columns: Sequence[str], **options: Any) -> Any:
    """modelcore.distributed.accumulate of a Dask DataFrame, or of a layout that the workers read; the options are its."""
    return _d.accumulate(_runner(frame), columns, **options)


def describe(frame: Any, columns: Sequence[str], **options: Any) -> _d.Description:
    """modelcore.distributed.describe of a Dask DataFrame, or of a layout that the workers read; the options are its."""
    return _d.describe(_runner(frame), columns, **options)


def fit_linear(frame: Any, target: str, columns: Sequence[str], **options: Any) -> Any:
    """modelcore.distributed.fit_linear of a Dask DataFrame, or of a layout that the workers read; the options are its."""
    return _d.fit_linear(_runner(frame), target, columns, **options)


def fit_logistic(frame: Any, target: str, columns: Sequence[str], **options: Any) -> Any:
    """modelcore.distributed.fit_logistic of a Dask DataFrame, or of a layout that the workers read; the options are its."""
    return _d.fit_logistic(_runner(frame), target, columns, **options)


def evaluate(frame: Any, target: str, score: Any, **options: Any) -> _d.Evaluation:
    """modelcore.distributed.evaluate of a Dask DataFrame, or of a layout that the workers read; the options are its."""
    return _d.evaluate(_runner(frame), target, score, **options)


__all__ = ["accumulate", "describe", "evaluate", "fit_linear", "fit_logistic"]
