"""Reproducible random numbers: the same seed gives the numbers of the C++ classes on every platform."""

from ._core import Generator

__all__ = ["Generator"]
