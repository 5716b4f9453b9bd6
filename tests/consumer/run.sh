#!/usr/bin/env bash
# Builds a small outside project against the library in one of the ways that a user has; it must run, print what
# the README says and find that headers and library are of one version. `uninstall` leaves nothing of what was installed.
#
# Usage: run.sh package BUILD_DIR CMAKE CXX   what BUILD_DIR installs, through find_package and pkg-config
#        run.sh system CMAKE CXX              what is installed under /usr, by a Debian package
#        run.sh static CMAKE CXX              the same of a static library, installed at absolute paths
#        run.sh sources CMAKE CXX             through add_subdirectory and FetchContent
set -euo pipefail
how=$1
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
scratch=$(mktemp -d)
prefix=$scratch/prefix
# The list of an installation that somebody made from this build folder is still theirs afterwards.
finish() {
  if [ -d "$scratch/lists" ]; then
    rm -f "$build"/install_manifest*.txt
    mv "$scratch"/lists/* "$build" 2>/dev/null || true
  fi
  rm -rf "$scratch"
}
trap finish EXIT

quiet() {
  "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; return 1; }
}

# consumer BUILD_DIR OPTION...: the project with CMake.
consumer() {
  quiet "$cmake" -S "$here" -B "$1" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" "${@:2}"
  quiet "$cmake" --build "$1"
  "$1/consumer" | diff - "$root/docs/snippets/regression.txt"
  "$1/version"
}

# By find_package and by pkg-config, against what is installed under $prefix.
installed() {
  consumer "$scratch/found" -DCMAKE_PREFIX_PATH="$prefix;$prefix/far" -DCMAKE_BUILD_TYPE=Release
  local version
  for version in 8 9.9 10; do
    if quiet "$cmake" -S "$here" -B "$scratch/refused" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
      -DCMAKE_PREFIX_PATH="$prefix;$prefix/far" -DWANTED="$version" 2>/dev/null; then
      echo "find_package(modelcore $version) was not refused" >&2
      return 1
    fi
  done

  local pc
  pc=$(dirname "$(find "$prefix" -name modelcore.pc)")
  # shellcheck disable=SC2046 # the flags are words on purpose
  "$cxx" -std=c++20 "$root/docs/snippets/regression.cpp" -o "$scratch/consumer" \
    $(PKG_CONFIG_PATH="$pc" pkg-config --cflags --libs modelcore) -Wl,-rpath,"$(dirname "$pc")"
  "$scratch/consumer" | diff - "$root/docs/snippets/regression.txt"
  echo "$how: found by find_package and by pkg-config"
}

# What `cmake --install` brought is taken away by the target `uninstall`, and nothing else is: a file of somebody else's stays,
# and with it its folder. Once more there is nothing to remove, and that is said.
removed() {
  local doc other
  doc=$(dirname "$(find "$prefix" -name CHANGELOG.md)")
  other=$doc/docs/notes.txt
  echo "somebody's" >"$other"
  quiet "$cmake" --build "$build" --target uninstall
  [ "$(find "$prefix" ! -type d)" = "$other" ] || { echo "uninstall left:" >&2; find "$prefix" ! -type d >&2; return 1; }
  rm "$other"
  rmdir -p --ignore-fail-on-non-empty "$(dirname "$other")"
  [ -z "$(find "$prefix" -name modelcore)" ] || { echo "uninstall left a folder" >&2; find "$prefix" >&2; return 1; }
  if quiet "$cmake" --build "$build" --target uninstall 2>/dev/null; then
    echo "the second uninstall found something" >&2
    return 1
  fi
  echo "$how: uninstalled"
}

case $how in
  package)
    build=$2 cmake=$3 cxx=$4
    mkdir "$scratch/lists"
    mv "$build"/install_manifest*.txt "$scratch/lists" 2>/dev/null || true
    quiet "$cmake" --install "$build" --prefix "$prefix"
    # The installed programs find the installed library, and the schema is there.
    if [ -e "$prefix/bin/linreg" ]; then
      version=$(sed -n 's/^Version: //p' "$(find "$prefix" -name modelcore.pc)")
      [ "$("$prefix/bin/linreg" --version)" = "modelcore $version" ] || { echo "linreg is not of $version" >&2; exit 1; }
    fi
    [ -n "$(find "$prefix/share" -name 'StatXML_*.xsd')" ]
    installed
    removed
    ;;
  system)
    cmake=$2 cxx=$3 prefix=/usr
    installed
    ;;
  static)
    cmake=$2 cxx=$3
    quiet "$cmake" -S "$root" -B "$scratch/build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE= \
      -DBUILD_SHARED_LIBS=OFF -DMODELCORE_BUILD_TESTS=OFF -DMODELCORE_BUILD_TOOLS=OFF -DMODELCORE_BUILD_EXAMPLES=OFF \
      -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR="$prefix/far/lib" -DCMAKE_INSTALL_INCLUDEDIR="$prefix/far/include"
    quiet "$cmake" --build "$scratch/build"
    quiet "$cmake" --install "$scratch/build"
    installed
    build=$scratch/build
    removed
    ;;
  sources)
    cmake=$2 cxx=$3
    # Both in the same folder, one after the other: the library is compiled once.
    for way in subdirectory fetch; do
      consumer "$scratch/build" -DHOW=$way -DMODELCORE="$root"
      quiet "$cmake" --install "$scratch/build" --prefix "$prefix"
      [ ! -e "$prefix/include" ] || { echo "$way: the user's install carries our files" >&2; exit 1; }
      echo "$way: built and run"
    done
    ;;
  *) echo "run.sh: no way '$how'" >&2; exit 2 ;;
esac
