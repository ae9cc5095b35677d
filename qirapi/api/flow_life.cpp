// Life of a flow: allocation, activation, hit counters, release.

#include "qirapi/access/flow_access.h"
#include "qirapi/access/table_access.h"
#include "qirapi/api/flow_ops.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/tables.h"

using namespace qir;

namespace {

// Turns a free FCB into an allocated one and counts it in its section.
void TakeFcb(const char *fn, Fcb *fcb_p, u32 section, FlowHdl flowHdl) {
    Init_FCB(fcb_p);
    fcb_p->status = e_STATUS_ALLOC;
    fcb_p->flowHdl = flowHdl;
    QIR_INF_AS(fn, "flowHdl<%u>\n", flowHdl.f1.id);
    setFlowSection(fcb_p, section);
    u16 &cfgFlows = qirCtxt_gp->cfg.flowSection[section].cfgFlows;
    ++cfgFlows;
    QEL_ASSERT_AS(fn, cfgFlows <= QIR_MAX_FLOWS,
                  "(qirCtxt_gp->cfg.flowSection[section].cfgFlows <= QIR_MAX_FLOWS)");
}

} // namespace

u32 QIR_Alloc_FCB(u32 section, FlowHdl *flowHdl_p) {
    QIR_INF("Params: section<%u>, flowHdl_p<0x%p>\n", section, Ptr(flowHdl_p));
    if (flowHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    if (section >= e_FLOW_SECTION_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SECTION);
    }
    const u16 flowIdx = FindFreeFlow();
    if (flowIdx == QIR_MAX_FLOWS) {
        QIR_ERR("No Free FCB available\n");
        return QIR_FAIL(e_RET_ERR_RESRC_UNAVAIL);
    }
    flowHdl_p->f1.id = flowIdx;
    TakeFcb(__func__, GetFCB(*flowHdl_p), section, *flowHdl_p);
    return QIR_END(e_RET_OK);
}

u32 QIR_Alloc_FCB_Specify_Index(u32 section, FlowHdl *flowHdl_p) {
    QIR_INF("Params: section<%u>, flowHdl_p<0x%p>\n", section, Ptr(flowHdl_p));
    if (flowHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    if (section >= e_FLOW_SECTION_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SECTION);
    }
    // For an index out of range, GetFCB prints an assertion, and that is all.
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status != e_STATUS_FREE) {
        QIR_ERR(" FCB index not free!\n");
        return QIR_FAIL(e_RET_ERR_RESRC_UNAVAIL);
    }
    TakeFcb(__func__, fcb_p, section, *flowHdl_p);
    return QIR_END(e_RET_OK);
}

u32 Is_Orx_free(u32 index) {
    return qirCtxt_gp->fcbPool[index].status == e_STATUS_FREE ? 1 : 0;
}

u32 QIR_Activate_FCB(FlowHdl *flowHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p>\n", Ptr(flowHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_ALREADY_ACTIVE);
    }
    if (fcb_p->status != e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    if ((fcb_p->tblAssoc & kTblAssocEp) != 0 &&
        GetPtrFromEpTblHdl(fcb_p->epTblHdl)->status != e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOT_ACTIVE);
    }
    if ((fcb_p->tblAssoc & kTblAssocPac) != 0 &&
        GetPtrFromPacTblHdl(fcb_p->pacTblHdl)->status != e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_NOT_ACTIVE);
    }
    const u32 rc = Activate_FCB(fcb_p);
    if (rc == e_RET_OK) {
        fcb_p->status = e_STATUS_ACTIVE;
    }
    return QIR_END(rc);
}

u32 QIR_Deactivate_FCB(FlowHdl *flowHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p>\n", Ptr(flowHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status != e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_NOT_ACTIVE);
    }
    const u32 rc = Deactivate_FCB(fcb_p);
    if (rc == e_RET_OK) {
        fcb_p->status = e_STATUS_CFG;
    }
    return QIR_END(rc);
}

u32 QIR_Free_FCB(FlowHdl *flowHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p>\n", Ptr(flowHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_ALREADY_ACTIVE);
    }
    u32 section = 0;
    getFlowSection(fcb_p, &section);
    QEL_ASSERT(section < e_FLOW_SECTION_MAX, "(section < e_FLOW_SECTION_MAX)");
    u16 &cfgFlows = qirCtxt_gp->cfg.flowSection[section].cfgFlows;
    QEL_ASSERT(cfgFlows != 0, "(qirCtxt_gp->cfg.flowSection[section].cfgFlows != 0)");
    if ((fcb_p->tblAssoc & kTblAssocEp) != 0) {
        setEpInfo(fcb_p, e_TBLSTATUS_DISABLE, GetPtrFromEpTblHdl(fcb_p->epTblHdl));
    }
    if ((fcb_p->tblAssoc & kTblAssocPac) != 0) {
        setPacInfo(fcb_p, e_TBLSTATUS_DISABLE, fcb_p->pbitsSource, GetPtrFromPacTblHdl(fcb_p->pacTblHdl));
    }
    --cfgFlows;
    fcb_p->status = e_STATUS_FREE;
    NoteFreeFlow(fcb_p);
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_FCBHits(FlowHdl *flowHdl_p, FcbHits *hits_p) {
    QIR_INF("Params: flowHdl_p<0x%p>\n", Ptr(flowHdl_p));
    if (const u32 rc = OpenFlow(__func__, flowHdl_p, hits_p != nullptr); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const Fcb *const fcb_p = GetFCB(*flowHdl_p);
    if (fcb_p->status != e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_NOT_ACTIVE);
    }
    const u32 rc = Get_FCBHits(fcb_p, hits_p);
    if (rc == e_RET_OK) {
        const u32 *const hits = hits_p->hits;
        QIR_INF("flowHdl<%u> numFlows<%u> hits<%u> <%u> <%u> <%u> <%u> <%u> <%u> <%u>\n", flowHdl_p->f1.id,
                hits_p->numFlows, hits[0], hits[1], hits[2], hits[3], hits[4], hits[5], hits[6], hits[7]);
    }
    return QIR_END(rc);
}
