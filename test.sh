#!/usr/bin/env bash
# Runs all tests: ./test.sh [STEP...], by default static, native, sanitize, powerpc, mips, fuzz and coverage.
#
# Installs and builds what is missing first. static checks the sources without running them; the next four are
# presets, of which powerpc and mips run through an emulator; fuzz runs the fuzzers for a fixed number of inputs;
# coverage prints what the tests run of the library and of orxtest.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

if [ $# -eq 0 ]; then
    set -- static native sanitize powerpc mips fuzz coverage
fi

# A preset that fails is the last one that runs: its summary is what the output ends with.
for preset in "$@"; do
    if [ "$preset" = static ]; then
        "$here/scripts/static_checks.sh" || exit 1
        continue
    fi
    if [ "$preset" = coverage ]; then
        "$here/scripts/coverage.sh" || exit 1
        continue
    fi
    install_for "$preset" binutils libgtest-dev googletest libcli11-dev nlohmann-json3-dev pkgconf doxygen
    case $preset in
    fuzz) build "$preset" ;;
    *) build "$preset" -DQIR_BUILD_TESTS=ON ;;
    esac
    ctest --preset "$preset" --parallel "$(nproc)" || exit 1
done
