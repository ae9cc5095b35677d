#!/usr/bin/env bash
# Runs orxtest on the stand-in for the kernel driver: ./run.sh [--target powerpc|mips] -t 3
#
# Installs and builds what is missing first. The targets are other processors, whose programs run through an
# emulator. All other arguments and the exit status are orxtest's own, and so is standard output.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

preset=native
if [ "${1-}" = --target ]; then
    case ${2-} in
    native | powerpc | mips) preset=$2 ;;
    *)
        say "usage: $0 [--target native|powerpc|mips] [orxtest's arguments]"
        exit 2
        ;;
    esac
    shift 2
fi

install_for "$preset" libcli11-dev nlohmann-json3-dev
build "$preset" -- orxtest orxemu_tool

# An emulated orxemu starts emulated programs.
read -r -a emulator <"$here/build/$preset/emulator"
options=()
if [ "${#emulator[@]}" -gt 0 ]; then
    options=(--emulator "${emulator[*]}")
fi
rm -rf "$scratch" # here, because orxemu takes this script's place
exec "${emulator[@]}" "$here/build/$preset/emu/orxemu" run "${options[@]}" -- \
    "$here/build/$preset/app/orxtest" "$@"
