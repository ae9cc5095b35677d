#!/bin/sh
# Every record whose size a header pins has its place in the table.
#
#   pinned_records.sh <folder of the headers> <table>
#
# Prints the differences ("-" pinned, "+" in the table), and ends with status 1 if there are any.
set -eu

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

grep -rhoE '^QIR_PIN_SIZE\(\w+' "$1" | sed 's/.*(//' | LC_ALL=C sort -u >"$work/pinned"
grep -oE '^\w+' "$2" | LC_ALL=C sort -u >"$work/table"
if [ ! -s "$work/pinned" ]; then
    echo "no pinned record found in $1"
    exit 1
fi
diff -u "$work/pinned" "$work/table"
