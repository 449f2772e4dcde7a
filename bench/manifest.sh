#!/usr/bin/env bash
# Measures how long manifests of 1,000, 10,000 and 100,000 components take to load.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

if [ $# -gt 0 ]; then
  echo "Usage: bench/manifest.sh"
  echo
  echo "Prints the median loading time of each manifest, and what ten times the components cost, and draws it."
  [ "$1" = --help ] && exit 0 || exit 2
fi

need_tools cmake gnuplot awk
(cd "$root" && cmake --preset release -DVINST_BENCH=ON -DBUILD_TESTING=OFF >/dev/null &&
  cmake --build --preset release --target vinst_manifest_bench >/dev/null) || fail "The benchmark does not build"
begin_work 16
"$root/build/release/bench/vinst_manifest_bench" | tee "$work/table"
awk '{ print "vinst", $1, $3 }' "$work/table" |
  draw_series bench-manifest 'Loading a manifest' components ms 'set logscale xy 10; set yrange [1:*]'
