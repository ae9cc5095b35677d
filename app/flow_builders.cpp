#include "app/flow_builders.h"

#include "app/record_tools.h"

#include <cstdio>

namespace app {

namespace {

constexpr uint32_t kSection = 1;
constexpr uint32_t kNonIpSection = 0;

constexpr uint16_t kEthTypeIpv4 = 0x0800;
constexpr uint16_t kEthTypePppoeSession = 0x8864;
constexpr uint16_t kTpidC = 0x8100;
constexpr uint16_t kTpidS = 0x9100;
constexpr uint16_t kAnyVid = 65535;

constexpr uint32_t Ip(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return a << 24 | b << 16 | c << 8 | d;
}

// ---- Steps that every builder is made of; records are zero but for the fields they name ---------------

void Begin(uint32_t section, const FwdInfo *fwd_p, FlowHdl *flow_p) {
    QIR_Alloc_FCB(section, flow_p);
    QIR_Set_FwdInfo(flow_p, fwd_p);
}

void Finish(FlowHdl *flow_p) {
    QIR_Activate_FCB(flow_p);
    QIR_Dump_FCB(flow_p);
}

void FilterHdr(FlowHdl *flow_p, uint32_t flowHdr) {
    const FlowHdr hdr{.blk = e_BLKTYPE_FILTER, .flowHdr = flowHdr};
    QIR_Alloc_Hdr(flow_p, &hdr);
}

void ActionHdr(FlowHdl *flow_p, uint32_t flowHdr) {
    const FlowHdr hdr{.blk = e_BLKTYPE_ACTION, .flowHdr = flowHdr};
    QIR_Alloc_Hdr(flow_p, &hdr);
}

void OverrideAs(FlowHdl *flow_p, const AsTblHdl *asTbl_p) {
    QIR_Set_AsOverride(flow_p, asTbl_p != nullptr ? e_AS_OVERRIDE_DISABLE : e_AS_OVERRIDE_ENABLE);
}

void FilterEthType(FlowHdl *flow_p, uint32_t cmpOp, uint16_t ethType) {
    auto filter = Zeroed<EthFilter>();
    filter.op = e_CONFIG_OPER_ADD;
    filter.type = e_ETH_FILT_ETHTYPE;
    filter.cmpOp = cmpOp;
    filter.val.ethType = ethType;
    QIR_Config_EthFilter(flow_p, &filter);
}

VlanFilter MakeVlanFilter(uint32_t tag, uint32_t type) {
    auto filter = Zeroed<VlanFilter>();
    filter.op = e_CONFIG_OPER_ADD;
    filter.toTagNum = tag;
    filter.type = type;
    filter.cmpOp = e_CMP_EQ;
    return filter;
}

void FilterTpid(FlowHdl *flow_p, uint32_t tag, uint16_t tpid) {
    VlanFilter filter = MakeVlanFilter(tag, e_VLAN_FILT_TPID);
    filter.val.tpid = tpid;
    QIR_Config_VlanFilter(flow_p, &filter);
}

void FilterVid(FlowHdl *flow_p, uint32_t tag, uint16_t vid) {
    VlanFilter filter = MakeVlanFilter(tag, e_VLAN_FILT_VID);
    filter.val.vid = vid;
    QIR_Config_VlanFilter(flow_p, &filter);
}

void FilterIp(FlowHdl *flow_p, uint32_t type, QirIpPrefix ip) {
    auto filter = Zeroed<Ipv4Filter>();
    filter.op = e_CONFIG_OPER_ADD;
    filter.type = type;
    filter.cmpOp = e_CMP_EQ;
    filter.val.ip = ip;
    QIR_Config_Ipv4Filter(flow_p, &filter);
}

void PushOrPop(FlowHdl *flow_p, uint32_t type) {
    auto action = Zeroed<EthAction>();
    action.op = e_CONFIG_OPER_ADD;
    action.type = type;
    QIR_Config_EthAction(flow_p, &action);
}

VlanAction MakeVlanAction(uint32_t tag, uint32_t type) {
    auto action = Zeroed<VlanAction>();
    action.op = e_CONFIG_OPER_ADD;
    action.type = type;
    action.toTagNum = tag;
    return action;
}

void SetTpid(FlowHdl *flow_p, uint32_t tag, uint16_t tpid) {
    VlanAction action = MakeVlanAction(tag, e_VLAN_ACTION_SET_TPID);
    action.val.tpid = tpid;
    QIR_Config_VlanAction(flow_p, &action);
}

void SetVid(FlowHdl *flow_p, uint32_t tag, uint16_t vid) {
    VlanAction action = MakeVlanAction(tag, e_VLAN_ACTION_SET_VID);
    action.val.vid = vid;
    QIR_Config_VlanAction(flow_p, &action);
}

void SetPbits(FlowHdl *flow_p, uint32_t tag, uint8_t pbits) {
    VlanAction action = MakeVlanAction(tag, e_VLAN_ACTION_SET_PBITS);
    action.val.pbits = pbits;
    QIR_Config_VlanAction(flow_p, &action);
}

void TranslatePbitsFromDscp(FlowHdl *flow_p, uint32_t tag) {
    const VlanAction action = MakeVlanAction(tag, e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP);
    QIR_Config_VlanAction(flow_p, &action);
}

void CopyPbits(FlowHdl *flow_p, uint32_t tag, uint32_t fromTag) {
    VlanAction action = MakeVlanAction(tag, e_VLAN_ACTION_COPY_PBITS_FROM_TAG);
    action.val.fromTagNum = fromTag;
    QIR_Config_VlanAction(flow_p, &action);
}

} // namespace

void App_ConfigFlow_UntaggedNonIP(const FwdInfo *fwd_p, FlowHdl *flow_p) {
    Begin(kNonIpSection, fwd_p, flow_p);
    QIR_Set_AsOverride(flow_p, e_AS_OVERRIDE_ENABLE);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_NEQ, kEthTypeIpv4);
    FilterEthType(flow_p, e_CMP_NEQ, kTpidC);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    Finish(flow_p);
}

