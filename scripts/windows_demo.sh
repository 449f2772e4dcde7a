#!/usr/bin/env bash
# Installs the demo release with the Windows programs under Wine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/windows_demo.sh [--pictures DIR]

Makes the demo release with installers for Windows, serves it on loopback, downloads, verifies and
installs it under Wine with the packaged vinst_cli.exe, and checks what was installed. Run
scripts/windows.sh first.

  --pictures DIR  also opens vinst.exe on a virtual display, downloads and installs with it, and
                  saves windows-idle.png and windows-installed.png in DIR

Needs the Debian packages jq, and for pictures xvfb, xdotool and imagemagick; installs nothing.
END
}

fail() { printf 'windows_demo.sh: %s\n' "$*" >&2; exit 1; }

pictures=
case ${1:-} in
    --help) usage; exit 0 ;;
    --pictures) pictures=$(realpath "${2:?a directory is needed}") ;;
    '') ;;
    *) usage >&2; exit 2 ;;
esac

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tool=$root/build/release/bin/vinst_release
poser=$root/build/windows/tests/posers/poser_script.exe
layout=$root/build/windows/layout
for file in "$tool" "$poser" "$layout/bin/vinst_cli.exe"; do
    [[ -f $file ]] || fail "there is no $file; run scripts/windows.sh first"
done
command -v jq >/dev/null || fail "jq is not installed"

work=$(mktemp -d)
export WINEPREFIX=$work/prefix WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
server=
display=
finish() {
    for program in $server $display; do
        kill "$program" 2>/dev/null || true
    done
    [[ ! -d $WINEPREFIX ]] || timeout 60 wineserver -k 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

# An installer: the poser program, the commands that it executes, and padding.
installer() { # MEGABYTES LINES...
    local megabytes=$1
    shift
    cat "$poser"
    printf '\n== what to do ==\n'
    printf '%s\n' "$@"
    head -c "${megabytes}M" /dev/urandom
}

echo "Making the release"
jq '.installdir_windows = "C:\\orvaneFPGA_pro\\5.2" | del(.installdir_linux)
    | .components |= map(select(.platform == "linux") | .platform = "windows"
        | if .file then .file |= sub("\\.run$"; ".exe") else . end)' \
    "$root/demo/description.json" >"$work/description.json"
while read -r file; do
    installer 5 install installed 'exit 0' >"$work/$file"
done < <(jq -r '.components[].file // empty' "$work/description.json")
installer 0 install installed 'exit 0' >"$work/dev_install.exe"
{
    cat "$poser"
    printf '\n== what to do ==\ninstall\nlay %s devices/dev_install/dev_install.exe\n' \
        "$(stat -c %s "$work/dev_install.exe")"
    cat "$work/dev_install.exe"
    printf 'installed\nexit 0\n'
    head -c 20M /dev/urandom
} >"$work/veltrin_base.exe"

"$tool" serve "$work" >"$work/address" 2>/dev/null &
server=$!
for ((i = 0; i < 100; ++i)); do
    [[ ! -s $work/address ]] || break
    sleep 0.1
done
url=$(head -n 1 "$work/address")/release
"$tool" make "$work/description.json" "$work/release"

windows_path() { printf 'Z:%s' "${1//\//\\}"; }
vinst_manifest=$(windows_path "$work/release/manifest.json")
export vinst_manifest

echo "Setting up Wine"
DISPLAY='' timeout 180 wineboot -i >/dev/null 2>&1
for family in "MS Shell Dlg" "MS Shell Dlg 2" "Tahoma"; do
    wine reg add 'HKCU\Software\Wine\Fonts\Replacements' /v "$family" /d "DejaVu Sans" /f >/dev/null 2>&1
done

expect_installed() { # DIR
    local order
    order=$(tr -d '\r' <"$1/install_order" | tr '\n' ' ')
    [[ $order == "veltrin_base.exe "*"flexlm.exe "* ]] || fail "unexpected components or order: $order"
    echo "Installed, in this order: $order"
}

echo "Running vinst_cli.exe"
timeout 300 wine "$layout/bin/vinst_cli.exe" --url "$url" --download-dir "$(windows_path "$work/dl")" \
    --install-dir "$(windows_path "$work/inst")" --accept-eula </dev/null | tr -d '\r' | tee "$work/output"
[[ $(tail -n 1 "$work/output") == "Installation completed successfully" ]] || fail "the installation failed"
expect_installed "$work/inst"

[[ -n $pictures ]] || exit 0
echo "Opening vinst.exe"
wineserver -k || true # its desktop was started without a display
Xvfb -displayfd 6 -screen 0 1100x800x24 6>"$work/display" 2>/dev/null &
display=$!
for ((i = 0; i < 100; ++i)); do
    [[ ! -s $work/display ]] || break
    sleep 0.1
done
DISPLAY=:$(cat "$work/display")
export DISPLAY
wine "$layout/bin/vinst.exe" --url "$url" >/dev/null 2>&1 &
disown # it ends with Wine
window=
for ((i = 0; i < 60 && ${#window} == 0; ++i)); do
    sleep 1
    window=$(xdotool search --name 'Crest Installer' 2>/dev/null | head -n 1 || true)
done
[[ -n $window ]] || fail "no window appeared"
sleep 4
take() { import -window "$window" "$pictures/$1.png"; }
take windows-idle
# Click "Agree to", then "Download". Return confirms the message box at the end.
xdotool mousemove --window "$window" 30 408 click 1
sleep 1
xdotool mousemove --window "$window" 777 678 click 1
for ((i = 0; i < 60; ++i)); do
    sleep 1
    [[ ! -f $WINEPREFIX/drive_c/orvaneFPGA_pro/5.2/flexlm.exe ]] || break
done
sleep 3
xdotool key Return
sleep 2
take windows-installed
expect_installed "$WINEPREFIX/drive_c/orvaneFPGA_pro/5.2"
