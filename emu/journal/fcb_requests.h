// Filter and action requests as the nodes of an FCB hold them: a table of types for each of the twelve kinds.
#ifndef EMU_JOURNAL_FCB_REQUESTS_H
#define EMU_JOURNAL_FCB_REQUESTS_H

#include "emu/journal/records.h"

namespace orxemu::journal {

// What a type's value is made of. It stands at the beginning of the record's value area.
enum class ValueForm : std::uint8_t { None, U8, U16, U32, Mac, MacMask, IpPrefix };

// Row i is type i. The PPPoE action has no name.
struct TypeRow {
    const char *name;
    ValueForm form;
};

// Where things stand in a kind's record. All in front of the value are words.
struct RequestKind {
    std::span<const TypeRow> types;
    unsigned type;
    unsigned cmpOp; // 0: an action, which has none
    unsigned val;
    unsigned valBytes;
    unsigned val2; // 0: none
    ValueForm val2Form = ValueForm::None;
};

extern const RequestKind kEthFilterKind, kVlanFilterKind, kPppoeFilterKind, kIpv4FilterKind, kTcpFilterKind,
    kUdpFilterKind;
extern const RequestKind kEthActionKind, kVlanActionKind, kPppoeActionKind, kIpv4ActionKind, kTcpActionKind,
    kUdpActionKind;

// `request` is a node's request area.
Json DecodeReq(const RequestKind &kind, ByteView request, ByteOrder order);
void ConvertReq(const RequestKind &kind, ByteView original, std::span<std::uint8_t> request, ByteOrder from);

} // namespace orxemu::journal

#endif
