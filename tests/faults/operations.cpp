#include "tests/faults/operations.h"

#include "tests/support/library.h"

#include <cerrno>
#include <cstddef>
#include <utility>

namespace faults {

namespace {

using qir::QirCtxt;
using qir::u32;
using qir::u8;

// Objects: the table, flow or limiter 0 is ready for activation, 1 is in hardware. Limiters have this index
// in the direction of that number.
constexpr unsigned kReady = 0, kActive = 1;
constexpr u32 kRlIndex = 3;
// The driver's index of the active table of each kind and of the active flow, the first ones that it gave.
constexpr u32 kActiveHwIdx = 0;
// A flow that is ready and uses the active PAC table.
constexpr unsigned kReadyWithPac = 2;

constexpr int32_t kNoTable = -1;
constexpr std::size_t kFwdInfoInFcb = 272;

// ---- objects --------------------------------------------------------------------------------------

// Port 2 is no destination, but has a queue of its own.
constexpr u8 kPort2Qid = 5;

FwdInfo PlainFwd() {
    FwdInfo fwdInfo{};
    fwdInfo.flowPrio = 4;
    fwdInfo.src.portMask = 0x02;
    fwdInfo.dst.portMask = 0x01;
    fwdInfo.dst.portQid[0] = 3;
    fwdInfo.dst.portQid[2] = kPort2Qid;
    fwdInfo.fwdAction = 4;
    return fwdInfo;
}

FlowHdl ConfiguredFlow() {
    FlowHdl flow{};
    const FwdInfo fwdInfo = PlainFwd();
    EXPECT_EQ(QIR_Alloc_FCB(1, &flow), 0u);
    EXPECT_EQ(QIR_Set_FwdInfo(&flow, &fwdInfo), 0u);
    return flow;
}

// Settings that every row changes.
void BuildSettings() {
    const TpidCfg tpidCfg = {.portId = 0, .tpid = {0x8100, 0x88A8, 0x9100, 0x9200}};
    ASSERT_EQ(QIR_Set_FlowMissAction(1), 0u);
    ASSERT_EQ(QIR_Set_PortPadLen(0, 100), 0u);
    ASSERT_EQ(QIR_Set_PortDefAcl(0, 1), 0u);
    ASSERT_EQ(QIR_Set_Tpid(&tpidCfg), 0u);
    ASSERT_EQ(QIR_Set_RLTciCfg(0, RlTciCfg{{0x8123, 0x4567}}), 0u);
    ASSERT_EQ(QIR_Set_RLTciCfg(1, RlTciCfg{{0x89AB, 0xCDEF}}), 0u);
}

// A table of each kind and a flow in both states, one rate limiter of each direction likewise.
void BuildObjects() {
    PacTblHdl pac{};
    for (const unsigned idx : {kReady, kActive}) {
        AsTblHdl as{};
        const AsTblCfg asCfg{0x1};
        ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
        ASSERT_EQ(QIR_Set_AsTableCfg(&as, &asCfg), 0u);
        DscpTblHdl dscp{};
        const DscpDefPbits defPbits{.srcPort = 1, .pbits = 2, .rsvd = {}};
        ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
        ASSERT_EQ(QIR_Set_DscpToPbitsTable_DefPbits(&dscp, &defPbits), 0u);
        const PacTblCfg pacCfg{};
        ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
        ASSERT_EQ(QIR_Set_PacTableCfg(&pac, &pacCfg), 0u);
        FlowHdl flow = ConfiguredFlow();
        ASSERT_EQ(QIR_Set_RL(idx, kRlIndex, RlEnt{1, 2, 0, 3}), 0u);
        if (idx == kActive) {
            ASSERT_EQ(QIR_Activate_AsTable(&as), 0u);
            ASSERT_EQ(QIR_Activate_DscpToPbitsTable(&dscp), 0u);
            ASSERT_EQ(QIR_Activate_PacTable(&pac), 0u);
            ASSERT_EQ(QIR_Activate_FCB(&flow), 0u);
            ASSERT_EQ(QIR_Activate_RL(idx, kRlIndex), 0u);
        }
    }
    FlowHdl flow = ConfiguredFlow();
    ASSERT_EQ(flow.f1.id, kReadyWithPac);
    ASSERT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &pac), 0u);
}

// ---- calls ----------------------------------------------------------------------------------------

template <class Hdl> u32 OnTable(u32 (*op)(Hdl *), unsigned id) {
    Hdl hdl{};
    hdl.f1.id = id & 0xFF;
    return op(&hdl);
}
template <class... P, class... A> u32 OnFlow(u32 (*op)(FlowHdl *, P...), unsigned id, A... args) {
    FlowHdl hdl = test::Flow(id);
    return op(&hdl, args...);
}

