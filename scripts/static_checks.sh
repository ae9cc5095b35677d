#!/usr/bin/env bash
# Checks the sources without running them: scripts/static_checks.sh [format|shell|cppcheck|tidy...], by default
# all of them.
#
# format and shell take every file of the tree; cppcheck and tidy every file that any preset compiles. Nothing
# is built, but for what a source includes and a build makes. Installs what is missing first. All checks run
# to their end; the status is that of the worst.
set -u

here=$(dirname -- "$(readlink -f -- "$0")")
# shellcheck source=scripts/setup.sh
. "$here/setup.sh" || exit 1

work=$repo/build/static/checks
cores=$(nproc)

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

# A list of what clang would compile, and its batches.
prepare() {
    build static
    rm -rf "$work"
    mkdir -p "$work/files" "$work/batches"
    awk -v repo="$repo" -v out="$work" -f "$here/tidy_batches.awk" "$repo/build/static/compile_commands.json"
    local checks
    while read -r checks; do # found beside what is checked
        cp "$checks" "$work/batches/${checks#"$repo/"}"
    done < <(sources .clang-tidy)
}

# All files, whatever they are compiled with. The 32-bit platform has nothing more to say.
check_cppcheck() {
    cppcheck --platform=unix64 --project="$work/files/compile_commands.json" --include="$here/cppcheck_macros.h" \
        --suppressions-list="$repo/.cppcheck" --inline-suppr --library=googletest --std=c++20 \
        --enable=warning,style,performance,portability --template=gcc --error-exitcode=1 -q -j "$cores"
}

# with_source_lines FILE: names the sources of a batch and their lines where its own are named.
with_source_lines() {
    awk -v batch="${1#"$repo/"}" '
        NR == FNR {
            if ($1 == "#line") {
                first[++sources] = FNR + 1
                source[sources] = $3
                gsub(/"/, "", source[sources])
            }
            next
        }
        (at = index($0, batch ":")) > 0 {
            rest = substr($0, at + length(batch) + 1)
            for (i = sources; i > 1 && first[i] > rest + 0; --i) {
            }
            sub(/^[0-9]+/, rest + 1 - first[i], rest)
            $0 = source[i] ":" rest
        }
        { print }' "$1" -
}

# own_headers: an expression for the headers of this tree, and of no other that is a part of its path.
own_headers() {
    local root folders
    root=$(printf '%s' "$repo" | sed 's/[][\.*^$+?(){}|]/\\&/g')
    folders=$(sources '*.h' | cut -c "$((${#repo} + 2))-" | cut -d / -f 1 | sort -u | paste -sd '|')
    printf '^%s/(%s)/' "$root" "$folders"
}

# tidy DIR FILE: what clang-tidy finds in a file of the list in that folder, and nothing else.
tidy() {
    clang-tidy --quiet --header-filter="$headers" -p "$1" "$2" >"$work/found.$$" 2>"$work/said.$$"
    local status=$?
    if [ "$status" -ne 0 ] && [ ! -s "$work/found.$$" ]; then
        cat "$work/said.$$"
    else
        cat "$work/found.$$"
    fi
    rm -f "$work/found.$$" "$work/said.$$"
    return "$status"
}

# tidy_batch FILE: or its sources one by one, when they are no translation unit together.
tidy_batch() {
    local found status=0 file
    found=$(tidy "$work/batches" "$1") && return 0
    if [ "$(wc -l <"$1.files")" -gt 1 ] && grep -q '\[clang-diagnostic-error' <<<"$found"; then
        while read -r file; do
            tidy "$work/files" "$file" || status=1
        done <"$1.files"
        return "$status"
    fi
    with_source_lines "$1" <<<"$found"
    return 1
}

# The largest first, so that no core is left with one at the end.
check_tidy() {
    local headers
    headers=$(own_headers)
    export repo work headers
    export -f with_source_lines tidy tidy_batch
    # shellcheck disable=SC2016 # the inner shell's argument
    find "$work/batches" -name '*.files' -printf '%p\n' | sed 's/\.files$//' | xargs ls -S |
        xargs -P "$cores" -I {} bash -c 'tidy_batch "$1"' tidy {}
}

if [ $# -eq 0 ]; then
    set -- format shell cppcheck tidy
fi
install_for clang clang-format clang-tidy cppcheck shellcheck libclang-rt-dev \
    libbenchmark-dev libgtest-dev libcli11-dev nlohmann-json3-dev valgrind
case "$*" in
*cppcheck* | *tidy*) prepare ;;
esac

failed=()
for check in "$@"; do
    case $check in
    format | shell | cppcheck | tidy) ;;
    *)
        say "usage: $0 [format|shell|cppcheck|tidy...]"
        exit 2
        ;;
    esac
    say "Checking with $check"
    "check_$check" || failed+=("$check")
done
if [ "${#failed[@]}" -gt 0 ]; then
    say "static checks failed: ${failed[*]}"
    exit 1
fi
say "static checks passed: $*"
