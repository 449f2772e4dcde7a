#!/usr/bin/env bash
# Checks the documents against the project: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/check_docs.sh [DIR]

Checks README.md, CONTRIBUTING.md, CHANGELOG.md, docs/*.md and docs/man/*.md in DIR (default: this project): every
local link has a target; every path, file name, option, variable and other name in backticks exists;
and every command in a "sh" block succeeds. Prints each error with its location; fails if there is one.

The commands run in an empty directory, with the programs of the release build in PATH. The comment
"# not run here: REASON" exempts the commands below it, up to an empty line. Every code block needs a
language: "sh" for commands, "console" or "text" for output.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
cd "${1:-$(dirname "$0")/..}"
root=$PWD

# Commands that are not run here, each with who runs it.
run_elsewhere=(
    'scripts/test.sh*'           # .ci/run, for the presets release, asan and tsan
    'scripts/lint.sh'            # .ci/run; it runs this check
    'scripts/windows.sh'         # .ci/run
    'scripts/demo.sh'            # .ci/run
    'scripts/package.sh*'        # .ci/run
    'scripts/demo.sh --gui'      # people only: the window waits for its user
    'scripts/test_under_load.sh' # people who change tests: it takes longer than all other steps
    'scripts/install_deps.sh*'   # scripts/test.sh, scripts/demo.sh and scripts/windows.sh
    'cmake --preset release*'    # scripts/test.sh, and without tests scripts/demo.sh
)

# Documents whose commands another script runs, because they need servers.
run_by_script=(
    docs/farm.md # scripts/check_farm.sh
)

# Paths that are not in a checkout.
made_elsewhere=(
    'build/*'                # outputs of the build
    '../shared/*'            # scripts/windows.sh looks there for an optional archive
)

# Names that belong to other programs; all other names must occur in the sources.
foreign_names=(
    PATH NTLM GiB MiB
    resource_group              # a key of GitLab CI
    prefs.js                    # a file of Firefox
    setup.exe                   # short for the file that packaging/windows/pack.sh creates
    HKEY_CURRENT_USER
)

work=$(mktemp -d)
jobs_to_end=()
finish() {
    local job
    for job in ${jobs_to_end[@]+"${jobs_to_end[@]}"}; do kill -- "-$job" 2>/dev/null || true; done
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

failed=false
fault() { # PLACE TEXT
    printf '%s: %s\n' "$1" "$2" >&2
    failed=true
}

existing() { # PATH... : prints those that exist
    local path
    for path in "$@"; do
        [[ ! -e $path ]] || printf '%s\n' "$path"
    done
}

matches_one_of() { # TEXT PATTERN...
    local text=$1 pattern
    shift
    for pattern in "$@"; do
        # shellcheck disable=SC2053
        [[ $text == $pattern ]] && return 0
    done
    return 1
}

# All names in the sources. The test of this script is excluded: it uses names that don't exist.
mapfile -t source_dirs < <(existing .ci CMakeLists.txt CMakePresets.json cmake install support tools tests bench demo packaging scripts)
mapfile -t documents < <(existing README.md CONTRIBUTING.md CHANGELOG.md docs/*.md docs/man/*.md)
grep -rIhoE --exclude=check_docs.sh --exclude=check_docs_test_posix.cpp '[A-Za-z0-9_][A-Za-z0-9_.-]*' "${source_dirs[@]}" 2>/dev/null |
    sort -u >"$work/words"
tr -s '.-' '\n' <"$work/words" | sort -u >"$work/names"
find . -name build -prune -o -name .git -prune -o -printf '%f\n' | sort -u >"$work/files"

# The options that programs and scripts accept. Hidden options are declared like the others.
options_of_script() { # SCRIPT : prints the options in its --help
    if grep -q -e '--help' "$1"; then
        echo --help
        bash "$1" --help </dev/null 2>/dev/null | grep -oE -e '--[a-z][a-z_-]*' || true
    fi
}
options_of_sources() { # FILE... : prints those that are declared, and those that are passed to installers
    grep -hoE -e '"[a-z][a-z-]*",' -e '--[a-z][a-z_-]*' "$@" 2>/dev/null | sed -E 's/^"([a-z-]*).*/--\1/' || true
}
options_of() { # PROGRAM : prints the name of a file with its options
    local known
    known=$work/options.${1//\//.}
    if [[ ! -e $known ]]; then
        case $1 in
            vinst | vinst_gui | vinst_cli) options_of_sources install/vinst/console/vinst_cmdline_options.cpp ;;
            vinst_release) options_of_sources tools/vinst_release/release_command_line.cpp tools/vinst_release/vinst_release_main.cpp ;;
            *) [[ ! -f $1 ]] || options_of_script "$1" ;;
        esac | sort -u >"$known"
        echo --help >>"$known"
    fi
    printf '%s' "$known"
}
for program in vinst vinst_release $(existing scripts/*.sh bench/*.sh packaging/*/*.sh); do
    cat "$(options_of "$program")"
