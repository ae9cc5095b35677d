#!/bin/sh
# The product's program: at a fixed place, on the driver's device node, and without a trace of the stand-in.
#
#   orxtest_binary.sh <ELF type, a pattern> <nm> <readelf> <objcopy> <program>
#
# Prints what is wrong, and ends with status 1 if anything is.
set -eu

type=$1
nm=$2
readelf=$3
objcopy=$4
program=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$readelf" -h "$program" >"$work/header"
"$readelf" -d "$program" >"$work/dynamic"
"$nm" "$program" >"$work/symbols"
# Debug information has the paths of the sources, which may be anything.
"$objcopy" --strip-debug "$program" "$work/program"

status=0
complain() {
    echo "$*"
    status=1
}

if ! grep -Eq "Type: +$type " "$work/header"; then
    complain "not of type $type: $(grep 'Type:' "$work/header")"
fi
if grep orxemu "$work/dynamic"; then
    complain "linked to the stand-in"
fi
if grep orxemu "$work/symbols"; then
    complain "symbols of the stand-in"
fi
if grep -aq orxemu "$work/program"; then
    complain "a string of the stand-in: $(grep -ac orxemu "$work/program") lines"
fi
if ! grep -aqF /dev/pktorx "$work/program"; then
    complain "nothing that opens /dev/pktorx"
fi
exit "$status"
