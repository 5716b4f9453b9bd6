"""Linear and logistic regression with the protocol of scikit-learn and what statisticians look for in a fit."""

from __future__ import annotations

import base64
import json
import warnings
from typing import Any

import numpy as np

from . import _core, stats
from ._estimator import (
    BaseEstimator,
    ClassifierMixin,
    RegressorMixin,
    Table,
    check_is_fitted,
    column_or_1d,
    names_of,
    number,
    rows_of,
    weights_of,
)

try:
    from sklearn.exceptions import ConvergenceWarning
except ImportError:  # pragma: no cover

    class ConvergenceWarning(UserWarning):  # type: ignore[no-redef]
        """The iteration ended before it met its tolerance."""


def _times(a: Any, b: Any) -> Any:
    """a @ b of matrices and vectors, with the same bits on every processor, which NumPy's products have not."""
    shape = np.shape(a)[:-1] + np.shape(b)[1:]
    return _core.product(np.atleast_2d(a), b).reshape(shape) if np.size(a) and np.size(b) else np.zeros(shape)


class _Model(BaseEstimator):
    """What both models share: the table of coefficients."""

    fit_intercept: bool
    _statistic = "t"

    def _quantile(self, level: float) -> float:
        raise NotImplementedError

    def _more(self) -> list[tuple[str, str]]:
        raise NotImplementedError

    def _notes(self) -> list[str]:
        return []

    def _terms(self) -> list[str]:
        return (["(Intercept)"] if self.fit_intercept else []) + names_of(self)

    def conf_int(self, level: float = 0.95) -> Any:
        """Lower and upper limits of the terms, terms x 2, the intercept first; NaN where a term is aliased."""
        check_is_fitted(self)
        if not 0.0 < level < 1.0:
            raise ValueError("level lies between 0 and 1")
        half = self._quantile(level) * self.std_errors_
        return np.stack([self.params_ - half, self.params_ + half], axis=1)

    def summary(self, level: float = 0.95) -> Table:
        """The fit as a table that prints as text and shows as HTML in a notebook."""
        limits = self.conf_int(level)
        rows = []
        for k, name in enumerate(self._labels()):
            if self.aliased_[k]:
                rows.append([name, "aliased", "", "", "", "", ""])
                continue
            values = (self.params_[k], self.std_errors_[k], self.statistics_[k], self.p_values_[k], *limits[k])
            rows.append([name, *map(number, values)])
        head = ["Term", "Estimate", "Std. error", self._statistic, "Significance", "Lower limit", "Upper limit"]
        notes = [f"Limits of {100 * level:g} % confidence.", *self._notes()]
        return Table(type(self).__name__, self._more(), head, rows, notes)

    def to_pmml(self, *, target: str = "y") -> str:
        """The fit as a PMML 4.4 document, which other engines score."""
        from .pmml import to_pmml

        check_is_fitted(self)
        return to_pmml(self, target=target)

    def _labels(self) -> list[str]:
        return self._terms()

    def _repr_html_(self) -> str:
        return self.summary()._repr_html_() if hasattr(self, "params_") else f"<pre>{self!r}</pre>"

    def _repr_mimebundle_(self, **options: Any) -> dict[str, str]:
        return {"text/plain": repr(self), "text/html": self._repr_html_()}

    def __sklearn_tags__(self) -> Any:
        tags = super().__sklearn_tags__()
        tags.input_tags.allow_nan = True
        return tags


