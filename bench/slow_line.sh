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
eight files of 25 MB. All may use four connections. aria2c without splitting files (-x1), curl and wget2 are
measured once, since the server's limit determines their time. Prints each run (wall and CPU seconds, peak
memory in KiB), and the ratios of the medians, and draws these. Also draws the connections of the first case
over time, with a server that gives files no version, so that they aren't split, and with one that does.
EOT
}
while [ $# -gt 0 ]; do
  case $1 in
    --rounds) [ $# -gt 1 ] || fail "--rounds needs a number"; rounds=$2; shift 2 ;;
    --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

need_tools nginx aria2c curl wget2 ss gnuplot md5sum openssl cmake awk
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

run_curl() {
  measured curl-Z sh -c "cd '$work/down' &&
    curl -fsS -Z --parallel-max 4 -K '$work/curl.txt' && md5sum --quiet -c '$work/sums'"
}
run_wget2() {
  measured wget2 sh -c "cd '$work/down' &&
    wget2 -q --no-config --max-threads=4 -i '$work/urls' && md5sum --quiet -c '$work/sums'"
}

stop_server() {
  kill "$nginx_pid"
  wait "$nginx_pid" 2>/dev/null || true
  nginx_pid=
}

# Prints "LABEL seconds connections" twice a second while vinst runs, with those that have received something.
connections_over_time() { # LABEL DIRECTIVES
  local start run
  serve "$work/files" "limit_rate 10m; $2"
  write_manifest "$work/files"
  rm -rf "$work/down"
  mkdir "$work/down"
  start=$EPOCHREALTIME
  run_vinst > "$work/run" 2>&1 &
  run=$!
  while kill -0 "$run" 2>/dev/null; do
    echo "now $EPOCHREALTIME"
    ss -HtniO state established "dport = :${base_url##*:}"
    sleep 0.5
  done > "$work/samples"
  wait "$run" || { cat "$work/run" >&2; fail "vinst did not succeed"; }
  stop_server
  awk -v label="$1" -v start="$start" '
    function show() { if (time != "") printf "%s %.2f %d\n", label, time - start, receiving }
    $1 == "now" { show(); time = $2; receiving = 0; next }
    match($0, /bytes_received:[0-9]+/) {
      bytes = substr($0, RSTART + 15, RLENGTH - 15)
      receiving += bytes != seen[$3]
      seen[$3] = bytes
    }
    END { show() }' "$work/samples"
}

measure_case() { # TITLE NAME:MEGABYTES...
  local title=$1 chart=$2 file name round run
  shift 2
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
  (cd "$work/files" && md5sum ./*.bin) > "$work/sums"
  printf "$base_url/%s\n" $(cd "$work/files" && echo *.bin) > "$work/urls"
  awk '{ printf "url = \"%s\"\nremote-name\n", $1 }' "$work/urls" > "$work/curl.txt"

  printf '\n%s\ntool wall_s cpu_s peak_kib\n' "$title"
  for ((round = 1; round <= rounds; ++round)); do
    for run in run_vinst 'run_aria2 4' 'run_aria2 1' run_curl run_wget2; do
      case $run in run_vinst | 'run_aria2 4') ;; *) ((round == 1)) || continue ;; esac
      rm -rf "$work/down"
      mkdir "$work/down"
      $run
    done
  done
  for peer in aria2c-x4 aria2c-x1 curl-Z wget2; do
    echo "vinst / $peer: wall $(ratio "$(median vinst 2)" "$(median "$peer" 2)")," \
      "cpu $(ratio "$(median vinst 3)" "$(median "$peer" 3)")," \
      "peak memory $(ratio "$(median vinst 4)" "$(median "$peer" 4)")"
  done
  ratios_of aria2c-x4 aria2c-x1 curl-Z wget2 | grep -e -wall |
    draw_ratios "bench-slow-line-$chart" "$title, 10 MiB/s per connection: vinst compared with other programs"
  stop_server
}

measure_case "One large file" one large:200
measure_case "Eight files of the same size" eight file{1..8}:25
measure_case "One large and three small files" large large:200 small1:10 small2:10 small3:10
{
  connections_over_time unsplit 'etag off; add_header Last-Modified "";'
  connections_over_time split ''
} > "$work/connections"
draw_series bench-slow-line-connections 'One large and three small files, 10 MiB/s per connection' seconds \
  'connections that receive' 'set yrange [0:5]' < "$work/connections"
