#!/usr/bin/env bash
# Checks the sources' layout and looks for common mistakes. Needs a configured release build.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --help ]; then
  echo "Usage: scripts/lint.sh"
  echo
  echo "Holds all C++ files against .clang-format and the program's own against .clang-tidy."
  exit 0
fi

# Walls that the linker can't hold: who may include what. (Qt Widgets' headers aren't even on the
# way of what doesn't link them.)
only_in() { # PATTERN ALLOWED_PATH... : the header is included nowhere else
  local pattern=$1
  shift
  if git grep -nE "#include <$pattern" -- install support tools "${@/#/:!}"; then
    echo "Only $* may include <$pattern...>." >&2
    return 1
  fi
}
only_in 'curl/' support/curl
only_in 'spdlog/' support/curl
only_in 'QSettings' support/cfgq
only_in 'tbb/|<oneapi/' install/vinst/vinst_downloader_mgr_integrity.cpp
only_in 'boost/' 'install/vinst/vinst_cmdline*' tools/vinst_release
only_in '(QJS|QQml|QtQml)' install/pac

# The helper that runs scripts from the network links nothing of the program.
if git grep -nE '#include "(install/vinst|support)/' -- install/pac; then
  echo "install/pac may include nothing of the program." >&2
  exit 1
fi

git ls-files -z '*.h' '*.cpp' | xargs -0 clang-format --dry-run --Werror
# What is for Windows alone isn't among this build's commands.
git ls-files -z 'install/*.cpp' 'support/*.cpp' 'tools/*.cpp' ':!*_win32.cpp' |
  xargs -0 -P "$(nproc)" -n 4 clang-tidy -p build/release --quiet
