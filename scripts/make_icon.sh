#!/usr/bin/env bash
# Draws the icon of the Windows programs: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/make_icon.sh [FILE]

Draws the window icon at the sizes that Windows requires and writes them to FILE. The default is
install/hosts/vinst.ico, the icon of the Windows programs.

Needs rsvg-convert (Debian package librsvg2-bin) and convert (imagemagick); installs nothing.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
target=${1:-$root/install/hosts/vinst.ico}
drawn=$(mktemp -d)
trap 'rm -rf "$drawn"' EXIT

pictures=()
for size in 16 24 32 48 64 256; do
    rsvg-convert -w "$size" -h "$size" "$root/support/afcq/images/1.svg" -o "$drawn/$size.png"
    pictures+=("$drawn/$size.png")
done
convert "${pictures[@]}" -strip "$target"
