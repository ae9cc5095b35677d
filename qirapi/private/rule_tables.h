// The contents of the rule tables, as tables.
//
// Operator tables: for each header and operator the types that take the operator. Dependency tables: for each
// header and type the types whose presence on the header excludes it; a type that excludes itself can be
// given once. The exclusions are one-directional: a row speaks only for the request that comes later.
//
// A rule set covers the rows `firstHdr` to `lastHdr` (the VLAN headers share theirs). MPLS has none, and its
// rows keep the fill pattern.
#ifndef QIRAPI_PRIVATE_RULE_TABLES_H
#define QIRAPI_PRIVATE_RULE_TABLES_H

#include "qirapi/private/types.h"
#include "qirapi/qirapi.h"

namespace qir {

// The bitmap of the given types (or, for an operator table, of the types that take the operator).
template <class... Type> constexpr u16 Types(Type... type) {
    return static_cast<u16>((0u | ... | (1u << static_cast<u32>(type))));
}

// All types of a header with `numTypes` types.
constexpr u16 AllTypes(u32 numTypes) {
    return static_cast<u16>((1u << numTypes) - 1);
}

struct Rule {
    u32 index; // type, or operator
    u16 bmap;  // types
};

struct RuleSet {
    u32 firstHdr;
    u32 lastHdr;
    u32 numIndexes; // types, or operators, of the header
    const Rule *rules;
    u32 numRules;
    const char *what; // names the index in the message about one that has no rule
};

template <u32 N>
constexpr RuleSet MakeRuleSet(u32 firstHdr, u32 lastHdr, u32 numIndexes, const Rule (&rules)[N],
                              const char *what) {
    return RuleSet{firstHdr, lastHdr, numIndexes, rules, N, what};
}

// ---- Operators ----------------------------------------------------------------------------------------

// How many filters of one (operator, type) pair a header may hold.
struct CmpOpLimit {
    u32 cmpOp;
    u8 limit;
};
constexpr CmpOpLimit kCmpOpLimits[] = {
    {e_CMP_EQ, 1},
    {e_CMP_NEQ, 4},
    {e_CMP_IN_RANGE, 1},
};

constexpr Rule kEthCmpOps[] = {
    {e_CMP_EQ, AllTypes(e_ETH_FILT_MAX)},
    {e_CMP_NEQ, Types(e_ETH_FILT_ETHTYPE)},
    {e_CMP_IN_RANGE, Types()},
};
constexpr Rule kVlanCmpOps[] = {
    {e_CMP_EQ, AllTypes(e_VLAN_FILT_MAX)},
    {e_CMP_NEQ, Types(e_VLAN_FILT_TPID, e_VLAN_FILT_VID)},
    {e_CMP_IN_RANGE, Types()},
};
constexpr Rule kPppoeCmpOps[] = {
    {e_CMP_EQ, AllTypes(e_PPPOE_FILT_MAX)},
    {e_CMP_NEQ, Types(e_PPPOE_FILT_TYPE, e_PPPOE_FILT_PROTO)},
    {e_CMP_IN_RANGE, Types()},
};
constexpr Rule kIpv4CmpOps[] = {
    {e_CMP_EQ, AllTypes(e_IPV4_FILT_MAX)},
    {e_CMP_NEQ, Types(e_IPV4_FILT_PROTO)},
    {e_CMP_IN_RANGE, Types(e_IPV4_FILT_DSCP)},
};
constexpr Rule kTcpCmpOps[] = {
    {e_CMP_EQ, AllTypes(e_TCP_FILT_MAX)},
    {e_CMP_NEQ, Types(e_TCP_FILT_SPORT, e_TCP_FILT_DPORT)},
    {e_CMP_IN_RANGE, Types()},
};
constexpr Rule kUdpCmpOps[] = {
    {e_CMP_EQ, AllTypes(e_UDP_FILT_MAX)},
    {e_CMP_NEQ, Types(e_UDP_FILT_SPORT, e_UDP_FILT_DPORT)},
    {e_CMP_IN_RANGE, Types()},
};

constexpr RuleSet kCmpOpRules[] = {
    MakeRuleSet(e_FLOWHDR_ETH, e_FLOWHDR_ETH, e_CMP_MAX, kEthCmpOps, "eth filter cmpOp"),
    MakeRuleSet(e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN3, e_CMP_MAX, kVlanCmpOps, "vlan filter cmpOp"),
    MakeRuleSet(e_FLOWHDR_PPPOE, e_FLOWHDR_PPPOE, e_CMP_MAX, kPppoeCmpOps, "PPPoE filter cmpOp"),
    MakeRuleSet(e_FLOWHDR_IPV4, e_FLOWHDR_IPV4, e_CMP_MAX, kIpv4CmpOps, "IPv4 filter cmpOp"),
};
constexpr RuleSet kL4CmpOpRules[] = {
    MakeRuleSet(e_L4FLOWHDR_TCP, e_L4FLOWHDR_TCP, e_CMP_MAX, kTcpCmpOps, "TCP filter cmpOp"),
    MakeRuleSet(e_L4FLOWHDR_UDP, e_L4FLOWHDR_UDP, e_CMP_MAX, kUdpCmpOps, "UDP filter cmpOp"),
};

// ---- Filters ------------------------------------------------------------------------------------------

constexpr Rule kEthFilterDeps[] = {
    {e_ETH_FILT_MCAST, Types(e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, e_ETH_FILT_DA)},
    {e_ETH_FILT_BCAST, Types(e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, e_ETH_FILT_DA)},
    {e_ETH_FILT_DA, Types(e_ETH_FILT_MCAST, e_ETH_FILT_BCAST, e_ETH_FILT_DA)},
    {e_ETH_FILT_SA, Types(e_ETH_FILT_SA)},
    {e_ETH_FILT_ETHTYPE, Types()},
};
constexpr Rule kVlanFilterDeps[] = {
    {e_VLAN_FILT_TAG, AllTypes(e_VLAN_FILT_MAX)},
    {e_VLAN_FILT_TPID, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TPID)},
    {e_VLAN_FILT_TCI,
     Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_PBITS, e_VLAN_FILT_DEI, e_VLAN_FILT_VID)},
    {e_VLAN_FILT_PBITS, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_PBITS)},
    {e_VLAN_FILT_DEI, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_DEI)},
    {e_VLAN_FILT_VID, Types(e_VLAN_FILT_TAG, e_VLAN_FILT_TCI, e_VLAN_FILT_VID)},
};
constexpr Rule kPppoeFilterDeps[] = {
    {e_PPPOE_FILT_VER, Types(e_PPPOE_FILT_VER)},     {e_PPPOE_FILT_TYPE, Types(e_PPPOE_FILT_TYPE)},
    {e_PPPOE_FILT_CODE, Types(e_PPPOE_FILT_CODE)},   {e_PPPOE_FILT_SESID, Types(e_PPPOE_FILT_SESID)},
    {e_PPPOE_FILT_PROTO, Types(e_PPPOE_FILT_PROTO)},
};
constexpr Rule kIpv4FilterDeps[] = {
    {e_IPV4_FILT_VER, Types(e_IPV4_FILT_VER)},
    {e_IPV4_FILT_IHL, Types(e_IPV4_FILT_IHL)},
    {e_IPV4_FILT_SA, Types(e_IPV4_FILT_SA)},
    {e_IPV4_FILT_DA, Types(e_IPV4_FILT_DA, e_IPV4_FILT_MCAST)},
    {e_IPV4_FILT_MCAST, Types(e_IPV4_FILT_DA, e_IPV4_FILT_MCAST)},
    {e_IPV4_FILT_TOS, Types(e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP)},
    {e_IPV4_FILT_DSCP, Types(e_IPV4_FILT_TOS, e_IPV4_FILT_DSCP)},
    {e_IPV4_FILT_DSCP_1P, Types(e_IPV4_FILT_DSCP_1P)},
    {e_IPV4_FILT_TTL_GT1, Types(e_IPV4_FILT_TTL_GT1)},
    {e_IPV4_FILT_PROTO, Types()},
    {e_IPV4_FILT_FRAG, Types(e_IPV4_FILT_FRAG)},
};
constexpr Rule kTcpFilterDeps[] = {
    {e_TCP_FILT_SPORT, Types(e_TCP_FILT_SPORT)},
    {e_TCP_FILT_DPORT, Types(e_TCP_FILT_DPORT)},
    {e_TCP_FILT_SYN, Types(e_TCP_FILT_SYN, e_TCP_FILT_CTRL)},
    {e_TCP_FILT_ACK, Types(e_TCP_FILT_ACK, e_TCP_FILT_CTRL)},
    {e_TCP_FILT_FIN, Types(e_TCP_FILT_FIN, e_TCP_FILT_CTRL)},
    {e_TCP_FILT_RST, Types(e_TCP_FILT_RST, e_TCP_FILT_CTRL)},
    {e_TCP_FILT_CTRL, Types(e_TCP_FILT_SYN, e_TCP_FILT_ACK, e_TCP_FILT_FIN, e_TCP_FILT_RST, e_TCP_FILT_CTRL)},
};
constexpr Rule kUdpFilterDeps[] = {
    {e_UDP_FILT_SPORT, Types(e_UDP_FILT_SPORT)},
    {e_UDP_FILT_DPORT, Types(e_UDP_FILT_DPORT)},
};