class LinearRegression(RegressorMixin, _Model):
    """Linear regression by the sweep operator on exact partial results.

    fit reads the data twice: cross products and sweep, then residuals in twice the digits of a double, by which the
    coefficients are refined. Where the cross products cannot tell the columns apart it turns to Householder reflections
    with refinement (solver "auto"); "sweep" and "qr" choose one of the two. partial_fit and merge need no data of before.
    Rows with a missing value (NaN) or weight are left out; the prediction for one is NaN.

    fit_intercept: whether there is an intercept.
    tolerance: a column is aliased when less than this share of its sum of squares is left by the columns before it.
    weights: what sample_weight means for degrees of freedom: "regression" (a row is a case) or "frequency" (a row stands
    for so many cases).
    exact: cross products without rounding (ExactProducts): the fit depends on the set of rows alone, not on their order
    or on how they were cut and merged. Then nothing is refined by the data, and solver does not matter.

    Fitted: coef_, intercept_; params_, std_errors_, statistics_ (t), p_values_, aliased_ of all terms, the intercept
    first; cov_params_, sigma_, df_resid_, r2_, adj_r2_, f_, f_p_value_, rank_, n_cases_, n_missing_.
    """

    def __init__(
        self,
        *,
        fit_intercept: bool = True,
        tolerance: float = 1e-12,
        solver: str = "auto",
        weights: str = "regression",
        exact: bool = False,
    ):
        self.fit_intercept = fit_intercept
        self.tolerance = tolerance
        self.solver = solver
        self.weights = weights
        self.exact = exact

    def fit(self, X: Any, y: Any, sample_weight: Any = None, *, progress: Any = None) -> LinearRegression:
        """Fits to X, n x p, and y, n; sample_weight: n values >= 0. Returns the estimator."""
        X, y, w = self._data(X, y, sample_weight, reset=True)
        self._products = self._new_products()
        self._add(X, y, w, progress)
        self._solve()
        if self.solver != "sweep" and not self.exact:
            self._refine(X, y, w, progress)
        self._describe()
        return self

    def partial_fit(self, X: Any, y: Any, sample_weight: Any = None) -> LinearRegression:
        """Adds rows to those of before and fits to all of them. Returns the estimator."""
        if getattr(self, "_products", None) is None:
            self._products = self._new_products()
        X, y, w = self._data(X, y, sample_weight, reset=self._products.n_variables == 0)
        self._add(X, y, w, None)
        if self._products.n_rows > 0:
            self._solve()
            self._describe()
        return self

    def merge(self, other: LinearRegression) -> LinearRegression:
        """Adds the rows that another estimator was fitted to. Returns the estimator."""
        check_is_fitted(self)
        check_is_fitted(other)
        if self.get_params() != other.get_params() or names_of(self) != names_of(other):
            raise ValueError("the estimators differ in parameters or features")
        self._products = self._products + other._products
        self._solve()
        self._describe()
        return self

    def predict(self, X: Any) -> Any:
        """The n predicted values."""
        check_is_fitted(self)
        return _core.linear_scores(rows_of(self, X, reset=False), self.coef_[None, :], [self.intercept_])[:, 0]

    def _take(self, products: Any, names: list[str]) -> None:
        """Fits to products of the features of these names and, behind them, the target."""
        self._products = products
        self.n_features_in_ = products.n_variables - 1
        self.feature_names_in_ = np.asarray(names, dtype=object)
        self._solve()
        self._describe()

    def _new_products(self) -> Any:
        if self.solver not in ("auto", "sweep", "qr") or self.weights not in ("regression", "frequency"):
            raise ValueError("solver is 'auto', 'sweep' or 'qr'; weights is 'regression' or 'frequency'")
        return (_core.ExactProducts if self.exact else _core.CrossProducts)(intercept=self.fit_intercept)

    def _data(self, X: Any, y: Any, sample_weight: Any, reset: bool) -> tuple[Any, Any, Any]:
        if y is None:
            raise ValueError("This LinearRegression estimator requires y to be passed, but the target y is None.")
        X = rows_of(self, X, reset)
        y = np.asarray(column_or_1d(y, warn=True), dtype=float)
        if len(y) != len(X):
            raise ValueError(f"X has {len(X)} rows, y has {len(y)} values: inconsistent")
        if np.isinf(y).any():
            raise ValueError("y has an infinity")
        return X, y, weights_of(sample_weight, len(X))

    def _add(self, X: Any, y: Any, w: Any, progress: Any) -> None:
        kind = {"frequency": w} if self.weights == "frequency" else {"weight": w}
        # The products see [X | y] piece by piece, so that X is not copied as a whole.
        for first in range(0, len(X), 65536):
            part = slice(first, first + 65536)
            block = np.empty((len(X[part]), X.shape[1] + 1))
            block[:, :-1] = X[part]
            block[:, -1] = y[part]
            self._products.update(
                block, progress=progress, **{k: None if v is None else v[part] for k, v in kind.items()}
            )

    def _solve(self) -> None:
        if self._products.n_rows == 0:
            raise ValueError("no complete row of a weight above 0")
        sums = self._products.products()
        p = sums.n - 1
        diagonal = sums.diagonal
        if not np.isfinite(diagonal).all():
            raise ValueError("numbers too large to be squared and summed")
        sums.sweep(range(p), tolerance=self.tolerance)
        kept = sums.swept
        self._kept = kept
        square = sums.to_numpy()
        self._inverse = -square[np.ix_(kept, kept)]
        self._means = self._products.means[:p]
        self._total = diagonal[p]
        self.coef_ = np.zeros(p)
        self.coef_[kept] = square[p, kept]
        self._rss = max(0.0, square[p, p])
        mean = self._products.means[p]
        self.intercept_ = float(mean - _times(self._means, self.coef_)) if self.fit_intercept else 0.0
        # The share of each column's sum of squares that the others leave, from the diagonal of the inverse.
        shares = 1.0 / (np.diag(self._inverse) * diagonal[kept]) if kept else np.ones(1)
        self._is_poor = len(kept) < np.count_nonzero(diagonal[:p]) or bool(shares.min() < 1e-9)

    def _refine(self, X: Any, y: Any, w: Any, progress: Any) -> None:
        centre = self._means if self.fit_intercept else np.zeros_like(self._means)
        if self.solver == "qr" or self._is_poor:
            coef, intercept, rss, kept, inverse = _core.least_squares(X, y, w, centre, self.fit_intercept, 1e-13)
            self.coef_, self._rss, self._kept = coef, rss, kept
            self.intercept_ = intercept
            first = 1 if self.fit_intercept else 0
            self._inverse = inverse[first:, first:]
            return
        b, centre, start = self._start_of_residuals()
        self._correct(start, *_core.residual_sums(X, y, w, b, centre, start, progress), describe=False)

    def _start_of_residuals(self) -> tuple[Any, Any, float]:
        """The coefficients, the centre of the features and the prediction there: what residuals are taken from."""
        centre = self._means if self.fit_intercept else np.zeros_like(self._means)
        return self.coef_.copy(), centre, float(self.intercept_ + _times(centre, self.coef_))

    def _correct(self, start: float, total: float, squares: float, gradient: Any, describe: bool = True) -> None:
        """One step of refinement by the sums of residuals, their squares and their products with the features."""
        kept = self._kept
        centre = self._means if self.fit_intercept else np.zeros_like(self._means)
        weight = self._products.sum_weights
        change = _times(self._inverse, gradient[kept])
        self.coef_[kept] += change
        self._rss = max(
            0.0, squares - float(_times(change, gradient[kept])) - (total**2 / weight if self.fit_intercept else 0.0)
        )
        if self.fit_intercept:
            self.intercept_ = float(start + total / weight - _times(centre, self.coef_))
        if describe:
            self._describe()

    def _describe(self) -> None:
        n = self._products.sum_frequencies
        first = 1 if self.fit_intercept else 0
        p, kept = len(self.coef_), self._kept
        self.rank_ = len(kept)
        self.n_cases_, self.n_missing_ = n, self._products.n_missing
        self.df_resid_ = n - first - self.rank_
        positive = self.df_resid_ > 0
        sigma2 = self._rss / self.df_resid_ if positive else np.nan
        self.sigma_ = float(np.sqrt(sigma2))
        self.aliased_ = np.ones(p + first, dtype=bool)
        self.aliased_[:first] = False
        self.aliased_[np.asarray(kept, dtype=int) + first] = False
        self.params_ = np.concatenate([np.full(first, self.intercept_), self.coef_])
        self.params_[self.aliased_] = np.nan
        inverse = np.full((p + first, p + first), np.nan)
        at = np.asarray(kept, dtype=int) + first
        inverse[np.ix_(at, at)] = self._inverse
        if self.fit_intercept:
            row = _times(self._inverse, self._means[kept])
            inverse[0, 0] = 1.0 / self._products.sum_weights + _times(self._means[kept], row)
            inverse[0, at] = inverse[at, 0] = -row
        self.cov_params_ = inverse * sigma2
        with np.errstate(invalid="ignore", divide="ignore"):
            self.std_errors_ = np.sqrt(np.diag(self.cov_params_))
            self.statistics_ = np.where(self.std_errors_ > 0.0, self.params_ / self.std_errors_, np.nan)
        df = self.df_resid_ if positive else np.nan
        self.p_values_ = 2.0 * stats.t_cdf(-np.abs(self.statistics_), df)
        explained = max(0.0, self._total - self._rss)
        self.r2_ = explained / self._total if self._total > 0.0 else np.nan
        self.adj_r2_ = 1.0 - sigma2 / (self._total / (n - first)) if self._total > 0.0 and positive else np.nan
        self.f_ = explained / self.rank_ / sigma2 if self.rank_ > 0 and positive and sigma2 > 0.0 else np.nan
        self.f_p_value_ = stats.f_sf(float(self.f_), float(max(self.rank_, 1)), float(df))

    def _quantile(self, level: float) -> float:
        return float(stats.t_quantile(0.5 + 0.5 * level, float(self.df_resid_)))

    def _more(self) -> list[tuple[str, str]]:
        return [
            ("Cases used", number(self.n_cases_)),
            ("Rows left out", str(self.n_missing_)),
            ("R squared", number(self.r2_)),
            ("Adjusted R squared", number(self.adj_r2_)),
            ("Standard error", number(self.sigma_)),
            ("Residual df", number(self.df_resid_)),
            ("F", number(self.f_)),
            ("Significance of F", number(self.f_p_value_)),
        ]

    def to_json(self) -> str:
        """Parameters, features and the exact state: from_json goes on with partial_fit and merge where this one stands."""
        check_is_fitted(self)
        names = getattr(self, "feature_names_in_", None)
        state = {
            "class": "LinearRegression",
            "params": self.get_params(),
            "products": base64.b64encode(self._products.to_bytes()).decode() if self.exact else self._products.to_json(),
            "features": None if names is None else list(map(str, names)),
        }
        return json.dumps(state)

    @classmethod
    def from_json(cls, text: str) -> LinearRegression:
        """Restores what to_json gave."""
        state = json.loads(text)
        if state.get("class") != "LinearRegression":
            raise ValueError("this is not the state of a LinearRegression")
        model = cls(**state["params"])
        if model.exact:
            model._products = _core.ExactProducts.from_bytes(base64.b64decode(state["products"]))
        else:
            model._products = _core.CrossProducts.from_json(state["products"])
        model.n_features_in_ = model._products.n_variables - 1
        if state["features"] is not None:
            model.feature_names_in_ = np.asarray(state["features"], dtype=object)
        model._solve()
        model._describe()
        return model


