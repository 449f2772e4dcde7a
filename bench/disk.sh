#!/usr/bin/env bash
# Measures verified downloads to a disk while there is little memory for its cache: see usage below.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=bench/lib.sh
. "$root/bench/lib.sh"

rounds=3
usage() {
  cat <<'EOT'
Usage: bench/disk.sh [--rounds N] [--small]

Serves a file of 2 GiB and two of 256 MiB from nginx on loopback, 150 MiB/s on each connection, and
fetches and checks them with vinst, with aria2c and with curl and md5sum, in turn, N times (default 3).
They go to an ext4 file system on a loop device, in a memory cgroup of 512 MiB. Prints the wall time of
each run and what it has read from the disk, which is what it has read a second time, and draws these.
--small takes files of an eighth of the size. Needs root. The image is below TMPDIR (default /tmp).
EOT
}
scale=1
while [ $# -gt 0 ]; do
  case $1 in
    --rounds) [ $# -gt 1 ] || fail "--rounds needs a number"; rounds=$2; shift 2 ;;
    --small) scale=8; shift ;;
    --help) usage; exit 0 ;;
    *) usage >&2; exit 2 ;;
  esac
done

need_tools nginx aria2c curl md5sum mkfs.ext4 mount gnuplot cmake awk
command time -f %e true 2>/dev/null || fail "The benchmark needs GNU time. Run scripts/install_deps.sh bench."
build_release
begin_work 1000000000 # never in memory
unmount() { umount "$work/disk" 2>/dev/null || true; }
trap 'unmount; unlimit_memory; end_work' EXIT

mkdir "$work/files" "$work/disk"
printf 'works\n' > "$work/files/test.txt"
truncate -s $((2048 / scale))M "$work/files/large.bin" # holes: only the target's disk is read
for i in 1 2; do truncate -s $((256 / scale))M "$work/files/small$i.bin"; done
bytes=$((2560 / scale * 1048576))
serve "$work/files" "limit_rate 150m;"
write_manifest "$work/files"
for file in "$work"/files/*.bin; do
  printf '%s/%s\n  checksum=md5=%s\n' "$base_url" "$(basename "$file")" "$(md5sum < "$file" | cut -d' ' -f1)"
done > "$work/aria2.txt"
(cd "$work/files" && md5sum ./*.bin) > "$work/sums"
for file in "$work"/files/*.bin; do
  printf 'url = "%s/%s"\nremote-name\n' "$base_url" "$(basename "$file")"
done > "$work/curl.txt"

truncate -s $((3584 / scale + 128))M "$work/image"
PATH="$PATH:/usr/sbin" mkfs.ext4 -q "$work/image"
mount -o loop "$work/image" "$work/disk" || fail "A loop device can't be mounted here: run this as root of a machine."

limited() { # LABEL COMMAND...: adds "label wall_s read_mib" to the table
  local label=$1
  shift
  rm -rf "$work/disk/down"
  mkdir "$work/disk/down"
  sync
  (
    limit_memory 2>/dev/null || fail "No memory cgroup can be made here: run this as root of a machine."
    command time -f '%e %I' -o "$work/time" "$@" > "$work/output" 2>&1 ||
      { tail -n 20 "$work/output" >&2; fail "$label failed"; }
  )
  unlimit_memory
  awk -v label="$label" '{ printf "%s %.2f %.1f\n", label, $1, $2 * 512 / 1048576 }' "$work/time" |
    tee -a "$work/table"
}

echo "tool wall_s read_mib"
for ((round = 1; round <= rounds; ++round)); do
  limited vinst env vinst_manifest="$work/manifest.json" HOME="$work" "$vinst" \
    --download-dir "$work/disk/down" --parallel-downloads 4 --retry-duration 0
  grep -q '^Download successful' "$work/output" || fail "vinst did not succeed"
  limited aria2c-x4 aria2c -q -j4 -x4 -s4 --file-allocation=none --no-conf -d "$work/disk/down" -i "$work/aria2.txt"
  limited curl+md5sum sh -c "cd '$work/disk/down' &&
    curl -fsS --parallel --parallel-max 4 -K '$work/curl.txt' && md5sum --quiet -c '$work/sums'"
done

echo
for label in vinst aria2c-x4 curl+md5sum; do
  echo "median $label: wall $(median "$label" 2) s, read again $(median "$label" 3) MiB," \
    "$(ratio "$(median "$label" 3)" $((bytes / 1048576))) of the files"
done
for label in vinst aria2c-x4 curl+md5sum; do
  echo "$label $(ratio "$(median "$label" 3)" $((bytes / 1048576)))"
done | draw_ratios bench-disk 'Read from the disk again, as a share of the files (512 MiB of memory)'
