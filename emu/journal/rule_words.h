// The words of rules: a row per filter type and per action type.
//
// "@" in a phrase is where the tag is named: nothing for the outer one, "inner " for the inner one. No two
// rows of a block have the same phrase, and none is the beginning of another behind a value, so that
// a rule can be read in one way only.
#ifndef EMU_JOURNAL_RULE_WORDS_H
#define EMU_JOURNAL_RULE_WORDS_H

#include <cstdint>
#include <string_view>

namespace orxemu::journal {

// How a type's value is said.
enum class Say : std::uint8_t {
    Number,
    Hex,     // with the digits of the value's width
    Text,    // addresses
    Flag,    // the phrase alone for 1, "no " in front for 0
    EthType, // the phrase is replaced for the types that have a word
    Nothing, // the type says it all
    FromTag, // "from inner"
};

struct RuleWords {
    std::string_view type;
    std::string_view phrase;
    Say say;
    unsigned digits = 0; // of hexadecimal values
};

constexpr RuleWords kFilterWords[] = {
    {"e_ETH_FILT_MCAST", "multicast", Say::Flag},
    {"e_ETH_FILT_BCAST", "broadcast", Say::Flag},
    {"e_ETH_FILT_DA", "dmac", Say::Text},
    {"e_ETH_FILT_SA", "smac", Say::Text},
    {"e_ETH_FILT_ETHTYPE", "ethtype", Say::EthType, 4},
    {"e_VLAN_FILT_TAG", "@vlan tag", Say::Hex, 8},
    {"e_VLAN_FILT_TPID", "@vlan tpid", Say::Hex, 4},
    {"e_VLAN_FILT_TCI", "@vlan tci", Say::Hex, 4},
    {"e_VLAN_FILT_PBITS", "@vlan pbits", Say::Number},
    {"e_VLAN_FILT_DEI", "@vlan dei", Say::Number},
    {"e_VLAN_FILT_VID", "@vlan", Say::Number},
    {"e_PPPOE_FILT_VER", "pppoe ver", Say::Number},
    {"e_PPPOE_FILT_TYPE", "pppoe type", Say::Number},
    {"e_PPPOE_FILT_CODE", "pppoe code", Say::Number},
    {"e_PPPOE_FILT_SESID", "pppoe session", Say::Number},
    {"e_PPPOE_FILT_PROTO", "pppoe ppp", Say::Hex, 4},
    {"e_IPV4_FILT_VER", "ipv4 ver", Say::Number},
    {"e_IPV4_FILT_IHL", "ihl", Say::Number},
    {"e_IPV4_FILT_SA", "src", Say::Text},
    {"e_IPV4_FILT_DA", "dst", Say::Text},
    {"e_IPV4_FILT_MCAST", "ipv4 multicast", Say::Flag},
    {"e_IPV4_FILT_TOS", "tos", Say::Number},
    {"e_IPV4_FILT_DSCP", "dscp", Say::Number},
    {"e_IPV4_FILT_DSCP_1P", "dscp-pbits", Say::Number},
    {"e_IPV4_FILT_TTL_GT1", "ttl>1", Say::Flag},
    {"e_IPV4_FILT_PROTO", "proto", Say::Number},
    {"e_IPV4_FILT_FRAG", "fragment", Say::Flag},
    {"e_TCP_FILT_SPORT", "tcp sport", Say::Number},
    {"e_TCP_FILT_DPORT", "tcp dport", Say::Number},
    {"e_TCP_FILT_SYN", "tcp syn", Say::Flag},
    {"e_TCP_FILT_ACK", "tcp ack", Say::Flag},
    {"e_TCP_FILT_FIN", "tcp fin", Say::Flag},
    {"e_TCP_FILT_RST", "tcp rst", Say::Flag},
    {"e_TCP_FILT_CTRL", "tcp ctrl", Say::Hex, 2},
    {"e_UDP_FILT_SPORT", "udp sport", Say::Number},
    {"e_UDP_FILT_DPORT", "udp dport", Say::Number},
};

constexpr RuleWords kActionWords[] = {
    {"e_ETH_ACTION_DA", "set dmac", Say::Text},
    {"e_ETH_ACTION_SA", "set smac", Say::Text},
    {"e_ETH_ACTION_ETHTYPE", "set ethtype", Say::Hex, 4},
    {"e_ETH_ACTION_PUSH_TAG", "push tag", Say::Nothing},
    {"e_ETH_ACTION_POP_TAG", "pop tag", Say::Nothing},
    {"e_VLAN_ACTION_SET_TAG", "set @tag", Say::Hex, 8},
    {"e_VLAN_ACTION_SET_TPID", "set @tpid", Say::Hex, 4},
    {"e_VLAN_ACTION_SET_TCI", "set @tci", Say::Hex, 4},
    {"e_VLAN_ACTION_SET_PBITS", "set @pbits", Say::Number},
    {"e_VLAN_ACTION_SET_DEI", "set @dei", Say::Number},
    {"e_VLAN_ACTION_SET_VID", "set @vid", Say::Number},
    {"e_VLAN_ACTION_COPY_TAG_FROM_TAG", "copy @tag", Say::FromTag},
    {"e_VLAN_ACTION_COPY_TPID_FROM_TAG", "copy @tpid", Say::FromTag},
    {"e_VLAN_ACTION_COPY_TCI_FROM_TAG", "copy @tci", Say::FromTag},
    {"e_VLAN_ACTION_COPY_PBITS_FROM_TAG", "copy @pbits", Say::FromTag},
    {"e_VLAN_ACTION_COPY_VID_FROM_TAG", "copy @vid", Say::FromTag},
    {"e_VLAN_ACTION_COPY_DEI_FROM_TAG", "copy @dei", Say::FromTag},
    {"e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP", "@pbits from dscp", Say::Number},
    {"e_VLAN_ACTION_XLATE_PBITS_FROM_ETHTYPE", "@pbits from ethtype", Say::Nothing},
    {"e_IPV4_ACTION_DA", "set dst", Say::Text},
    {"e_IPV4_ACTION_SA", "set src", Say::Text},
    {"e_IPV4_ACTION_TOS", "set tos", Say::Number},
    {"e_IPV4_ACTION_DSCP", "set dscp", Say::Number},
    {"e_TCP_ACTION_SPORT", "set tcp sport", Say::Number},
    {"e_TCP_ACTION_DPORT", "set tcp dport", Say::Number},
    {"e_UDP_ACTION_SPORT", "set udp sport", Say::Number},
    {"e_UDP_ACTION_DPORT", "set udp dport", Say::Number},
};

// Types of frames that have a word. The two of PPPoE differ in what the session does with them.
struct EthTypeWord {
    std::uint32_t ethType;
    std::string_view word;
};
constexpr EthTypeWord kEthTypeWords[] = {
    {0x0800, "ip"},
    {0x8863, "pppoe discovery"},
    {0x8864, "pppoe"},
};

} // namespace orxemu::journal

#endif