class LogisticRegression(ClassifierMixin, _Model):
    """Logistic regression by maximum likelihood (Newton's method with step halving), of two or more classes.

    There is no penalty. With more than two classes the first is the reference of a multinomial model. Rows with a missing
    value (NaN) or weight are left out; probabilities for one are NaN. Data that a plane separates have no estimates:
    the iteration ends with a ConvergenceWarning.

    partial_fit keeps of the rows of before the estimates and their information alone and maximises the likelihood of the
    new rows less half the squared distance to them (renewable estimation: Luo & Song 2020, JRSS B 82, 69-97); merge puts
    two fits together in the same way (Lin & Xi 2011, Statistics and Its Interface 4, 73-83). Both agree with a fit to all
    rows as the parts grow, not to the last digits.

    fit_intercept: whether there is an intercept.
    tol: the iteration ends when a step changes the log-likelihood by less, relatively.
    max_iter: most steps.
    tolerance: a column is aliased when less than this share of its information is left by the columns before it.

    Fitted: classes_, coef_, intercept_, n_iter_, converged_; params_, std_errors_, statistics_ (z), p_values_, aliased_ of
    all terms, class by class; cov_params_, log_likelihood_, null_log_likelihood_, n_cases_, n_missing_.
    """

    _statistic = "z"
    _b: Any
    _information: Any
    _started: bool

    def __init__(
        self, *, fit_intercept: bool = True, tol: float = 1e-12, max_iter: int = 100, tolerance: float = 1e-12
    ):
        self.fit_intercept = fit_intercept
        self.tol = tol
        self.max_iter = max_iter
        self.tolerance = tolerance

    def fit(self, X: Any, y: Any, sample_weight: Any = None, *, progress: Any = None) -> LogisticRegression:
        """Fits to X, n x p, and the n labels y; sample_weight: n values >= 0. Returns the estimator."""
        X, labels, w = self._data(X, y, sample_weight, reset=True)
        self.classes_ = np.unique(labels)
        self._started = False
        return self._fit(X, labels, w, progress)

    def partial_fit(self, X: Any, y: Any, classes: Any = None, sample_weight: Any = None) -> LogisticRegression:
        """Adds rows; classes, all labels there will be, are needed at the first call. Returns the estimator."""
        is_first = not hasattr(self, "classes_")
        X, labels, w = self._data(X, y, sample_weight, reset=is_first)
        if is_first:
            if classes is None:
                raise ValueError("classes must be passed on the first call to partial_fit.")
            self.classes_ = np.unique(classes)
            self._started = False
        elif classes is not None and not np.array_equal(np.unique(classes), self.classes_):
            raise ValueError("classes differ from those of the first call to partial_fit")
        unknown = np.setdiff1d(labels, self.classes_)
        if len(unknown):
            raise ValueError(f"labels that are not among the classes: {unknown.tolist()}")
        return self._fit(X, labels, w, None)

    def merge(self, other: LogisticRegression) -> LogisticRegression:
        """Puts the fit of another estimator, to other rows, and this one together. Returns the estimator."""
        check_is_fitted(self)
        check_is_fitted(other)
        same = self.get_params() == other.get_params() and names_of(self) == names_of(other)
        if not same or not np.array_equal(self.classes_, other.classes_):
            raise ValueError("the estimators differ in parameters, features or classes")
        theirs, information = other._in_coordinates(self._shift, self._scale)
        mine = self._information
        both = mine + information
        right = _times(mine, self._b.ravel()) + _times(information, theirs)
        self._b = _core.SymMatrix(both, check=False).solve(right, tolerance=self.tolerance).reshape(self._b.shape)
        self._information = both
        for name in ("_loglik", "_sum_weights", "_class_weights", "n_missing_"):
            setattr(self, name, getattr(self, name) + getattr(other, name))
        self._describe()
        return self

    def decision_function(self, X: Any) -> Any:
        """Log odds against the first class: n values for two classes, n x classes (0 first) for more."""
        scores = self._log_odds(X)
        return scores[:, 0] if len(self.classes_) == 2 else np.hstack([np.zeros((len(scores), 1)), scores])

    def _log_odds(self, X: Any) -> Any:
        """Log odds of the classes but the first against it, n x (classes - 1)."""
        check_is_fitted(self)
        return _core.linear_scores(rows_of(self, X, reset=False), self.coef_, self.intercept_)

    def predict_log_proba(self, X: Any) -> Any:
        """Logarithms of the probabilities, n x classes."""
        return _core.class_probabilities(self._log_odds(X), logarithms=True)

    def predict_proba(self, X: Any) -> Any:
        """Probabilities, n x classes."""
        return _core.class_probabilities(self._log_odds(X))

    def predict(self, X: Any) -> Any:
        """The most probable label of each row."""
        scores = self.decision_function(X)
        best = (scores > 0).astype(int) if scores.ndim == 1 else scores.argmax(axis=1)
        return self.classes_[best]

    def _data(self, X: Any, y: Any, sample_weight: Any, reset: bool) -> tuple[Any, Any, Any]:
        if y is None:
            raise ValueError("This LogisticRegression estimator requires y to be passed, but the target y is None.")
        X = rows_of(self, X, reset)
        labels = np.asarray(column_or_1d(y, warn=True))
        if len(labels) != len(X):
            raise ValueError(f"X has {len(X)} rows, y has {len(labels)} values: inconsistent")
        if labels.dtype.kind == "f":
            if not np.isfinite(labels).all():
                raise ValueError("y: a label is NaN or infinite")
            if (labels != np.floor(labels)).any():
                raise ValueError("Unknown label type: continuous. Labels are whole numbers or text.")
        return X, labels, weights_of(sample_weight, len(X))

    def _fit(self, X: Any, labels: Any, w: Any, progress: Any) -> LogisticRegression:
        k = len(self.classes_)
        if k < 2:
            raise ValueError(
                f"labels of at least two classes are needed; the data have only one class: {self.classes_}"
            )
        codes = np.searchsorted(self.classes_, labels).astype(float)
        if not self._started:
            moments = _core.CrossProducts().update(X, weight=w)
            if moments.n_rows == 0:
                raise ValueError("no complete row of a weight above 0")
            self._start(moments.means, np.diag(moments.covariance(0)))

        def data(b: Any) -> tuple[float, Any, Any]:
            return _core.logistic_pass(X, codes, w, b, self._shift, self._scale, self.fit_intercept, progress)

        complete = ~np.isnan(X.astype(float)).any(axis=1)
        weights = np.ones(len(X)) if w is None else w
        counted = complete & (weights > 0.0)
        self._maximise(
            data,
            float(weights[counted].sum()),
            np.bincount(codes[counted].astype(int), weights=weights[counted], minlength=k),
            int(len(X) - (complete & ~np.isnan(weights)).sum()),
        )
        return self

    def _start(self, means: Any, variances: Any) -> None:
        """Begins without any case, in the coordinates (x - shift)/scale."""
        k, first = len(self.classes_), 1 if self.fit_intercept else 0
        spread = np.sqrt(variances)
        self._shift = means if self.fit_intercept else np.zeros(len(means))
        # Powers of two: to divide by them rounds nothing.
        mantissa, exponent = np.frexp(np.where((spread > 1e-300) & (spread < 1e300), spread, 1.0))
        self._scale = np.ldexp(1.0, exponent - (mantissa < np.sqrt(0.5)))
        self._b = np.zeros((k - 1, len(means) + first))
        self._information = np.zeros((self._b.size, self._b.size))
        self._loglik, self._sum_weights, self._class_weights, self.n_missing_ = 0.0, 0.0, np.zeros(k), 0

    def _fit_by(self, data: Any, moments: Any, classes: Any, names: list[str]) -> None:
        """Fits to rows that others read: data(b) gives log-likelihood, gradient and information, moments those of the
        features and, behind them, of indicators of the classes but the first."""
        k, p = len(classes), len(names)
        if k < 2:
            raise ValueError(f"labels of at least two classes are needed; the data have only one class: {classes}")
        if moments.n_rows == 0:
            raise ValueError("no complete row of a weight above 0")
        self.classes_ = np.asarray(classes)
        self.n_features_in_, self.feature_names_in_ = p, np.asarray(names, dtype=object)
        self._start(moments.means[:p], np.diag(moments.covariance(0))[:p])
        others = moments.sum_weights * moments.means[p:]
        weights = np.concatenate([[max(0.0, moments.sum_weights - others.sum())], others])
        self._maximise(data, moments.sum_weights, weights, moments.n_missing)

    def _maximise(self, data: Any, sum_weights: float, class_weights: Any, missing: int) -> None:
        """Newton's method with step halving, from the estimates of before."""
        start, prior = self._b.copy(), self._information.copy()

        def objective(b: Any) -> tuple[float, float, Any, Any]:
            loglik, gradient, information = data(b)
            away = (b - start).ravel()
            pull = _times(prior, away)
            return loglik - 0.5 * float(_times(away, pull)), loglik, gradient - pull, information + prior

        b = start.copy()
        value, loglik, gradient, information = objective(b)
        self.converged_ = False
        for step in range(1, self.max_iter + 1):
            self.n_iter_ = step
            matrix = _core.SymMatrix(information, check=False)
            change = matrix.solve(gradient, tolerance=self.tolerance).reshape(b.shape)
            promise = float(_times(change.ravel(), gradient))
            for _ in range(30):
                tried = objective(b + change)
                if tried[0] >= value - 1e-14 * abs(value):
                    break
                change = change / 2.0
            else:
                break
            gain = tried[0] - value
            b = b + change
            value, loglik, gradient, information = tried
            if abs(gain) <= self.tol * (abs(value) + 1e-3) and promise <= self.tol * (abs(value) + 1e-3):
                self.converged_ = True
                break
        if not self.converged_ or loglik > -1e-9 * sum_weights:
            self.converged_ = False
            warnings.warn(
                "the likelihood has no maximum within reach: the classes may be separated",
                ConvergenceWarning,
                stacklevel=4,
            )
        self._b, self._information = b, information
        self._started = True
        self._loglik += loglik
        self._sum_weights += sum_weights
        self._class_weights = self._class_weights + class_weights
        self.n_missing_ += missing
        self._describe()

    def _between(self, shift: Any, scale: Any, new_shift: Any, new_scale: Any) -> Any:
        """The matrix that turns one class's coefficients of (x - shift)/scale into those of (x - new_shift)/new_scale."""
        first = 1 if self.fit_intercept else 0
        turn = np.eye(len(scale) + first)
        turn[first:, first:] = np.diag(new_scale / scale)
        if first:
            turn[0, 1:] = (new_shift - shift) / scale
        return turn

    def _in_coordinates(self, shift: Any, scale: Any) -> tuple[Any, Any]:
        """Coefficients and information as they are for other shifts and scales."""
        there = self._between(self._shift, self._scale, shift, scale)
        back = self._between(shift, scale, self._shift, self._scale)
        k = len(self.classes_) - 1
        block = np.kron(np.eye(k), back)
        return _times(self._b, there.T).ravel(), _times(_times(block.T, self._information), block)

    def _describe(self) -> None:
        k = len(self.classes_) - 1
        first = 1 if self.fit_intercept else 0
        turn = self._between(self._shift, self._scale, np.zeros_like(self._shift), np.ones_like(self._scale))
        raw = _times(self._b, turn.T)
        self.coef_ = raw[:, first:]
        self.intercept_ = raw[:, 0] if first else np.zeros(k)
        swept = _core.SymMatrix(self._information, check=False)
        swept.sweep(tolerance=self.tolerance)
        kept = np.asarray(swept.swept, dtype=int)
        inverse = np.zeros_like(self._information)
        inverse[np.ix_(kept, kept)] = -swept.to_numpy()[np.ix_(kept, kept)]
        block = np.kron(np.eye(k), turn)
        self.cov_params_ = _times(_times(block, inverse), block.T)
        self.aliased_ = np.ones(self._b.size, dtype=bool)
        self.aliased_[kept] = False
        self.params_ = raw.ravel().copy()
        self.params_[self.aliased_] = np.nan
        with np.errstate(invalid="ignore", divide="ignore"):
            self.std_errors_ = np.where(self.aliased_, np.nan, np.sqrt(np.diag(self.cov_params_)))
            self.statistics_ = np.where(self.std_errors_ > 0.0, self.params_ / self.std_errors_, np.nan)
        self.p_values_ = 2.0 * stats.norm_cdf(-np.abs(self.statistics_))
        self.log_likelihood_ = self._loglik
        shares = self._class_weights[self._class_weights > 0.0]
        even = -float(self._sum_weights * stats.log(k + 1))
        self.null_log_likelihood_ = float((shares * stats.log(shares / shares.sum())).sum()) if first else even
        self.n_cases_ = self._sum_weights

    def _labels(self) -> list[str]:
        terms = self._terms()
        return (
            terms if len(self.classes_) == 2 else [f"{label}: {name}" for label in self.classes_[1:] for name in terms]
        )

    def _quantile(self, level: float) -> float:
        return float(stats.norm_quantile(0.5 + 0.5 * level))

    def _more(self) -> list[tuple[str, str]]:
        ratio = 2.0 * (self.log_likelihood_ - self.null_log_likelihood_)
        df = float((~self.aliased_).sum() - (len(self.classes_) - 1) * (1 if self.fit_intercept else 0))
        return [
            ("Cases used", number(self.n_cases_)),
            ("Rows left out", str(self.n_missing_)),
            ("Log-likelihood", number(self.log_likelihood_)),
            ("Without predictors", number(self.null_log_likelihood_)),
            ("Chi-square", number(ratio)),
            ("df", number(df)),
            ("Significance", number(stats.chi2_sf(max(ratio, 0.0), df))),
            ("Steps", str(self.n_iter_)),
        ]

    def _notes(self) -> list[str]:
        reference = f"The reference class is {self.classes_[0]}."
        return [reference] if self.converged_ else [reference, "The iteration did not converge."]
