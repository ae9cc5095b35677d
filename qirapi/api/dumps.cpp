#include "qirapi/access/table_access.h"
#include "qirapi/api/table_ops.h"
#include "qirapi/private/fcb.h"

using namespace qir;

u32 QIR_Dump_AsTable(AsTblHdl *asTblHdl_p) {
    if (const u32 rc = OpenTable<AsTableOps>(__func__, asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Dump_AsTable(&TblOf<AsTableOps>(*asTblHdl_p));
    return QIR_END(e_RET_OK);
}

u32 QIR_Dump_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p) {
    if (const u32 rc = OpenTable<DscpTableOps>(__func__, dscpTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Dump_DscpToPbitsTable(GetIdxFromDscpTblHdl(*dscpTblHdl_p));
    return QIR_END(e_RET_OK);
}

u32 QIR_Dump_PacTable(PacTblHdl *pacTblHdl_p) {
    if (const u32 rc = OpenTable<PacTableOps>(__func__, pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Dump_PacTable(GetIdxFromPacTblHdl(*pacTblHdl_p));
    return QIR_END(e_RET_OK);
}

u32 QIR_Dump_FCB(FlowHdl *flowHdl_p) {
    QIR_INF("Params: flowHdl_p<0x%p>\n", Ptr(flowHdl_p));
    if (flowHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: flowHdl<%u>\n", flowHdl_p->f1.id);
    if (const u32 rc = Validate_FlowHdl(*flowHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    Dump_FCB(GetFCB(*flowHdl_p));
    return QIR_END(e_RET_OK);
}
