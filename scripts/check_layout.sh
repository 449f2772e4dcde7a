#!/usr/bin/env bash
# Checks the layout of the sources: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/check_layout.sh [DIR]

Checks the sources below DIR (default: this project) against the project's layout:
- A room includes only from rooms on lower floors, and only the room that wraps a library includes its headers.
- base/, release/ and download/ don't write to a terminal: no print_ function (except the one that reports are
  printed with), no escape sequences, no isatty.
- Platform code is in _posix.cpp and _win32.cpp files. A conditional block anywhere else has a comment with its
  reason on the same or the previous line.
Prints each line that violates a rule, with the rule, and fails if there is one.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
cd "${1:-$(dirname "$0")/..}"

# Each room, and the rooms that it may include from in addition to itself, from the lowest floor up.
# vinst_pac and vinst_desktop_proxy are on no floor: pac_request.h defines the request that the first is called with.
declare -A below=(
    [support/main]=''
    [support/mem]=''
    [support/thr]=''
    [support/fio]=''
    [support/cfgq]=''
    [support/curl]='support/fio/'
    [support/afcq]=''
    [install/desktop]=''
    [install/pac]=''
    [install/vinst/base]='support/'
    [install/vinst/release]='install/vinst/base/ support/'
    [install/vinst/download]='install/pac/pac_request.h install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/console]='install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/gui]='install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/app]='install/vinst/console/ install/vinst/gui/ install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/hosts]='install/vinst/app/'
    [tools/vinst_release]='install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
)

# Headers of libraries and of the state behind a function, as regular expressions, and the only places
# that may include them.
declare -A visible_in=(
    ['<curl/']='support/curl/'
    ['<spdlog/']='support/curl/'
    ['<QSettings>']='support/cfgq/'
    ['<(tbb|oneapi)/']='install/vinst/download/vinst_worker_jobs tools/vinst_release/'
    ['vinst_stop_state\.h']='install/vinst/base/vinst_stop'
    ['thr_stop_state\.h']='support/thr/'
    ['<boost/program_options']='install/vinst/console/ tools/vinst_release/'
    ['<boost/graph']='tools/vinst_release/'
    ['<(QJS|QQml|QtQml)']='install/pac/'
    ['<(gio|glib)']='install/desktop/'
    ['<seccomp\.h>']='install/pac/'
    ['<(QApplication|QDialog|QMessageBox|QWidget|QtWidgets|QLabel|QAction|QAbstractButton|QPushButton|QFileDialog|QStyle|QTreeView)[>/]']='install/vinst/gui/ install/vinst/app/ support/afcq/'
)

failed=false
fault() { # PLACE TEXT
    printf '%s: %s\n' "$1" "$2" >&2
    failed=true
}

room_of() { # PATH : prints the room of a source file; nothing if it is in none
    local room
    for room in "${!below[@]}"; do
        if [[ $1 == "$room"/* ]]; then
            printf '%s' "$room"
            return
        fi
    done
}

starts_with_one_of() { # PATH PREFIX...
    local path=$1 prefix
    shift
    for prefix in "$@"; do
        [[ $path == "$prefix"* ]] && return 0
    done
    return 1
}

includes=$(find install support tools -name '*.h' -o -name '*.cpp' | sort | xargs grep -HnE '^ *# *include ' || true)
while IFS=: read -r file line text; do
    [[ -n $file ]] || continue
    room=$(room_of "$file")
    if [[ -z $room ]]; then
        fault "$file" "is in no room of the layout."
        continue
    fi
    if [[ $text =~ \"((install|support|tools)/[^\"]+)\" ]]; then
        included=${BASH_REMATCH[1]}
        read -ra allowed <<<"${below[$room]}"
        if ! starts_with_one_of "$included" "${allowed[@]}" "$room/"; then
            fault "$file:$line" "$room may not include $included; it may include from: $room ${below[$room]}"
        fi
    fi
    for pattern in "${!visible_in[@]}"; do
        read -ra allowed <<<"${visible_in[$pattern]}"
        if [[ $text =~ $pattern ]] && ! starts_with_one_of "$file" "${allowed[@]}"; then
            fault "$file:$line" "only ${visible_in[$pattern]} may include $pattern"
        fi
    done
done <<<"$includes"

sources() { # DIR... : prints the paths of the C++ sources, separated by NUL
    find "$@" \( -name '*.h' -o -name '*.cpp' \) -print0 2>/dev/null | sort -z
}

find_lines() { # PATTERN DIR... : prints FILE:LINE:TEXT for each line that matches
    local pattern=$1
    shift
    sources "$@" | xargs -0r grep -HnE -e "$pattern" || true
}

without_terminal=(install/vinst/base install/vinst/release install/vinst/download)
terminal_output='(^|[^[:alnum:]_])print_|\\(x1[bB]|033|u001[bB]|e\[)|(^|[^[:alnum:]_])_?isatty[^[:alnum:]_]'
# The printing function, and the reports that it prints.
printing='^install/vinst/base/vinst_(print|messages)[._]'
while IFS=: read -r file line text; do
    if [[ -n $file && ! $file =~ $printing ]]; then
        fault "$file:$line" "only the console writes to a terminal:$text"
    fi
done < <(find_lines "$terminal_output" "${without_terminal[@]}")

platform_block='^ *# *(if|ifdef|ifndef|elif)[^[:alnum:]_].*(_WIN32|_WIN64|__linux__|__unix__|__APPLE__|__MINGW|_MSC_VER|Q_OS_)'
while IFS=: read -r file line text; do
    [[ -n $file ]] || continue
    previous=$(sed -n "$((line - 1))p" "$file")
    if [[ $file != *_posix.cpp && $file != *_win32.cpp && $text != *//* && ! $previous =~ ^\ *// ]]; then
        fault "$file:$line" "a platform block outside _posix.cpp and _win32.cpp needs a comment with its reason:$text"
    fi
done < <(find_lines "$platform_block" install support tools)

if $failed; then
    exit 1
fi
