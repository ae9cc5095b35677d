#include "qirapi/access/req_walk.h"
#include "qirapi/access/table_access.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/report.h"
#include "qirapi/private/req_list.h"
#include "qirapi/private/rows.h"

#include <stdio.h>

namespace qir {

namespace {

constexpr ValueName kAsOverrides[] = {
    {QIR_NAMED(e_AS_OVERRIDE_DISABLE)},
    {QIR_NAMED(e_AS_OVERRIDE_ENABLE)},
};
static_assert(HasRowForEach(kAsOverrides, e_AS_OVERRIDE_MAX, &ValueName::value));

constexpr ValueName kTblStatuses[] = {
    {QIR_NAMED(e_TBLSTATUS_DISABLE)},
    {QIR_NAMED(e_TBLSTATUS_ENABLE)},
};
static_assert(HasRowForEach(kTblStatuses, e_TBLSTATUS_MAX, &ValueName::value));

} // namespace

void Dump_FCB(const Fcb *fcb_p) {
    printf("\n\n");
    puts("************* FCB ************* ");
    printf("FCB Status");
    Dump_Status(fcb_p->status);
    printf("Hdl<%u> ", fcb_p->flowHdl.f1.id);
    printf("Section<%u> ", fcb_p->section);
    puts("\n");
    printf("AS ");
    Dump_AsOverride(fcb_p->asOverride);

    Dump_FilterBlk(fcb_p);
    Dump_ActionBlk(fcb_p);
    Dump_FwdBlk(fcb_p);

    // The free list is headed by node 0 whatever `freeReqList` holds.
    const ReqNode &freeList = fcb_p->reqPool[0];
    QIR_DBG("FreeReqList: \n");
    QIR_DBG("curr<%u> next<%u> prev<%u> count<%u> \n\n", freeList.curr, freeList.next, freeList.prev,
            fcb_p->freeReqCount);
    Dump_ReqList(fcb_p, &freeList);
    Dump_ReqPool(fcb_p);
    puts("******************************* ");
}

void Dump_AsOverride(u32 asOvrd) {
    QEL_ASSERT(asOvrd < e_AS_OVERRIDE_MAX, "( asOvrd < e_AS_OVERRIDE_MAX )");
    printf("Override");
    if (asOvrd < e_AS_OVERRIDE_MAX) {
        printf("<%s> ", kAsOverrides[asOvrd].name);
    } else {
        QIR_ERR("Unknown AS override status <%u> \n", asOvrd);
    }
}

void Dump_TblStatus(u32 tblStatus) {
    QEL_ASSERT(tblStatus < e_TBLSTATUS_MAX, "(tblStatus < e_TBLSTATUS_MAX)");
    printf("TblStatus");
    if (tblStatus < e_TBLSTATUS_MAX) {
        printf("<%s> ", kTblStatuses[tblStatus].name);
    } else {
        QIR_ERR("Unknown table status <%u> \n", tblStatus);
    }
}

void Dump_FwdAction(u32 action) {
    QEL_ASSERT(action < e_FWD_ACTION_MAX, "(action < e_FWD_ACTION_MAX)");
    printf("FwdAction");
    if ((action & e_FWD_ACTION_LRN_ENABLE) != 0) {
        printf("<LRN_ENABLE> ");
    }
    if ((action & e_FWD_ACTION_ARL_OVRD) != 0) {
        printf("<ARL_OVRD> ");
    }
    if ((action & e_FWD_ACTION_DROP) != 0) {
        printf("<DROP> ");
    }
}

} // namespace qir
