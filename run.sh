#!/usr/bin/env bash
# Runs orxtest on the stand-in for the kernel driver: ./run.sh [--target powerpc|mips] -t 3
#
# Installs and builds what is missing first. The target is another processor's, whose programs run through an emulator.
# All other arguments and the exit status are orxtest's own, and so is standard output.
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

install_for "$preset"
build "$preset" -- orxtest orxemu
cd - >/dev/null || exit 1

# The loader splits LD_PRELOAD at blanks and colons, which this tree's path may have.
ln -s "$here/build/$preset/emu/liborxemu.so" "$scratch/liborxemu.so"
orxtest=$here/build/$preset/app/orxtest
if [ "$preset" = native ]; then
    LD_PRELOAD="$scratch/liborxemu.so${LD_PRELOAD:+:$LD_PRELOAD}" "$orxtest" "$@"
else
    read -r -a emulator <"$here/build/$preset/emulator"
    QEMU_SET_ENV="LD_PRELOAD=$scratch/liborxemu.so" "${emulator[@]}" "$orxtest" "$@"
fi
