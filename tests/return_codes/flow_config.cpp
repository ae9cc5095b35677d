#include "tests/return_codes/flow_scene.h"

namespace return_codes {

namespace {

const std::string kActive = "the flow is ACTIVE";
const std::string kNotConfigured = "the flow is not configured";

// ---- Headers

// The outer tag of the filter block, behind Ethernet.
struct HdrScene : FlowScene {
    HdrScene() {
        AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
        AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    }

    FlowHdr hdr = {e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0};
    FlowHdr *hdr_p = &hdr;
};

template <uint32_t kFlowHdr> void AnewFor(HdrScene &s) {
    s.Anew(e_STATUS_CFG);
    s.hdr.flowHdr = kFlowHdr;
}

Operation AllocHdr() {
    const std::string filterRule = "IsSet_FilterAllReqdHdr";
    const std::string actionRule = "IsSet_ActionAllReqdHdr";
    const std::string unknown = "Unknown flow hdr <6> ";
    Describe<HdrScene> op("QIR_Alloc_Hdr", [](HdrScene &s) { return QIR_Alloc_Hdr(s.hdl_p, s.hdr_p); });
    op.Note("An MPLS header is accepted with error lines, because no block has an entry for it.");
    OpenFlow(op, {{"hdr_p", [](auto &s) { s.hdr_p = nullptr; }}});
    return op.When("`blk` is 3 or more", e_RET_ERR_INVALID_BLOCKTYPE, [](auto &s) { s.hdr.blk = 3; })
        .When("`flowHdr` is 8 or more", e_RET_ERR_INVALID_HDRTYPE, [](auto &s) { s.hdr.flowHdr = 8; })
        .When(kActive, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ACTIVE>)
        .When("`blk` is the forwarding block", e_RET_ERR_INVALID_PARAM,
              [](auto &s) { s.hdr.blk = e_BLKTYPE_FWD; })
        .By("Alloc_Hdr")
        .When("the header that this one stands on is missing: Ethernet for VLAN, PPPoE and IPv4, the lower "
              "tags for a VLAN tag",
              e_RET_ERR_HDROUTOFORDER,
              [](auto &s) {
                  s.hdr.blk = e_BLKTYPE_FILTER;
                  s.Fcb().filterBlk.hdrBmap &= 0xFFFE;
              })
        .By(filterRule)
        .Or([](auto &s) {
            s.hdr.blk = e_BLKTYPE_ACTION;
            s.Fcb().actionBlk.hdrBmap &= 0xFFFE;
        })
        .By(actionRule)
        .OnItsOwn(AnewFor<e_FLOWHDR_VLAN0>)
        .By(filterRule)
        .OnItsOwn(AnewFor<e_FLOWHDR_PPPOE>)
        .OnItsOwn(AnewFor<e_FLOWHDR_IPV4>)
        .OnItsOwn([](auto &s) { s.hdr.flowHdr = e_FLOWHDR_VLAN1; })
        .When("the block has the header already", e_RET_ERR_RESRC_UNAVAIL,
              [](auto &s) { s.Fcb().filterBlk.hdrBmap |= 1u << e_FLOWHDR_VLAN0; })
        .By("Alloc_Hdr")
        .OnItsOwn([](auto &s) { s.AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0); })
        .OnItsOwn([](auto &s) {
            s.hdr = {e_BLKTYPE_ACTION, e_FLOWHDR_ETH};
        })
        .When("the flow's request nodes are used up; an IPv4 header takes three, any other one",
              e_RET_ERR_RESRC_UNAVAIL, [](auto &s) { s.UseUpNodes(0); })
        .By("Alloc_ReqNode")
        .OnItsOwn([](auto &s) {
            s.hdr.flowHdr = e_FLOWHDR_IPV4;
            s.UseUpNodes(1);
        })
        .OnItsOwn([](auto &s) {
            s.hdr = {e_BLKTYPE_ACTION, e_FLOWHDR_IPV4};
            s.UseUpNodes(2);
        })
        .Otherwise()
        .OnItsOwn([](auto &s) { s.hdr.flowHdr = e_FLOWHDR_MPLS; })
        .Prints({test::Err(filterRule, unknown), test::Err("Alloc_Hdr", unknown)});
}

// ---- Forwarding

// From a user port and GEM port 0 to ports 0 and 2 and to GEM ports 0 and 5, on queue 2.
struct FwdScene : FlowScene {
    FwdScene() {
        fwd.flowPrio = 31;
        fwd.src = {0x1, 0x81};
        fwd.dst.gemQid[0] = fwd.dst.gemQid[5] = 2;
        fwd.dst.gemPortIdxMask = 0x21;
        fwd.dst.portQid[0] = fwd.dst.portQid[2] = 2;
        fwd.dst.portMask = 0x85;
        fwd.fwdAction = e_FWD_ACTION_LRN_ENABLE;
    }
    void Store() {
        FlowHdl own{};
        Must(QIR_Set_FwdInfo(&own, &fwd));
    }

