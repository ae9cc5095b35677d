#include "qirapi/driver/driver.h"

#include "qirapi/driver/driver_records.h"
#include "qirapi/private/report.h"
#include "qirapi/private/tables.h"

#include <string.h>

namespace qir {

namespace {

template <class Record> u32 Send(OrxRequest request, Record &record) {
    return static_cast<u32>(pktOrxDevIoctl(request, &record));
}

PortRecord MakePortRecord(u32 cfgType) {
    PortRecord record;
    memset(&record, kFillByte, sizeof record);
    record.cfgType = cfgType;
    return record;
}

// Keeps what is in the index word, whatever the driver answered.
template <class Info> u32 ActivateTbl(OrxRequest request, Info *tblInfo_p) {
    TblRecord<Info> record;
    record.index = kNotSet;
    memcpy(&record.tbl, tblInfo_p, sizeof record.tbl);
    const u32 rc = Send(request, record);
    tblInfo_p->hwTblIdx = record.index;
    return rc;
}

template <class Info> u32 DeactivateTbl(OrxRequest request, Info *tblInfo_p) {
    TblRecord<Info> record;
    record.index = tblInfo_p->hwTblIdx;
    memcpy(&record.tbl, tblInfo_p, sizeof record.tbl);
    const u32 rc = Send(request, record);
    tblInfo_p->hwTblIdx = kNoHwIdx;
    return rc;
}

FlowRecord MakeFlowRecord(const Fcb *fcb_p, u32 flowIdx) {
    FlowRecord record{
        .flowIdx = flowIdx,
        .fcbSize = sizeof *fcb_p,
        .fcbAddr = static_cast<u32>(reinterpret_cast<uintptr_t>(fcb_p)),
        .pacTblIdx = kNoTable,
        .epTblIdx = kNoTable,
    };
    if ((fcb_p->tblAssoc & kTblAssocPac) != 0) {
        record.pacTblIdx = static_cast<i32>(GetPtrFromPacTblHdl(fcb_p->pacTblHdl)->hwTblIdx);
    }
    if ((fcb_p->tblAssoc & kTblAssocEp) != 0) {
        record.epTblIdx = static_cast<i32>(GetPtrFromEpTblHdl(fcb_p->epTblHdl)->hwTblIdx);
    }
    return record;
}

RlRecord MakeRlRecord(u32 rlDir, u32 rlIndex, const RlEnt &rlEnt) {
    return RlRecord{
        .notSet0 = kNotSet, .rlDir = rlDir, .notSet8 = kNotSet, .rlIndex = rlIndex, .rlEnt = rlEnt};
}

} // namespace

u32 Set_GblFlowMissAction(u32 action) {
    GblRecord record{.cfgType = kGblCfgFlowMissAction, .flowMissAction = action};
    return Send(kOrxSetGblCfg, record);
}

u32 Set_PortDefAcl(u32 srcPort, u32 aclType) {
    PortRecord record = MakePortRecord(kPortCfgDefAcl);
    record.defAcl = {.srcPort = srcPort, .aclType = aclType};
    return Send(kOrxSetPortCfg, record);
}

u32 Set_PortTpid(const TpidCfg *tpidCfg_p) {
    PortRecord record = MakePortRecord(kPortCfgTpid);
    record.tpid = *tpidCfg_p;
    return Send(kOrxSetPortCfg, record);
}

u32 Set_PortPadLen(u32 srcPort, u32 padLen) {
    PortRecord record = MakePortRecord(kPortCfgPadLen);
    record.pad = {.srcPort = srcPort, .padLen = padLen};
    return Send(kOrxSetPortCfg, record);
}

u32 Activate_AsTable(AsTblInfo *asTblInfo_p) {
    QEL_ASSERT(asTblInfo_p != nullptr, "(asTblInfo_p != NULL)");
    return ActivateTbl(kOrxActivateAsTbl, asTblInfo_p);
}

u32 Deactivate_AsTable(AsTblInfo *asTblInfo_p) {
    QEL_ASSERT(asTblInfo_p != nullptr, "(asTblInfo_p != NULL)");
    return DeactivateTbl(kOrxDeactivateAsTbl, asTblInfo_p);
}

u32 Activate_DscpToPbitsTable(DscpTblInfo *dpTblInfo_p) {
    QEL_ASSERT(dpTblInfo_p != nullptr, "(dpTblInfo_p != NULL)");
    return ActivateTbl(kOrxActivateDscpTbl, dpTblInfo_p);
}

u32 Deactivate_DscpToPbitsTable(DscpTblInfo *dpTblInfo_p) {
    QEL_ASSERT(dpTblInfo_p != nullptr, "(dpTblInfo_p != NULL)");
    return DeactivateTbl(kOrxDeactivateDscpTbl, dpTblInfo_p);
}

u32 Activate_PacTable(PacTblInfo *pacTblInfo_p) {
    QEL_ASSERT(pacTblInfo_p != nullptr, "(pacTblInfo_p != NULL)");
    return ActivateTbl(kOrxActivatePacTbl, pacTblInfo_p);
}

u32 Deactivate_PacTable(PacTblInfo *pacTblInfo_p) {
    QEL_ASSERT(pacTblInfo_p != nullptr, "(pacTblInfo_p != NULL)");
    return DeactivateTbl(kOrxDeactivatePacTbl, pacTblInfo_p);
}

u32 Activate_FCB(Fcb *fcb_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    FlowRecord record = MakeFlowRecord(fcb_p, kNotSet);
    const u32 rc = Send(kOrxActivateFlow, record);
    fcb_p->hwFlowIdx = record.flowIdx;
    return rc;
}

u32 Deactivate_FCB(Fcb *fcb_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    FlowRecord record = MakeFlowRecord(fcb_p, fcb_p->hwFlowIdx);
    return Send(kOrxDeactivateFlow, record);
}

u32 Get_FCBHits(const Fcb *fcb_p, FcbHits *fcbHits_p) {
    QEL_ASSERT((fcb_p != nullptr) && (fcbHits_p != nullptr), "(fcb_p != NULL) && (fcbHits_p != NULL)");
    HitsRecord record{};
    record.flowIdx = fcb_p->hwFlowIdx;
    const u32 rc = Send(kOrxGetFlowHits, record);
    if (rc == e_RET_OK) {
        *fcbHits_p = record.hits;
    }
    return rc;
}

u32 Update_FwdInfo(const Fcb *fcb_p, const FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    FwdRecord record;
    record.flowIdx = fcb_p->hwFlowIdx;
    memcpy(&record.fwdInfo, fwdInfo_p, sizeof record.fwdInfo);
    return Send(kOrxUpdateFwdInfo, record);
}

u32 Set_RLStatus(u32 rlStatus) {
    RlStatusRecord record{.rlStatus = rlStatus};
    return Send(kOrxSetRlStatus, record);
}

u32 Set_RLTciCfg(u32 rlDir, u32 rlTciCfg) {
    RlTciRecord record{.notSet = kNotSet, .rlDir = rlDir, .rlTciCfg = {}};
    memcpy(&record.rlTciCfg, &rlTciCfg, sizeof record.rlTciCfg);
    return Send(kOrxSetRlTciCfg, record);
}

u32 Activate_RL(u32 rlDir, u32 rlIndex) {
    RlRecord record = MakeRlRecord(rlDir, rlIndex, qirCtxt_gp->rlTbl[rlDir][rlIndex].ent);
    return Send(kOrxActivateRl, record);
}

u32 Deactivate_RL(u32 rlDir, u32 rlIndex) {
    // The direction's first TCI half takes the place of the configuration. This is intended.
    const RlEnt rlEnt{.tci = qirCtxt_gp->rlTciCfgTbl[rlDir].tci[0], .cirRate = 0, .cirUnit = 0, .cbs = 0};
    RlRecord record = MakeRlRecord(rlDir, rlIndex, rlEnt);
    return Send(kOrxDeactivateRl, record);
}

} // namespace qir
