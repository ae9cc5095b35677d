#!/usr/bin/env bash
# Runs all fuzzers side by side: ./fuzz.sh [MINUTES], by default for 10 minutes.
#
# Installs and builds what is missing first. Every fuzzer starts from its inputs in fuzz/corpus and from what
# earlier runs have found; with more processors than fuzzers, each runs on several. The status is 1 when one
# of them has broken something: the input that did it is named, and
#
#     build/fuzz/fuzz/fuzz_NAME INPUT
#
# does it again.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/scripts/setup.sh" || exit 1

minutes=${1:-10}
if [ $# -gt 1 ] || ! [[ $minutes =~ ^[1-9][0-9]{0,4}$ ]]; then
    say "usage: ./fuzz.sh [MINUTES]"
    exit 2
fi

install_for fuzz libcli11-dev nlohmann-json3-dev llvm
build fuzz

programs=$repo/build/fuzz/fuzz
found=$repo/build/fuzz/found
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; exit 130' INT TERM

mapfile -t fuzzers <"$programs/fuzzers"
each=$(($(nproc) / ${#fuzzers[@]}))
[ "$each" -gt 0 ] || each=1

say "Fuzzing for $minutes minutes, $each times each"
for fuzzer in "${fuzzers[@]}"; do
    read -r name max_len <<<"$fuzzer"
    mkdir -p "$found/$name" "$found/broken/$name"
    rm -f "$found/broken/$name"/*
    for ((i = 1; i <= each; i++)); do
        "$programs/fuzz_$name" -max_total_time=$((minutes * 60)) -max_len="$max_len" -print_final_stats=1 \
            -reload=30 -artifact_prefix="$found/broken/$name/" "$found/$name" "$repo/fuzz/corpus/$name" \
            >"$scratch/$name.$i" 2>&1 </dev/null &
        pids+=($!)
    done
done

status=0
for pid in "${pids[@]}"; do
    wait "$pid" || status=1
done

shopt -s nullglob
for fuzzer in "${fuzzers[@]}"; do
    read -r name _ <<<"$fuzzer"
    runs=$(awk '/^stat::number_of_executed_units:/ { runs += $2 } END { print runs + 0 }' "$scratch/$name".*)
    inputs=("$found/$name"/*)
    echo "$name: $runs runs, ${#inputs[@]} inputs that reach more in $found/$name"
    for log in "$scratch/$name".*; do
        if ! grep -q '^Done ' "$log"; then
            tail -n 60 "$log" >&2
        fi
    done
    for broken in "$found/broken/$name"/*; do
        echo "$name: BROKEN by $broken"
    done
done
exit "$status"
