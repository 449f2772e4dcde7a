#!/usr/bin/env bash
# Runs the tests on a busy machine: see usage below.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
    cat <<'END'
Usage: scripts/test_under_load.sh [N] [CTEST_OPTION...]

Runs all tests of the release preset N times in a row (default: 3) while two endless loops keep the
CPUs busy. Stops at the first run that fails. Options are passed to ctest, as in
"scripts/test_under_load.sh 1 -R Signals". Builds nothing: run scripts/test.sh first.
END
}

runs=3
case ${1:-} in
    --help) usage; exit 0 ;;
    '' | -*) ;;
    *[!0-9]* | 0) usage >&2; exit 2 ;;
    *) runs=$1; shift ;;
esac

loops=()
end_loops() {
    local loop
    for loop in "${loops[@]}"; do
        kill "$loop" 2>/dev/null || true
        wait "$loop" 2>/dev/null || true
    done
}
trap end_loops EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
for _ in 1 2; do
    # The loops end with this script even if it is killed and can't end them.
    while kill -0 "$$" 2>/dev/null; do
        for ((i = 0; i < 100000; ++i)); do :; done
    done &
    loops+=("$!")
done

for ((run = 1; run <= runs; ++run)); do
    printf '\n== Run %d of %d\n' "$run" "$runs"
    ctest --preset release "$@"
done
