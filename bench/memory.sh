#!/usr/bin/env bash
# Measures the peak memory of a verified download over the size of the file.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

if [ $# -gt 0 ]; then
  echo "Usage: bench/memory.sh"
  echo
  echo "Fetches files of 1 MiB to 10 GiB from nginx on loopback, prints the peak memory of each run in"
  echo "KiB, and draws it. The 10 GiB are written below TMPDIR (default /tmp), which must have the room."
  [ "$1" = --help ] && exit 0 || exit 2
fi

need_tools nginx curl gnuplot md5sum cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work 1000000000 # never in memory: the file itself would count there
sizes=(1M 100M 1G 10G)
for size in "${sizes[@]}"; do
  rm -rf "$work/files" "$work/down"
  mkdir "$work/files" "$work/down"
  printf 'works\n' > "$work/files/test.txt"
  truncate -s "$size" "$work/files/file.bin" # holes: the network and the target see all the bytes
  serve "$work/files"
  write_manifest "$work/files"
  measured "$size" env vinst_manifest="$work/manifest.json" HOME="$work" "$vinst" \
    --download-dir "$work/down" --retry-duration 0
  grep -q '^Download successful' "$work/output" || fail "vinst did not succeed"
  kill "$nginx_pid"
  wait "$nginx_pid" 2>/dev/null || true
  nginx_pid=
done
echo "peak memory, KiB: $(median 1M 4) for 1 MiB, $(median 10G 4) for 10 GiB"
for size in "${sizes[@]}"; do
  echo "vinst $(numfmt --from=iec --to-unit=1Mi --format=%f "$size") $(median "$size" 4 | awk '{ print $1 / 1024 }')"
done | draw_series bench-memory 'Peak memory of a download over the file size' 'MiB of the file' 'MiB of memory' \
  'set logscale x 10'
