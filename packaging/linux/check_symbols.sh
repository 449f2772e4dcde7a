#!/usr/bin/env bash
# Checks that programs run with an old glibc: see usage below.
set -euo pipefail

usage() {
    cat <<'EOT'
Usage: packaging/linux/check_symbols.sh DIRECTORY VERSION

Reads all programs and libraries below DIRECTORY, and fails if one of them needs a symbol that glibc VERSION,
such as 2.31, does not have. Prints each such file with the symbol's version. Needs readelf.
EOT
}

fail() { printf 'check_symbols.sh: %s\n' "$*" >&2; exit 1; }

case ${1:-} in
    --help) usage; exit 0 ;;
esac
[[ $# == 2 && ${2:-} =~ ^[0-9]+\.[0-9]+$ ]] || { usage >&2; exit 2; }
directory=$1
newest=$2
export LC_ALL=C

count=0
failed=false
while IFS= read -r -d '' file; do
    [[ $(head -c 4 "$file" | tr '\0' .) == $'\177ELF' ]] || continue
    sections=$(readelf --version-info --wide "$file") || fail "$file can't be read"
    count=$((count + 1))
    while read -r version; do
        # Other names, such as GLIBC_PRIVATE and GLIBC_ABI_DT_RELR, are not promised by this version either.
        if [[ ! $version =~ ^[0-9.]+$ || $(printf '%s\n' "$newest" "$version" | sort -V | tail -n 1) != "$newest" ]]; then
            printf '%s needs GLIBC_%s\n' "$file" "$version" >&2
            failed=true
        fi
    done < <(sed -nE '/^Version needs section/,/^$/s/.* Name: GLIBC_([^ ]*) .*/\1/p' <<<"$sections" | sort -u)
done < <(find "$directory" -type f -print0)
((count > 0)) || fail "there are no programs in $directory"
! $failed || fail "glibc $newest does not have the symbols above"
echo "All $count programs and libraries run with glibc $newest."
