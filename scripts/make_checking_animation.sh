#!/usr/bin/env bash
# Draws the animation for a file that is being checked: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/make_checking_animation.sh [DIR]

Draws the animation for a file that is being checked, at 16, 32 and 48 pixels, and writes it to
DIR as 3.gif, 3@2x.gif and 3@3x.gif. The default DIR is support/afcq/images, which the program's
resources are built from. The output is reproducible.

Needs rsvg-convert (Debian package librsvg2-bin) and convert (imagemagick); installs nothing.
END
}

fail() { printf 'make_checking_animation.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
(($# <= 1)) || { usage >&2; exit 2; }

missing=()
command -v rsvg-convert >/dev/null || missing+=(librsvg2-bin)
command -v convert >/dev/null || missing+=(imagemagick)
((${#missing[@]} == 0)) || fail "these packages are missing: ${missing[*]}"

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
target=${1:-$root/support/afcq/images}
[[ -d $target ]] || fail "there is no directory $target"

export LC_ALL=C
frames=12
delay=10 # hundredths of a second; one turn takes 1.2 s
track='#e6eaef'
arc='#505b69'
# GIF supports no partial transparency. Partly transparent pixels are blended with this colour, which
# is between the track and a dark row, and light enough not to fringe the track on a white row.
edge='#aeb7c1'
edge_coverage=45% # pixels that are covered less are transparent

# The ring of the icon "not checked yet", with an arc that fades out behind its head: shorter and
# shorter arcs of the same colour, drawn over each other. The arc stays within the track, so that all
# frames cover the same pixels and the previous frame need not be cleared.
draw_frame() { # NUMBER
    awk -v frame="$1" -v frames="$frames" -v track="$track" -v arc="$arc" 'BEGIN {
        circle = "  <circle cx=\"8\" cy=\"8\" r=\"6\" fill=\"none\""
        around = 2 * 3.14159265358979 * 6
        arcs = 16
        print "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 16 16\">"
        printf "%s stroke=\"%s\" stroke-width=\"3.4\"/>\n", circle, track
        for (i = 1; i <= arcs; ++i) {
            part = 0.1 + 0.55 * (arcs - i) / (arcs - 1)
            printf "%s stroke=\"%s\" stroke-width=\"2.2\" stroke-linecap=\"round\"", circle, arc
            printf " stroke-opacity=\"%.2f\"", i == arcs ? 1 : 0.04 + 0.011 * i
            printf " stroke-dasharray=\"%.4f %.4f\"", part * around, around
            printf " transform=\"rotate(%.4f 8 8)\"/>\n", 360 * (frame / frames - part) - 90
        }
        print "</svg>"
    }'
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One palette for all frames, so that colours don't differ between them.
convert -size 1x64 "gradient:$arc-$track" -size 1x16 "gradient:$track-$edge" -append "$work/palette.ppm"

make_movie() { # PIXELS FILE
    local frame number
    rm -f "$work"/*.png
    for ((frame = 0; frame < frames; ++frame)); do
        number=$(printf %02d "$frame")
        draw_frame "$frame" >"$work/$number.svg"
        rsvg-convert --width="$1" --height="$1" --output="$work/$number-soft.png" "$work/$number.svg"
        convert "$work/$number-soft.png" \
            \( -clone 0 -background "$edge" -alpha remove +dither -remap "$work/palette.ppm" \) \
            \( -clone 0 -alpha extract -threshold "$edge_coverage" \) \
            -delete 0 -alpha off -compose CopyOpacity -composite "$work/$number-hard.png"
    done
    convert -delay "$delay" -dispose none "$work"/*-hard.png -loop 0 -strip +dither "GIF:$target/$2"
}

make_movie 16 3.gif
make_movie 32 3@2x.gif
make_movie 48 3@3x.gif