// Ports and GEM ports; the queue ids of a destination record are not looked at.
u32 OnDst(u32 (*op)(FlowHdl *, const DstMask *), u32 portMask, u32 gemPortIdxMask) {
    DstMask dstMask{};
    dstMask.portMask = portMask;
    dstMask.gemPortIdxMask = gemPortIdxMask;
    return OnFlow(op, kActive, &dstMask);
}

const u8 *Bytes(const u32 &word) {
    return reinterpret_cast<const u8 *>(&word);
}

// ---- what an accepted call changes in the hardware ---------------------------------------------------

// The driver gives the lowest index that is free.
template <class Slot> Slot &TakeSlot(Slot *slots) {
    while (slots->active != 0) {
        ++slots;
    }
    slots->active = 1;
    return *slots;
}

template <class Info> void PutTable(OrxEmuTable *slots, const Info &tbl) {
    std::memcpy(TakeSlot(slots).record, &tbl, sizeof tbl);
}

void PutFlow(OrxEmuState &hardware, const qir::Fcb &fcb, int32_t pacTblIdx) {
    OrxEmuFlow &flow = TakeSlot(hardware.flow);
    std::memcpy(flow.fcb, &fcb, sizeof flow.fcb);
    flow.pacTblIdx = pacTblIdx;
    flow.epTblIdx = kNoTable;
    flow.numFlows = 1;
}

template <class Slot> void Release(Slot &slot) {
    slot = Slot{};
}

// ---- forwarding of the active flow ---------------------------------------------------------------------

// An added port has the queue that the record keeps for it.
void AddPort2(FwdInfo &fwdInfo) {
    fwdInfo.dst.portMask = 0x05;
}
// The queue is that of the port; added GEM ports show as bit 9 of their mask, and the GPON port not at all.
void AddPort2AndGemPorts(FwdInfo &fwdInfo) {
    AddPort2(fwdInfo);
    fwdInfo.dst.gemQid[4] = kPort2Qid;
    fwdInfo.dst.gemQid[31] = kPort2Qid;
    fwdInfo.dst.gemPortIdxMask = 0x200;
}
void RemovePort0(FwdInfo &fwdInfo) {
    fwdInfo.dst.portMask = 0;
}

template <void (*change)(FwdInfo &)> void ChangeInHardware(OrxEmuState &hardware, const QirCtxt &shadow) {
    FwdInfo fwdInfo = shadow.fcbPool[kActive].fwdInfo;
    change(fwdInfo);
    OrxEmuFlow &flow = hardware.flow[kActiveHwIdx];
    std::memcpy(flow.fcb + kFwdInfoInFcb, &fwdInfo, sizeof fwdInfo);
}
template <void (*change)(FwdInfo &)> void ChangeInShadow(QirCtxt &shadow) {
    change(shadow.fcbPool[kActive].fwdInfo);
}

// ---- rows ------------------------------------------------------------------------------------------

std::vector<Operation> TableOperations() {
    return {
        {"QIR_Activate_AsTable", "a configured table", 21,
         [] { return OnTable(QIR_Activate_AsTable, kReady); }, Bytes(qirCtxt_gp->asTblPool[kReady].hwTblIdx),
         IndexWord::Taken,
         [](OrxEmuState &hw, const QirCtxt &shadow) { PutTable(hw.asTbl, shadow.asTblPool[kReady]); },
         [](QirCtxt &shadow) { shadow.asTblPool[kReady].status = e_STATUS_ACTIVE; }, 0, 0},
        {"QIR_Deactivate_AsTable", "an active table", 22,
         [] { return OnTable(QIR_Deactivate_AsTable, kActive); },
         Bytes(qirCtxt_gp->asTblPool[kActive].hwTblIdx), IndexWord::Forgotten,
         [](OrxEmuState &hw, const QirCtxt &) { Release(hw.asTbl[kActiveHwIdx]); },
         [](QirCtxt &shadow) { shadow.asTblPool[kActive].status = e_STATUS_CFG; }, ENOENT, ENOENT},
        {"QIR_Activate_DscpToPbitsTable", "a configured table", 23,
         [] { return OnTable(QIR_Activate_DscpToPbitsTable, kReady); },
         Bytes(qirCtxt_gp->dscpTblPool[kReady].hwTblIdx), IndexWord::Taken,
         [](OrxEmuState &hw, const QirCtxt &shadow) { PutTable(hw.dscpTbl, shadow.dscpTblPool[kReady]); },
         [](QirCtxt &shadow) { shadow.dscpTblPool[kReady].status = e_STATUS_ACTIVE; }, 0, 0},
        {"QIR_Deactivate_DscpToPbitsTable", "an active table", 24,
         [] { return OnTable(QIR_Deactivate_DscpToPbitsTable, kActive); },
         Bytes(qirCtxt_gp->dscpTblPool[kActive].hwTblIdx), IndexWord::Forgotten,
         [](OrxEmuState &hw, const QirCtxt &) { Release(hw.dscpTbl[kActiveHwIdx]); },
         [](QirCtxt &shadow) { shadow.dscpTblPool[kActive].status = e_STATUS_CFG; }, ENOENT, ENOENT},
        {"QIR_Activate_PacTable", "a configured table", 27,
         [] { return OnTable(QIR_Activate_PacTable, kReady); },
         Bytes(qirCtxt_gp->pacTblPool[kReady].hwTblIdx), IndexWord::Taken,
         [](OrxEmuState &hw, const QirCtxt &shadow) { PutTable(hw.pacTbl, shadow.pacTblPool[kReady]); },
         [](QirCtxt &shadow) { shadow.pacTblPool[kReady].status = e_STATUS_ACTIVE; }, 0, 0},
        {"QIR_Deactivate_PacTable", "an active table that a flow uses", 28,
         [] { return OnTable(QIR_Deactivate_PacTable, kActive); },
         Bytes(qirCtxt_gp->pacTblPool[kActive].hwTblIdx), IndexWord::Forgotten,
         [](OrxEmuState &hw, const QirCtxt &) { Release(hw.pacTbl[kActiveHwIdx]); },
         [](QirCtxt &shadow) { shadow.pacTblPool[kActive].status = e_STATUS_CFG; }, ENOENT, ENOENT},
    };
}

