#!/usr/bin/env bash
# Tests the packages that pack.sh creates, under Wine: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: packaging/windows/test_setup.sh [--only PART] SETUP_EXE ZIP

Unpacks the archive, and installs, upgrades and uninstalls with the setup program, for one user and
for all users, in a temporary Wine prefix without a display. Prints a line for each check that passes,
and fails at the first that doesn't.

  --only PART  runs one part: cycles, upgrades, others_files, while_running, errors, release, signatures,
               headers, path, downgrade, or failing_upgrade

Needs wine64 with wine, nsis, w3m, zip, unzip, binutils, openssl and osslsigncode (Debian packages); installs
nothing.
END
}

# Failures go to standard output, so that a log keeps them in order with the checks before them.
fail() { printf 'test_setup.sh: %s\n' "$*"; exit 1; }
trap 'printf "test_setup.sh: line %s: failed with %s: %s\n" "$LINENO" "$?" "$BASH_COMMAND"' ERR
set -E

if [[ ${1:-} == --help ]]; then
    usage
    exit 0
fi
parts=(cycles upgrades others_files while_running errors release signatures headers path downgrade failing_upgrade)
if [[ ${1:-} == --only ]]; then
    [[ " ${parts[*]} " == *" ${2:-} "* ]] || { usage >&2; exit 2; }
    parts=("$2")
    shift 2