void App_ConfigUsUcastFlow_UntaggedDscp2Pbits(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p,
                                              const DscpTblHdl *, PacTblHdl *pac_p, FlowHdl *flow_p,
                                              uint16_t vid) {
    Begin(kSection, fwd_p, flow_p);
    OverrideAs(flow_p, asTbl_p);
    if (pac_p != nullptr) {
        QIR_Set_PacInfo(flow_p, e_TBLSTATUS_ENABLE, 0, pac_p);
    }
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    PushOrPop(flow_p, e_ETH_ACTION_PUSH_TAG);
    SetTpid(flow_p, 0, kTpidC);
    SetVid(flow_p, 0, vid);
    TranslatePbitsFromDscp(flow_p, 0);
    Finish(flow_p);
}

void App_ConfigUsUcastFlow_PPPoE(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p, FlowHdl *flow_p,
                                 uint16_t vid) {
    constexpr uint8_t kPbits = 5;
    Begin(kSection, fwd_p, flow_p);
    OverrideAs(flow_p, asTbl_p);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypePppoeSession);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    PushOrPop(flow_p, e_ETH_ACTION_PUSH_TAG);
    SetTpid(flow_p, 0, kTpidC);
    SetVid(flow_p, 0, vid);
    SetPbits(flow_p, 0, kPbits);
    Finish(flow_p);
}

void App_ConfigDsUcastFlow_PPPoE(const FwdInfo *fwd_p, FlowHdl *flow_p) {
    Begin(kSection, fwd_p, flow_p);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    FilterTpid(flow_p, 0, kTpidC);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypePppoeSession);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    PushOrPop(flow_p, e_ETH_ACTION_POP_TAG);
    Finish(flow_p);
}

