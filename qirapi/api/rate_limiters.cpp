#include "qirapi/access/rl_access.h"
#include "qirapi/api/operation.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/startup.h"

#include <string.h>

using namespace qir;

namespace {

// The two orders of the range checks decide which code a call with both numbers out of range gets.

u32 ChkIndexThenDir(const char *fn, u32 rlDir, u32 rlIndex) {
    if (rlIndex >= QIR_RLINDEX_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLINDEX);
    }
    if (rlDir >= QIR_RLDIR_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLDIR);
    }
    return e_RET_OK;
}

u32 ChkDirThenIndex(const char *fn, u32 rlDir, u32 rlIndex) {
    if (rlDir >= QIR_RLDIR_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLDIR);
    }
    if (rlIndex >= QIR_RLINDEX_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLINDEX);
    }
    return e_RET_OK;
}

u32 ChkRate(const char *fn, const RlEnt &rlEnt) {
    if (rlEnt.cirUnit >= QIR_RLUNIT_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLUNIT);
    }
    const u32 rateMax = rlEnt.cirUnit == 0 ? QIR_RLRATE_UNIT0_MAX : QIR_RLRATE_UNIT1_MAX;
    return rlEnt.cirRate >= rateMax ? QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_RLRATE)
                                    : static_cast<u32>(e_RET_OK);
}

u32 &StateOf(u32 rlDir, u32 rlIndex) {
    return qirCtxt_gp->rlTbl[rlDir][rlIndex].state;
}

} // namespace

u32 QIR_Set_RLStatus(u32 rlStatus) {
    QIR_INF("Params: rlStatus<%u>\n", rlStatus);
    if (rlStatus >= QIR_RLSTATUS_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_RLSTATUS);
    }
    if (rlStatus == qirCtxt_gp->rlStatus) {
        return QIR_FAIL(rlStatus == 1 ? e_RET_ERR_RESRC_ALREADY_ACTIVE : e_RET_ERR_RESRC_NOT_ACTIVE);
    }
    const u32 rc = Set_RLStatus(rlStatus);
    if (rc == e_RET_OK) {
        qirCtxt_gp->rlStatus = rlStatus;
    }
    return QIR_END(rc);
}

