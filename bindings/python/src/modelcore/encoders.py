"""Encoders of tables: each column of the data becomes one or more columns of numbers, with names.

They are learned from in pieces (partial_fit), merged, saved, and never depend on the order of the data. transform turns
what is refused by a rule into NaN unless errors="raise". Missing values, unseen categories and outliers have rules of
their own; see the C++ classes MCContinuousEncoder, MCCategoricalEncoder, MCCategoricalNumericEncoder, MCBinningEncoder,
MCStringEncoder and MCRoundingEncoder.
"""

from __future__ import annotations

import json
import warnings
from typing import Any, Optional

import numpy as np

from . import _core
from ._estimator import BaseEstimator, TransformerMixin, weights_of

_MISSING = ["stays", "replaced", "own_category", "refused"]
_UNSEEN = ["refused", "missing", "baseline", "other"]
_OUTLIER = ["stays", "clipped", "missing", "refused"]
_REFUSED = 4
_FINISH = {
    1: "nothing valid was learned",
    2: "the field has one value",
    3: "there are fewer bins than were asked for",
    4: "there are many categories",
    5: "the cuts are approximate",
    6: "the reference is no category",
    7: "the replacement of missing values is not given or no category",
    8: "a category has no score",
    9: "what was learned gives no scale",
    10: "settings contradict each other",
}


def _place(value: str, among: list[str], name: str) -> int:
    if value not in among:
        raise ValueError(f"{name} is one of {among}, not {value!r}")
    return among.index(value)


def _columns(X: Any) -> tuple[list[Any], Optional[list[str]]]:
    """The columns of a table of any kind, and their names."""
    if hasattr(X, "iloc") and hasattr(X, "columns"):
        return [X.iloc[:, j] for j in range(X.shape[1])], [str(name) for name in X.columns]
    if hasattr(X, "column_names"):  # pyarrow
        return [X.column(name) for name in X.column_names], list(X.column_names)
    if hasattr(X, "get_columns"):  # polars
        return list(X.get_columns()), list(X.columns)
    if not isinstance(X, np.ndarray):
        plain = np.asarray(X)
        X = plain if plain.dtype.kind in "biuf" else np.asarray(X, dtype=object)  # numbers among text stay numbers
    if X.dtype.kind == "c":
        raise ValueError("Complex data not supported")
    if X.ndim != 2:
        raise ValueError(
            f"Expected 2D array, got {X.ndim}D array instead. Reshape your data: rows and columns are needed"
        )
    return [X[:, j] for j in range(X.shape[1])], None


