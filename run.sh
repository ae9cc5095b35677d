#!/usr/bin/env bash
# Runs orxtest on the stand-in for the kernel driver: ./run.sh -t 3
#
# Installs and builds what is missing first. Arguments and exit status are orxtest's own, and so is standard
# output.
set -u

here=$(cd "$(dirname "$0")" && pwd)
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh"

install_missing g++ cmake make
build native -- orxtest orxemu

LD_PRELOAD="$here/build/native/emu/liborxemu.so${LD_PRELOAD:+:$LD_PRELOAD}" "$here/build/native/app/orxtest" "$@"
