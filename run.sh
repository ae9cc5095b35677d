#!/usr/bin/env bash
# Runs orxtest on the stand-in for the kernel driver: ./run.sh -t 3
#
# Installs and builds what is missing first. Arguments and exit status are orxtest's own, and so is standard
# output.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

preset=native
emulator=() # what runs the preset's programs on this machine, and its arguments

install_missing g++ cmake make libcli11-dev nlohmann-json3-dev
build "$preset" -- orxtest orxemu orxemu_tool

options=()
if [ "${#emulator[@]}" -gt 0 ]; then
    options=(--emulator "${emulator[*]}")
fi
rm -rf "$scratch" # nothing is left to do it when orxemu takes this script's place
exec "${emulator[@]}" "$here/build/$preset/emu/orxemu" run "${options[@]}" -- \
    "$here/build/$preset/app/orxtest" "$@"