    FwdInfo fwd{};
    FwdInfo *fwd_p = &fwd;
};

constexpr auto kNoFwd = [](auto &s) { s.fwd_p = nullptr; };

Operation SetFwdInfo() {
    const std::string validate = "Validate_FwdInfo";
    Describe<FwdScene> op("QIR_Set_FwdInfo", [](FwdScene &s) { return QIR_Set_FwdInfo(s.hdl_p, s.fwd_p); });
    OpenFlow(op, {{"fwdInfo_p", kNoFwd}});
    return op
        .When("`fwdAction` is 8 or more", e_RET_ERR_INVALID_FWDACTION, [](auto &s) { s.fwd.fwdAction = 8; })
        .When("`dst.portMask` is 0, and `fwdAction` is not `e_FWD_ACTION_DROP` alone",
              e_RET_ERR_INVALID_DSTPORTMASK, [](auto &s) { s.fwd.dst.portMask = 0; })
        .OnItsOwn([](auto &s) {
            s.fwd.dst.portMask = 0;
            s.fwd.fwdAction = e_FWD_ACTION_DROP | e_FWD_ACTION_ARL_OVRD;
        })
        .When("`src.portMask` is 0", e_RET_ERR_INVALID_SRCPORTMASK, [](auto &s) { s.fwd.src.portMask = 0; })
        .When("`flowPrio` is 32 or more", e_RET_ERR_INVALID_FLOWPRIO, [](auto &s) { s.fwd.flowPrio = 32; })
        .When("port 7 is a source, and `src.gemPortIdxMask` is 0", e_RET_ERR_INVALID_GEMPORTIDX,
              [](auto &s) { s.fwd.src.gemPortIdxMask = 0; })
        .By(validate)
        .When("the queue of a destination port other than 7 is 8 or more, or not that of the ports before it",
              e_RET_ERR_INVALID_DSTQID, [](auto &s) { s.fwd.dst.portQid[2] = 8; })
        .By(validate)
        .Or([](auto &s) { s.fwd.dst.portQid[2] = 3; })
        .OnItsOwn([](auto &s) {
            s.fwd.dst.portMask = 0x1;
            s.fwd.dst.portQid[0] = 8;
        })
        .When("port 7 is a destination, and `dst.gemPortIdxMask` is 0", e_RET_ERR_INVALID_GEMPORTIDXMASK,
              [](auto &s) { s.fwd.dst.gemPortIdxMask = 0; })
        .By(validate)
        .When("port 7 is a destination, and the queue of a destination GEM port is 8 or more, or not the "
              "common "
              "one",
              e_RET_ERR_INVALID_DSTQID, [](auto &s) { s.fwd.dst.gemQid[5] = 8; })
        .By(validate)
        .Or([](auto &s) { s.fwd.dst.gemQid[5] = 1; })
        .OnItsOwn([](auto &s) {
            s.fwd.dst.portMask = 0x80;
            s.fwd.dst.gemQid[5] = 1;
        })
        .OnItsOwn([](auto &s) {
            s.fwd.dst.portMask = 0x80;
            s.fwd.dst.gemPortIdxMask = 0x1;
            s.fwd.dst.gemQid[0] = 8;
        })
        .When(kActive, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn([](auto &s) {
            s.fwd.dst.portMask = 0;
            s.fwd.fwdAction = e_FWD_ACTION_DROP;
        })
        .OnItsOwn(kFlowIn<e_STATUS_ALLOC>);
}

Operation GetFwdInfo() {
    Describe<FwdScene> op("QIR_Get_FwdInfo", [](FwdScene &s) { return QIR_Get_FwdInfo(s.hdl_p, s.fwd_p); });
    OpenFlow(op, {{"fwdInfo_p", kNoFwd}});
    return op.Given([](auto &s) { s.Store(); })
        .When("forwarding information was never set", e_RET_ERR_INVALID_PARAM,
              [](auto &s) { s.Anew(e_STATUS_ALLOC); })
        .Or([](auto &s) { s.Anew(e_STATUS_CFG); })
        .When(kNotConfigured, e_RET_ERR_STATE_NOTCFG, [](auto &s) { s.Fcb().status = e_STATUS_ALLOC; })
        .Unreachable()
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ACTIVE>);
}

Operation DstPorts(const std::string &name, uint32_t (*fn)(FlowHdl *, const DstMask *)) {
    constexpr int kUpdateRequest = 43;
    struct DstScene : FwdScene {
        DstMask dst{};
        DstMask *dst_p = &dst;
    };
    Describe<DstScene> op(name, [fn](DstScene &s) { return fn(s.hdl_p, s.dst_p); });
    OpenFlow(op, {{"dstMask_p", [](auto &s) { s.dst_p = nullptr; }}});
    return op
        .Given([](auto &s) {
            s.dst.portMask = 0x4;
            s.Store();
            s.To(e_STATUS_ACTIVE);
        })
        .When("`portMask` is 0: nothing happens", e_RET_OK, [](auto &s) { s.dst.portMask = 0; })
        .Driver(kUpdateRequest, "the flow is ACTIVE, and the driver fails")
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_CFG>)
        .OnItsOwn(kFlowIn<e_STATUS_ALLOC>);
}

