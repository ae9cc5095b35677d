#include "tests/app/flow_image.h"

#include "qirapi/private/actions.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/filters.h"
#include "qirapi/private/fwd_info.h"
#include "qirapi/private/headers.h"

#include <gtest/gtest.h>

namespace app_test {

FwdInfo Fwd::Record() const {
    FwdInfo info{};
    info.flowPrio = prio;
    info.src.portMask = srcPorts;
    info.src.gemPortIdxMask = srcGems;
    info.dst.portMask = dstPorts;
    info.dst.gemPortIdxMask = dstGems;
    info.dst.gemQid[gemWithQueue] = static_cast<uint8_t>(queue);
    info.fwdAction = e_FWD_ACTION_ARL_OVRD;
    return info;
}

FlowImage::FlowImage(unsigned flow, uint32_t section) {
    qir::Init_FCB(&fcb_);
    fcb_.status = e_STATUS_CFG;
    fcb_.flowHdl.word = 0xFFFFFFFF;
    fcb_.flowHdl.f1.id = flow & 0xFFFFu;
    fcb_.section = section;
}

FlowImage &FlowImage::SetFwd(const Fwd &fwd) {
    const FwdInfo info = fwd.Record();
    qir::Set_FwdInfo(&fcb_, &info);
    return *this;
}

FlowImage &FlowImage::AsOverride(uint32_t override) {
    fcb_.asOverride = override;
    return *this;
}

FlowImage &FlowImage::Pac(uint32_t tblHdl, uint32_t pbitsSource) {
    fcb_.tblAssoc = qir::kTblAssocPac;
    fcb_.pacTblHdl.word = tblHdl;
    fcb_.pbitsSource = pbitsSource;
    return *this;
}

FlowImage &FlowImage::FilterHdr(uint32_t hdr) {
    const FlowHdr header{e_BLKTYPE_FILTER, hdr};
    EXPECT_EQ(qir::Alloc_Hdr(&fcb_, &header), 0u);
    return *this;
}

FlowImage &FlowImage::EthType(uint32_t cmpOp, uint16_t ethType) {
    EthFilter filter{};
    filter.type = e_ETH_FILT_ETHTYPE;
    filter.cmpOp = cmpOp;
    filter.val.ethType = ethType;
    EXPECT_EQ(qir::Validate_Config_EthFilter(&fcb_, &filter), 0u);
    EXPECT_EQ(qir::Config_EthFilter(&fcb_, &filter), 0u);
    return *this;
}

void FlowImage::Add(const VlanFilter &filter) {
    EXPECT_EQ(qir::Validate_Config_VlanFilter(&fcb_, &filter), 0u);
    EXPECT_EQ(qir::Config_VlanFilter(&fcb_, &filter), 0u);
}

FlowImage &FlowImage::Vlan(uint32_t tag, uint16_t tpid, std::optional<uint16_t> vid) {
    VlanFilter filter{};
    filter.toTagNum = tag;
    filter.type = e_VLAN_FILT_TPID;
    filter.val.tpid = tpid;
    Add(filter);
    if (vid) {
        filter.type = e_VLAN_FILT_VID;
        filter.val.vid = *vid;
        Add(filter);
    }
    return *this;
}

FlowImage &FlowImage::IpFilter(uint32_t type, uint32_t addr, uint32_t prefixLen) {
    Ipv4Filter filter{};
    filter.type = type;
    filter.val.ip = {addr, prefixLen};
    EXPECT_EQ(qir::Validate_Config_Ipv4Filter(&fcb_, &filter), 0u);
    EXPECT_EQ(qir::Config_Ipv4Filter(&fcb_, &filter), 0u);
    return *this;
}

FlowImage &FlowImage::ActionHdr(uint32_t hdr) {
    const FlowHdr header{e_BLKTYPE_ACTION, hdr};
    EXPECT_EQ(qir::Alloc_Hdr(&fcb_, &header), 0u);
    return *this;
}

FlowImage &FlowImage::EthAction(uint32_t type) {
    ::EthAction action{};
    action.type = type;
    EXPECT_EQ(qir::Config_EthAction(&fcb_, &action), 0u);
    return *this;
}

FlowImage &FlowImage::VlanAction(uint32_t tag, uint32_t type, uint16_t value) {
    ::VlanAction action{};
    action.toTagNum = tag;
    action.type = type;
    if (type == e_VLAN_ACTION_SET_PBITS) {
        action.val.pbits = static_cast<uint8_t>(value);
    } else {
        action.val.vid = value;
    }
    EXPECT_EQ(qir::Config_VlanAction(&fcb_, &action), 0u);
    return *this;
}

FlowImage FlowImage::Active(uint32_t hwFlowIdx) const {
    FlowImage active = *this;
    active.fcb_.status = e_STATUS_ACTIVE;
    active.fcb_.hwFlowIdx = hwFlowIdx;
    return active;
}

} // namespace app_test
