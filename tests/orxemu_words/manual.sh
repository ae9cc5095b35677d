#!/bin/sh
# The manual page has every command, option and request that the tool takes: manual.sh <page> <orxemu>...
set -u

page=$(sed 's/\\-/-/g; s/\\f[A-Z]//g' "$1")
shift

status=0
expect() {
    case $page in
    *"$1"*) ;;
    *)
        echo "the page does not have $1"
        status=1
        ;;
    esac
}

for command in run show diff replay; do
    expect "B orxemu $command"
    for option in $("$@" "$command" --help | grep -oE -e '--[a-z][a-z-]+' | sort -u); do
        expect "$option"
    done
done
for request in $("$@" run --fail-request no-such-request -- true 2>&1 |
    grep -oE '\b(set|activate|deactivate|get|update)-[a-z-]+' | sort -u); do
    expect "$request"
done
exit "$status"
