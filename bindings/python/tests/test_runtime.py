"""Threads, Ctrl-C, progress, memory, the tutorial."""

import _thread
import concurrent.futures
import gc
import importlib
import json
import os
import pathlib
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import modelcore
from modelcore import CrossProducts, Summary, stats
from modelcore.random import Generator

ROOT = pathlib.Path(__file__).parents[3]
ROWS = np.random.default_rng(1).normal(size=(200_000, 8))


def test_eight_threads_with_objects_of_their_own():
    def work(seed):
        g = Generator(seed)
        x = CrossProducts().update(ROWS).update(g.normal(size=(20_000, 8)))
        return (
            x.to_json(),
            stats.t_cdf(ROWS[:3000, 0], 4.5).tobytes(),
            Summary(quantiles=True).update(ROWS[:20000]).to_json(),
        )

    alone = [work(seed) for seed in range(8)]
    with concurrent.futures.ThreadPoolExecutor(8) as pool:
        assert list(pool.map(work, range(8))) == alone


def test_two_threads_on_one_object_get_an_error_or_both_updates():
    x, errors = CrossProducts(), []

    def work():
        for _ in range(4):
            try:
                x.update(ROWS)
            except RuntimeError:
                errors.append(1)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert x.n_rows == (16 - len(errors)) * len(ROWS)


def test_other_threads_run_meanwhile():
    ticks, done = [], threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    start = time.perf_counter()
    while time.perf_counter() - start < 0.5:
        stats.noncentral_t_cdf(ROWS[:20_000, 0], 7.5, 1.5)
    done.set()
    thread.join()
    # Held, the interpreter would be let go between the calls alone.
    assert len(ticks) > 30


@pytest.mark.parametrize(
    "call",
    [
        lambda x: x.update(np.lib.stride_tricks.as_strided(ROWS, (200_000_000, 8), (0, 8))),
        lambda x: stats.noncentral_t_cdf(np.lib.stride_tricks.as_strided(ROWS, (10_000_000,), (0,)), 7.5, 1.5),
    ],
)
def test_ctrl_c_reaches_long_calls_and_nothing_changes(call):
    x = CrossProducts().update(ROWS[:10])
    before = x.to_json()
    timer = threading.Timer(0.3, _thread.interrupt_main)
    timer.start()
    start = time.process_time()
    with pytest.raises(KeyboardInterrupt):
        call(x)
    assert time.process_time() - start < 1.5  # nothing of the size of the rows comes before the first look
    assert x.to_json() == before


def test_progress_counts_every_row_and_its_errors_come_through():
    for make in (CrossProducts, modelcore.PairwiseProducts, Summary):
        calls = []
        make().update(ROWS, progress=calls.append)
        assert sum(calls) == len(ROWS)
        x = make()

        def fail(count):
            raise LookupError("bar is gone")

        with pytest.raises(LookupError):
            x.update(ROWS, progress=fail)
        if make is CrossProducts:
            assert x.n_rows == 0


def resident():
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


