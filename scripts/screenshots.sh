#!/usr/bin/env bash
# Takes the pictures of the windows for the documentation: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/screenshots.sh [--build-dir DIR] [--out DIR]

Builds the project, runs its windows on a virtual display through a simulated download and
installation, and saves pictures of them as docs/images/NAME.png, at 200 % as NAME-2x and with a
dark palette as NAME-dark. Uses no network. The home directory in the pictures exists only for the
programs that this script runs. Times and speeds differ from run to run.

  --build-dir DIR  use DIR/tests/vinst_screenshots instead of building it
  --out DIR        save the pictures in DIR
  --help           print this help

Needs root, or a system that allows unprivileged mount namespaces.
END
}

fail() { printf 'screenshots.sh: %s\n' "$*" >&2; exit 1; }

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$root/docs/images
build=
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
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

Xvfb -displayfd 3 -screen 0 2560x2000x24 -dpi 96 -nolisten tcp 3>"$work/display" 2>"$work/display.log" &
display_server=$!
for ((i = 0; i < 100; ++i)); do
    [[ ! -s $work/display ]] || break
    kill -0 "$display_server" 2>/dev/null || break
    sleep 0.1
done
[[ -s $work/display ]] || { cat "$work/display.log" >&2; fail "the display did not start"; }
display=$(<"$work/display")

namespace=(unshare --mount)
if ((EUID != 0)); then
    namespace+=(--user --map-root-user)
fi

# take SUFFIX SCALE PALETTE
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
        "$work/vinst_screenshots" "$work/pictures" "$1" "$3" 2>"$work/photographer.log" &
    photographer=$!
    wait "$photographer" || { cat "$work/photographer.log" >&2; fail "the pictures could not be taken"; }
    photographer=
}
take "" 1 light
take -2x 2 light
take -dark 1 dark

mkdir -p "$out"
for picture in "$work"/pictures/*.png; do
    pngquant --strip --speed 1 --force --output "$out/${picture##*/}" 256 "$picture"
done
du -ch "$out"/*.png
