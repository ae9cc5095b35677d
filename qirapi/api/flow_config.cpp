// Configuration of a flow: headers, forwarding, address-screening override, table associations.

#include "qirapi/access/flow_access.h"
#include "qirapi/access/table_access.h"
#include "qirapi/api/flow_ops.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/fwd_info.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/tables.h"

using namespace qir;

namespace {

// What the two header operations begin with: parameter lines, null check, handle, block and header type.
u32 OpenHdr(const char *fn, const FlowHdl *flowHdl_p, const FlowHdr *hdr_p) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> hdr_p<0x%p>\n", Ptr(flowHdl_p), Ptr(hdr_p));
    if (flowHdl_p == nullptr || hdr_p == nullptr) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_NULL_PTR);
    }
    QIR_INF_AS(fn, "Params2: flowHdl<%u> blk<%u> flowHdr<%u>\n", flowHdl_p->f1.id, hdr_p->blk,
               hdr_p->flowHdr);
    if (const u32 rc = Validate_FlowHdl(*flowHdl_p); rc != e_RET_OK) {
        return rc;
    }
    if (hdr_p->blk >= e_BLKTYPE_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_BLOCKTYPE);
    }
    if (hdr_p->flowHdr >= e_FLOWHDR_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_HDRTYPE);
    }
    return e_RET_OK;
}

// What QIR_Set_FwdInfo checks of the record.
u32 ChkFwdInfo(const char *fn, const Fcb *fcb_p, const FwdInfo &fwdInfo) {
    QIR_INF_AS(fn, "Params2: flowPrio<%u> fwdAction<%u>\n", fwdInfo.flowPrio, fwdInfo.fwdAction);
    if (fwdInfo.fwdAction >= e_FWD_ACTION_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_FWDACTION);
    }
    QIR_INF_AS(fn, "Params2: src portMask<0x%.8x> gemPortIdxMask<0x%.8x>\n", fwdInfo.src.portMask,
               fwdInfo.src.gemPortIdxMask);
    QIR_INF_AS(fn, "Params2: dst portMask<0x%.8x> gemPortIdxMask<0x%.8x>\n", fwdInfo.dst.portMask,
               fwdInfo.dst.gemPortIdxMask);
    // Only a flow that drops, and does nothing else, needs no destination.
    if (fwdInfo.dst.portMask == 0 && fwdInfo.fwdAction != e_FWD_ACTION_DROP) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_DSTPORTMASK);
    }
    if (fwdInfo.src.portMask == 0) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_SRCPORTMASK);
    }
    if (fwdInfo.flowPrio >= QIR_FLOWPRIO_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_FLOWPRIO);
    }
    return Validate_FwdInfo(fcb_p, &fwdInfo);
}

// Changes the destinations in a copy of the forwarding record. If the flow is ACTIVE, the driver must accept
// the copy before it replaces the record. The result of the change itself is ignored.
u32 ChangeDstPorts(const char *fn, const FlowHdl *flowHdl_p, const DstMask *dstMask_p,
                   u32 (*change)(const Fcb *, const DstMask *, FwdInfo *)) {
    QIR_INF_AS(fn, "Params: flowHdl_p<0x%p> dstMask_p<0x%p>\n", Ptr(flowHdl_p), Ptr(dstMask_p));
    if (const u32 rc = OpenFlow(fn, flowHdl_p, dstMask_p != nullptr); rc != e_RET_OK) {
        return QIR_END_AS(fn, rc);
    }
    QIR_INF_AS(fn, "Params2: dst portMask<0x%.8x> gemPortIdxMask<0x%.8x>\n", dstMask_p->portMask,
               dstMask_p->gemPortIdxMask);
    if (dstMask_p->portMask == 0) {
        return QIR_END_AS(fn, e_RET_OK);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    FwdInfo fwdInfo;
    getFwdInfo(fcb_p, &fwdInfo);
    change(fcb_p, dstMask_p, &fwdInfo);
    if (fcb_p->status == e_STATUS_ACTIVE) {
        if (const u32 rc = Update_FwdInfo(fcb_p, &fwdInfo); rc != e_RET_OK) {
            return QIR_END_AS(fn, rc);
        }
    }
    updateFwdInfo(fcb_p, &fwdInfo);
    return QIR_END_AS(fn, e_RET_OK);
}

// May the association change as asked? Enabling needs it off, disabling needs it on.
u32 ChkAssociation(const char *fn, bool enable, bool associated) {
    if (enable && associated) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_RESRC_ALREADY_ACTIVE);
    }
    if (!enable && !associated) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_RESRC_NOT_ACTIVE);
    }
    return e_RET_OK;
}

