#!/usr/bin/env bash
# Creates the Windows packages: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: packaging/windows/pack.sh [--icon FILE.ico] [--manifest FILE [--name NAME]]
           [--sign CERTIFICATE [--key FILE] [--timestamp URL]] LAYOUT_DIR VERSION OUTPUT_DIR

Creates these packages from the output of collect.sh in LAYOUT_DIR:

  OUTPUT_DIR/vinst-VERSION-windows-x86_64.zip        can be unpacked and run anywhere
  OUTPUT_DIR/vinst-VERSION-windows-x86_64-setup.exe  a setup program with an uninstaller

  --icon FILE.ico  icon of the setup program and the uninstaller, with --manifest also of the Start menu entry
  --manifest FILE  puts the release with this manifest into both, so that the program installs it without any
                   option. Its edition and version are appended to VERSION, as in 1.0.0+pro5.2.0.31, and the
                   installed program has its title, such as "Veltrin Crest Pro 5.2 Installer". Releases with
                   different titles can be installed side by side
  --name NAME      the product in that title instead of "Veltrin Crest"
  --sign CERTIFICATE
                   signs vinst.exe, vinst_cli.exe, vinst.dll, the uninstaller and the setup program with this
                   certificate: a PEM file, also with the certificates of its authorities, or a PKCS #12 file (.p12 or
                   .pfx) with its key. Its password, if it has one, is read from the file VINST_SIGN_PASSWORD_FILE
  --key FILE       the certificate's key, a PEM file; by default, it is in the same file
  --timestamp URL  has the time of the signatures confirmed by this server (RFC 3161), so that they remain valid when
                   the certificate expires

VERSION has the form 1.2.3 or 1.2.3-rc1. The output is reproducible: all files get the time
SOURCE_DATE_EPOCH, by default that of the last commit.
Needs makensis (Debian package nsis), perl, w3m and zip, with --sign also osslsigncode; installs
nothing.
END
}

fail() { printf 'pack.sh: %s\n' "$*" >&2; exit 1; }

icon=
manifest=
product="Veltrin Crest"
certificate=
key=
timestamp=
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --icon | --manifest | --name | --sign | --key | --timestamp)
            if (($# < 2)) || [[ -z $2 ]]; then
                echo "pack.sh: $1 needs a value" >&2
                exit 2
            fi
            case $1 in
                --icon) icon=$2 ;;
                --manifest) manifest=$2 ;;
                --name) product=$2 ;;
                --sign) certificate=$2 ;;
                --key) key=$2 ;;
                --timestamp) timestamp=$2 ;;
            esac
            shift 2
            ;;
        -*) echo "pack.sh: unknown argument: $1" >&2; usage >&2; exit 2 ;;
        *) break ;;
    esac
