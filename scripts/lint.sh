#!/usr/bin/env bash
# Checks layout, documents, formatting and common mistakes. Needs a release build.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --help ]; then
  echo "Usage: scripts/lint.sh"
  echo
  echo "Checks the layout (scripts/check_layout.sh), the documents (scripts/check_docs.sh), the manual"
  echo "pages and completions (scripts/check_man.sh), an installation (scripts/check_install.sh), the commands"
  echo "for build farms (scripts/check_farm.sh), the formatting of all C++ files, and the product sources with"
  echo "clang-tidy. Installs missing packages."
  exit 0
fi

scripts/check_layout.sh
scripts/install_deps.sh test
scripts/check_docs.sh
scripts/check_man.sh
scripts/check_install.sh
scripts/check_farm.sh

git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
# Without precompiled headers, so that missing includes are found.
mkdir -p build/lint
sed -E 's/ -Winvalid-pch| -include [^ ]*cmake_pch\.hxx//g' build/release/compile_commands.json >build/lint/compile_commands.json
# Sources for Windows have no compile command in this build.
git ls-files -z 'install/*.cpp' 'support/*.cpp' 'tools/*.cpp' ':!*_win32.cpp' |
  xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build/lint --quiet
