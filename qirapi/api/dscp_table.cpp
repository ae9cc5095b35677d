#include "qirapi/access/table_access.h"
#include "qirapi/api/table_ops.h"

using namespace qir;

u32 QIR_Alloc_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p) {
    return AllocTable<DscpTableOps>(__func__, dscpTblHdl_p);
}

u32 QIR_Free_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p) {
    return FreeTable<DscpTableOps>(__func__, dscpTblHdl_p);
}

u32 QIR_Activate_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p) {
    return ActivateTable<DscpTableOps>(__func__, dscpTblHdl_p);
}

u32 QIR_Deactivate_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p) {
    return DeactivateTable<DscpTableOps>(__func__, dscpTblHdl_p);
}

u32 QIR_Set_DscpToPbitsTable_DefPbits(DscpTblHdl *dscpTblHdl_p, const DscpDefPbits *defPbits_p) {
    QIR_INF("Params: dscpTblHdl_p<0x%p> defPbits_p<0x%p>\n", Ptr(dscpTblHdl_p), Ptr(defPbits_p));
    if (dscpTblHdl_p == nullptr || defPbits_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: dscpTblHdl<%u> srcPort<%u> pbits<%u>\n", dscpTblHdl_p->f1.id, defPbits_p->srcPort,
            defPbits_p->pbits);
    if (defPbits_p->srcPort >= QIR_PORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    if (defPbits_p->pbits >= QIR_PBITS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PBITS);
    }
    if (const u32 rc = Validate_DscpTblHdl(*dscpTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    DscpTblInfo &tbl = TblOf<DscpTableOps>(*dscpTblHdl_p);
    if (!IsConfigurable(tbl.status)) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setDscpToPbitsTable_DefPbits(&tbl, defPbits_p);
    tbl.status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_DscpToPbitsTable_DefPbits(DscpTblHdl *dscpTblHdl_p, DscpDefPbits *defPbits_p) {
    QIR_INF("Params: dscpTblHdl_p<0x%p> defPbits_p<0x%p>\n", Ptr(dscpTblHdl_p), Ptr(defPbits_p));
    if (dscpTblHdl_p == nullptr || defPbits_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: dscpTblHdl<%u>\n", dscpTblHdl_p->f1.id);
    if (const u32 rc = Validate_DscpTblHdl(*dscpTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const DscpTblInfo &tbl = TblOf<DscpTableOps>(*dscpTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getDscpToPbitsTable_DefPbits(&tbl, defPbits_p);
    // The same line as the setter's.
    QIR_INF("Params2: dscpTblHdl<%u> srcPort<%u> pbits<%u>\n", dscpTblHdl_p->f1.id, defPbits_p->srcPort,
            defPbits_p->pbits);
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p, const DscpMapping *dscpMapping_p) {
    QIR_INF("Params: dscpTblHdl_p<0x%p> dscpMapping_p<0x%p>\n", Ptr(dscpTblHdl_p), Ptr(dscpMapping_p));
    if (dscpTblHdl_p == nullptr || dscpMapping_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: dscpTblHdl<%u> startDscp<%u> endDscp<%u> pbits<%u>\n", dscpTblHdl_p->f1.id,
            dscpMapping_p->startDscp, dscpMapping_p->endDscp, dscpMapping_p->pbits);
    if (dscpMapping_p->startDscp >= QIR_DSCP_MAX || dscpMapping_p->endDscp >= QIR_DSCP_MAX ||
        dscpMapping_p->endDscp < dscpMapping_p->startDscp) {
        return QIR_FAIL(e_RET_ERR_INVALID_DSCPVAL);
    }
    if (dscpMapping_p->pbits >= QIR_PBITS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PBITS);
    }
    if (const u32 rc = Validate_DscpTblHdl(*dscpTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    DscpTblInfo &tbl = TblOf<DscpTableOps>(*dscpTblHdl_p);
    if (tbl.status != e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setDscpToPbitsTable(&tbl, dscpMapping_p);
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_DscpToPbitsTable(DscpTblHdl *dscpTblHdl_p, uint8_t dscp, uint8_t *pbits) {
    QIR_INF("Params: dscpTblHdl_p<0x%p> dscp<%u> pbits<0x%p>\n", Ptr(dscpTblHdl_p), dscp, Ptr(pbits));
    if (dscpTblHdl_p == nullptr || pbits == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: dscpTblHdl<%u> dscp<%u>\n", dscpTblHdl_p->f1.id, dscp);
    if (dscp >= QIR_DSCP_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_DSCPVAL);
    }
    if (const u32 rc = Validate_DscpTblHdl(*dscpTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const DscpTblInfo &tbl = TblOf<DscpTableOps>(*dscpTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getDscpToPbitsTable(&tbl, dscp, pbits);
    QIR_INF("dscpTblHdl<%u> dscp<%u> pbits<%u>\n", dscpTblHdl_p->f1.id, dscp, *pbits);
    return QIR_END(e_RET_OK);
}
