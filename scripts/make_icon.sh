#!/usr/bin/env bash
# Draws the icons of the programs: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/make_icon.sh [FILE]

Draws the window icon at the sizes that Windows requires and writes them to FILE. The default is
install/hosts/vinst.ico, the icon of the Windows programs. Without FILE, it also draws the pictures that
desktops on Linux use, in packaging/linux/icons/.

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

if (($# == 0)); then
    for size in 16 22 24 32 36 48 64 72 96 128 192 256 512; do
        directory=$root/packaging/linux/icons/${size}x$size/apps
        mkdir -p "$directory"
        rsvg-convert -w "$size" -h "$size" "$root/support/afcq/images/1.svg" -o "$drawn/$size.png"
        # Without the time of drawing, so that the same picture has the same bytes.
        convert "$drawn/$size.png" -strip -define png:exclude-chunks=date,time "$directory/vinst.png"
    done
fi
