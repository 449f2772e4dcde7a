#!/usr/bin/env bash
# Builds the libraries that the Windows version links: see usage below.
set -euo pipefail

readonly target=x86_64-w64-mingw32
readonly all_parts=(zlib boost tbb curl qtbase qtsvg)

# The installation prefix that the libraries are configured with. It is never created: files are
# installed to a staging directory, and references to the prefix are made relative.
readonly prefix=/opt/vinst-win64-sdk

usage() {
    cat <<END
Usage: packaging/windows/build_sdk.sh OUTPUT_DIR [PART...]

Builds the Windows x86-64 libraries that the program links, on Debian 12, from Debian's source
packages with Debian's patches, into OUTPUT_DIR. The directory can be moved afterwards.

Parts, in build order (default: all):
  zlib     zlib, from the package libz-mingw-w64-dev
  boost    Boost.Program_options, a static library, with the headers it needs
  tbb      oneTBB
  curl     libcurl with Schannel; also builds zlib
  qtbase   Qt Core, Gui, Widgets, Network, Test, Xml, their plugins, and moc, uic, rcc, qmake
  qtsvg    Qt Svg; also builds qtbase

Finished parts are skipped, so that the same command resumes after a failure. To rebuild a part,
remove OUTPUT_DIR/.parts/PART. At the end, all finished parts are checked.

Installs missing build dependencies with apt; only this needs root or sudo. The sources are also
fetched with apt, with a separate configuration that leaves the machine's unchanged.

Environment:
  VINST_SDK_WORK  work directory, which also keeps unfinished parts (default: a new directory under
                  \$TMPDIR or /tmp). It is removed on success.
  VINST_SDK_JOBS  number of parallel compilers (default: one per CPU)
END
}

fail() {
    echo "build_sdk.sh: $*" >&2
    exit 1
}

# ---- Command line ------------------------------------------------------------------------------

if (($# > 0)) && [[ $1 == --help ]]; then
    usage
    exit 0
fi
if (($# == 0)) || [[ $1 == -* || -z $1 ]]; then
    usage >&2
    exit 2
fi

output=$(realpath -m -- "$1")
shift
jobs=${VINST_SDK_JOBS:-$(nproc)}
[[ $jobs =~ ^[1-9][0-9]*$ ]] || fail "VINST_SDK_JOBS is not a positive number: $jobs"

declare -A wanted=()
for argument in "${@:-${all_parts[@]}}"; do
    case $argument in
        zlib | boost | tbb | qtbase) wanted[$argument]=1 ;;
        curl) wanted[zlib]=1 wanted[curl]=1 ;;
        qtsvg) wanted[qtbase]=1 wanted[qtsvg]=1 ;;
        *)
            echo "build_sdk.sh: unknown part: $argument" >&2
            usage >&2
            exit 2
            ;;
    esac
done
parts=()
for part in "${all_parts[@]}"; do
    [[ -v wanted[$part] ]] && parts+=("$part")
done

# The output directory must be empty or created by this script, so that nothing else is overwritten.
readonly stamps=$output/.parts
if [[ -e $output && ! -d $stamps ]]; then
    [[ -d $output && -z $(ls -A -- "$output") ]] ||
        fail "$output is neither empty nor created by this script"
fi

# ---- The tools ---------------------------------------------------------------------------------

