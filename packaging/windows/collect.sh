#!/usr/bin/env bash
# Collects the files that vinst needs on a plain Windows 10 machine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: packaging/windows/collect.sh BIN_DIR LICENSES_DIR SDK_DIR OUTPUT_DIR

Copies the programs and every DLL that they need on a plain Windows 10 machine, and nothing else, to
OUTPUT_DIR, which must be empty or new.

  BIN_DIR       contains vinst.exe, vinst_cli.exe and vinst.dll, built by x86_64-w64-mingw32-g++-posix
  LICENSES_DIR  contains main.html
  SDK_DIR       contains the libraries' DLLs in bin/ and Qt's plugins in plugins/

The copies have no debugging information. All files get the time SOURCE_DATE_EPOCH, by default that of
the last commit. The licences of the libraries are those of the Debian packages with the same sources,
from /usr/share/doc; sbom.spdx.json (SPDX) lists the libraries with their versions and licences.
END
}

fail() { printf 'collect.sh: %s\n' "$*" >&2; exit 1; }

if [[ ${1:-} == --help ]]; then
    usage
    exit 0
fi
(($# == 4)) || { usage >&2; exit 2; }
bin=$1
licenses=$2
sdk=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export LC_ALL=C

tool=x86_64-w64-mingw32
for command in "$tool-g++-posix" "$tool-objdump" "$tool-strip"; do
    command -v "$command" >/dev/null || fail "there is no $command"
done

ours=(vinst.exe vinst_cli.exe vinst.dll)
plugins=(
    platforms/qwindows.dll platforms/qoffscreen.dll # the console program uses the second
    imageformats/qgif.dll imageformats/qico.dll imageformats/qsvg.dll
    iconengines/qsvgicon.dll
)
for file in "${ours[@]/#/$bin/}" "$licenses/main.html" "${plugins[@]/#/$sdk/plugins/}"; do
    [[ -f $file ]] || fail "there is no $file"
done
[[ ! -e $4 || (-d $4 && -z $(ls -A "$4")) ]] || fail "$4 exists and is not empty"

epoch=${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct)}
[[ $epoch =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is not a number: $epoch"
# For strip, which otherwise writes the current time into its output.
export SOURCE_DATE_EPOCH=$epoch

compiler_dll=$("$tool-g++-posix" -print-file-name=libstdc++-6.dll)
[[ $compiler_dll == /* ]] || fail "the compiler has no libstdc++-6.dll"
search=("$bin" "$sdk/bin" "$(dirname "$compiler_dll")" "/usr/$tool/lib")

declare -A windows_own=()
while read -r name; do
    [[ -z $name || $name == '#'* ]] || windows_own[$name]=1
done <"$here/windows_dlls.txt"

is_windows_own() { # NAME, in lower case
    [[ -n ${windows_own[$1]:-} || $1 == api-ms-win-core-* || $1 == api-ms-win-crt-* ]]
}

find_dll() { # NAME: prints its path; Windows ignores case
    find "${search[@]}" -maxdepth 1 -type f -iname "$1" | head -n 1
}

# headers FILE: prints its headers as objdump shows them, and checks what applies to all files.
headers() {
    local text
    text=$("$tool-objdump" -p "$1") || fail "$1 can't be read as a Windows program"
    [[ $text == *"file format pei-x86-64"* ]] || fail "$1 is not for x86-64"
    # Names in that table would be missed below.
    [[ $text =~ Entry\ d\ 0+\ 0+\ Delay\ Import ]] || fail "$1 has delay-loaded DLLs, which are not supported"
    printf '%s\n' "$text"
}

# check_hardening FILE: requires address randomization and data execution prevention.
check_hardening() {
    local text flags
    text=$(headers "$1")
    flags=$(awk '$1 == "DllCharacteristics" { print $2; exit }' <<<"$text")
    [[ -n $flags ]] || fail "$1 has no DllCharacteristics"
    ((16#$flags & 0x0040)) || fail "$1 is not linked with --dynamicbase"
    ((16#$flags & 0x0020)) || fail "$1 is not linked with --high-entropy-va"
    ((16#$flags & 0x0100)) || fail "$1 is not linked with --nxcompat"
}

# copy SOURCE TARGET
copy() {
    local text
    install -D -m 644 "$1" "$2"
    text=$("$tool-objdump" -h "$2")
    if [[ $text == *" .debug_info "* ]]; then
        "$tool-strip" --strip-debug "$2"
    fi
}

# Files still to be examined, and the path of each known DLL by its lower-case name.
queue=()
declare -A laid_out=()
# Collected in a temporary directory, so that OUTPUT_DIR exists only after success.
mkdir -p "$(dirname "$4")"
work=$(mktemp -d "$(dirname "$4")/.collect.XXXXXX")
trap 'rm -rf "$work"' EXIT
out=$work/layout
mkdir "$out"
for name in "${ours[@]}"; do
    check_hardening "$bin/$name"
    copy "$bin/$name" "$out/bin/$name"
    check_hardening "$out/bin/$name"
    laid_out[${name,,}]=$bin/$name
    queue+=("$bin/$name")
done
for plugin in "${plugins[@]}"; do
    copy "$sdk/plugins/$plugin" "$out/bin/$plugin"
    queue+=("$sdk/plugins/$plugin")
done

missing=()
while ((${#queue[@]} > 0)); do
    file=${queue[0]}
    queue=("${queue[@]:1}")
    text=$(headers "$file")
    while read -r import; do
        key=${import,,}
        [[ -z ${laid_out[$key]:-} ]] || continue
        ! is_windows_own "$key" || continue
        path=$(find_dll "$import")
        if [[ -z $path ]]; then
            missing+=("$import (for ${file##*/})")
            continue
        fi
        laid_out[$key]=$path
        copy "$path" "$out/bin/${path##*/}"
        queue+=("$path")
    done < <(awk '$1 == "DLL" && $2 == "Name:" { print $3 }' <<<"$text")
done
((${#missing[@]} == 0)) || fail "these DLLs were not found and are not part of Windows: ${missing[*]}"

install -D -m 644 "$licenses/main.html" "$out/licenses/main.html"

# The licences: the family of each collected file, and the package with the family's licence texts.
family_of() { # FILE NAME
    case ${1,,} in
        qt5svg.dll | qsvg.dll | qsvgicon.dll) echo qtsvg ;;
        qt5*.dll | qwindows.dll | qoffscreen.dll | qgif.dll | qico.dll) echo qtbase ;;
        libcurl.dll) echo curl ;;
        libtbb12.dll) echo onetbb ;;
        zlib1.dll) echo zlib ;;
        libstdc++-6.dll | libgcc_s_seh-1.dll) echo gcc-runtime ;;
        libwinpthread-1.dll) echo mingw-w64 ;;
    esac
}
declare -A package_of=(
    [qtbase]=libqt5core5a [qtsvg]=libqt5svg5 [curl]=libcurl4 [onetbb]=libtbb12 [zlib]=libz-mingw-w64
    [gcc-runtime]=gcc-mingw-w64-x86-64-posix-runtime [mingw-w64]=mingw-w64-common
    [boost]=libboost1.74-dev [fmt]=libfmt-dev [spdlog]=libspdlog-dev
)
# The compiler's startup code contains parts of these and is linked into every program.
declare -A family_files=([gcc-runtime]="every program" [mingw-w64]="every program")