// ---- Address screening

struct OverrideScene : FlowScene {
    uint32_t asOverride = e_AS_OVERRIDE_ENABLE;
    uint32_t *asOverride_p = &asOverride;
};

Operation SetAsOverride() {
    Describe<OverrideScene> op("QIR_Set_AsOverride",
                               [](OverrideScene &s) { return QIR_Set_AsOverride(s.hdl_p, s.asOverride); });
    OpenFlow(op);
    return op.When("`asOverride` is 2 or more", e_RET_ERR_INVALID_ASOVRD, [](auto &s) { s.asOverride = 2; })
        .When(kActive, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ALLOC>);
}

Operation GetAsOverride() {
    Describe<OverrideScene> op("QIR_Get_AsOverride",
                               [](OverrideScene &s) { return QIR_Get_AsOverride(s.hdl_p, s.asOverride_p); });
    OpenFlow(op, {{"asOverride_p", [](auto &s) { s.asOverride_p = nullptr; }}});
    return op.When(kNotConfigured, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ACTIVE>);
}

// ---- Tables of a flow

// Status, pbits source and table 0 of a kind, which is in use.
template <class Hdl> struct AssociationScene : FlowScene {
    uint32_t status = e_TBLSTATUS_ENABLE;
    uint32_t *status_p = &status;
    uint32_t pbitsSource = 2;
    uint32_t *pbitsSource_p = &pbitsSource;
    Hdl table{};
    Hdl *table_p = &table;
};

constexpr auto kTableHdl = [](auto &s) -> auto & {
    return s.table;
};
constexpr auto kNoTable = [](auto &s) { s.table_p = nullptr; };
constexpr auto kNoStatus = [](auto &s) { s.status_p = nullptr; };

// EP tables cannot be allocated: the shadow says that table 0 is.
struct EpScene : AssociationScene<EpTblHdl> {
    static constexpr uint16_t kBit = qir::kTblAssocEp;
    EpScene() { qirCtxt_gp->epTblPool[0].status = e_STATUS_ALLOC; }
};

struct PacInfoScene : AssociationScene<PacTblHdl> {
    static constexpr uint16_t kBit = qir::kTblAssocPac;
    PacInfoScene() {
        PacTblHdl own{};
        const PacTblCfg cfg{};
        Must(QIR_Alloc_PacTable(&own));
        Must(QIR_Set_PacTableCfg(&own, &cfg));
        Must(QIR_Activate_PacTable(&own));
    }
};

// The bit of the kind in the flow's associations, whatever the flow's state.
constexpr auto kEnabledAlready = [](auto &s) {
    s.Fcb().tblAssoc = static_cast<uint16_t>(s.Fcb().tblAssoc | s.kBit);
    s.status = e_TBLSTATUS_ENABLE;
};
constexpr auto kNotEnabled = [](auto &s) {
    s.Fcb().tblAssoc = static_cast<uint16_t>(s.Fcb().tblAssoc & ~s.kBit);
    s.status = e_TBLSTATUS_DISABLE;
};

