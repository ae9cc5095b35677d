#include "qirapi/access/table_access.h"
#include "qirapi/api/table_ops.h"

using namespace qir;

namespace {

constexpr u32 kRawActions = 2;
constexpr u32 kRawActionTypeMax = 3;
constexpr u32 kRawActionOffsetMax = 96;
constexpr u32 kRawActionSizeMax = 3;

bool HasOvrd(const PacTblCfg &rec, u32 bits) {
    return (rec.ovrd & bits) != 0;
}

// `lead` is "Params2: " in a setter and empty in a getter.
void LogRawAction(const char *fn, const char *lead, u32 ix, const PacRawAction &raw) {
    QIR_INF_AS(fn, "%six<%u> type<%u> ofst<%u> size<%u>\n", lead, ix, raw.type, raw.ofst, raw.size);
    for (u32 i = 0; i < 2; ++i) {
        QIR_INF_AS(fn, "%sval<0x%2x> mask<0x%2x>\n", lead, raw.val[i], raw.mask[i]);
    }
}

// Logs the fields that the record uses, before any of them is checked.
void LogFields(const char *fn, const PacTblCfg &rec) {
    if (HasOvrd(rec, PAC_OVRD_UNCHECKED)) {
        return;
    }
    if (HasOvrd(rec, PAC_OVRD_DSTGEMPORT)) {
        QIR_INF_AS(fn, "Params2: dstGemPort<%u> \n", rec.dstGemPort);
    }
    if (HasOvrd(rec, PAC_OVRD_DSTQID_A | PAC_OVRD_DSTQID_B)) {
        QIR_INF_AS(fn, "Params2: dstQid<%u>\n", rec.dstQid);
    }
    for (u32 ix = 0; ix < kRawActions; ++ix) {
        if (rec.rawAction[ix].type != 0) {
            LogRawAction(fn, "Params2: ", ix, rec.rawAction[ix]);
        }
    }
}

u32 ChkRecord(const char *fn, const PacTblCfg &rec) {
    if (HasOvrd(rec, PAC_OVRD_INVALID_BITS)) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_OVRD);
    }
    if (HasOvrd(rec, PAC_OVRD_UNCHECKED)) {
        return e_RET_OK;
    }
    if (HasOvrd(rec, PAC_OVRD_DSTGEMPORT) && rec.dstGemPort >= QIR_GEMPORTIDX_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_GEMPORTIDX);
    }
    if (HasOvrd(rec, PAC_OVRD_DSTQID_A | PAC_OVRD_DSTQID_B) && rec.dstQid >= QIR_QID_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_DSTQID);
    }
    for (const PacRawAction &raw : rec.rawAction) {
        if (raw.type == 0) {
            continue;
        }
        if (raw.type >= kRawActionTypeMax) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RAWACTION_TYPE);
        }
        if (raw.ofst >= kRawActionOffsetMax) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RAWACTION_OFFSET);
        }
        if (raw.size == 0 || raw.size >= kRawActionSizeMax) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RAWACTION_SIZE);
        }
    }
    return e_RET_OK;
}

} // namespace

u32 QIR_Alloc_PacTable(PacTblHdl *pacTblHdl_p) {
    return AllocTable<PacTableOps>(__func__, pacTblHdl_p);
}

u32 QIR_Free_PacTable(PacTblHdl *pacTblHdl_p) {
    return FreeTable<PacTableOps>(__func__, pacTblHdl_p);
}

u32 QIR_Activate_PacTable(PacTblHdl *pacTblHdl_p) {
    return ActivateTable<PacTableOps>(__func__, pacTblHdl_p);
}

u32 QIR_Deactivate_PacTable(PacTblHdl *pacTblHdl_p) {
    return DeactivateTable<PacTableOps>(__func__, pacTblHdl_p);
}