done
(($# == 3)) || { usage >&2; exit 2; }
layout=$1
version=$2
out=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export LC_ALL=C

missing=()
command -v makensis >/dev/null || missing+=(nsis)
command -v w3m >/dev/null || missing+=(w3m)
command -v zip >/dev/null || missing+=(zip)
[[ -z $certificate ]] || command -v osslsigncode >/dev/null || missing+=(osslsigncode)
((${#missing[@]} == 0)) || fail "these packages are missing: ${missing[*]}"

[[ $version =~ ^([0-9]{1,5}\.[0-9]{1,5}\.[0-9]{1,5})([-+.][A-Za-z0-9.+-]+)?$ ]] || fail "not a valid version: $version"
numbers=${BASH_REMATCH[1]}.0
for file in bin/vinst.exe bin/vinst_cli.exe bin/vinst.dll licenses/main.html; do
    [[ -f $layout/$file ]] || fail "there is no $layout/$file"
done
[[ -z $icon || -f $icon ]] || fail "there is no $icon"
[[ -z $icon ]] || icon=$(realpath "$icon")
[[ -z $manifest || -f $manifest ]] || fail "there is no $manifest"

[[ -n $certificate || -z $key$timestamp ]] || fail "--key and --timestamp need --sign"
for file in ${certificate:+"$certificate"} ${key:+"$key"}; do
    [[ -f $file ]] || fail "there is no $file"
done

# sign FILE... : signs each program if --sign is given
sign() {
    [[ -n $certificate ]] || return 0
    local options=(-h sha256 -n "$title" -i https://docs.orvane.example/veltrin -time "$epoch") file
    case $certificate in
        *.p12 | *.pfx) options+=(-pkcs12 "$certificate") ;;
        *) options+=(-certs "$certificate" -key "${key:-$certificate}") ;;
    esac
    [[ -z ${VINST_SIGN_PASSWORD_FILE:-} ]] || options+=(-readpass "$VINST_SIGN_PASSWORD_FILE")
    [[ -z $timestamp ]] || options+=(-ts "$timestamp")
    for file in "$@"; do
        osslsigncode sign "${options[@]}" -in "$file" -out "$work/signed" >"$work/signing" 2>&1 ||
            { cat "$work/signing" >&2; fail "${file##*/} can't be signed"; }
        mv "$work/signed" "$file"
    done
}

# What the registry calls the installation, and the names that a user reads.
title="Veltrin Crest Installer"
suffix=
release_version=
if [[ -n $manifest ]]; then
    properties=$("$here/../read_release.pl" "$manifest" "$product")
    { read -r edition && read -r release_version && read -r label && read -r title; } <<<"$properties"
    version+=$label
    # As the title: the same for all versions that replace each other.
    [[ $release_version =~ ^[0-9]+\.[0-9]+ ]]
    suffix=_${product//[^A-Za-z0-9]/}_${edition,,}_${BASH_REMATCH[0]}
fi

epoch=${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct)}
[[ $epoch =~ ^[0-9]+$ ]] || fail "SOURCE_DATE_EPOCH is not a number: $epoch"
export SOURCE_DATE_EPOCH=$epoch
export TZ=UTC # zip writes local time

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
name=vinst-$version-windows-x86_64
cp -rT "$layout" "$work/$name"
[[ -z $manifest ]] || cp "$manifest" "$work/$name/bin/manifest.json"
[[ -z $manifest || -z $icon ]] || cp "$icon" "$work/$name/bin/release.ico"
sign "$work/$name"/bin/{vinst.exe,vinst_cli.exe,vinst.dll}
cd "$work"
[[ -z $(find "$name" ! -type f ! -type d) ]] || fail "$layout contains something other than files and directories"
chmod -R u=rwX,go=rX "$name"
find "$name" -exec touch -d "@$epoch" {} +
cd "$OLDPWD"

# The list of all installed files, also for the uninstaller. Names must not contain makensis syntax.
directories=()
files=()
while IFS= read -r path; do directories+=("$path"); done < <(cd "$work/$name" && find . -mindepth 1 -type d | sed 's,^\./,,' | sort)
while IFS= read -r path; do files+=("$path"); done < <(cd "$work/$name" && find . -type f | sed 's,^\./,,' | sort)
for path in "${directories[@]}" "${files[@]}"; do
    [[ $path =~ ^[A-Za-z0-9][A-Za-z0-9._+/-]*$ ]] || fail "the setup program can't handle the name $path"
    [[ ${path,,} != uninstall.exe ]] || fail "this name is reserved for the uninstaller: $path"
done

# The variables in single quotes are for makensis.
# shellcheck disable=SC2016
{
    echo "!macro LAY_DOWN_FILES DIRECTORY"
    for directory in . "${directories[@]}"; do
        in_it=()
        for path in "${files[@]}"; do
            [[ $(dirname "$path") != "$directory" ]] || in_it+=("$path")
        done
        ((${#in_it[@]} > 0)) || continue
        if [[ $directory == . ]]; then
            echo '  SetOutPath "${DIRECTORY}"'
        else
            printf '  SetOutPath "${DIRECTORY}\\%s"\n' "${directory//\//\\}"
        fi
        for path in "${in_it[@]}"; do
            printf '  File "%s"\n' "$work/$name/$path"
        done
    done
    echo "!macroend"

    echo "!macro EACH_FILE FUNCTION"
    for path in "${files[@]}"; do
        printf '  Push "$INSTDIR\\%s"\n  Call ${FUNCTION}\n' "${path//\//\\}"
    done
    echo "!macroend"

    # Files that can't be opened for writing while the program runs.
    echo "!macro EACH_PROGRAM_FILE FUNCTION"
    for path in "${files[@]}"; do
        case ${path,,} in
            *.exe | *.dll) printf '  Push "$INSTDIR\\%s"\n  Call ${FUNCTION}\n' "${path//\//\\}" ;;
        esac
    done
    echo "!macroend"

    # In the uninstaller, an error afterwards means that a file could not be removed. A directory that
    # contains other files remains, which is not an error.
    echo "!macro REMOVE_FILES"
    echo "  ClearErrors"
    for path in "${files[@]}"; do
        printf '  Delete "$INSTDIR\\%s"\n' "${path//\//\\}"
    done
    echo "!macroend"
    echo "!macro REMOVE_DIRECTORIES"
    for ((i = ${#directories[@]} - 1; i >= 0; --i)); do
        printf '  RMDir "$INSTDIR\\%s"\n' "${directories[i]//\//\\}"
    done
    echo "!macroend"
} >"$work/files.nsh"

# The licence as text, one line per paragraph: the page wraps lines itself.
mkdir "$work/home"
HOME=$work/home w3m -dump -T text/html -I UTF-8 -O UTF-8 -cols 4000 "$layout/licenses/main.html" >"$work/text"
[[ $(wc -w <"$work/text") -gt 20 ]] || fail "$layout/licenses/main.html has no text"
{
    printf '\xEF\xBB\xBF'
    sed -e 's/[[:space:]]*$//' -e 's/$/\r/' "$work/text"
} >"$work/license.txt"

# The picture on the last page: a colour gradient, 164 by 314 pixels.
perl -e '
    my ($width, $height) = (164, 314);
    my @low = (0x98, 0x5f, 0x1c); # blue, green, red
    my @high = (0x8d, 0x95, 0x1a);
    my $rows = "";
    for my $y (0 .. $height - 1) {
        my @pixel = map { int($low[$_] + ($high[$_] - $low[$_]) * $y / ($height - 1) + 0.5) } 0 .. 2;
        $rows .= pack("C3", @pixel) x $width;
    }
    print pack("a2 V V V", "BM", 54 + length $rows, 0, 54),
        pack("V V V v v V6", 40, $width, $height, 1, 24, 0, length $rows, 2835, 2835, 0, 0), $rows;
' >"$work/picture.bmp"
touch -d "@$epoch" "$work/picture.bmp" # the setup program stores the time of each file

mkdir -p "$out"
rm -f "$out/$name.zip" "$out/$name-setup.exe"
(
    cd "$work"
    find "$name" -type f | sort | zip -q -X -D -9 "$work/$name.zip" -@
)
kilobytes=$(find "$work/$name" -type f -printf '%s\n' | awk '{ sum += $1 } END { print int((sum + 1023) / 1024) }')
defines=(-DVERSION="$version" -DNUMBERS="$numbers" -DTITLE="$title" -DSUFFIX="$suffix" -DCOMMON="$here/common.nsh"
    -DFILES="$work/files.nsh" -DUNINSTALLER="$work/uninstall.exe")
[[ -z $icon ]] || defines+=(-DICON="$icon")
[[ -z $manifest ]] || defines+=(-DRELEASE_VERSION="$release_version")
[[ -z $manifest || -z $icon ]] || defines+=(-DRELEASE_ICON="bin\release.ico")
# Warnings are errors.
makensis -NOCD -V2 -WX "${defines[@]}" "$here/uninstall.nsi"
sign "$work/uninstall.exe"
touch -d "@$epoch" "$work/uninstall.exe"
makensis -NOCD -V2 -WX "${defines[@]}" -DKILOBYTES="$kilobytes" -DLICENSE="$work/license.txt" \
    -DPICTURE="$work/picture.bmp" -DSETUP="$work/$name-setup.exe" "$here/setup.nsi"
sign "$work/$name-setup.exe"
chmod 644 "$work/$name-setup.exe"
mv "$work/$name.zip" "$out/"
mv "$work/$name-setup.exe" "$out/"
(cd "$out" && sha256sum "$name.zip" "$name-setup.exe")
