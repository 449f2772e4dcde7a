#!/usr/bin/env bash
# Builds the project and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
  cat <<'EOT'
Usage: scripts/test.sh [PRESET] [CTEST_OPTION...]

Installs missing packages, builds the preset (default: release) and runs every test with ctest.
Presets: release, debug, asan, tsan, coverage. Further options are passed to ctest, as in
"scripts/test.sh release -R Parser".
EOT
}

preset=release
case ${1:-} in
  --help) usage; exit 0 ;;
  release | debug | asan | tsan | coverage) preset=$1; shift ;;
  '' | -*) ;;
  *) usage >&2; exit 2 ;;
esac

scripts/install_deps.sh test
cmake --preset "$preset" ${CI:+-DVINST_WERROR=ON}
cmake --build --preset "$preset"
ctest --preset "$preset" "$@"
