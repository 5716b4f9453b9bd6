"""Numerical, statistical and document services for statistical procedures.

Arrays in, arrays out: exact partial results, the sweep operator, distributions, reproducible variates.
"""

from ._core import Categories, CrossProducts, PairwiseProducts, SparseRows, Summary, SymMatrix
from ._core import version as _version

__version__ = _version()
__all__ = ["Categories", "CrossProducts", "PairwiseProducts", "SparseRows", "Summary", "SymMatrix"]
