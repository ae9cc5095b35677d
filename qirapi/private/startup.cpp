#include "qirapi/private/startup.h"

#include "qirapi/private/fcb.h"
#include "qirapi/private/rules.h"
#include "qirapi/private/tables.h"

#include <string.h>

namespace qir {

u32 Init_QirCfg() {
    memset(qirCtxt_gp->asTblPool, kFillByte, sizeof qirCtxt_gp->asTblPool);

    for (FlowSection &section : qirCtxt_gp->cfg.flowSection) {
        section = FlowSection{};
    }
    qirCtxt_gp->cfg.flowSection[1].maxFlows = QIR_MAX_FLOWS;

    Init_CmpOpChkTbl();
    Init_FilterDepBmapTbl();
    Init_ActionDepBmapTbl();
    Init_L4FilterDepBmapTbl();
    Init_L4ActionDepBmapTbl();
    Init_L4CmpOpChkTbl();
    Init_CmpOpCntTbl();

    Init_AsTblPool();
    Init_DscpTblPool();
    Init_EpTblPool();
    Init_PacTblPool();

    Init_RLTbl();

    return Init_FcbPool();
}

void Init_RL(u32 rlDir, u32 rlIndex) {
    qirCtxt_gp->rlTbl[rlDir][rlIndex] = RlSlot{};
}

void Init_RLTbl() {
    qirCtxt_gp->rlStatus = 0;
    for (u32 rlDir = 0; rlDir < QIR_RLDIR_MAX; ++rlDir) {
        for (u32 rlIndex = 0; rlIndex < QIR_RLINDEX_MAX; ++rlIndex) {
            Init_RL(rlDir, rlIndex);
        }
    }
}

} // namespace qir
