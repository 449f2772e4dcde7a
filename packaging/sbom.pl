#!/usr/bin/env perl
# Prints an SBOM (SPDX 2.3, JSON):
#
#   sbom.pl NAME VERSION EPOCH < PACKAGES
#
# of the product NAME, whose version is VERSION and which was made at EPOCH, in seconds since 1970. PACKAGES has
# one paragraph of "Field: value" lines for each package that it contains:
#
#   Name, Version     required
#   Supplier, Homepage, Source, Purl, Files
#                     optional: who provides the package, the source package that it was built from, its package
#                     URL, and which files of the product are from it
#   Copyright-File    required: the package's debian/copyright
#   License-Text      required: path of that file in the product
#
# The licences are those of the copyright file, if it is machine-readable: each one that it states for any
# file of the package's sources, except for debian/. Otherwise the file as a whole is the licence.
use strict;
use warnings;
use Digest::SHA qw(sha1_hex);
use JSON::PP;
use POSIX qw(strftime);

die "Usage: sbom.pl NAME VERSION EPOCH < PACKAGES\n" unless @ARGV == 3 && $ARGV[2] =~ /^\d+$/;
my ($product, $version, $epoch) = @ARGV;

# Short names of Debian's format, in lower case, whose meaning is exactly that of an SPDX identifier. For
# any other, the document quotes the text.
my %spdx_of = map { lc $_ => $_ } qw(
    Apache-2.0 BSD-1-Clause BSD-2-Clause BSD-3-Clause BSD-4-Clause BSD-4-Clause-UC BSL-1.0 Beerware CC-BY-SA-3.0
    CC-BY-SA-4.0 CC0-1.0 FSFAP FSFUL FSFULLR FTL ISC MIT MPL-1.1 MPL-2.0 OFL-1.1 OLDAP-2.8 Unicode-DFS-2016 X11
    Zlib bzip2-1.0.6 curl);
@spdx_of{qw(apache-2 cc0 expat openldap-2.8)} = qw(Apache-2.0 CC0-1.0 MIT OLDAP-2.8);

