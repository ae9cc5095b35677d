#!/bin/sh
# The archives define every operation that the headers declare, once and with C linkage, and show no other
# name to C programs.
#
#   public_operations.sh <nm> <list of names> <archive>...
#
# Prints the names that are missing, those that are too many, and ends with status 1 if there are any.
set -eu

nm=$1
list=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$nm" -A -g "$@" >"$work/symbols"

# Names that begin with an underscore are mangled C++ or belong to the compiler and its tools.
awk '
    NR == FNR { declared[$1] = 1; ++count; next }
    NF < 2 || $(NF - 1) ~ /^[Uwv]$/ { next }
    $NF in declared {
        if ($(NF - 1) != "T") { print "no function: " $0; found = 1 }
        if (++defined[$NF] > 1) { print "defined again: " $0; found = 1 }
        next
    }
    $NF ~ /^_Z[0-9]+(QIR_|Is_Orx_|qel)/ { print "without C linkage: " $0; found = 1 }
    $NF !~ /^_/ && $NF !~ /^qirCtxt_gp?$/ { print "not declared: " $0; found = 1 }
    END {
        for (name in declared) {
            if (!(name in defined)) { print "not defined: " name; found = 1 }
        }
        if (!count) { print "no declarations"; found = 1 }
        exit found
    }' "$list" "$work/symbols"
