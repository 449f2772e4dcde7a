#!/usr/bin/env bash
# Installs missing packages on a Debian 12 machine.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/install_deps.sh [test] [bench] [package] [screenshots] [windows]

Installs missing build dependencies with apt. Arguments add further packages:

  test         for the tests and style checks
  package      for scripts/package.sh
  bench        for the benchmarks and the programs they compare with
  screenshots  for scripts/screenshots.sh
  windows      for building, testing and packaging the Windows programs

Needs root or sudo, unless nothing is missing. Starts no services.
END
}

packages=(
    g++ cmake ninja-build pkg-config
    qtbase5-dev qtdeclarative5-dev libqt5svg5-dev libtbb-dev libboost-program-options-dev libboost-dev libcurl4-openssl-dev
    libglib2.0-dev libseccomp-dev
    libfmt-dev libspdlog-dev libcpp-httplib-dev
)

for argument in "$@"; do
    case $argument in
        test) packages+=(libgtest-dev libgmock-dev nginx-light squid tinyproxy dante-server iproute2 xvfb
                         dbus-daemon dconf-gsettings-backend glib-networking gsettings-desktop-schemas libglib2.0-bin
                         libkf5config-bin libproxy1-plugin-kconfig libproxy1-plugin-webkit
                         krb5-kdc krb5-admin-server krb5-user
                         openssl tmux ca-certificates curl tzdata binutils clang-format clang-tidy
                         e2fsprogs mount util-linux strace python3-yaml libxml2-utils
                         pandoc man-db mandoc bsdextrautils bash-completion zsh fish
                         desktop-file-utils appstream shared-mime-info python3-jsonschema) ;;
        bench) packages+=(nginx-light aria2 curl wget2 openssl time gnuplot-nox iproute2 e2fsprogs mount) ;;
        package) packages+=(pandoc debhelper fakeroot dpkg-dev lintian debootstrap git iproute2 mount util-linux
                            binutils faketime patchelf qt5-qmake libqt5svg5 perl xz-utils) ;;
        screenshots) packages+=(libgtest-dev libgmock-dev xvfb util-linux fonts-dejavu-core pngquant) ;;
        windows) packages+=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest wine wine64 nsis
                            fonts-dejavu-core libqt5svg5 jq w3m zip unzip xz-utils
                            osslsigncode openssl python3) ;;
        --help) usage; exit 0 ;;
        *) echo "install_deps.sh: unknown argument: $argument" >&2; usage >&2; exit 2 ;;
    esac
done

is_installed() {
    [[ $(dpkg-query -W -f='${Status}' "$1" 2>/dev/null) == "install ok installed" ]]
}

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "install_deps.sh: needs a Debian system; install these by hand: ${packages[*]}" >&2
    exit 1
fi

missing=()
for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

as_root() {
    if ((EUID == 0)); then
        "$@"
    else
        sudo -- "$@"
    fi
}

if ((EUID != 0)) && ! command -v sudo >/dev/null; then
    echo "install_deps.sh: run this as root, or install sudo; missing: ${missing[*]}" >&2
    exit 1
fi

# Packages of servers start their services on installation, unless /usr/sbin/policy-rc.d exits with
# 101. An existing policy is the administrator's and is left unchanged.
policy=/usr/sbin/policy-rc.d
own_policy=false

restore_policy() {
    if $own_policy; then
        as_root rm -f "$policy"
    fi
}
trap restore_policy EXIT

if [[ ! -e $policy ]]; then
    own_policy=true
    printf '#!/bin/sh\nexit 101\n' | as_root tee "$policy" >/dev/null
    as_root chmod 755 "$policy"
fi

echo "Installing: ${missing[*]}"
as_root apt-get update -qq
as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq -o Dpkg::Use-Pty=0 --no-install-recommends "${missing[@]}"
