// The driver: one wrapper per request. Each builds its record on its stack, opens the device, sends the
// request and closes the device. It returns e_RET_OK, or e_RET_DRIVER_FAILURE when the device could not be
// opened or the driver refused the request, which it also prints on standard error.
//
// An activation copies the record's index word to the shadow, whatever the driver answered: when the driver
// assigned no index, that is what the word held before.
#ifndef QIRAPI_DRIVER_DRIVER_H
#define QIRAPI_DRIVER_DRIVER_H

#include "qirapi/private/context.h"

namespace qir {

// File descriptor, or -1.
i32 pktOrxDevOpen();
i32 pktOrxDevIoctl(i32 request, void *record_p);

u32 Set_GblFlowMissAction(u32 action);

u32 Set_PortDefAcl(u32 srcPort, u32 aclType);
u32 Set_PortTpid(const TpidCfg *tpidCfg_p);
u32 Set_PortPadLen(u32 srcPort, u32 padLen);

u32 Activate_AsTable(AsTblInfo *asTblInfo_p);
u32 Deactivate_AsTable(AsTblInfo *asTblInfo_p);
u32 Activate_DscpToPbitsTable(DscpTblInfo *dpTblInfo_p);
u32 Deactivate_DscpToPbitsTable(DscpTblInfo *dpTblInfo_p);
u32 Activate_PacTable(PacTblInfo *pacTblInfo_p);
u32 Deactivate_PacTable(PacTblInfo *pacTblInfo_p);

u32 Activate_FCB(Fcb *fcb_p);
u32 Deactivate_FCB(Fcb *fcb_p);
u32 Get_FCBHits(const Fcb *fcb_p, FcbHits *fcbHits_p);
u32 Update_FwdInfo(const Fcb *fcb_p, const FwdInfo *fwdInfo_p);

u32 Set_RLStatus(u32 rlStatus);
// Both halves in one word, laid out as in RlTciCfg.
u32 Set_RLTciCfg(u32 rlDir, u32 rlTciCfg);
u32 Activate_RL(u32 rlDir, u32 rlIndex);
u32 Deactivate_RL(u32 rlDir, u32 rlIndex);

} // namespace qir

#endif
