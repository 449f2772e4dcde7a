#!/usr/bin/env bash
# Makes the Debian package and the self-contained archive: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/package.sh [--base host] [--test]

Installs missing packages and makes, on a Debian 12 machine, in build/dist/:

  vinst_VERSION_amd64.deb  the Debian package
  SHA256SUMS               the SHA-256 of each file

The sources are those of the working tree: all files that git doesn't ignore. The same sources result in
the same bytes, in any directory and at any time. lintian checks the package.

  --base host
          also makes vinst-VERSION-linux-x86_64.tar.xz, which contains all libraries except glibc: those of
          this machine, so that it runs on systems whose glibc is at least as new
  --test  makes everything twice, in different directories, and compares the results. Upgrades from an
          earlier version in a new minimal Debian 12 root, runs the demo there in the console, opens the
          window on a virtual display, and purges the package. Runs the archive's programs in the same
          root, and in one that has nothing but glibc and a shell. Needs root and a Debian mirror: the
          first of this machine's apt sources, or VINST_DEBIAN_MIRROR
END
}

say() { printf '\n== %s\n' "$*"; }
fail() { printf 'package.sh: %s\n' "$*" >&2; exit 1; }

with_tests=false
with_archive=false
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --test) with_tests=true; shift ;;
        --base)
            [[ ${2:-} == host ]] || { usage >&2; exit 2; }
            with_archive=true
            shift 2
            ;;
        *) usage >&2; exit 2 ;;
    esac
done
if $with_tests && ((EUID != 0)); then
    fail "--test needs root, for a chroot"
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
deb=vinst_${version}_amd64.deb
archive=vinst-$version-linux-x86_64.tar.xz
epoch=$(date -u -d "$date" +%s)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# build_package DIRECTORY: builds the package in the new DIRECTORY
build_package() {
    local sources=$1/vinst
    mkdir -p "$sources"
    git ls-files -z --cached --others --exclude-standard |
        while IFS= read -r -d '' file; do [[ ! -e $file ]] || printf '%s\0' "$file"; done |
        tar -c --null -T - | tar -x -C "$sources"
    mv "$sources/packaging/debian" "$sources/debian"
    {
        printf 'vinst (%s) bookworm; urgency=medium\n\n' "$version"
        printf '  * /usr/share/doc/vinst/CHANGELOG.md has the changes.\n\n'
        printf ' -- The vinst authors <vinst@orvane.example>  %s\n' "$(LC_ALL=C date -u -R -d "@$epoch")"
    } >"$sources/debian/changelog"
    # Installed files keep their times and permissions, which must not depend on this checkout.
    chmod -R u=rwX,go=rX "$sources"
    find "$sources" -exec touch -h -d "@$epoch" {} +
    (
        cd "$sources"
        DEB_BUILD_OPTIONS="parallel=$(nproc) noautodbgsym nocheck" dpkg-buildpackage -b -us -uc >"$1/log" 2>&1
    ) || { tail -n 50 "$1/log" >&2; fail "the package could not be built; see the log above"; }
}

# make_archive DIRECTORY: makes the archive from the package in DIRECTORY
make_archive() {
    dpkg-deb -x "$1/$deb" "$1/unpacked"
    packaging/linux/build_bundle.sh --base host "$1/unpacked/usr" "$version" "$epoch" "$1"
}

say "Building $deb"
build_package "$work/first"

say "Checking it"
lintian --display-info --pedantic --allow-root --fail-on pedantic,info,warning,error "$work/first/$deb"

rm -rf build/dist
mkdir -p build/dist
cp "$work/first/$deb" build/dist/
if $with_archive; then
    say "Making $archive"
    make_archive "$work/first"
    cp "$work/first/$archive" build/dist/
fi
(cd build/dist && sha256sum -- * >"$work/sums" && cp "$work/sums" SHA256SUMS && cat SHA256SUMS)

$with_tests || exit 0

# ---- Tests ----

say "Making everything again, in another directory"
build_package "$work/second/directory"
cmp "$work/first/$deb" "$work/second/directory/$deb" || fail "the two packages differ"
if $with_archive; then
    make_archive "$work/second/directory"
    cmp "$work/first/$archive" "$work/second/directory/$archive" || fail "the two archives differ"
fi
echo "The results have the same bytes."
rm -rf "$work/second"

say "Making a minimal Debian 12 root"
mirror=${VINST_DEBIAN_MIRROR:-$(apt-cache policy | sed -nE 's,^ *[0-9]+ (https?://[^ ]+) bookworm/main amd64 .*,\1,p' | head -n 1)}
system=$work/root
debootstrap --variant=minbase bookworm "$system" "${mirror:-http://deb.debian.org/debian}" >"$work/debootstrap" 2>&1 ||
    { tail -n 20 "$work/debootstrap" >&2; fail "debootstrap failed"; }

