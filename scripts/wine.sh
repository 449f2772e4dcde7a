#!/usr/bin/env bash
# Runs a Windows program of the build through Wine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/wine.sh SDK PROGRAM [ARGUMENT...]

Runs a cross-built program that links the libraries of the folder SDK. It gets a Wine prefix of its
own, build/wine, unless WINEPREFIX names another, and finds the libraries of the SDK, those of the
compiler and those beside it.
END
}

if [[ ${1:-} == --help || $# -lt 2 ]]; then
    usage
    [[ ${1:-} == --help ]] && exit 0 || exit 2
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
sdk=$1
shift

# The directories of a list as Wine's own, in its form.
windows_paths() {
    local list='' directory
    for directory in "$@"; do
        list+="Z:${directory//\//\\};"
    done
    printf '%s' "$list"
}

compiler_library() { # FILE : the directory that the compiler has it in
    dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name="$1")"
}

export WINEPREFIX=${WINEPREFIX:-$root/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor a browser nor a debugger is wanted, and none may ask for being installed.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winedbg.exe=}
if [[ -z ${VINST_WINE_LIBRARIES:-} ]]; then
    VINST_WINE_LIBRARIES=$(windows_paths "$sdk/bin" "$(compiler_library libstdc++-6.dll)" \
        /usr/x86_64-w64-mingw32/lib "$root/build/windows/bin")
fi
export WINEPATH=$VINST_WINE_LIBRARIES
mkdir -p "$(dirname "$WINEPREFIX")"
exec wine "$@"
