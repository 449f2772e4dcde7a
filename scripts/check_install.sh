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
- the desktop entries and the AppStream metainfo are valid, and each icon has the size of its directory;
- a manifest with the suffix .vinst.json is opened with the program, other JSON files aren't;
- with a release added, the programs find it without an option, and the menu entry has its title and icon;
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

# check_entries: checks the desktop entries
check_entries() {
    desktop-file-validate --warn-kde "$prefix"/share/applications/*.desktop >"$work/output" 2>&1 || true
    [[ ! -s $work/output ]] || fault "$(<"$work/output")"
}
check_entries

# type_of FILE: prints the MIME type of a file, as desktops detect it, with the installed types
type_of() { XDG_DATA_DIRS=$prefix/share:/usr/share XDG_DATA_HOME=$work gio info -a standard::content-type "$1" | sed -n 's/^ *standard::content-type: //p'; }
XDG_DATA_DIRS=$prefix/share update-mime-database "$prefix/share/mime" >"$work/output" 2>&1 || fault "$(<"$work/output")"
[[ ! -s $work/output ]] || fault "$(<"$work/output")"
echo '[{"data_type": "main", "edition": "pro", "version": "5.2.0.31"},
    {"data_type": "install", "name": "sole_part", "platform": "linux", "title": "Sole part"}]' >"$work/manifest.json"
cp "$work/manifest.json" "$work/5.2.vinst.json"
[[ $(type_of "$work/5.2.vinst.json") == application/vnd.orvane.vinst-manifest+json ]] ||
    fault "5.2.vinst.json has the type $(type_of "$work/5.2.vinst.json")"
[[ $(type_of "$work/manifest.json") == application/json ]] || fault "manifest.json has the type $(type_of "$work/manifest.json")"
openers=$(grep -l '^MimeType=application/vnd.orvane.vinst-manifest+json;$' "$prefix"/share/applications/*.desktop)
grep -q '^Exec=vinst_gui --manifest %f$' "$openers" || fault "no desktop entry opens manifests"
rm -r "$prefix/share/mime"/[!p]*

metainfo=$prefix/share/metainfo/example.orvane.vinst.metainfo.xml
# "example", reserved for examples, is the domain of all addresses in this project.
check_metainfo() {
    appstreamcli validate --no-net --strict --no-color --override cid-maybe-not-rdns=pedantic "$metainfo" >"$work/output" 2>&1 ||
        fault "$(<"$work/output")"
}
check_metainfo
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

# Prints what vinst prints without the variable
help_of_release() { env -u vinst_manifest "$prefix/bin/vinst" --help || true; }
[[ $(help_of_release) == *"No release was found."* ]] || fault "vinst has found a release before there is one"
mkdir "$work/release"
cp "$work/manifest.json" "$work/release/"
echo "Veltrin Crest" >"$work/release/name"
cp packaging/linux/icons/48x48/apps/vinst.png "$work/release/icon.png"
packaging/linux/add_release.sh "$prefix" "$work/release"
[[ $(help_of_release) == *sole_part* ]] || fault "vinst doesn't find the release that was added"
check_entries
check_metainfo
menu=$prefix/share/applications/example.orvane.vinst.desktop
for line in 'Name=Veltrin Crest Pro 5.2 Installer' 'Icon=vinst-release' 'Exec=vinst_gui'; do
    grep -qxF "$line" "$menu" || fault "the menu entry of a release lacks $line"
done
grep -qF '<name>Veltrin Crest Pro 5.2 Installer</name>' "$metainfo" || fault "the metainfo of a release lacks its title"
cmp -s "$work/release/icon.png" "$prefix/share/icons/hicolor/48x48/apps/vinst-release.png" || fault "the release's icon is not installed"

if $failed; then
    exit 1
fi
