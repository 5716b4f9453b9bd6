"""Streams and variates."""

import pickle

import numpy as np
import pytest
from modelcore.random import Generator

MEAN, COVARIANCE = [1.0, -1.0], [[2.0, 0.5], [0.5, 1.0]]
DRAWS = {
    "random": lambda g, n: g.random(n),
    "uniform": lambda g, n: g.uniform(2, 3, n),
    "normal": lambda g, n: g.normal(5, 2, n),
    "exponential": lambda g, n: g.exponential(4, n),
    "gamma": lambda g, n: g.gamma(2.5, 0.5, n),
    "chi2": lambda g, n: g.chi2(3, n),
    "beta": lambda g, n: g.beta(2, 6, n),
    "binomial": lambda g, n: g.binomial(300, 0.3, n),
}
MOMENTS = {
    "random": (0.5, 1 / 12),
    "uniform": (2.5, 1 / 12),
    "normal": (5, 4),
    "exponential": (0.25, 1 / 16),
    "gamma": (5, 10),
    "chi2": (3, 6),
    "beta": (0.25, 12 / 64 / 9),
    "binomial": (90, 63),
}


def test_published_streams():
    # The first words of the authors' own program, for the seed 5489 and for their key.
    assert Generator(5489).words(3).tolist() == [3499211612, 581869302, 3890346734]
    key = Generator([0x123, 0x234, 0x345, 0x456])
    assert key.words(3).tolist() == [1067595299, 955945823, 477289528]
    assert Generator(5489).random() == (3499211612 + 0.5) / 2**32
    a, b = (int(w) for w in Generator(5489).words(2))
    assert Generator(5489, stream="twister53").random() == ((a >> 5) * 2**26 + (b >> 6)) / 2**53
    assert Generator(1, stream="congruential").random() == 397204094 / 2**31


@pytest.mark.parametrize("stream", ["twister", "twister53", "congruential"])
@pytest.mark.parametrize("name", DRAWS)
def test_moments_and_state(name, stream):
    g, n = Generator(17, stream=stream), 20000
    x = DRAWS[name](g, n)
    mean, variance = MOMENTS[name]
    assert abs(x.mean() - mean) < 5 * np.sqrt(variance / n)
    assert abs(x.var() / variance - 1) < 0.15
    copies = [g.copy(), pickle.loads(pickle.dumps(g))]
    singles = [DRAWS[name](g, None) for _ in range(6)]
    for copy in copies:
        np.testing.assert_array_equal(DRAWS[name](copy, (2, 3)).ravel(), singles)  # an array in C order, or one by one


def test_vectors_and_matrices():
    g = Generator(3)
    x = g.multivariate_normal(MEAN, COVARIANCE, 20000)
    np.testing.assert_allclose(x.mean(axis=0), MEAN, atol=0.05)
    np.testing.assert_allclose(np.cov(x.T), COVARIANCE, atol=0.08)
    w = g.wishart(7, COVARIANCE, 5000)
    np.testing.assert_allclose(w.mean(axis=0), 7 * np.array(COVARIANCE), rtol=0.05)
    assert g.multivariate_normal(MEAN, COVARIANCE).shape == (2,) and g.wishart(7, COVARIANCE).shape == (2, 2)


def test_refusals_draw_nothing():
    g = Generator(3)
    calls = [
        lambda: g.normal(0, -1),
        lambda: g.normal(0, -1, 10000),
        lambda: g.gamma(0),
        lambda: g.beta(1, -1),
        lambda: g.binomial(1.5, 0.5),
        lambda: g.binomial(3, 2),
        lambda: g.exponential(-1, 5),
        lambda: g.uniform(2, 1),
        lambda: g.wishart(0.5, COVARIANCE),
        lambda: g.multivariate_normal(MEAN, [[1, 2], [2, 1]]),
        lambda: g.multivariate_normal([0.0], COVARIANCE),
        lambda: g.multivariate_normal(MEAN, [[1, 2], [3, 4]]),
    ]
    for call in calls:
        with pytest.raises(ValueError):
            call()
        assert g.words_drawn == 0 and g.copy().random() == Generator(3).random()
    for seed, stream in (
        (-1, "twister"),
        (0.5, "twister"),
        (float("nan"), "twister53"),
        ([1], "twister53"),
        (1, "other"),
        ([], "twister"),
    ):
        with pytest.raises(ValueError):
            Generator(seed, stream=stream)
