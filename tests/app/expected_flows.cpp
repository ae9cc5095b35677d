#include "tests/app/expected_flows.h"

namespace app_test {

namespace {

constexpr unsigned kOtherSection = 1;
constexpr unsigned kNonIpSection = 0;

FlowImage Start(unsigned flow, const Fwd &fwd, unsigned section = kOtherSection) {
    return FlowImage(flow, section).SetFwd(fwd);
}

FlowImage StartIpTv(unsigned flow, const Fwd &fwd, unsigned vid) {
    return Start(flow, fwd)
        .FilterHdr(kEth)
        .EthType(kEq, 0x0800)
        .FilterHdr(kVlan0)
        .VlanFilter(0, kFiltTpid, 0x8100)
        .VlanFilter(0, kFiltVid, vid)
        .FilterHdr(kIpv4);
}

FlowImage Pop(FlowImage flow) {
    return flow.ActionHdr(kEth).EthAction(kPopTag);
}

} // namespace

FlowImage UntaggedNonIp(unsigned flow, const Fwd &fwd) {
    return Start(flow, fwd, kNonIpSection)
        .AsOverride(1)
        .FilterHdr(kEth)
        .EthType(kNeq, 0x0800)
        .EthType(kNeq, 0x8100)
        .ActionHdr(kEth);
}

FlowImage UsUntaggedIp(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                       unsigned vid) {
    FlowImage image = Start(flow, fwd).AsOverride(asOverride);
    if (pacTblHdl) {
        image.Pac(*pacTblHdl, 0);
    }
    return image.FilterHdr(kEth)
        .EthType(kEq, 0x0800)
        .ActionHdr(kEth)
        .ActionHdr(kVlan0)
        .EthAction(kPushTag)
        .VlanAction16(0, kSetTpid, 0x8100)
        .VlanAction16(0, kSetVid, vid)
        .VlanAction16(0, kXlatePbitsFromDscp, 0);
}

FlowImage UsPppoe(unsigned flow, const Fwd &fwd, uint32_t asOverride, unsigned vid) {
    return Start(flow, fwd)
        .AsOverride(asOverride)
        .FilterHdr(kEth)
        .EthType(kEq, 0x8864)
        .ActionHdr(kEth)
        .ActionHdr(kVlan0)
        .EthAction(kPushTag)
        .VlanAction16(0, kSetTpid, 0x8100)
        .VlanAction16(0, kSetVid, vid)
        .VlanAction8(0, kSetPbits, 5);
}

FlowImage DsPppoe(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(kEth)
                   .FilterHdr(kVlan0)
                   .VlanFilter(0, kFiltTpid, 0x8100)
                   .EthType(kEq, 0x8864));
}

FlowImage UsVlanTrans(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                      unsigned cVid, unsigned nwVid) {
    FlowImage image = Start(flow, fwd).AsOverride(asOverride);
    if (pacTblHdl) {
        image.Pac(*pacTblHdl, 1);
    }
    return image.FilterHdr(kEth)
        .EthType(kEq, 0x0800)
        .FilterHdr(kVlan0)
        .VlanFilter(0, kFiltTpid, 0x8100)
        .VlanFilter(0, kFiltVid, cVid)
        .ActionHdr(kEth)
        .ActionHdr(kVlan0)
        .VlanAction16(0, kSetVid, nwVid);
}

FlowImage DsVlanTrans(unsigned flow, const Fwd &fwd, unsigned cVid, unsigned nwVid) {
    return Start(flow, fwd)
        .FilterHdr(kEth)
        .EthType(kEq, 0x0800)
        .FilterHdr(kVlan0)
        .VlanFilter(0, kFiltTpid, 0x8100)
        .VlanFilter(0, kFiltVid, nwVid)
        .ActionHdr(kEth)
        .ActionHdr(kVlan0)
        .VlanAction16(0, kSetVid, cVid);
}

// The VLAN headers of the action block are asked for too early: neither they nor their action are there.
FlowImage DsDoubleVlanTrans(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(kEth)
                   .EthType(kEq, 0x0800)
                   .FilterHdr(kVlan0)
                   .VlanFilter(0, kFiltTpid, 0x9100)
                   .VlanFilter(0, kFiltVid, 400)
                   .FilterHdr(kVlan1)
                   .VlanFilter(1, kFiltTpid, 0x8100)
                   .VlanFilter(1, kFiltVid, 800));
}

FlowImage DsIpTvAnySource(unsigned flow, const Fwd &fwd, unsigned vid) {
    return Pop(StartIpTv(flow, fwd, vid).IpFilter(kFiltIpDa, 0xE0010203, 32));
}

FlowImage DsIpTvOneSource(unsigned flow, const Fwd &fwd, unsigned vid) {
    return Pop(
        StartIpTv(flow, fwd, vid).IpFilter(kFiltIpDa, 0xE8010203, 0).IpFilter(kFiltIpSa, 0x0A010101, 32));
}

FlowImage DsIpTvAnyTagAnySource(unsigned flow, const Fwd &fwd) {
    return Pop(Start(flow, fwd)
                   .FilterHdr(kEth)
                   .EthType(kEq, 0x0800)
                   .FilterHdr(kVlan0)
                   .FilterHdr(kIpv4)
                   .IpFilter(kFiltIpDa, 0xE0010203, 32));
}

FlowImage DsIpTvUnknownType(unsigned flow, const Fwd &fwd, unsigned vid) {
    return Pop(StartIpTv(flow, fwd, vid));
}

FlowImage DsMultiVlanTrans(unsigned flow, const Fwd &fwd) {
    return Start(flow, fwd)
        .FilterHdr(kEth)
        .EthType(kEq, 0x0800)
        .FilterHdr(kVlan0)
        .VlanFilter(0, kFiltTpid, 0x9100)
        .VlanFilter(0, kFiltVid, 600)
        .ActionHdr(kEth)
        .ActionHdr(kVlan0)
        .VlanAction16(0, kSetTpid, 0x8100)
        .VlanAction16(0, kSetVid, 4095);
}

} // namespace app_test
