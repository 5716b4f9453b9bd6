"""Estimators beside closed forms, certified values and the peers."""

import pathlib
import pickle
import warnings
import xml.etree.ElementTree as xml

import numpy as np
import pandas as pd
import pytest

sklearn = pytest.importorskip("sklearn")
from sklearn.base import clone  # noqa: E402
from sklearn.datasets import make_classification  # noqa: E402
from sklearn.utils.estimator_checks import check_estimator  # noqa: E402

from modelcore import LinearRegression, LogisticRegression, encoders  # noqa: E402

RNG = np.random.default_rng(11)
X = RNG.normal(size=(400, 4)) * [1, 5, 0.2, 30] + [0, 100, 1, -1000]
Y = X @ [1.0, -0.5, 3.0, 0.01] + 7 + RNG.normal(size=400)
W = RNG.random(400) + 0.1

ESTIMATORS = [
    LinearRegression(),
    LinearRegression(fit_intercept=False),
    LogisticRegression(),
    encoders.ContinuousEncoder(),
    encoders.RoundingEncoder(),
    encoders.BinningEncoder(),
    encoders.CategoricalEncoder(unseen="baseline"),
]


@pytest.mark.parametrize("estimator", ESTIMATORS, ids=repr)
def test_scikit_learns_own_checks(estimator):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        check_estimator(estimator)


def plain_fit(x, y, w=None, intercept=True):
    """Coefficients and covariance by numpy's own decomposition."""
    a = np.column_stack([np.ones(len(x)), x]) if intercept else x
    root = np.sqrt(np.ones(len(x)) if w is None else w)
    q, r = np.linalg.qr(a * root[:, None])
    b = np.linalg.solve(r, q.T @ (y * root))
    rest = (y - a @ b) * root
    return b, np.linalg.inv(r.T @ r) * (rest @ rest) / (len(x) - a.shape[1]), rest @ rest


@pytest.mark.parametrize("weights", [None, W])
@pytest.mark.parametrize("intercept", [True, False])
@pytest.mark.parametrize("solver", ["auto", "sweep", "qr"])
def test_least_squares(weights, intercept, solver):
    m = LinearRegression(fit_intercept=intercept, solver=solver).fit(X, Y, weights)
    b, covariance, rss = plain_fit(X, Y, weights, intercept)
    np.testing.assert_allclose(m.params_, b, rtol=1e-9, atol=1e-9)
    np.testing.assert_allclose(m.cov_params_, covariance, rtol=1e-6, atol=1e-12)
    np.testing.assert_allclose(m.sigma_**2 * m.df_resid_, rss, rtol=1e-10)
    pieces = LinearRegression(fit_intercept=intercept, solver=solver)
    for part in np.array_split(np.arange(400), 7):
        pieces.partial_fit(X[part], Y[part], None if weights is None else weights[part])
    np.testing.assert_allclose(pieces.params_, b, rtol=1e-7, atol=1e-7)
    one, two = clone(m).fit(X[:150], Y[:150]), clone(m).fit(X[150:], Y[150:])
    np.testing.assert_allclose(one.merge(two).params_, clone(m).fit(X, Y).params_, rtol=1e-7, atol=1e-7)
    for same in (pickle.loads(pickle.dumps(pieces)), LinearRegression.from_json(pieces.to_json())):
        same.partial_fit(X[:9], Y[:9])
        np.testing.assert_array_equal(
            same.params_, pickle.loads(pickle.dumps(pieces)).partial_fit(X[:9], Y[:9]).params_
        )


def test_longley_to_the_certified_digits():
    data = pd.read_csv(pathlib.Path(__file__).parents[3] / "examples" / "data" / "longley.csv")
    m = LinearRegression().fit(data[["GNPDEFL", "GNP", "UNEMP", "ARMED", "POP", "YEAR"]], data["TOTEMP"])
    certified = [
        -3482258.63459582,
        15.0618722713733,
        -0.0358191792925910,
        -2.02022980381683,
        -1.03322686717359,
        -0.0511041056535807,
        1829.15146461355,
    ]
    errors = [
        890420.383607373,
        84.9149257747669,
        0.0334910077722432,
        0.488399681651699,
        0.214274163161675,
        0.226073200069370,
        455.478499142212,
    ]
    np.testing.assert_allclose(m.params_, certified, rtol=2e-14)
    np.testing.assert_allclose(m.std_errors_, errors, rtol=1e-11)
    assert "GNPDEFL" in str(m.summary()) and "<table>" in m._repr_html_()


