// Values of requests: which ones a type accepts, and how a request prints.
//
// A value lies in the first bytes of the request's value area, in the byte order of the processor; its width
// depends on the type. Both descriptions are tables with a row per type.
#ifndef QIRAPI_PRIVATE_REQUEST_VALUES_H
#define QIRAPI_PRIVATE_REQUEST_VALUES_H

#include "log/never.h"
#include "qirapi/private/types.h"

namespace qir {

enum class ValueForm : u8 {
    kAny,       // not looked at
    kU8,        // 8-bit value in the first byte
    kU16,       // 16-bit value in the first two bytes
    kPrefixLen, // IPv4 address, then a 32-bit prefix length: the length counts
    kFromTag,   // 32-bit source tag: in range and not the tag it goes to
};

struct ValueRule {
    u32 type;
    ValueForm form;
    u32 min;
    u32 max;
};

// The row of `type`, or null.
template <u32 N> const ValueRule *FindValueRule(const ValueRule (&rules)[N], u32 type) {
    for (u32 i = 0; !QEL_NEVER(i == N, "the types that come so far have rows"); ++i) {
        if (rules[i].type == type) {
            return &rules[i];
        }
    }
    return nullptr;
}

u8 LoadU8(const void *val_p);
u16 LoadU16(const void *val_p);
u32 LoadU32(const void *val_p);

// Does the value at `val_p` lie within the rule's limits? `toTagNum` is the tag that a copy action writes.
bool IsValueAccepted(const ValueRule &rule, const void *val_p, u32 toTagNum = 0);

// How a value prints behind its label.
enum class Show : u8 {
    kNothing,
    kDecU8,     // <%u>
    kDecU16,    // <%u>
    kValDecU8,  // val<%u>
    kValDecU16, // val<%u>
    kValDecU32, // val<%u>
    kValHexU16, // val<0x%.4x>
    kValHexU32, // val<0x%.8x>
    kMac,       // a MAC address
    kTwoMacs,   // a MAC address and the one behind it
    kCidr,      // IPv4 address and prefix length
};

struct RequestLabel {
    u32 type;
    const char *label; // with the blank behind it, if there is one
    Show show;
};

// Prints label and value. False when `type` has no row.
bool PrintRequest(const RequestLabel *labels, u32 numLabels, u32 type, const void *val_p);

template <u32 N> bool PrintRequest(const RequestLabel (&labels)[N], u32 type, const void *val_p) {
    return PrintRequest(labels, N, type, val_p);
}

} // namespace qir

#endif
