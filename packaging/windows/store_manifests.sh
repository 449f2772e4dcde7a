#!/usr/bin/env bash
# Makes the manifests for winget and Chocolatey: see usage below.
set -euo pipefail

usage() {
    cat <<'USAGE'
Usage: packaging/windows/store_manifests.sh SETUP_EXE URL OUTPUT_DIR

Makes the manifests with which winget and Chocolatey install SETUP_EXE, which pack.sh has made without a
release, in OUTPUT_DIR/winget and OUTPUT_DIR/chocolatey, and checks them against the schemas in
packaging/windows. URL is the https address of the directory from which SETUP_EXE will be downloaded.

Needs python3-jsonschema, python3-yaml and libxml2-utils (Debian packages); installs nothing.
USAGE
}

fail() { printf 'store_manifests.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
(($# == 3)) || { usage >&2; exit 2; }
setup=$1
url=${2%/}/${1##*/}
out=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export LC_ALL=C

[[ -f $setup ]] || fail "there is no $setup"
[[ ${setup##*/} =~ ^vinst-([0-9]+\.[0-9]+\.[0-9]+(-[A-Za-z0-9.]+)?)-windows-x86_64-setup\.exe$ ]] ||
    fail "this is not the name of a setup program without a release: ${setup##*/}"
version=${BASH_REMATCH[1]}
[[ $url =~ ^https://[A-Za-z0-9.-]+/[A-Za-z0-9._~%/-]+$ ]] || fail "this is not an https address: $2"
sum=$(sha256sum "$setup")
sum=${sum%% *}

for template in "$here"/winget/*.in "$here"/chocolatey/*.in "$here"/chocolatey/tools/*.in; do
    target=$out/${template#"$here"/}
    target=${target%.in}
    mkdir -p "${target%/*}"
    sed -e "s/@VERSION@/$version/g" -e "s,@URL@,$url,g" -e "s/@SHA256@/${sum^^}/g" "$template" >"$target"
done
"$here/check_store_manifests.py" "$out"
