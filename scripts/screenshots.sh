#!/usr/bin/env bash
# Takes the pictures of the windows for the documentation: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/screenshots.sh [--build-dir DIR] [--out DIR] [--matrix]

Builds the project, runs its windows on a virtual display through a simulated download and
installation, and saves pictures of them as docs/images/NAME.png, at 200 % as NAME-2x and with a
dark palette as NAME-dark; those of a release with 200 components are large-NAME. Uses no network.
The home directory in the pictures exists only for the programs that this script runs. Times and
speeds differ from run to run. Fails if a control in a picture is cut or outside of its window.

  --build-dir DIR  use DIR/tests/vinst_screenshots instead of building it
  --out DIR        save the pictures in DIR
  --matrix         instead, take every picture at 96, 144 and 192 dpi, light and dark, on screens of
                   1024x600 and 1920x1080 pixels at 96 dpi (more at higher resolutions), also of a
                   release with 200 components, and save them as DIR/SCREEN/NAME-DPI-PALETTE.png;
                   needs --out
  --help           print this help

Needs root, or a system that allows unprivileged mount namespaces.
END
}

fail() { printf 'screenshots.sh: %s\n' "$*" >&2; exit 1; }

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=
build=
matrix=
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --matrix) matrix=1; shift ;;
        --build-dir | --out)
            if (($# < 2)) || [[ -z $2 ]]; then
                echo "screenshots.sh: $1 needs a value" >&2
                exit 2
            fi
            case $1 in
                --build-dir) build=$2 ;;
                --out) out=$2 ;;
            esac
            shift 2
            ;;
        *) echo "screenshots.sh: unknown argument: $1" >&2; usage >&2; exit 2 ;;
    esac
done

[[ -z $matrix || -n $out ]] || { echo "screenshots.sh: --matrix needs --out" >&2; exit 2; }
out=${out:-$root/docs/images}

"$root/scripts/install_deps.sh" screenshots
if [[ -z $build ]]; then
    build=$root/build/release
    (cd "$root" && cmake --preset release && cmake --build --preset release --target vinst_screenshots)
fi
[[ -x $build/tests/vinst_screenshots ]] || fail "there is no $build/tests/vinst_screenshots"

# Outside of /home, which is covered by another file system while the pictures are taken.
work=$(mktemp -d /tmp/vinst_screenshots.XXXXXX)
display_server=
photographer=
finish() {
    local pid
    for pid in $photographer $display_server; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

mkdir -m 700 "$work/run" "$work/pictures"
cp "$build/tests/vinst_screenshots" "$work/"

stop_display() {
    [[ -n $display_server ]] || return 0
    kill "$display_server" 2>/dev/null || true
    wait "$display_server" 2>/dev/null || true
    display_server=
}

# start_display WIDTHxHEIGHT
start_display() {
    stop_display
    rm -f "$work/display"
    Xvfb -displayfd 3 -screen 0 "$1x24" -dpi 96 -nolisten tcp 3>"$work/display" 2>"$work/display.log" &
    display_server=$!
    local i
    for ((i = 0; i < 100; ++i)); do
        [[ ! -s $work/display ]] || break
        kill -0 "$display_server" 2>/dev/null || break
        sleep 0.1
    done
    [[ -s $work/display ]] || { cat "$work/display.log" >&2; fail "the display did not start"; }
    display=$(<"$work/display")
}

namespace=(unshare --mount)
if ((EUID != 0)); then
    namespace+=(--user --map-root-user)
fi

# take SUFFIX SCALE PALETTE [large]
take() {
    # The log in the pictures shows this size. The files are sparse and take hardly any of it.
    # shellcheck disable=SC2016
    "${namespace[@]}" sh -c '
        mount -t tmpfs -o size=412g tmpfs /home
        mkdir /home/ada
        cd /home/ada
        exec "$@"' sh \
        env -i HOME=/home/ada PATH=/usr/bin:/bin LANG=C.UTF-8 TZ=UTC XDG_RUNTIME_DIR="$work/run" \
        VINST_NO_PROXY_DISCOVERY=1 DISPLAY=":$display" QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR="$2" \
        "$work/vinst_screenshots" "$work/pictures" "$1" "$3" "${4:-}" 2>"$work/photographer.log" &
    photographer=$!
    wait "$photographer" || { cat "$work/photographer.log" >&2; fail "the pictures could not be taken"; }
    photographer=
}
# take_matrix WIDTH HEIGHT
take_matrix() {
    local dpi scale palette
    for dpi in 96 144 192; do
        scale=$((dpi * 10 / 96)) # in tenths
        start_display "$(($1 * scale / 10))x$(($2 * scale / 10))"
        for palette in light dark; do
            take "-$dpi-$palette" "${scale%?}.${scale: -1}" "$palette"
            take "-$dpi-$palette" "${scale%?}.${scale: -1}" "$palette" large
        done
    done
    mkdir -p "$out/$1x$2"
    mv "$work"/pictures/*.png "$out/$1x$2/"
}

if [[ -n $matrix ]]; then
    take_matrix 1024 600
    take_matrix 1920 1080
    printf '%s pictures\n' "$(find "$out" -name '*.png' | wc -l)"
    exit 0
fi

start_display 2560x2000
take "" 1 light
take "" 1 light large
take -2x 2 light
take -dark 1 dark

mkdir -p "$out"
for picture in "$work"/pictures/*.png; do
    pngquant --strip --speed 1 --force --output "$out/${picture##*/}" 256 "$picture"
done
du -ch "$out"/*.png