third_party=$out/licenses/third_party
mkdir -p "$third_party"
while read -r path; do
    name=${path##*/}
    [[ " ${ours[*]} " != *" $name "* ]] || continue
    family=$(family_of "$name")
    [[ -n $family ]] || fail "no licence is known for $name"
    family_files[$family]+=${family_files[$family]:+, }$name
done < <(find "$out/bin" -type f | sort)
# Libraries that are linked into the programs are recognized by the names of their types.
for linked in boost:N5boost fmt:N3fmt spdlog:6spdlog; do
    for name in "${ours[@]}"; do
        if grep -q -a -F "${linked#*:}" "$out/bin/$name"; then
            family_files[${linked%%:*}]+=${family_files[${linked%%:*}]:+, }"in $name"
        fi
    done
done

{
    echo "The program contains these third-party components. Each file here has the licences of one of"
    echo "them, as stated by the Debian 12 package of that name, and the origin of its sources. Texts"
    echo "that it refers to in /usr/share/common-licenses are in the directory common-licenses here."
    while read -r family; do
        package=${package_of[$family]}
        text=/usr/share/doc/$package/copyright
        [[ -f $text ]] || fail "there is no $text; install the package $package"
        install -m 644 "$text" "$third_party/$family.txt"
        printf '\n%s.txt (package %s)\n    %s\n' "$family" "$package" "${family_files[$family]}"
    done < <(printf '%s\n' "${!family_files[@]}" | sort)
} >"$third_party/README.txt"
while read -r name; do
    [[ -f /usr/share/common-licenses/$name ]] || fail "there is no /usr/share/common-licenses/$name"
    install -D -m 644 "/usr/share/common-licenses/$name" "$third_party/common-licenses/$name"
done < <(grep -ho '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$third_party"/*.txt |
    sed 's,.*/,,' | sort -u)

# sdk_version FAMILY: prints name and version of the source package of a library in SDK_DIR, or nothing if it
# is not from there. The version is that of the library if build_sdk.sh has left no other.
sdk_version() {
    local headers=$sdk/include parts=$sdk/.parts
    case $1 in
        qtbase | qtsvg) cat "$parts/$1" 2>/dev/null || sed -nE "s/^QT_VERSION = /$1-opensource-src /p" "$sdk/mkspecs/qconfig.pri" ;;
        curl) cat "$parts/curl" 2>/dev/null || sed -nE 's/^#define LIBCURL_VERSION "(.*)"/curl \1/p' "$headers/curl/curlver.h" ;;
        zlib) cat "$parts/zlib" 2>/dev/null || sed -nE 's/^#define ZLIB_VERSION "(.*)"/libz-mingw-w64 \1/p' "$headers/zlib.h" ;;
        boost) cat "$parts/boost" 2>/dev/null || sed -nE 's/^#define BOOST_LIB_VERSION "(.*)"/boost1.74 \1/p' "$headers/boost/version.hpp" 2>/dev/null | tr _ . ;;
        onetbb)
            cat "$parts/tbb" 2>/dev/null ||
                sed -nE 's/^#define TBB_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+).*/\2/p' "$headers/oneapi/tbb/version.h" | paste -sd . | sed 's/^/onetbb /'
            ;;
    esac
}

