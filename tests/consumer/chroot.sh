#!/usr/bin/env bash
# Run as root in a new chroot that has a compiler and nothing of modelcore; beside this folder's project stand the packages
# (/try/debs). Lines that begin with "chroot:" are what scripts/package shows.
set -euo pipefail
cd /try
export DEBIAN_FRONTEND=noninteractive
say() { echo "chroot: $*"; }
failed() { say "$@"; exit 1; }

mapfile -t names < <(for deb in debs/*.deb; do dpkg-deb -f "$deb" Package; done)
apt-get install -y -q --no-install-recommends ./debs/*.deb
say "installed: ${names[*]}"

# With the compiler alone: Debian's folders need no flag.
g++ -std=c++20 docs/snippets/regression.cpp -o direct -lmodelcore
./direct | diff - docs/snippets/regression.txt
say "README's program, g++ -lmodelcore: $(./direct)"
for program in describe linreg logreg evaluate; do
  "$program" --help >/dev/null
  [[ $("$program" --version) == "modelcore "* ]] || failed "$program --version: $("$program" --version)"
  zcat "/usr/share/man/man1/$program.1.gz" | grep -q '^\.SH OPTIONS' || failed "no manual page of $program"
  bash -n "/usr/share/bash-completion/completions/$program"
done
linreg longley.csv --target TOTEMP >longley.txt 2>&1 || { cat longley.txt; failed "linreg failed"; }
say "programs: $(linreg --version); help, manual pages, completion and Longley's regression are there"

apt-get install -y -q --no-install-recommends cmake ninja-build pkg-config
bash tests/consumer/run.sh system cmake g++ | sed 's/^/chroot: /'

# What the packages brought and nobody else has is gone with them.
dpkg -L "${names[@]}" | sort -u >brought
apt-get purge -y -q "${names[@]}"
while read -r path; do
  if [ -e "$path" ] || [ -L "$path" ]; then
    dpkg -S "$path" >/dev/null 2>&1 || [ "$path" = /. ] || failed "left behind: $path"
  fi
done <brought
left=$(find / -xdev -path /try -prune -o -iname '*modelcore*' -print)
[ -z "$left" ] || failed "left behind: $left"
! ldconfig -p | grep -q modelcore || failed "the loader still knows the library"
say "removed: nothing is left of $(wc -l <brought) paths"