install_tools() {
    local packages=(
        "g++-mingw-w64-x86-64-posix" libz-mingw-w64-dev
        g++ make cmake ninja-build perl python3 dpkg-dev xz-utils debian-archive-keyring
    ) missing=() package
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        fail "needs a Debian 12 system"
    fi
    for package in "${packages[@]}"; do
        [[ $(dpkg-query -W -f='${Status}' "$package" 2>/dev/null) == "install ok installed" ]] ||
            missing+=("$package")
    done
    ((${#missing[@]} > 0)) || return 0

    local as_root=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null || fail "run this as root, or install sudo; missing: ${missing[*]}"
        as_root=(sudo --)
    fi
    echo "Installing: ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq -o Dpkg::Use-Pty=0 --no-install-recommends "${missing[@]}"
}

# Wrappers with the compilers' plain names, which precede the machine's own in PATH: those may be the
# variants without posix threads. The wrappers also
# - let the linker find Secur32 and Crypt32, which Qt spells like this, on a case-sensitive file system;
# - keep the paths of the source directories out of the libraries.
# Options that contain the work directory are passed here instead of by the libraries' configuration,
# so that they don't get into installed files.
make_compilers() {
    local bin=$work/tools links=$work/links name
    mkdir -p "$bin" "$links"
    ln -sf "/usr/$target/lib/libsecur32.a" "$links/libSecur32.a"
    ln -sf "/usr/$target/lib/libcrypt32.a" "$links/libCrypt32.a"
    for name in gcc g++; do
        printf '#!/bin/sh\nexec /usr/bin/%s-%s-posix -B%s/ -ffile-prefix-map=%s=. "$@"\n' \
            "$target" "$name" "$links" "$work" >"$bin/$target-$name"
        chmod 755 "$bin/$target-$name"
    done
    export PATH=$bin:$PATH

    cat >"$work/toolchain.cmake" <<END
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER $bin/$target-gcc)
set(CMAKE_CXX_COMPILER $bin/$target-g++)
set(CMAKE_RC_COMPILER /usr/bin/$target-windres)
set(CMAKE_FIND_ROOT_PATH $output /usr/$target)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
END
}

# ---- The sources -------------------------------------------------------------------------------

private_apt() {
    apt-get -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/apt/sources" \
        -o Dir::State::lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" "$@"
}

# Once per run: lists from an earlier run may name files that the mirrors have replaced.
update_lists() {
    [[ ! -e $work/apt/updated ]] || return 0
    mkdir -p "$work/apt/sources" "$work/apt/lists/partial" "$work/apt/cache"
    cat >"$work/apt/sources/debian.sources" <<'END'
Types: deb-src
URIs: http://deb.debian.org/debian
Suites: bookworm bookworm-updates
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg

Types: deb-src
URIs: http://deb.debian.org/debian-security
Suites: bookworm-security
Components: main
Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg
END
    private_apt update --error-on=any
    touch "$work/apt/updated"
}

# fetch PART PACKAGE: unpacks the patched sources to $work/src/PART, and writes PART.version next to it.
fetch() {
    local source=$work/src/$1 fetched=$work/fetch/$1 description
    [[ ! -e $source.version ]] || return 0
    say "$1: fetching $2"
    update_lists
    rm -rf "$source" "$fetched"
    mkdir -p "$work/src" "$fetched"
    if ((EUID == 0)); then
        chown _apt "$fetched" # apt downloads as this user
    fi
    (cd "$fetched" && private_apt source --download-only --only-source "$2")
    description=("$fetched"/*.dsc)
    dpkg-source -x "${description[0]}" "$source"
    sed -n 's/^Version: //p' "${description[0]}" | head -n 1 >"$source.version.new"
    [[ -s $source.version.new ]] || fail "no version in ${description[0]}"
    mv "$source.version.new" "$source.version"
    rm -rf "$fetched"
}

# ---- The parts: each installs its files to $stage ------------------------------------------------

part_zlib() {
    local from=/usr/$target
    mkdir -p "$stage/bin" "$stage/lib" "$stage/include"
    cp "$from/lib/zlib1.dll" "$stage/bin/"
    cp "$from/lib/libz.dll.a" "$stage/lib/"
    cp "$from/include/zlib.h" "$from/include/zconf.h" "$stage/include/"
    version="libz-mingw-w64 $(dpkg-query -W -f='${Version}' libz-mingw-w64)"
}

part_boost() {
    fetch boost boost1.74
    local source=$work/src/boost build=$work/build/boost folder standard assertions
    say "boost: compiling Boost.Program_options"
    rm -rf "$build"
    mkdir -p "$build/include" "$stage/lib" "$stage/include"
    for folder in "$source"/libs/*/include "$source"/libs/numeric/*/include; do
        cp -rl "$folder/." "$build/include/"
    done
    cd "$source/libs/program_options/src"
    printf '%s\0' *.cpp | xargs -0 -P "$jobs" -I FILE "$target-g++" \
        -std=c++17 -O2 -DNDEBUG -DBOOST_ALL_NO_LIB -I "$build/include" -c FILE -o "$build/FILE.o"
    "$target-ar" rcsD "$stage/lib/libboost_program_options.a" "$build"/*.o

    # Install only the headers that these include, directly or indirectly. That depends on the language
    # version and on whether assertions are enabled.
    cd "$build/include"
    find boost/program_options* -name '*.hpp' -printf '#include <%p>\n' | sort >../all.cpp
    for standard in c++17 gnu++17 c++20; do
        for assertions in -DNDEBUG -UNDEBUG; do
            "$target-g++" -std="$standard" "$assertions" -I. -M ../all.cpp
        done
    done >../reached
    tr -s ' ' '\n' <../reached | sed -n 's,^\./,,; /^boost\//p' | sort -u >../headers
    xargs -a ../headers cp --parents -t "$stage/include"
    version="boost1.74 $(<"$work/src/boost.version")"
}

# PART OPTION...
cmake_part() {
    local name=$1
    shift
    say "$name: configuring"
    rm -rf "$work/build/$name"
    cmake -G Ninja -S "$work/src/$name" -B "$work/build/$name" \
        -DCMAKE_TOOLCHAIN_FILE="$work/toolchain.cmake" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib "$@"
    say "$name: compiling"
    cmake --build "$work/build/$name" -j "$jobs"
    DESTDIR=$work/installed/$name cmake --install "$work/build/$name" --strip
    mv "$work/installed/$name$prefix"/* "$stage/"
}

part_tbb() {
    fetch tbb onetbb
    cmake_part tbb -DTBB_TEST=OFF -DTBB_STRICT=OFF -DTBBMALLOC_BUILD=OFF
    version="onetbb $(<"$work/src/tbb.version")"
}

part_curl() {
    fetch curl curl
    cmake_part curl -DBUILD_CURL_EXE=OFF -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=OFF \
        -DCURL_USE_SCHANNEL=ON -DCURL_USE_OPENSSL=OFF -DCURL_USE_LIBPSL=OFF -DCURL_USE_LIBSSH2=OFF \
        -DUSE_LIBIDN2=OFF -DUSE_WIN32_IDN=ON -DHTTP_ONLY=ON -DCURL_ZLIB=ON
    rm -f "$stage/bin/curl-config"
    version="curl $(<"$work/src/curl.version")"
}

part_qtbase() {
    fetch qtbase qtbase-opensource-src
    local build=$work/build/qtbase
    if [[ ! -e $build/.configured ]]; then
        say "qtbase: configuring"
        rm -rf "$build"
        mkdir -p "$build"
        cd "$build"
        MAKEFLAGS=-j$jobs "$work/src/qtbase/configure" -prefix "$prefix" \
            -opensource -confirm-license -release -shared \
            -xplatform win32-g++ -device-option CROSS_COMPILE=$target- \
            -nomake examples -nomake tests \
            -no-opengl -no-dbus -no-icu -no-openssl -schannel -no-pch \
            -qt-zlib -qt-libpng -qt-libjpeg -qt-pcre -qt-freetype -qt-harfbuzz \
            -no-feature-sql -no-feature-tabletevent -no-feature-printer -no-feature-concurrent \
            -no-feature-vulkan -no-direct2d -no-directwrite
        touch .configured
    fi
    say "qtbase: compiling; this takes the longest"
    cd "$build"
    # An empty object file of a killed compiler is newer than its source, so make would keep it.
    find . -name '*.o' -empty -delete
    make -j "$jobs"
    make install INSTALL_ROOT="$work/installed/qtbase"
    mv "$work/installed/qtbase$prefix"/* "$stage/"

    # Remove files that were needed only to build the tools.
    rm -f "$stage"/lib/libQt5Bootstrap.* "$stage/mkspecs/modules/qt_lib_bootstrap_private.pri"
    rm -f "$stage"/bin/{qlalr,qvkgen,tracegen,fixqt4headers.pl}
    strip "$stage"/bin/{moc,uic,rcc,qmake}
    sed -i "s,$build/lib,\$\$[QT_INSTALL_LIBS],g" "$stage"/mkspecs/modules/qt_ext_*.pri

    # Keep only the mkspecs of the two platforms.
    find "$stage/mkspecs" -mindepth 1 -maxdepth 1 -type d \
        ! -name common ! -name features ! -name modules ! -name linux-g++ ! -name win32-g++ \
        -exec rm -rf {} +

    # The tools read this file from their own directory; the paths are relative to it.
    printf '[Paths]\nPrefix=..\nHostSpec=linux-g++\nTargetSpec=win32-g++\n' >"$stage/bin/qt.conf"
    version="qtbase-opensource-src $(<"$work/src/qtbase.version")"
}

part_qtsvg() {
    fetch qtsvg qtsvg-opensource-src
    local build=$work/build/qtsvg
    say "qtsvg: compiling"
    rm -rf "$build"
    mkdir -p "$build"
    cd "$build"
    # Qt Core contains a zlib with renamed symbols: its header must be found before the other one.
    "$output/bin/qmake" "$work/src/qtsvg/qtsvg.pro" "INCLUDEPATH += $output/include/QtZlib"
    make -j "$jobs"
    make install INSTALL_ROOT="$work/installed/qtsvg"
    mv "$work/installed/qtsvg$output"/* "$stage/"
    version="qtsvg-opensource-src $(<"$work/src/qtsvg.version")"
}

# ---- Building ----------------------------------------------------------------------------------

# Removes references to the installation prefix and the build directories.
make_relocatable() {
    find "$stage" -name '*.la' -delete
    find "$stage" -name '*.prl' -exec sed -i '/^QMAKE_PRL_BUILD_DIR/d' {} +
    # shellcheck disable=SC2016 # pkg-config fills these in
    find "$stage" -name '*.pc' -exec sed -i \
        -e 's,^prefix=.*,prefix=${pcfiledir}/../..,' -e "s,$prefix,\${prefix},g" \
        -e 's,[^ ]*/libz\.dll\.a,-lz,g' {} +
    rm -rf "$stage/share" "$stage/doc"
}

# Runs in a subshell that ends at the first error, with its output in the log.
build_part() {
    stage=$work/stage/$1
    rm -rf "$stage" "$work/installed/$1"
    mkdir -p "$stage"
    "part_$1"
    make_relocatable
    cp -a "$stage/." "$output/"
    echo "$version" >"$stamps/$1.new"
    mv "$stamps/$1.new" "$stamps/$1"
    rm -rf "$stage" "$work/installed/$1"
}

say() {
    printf '%s\n' "$*" >&3
}

build() {
    local log=$work/logs/$1.log status started=$SECONDS
    if [[ -e $stamps/$1 ]]; then
        say "$1: already built"
        return
    fi
    # Not "if ! (...)", because "set -e" has no effect there.
    set +e
    (
        set -e
        build_part "$1"
    ) >"$log" 2>&1
    status=$?
    set -e
    if ((status != 0)); then
        tail -n 15 "$log" >&2
        fail "$1 failed (status $status); see the log: $log"
    fi
    say "$1: done in $(((SECONDS - started) / 60)) min $(((SECONDS - started) % 60)) s"
}

# ---- Checking ----------------------------------------------------------------------------------

# The files that each part must contain. Each DLL is listed with its import library, which must refer
# to it.
expect() {
    case $1 in
        zlib)
            expect_dll bin/zlib1.dll lib/libz.dll.a
            expect_file include/zlib.h include/zconf.h
            ;;
        boost)
            expect_static lib/libboost_program_options.a
            expect_file include/boost/program_options.hpp include/boost/version.hpp
            ;;
        tbb)
            expect_dll bin/libtbb12.dll lib/libtbb12.dll.a
            expect_file include/oneapi/tbb.h include/tbb/tbb.h lib/cmake/TBB/TBBConfig.cmake
            ;;
        curl)
            expect_dll bin/libcurl.dll lib/libcurl.dll.a
            expect_file include/curl/curl.h lib/cmake/CURL/CURLConfig.cmake
            ;;
        qtbase)
            expect_qt_modules Core Gui Network Test Widgets Xml
            expect_static lib/libqtmain.a
            expect_plugins platforms/{qwindows,qoffscreen,qminimal} imageformats/{qgif,qico,qjpeg} \
                styles/qwindowsvistastyle generic/qtuiotouchplugin bearer/qgenericbearer
            expect_file bin/qt.conf mkspecs/qconfig.pri mkspecs/{linux,win32}-g++/qmake.conf \
                lib/cmake/Qt5/Qt5Config.cmake
            expect_tools
            ;;
        qtsvg)
            expect_qt_modules Svg
            expect_plugins imageformats/qsvg iconengines/qsvgicon
            ;;
    esac
}