fi
(($# == 2)) || { usage >&2; exit 2; }
[[ -f $1 ]] || fail "there is no $1"
[[ -f $2 ]] || fail "there is no $2"
setup=$(realpath "$1")
zip=$(realpath "$2")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
for command in wine wineserver unzip strings; do
    command -v "$command" >/dev/null || fail "there is no $command"
done
[[ ${setup##*/} =~ ^vinst-(.+)-windows-x86_64-setup\.exe$ ]] || fail "there is no version in the name $setup"
version=${BASH_REMATCH[1]}

work=$(mktemp -d "${TMPDIR:-/tmp}/vinst_setup.XXXXXX")
# Wine must ask no questions and must not change the desktop menus of this machine.
export WINEPREFIX=$work/prefix WINEARCH=win64 WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
export HOME=$work/home XDG_RUNTIME_DIR=$work/run LC_ALL=C.UTF-8
unset DISPLAY WAYLAND_DISPLAY WINEPATH XDG_DATA_HOME XDG_CONFIG_HOME XDG_CACHE_HOME
mkdir -m 700 "$HOME" "$XDG_RUNTIME_DIR"

program=
finish() {
    if [[ -n $program ]]; then
        kill "$program" 2>/dev/null || true
        wait "$program" 2>/dev/null || true
    fi
    if [[ -d $WINEPREFIX ]]; then
        timeout 60 wineserver -k 2>/dev/null || true
        timeout 60 wineserver -w 2>/dev/null || true
    fi
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

run() { timeout -k 10 300 wine "$@"; }
ok() { printf 'ok: %s\n' "$*"; }

# equal WHAT EXPECTED ACTUAL
equal() {
    [[ $2 == "$3" ]] || fail "$1: expected '$2', got '$3'"
    ok "$1: $2"
}

# exits CODE WHAT COMMAND...
exits() {
    local expected=$1 what=$2 code=0
    shift 2
    "$@" || code=$?
    equal "$what exits with" "$expected" "$code"
}

# same WHAT FILE FILE
same() {
    diff -u "$2" "$3" || fail "$1: see the differences above"
    ok "$1"
}

there() { [[ -e $1 ]] || fail "there is no $1"; ok "there is ${1#"$work"/}"; }
gone() { [[ ! -e $1 ]] || fail "there is still $1"; ok "there is no ${1#"$work"/}"; }

# until_ WHAT COMMAND...: waits until it succeeds, for at most two minutes.
until_() {
    local what=$1 end=$((SECONDS + 120))
    shift
    while ((SECONDS < end)); do
        if "$@"; then
            ok "$what"
            return
        fi
        sleep 0.2
    done
    fail "timed out: $what"
}

# Ends all processes of the Wine prefix, so that the registry is written to its files.
shut_down() {
    timeout 120 wineserver -w || { timeout 60 wineserver -k || true; timeout 60 wineserver -w; }
}

tree() { (cd "$1" && find . -mindepth 1 -printf '%y %P\n' | sort); }
sums() { (cd "$1" && find . -type f -exec sha256sum {} + | sort -k 2); }

# snapshot NAME: writes the list of all files and directories of drive C, and the registry, to
# $work/NAME.*, after a restart, which removes the uninstaller's temporary copy. Excluded are
# - the directory of that copy, which Windows removes on restart, but Wine doesn't;
# - the modification times of keys;
# - the keys of devices, which Wine creates at each start, in varying order;
# - the keys of Wine's debugger and its console, which it creates when a driver process of Wine crashes
#   while it starts or ends. That happens under load and concerns no program of the test.
snapshot() {
    shut_down
    timeout 120 wineboot
    shut_down
    tree "$WINEPREFIX/drive_c" | sed -E '/^d users\/[^\/]+\/Temp\/~nsu[0-9A-Z]*\.tmp$/d' >"$work/$1.files"
    sed -E -e '/^#time=/d' -e 's/^(\[.*\]) [0-9]+$/\1/' \
        "$WINEPREFIX"/{system,user,userdef}.reg |
        awk '/^\[/ { of_wine = /^\[(System\\\\CurrentControlSet\\\\(Control\\\\(Class|DeviceClasses)|Enum)\\\\|(Console|Software\\\\Wine\\\\WineDbg)\])/ } !of_wine' \
            >"$work/$1.registry"
    grep -q 'CurrentVersion' "$work/$1.registry" || fail "the registry can't be read"
}

unchanged() { # SINCE WHAT
    snapshot now
    same "$2 leaves no files or directories behind" "$work/$1.files" "$work/now.files"
    same "$2 leaves nothing in the registry" "$work/$1.registry" "$work/now.registry"
}

to_unix() { run winepath -u "$1" | tr -d '\r'; }
variable() { run cmd /c "echo %$1%" | tr -d '\r'; }

# run_line LINE: runs a command line from a batch file. A directory after /D= or _?= must not be
# quoted, even if it contains spaces; as an argument, Wine would quote it.
run_line() {
    printf '@%s\r\n' "$1" >"$work/line.bat"
    run cmd /c "$(run winepath -w "$work/line.bat" | tr -d '\r')"
}

key='Software\Microsoft\Windows\CurrentVersion\Uninstall\OrvaneVeltrinCrestInstaller'

value() { # HIVE NAME
    run reg query "$1\\$key" /v "$2" | tr -d '\r' | sed -nE "s/^ +$2 +REG_(SZ|DWORD) +//p"
}
# value_of KEY NAME: prints a value of the registry; NAME is empty for the key's default
value_of() {
    local name=(/ve)
    [[ -z $2 ]] || name=(/v "$2")
    run reg query "$1" "${name[@]}" 2>/dev/null | tr -d '\r' | sed -nE 's/^ +.* +REG_SZ +//p'
}
app_path='Software\Microsoft\Windows\CurrentVersion\App Paths\vinst_cli.exe'
# found_in_path PROGRAM: prints the path of a program that Windows finds in a process with the environment of a new logon
found_in_path() {
    shut_down
    run_line "for %%i in ($1) do @echo %%~\$PATH:i" 2>/dev/null | tr -d '\r'
}
has_key() { run reg query "$1\\$key" >"$work/key" 2>&1; }
is_gone() { [[ ! -e $1 ]]; }
in_use() { [[ $(run_line "type nul >> \"$1\"" 2>&1) == *"haring violation"* ]]; }
has_no_key() { ! has_key "$1"; }

# help_of FILE: checks that the console program runs, from another directory. --help needs a manifest
# and exits with 1.
help_of() {
    local text code=0
    text=$(cd / && vinst_manifest="Z:${work//\//\\}\\manifest.json" run "$1" --help </dev/null 2>"$work/stderr") || code=$?
    ((code == 1)) || { cat "$work/stderr" >&2; fail "$1 --help exits with $code"; }
    [[ $text == "Usage: vinst_cli [options...]"* ]] || fail "$1 --help prints unexpected text: '$text'"
    ok "${1#"$work"/} --help prints its help"
}

mkdir "$work/zip" "$work/old"
echo '[{"data_type": "main", "edition": "pro", "version": "5.2.0.31"}]' >"$work/manifest.json"
timeout 300 wineboot -i >"$work/wineboot" 2>&1 || { cat "$work/wineboot" >&2; fail "Wine does not start"; }
# Run without a display.
run reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null
setup_there=$(run winepath -w "$setup" | tr -d '\r')
local_data=$(variable LOCALAPPDATA)
program_files=$(variable ProgramFiles)
roaming=$(to_unix "$(variable APPDATA)")
program_data=$(to_unix "$(variable ProgramData)")
[[ $local_data == C:\\* && $program_files == C:\\* && -d $roaming && -d $program_data ]] ||
    fail "unexpected folders in Wine: '$local_data' '$program_files' '$roaming' '$program_data'"
# Wine passes on only the lowest eight bits of an exit code.
run winecfg /v win7
exits "$((1150 & 255))" "setup on Windows 7" run "$setup" /S
run winecfg /v win10
ok "a fresh $(run cmd /c ver | tr -d '\r\n')"

# ---- The archive ----

unzip -q "$zip" -d "$work/zip"
top=vinst-$version-windows-x86_64
equal "the archive's only directory is" "$top" "$(ls -A "$work/zip")"
files=$work/zip/$top
help_of "$files/bin/vinst_cli.exe"
sums "$files" >"$work/zip.sums"

# An older version, with a file that the new version doesn't have.
mkdir "$work/older"
for file in bin/vinst.exe bin/vinst_cli.exe bin/vinst.dll licenses/main.html; do
    install -D "$files/$file" "$work/older/$file"
done
mkdir "$work/older/former"
echo former >"$work/older/former/former.txt"
SOURCE_DATE_EPOCH=0 "$here/pack.sh" "$work/older" 0.0.1 "$work/old" >"$work/pack" 2>&1 ||
    { cat "$work/pack" >&2; fail "packaging the older version failed"; }
older=$work/old/vinst-0.0.1-windows-x86_64-setup.exe

# installed HIVE MODE DIRECTORY MENU: checks an installation
installed() {
    local hive=$1 mode=$2 directory=$3 menu=$4 place shortcut text
    place=$(to_unix "$directory")
    sums "$place" | grep -v ' \./uninstall\.exe$' >"$work/installed.sums"
    same "the files for $mode are those of the archive" "$work/zip.sums" "$work/installed.sums"
    there "$place/uninstall.exe"
    help_of "$place/bin/vinst_cli.exe"
    equal "DisplayName" "Veltrin Crest Installer" "$(value "$hive" DisplayName)"
    equal "DisplayVersion" "$version" "$(value "$hive" DisplayVersion)"
    equal "Publisher" Orvane "$(value "$hive" Publisher)"
    equal "DisplayIcon" "$directory\\bin\\vinst.exe,0" "$(value "$hive" DisplayIcon)"
    equal "InstallLocation" "$directory" "$(value "$hive" InstallLocation)"
    equal "UninstallString" "\"$directory\\uninstall.exe\" /$mode" "$(value "$hive" UninstallString)"
    equal "QuietUninstallString" "\"$directory\\uninstall.exe\" /S /$mode" "$(value "$hive" QuietUninstallString)"
    equal "EstimatedSize" "$(printf '0x%x' "$(find "$files" -type f -printf '%s\n' |
        awk '{ sum += $1 } END { print int((sum + 1023) / 1024) }')")" "$(value "$hive" EstimatedSize)"
    equal "HelpLink" https://docs.orvane.example/vinst "$(value "$hive" HelpLink)"
    equal "URLInfoAbout" https://docs.orvane.example/veltrin "$(value "$hive" URLInfoAbout)"
    equal "the App Path of vinst_cli.exe" "$directory\\bin\\vinst_cli.exe" "$(value_of "$hive\\$app_path" '')"
    equal "vinst_cli in a new console is" "$directory\\bin\\vinst_cli.exe" "$(found_in_path vinst_cli.exe)"
    equal "NoModify" 0x1 "$(value "$hive" NoModify)"
    equal "NoRepair" 0x1 "$(value "$hive" NoRepair)"
    shortcut="$menu/Microsoft/Windows/Start Menu/Programs/Veltrin Crest Installer.lnk"
    there "$shortcut"
    text=$(strings -el "$shortcut"; strings "$shortcut")
    [[ $text == *"$directory\\bin\\vinst.exe"* ]] || fail "the shortcut has another target: $text"
    ok "the shortcut points to $directory\\bin\\vinst.exe"
}

# uninstall HIVE: runs the QuietUninstallString, as Windows does
uninstall() {
    local command directory
    directory=$(to_unix "$(value "$1" InstallLocation)")
    command=$(value "$1" QuietUninstallString)
    exits 0 "$command" run_line "$command"
    # A copy removes it.
    until_ "the uninstaller has removed itself" is_gone "$directory/uninstall.exe"
    until_ "the uninstaller has removed its registry key" has_no_key "$1"
    shut_down
}

# cycle HIVE MODE DIRECTORY MENU OPTIONS
cycle() {
    local hive=$1 mode=$2 directory=$3 menu=$4 place
    exits 0 "setup /S $5" run_line "\"$setup_there\" /S $5"
    installed "$hive" "$mode" "$directory" "$menu"
    place=$(to_unix "$directory")
    uninstall "$hive"
    until_ "its directory is removed" is_gone "$place"
    unchanged before "uninstalling for $mode"
}

folder='Orvane\Veltrin Crest Installer'
mine=$local_data\\Programs\\$folder
everybodys=$program_files\\$folder
snapshot first # Wine creates some files only at the second start
snapshot before
unchanged before "doing nothing"

# ---- Installing ----

test_cycles() {
    cycle HKCU CurrentUser "$mine" "$roaming" ""
    cycle HKCU CurrentUser 'C:\Some where\else' "$roaming" '/CurrentUser /D=C:\Some where\else'
    cycle HKLM AllUsers "$everybodys" "$program_data" /AllUsers
}

# ---- Upgrading ----

test_upgrades() {
    for mode in CurrentUser AllUsers; do
        if [[ $mode == CurrentUser ]]; then
            hive=HKCU directory=$mine menu=$roaming
        else
            hive=HKLM directory=$everybodys menu=$program_data
        fi
        exits 0 "the older setup /S /$mode" run "$older" /S "/$mode"
        there "$(to_unix "$directory")/former/former.txt"
        equal "DisplayVersion" 0.0.1 "$(value "$hive" DisplayVersion)"
        cycle "$hive" "$mode" "$directory" "$menu" "/$mode"
    done
    exits 0 "the older setup" run "$older" /S '/D=C:\older'
    cycle HKCU CurrentUser 'C:\newer\there' "$roaming" '/D=C:\newer\there'
}

# ---- Files of others ----

test_others_files() {
    exits 0 "setup" run "$setup" /S '/D=C:\shared\place'
    place=$(to_unix 'C:\shared\place')
    mkdir "$place/theirs"
    echo theirs >"$place/theirs/file.txt"
    echo theirs >"$place/bin/their.dll"
    tree "$place" | grep their >"$work/theirs"
    uninstall HKCU
    tree "$place" | grep -v '^d bin$' >"$work/left"
    same "files of others remain, and nothing else" "$work/theirs" "$work/left"
    # Again with such files present, and as an upgrade.
    exits 0 "the older setup" run "$older" /S '/D=C:\shared\place'
    exits 0 "setup" run "$setup" /S '/D=C:\shared\place'
    uninstall HKCU
    tree "$place" | grep -v '^d bin$' >"$work/left"
    same "files of others also remain after an upgrade" "$work/theirs" "$work/left"
    rm -r "${place%/place}"
    unchanged before "uninstalling next to files of others"
}

# ---- While the program runs ----

test_while_running() {
    exits 0 "the older setup" run "$older" /S
    # The older version has no libraries, but its program is the same file.
    cp -r "$files/bin/." "$(to_unix "$mine")/bin/"
    place=$(to_unix "$mine")
    timeout -k 10 300 wine "$place/bin/vinst.exe" >/dev/null 2>"$work/stderr" </dev/null &
    program=$!
    until_ "vinst.exe is running" in_use "$mine\\bin\\vinst.exe"
    sleep 5
    kill -0 "$program" 2>/dev/null || { cat "$work/stderr" >&2; fail "vinst.exe did not keep running"; }
    ok "vinst.exe starts and keeps running"
    tree "$place" >"$work/running.files"
    exits 32 "setup while the program runs" run "$setup" /S
    exits 32 "the uninstaller while the program runs" run_line "\"$mine\\uninstall.exe\" /S _?=$mine"
    exits 32 "the QuietUninstallString while the program runs" run_line "$(value HKCU QuietUninstallString)"
    tree "$place" >"$work/now.files"
    same "nothing changes while the program runs" "$work/running.files" "$work/now.files"
    equal "DisplayVersion" 0.0.1 "$(value HKCU DisplayVersion)"
    kill "$program"
    wait "$program" || true
    program=
    exits 0 "setup after the program has ended" run "$setup" /S
    installed HKCU CurrentUser "$mine" "$roaming"
    uninstall HKCU
    gone "$place"
}

# ---- Errors ----

test_errors() {
    exits 87 "setup with both modes" run "$setup" /S /AllUsers /CurrentUser
    exits 0 "setup" run "$setup" /S
    exits 183 "setup for all into one user's directory" run_line "\"$setup_there\" /S /AllUsers /D=$mine"
    installed HKCU CurrentUser "$mine" "$roaming"
    equal "HKLM's key" none "$(has_key HKLM && echo there || echo none)"
    uninstall HKCU

    # A file can't be installed where a directory exists.
    mkdir -p "$WINEPREFIX/drive_c/half/licenses/main.html"
    tree "$WINEPREFIX/drive_c/half" >"$work/half.files"
    exits 2 "setup that can't install a file" run "$setup" /S '/D=C:\half'
    tree "$WINEPREFIX/drive_c/half" >"$work/now.files"
    same "it removes what it has installed" "$work/half.files" "$work/now.files"
    rm -r "$WINEPREFIX/drive_c/half"
}

# ---- With a release ----

release_logs() { grep -rl "Welcome to the Orvane Veltrin Crest Pro Edition 5.2" "$WINEPREFIX"/drive_c/users/*/Temp; }
has_release_log() { release_logs >/dev/null; }

test_release() {
    local title="Veltrin Crest Pro 5.2 Installer" directory place lnk text type
    echo '[{"data_type": "main", "edition": "pro", "version": "5.2.0.31"},
        {"data_type": "install", "name": "sole_part", "platform": "windows", "title": "Sole part"}]' >"$work/release.json"
    "$here/pack.sh" --icon "$here/../../install/hosts/vinst.ico" --manifest "$work/release.json" "$files" "$version" "$work/release" \
        >"$work/pack" 2>&1 || { cat "$work/pack" >&2; fail "packaging a release failed"; }
    local package="$work/release/vinst-$version+pro5.2.0.31-windows-x86_64"

    unzip -q "$package.zip" -d "$work/release"
    text=$(run "$package/bin/vinst_cli.exe" --help </dev/null 2>&1) || true
    [[ $text == *sole_part* ]] || fail "the archive's program doesn't find the release: $text"
    ok "the archive's program finds the release"

    exits 0 "setup without a release" run "$setup" /S
    exits 0 "setup with a release" run "$package-setup.exe" /S
    equal "DisplayName without a release" "Veltrin Crest Installer" "$(value HKCU DisplayName)"
    local plain_key=$key
    key+=_VeltrinCrest_pro_5.2
    equal "DisplayName" "$title" "$(value HKCU DisplayName)"
    equal "DisplayVersion" "$version+pro5.2.0.31" "$(value HKCU DisplayVersion)"
    directory="$local_data\\Programs\\Orvane\\$title"
    equal "InstallLocation" "$directory" "$(value HKCU InstallLocation)"
    equal "DisplayIcon" "$directory\\bin\\release.ico,0" "$(value HKCU DisplayIcon)"
    place=$(to_unix "$directory")
    text=$(cd / && run "$place/bin/vinst_cli.exe" --help </dev/null 2>&1) || true
    [[ $text == *sole_part* ]] || fail "the installed program doesn't find the release: $text"
    ok "the installed program finds the release"

    lnk="$roaming/Microsoft/Windows/Start Menu/Programs/$title.lnk"
    there "$lnk"
    text=$(strings -el "$lnk"; strings "$lnk")
    [[ $text == *"$directory\\bin\\vinst.exe"* ]] || fail "the shortcut has another target: $text"
    [[ $text == *"$directory\\bin\\release.ico"* ]] || fail "the shortcut has another icon: $text"
    ok "the shortcut has the program and the icon"
    run start "$(run winepath -w "$lnk" | tr -d '\r')" </dev/null >/dev/null 2>&1
    # The log of the run is there as soon as the manifest has been read.
    until_ "the shortcut starts the release" has_release_log
    run taskkill /f /im vinst.exe >/dev/null
    shut_down
    release_logs | xargs -d '\n' rm
    run reg delete 'HKCU\Software\Orvane' /f >/dev/null # the program's settings

    # A manifest can be opened with the program, but JSON files have no new default.
    type=Orvane.vinst.manifest_VeltrinCrest_pro_5.2
    equal "the command for manifests" "\"$directory\\bin\\vinst.exe\" --manifest \"%1\"" \
        "$(value_of "HKCU\\Software\\Classes\\$type\\shell\\open\\command" '')"
    equal "its name" "$title" "$(value_of "HKCU\\Software\\Classes\\$type\\shell\\open" FriendlyAppName)"
    run reg query 'HKCU\Software\Classes\.json\OpenWithProgids' | grep -q "$type" || fail "JSON files can't be opened with the program"
    ok "JSON files can be opened with the program"
    equal "the default for JSON files" "(value not set)" "$(value_of 'HKCU\Software\Classes\.json' '')"

    uninstall HKCU
    gone "$place"
    key=$plain_key
    installed HKCU CurrentUser "$mine" "$roaming"
    uninstall HKCU
    unchanged before "uninstalling a release"
}

# ---- Signatures ----

test_signatures() {
    local command file package=$work/signed/vinst-$version-windows-x86_64 place
    for command in openssl osslsigncode; do
        command -v "$command" >/dev/null || fail "there is no $command"
    done
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=Authority -keyout "$work/ca.key" -out "$work/ca.pem" 2>/dev/null
    openssl req -newkey rsa:2048 -nodes -subj "/O=Orvane/CN=Test" -keyout "$work/sign.key" -out "$work/sign.csr" 2>/dev/null
    printf 'keyUsage=digitalSignature\nextendedKeyUsage=codeSigning\n' >"$work/sign.ext"
    openssl x509 -req -in "$work/sign.csr" -CA "$work/ca.pem" -CAkey "$work/ca.key" -CAcreateserial -days 2 \
        -extfile "$work/sign.ext" -out "$work/sign.pem" 2>/dev/null
    # The signatures have the time of the package, at which the certificate has to be valid.
    SOURCE_DATE_EPOCH=$(date +%s) "$here/pack.sh" --sign "$work/sign.pem" --key "$work/sign.key" "$files" "$version" \
        "$work/signed" >"$work/pack" 2>&1 || { cat "$work/pack"; fail "signing failed"; }
    unzip -q "$package.zip" -d "$work/signed"
    exits 0 "the signed setup" run "$package-setup.exe" /S
    place=$(to_unix "$mine")
    for file in "$package-setup.exe" "$place/uninstall.exe" {"$package","$place"}/bin/{vinst.exe,vinst_cli.exe,vinst.dll}; do
        osslsigncode verify -CAfile "$work/ca.pem" -in "$file" >"$work/verify" 2>&1 ||
            { cat "$work/verify"; fail "$file is not signed"; }
        ok "${file#"$work"/} is signed"
    done
    help_of "$place/bin/vinst_cli.exe"
    # The check fails for what was changed, and for what is not signed.
    cp "$place/bin/vinst.exe" "$work/changed.exe"
    printf x | dd of="$work/changed.exe" bs=1 seek=2048 conv=notrunc 2>/dev/null
    for file in "$work/changed.exe" "$files/bin/vinst.exe"; do
        ! osslsigncode verify -CAfile "$work/ca.pem" -in "$file" >"$work/verify" 2>&1 || fail "$file should not be accepted"
    done
    ok "a changed program and one without signature are not accepted"
    uninstall HKCU
    unchanged before "uninstalling what was signed"

    openssl pkcs12 -export -in "$work/sign.pem" -inkey "$work/sign.key" -passout pass:secret -out "$work/sign.p12"
    printf secret >"$work/password"
    VINST_SIGN_PASSWORD_FILE=$work/password SOURCE_DATE_EPOCH=$(date +%s) "$here/pack.sh" --sign "$work/sign.p12" \
        "$work/older" 0.0.2 "$work/signed" >"$work/pack" 2>&1 || { cat "$work/pack"; fail "signing with PKCS #12 failed"; }
    osslsigncode verify -CAfile "$work/ca.pem" -in "$work/signed/vinst-0.0.2-windows-x86_64-setup.exe" >"$work/verify" 2>&1 ||
        { cat "$work/verify"; fail "the setup program is not signed"; }
    ok "a PKCS #12 file with a password signs, too"
}

# ---- Headers ----

# finds FAULT FILE: checks the copy of the packed files, in which there has to be that fault of the file
finds() {
    exits 1 "the check" "$here/check_headers.py" "$work/copy" >"$work/output"
    grep -qF "$2: $1" "$work/output" || { cat "$work/output"; fail "the check doesn't find: $2: $1"; }
    ok "the check finds: $2: $1"
}

fresh_copy() { rm -rf "$work/copy" && cp -r "$files" "$work/copy"; }

test_headers() {
    exits 0 "the check of all packed programs" "$here/check_headers.py" "$files"
    # Bytes of vinst.exe, at an offset from its headers, that are wrong.
    local pe at old new fault
    pe=$(od -An -tu4 -j60 -N4 "$files/bin/vinst.exe")
    while read -r at old new fault; do
        fresh_copy
        equal "the byte $at" "$old" "$(od -An -tx1 -j$((pe + at)) -N1 "$work/copy/bin/vinst.exe" | tr -d ' ')"
        printf '%b' "\\x$new" | dd of="$work/copy/bin/vinst.exe" bs=1 seek=$((pe + at)) conv=notrunc 2>/dev/null
        finds "$fault" vinst.exe
    done <<'END'
94 60 20 has no address randomization
94 60 40 has no high-entropy addresses
95 01 00 has no data execution prevention
72 06 05 doesn't have the subsystem version 6.2
END
    fresh_copy
    rm "$work/copy/bin/libcurl.dll"
    finds "needs libcurl.dll, which is neither packed nor a part of Windows" vinst.dll
    fresh_copy
    sed -i 's/longPathAware/longPathAwarE/g' "$work/copy/bin/vinst.exe"
    finds "has no longPathAware true in its application manifest" vinst.exe
}

# ---- PATH ----

test_path() {
    local long type before_path
    # Longer than the strings of the setup program, and with an empty part.
    printf -v long 'C:\\a directory of others\\%04d;' {1..200}
    for type in REG_EXPAND_SZ REG_SZ; do
        run reg add 'HKCU\Environment' /v Path /t "$type" /d "$long" /f >/dev/null
        before_path=$(run reg query 'HKCU\Environment' /v Path)
        [[ $before_path == *"$type"*"0200;"* ]] || fail "PATH was not set: $before_path"
        exits 0 "setup with a long PATH" run "$setup" /S
        exits 0 "setup again" run "$setup" /S
        equal "the end of PATH" "0200;;$mine\\bin" "$(run reg query 'HKCU\Environment' /v Path | tr -d '\r' |
            sed -n "s/^ *Path *$type .*\\\\\(0200;.*\)/\1/p")"
        uninstall HKCU
        [[ $(run reg query 'HKCU\Environment' /v Path) == "$before_path" ]] || fail "PATH was not restored"
        ok "PATH is what it was, with the type $type"
    done
    run reg delete 'HKCU\Environment' /v Path /f >/dev/null
    unchanged before "a long PATH"
}

# ---- Downgrading ----

test_downgrade() {
    local newer=$work/newer/vinst-99.0.0-windows-x86_64-setup.exe
    "$here/pack.sh" "$work/older" 99.0.0 "$work/newer" >"$work/pack" 2>&1 ||
        { cat "$work/pack" >&2; fail "packaging a newer version failed"; }
    exits 0 "the newer setup" run "$newer" /S
    tree "$(to_unix "$mine")" >"$work/newer.files"
    exits "$((1638 & 255))" "setup over a newer version" run "$setup" /S
    tree "$(to_unix "$mine")" >"$work/now.files"
    same "the newer version remains" "$work/newer.files" "$work/now.files"
    equal "DisplayVersion" 99.0.0 "$(value HKCU DisplayVersion)"
    exits 0 "setup /Downgrade over a newer version" run "$setup" /S /Downgrade
    installed HKCU CurrentUser "$mine" "$roaming"
    exits 0 "setup over the same version" run "$setup" /S
    installed HKCU CurrentUser "$mine" "$roaming"
    uninstall HKCU

    # Of a release, its version counts first.
    local key=${key}_VeltrinCrest_pro_5.2 release
    for release in 5.2.0.9 5.2.0.31; do
        printf '[{"data_type": "main", "edition": "pro", "version": "%s"}]' "$release" >"$work/release.json"
        "$here/pack.sh" --manifest "$work/release.json" "$work/older" 1.0.0 "$work/newer" >"$work/pack" 2>&1 ||
            { cat "$work/pack" >&2; fail "packaging a release failed"; }
    done
    exits 0 "setup with the newer release" run "$work/newer/vinst-1.0.0+pro5.2.0.31-windows-x86_64-setup.exe" /S
    exits "$((1638 & 255))" "setup with the older release" run "$work/newer/vinst-1.0.0+pro5.2.0.9-windows-x86_64-setup.exe" /S
    equal "DisplayVersion" 1.0.0+pro5.2.0.31 "$(value HKCU DisplayVersion)"
    uninstall HKCU
    unchanged before "a downgrade"
}

# ---- An upgrade that fails ----

# state NAME DIRECTORY: writes the files with their contents, and the registry, to $work/NAME.state
state() {
    shut_down
    {
        tree "$2"
        sums "$2"
        awk '/^\[/ { wanted = /VeltrinCrestInstaller|Orvane\.vinst/ } wanted && !/^#time=/' "$WINEPREFIX/user.reg" |
            sed -E 's/^(\[.*\]) [0-9]+$/\1/'
    } >"$work/$1.state"
    grep -q DisplayVersion "$work/$1.state" || fail "the registry can't be read"
}

test_failing_upgrade() {
    local place lnk="$roaming/Microsoft/Windows/Start Menu/Programs/Veltrin Crest Installer.lnk"
    place=$(to_unix "$mine")
    exits 0 "the older setup" run "$older" /S
    mkdir "$place/theirs"
    echo theirs >"$place/theirs/file.txt"
    echo theirs >"$place/bin/their.dll"
    cp "$lnk" "$work/lnk"
    state older "$place"

    # The last step fails: the Start menu entry can't be replaced.
    rm "$lnk"
    mkdir -p "$lnk/directory"
    exits 2 "setup that can't make the Start menu entry" run "$setup" /S
    state now "$place"
    same "it leaves the older version as it was" "$work/older.state" "$work/now.state"
    rm -r "$lnk"

    # A file can't be installed: nothing begins.
    mkdir -p "$place/bin/zlib1.dll/directory"
    cp "$work/lnk" "$lnk"
    exits 2 "setup that can't install a file" run "$setup" /S
    rm -r "$place/bin/zlib1.dll"
    state now "$place"
    same "that leaves the older version as it was, too" "$work/older.state" "$work/now.state"

    # What an interrupted setup leaves behind: first before, then after it moved the new version to its place.
    mkdir -p "$place/setup~new/bin" "$place/setup~old"
    echo half >"$place/setup~new/bin/vinst.dll"
    mv "$place/bin" "$place/uninstall.exe" "$place/setup~old/"
    exits 0 "setup after one that was interrupted" run "$setup" /S
    gone "$place/setup~new"
    gone "$place/setup~old"
    gone "$place/former"
    there "$place/theirs/file.txt"
    rm -r "$place/theirs" "$place/bin/their.dll"
    installed HKCU CurrentUser "$mine" "$roaming"

    uninstall HKCU

    exits 0 "the older setup" run "$older" /S
    cp -r "$place" "$work/interrupted"
    mv "$work/interrupted" "$place/setup~old"
    exits 0 "setup after one that was interrupted later" run "$setup" /S
    gone "$place/setup~old"
    installed HKCU CurrentUser "$mine" "$roaming"
    uninstall HKCU
    unchanged before "an upgrade that fails"
}

for part in "${parts[@]}"; do
    printf '== %s\n' "$part"
    "test_$part"
done
unchanged before "all of the above"
echo "All checks passed."
