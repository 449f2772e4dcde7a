#!/usr/bin/env bash
# Makes the Debian package and the self-contained archive: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/package.sh [--base BASE] [--manifest FILE [--name NAME] [--icon ICON]] [--test]

Installs missing packages and makes, on a Debian 12 machine, in build/dist/:

  vinst_VERSION_amd64.deb              the Debian package
  vinst-VERSION-linux-x86_64.tar.xz    an archive that contains all libraries except glibc
  SHA256SUMS                           the SHA-256 of each file

The sources are those of the working tree: all files that git doesn't ignore. The same sources and the same
packages of Debian result in the same bytes, in any directory and at any time. lintian checks the package.

  --base BASE
          where the programs and libraries of the archive are from:
            debian11  a Debian 11 system in build/debian11, so that they run with glibc 2.31 and newer; the
                      default. Making it takes a quarter of an hour, and a second run uses it again. Needs
                      root and a Debian mirror
            host      this machine, so that they run with its glibc and newer
  --manifest FILE
          puts the release with this manifest into both, so that the programs install it without any option. Its
          edition and version are appended to VERSION, as in 1.0.0+pro5.2.0.31, and the menu entry has its title, such
          as "Veltrin Crest Pro 5.2 Installer". Check the manifest with vinst_release first
  --name NAME
          the product in that title instead of "Veltrin Crest"
  --icon ICON
          the icon of the menu entry, an .svg or .png file
  --test  makes everything twice, in different directories and on different dates, and compares the results.
          Upgrades from an earlier version in a new minimal Debian 12 root, runs the demo there in the
          console, opens the window on a virtual display, and purges the package. Runs the archive's programs
          in the same root, also in a minimal Debian 11 root if that is the base, and in one that has nothing
          but glibc and a shell. Needs root and a Debian mirror

The Debian mirror is the first of this machine's apt sources, or VINST_DEBIAN_MIRROR.
END
}

say() { printf '\n== %s\n' "$*"; }
fail() { printf 'package.sh: %s\n' "$*" >&2; exit 1; }

with_tests=false
base=debian11
manifest=
product="Veltrin Crest"
icon=
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --test) with_tests=true; shift ;;
        --base)
            [[ ${2:-} == host || ${2:-} == debian11 ]] || { usage >&2; exit 2; }
            base=$2
            shift 2
            ;;
        --manifest | --name | --icon)
            [[ -n ${2:-} ]] || { usage >&2; exit 2; }
            case $1 in
                --manifest) manifest=$2 ;;
                --name) product=$2 ;;
                --icon) icon=$2 ;;
            esac
            shift 2
            ;;
        *) usage >&2; exit 2 ;;
    esac
done
[[ -z $manifest || -f $manifest ]] || fail "there is no $manifest"
[[ -n $manifest || -z $icon ]] || fail "--icon is for a release: --manifest is missing"
[[ -z $icon || ($icon =~ \.(svg|png)$ && -f $icon) ]] || fail "this is not an .svg or .png file: $icon"
[[ -z $manifest ]] || manifest=$(realpath "$manifest")
[[ -z $icon ]] || icon=$(realpath "$icon")
if $with_tests && ((EUID != 0)); then
    fail "--test needs root, for a chroot"
fi
if [[ $base == debian11 ]] && ((EUID != 0)); then
    fail "the base debian11 needs root, for a chroot; use --base host without"
fi

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
export LC_ALL=C.UTF-8

say "Installing missing packages"
scripts/install_deps.sh package

