"""Judging a score, and the data of charts."""

from ._core import BarChart, Histogram, ScatterGrid, gains, roc

__all__ = ["BarChart", "Histogram", "ScatterGrid", "gains", "roc"]
