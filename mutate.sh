#!/usr/bin/env bash
# Mutation testing of the library: ./mutate.sh [-n MUTANTS] [-s SEED] [-f PART OF A PATH] [-j TREES] [-l] [--help]
#
# Installs what is missing first. Takes its time: see docs/mutation.md. Fails when a mutant survives that
# tests/mutation/explained.txt does not explain.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

install_for native ninja-build python3 libgtest-dev
rm -rf "$scratch" # nothing is left to do it when the next program takes this script's place
exec python3 "$here/tests/mutation/mutate.py" "$@"