Operation SetEpInfo() {
    Describe<EpScene> op("QIR_Set_EpInfo",
                         [](EpScene &s) { return QIR_Set_EpInfo(s.hdl_p, s.status, s.table_p); });
    op.Note("EP tables are placeholders and stay free: no call gets beyond the check of the table's handle.");
    OpenFlow(op, {{"epTblHdl_p", kNoTable}});
    op.When("`epTblSts` is 2 or more", e_RET_ERR_INVALID_TBLSTATUS, [](auto &s) { s.status = 2; });
    op.WhenBadTable("EpTbl", 6, 1, kTableHdl);
    return op
        .When("`epTblSts` is 1 and the flow uses an EP table already", e_RET_ERR_RESRC_ALREADY_ACTIVE,
              kEnabledAlready)
        .Unreachable()
        .When("`epTblSts` is 0 and the flow uses no EP table", e_RET_ERR_RESRC_NOT_ACTIVE, kNotEnabled)
        .Unreachable()
        .When(kActive, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ACTIVE>)
        .Unreachable()
        .Otherwise()
        .Unreachable();
}

Operation GetEpInfo() {
    Describe<EpScene> op("QIR_Get_EpInfo",
                         [](EpScene &s) { return QIR_Get_EpInfo(s.hdl_p, s.status_p, s.table_p); });
    OpenFlow(op, {{"epTblSts_p", kNoStatus}, {"epTblHdl_p", kNoTable}});
    return op.When(kNotConfigured, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ACTIVE>);
}

Operation SetPacInfo() {
    Describe<PacInfoScene> op("QIR_Set_PacInfo", [](PacInfoScene &s) {
        return QIR_Set_PacInfo(s.hdl_p, s.status, s.pbitsSource, s.table_p);
    });
    OpenFlow(op, {{"pacTblHdl_p", kNoTable}});
    op.When("`pacTblSts` is 2 or more", e_RET_ERR_INVALID_TBLSTATUS, [](auto &s) {
          s.status = 2;
      }).When("`pbitsSource` is 3 or more", e_RET_ERR_INVALID_PBITS_SOURCE, [](auto &s) {
        s.pbitsSource = 3;
    });
    op.WhenBadTable("PacTbl", 16, 1, kTableHdl);
    return op
        .When("`pacTblSts` is 1 and the flow uses a PAC table already", e_RET_ERR_RESRC_ALREADY_ACTIVE,
              kEnabledAlready)
        .OnItsOwn([](auto &s) { Must(QIR_Set_PacInfo(&s.hdl, e_TBLSTATUS_ENABLE, 0, &s.table)); })
        .When("`pacTblSts` is 0 and the flow uses no PAC table", e_RET_ERR_RESRC_NOT_ACTIVE, kNotEnabled)
        .When(kActive, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ALLOC>)
        .OnItsOwn([](auto &s) {
            Must(QIR_Set_PacInfo(&s.hdl, e_TBLSTATUS_ENABLE, 0, &s.table));
            s.status = e_TBLSTATUS_DISABLE;
        });
}

Operation GetPacInfo() {
    Describe<PacInfoScene> op("QIR_Get_PacInfo", [](PacInfoScene &s) {
        return QIR_Get_PacInfo(s.hdl_p, s.status_p, s.pbitsSource_p, s.table_p);
    });
    OpenFlow(op, {{"pacTblSts_p", kNoStatus},
                  {"pbitsSource_p", [](auto &s) { s.pbitsSource_p = nullptr; }},
                  {"pacTblHdl_p", kNoTable}});
    return op.When(kNotConfigured, e_RET_ERR_STATE_NOTCFG, kFlowIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kFlowIn<e_STATUS_ACTIVE>);
}

} // namespace

Family FlowConfig() {
    return {
        "Flows: headers, forwarding, tables",
        {
            AllocHdr(),
            SetFwdInfo(),
            GetFwdInfo(),
            DstPorts("QIR_Add_DstPortInfo", QIR_Add_DstPortInfo),
            DstPorts("QIR_Rem_DstPortInfo", QIR_Rem_DstPortInfo),
            SetAsOverride(),
            GetAsOverride(),
            SetEpInfo(),
            GetEpInfo(),
            SetPacInfo(),
            GetPacInfo(),
        },
    };
}

} // namespace return_codes
