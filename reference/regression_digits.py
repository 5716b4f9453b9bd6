#!/usr/bin/env python3
"""Least correct digits of certified regressions and univariate sets: linreg beside R, statsmodels and LAPACK.

Usage: regression_digits.py PATH OF linreg

Prints the tables of docs/exact.md. Needs numpy, scipy and statsmodels, and Rscript in the path. The data are those of
tests/data/strd and examples/data/longley.csv; NumAcc1 to NumAcc4 are written down here as they are defined.
"""
import csv
import json
import math
import subprocess
import sys
import tempfile
import warnings
from pathlib import Path

import numpy as np
import scipy
import statsmodels
import statsmodels.api as sm

ROOT = Path(__file__).resolve().parent.parent
STRD = ROOT / "tests/data/strd"

# Name, degree of the polynomial in x, whether there is an intercept.
REGRESSIONS = [("Norris", 1, True), ("Pontius", 2, True), ("NoInt1", 1, False), ("NoInt2", 1, False),
               ("Filip", 10, True), ("Longley", 0, True), ("Wampler1", 5, True), ("Wampler2", 5, True),
               ("Wampler3", 5, True), ("Wampler4", 5, True), ("Wampler5", 5, True)]
UNIVARIATE = {"NumAcc1": ("10000001 10000003 10000002".split(), 10000002, 1),
              "NumAcc2": (["1.2"] + ["1.1", "1.3"] * 500, 1.2, 0.1),
              "NumAcc3": (["1000000.2"] + ["1000000.1", "1000000.3"] * 500, 1000000.2, 0.1),
              "NumAcc4": (["10000000.2"] + ["10000000.1", "10000000.3"] * 500, 10000000.2, 0.1)}


def digits(values, certified):
    """Of the worst value: -log10 of the relative error, 0 to 15; of a certified 0 that of the error itself."""
    least = 15.0
    for value, right in zip(values, certified, strict=True):
        if value is None or not math.isfinite(value):
            return 0.0
        error = abs(value - right) / (abs(right) or 1.0)
        least = min(least, -math.log10(error) if error > 0 else 15.0)
    return max(0.0, least)


def linreg(path, program, model, intercept, *more):
    """Coefficients, standard errors and the standard error of the estimate."""
    if not model:
        arguments = ["--target", "TOTEMP"]
    elif intercept:
        arguments = ["--model", model]
    else:
        arguments = ["--target", "y", "--no-intercept"]
    text = subprocess.run([program, path, *arguments, *more, "--format", "json"], check=False,
                          capture_output=True, text=True)
    if text.returncode != 0:
        return [math.nan], [math.nan], math.nan
    return read(json.loads(text.stdout))


def read(fit):
    rows = fit["coefficients"]
    return ([row.get("estimate") for row in rows], [row.get("stdError") for row in rows],
            fit["model"].get("stdErrorOfEstimate"))


def lapack_qr(x, y):
    """Householder's QR, as dgeqrf and dormqr do it."""
    q, r = scipy.linalg.qr(x, mode="economic")
    b = scipy.linalg.solve_triangular(r, q.T @ y)
    inverse = scipy.linalg.solve_triangular(r, np.eye(len(b)))
    residual = y - x @ b
    return b, np.sqrt((inverse ** 2).sum(axis=1) * (residual @ residual) / (len(y) - len(b)))


def r_lm(path, degree, intercept):
    terms = " + ".join(f"I(x^{k})" for k in range(1, degree + 1)) or "GNPDEFL + GNP + UNEMP + ARMED + POP + YEAR"
    formula = f"{'y' if degree else 'TOTEMP'} ~ {terms}{'' if intercept else ' - 1'}"
    script = (f'd <- read.csv("{path}"); s <- summary(lm({formula}, d)); m <- s$coefficients;'
              'cat(sprintf("%.17g %.17g\\n", m[, 1], m[, 2]), sep = "")')
    out = subprocess.run(["Rscript", "-e", script], check=True, capture_output=True, text=True).stdout.split()
    values = [float(v) for v in out]
    return values[0::2], values[1::2]


def shown(fit, b, se):
    coefficients, errors = fit
    if len(coefficients) != len(b) or None in coefficients:
        return "drops a column"
    return f"{digits(coefficients, b):.1f} / {digits(errors, se):.1f}"


def main():
    program = sys.argv[1]
    warnings.simplefilter("ignore")  # that a matrix is nearly singular is the point of some sets
    certified = {}
    for row in csv.DictReader((STRD / "certified.csv").open()):
        certified.setdefault(row["dataset"], {})[row["quantity"]] = float(row["value"])
    version = subprocess.run(["Rscript", "-e", "cat(as.character(getRversion()))"], check=True, capture_output=True,
                             text=True).stdout
    print(f"R {version}, statsmodels {statsmodels.__version__}, scipy {scipy.__version__}, numpy {np.__version__}\n")
    print("| data set | parameters | linreg --exact | linreg, two readings | R lm | statsmodels OLS | LAPACK QR |")
    print("|---|---|---|---|---|---|---|")
    for name, degree, intercept in REGRESSIONS:
        path = ROOT / "examples/data/longley.csv" if degree == 0 else STRD / f"{name}.csv"
        data = np.genfromtxt(path, delimiter=",", names=True)
        y = data["y"] if degree else data["TOTEMP"]
        x = [data["x"] ** k for k in range(1, degree + 1)] or [data[c] for c in data.dtype.names if c != "TOTEMP"]
        x = np.column_stack(([np.ones(len(y))] if intercept else []) + x)
        known = certified[name]
        numbers = range(0 if intercept else 1, x.shape[1] + (0 if intercept else 1))
        b, se = [known[f"B{k}"] for k in numbers], [known[f"se_B{k}"] for k in numbers]
        model = "y ~ " + " + ".join(["x"] + [f"x^{k}" for k in range(2, degree + 1)]) if degree else ""
        ols = sm.OLS(y, x).fit()
        cells = [shown(linreg(path, program, model, intercept, "--exact")[:2], b, se),
                 shown(linreg(path, program, model, intercept)[:2], b, se),
                 shown(r_lm(path, degree, intercept), b, se),
                 shown((ols.params, ols.bse), b, se),
                 shown(lapack_qr(x, y), b, se)]
        print(f"| {name} | {len(b)} | {' | '.join(cells)} |")

    print("\n| data set | cases | linreg --exact | R | numpy |")
    print("|---|---|---|---|---|")
    sets = dict(UNIVARIATE)
    for name in ("Michelso", "Lew"):
        sets[name] = (STRD / f"{name}.csv").read_text().split()[1:], certified[name]["mean"], certified[name]["sd"]
    for name, (values, mean, deviation) in sets.items():
        with tempfile.NamedTemporaryFile("w", suffix=".csv") as file:
            file.write("y\n" + "\n".join(values) + "\n")
            file.flush()
            fit = linreg(file.name, program, "y ~ 1", True, "--exact")
            script = f'y <- read.csv("{file.name}")$y; cat(sprintf("%.17g %.17g", mean(y), sd(y)))'
            r = subprocess.run(["Rscript", "-e", script], check=True, capture_output=True, text=True).stdout.split()
        y = np.array([float(v) for v in values])
        cells = [f"{digits([m], [mean]):.1f} / {digits([s], [deviation]):.1f}"
                 for m, s in ((fit[0][0], fit[2]), (float(r[0]), float(r[1])), (y.mean(), y.std(ddof=1)))]
        print(f"| {name} | {len(values)} | {' | '.join(cells)} |")


if __name__ == "__main__":
    main()
