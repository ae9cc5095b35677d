#!/usr/bin/env bash
# Which lines, branches and conditions of log/, qirapi/ and app/ the tests run: scripts/coverage.sh, or
# ./test.sh coverage.
#
# Fails when a line or a branch is not run, or when a condition never decides by itself (MC/DC). Prints the
# figures, what is not run, and the marks of what cannot happen. A report to click through is left in
# build/coverage/report.
set -u -o pipefail

# The most marks of what cannot happen. One more is a decision, not a way to reach 100 %.
max_marks=7

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/setup.sh" || exit 1

clang=19 # the compiler of the preset coverage-mcdc
lines=$repo/build/coverage
mcdc=$repo/build/coverage-mcdc
status=0

# fail WHAT: the remaining figures are still printed.
fail() {
    say "failed: $*"
    status=1
}

install_missing cmake ninja-build g++ libgtest-dev gcovr jq \
    "clang-$clang" "llvm-$clang" "libclang-rt-$clang-dev"

# Lines and branches. gcovr 5.2 leaves branches of templates out and takes others for missing, so that it is
# given gcov's own figures. They are asked for by what has been compiled (.gcno): what has never run counts too.
build coverage -DQIR_BUILD_TESTS=ON
find "$lines" -name '*.gcda' -delete
ctest --preset coverage --parallel "$(nproc)" || exit 1
jq -r '.[] | select(.command | contains(" --coverage ")) | .directory + (.command | capture(" -o (?<o>[^ ]+)[.]o ") | "/\(.o).gcno")' \
    "$lines/compile_commands.json" | xargs gcov --json-format --stdout --branch-probabilities 2>"$setup_log" |
    jq -n --arg root "$repo/" -f "$here/coverage.jq" >"$scratch/counts.json" || {
    cat "$setup_log" >&2
    exit 1
}
mkdir -p "$lines/report"
# shellcheck disable=SC2086 # an option or none
for columns in '' --branches; do
    gcovr --root "$repo" --add-tracefile "$scratch/counts.json" $columns \
        --fail-under-line 100 --fail-under-branch 100 || fail "a line or a branch is not run"
done
gcovr --root "$repo" --add-tracefile "$scratch/counts.json" --html-details "$lines/report/index.html" || exit 1

# Conditions.
build coverage-mcdc -DQIR_BUILD_TESTS=ON
rm -rf "$mcdc/profiles"
LLVM_PROFILE_FILE="$mcdc/profiles/%m-%p.profraw" ctest --preset coverage-mcdc --parallel "$(nproc)" || exit 1
mapfile -t programs < <(ctest --preset coverage-mcdc --show-only=json-v1 | jq -r '.tests[].command[0]')
counted=("-instr-profile=$scratch/profile" "$mcdc/app/orxtest" "${programs[@]/#/-object=}")
"llvm-profdata-$clang" merge -o "$scratch/profile" "$mcdc"/profiles/*.profraw || exit 1
"llvm-cov-$clang" export -summary-only "${counted[@]}" | jq -r '
    .data[0].totals.mcdc | "Conditions that decide by themselves: \(.covered) of \(.count)",
        if .count == 0 or .covered < .count then error("not all of them") else empty end' ||
    fail "llvm-cov-$clang show -show-mcdc says which conditions never decide"

marks=$(cd "$repo" && grep -rn --include='*.h' --include='*.cpp' --exclude=never.h QEL_NEVER log qirapi app)
number=$(grep -c . <<<"$marks")
printf '\n%d marks of what cannot happen\n%s\n' "$number" "$marks"
[ "$number" -le "$max_marks" ] || fail "more marks of what cannot happen than $max_marks"
exit "$status"
