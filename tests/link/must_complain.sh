#!/bin/sh
# A check that cannot fail is worth nothing: runs one on something that is wrong.
#
#   must_complain.sh "<word>..." <command> <argument>...
#
# The command has to end with status 1, which is how the checks say "found", and to print each of the words.
set -eu

words=$1
shift
status=0
output=$("$@" 2>&1) || status=$?
printf '%s\n' "$output"
if [ "$status" -ne 1 ]; then
    echo "status $status instead of 1"
    exit 1
fi
for word in $words; do
    if ! printf '%s\n' "$output" | grep -qF -e "$word"; then
        echo "nothing said of $word"
        exit 1
    fi
done
