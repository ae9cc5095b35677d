// The context: all that the library knows of the hardware's configuration. One static object, reached through
// qirCtxt_gp.
//
// It starts as zero. QIR_Init_Sys() initialises the section budgets, the rule tables and the pools, and
// leaves the port and system settings and the TCI configurations as they are.
#ifndef QIRAPI_PRIVATE_CONTEXT_H
#define QIRAPI_PRIVATE_CONTEXT_H

#include "qirapi/private/fcb_records.h"
#include "qirapi/private/table_records.h"

namespace qir {

struct FlowSection {
    u16 maxFlows; // budget
    u16 cfgFlows; // flows allocated now
};

struct RlSlot {
    RlEnt ent;
    u32 state; // e_STATUS_*
};
QIR_PIN_SIZE(RlSlot, 20);
QIR_PIN_FIELD(RlSlot, state, 16);

struct QirCtxt {
    struct {
        FlowSection flowSection[e_FLOW_SECTION_MAX];
    } cfg;
    u32 flowMissAction;
    TpidCfg tpidTbl[QIR_PORT_MAX];
    u32 portDefAclTbl[QIR_PORT_MAX];
    u32 portPadLenTbl[QIR_PORT_MAX];
    u8 cmpOpCntTbl[e_CMP_MAX];
    u16 cmpOpBmapTbl[e_FLOWHDR_MAX][e_CMP_MAX];
    u16 filterDepBmapTbl[e_FLOWHDR_MAX][QIR_HDR_FILT_MAX];
    u16 actionDepBmapTbl[e_FLOWHDR_MAX][QIR_HDR_FILT_MAX];
    u16 l4CmpOpBmapTbl[e_L4FLOWHDR_MAX][e_CMP_MAX];
    u16 l4FilterDepBmapTbl[e_L4FLOWHDR_MAX][QIR_HDR_FILT_MAX];
    u16 l4ActionDepBmapTbl[e_L4FLOWHDR_MAX][QIR_HDR_FILT_MAX];
    AsTblInfo asTblPool[QIR_ASTBL_MAXNUM];
    DscpTblInfo dscpTblPool[QIR_DSCPTBL_MAXNUM];
    EpTblInfo epTblPool[QIR_EPTBL_MAXNUM];
    PacTblInfo pacTblPool[QIR_PACTBL_MAXNUM];
    RlTciCfg rlTciCfgTbl[QIR_RLDIR_MAX];
    RlSlot rlTbl[QIR_RLDIR_MAX][QIR_RLINDEX_MAX];
    u32 rlStatus; // rate limiters enabled, 0 or 1
    Fcb fcbPool[QIR_MAX_FLOWS];
};

} // namespace qir

extern "C" qir::QirCtxt qirCtxt_g;
extern "C" qir::QirCtxt *const qirCtxt_gp;

#endif
