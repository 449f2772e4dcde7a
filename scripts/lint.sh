#!/usr/bin/env bash
# Checks the sources' layout and looks for common mistakes. Needs a configured release build.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --help ]; then
  echo "Usage: scripts/lint.sh"
  echo
  echo "Checks the layout (scripts/check_layout.sh), the documents (scripts/check_docs.sh), all C++"
  echo "files against .clang-format, and the program's own against .clang-tidy."
  exit 0
fi

scripts/check_layout.sh
scripts/check_docs.sh

git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
# Without the precompiled headers, so that it sees which includes are missing.
mkdir -p build/lint
sed -E 's/ -Winvalid-pch| -include [^ ]*cmake_pch\.hxx//g' build/release/compile_commands.json >build/lint/compile_commands.json
# What is for Windows alone isn't among this build's commands.
git ls-files -z 'install/*.cpp' 'support/*.cpp' 'tools/*.cpp' ':!*_win32.cpp' |
  xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build/lint --quiet
