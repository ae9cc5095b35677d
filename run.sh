#!/usr/bin/env bash
# Runs orxtest on the stand-in for the kernel driver: ./run.sh -t 3
#
# Installs and builds what is missing first. Arguments and exit status are orxtest's own, and so is standard
# output.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

install_missing g++ cmake make
build native -- orxtest orxemu

# The loader splits LD_PRELOAD at blanks and colons, which this tree's path may have.
ln -s "$here/build/native/emu/liborxemu.so" "$scratch/liborxemu.so"
LD_PRELOAD="$scratch/liborxemu.so${LD_PRELOAD:+:$LD_PRELOAD}" "$here/build/native/app/orxtest" "$@"