bool IsAssociated(const Fcb *fcb_p, u16 bit) {
    return (fcb_p->tblAssoc & bit) != 0;
}

} // namespace

u32 QIR_Alloc_Hdr(FlowHdl *flowHdl_p, const FlowHdr *hdr_p) {
    if (const u32 rc = OpenHdr(__func__, flowHdl_p, hdr_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    const u32 rc = Alloc_Hdr(fcb_p, hdr_p);
    if (rc == e_RET_OK) {
        fcb_p->status = e_STATUS_CFG;
    }
    return QIR_END(rc);
}

u32 QIR_Dump_HdrReqList(FlowHdl *flowHdl_p, const FlowHdr *hdr_p) {
    if (const u32 rc = OpenHdr(__func__, flowHdl_p, hdr_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    return QIR_END(Dump_HdrReqList(GetFCB(*flowHdl_p), hdr_p));
}

u32 QIR_Set_FwdInfo(FlowHdl *flowHdl_p, const FwdInfo *fwdInfo_p) {
    QIR_INF("Params: flowHdl_p<0x%p> fwdInfo_p<0x%p>\n", Ptr(flowHdl_p), Ptr(fwdInfo_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p, fwdInfo_p != nullptr); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (const u32 rc = ChkFwdInfo(__func__, fcb_p, *fwdInfo_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    Set_FwdInfo(fcb_p, fwdInfo_p);
    fcb_p->status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_FwdInfo(FlowHdl *flowHdl_p, FwdInfo *fwdInfo_p) {
    QIR_INF("Params: flowHdl_p<0x%p> fwdInfo_p<0x%p>\n", Ptr(flowHdl_p), Ptr(fwdInfo_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p, fwdInfo_p != nullptr); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->fwdInfoSet == 0) {
        QIR_ERR("Forwarding Info not set\n");
        return QIR_FAIL(e_RET_ERR_INVALID_PARAM);
    }
    if (fcb_p->status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getFwdInfo(fcb_p, fwdInfo_p);
    QIR_INF("flowHdl<%u> src portMask<0x%.8x> gemPortIdxMask<0x%.8x>\n", flowHdl_p->f1.id,
            fwdInfo_p->src.portMask, fwdInfo_p->src.gemPortIdxMask);
    QIR_INF("dst portMask<0x%.8x> gemPortIdxMask<0x%.8x>\n", fwdInfo_p->dst.portMask,
            fwdInfo_p->dst.gemPortIdxMask);
    QIR_INF("flowPrio<%u> fwdAction<%u>\n", fwdInfo_p->flowPrio, fwdInfo_p->fwdAction);
    return QIR_END(e_RET_OK);
}

u32 QIR_Add_DstPortInfo(FlowHdl *flowHdl_p, const DstMask *dstMask_p) {
    return ChangeDstPorts(__func__, flowHdl_p, dstMask_p, AddDstPortToFwdInfo);
}

u32 QIR_Rem_DstPortInfo(FlowHdl *flowHdl_p, const DstMask *dstMask_p) {
    return ChangeDstPorts(__func__, flowHdl_p, dstMask_p, RemDstPortFromFwdInfo);
}

u32 QIR_Set_AsOverride(FlowHdl *flowHdl_p, u32 asOverride) {
    QIR_INF("Params: flowHdl_p<0x%p> asOverride<%u>\n", Ptr(flowHdl_p), asOverride);
    if (const u32 rc = OpenFlow(__func__, flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (asOverride >= e_AS_OVERRIDE_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_ASOVRD);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setAsOverride(fcb_p, asOverride);
    fcb_p->status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_AsOverride(FlowHdl *flowHdl_p, u32 *asOverride_p) {
    QIR_INF("Params: flowHdl_p<0x%p> asOverride_p<0x%p>\n", Ptr(flowHdl_p), Ptr(asOverride_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p, asOverride_p != nullptr); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getAsOverride(fcb_p, asOverride_p);
    return QIR_END(e_RET_OK);
}

// The state is tested last: when an ACTIVE flow refuses the call, handle and reference count have changed
// already. QIR_Set_PacInfo tests the state before it changes the count. Both are intended.
u32 QIR_Set_EpInfo(FlowHdl *flowHdl_p, u32 epTblSts, EpTblHdl *epTblHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p> epTblSts<%u> epTblHdl_p<0x%p>\n", Ptr(flowHdl_p), epTblSts,
            Ptr(epTblHdl_p));
    if (flowHdl_p == nullptr || epTblHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: flowHdl<%u> epTblHdl<%u>\n", flowHdl_p->f1.id, epTblHdl_p->f1.id);
    if (const u32 rc = Validate_FlowHdl(*flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (epTblSts >= e_TBLSTATUS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_TBLSTATUS);
    }
    if (const u32 rc = Validate_EpTblHdl(*epTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    fcb_p->epTblHdl = *epTblHdl_p;
    if (const u32 rc =
            ChkAssociation(__func__, epTblSts == e_TBLSTATUS_ENABLE, IsAssociated(fcb_p, kTblAssocEp));
        rc != e_RET_OK) {
        return QIR_END(rc);
    }
    setEpInfo(fcb_p, epTblSts, GetPtrFromEpTblHdl(*epTblHdl_p));
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    fcb_p->status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_EpInfo(FlowHdl *flowHdl_p, u32 *epTblSts_p, EpTblHdl *epTblHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p> epTblSts_p<0x%p> epTblHdl_p<0x%p>\n", Ptr(flowHdl_p), Ptr(epTblSts_p),
            Ptr(epTblHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p, epTblSts_p != nullptr && epTblHdl_p != nullptr);
        rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getEpInfo(fcb_p, epTblSts_p, epTblHdl_p);
    QIR_INF("flowHdl<%u> epTblSts<%u> epTblHdl<%u>\n", flowHdl_p->f1.id, *epTblSts_p, epTblHdl_p->f1.id);
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_PacInfo(FlowHdl *flowHdl_p, u32 pacTblSts, u32 pbitsSource, PacTblHdl *pacTblHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p> pacTblSts<%u>\n", Ptr(flowHdl_p), pacTblSts);
    QIR_INF("Params: pacTblHdl_p<0x%p> pbitsSource<%u>\n", Ptr(pacTblHdl_p), pbitsSource);
    if (flowHdl_p == nullptr || pacTblHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: flowHdl<%u> pacTblHdl<%u>\n", flowHdl_p->f1.id, pacTblHdl_p->f1.id);
    if (const u32 rc = Validate_FlowHdl(*flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (pacTblSts >= e_TBLSTATUS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_TBLSTATUS);
    }
    if (pbitsSource >= QIR_PBITS_SOURCE_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PBITS_SOURCE);
    }
    if (const u32 rc = Validate_PacTblHdl(*pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    fcb_p->pacTblHdl = *pacTblHdl_p;
    PacTblInfo *const pacTblInfo_p = GetPtrFromPacTblHdl(*pacTblHdl_p);
    const auto associated = [fcb_p] { return IsAssociated(fcb_p, kTblAssocPac); };
    QIR_DBG("TblAssoc=<%u> refCnt=<%u>\n", associated(), pacTblInfo_p->refCnt);
    if (const u32 rc = ChkAssociation(__func__, pacTblSts == e_TBLSTATUS_ENABLE, associated());
        rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setPacInfo(fcb_p, pacTblSts, pbitsSource, pacTblInfo_p);
    QIR_DBG("After TblAssoc=<%u> refCnt=<%u>\n", associated(), pacTblInfo_p->refCnt);
    fcb_p->status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_PacInfo(FlowHdl *flowHdl_p, u32 *pacTblSts_p, u32 *pbitsSource_p, PacTblHdl *pacTblHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p> pacTblSts_p<0x%p> pacTblHdl_p<0x%p>\n", Ptr(flowHdl_p), Ptr(pacTblSts_p),
            Ptr(pacTblHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p,
                                pacTblSts_p != nullptr && pbitsSource_p != nullptr && pacTblHdl_p != nullptr);
        rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getPacInfo(fcb_p, pacTblSts_p, pbitsSource_p, pacTblHdl_p);
    QIR_INF("flowHdl<%u> pacTblSts<%u> pacTblHdl<%u>\n", flowHdl_p->f1.id, *pacTblSts_p, pacTblHdl_p->f1.id);
    QIR_INF("pbitsSource<%u>\n", *pbitsSource_p);
    return QIR_END(e_RET_OK);
}
