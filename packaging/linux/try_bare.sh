#!/usr/bin/env bash
# Tries the self-contained archive in a root without anything else: see usage below.
set -euo pipefail

usage() {
    cat <<'EOT'
Usage: packaging/linux/try_bare.sh PREFIX BARE

Runs the archive's programs in the root BARE, which has nothing but glibc and a shell: the console program
prints its help, downloads, verifies and installs a release, and accepts the certificates of the system from
the usual places of each distribution; the window opens on a virtual display. The release comes from the
programs in PREFIX/bin. scripts/package.sh runs this in a root that has Xvfb, xwininfo and openssl, with no
network but loopback.
EOT
}

fail() { printf 'try_bare.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
esac
(($# == 2)) || { usage >&2; exit 2; }
release=$1/bin/vinst_release
bare=$2

# A failed connection must not search the network for a proxy.
export VINST_NO_PROXY_DISCOVERY=1
export vinst_manifest=/root/manifest.json

work=$(mktemp -d)
started=()
finish() {
    ((${#started[@]} == 0)) || kill "${started[@]}" 2>/dev/null || true
    wait
    rm -rf "$work"
}
trap finish EXIT

# await COMMAND...: waits until it succeeds
await() {
    local i
    for ((i = 0; i < 300; ++i)); do
        ! "$@" || return 0
        sleep 0.1
    done
    fail "this never succeeded: $*"
}

mount -t proc proc "$bare/proc"

# ---- The console ----

# An installer that needs nothing but a shell.
mkdir "$work/source" "$work/release"
cat >"$work/source/tool.run" <<'END_OF_INSTALLER'
#!/bin/sh
while [ $# -gt 0 ]; do
    [ "$1" != --installdir ] || directory=$2
    shift
done
echo "the tool" >"$directory/tool"
END_OF_INSTALLER
cat >"$work/source/description.json" <<'END_OF_DESCRIPTION'
{
  "edition": "pro", "version": "5.2.0.31", "installdir_linux": "/root/orvane",
  "components": [
    {"name": "veltrin_base", "platform": "linux", "file": "tool.run", "title": "Veltrin Crest Pro Edition",
     "selected": true, "standalone": true, "installsize": 1024}
  ]
}
END_OF_DESCRIPTION

"$release" make "$work/source/description.json" "$work/release" >"$work/output" ||
    { cat "$work/output" >&2; fail "the release could not be made"; }
cp "$work/release/manifest.json" "$bare/root/"

# run COMMAND... : runs a program in the bare root with its output in a file
run() {
    chroot "$bare" "$@" >"$work/output" 2>&1 </dev/null || true
}
prints() { grep -q -F -e "$1" "$work/output" || { cat "$work/output" >&2; fail "it did not print \"$1\""; }; }

"$release" serve "$work/release" >"$work/address" &
started+=($!)
await test -s "$work/address"
run vinst --help
prints "Default components: veltrin"
mkdir "$bare/root/installed"
run vinst --url "$(head -n 1 "$work/address")" --download-dir /root/downloads --install-dir /root/installed --accept-eula
prints "Download successful"
prints "Installation completed successfully"
[[ $(<"$bare/root/installed/tool") == "the tool" ]] || fail "the release was not installed"
echo "vinst downloaded, verified and installed a release."

# ---- Certificates ----

cd "$work/release"
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=vinst -addext subjectAltName=IP:127.0.0.1 \
    -keyout "$work/key.pem" -out "$work/certificate.pem" 2>"$work/output" || { cat "$work/output" >&2; fail "no certificate was made"; }
openssl s_server -quiet -accept 127.0.0.1:4433 -WWW -key "$work/key.pem" -cert "$work/certificate.pem" >"$work/server" 2>&1 &
started+=($!)
await bash -c ': </dev/tcp/127.0.0.1/4433' 2>/dev/null

test_connection() { run vinst --url https://127.0.0.1:4433 --test-download; }
is_refused() {
    test_connection
    prints "TLS connection to 127.0.0.1:4433 failed"
}
is_accepted() {
    test_connection
    prints "Test download -> success"
}

is_refused
for place in \
    /etc/ssl/certs/ca-certificates.crt /etc/pki/ca-trust/extracted/pem/tls-ca-bundle.pem /etc/pki/tls/certs/ca-bundle.crt \
    /etc/ssl/ca-bundle.pem /var/lib/ca-certificates/ca-bundle.pem /etc/ssl/cert.pem \
    /etc/ca-certificates/extracted/tls-ca-bundle.pem; do
    mkdir -p "$(dirname "$bare$place")"
    cp "$work/certificate.pem" "$bare$place"
    is_accepted
    rm "$bare$place"
    is_refused
    echo "The certificates in $place are used."
done
mkdir "$bare/root/certificates"
cp "$work/certificate.pem" "$bare/root/certificates/"
openssl rehash "$bare/root/certificates"
SSL_CERT_FILE=/root/certificates/certificate.pem is_accepted
SSL_CERT_DIR=/root/certificates is_accepted
is_refused
echo "SSL_CERT_FILE and SSL_CERT_DIR are used."

# ---- The window ----

mkdir -p /tmp/.X11-unix
mount --bind /tmp/.X11-unix "$bare/tmp/.X11-unix"
Xvfb :7 -screen 0 1280x1024x24 >"$work/display" 2>&1 &
started+=($!)
export DISPLAY=:7
await xwininfo -root >/dev/null 2>&1
has_window() { xwininfo -root -tree 2>/dev/null | grep -E 'Installer": \("vinst_gui" .* [0-9]{3,4}x[5-9][0-9]{2}\+'; }
chroot "$bare" /bin/sh -c 'exec vinst_gui' >"$work/output" 2>&1 &
program=$!
started+=("$program")
await has_window
kill "$program"
code=0
wait "$program" || code=$?
((code == 143)) || { cat "$work/output" >&2; fail "the window ended with $code, not with SIGTERM"; }
echo "The window opened."
