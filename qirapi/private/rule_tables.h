// The rules of filters and actions, as tables: a row per type.
//
// A row says how dumps name the type and print its value, which values it accepts, which operators it takes
// and which types exclude it when they are on the header already. A type that excludes itself can be given
// once. Exclusion goes one way: a row speaks only for the request that comes later.
//
// At start-up the operators and exclusions are written into the context (rules.cpp).
#ifndef QIRAPI_PRIVATE_RULE_TABLES_H
#define QIRAPI_PRIVATE_RULE_TABLES_H

#include "qirapi/private/rows.h"
#include "qirapi/qirapi.h"

namespace qir {

// ---- A row --------------------------------------------------------------------------------------------

// How the value lies in the request's value area, from its first byte on, in the byte order of the processor.
enum class ValueForm : u8 {
    kAny,       // not looked at
    kU8,        // 8 bits
    kU16,       // 16 bits
    kPrefixLen, // IPv4 address, then a 32-bit prefix length: the length counts
    kFromTag,   // 32-bit source tag: in range, and not the tag it goes to
};

struct ValueRule {
    ValueForm form;
    u32 min;
    u32 max;
};

constexpr ValueRule kAnyValue = {ValueForm::kAny, 0, 0};
constexpr ValueRule kIpPrefix = {ValueForm::kPrefixLen, 0, 32};
constexpr ValueRule kOtherTag = {ValueForm::kFromTag, 0, e_VLAN_TAG_MAX - 1};
constexpr ValueRule Bits8(u32 min, u32 max) {
    return {ValueForm::kU8, min, max};
}
constexpr ValueRule Bits16(u32 min, u32 max) {
    return {ValueForm::kU16, min, max};
}

// How dumps print a value behind its type.
enum class Show : u8 {
    kNothing,
    kDecU8,      // <%u>
    kDecU16,     // <%u>
    kValDecU8,   // val<%u>
    kValDecU16,  // val<%u>
    kValDecU32,  // val<%u>
    kValHexU16,  // val<0x%.4x>
    kValHexU32,  // val<0x%.8x>
    kMac,        // a MAC address
    kTwoMacs,    // a MAC address and the one behind it
    kValTwoMacs, // the same behind "val"
    kCidr,       // IPv4 address and prefix length
};

struct TypeRule {
    u32 type;
    const char *name; // null: dumps call the type unknown
    Show show;
    ValueRule value;
    u16 cmpOps;     // operators that it takes; actions take none
    u16 excludedBy; // types
};

// The bitmap of types, or of operators.
template <class... Type> constexpr u16 Types(Type... type) {
    return static_cast<u16>((0u | ... | (1u << static_cast<u32>(type))));
}

// All types of a header with `numTypes` types.
constexpr u16 AllTypes(u32 numTypes) {
    return static_cast<u16>((1u << numTypes) - 1);
}

// ---- Operators ----------------------------------------------------------------------------------------

struct CmpOp {
    u32 cmpOp;
    const char *name;
    u8 limit; // filters of one type that a header may hold with this operator
};
inline constexpr CmpOp kCmpOps[] = {
    {QIR_NAMED(e_CMP_EQ), 1},
    {QIR_NAMED(e_CMP_NEQ), 4},
    {QIR_NAMED(e_CMP_IN_RANGE), 1},
};
static_assert(HasRowForEach(kCmpOps, e_CMP_MAX, &CmpOp::cmpOp));

constexpr u16 kNoOp = 0;
constexpr u16 kEq = Types(e_CMP_EQ);
constexpr u16 kEqNeq = Types(e_CMP_EQ, e_CMP_NEQ);
constexpr u16 kEqRange = Types(e_CMP_EQ, e_CMP_IN_RANGE);

// ---- Filters ------------------------------------------------------------------------------------------

constexpr u16 kDestinationFilters = Types(e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, e_ETH_FILT_DA);

// clang-format off
inline constexpr TypeRule kEthFilters[] = {
    {QIR_NAMED(e_ETH_FILT_MCAST),   Show::kNothing,    Bits8(0, 1),                     kEq,    kDestinationFilters},
    {QIR_NAMED(e_ETH_FILT_BCAST),   Show::kNothing,    Bits8(0, 1),                     kEq,    kDestinationFilters},
    {QIR_NAMED(e_ETH_FILT_DA),      Show::kTwoMacs,    kAnyValue,                       kEq,    kDestinationFilters},
    {QIR_NAMED(e_ETH_FILT_SA),      Show::kValTwoMacs, kAnyValue,                       kEq,    Types(e_ETH_FILT_SA)},
    {QIR_NAMED(e_ETH_FILT_ETHTYPE), Show::kValHexU16,  Bits16(QIR_ETHTYPE_MIN, 0xFFFF), kEqNeq, Types()},
};
inline constexpr TypeRule kVlanFilters[] = {
    {QIR_NAMED(e_VLAN_FILT_TAG),   Show::kValHexU32, kAnyValue,                     kEq,    AllTypes(e_VLAN_FILT_MAX)},
    {QIR_NAMED(e_VLAN_FILT_TPID),  Show::kValHexU16, kAnyValue,                     kEqNeq, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TPID)},
    {QIR_NAMED(e_VLAN_FILT_TCI),   Show::kValHexU16, kAnyValue,                     kEq,    Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_PBITS, e_VLAN_FILT_DEI, e_VLAN_FILT_VID)},
    {QIR_NAMED(e_VLAN_FILT_PBITS), Show::kValDecU8,  Bits8(0, QIR_PBITS_MAX - 1),   kEq,    Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_PBITS)},
    {QIR_NAMED(e_VLAN_FILT_DEI),   Show::kValDecU8,  Bits8(0, 1),                   kEq,    Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_DEI)},
    {QIR_NAMED(e_VLAN_FILT_VID),   Show::kValDecU16, Bits16(0, QIR_VLANID_MAX - 1), kEqNeq, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_VID)},
};
// The upper limits of code and session id leave out the highest number of their width; so do some of IPv4.
inline constexpr TypeRule kPppoeFilters[] = {
    {QIR_NAMED(e_PPPOE_FILT_VER),   Show::kDecU8,  Bits8(1, 1),      kEq,    Types(e_PPPOE_FILT_VER)},
    {QIR_NAMED(e_PPPOE_FILT_TYPE),  Show::kDecU8,  Bits8(1, 1),      kEqNeq, Types(e_PPPOE_FILT_TYPE)},
    {QIR_NAMED(e_PPPOE_FILT_CODE),  Show::kDecU8,  Bits8(0, 254),    kEq,    Types(e_PPPOE_FILT_CODE)},
    {QIR_NAMED(e_PPPOE_FILT_SESID), Show::kDecU16, Bits16(0, 65534), kEq,    Types(e_PPPOE_FILT_SESID)},
    {QIR_NAMED(e_PPPOE_FILT_PROTO), Show::kDecU16, kAnyValue,        kEqNeq, Types(e_PPPOE_FILT_PROTO)},
};
inline constexpr TypeRule kIpv4Filters[] = {
    {QIR_NAMED(e_IPV4_FILT_VER),     Show::kDecU8,  Bits8(4, 4),                kEq,      Types(e_IPV4_FILT_VER)},
    {QIR_NAMED(e_IPV4_FILT_IHL),     Show::kDecU8,  Bits8(0, 254),              kEq,      Types(e_IPV4_FILT_IHL)},
    {QIR_NAMED(e_IPV4_FILT_SA),      Show::kCidr,   kIpPrefix,                  kEq,      Types(e_IPV4_FILT_SA)},
    {QIR_NAMED(e_IPV4_FILT_DA),      Show::kCidr,   kIpPrefix,                  kEq,      Types(e_IPV4_FILT_DA, e_IPV4_FILT_MCAST)},
    {QIR_NAMED(e_IPV4_FILT_MCAST),   Show::kDecU8,  Bits8(0, 1),                kEq,      Types(e_IPV4_FILT_DA, e_IPV4_FILT_MCAST)},
    {QIR_NAMED(e_IPV4_FILT_TOS),     Show::kDecU8,  Bits8(0, 254),              kEq,      Types(e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP)},
    {QIR_NAMED(e_IPV4_FILT_DSCP),    Show::kDecU8,  Bits8(0, QIR_DSCP_MAX - 1), kEqRange, Types(e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP)},
    {QIR_NAMED(e_IPV4_FILT_DSCP_1P), Show::kDecU8,  Bits8(0, 7),                kEq,      Types(e_IPV4_FILT_DSCP_1P)},
    {QIR_NAMED(e_IPV4_FILT_TTL_GT1), Show::kDecU8,  Bits8(0, 1),                kEq,      Types(e_IPV4_FILT_TTL_GT1)},
    {QIR_NAMED(e_IPV4_FILT_PROTO),   Show::kDecU16, Bits16(0, 65534),           kEqNeq,   Types()},
    {QIR_NAMED(e_IPV4_FILT_FRAG),    Show::kDecU16, Bits16(0, 1),               kEq,      Types(e_IPV4_FILT_FRAG)},
};
inline constexpr TypeRule kTcpFilters[] = {
    {QIR_NAMED(e_TCP_FILT_SPORT), Show::kDecU16, kAnyValue,    kEqNeq, Types(e_TCP_FILT_SPORT)},
    {QIR_NAMED(e_TCP_FILT_DPORT), Show::kDecU16, kAnyValue,    kEqNeq, Types(e_TCP_FILT_DPORT)},
    {QIR_NAMED(e_TCP_FILT_SYN),   Show::kDecU8,  Bits8(0, 1),  kEq,    Types(e_TCP_FILT_SYN, e_TCP_FILT_CTRL)},
    {QIR_NAMED(e_TCP_FILT_ACK),   Show::kDecU8,  Bits8(0, 1),  kEq,    Types(e_TCP_FILT_ACK, e_TCP_FILT_CTRL)},
    {QIR_NAMED(e_TCP_FILT_FIN),   Show::kDecU8,  Bits8(0, 1),  kEq,    Types(e_TCP_FILT_FIN, e_TCP_FILT_CTRL)},
    {QIR_NAMED(e_TCP_FILT_RST),   Show::kDecU8,  Bits8(0, 1),  kEq,    Types(e_TCP_FILT_RST, e_TCP_FILT_CTRL)},
    {QIR_NAMED(e_TCP_FILT_CTRL),  Show::kDecU8,  Bits8(0, 63), kEq,    Types(e_TCP_FILT_SYN, e_TCP_FILT_ACK, e_TCP_FILT_FIN, e_TCP_FILT_RST, e_TCP_FILT_CTRL)},
};
inline constexpr TypeRule kUdpFilters[] = {
    {QIR_NAMED(e_UDP_FILT_SPORT), Show::kDecU16, kAnyValue, kEqNeq, Types(e_UDP_FILT_SPORT)},
    {QIR_NAMED(e_UDP_FILT_DPORT), Show::kDecU16, kAnyValue, kEqNeq, Types(e_UDP_FILT_DPORT)},
};
// clang-format on

