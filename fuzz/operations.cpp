// The public operations: a row for each, with what it may change (fuzz/changes.h) and its arguments
// (fuzz/arguments.h). A new one goes to the end of its family, so that the inputs of the corpus keep their
// meaning.
#include "fuzz/arguments.h"
#include "fuzz/public_calls.h"

#include <vector>

namespace fuzz {

using namespace qir;

namespace {

// ---- Records

TpidCfg TakeTpidQuery(Input &in, Call &call) {
    TpidCfg cfg{};
    cfg.portId = Index<QIR_PORT_MAX>(in, call).value;
    return cfg;
}

TpidCfg TakeTpid(Input &in, Call &call) {
    TpidCfg cfg = TakeTpidQuery(in, call);
    in.Fill(cfg.tpid, sizeof cfg.tpid);
    return cfg;
}

RlTciCfg TakeTci(Input &in, Call &) {
    RlTciCfg cfg{};
    cfg.tci[0] = in.Half();
    cfg.tci[1] = in.Byte();
    return cfg;
}

RlEnt TakeLimiter(Input &in, Call &) {
    RlEnt ent{};
    ent.tci = in.Word();
    ent.cirUnit = in.Below(QIR_RLUNIT_MAX);
    ent.cirRate = in.Word();
    ent.cbs = in.Byte();
    return ent;
}

AsTblCfg TakeAsCfg(Input &in, Call &) {
    return {in.Word()};
}

AsEnt TakeAsEnt(Input &in, Call &) {
    AsEnt ent{};
    ent.aclMask = in.Half();
    ent.aclType = in.Below(2);
    ent.ethType = in.Half();
    ent.vlanTag0 = in.Half();
    ent.vlanTag1 = in.Half();
    ent.ipPrefixLen = in.Word();
    ent.macDA[5] = in.Byte();
    return ent;
}

u8 TakeIndex(Input &in, u32 limit) {
    return static_cast<u8>(in.Below(limit));
}

DscpDefPbits TakeDefPbits(Input &in, Call &) {
    DscpDefPbits def{};
    def.srcPort = in.Below(QIR_PORT_MAX);
    def.pbits = TakeIndex(in, QIR_PBITS_MAX);
    return def;
}

DscpMapping TakeMapping(Input &in, Call &) {
    DscpMapping mapping{};
    mapping.startDscp = TakeIndex(in, QIR_DSCP_MAX);
    mapping.endDscp = TakeIndex(in, QIR_DSCP_MAX);
    mapping.pbits = TakeIndex(in, QIR_PBITS_MAX);
    return mapping;
}

PacTblCfg TakePacCfg(Input &in, Call &) {
    PacTblCfg cfg{};
    cfg.ovrd = in.Byte() & 0x3F; // one unknown bit among them
    cfg.dstGemPort = TakeIndex(in, QIR_GEMPORTIDX_MAX);
    cfg.dstQid = TakeIndex(in, QIR_QID_MAX);
    for (PacRawAction &raw : cfg.rawAction) {
        raw.type = in.Below(3);
        if (raw.type != 0) {
            raw.ofst = TakeIndex(in, 96);
            raw.size = TakeIndex(in, 3);
            raw.val[1] = in.Byte();
        }
    }
    return cfg;
}

// One queue for all destinations, which is what the operations accept; rarely another one for one of them.
DstMask TakeDst(Input &in, Call &) {
    DstMask dst{};
    dst.portMask = in.Half();
    dst.gemPortIdxMask = in.Half();
    const u8 queue = TakeIndex(in, QIR_QID_MAX);
    std::memset(dst.portQid, queue, sizeof dst.portQid);
    std::memset(dst.gemQid, queue, sizeof dst.gemQid);
    if (in.Rarely()) {
        dst.portQid[in.Byte() % QIR_PORT_MAX] = in.Byte();
        dst.gemQid[in.Byte() % QIR_GEMPORTIDX_MAX] = in.Byte();
    }
    return dst;
}

FwdInfo TakeFwdInfo(Input &in, Call &call) {
    FwdInfo info{};
    info.fwdAction = in.Below(e_FWD_ACTION_MAX);
    info.flowPrio = in.Below(QIR_FLOWPRIO_MAX);
    info.src.portMask = in.Byte();
    info.src.gemPortIdxMask = in.Byte();
    info.dst = TakeDst(in, call);
    return info;
}

// ---- Calls that are more than their arguments

// Rarely: it takes as long as many other calls, and ends what they have begun.
void InitSys(Input &in, Call &call) {
    if (!in.Rarely()) {
        call.name = "(no start-up)";
        call.changes = &kReads;
        return;
    }
    call.rc = QIR_Init_Sys();
}

template <class Kind, auto operation> void AllocTable(Input &in, Call &call) {
    Table<Kind> table(in, call);
    call.rc = operation(table.Arg());
    call.table = call.rc == e_RET_OK ? u32{table.hdl.f1.id} : kNone;
}

void AllocFcb(Input &in, Call &call) {
    Flow flow(in, call);
    call.rc = QIR_Alloc_FCB(in.Below(e_FLOW_SECTION_MAX), flow.Arg());
    call.flow = call.rc == e_RET_OK ? u32{flow.hdl.f1.id} : kNone;
}

// The operation does not test the index, so that the caller answers for it.
void AllocFcbSpecifyIndex(Input &in, Call &call) {
    Flow flow(in, call);
    if (call.flow == kNone) {
        flow.hdl.f1.id = QIR_MAX_FLOWS / 2;
        call.flow = flow.isNull ? kNone : QIR_MAX_FLOWS / 2;
    }
    call.rc = QIR_Alloc_FCB_Specify_Index(in.Below(e_FLOW_SECTION_MAX), flow.Arg());
}

// It has no code: it answers.
u32 IsFree(u16 idx) {
    Is_Orx_free(idx % QIR_MAX_FLOWS);
    return e_RET_OK;
}

u32 SetEpInfo(FlowHdl *flow, EpTblHdl *table, u32 status) {
    return QIR_Set_EpInfo(flow, status, table);
}

u32 SetPacInfo(FlowHdl *flow, PacTblHdl *table, u32 status, u32 pbitsSource) {
    return QIR_Set_PacInfo(flow, status, pbitsSource, table);
}

// As many records as the call may write, and no more.
template <class Kind, auto operation> void GetFilters(Input &in, Call &call) {
    Flow flow(in, call);
    const u8 lead = in.Byte();
    const u8 size = lead < 0xF0 ? lead % 5 : lead;
    std::vector<typename Kind::Record> records(size > 0 ? size : 1u);
    records[0] = TakeQuery<Kind>(in, call);
    Out<u8> count(in, call);
    auto *const first = in.Rarely() ? nullptr : records.data();
    call.rc = operation(flow.Arg(), first, size, count.Arg());
}

// ---- The rows

#define CALL(operation, changes, ...)                                                                        \
    { #operation, changes, Make < operation, __VA_ARGS__> }

using Section = Below<e_FLOW_SECTION_MAX>;
using Port = Index<QIR_PORT_MAX>;
using PadPort = Index<QIR_PADPORT_MAX>;
using RlDir = Index<QIR_RLDIR_MAX>;
using AsIdx = Below<QIR_ASENT_MAXNUM, u8>;
using EpIdx = Below<QIR_EPENT_MAXNUM, u8>;
using Dscp = Below<QIR_DSCP_MAX, u8>;
using Pbits = Below<QIR_PBITS_MAX, u8>;
using TblStatus = Below<e_TBLSTATUS_MAX>;

// clang-format off
constexpr Operation kSystem[] = {
    {"QIR_Init_Sys", kInitSystem, InitSys},
    CALL(QIR_Set_SectionMaxFlows, kSetBudget,         Section, Half),
    CALL(QIR_Get_SectionMaxFlows, kReads,             Section, Out<u16>),
    CALL(QIR_Set_FlowMissAction,  kSetFlowMissAction, Below<QIR_FLOWMISSACTION_MAX>),
    CALL(QIR_Get_FlowMissAction,  kReads,             Out<u32>),
    CALL(QIR_Set_PortPadLen,      kSetPadLen,         PadPort, Word),
    CALL(QIR_Get_PortPadLen,      kReads,             PadPort, Out<u32>),
    CALL(QIR_Set_PortDefAcl,      kSetDefAcl,         Port, Below<QIR_ACLTYPE_MAX>),
    CALL(QIR_Get_PortDefAcl,      kReads,             Port, Out<u32>),
    CALL(QIR_Set_Tpid,            kSetTpid,           Given<TakeTpid>),
    CALL(QIR_Get_Tpid,            kReads,             Given<TakeTpidQuery>),
    CALL(QIR_Set_RLStatus,        kSetRlStatus,       Below<QIR_RLSTATUS_MAX>),
    CALL(QIR_Get_RLStatus,        kReads,             Out<u32>),
    CALL(QIR_Set_RLTciCfg,        kSetRlTci,          RlDir, Value<TakeTci>),
    CALL(QIR_Get_RLTciCfg,        kReads,             RlDir, Out<RlTciCfg>),
    CALL(QIR_Alloc_RL,            kChangeRl,          RlDir, RlIndex),
    CALL(QIR_Free_RL,             kChangeRl,          RlDir, RlIndex),
    CALL(QIR_Set_RL,              kChangeRl,          RlDir, RlIndex, Value<TakeLimiter>),
    CALL(QIR_Get_RL,              kReads,             RlDir, RlIndex, Out<RlEnt>),
    CALL(QIR_Activate_RL,         kSwitchRl,          RlDir, RlIndex),
    CALL(QIR_Deactivate_RL,       kSwitchRl,          RlDir, RlIndex),
};

constexpr Operation kTables[] = {
    {"QIR_Alloc_AsTable", kAllocTable<AsKind>, AllocTable<AsKind, QIR_Alloc_AsTable>},
    CALL(QIR_Free_AsTable,        kFreeTable<AsKind>,   Table<AsKind>),
    CALL(QIR_Activate_AsTable,    kSwitchTable<AsKind>, Table<AsKind>),
    CALL(QIR_Deactivate_AsTable,  kSwitchTable<AsKind>, Table<AsKind>),
    CALL(QIR_Set_AsTableCfg,      kChangeTable<AsKind>, Table<AsKind>, Given<TakeAsCfg>),
    CALL(QIR_Get_AsTableCfg,      kReads,               Table<AsKind>, Out<AsTblCfg>),
    CALL(QIR_Set_AsTableEntry,    kChangeTable<AsKind>, Table<AsKind>, AsIdx, Given<TakeAsEnt>),
    CALL(QIR_Get_AsTableEntry,    kReads,               Table<AsKind>, AsIdx, Out<AsEnt>),
    CALL(QIR_Delete_AsTableEntry, kChangeTable<AsKind>, Table<AsKind>, AsIdx),
    CALL(QIR_Dump_AsTable,        kReads,               Table<AsKind>),
    {"QIR_Alloc_DscpToPbitsTable", kAllocTable<DscpKind>, AllocTable<DscpKind, QIR_Alloc_DscpToPbitsTable>},
    CALL(QIR_Free_DscpToPbitsTable,         kFreeTable<DscpKind>,   Table<DscpKind>),
    CALL(QIR_Activate_DscpToPbitsTable,     kSwitchTable<DscpKind>, Table<DscpKind>),
    CALL(QIR_Deactivate_DscpToPbitsTable,   kSwitchTable<DscpKind>, Table<DscpKind>),
    CALL(QIR_Set_DscpToPbitsTable_DefPbits, kChangeTable<DscpKind>, Table<DscpKind>, Given<TakeDefPbits>),
    CALL(QIR_Get_DscpToPbitsTable_DefPbits, kReads,                 Table<DscpKind>, Out<DscpDefPbits>),
    CALL(QIR_Set_DscpToPbitsTable,          kChangeTable<DscpKind>, Table<DscpKind>, Given<TakeMapping>),
    CALL(QIR_Get_DscpToPbitsTable,          kReads,                 Table<DscpKind>, Dscp, Out<u8>),
    CALL(QIR_Dump_DscpToPbitsTable,         kReads,                 Table<DscpKind>),
    {"QIR_Alloc_PacTable", kAllocTable<PacKind>, AllocTable<PacKind, QIR_Alloc_PacTable>},
    CALL(QIR_Free_PacTable,       kFreeTable<PacKind>,   Table<PacKind>),
    CALL(QIR_Activate_PacTable,   kSwitchTable<PacKind>, Table<PacKind>),
    CALL(QIR_Deactivate_PacTable, kSwitchTable<PacKind>, Table<PacKind>),
    CALL(QIR_Set_PacTableCfg,     kChangeTable<PacKind>, Table<PacKind>, Given<TakePacCfg>),
    CALL(QIR_Get_PacTableCfg,     kReads,                Table<PacKind>, Out<PacTblCfg>),
    CALL(QIR_Set_PacTableEntry,   kChangeTable<PacKind>, Table<PacKind>, Pbits, Given<TakePacCfg>),
    CALL(QIR_Get_PacTableEntry,   kReads,                Table<PacKind>, Pbits, Out<PacTblCfg>),
    CALL(QIR_Dump_PacTable,       kReads,                Table<PacKind>),
    // The EP operations do nothing, whatever they get.
    CALL(QIR_Alloc_EpTable,       kReads, Table<EpKind>),
    CALL(QIR_Free_EpTable,        kReads, Table<EpKind>),
    CALL(QIR_Activate_EpTable,    kReads, Table<EpKind>),
    CALL(QIR_Deactivate_EpTable,  kReads, Table<EpKind>),
    CALL(QIR_Set_EpTableCfg,      kReads, Table<EpKind>, Out<EpTblCfg>),
    CALL(QIR_Get_EpTableCfg,      kReads, Table<EpKind>, Out<EpTblCfg>),
    CALL(QIR_Set_EpTableEntry,    kReads, Table<EpKind>, EpIdx, Out<EpEnt>),
    CALL(QIR_Get_EpTableEntry,    kReads, Table<EpKind>, EpIdx, Out<EpEnt>),
};

constexpr Operation kFlows[] = {
    {"QIR_Alloc_FCB", kAllocFlow, AllocFcb},
    {"QIR_Alloc_FCB_Specify_Index", kAllocFlow, AllocFcbSpecifyIndex},
    {"Is_Orx_free", kReads, Make<IsFree, Half>},
    CALL(QIR_Activate_FCB,    kActivateFlow,   Flow),
    CALL(QIR_Deactivate_FCB,  kDeactivateFlow, Flow),
    CALL(QIR_Free_FCB,        kFreeFlow,       Flow),
    CALL(QIR_Get_FCBHits,     kReadsHits,      Flow, Out<FcbHits>),
    CALL(QIR_Alloc_Hdr,       kAllocHdr,       Flow, Hdr),
    CALL(QIR_Dump_HdrReqList, kReads,          Flow, Hdr),
    CALL(QIR_Dump_FCB,        kReads,          Flow),
    CALL(QIR_Set_FwdInfo,     kSetFwdInfo,     Flow, Given<TakeFwdInfo>),
    CALL(QIR_Get_FwdInfo,     kReads,          Flow, Out<FwdInfo>),
    CALL(QIR_Add_DstPortInfo, kChangeDst,      Flow, Given<TakeDst>),
    CALL(QIR_Rem_DstPortInfo, kChangeDst,      Flow, Given<TakeDst>),
    CALL(QIR_Set_AsOverride,  kSetAsOverride,  Flow, Below<e_AS_OVERRIDE_MAX>),
    CALL(QIR_Get_AsOverride,  kReads,          Flow, Out<u32>),
    {"QIR_Set_EpInfo", kSetEpInfo, Make<SetEpInfo, Flow, Table<EpKind>, TblStatus>},
    CALL(QIR_Get_EpInfo,      kReads,          Flow, Out<u32>, Out<EpTblHdl>),
    {"QIR_Set_PacInfo", kSetPacInfo, Make<SetPacInfo, Flow, Table<PacKind>, TblStatus, Below<QIR_PBITS_SOURCE_MAX>>},
    CALL(QIR_Get_PacInfo,     kReads,          Flow, Out<u32>, Out<u32>, Out<PacTblHdl>),
};

// The MPLS operations look at nothing.
constexpr Operation kRequests[] = {
    CALL(QIR_Config_EthFilter,   kConfigFilter,    Flow, Request<EthFilterKind>),
    CALL(QIR_Config_VlanFilter,  kConfigFilter,    Flow, Request<VlanFilterKind>),
    CALL(QIR_Config_PppoeFilter, kConfigFilter,    Flow, Request<PppoeFilterKind>),
    CALL(QIR_Config_MplsFilter,  kReads,           Flow, Null),
    CALL(QIR_Config_Ipv4Filter,  kConfigFilter,    Flow, Request<Ipv4FilterKind>),
    CALL(QIR_Config_TcpFilter,   kConfigFilter,    Flow, Request<TcpFilterKind>),
    CALL(QIR_Config_UdpFilter,   kConfigFilter,    Flow, Request<UdpFilterKind>),
    {"QIR_Get_EthFilter", kReads, GetFilters<EthFilterKind, QIR_Get_EthFilter>},
    {"QIR_Get_VlanFilter", kReads, GetFilters<VlanFilterKind, QIR_Get_VlanFilter>},
    {"QIR_Get_PppoeFilter", kReads, GetFilters<PppoeFilterKind, QIR_Get_PppoeFilter>},
    CALL(QIR_Get_MplsFilter,     kReads,           Flow, Null, Zero, Null),
    {"QIR_Get_Ipv4Filter", kReads, GetFilters<Ipv4FilterKind, QIR_Get_Ipv4Filter>},
    {"QIR_Get_TcpFilter", kReads, GetFilters<TcpFilterKind, QIR_Get_TcpFilter>},
    {"QIR_Get_UdpFilter", kReads, GetFilters<UdpFilterKind, QIR_Get_UdpFilter>},
    CALL(QIR_Config_EthAction,   kConfigEthAction, Flow, Request<EthActionKind>),
    CALL(QIR_Config_VlanAction,  kConfigAction,    Flow, Request<VlanActionKind>),
    CALL(QIR_Config_PppoeAction, kConfigAction,    Flow, Request<PppoeActionKind>),
    CALL(QIR_Config_MplsAction,  kReads,           Flow, Null),
    CALL(QIR_Config_Ipv4Action,  kConfigAction,    Flow, Request<Ipv4ActionKind>),
    CALL(QIR_Config_TcpAction,   kConfigAction,    Flow, Request<TcpActionKind>),
    CALL(QIR_Config_UdpAction,   kConfigAction,    Flow, Request<UdpActionKind>),
    CALL(QIR_Get_EthAction,      kReads,           Flow, Query<EthActionKind>),
    CALL(QIR_Get_VlanAction,     kReads,           Flow, Query<VlanActionKind>),
    CALL(QIR_Get_PppoeAction,    kReads,           Flow, Query<PppoeActionKind>),
    CALL(QIR_Get_MplsAction,     kReads,           Flow, Null),
    CALL(QIR_Get_Ipv4Action,     kReads,           Flow, Query<Ipv4ActionKind>),
    CALL(QIR_Get_TcpAction,      kReads,           Flow, Query<TcpActionKind>),
    CALL(QIR_Get_UdpAction,      kReads,           Flow, Query<UdpActionKind>),
};
// clang-format on

constexpr Family kFamilies[] = {{4, kSystem}, {7, kTables}, {11, kFlows}, {10, kRequests}};
static_assert(kFamilies[0].weight + kFamilies[1].weight + kFamilies[2].weight + kFamilies[3].weight ==
              kAllWeights);

} // namespace

std::span<const Family> Families() {
    return kFamilies;
}

} // namespace fuzz