product_version=$(sed -nE 's/^project\(vinst VERSION ([0-9.]+) .*/\1/p' "$here/../../CMakeLists.txt")
[[ -n $product_version ]] || fail "the version is unknown"
while read -r family; do
    package=${package_of[$family]}
    read -r source version < <(sdk_version "$family" 2>/dev/null || true; echo)
    # Without a revision, a version is not that of a package.
    purl=
    if [[ -n $source ]]; then
        [[ $version != *-* ]] || purl="$source@$version?arch=source"
    else
        # shellcheck disable=SC2016 # dpkg-query expands it
        read -r source version < <(dpkg-query -W -f='${source:Package} ${Version}\n' "$package")
        purl=$(dpkg-query -W -f='${Package}@${Version}?arch=${Architecture}' "$package")
    fi
    [[ $version =~ ^[0-9] ]] || fail "the version of $family is unknown"
    printf 'Name: %s\nVersion: %s\nSource: %s\nSupplier: Debian\n' "$family" "$version" "$source"
    dpkg-query -W -f='Homepage: ${Homepage}\n' "$package"
    if [[ -n $purl ]]; then
        purl=${purl//+/%2B}
        printf 'Purl: pkg:deb/debian/%s&distro=bookworm\n' "${purl//:/%3A}"
    fi
    printf 'Files: %s\nCopyright-File: %s\nLicense-Text: %s\n\n' "${family_files[$family]}" "$third_party/$family.txt" \
        "licenses/third_party/$family.txt"
done < <(printf '%s\n' "${!family_files[@]}" | sort) |
    perl "$here/../sbom.pl" vinst-windows-x86_64 "$product_version" "$epoch" >"$out/sbom.spdx.json"

"$here/check_headers.py" "$out" >&2 || fail "the files have the faults above"
chmod -R u=rwX,go=rX "$out"
find "$out" -exec touch -h -d "@$epoch" {} +
[[ ! -d $4 ]] || rmdir "$4"
mv -T "$out" "$4"
du -sk "$4"