class _Encoder(TransformerMixin, BaseEstimator):
    """What all encoders share."""

    _class_name = ""
    missing: str
    replacement: Any
    errors: str

    def _settings(self) -> dict[str, Any]:
        raise NotImplementedError

    def fit(self, X: Any, y: Any = None, sample_weight: Any = None) -> Any:
        """Learns from X, n x columns, alone. Returns the encoder."""
        self._learned: Optional[list[_core.Encoder]] = None
        return self.partial_fit(X, y, sample_weight)

    def partial_fit(self, X: Any, y: Any = None, sample_weight: Any = None) -> Any:
        """Learns from more rows. y: the target, for encoders that need one. Returns the encoder."""
        columns, names = self._checked(X)
        if getattr(self, "_learned", None) is None:
            self.n_features_in_ = len(columns)
            if names is not None:
                self.feature_names_in_ = np.asarray(names, dtype=object)
            elif hasattr(self, "feature_names_in_"):
                del self.feature_names_in_
            fields = names or [f"x{j}" for j in range(len(columns))]
            settings = self._settings()
            settings["missing"] = (_place(self.missing, _MISSING, "missing"), self.replacement)
            if self.errors not in ("nan", "raise"):
                raise ValueError("errors is 'nan' or 'raise'")
            self._learned = [_core.Encoder(self._class_name, field, settings) for field in fields]
        self._check_width(columns)
        assert self._learned is not None
        sample_weight = weights_of(sample_weight, len(columns[0]))
        copies = [encoder.copy() for encoder in self._learned]
        for encoder, column in zip(copies, columns):
            encoder.learn(column, sample_weight, y if encoder.needs_target else None)
        self._learned = copies
        self._finished: list[_core.Encoder] = []  # made of the learned ones when they are first needed
        return self

    def merge(self, other: Any) -> Any:
        """Adds what another encoder with the same parameters has learned. Returns the encoder."""
        self._check_learned()
        other._check_learned()
        copies = [encoder.copy() for encoder in self._learned or []]
        if len(copies) != len(other._learned):
            raise ValueError("the encoders differ in their columns")
        for mine, theirs in zip(copies, other._learned):
            mine.merge(theirs)
        self._learned, self._finished = copies, []
        return self

    def transform(self, X: Any) -> Any:
        """The n rows of encoded columns."""
        encoders = self._finish()
        columns, _ = self._checked(X)
        self._check_width(columns)
        parts = []
        for encoder, column in zip(encoders, columns):
            rows, outcomes = encoder.encode(column)
            if self.errors == "raise" and (outcomes == _REFUSED).any():
                first = int(np.flatnonzero(outcomes == _REFUSED)[0])
                raise ValueError(f"{encoder.column_names[0]}: the value of row {first} is refused")
            parts.append(rows)
        return parts[0] if len(parts) == 1 else np.hstack(parts)

    def inverse_transform(self, X: Any) -> Any:
        """The values that rows stand for, an array of objects."""
        encoders = self._finish()
        rows, first, values = np.asarray(X, dtype=float), 0, []
        for encoder in encoders:
            width = len(encoder.column_names)
            values.append(encoder.decode(rows[:, first : first + width]))
            first += width
        out = np.empty((len(rows), len(values)), dtype=object)
        for j, column in enumerate(values):
            out[:, j] = column
        return out

    def get_feature_names_out(self, input_features: Any = None) -> Any:
        """The names of the encoded columns."""
        return np.asarray([name for encoder in self._finish() for name in encoder.column_names], dtype=object)

    def to_json(self) -> str:
        """Parameters and everything learned; from_json of the class restores it."""
        self._check_learned()
        names = getattr(self, "feature_names_in_", None)
        return json.dumps(
            {
                "class": type(self).__name__,
                "params": self.get_params(),
                "features": None if names is None else list(names),
                "encoders": [encoder.to_json() for encoder in self._learned or []],
            }
        )

    @classmethod
    def from_json(cls, text: str) -> Any:
        """Restores what to_json gave."""
        state = json.loads(text)
        if state.get("class") != cls.__name__:
            raise ValueError(f"this is not the state of a {cls.__name__}")
        encoder = cls(**state["params"])
        encoder._learned = [_core.Encoder.from_json(one) for one in state["encoders"]]
        encoder._finished = []
        encoder.n_features_in_ = len(encoder._learned)
        if state["features"] is not None:
            encoder.feature_names_in_ = np.asarray(state["features"], dtype=object)
        return encoder

    def _checked(self, X: Any) -> tuple[list[Any], Optional[list[str]]]:
        if hasattr(X, "tocsr"):
            raise TypeError("a sparse matrix was passed, but dense data is required. Use X.toarray()")
        columns, names = _columns(X)
        if not columns:
            raise ValueError(f"0 feature(s) (shape=({len(X)}, 0)) while a minimum of 1 is required.")
        if len(columns[0]) == 0:
            raise ValueError(f"0 sample(s) (shape=(0, {len(columns)})) while a minimum of 1 is required.")
        return columns, names

    def _check_width(self, columns: list[Any]) -> None:
        if len(columns) != self.n_features_in_:
            raise ValueError(
                f"X has {len(columns)} features, but {type(self).__name__} is expecting {self.n_features_in_} features as input"
            )

    def _check_learned(self) -> None:
        if getattr(self, "_learned", None) is None:
            try:
                from sklearn.exceptions import NotFittedError as error
            except ImportError:  # pragma: no cover
                error = ValueError
            raise error(f"This {type(self).__name__} instance is not fitted yet.")

    def __sklearn_is_fitted__(self) -> bool:
        return getattr(self, "_learned", None) is not None

    def _finish(self) -> list[_core.Encoder]:
        self._check_learned()
        if not self._finished:
            finished = [encoder.copy() for encoder in self._learned or []]
            for encoder in finished:
                severity, code, *_ = encoder.finish()
                if severity < 0:
                    raise ValueError(_FINISH.get(code, "the encoder cannot be finished"))
                if severity > 0 and code not in (2,):
                    warnings.warn(f"{type(self).__name__}: {_FINISH.get(code, code)}", stacklevel=3)
            self._finished.extend(finished)
        return self._finished

    def __sklearn_tags__(self) -> Any:
        tags = super().__sklearn_tags__()
        tags.input_tags.allow_nan = True
        return tags


