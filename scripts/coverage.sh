#!/usr/bin/env bash
# Which lines and branches of log/, qirapi/ and app/ the tests run: scripts/coverage.sh, or ./test.sh coverage.
#
# Prints the figures of each folder, the marks of what cannot happen, and what no test runs; fails below the
# limits. A report to click through is left in build/coverage/report. Where the distribution has a clang that
# counts it, the figures of MC/DC are printed too: conditions that decide by themselves, of those that could.
set -u -o pipefail

# The least that a run has to reach, in percent.
min_lines=100
min_branches=100
min_mcdc=100
# The most marks of what cannot happen. One more is a decision, not a way to reach the figures above.
max_marks=10

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/setup.sh" || exit 1

clang=19

# run_tests PRESET: the test programs of a preset, anew.
run_tests() {
    find "$repo/build/$1" -name '*.gcda' -delete
    ctest --preset "$1" --parallel "$(nproc)" || exit 1
}

# ---- Lines and branches

# gcovr 5.2 loses branches of templates, so that gcov's own figures are put together for it. They are asked for
# by what has been compiled (.gcno), so that what has never been run counts too.
count_branches() {
    local build=$repo/build/coverage objects
    mapfile -t objects < <(jq -r '
        .[] | select(.command | contains(" --coverage ")) | .directory + (.command | capture(" -o (?<o>[^ ]+)") | "/" + .o)
        ' "$build/compile_commands.json")
    gcov --json-format --stdout --branch-probabilities "${objects[@]/%.o/.gcno}" 2>"$setup_log" |
        jq -n --arg root "$repo/" -f "$here/coverage.jq" >"$scratch/branches.json" || {
        cat "$setup_log" >&2
        say "failed: reading what has been counted"
        exit 1
    }
}

# figures: a line of tab-separated numbers for each folder, the total last.
figures() {
    jq -r '
        def folder: .file | sub("/[^/]*$"; "");
        def figure: [length, (map(select(. > 0)) | length)];
        def row($name): [$name] + (map(.lines[].count) | figure) + (map(.lines[].branches[].count) | figure);
        .files as $files
        | (($files | map(folder)) + ["qirapi/public"] | unique[] as $name
           | $files | map(select(folder == $name)) | row($name)),
          ($files | row("total"))
        | @tsv' "$scratch/branches.json"
}

# What no test runs: "file:line", and what is missing there.
missing() {
    jq -r '
        .files[] | .file as $file | .lines[]
        | if .count == 0 then "\($file):\(.line_number): not run"
          elif any(.branches[]; .count == 0) then
              "\($file):\(.line_number): \(.branches | map(select(.count == 0)) | length) of \(.branches | length) branches not taken"
          else empty end' "$scratch/branches.json"
}

# ---- MC/DC

# has_package PACKAGE: is it there, or does the distribution have it?
has_package() {
    [[ $(apt-cache policy "$1" 2>/dev/null) == *"Candidate: "[0-9]* ]]
}

# A line for each folder: its name, conditions, conditions that decide by themselves.
count_mcdc() {
    local build=$repo/build/coverage-mcdc programs
    mapfile -t programs < <(ctest --preset coverage-mcdc --show-only=json-v1 | jq -r '.tests[].command[0]')
    "llvm-profdata-$clang" merge -o "$scratch/profile" "$build"/profiles/*.profraw &&
        "llvm-cov-$clang" export -summary-only -instr-profile "$scratch/profile" \
            "$build/app/orxtest" "${programs[@]/#/-object=}" |
        jq -r --arg root "$repo/" '
            def row($name): [$name, (map(.summary.mcdc.count) | add), (map(.summary.mcdc.covered) | add)];
            .data[0].files
            | map(.filename |= ltrimstr($root))
            | (group_by(.filename | sub("/[^/]*$"; ""))[]
               | (.[0].filename | sub("/[^/]*$"; "")) as $folder | row($folder)),
              row("total")
            | @tsv' >"$scratch/mcdc"
}

# ---- What is printed

# print_table: folders with their figures. Fails below the limits, and when nothing has been counted.
print_table() {
    awk -F '\t' -v OFS='\t' -v min_lines="$min_lines" -v min_branches="$min_branches" -v min_mcdc="$min_mcdc" '
        function percent(all, covered) {
            return all == 0 ? "-" : sprintf("%.1f %%", int(covered * 1000 / all) / 10)
        }
        function column(all, covered) {
            return all == "" ? "" : sprintf("%11s %7s", covered "/" all, percent(all, covered))
        }
        function below(all, covered, least) {
            return covered * 100 < all * least
        }
        BEGIN { printf "%-16s %-19s  %-19s  %s\n", "", "lines", "branches", "MC/DC" }
        FILENAME != "-" { conditions[$1] = $2; decisive[$1] = $3; next }
        {
            printf "%-16s %19s  %19s  %19s\n", $1, column($2, $3), column($4, $5),
                   column(conditions[$1], decisive[$1])
            if (below($2, $3, min_lines) || below($4, $5, min_branches)) { failed = 1 }
            if (below(conditions[$1], decisive[$1], min_mcdc)) { failed = 1 }
            if ($1 == "total" && ($2 == 0 || $4 == 0 || conditions[$1] == "0")) { failed = 1 }
        }
        END { exit failed }' "$scratch/mcdc" -
}

# Marks of what cannot happen, with file, line and reason. All of them have to be on one line.
print_marks() {
    local marks number
    marks=$(cd "$repo" && grep -rn --include='*.h' --include='*.cpp' --exclude=never.h QEL_NEVER log qirapi app |
        sed -E 's/^([^:]+:[0-9]+):.*QEL_NEVER\(.*, "([^"]*)"\).*/\1: \2/')
    if grep QEL_NEVER <<<"$marks" >&2; then
        say "failed: a mark does not stand on one line with its reason"
        exit 1
    fi
    number=$(grep -c . <<<"$marks")
    printf '\n%d marks of what cannot happen\n%s\n' "$number" "$marks"
    if [ "$number" -gt "$max_marks" ]; then
        say "failed: more marks of what cannot happen than $max_marks"
        exit 1
    fi
}

install_missing cmake make g++ libgtest-dev gcovr jq
build coverage -DQIR_BUILD_TESTS=ON
run_tests coverage
count_branches

: >"$scratch/mcdc"
if has_package "clang-$clang"; then
    install_missing "clang-$clang" "llvm-$clang" "libclang-rt-$clang-dev"
    build coverage-mcdc -DQIR_BUILD_TESTS=ON
    rm -rf "$repo/build/coverage-mcdc/profiles"
    LLVM_PROFILE_FILE="$repo/build/coverage-mcdc/profiles/%m-%p.profraw" run_tests coverage-mcdc
    count_mcdc || exit 1
else
    say "no clang-$clang: MC/DC is not counted"
fi

mkdir -p "$repo/build/coverage/report"
gcovr --root "$repo" --add-tracefile "$scratch/branches.json" \
    --html-details "$repo/build/coverage/report/index.html" || exit 1

echo
figures | print_table
enough=$?
print_marks
missing >"$scratch/missing"
if [ -s "$scratch/missing" ]; then
    printf '\nno test runs\n'
    cat "$scratch/missing"
fi
if [ "$enough" -ne 0 ]; then
    say "coverage is below the limits: lines $min_lines %, branches $min_branches %, MC/DC $min_mcdc %"
    exit 1
fi
