// Headers, filters and actions: what they make of their flow, and what reading them back gives, is looked at
// byte by byte in fuzz/allocated_headers.h and fuzz/stored_requests.h.
#include "fuzz/effect_rows.h"

namespace fuzz {

namespace {

Complaint IsLookedAtThere(const Moment &) {
    return {};
}

// clang-format off
constexpr Effect kEffects[] = {
    {"QIR_Alloc_Hdr",          e_RET_OK, IsLookedAtThere},
    {"QIR_Config_EthFilter",   e_RET_OK, IsLookedAtThere},
    {"QIR_Config_VlanFilter",  e_RET_OK, IsLookedAtThere},
    {"QIR_Config_PppoeFilter", e_RET_OK, IsLookedAtThere},
    {"QIR_Config_Ipv4Filter",  e_RET_OK, IsLookedAtThere},
    {"QIR_Config_TcpFilter",   e_RET_OK, IsLookedAtThere},
    {"QIR_Config_UdpFilter",   e_RET_OK, IsLookedAtThere},
    {"QIR_Get_EthFilter",      e_RET_OK, IsLookedAtThere},
    {"QIR_Get_VlanFilter",     e_RET_OK, IsLookedAtThere},
    {"QIR_Get_PppoeFilter",    e_RET_OK, IsLookedAtThere},
    {"QIR_Get_Ipv4Filter",     e_RET_OK, IsLookedAtThere},
    {"QIR_Get_TcpFilter",      e_RET_OK, IsLookedAtThere},
    {"QIR_Get_UdpFilter",      e_RET_OK, IsLookedAtThere},
    {"QIR_Config_EthAction",   e_RET_OK, IsLookedAtThere},
    {"QIR_Config_VlanAction",  e_RET_OK, IsLookedAtThere},
    {"QIR_Config_PppoeAction", e_RET_OK, IsLookedAtThere},
    {"QIR_Config_Ipv4Action",  e_RET_OK, IsLookedAtThere},
    {"QIR_Config_TcpAction",   e_RET_OK, IsLookedAtThere},
    {"QIR_Config_UdpAction",   e_RET_OK, IsLookedAtThere},
    {"QIR_Get_EthAction",      e_RET_OK, IsLookedAtThere},
    {"QIR_Get_VlanAction",     e_RET_OK, IsLookedAtThere},
    {"QIR_Get_PppoeAction",    e_RET_OK, IsLookedAtThere},
    {"QIR_Get_Ipv4Action",     e_RET_OK, IsLookedAtThere},
    {"QIR_Get_TcpAction",      e_RET_OK, IsLookedAtThere},
    {"QIR_Get_UdpAction",      e_RET_OK, IsLookedAtThere},
    // MPLS is accepted and ignored.
    {"QIR_Config_MplsFilter",  e_RET_OK, DoesNothing},
    {"QIR_Get_MplsFilter",     e_RET_OK, DoesNothing},
    {"QIR_Config_MplsAction",  e_RET_OK, DoesNothing},
    {"QIR_Get_MplsAction",     e_RET_OK, DoesNothing},
};
// clang-format on

} // namespace

std::span<const Effect> RequestEffects() {
    return kEffects;
}

} // namespace fuzz