def filip():
    """NIST's Filip: a polynomial of degree 10, whose powers are as good as dependent."""
    rows = np.loadtxt(pathlib.Path(__file__).parent / "filip.txt")
    return np.power.outer(rows[:, 1], np.arange(1, 11)), rows[:, 0]


def test_filip_where_the_cross_products_have_no_digits():
    x, y = filip()
    m = LinearRegression().fit(x, y)
    assert m.rank_ == 10
    np.testing.assert_allclose(
        m.params_[[0, 1, 10]], [-1467.48961422980, -2772.17959193342, -0.402962525080404e-04], rtol=1e-6
    )
    assert m.sigma_ == pytest.approx(0.334801051324544e-02, rel=1e-7)
    np.testing.assert_allclose(m.std_errors_[[0, 10]], [298.084530995537, 0.896632837373868e-05], rtol=1e-6)


def test_aliased_terms_missing_rows_and_degrees_of_freedom():
    x = np.column_stack([X, X[:, 0] + 2 * X[:, 1], np.ones(400)])
    for solver in ("auto", "sweep", "qr"):
        m = LinearRegression(solver=solver).fit(x, Y)
        assert m.aliased_.tolist() == [False] * 5 + [True] * 2 and m.rank_ == 4 and m.df_resid_ == 395
        np.testing.assert_allclose(m.params_[:5], plain_fit(X, Y)[0], rtol=1e-7)
        np.testing.assert_allclose(m.predict(x), LinearRegression().fit(X, Y).predict(X), rtol=1e-9)
    assert "aliased" in str(m.summary())
    holes, weights = X.copy(), W.copy()
    holes[3, 1], weights[5] = np.nan, np.nan
    m = LinearRegression().fit(holes, Y, weights)
    kept = np.delete(np.arange(400), [3, 5])
    np.testing.assert_allclose(m.params_, plain_fit(X[kept], Y[kept], W[kept])[0], rtol=1e-9)
    assert m.n_missing_ == 2 and np.isnan(m.predict(holes)).tolist().index(True) == 3
    twice = LinearRegression(weights="frequency").fit(X, Y, np.full(400, 2.0))
    assert twice.df_resid_ == 795 and twice.n_cases_ == 800
    np.testing.assert_allclose(
        twice.std_errors_, LinearRegression().fit(np.vstack([X, X]), np.append(Y, Y)).std_errors_, rtol=1e-9
    )
    few = LinearRegression().fit(X[:3], Y[:3])
    assert few.df_resid_ <= 0 and np.isnan(few.std_errors_).all()


@pytest.mark.parametrize("classes", [2, 3])
def test_logistic_models(classes):
    x, y = make_classification(3000, 5, n_informative=4, n_redundant=0, n_classes=classes, random_state=2)
    m = LogisticRegression().fit(x, y)
    peer = pytest.importorskip("statsmodels.api")
    fit = peer.MNLogit(y, peer.add_constant(x)).fit(disp=0, method="newton", tol=1e-12)
    np.testing.assert_allclose(m.params_, np.asarray(fit.params).T.ravel(), rtol=1e-7)
    np.testing.assert_allclose(m.std_errors_, np.asarray(fit.bse).T.ravel(), rtol=1e-7)
    assert m.log_likelihood_ == pytest.approx(fit.llf, rel=1e-12)
    assert m.null_log_likelihood_ == pytest.approx(fit.llnull, rel=1e-9)
    np.testing.assert_allclose(m.predict_proba(x).sum(axis=1), 1.0, rtol=1e-14)
    pieces = LogisticRegression()
    for part in np.array_split(np.arange(3000), 3):
        pieces.partial_fit(x[part], y[part], classes=np.unique(y))
    merged = clone(m).fit(x[:1500], y[:1500]).merge(clone(m).fit(x[1500:], y[1500:]))
    for other in (pieces, merged):  # the same to a fraction of a standard error
        assert (np.abs(other.params_ - m.params_) < 0.25 * m.std_errors_).all()
        np.testing.assert_allclose(other.std_errors_, m.std_errors_, rtol=0.05)
    far = LogisticRegression().fit(x * 1e-3 + 1e3, y)
    np.testing.assert_allclose(far.coef_ * 1e-3, m.coef_, rtol=1e-6)
    assert "<table>" in m._repr_html_()


def test_separated_classes_are_said_to_be():
    with pytest.warns(UserWarning, match="separated"):
        m = LogisticRegression().fit(np.arange(20.0)[:, None], np.arange(20) > 9)
    assert not m.converged_