void App_ConfigUsUcastFlow_VlanTrans(const FwdInfo *fwd_p, const AsTblHdl *asTbl_p, PacTblHdl *pac_p,
                                     FlowHdl *flow_p, uint16_t cVid, uint16_t nwVid) {
    constexpr uint32_t kPbitsSource = 1;
    Begin(kSection, fwd_p, flow_p);
    std::printf("US: cVid %d -> nwVid %d\n", cVid, nwVid);
    OverrideAs(flow_p, asTbl_p);
    if (pac_p != nullptr) {
        QIR_Set_PacInfo(flow_p, e_TBLSTATUS_ENABLE, kPbitsSource, pac_p);
    }
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    FilterTpid(flow_p, 0, kTpidC);
    FilterVid(flow_p, 0, cVid);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    SetVid(flow_p, 0, nwVid);
    std::puts("Activating Flow");
    Finish(flow_p);
}

void App_ConfigDsUcastFlow_VlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p, uint16_t cVid, uint16_t nwVid) {
    Begin(kSection, fwd_p, flow_p);
    std::printf("DS: nwVid %d -> cVid %d\n", nwVid, cVid);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    FilterTpid(flow_p, 0, kTpidC);
    FilterVid(flow_p, 0, nwVid);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    SetVid(flow_p, 0, cVid);
    Finish(flow_p);
}

void App_ConfigDsUcastFlow_DoubleVlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p) {
    constexpr uint16_t kOuterVid = 400;
    constexpr uint16_t kInnerVid = 800;
    Begin(kSection, fwd_p, flow_p);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    FilterTpid(flow_p, 0, kTpidS);
    FilterVid(flow_p, 0, kOuterVid);
    FilterHdr(flow_p, e_FLOWHDR_VLAN1);
    FilterTpid(flow_p, 1, kTpidC);
    FilterVid(flow_p, 1, kInnerVid);
    // The action block's VLAN headers are asked for before the Ethernet header that they need, and refused.
    // This order is intended.
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    ActionHdr(flow_p, e_FLOWHDR_VLAN1);
    CopyPbits(flow_p, 1, 0);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    PushOrPop(flow_p, e_ETH_ACTION_POP_TAG);
    Finish(flow_p);
}

void App_ConfigDsMcastFlow_IpTv(const FwdInfo *fwd_p, FlowHdl *flow_p, uint32_t mcastType, uint16_t vid) {
    constexpr uint32_t kAnySource = 0;
    constexpr uint32_t kOneSource = 1;
    Begin(kSection, fwd_p, flow_p);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    if (vid < kAnyVid) {
        FilterTpid(flow_p, 0, kTpidC);
        FilterVid(flow_p, 0, vid);
    }
    FilterHdr(flow_p, e_FLOWHDR_IPV4);
    if (mcastType == kAnySource) {
        FilterIp(flow_p, e_IPV4_FILT_DA, {.addr = Ip(224, 1, 2, 3), .prefixLen = 32});
    } else if (mcastType == kOneSource) {
        // The group's prefix length is not given.
        FilterIp(flow_p, e_IPV4_FILT_DA, {.addr = Ip(232, 1, 2, 3), .prefixLen = 0});
        FilterIp(flow_p, e_IPV4_FILT_SA, {.addr = Ip(10, 1, 1, 1), .prefixLen = 32});
    } else {
        std::printf("*** ERROR ***: Invalid Mcast Type <%d>\n", static_cast<int>(mcastType));
    }
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    PushOrPop(flow_p, e_ETH_ACTION_POP_TAG);
    Finish(flow_p);
}

void App_ConfigDsMcastFlow_MultiVlanTrans(const FwdInfo *fwd_p, FlowHdl *flow_p) {
    constexpr uint16_t kMatchedVid = 600;
    constexpr uint16_t kNewVid = 4095;
    Begin(kSection, fwd_p, flow_p);
    FilterHdr(flow_p, e_FLOWHDR_ETH);
    FilterEthType(flow_p, e_CMP_EQ, kEthTypeIpv4);
    FilterHdr(flow_p, e_FLOWHDR_VLAN0);
    FilterTpid(flow_p, 0, kTpidS);
    FilterVid(flow_p, 0, kMatchedVid);
    ActionHdr(flow_p, e_FLOWHDR_ETH);
    ActionHdr(flow_p, e_FLOWHDR_VLAN0);
    SetTpid(flow_p, 0, kTpidC);
    SetVid(flow_p, 0, kNewVid);
    Finish(flow_p);
}

} // namespace app
