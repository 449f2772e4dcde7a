#!/usr/bin/perl
# Makes the completions of bash, zsh and fish: see usage below.
use strict;
use warnings;

my $usage = <<'END';
Usage: packaging/linux/completions.pl README.md OUT_DIR

Makes the completions of vinst, vinst_gui and vinst_release for bash (vinst, vinst_release), zsh (_vinst)
and fish (vinst.fish). The options of vinst are those of the table below "Options" in README.md. The names
after --components are those that "vinst --help" prints for the release.
END

if (@ARGV && $ARGV[0] eq '--help') {
    print $usage;
    exit 0;
}
if (@ARGV != 2) {
    print STDERR $usage;
    exit 2;
}
my ($readme, $out) = @ARGV;

# The options of vinst: name, argument ("" for none), description.
my @options;
open my $file, '<', $readme or die "completions.pl: $readme: $!\n";
my $inside;
while (my $line = <$file>) {
    $inside = $1 eq 'Options' if $line =~ /^#+ +(.*)/;
    next if !$inside || $line !~ /^\| (`--.*?) \| (.*) \|$/;
    my ($terms, $text) = ($1, $2);
    $text =~ s/`|\[([^\]]+)\]\([^)]*\)/$1 || ''/ge;
    $text =~ s/[;:(].*|\. .*//;   # the first clause is short enough for a menu
    $text =~ s/['"]//g;
    $text =~ s/ +$//;
    # A cell may name several options, or the values of one.
    my @values = $terms =~ /`([a-z]+)`/g;
    while ($terms =~ /`(--[a-z-]+) ?([^`]*)`/g) {
        my ($option, $argument) = ($1, $2);
        $argument = join ' ', $argument, @values if @values;
        push @options, [$option, $argument, $text];
    }
}
close $file;
die "completions.pl: $readme has no table of options\n" if !@options;

# What is completed after an option: "components", "dir", "file", "words", "text", or "" for none.
sub kind_of {
    my ($argument) = @_;
    return '' if $argument eq '';
    return 'components' if $argument eq 'A,B';
    return 'dir' if $argument eq 'DIR';
    return 'file' if $argument eq 'FILE';
    return 'words' if $argument =~ /^[a-z]+( [a-z]+)+$/;
    return 'text';
}

sub save {
    my ($name, $text) = @_;
    open my $result, '>', "$out/$name" or die "completions.pl: $out/$name: $!\n";
    print $result $text;
    close $result or die "completions.pl: $out/$name: $!\n";
}

# The names of the release's components, one per line. --help wraps its lines at any character, so they
# are joined before the lists are taken out.
my $list_components = <<'END';
    "$program" --help "$@" 2>/dev/null | awk '
        /^  --components / { inside = 1; sub(/^  --components arg */, ""); text = $0; next }
        /^  --/ { inside = 0 }
        inside { sub(/^ +/, ""); text = text $0 }
        END {
            if (!sub(/.*Default components:/, "", text)) exit
            gsub(/Default devices:|Optional components:/, ",", text)
            count = split(text, names, ",")
            for (i = 1; i <= count; ++i) {
                gsub(/^ +| +$/, "", names[i])
                if (names[i] != "") print names[i]
            }
        }'
END

# ---- bash ----

my $bash_options = join ' ', map { $_->[0] } @options;
my %cases = (components => [], dir => [], file => [], text => []);
my $bash_words = '';
for my $option (@options) {
    my $kind = kind_of($option->[1]);
    if ($kind eq 'words') {
        $bash_words .= qq(        $option->[0]) . qq[) COMPREPLY=(\$(compgen -W "$option->[1]" -- "\$cur")); return ;;\n];
    } elsif ($kind ne '') {
        push @{$cases{$kind}}, $option->[0];
    }
}
my %pattern = map { $_ => join ' | ', @{$cases{$_}} } keys %cases;
for my $kind (keys %pattern) {
    die "completions.pl: $readme has no option with an argument of the kind \"$kind\"\n" if $pattern{$kind} eq '';
}
save('vinst', <<END);
# Completions for vinst and vinst_gui in bash.

_vinst_components() { # PROGRAM [--manifest FILE]
    local program=\$1
    shift
$list_components}

_vinst() {
    local cur=\${COMP_WORDS[COMP_CWORD]} prev=\${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case \$prev in
        $pattern{components})
            local manifest=() i given='' name
            for ((i = 1; i < COMP_CWORD - 1; ++i)); do
                [[ \${COMP_WORDS[i]} != --manifest ]] || manifest=(--manifest "\${COMP_WORDS[i + 1]/#\\~/\$HOME}")
            done
            [[ \$cur != *,* ]] || given=\${cur%,*},
            # Without the names that are already in the list.
            while IFS= read -r name; do
                [[ ,\$given == *,"\$name",* || \$name != "\${cur##*,}"* ]] || COMPREPLY+=("\$given\$name")
            done < <(_vinst_components "\${1%_gui}" "\${manifest[@]}") # for vinst_gui, --help opens a browser
            compopt -o nospace 2>/dev/null
            return
            ;;
        $pattern{dir}) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "\$cur"); return ;;
        $pattern{file}) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "\$cur"); return ;;
$bash_words        $pattern{text}) return ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$bash_options" -- "\$cur")
}

complete -F _vinst vinst vinst_gui
END
save('vinst_release', <<'END');
# Completions for vinst_release in bash.

_vinst_release() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=''
    if ((COMP_CWORD == 1)); then
        words='make check serve mirror --help'
    else
        case $prev in
            --download-url | --address | --port | --rate | --components | --url | --retry-duration)
                COMPREPLY=()
                return
                ;;
            --platform) mapfile -t COMPREPLY < <(compgen -W 'linux windows' -- "$cur"); return ;;
        esac
        case ${COMP_WORDS[1]} in
            make) words='--download-url --help' ;;
            check) words='--help' ;;
            serve) words='--address --port --rate --help' ;;
            mirror) words='--platform --components --url --retry-duration --help' ;;
        esac
    fi
    if [[ $cur == -* || $COMP_CWORD == 1 ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$cur")
    fi
}

complete -F _vinst_release vinst_release
END

# ---- zsh ----

my %zsh_action = (components => ':components:_vinst_components', dir => ':directory:_files -/',
    file => ':file:_files', text => ':value: ', '' => '');
my $zsh_options = '';
for my $option (@options) {
    my ($name, $argument, $text) = @$option;
    my $kind = kind_of($argument);
    my $action = $kind eq 'words' ? ":value:($argument)" : $zsh_action{$kind};
    $text =~ s/[\[\]]//g;
    $zsh_options .= "                '$name\[$text]$action' \\\n";
}
$zsh_options =~ s/ \\\n\z//;
save('_vinst', <<END);
#compdef vinst vinst_gui vinst_release
# Completions for vinst, vinst_gui and vinst_release in zsh.

_vinst_list_components() { # PROGRAM [--manifest FILE]
    local program=\$1
    shift
$list_components}

_vinst_components() {
    local -a names manifest
    local given=\${words[(i)--manifest]}
    ((given >= \$#words)) || manifest=(--manifest \${~words[given + 1]})
    # For vinst_gui, --help opens a browser.
    names=(\${(f)"\$(_vinst_list_components \${words[1]%_gui} \$manifest)"})
    _values -s , component \$names
}

_vinst() {
    case \$service in
        vinst_release)
            _arguments \\
                '--help[prints the help]' \\
                '--download-url[where the release will be fetched from]:address: ' \\
                '--address[the address to listen on]:address: ' \\
                '--port[the port to listen on]:port: ' \\
                '--rate[bytes per second per connection]:bytes: ' \\
                '--platform[fetch only the files for this platform]:platform:(linux windows)' \\
                '--components[fetch only these components]:components: ' \\
                '--url[fetch from this mirror]:address: ' \\
                '--retry-duration[how long failed downloads are retried]:minutes: ' \\
                '1:command:(make check serve mirror)' \\
                '*:file:_files'
            ;;
        *)
            _arguments \\
$zsh_options
            ;;
    esac
}

_vinst "\$@"
END

# ---- fish ----

my $fish_options = '';
for my $option (@options) {
    my ($name, $argument, $text) = @$option;
    my $kind = kind_of($argument);
    my %fish_action = (components => q( -x -a "(__fish_complete_list , __vinst_components)"),
        dir => q( -x -a "(__fish_complete_directories)"), file => ' -r -F', text => ' -x', '' => '',
        words => qq( -x -a "$argument"));
    $name =~ s/^--//;
    for my $program (qw(vinst vinst_gui)) {
        $fish_options .= "complete -c $program -l $name$fish_action{$kind} -d '$text'\n";
    }
}
my ($awk) = $list_components =~ /(awk '.*')/s;
save('vinst.fish', <<END);
# Completions for vinst, vinst_gui and vinst_release in fish.

function __vinst_components
    set -l words (commandline -opc)
    set -l manifest
    if set -l at (contains -i -- --manifest \$words)
        set -l file (string replace -r '^~' \$HOME -- \$words[(math \$at + 1)])
        set manifest --manifest \$file
    end
    # For vinst_gui, --help opens a browser.
    set -l program (string replace -r '_gui\$' '' -- \$words[1])
    command \$program --help \$manifest 2>/dev/null | $awk
end

complete -c vinst -f
complete -c vinst_gui -f
$fish_options
complete -c vinst_release -n __fish_use_subcommand -f -a make -d 'make a release'
complete -c vinst_release -n __fish_use_subcommand -f -a check -d 'check a release'
complete -c vinst_release -n __fish_use_subcommand -f -a serve -d 'serve a release for testing'
complete -c vinst_release -n __fish_use_subcommand -f -a mirror -d 'fetch a release'
complete -c vinst_release -l help -d 'prints the help'
complete -c vinst_release -n '__fish_seen_subcommand_from make' -l download-url -x -d 'where the release will be fetched from'
complete -c vinst_release -n '__fish_seen_subcommand_from serve' -l address -x -d 'the address to listen on'
complete -c vinst_release -n '__fish_seen_subcommand_from serve' -l port -x -d 'the port to listen on'
complete -c vinst_release -n '__fish_seen_subcommand_from serve' -l rate -x -d 'bytes per second per connection'
complete -c vinst_release -n '__fish_seen_subcommand_from mirror' -l platform -x -a 'linux windows' -d 'fetch only the files for this platform'
complete -c vinst_release -n '__fish_seen_subcommand_from mirror' -l components -x -d 'fetch only these components'
complete -c vinst_release -n '__fish_seen_subcommand_from mirror' -l url -x -d 'fetch from this mirror'
complete -c vinst_release -n '__fish_seen_subcommand_from mirror' -l retry-duration -x -d 'how long failed downloads are retried'
END