class ContinuousEncoder(_Encoder):
    """Scales numbers: scaling "none", "z_score", "unit" (0 to 1) or "symmetric" (-1 to 1).

    limits: (lowest, highest), None for an open end, or "learned"; outliers says what becomes of numbers beyond them.
    missing and replacement (None: the mean): what becomes of missing values.
    """

    _class_name = "MCContinuousEncoder"

    def __init__(
        self,
        *,
        scaling: str = "z_score",
        limits: Any = None,
        outliers: str = "clipped",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.scaling, self.limits, self.outliers = scaling, limits, outliers
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        settings: dict[str, Any] = {
            "scaling": _place(self.scaling, ["none", "z_score", "unit", "symmetric"], "scaling")
        }
        rule = _place(self.outliers, _OUTLIER, "outliers")
        if isinstance(self.limits, str):
            if self.limits != "learned":
                raise ValueError("limits are two numbers or 'learned'")
            settings["limits_learned"] = rule
        elif self.limits is not None:
            settings["limits"] = (*self.limits, rule)
        return settings


class _Categories(_Encoder):
    categories: Any
    reference: Any
    min_weight: float
    max_kept: int
    unseen: str

    def _category_settings(self) -> dict[str, Any]:
        settings: dict[str, Any] = {
            "min_weight": float(self.min_weight),
            "max_kept": int(self.max_kept),
            "unseen": _place(self.unseen, _UNSEEN, "unseen"),
        }
        if self.categories is not None:
            settings["categories"] = list(self.categories)
        if self.reference in ("first", "last", "most_frequent"):
            settings["reference"] = ["first", "last", "most_frequent"].index(self.reference)
        else:
            settings["reference_category"] = self.reference
        return settings

    @property
    def levels_(self) -> list[list[Any]]:
        """The levels of each column in their order."""
        return [encoder.levels for encoder in self._finish()]

    def __sklearn_tags__(self) -> Any:
        tags = super().__sklearn_tags__()
        tags.input_tags.string = tags.input_tags.categorical = True
        return tags


class CategoricalEncoder(_Categories):
    """Indicators and contrasts of categories: coding "indicator", "dummy", "deviation", "helmert", "difference",
    "repeated" or "polynomial".

    categories: a given list, in its order. reference: "first", "last", "most_frequent" or a category. min_weight and
    max_kept join rare categories as the others. unseen: "refused", "missing", "baseline" or "other".
    """

    _class_name = "MCCategoricalEncoder"
    _codings = ["indicator", "dummy", "deviation", "helmert", "difference", "repeated", "polynomial"]

    def __init__(
        self,
        *,
        coding: str = "indicator",
        categories: Any = None,
        reference: Any = "first",
        min_weight: float = 0.0,
        max_kept: int = 0,
        unseen: str = "refused",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.coding, self.categories, self.reference = coding, categories, reference
        self.min_weight, self.max_kept, self.unseen = min_weight, max_kept, unseen
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        return {"coding": _place(self.coding, self._codings, "coding"), **self._category_settings()}


class StringEncoder(_Categories):
    """As CategoricalEncoder, for text that is tidied first: trim ("none", "left", "right", "both"), case ("kept",
    "lower", "upper"), max_length (0: all), mapping, empty_is_missing."""

    _class_name = "MCStringEncoder"

    def __init__(
        self,
        *,
        trim: str = "both",
        case: str = "kept",
        max_length: int = 0,
        mapping: Optional[dict[str, str]] = None,
        empty_is_missing: bool = False,
        coding: str = "indicator",
        categories: Any = None,
        reference: Any = "first",
        min_weight: float = 0.0,
        max_kept: int = 0,
        unseen: str = "refused",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.trim, self.case, self.max_length, self.mapping = trim, case, max_length, mapping
        self.empty_is_missing, self.coding, self.categories, self.reference = (
            empty_is_missing,
            coding,
            categories,
            reference,
        )
        self.min_weight, self.max_kept, self.unseen = min_weight, max_kept, unseen
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        return {
            "trim": _place(self.trim, ["none", "left", "right", "both"], "trim"),
            "case": _place(self.case, ["kept", "lower", "upper"], "case"),
            "max_length": self.max_length,
            "mapping": self.mapping or {},
            "empty_is_missing": self.empty_is_missing,
            "coding": _place(self.coding, CategoricalEncoder._codings, "coding"),
            **self._category_settings(),
        }


class NumericCategoryEncoder(_Categories):
    """One number for each category: method "rank", "target_mean" (y needed; smoothing shrinks to the overall mean), or
    scores, a dict of a number for each category."""

    _class_name = "MCCategoricalNumericEncoder"

    def __init__(
        self,
        *,
        method: str = "rank",
        scores: Optional[dict[Any, float]] = None,
        smoothing: float = 0.0,
        categories: Any = None,
        reference: Any = "first",
        min_weight: float = 0.0,
        max_kept: int = 0,
        unseen: str = "refused",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.method, self.scores, self.smoothing = method, scores, smoothing
        self.categories, self.reference = categories, reference
        self.min_weight, self.max_kept, self.unseen = min_weight, max_kept, unseen
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        settings = self._category_settings()
        if self.scores is not None:
            return {**settings, "scores": self.scores}
        method = {"rank": 0, "target_mean": 2}.get(self.method)
        if method is None:
            raise ValueError("method is 'rank' or 'target_mean'")
        return {**settings, "method": method, "smoothing": float(self.smoothing)}


class BinningEncoder(_Encoder):
    """Bins of numbers: method "equal_frequency", "equal_width", "deviations" (bins: deviations to each side), "mdlp" (y:
    the class) or cuts, a list. output "index" or "indicator"; closed "upper" for (lo, hi] or "lower"."""

    _class_name = "MCBinningEncoder"

    def __init__(
        self,
        *,
        method: str = "equal_frequency",
        bins: int = 10,
        cuts: Any = None,
        closed: str = "upper",
        output: str = "index",
        limits: Any = None,
        outliers: str = "missing",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.method, self.bins, self.cuts, self.closed, self.output = method, bins, cuts, closed, output
        self.limits, self.outliers = limits, outliers
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        settings: dict[str, Any] = {}
        if self.cuts is not None:
            settings["cuts"] = [float(cut) for cut in self.cuts]
        else:
            _place(self.method, ["equal_frequency", "equal_width", "deviations", "mdlp"], "method")
            settings[self.method] = int(self.bins)
        settings["closed"] = _place(self.closed, ["upper", "lower"], "closed")
        settings["output"] = _place(self.output, ["index", "indicator"], "output")
        if self.limits is not None:
            settings["ends"] = (*self.limits, _place(self.outliers, _OUTLIER, "outliers"))
        return settings

    @property
    def cuts_(self) -> list[Any]:
        """The inner cuts of each column."""
        return [encoder.cuts for encoder in self._finish()]


class RoundingEncoder(_Encoder):
    """Rounds numbers to multiples of unit or to digits, direction "half_even", "up" or "down"."""

    _class_name = "MCRoundingEncoder"

    def __init__(
        self,
        *,
        unit: float = 1.0,
        digits: Optional[int] = None,
        direction: str = "half_even",
        missing: str = "stays",
        replacement: Any = None,
        errors: str = "nan",
    ):
        self.unit, self.digits, self.direction = unit, digits, direction
        self.missing, self.replacement, self.errors = missing, replacement, errors

    def _settings(self) -> dict[str, Any]:
        by: dict[str, Any] = {"unit": float(self.unit)} if self.digits is None else {"digits": int(self.digits)}
        return {**by, "direction": _place(self.direction, ["half_even", "up", "down"], "direction")}


__all__ = [
    "BinningEncoder",
    "CategoricalEncoder",
    "ContinuousEncoder",
    "NumericCategoryEncoder",
    "RoundingEncoder",
    "StringEncoder",
]
