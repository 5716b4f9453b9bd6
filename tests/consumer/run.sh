#!/usr/bin/env bash
# Installs the built library into a scratch folder and builds a small outside project against that package, once through
# find_package and once through pkg-config; both programs run and must print the same thing.
# Usage: run.sh BUILD_DIR CMAKE CXX
set -euo pipefail
build=$1 cmake=$2 cxx=$3
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

"$cmake" --install "$build" --prefix "$scratch/prefix" >"$scratch/install.log"

"$cmake" -S "$here" -B "$scratch/build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" >"$scratch/configure.log"
"$cmake" --build "$scratch/build" >"$scratch/build.log" || { cat "$scratch/build.log"; exit 1; }
"$scratch/build/consumer" | tee "$scratch/found.txt"

pc=$(dirname "$(find "$scratch/prefix" -name modelcore.pc)")
libdir=$(dirname "$pc")
# shellcheck disable=SC2046 # the flags are words on purpose
"$cxx" -std=c++20 "$here/../../docs/snippets/regression.cpp" -o "$scratch/consumer" \
  $(PKG_CONFIG_PATH="$pc" pkg-config --cflags --libs modelcore) -Wl,-rpath,"$libdir"
"$scratch/consumer" >"$scratch/pkgconfig.txt"
cmp "$scratch/found.txt" "$scratch/pkgconfig.txt"
echo "find_package and pkg-config agree"
