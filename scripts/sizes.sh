#!/bin/sh
# Sizes of a program and of the library in it: sizes.sh <size> <program> <archive>...
#
# The library's sections are those of all objects of its archives: code, constants, and data that is set or
# zero at start-up.
set -eu

size=$1
program=$2
shift 2

printf '%s: %s bytes\n' "$(basename "$program")" "$(wc -c <"$program")"
for archive in "$@"; do
    "$size" -A "$archive" | awk -v name="$(basename "$archive")" '
        $1 ~ /^\.text/   { text += $2 }
        $1 ~ /^\.s?rodata/ || $1 ~ /^\.data\.rel\.ro/ { rodata += $2; next }
        $1 ~ /^\.s?data/ { data += $2 }
        $1 ~ /^\.s?bss/  { bss += $2 }
        END { printf "%s: .text %d, .rodata %d, .data %d, .bss %d bytes\n", name, text, rodata, data, bss }'
done
