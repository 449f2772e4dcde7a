#!/usr/bin/env bash
# Measures how long manifests of 1,000, 10,000 and 100,000 components take to load.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

if [ $# -gt 0 ]; then
  echo "Usage: bench/manifest.sh"
  echo
  echo "Prints the median loading time of each manifest, and what ten times the components cost."
  [ "$1" = --help ] && exit 0 || exit 2
fi

need_tools cmake
(cd "$root" && cmake --preset release -DVINST_BENCH=ON -DBUILD_TESTING=OFF >/dev/null &&
  cmake --build --preset release --target vinst_manifest_bench >/dev/null) || fail "The benchmark does not build"
"$root/build/release/bench/vinst_manifest_bench"
