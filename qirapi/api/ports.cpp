// Switch-wide and per-port settings: driver first, then the shadow.

#include "qirapi/api/operation.h"
#include "qirapi/driver/driver.h"

using namespace qir;

namespace {

constexpr u32 kTpidsPerPort = 4;

} // namespace

u32 QIR_Set_FlowMissAction(u32 action) {
    // A decimal number after "0x", and a blank at the end: this is intended.
    QIR_INF("Params: action<0x%u> \n", action);
    if (action >= QIR_FLOWMISSACTION_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_ACTION);
    }
    const u32 rc = Set_GblFlowMissAction(action);
    if (rc == e_RET_OK) {
        qirCtxt_gp->flowMissAction = action;
    }
    return QIR_END(rc);
}

u32 QIR_Get_FlowMissAction(u32 *action_p) {
    QIR_INF("Params: action_p<0x%p> \n", Ptr(action_p));
    if (action_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    *action_p = qirCtxt_gp->flowMissAction;
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_PortPadLen(u32 srcPort, u32 padLen) {
    QIR_INF("Params: srcPort<%u> padLen<%u>\n", srcPort, padLen);
    if (srcPort >= QIR_PADPORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    if (padLen >= QIR_PADLEN_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_PADLEN);
    }
    const u32 effectiveLen = padLen < QIR_PADLEN_MIN ? 0 : padLen;
    const u32 rc = Set_PortPadLen(srcPort, effectiveLen);
    if (rc == e_RET_OK) {
        qirCtxt_gp->portPadLenTbl[srcPort] = effectiveLen;
    }
    return QIR_END(rc);
}

u32 QIR_Get_PortPadLen(u32 srcPort, u32 *padLen_p) {
    QIR_INF("Params: srcPort<%u> \n", srcPort);
    if (srcPort >= QIR_PADPORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    if (padLen_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    *padLen_p = qirCtxt_gp->portPadLenTbl[srcPort];
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_PortDefAcl(u32 srcPort, u32 aclType) {
    QIR_INF("Params: srcPort<%u> aclType<%u>\n", srcPort, aclType);
    if (srcPort >= QIR_PORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    if (aclType >= QIR_ACLTYPE_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_ACLTYPE);
    }
    const u32 rc = Set_PortDefAcl(srcPort, aclType);
    if (rc == e_RET_OK) {
        qirCtxt_gp->portDefAclTbl[srcPort] = aclType;
    }
    return QIR_END(rc);
}

u32 QIR_Get_PortDefAcl(u32 srcPort, u32 *aclType_p) {
    QIR_INF("Params: srcPort<%u> aclType_p<0x%p>\n", srcPort, Ptr(aclType_p));
    if (srcPort >= QIR_PORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    if (aclType_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    *aclType_p = qirCtxt_gp->portDefAclTbl[srcPort];
    return QIR_END(e_RET_OK);
}

u32 QIR_Set_Tpid(const TpidCfg *tpidCfg_p) {
    QIR_INF("Params: tpidCfg_p<0x%p>\n", Ptr(tpidCfg_p));
    if (tpidCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    if (tpidCfg_p->portId >= QIR_PORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    QIR_INF("Params2: portId<%u>\n", tpidCfg_p->portId);
    for (u32 ix = 0; ix < kTpidsPerPort; ++ix) {
        QIR_INF("Params2: ix<%u> tpid<0x%x>\n", ix, tpidCfg_p->tpid[ix]);
    }
    const u32 rc = Set_PortTpid(tpidCfg_p);
    if (rc == e_RET_OK) {
        qirCtxt_gp->tpidTbl[tpidCfg_p->portId] = *tpidCfg_p;
    }
    return QIR_END(rc);
}

u32 QIR_Get_Tpid(TpidCfg *tpidCfg_p) {
    QIR_INF("Params: tpidCfg_p<0x%p>\n", Ptr(tpidCfg_p));
    if (tpidCfg_p == nullptr) {
        return QIR_FAIL(e_RET_ERR_NULL_PTR);
    }
    // Logged before it is checked, unlike in the setter.
    QIR_INF("Params2: portId<%u>\n", tpidCfg_p->portId);
    if (tpidCfg_p->portId >= QIR_PORT_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SRCPORT);
    }
    *tpidCfg_p = qirCtxt_gp->tpidTbl[tpidCfg_p->portId];
    for (u32 ix = 0; ix < kTpidsPerPort; ++ix) {
        QIR_INF("ix<%u> tpid<0x%x>\n", ix, tpidCfg_p->tpid[ix]);
    }
    return QIR_END(e_RET_OK);
}
