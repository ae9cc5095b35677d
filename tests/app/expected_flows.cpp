#include "tests/app/expected_flows.h"

namespace app_test {

namespace {

constexpr unsigned kOtherSection = 1;
constexpr unsigned kNonIpSection = 0;

FlowImage Start(unsigned flow, const Fwd &fwd, unsigned section = kOtherSection) {
    return FlowImage(flow, section).SetFwd(fwd);
}

FlowImage StartIpTv(unsigned flow, const Fwd &fwd, uint16_t vid) {
    return Start(flow, fwd)
        .FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x0800)
        .FilterHdr(e_FLOWHDR_VLAN0)
        .Vlan(0, 0x8100, vid)
        .FilterHdr(e_FLOWHDR_IPV4);
}

FlowImage Pop(FlowImage flow) {
    return flow.ActionHdr(e_FLOWHDR_ETH).EthAction(e_ETH_ACTION_POP_TAG);
}

} // namespace

FlowImage UntaggedNonIp(unsigned flow, const Fwd &fwd) {
    return Start(flow, fwd, kNonIpSection)
        .AsOverride(1)
        .FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_NEQ, 0x0800)
        .EthType(e_CMP_NEQ, 0x8100)
        .ActionHdr(e_FLOWHDR_ETH);
}

FlowImage UsUntaggedIp(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                       uint16_t vid) {
    FlowImage image = Start(flow, fwd).AsOverride(asOverride);
    if (pacTblHdl) {
        image.Pac(*pacTblHdl, 0);
    }
    return image.FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x0800)
        .ActionHdr(e_FLOWHDR_ETH)
        .ActionHdr(e_FLOWHDR_VLAN0)
        .EthAction(e_ETH_ACTION_PUSH_TAG)
        .VlanAction(0, e_VLAN_ACTION_SET_TPID, 0x8100)
        .VlanAction(0, e_VLAN_ACTION_SET_VID, vid)
        .VlanAction(0, e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP, 0);
}

FlowImage UsPppoe(unsigned flow, const Fwd &fwd, uint32_t asOverride, uint16_t vid) {
    return Start(flow, fwd)
        .AsOverride(asOverride)
        .FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x8864)
        .ActionHdr(e_FLOWHDR_ETH)
        .ActionHdr(e_FLOWHDR_VLAN0)
        .EthAction(e_ETH_ACTION_PUSH_TAG)
        .VlanAction(0, e_VLAN_ACTION_SET_TPID, 0x8100)
        .VlanAction(0, e_VLAN_ACTION_SET_VID, vid)
        .VlanAction(0, e_VLAN_ACTION_SET_PBITS, 5);
}

FlowImage DsPppoe(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(e_FLOWHDR_ETH)
                   .FilterHdr(e_FLOWHDR_VLAN0)
                   .Vlan(0, 0x8100)
                   .EthType(e_CMP_EQ, 0x8864));
}

FlowImage UsVlanTrans(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                      uint16_t cVid, uint16_t nwVid) {
    FlowImage image = Start(flow, fwd).AsOverride(asOverride);
    if (pacTblHdl) {
        image.Pac(*pacTblHdl, 1);
    }
    return image.FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x0800)
        .FilterHdr(e_FLOWHDR_VLAN0)
        .Vlan(0, 0x8100, cVid)
        .ActionHdr(e_FLOWHDR_ETH)
        .ActionHdr(e_FLOWHDR_VLAN0)
        .VlanAction(0, e_VLAN_ACTION_SET_VID, nwVid);
}

FlowImage DsVlanTrans(unsigned flow, const Fwd &fwd, uint16_t cVid, uint16_t nwVid) {
    return Start(flow, fwd)
        .FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x0800)
        .FilterHdr(e_FLOWHDR_VLAN0)
        .Vlan(0, 0x8100, nwVid)
        .ActionHdr(e_FLOWHDR_ETH)
        .ActionHdr(e_FLOWHDR_VLAN0)
        .VlanAction(0, e_VLAN_ACTION_SET_VID, cVid);
}

// The VLAN headers of the action block are asked for too early: neither they nor their action are there.
FlowImage DsDoubleVlanTrans(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(e_FLOWHDR_ETH)
                   .EthType(e_CMP_EQ, 0x0800)
                   .FilterHdr(e_FLOWHDR_VLAN0)
                   .Vlan(0, 0x9100, 400)
                   .FilterHdr(e_FLOWHDR_VLAN1)
                   .Vlan(1, 0x8100, 800));
}

FlowImage DsIpTvAnySource(unsigned flow, const Fwd &fwd, uint16_t vid) {
    return Pop(StartIpTv(flow, fwd, vid).IpFilter(e_IPV4_FILT_DA, 0xE0010203, 32));
}

FlowImage DsIpTvOneSource(unsigned flow, const Fwd &fwd, uint16_t vid) {
    return Pop(StartIpTv(flow, fwd, vid)
                   .IpFilter(e_IPV4_FILT_DA, 0xE8010203, 0)
                   .IpFilter(e_IPV4_FILT_SA, 0x0A010101, 32));
}

FlowImage DsIpTvAnyTagAnySource(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(e_FLOWHDR_ETH)
                   .EthType(e_CMP_EQ, 0x0800)
                   .FilterHdr(e_FLOWHDR_VLAN0)
                   .FilterHdr(e_FLOWHDR_IPV4)
                   .IpFilter(e_IPV4_FILT_DA, 0xE0010203, 32));
}

FlowImage DsIpTvUnknownType(unsigned flow, const Fwd &fwd, uint16_t vid) {
    return Pop(StartIpTv(flow, fwd, vid));
}

FlowImage DsMultiVlanTrans(unsigned flow, const Fwd &fwd) {
    return Start(flow, fwd)
        .FilterHdr(e_FLOWHDR_ETH)
        .EthType(e_CMP_EQ, 0x0800)
        .FilterHdr(e_FLOWHDR_VLAN0)
        .Vlan(0, 0x9100, 600)
        .ActionHdr(e_FLOWHDR_ETH)
        .ActionHdr(e_FLOWHDR_VLAN0)
        .VlanAction(0, e_VLAN_ACTION_SET_TPID, 0x8100)
        .VlanAction(0, e_VLAN_ACTION_SET_VID, 4095);
}

} // namespace app_test
