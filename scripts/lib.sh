# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT
# shellcheck shell=bash

# Functions that the scripts in this folder share. This file is sourced, never run, and must work in the bash 3.2 of
# macOS.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

if [ -t 1 ]; then
    bold=$'\033[1m' plain=$'\033[0m'
else
    bold='' plain=''
fi

say()
{
    printf '%s==> %s%s\n' "$bold" "$*" "$plain"
}

die()
{
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# Prints the comment at the top of the calling script as its help.
usage()
{
    sed -n '/^# Usage:/,/^$/s/^# \{0,1\}//p' "$0"
}

# usage_error MESSAGE: prints MESSAGE and the help, then exits with code 2.
usage_error()
{
    printf '%s: %s\n\n' "$(basename "$0")" "$1" >&2
    usage >&2
    exit 2
}

has()
{
    command -v "$1" >/dev/null 2>&1
}

on_macos()
{
    [ "$(uname -s)" = Darwin ]
}

jobs_count()
{
    getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2
}

as_root()
{
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif has sudo; then
        sudo "$@"
    else
        die "sudo is not installed: run this command as root: $*"
    fi
}

# packages_of SUBJECT SYSTEM: prints the names of the packages that a subject needs. SYSTEM is debian (also for Ubuntu)
# or brew. The names contain no version of clang, because Debian 12 and 13 have different versions.
# Every Debian system has C.UTF-8 and a linker, but not the time zones (tzdata).
packages_of()
{
    case "$1:$2" in
        build:debian)
            echo g++ cmake ninja-build ccache pkg-config qt6-base-dev libcli11-dev ;;
        build:brew)
            echo cmake ninja ccache pkgconf qt cli11 ;;
        test:debian)
            echo binutils blackbox clang fish gobjc++ libgnustep-gui-dev libicu-dev libxml2-utils patch python3 \
                qt6-l10n-tools qt6-translations-l10n shared-mime-info tzdata xvfb zsh ;;
        test:brew)
            echo fish icu4c libxml2 shared-mime-info ;;
        demo:debian)
            echo qt6-translations-l10n shared-mime-info ;;
        demo:brew)
            echo shared-mime-info ;;
        pictures:debian)
            echo fonts-dejavu-core fonts-vlgothic ;;
        bench:debian)
            echo dbus libbenchmark-dev libicu-dev libkf5config-dev libmuparser-dev python3-matplotlib \
                qt6-remoteobjects-dev ;;
        bench:brew)
            echo dbus google-benchmark icu4c muparser ;;
        sweep:debian)
            echo libpugixml-dev ;;
        valgrind:debian)
            echo valgrind ;;
        docs:debian)
            echo doxygen graphviz python3 qt6-documentation-tools ;;
        docs:brew)
            echo doxygen graphviz qt ;;
        clang:debian)
            echo clang ;;
        lint:debian)
            echo clang clang-format clang-tidy clazy cmake-format codespell git python3 reuse shellcheck ;;
        lint:brew)
            echo clang-format codespell reuse shellcheck ;;
        abi:debian)
            echo abigail-tools binutils ;;
        fuzz:debian)
            echo clang libclang-rt-dev ;;
        fuzz:brew)
            echo llvm ;;
        torture:debian)
            echo python3 strace ;;
        bare:debian)
            echo debian-archive-keyring debootstrap git ;;
    esac
}

missing_debian()
{
    local package
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || echo "$package"
    done
}

missing_brew()
{
    local package
    for package in "$@"; do
        brew list --versions "$package" >/dev/null 2>&1 || echo "$package"
    done
}

# need SUBJECT...: installs the missing packages that the subjects need; packages_of lists the subjects.
# Set QVUTIL_INSTALL_PACKAGES=no to install packages yourself.
need()
{
    local system subject packages='' missing
    if [ "${QVUTIL_INSTALL_PACKAGES:-yes}" = no ]; then
        return
    fi
    if has apt-get; then
        system=debian
    elif has brew; then
        system=brew
    else
        say "Neither apt-get nor Homebrew is installed: install the packages yourself (see docs/getting-started.md)"
        return
    fi
    for subject in "$@"; do
        packages="$packages $(packages_of "$subject" "$system")"
    done
    # shellcheck disable=SC2086 # a list of words
    missing=$("missing_$system" $packages | sort -u)
    if [ -z "$missing" ]; then
        return
    fi
    # shellcheck disable=SC2086 # a list of words
    set -- $missing
    say "Installing missing packages: $*"
    if [ "$system" = debian ]; then
        as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"
    else
        brew install "$@"
    fi
}

# Reuses compiled objects, including those of other clones of the same sources.
use_ccache()
{
    if has ccache; then
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache
        export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$root}"
    fi
}

# A script that builds no tests sets this to OFF, so that the packages for tests are not needed.
with_tests=ON

# configure PRESET: creates the build tree of a preset if it does not exist. If a script without tests has created it,
# adds the tests. The build regenerates itself when the CMake files change.
configure()
{
    use_ccache
    if [ -f "build/$1/build.ninja" ] \
        && ! { [ "$with_tests" = ON ] && grep -qx 'QVUTIL_BUILD_TESTS:BOOL=OFF' "build/$1/CMakeCache.txt"; }; then
        return
    fi
    say "Configuring (preset $1)"
    # A newer compiler may have new warnings. They are errors in CI only, so that users can build.
    cmake --preset "$1" -DQVUTIL_BUILD_TESTS="$with_tests" -DCMAKE_COMPILE_WARNING_AS_ERROR="${CI:-OFF}"
}

# build PRESET [TARGET...]: builds these targets of a preset, or all of them.
build()
{
    local preset=$1 target
    local targets=()
    shift
    for target in "$@"; do
        targets+=(--target "$target")
    done
    configure "$preset"
    say "Building (preset $preset)"
    cmake --build "build/$preset" ${targets[@]+"${targets[@]}"}
}