done >"$work/options"
find install -name '*.cpp' -exec grep -hoE -e '--[a-z][a-z_-]*' {} + >>"$work/options" 2>/dev/null || true

is_own_program() { [[ $1 =~ ^(vinst|vinst_gui|vinst_cli|vinst_release)$ || $1 =~ ^(scripts|bench|packaging)/.*\.sh$ ]]; }

check_option() { # PLACE PROGRAM OPTION : an empty PROGRAM means any
    local option=${3%%=*} known=$work/options
    [[ -z $2 ]] || known=$(options_of "$2")
    grep -qxF -e "$option" "$known" || fault "$1" "no ${2:-program} takes the option $option"
}

check_path() { # PLACE PATH
    local path=${2%/}
    matches_one_of "$path" "${made_elsewhere[@]}" && return
    [[ -e $path || -e $(dirname "${1%%:*}")/$path ]] && return
    # Parts of longer paths, as in manifests and installations, occur literally in the sources.
    grep -rqIF --exclude=check_docs_test_posix.cpp --exclude-dir=build -e "$path" "${source_dirs[@]}" && return
    fault "$1" "there is no $2"
}

check_name() { # PLACE NAME
    matches_one_of "$2" "${foreign_names[@]}" && return
    # Parts of names are allowed, such as "_rules" and "host_*".
    local pattern=${2//./\\.}
    pattern=${pattern//\*/.*}
    [[ $2 != _* ]] || pattern=".*$pattern"
    grep -qxE -e "$pattern" "$work/words" "$work/names" "$work/files" && return
    fault "$1" "there is no $2"
}

check_word() { # PLACE WORD
    local word=$2
    word=${word%%[,.:;]}
    case $word in
        *[\<\>\{\}\$\|\"\'\(\)\\^]* | *://* | /* | ~* | -*) ;;
        [A-Za-z_]*=*) check_word "$1" "${word%%=*}" ;;
        *:*) ;;
        */*) check_path "$1" "$word" ;;
        *[A-Za-z].[a-z]*) [[ ! $word =~ \.(cpp|h|sh|cmake|md|js|json|in|nsi|txt|html|qrc|ui|svg|png|map|exe|dll|run)$ ]] || check_name "$1" "$word" ;;
        *[a-z]_[a-z]* | _[a-z]* | [A-Z][A-Z]*) [[ ! $word =~ ^[A-Za-z0-9_*]+$ ]] || check_name "$1" "$word" ;;
    esac
}

check_command_words() { # PLACE WORDS... : checks the options of the project's own programs
    local place=$1 program='' word
    shift
    for word in "$@"; do
        if [[ -z $program && $word =~ ^[A-Za-z_]+= ]]; then
            continue
        elif [[ -z $program ]]; then
            program=${word#\"}
            is_own_program "$program" || return 0
        elif [[ $word == '#'* ]]; then
            return 0
        elif [[ $word =~ ^--[a-z] ]]; then
            check_option "$place" "$program" "$word"
        elif [[ $word =~ ^(\|\||\||&&|\;|&)$ ]]; then
            program=
        fi
    done
}

check_span() { # PLACE TEXT : checks the text between two backticks
    local words word
    read -ra words <<<"$2"
    ((${#words[@]} > 0)) || return 0
    if [[ ${words[0]} =~ ^--[a-z] ]]; then
        check_option "$1" '' "${words[0]}"
    else
        check_command_words "$1" "${words[@]}"
    fi
    # Several words are free text, unless they are a command or an assignment.
    if ((${#words[@]} > 1)) && ! is_own_program "${words[0]}" && [[ ! ${words[0]} =~ ^[A-Za-z_]+=. ]]; then
        return 0
    fi
    for word in "${words[@]}"; do
        check_word "$1" "$word"
    done
}

anchors_of() { # DOCUMENT : prints the link anchors of its headings
    sed -nE 's/^#+ +//p' "$1" | tr '[:upper:]' '[:lower:]' | sed -E 's/[^a-z0-9 _-]//g; s/ /-/g'
}

check_link() { # PLACE TARGET
    local document=${1%%:*} path=${2%%#*}
    [[ $2 =~ ^(https?|mailto): ]] && return
    local target=$document
    [[ -z $path ]] || target=$(dirname "$document")/$path
    if [[ ! -e $target ]]; then
        fault "$1" "the link to $2 leads nowhere"
    elif [[ $2 == *#* ]] && ! anchors_of "$target" | grep -qxF -e "${2#*#}"; then
        fault "$1" "$target has no heading for #${2#*#}"
    fi
}

check_prose() { # PLACE LINE
    local rest=$2
    while [[ $rest =~ \`([^\`]+)\`(.*) ]]; do
        rest=${BASH_REMATCH[2]}
        check_span "$1" "${BASH_REMATCH[1]}"
    done
    rest=$2
    while [[ $rest =~ \]\(([^\)\ ]+)\)(.*) ]]; do
        rest=${BASH_REMATCH[2]}
        check_link "$1" "${BASH_REMATCH[1]}"
    done
}

# The commands of a document run one after another in one directory, without the caller's settings and
# proxies.
scratch=
run_command() { # PLACE COMMAND
    local -r limit=60 # seconds
    set +e
    (
        cd "$scratch" && exec setsid timeout "$limit" env -u http_proxy -u https_proxy -u all_proxy \
            HOME="$scratch" PATH="$root/build/release/bin:$PATH" bash -euo pipefail -c "$2"
    ) </dev/null >"$work/output" 2>&1 &
    jobs_to_end=("$!")
    wait "$!"
    local code=$?
    set -e
    kill -- "-${jobs_to_end[0]}" 2>/dev/null || true
    jobs_to_end=()
    ((code == 0)) || fault "$1" "this command fails with $code: $2"$'\n'"$(tail -n 5 "$work/output")"
}

handle_command() { # PLACE COMMAND IS_EXEMPT
    local words bare
    read -ra words <<<"$2"
    check_command_words "$1" "${words[@]}"
    bare=$(sed -E 's/ +#.*//; s/ +$//' <<<"$2")
    if is_own_program "${words[0]}" && [[ ${words[0]} == */* && ! -e ${words[0]} ]]; then
        fault "$1" "there is no ${words[0]}"
    elif ! $3 && ! matches_one_of "${1%%:*}" "${run_by_script[@]}" && ! matches_one_of "$bare" "${run_elsewhere[@]}"; then
        run_command "$1" "$bare"
    fi
}

# Writes the first "json" block of a document as description.json, which its commands use, and creates
# the files that it names.
prepare_example() { # DOCUMENT
    local file
    grep -qx '```json' "$1" || return 0
    # shellcheck disable=SC2016
    sed -n '/^```json$/,/^```$/ { /^```json$/d; /^```$/q; p }' "$1" >"$scratch/description.json"
    while read -r file; do
        mkdir -p "$scratch/$(dirname "$file")"
        printf '%s\n' "$file" >"$scratch/$file"
    done < <(grep -oE '"[a-z_/]+\.(run|exe|vdz)"' "$scratch/description.json" | tr -d '"')
}

check_document() { # DOCUMENT
    local line number=0 fence='' is_exempt=false command=''
    scratch=$work/scratch
    rm -rf "$scratch"
    mkdir "$scratch"
    prepare_example "$1"
    while IFS= read -r line || [[ -n $line ]]; do
        number=$((number + 1))
        local place=$1:$number
        if [[ $line == '```'* ]]; then
            if [[ -n $fence ]]; then
                fence=
            else
                fence=${line#'```'}
                [[ -n $fence ]] || fault "$place" "this block has no language: sh, console, text ..."
                fence=${fence:-text}
            fi
            is_exempt=false
        elif [[ $fence == sh ]]; then
            if [[ $line == '# not run here: '?* ]]; then
                is_exempt=true
            elif [[ -z $line ]]; then
                is_exempt=false
            elif [[ $line == *\\ ]]; then
                command+=${line%\\}
            elif [[ $line != '#'* ]]; then
                handle_command "$place" "$command$line" "$is_exempt"
                command=
            fi
        elif [[ -z $fence ]]; then
            check_prose "$place" "$line"
        fi
    done <"$1"
    [[ -z $fence ]] || fault "$1" "a block doesn't end"
}

for document in "${documents[@]}"; do
    check_document "$document"
done
if $failed; then
    exit 1
fi
