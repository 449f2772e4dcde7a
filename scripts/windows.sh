#!/usr/bin/env bash
# Builds the Windows programs on a Debian 12 machine and tests them under Wine: see usage below.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
    cat <<'END'
Usage: scripts/windows.sh [--no-tests] [PACK_OPTION...]

Installs missing packages, cross-builds the Windows programs, runs their tests under Wine, and creates
a zip file and a setup program in build/windows/dist/.

The libraries for Windows come from the directory that VINST_WIN64_SDK names, or else from
../shared/win64-sdk.tar.xz if it exists. Otherwise packaging/windows/build_sdk.sh builds them from
Debian's sources, which takes about an hour.

  --no-tests   only builds and packages
  PACK_OPTION  --icon, --manifest, --name, --sign, --key or --timestamp with a value, for packaging/windows/pack.sh:
               for the packages of a release, and for signing. The tests of the setup program are for packages
               without a release
END
}

with_tests=true
pack_options=(--icon install/hosts/vinst.ico)
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --no-tests) with_tests=false; shift ;;
        --icon | --manifest | --name | --sign | --key | --timestamp)
            [[ -n ${2:-} ]] || { usage >&2; exit 2; }
            pack_options+=("$1" "$2")
            shift 2
            ;;
        *) usage >&2; exit 2 ;;
    esac
done

say() { printf '\n== %s\n' "$*"; }

root=$PWD
build=$root/build/windows
jobs=$(nproc)

say "Installing missing packages"
scripts/install_deps.sh test windows

say "Finding the libraries for Windows"
if [[ -z ${VINST_WIN64_SDK:-} ]]; then
    VINST_WIN64_SDK=$root/build/win64-sdk
    if [[ -e $VINST_WIN64_SDK/complete ]]; then
        :
    elif [[ -f ../shared/win64-sdk.tar.xz ]]; then
        rm -rf "$VINST_WIN64_SDK"
        mkdir -p "$VINST_WIN64_SDK"
        tar -xJf ../shared/win64-sdk.tar.xz -C "$VINST_WIN64_SDK" --strip-components=1
        touch "$VINST_WIN64_SDK/complete"
    else
        packaging/windows/build_sdk.sh "$VINST_WIN64_SDK"
        touch "$VINST_WIN64_SDK/complete"
    fi
fi
export VINST_WIN64_SDK
echo "$VINST_WIN64_SDK"

# The Wine service processes of this prefix are ended with the script.
export WINEPREFIX=${WINEPREFIX:-$root/build/wine}
export WINEDEBUG=-all
mkdir -p "$(dirname "$WINEPREFIX")"
end_wine() {
    WINEPREFIX=$WINEPREFIX "$(command -v wineserver || echo /usr/lib/wine/wineserver)" -k 2>/dev/null || true
}
trap end_wine EXIT
if [[ ! -e $WINEPREFIX/system.reg ]]; then
    say "Setting up Wine"
    WINEDLLOVERRIDES=mscoree,mshtml= timeout 180 wineboot -i
fi

# Tests need windows without a display. Wine reads this setting when its desktop starts.
scripts/wine.sh "$VINST_WIN64_SDK" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d x11,null /f </dev/null >/dev/null 2>&1
end_wine

say "Building"
cmake --preset windows ${CI:+-DVINST_WERROR=ON}
cmake --build --preset windows -j "$jobs"

if $with_tests; then
    # The first program that needs Wine's desktop, services or a console starts them, and they inherit
    # its output streams, so that a test would seem to hang. Therefore, start them before the tests;
    # the desktop keeps them running.
    scripts/wine.sh "$VINST_WIN64_SDK" explorer.exe /desktop </dev/null >/dev/null 2>&1 &
    desktop=$!
    for program in unit integration gui; do
        timeout 120 scripts/wine.sh "$VINST_WIN64_SDK" "$build/tests/vinst_${program}_tests.exe" \
            '--gtest_filter=StopSignals*:FatalHandlersDeathTest.*:Install.*:AfcqDialog*' \
            </dev/null >/dev/null 2>&1 || true
    done

    # Retry a test once after a timeout: a Wine service that starts late may still hold its output
    # streams open.
    again=(--repeat after-timeout:2 --timeout 120)

    say "Running the Windows test programs"
    ctest --preset windows "${again[@]}"

    say "Running the end-to-end tests with the Windows hosts"
    cmake --preset release ${CI:+-DVINST_WERROR=ON}
    cmake --build --preset release -j "$jobs" --target vinst_integration_tests
    left_out=$(sed -e 's/#.*//' -e 's/[[:space:]]*$//' -e '/^$/d' tests/integration/not_for_windows_hosts.txt | paste -sd '|')
    VINST_TEST_WINDOWS_BUILD=$build ctest --preset release "${again[@]}" -R '^integration\.(Server/)?(Host|SharedLibrary)' -E "^integration\.($left_out)( |\$)"
    kill "$desktop" 2>/dev/null || true
fi

say "Packaging"
version=$(sed -n 's/^project(vinst VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
rm -rf "$build/dist" "$build/layout"
mkdir -p "$build/dist"
packaging/windows/collect.sh "$build/bin" "$build/licenses" "$VINST_WIN64_SDK" "$build/layout"
packaging/windows/pack.sh "${pack_options[@]}" "$build/layout" "$version" "$build/dist"
if $with_tests; then
    say "Testing the setup program"
    tested=$build/dist
    if [[ " ${pack_options[*]} " == *" --manifest "* ]]; then
        tested=$build/dist_without_release
        packaging/windows/pack.sh --icon install/hosts/vinst.ico "$build/layout" "$version" "$tested"
    fi
    packaging/windows/test_setup.sh "$tested/vinst-$version-windows-x86_64-setup.exe" "$tested/vinst-$version-windows-x86_64.zip"
    say "Installing the demo release"
    scripts/windows_demo.sh
fi
say "Done"
ls -l "$build/dist"