# Prints one line per finding; the checks continue and count the findings at the end.
findings=0
found() {
    echo "build_sdk.sh: $*" >&2
    findings=$((findings + 1))
}

expect_file() {
    local file
    for file in "$@"; do
        [[ -s $output/$file ]] || found "missing: $file"
    done
}

expect_dll() { # DLL IMPORT_LIBRARY
    local leads_to
    expect_file "$@"
    [[ -s $output/$2 ]] || return 0
    leads_to=$("$target-dlltool" --identify "$output/$2" 2>&1) || true
    [[ $leads_to == "${1##*/}" ]] || found "$2 refers to \"$leads_to\", not to ${1##*/}"
}

expect_static() {
    local leads_to
    expect_file "$1"
    if [[ -s $output/$1 ]] && leads_to=$("$target-dlltool" --identify "$output/$1" 2>/dev/null); then
        found "$1 is not a static library: it refers to $leads_to"
    fi
}

expect_qt_modules() {
    local module
    for module in "$@"; do
        expect_dll "bin/Qt5$module.dll" "lib/libQt5$module.a"
        expect_file "include/Qt$module/Qt$module" "lib/cmake/Qt5$module/Qt5${module}Config.cmake"
    done
}

expect_plugins() {
    local plugin
    for plugin in "$@"; do
        expect_file "plugins/$plugin.dll"
    done
}

