// Values of requests: their words, whether a type accepts them, how they print.
#ifndef QIRAPI_PRIVATE_REQUEST_VALUES_H
#define QIRAPI_PRIVATE_REQUEST_VALUES_H

#include "qirapi/private/rule_tables.h"

namespace qir {

u8 LoadU8(const void *val_p);
u16 LoadU16(const void *val_p);
u32 LoadU32(const void *val_p);

// Does the rule accept the value at `val_p`? `toTagNum` is the tag that a copy action writes.
bool IsValueAccepted(const ValueRule &rule, const void *val_p, u32 toTagNum = 0);

// Prints the type's name and the value. False when the type is unknown.
bool PrintRequest(const TypeRule *rules, u32 numRules, u32 type, const void *val_p);

template <u32 N> bool PrintRequest(const TypeRule (&rules)[N], u32 type, const void *val_p) {
    return PrintRequest(rules, N, type, val_p);
}

} // namespace qir

#endif