u32 QIR_Set_PacTableCfg(PacTblHdl *pacTblHdl_p, const PacTblCfg *pacTblCfg_p) {
    QIR_INF("Params: pacTblHdl_p<0x%p> pacTblCfg_p<0x%p>\n", Ptr(pacTblHdl_p), Ptr(pacTblCfg_p));
    if (pacTblHdl_p == nullptr || pacTblCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: pacTblHdl<%u> ovrd<0x%2x>\n", pacTblHdl_p->f1.id, pacTblCfg_p->ovrd);
    LogFields(__func__, *pacTblCfg_p);
    if (const u32 rc = ChkRecord(__func__, *pacTblCfg_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (const u32 rc = Validate_PacTblHdl(*pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    PacTblInfo &tbl = TblOf<PacTableOps>(*pacTblHdl_p);
    if (!IsConfigurable(tbl.status)) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setPacTblCfg(&tbl, pacTblCfg_p);
    tbl.status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_PacTableCfg(PacTblHdl *pacTblHdl_p, PacTblCfg *pacTblCfg_p) {
    QIR_INF("Params: pacTblHdl_p<0x%p> pacTblCfg_p<0x%p>\n", Ptr(pacTblHdl_p), Ptr(pacTblCfg_p));
    if (pacTblHdl_p == nullptr || pacTblCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: pacTblHdl<%u>\n", pacTblHdl_p->f1.id);
    if (const u32 rc = Validate_PacTblHdl(*pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const PacTblInfo &tbl = TblOf<PacTableOps>(*pacTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getPacTblCfg(&tbl, pacTblCfg_p);
    QIR_INF("pacTblHdl<%u> ovrd<0x%2x>\n", pacTblHdl_p->f1.id, pacTblCfg_p->ovrd);
    QIR_INF("dstGemPort<%u> dstQid<%u>\n", pacTblCfg_p->dstGemPort, pacTblCfg_p->dstQid);
    for (u32 ix = 0; ix < kRawActions; ++ix) {
        if (pacTblCfg_p->rawAction[ix].type != 0) {
            LogRawAction(__func__, "", ix, pacTblCfg_p->rawAction[ix]);
        }
    }
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_PacTableEntry(PacTblHdl *pacTblHdl_p, uint8_t pbits, const PacTblCfg *pacEnt_p) {
    QIR_INF("Params: pacTblHdl_p<0x%p> pacEnt_p<0x%p>\n", Ptr(pacTblHdl_p), Ptr(pacEnt_p));
    if (pacTblHdl_p == nullptr || pacEnt_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: pacTblHdl<%u> pbits<%u> ovrd<0x%2x>\n", pacTblHdl_p->f1.id, pbits, pacEnt_p->ovrd);
    LogFields(__func__, *pacEnt_p);
    if (pbits >= QIR_PBITS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PBITS);
    }
    if (const u32 rc = ChkRecord(__func__, *pacEnt_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (const u32 rc = Validate_PacTblHdl(*pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    PacTblInfo &tbl = TblOf<PacTableOps>(*pacTblHdl_p);
    if (tbl.status != e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setPacTblEntry(&tbl, pbits, pacEnt_p);
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_PacTableEntry(PacTblHdl *pacTblHdl_p, uint8_t pbits, PacTblCfg *pacEnt_p) {
    QIR_INF("Params: pacTblHdl_p<0x%p> pacEnt_p<0x%p>\n", Ptr(pacTblHdl_p), Ptr(pacEnt_p));
    if (pacTblHdl_p == nullptr || pacEnt_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: pacTblHdl<%u> pbits<%u>\n", pacTblHdl_p->f1.id, pbits);
    if (pbits >= QIR_PBITS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PBITS);
    }
    if (const u32 rc = Validate_PacTblHdl(*pacTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const PacTblInfo &tbl = TblOf<PacTableOps>(*pacTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getPacTblEntry(&tbl, pbits, pacEnt_p);
    QIR_INF("pacTblHdl<%u> pbits<%u> ovrd<0x%2x>\n", pacTblHdl_p->f1.id, pbits, pacEnt_p->ovrd);
    QIR_INF("dstGemPort<%u> dstQid<%u>\n", pacEnt_p->dstGemPort, pacEnt_p->dstQid);
    // Both raw actions, whatever their type.
    for (u32 ix = 0; ix < kRawActions; ++ix) {
        LogRawAction(__func__, "", ix, pacEnt_p->rawAction[ix]);
    }
    return QIR_END(e_RET_OK);
}
