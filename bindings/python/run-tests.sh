#!/usr/bin/env bash
# Tests the Python package as a user has it: makes a virtual environment, builds the wheel against the library that
# build/release holds, installs it, and runs pytest (with scikit-learn's own checks) and mypy on it. scripts/test python
# calls this. The last line is how many tests passed and failed.
#
# Usage: bindings/python/run-tests.sh [--distributed] [OPTION OF PYTEST...]
#   --distributed  its roads over Spark, Dask and MPI instead, in build/distributed (scripts/test distributed)
#   PYTHON=/path/to/python3   the interpreter; python3 when not set
#
# Packages come from the registry that pip is set up for. A machine that cannot reach it gets status 3 and a line that
# says so; an environment that was made before is used again.
set -euo pipefail
cd "$(dirname "$0")/../.."
suite=python
tools="scikit-build-core>=0.10 nanobind>=2.4 numpy hypothesis mypy pandas polars pyarrow pytest scikit-learn>=1.6 scipy statsmodels"
tests=bindings/python/tests
if [ "${1:-}" = --distributed ]; then
  shift
  suite=distributed
  # Spark does not know pandas 3 yet.
  tools="scikit-build-core>=0.10 nanobind>=2.4 numpy hypothesis pandas<3 pyarrow pytest pyspark>=4 dask[distributed] scikit-learn>=1.6"
  tests+=/distributed
fi
here=$PWD/build/$suite
venv=$here/venv
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
mkdir -p "$here"

if [ "$(cat "$here/tools" 2>/dev/null)" != "$tools" ] || ! "$venv/bin/python" -c '' 2>/dev/null; then
  echo "$suite: making a virtual environment in build/$suite/venv"
  rm -f "$here/tools"
  "${PYTHON:-python3}" -m venv --clear "$venv" || {
    echo "$suite: python3 cannot make virtual environments here (Debian: apt-get install python3-venv)" >&2
    exit 3
  }
  # shellcheck disable=SC2086 # a list of words
  if ! "$venv/bin/pip" install --disable-pip-version-check -q $tools >"$here/pip.log" 2>&1; then
    tail -n 3 "$here/pip.log" >&2
    echo "$suite: the package registry is out of reach, so nothing was tested (build/$suite/pip.log)" >&2
    exit 3
  fi
  echo "$tools" >"$here/tools"
fi

# The release library, installed beside the environment; the extension alone is compiled anew.
targets=(modelcore linreg evaluate manuals)
for program in logreg describe; do [ ! -d "tools/$program" ] || targets+=("$program"); done
if [ ! -f build/release/build.ninja ]; then cmake --preset release >"$here/build.log" 2>&1; fi
cmake --build build/release --target "${targets[@]}" >"$here/build.log" 2>&1 || { tail -n 20 "$here/build.log" >&2; exit 1; }
cmake --install build/release --prefix "$here/library" >>"$here/build.log" 2>&1 || { tail -n 5 "$here/build.log" >&2; exit 1; }

rm -rf "$here/wheel"
echo "$suite: building the wheel"
PATH=$venv/bin:$PATH "$venv/bin/pip" wheel --disable-pip-version-check --no-deps --no-build-isolation -w "$here/wheel" \
  -C build-dir="$here/build" -C cmake.define.MODELCORE_PYTHON_USE_INSTALLED=ON \
  -C cmake.define.CMAKE_PREFIX_PATH="$here/library" ./bindings/python >"$here/wheel.log" 2>&1 || {
  tail -n 40 "$here/wheel.log" >&2
  exit 1
}
"$venv/bin/pip" install --disable-pip-version-check -q --force-reinstall --no-deps "$here"/wheel/*.whl

failed=0
if [ "$suite" = distributed ]; then
  cmake -S examples/distributed/mpi -B "$here/mpi" -DCMAKE_PREFIX_PATH="$here/library" >"$here/mpi.log" 2>&1 &&
    cmake --build "$here/mpi" >>"$here/mpi.log" 2>&1 || { tail -n 20 "$here/mpi.log" >&2; exit 1; }
  # The engines start Python themselves: it must be this one, and find what the tests hand over.
  export MODELCORE_MPI=$here/mpi/linear_mpi MODELCORE_LINREG=$here/library/bin/linreg PYSPARK_PYTHON=$venv/bin/python
  export SPARK_HOME PYTHONPATH=$PWD/$tests
  SPARK_HOME=$("$venv/bin/python" -c 'import os, pyspark; print(os.path.dirname(pyspark.__file__))')
fi
"$venv/bin/python" -m pytest -p no:cacheprovider -c bindings/python/pyproject.toml --rootdir bindings/python \
  "$tests" "$@" | tee "$here/pytest.log" || failed=1
checks=0
if [ "$suite" = python ]; then
  echo "python: mypy"
  checks=1
  (cd bindings/python && "$venv/bin/python" -m mypy --cache-dir "$here/mypy" -p modelcore) || failed=$((failed + 1))
fi
# What pytest counted, and mypy as one more.
count() { sed -n -E "s/.*[^0-9]([0-9]+) $1.*/\1/p;t;s/^([0-9]+) $1.*/\1/p" "$here/pytest.log" | tail -n 1; }
passed=$(count passed) broken=$(count failed)
[ "$failed" -eq 0 ] && [ -n "$passed" ] || { echo "${passed:-0} passed, $((${broken:-0} > 0 ? ${broken:-0} : 1)) failed"; exit 1; }
echo "$((passed + checks)) passed, 0 failed"
