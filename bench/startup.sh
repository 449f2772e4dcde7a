#!/usr/bin/env bash
# Measures how long the program takes to start: see usage below.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

rounds=21
usage() {
  cat <<'EOT'
Usage: bench/startup.sh [--rounds N]

Measures in turn, N times (default 21), without proxy variables:
- vinst --help with a manifest of 1,000 components, curl --version and aria2c --version;
- the time from the start of vinst, curl and aria2c to their first request, as an nginx on loopback logs it.
Prints the medians and their ratios, and draws these.
EOT
}
while [ $# -gt 0 ]; do
  case $1 in
    --rounds) [ $# -gt 1 ] || fail "--rounds needs a number"; rounds=$2; shift 2 ;;
    --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

need_tools nginx curl aria2c md5sum gnuplot cmake awk
build_release
begin_work 64
mkdir "$work/files" "$work/down"
printf 'works\n' > "$work/files/test.txt"
head -c 1000 /dev/urandom > "$work/files/file.bin"
log=$work/access.log
serve "$work/files" "access_log $log milliseconds;"
write_manifest "$work/files"

{
  printf '[{"data_type":"main","edition":"pro","version":"1.0.0.1","download_url":"%s"}' "$base_url"
  for ((i = 0; i < 1000; ++i)); do
    printf ',\n{"data_type":"download","name":"c%d","title":"Component %d","desc":"","platform":"linux",' "$i" "$i"
    printf '"filename":"c%d.bin","size":1000,"md5sum":"%032x","sha1sum":"","downloadsize_str":"",' "$i" "$i"
    printf '"installsize":0,"installsize_str":"","selected":1}'
  done
  printf ']\n'
} > "$work/thousand.json"

clean() { env -i PATH="$PATH" HOME="$work" LC_ALL=C.UTF-8 "$@"; }
milliseconds() { awk -v from="$1" -v to="$2" 'BEGIN { printf "%.1f", 1000 * (to - from) }'; }

timed() { # LABEL COMMAND...: until it has ended
  local label=$1 start end
  shift
  start=$EPOCHREALTIME
  clean "$@" > "$work/output" 2>&1 || true # the exit code of vinst --help is 1
  end=$EPOCHREALTIME
  [ -s "$work/output" ] || fail "$label printed nothing"
  echo "$label $(milliseconds "$start" "$end")" >> "$work/table"
}

timed_request() { # LABEL COMMAND...: until its first request has been answered
  local label=$1 start
  shift
  rm -rf "$work/down"
  mkdir "$work/down"
  : > "$log"
  start=$EPOCHREALTIME
  clean "$@" > "$work/output" 2>&1 || { tail -n 20 "$work/output" >&2; fail "$label failed"; }
  [ -s "$log" ] || fail "$label requested nothing"
  echo "$label $(milliseconds "$start" "$(head -n 1 "$log")")" >> "$work/table"
}

for ((round = 1; round <= rounds; ++round)); do
  timed vinst--help env vinst_manifest="$work/thousand.json" "$vinst" --help
  timed curl--version curl --version
  timed aria2c--version aria2c --version
  timed_request vinst-request env vinst_manifest="$work/manifest.json" "$vinst" \
    --download-dir "$work/down" --retry-duration 0
  timed_request curl-request curl -fsS -o "$work/down/file.bin" "$base_url/file.bin"
  timed_request aria2c-request aria2c -q --no-conf -d "$work/down" "$base_url/file.bin"
done

echo "median ms of $rounds runs:"
for label in vinst--help curl--version aria2c--version vinst-request curl-request aria2c-request; do
  echo "$label $(median "$label" 2)"
done
for pair in vinst--help/curl--version vinst--help/aria2c--version vinst-request/curl-request \
  vinst-request/aria2c-request; do
  echo "$pair $(ratio "$(median "${pair%/*}" 2)" "$(median "${pair#*/}" 2)")"
done | tee "$work/ratios"
draw_ratios bench-startup 'Starting: vinst compared with other programs' < "$work/ratios"
