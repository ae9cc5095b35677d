# Reads what `readelf --debug-dump=info` prints of an object and writes the layout of every record in it:
#
#   FlowHdl 4                    a record and its size in bytes
#       word 0 4                 a member: its path, its offset and its size in bytes
#       tpid 4 4x2               an array: elements and size of each
#       f1.id bits 0-15          a bit field: its place in the word around it, bit 0 is the least significant one
#
# A record is the type of a variable record_NAME. Members whose type has a name in the list of records are one
# line; unnamed structures and unions are opened, and so are types that are no record themselves. Set BIG to 1
# for a big-endian object: the debug information counts bits from the first byte in memory on (or, as some
# compilers do, from the most significant bit of the word, whatever the byte order).

function attribute(line) {
    sub(/^[^:]*: */, "", line)
    sub(/^\([^)]*\): */, "", line) # a name that is kept in a table of strings
    sub(/[ \t]+$/, "", line)
    return line
}

/^ *<[0-9a-f]+><[0-9a-f]+>: Abbrev Number/ {
    split($0, part, /[<>]/)
    depth = part[2] + 0
    die = part[4]
    tag[die] = ""
    if (match($0, /DW_TAG_[a-z_]+/)) {
        tag[die] = substr($0, RSTART + 7, RLENGTH - 7)
    } else {
        next # the end of a list of children
    }
    parent[depth] = die
    if (depth > 0) {
        up = parent[depth - 1]
        child[up, ++children[up]] = die
    }
    next
}
/DW_AT_name /                 { name[die] = attribute($0) }
/DW_AT_byte_size /            { size[die] = attribute($0) + 0 }
/DW_AT_bit_size /             { bits[die] = attribute($0) + 0 }
/DW_AT_data_bit_offset/       { first_bit[die] = attribute($0) + 0 }
/DW_AT_bit_offset/            { from_top[die] = attribute($0) + 0 }
/DW_AT_data_member_location/  { offset[die] = attribute($0) + 0 }
/DW_AT_upper_bound /          { count[die] = attribute($0) + 1 }
/DW_AT_count /                { count[die] = attribute($0) + 0 }
/DW_AT_type / && match($0, /<0x[0-9a-f]+>/) { type[die] = substr($0, RSTART + 3, RLENGTH - 4) }

# The type behind its other names; RECORD is set when one of them is a record of its own.
function plain(t) {
    RECORD = ""
    while (tag[t] == "typedef" || tag[t] == "const_type" || tag[t] == "volatile_type") {
        if (name[t] in record) {
            RECORD = name[t]
        }
        t = type[t]
    }
    if (name[t] in record) {
        RECORD = name[t]
    }
    return t
}

function elements(t,    i, n) {
    n = 1
    for (i = 1; i <= children[t]; ++i) {
        if (tag[child[t, i]] == "subrange_type") {
            n *= count[child[t, i]]
        }
    }
    return n
}

function bytes(t) {
    t = plain(t)
    return tag[t] == "array_type" ? elements(t) * bytes(type[t]) : size[t]
}

# How a member's size is written.
function extent(t) {
    t = plain(t)
    return tag[t] == "array_type" ? elements(t) "x" bytes(type[t]) : size[t]
}

function is_open(t) {
    return (tag[t] == "structure_type" || tag[t] == "union_type") && RECORD == ""
}

# Writes the members of a structure or union that starts at `base`.
function members(t, base, path,    i, m, inner, where, low, width, fields) {
    for (i = 1; i <= children[t]; ++i) {
        m = child[t, i]
        if (tag[m] != "member") {
            continue
        }
        if (m in bits) {
            width = 8 * bytes(type[m])
            if (m in from_top) {
                low = width - from_top[m] - bits[m]
            } else if (BIG) {
                low = width - first_bit[m] - bits[m]
            } else {
                low = first_bit[m] + 0
            }
            fields[low] = sprintf("%s bits %d-%d", path name[m], low, low + bits[m] - 1)
            continue
        }
        where = base + offset[m]
        inner = plain(type[m])
        if (is_open(inner)) {
            members(inner, where, path (name[m] == "" ? "" : name[m] "."))
        } else {
            printf "    %s%s %d %s\n", path, name[m], where, extent(type[m])
        }
    }
    for (low = 0; low < 32; ++low) {
        if (low in fields) {
            print "    " fields[low]
        }
    }
}

END {
    for (die in tag) {
        if (tag[die] == "variable" && name[die] ~ /^record_/) {
            record[substr(name[die], 8)] = die
        }
    }
    for (r in record) {
        sorted[++num] = r
    }
    for (i = 2; i <= num; ++i) {
        for (j = i; j > 1 && sorted[j] < sorted[j - 1]; --j) {
            swap = sorted[j]
            sorted[j] = sorted[j - 1]
            sorted[j - 1] = swap
        }
    }
    for (i = 1; i <= num; ++i) {
        t = plain(type[record[sorted[i]]])
        printf "%s %d\n", sorted[i], size[t]
        members(t, 0, "")
    }
}
