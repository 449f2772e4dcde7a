#!/usr/bin/env bash
# Measures how long after its last byte a file is verified, and how much of it is read from the disk again.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

usage() {
  cat <<'END'
Usage: bench/verdict.sh [SIZE] [RATE]

Fetches a file of SIZE (default: 10G) at RATE bytes a second (default: 150m, as nginx writes it) from nginx
on loopback, in a memory cgroup of 512 MiB if one can be made, and prints
- the time from the file's last byte to the line "Download successful";
- what the program read from the disk, as a share of the file.
The file is written below TMPDIR (default /tmp), which must have the room.
END
}

case ${1:-} in
  --help) usage; exit 0 ;;
  -*) usage >&2; exit 2 ;;
esac
size=${1:-10G}
rate=${2:-150m}

need_tools nginx curl md5sum cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work 1000000000 # never in memory
mkdir "$work/files" "$work/down"
printf 'works\n' > "$work/files/test.txt"
truncate -s "$size" "$work/files/file.bin" # holes: only the program reads the disk
serve "$work/files" "limit_rate $rate;"
write_manifest "$work/files"
bytes=$(stat -c %s "$work/files/file.bin")

export vinst_manifest=$work/manifest.json HOME=$work
(
  limit_memory 2>/dev/null || echo "No memory cgroup can be made: all memory is used." >&2
  command time -f 'inputs %I' -o "$work/time" "$vinst" --download-dir "$work/down" --retry-duration 0 |
    while IFS= read -r line; do
      printf '%s %s\n' "$EPOCHREALTIME" "$line"
    done > "$work/output"
)
unlimit_memory
grep -q ' Download successful$' "$work/output" || { tail -n 20 "$work/output" >&2; fail "vinst did not succeed"; }

awk -v last_byte="$(stat -c %.9Y "$work/down/file.bin")" -v bytes="$bytes" '
  / Download successful$/ { verdict = $1 }
  $1 == "inputs" { read = $2 * 512 }
  END {
    printf "%.1f GiB: verified %.2f s after the last byte; read from the disk: %.1f MiB, %.1f %% of the file\n",
           bytes / 2^30, verdict - last_byte, read / 2^20, 100 * read / bytes
  }' "$work/output" "$work/time"
