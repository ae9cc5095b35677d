#!/bin/sh
# Static libraries that need neither heap, nor exceptions, nor type information, nor anything else of a C++
# runtime, and that initialise nothing at the start of the program.
#
#   archive_symbols.sh <nm> <objdump> <archive>...
#
# The archives are looked at together: what one needs, another may define. Prints the lines of nm and objdump
# that are in the way, and ends with status 1 if there are any.
set -eu

nm=$1
objdump=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$nm" -A "$@" >"$work/symbols"
"$objdump" -h "$@" >"$work/sections"

# Last two fields: type and name. Types U, w and v are undefined.
awk '
    function complain(what) { print what ": " $0; found = 1 }
    NF < 2 { next }
    NR == FNR { if ($(NF - 1) !~ /^[Uwv]$/) { defined[$NF] = 1; ++count } next }
    {
        name = $NF
        needed = $(NF - 1) ~ /^[Uwv]$/
        if (name ~ /^(malloc|calloc|realloc|reallocarray|free|cfree)$/ ||
            name ~ /^(aligned_alloc|(posix_)?memalign|p?valloc)$/ ||
            name ~ /^(_*strn?dup|wcsdup|_*v?asprintf(_chk)?|_*getline|_*getdelim|open_w?memstream)$/ ||
            name ~ /^(brk|sbrk|mmap|mmap64)$/ || name ~ /^_Z(nw|na|dl|da)/)
            complain("heap")
        else if (name ~ /^(__cxa_|_Unwind_|__gxx_personality|__gcc_personality)/)
            complain("exceptions")
        else if (name ~ /^_ZT[ISVT]/ || name ~ /^__dynamic_cast$/)
            complain("type information")
        else if (name ~ /^(_GLOBAL__|_Z41__static_initialization)/ || name ~ /^__dso_handle$/)
            complain("run at start")
        else if (needed && !(name in defined) && name ~ /^_Z/)
            complain("C++ runtime")
    }
    END {
        if (!count) { print "no symbols"; found = 1 }
        exit found
    }' "$work/symbols" "$work/symbols" || status=1

# Number, name, size and so on of each section.
awk '
    /^ *[0-9]+ / && $2 ~ /^\.(preinit_array|init_array|fini_array|ctors|dtors|init|fini)/ {
        print "run at start: " member ": " $0
        found = 1
    }
    /file format/ { member = $1; ++count }
    END {
        if (!count) { print "no sections"; found = 1 }
        exit found
    }' "$work/sections" || status=1

exit "${status:-0}"
