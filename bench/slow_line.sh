#!/usr/bin/env bash
# Measures verified downloads from a server that limits each connection: see usage below.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

rounds=5
usage() {
  cat <<'EOT'
Usage: bench/slow_line.sh [--rounds N]

Serves random data from nginx on loopback, 10 MiB/s on each connection, and fetches and checks it with vinst
and with aria2c, in turn, N times (default 5): one file of 200 MB and three of 10 MB; one file of 200 MB;
eight files of 25 MB. All may use four connections; aria2c also once without splitting files (-x1). Prints
each run (wall and CPU seconds, peak memory in KiB), and the ratios of the medians.
EOT
}
while [ $# -gt 0 ]; do
  case $1 in
    --rounds) [ $# -gt 1 ] || fail "--rounds needs a number"; rounds=$2; shift 2 ;;
    --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

need_tools nginx aria2c curl md5sum openssl cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work 600

make_file() { # NAME MEGABYTES
  openssl enc -aes-128-ctr -nosalt -pbkdf2 -pass "pass:$1" -in /dev/zero 2>/dev/null |
    head -c $(($2 * 1000000)) > "$work/files/$1.bin" || true
}

run_vinst() {
  measured vinst env vinst_manifest="$work/manifest.json" HOME="$work" "$vinst" \
    --download-dir "$work/down" --parallel-downloads 4 --retry-duration 0
  grep -q '^Download successful' "$work/output" || fail "vinst did not succeed: see above"
}
run_aria2() { # CONNECTIONS_PER_FILE
  measured "aria2c-x$1" aria2c -q -j4 "-x$1" "-s$1" --file-allocation=none --no-conf -d "$work/down" \
    -i "$work/aria2.txt"
}

measure_case() { # TITLE NAME:MEGABYTES...
  local title=$1 file name round
  shift
  rm -rf "$work/files" "$work/table"
  mkdir "$work/files"
  printf 'works\n' > "$work/files/test.txt"
  for file in "$@"; do make_file "${file%:*}" "${file#*:}"; done
  serve "$work/files" "limit_rate 10m;"
  write_manifest "$work/files"
  for file in "$work"/files/*.bin; do
    name=$(basename "$file")
    printf '%s\n  checksum=md5=%s\n' "$base_url/$name" "$(md5sum < "$file" | cut -d' ' -f1)"
  done > "$work/aria2.txt"

  printf '\n%s\ntool wall_s cpu_s peak_kib\n' "$title"
  for ((round = 1; round <= rounds; ++round)); do
    for run in run_vinst 'run_aria2 4' 'run_aria2 1'; do
      rm -rf "$work/down"
      mkdir "$work/down"
      $run
    done
  done
  for peer in aria2c-x4 aria2c-x1; do
    echo "vinst / $peer: wall $(ratio "$(median vinst 2)" "$(median "$peer" 2)")," \
      "cpu $(ratio "$(median vinst 3)" "$(median "$peer" 3)")," \
      "peak memory $(ratio "$(median vinst 4)" "$(median "$peer" 4)")"
  done
  kill "$nginx_pid"
  wait "$nginx_pid" 2>/dev/null || true
  nginx_pid=
}

measure_case "One large and three small files" large:200 small1:10 small2:10 small3:10
measure_case "One large file" large:200
measure_case "Eight files of the same size" file{1..8}:25