constexpr RuleSet kFilterDepRules[] = {
    MakeRuleSet(e_FLOWHDR_ETH, e_FLOWHDR_ETH, e_ETH_FILT_MAX, kEthFilterDeps, "eth filter type"),
    MakeRuleSet(e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN3, e_VLAN_FILT_MAX, kVlanFilterDeps, "vlan filter type"),
    // PPPoE shares the Ethernet message.
    MakeRuleSet(e_FLOWHDR_PPPOE, e_FLOWHDR_PPPOE, e_PPPOE_FILT_MAX, kPppoeFilterDeps, "eth filter type"),
    MakeRuleSet(e_FLOWHDR_IPV4, e_FLOWHDR_IPV4, e_IPV4_FILT_MAX, kIpv4FilterDeps, "IPv4 filter type"),
};
constexpr RuleSet kL4FilterDepRules[] = {
    MakeRuleSet(e_L4FLOWHDR_TCP, e_L4FLOWHDR_TCP, e_TCP_FILT_MAX, kTcpFilterDeps, "TCP filter type"),
    MakeRuleSet(e_L4FLOWHDR_UDP, e_L4FLOWHDR_UDP, e_UDP_FILT_MAX, kUdpFilterDeps, "UDP filter type"),
};

// ---- Actions ------------------------------------------------------------------------------------------