# The tools must run on this machine, and qmake must use the directory's current location.
expect_tools() {
    local tool said place
    for tool in moc uic rcc qmake; do
        said=$("$output/bin/$tool" -v 2>&1) || true
        [[ $said == *" 5.15."* ]] || found "bin/$tool doesn't run: \"$said\""
    done
    for place in QT_INSTALL_PREFIX QT_HOST_PREFIX; do
        said=$("$output/bin/qmake" -query $place 2>&1) || true
        [[ $said == "$output" ]] || found "bin/qmake reports $place as \"$said\""
    done
}

# The imported DLLs that are part of Windows.
readonly of_windows=(
    advapi32 bcrypt crypt32 d3d11 dnsapi dwmapi dxgi gdi32 imm32 iphlpapi kernel32 mpr msvcrt netapi32
    normaliz ole32 oleaut32 secur32 shell32 user32 userenv uxtheme version winmm ws2_32 wtsapi32
)
readonly of_compiler=(libstdc++-6 libgcc_s_seh-1 libwinpthread-1)

check_binaries() {
    local -A known=()
    local name file format dll
    for name in "${of_windows[@]}" "${of_compiler[@]}"; do
        known[$name.dll]=1
    done
    # Windows ignores the case of DLL names.
    for file in "$output"/bin/*.dll; do
        name=${file##*/}
        known[${name,,}]=1
    done

    while IFS= read -r -d '' file; do
        name=${file#"$output/"}
        if [[ $name == *.dll ]]; then format=pei-x86-64; else format=pe-x86-64; fi
        "$target-objdump" -f "$file" >"$work/formats" 2>&1 || true
        if ! grep -q "file format $format\$" "$work/formats" ||
            grep "file format" "$work/formats" | grep -Eqv "file format ($format|pe-bigobj-x86-64)\$"; then
            found "not built for Windows x86-64: $name"
            continue
        fi
        [[ $name == *.dll ]] || continue
        "$target-objdump" -p "$file" | sed -n 's/^[[:space:]]*DLL Name: //p' >"$work/imports"
        [[ -s $work/imports ]] || found "imports no DLL: $name"
        while IFS= read -r dll; do
            [[ -v known[${dll,,}] ]] || found "$name imports $dll, which is neither in bin" \
                "nor part of the compiler or of Windows"
        done <"$work/imports"
    done < <(find "$output" \( -name '*.dll' -o -name '*.a' \) -print0)
}

