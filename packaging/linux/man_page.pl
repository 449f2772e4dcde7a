#!/usr/bin/perl
# Makes a manual page: see usage below.
use strict;
use warnings;

my $usage = <<'END';
Usage: packaging/linux/man_page.pl PAGE.md VERSION DATE OUTPUT

Makes a manual page from its source, docs/man/NAME.SECTION.md, with pandoc. Before:
- a line "@include FILE HEADING" is replaced by the text below that heading of FILE, which is relative
  to the page, up to the next heading. The manual and the documents share their texts that way;
- a table becomes a list of definitions, because a terminal is too narrow for its cells;
- pictures and the targets of links are removed, since they lead to files of the sources.
END

if (@ARGV && $ARGV[0] eq '--help') {
    print $usage;
    exit 0;
}
if (@ARGV != 4) {
    print STDERR $usage;
    exit 2;
}
my ($page, $version, $date, $output) = @ARGV;
my $directory = $page =~ m{^(.*)/} ? $1 : '.';
my ($name, $section) = $page =~ m{([^/]+)\.(\d)\.md$} or die "man_page.pl: $page has no section in its name\n";

my $markdown = "$output.md";
open my $expanded, '>', $markdown or die "man_page.pl: $markdown: $!\n";

sub lines_of {
    my ($path) = @_;
    open my $file, '<', $path or die "man_page.pl: $path: $!\n";
    my @lines = <$file>;
    chomp @lines;
    return @lines;
}

sub section_of {
    my ($path, $heading) = @_;
    my (@found, $inside, $is_code, $is_known);
    for my $line (lines_of($path)) {
        $is_code = !$is_code if $line =~ /^```/;
        if (!$is_code && $line =~ /^#+ +(.*)/) {
            $inside = $1 eq $heading;
            $is_known ||= $inside;
        } elsif ($inside) {
            push @found, $line;
        }
    }
    die "man_page.pl: $page: $path has no heading \"$heading\"\n" if !$is_known;
    return @found;
}

# The cells of a table's row. A "|" in a cell would have to be escaped; no document has one.
sub cells_of {
    my ($row) = @_;
    $row =~ s/^\| *//;
    $row =~ s/ *\|$//;
    return split / *\| */, $row, -1;
}

# Prints rows as definitions: the first cell is the term, the last its explanation. A cell between them
# is added to the term, with its column's heading if it needs one to be understood.
sub print_definitions {
    my ($header, @rows) = @_;
    my @titles = cells_of($header);
    for my $row (@rows) {
        my @cells = cells_of($row);
        my $term = shift @cells;
        my $text = pop @cells;
        for my $i (0 .. $#cells) {
            next if $cells[$i] eq '';
            my $title = $titles[$i + 1];
            $term .= $title eq '' || $cells[$i] eq 'required' ? " ($cells[$i])" : " ($title: $cells[$i])";
        }
        print $expanded "$term\n:   $text\n\n";
    }
}

my @text = map { /^\@include (\S+) (.+)/ ? section_of("$directory/$1", $2) : $_ } lines_of($page);
push @text, ''; # ends a table at the end

printf $expanded "---\ntitle: %s\nsection: %s\nfooter: vinst %s\ndate: %s\n---\n\n", uc $name, $section, $version, $date;
my ($is_code, @table);
for my $line (@text) {
    if ($line =~ /^```/) {
        $is_code = !$is_code;
    } elsif ($is_code) {
        next if $line =~ /^# not run here: /; # for scripts/check_docs.sh
    } else {
        next if $line =~ /^!\[/;
        $line =~ s/\[([^\]]+)\]\([^)]*\)/$1/g;
        if ($line =~ /^\|/) {
            push @table, $line;
            next;
        }
        if (@table) {
            my ($header, $rule, @rows) = @table;
            print_definitions($header, @rows);
            @table = ();
        }
    }
    print $expanded "$line\n";
}
close $expanded or die "man_page.pl: $markdown: $!\n";

# Options contain "--", which must not become a dash ("smart").
open my $pandoc, '-|', qw(pandoc --standalone --from markdown-smart --to man), $markdown
    or die "man_page.pl: pandoc can't be run: $!\n";
my @page = <$pandoc>;
close $pandoc or die "man_page.pl: pandoc failed\n";
unlink $markdown;

open my $result, '>', $output or die "man_page.pl: $output: $!\n";
my $previous = '';
for my $line (@page) {
    # Pandoc's fonts for code are unknown outside groff, and a paragraph after a heading is implied.
    $line =~ s/\\f\[VB?\]/\\f[B]/g;
    $line =~ s/\\f\[C\]/\\f[R]/g;
    print $result $line if !($line =~ /^\.PP$/ && $previous =~ /^\.S[HS]/);
    $previous = $line;
}
close $result or die "man_page.pl: $output: $!\n";