std::vector<Operation> FlowOperations() {
    return {
        {"QIR_Activate_FCB", "a configured flow", 29, [] { return OnFlow(QIR_Activate_FCB, kReady); },
         Bytes(qirCtxt_gp->fcbPool[kReady].hwFlowIdx), IndexWord::Taken,
         [](OrxEmuState &hw, const QirCtxt &shadow) { PutFlow(hw, shadow.fcbPool[kReady], kNoTable); },
         [](QirCtxt &shadow) { shadow.fcbPool[kReady].status = e_STATUS_ACTIVE; }, 0, 0},
        {"QIR_Activate_FCB", "a configured flow with a PAC table", 29,
         [] { return OnFlow(QIR_Activate_FCB, kReadyWithPac); },
         Bytes(qirCtxt_gp->fcbPool[kReadyWithPac].hwFlowIdx), IndexWord::Taken,
         [](OrxEmuState &hw, const QirCtxt &shadow) {
             PutFlow(hw, shadow.fcbPool[kReadyWithPac], kActiveHwIdx);
         },
         [](QirCtxt &shadow) { shadow.fcbPool[kReadyWithPac].status = e_STATUS_ACTIVE; }, 0, 0},
        {"QIR_Deactivate_FCB", "an active flow", 30, [] { return OnFlow(QIR_Deactivate_FCB, kActive); },
         nullptr, IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { Release(hw.flow[kActiveHwIdx]); },
         [](QirCtxt &shadow) { shadow.fcbPool[kActive].status = e_STATUS_CFG; }, 0, ENOENT},
        {"QIR_Get_FCBHits", "an active flow", 38,
         [] {
             FcbHits hits{};
             return OnFlow(QIR_Get_FCBHits, kActive, &hits);
         },
         nullptr, IndexWord::Stays, nullptr, nullptr, 0, 0},
        {"QIR_Add_DstPortInfo", "a port", 43, [] { return OnDst(QIR_Add_DstPortInfo, 0x04, 0); }, nullptr,
         IndexWord::Stays, ChangeInHardware<AddPort2>, ChangeInShadow<AddPort2>, 0, 0},
        {"QIR_Add_DstPortInfo", "a port and GEM ports", 43,
         [] { return OnDst(QIR_Add_DstPortInfo, 0x84, 0x80000010); }, nullptr, IndexWord::Stays,
         ChangeInHardware<AddPort2AndGemPorts>, ChangeInShadow<AddPort2AndGemPorts>, 0, 0},
        {"QIR_Rem_DstPortInfo", "the only port", 43, [] { return OnDst(QIR_Rem_DstPortInfo, 0x01, 0); },
         nullptr, IndexWord::Stays, ChangeInHardware<RemovePort0>, ChangeInShadow<RemovePort0>, 0, 0},
    };
}

