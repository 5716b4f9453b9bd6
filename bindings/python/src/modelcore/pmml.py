"""Fitted models as PMML 4.4 documents, which other engines score."""

from __future__ import annotations

from typing import Any

import numpy as np

from . import _core
from ._estimator import names_of


def to_pmml(model: Any, *, target: str = "y") -> str:
    """The document of a fitted LinearRegression or LogisticRegression; aliased terms count 0. An evaluator that reads it
    predicts the numbers or the probabilities of the model. Infinite coefficients raise ValueError."""
    coefficients = np.column_stack([np.atleast_1d(model.intercept_), np.atleast_2d(model.coef_)])
    classes = getattr(model, "classes_", None)
    labels = [] if classes is None else classes.tolist()
    return _core.regression_pmml(names_of(model), target, coefficients, labels, "modelcore", _core.version())
