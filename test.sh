#!/usr/bin/env bash
# Runs all tests: ./test.sh [PRESET...], by default native and sanitize.
#
# Installs and builds what is missing first.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

if [ $# -eq 0 ]; then
    set -- native sanitize
fi

install_missing g++ cmake make binutils libgtest-dev libcli11-dev nlohmann-json3-dev pkgconf doxygen
# A preset that fails is the last one that runs: its summary is what the output ends with.
for preset in "$@"; do
    build "$preset" -DQIR_BUILD_TESTS=ON
    ctest --preset "$preset" --parallel "$(nproc)" || exit 1
done
