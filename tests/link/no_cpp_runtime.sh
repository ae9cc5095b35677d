#!/bin/sh
# A program that loads no C++ runtime.
#
#   no_cpp_runtime.sh <readelf> <program>
#
# Prints the entries of the dynamic section that ask for one, and ends with status 1 if there are any.
set -eu

readelf=$1
program=$2
dynamic=$("$readelf" -d "$program")

if printf '%s\n' "$dynamic" | grep -E 'NEEDED.*lib(stdc\+\+|c\+\+|supc\+\+|unwind)'; then
    exit 1
fi
