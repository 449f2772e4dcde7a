#!/usr/bin/env bash
# Builds, serves and installs a demo release on this machine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/demo.sh [--gui] [--keep DIR] [--rate BYTES] [--build-dir DIR]

Installs missing packages, builds the required programs, makes a demo release of about 200 MB, serves it
on loopback, and downloads, verifies and installs it with the console program.

  --gui            open the window instead; you press the buttons. Its settings and the proposed
                   directories are below the demo's own directory
  --keep DIR       keep the release, the downloads, the installation and the log in DIR: a new or
                   empty directory, or that of an earlier demo. A second run on it downloads
                   nothing again. By default, everything is removed at the end.
  --rate BYTES     limit each connection to BYTES per second, to watch the progress
  --build-dir DIR  use the programs in DIR/bin instead of building them
  --help           print this help
END
}

say() { printf '\n== %s\n' "$*"; }
fail() { printf 'demo.sh: %s\n' "$*" >&2; exit 1; }

SECONDS=0
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
keep=
rate=0
build=
gui=false
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --gui) gui=true; shift ;;
        --keep | --rate | --build-dir)
            if (($# < 2)) || [[ -z $2 ]]; then
                echo "demo.sh: $1 needs a value" >&2
                exit 2
            fi
            case $1 in
                --keep) keep=$2 ;;
                --rate) rate=$2 ;;
                --build-dir) build=$2 ;;
            esac
            shift 2
            ;;
        *) echo "demo.sh: unknown argument: $1" >&2; usage >&2; exit 2 ;;
    esac
done

# Resolve relative paths before the working directory changes.
if [[ -n $build ]]; then
    build=$(cd "$build" && pwd)
else
    "$root/scripts/install_deps.sh"
    say "Building"
    cd "$root"
    cmake --preset release -DBUILD_TESTING=OFF
    targets=(vinst_host vinst_pac vinst_desktop_proxy vinst_release)
    if $gui; then
        targets+=(vinst_gui_host)
    fi
    cmake --build --preset release --target "${targets[@]}"
    cd "$OLDPWD"
    build=$root/build/release
    echo "Built after $SECONDS s."
fi