u32 QIR_Get_RLStatus(u32 *rlStatus_p) {
    QIR_INF("Params: rlStatus_p<0x%p>\n", Ptr(rlStatus_p));
    if (rlStatus_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    *rlStatus_p = qirCtxt_gp->rlStatus;
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_RLTciCfg(u32 rlDir, RlTciCfg rlTciCfg) {
    QIR_INF("Params: rlDir<%u> rlTciCfg<0x%4x:0x%4x>\n", rlDir, rlTciCfg.tci[0], rlTciCfg.tci[1]);
    if (rlDir >= QIR_RLDIR_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_RLDIR);
    }
    u32 word = 0;
    memcpy(&word, &rlTciCfg, sizeof word);
    const u32 rc = Set_RLTciCfg(rlDir, word);
    if (rc == e_RET_OK) {
        qirCtxt_gp->rlTciCfgTbl[rlDir] = rlTciCfg;
    }
    return QIR_END(rc);
}

u32 QIR_Get_RLTciCfg(u32 rlDir, RlTciCfg *rlTciCfg_p) {
    QIR_INF("Params: rlDir<%u> rlTciCfg_p<0x%p>\n", rlDir, Ptr(rlTciCfg_p));
    if (rlDir >= QIR_RLDIR_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_RLDIR);
    }
    if (rlTciCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    *rlTciCfg_p = qirCtxt_gp->rlTciCfgTbl[rlDir];
    QIR_INF("Params: rlDir<%u> rlTciCfg<0x%4x:0x%4x>\n", rlDir, rlTciCfg_p->tci[0], rlTciCfg_p->tci[1]);
    return QIR_END(e_RET_OK);
}

u32 QIR_Alloc_RL(u32 rlDir, u32 rlIndex) {
    QIR_INF("Params: rlDir<%u> rlIndex<%u>\n", rlDir, rlIndex);
    if (const u32 rc = ChkIndexThenDir(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (StateOf(rlDir, rlIndex) != e_STATUS_FREE) {
        // This refusal does not name its code.
        QIR_ERR("RL rlDir<%u> rlIndex <%u> already used\n", rlDir, rlIndex);
        return QIR_END(e_RET_ERR_RESRC_UNAVAIL);
    }
    Init_RL(rlDir, rlIndex);
    StateOf(rlDir, rlIndex) = e_STATUS_ALLOC;
    return QIR_END(e_RET_OK);
}

u32 QIR_Free_RL(u32 rlDir, u32 rlIndex) {
    QIR_INF("Params: rlDir<%u> rlIndex<%u>\n", rlDir, rlIndex);
    if (const u32 rc = ChkIndexThenDir(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (StateOf(rlDir, rlIndex) == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_BUSY);
    }
    StateOf(rlDir, rlIndex) = e_STATUS_FREE;
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_RL(u32 rlDir, u32 rlIndex, RlEnt rlEnt) {
    QIR_INF("Params:  rlDir<%u> rlIndex<%u>\n", rlDir, rlIndex);
    if (const u32 rc = ChkDirThenIndex(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (const u32 rc = ChkRate(__func__, rlEnt); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (StateOf(rlDir, rlIndex) == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_ALREADY_ACTIVE);
    }
    // A FREE limiter needs no allocation: its configuration takes it into use.
    setRL(rlDir, rlIndex, &rlEnt);
    StateOf(rlDir, rlIndex) = e_STATUS_CFG;
    return QIR_END(e_RET_OK);
}

u32 QIR_Get_RL(u32 rlDir, u32 rlIndex, RlEnt *rlEnt_p) {
    QIR_INF("Params: rlDir<%u> rlIndex<%u> rlEnt_p<0x%p>\n", rlDir, rlIndex, Ptr(rlEnt_p));
    if (const u32 rc = ChkDirThenIndex(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (rlEnt_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    if (StateOf(rlDir, rlIndex) < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    getRL(rlDir, rlIndex, rlEnt_p);
    QIR_INF("rlDir<%u> rlIndex<%u> tci<%u> cir<%u:%u> cbs<%u>\n", rlDir, rlIndex, rlEnt_p->tci,
            rlEnt_p->cirRate, rlEnt_p->cirUnit, rlEnt_p->cbs);
    return QIR_END(e_RET_OK);
}

u32 QIR_Activate_RL(u32 rlDir, u32 rlIndex) {
    QIR_INF("Params: rlDir<%u> rlIndex<%u>\n", rlDir, rlIndex);
    if (const u32 rc = ChkIndexThenDir(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (StateOf(rlDir, rlIndex) == e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_STATE_ALREADY_ACTIVE);
    }
    if (StateOf(rlDir, rlIndex) < e_STATUS_CFG) {
        return QIR_FAIL(e_RET_ERR_STATE_NOTCFG);
    }
    const u32 rc = Activate_RL(rlDir, rlIndex);
    if (rc == e_RET_OK) {
        StateOf(rlDir, rlIndex) = e_STATUS_ACTIVE;
    }
    return QIR_END(rc);
}

u32 QIR_Deactivate_RL(u32 rlDir, u32 rlIndex) {
    QIR_INF("Params: rlDir<%u> rlIndex<%u>\n", rlDir, rlIndex);
    if (const u32 rc = ChkIndexThenDir(__func__, rlDir, rlIndex); rc != e_RET_OK) {
        return QIR_END(rc);
    }
    if (StateOf(rlDir, rlIndex) != e_STATUS_ACTIVE) {
        return QIR_FAIL(e_RET_ERR_RESRC_NOT_ACTIVE);
    }
    const u32 rc = Deactivate_RL(rlDir, rlIndex);
    if (rc == e_RET_OK) {
        StateOf(rlDir, rlIndex) = e_STATUS_CFG;
    }
    return QIR_END(rc);
}
