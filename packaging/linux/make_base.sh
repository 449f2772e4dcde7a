#!/usr/bin/env bash
# Makes the system in which the self-contained archive is built: see usage below.
set -euo pipefail

usage() {
    cat <<'EOT'
Usage: packaging/linux/make_base.sh DIRECTORY

Makes DIRECTORY/root, a Debian 11 system with glibc 2.31, the compiler, and everything else that
packaging/debian/control requires, from Debian's packages. What is too old there, or no longer maintained,
is built in it from Debian 12's sources; those packages have "~vinst11" at the end of their versions.

A second run only installs and builds what Debian has updated since. DIRECTORY/built has the built packages;
to start over, remove DIRECTORY. It takes 3 GB.

Needs root, debootstrap and a Debian mirror: the first of this machine's apt sources, or
VINST_DEBIAN_MIRROR. Its security updates are expected at the same address with "-security" added.
EOT
}

say() { printf 'make_base.sh: %s\n' "$*"; }
fail() { say "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
    '' | -*) usage >&2; exit 2 ;;
esac
(($# == 1)) || { usage >&2; exit 2; }
((EUID == 0)) || fail "needs root"
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
mkdir -p "$1"
directory=$(realpath "$1")
root=$directory/root
log=$directory/log
mirror=${VINST_DEBIAN_MIRROR:-$(apt-cache policy | sed -nE 's,^ *[0-9]+ (https?://[^ ]+) bookworm/main amd64 .*,\1,p' | head -n 1)}
mirror=${mirror:-http://deb.debian.org/debian}
export LC_ALL=C.UTF-8

exec 9>"$directory/lock"
flock --nonblock 9 || fail "another process is using $directory"

# In the order in which they are built: libcurl needs OpenSSL. Debian 11 has libcurl 7.74, oneTBB 2020, no
# cpp-httplib, and OpenSSL 1.1.1, which is not maintained any more.
sources=(openssl curl onetbb cpp-httplib)

# Runs a command in the root with its output in the log, for at most half an hour.
in_root() {
    timeout 1800 "$here/in_root.sh" --mount "$directory/built:/built" --mount "$directory/sources:/sources" "$root" "$@" \
        </dev/null >"$log" 2>&1 9>&- || { tail -n 30 "$log" >&2; fail "this command failed in $root: $*"; }
}

install_in_root() { in_root apt-get install -y -qq --no-remove "$@"; }

make_root() {
    say "Making a Debian 11 root from $mirror"
    rm -rf "$root" "$root.new"
    timeout 1800 debootstrap --variant=minbase --include=build-essential,ca-certificates bullseye "$root.new" "$mirror" >"$log" 2>&1 ||
        { tail -n 20 "$log" >&2; fail "debootstrap failed"; }
    {
        printf 'deb %s bullseye main\n' "$mirror"
        printf 'deb %s bullseye-updates main\n' "$mirror"
        printf 'deb %s-security bullseye-security main\n' "$mirror"
        printf 'deb-src %s bookworm main\n' "$mirror"
        printf 'deb-src %s-security bookworm-security main\n' "$mirror"
    } >"$root.new/etc/apt/sources.list"
    # Debian 11 is archived at some time: its lists are then valid, but old.
    cat >"$root.new/etc/apt/apt.conf.d/vinst" <<'EOT'
Acquire::Languages "none";
Acquire::Check-Valid-Until "false";
Acquire::Retries "2";
Acquire::http::Timeout "60";
APT::Install-Recommends "false";
APT::Sandbox::User "root";
EOT
    mv "$root.new" "$root"
}

# What has to be changed in the sources for Debian 11, in their directory.
adapt_openssl() {
    sed -i -E 's/ ?-fzero-call-used-regs=[a-z-]+//' Configurations/20-debian.conf # since GCC 11
}
adapt_onetbb() {
    sed -i 's/ -Wno-error=use-after-free//' cmake/compilers/GNU.cmake # since GCC 12
    sed -i 's/-DTBB_TEST=ON/-DTBB_TEST=OFF/' debian/rules             # they take longer than all the rest
}

# fetch SOURCE VERSION: downloads it to $directory/sources, if the mirror has it
fetch() {
    rm -rf "$directory/sources" && mkdir "$directory/sources"
    (in_root sh -c "cd /sources && apt-get source --download-only --only-source -qq '$1=$2'") 2>"$log.fetch"
}

# build SOURCE: builds the packages of the newest version that the mirror has, unless they are in
# DIRECTORY/built
build() {
    local source=$directory/sources/$1 built version versions recipe started=$SECONDS
    recipe=$({ declare -f "adapt_$1" || true; } | sha256sum | cut -c 1-16)
    mapfile -t versions < <("$here/in_root.sh" "$root" apt-cache showsrc --only-source "$1" | sed -n 's/^Version: //p' | sort -rV | uniq)
    for version in "${versions[@]}" ''; do
        [[ -n $version ]] || { cat "$log.fetch" >&2; fail "the sources of $1 can't be downloaded"; }
        built=$directory/built/$1_${version//:/%}_$recipe
        if [[ -e $built ]] || fetch "$1" "$version"; then
            break
        fi
        say "$mirror does not have the files of $1 $version; trying the next older version"
    done
    if [[ ! -e $built ]]; then
        say "Building $1 $version"
        in_root sh -c "cd /sources && dpkg-source --no-check -x *.dsc '$1'"
        (
            cd "$source"
            # The date of the build is that of the sources.
            {
                printf '%s (%s~vinst11) bullseye; urgency=medium\n\n  * Built on Debian 11.\n\n' "$1" "$version"
                printf ' -- The vinst authors <vinst@orvane.example>  %s\n\n' "$(dpkg-parsechangelog -S Date)"
                cat debian/changelog
            } >../changelog
            mv ../changelog debian/changelog
            [[ $(type -t "adapt_$1") != function ]] || "adapt_$1"
        )
        in_root env DEB_BUILD_PROFILES="nocheck nodoc" sh -c "cd '/sources/$1' && apt-get build-dep -y -qq --arch-only ./"
        in_root env DEB_BUILD_PROFILES="nocheck nodoc" DEB_BUILD_OPTIONS="nocheck nodoc noautodbgsym parallel=$(nproc)" \
            sh -c "cd '/sources/$1' && dpkg-buildpackage -B -us -uc"
        rm -rf "$built.new" && mkdir "$built.new"
        mv "$directory"/sources/*.deb "$built.new/"
        mv "$built.new" "$built"
        say "Built $1 in $((SECONDS - started)) s"
    fi
    rm -rf "$directory/sources" && mkdir "$directory/sources"
    find "$directory/built" -mindepth 1 -maxdepth 1 -name "$1_*" ! -path "$built" -exec rm -rf {} +
}

# The runtime and development packages of what was built, for vinst and for one another.
install_built() { # NAME...
    local name files=()
    for name in "$@"; do
        files+=("$(cd "$directory" && ls built/*/"$name"_*.deb)")
    done
    install_in_root "${files[@]/#/\/}"
}

mkdir -p "$directory/built" "$directory/sources"
[[ -d $root ]] || make_root
mkdir -p "$root/built" "$root/sources" # mount points
in_root apt-get update -qq --error-on=any
in_root apt-get upgrade -y -qq
install_in_root dh-exec faketime patchelf qt5-qmake xz-utils
for source in "${sources[@]}"; do
    build "$source"
    case $source in
        openssl) install_built libssl3 libssl-dev ;;
        curl) install_built libcurl4 libcurl4-openssl-dev ;;
        onetbb) install_built libtbb12 libtbbmalloc2 libtbbbind-2-5 libtbb-dev ;;
        cpp-httplib) install_built libcpp-httplib0.11 libcpp-httplib-dev ;;
    esac
done
cp "$here/../debian/control" "$root/tmp/control"
# The plugins of Qt that the archive contains, and nothing links.
install_in_root libqt5svg5
in_root sh -c 'mkdir -p /tmp/vinst/debian && mv /tmp/control /tmp/vinst/debian/ && cd /tmp/vinst && apt-get build-dep -y -qq ./'
glibc=$("$here/in_root.sh" "$root" getconf GNU_LIBC_VERSION)
[[ $glibc == "glibc 2.31" ]] || fail "$root has $glibc"
say "Ready: $root"