std::vector<Operation> PortOperations() {
    static const TpidCfg kTpidOf0 = {.portId = 0, .tpid = {1, 2, 3, 4}};
    static const TpidCfg kTpidOf8 = {.portId = 8, .tpid = {0xFFFF, 0, 0x1234, 0x8100}};
    return {
        {"QIR_Set_FlowMissAction", "2", 17, [] { return QIR_Set_FlowMissAction(2); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.flowMissAction = 2; },
         [](QirCtxt &shadow) { shadow.flowMissAction = 2; }, 0, 0},
        {"QIR_Set_FlowMissAction", "0", 17, [] { return QIR_Set_FlowMissAction(0); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.flowMissAction = 0; },
         [](QirCtxt &shadow) { shadow.flowMissAction = 0; }, 0, 0},
        {"QIR_Set_PortPadLen", "the longest", 19, [] { return QIR_Set_PortPadLen(7, 255); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.portPadLen[7] = 255; },
         [](QirCtxt &shadow) { shadow.portPadLenTbl[7] = 255; }, 0, 0},
        {"QIR_Set_PortPadLen", "one that is too short", 19, [] { return QIR_Set_PortPadLen(0, 63); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.portPadLen[0] = 0; },
         [](QirCtxt &shadow) { shadow.portPadLenTbl[0] = 0; }, 0, 0},
        {"QIR_Set_PortDefAcl", "1 for the last port", 19, [] { return QIR_Set_PortDefAcl(8, 1); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.portDefAcl[8] = 1; },
         [](QirCtxt &shadow) { shadow.portDefAclTbl[8] = 1; }, 0, 0},
        {"QIR_Set_PortDefAcl", "0 for the first port", 19, [] { return QIR_Set_PortDefAcl(0, 0); }, nullptr,
         IndexWord::Stays, [](OrxEmuState &hw, const QirCtxt &) { hw.portDefAcl[0] = 0; },
         [](QirCtxt &shadow) { shadow.portDefAclTbl[0] = 0; }, 0, 0},
        {"QIR_Set_Tpid", "the last port", 19, [] { return QIR_Set_Tpid(&kTpidOf8); }, nullptr,
         IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) {
             std::memcpy(hw.portTpid[8], kTpidOf8.tpid, sizeof kTpidOf8.tpid);
         },
         [](QirCtxt &shadow) { shadow.tpidTbl[8] = kTpidOf8; }, 0, 0},
        {"QIR_Set_Tpid", "the first port", 19, [] { return QIR_Set_Tpid(&kTpidOf0); }, nullptr,
         IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) {
             std::memcpy(hw.portTpid[0], kTpidOf0.tpid, sizeof kTpidOf0.tpid);
         },
         [](QirCtxt &shadow) { shadow.tpidTbl[0] = kTpidOf0; }, 0, 0},
    };
}

std::vector<Operation> RateLimiterOperations() {
    return {
        {"QIR_Set_RLStatus", "1", 39, [] { return QIR_Set_RLStatus(1); }, nullptr, IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) { hw.rlStatus = 1; },
         [](QirCtxt &shadow) { shadow.rlStatus = 1; }, 0, 0},
        {"QIR_Set_RLTciCfg", "direction 0", 40,
         [] {
             return QIR_Set_RLTciCfg(0, RlTciCfg{{0xFEDC, 0}});
         },
         nullptr, IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) {
             hw.rlTci[0][0] = 0xFEDC;
             hw.rlTci[0][1] = 0;
         },
         [](QirCtxt &shadow) {
             shadow.rlTciCfgTbl[0] = RlTciCfg{{0xFEDC, 0}};
         },
         0, 0},
        {"QIR_Set_RLTciCfg", "direction 1", 40,
         [] {
             return QIR_Set_RLTciCfg(1, RlTciCfg{{5, 6}});
         },
         nullptr, IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) {
             hw.rlTci[1][0] = 5;
             hw.rlTci[1][1] = 6;
         },
         [](QirCtxt &shadow) {
             shadow.rlTciCfgTbl[1] = RlTciCfg{{5, 6}};
         },
         0, 0},
        {"QIR_Activate_RL", "a configured limiter", 41, [] { return QIR_Activate_RL(kReady, kRlIndex); },
         nullptr, IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &shadow) {
             OrxEmuRl &rl = hw.rl[kReady][kRlIndex];
             rl.active = 1;
             std::memcpy(rl.record, &shadow.rlTbl[kReady][kRlIndex].ent, sizeof rl.record);
         },
         [](QirCtxt &shadow) { shadow.rlTbl[kReady][kRlIndex].state = e_STATUS_ACTIVE; }, 0, EBUSY},
        {"QIR_Deactivate_RL", "an active limiter", 42, [] { return QIR_Deactivate_RL(kActive, kRlIndex); },
         nullptr, IndexWord::Stays,
         [](OrxEmuState &hw, const QirCtxt &) { Release(hw.rl[kActive][kRlIndex]); },
         [](QirCtxt &shadow) { shadow.rlTbl[kActive][kRlIndex].state = e_STATUS_CFG; }, 0, ENOENT},
    };
}

} // namespace

void PrepareObjects() {
    orxemu_reset();
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    BuildSettings();
    BuildObjects();
    orxemu_clearLog();
}

std::vector<Operation> Operations() {
    std::vector<Operation> all;
    for (const std::vector<Operation> &part :
         {TableOperations(), FlowOperations(), PortOperations(), RateLimiterOperations()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace faults
