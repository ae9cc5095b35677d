#include "qirapi/access/table_access.h"
#include "qirapi/api/table_ops.h"

using namespace qir;

namespace {

// The fields of an entry whose bits are set, in order: each is logged, then checked.
u32 ChkAsEnt(const char *fn, const AsEnt &ent) {
    const auto inUse = [&ent](u32 maskBit) { return (ent.aclMask & maskBit) != 0; };
    if (inUse(AS_ENT_MASK_MAC_DA)) {
        QIR_INF_AS(fn, "Params2: macDA\n");
    }
    if (inUse(AS_ENT_MASK_MAC_SA)) {
        QIR_INF_AS(fn, "Params2: macSA\n");
    }
    if (inUse(AS_ENT_MASK_ETHTYPE)) {
        QIR_INF_AS(fn, "Params2: ethType<%u>\n", ent.ethType);
        if (ent.ethType < QIR_ETHTYPE_MIN) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_ETHTYPE);
        }
    }
    if (inUse(AS_ENT_MASK_VLANTAG0)) {
        QIR_INF_AS(fn, "Params2: vlanTag0<%u>\n", ent.vlanTag0);
        if (ent.vlanTag0 >= QIR_VLANID_MAX) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_VLANTAG);
        }
    }
    if (inUse(AS_ENT_MASK_VLANTAG1)) {
        QIR_INF_AS(fn, "Params2: vlanTag1<%u>\n", ent.vlanTag1);
        if (ent.vlanTag1 >= QIR_VLANID_MAX) {
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_VLANTAG);
        }
    }
    if (inUse(AS_ENT_MASK_NONIP_A | AS_ENT_MASK_NONIP_B)) {
        QIR_INF_AS(fn, "Params2: nonIP\n");
        return e_RET_OK;
    }
    if (inUse(AS_ENT_MASK_IP) && ent.ipPrefixLen > 32) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_IPPREFIXLENVAL);
    }
    if (inUse(AS_ENT_MASK_IPPROTO)) {
        QIR_INF_AS(fn, "Params2: ipProto<%u>\n", ent.ipProto);
    }
    if (inUse(AS_ENT_MASK_DESTPORT)) {
        QIR_INF_AS(fn, "Params2: destPort<%u>\n", ent.destPort);
    }
    return e_RET_OK;
}

} // namespace

u32 QIR_Alloc_AsTable(AsTblHdl *asTblHdl_p) {
    return AllocTable<AsTableOps>(__func__, asTblHdl_p);
}

u32 QIR_Free_AsTable(AsTblHdl *asTblHdl_p) {
    return FreeTable<AsTableOps>(__func__, asTblHdl_p);
}

u32 QIR_Activate_AsTable(AsTblHdl *asTblHdl_p) {
    return ActivateTable<AsTableOps>(__func__, asTblHdl_p);
}

u32 QIR_Deactivate_AsTable(AsTblHdl *asTblHdl_p) {
    return DeactivateTable<AsTableOps>(__func__, asTblHdl_p);
}

