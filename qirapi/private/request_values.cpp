#include "qirapi/private/request_values.h"

#include "qirapi/access/table_access.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

template <class Word> Word Load(const void *val_p) {
    Word word;
    memcpy(&word, val_p, sizeof word);
    return word;
}

bool InLimits(const ValueRule &rule, u32 val) {
    return val >= rule.min && val <= rule.max;
}

const u8 *BytesAt(const void *val_p, u32 offset) {
    return static_cast<const u8 *>(val_p) + offset;
}

constexpr u32 kSecondMac = 6;
constexpr u32 kPrefixLenAt = 4;

void PrintValue(Show show, const void *val_p) {
    switch (show) {
    case Show::kNothing:
        break;
    case Show::kDecU8:
        printf("<%u> ", LoadU8(val_p));
        break;
    case Show::kDecU16:
        printf("<%u> ", LoadU16(val_p));
        break;
    case Show::kValDecU8:
        printf("val<%u> ", LoadU8(val_p));
        break;
    case Show::kValDecU16:
        printf("val<%u> ", LoadU16(val_p));
        break;
    case Show::kValDecU32:
        printf("val<%u> ", LoadU32(val_p));
        break;
    case Show::kValHexU16:
        printf("val<0x%.4x> ", LoadU16(val_p));
        break;
    case Show::kValHexU32:
        printf("val<0x%.8x> ", LoadU32(val_p));
        break;
    case Show::kMac:
        Dump_MAC(BytesAt(val_p, 0));
        break;
    case Show::kValTwoMacs:
        printf("val");
        [[fallthrough]];
    case Show::kTwoMacs:
        Dump_MAC(BytesAt(val_p, 0));
        Dump_MAC(BytesAt(val_p, kSecondMac));
        break;
    case Show::kCidr:
        Dump_CidrIP(LoadU32(val_p), LoadU32(BytesAt(val_p, kPrefixLenAt)));
        break;
    }
}

} // namespace

u8 LoadU8(const void *val_p) {
    return Load<u8>(val_p);
}

u16 LoadU16(const void *val_p) {
    return Load<u16>(val_p);
}

u32 LoadU32(const void *val_p) {
    return Load<u32>(val_p);
}

bool IsValueAccepted(const ValueRule &rule, const void *val_p, u32 toTagNum) {
    switch (rule.form) {
    case ValueForm::kAny:
        return true;
    case ValueForm::kU8:
        return InLimits(rule, LoadU8(val_p));
    case ValueForm::kU16:
        return InLimits(rule, LoadU16(val_p));
    case ValueForm::kPrefixLen:
        return InLimits(rule, LoadU32(BytesAt(val_p, kPrefixLenAt)));
    case ValueForm::kFromTag:
        return InLimits(rule, LoadU32(val_p)) && LoadU32(val_p) != toTagNum;
    }
    return false;
}

bool PrintRequest(const TypeRule *rules, u32 numRules, u32 type, const void *val_p) {
    if (type >= numRules || rules[type].name == nullptr) {
        return false;
    }
    printf("<%s> ", rules[type].name);
    PrintValue(rules[type].show, val_p);
    return true;
}

} // namespace qir
