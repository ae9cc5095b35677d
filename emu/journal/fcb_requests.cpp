#include "emu/journal/fcb_requests.h"

#include "emu/journal/fields.h"
#include "qirapi/private/fcb_records.h"

#include <algorithm>

namespace orxemu::journal {

namespace {

using enum ValueForm;

constexpr unsigned kWord = 4;
constexpr unsigned kMacBytes = 6;

constexpr NameRow kCmpOps[] = {
    {e_CMP_EQ, "e_CMP_EQ"}, {e_CMP_NEQ, "e_CMP_NEQ"}, {e_CMP_IN_RANGE, "e_CMP_IN_RANGE"}};
static_assert(CountsTo(kCmpOps, e_CMP_MAX));

template <class Filter> constexpr RequestKind FilterKind(std::span<const TypeRow> types) {
    return {.types = types,
            .type = offsetof(Filter, type),
            .cmpOp = offsetof(Filter, cmpOp),
            .val = offsetof(Filter, val),
            .valBytes = sizeof(Filter::val)};
}
template <class Filter>
constexpr RequestKind RangeFilterKind(std::span<const TypeRow> types, ValueForm val2Form) {
    RequestKind kind = FilterKind<Filter>(types);
    kind.val2 = offsetof(Filter, val2);
    kind.val2Form = val2Form;
    return kind;
}
template <class Action> constexpr RequestKind ActionKind(std::span<const TypeRow> types) {
    return {.types = types,
            .type = offsetof(Action, type),
            .cmpOp = 0,
            .val = offsetof(Action, val),
            .valBytes = sizeof(Action::val)};
}
constexpr RequestKind VlanActionKind() {
    RequestKind kind = ActionKind<VlanAction>(kVlanActions);
    kind.tagBehind = offsetof(VlanAction, toTagNum);
    return kind;
}

constexpr RequestKind kEthFilterKind = FilterKind<EthFilter>(kEthFilters);
constexpr RequestKind kVlanFilterKind = RangeFilterKind<VlanFilter>(kVlanFilters, U32);
constexpr RequestKind kPppoeFilterKind = FilterKind<PppoeFilter>(kPppoeFilters);
constexpr RequestKind kIpv4FilterKind = RangeFilterKind<Ipv4Filter>(kIpv4Filters, U8);
constexpr RequestKind kTcpFilterKind = FilterKind<TcpFilter>(kTcpFilters);
constexpr RequestKind kUdpFilterKind = FilterKind<UdpFilter>(kUdpFilters);
constexpr RequestKind kEthActionKind = ActionKind<EthAction>(kEthActions);
constexpr RequestKind kVlanActionKind = VlanActionKind();
constexpr RequestKind kPppoeActionKind = ActionKind<PppoeAction>(kPppoeActions);
constexpr RequestKind kIpv4ActionKind = ActionKind<Ipv4Action>(kIpv4Actions);
constexpr RequestKind kTcpActionKind = ActionKind<TcpAction>(kTcpActions);
constexpr RequestKind kUdpActionKind = ActionKind<UdpAction>(kUdpActions);

#define LIST(kind, blk, member)                                                                              \
    RequestList {                                                                                            \
        &(kind), offsetof(qir::Fcb, blk) + offsetof(decltype(qir::Fcb::blk), member)                         \
    }
#define LISTS(filterKind, actionKind, member)                                                                \
    LIST(filterKind, filterBlk, member), LIST(actionKind, actionBlk, member)

constexpr HeaderRow kHeaders[] = {
    {"eth", e_FLOWHDR_ETH, LISTS(kEthFilterKind, kEthActionKind, eth), "", ""},
    {"vlan0", e_FLOWHDR_VLAN0, LISTS(kVlanFilterKind, kVlanActionKind, vlan[0]), "", "any vlan"},
    {"vlan1", e_FLOWHDR_VLAN1, LISTS(kVlanFilterKind, kVlanActionKind, vlan[1]), "inner ", "any inner vlan"},
    {"vlan2", e_FLOWHDR_VLAN2, {}, {}, "third ", "any third vlan"},
    {"vlan3", e_FLOWHDR_VLAN3, {}, {}, "fourth ", "any fourth vlan"},
    {"pppoe", e_FLOWHDR_PPPOE, LISTS(kPppoeFilterKind, kPppoeActionKind, pppoe), "", "any pppoe"},
    {"mpls", e_FLOWHDR_MPLS, {}, {}, "", "any mpls"},
    {"ipv4", e_FLOWHDR_IPV4, LISTS(kIpv4FilterKind, kIpv4ActionKind, ipv4), "", "any ipv4"},
    {"tcp", e_FLOWHDR_IPV4, LISTS(kTcpFilterKind, kTcpActionKind, tcp), "", "", false},
    {"udp", e_FLOWHDR_IPV4, LISTS(kUdpFilterKind, kUdpActionKind, udp), "", "", false},
};
// Row i is header i; behind the last are those of layer 4.
constexpr bool IsComplete(std::span<const HeaderRow> rows) {
    for (unsigned hdr = 0; hdr < rows.size(); ++hdr) {
        if (rows[hdr].hdr != std::min<unsigned>(hdr, e_FLOWHDR_IPV4)) {
            return false;
        }
    }
    return rows.size() == std::size_t{e_FLOWHDR_MAX} + e_L4FLOWHDR_MAX;
}
static_assert(IsComplete(kHeaders));

// Null for an unknown type.
const TypeRow *RowOf(const RequestKind &kind, std::uint32_t type) {
    return type < kind.types.size() ? &kind.types[type] : nullptr;
}

Json DecodeValue(ValueForm form, ByteView value, ByteOrder order) {
    switch (form) {
    case U8:
        return Load(value, 0, 1, order);
    case U16:
        return Load(value, 0, 2, order);
    case Mac:
        return MacText(value);
    case MacMask:
        return {{"addr", MacText(value)}, {"mask", MacText(value.subspan(kMacBytes))}};
    case IpPrefix:
        return {{"addr", IpText(Load(value, 0, kWord, order))},
                {"prefixLen", Load(value, kWord, kWord, order)}};
    case U32:
    case None:
        break;
    }
    return Load(value, 0, kWord, order);
}

// Bytes and MAC addresses are the same in both orders.
void ConvertValue(ValueForm form, ByteView original, std::span<std::uint8_t> value, ByteOrder from) {
    if (form == U16) {
        ConvertWord(original, value, 0, 2, from);
    }
    if (form == U32 || form == IpPrefix) {
        ConvertWord(original, value, 0, kWord, from);
    }
    if (form == IpPrefix) {
        ConvertWord(original, value, kWord, kWord, from);
    }
}

} // namespace

std::span<const HeaderRow> Headers() {
    return kHeaders;
}

const TypeRow *FindType(const Json &name) {
    for (const HeaderRow &header : kHeaders) {
        for (const RequestList &list : {header.filters, header.actions}) {
            const std::span<const TypeRow> types =
                list.kind != nullptr ? list.kind->types : std::span<const TypeRow>();
            const auto row =
                std::ranges::find_if(types, [&](const TypeRow &type) { return name == type.name; });
            if (row != types.end()) {
                return &*row;
            }
        }
    }
    return nullptr;
}

Json DecodeReq(const RequestKind &kind, ByteView request, ByteOrder order) {
    const std::uint32_t type = Load(request, kind.type, kWord, order);
    const TypeRow *const row = RowOf(kind, type);
    Json decoded;
    decoded["type"] = row != nullptr && !row->name.empty() ? Json(row->name) : Json(type);
    const bool isFilter = kind.cmpOp != 0;
    const std::uint32_t cmpOp = isFilter ? Load(request, kind.cmpOp, kWord, order) : 0;
    if (isFilter) {
        decoded["cmpOp"] = NameOrNumber(kCmpOps, cmpOp);
    }
    const ByteView value = request.subspan(kind.val, kind.valBytes);
    if (row == nullptr) {
        decoded["raw"] = ToHex(value);
    } else if (row->form != None) {
        decoded["val"] = DecodeValue(row->form, value, order);
    }
    if (cmpOp == e_CMP_IN_RANGE && kind.val2 != 0) {
        decoded["val2"] = DecodeValue(kind.val2Form, request.subspan(kind.val2), order);
    }
    return decoded;
}

void ConvertReq(const RequestKind &kind, ByteView original, std::span<std::uint8_t> request, ByteOrder from) {
    for (unsigned offset = 0; offset < kind.val; offset += kWord) {
        ConvertWord(original, request, offset, kWord, from);
    }
    if (const TypeRow *const row = RowOf(kind, Load(original, kind.type, kWord, from)); row != nullptr) {
        ConvertValue(row->form, original.subspan(kind.val), request.subspan(kind.val), from);
    }
    if (kind.val2 != 0) {
        ConvertValue(kind.val2Form, original.subspan(kind.val2), request.subspan(kind.val2), from);
    }
    if (kind.tagBehind != 0) {
        ConvertWord(original, request, kind.tagBehind, kWord, from);
    }
}

} // namespace orxemu::journal