# Files that other programs read must not contain paths of this machine.
check_relocatable() {
    local place pattern file
    for place in "$prefix" "$work" "$output"; do
        # Escape special characters, and don't match /opt/sdk in /opt/sdk2.
        pattern=$(printf '%s' "$place" | sed 's/[][\.*^$+?(){}|]/\\&/g')'([^[:alnum:]_.-]|$)'
        while IFS= read -r file; do
            found "${file#"$output/"} contains the path $place"
        done < <(grep -rIlE --include='*.'{prl,pri,prf,conf,cmake,pc,h} -e "$pattern" -- "$output")
    done
}

check() {
    local part finished=()
    for part in "${all_parts[@]}"; do
        if [[ -e $stamps/$part ]]; then
            finished+=("$part")
            expect "$part"
        fi
    done
    check_binaries
    check_relocatable
    ((findings == 0)) || fail "the output directory has errors (see above): $findings"
    echo "Checked: ${finished[*]}"
}

# ---- The output directory's README -------------------------------------------------------------

write_readme() {
    local part
    cat <<'END'
# Windows x86-64 libraries for cross-building on Debian 12

Built by `packaging/windows/build_sdk.sh` from Debian's source packages, with Debian's patches, with the
compiler of `g++-mingw-w64-x86-64-posix` (posix threads, msvcrt). The directory can be moved.

Built from:

| part | source |
|---|---|
END
    for part in "${all_parts[@]}"; do
        if [[ -e $stamps/$part ]]; then
            echo "| $part | $(<"$stamps/$part") |"
        fi
    done
    cat <<'END'

| directory | contents |
|---|---|
| `bin/` | DLLs that a program needs in its directory, and tools that run on Debian: `moc`, `uic`, `rcc`, `qmake` |
| `lib/` | import libraries (`*.dll.a`, `libQt5*.a`), static libraries, and their packages for CMake and pkg-config in `cmake/` and `pkgconfig/` |
| `include/` | headers; from Boost only those that Boost.Program_options includes |
| `plugins/` | Qt's plugins, to be copied with their directories next to a program |
| `mkspecs/` | configuration for `qmake` |

## Use with CMake

Use a toolchain file with these lines:

```cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /path/to/this/directory /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
```

A program also needs `libstdc++-6.dll`, `libgcc_s_seh-1.dll` and `libwinpthread-1.dll`, which are part of
the compiler's packages. Before `find_package(Boost)`, add `set(Boost_USE_STATIC_LIBS ON)`.

libcurl and Qt Network use TLS and certificates of Windows (Schannel), not OpenSSL. Qt is built without OpenGL, D-Bus, ICU, SQL, printing, tablets, Vulkan and Qt Concurrent;
zlib, libpng, libjpeg, PCRE, FreeType and HarfBuzz are built from Qt's sources into its libraries.
END
}

