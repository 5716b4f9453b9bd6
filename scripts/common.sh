# Read by the other scripts: help, refusals, and builds that say how far they are.
# shellcheck shell=bash

# Objects in ccache serve any checkout of the same sources: paths below it count from the build folder.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

script=scripts/$(basename "$0")

# The help of a script is the comment at its head.
help() {
  sed -n '2,/^[^#]/{/^#/!d;s/^# \{0,1\}//;p}' "$0"
  exit 0
}

refuse() {
  echo "$script: $*" >&2
  echo "$script --help says what it takes." >&2
  exit 2
}

# A word that is to be one of a list: is_one_of WORD KNOWN...
is_one_of() {
  local word=$1 known
  shift
  for known in "$@"; do [ "$word" != "$known" ] || return 0; done
  return 1
}

# Passes on nothing but how far a build or a test run is: one line that counts up on a terminal, a line for every tenth
# elsewhere. `counter PATTERN` reads lines that begin like "[12/112]" or "12/870 Test".
counter() {
  local terminal=0
  [ ! -t 2 ] || terminal=1
  awk -v what="$1" -v terminal="$terminal" '
    match($0, /^ *\[?[0-9]+\/[0-9]+/) {
      split(substr($0, RSTART, RLENGTH), part, "/"); gsub(/[^0-9]/, "", part[1])
      if (terminal) { printf "\r  %s: %d of %d ", what, part[1], part[2] > "/dev/stderr"; shown = 1 }
      else if (int(10 * part[1] / part[2]) > tenth) {
        tenth = int(10 * part[1] / part[2]); printf "  %s: %d of %d\n", what, part[1], part[2]; fflush()
      }
    }
    END { if (shown) printf "\n" > "/dev/stderr" }'
}

# Configures and builds a preset: build PRESET "CONFIGURE OPTIONS" [TARGET...]. All that the tools say is in
# build/PRESET.log; of a failure the first errors are shown.
build() {
  local preset=$1 options=$2 log=build/$1.log
  shift 2
  local targets=()
  [ $# -eq 0 ] || targets=(--target "$@")
  mkdir -p build
  # shellcheck disable=SC2086 # the options are words
  if ! cmake --preset "$preset" $options >"$log" 2>&1; then
    cat "$log" >&2
    echo "$script: cannot configure; all of it is in $log" >&2
    exit 1
  fi
  echo "$script: building $preset; what the compiler says goes to $log"
  # Without a terminal ninja writes a line a step, which the counter reads.
  if ! cmake --build --preset "$preset" "${targets[@]}" 2>&1 | tee -a "$log" | counter built; then
    { grep -m1 -A60 -E '^FAILED:|error:' "$log" || tail -n 40 "$log"; } >&2
    echo "$script: the build failed; all of it is in $log" >&2
    exit 1
  fi
}

# The generation of a processor whose name does not say it, where /proc/cpuinfo does.
generation() {
  sed -n -E 's/^(cpu family|model)[[:space:]]*: //p' /proc/cpuinfo | head -n 2 | paste -sd' ' |
    sed -n -E 's/^([0-9]+) ([0-9]+)$/ (family \1, model \2)/p'
}

# What figures depend on, a line each: machine FOLDER-OF-THE-BUILD.
machine() {
  local compiler
  compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$1/CMakeCache.txt")
  echo "measured on $(date -u +%Y-%m-%d), modelcore $(sed -n -E 's/^ *VERSION ([0-9.]+)$/\1/p' CMakeLists.txt)"
  echo "$(uname -m), $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)$(generation), $(getconf _NPROCESSORS_ONLN) processors"
  echo "$("$compiler" --version | head -n 1), $(getconf GNU_LIBC_VERSION 2>/dev/null || uname -s)"
}

# The peers that are installed, as Debian names and numbers them.
peers() {
  local packages
  packages=$(sed -n -E 's/^ *\[bench\]="(.*)"$/\1/p' scripts/setup)
  # shellcheck disable=SC2086 # a list of words
  dpkg-query -W -f='${db:Status-Status} ${Package} ${Version}\n' $packages 2>/dev/null |
    sed -n -E 's/^installed (lib)?(.*)$/\2/p' | sed 's/-dev / /' | paste -sd, | sed 's/,/, /g; s/^/peers installed: /'
}
