#!/usr/bin/env bash
# Checks the manual pages and the completions of the release build: see usage below.
set -euo pipefail

usage() {
    cat <<'END'
Usage: scripts/check_man.sh [BUILD_DIR]

Makes the manual pages and completions in BUILD_DIR (default: build/release) and checks that
- man --warnings and mandoc -T lint report nothing about any page;
- vinst(1) and vinst_release(1) describe every option that the programs take;
- bash, zsh and fish can read their completions, and complete options and the names of components.
Prints each fault, and fails if there is one.
END
}

case ${1:-} in
    --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
cd "$(dirname "$0")/.."
root=$PWD
build=$(realpath "${1:-build/release}")

failed=false
fault() {
    printf '%s\n' "$*" >&2
    failed=true
}

# A build that was configured before pandoc was installed has no manual pages.
cmake -S . -B "$build" >/dev/null
cmake --build "$build" --target vinst_documents vinst_host >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# ---- Manual pages ----

for name in vinst.1 vinst_gui.1 vinst_release.1 vinst_manifest.5 vinst_release_description.5; do
    page=$build/man/man${name##*.}/$name
    if [[ ! -f $page ]]; then
        fault "there is no manual page $name"
        continue
    fi
    LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null | sed "s/^/man: $name: /" >"$work/warnings"
    [[ ! -s $work/warnings ]] || fault "$(<"$work/warnings")"
    mandoc -T lint -W all "$page" >"$work/warnings" 2>&1 || true
    [[ ! -s $work/warnings ]] || fault "$(<"$work/warnings")"
done

expect_options() { # PAGE OPTION...
    local page=$1 option
    shift
    (($# > 2)) || fault "no options are known for $page"
    mandoc -T ascii "$build/man/man1/$page" | col -b >"$work/text"
    for option in "$@"; do
        grep -qE -e "(^|[^a-z-])$option([^a-z-]|$)" "$work/text" || fault "$page doesn't describe $option"
    done
}
mapfile -t options < <(grep -oE '"[a-z][a-z-]+",' install/vinst/console/vinst_cmdline_options.cpp | tr -d '",' | sed 's/^/--/')
expect_options vinst.1 "${options[@]}"
mapfile -t release_options < <(grep -oE '"[a-z][a-z-]+", po::value' tools/vinst_release/release_command_line.cpp | sed -E 's/"([a-z-]+).*/--\1/' | grep -v -x -e --argument)
expect_options vinst_release.1 "${release_options[@]}"

# ---- Completions ----

# A release whose list of components is longer than a line of --help.
long=()
{
    echo '[{"data_type": "main", "edition": "pro", "version": "1.0"}'
    for number in {10..20}; do
        long+=("a_component_with_a_long_name_$number")
        printf ', {"data_type": "download", "name": "%s", "platform": "linux", "title": "", "desc": "", "filename": "%s.run",
            "size": 1, "md5sum": "", "sha1sum": "", "installsize": 1, "downloadsize_str": "", "installsize_str": "", "selected": %s}\n' \
            "${long[-1]}" "$number" $((number < 18))
    done
    echo ']'
} >"$work/manifest.json"
mkdir "$work/bin" "$work/home" "$work/functions"
ln -s "$build/bin/vinst" "$work/bin/vinst"
cp "$build/completions/_vinst" "$work/functions/"
export HOME=$work/home PATH=$work/bin:$PATH vinst_manifest=$work/manifest.json completions=$build/completions LC_ALL=C.UTF-8

equal() { # WHAT EXPECTED ACTUAL
    [[ $2 == "$3" ]] || fault "$1: expected"$'\n'"$2"$'\n'"but got"$'\n'"$3"
}
all=$(printf '%s\n' "${long[@]}")
after_one=$(printf "${long[0]},%s\n" "${long[@]:1}")

cat >"$work/complete.bash" <<'END'
source "$completions/vinst"
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_vinst "$1"
((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
END
equal "bash after --components" "$all" "$(bash "$work/complete.bash" vinst --components '')"
equal "bash after a component" "$after_one" "$(bash "$work/complete.bash" vinst --components "${long[0]},")"
equal "bash with --manifest" "$all" \
    "$(bash "$work/complete.bash" vinst --manifest "$work/manifest.json" --components '')"
equal "bash after vinst_gui --components" "$all" "$(bash "$work/complete.bash" vinst_gui --components '')"
equal "bash after --pl" --platform "$(bash "$work/complete.bash" vinst --pl)"
equal "bash after --platform" $'linux\nwindows' "$(bash "$work/complete.bash" vinst --platform '')"

cat >"$work/complete.fish" <<'END'
source $completions/vinst.fish
complete -C $argv[1] | string replace -r '\t.*' ''
END
equal "fish after --components" "$all" "$(fish --no-config "$work/complete.fish" 'vinst --components ')"
equal "fish after a component" "$all" \
    "$(fish --no-config "$work/complete.fish" "vinst --components ${long[0]}," | sed "s/^${long[0]},//")"
equal "fish after --pl" --platform "$(fish --no-config "$work/complete.fish" 'vinst --pl')"

# zsh completes only in a terminal; it gets one of its own.
cat >"$work/complete.zsh" <<'END'
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "stty columns 500; fpath=($1 \$fpath); autoload -Uz compinit; compinit -u -D; LISTMAX=1000; PS1='<'prompt'>'"
zpty -r shell text '*<prompt>*'
zpty -w -n shell "$2"$'\t\t'
zpty -w -n shell $'\C-u'"print e''nd"$'\n'
zpty -r shell text $'*end*'
print -r -- $text
zpty -d shell
END
text=$(timeout 60 zsh -f "$work/complete.zsh" "$work/functions" 'vinst --components a_component_with_a_long_name_')
for name in "${long[@]}"; do
    [[ $text == *"$name"* ]] || fault "zsh doesn't complete $name after --components: $text"
done
text=$(timeout 60 zsh -f "$work/complete.zsh" "$work/functions" 'vinst --pl')
[[ $text == *--platform* ]] || fault "zsh doesn't complete --pl: $text"

for option in "${options[@]}"; do
    grep -qE -e "(^|[^a-z-])$option([^a-z-]|$)" "$completions/vinst" || fault "the completions don't have $option"
done

cd "$root"
if $failed; then
    exit 1
fi