server=
work=
finish() {
    if [[ -n $server ]]; then
        kill "$server" 2>/dev/null || true
        wait "$server" 2>/dev/null || true
    fi
    if [[ -z $keep && -n $work ]]; then
        rm -rf "$work"
    fi
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The marker identifies a directory of the demo. In any other, nothing must be removed.
marker=.vinst_demo
if [[ -n $keep ]]; then
    mkdir -p "$keep"
    work=$(cd "$keep" && pwd)
    if [[ ! -e $work/$marker && -n $(ls -A "$work") ]]; then
        fail "$keep is neither empty nor the directory of an earlier demo"
    fi
else
    work=$(mktemp -d "${TMPDIR:-/tmp}/vinst_demo.XXXXXX")
fi
touch "$work/$marker"

source=$work/source
release=$work/release
downloads=$work/downloads
install=$work/install

# payload DIRECTORY MEGABYTES: creates random data for an installer to install.
payload() {
    mkdir -p "$1/share"
    head -c "$(($2 * 1024 * 1024))" /dev/urandom >"$1/share/data.bin"
}

# installer NAME TITLE MEGABYTES NEEDS_EULA
installer() {
    local contents=$source/contents
    mkdir -p "$contents/bin"
    payload "$contents/$1" "$3"
    printf '#!/bin/sh\necho "%s 5.2 (demo)"\n' "$2" >"$contents/bin/$1"
    chmod 755 "$contents/bin/$1"
    {
        sed -e "s/@NAME@/$1/" -e "s/@TITLE@/$2/" -e "s/@NEEDS_EULA@/$4/" "$root/demo/installer.sh.in"
        tar -cf - -C "$contents" .
    } >"$source/$1.run"
    rm -r "$contents"
}

# device_archive NAME MEGABYTES
device_archive() {
    payload "$source/contents" "$2"
    tar -cf "$source/$1.vdz" -C "$source/contents" .
    rm -r "$source/contents"
}

# The files are random. They are created only once, because new bytes would be a different release.
recipe=$(cat "$root/demo/description.json" "$root/demo/installer.sh.in" "$root/scripts/demo.sh" | cksum)
if [[ ! -f $source/recipe || $(cat "$source/recipe") != "$recipe" ]]; then
    say "Making the files of the demo release"
    rm -rf "$source" "$release" "$downloads"
    mkdir -p "$source"
    cp "$root/demo/description.json" "$source/"
    installer veltrin_base "Veltrin Crest Pro Edition" 80 1
    installer vprogrammer "Programmer and Tools" 24 1
    installer vscope "On-board Logic Scope" 12 1
    installer vhelp "Offline Help" 4 1
    installer morlan_fe "Morlan FPGA Edition" 24 1
    installer flexlm "Licence service" 6 0
    device_archive orion 30
    device_archive lyra 20
    head -c 1048576 /dev/urandom >"$source/vdriver.exe"
    echo "$recipe" >"$source/recipe"
fi

mkdir -p "$release"
rm -f "$work/server.txt" # an earlier demo's address
"$build/bin/vinst_release" serve "$release" --rate "$rate" >"$work/server.txt" &
server=$!
for ((i = 0; i < 100; ++i)); do
    url=$(head -n 1 "$work/server.txt" 2>/dev/null || true)
    if [[ -n $url ]]; then break; fi
    kill -0 "$server" 2>/dev/null || break
    sleep 0.1
done
[[ -n $url ]] || fail "the server did not start"

say "Making the release, served at $url"
"$build/bin/vinst_release" make "$source/description.json" "$release"
"$build/bin/vinst_release" check "$release/manifest.json" "$release"

if [[ -e $install ]]; then
    say "Removing the installation of the last demo, because the directory must be empty: $install"
    rm -rf "$install"
fi

# A separate home directory keeps the window's settings and the directories that it proposes.
if $gui; then
    mkdir -p "$work/home"
    say "Opening the window: accept the licence and press Download. Everything is stored below $work/home"
    env -u http_proxy -u https_proxy -u all_proxy -u HTTP_PROXY -u HTTPS_PROXY -u ALL_PROXY \
        "HOME=$work/home" "vinst_manifest=$release/manifest.json" "$build/bin/vinst_gui" --url "$url" ||
        fail "the window did not open"
    echo
    if [[ -x $work/home/orvaneFPGA_pro/5.2/bin/veltrin_base ]]; then
        echo "$("$work/home/orvaneFPGA_pro/5.2/bin/veltrin_base") says it works."
    else
        echo "Nothing was installed."
    fi
    exit 0
fi

say "Running the console program"
# This machine's proxy can't reach a server on its loopback.
env -u http_proxy -u https_proxy -u all_proxy -u HTTP_PROXY -u HTTPS_PROXY -u ALL_PROXY \
    "vinst_manifest=$release/manifest.json" \
    "$build/bin/vinst" --url "$url" --download-dir "$downloads" --parallel-downloads 4 \
    --install-dir "$install" --accept-eula

# The exit code doesn't show whether the run succeeded; the log does.
log=$(find "$downloads" -maxdepth 1 -name '*.log' -printf '%T@ %p\n' | sort -n | tail -n 1 | cut -d' ' -f2-)
[[ -n $log ]] || fail "the run left no log"
if ! grep -q "Installation completed successfully" "$log"; then
    cat "$log" >&2
    fail "the release was not installed; see the log above"
fi

say "Installed in $install"
cd "$install"
# The slash sorts before every other character, so that a directory precedes its contents.
find . -mindepth 1 -maxdepth 2 -printf '%P\n' | tr / '\001' | LC_ALL=C sort | tr '\001' / |
    while IFS= read -r path; do
        depth=${path//[^\/]/}
        printf '%8s  %*s%s\n' "$(du -sh "$path" | cut -f1)" "$((2 * ${#depth}))" "" \
            "${path##*/}$([[ ! -d $path ]] || echo /)"
    done
cd "$OLDPWD"
echo
echo "$("$install/bin/veltrin_base") says it works."
echo "The log of the run: $log"
echo "The demo took $SECONDS s."
if [[ -z $keep ]]; then
    echo "Everything is removed now; use --keep DIR to keep it."
fi
