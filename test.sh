#!/usr/bin/env bash
# Runs all tests: ./test.sh [PRESET...], by default native and sanitize.
#
# Installs and builds what is missing first.
set -u

here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh"

if [ $# -eq 0 ]; then
    set -- native sanitize
fi

install_missing g++ cmake make binutils libgtest-dev
status=0
for preset in "$@"; do
    build "$preset" -DQIR_BUILD_TESTS=ON
    ctest --preset "$preset" --parallel "$(nproc)" || status=1
done
exit "$status"
