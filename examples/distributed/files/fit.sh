#!/usr/bin/env bash
# One linear model of the rows of several files, wherever they lie: linreg sums each file where it is, the states come
# here, and linreg --merge fits all of them together. Needs nothing but linreg and, for other machines, ssh.
#
# Usage: fit.sh [HOST:]FILE.csv... -- OPTION OF linreg... [-- OPTION OF linreg --merge...]
#   LINREG=path  the program, here and there; linreg when not set
#
# The states are merged in the order of the files on the command line, so the result does not depend on who is first.
set -euo pipefail
linreg=${LINREG:-linreg}
files=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do files+=("$1"); shift; done
[ ${#files[@]} -gt 0 ] && [ $# -gt 1 ] || { sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$0" >&2; exit 2; }
shift
options=""
while [ $# -gt 0 ] && [ "$1" != -- ]; do options+=$(printf '%q ' "$1"); shift; done
[ $# -eq 0 ] || shift

states=$(mktemp -d)
trap 'rm -rf "$states"' EXIT
# What runs where the file lies: the state goes to standard output.
sum() { # FILE
  printf 't=$(mktemp) && %q %q %s --quiet --save "$t" >/dev/null && cat "$t"; s=$?; rm -f "$t"; exit $s' \
    "$linreg" "$1" "$options"
}
workers=()
for i in "${!files[@]}"; do
  file=${files[i]} state=$states/$(printf %06d "$i").json
  if [[ $file == *:* ]]; then
    ssh "${file%%:*}" "$(sum "${file#*:}")" >"$state" &
  else
    bash -c "$(sum "$file")" >"$state" &
  fi
  workers+=($!)
done
for i in "${!workers[@]}"; do
  wait "${workers[i]}" || { echo "fit.sh: ${files[i]}: no state" >&2; exit 1; }
done
"$linreg" --merge "$states"/*.json "$@"