constexpr Rule kEthActionDeps[] = {
    {e_ETH_ACTION_DA, Types(e_ETH_ACTION_DA)},
    {e_ETH_ACTION_SA, Types(e_ETH_ACTION_SA)},
    {e_ETH_ACTION_ETHTYPE, Types(e_ETH_ACTION_ETHTYPE)},
    {e_ETH_ACTION_PUSH_TAG, Types()}, // limited by the number of tags
    {e_ETH_ACTION_POP_TAG, Types()},  // likewise
};

// Each field of a tag has its writers; a writer excludes the writers of its field, itself included, of every
// larger field around it and of every smaller field inside it.
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

constexpr Rule kVlanActionDeps[] = {
    {e_VLAN_ACTION_SET_TAG, kNotBesideTag},
    {e_VLAN_ACTION_SET_TPID, kNotBesideTpid},
    {e_VLAN_ACTION_SET_TCI, kNotBesideTci},
    {e_VLAN_ACTION_SET_PBITS, kNotBesidePbits},
    {e_VLAN_ACTION_SET_DEI, kNotBesideDei},
    {e_VLAN_ACTION_SET_VID, kNotBesideVid},
    {e_VLAN_ACTION_COPY_TAG_FROM_TAG, kNotBesideTag},
    {e_VLAN_ACTION_COPY_TPID_FROM_TAG, kNotBesideTpid},
    {e_VLAN_ACTION_COPY_TCI_FROM_TAG, kNotBesideTci},
    {e_VLAN_ACTION_COPY_PBITS_FROM_TAG, kNotBesidePbits},
    {e_VLAN_ACTION_COPY_VID_FROM_TAG, kNotBesideVid},
    {e_VLAN_ACTION_COPY_DEI_FROM_TAG, kNotBesideDei},
    {e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, kNotBesidePbits},
    {e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, kNotBesidePbits},
};
static_assert(kNotBesideTag == 0x3FFF && kNotBesideTpid == 0x00C3 && kNotBesideTci == 0x3F7D);
static_assert(kNotBesidePbits == 0x334D && kNotBesideDei == 0x0955 && kNotBesideVid == 0x0565);

constexpr Rule kPppoeActionDeps[] = {
    {0, Types(0)},
};
constexpr Rule kIpv4ActionDeps[] = {
    {e_IPV4_ACTION_DA, Types(e_IPV4_ACTION_DA)},
    {e_IPV4_ACTION_SA, Types(e_IPV4_ACTION_SA)},
    {e_IPV4_ACTION_TOS, Types(e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP)},
    {e_IPV4_ACTION_DSCP, Types(e_IPV4_ACTION_TOS, e_IPV4_ACTION_DSCP)},
};
constexpr Rule kTcpActionDeps[] = {
    {e_TCP_ACTION_SPORT, Types(e_TCP_ACTION_SPORT)},
    {e_TCP_ACTION_DPORT, Types(e_TCP_ACTION_DPORT)},
};
constexpr Rule kUdpActionDeps[] = {
    {e_UDP_ACTION_SPORT, Types(e_UDP_ACTION_SPORT)},
    {e_UDP_ACTION_DPORT, Types(e_UDP_ACTION_DPORT)},
};

constexpr RuleSet kActionDepRules[] = {
    MakeRuleSet(e_FLOWHDR_ETH, e_FLOWHDR_ETH, e_ETH_ACTION_MAX, kEthActionDeps, "eth action type"),
    MakeRuleSet(e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN3, e_VLAN_ACTION_MAX, kVlanActionDeps, "vlan action type"),
    MakeRuleSet(e_FLOWHDR_PPPOE, e_FLOWHDR_PPPOE, e_PPPOE_ACTION_MAX, kPppoeActionDeps, "PPPoE action type"),
    MakeRuleSet(e_FLOWHDR_IPV4, e_FLOWHDR_IPV4, e_IPV4_ACTION_MAX, kIpv4ActionDeps, "IPv4 action type"),
};
constexpr RuleSet kL4ActionDepRules[] = {
    MakeRuleSet(e_L4FLOWHDR_TCP, e_L4FLOWHDR_TCP, e_TCP_ACTION_MAX, kTcpActionDeps, "TCP action type"),
    MakeRuleSet(e_L4FLOWHDR_UDP, e_L4FLOWHDR_UDP, e_UDP_ACTION_MAX, kUdpActionDeps, "UDP action type"),
};

} // namespace qir

#endif
