#!/usr/bin/env bash
# Measures a verified download of eight files against aria2c, and against curl and wget2 followed by md5sum.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

rounds=5
scale=1
other=
usage() {
  cat <<'EOT'
Usage: bench/download.sh [--rounds N] [--small] [--other PROGRAM]

Serves 2 x 1 GiB + 4 x 256 MiB + 2 x 16 MiB of random data from nginx on loopback and fetches and
checks them, four at a time, with vinst, with aria2c (-x1 and -x4), with curl and md5sum and with
wget2 and md5sum, in turn, N times (default 5). Prints each run (wall and CPU seconds, peak memory
in KiB), the medians, and their ratios, and draws these. --small takes files of a sixteenth of the size. --other also measures another build of
vinst, such as the one before a change. The files are in memory, unless BENCH_DIR names a directory.
EOT
}
while [ $# -gt 0 ]; do
  case $1 in
    --rounds) [ $# -gt 1 ] || fail "--rounds needs a number"; rounds=$2; shift 2 ;;
    --small) scale=16; shift ;;
    --other) [ $# -gt 1 ] || fail "--other needs a program"; other=$(realpath "$2"); shift 2 ;;
    --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

need_tools nginx aria2c curl wget2 gnuplot md5sum openssl cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work $((2 * 3104 / scale + 64))

mkdir "$work/files" "$work/down"
printf 'works\n' > "$work/files/test.txt"
make_file() { # NAME MIB
  openssl enc -aes-128-ctr -nosalt -pbkdf2 -pass "pass:$1" -in /dev/zero 2>/dev/null |
    head -c $(($2 * 1048576 / scale)) > "$work/files/$1.bin" || true
}
for i in 1 2; do make_file "large$i" 1024; done
for i in 1 2 3 4; do make_file "middle$i" 256; done
for i in 1 2; do make_file "little$i" 16; done
serve "$work/files"
write_manifest "$work/files"

(cd "$work/files" && md5sum ./*.bin) > "$work/sums"
urls=()
for file in "$work"/files/*.bin; do
  name=$(basename "$file")
  urls+=("$base_url/$name")
  printf '%s\n  checksum=md5=%s\n' "$base_url/$name" \
    "$(awk -v name="./$name" '$2 == name { print $1 }' "$work/sums")"
done > "$work/aria2.txt"
printf '%s\n' "${urls[@]}" > "$work/urls"
printf 'url = "%s"\nremote-name\n' "${urls[@]}" > "$work/curl.txt"

measure_build() { # LABEL PROGRAM
  measured "$1" env vinst_manifest="$work/manifest.json" HOME="$work" "$2" \
    --download-dir "$work/down" --parallel-downloads 4 --retry-duration 0
  grep -q '^Download successful' "$work/output" || fail "$1 did not succeed: see above"
}
run_vinst() { measure_build vinst "$vinst"; }
run_other() { measure_build other "$other"; }
run_aria2() { # CONNECTIONS_PER_FILE
  measured "aria2c-x$1" aria2c -q -j4 "-x$1" "-s$1" --file-allocation=none --no-conf -d "$work/down" -i "$work/aria2.txt"
}
run_curl() {
  measured curl+md5sum sh -c "cd '$work/down' &&
    curl -fsS --parallel --parallel-max 4 -K '$work/curl.txt' && md5sum --quiet -c '$work/sums'"
}
run_wget2() {
  measured wget2+md5sum sh -c "cd '$work/down' &&
    wget2 -q --no-config --max-threads=4 -i '$work/urls' && md5sum --quiet -c '$work/sums'"
}

peers=(aria2c-x1 aria2c-x4 curl+md5sum wget2+md5sum)
runs=(run_vinst 'run_aria2 1' 'run_aria2 4' run_curl run_wget2)
if [ -n "$other" ]; then
  peers+=(other)
  runs+=(run_other)
fi

echo "tool wall_s cpu_s peak_kib"
for ((round = 1; round <= rounds; ++round)); do
  for run in "${runs[@]}"; do
    rm -rf "$work/down"
    mkdir "$work/down"
    $run
  done
done

echo
for label in vinst "${peers[@]}"; do
  echo "median $label: wall $(median "$label" 2) s, cpu $(median "$label" 3) s, peak $(median "$label" 4) KiB"
done
for peer in "${peers[@]}"; do
  echo "vinst / $peer: wall $(ratio "$(median vinst 2)" "$(median "$peer" 2)")," \
    "cpu $(ratio "$(median vinst 3)" "$(median "$peer" 3)")," \
    "peak memory $(ratio "$(median vinst 4)" "$(median "$peer" 4)")"
done
ratios_of "${peers[@]}" | draw_ratios bench-download 'Eight files, verified: vinst compared with other programs'
