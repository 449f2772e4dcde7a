#!/usr/bin/env bash
# Makes the self-contained archive: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: packaging/linux/build_bundle.sh INSTALLED VERSION EPOCH OUT_DIR

Makes vinst-VERSION-linux-x86_64.tar.xz in OUT_DIR: the programs and documents of the installation with
the prefix INSTALLED, all libraries that they need except those of glibc, Qt's plugins, the libraries'
licences, and an SBOM (SPDX). The libraries are those of this system, which has to be Debian, so the
programs run on systems whose glibc is at least as new. All files get the time EPOCH, in seconds since 1970.

Needs patchelf, perl, qmake, readelf and the libraries' packages; installs nothing. scripts/package.sh runs it
in the Debian 11 root of packaging/linux/make_base.sh, or with "--base host" on this machine.
END
}

fail() { printf 'build_bundle.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
(($# == 4)) || { usage >&2; exit 2; }
installed=$(realpath "$1")
version=$2
epoch=$3
mkdir -p "$4"
out=$(realpath "$4")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export LC_ALL=C

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
name=vinst-$version-linux-x86_64
top=$work/$name

# ---- The programs ----

mkdir -p "$top"
cp -a "$installed/lib/vinst/." "$top/"
cp -a "$installed/include" "$installed/share" "$top/"
rm -rf "$top/share/lintian"
cp "$root/LICENSE" "$top/"
# Qt looks for its plugins where this file says, not in the system's directories.
printf '[Paths]\nPrefix = ..\nPlugins = lib/plugins\n' >"$top/bin/qt.conf"

# ---- Libraries ----

is_of_glibc() { # NAME
    [[ $1 =~ ^(ld-linux-x86-64|lib(c|m|dl|rt|pthread|resolv|util|anl|mvec|nsl|nss_[a-z]+|BrokenLocale|thread_db|c_malloc_debug))\.so ]]
}

# Pairs of a name, under which a library is loaded, and its file.
needed_by() { # FILE
    env -u LD_PRELOAD ldd "$1" | awk '$2 == "=>" && $3 ~ /^\// { print $1, $3 } $0 ~ /not found/ { print $1, "missing" }'
}

plugins=(
    platforms/libqxcb.so platforms/libqoffscreen.so # the console program uses the second
    imageformats/libqgif.so imageformats/libqico.so imageformats/libqsvg.so
    iconengines/libqsvgicon.so
    xcbglintegrations/libqxcb-glx-integration.so xcbglintegrations/libqxcb-egl-integration.so
    platforminputcontexts/libcomposeplatforminputcontextplugin.so
    platforminputcontexts/libibusplatforminputcontextplugin.so
)
plugin_dir=$(qmake -query QT_INSTALL_PLUGINS)
declare -A packages=()
note_package() { # FILE : of a library that is brought along
    local found path
    for path in "$1" "$(realpath "$1")" "/usr$1"; do
        found=$(dpkg -S "$path" 2>/dev/null | head -n 1 | sed -E 's/: .*//; s/:amd64$//') || true
        [[ -z $found ]] || { packages[$found]=1; return; }
    done
    fail "no package has $1"
}

roots=("$top"/bin/vinst "$top"/bin/vinst_gui "$top"/bin/vinst_release "$top"/lib/libvinst.so.1 "$top"/lib/vinst_pac "$top"/lib/vinst_desktop_proxy)
for plugin in "${plugins[@]}"; do
    install -D -m 644 "$plugin_dir/$plugin" "$top/lib/plugins/$plugin"
    note_package "$plugin_dir/$plugin"
    roots+=("$plugin_dir/$plugin")
done
while read -r soname file; do
    [[ $file != missing ]] || fail "there is no $soname"
    ! is_of_glibc "$soname" || continue
    [[ $file != "$top"/* ]] || continue
    install -m 644 "$file" "$top/lib/$soname"
    note_package "$file"
done < <(for file in "${roots[@]}"; do needed_by "$file"; done | sort -u)

# Each library finds the others next to it, wherever the archive was unpacked.
while IFS= read -r -d '' file; do
    # shellcheck disable=SC2016 # the dynamic linker expands it
    case $file in
        */plugins/*) patchelf --set-rpath '$ORIGIN/../..' "$file" ;;
        *) patchelf --set-rpath '$ORIGIN' "$file" ;;
    esac
done < <(find "$top/lib" -type f -print0)
# shellcheck disable=SC2016
patchelf --set-rpath '$ORIGIN/../lib' "$top/bin/vinst_release"

# ---- Licences and SBOM, from the packages' own data ----

third_party=$top/licenses/third_party
mkdir -p "$third_party/common-licenses"
mapfile -t sorted < <(printf '%s\n' "${!packages[@]}" | sort)
for package in "${sorted[@]}"; do
    [[ -f /usr/share/doc/$package/copyright ]] || fail "the package $package has no copyright file"
    install -m 644 "/usr/share/doc/$package/copyright" "$third_party/$package.txt"
done
while read -r license; do
    install -m 644 "/usr/share/common-licenses/$license" "$third_party/common-licenses/$license"
done < <(grep -ohE '/usr/share/common-licenses/[A-Za-z0-9.-]*[A-Za-z0-9]' "$third_party"/*.txt | sed 's,.*/,,' | sort -u |
    while read -r license; do [[ ! -f /usr/share/common-licenses/$license ]] || echo "$license"; done)

# shellcheck source=/dev/null
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
for package in "${sorted[@]}"; do
    # shellcheck disable=SC2016 # dpkg-query expands it
    dpkg-query -W -f='Name: ${Package}\nVersion: ${Version}\nSource: ${source:Package} ${source:Version}\nSupplier: ${Maintainer}\nHomepage: ${Homepage}\n' "$package"
    # packaging/linux/make_base.sh builds these from sources of Debian 12.
    source=$(dpkg-query -W -f='${source:Package}@${source:Version}' "$package")
    if [[ $source == *~vinst11 ]]; then
        purl="${source%~vinst11}?arch=source&distro=bookworm"
    else
        purl=$(dpkg-query -W -f='${Package}@${Version}' "$package")"?arch=amd64&distro=$codename"
    fi
    purl=${purl//+/%2B}
    printf 'Purl: pkg:deb/debian/%s\n' "${purl//:/%3A}"
    printf 'Copyright-File: %s\nLicense-Text: %s\n\n' "$third_party/$package.txt" "licenses/third_party/$package.txt"
done | perl "$root/packaging/sbom.pl" "vinst-linux-x86_64" "$version" "$epoch" >"$top/sbom.spdx.json"

# ---- The archive ----

glibc=$(getconf GNU_LIBC_VERSION)
"$root/packaging/linux/check_symbols.sh" "$top" "${glibc#glibc }"
chmod -R u=rwX,go=rX "$top"
chmod 755 "$top"/bin/vinst "$top"/bin/vinst_gui "$top"/bin/vinst_release "$top"/lib/vinst_pac "$top"/lib/vinst_desktop_proxy
tar -C "$work" --sort=name --mtime="@$epoch" --owner=0 --group=0 --numeric-owner --format=gnu -cf "$work/$name.tar" "$name"
xz -6 -T1 "$work/$name.tar"
mv "$work/$name.tar.xz" "$out/"
