#!/usr/bin/env bash
# Runs a Windows program of the build in Wine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/wine.sh SDK PROGRAM [ARGUMENT...]

Runs a cross-built program with the libraries of the directory SDK, of the compiler and of the build.
Uses the Wine prefix build/wine, unless WINEPREFIX names another.
END
}

if [[ ${1:-} == --help || $# -lt 2 ]]; then
    usage
    [[ ${1:-} == --help ]] && exit 0 || exit 2
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
sdk=$1
shift

# windows_paths DIRECTORY... : prints them as a list of Windows paths on Wine's drive Z.
windows_paths() {
    local list='' directory
    for directory in "$@"; do
        list+="Z:${directory//\//\\};"
    done
    printf '%s' "$list"
}

compiler_library() { # FILE : prints the compiler's directory with that library
    dirname "$(x86_64-w64-mingw32-g++-posix -print-file-name="$1")"
}

export WINEPREFIX=${WINEPREFIX:-$root/build/wine}
export WINEDEBUG=${WINEDEBUG:--all}
# Disables .NET, the browser and the debugger, so that Wine doesn't offer to install them.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml,winedbg.exe=}
if [[ -z ${VINST_WINE_LIBRARIES:-} ]]; then
    VINST_WINE_LIBRARIES=$(windows_paths "$sdk/bin" "$(compiler_library libstdc++-6.dll)" \
        /usr/x86_64-w64-mingw32/lib "$root/build/windows/bin")
fi
export WINEPATH=$VINST_WINE_LIBRARIES
mkdir -p "$(dirname "$WINEPREFIX")"
exec wine "$@"