// ---- Actions ------------------------------------------------------------------------------------------

// Several actions write the same field of a tag. Each is excluded by all writers of its field, itself
// included, of the larger fields around it and of the smaller fields inside it.
constexpr u16 kTagWriters = Types(e_VLAN_ACTION_SET_TAG, e_VLAN_ACTION_COPY_TAG_FROM_TAG);
constexpr u16 kTpidWriters = Types(e_VLAN_ACTION_SET_TPID, e_VLAN_ACTION_COPY_TPID_FROM_TAG);
constexpr u16 kTciWriters = Types(e_VLAN_ACTION_SET_TCI, e_VLAN_ACTION_COPY_TCI_FROM_TAG);
constexpr u16 kPbitsWriters =
    Types(e_VLAN_ACTION_SET_PBITS, e_VLAN_ACTION_COPY_PBITS_FROM_TAG, e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP,
          e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE);
constexpr u16 kDeiWriters = Types(e_VLAN_ACTION_SET_DEI, e_VLAN_ACTION_COPY_DEI_FROM_TAG);
constexpr u16 kVidWriters = Types(e_VLAN_ACTION_SET_VID, e_VLAN_ACTION_COPY_VID_FROM_TAG);

constexpr u16 kNotBesideTag = AllTypes(e_VLAN_ACTION_MAX);
constexpr u16 kNotBesideTpid = kTagWriters | kTpidWriters;
constexpr u16 kNotBesideTci = kTagWriters | kTciWriters | kPbitsWriters | kDeiWriters | kVidWriters;
constexpr u16 kNotBesidePbits = kTagWriters | kTciWriters | kPbitsWriters;
constexpr u16 kNotBesideDei = kTagWriters | kTciWriters | kDeiWriters;
constexpr u16 kNotBesideVid = kTagWriters | kTciWriters | kVidWriters;
static_assert(kNotBesideTag == 0x3FFF && kNotBesideTpid == 0x00C3 && kNotBesideTci == 0x3F7D);
static_assert(kNotBesidePbits == 0x334D && kNotBesideDei == 0x0955 && kNotBesideVid == 0x0565);

