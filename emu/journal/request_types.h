// The types of filters and actions, a row for each: what its value is made of, and the words that people read.
//
// "@" in a phrase stands for the tag: nothing for the outer one, "inner " for the inner one. No two filters
// and no two actions share a phrase, so that a rule has one reading only.
#ifndef EMU_JOURNAL_REQUEST_TYPES_H
#define EMU_JOURNAL_REQUEST_TYPES_H

#include "qirapi/qirapi.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace orxemu::journal {

// What a type's value is made of. The value stands at the beginning of the record's value area.
enum class ValueForm : std::uint8_t { None, U8, U16, U32, Mac, MacMask, IpPrefix };

// How people read the value.
enum class Say : std::uint8_t {
    Plain,   // a number or an address; nothing when the type says it all
    Hex,     // with all digits of the form
    Flag,    // the phrase alone for 1, "no " in front for 0
    EthType, // Hex; a type of frames that has a word of its own is that word without the phrase
    FromTag, // "from inner"
};

struct TypeRow {
    std::uint32_t type;
    std::string_view name; // empty for the PPPoE action, which is shown as its number
    ValueForm form;
    Say say;
    std::string_view phrase;
};

// Digits of the value in hexadecimal; 0 when it is shown in another way.
constexpr unsigned HexDigits(const TypeRow &type) {
    if (type.say != Say::Hex && type.say != Say::EthType) {
        return 0;
    }
    return type.form == ValueForm::U8 ? 2 : type.form == ValueForm::U16 ? 4 : 8;
}

// Row i is type i, and every type has a row.
constexpr bool IsComplete(std::span<const TypeRow> rows, std::uint32_t numTypes) {
    for (std::uint32_t type = 0; type < rows.size(); ++type) {
        if (rows[type].type != type) {
            return false;
        }
    }
    return rows.size() == numTypes;
}

#define TYPE(type, form, say, phrase)                                                                        \
    TypeRow {                                                                                                \
        type, #type, ValueForm::form, Say::say, phrase                                                       \
    }

constexpr TypeRow kEthFilters[] = {
    TYPE(e_ETH_FILT_MCAST, U8, Flag, "multicast"),     TYPE(e_ETH_FILT_BCAST, U8, Flag, "broadcast"),
    TYPE(e_ETH_FILT_DA, MacMask, Plain, "dmac"),       TYPE(e_ETH_FILT_SA, MacMask, Plain, "smac"),
    TYPE(e_ETH_FILT_ETHTYPE, U16, EthType, "ethtype"),
};
static_assert(IsComplete(kEthFilters, e_ETH_FILT_MAX));

constexpr TypeRow kVlanFilters[] = {
    TYPE(e_VLAN_FILT_TAG, U32, Hex, "@vlan tag"),  TYPE(e_VLAN_FILT_TPID, U16, Hex, "@vlan tpid"),
    TYPE(e_VLAN_FILT_TCI, U16, Hex, "@vlan tci"),  TYPE(e_VLAN_FILT_PBITS, U8, Plain, "@vlan pbits"),
    TYPE(e_VLAN_FILT_DEI, U8, Plain, "@vlan dei"), TYPE(e_VLAN_FILT_VID, U16, Plain, "@vlan"),
};
static_assert(IsComplete(kVlanFilters, e_VLAN_FILT_MAX));

constexpr TypeRow kPppoeFilters[] = {
    TYPE(e_PPPOE_FILT_VER, U8, Plain, "pppoe ver"),   TYPE(e_PPPOE_FILT_TYPE, U8, Plain, "pppoe type"),
    TYPE(e_PPPOE_FILT_CODE, U8, Plain, "pppoe code"), TYPE(e_PPPOE_FILT_SESID, U16, Plain, "pppoe session"),
    TYPE(e_PPPOE_FILT_PROTO, U16, Hex, "pppoe ppp"),
};
static_assert(IsComplete(kPppoeFilters, e_PPPOE_FILT_MAX));

constexpr TypeRow kIpv4Filters[] = {
    TYPE(e_IPV4_FILT_VER, U8, Plain, "ipv4 ver"),        TYPE(e_IPV4_FILT_IHL, U8, Plain, "ihl"),
    TYPE(e_IPV4_FILT_SA, IpPrefix, Plain, "src"),        TYPE(e_IPV4_FILT_DA, IpPrefix, Plain, "dst"),
    TYPE(e_IPV4_FILT_MCAST, U8, Flag, "ipv4 multicast"), TYPE(e_IPV4_FILT_TOS, U8, Plain, "tos"),
    TYPE(e_IPV4_FILT_DSCP, U8, Plain, "dscp"),           TYPE(e_IPV4_FILT_DSCP_1P, U8, Plain, "dscp-pbits"),
    TYPE(e_IPV4_FILT_TTL_GT1, U8, Flag, "ttl>1"),        TYPE(e_IPV4_FILT_PROTO, U16, Plain, "proto"),
    TYPE(e_IPV4_FILT_FRAG, U16, Flag, "fragment"),
};
static_assert(IsComplete(kIpv4Filters, e_IPV4_FILT_MAX));

