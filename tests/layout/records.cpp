// One object of every record that leaves the library, under the record's name: what the compiler writes about
// it into the debug information is compared with records.txt.
#include "qirapi/driver/driver_records.h"
#include "qirapi/private/context.h"

#define RECORD(type)        type record_##type
#define ENGINE_RECORD(type) qir::type record_##type

// Handles.
RECORD(AsTblHdl);
RECORD(DscpTblHdl);
RECORD(EpTblHdl);
RECORD(PacTblHdl);
RECORD(FlowHdl);

// Tables.
RECORD(AsTblCfg);
RECORD(AsEnt);
RECORD(DscpDefPbits);
RECORD(DscpMapping);
RECORD(EpTblCfg);
RECORD(EpEnt);
RECORD(PacRawAction);
RECORD(PacTblCfg);
ENGINE_RECORD(AsEntSlot);
ENGINE_RECORD(AsTblInfo);
ENGINE_RECORD(DscpTblInfo);
ENGINE_RECORD(EpEntSlot);
ENGINE_RECORD(EpTblInfo);
ENGINE_RECORD(PacTblInfo);

// Flows.
RECORD(FlowHdr);
RECORD(FwdSrc);
RECORD(DstMask);
RECORD(FwdInfo);
RECORD(FcbHits);
ENGINE_RECORD(HdrEntry);
ENGINE_RECORD(EthFilterEntry);
ENGINE_RECORD(VlanFilterEntry);
ENGINE_RECORD(PppoeFilterEntry);
ENGINE_RECORD(Ipv4FilterEntry);
ENGINE_RECORD(TcpFilterEntry);
ENGINE_RECORD(UdpFilterEntry);
ENGINE_RECORD(FilterBlk);
ENGINE_RECORD(ActionBlk);
ENGINE_RECORD(ReqNode);
ENGINE_RECORD(Fcb);

// Filter and action requests.
RECORD(QirMacMask);
RECORD(QirIpPrefix);
RECORD(EthFilter);
RECORD(VlanFilter);
RECORD(PppoeFilter);
RECORD(Ipv4Filter);
RECORD(TcpFilter);
RECORD(UdpFilter);
RECORD(EthAction);
RECORD(VlanAction);
RECORD(PppoeAction);
RECORD(Ipv4Action);
RECORD(TcpAction);
RECORD(UdpAction);

// Ports and rate limiters.
RECORD(TpidCfg);
RECORD(RlTciCfg);
RECORD(RlEnt);
ENGINE_RECORD(RlSlot);

// What the driver is sent.
ENGINE_RECORD(GblRecord);
ENGINE_RECORD(PortRecord);
ENGINE_RECORD(AsTblRecord);
ENGINE_RECORD(DscpTblRecord);
ENGINE_RECORD(PacTblRecord);
ENGINE_RECORD(FlowRecord);
ENGINE_RECORD(HitsRecord);
ENGINE_RECORD(RlStatusRecord);
ENGINE_RECORD(RlTciRecord);
ENGINE_RECORD(RlRecord);
ENGINE_RECORD(FwdRecord);