# enter NAMESPACES ROOT COMMAND... : runs a command in a root. Its processes end with it, and its mounts
# are not visible outside. The root itself is a mount, because Qt finds the free space of a file system
# by its mount point.
# shellcheck disable=SC2016 # the inner bash expands it
enter() {
    unshare "$1" --mount --pid --fork --kill-child bash -euc '
        root=$0
        ip link set lo up
        mount --bind "$root" "$root"
        mount -t proc proc "$root/proc"
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
            ${http_proxy:+"http_proxy=$http_proxy"} chroot "$root" "$@"' "${@:2}"
}
in_root() { enter --ipc "$system" "$@"; }
# With a loopback interface only, so that a test reaches neither the network nor the displays of this
# machine, whose abstract sockets belong to its network namespace.
alone_in_root() { enter --net "$system" "$@"; }

quietly() { # COMMAND... : prints its output only if it fails
    "$@" >"$work/output" 2>&1 || { cat "$work/output" >&2; fail "this command failed: $*"; }
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

cp "$work/first/$deb" "$system/tmp/"
quietly in_root apt-get update -qq
quietly in_root apt-get satisfy -y -qq --no-install-recommends "$(dpkg-deb -f "$work/first/$deb" Depends)"
quietly in_root apt-get install -y -qq --no-install-recommends xvfb xauth x11-utils
in_root useradd --create-home ada
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

mkdir "$system/home/ada/vinst"
cp -r demo scripts "$system/home/ada/vinst/"
cat >"$system/home/ada/window.sh" <<'END'
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
in_root chown -R ada: /home/ada

# try_programs PREFIX: installs the demo release with the programs in PREFIX/bin, and opens the window
try_programs() {
    rm -rf "$system/home/ada/demo"
    alone_in_root su - ada -c "vinst/scripts/demo.sh --build-dir '$1' --keep ~/demo" >"$work/output" 2>&1 ||
        { cat "$work/output" >&2; fail "the demo failed"; }
    grep "says it works" "$work/output" || { cat "$work/output" >&2; fail "the demo installed nothing"; }
    alone_in_root su - ada -c "xvfb-run -a bash window.sh '$1'" >"$work/output" 2>&1 ||
        { cat "$work/output" >&2; fail "the main window did not open, or did not end with SIGTERM"; }
    grep '"vinst_gui"' "$work/output"
}

say "Installing the demo release in the console, and opening the window"
try_programs /usr

say "Purging it"
quietly in_root apt-get purge -y -qq vinst
snapshot >"$work/after"
diff "$work/before" "$work/after" || fail "the purged package has left the files above, or changed them"
echo "No file is left or changed."

$with_archive || exit 0

say "Running the archive's programs in the same root, from a path with a blank and through a link"
mkdir "$system/opt/a place"
tar -xJf "$work/first/$archive" -C "$system/opt/a place"
unpacked="a place/${archive%.tar.xz}"
ln -s "$unpacked" "$system/opt/link"
# Without the libraries that only the package needed.
quietly in_root apt-get purge -y -qq libqt5core5a libtbb12 libcurl4 libspdlog1.10-fmt9 libboost-program-options1.74.0
try_programs /opt/link

say "Running them where nothing but glibc and a shell is installed"
bare=$work/bare
mkdir -p "$bare"/{bin,dev,etc,lib64,proc,root,tmp} "$bare/lib/x86_64-linux-gnu"
cp -L "$system/bin/dash" "$bare/bin/sh"
cp -L "$system/lib64/ld-linux-x86-64.so.2" "$bare/lib64/"
for library in c m dl pthread resolv rt nss_files nss_dns; do
    cp -L "$system/lib/x86_64-linux-gnu/lib$library.so".? "$bare/lib/x86_64-linux-gnu/"
done
mknod -m 666 "$bare/dev/null" c 1 3
mknod -m 666 "$bare/dev/urandom" c 1 9
cp -r "$system/opt/a place" "$bare/"
cp "$system/home/ada/demo/release/manifest.json" "$bare/$unpacked/bin/"
ln -s "../$unpacked/bin/vinst" "$bare/bin/vinst"
# The loader resolves each file by itself: all libraries that it needs must be in the archive.
# shellcheck disable=SC2016 # the shell in the root expands it
enter --net "$bare" /bin/sh -c 'cd "/a place"/*/lib
    for file in *.so* vinst_pac vinst_desktop_proxy plugins/*/*; do echo "$file:"; /lib64/ld-linux-x86-64.so.2 --list "./$file" 2>&1; done' >"$work/output" ||
    fail "the archive's libraries can't be listed"
grep -q '^libvinst.so.1:$' "$work/output" || fail "libvinst.so.1 was not examined"
! grep 'error while loading' "$work/output" || fail "the archive lacks the libraries above"
enter --net "$bare" /bin/sh -c 'vinst --version' | tee "$work/output"
[[ $(head -n 1 "$work/output") == "vinst $version" ]] || fail "this is not version $version"
enter --net "$bare" /bin/sh -c 'vinst --help' >"$work/output" 2>&1 || true # it exits with 1
grep -q "Default components: veltrin" "$work/output" || { cat "$work/output" >&2; fail "vinst --help failed"; }
echo "vinst --help lists the components."
