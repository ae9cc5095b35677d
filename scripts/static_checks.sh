#!/usr/bin/env bash
# Checks the sources without running them: scripts/static_checks.sh [format|shell|cppcheck|tidy...], by default
# all of them.
#
# All files of the tree are checked, by clang-tidy those that any preset compiles, with their headers. Nothing is
# built, but for what a source includes and a build makes. Installs what is missing first. All checks run to their
# end; the status is that of the worst.
set -u -o pipefail

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/setup.sh" || exit 1

# sources PATTERN...: the files of the tree whose names match, not those of builds.
sources() {
    local names=() pattern
    for pattern in "$@"; do
        names+=(-o -name "$pattern")
    done
    find "$repo" \( -path "$repo/build" -o -path "$repo/.git" \) -prune -o \
        -type f \( "${names[@]:1}" \) -print | sort
}

check_format() {
    sources '*.c' '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
}

check_shell() {
    { sources '*.sh' '*.bash' && printf '%s\n' "$repo/.ci/run"; } | xargs shellcheck --external-sources \
        --source-path="$repo"
}

# The 32-bit platform has nothing more to say.
check_cppcheck() {
    sources '*.c' '*.cpp' | cppcheck --file-list=- -I "$repo" --platform=unix64 --max-configs=1 \
        --include="$here/cppcheck_macros.h" --suppressions-list="$repo/.cppcheck" --inline-suppr \
        --library=googletest --std=c++20 --enable=warning,style,performance,portability --template=gcc \
        --error-exitcode=1 -q -j "$(nproc)"
}

# Each source is checked as it is built first; those of test programs as they are built, a few at a time.
# clang-tidy looks for its checks beside what it reads: those of a folder go where the folder's build is.
check_tidy() {
    local dir=$repo/build/static checks
    build static -- link_operations
    mkdir -p "$dir/checks"
    jq 'unique_by(.file)' "$dir/compile_commands.json" >"$dir/checks/compile_commands.json" || return 1
    while read -r checks; do
        cp "$checks" "$dir/${checks#"$repo/"}"
    done < <(sources .clang-tidy | grep -vFx "$repo/.clang-tidy")
    if ! run-clang-tidy -quiet -p "$dir/checks" -header-filter='.*' >"$setup_log" 2>&1; then
        grep -vE '^clang-tidy-|^[0-9]+ warnings? |^$' "$setup_log"
        return 1
    fi
}

if [ $# -eq 0 ]; then
    set -- format shell cppcheck tidy
fi
for check in "$@"; do
    case $check in
    format | shell | cppcheck | tidy) ;;
    *)
        say "usage: $0 [format|shell|cppcheck|tidy...]"
        exit 2
        ;;
    esac
done
install_for clang clang-format clang-tidy cppcheck jq shellcheck libclang-rt-dev \
    libbenchmark-dev libgtest-dev libcli11-dev nlohmann-json3-dev valgrind

failed=()
for check in "$@"; do
    say "Checking with $check"
    "check_$check" || failed+=("$check")
done
if [ "${#failed[@]}" -gt 0 ]; then
    say "static checks failed: ${failed[*]}"
    exit 1
fi
say "static checks passed: $*"
