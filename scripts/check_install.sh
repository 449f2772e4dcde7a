#!/usr/bin/env bash
# Checks what "cmake --install" installs: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/check_install.sh [BUILD_DIR]

Builds the programs in BUILD_DIR (default: build/release), installs them into a temporary directory,
moves that, and checks that
- the programs run through their links, and know their version;
- a program can be compiled and linked with the installed header and library;
- the desktop entry and the AppStream metainfo are valid, and each icon has the size of its directory;
- the pictures that the metainfo names are in docs/images/.
Prints each fault, and fails if there is one.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
cd "$(dirname "$0")/.."
build=$(realpath "${1:-build/release}")

failed=false
fault() {
    printf '%s\n' "$*" >&2
    failed=true
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake -S . -B "$build" >/dev/null
cmake --build "$build" --target vinst_host vinst_gui_host vinst_pac vinst_desktop_proxy vinst_release vinst_documents >/dev/null
cmake --install "$build" --prefix "$work/first" --strip >/dev/null
# Nothing may depend on the place, nor on a path without blanks.
prefix="$work/another place"
mv "$work/first" "$prefix"

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
[[ $("$prefix/bin/vinst" --version) == "vinst $version"$'\n'* ]] || fault "vinst --version doesn't print $version first"
"$prefix/bin/vinst_gui" --version >"$work/output" || fault "vinst_gui doesn't run"
"$prefix/bin/vinst_release" --help >"$work/output" || fault "vinst_release doesn't run"
for file in lib/vinst/lib/vinst_pac lib/vinst/lib/vinst_desktop_proxy lib/vinst/licenses/main.html share/man/man1/vinst.1 share/man/man5/vinst_manifest.5; do
    [[ -f $prefix/$file ]] || fault "there is no $file"
done

cat >"$work/main.cpp" <<'END'
#include <vinst/vinst_entry.h>

int main(int argc, char** argv)
{
    return install_vinst_run(argc, argv, false);
}
END
if ! c++ -std=c++17 -Wall -Wextra -Werror -I "$prefix/include" "$work/main.cpp" -o "$work/main" -L "$prefix/lib/vinst/lib" -lvinst; then
    fault "a program can't be built with the installed header and library"
elif [[ $(LD_LIBRARY_PATH=$prefix/lib/vinst/lib "$work/main" --version) != "vinst $version"$'\n'* ]]; then
    fault "a program that was built with the installed header and library doesn't run"
fi

desktop-file-validate --warn-kde "$prefix/share/applications/example.orvane.vinst.desktop" >"$work/output" 2>&1 || true
[[ ! -s $work/output ]] || fault "$(<"$work/output")"
metainfo=$prefix/share/metainfo/example.orvane.vinst.metainfo.xml
# "example", reserved for examples, is the domain of all addresses in this project.
appstreamcli validate --no-net --strict --no-color --override cid-maybe-not-rdns=pedantic "$metainfo" >"$work/output" 2>&1 ||
    fault "$(<"$work/output")"
grep -qF "<release version=\"$version\" " "$metainfo" || fault "the metainfo doesn't have the release $version"
while read -r picture; do
    [[ -f docs/images/$picture ]] || fault "the metainfo names $picture, which is not in docs/images/"
done < <(sed -nE 's,.*<image[^>]*>.*/images/([^<]*)</image>.*,\1,p' "$metainfo")

count=0
while read -r icon; do
    size=$(od -An -tu1 -j16 -N8 "$icon" | awk '{ print $3 * 256 + $4 "x" $7 * 256 + $8 }')
    [[ $icon == */"$size"/apps/vinst.png ]] || fault "$icon has the size $size"
    count=$((count + 1))
done < <(find "$prefix/share/icons" -name '*.png')
((count >= 10)) || fault "there are only $count icons"
[[ -f $prefix/share/icons/hicolor/scalable/apps/vinst.svg ]] || fault "there is no icon as SVG"

if $failed; then
    exit 1
fi
