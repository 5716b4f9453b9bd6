#!/usr/bin/env bash
# Lets JPMML-Evaluator read, verify and score PMML documents: those of every encoder and model, random ones, and one that
# linreg writes. Called by scripts/test pmml.
#
# Usage: tests/pmml/run.sh BUILD_FOLDER [RANDOM MODELS [SEED]]
#
# Status 3: the evaluator could not be fetched; nothing was tested.
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$1 models=${2:-300} seed=${3:-}
work=$build/pmml jars=$build/pmml/jars

# The evaluator and what it needs, some 8 MB, stay in the build folder. A folder that is not complete has no list.
if [ ! -e "$jars/complete" ]; then
  echo "fetching JPMML-Evaluator"
  mkdir -p "$jars"
  if ! mvn -q -B -f tests/pmml/java/pom.xml dependency:copy-dependencies -DoutputDirectory="$PWD/$jars" \
    >"$work/maven.log" 2>&1; then
    tail -n 5 "$work/maven.log" >&2
    echo "tests/pmml/run.sh: Maven could not fetch JPMML-Evaluator: is the registry out of reach? Nothing was tested." >&2
    exit 3
  fi
  touch "$jars/complete"
fi

rm -rf "$work/documents" "$work/classes"
mkdir -p "$work/documents" "$work/classes"
# shellcheck disable=SC2086 # no seed is no argument
"$build/tests/pmml/pmml-documents" "$work/documents" "$models" $seed

# The programs' own documents: names, levels and missing values as awkward as files have them.
linreg=$build/tools/linreg/linreg
for form in general regression; do
  "$linreg" tests/pmml/data/awkward.csv --target price --factors clarity --frequency n --quiet \
    --pmml "$work/documents/linreg-awkward-$form.pmml" --pmml-form "$form"
  "$linreg" examples/data/longley.csv --target TOTEMP --quiet \
    --pmml "$work/documents/linreg-longley-$form.pmml" --pmml-form "$form"
done
# The quality of a score, once into a document without one and once more behind it.
"$linreg" examples/data/visits.csv --target frequent --predictors visits --quiet --pmml "$work/visits.pmml"
sed '/<ModelExplanation>/,/<\/ModelExplanation>/d' "$work/visits.pmml" >"$work/documents/without.pmml"
evaluated=("$build/tools/evaluate/evaluate" examples/data/visits.csv --target frequent --score score --quiet --pmml)
"${evaluated[@]}" "$work/documents/without.pmml" "$work/documents/evaluated-1.pmml"
"${evaluated[@]}" "$work/documents/evaluated-1.pmml" "$work/documents/evaluated-2.pmml"
"${evaluated[@]}" "$work/visits.pmml" "$work/documents/evaluated-3.pmml"

javac -cp "$jars/*" -d "$work/classes" tests/pmml/java/CheckDocuments.java
# The simple compiler and collector start at once, which counts here.
java -XX:TieredStopAtLevel=1 -XX:+UseSerialGC -cp "$jars/*:$work/classes" CheckDocuments \
  tests/pmml/data/pmml-4-4.xsd "$work/documents"
