#!/bin/sh
# The layout of every record, as this build's compiler wrote it into the debug information, against the table
# that holds for all targets.
#
#   compare.sh <readelf> <big-endian: 0 or 1> <table> <object>
#
# Prints the differences ("-" the table, "+" the build), and ends with status 1 if there are any.
set -eu

readelf=$1
big=$2
table=$3
object=$4
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$readelf" --debug-dump=info "$object" >"$work/info"
awk -v BIG="$big" -f "$here/read_layout.awk" "$work/info" >"$work/layout"
grep -v '^#' "$table" >"$work/table"
if [ ! -s "$work/layout" ]; then
    echo "no record found in the debug information of $object"
    exit 1
fi
diff -u "$work/table" "$work/layout" || exit 1
