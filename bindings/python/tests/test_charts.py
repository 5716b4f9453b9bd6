"""Gains, ROC, charts and documents."""

import pickle
import xml.etree.ElementTree as xml

import numpy as np
import pytest
from modelcore import gains, roc, statxml
from modelcore.charts import BarChart, Histogram, ScatterGrid

RNG = np.random.default_rng(5)


def test_roc_is_the_share_of_pairs_in_order():
    y, score, w = RNG.integers(0, 2, 60), RNG.integers(0, 9, 60) / 4, RNG.random(60)
    r = roc(y, score, w)
    pairs = [
        (w[i] * w[j], np.sign(score[i] - score[j]) / 2 + 0.5) for i in np.flatnonzero(y) for j in np.flatnonzero(1 - y)
    ]
    assert r["auc"] == pytest.approx(sum(a * b for a, b in pairs) / sum(a for a, _ in pairs), rel=1e-12)
    assert np.trapezoid(r["tpr"], r["fpr"]) == pytest.approx(r["auc"], rel=1e-12)
    assert len(r["thresholds"]) == len(set(score)) + 1 and r["tpr"][-1] == r["fpr"][-1] == 1.0
    assert np.isnan(roc([1, 1], [0.1, 0.2])["auc"])
    with pytest.raises(ValueError):
        roc([0, 2], [0.1, 0.2])


def test_gains_tables():
    score = RNG.permutation(40) / 40.0
    y = (score > 0.7).astype(float)
    g = gains(y, score, segments=4)
    assert g["cumulative_count"].tolist() == [10, 20, 30, 40] and g["segment_sum"].sum() == y.sum()
    assert (
        g["gain"][-1] == 1.0
        and g["lift"][0] == pytest.approx(10 / y.sum() * 4)
        and g["min_score"][0] == np.sort(score)[-10]
    )
    numbers = gains(score * 3, score, segments=4, binary=False)
    np.testing.assert_allclose(numbers["segment_sum"].sum(), 3 * score.sum())
    assert len(gains(np.tile(y, 5), np.tile(score, 5))["gain"]) == 11  # with the top segment
    for wrong in (lambda: gains(y, score[1:]), lambda: gains(y * 2, score), lambda: gains(y, score, segments=0)):
        with pytest.raises(ValueError):
            wrong()


def test_chart_data_merge_and_become_documents():
    x = np.append(RNG.normal(size=500), np.nan)
    h = Histogram(-2, 2, 8).update(x[:200]).merge(Histogram(-2, 2, 8).update(x[200:]))
    expected, _ = np.histogram(np.clip(x[:-1], -2, np.nextafter(2, 0)), np.linspace(-2, 2, 9))
    assert h.frequencies.tolist() == expected.tolist()
    np.testing.assert_allclose([h.mean, h.std], [np.nanmean(x), np.nanstd(x, ddof=1)])
    assert pickle.loads(pickle.dumps(h)).weights.tolist() == h.weights.tolist()
    assert xml.fromstring(h.to_statxml("score").to_string()).tag == "BivariateData"
    s = ScatterGrid((0, 1), (0, 1), 2, 2).update([[0.1, 0.1], [0.9, 0.2], [np.nan, 1]])
    assert s.frequencies.tolist() == [1, 0, 1, 0] and s.mean_x[2] == 0.9
    assert BarChart(["a", "b"]).update([0, 1, 1], frequency=[1, 2, 3]).frequencies.tolist() == [1, 5]
    for wrong in (
        lambda: Histogram(1, 1),
        lambda: h.merge(Histogram(0, 1)),
        lambda: BarChart(["a"]).update([1]),
        lambda: ScatterGrid((0, 1), (1, 0)),
        lambda: s.update([1.0]),
    ):
        with pytest.raises(ValueError):
            wrong()


def test_documents_own_what_is_added():
    part = statxml.structured_data("fit & co")
    inner = statxml.element("Inner")
    root = statxml.root().append(part.append(inner).append(statxml.statistic("r", float("nan"))))
    del part, root
    inner.append(statxml.matrix([[1.0, 2.0], [2.0, 3.0]], ["a", "b"], ["a", "b"], "covariance", symmetric=True))
    tree = xml.fromstring(inner.to_string())
    assert "".join(tree.itertext()).split()[-3:] == ["1", "2", "3"]
    top = statxml.root()
    for wrong in (lambda: top.append(inner), lambda: top.append(top)):
        with pytest.raises(ValueError):
            wrong()
    document = (
        top.append(statxml.counts(5))
        .append(statxml.coordinates("observed", [1.0, np.nan], "x"))
        .append(statxml.array(["a b", 'c"']))
        .append(statxml.parameter("x1", covariates=["x1"]))
        .to_string(format=False)
    )
    assert "__MISSING__" in document and xml.fromstring(document) is not None
