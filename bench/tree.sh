#!/usr/bin/env bash
# Measures how long a tree of 5,000 components takes to fill, to handle clicks, to filter and to
# update.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

if [ $# -gt 0 ]; then
  echo "Usage: bench/tree.sh"
  echo
  echo "Prints the median time of each, beside what it may take. Needs no display."
  [ "$1" = --help ] && exit 0 || exit 2
fi

need_tools cmake
(cd "$root" && cmake --preset release -DVINST_BENCH=ON -DBUILD_TESTING=OFF >/dev/null &&
  cmake --build --preset release --target vinst_tree_bench >/dev/null) || fail "The benchmark does not build"
"$root/build/release/bench/vinst_tree_bench"
