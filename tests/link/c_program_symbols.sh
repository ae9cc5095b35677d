#!/bin/sh
# A program that takes the address of every operation has every one of them inside.
#
#   c_program_symbols.sh <nm> <list of names> <program>
#
# Prints the names that are missing, and ends with status 1 if there are any.
set -eu

nm=$1
list=$2
program=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$nm" "$program" >"$work/symbols"

awk '
    NR == FNR { declared[$1] = 1; ++count; next }
    NF > 1 && $(NF - 1) == "T" { defined[$NF] = 1 }
    END {
        for (name in declared) {
            if (!(name in defined)) { print "not in the program: " name; found = 1 }
        }
        if (!count) { print "no declarations"; found = 1 }
        exit found
    }' "$list" "$work/symbols"
