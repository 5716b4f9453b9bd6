#!/usr/bin/env python3
"""Rows per second of the programs beside R, on a file of 1e6 rows and 10 columns that this makes.

Usage: benchmarks/programs_peers.py [ROWS] [TOOLS]     TOOLS: the folder tools of a release build (build/release/tools)

Peers: R's lm and glm, with data.table's fread (r-cran-data.table) and with read.csv, reading and fitting timed apart; the
file cut into lines and fields by Python's csv module, and its bytes alone. Everything runs REPEATS times on one thread; the
median of the processor time counts, of R user and system time, so that other work on the machine does not show.
"""
import csv
import os
import random
import resource
import statistics
import subprocess
import sys
import tempfile

REPEATS = 3
R = """
r <- commandArgs(TRUE)
d <- system.time(if (r[2] == "fread") x <- data.table::fread(r[1], nThread = 1, stringsAsFactors = TRUE)
                 else x <- read.csv(r[1], stringsAsFactors = TRUE))
m <- system.time(f <- lm(y ~ . - e, x))
g <- system.time(h <- glm(e ~ . - y, binomial, x))
cat(sum(d[1:2]), sum(m[1:2]), sum(g[1:2]), sprintf("%.10g %.10g", summary(f)$r.squared, h$deviance))
"""


def make(path, rows):
    rng = random.Random(1)
    with open(path, "w") as out:
        out.write("e,y,x1,x2,x3,x4,x5,x6,region,x7\n")
        for _ in range(rows):
            x = [rng.gauss(0, 1) for _ in range(7)]
            level = rng.randrange(5)
            eta = 0.5 * x[0] - 0.3 * x[1] + 0.2 * level - 1
            y = eta + rng.gauss(0, 1)
            row = [str(int(y > 0.3)), f"{y:.4f}"] + [f"{v:.4f}" for v in x[:6]]
            out.write(",".join(row + ["north east south west centre".split()[level], f"{x[6]:.4f}"]) + "\n")


def processor():
    return sum(sum(resource.getrusage(who)[:2]) for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN))


def timed(run):
    times = []
    for _ in range(REPEATS):
        start = processor()
        result = run()
        times.append(processor() - start)
    return statistics.median(times), result


def main():
    rows = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
    tools = sys.argv[2] if len(sys.argv) > 2 else "build/release/tools"
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "data.csv")
        make(path, rows)

        def program(*words):
            return lambda: subprocess.run([f"{tools}/{words[0]}/{words[0]}", path, *words[1:], "--format", "json"],
                                          check=True, capture_output=True, text=True).stdout

        def show(name, seconds):
            print(f"{name:44} {seconds:8.2f} s {rows / seconds / 1e6:8.2f} million rows/s", flush=True)

        for name, words in {
                "describe": ["describe"],
                "linreg, two readings": ["linreg", "--model", "y ~ . - e"],
                "linreg, --one-pass": ["linreg", "--model", "y ~ . - e", "--one-pass"],
                "logreg": ["logreg", "--model", "e ~ . - y"],
                "evaluate": ["evaluate", "--target", "e", "--score", "x1"],
        }.items():
            show(name, timed(program(*words))[0])
        show("bytes alone", timed(lambda: open(path, "rb").read())[0])
        show("fields alone (Python's csv)", timed(lambda: sum(1 for _ in csv.reader(open(path))))[0])
        for reader in ("fread", "read.csv"):
            try:
                out = [subprocess.run(["Rscript", "-e", R, path, reader], check=True, capture_output=True,
                                      text=True).stdout.split() for _ in range(REPEATS)]
            except (OSError, subprocess.CalledProcessError) as error:
                print(f"R with {reader}: not measured ({error})")
                continue
            read, fit, logit = (statistics.median(float(o[i]) for o in out) for i in range(3))
            show(f"R {reader}", read)
            show(f"R {reader} + lm", read + fit)
            show(f"R {reader} + glm", read + logit)


if __name__ == "__main__":
    main()
