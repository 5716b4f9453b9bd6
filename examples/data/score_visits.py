#!/usr/bin/env python3
"""Makes visits.csv: scores of doctor visits, for cases that the scoring model has not seen.

Usage: score_visits.py randhie.csv path/to/linreg >visits.csv

Blocks of 100 rows of the survey (so that the years of a person stay together) go to a training half and to an
evaluation half in turn. linreg explains "five or more visits in the year", as 0 and 1, by all other columns of the
training half; its coefficients score the evaluation half.
"""
import csv
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

data, linreg = sys.argv[1:]
with open(data, newline="") as file:
    rows = list(csv.DictReader(file))
predictors = [name for name in rows[0] if name != "mdvis"]
training = [row for i, row in enumerate(rows) if i // 100 % 2 == 0]
evaluation = [row for i, row in enumerate(rows) if i // 100 % 2 == 1]


def frequent(row):
    return int(int(row["mdvis"]) >= 5)


with tempfile.TemporaryDirectory() as folder:
    with open(folder + "/training.csv", "w") as file:
        print("frequent", *predictors, sep=",", file=file)
        for row in training:
            print(frequent(row), *(row[name] for name in predictors), sep=",", file=file)
    subprocess.run([linreg, folder + "/training.csv", "--target", "frequent", "--quiet", "--xml", folder + "/fit.xml"],
                   check=True)
    tree = ElementTree.parse(folder + "/fit.xml")

coefficients = {}
for block in tree.getroot():
    parameter = next((child for child in block if child.tag.endswith("RegressionParameter")), None)
    for child in block:
        if parameter is not None and child.get("name") == "estimate":
            coefficients[parameter.get("name")] = float(child.get("value"))
intercept = next(value for name, value in coefficients.items() if name not in predictors)

print("visits,frequent,score")
for row in evaluation:
    score = intercept + sum(coefficients[name] * float(row[name]) for name in predictors)
    print(row["mdvis"], frequent(row), f"{score:.4f}", sep=",")