# ---- The run -----------------------------------------------------------------------------------

install_tools
exec 3>&1

# The work directory is removed at the end, so it must not contain other files.
work=$(realpath -m -- "${VINST_SDK_WORK:-${TMPDIR:-/tmp}/vinst-sdk.XXXXXX}")
[[ $output$work != *[[:space:]]* ]] || fail "Qt can't be built in a directory whose path contains spaces"
[[ $output/ != "$work"/* && $work/ != "$output"/* ]] ||
    fail "OUTPUT_DIR and the work directory must not contain each other"
if [[ -z ${VINST_SDK_WORK:-} ]]; then
    work=$(mktemp -d "$work")
    chmod 755 "$work" # apt's user needs access
elif [[ -e $work && ! -e $work/.vinst-sdk ]]; then
    [[ -d $work && -z $(ls -A -- "$work") ]] || fail "VINST_SDK_WORK is not a work directory of this script: $work"
fi
mkdir -p "$stamps" "$work/logs"
touch "$work/.vinst-sdk"

keep_work() {
    if (($? != 0)) && [[ -d $work ]]; then
        echo "build_sdk.sh: kept what was built so far; to resume, set VINST_SDK_WORK=$work" >&2
    fi
}
trap keep_work EXIT

rm -f "$work/apt/updated"
echo "Building in $work: ${parts[*]}"

make_compilers
for part in "${parts[@]}"; do
    build "$part"
done
write_readme >"$output/README.md"
check
rm -rf "$work"
