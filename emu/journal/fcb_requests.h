// Filter and action requests as the nodes of an FCB hold them, by the header whose list they are on.
#ifndef EMU_JOURNAL_FCB_REQUESTS_H
#define EMU_JOURNAL_FCB_REQUESTS_H

#include "emu/journal/records.h"
#include "emu/journal/request_types.h"

namespace orxemu::journal {

// Where things stand in the record of one kind of request. All in front of the value are words.
struct RequestKind {
    std::span<const TypeRow> types;
    unsigned type;
    unsigned cmpOp; // 0: an action, which has none
    unsigned val;
    unsigned valBytes;
    unsigned val2 = 0; // 0: none
    ValueForm val2Form = ValueForm::None;
    unsigned tagBehind = 0; // tag of a VLAN action, which stands behind its value; 0: none
};

// A header's list of one block.
struct RequestList {
    const RequestKind *kind = nullptr; // null for a header without a list
    std::size_t entry = 0;             // the header's entry in the FCB
};

struct HeaderRow {
    std::string_view name;
    unsigned hdr; // its bit in hdrBmap; TCP and UDP have that of IPv4, with which they come
    RequestList filters;
    RequestList actions;
    std::string_view tag;     // stands for "@" in the phrases of its requests
    std::string_view present; // what a rule says of the header when it has no filters
    bool shownEmpty = true;
};

// All headers, by hdr; TCP and UDP behind IPv4.
std::span<const HeaderRow> Headers();

// The row of a type by its name; null when there is no such type.
const TypeRow *FindType(const Json &name);

// `request` is a node's request area.
Json DecodeReq(const RequestKind &kind, ByteView request, ByteOrder order);
void ConvertReq(const RequestKind &kind, ByteView original, std::span<std::uint8_t> request, ByteOrder from);

} // namespace orxemu::journal

#endif