// clang-format off
inline constexpr TypeRule kEthActions[] = {
    {QIR_NAMED(e_ETH_ACTION_DA),       Show::kMac,       kAnyValue,                       kNoOp, Types(e_ETH_ACTION_DA)},
    {QIR_NAMED(e_ETH_ACTION_SA),       Show::kMac,       kAnyValue,                       kNoOp, Types(e_ETH_ACTION_SA)},
    {QIR_NAMED(e_ETH_ACTION_ETHTYPE),  Show::kValHexU16, Bits16(QIR_ETHTYPE_MIN, 0xFFFF), kNoOp, Types(e_ETH_ACTION_ETHTYPE)},
    {QIR_NAMED(e_ETH_ACTION_PUSH_TAG), Show::kNothing,   kAnyValue,                       kNoOp, Types()}, // limited by the number of tags
    {QIR_NAMED(e_ETH_ACTION_POP_TAG),  Show::kNothing,   kAnyValue,                       kNoOp, Types()}, // likewise
};
inline constexpr TypeRule kVlanActions[] = {
    {QIR_NAMED(e_VLAN_ACTION_SET_TAG),                  Show::kValHexU32, kAnyValue,                     kNoOp, kNotBesideTag},
    {QIR_NAMED(e_VLAN_ACTION_SET_TPID),                 Show::kValHexU16, kAnyValue,                     kNoOp, kNotBesideTpid},
    {QIR_NAMED(e_VLAN_ACTION_SET_TCI),                  Show::kValHexU16, kAnyValue,                     kNoOp, kNotBesideTci},
    {QIR_NAMED(e_VLAN_ACTION_SET_PBITS),                Show::kValDecU8,  Bits8(0, QIR_PBITS_MAX - 1),   kNoOp, kNotBesidePbits},
    {QIR_NAMED(e_VLAN_ACTION_SET_DEI),                  Show::kValDecU8,  Bits8(0, 1),                   kNoOp, kNotBesideDei},
    {QIR_NAMED(e_VLAN_ACTION_SET_VID),                  Show::kValDecU16, Bits16(0, QIR_VLANID_MAX - 1), kNoOp, kNotBesideVid},
    {QIR_NAMED(e_VLAN_ACTION_COPY_TAG_FROM_TAG),        Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesideTag},
    {QIR_NAMED(e_VLAN_ACTION_COPY_TPID_FROM_TAG),       Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesideTpid},
    {QIR_NAMED(e_VLAN_ACTION_COPY_TCI_FROM_TAG),        Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesideTci},
    {QIR_NAMED(e_VLAN_ACTION_COPY_PBITS_FROM_TAG),      Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesidePbits},
    {QIR_NAMED(e_VLAN_ACTION_COPY_VID_FROM_TAG),        Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesideVid},
    {QIR_NAMED(e_VLAN_ACTION_COPY_DEI_FROM_TAG),        Show::kValDecU32, kOtherTag,                     kNoOp, kNotBesideDei},
    {QIR_NAMED(e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP),    Show::kValDecU32, kAnyValue,                     kNoOp, kNotBesidePbits},
    {QIR_NAMED(e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE), Show::kNothing,   kAnyValue,                     kNoOp, kNotBesidePbits},
};
inline constexpr TypeRule kPppoeActions[] = {
    {0, nullptr, Show::kNothing, kAnyValue, kNoOp, Types(0)},
};
inline constexpr TypeRule kIpv4Actions[] = {
    {QIR_NAMED(e_IPV4_ACTION_DA),   Show::kCidr,     kAnyValue, kNoOp, Types(e_IPV4_ACTION_DA)},
    {QIR_NAMED(e_IPV4_ACTION_SA),   Show::kCidr,     kAnyValue, kNoOp, Types(e_IPV4_ACTION_SA)},
    {QIR_NAMED(e_IPV4_ACTION_TOS),  Show::kValDecU8, kAnyValue, kNoOp, Types(e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP)},
    {QIR_NAMED(e_IPV4_ACTION_DSCP), Show::kValDecU8, kAnyValue, kNoOp, Types(e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP)},
};
inline constexpr TypeRule kTcpActions[] = {
    {QIR_NAMED(e_TCP_ACTION_SPORT), Show::kValDecU16, kAnyValue, kNoOp, Types(e_TCP_ACTION_SPORT)},
    {QIR_NAMED(e_TCP_ACTION_DPORT), Show::kValDecU16, kAnyValue, kNoOp, Types(e_TCP_ACTION_DPORT)},
};
inline constexpr TypeRule kUdpActions[] = {
    {QIR_NAMED(e_UDP_ACTION_SPORT), Show::kValDecU16, kAnyValue, kNoOp, Types(e_UDP_ACTION_SPORT)},
    {QIR_NAMED(e_UDP_ACTION_DPORT), Show::kValDecU16, kAnyValue, kNoOp, Types(e_UDP_ACTION_DPORT)},
};
// clang-format on

} // namespace qir

#endif
