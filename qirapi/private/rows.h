// Tables with a row for each value of an enumeration, in the order of the values: a value finds its row by
// its number. A static_assert holds each table to that, so that a row that is missing or misplaced does not
// compile.
#ifndef QIRAPI_PRIVATE_ROWS_H
#define QIRAPI_PRIVATE_ROWS_H

#include "qirapi/private/types.h"

namespace qir {

// Is there one row for each value from 0 to `end` - 1, in this order? `value` is the member that holds it.
template <class Row, u32 N> constexpr bool HasRowForEach(const Row (&rows)[N], u32 end, u32 Row::*value) {
    for (u32 i = 0; i < N; ++i) {
        if (rows[i].*value != i) {
            return false;
        }
    }
    return N == end;
}

// The first two members of a row: the value and its name.
#define QIR_NAMED(value) value, #value

struct ValueName {
    u32 value;
    const char *name;
};

} // namespace qir

#endif
