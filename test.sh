#!/usr/bin/env bash
# Runs the tests: ./test.sh [all | STEP...]
#
#   native         builds for this machine and runs every test; what runs when no step is named
#   static         looks at the sources: clang-format, shellcheck, cppcheck, clang-tidy
#   sanitize       the tests with AddressSanitizer and UndefinedBehaviorSanitizer
#   powerpc, mips  the tests on other processors, through an emulator
#   fuzz           the fuzzers, for a fixed number of inputs
#   coverage       what the tests run of the library and of orxtest
#   clang          as native, built with clang; not a part of all
#
# Installs and builds what is missing first. The first step that fails is the last one that runs: its summary is
# what the output ends with.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

case $* in
'') set -- native ;;
all) set -- static native sanitize powerpc mips fuzz coverage ;;
esac
for step in "$@"; do
    case $step in
    native | static | sanitize | fuzz | coverage | clang) ;;
    *)
        [ ! -f "$here/cmake/toolchains/$step.cmake" ] || continue # another processor
        say "unknown step: $step"
        sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2
        exit 2
        ;;
    esac
done

for step in "$@"; do
    start=$SECONDS
    case $step in
    static) "$here/scripts/static_checks.sh" || exit 1 ;;
    coverage) "$here/scripts/coverage.sh" || exit 1 ;;
    fuzz)
        install_for fuzz libcli11-dev nlohmann-json3-dev
        build fuzz
        ctest --preset fuzz --parallel "$(nproc)" || exit 1
        ;;
    *)
        install_for "$step" "${test_packages[@]}"
        build "$step" -DQIR_BUILD_TESTS=ON
        ctest --preset "$step" --parallel "$(nproc)" || exit 1
        ;;
    esac
    say "$step passed in $((SECONDS - start)) s"
done