sub spdx_identifier { # NAME : undef if it has none
    my ($name) = @_;
    if ($name =~ /^(A?GPL|LGPL|GFDL)-?v?(\d)(?:\.(\d))?(?:\.0)?(\+?)$/i) {
        return uc($1) . "-$2." . ($3 // 0) . ($4 ? "-or-later" : "-only");
    }
    return $spdx_of{lc $name};
}

# paragraphs TEXT : a list of hashes with lower-case field names; a field's further lines keep their line
# breaks and lose the first blank, and a line with a dot is an empty one.
sub paragraphs {
    my ($text) = @_;
    my @all;
    $text =~ s/\r//g;
    for my $block (split /\n(?:[ \t]*\n)+/, $text) {
        my (%fields, $last);
        for my $line (split /\n/, $block) {
            next if $line =~ /^#/;
            if ($line =~ /^([A-Za-z][A-Za-z0-9-]*):[ \t]*(.*?)[ \t]*$/) {
                $last = lc $1;
                $fields{$last} = $2;
            } elsif (defined $last && $line =~ /^[ \t](.*?)[ \t]*$/) {
                $fields{$last} .= "\n" . ($1 eq "." ? "" : $1);
            }
        }
        push @all, \%fields if %fields;
    }
    return @all;
}

sub read_file {
    my ($path) = @_;
    open my $file, "<", $path or die "sbom.pl: $path: $!\n";
    local $/;
    my $bytes = <$file>;
    # Some of these files are older than UTF-8.
    utf8::decode($bytes);
    return $bytes;
}

my %extracted; # text and name of each LicenseRef

sub reference { # SCOPE NAME TEXT
    my ($scope, $name, $text) = @_;
    my $id = "$scope-$name";
    $id =~ s/(?<=\d)\+/-or-later/g;
    $id =~ s/\+/-plus/g;
    $id =~ s/[^A-Za-z0-9.-]+/-/g;
    $id = "LicenseRef-$id";
    # Packages with the same sources share their licences, unless one of them has another text.
    my $unique = $id;
    for (my $count = 2; defined $extracted{$unique} && $extracted{$unique}{extractedText} ne $text; ++$count) {
        $unique = "$id-$count";
    }
    $extracted{$unique} = {licenseId => $unique, name => $name, extractedText => $text};
    return $unique;
}

# expression LICENSE RESOLVE : Debian's "a or b, and c" as SPDX's "(a OR b) AND c". RESOLVE gets each name.
sub expression {
    my ($license, $resolve) = @_;
    $license =~ s/_(or|and)_/ $1 /gi; # as in "LGPLv3+_or_GPLv2+"
    $license =~ s/\s+/ /g;
    my @groups = split /,\s*(and\/or|and|or)\s+/i, $license;
    my $result = "";
    for my $i (0 .. $#groups) {
        if ($i % 2) {
            $result .= $groups[$i] =~ /or/i ? " OR " : " AND ";
            next;
        }
        my @parts = split / (and\/or|and|or) /i, $groups[$i];
        my $group = join "", map { !($_ % 2) ? $resolve->($parts[$_]) : $parts[$_] =~ /or/i ? " OR " : " AND " } 0 .. $#parts;
        $result .= @groups > 1 && $group =~ / / ? "($group)" : $group;
    }
    return $result;
}

# licences SCOPE TEXT : the licence expression and the copyright notices of a copyright file
sub licences {
    my ($scope, $text) = @_;
    my $whole = sub { (reference($scope, "copyright file", $text), undef) };
    my ($header, @paragraphs) = paragraphs($text);
    return $whole->() unless defined $header && ($header->{format} // $header->{"format-specification"} // "") =~ /copyright-format|dep-?5/i;

    my (%text_of, %seen, @expressions, @notices);
    for my $paragraph (@paragraphs) {
        my ($name, $words) = split /\n/, $paragraph->{license} // "", 2;
        next unless defined $name && $name ne "" && defined $words && $words ne "";
        $text_of{lc $name} //= $words;
    }
    my $resolve = sub {
        my ($name) = @_;
        my $spdx = spdx_identifier($name);
        return $spdx if defined $spdx;
        (my $base = $name) =~ s/ with .*//i;
        return reference($scope, $name, $text_of{lc $name} // $text_of{lc $base} // $text);
    };
    for my $paragraph (@paragraphs) {
        next unless defined $paragraph->{files};
        next unless grep { !m{^debian/} } split ' ', $paragraph->{files};
        my ($license) = split /\n/, $paragraph->{license} // "";
        return $whole->() unless defined $license && $license ne "";
        my $expression = expression($license, $resolve);
        push @expressions, grep { !$seen{$_}++ } $expression =~ / OR / ? $expression : split / AND /, $expression;
        push @notices, grep { $_ ne "" && !$seen{"copyright $_"}++ } map { s/^\s+//r } split /\n/, $paragraph->{copyright} // "";
    }
    return $whole->() unless @expressions;
    return ($expressions[0], join "\n", @notices) if @expressions == 1;
    return (join(" AND ", map { / OR / ? "($_)" : $_ } sort @expressions), join "\n", @notices);
}

my @packages = {
    SPDXID => "SPDXRef-product", name => $product, versionInfo => $version, downloadLocation => "NOASSERTION",
    filesAnalyzed => JSON::PP::false, licenseConcluded => "MIT", licenseDeclared => "MIT",
    copyrightText => "2026 the vinst authors"};
my @relations = {spdxElementId => "SPDXRef-DOCUMENT", relationshipType => "DESCRIBES", relatedSpdxElement => "SPDXRef-product"};
binmode STDIN, ":encoding(UTF-8)";
my $input = do { local $/; <STDIN> } // "";
for my $given (paragraphs($input)) {
    for my $field (qw(name version copyright-file license-text)) {
        die "sbom.pl: a package without $field: " . join(", ", %$given) . "\n" unless defined $given->{$field};
    }
    (my $id = "SPDXRef-$given->{name}") =~ s/[^A-Za-z0-9.-]/-/g;
    my ($scope) = split ' ', $given->{source} // $given->{name};
    my ($license, $notices) = licences($scope, read_file($given->{"copyright-file"}));
    my $package = {
        SPDXID => $id, name => $given->{name}, versionInfo => $given->{version}, downloadLocation => "NOASSERTION",
        filesAnalyzed => JSON::PP::false, licenseDeclared => $license,
        licenseComments => "The licences of all files of the package's sources, from $given->{'license-text'}"};
    $package->{copyrightText} = $notices if defined $notices && $notices ne "";
    $package->{supplier} = "Organization: $given->{supplier}" if defined $given->{supplier};
    $package->{homepage} = $given->{homepage} if ($given->{homepage} // "") ne "";
    $package->{sourceInfo} = "built from $given->{source}" if defined $given->{source};
    $package->{comment} = "Files: $given->{files}" if defined $given->{files};
    $package->{externalRefs} = [{referenceCategory => "PACKAGE-MANAGER", referenceType => "purl", referenceLocator => $given->{purl}}]
        if defined $given->{purl};
    push @packages, $package;
    push @relations, {spdxElementId => "SPDXRef-product", relationshipType => "CONTAINS", relatedSpdxElement => $id};
}
my %ids;
$ids{$_->{SPDXID}}++ and die "sbom.pl: two packages have the same name: $_->{name}\n" for @packages;

my $document = {
    spdxVersion => "SPDX-2.3", dataLicense => "CC0-1.0", SPDXID => "SPDXRef-DOCUMENT", name => "$product-$version",
    documentNamespace => "https://docs.orvane.example/spdx/$product-$version-" . sha1_hex(map { "$_->{name} $_->{versionInfo} " } @packages),
    creationInfo => {created => strftime("%Y-%m-%dT%H:%M:%SZ", gmtime $epoch), creators => ["Organization: the vinst authors"]},
    packages => \@packages, relationships => \@relations};
$document->{hasExtractedLicensingInfos} = [map { $extracted{$_} } sort keys %extracted] if %extracted;
print JSON::PP->new->canonical->pretty->utf8->encode($document);
