#!/bin/sh
# Every command, option and request that the tool takes stands where people look for it, and has its tests:
# described.sh <source folder> <command to run orxemu>...
set -u

cd "$1" || exit 1
shift

status=0
complain() {
    echo "$*"
    status=1
}

page=$(sed 's/\\-/-/g; s/\\f[A-Z]//g' man/orxemu.1)
page_has() {
    case $page in
    *"$1"*) ;;
    *) complain "man/orxemu.1 does not have \"$1\"" ;;
    esac
}

commands=$("$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ -n "$commands" ] || complain "no commands in the help"
for command in $commands; do
    page_has ".B orxemu $command"
    page_has ".SH $(echo "$command" | tr '[:lower:]' '[:upper:]')"
    page_has ".TP
.B $command
"
    for option in $("$@" "$command" --help | grep -oE -e '--[a-z][a-z-]+' | sort -u); do
        page_has "$option"
    done
    [ -f "tests/orxemu_$command/CMakeLists.txt" ] || complain "there is no tests/orxemu_$command"
done

for command in $(echo "$page" | sed -n 's/^\.B orxemu \([a-z]*\)$/\1/p' | sort -u); do
    echo "$commands" | grep -qx "$command" || complain "man/orxemu.1 has orxemu $command, which the tool does not know"
done

# "set-global (17)"
requests=$("$@" run --fail-request no-such-request -- true 2>&1 | grep -oE '[a-z-]+ \([0-9]+\)' | tr -d '() ' |
    sed 's/\([0-9]\)/ \1/')
[ -n "$requests" ] || complain "no requests in the message about an unknown one"
while read -r name number; do
    page_has "$name"
    grep -qE "^## ([0-9]+ and )?$number |^\| .*\b$number (de)?activate" docs/driver-interface.md ||
        complain "docs/driver-interface.md does not have request $number"
done <<END
$requests
END

records=$(sed -nE 's/^(struct|using) ([A-Za-z]+Record)\b.*/\2/p' qirapi/driver/driver_records.h)
for record in $records; do
    grep -q "^$record " tests/layout/records.txt || complain "tests/layout/records.txt does not have $record"
done
exit "$status"
