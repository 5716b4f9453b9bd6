"""What the estimators share: the protocol of scikit-learn where it is installed, a stand-in where not, and tables."""

from __future__ import annotations

import html
from typing import Any

import numpy as np

try:
    from sklearn.base import BaseEstimator, ClassifierMixin, RegressorMixin, TransformerMixin
    from sklearn.utils.validation import check_is_fitted, column_or_1d, validate_data

    HAS_SKLEARN = True
except ImportError:  # pragma: no cover - the package works without
    HAS_SKLEARN = False
    import inspect

    class BaseEstimator:  # type: ignore[no-redef]
        """Parameters by name, as in scikit-learn."""

        def get_params(self, deep: bool = True) -> dict[str, Any]:
            names = inspect.signature(type(self).__init__).parameters
            return {name: getattr(self, name) for name in names if name != "self"}

        def set_params(self, **params: Any) -> Any:
            for name, value in params.items():
                if name not in self.get_params():
                    raise ValueError(f"no parameter {name!r}")
                setattr(self, name, value)
            return self

    class RegressorMixin:  # type: ignore[no-redef]
        def score(self, X: Any, y: Any, sample_weight: Any = None) -> float:
            """R squared of the predictions."""
            y = np.asarray(y, float)
            w = np.ones_like(y) if sample_weight is None else np.asarray(sample_weight, float)
            deviations = y - np.average(y, weights=w)
            residuals = y - self.predict(X)  # type: ignore[attr-defined]
            return float(1.0 - (w * residuals**2).sum() / (w * deviations**2).sum())

    class ClassifierMixin:  # type: ignore[no-redef]
        def score(self, X: Any, y: Any, sample_weight: Any = None) -> float:
            """The share of right predictions."""
            return float(np.average(self.predict(X) == np.asarray(y), weights=sample_weight))  # type: ignore[attr-defined]

    class TransformerMixin:  # type: ignore[no-redef]
        def fit_transform(self, X: Any, y: Any = None) -> Any:
            return self.fit(X, y).transform(X)  # type: ignore[attr-defined]

    def check_is_fitted(estimator: Any) -> None:
        if not getattr(estimator, "n_features_in_", None):
            raise ValueError(f"this {type(estimator).__name__} is not fitted yet")

    def column_or_1d(y: Any, *, warn: bool = False) -> Any:
        return np.asarray(y).reshape(-1)

    def validate_data(estimator: Any, X: Any, y: Any = "no_validation", reset: bool = True, **options: Any) -> Any:
        names = list(getattr(X, "columns", [])) or None
        X = np.asarray(X)
        if X.ndim != 2 or X.shape[0] < 1 or X.shape[1] < 1:
            raise ValueError("X: rows and columns are needed")
        if reset:
            estimator.n_features_in_ = X.shape[1]
            if names is not None:
                estimator.feature_names_in_ = np.asarray(names, dtype=object)
        elif X.shape[1] != estimator.n_features_in_:
            raise ValueError(f"X has {X.shape[1]} features, but {estimator.n_features_in_} were expected")
        return X if isinstance(y, str) else (X, np.asarray(y))


__all__ = [
    "BaseEstimator",
    "ClassifierMixin",
    "HAS_SKLEARN",
    "RegressorMixin",
    "TransformerMixin",
    "check_is_fitted",
    "column_or_1d",
    "validate_data",
]


def rows_of(estimator: Any, X: Any, reset: bool) -> Any:
    """X as an array of numbers, missing values allowed, infinite ones not."""
    X = validate_data(estimator, X, reset=reset, dtype="numeric", ensure_all_finite="allow-nan")
    if X.dtype.kind == "f" and np.isinf(X).any():
        raise ValueError("X has an infinity")
    return X


def weights_of(sample_weight: Any, n: int) -> Any:
    """None, or one weight >= 0 for each of n rows."""
    if sample_weight is None:
        return None
    weights = np.asarray(sample_weight, dtype=float)
    if weights.ndim == 0:
        return np.full(n, float(weights))
    if weights.shape != (n,):
        raise ValueError(f"sample_weight: {n} values are needed, not an array of shape {weights.shape}")
    if n > 0 and not (weights != 0.0).any():
        raise ValueError("sample_weight: every weight is zero")
    return weights


def names_of(estimator: Any) -> list[str]:
    """The names of the features: those of the frame, or x0, x1, ..."""
    names = getattr(estimator, "feature_names_in_", None)
    return [f"x{j}" for j in range(estimator.n_features_in_)] if names is None else [str(name) for name in names]


def number(x: float) -> str:
    """Seven significant digits; nothing for NaN."""
    return "" if np.isnan(x) else f"{x:.7g}"


class Table:
    """Lines of a summary: a title, pairs of a name and a value, and a table of columns."""

    def __init__(
        self, title: str, facts: list[tuple[str, str]], head: list[str], rows: list[list[str]], notes: list[str]
    ):
        self.title, self.facts, self.head, self.rows, self.notes = title, facts, head, rows, notes

    def __str__(self) -> str:
        wide = max(len(name) for name, _ in self.facts)
        lines = [self.title, ""]
        lines += [f"{name:<{wide}}  {value:>14}" for name, value in self.facts]
        columns = list(zip(self.head, *self.rows))
        widths = [max(map(len, column)) for column in columns]
        lines.append("")
        for row in [self.head, *self.rows]:
            first, *others = (f"{cell:>{width}}" for cell, width in zip(row, widths))
            lines.append("  ".join([f"{row[0]:<{widths[0]}}", *others]).rstrip())
        return "\n".join(lines + [""] * bool(self.notes) + self.notes)

    __repr__ = __str__

    def _repr_html_(self) -> str:
        def line(cells: list[str], tag: str) -> str:
            return "<tr>" + "".join(f"<{tag}>{html.escape(cell)}</{tag}>" for cell in cells) + "</tr>"

        facts = "".join(line([name, value], "td") for name, value in self.facts)
        rows = "".join(line(row, "td") for row in self.rows)
        notes = "".join(f"<p>{html.escape(note)}</p>" for note in self.notes)
        return (
            f"<h4>{html.escape(self.title)}</h4><table>{facts}</table>"
            f"<table><thead>{line(self.head, 'th')}</thead><tbody>{rows}</tbody></table>{notes}"
        )