@pytest.mark.skipif(not os.path.exists("/proc/self/statm"), reason="memory is read from /proc")
def test_nothing_leaks_over_1e5_updates():
    pl = pytest.importorskip("polars")
    rows, frame = ROWS[:3], pl.DataFrame(ROWS[:3])
    x, s = CrossProducts(), Summary()

    def work(count):
        for _ in range(count):
            x.update(rows)
            stats.norm_cdf(rows)
        for _ in range(count // 20):
            s.update(frame)
            x.means, x.products(), x.copy(), CrossProducts.from_json(x.to_json())
            with pytest.raises(ValueError):
                x.update(rows[:, :2])
        gc.collect()

    work(2_000)
    before = resident()
    work(100_000)
    assert resident() - before < 4_000_000  # 40 bytes an update


def test_the_tutorial_runs_and_prints_what_its_page_shows():
    here = pathlib.Path(__file__).parents[1]
    out = subprocess.run(
        [sys.executable, here / "tools" / "tutorial.py", here / "tutorial.ipynb"],
        capture_output=True,
        text=True,
        check=True,
    )
    assert out.stdout == (ROOT / "docs" / "python-tutorial.md").read_text()
    assert json.loads((here / "tutorial.ipynb").read_text())["nbformat"] == 4


def test_the_guide_and_the_readme_run():
    for page in (ROOT / "docs" / "python.md", ROOT / "README.md"):
        names = {}
        blocks = page.read_text().split("```python\n")[1:]
        assert blocks
        for block in blocks:
            exec(block.split("```")[0], names)


def test_the_package_stands_without_scikit_learn():
    code = """
import sys
sys.modules['sklearn'] = None
import numpy as np, modelcore
assert 'pandas' not in sys.modules
x = np.arange(12.0).reshape(6, 2) ** 1.5
m = modelcore.LinearRegression().fit(x, x @ [1, 2])
assert abs(m.score(x, x @ [1, 2]) - 1) < 1e-12 and m.get_params()['solver'] == 'auto'
modelcore.LogisticRegression(max_iter=3).fit(np.tile(x, (3, 1)), np.arange(18) % 3 == 0).predict(x)
modelcore.encoders.BinningEncoder(bins=2).fit_transform(x)
"""
    subprocess.run([sys.executable, "-W", "ignore", "-c", code], check=True)


def test_fits_and_predictions_have_the_same_bits_on_other_processors():
    # What NumPy and its BLAS do where there are fewer instructions is what they do on an older processor.
    code = """
import hashlib
import numpy as np, pandas as pd
from modelcore import LinearRegression, LogisticRegression, distributed
import modelcore as mc

def show(*results):
    print(hashlib.sha256(b"".join(np.asarray(x, float).tobytes() for x in results)).hexdigest())

rng = np.random.default_rng(5)
X = rng.normal(size=(901, 9)) * [1, 7, 1e3, 0.1, 3, 1, 1e-4, 2, 1] + 4.0
y = np.round(X.sum(axis=1) + rng.normal(size=901), 3)
w = rng.uniform(size=901)
for settings in ({}, {"solver": "sweep"}, {"solver": "qr"}, {"exact": True}, {"fit_intercept": False}):
    m = LinearRegression(**settings).fit(X, y, w)
    show(m.params_, m.cov_params_, m.statistics_, m.p_values_, m.r2_, m.predict(X))
for k in (2, 4):
    labels = np.minimum(np.abs(np.round(X[:, 0] - 4.0 + rng.normal(size=901))), k - 1)
    m = LogisticRegression().fit(X[:500], labels[:500], w[:500])
    m.merge(LogisticRegression().fit(X[500:], labels[500:], w[500:]))
    show(m.params_, m.cov_params_, m.p_values_, m.log_likelihood_, m.null_log_likelihood_)
    show(m.decision_function(X), m.predict_log_proba(X), m.predict_proba(X))
names = list("abcdefghi")
frame = pd.DataFrame(X, columns=names).assign(hit=X[:, 0] + rng.normal(size=901) > 4.0)
judged = distributed.evaluate(frame, "hit", distributed.fit_logistic(frame, "hit", names))
show(judged.auc, judged.brier, judged.log_loss)
show(mc.stats.exp(X), mc.stats.expm1(X), mc.stats.log(X * X), mc.stats.log1p(X * X))
"""
    features = " ".join(importlib.import_module("numpy._core._multiarray_umath").__cpu_dispatch__)
    older = {"OPENBLAS_CORETYPE": "Nehalem", "NPY_DISABLE_CPU_FEATURES": features}
    printed = [
        subprocess.run([sys.executable, "-W", "ignore", "-c", code], capture_output=True, check=True, env=env).stdout
        for env in (os.environ, {**os.environ, **older})
    ]
    assert len(printed[0].split()) == 11
    assert printed[0] == printed[1]
