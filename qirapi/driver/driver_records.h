// The wire between the library and the kernel driver: request numbers and the record of each request.
//
// A record is passed by address as the third argument of ioctl and is in the byte order of the processor.
// Words that a request does not set carry kNotSet; the driver does not read them, or writes them.
// request_table.h says which request sends which record, and where in it the driver answers.
#ifndef QIRAPI_DRIVER_DRIVER_RECORDS_H
#define QIRAPI_DRIVER_DRIVER_RECORDS_H

#include "qirapi/private/fcb_records.h"
#include "qirapi/private/table_records.h"

namespace qir {

constexpr const char *kPktOrxDevice = "/dev/pktorx";

enum OrxRequest : i32 {
    kOrxSetGblCfg = 17,
    kOrxSetPortCfg = 19,
    kOrxActivateAsTbl = 21,
    kOrxDeactivateAsTbl = 22,
    kOrxActivateDscpTbl = 23,
    kOrxDeactivateDscpTbl = 24,
    kOrxActivatePacTbl = 27,
    kOrxDeactivatePacTbl = 28,
    kOrxActivateFlow = 29,
    kOrxDeactivateFlow = 30,
    kOrxGetFlowHits = 38,
    kOrxSetRlStatus = 39,
    kOrxSetRlTciCfg = 40,
    kOrxActivateRl = 41,
    kOrxDeactivateRl = 42,
    kOrxUpdateFwdInfo = 43,
};

// Words of a record that the library does not set.
constexpr u32 kNotSet = 0xA5A5A5A5;
// Table index of a flow that uses no such table.
constexpr i32 kNoTable = -1;

constexpr u32 kGblCfgFlowMissAction = 1;

struct GblRecord {
    u32 cfgType; // kGblCfg*
    u32 flowMissAction;
};
QIR_PIN_SIZE(GblRecord, 8);
QIR_PIN_FIELD(GblRecord, cfgType, 0);
QIR_PIN_FIELD(GblRecord, flowMissAction, 4);

constexpr u32 kPortCfgDefAcl = 1;
constexpr u32 kPortCfgTpid = 2;
constexpr u32 kPortCfgPadLen = 4;

// Only the part that `cfgType` names is set.
struct PortRecord {
    u32 cfgType; // kPortCfg*
    struct {
        u32 srcPort;
        u32 aclType;
    } defAcl;
    TpidCfg tpid;
    struct {
        u32 srcPort;
        u32 padLen;
    } pad;
};
QIR_PIN_SIZE(PortRecord, 32);
QIR_PIN_FIELD(PortRecord, cfgType, 0);
QIR_PIN_FIELD(PortRecord, defAcl.srcPort, 4);
QIR_PIN_FIELD(PortRecord, defAcl.aclType, 8);
QIR_PIN_FIELD(PortRecord, tpid, 12);
QIR_PIN_FIELD(PortRecord, pad.srcPort, 24);
QIR_PIN_FIELD(PortRecord, pad.padLen, 28);

// Index word, then the table's whole shadow record.
template <class TblInfo> struct TblRecord {
    u32 index;
    TblInfo tbl;
};
using AsTblRecord = TblRecord<AsTblInfo>;
using DscpTblRecord = TblRecord<DscpTblInfo>;
using PacTblRecord = TblRecord<PacTblInfo>;
QIR_PIN_SIZE(AsTblRecord, 472);
QIR_PIN_SIZE(DscpTblRecord, 92);
QIR_PIN_SIZE(PacTblRecord, 272);
QIR_PIN_FIELD(AsTblRecord, index, 0);
QIR_PIN_FIELD(AsTblRecord, tbl, 4);
QIR_PIN_FIELD(DscpTblRecord, tbl, 4);
QIR_PIN_FIELD(PacTblRecord, tbl, 4);

struct FlowRecord {
    u32 flowIdx;
    u32 fcbSize; // always sizeof(Fcb)
    u32 fcbAddr; // the FCB in the caller's memory; the driver copies it
    i32 pacTblIdx;
    i32 epTblIdx;
};
QIR_PIN_SIZE(FlowRecord, 20);
QIR_PIN_FIELD(FlowRecord, flowIdx, 0);
QIR_PIN_FIELD(FlowRecord, fcbSize, 4);
QIR_PIN_FIELD(FlowRecord, fcbAddr, 8);
QIR_PIN_FIELD(FlowRecord, pacTblIdx, 12);
QIR_PIN_FIELD(FlowRecord, epTblIdx, 16);

struct HitsRecord {
    u32 flowIdx;
    FcbHits hits;
};
QIR_PIN_SIZE(HitsRecord, 40);
QIR_PIN_FIELD(HitsRecord, flowIdx, 0);
QIR_PIN_FIELD(HitsRecord, hits, 4);

struct RlStatusRecord {
    u32 rlStatus;
};
QIR_PIN_SIZE(RlStatusRecord, 4);

struct RlTciRecord {
    u32 notSet;
    u32 rlDir;
    RlTciCfg rlTciCfg;
};
QIR_PIN_SIZE(RlTciRecord, 12);
QIR_PIN_FIELD(RlTciRecord, rlDir, 4);
QIR_PIN_FIELD(RlTciRecord, rlTciCfg, 8);

struct RlRecord {
    u32 notSet0;
    u32 rlDir;
    u32 notSet8;
    u32 rlIndex;
    RlEnt rlEnt;
};
QIR_PIN_SIZE(RlRecord, 32);
QIR_PIN_FIELD(RlRecord, rlDir, 4);
QIR_PIN_FIELD(RlRecord, rlIndex, 12);
QIR_PIN_FIELD(RlRecord, rlEnt, 16);

struct FwdRecord {
    u32 flowIdx;
    FwdInfo fwdInfo;
};
QIR_PIN_SIZE(FwdRecord, 72);
QIR_PIN_FIELD(FwdRecord, flowIdx, 0);
QIR_PIN_FIELD(FwdRecord, fwdInfo, 4);

} // namespace qir

#endif