constexpr TypeRow kTcpFilters[] = {
    TYPE(e_TCP_FILT_SPORT, U16, Plain, "tcp sport"), TYPE(e_TCP_FILT_DPORT, U16, Plain, "tcp dport"),
    TYPE(e_TCP_FILT_SYN, U8, Flag, "tcp syn"),       TYPE(e_TCP_FILT_ACK, U8, Flag, "tcp ack"),
    TYPE(e_TCP_FILT_FIN, U8, Flag, "tcp fin"),       TYPE(e_TCP_FILT_RST, U8, Flag, "tcp rst"),
    TYPE(e_TCP_FILT_CTRL, U8, Hex, "tcp ctrl"),
};
static_assert(IsComplete(kTcpFilters, e_TCP_FILT_MAX));

constexpr TypeRow kUdpFilters[] = {
    TYPE(e_UDP_FILT_SPORT, U16, Plain, "udp sport"),
    TYPE(e_UDP_FILT_DPORT, U16, Plain, "udp dport"),
};
static_assert(IsComplete(kUdpFilters, e_UDP_FILT_MAX));

constexpr TypeRow kEthActions[] = {
    TYPE(e_ETH_ACTION_DA, Mac, Plain, "set dmac"),       TYPE(e_ETH_ACTION_SA, Mac, Plain, "set smac"),
    TYPE(e_ETH_ACTION_ETHTYPE, U16, Hex, "set ethtype"), TYPE(e_ETH_ACTION_PUSH_TAG, None, Plain, "push tag"),
    TYPE(e_ETH_ACTION_POP_TAG, None, Plain, "pop tag"),
};
static_assert(IsComplete(kEthActions, e_ETH_ACTION_MAX));

constexpr TypeRow kVlanActions[] = {
    TYPE(e_VLAN_ACTION_SET_TAG, U32, Hex, "set @tag"),
    TYPE(e_VLAN_ACTION_SET_TPID, U16, Hex, "set @tpid"),
    TYPE(e_VLAN_ACTION_SET_TCI, U16, Hex, "set @tci"),
    TYPE(e_VLAN_ACTION_SET_PBITS, U8, Plain, "set @pbits"),
    TYPE(e_VLAN_ACTION_SET_DEI, U8, Plain, "set @dei"),
    TYPE(e_VLAN_ACTION_SET_VID, U16, Plain, "set @vid"),
    TYPE(e_VLAN_ACTION_COPY_TAG_FROM_TAG, U32, FromTag, "copy @tag"),
    TYPE(e_VLAN_ACTION_COPY_TPID_FROM_TAG, U32, FromTag, "copy @tpid"),
    TYPE(e_VLAN_ACTION_COPY_TCI_FROM_TAG, U32, FromTag, "copy @tci"),
    TYPE(e_VLAN_ACTION_COPY_PBITS_FROM_TAG, U32, FromTag, "copy @pbits"),
    TYPE(e_VLAN_ACTION_COPY_VID_FROM_TAG, U32, FromTag, "copy @vid"),
    TYPE(e_VLAN_ACTION_COPY_DEI_FROM_TAG, U32, FromTag, "copy @dei"),
    TYPE(e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, U32, Plain, "@pbits from dscp"),
    TYPE(e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE, None, Plain, "@pbits from ethtype"),
};
static_assert(IsComplete(kVlanActions, e_VLAN_ACTION_MAX));

constexpr TypeRow kPppoeActions[] = {{0, "", ValueForm::U32, Say::Plain, ""}};
static_assert(IsComplete(kPppoeActions, e_PPPOE_ACTION_MAX));

constexpr TypeRow kIpv4Actions[] = {
    TYPE(e_IPV4_ACTION_DA, IpPrefix, Plain, "set dst"),
    TYPE(e_IPV4_ACTION_SA, IpPrefix, Plain, "set src"),
    TYPE(e_IPV4_ACTION_TOS, U8, Plain, "set tos"),
    TYPE(e_IPV4_ACTION_DSCP, U8, Plain, "set dscp"),
};
static_assert(IsComplete(kIpv4Actions, e_IPV4_ACTION_MAX));

constexpr TypeRow kTcpActions[] = {
    TYPE(e_TCP_ACTION_SPORT, U16, Plain, "set tcp sport"),
    TYPE(e_TCP_ACTION_DPORT, U16, Plain, "set tcp dport"),
};
static_assert(IsComplete(kTcpActions, e_TCP_ACTION_MAX));

constexpr TypeRow kUdpActions[] = {
    TYPE(e_UDP_ACTION_SPORT, U16, Plain, "set udp sport"),
    TYPE(e_UDP_ACTION_DPORT, U16, Plain, "set udp dport"),
};
static_assert(IsComplete(kUdpActions, e_UDP_ACTION_MAX));

#undef TYPE

} // namespace orxemu::journal

#endif
