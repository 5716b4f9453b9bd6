#!/usr/bin/env python3
"""Times scikit-learn and pandas on the data that EncodersBench encodes: ten million cells, one thread.

Usage: encoders_peers.py [PATH OF EncodersBench]

With the program's path it is run first, so that all times are of one run. Needs numpy, scikit-learn and pandas.
"""
import os
import subprocess
import sys
import time

for name in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[name] = "1"

import numpy as np
import pandas as pd
import sklearn
from sklearn.preprocessing import KBinsDiscretizer, OneHotEncoder, StandardScaler

CELLS, CATEGORIES, BINS, BLOCK = 10_000_000, 50, 20, 1000


def timed(operation, contender, run, repetitions=3):
    """The median of the process's own time."""
    times = []
    for _ in range(repetitions):
        start = time.process_time()
        run()
        times.append(time.process_time() - start)
    print(f"{operation:36} {contender:32} {sorted(times)[len(times) // 2] * 1000:10.1f} ms", flush=True)


def main():
    if len(sys.argv) > 1:
        subprocess.run(sys.argv[1:2], check=True)
    random = np.random.default_rng(1)
    codes = np.floor(random.uniform(0, CATEGORIES, CELLS)) * 7.0
    reals = random.exponential(size=CELLS)
    column, frame = codes.reshape(-1, 1), pd.Series(codes)
    print(f"scikit-learn {sklearn.__version__}, pandas {pd.__version__}, numpy {np.__version__}")

    sparse = OneHotEncoder().fit(column)
    dense = OneHotEncoder(sparse_output=False).fit(column)
    timed("one-hot, 50 categories", "scikit-learn, sparse", lambda: sparse.transform(column))
    timed("one-hot, 50 categories", "scikit-learn, dense, by 100,000",
          lambda: [dense.transform(column[i:i + 100_000]) for i in range(0, CELLS, 100_000)])
    timed("one-hot, 50 categories", "pandas.get_dummies, bytes", lambda: pd.get_dummies(frame))
    timed("category numbers", "pandas.Categorical codes", lambda: frame.astype("category").cat.codes)

    bins = KBinsDiscretizer(BINS, encode="ordinal", strategy="quantile", subsample=None)
    timed("learn 20 quantile bins and encode", "scikit-learn", lambda: bins.fit_transform(reals.reshape(-1, 1)))
    timed("learn 20 quantile bins and encode", "pandas.qcut", lambda: pd.qcut(reals, BINS, labels=False))
    timed("encode 20 bins", "scikit-learn", lambda: bins.transform(reals.reshape(-1, 1)))
    scaler = StandardScaler().fit(reals.reshape(-1, 1))
    timed("z-score", "scikit-learn", lambda: scaler.transform(reals.reshape(-1, 1)))


if __name__ == "__main__":
    main()
