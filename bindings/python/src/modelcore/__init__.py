"""Numerical, statistical and document services for statistical procedures.

Arrays in, arrays out: exact partial results, the sweep operator, distributions, reproducible variates, encoders,
estimators, StatXML. One rule says what is missing, everywhere: None, NaN, nulls and masked elements.
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any

from . import charts, random, stats, statxml
from ._core import Categories, CrossProducts, ExactProducts, PairwiseProducts, SparseRows, Summary, SymMatrix
from ._core import version as _version
from .charts import gains, roc

if TYPE_CHECKING:
    from . import distributed, encoders, linear_model, pmml
    from .linear_model import LinearRegression, LogisticRegression

__version__ = _version()
__all__ = [
    "Categories",
    "CrossProducts",
    "ExactProducts",
    "LinearRegression",
    "LogisticRegression",
    "PairwiseProducts",
    "SparseRows",
    "Summary",
    "SymMatrix",
    "charts",
    "distributed",
    "encoders",
    "gains",
    "linear_model",
    "pmml",
    "random",
    "roc",
    "stats",
    "statxml",
]


def __getattr__(name: str) -> Any:
    # Estimators and encoders take scikit-learn's base classes, which take a second to import: only on demand.
    if name in ("LinearRegression", "LogisticRegression"):
        return getattr(importlib.import_module(".linear_model", __name__), name)
    if name in ("dask", "distributed", "encoders", "linear_model", "pmml", "spark"):
        return importlib.import_module(f".{name}", __name__)
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