def test_encoders_learn_merge_and_come_back():
    frame = pd.DataFrame({"city": ["b", "a", None, "c", "b"], "kind": ["x", "x", "y", "y", "z"]})
    e = encoders.CategoricalEncoder(coding="dummy", missing="own_category", unseen="refused").fit(frame)
    assert e.get_feature_names_out().tolist()[0].startswith("city=") and e.levels_[1] == ["x", "y", "z", None]
    rows = e.transform(frame)
    assert e.inverse_transform(rows)[:, 0].tolist() == ["b", "a", None, "c", "b"]
    parts = (
        encoders.CategoricalEncoder(coding="dummy", missing="own_category")
        .fit(frame[:2])
        .merge(encoders.CategoricalEncoder(coding="dummy", missing="own_category").fit(frame[2:]))
    )
    for same in (parts, pickle.loads(pickle.dumps(e)), encoders.CategoricalEncoder.from_json(e.to_json())):
        np.testing.assert_array_equal(same.transform(frame), rows)
    assert np.isnan(e.transform(pd.DataFrame({"city": ["new"], "kind": ["x"]}))).any()
    with pytest.raises(ValueError, match="city"):
        e.set_params(errors="raise").transform(pd.DataFrame({"city": ["new"], "kind": ["x"]}))
    x = RNG.normal(size=(1000, 2))
    z = encoders.ContinuousEncoder().fit(x).transform(x)
    np.testing.assert_allclose([z.mean(), z.std(axis=0, ddof=1).mean()], [0, 1], atol=1e-12)
    bins = encoders.BinningEncoder(bins=4).fit(x)
    assert np.bincount(bins.transform(x)[:, 0].astype(int)).tolist() == [250] * 4 and len(bins.cuts_[0]) == 3
    assert encoders.BinningEncoder(cuts=[0.0]).fit(x).transform([[-1, 1], [0, np.nan]])[:, 0].tolist() == [0, 0]
    means = encoders.NumericCategoryEncoder(method="target_mean").fit(frame[["kind"]], [1, 3, 5, 7, 9])
    assert means.transform(frame[["kind"]])[:, 0].tolist() == [2, 2, 6, 6, 9]
    assert encoders.RoundingEncoder(digits=1).fit(x).transform([[0.25, 0.75]]).tolist() == [[0.2, 0.8]]
    text = encoders.StringEncoder(case="lower").fit(np.array([[" A"], ["a "], ["B"]], object))
    assert text.levels_ == [["a", "b"]]
    for wrong in (
        encoders.BinningEncoder(bins=0),
        encoders.BinningEncoder(method="x"),
        encoders.CategoricalEncoder(coding="x"),
        encoders.ContinuousEncoder(limits=(2, 1)),
        encoders.CategoricalEncoder(missing="x"),
    ):
        with pytest.raises(ValueError):
            wrong.fit(x)


def pmml_scores(document, x, names):
    """What the tables of a document say for each row, by name of the category or "" for a number."""
    space = {"p": "http://www.dmg.org/PMML-4_4"}
    model = xml.fromstring(document).find("p:RegressionModel", space)
    scores = {}
    for table in model.findall("p:RegressionTable", space):
        score = np.full(len(x), float(table.get("intercept")))
        for term in table.findall("p:NumericPredictor", space):
            score = score + float(term.get("coefficient")) * x[:, names.index(term.get("name"))]
        scores[table.get("targetCategory") or ""] = score
    return scores, model.get("normalizationMethod")


def test_pmml_documents_say_what_the_models_predict():
    names = ["a", "b", "c", "d"]
    frame = pd.DataFrame(X, columns=names)
    m = LinearRegression().fit(frame, Y)
    scores, _ = pmml_scores(m.to_pmml(), X, names)
    np.testing.assert_allclose(scores[""], m.predict(frame), rtol=1e-13)
    for labels in (np.where(Y > np.median(Y), "high", "low"), np.digitize(Y, np.quantile(Y, [0.3, 0.7]))):
        m = LogisticRegression().fit(frame, labels)
        scores, rule = pmml_scores(m.to_pmml(target="label"), X, names)
        assert rule == "softmax" and list(scores) == [str(label) for label in m.classes_]
        weights = np.exp(np.stack(list(scores.values()), axis=1))
        np.testing.assert_allclose(weights / weights.sum(axis=1, keepdims=True), m.predict_proba(frame), rtol=1e-9)
    with pytest.raises(ValueError):
        LinearRegression().fit(frame, Y).to_pmml(target="a")
