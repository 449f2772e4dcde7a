#!/usr/bin/env bash
# Measures the peak memory of a verified download of one small and of one huge file.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

if [ $# -gt 0 ]; then
  echo "Usage: bench/memory.sh"
  echo
  echo "Fetches a file of 1 MiB and one of 10 GiB from nginx on loopback and prints the peak memory of"
  echo "each run in KiB. The 10 GiB are written below TMPDIR (default /tmp), which must have the room."
  [ "$1" = --help ] && exit 0 || exit 2
fi

need_tools nginx curl md5sum cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work 1000000000 # never in memory: the file itself would count there
for size in 1M 10G; do
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