version=$(sed -nE 's/^project\(vinst VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
date=$(sed -nE "s/^## ${version//./\\.} \(([0-9-]+)\)$/\1/p" CHANGELOG.md)
[[ -n $version && -n $date ]] || fail "CHANGELOG.md has no dated section for the version '$version'"
[[ $(dpkg --print-architecture) == amd64 ]] || fail "this machine is not amd64"
full_version=$version
if [[ -n $manifest ]]; then
    properties=$(packaging/read_release.pl "$manifest" "$product")
    full_version+=$(sed -n 3p <<<"$properties")
fi
deb=vinst_${full_version}_amd64.deb
archive=vinst-$full_version-linux-x86_64.tar.xz
epoch=$(date -u -d "$date" +%s)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# make_sources DIRECTORY: makes the sources of the package in the new DIRECTORY
make_sources() {
    mkdir -p "$1"
    git ls-files -z --cached --others --exclude-standard |
        while IFS= read -r -d '' file; do [[ ! -e $file ]] || printf '%s\0' "$file"; done |
        tar -c --null -T - | tar -x -C "$1"
    mv "$1/packaging/debian" "$1/debian"
    if [[ -n $manifest ]]; then
        mkdir "$1/packaging/release"
        cp "$manifest" "$1/packaging/release/manifest.json"
        printf '%s\n' "$product" >"$1/packaging/release/name"
        [[ -z $icon ]] || cp "$icon" "$1/packaging/release/icon.${icon##*.}"
    fi
    {
        printf 'vinst (%s) bookworm; urgency=medium\n\n' "$full_version"
        printf '  * /usr/share/doc/vinst/CHANGELOG.md has the changes.\n\n'
        printf ' -- The vinst authors <vinst@orvane.example>  %s\n' "$(LC_ALL=C date -u -R -d "@$epoch")"
    } >"$1/debian/changelog"
    # Installed files keep their times and permissions, which must not depend on this checkout.
    chmod -R u=rwX,go=rX "$1"
    find "$1" -exec touch -h -d "@$epoch" {} +
}

# quietly COMMAND... : prints its output only if it fails
quietly() {
    "$@" >"$work/output" 2>&1 || { tail -n 50 "$work/output" >&2; fail "this command failed: $*"; }
}

# What builds a package from the sources in the current directory.
package_command=(env "DEB_BUILD_OPTIONS=parallel=$(nproc) noautodbgsym nocheck" dpkg-buildpackage -b -us -uc)
# A command before that one; the tests change the date with it.
before=()

# build_package DIRECTORY: builds the package in the new DIRECTORY
build_package() {
    make_sources "$1/vinst"
    (cd "$1/vinst" && quietly "${before[@]}" "${package_command[@]}")
}

# make_archive DIRECTORY: makes the archive from the package in DIRECTORY
make_archive() {
    if [[ $base == host ]]; then
        dpkg-deb -x "$1/$deb" "$1/unpacked"
        "${before[@]}" packaging/linux/build_bundle.sh "$1/unpacked/usr" "$full_version" "$epoch" "$1"
        return
    fi
    # Nothing may depend on the path in the root, either, so it is as different as that outside.
    local name=${1#"$work"/}
    local inside=/sources/$name
    make_sources "$work/base/$name/vinst"
    # shellcheck disable=SC2016 # the shell in the root expands it
    quietly packaging/linux/in_root.sh --mount "$work/base:/sources" build/debian11/root sh -euc '
        cd "$0/vinst"
        "$@"
        dpkg-deb -x ../vinst_*_amd64.deb ../unpacked' "$inside" "${before[@]}" "${package_command[@]}"
    packaging/linux/in_root.sh --mount "$work/base:/sources" build/debian11/root "${before[@]}" \
        "$inside/vinst/packaging/linux/build_bundle.sh" "$inside/unpacked/usr" "$full_version" "$epoch" "$inside"
    mv "$work/base/$name/$archive" "$1/"
    rm -rf "$work/base"
}

if [[ $base == debian11 ]]; then
    say "Making the Debian 11 system in which the archive is built"
    packaging/linux/make_base.sh build/debian11
fi

say "Building $deb"
build_package "$work/first"

say "Checking it"
lintian --display-info --pedantic --allow-root --fail-on pedantic,info,warning,error "$work/first/$deb"

say "Making $archive"
make_archive "$work/first"

rm -rf build/dist
mkdir -p build/dist
cp "$work/first/$deb" "$work/first/$archive" build/dist/
(cd build/dist && sha256sum -- * >"$work/sums" && cp "$work/sums" SHA256SUMS && cat SHA256SUMS)

$with_tests || exit 0

# ---- Tests ----

say "Making everything again, in another directory and on another date"
# The times of files remain those of the system, as on a later date.
before=(env NO_FAKE_STAT=1 faketime -f +500d)
[[ $(date +%Y) != $("${before[@]}" date +%Y) ]] || fail "faketime does not change the date"
build_package "$work/second/directory"
cmp "$work/first/$deb" "$work/second/directory/$deb" || fail "the two packages differ"
make_archive "$work/second/directory"
cmp "$work/first/$archive" "$work/second/directory/$archive" || fail "the two archives differ"
echo "The results have the same bytes."
rm -rf "$work/second"

mirror=${VINST_DEBIAN_MIRROR:-$(apt-cache policy | sed -nE 's,^ *[0-9]+ (https?://[^ ]+) bookworm/main amd64 .*,\1,p' | head -n 1)}
# The root in which the functions below run.
system=

in_root() { packaging/linux/in_root.sh "$system" "$@"; }
alone_in_root() { packaging/linux/in_root.sh --alone "$system" "$@"; }

# make_root SUITE : makes a minimal root, with a virtual display and a user
make_root() {
    system=$work/$1
    timeout 1800 debootstrap --variant=minbase "$1" "$system" "${mirror:-http://deb.debian.org/debian}" >"$work/debootstrap" 2>&1 ||
        { tail -n 20 "$work/debootstrap" >&2; fail "debootstrap failed"; }
    quietly in_root apt-get update -qq
    quietly in_root apt-get install -y -qq --no-install-recommends xvfb xauth x11-utils
    in_root useradd --create-home ada
    mkdir "$system/home/ada/vinst"
    cp -r demo scripts "$system/home/ada/vinst/"
    cp "$work/window.sh" "$system/home/ada/"
    in_root chown -R ada: /home/ada
}

cat >"$work/window.sh" <<'END'
export LC_ALL=C.UTF-8
# The main window has the same title as a message box, but another size.
vinst_manifest=$HOME/demo/release/manifest.json "$1/bin/vinst_gui" &
program=$!
for ((i = 0; i < 300; ++i)); do
    xwininfo -root -tree | grep -E 'Installer": \("vinst_gui" .* [0-9]{3,4}x[5-9][0-9]{2}\+' && break
    kill -0 "$program" || exit 1
    sleep 0.1
done
kill "$program"
wait "$program"
(($? == 143))
END

# try_programs PREFIX: installs the demo release with the programs in PREFIX/bin, and opens the window
try_programs() {
    if [[ -n $manifest ]]; then
        # The window and the demo below use another manifest.
        local code=0
        alone_in_root su - ada -c "'$1/bin/vinst' --help" >"$work/output" 2>&1 || code=$?
        if ((code != 1)) || grep -q "No release was found" "$work/output"; then
            cat "$work/output" >&2
            fail "the programs don't find the release"
        fi
    fi
    rm -rf "$system/home/ada/demo"
    alone_in_root su - ada -c "vinst/scripts/demo.sh --build-dir '$1' --keep ~/demo" >"$work/output" 2>&1 ||
        { cat "$work/output" >&2; fail "the demo failed"; }
    grep "says it works" "$work/output" || { cat "$work/output" >&2; fail "the demo installed nothing"; }
    alone_in_root su - ada -c "xvfb-run -a bash window.sh '$1'" >"$work/output" 2>&1 ||
        { cat "$work/output" >&2; fail "the main window did not open, or did not end with SIGTERM"; }
    grep '"vinst_gui"' "$work/output"
}

# Paths, link targets and contents of all files that an installation may change. dpkg and apt keep
# records and copies of their own.
snapshot() {
    (
        cd "$system"
        find . \( -path ./proc -o -path ./dev -o -path ./sys -o -path ./tmp -o -path ./home -o -path ./var/log \
            -o -path ./var/cache -o -path ./var/lib/apt -o -path './var/lib/dpkg/*-old' -o -path ./var/lib/dpkg/status \
            -o -path './var/lib/dpkg/lock*' -o -path ./var/lib/dpkg/triggers/Lock \) -prune \
            -o -type f -exec sha256sum {} + -o -printf '%p %y %l\n' | sort
    )
}

say "Making a minimal Debian 12 root"
make_root bookworm
cp "$work/first/$deb" "$system/tmp/"
quietly in_root apt-get satisfy -y -qq --no-install-recommends "$(dpkg-deb -f "$work/first/$deb" Depends)"
snapshot >"$work/before"

# An earlier version, with a file that the new one doesn't have.
dpkg-deb -R "$work/first/$deb" "$work/earlier"
sed -i 's/^Version: .*/Version: 0.9.0/' "$work/earlier/DEBIAN/control"
echo former >"$work/earlier/usr/lib/vinst/former"
quietly dpkg-deb --build --root-owner-group "$work/earlier" "$system/tmp/earlier.deb"

say "Upgrading from an earlier version"
quietly in_root apt-get install -y -qq --no-install-recommends /tmp/earlier.deb
[[ -f $system/usr/lib/vinst/former ]] || fail "the earlier version was not installed"
quietly in_root apt-get install -y -qq --no-install-recommends "/tmp/$deb"
[[ ! -e $system/usr/lib/vinst/former ]] || fail "a file of the earlier version is left"
in_root vinst --version | tee "$work/output"
[[ $(head -n 1 "$work/output") == "vinst $version" ]] || fail "this is not version $version"

say "Installing the demo release in the console, and opening the window"
try_programs /usr

say "Purging it"
quietly in_root apt-get purge -y -qq vinst
snapshot >"$work/after"
diff "$work/before" "$work/after" || fail "the purged package has left the files above, or changed them"
echo "No file is left or changed."

unpacked="a place/${archive%.tar.xz}"
# try_archive : unpacks the archive in the root, and runs its programs
try_archive() {
    mkdir "$system/opt/a place"
    tar -xJf "$work/first/$archive" -C "$system/opt/a place"
    ln -s "$unpacked" "$system/opt/link"
    try_programs /opt/link
}

say "Running the archive's programs in the same root, from a path with a blank and through a link"
# Without the libraries that only the package needed.
quietly in_root apt-get purge -y -qq libqt5core5a libtbb12 libcurl4 libspdlog1.10-fmt9 libboost-program-options1.74.0
try_archive
host=$system

if [[ $base == debian11 ]]; then
    say "Running them in a minimal Debian 11 root"
    make_root bullseye
    try_archive
fi

say "Running them where nothing but glibc and a shell is installed"
# The glibc is the oldest one with which the archive runs.
bare=$work/bare
mkdir -p "$bare"/{bin,dev,etc,lib64,proc,root,tmp/.X11-unix} "$bare/lib/x86_64-linux-gnu"
cp -L "$system/bin/dash" "$bare/bin/sh"
cp -L "$system/lib/x86_64-linux-gnu/ld-linux-x86-64.so.2" "$bare/lib64/"
for library in c m dl pthread resolv rt nss_files nss_dns; do
    cp -L "$system/lib/x86_64-linux-gnu/lib$library.so".? "$bare/lib/x86_64-linux-gnu/"
done
mknod -m 666 "$bare/dev/null" c 1 3
mknod -m 666 "$bare/dev/urandom" c 1 9
cp -r "$system/opt/a place" "$bare/"
ln -s "../$unpacked/bin/vinst" "$bare/bin/vinst"
ln -s "../$unpacked/bin/vinst_gui" "$bare/bin/vinst_gui"
# The loader resolves each file by itself: all libraries that it needs must be in the archive.
# shellcheck disable=SC2016 # the shell in the root expands it
packaging/linux/in_root.sh --alone "$bare" /bin/sh -c 'cd "/a place"/*/lib
    for file in *.so* vinst_pac vinst_desktop_proxy plugins/*/*; do echo "$file:"; /lib64/ld-linux-x86-64.so.2 --list "./$file" 2>&1; done' >"$work/output" ||
    fail "the archive's libraries can't be listed"
grep -q '^libvinst.so.1:$' "$work/output" || fail "libvinst.so.1 was not examined"
! grep 'error while loading' "$work/output" || fail "the archive lacks the libraries above"
packaging/linux/in_root.sh --alone "$bare" /bin/sh -c 'vinst --version' | tee "$work/output"
[[ $(head -n 1 "$work/output") == "vinst $version" ]] || fail "this is not version $version"
# The servers and the display are in the Debian 12 root, which sees the bare one at /mnt.
cp packaging/linux/try_bare.sh "$host/tmp/"
packaging/linux/in_root.sh --alone --mount "$bare:/mnt" "$host" bash /tmp/try_bare.sh /opt/link /mnt ||
    fail "the archive's programs failed where nothing but glibc and a shell is installed"