u32 QIR_Set_AsTableCfg(AsTblHdl *asTblHdl_p, const AsTblCfg *asTblCfg_p) {
    QIR_INF("Params: asTblHdl_p<0x%p> asTblCfg_p<0x%p>\n", Ptr(asTblHdl_p), Ptr(asTblCfg_p));
    if (asTblHdl_p == nullptr || asTblCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: asTblHdl<%u> srcPortMask<0x%2x>\n", asTblHdl_p->f1.id, asTblCfg_p->srcPortMask);
    if (asTblCfg_p->srcPortMask == 0) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORTMASK);
    }
    if (const u32 rc = Validate_AsTblHdl(*asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    AsTblInfo &tbl = TblOf<AsTableOps>(*asTblHdl_p);
    if (!IsConfigurable(tbl.status)) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    setAsTblCfg(&tbl, asTblCfg_p);
    tbl.status = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_AsTableCfg(AsTblHdl *asTblHdl_p, AsTblCfg *asTblCfg_p) {
    QIR_INF("Params: asTblHdl_p<0x%p> asTblCfg_p<0x%p>\n", Ptr(asTblHdl_p), Ptr(asTblCfg_p));
    if (asTblHdl_p == nullptr || asTblCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    if (const u32 rc = Validate_AsTblHdl(*asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const AsTblInfo &tbl = TblOf<AsTableOps>(*asTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getAsTblCfg(&tbl, asTblCfg_p);
    QIR_INF("asTblHdl<%u> srcPortMask<0x%2x>\n", asTblHdl_p->f1.id, asTblCfg_p->srcPortMask);
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx, const AsEnt *asEnt_p) {
    QIR_INF("Params: asTblHdl_p<0x%p> asEntIdx<%u> asEnt_p<0x%p>\n", Ptr(asTblHdl_p), asEntIdx, Ptr(asEnt_p));
    if (asTblHdl_p == nullptr || asEnt_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: asTblHdl<%u>\n", asTblHdl_p->f1.id);
    QIR_INF("Params2: aclType<%u> aclMask<0x%4x\n", asEnt_p->aclType, asEnt_p->aclMask);
    if (const u32 rc = Validate_AsTblHdl(*asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (asEntIdx >= QIR_ASENT_MAXNUM) {
        return QIR_FAIL(e_RET_ERR_INVALID_ENTIDX);
    }
    if (asEnt_p->aclMask == 0) {
        return QIR_FAIL(e_RET_ERR_INVALID_ASENT);
    }
    if (asEnt_p->aclType >= 2) {
        return QIR_FAIL(e_RET_ERR_INVALID_ACLTYPE);
    }
    if (const u32 rc = ChkAsEnt(__func__, *asEnt_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    AsTblInfo &tbl = TblOf<AsTableOps>(*asTblHdl_p);
    if (tbl.status != e_STATUS_CFG) {
        // The state is tested twice in a row, and each test says so.
        QIR_REFUSE(e_RET_ERR_STATE_NOTCFG);
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    AsEntSlot &slot = tbl.ent[asEntIdx];
    if (slot.status != e_STATUS_FREE) {
        // The one refusal of a table operation that does not name its code.
        QIR_ERR("As Table entry<%u> already used\n", asEntIdx);
        return QIR_END(e_RET_ERR_RESRC_UNAVAIL);
    }
    setAsTblEntry(&tbl, asEntIdx, asEnt_p);
    slot.status = e_STATUS_ALLOC;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx, AsEnt *asEnt_p) {
    QIR_INF("Params: asTblHdl_p<0x%p> asEntIdx<%u> asEnt_p<0x%p>\n", Ptr(asTblHdl_p), asEntIdx, Ptr(asEnt_p));
    if (asTblHdl_p == nullptr || asEnt_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: asTblHdl<%u> asEntIdx<%u>\n", asTblHdl_p->f1.id, asEntIdx);
    if (asEntIdx >= QIR_ASENT_MAXNUM) {
        return QIR_FAIL(e_RET_ERR_INVALID_ENTIDX);
    }
    if (const u32 rc = Validate_AsTblHdl(*asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    const AsTblInfo &tbl = TblOf<AsTableOps>(*asTblHdl_p);
    if (tbl.status < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    if (tbl.ent[asEntIdx].status == e_STATUS_FREE) {
        QIR_ERR("As Table entry<%u> not used\n", asEntIdx);
        return QIR_FAIL(e_RET_ERR_NO_SUCH_ENTRY);
    }
    getAsTblEntry(&tbl, asEntIdx, asEnt_p);
    return QIR_END(e_RET_OK);
}

u32 QIR_Delete_AsTableEntry(AsTblHdl *asTblHdl_p, uint8_t asEntIdx) {
    QIR_INF("Params: asTblHdl_p<0x%p> asEntIdx<%u>\n", Ptr(asTblHdl_p), asEntIdx);
    if (asTblHdl_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    QIR_INF("Params2: asTblHdl<%u> asEntIdx<%u>\n", asTblHdl_p->f1.id, asEntIdx);
    if (asEntIdx >= QIR_ASENT_MAXNUM) {
        return QIR_FAIL(e_RET_ERR_INVALID_ENTIDX);
    }
    if (const u32 rc = Validate_AsTblHdl(*asTblHdl_p); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    AsTblInfo &tbl = TblOf<AsTableOps>(*asTblHdl_p);
    if (tbl.status != e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    AsEntSlot &slot = tbl.ent[asEntIdx];
    if (slot.status == e_STATUS_FREE) {
        QIR_ERR("As Table entry<%u> not used\n", asEntIdx);
        return QIR_FAIL(e_RET_ERR_NO_SUCH_ENTRY);
    }
    slot.status = e_STATUS_FREE;
    return QIR_END(e_RET_OK);
}
