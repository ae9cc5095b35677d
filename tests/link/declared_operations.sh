#!/bin/sh
# Lists the functions that a header declares.
#
#   declared_operations.sh <list> <inc> <C compiler> <option>... <header>
#
# Writes one name a line into the list, and one line OPERATION(<name>) into the other file. The compiler takes
# comments and conditions out and includes what the header includes; the parts that its line markers call a
# system header (3) are left out. The rest is split at semicolons and braces; a declaration's first name in
# front of a parenthesis is the function's.
set -eu

list=$1
inc=$2
shift 2

"$@" -E >"$list.preprocessed"
awk '
    /^# [0-9]+ "/ { system_header = / 3( 4)?$/; next }
    !system_header' "$list.preprocessed" | tr '\n' ' ' | tr ';{}' '[\n*]' | awk '
    /^ *(typedef|static|_Static_assert)[ (]/ { next }
    match($0, /[A-Za-z_][A-Za-z0-9_]* *\(/) {
        name = substr($0, RSTART, RLENGTH)
        sub(/ *\($/, "", name)
        print name
    }' | LC_ALL=C sort -u >"$list"
rm "$list.preprocessed"
if [ ! -s "$list" ]; then
    echo "no declarations found" >&2
    exit 1
fi
sed 's/.*/OPERATION(&)/' "$list" >"$inc"
