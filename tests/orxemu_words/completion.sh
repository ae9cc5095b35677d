#!/usr/bin/env bash
# Completion offers what the commands take: completion.sh <command to run orxemu>... -- <completion file>
set -u

orxemu=()
while [ "$1" != -- ]; do
    orxemu+=("$1")
    shift
done
# shellcheck source=/dev/null
. "$2"

status=0
complain() {
    echo "$*"
    status=1
}

# offered WORD...: what is offered for the last word of a command line, sorted, on one line.
offered() {
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _orxemu
    printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' '
}

# expect TEXT WORD...
expect() {
    local expected=$1 found
    shift
    found=$(offered "$@")
    [ "$found" = "$expected " ] || complain "\"$*\": offered \"$found\", expected \"$expected\""
}

# The options in a command's help, but for the other spelling of one.
options_of() {
    "${orxemu[@]}" "$1" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE '\-\-[a-z-]+' | sort -u
}

mapfile -t commands < <("${orxemu[@]}" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "${#commands[@]}" -gt 0 ] || complain "no commands in the help"
expect "$(printf '%s\n' --help --version "${commands[@]}" | sort | paste -sd' ')" orxemu ""
expect "replay run" orxemu r
expect "replay" orxemu rep
for command in "${commands[@]}"; do
    options=$(options_of "$command" | tr '\n' ' ')
    [ -n "$options" ] || complain "no options in the help of $command"
    [ "$command" != run ] || options="-- $options"
    expect "${options% }" orxemu "$command" --
done
expect "activate-as-table activate-dscp-table activate-flow activate-pac-table activate-rl" \
    orxemu run --fail-request activate-
expect "activate-flow" orxemu run --fail-request = activate-f
[ -n "$(offered orxemu run --fail-request =)" ] || complain "nothing is offered behind --fail-request="
expect "" orxemu run --fail 3
expect "" orxemu run --fail = 3
expect "" orxemu show -x

# Every name that completion offers is one that the command knows, and the command names them all.
known=$("${orxemu[@]}" run --fail-request no-such-request -- true 2>&1)
# shellcheck disable=SC2154 # of the completion, which is read by its path
for request in $_orxemu_requests; do
    [[ $known == *"$request"* ]] || complain "$request is not in: $known"
done
numRequests=$(grep -oE '\b(set|activate|deactivate|get|update)-[a-z-]+' <<<"$known" | sort -u | wc -l)
numOffered=$(wc -w <<<"$_orxemu_requests")
[ "$numRequests" -eq "$numOffered" ] || complain "$numOffered requests are offered, $numRequests are in: $known"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
touch "$work/one log.json" "$work/other"
cd "$work" || exit 1
expect "one log.json" orxemu show one
expect "one log.json" orxemu replay --log o "o" one
expect "other" orxemu run --state ot
expect "other" orxemu run --state = ot
expect "one log.json other" orxemu run --log =
expect "one log.json other" orxemu run -- ./program o
[[ " $(offered orxemu run --log a -- ba) " == *" bash "* ]] || complain "no command behind --"
exit "$status"
