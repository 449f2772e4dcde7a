#!/usr/bin/env bash
# Runs a command in a root: see usage below.
set -euo pipefail

usage() {
    cat <<'EOT'
Usage: packaging/linux/in_root.sh [--alone] [--mount SOURCE:TARGET]... ROOT COMMAND [ARGUMENT...]

Runs the command as root in the root directory ROOT, with a clean environment. All its processes end with
it, and its mounts are not visible outside. Needs root.

  --alone  with a loopback interface only, so that the command reaches neither the network nor the
           displays of this machine, whose abstract sockets belong to its network namespace
  --mount  makes the directory SOURCE visible as TARGET in the root, where it must exist
EOT
}

namespaces=(--ipc)
mounts=
while (($# > 0)); do
    case $1 in
        --help) usage; exit 0 ;;
        --alone) namespaces+=(--net); shift ;;
        --mount) mounts+=${2:?}$'\n'; shift 2 ;;
        -*) usage >&2; exit 2 ;;
        *) break ;;
    esac
done
(($# >= 2)) || { usage >&2; exit 2; }
export VINST_ROOT_MOUNTS=$mounts

# The root itself is a mount, because Qt finds the free space of a file system by its mount point.
# shellcheck disable=SC2016 # the inner bash expands it
exec unshare "${namespaces[@]}" --mount --pid --fork --kill-child bash -euc '
    root=$0
    ip link set lo up
    mount --bind "$root" "$root"
    mount -t proc proc "$root/proc"
    # Semaphores, as those of faketime, need this file system.
    [[ ! -d $root/dev/shm ]] || mount -t tmpfs tmpfs "$root/dev/shm"
    while IFS=: read -r source target; do
        [[ -z $source ]] || mount --bind "$source" "$root$target"
    done <<<"$VINST_ROOT_MOUNTS"
    exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
        ${http_proxy:+"http_proxy=$http_proxy"} chroot "$root" "$@"' "$@"
