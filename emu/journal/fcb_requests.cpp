#include "emu/journal/fcb_requests.h"

#include "emu/journal/fields.h"
#include "qirapi/qirapi.h"

namespace orxemu::journal {

namespace {

using enum ValueForm;

constexpr unsigned kWord = 4;
constexpr unsigned kMacBytes = 6;

// A row per type, in the order of the types.
#define TYPE(type, form)                                                                                     \
    TypeRow {                                                                                                \
#type, form                                                                                          \
    }

constexpr NameRow kCmpOps[] = {
    {e_CMP_EQ, "e_CMP_EQ"}, {e_CMP_NEQ, "e_CMP_NEQ"}, {e_CMP_IN_RANGE, "e_CMP_IN_RANGE"}};
static_assert(std::size(kCmpOps) == e_CMP_MAX);

constexpr TypeRow kEthFilters[] = {
    TYPE(e_ETH_FILT_MCAST, U8),   TYPE(e_ETH_FILT_BCAST, U8),    TYPE(e_ETH_FILT_DA, MacMask),
    TYPE(e_ETH_FILT_SA, MacMask), TYPE(e_ETH_FILT_ETHTYPE, U16),
};
static_assert(std::size(kEthFilters) == e_ETH_FILT_MAX);

constexpr TypeRow kVlanFilters[] = {
    TYPE(e_VLAN_FILT_TAG, U32),  TYPE(e_VLAN_FILT_TPID, U16), TYPE(e_VLAN_FILT_TCI, U16),
    TYPE(e_VLAN_FILT_PBITS, U8), TYPE(e_VLAN_FILT_DEI, U8),   TYPE(e_VLAN_FILT_VID, U16),
};
static_assert(std::size(kVlanFilters) == e_VLAN_FILT_MAX);

constexpr TypeRow kPppoeFilters[] = {
    TYPE(e_PPPOE_FILT_VER, U8),    TYPE(e_PPPOE_FILT_TYPE, U8),   TYPE(e_PPPOE_FILT_CODE, U8),
    TYPE(e_PPPOE_FILT_SESID, U16), TYPE(e_PPPOE_FILT_PROTO, U16),
};
static_assert(std::size(kPppoeFilters) == e_PPPOE_FILT_MAX);

constexpr TypeRow kIpv4Filters[] = {
    TYPE(e_IPV4_FILT_VER, U8),      TYPE(e_IPV4_FILT_IHL, U8),     TYPE(e_IPV4_FILT_SA, IpPrefix),
    TYPE(e_IPV4_FILT_DA, IpPrefix), TYPE(e_IPV4_FILT_MCAST, U8),   TYPE(e_IPV4_FILT_TOS, U8),
    TYPE(e_IPV4_FILT_DSCP, U8),     TYPE(e_IPV4_FILT_DSCP_1P, U8), TYPE(e_IPV4_FILT_TTL_GT1, U8),
    TYPE(e_IPV4_FILT_PROTO, U16),   TYPE(e_IPV4_FILT_FRAG, U16),
};
static_assert(std::size(kIpv4Filters) == e_IPV4_FILT_MAX);

constexpr TypeRow kTcpFilters[] = {
    TYPE(e_TCP_FILT_SPORT, U16), TYPE(e_TCP_FILT_DPORT, U16), TYPE(e_TCP_FILT_SYN, U8),
    TYPE(e_TCP_FILT_ACK, U8),    TYPE(e_TCP_FILT_FIN, U8),    TYPE(e_TCP_FILT_RST, U8),
    TYPE(e_TCP_FILT_CTRL, U8),
};
static_assert(std::size(kTcpFilters) == e_TCP_FILT_MAX);

constexpr TypeRow kUdpFilters[] = {TYPE(e_UDP_FILT_SPORT, U16), TYPE(e_UDP_FILT_DPORT, U16)};
static_assert(std::size(kUdpFilters) == e_UDP_FILT_MAX);

constexpr TypeRow kEthActions[] = {
    TYPE(e_ETH_ACTION_DA, Mac),        TYPE(e_ETH_ACTION_SA, Mac),       TYPE(e_ETH_ACTION_ETHTYPE, U16),
    TYPE(e_ETH_ACTION_PUSH_TAG, None), TYPE(e_ETH_ACTION_POP_TAG, None),
};
static_assert(std::size(kEthActions) == e_ETH_ACTION_MAX);

constexpr TypeRow kVlanActions[] = {
    TYPE(e_VLAN_ACTION_SET_TAG, U32),
    TYPE(e_VLAN_ACTION_SET_TPID, U16),
    TYPE(e_VLAN_ACTION_SET_TCI, U16),
    TYPE(e_VLAN_ACTION_SET_PBITS, U8),
    TYPE(e_VLAN_ACTION_SET_DEI, U8),
    TYPE(e_VLAN_ACTION_SET_VID, U16),
    TYPE(e_VLAN_ACTION_COPY_TAG_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_COPY_TPID_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_COPY_TCI_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_COPY_PBITS_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_COPY_VID_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_COPY_DEI_FROM_TAG, U32),
    TYPE(e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, U32),
    TYPE(e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, None),
};
static_assert(std::size(kVlanActions) == e_VLAN_ACTION_MAX);

constexpr TypeRow kPppoeActions[] = {{nullptr, U32}};
static_assert(std::size(kPppoeActions) == e_PPPOE_ACTION_MAX);

constexpr TypeRow kIpv4Actions[] = {
    TYPE(e_IPV4_ACTION_DA, IpPrefix),
    TYPE(e_IPV4_ACTION_SA, IpPrefix),
    TYPE(e_IPV4_ACTION_TOS, U8),
    TYPE(e_IPV4_ACTION_DSCP, U8),
};
static_assert(std::size(kIpv4Actions) == e_IPV4_ACTION_MAX);

constexpr TypeRow kTcpActions[] = {TYPE(e_TCP_ACTION_SPORT, U16), TYPE(e_TCP_ACTION_DPORT, U16)};
static_assert(std::size(kTcpActions) == e_TCP_ACTION_MAX);

constexpr TypeRow kUdpActions[] = {TYPE(e_UDP_ACTION_SPORT, U16), TYPE(e_UDP_ACTION_DPORT, U16)};
static_assert(std::size(kUdpActions) == e_UDP_ACTION_MAX);

template <class Filter> constexpr RequestKind FilterKind(std::span<const TypeRow> types) {
    return {
        types, offsetof(Filter, type), offsetof(Filter, cmpOp), offsetof(Filter, val), sizeof(Filter::val),
        0};
}
template <class Filter>
constexpr RequestKind RangeFilterKind(std::span<const TypeRow> types, ValueForm val2Form) {
    RequestKind kind = FilterKind<Filter>(types);
    kind.val2 = offsetof(Filter, val2);
    kind.val2Form = val2Form;
    return kind;
}
template <class Action> constexpr RequestKind ActionKind(std::span<const TypeRow> types) {
    return {types, offsetof(Action, type), 0, offsetof(Action, val), sizeof(Action::val), 0};
}

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
    default:
        return Load(value, 0, kWord, order);
    }
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

constexpr RequestKind kEthFilterKind = FilterKind<EthFilter>(kEthFilters);
constexpr RequestKind kVlanFilterKind = RangeFilterKind<VlanFilter>(kVlanFilters, U32);
constexpr RequestKind kPppoeFilterKind = FilterKind<PppoeFilter>(kPppoeFilters);
constexpr RequestKind kIpv4FilterKind = RangeFilterKind<Ipv4Filter>(kIpv4Filters, U8);
constexpr RequestKind kTcpFilterKind = FilterKind<TcpFilter>(kTcpFilters);
constexpr RequestKind kUdpFilterKind = FilterKind<UdpFilter>(kUdpFilters);
constexpr RequestKind kEthActionKind = ActionKind<EthAction>(kEthActions);
constexpr RequestKind kVlanActionKind = ActionKind<VlanAction>(kVlanActions);
constexpr RequestKind kPppoeActionKind = ActionKind<PppoeAction>(kPppoeActions);
constexpr RequestKind kIpv4ActionKind = ActionKind<Ipv4Action>(kIpv4Actions);
constexpr RequestKind kTcpActionKind = ActionKind<TcpAction>(kTcpActions);
constexpr RequestKind kUdpActionKind = ActionKind<UdpAction>(kUdpActions);

Json DecodeReq(const RequestKind &kind, ByteView request, ByteOrder order) {
    const std::uint32_t type = Load(request, kind.type, kWord, order);
    const TypeRow *const row = RowOf(kind, type);
    Json decoded;
    decoded["type"] = row != nullptr && row->name != nullptr ? Json(row->name) : Json(type);
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
    // Behind the value of a VLAN action stands its tag.
    if (&kind == &kVlanActionKind) {
        ConvertWord(original, request, offsetof(VlanAction, toTagNum), kWord, from);
    }
}

} // namespace orxemu::journal
