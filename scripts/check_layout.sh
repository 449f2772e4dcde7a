#!/usr/bin/env bash
# Checks the includes between rooms: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/check_layout.sh [DIR]

Checks every #include below DIR (default: this project) against the project's layout: a room includes
only from rooms on lower floors, and only the room that wraps a library includes its headers. Prints each
include that violates a rule, with the rule, and fails if there is one.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
cd "${1:-$(dirname "$0")/..}"

# Each room, and the rooms that it may include from in addition to itself, from the lowest floor up.
# vinst_pac is on no floor: pac_request.h defines the request that it is called with.
declare -A below=(
    [support/main]=''
    [support/mem]=''
    [support/thr]=''
    [support/fio]=''
    [support/cfgq]=''
    [support/curl]='support/fio/'
    [support/afcq]=''
    [install/pac]=''
    [install/vinst/base]='support/'
    [install/vinst/release]='install/vinst/base/ support/'
    [install/vinst/download]='install/pac/pac_request.h install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/console]='install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/gui]='install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/vinst/app]='install/vinst/console/ install/vinst/gui/ install/vinst/download/ install/vinst/release/ install/vinst/base/ support/'
    [install/hosts]='install/vinst/app/'
    [tools/vinst_release]='install/vinst/release/ install/vinst/base/ support/'
)

# Headers of libraries and of the state behind a function, as regular expressions, and the only places
# that may include them.
declare -A visible_in=(
    ['<curl/']='support/curl/'
    ['<spdlog/']='support/curl/'
    ['<QSettings>']='support/cfgq/'
    ['<(tbb|oneapi)/']='install/vinst/download/vinst_integrity_checks tools/vinst_release/'
    ['vinst_stop_state\.h']='install/vinst/base/vinst_stop'
    ['thr_stop_state\.h']='support/thr/'
    ['<boost/program_options']='install/vinst/console/ tools/vinst_release/'
    ['<boost/graph']='tools/vinst_release/'
    ['<(QJS|QQml|QtQml)']='install/pac/'
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

if $failed; then
    exit 1
fi
