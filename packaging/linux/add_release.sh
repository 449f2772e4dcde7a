#!/usr/bin/env bash
# Adds a release to an installation: see usage below.
set -euo pipefail

usage() {
    cat <<'USAGE'
Usage: packaging/linux/add_release.sh PREFIX RELEASE_DIR

Makes the programs installed in PREFIX install the release that RELEASE_DIR describes:

  RELEASE_DIR/manifest.json  its manifest, which the programs then find without an option
  RELEASE_DIR/name           the name of the product
  RELEASE_DIR/icon.svg       the icon of the menu entry, also as icon.png; optional

The menu entry gets the title that packaging/read_release.pl prints.
USAGE
}

fail() { printf 'add_release.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
(($# == 2)) || { usage >&2; exit 2; }
prefix=$1
release=$2
packaging=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export LC_ALL=C

entry=$prefix/share/applications/example.orvane.vinst.desktop
metainfo=$prefix/share/metainfo/example.orvane.vinst.metainfo.xml
for file in "$prefix/lib/vinst/bin/vinst" "$entry" "$metainfo"; do
    [[ -f $file ]] || fail "there is no $file"
done
properties=$("$packaging/read_release.pl" "$release/manifest.json" "$(<"$release/name")")
title=$(sed -n 4p <<<"$properties")

install -m 644 "$release/manifest.json" "$prefix/lib/vinst/bin/manifest.json"
sed -i "s/^Name=.*/Name=$title/" "$entry"
sed -i "0,/<name>/s,<name>.*</name>,<name>$title</name>," "$metainfo"

icons=$prefix/share/icons/hicolor
if [[ -f $release/icon.svg ]]; then
    install -D -m 644 "$release/icon.svg" "$icons/scalable/apps/vinst-release.svg"
elif [[ -f $release/icon.png ]]; then
    # Width and height, from the header.
    size=$(od -An -tu1 -j16 -N8 "$release/icon.png" | awk '{ print $3 * 256 + $4 "x" $7 * 256 + $8 }')
    [[ ${size%x*} == "${size#*x}" && ${size%x*} =~ ^(16|22|24|32|48|64|128|256|512)$ ]] || fail "an icon can't have the size $size"
    install -D -m 644 "$release/icon.png" "$icons/$size/apps/vinst-release.png"
else
    exit 0
fi
sed -i 's/^Icon=.*/Icon=vinst-release/' "$entry"
