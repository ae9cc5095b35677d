// The table records of the shadow.
//
// The driver gets whole records, so that both share their layout. Every record begins with the same five
// fields: handle, hwTblIdx, configuration, refCnt, status. The bytes behind refCnt are spare and keep the
// fill.
#ifndef QIRAPI_PRIVATE_TABLE_RECORDS_H
#define QIRAPI_PRIVATE_TABLE_RECORDS_H

#include "qirapi/private/types.h"
#include "qirapi/qirapi.h"

namespace qir {

// Memory that nothing has written yet is filled with this byte, so that a reader recognises it.
constexpr u8 kFillByte = 0xA5;
// hwTblIdx of a table that is not in hardware.
constexpr u32 kNoHwIdx = 0xFFFFFFFF;

struct AsEntSlot {
    AsEnt ent;
    u32 status; // FREE or ALLOC
};
QIR_PIN_SIZE(AsEntSlot, 56);
QIR_PIN_FIELD(AsEntSlot, ent, 0);
QIR_PIN_FIELD(AsEntSlot, status, 52);

struct AsTblInfo {
    AsTblHdl hdl; // written only at allocation
    u32 hwTblIdx;
    AsTblCfg cfg;
    u16 refCnt;
    u16 spare;
    u32 status;
    AsEntSlot ent[QIR_ASENT_MAXNUM];
};
QIR_PIN_SIZE(AsTblInfo, 468);
QIR_PIN_FIELD(AsTblInfo, hdl, 0);
QIR_PIN_FIELD(AsTblInfo, hwTblIdx, 4);
QIR_PIN_FIELD(AsTblInfo, cfg, 8);
QIR_PIN_FIELD(AsTblInfo, refCnt, 12);
QIR_PIN_FIELD(AsTblInfo, status, 16);
QIR_PIN_FIELD(AsTblInfo, ent, 20);

struct DscpTblInfo {
    DscpTblHdl hdl; // written only at allocation
    u32 hwTblIdx;
    DscpDefPbits cfg;
    u16 refCnt;
    u16 spare;
    u32 status;
    u8 pbits[QIR_DSCP_MAX]; // one row per DSCP
};
QIR_PIN_SIZE(DscpTblInfo, 88);
QIR_PIN_FIELD(DscpTblInfo, hdl, 0);
QIR_PIN_FIELD(DscpTblInfo, hwTblIdx, 4);
QIR_PIN_FIELD(DscpTblInfo, cfg, 8);
QIR_PIN_FIELD(DscpTblInfo, refCnt, 16);
QIR_PIN_FIELD(DscpTblInfo, status, 20);
QIR_PIN_FIELD(DscpTblInfo, pbits, 24);

struct EpEntSlot {
    EpEnt ent;
    u8 spare[6];
};
QIR_PIN_SIZE(EpEntSlot, 8);
QIR_PIN_FIELD(EpEntSlot, ent, 0);

struct EpTblInfo {
    EpTblHdl hdl;
    u32 hwTblIdx;
    EpTblCfg cfg;
    u16 refCnt;
    u16 spare;
    u32 status;
    EpEntSlot ent[QIR_EPENT_MAXNUM];
};
QIR_PIN_SIZE(EpTblInfo, 84);
QIR_PIN_FIELD(EpTblInfo, hdl, 0);
QIR_PIN_FIELD(EpTblInfo, hwTblIdx, 4);
QIR_PIN_FIELD(EpTblInfo, cfg, 8);
QIR_PIN_FIELD(EpTblInfo, refCnt, 12);
QIR_PIN_FIELD(EpTblInfo, status, 16);
QIR_PIN_FIELD(EpTblInfo, ent, 20);

struct PacTblInfo {
    PacTblHdl hdl; // written only at allocation
    u32 hwTblIdx;
    PacTblCfg cfg;
    u16 refCnt;
    u16 spare;
    u32 status;
    PacTblCfg ent[QIR_PBITS_MAX]; // one entry per pbits
};
QIR_PIN_SIZE(PacTblInfo, 268);
QIR_PIN_FIELD(PacTblInfo, hdl, 0);
QIR_PIN_FIELD(PacTblInfo, hwTblIdx, 4);
QIR_PIN_FIELD(PacTblInfo, cfg, 8);
QIR_PIN_FIELD(PacTblInfo, refCnt, 36);
QIR_PIN_FIELD(PacTblInfo, status, 40);
QIR_PIN_FIELD(PacTblInfo, ent, 44);

} // namespace qir

#endif
