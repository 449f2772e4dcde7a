#!/usr/bin/env perl
# Prints what packages need to know about a release: see usage below.
use strict;
use warnings;
use JSON::PP;

my $usage = <<'TEXT';
Usage: packaging/read_release.pl MANIFEST [NAME]

Prints the edition, the version, the label and the title of the release whose manifest is MANIFEST, each on
a line. NAME is the name of the product, by default "Veltrin Crest". For the edition "pro" and the version
"5.2.0.31", the lines are:

  pro
  5.2.0.31
  +pro5.2.0.31
  Veltrin Crest Pro 5.2 Installer

The label is appended to the version of vinst in the names and versions of packages. The title is that
of the installed program.
TEXT

sub fail { print STDERR "read_release.pl: @_\n"; exit 1 }

if (@ARGV && $ARGV[0] eq '--help') {
    print $usage;
    exit 0;
}
if (@ARGV < 1 || @ARGV > 2) {
    print STDERR $usage;
    exit 2;
}
my ($path, $name) = (@ARGV, 'Veltrin Crest');
open my $file, '<:raw', $path or fail("$path can't be read: $!");
my $text = do { local $/; <$file> };
defined $text or fail("$path can't be read: $!");
$text =~ s/^\xEF\xBB\xBF//;

my $elements = eval { JSON::PP->new->utf8->decode($text) };
ref $elements eq 'ARRAY' or fail("$path is not a manifest: it has to be a JSON array");
# As in the program, the last element of this kind counts.
my ($main) = grep { ref $_ eq 'HASH' && ($_->{data_type} // '') eq 'main' } reverse @$elements;
defined $main or fail("$path has no element with the data_type \"main\"");
my ($edition, $version) = map { $main->{$_} // '' } qw(edition version);

# They become parts of file names, of registry keys and of the versions of packages.
$edition =~ /\A[A-Za-z0-9]{1,20}\z/ or fail("$path: the edition '$edition' has to consist of ASCII letters and digits");
$version =~ /\A[0-9]{1,5}(\.[0-9]{1,5})+\z/ or fail("$path: the version '$version' has to be numbers with dots between them");
$name =~ /\A[A-Za-z0-9][A-Za-z0-9 ._+()-]{0,60}\z/ or fail("the name '$name' contains characters that are not supported");

my @parts = split /\./, $version;
my $shown = join '.', @parts > 4 ? @parts[0 .. 3] : @parts;
printf "%s\n%s\n+%s%s\n%s %s %s Installer\n", $edition, $shown, lc $edition, $shown, $name, ucfirst $edition,
    "$parts[0].$parts[1]";
