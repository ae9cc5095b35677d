// Layout pins of the public records that are stored in the context and sent to the driver.
#ifndef QIRAPI_PRIVATE_PUBLIC_LAYOUT_H
#define QIRAPI_PRIVATE_PUBLIC_LAYOUT_H

#include "qirapi/private/layout.h"
#include "qirapi/qirapi.h"

QIR_PIN_SIZE(AsTblHdl, 4);
QIR_PIN_SIZE(DscpTblHdl, 4);
QIR_PIN_SIZE(EpTblHdl, 4);
QIR_PIN_SIZE(PacTblHdl, 4);
QIR_PIN_SIZE(FlowHdl, 4);

QIR_PIN_SIZE(AsTblCfg, 4);

QIR_PIN_SIZE(AsEnt, 52);
QIR_PIN_FIELD(AsEnt, macDA, 0);
QIR_PIN_FIELD(AsEnt, macDAMask, 6);
QIR_PIN_FIELD(AsEnt, macSA, 12);
QIR_PIN_FIELD(AsEnt, macSAMask, 18);
QIR_PIN_FIELD(AsEnt, ipAddr, 24);
QIR_PIN_FIELD(AsEnt, ipPrefixLen, 28);
QIR_PIN_FIELD(AsEnt, ethType, 32);
QIR_PIN_FIELD(AsEnt, vlanTag0, 34);
QIR_PIN_FIELD(AsEnt, vlanTag1, 36);
QIR_PIN_FIELD(AsEnt, destPort, 38);
QIR_PIN_FIELD(AsEnt, ipProto, 40);
QIR_PIN_FIELD(AsEnt, aclMask, 44);
QIR_PIN_FIELD(AsEnt, aclType, 48);

QIR_PIN_SIZE(DscpDefPbits, 8);
QIR_PIN_FIELD(DscpDefPbits, srcPort, 0);
QIR_PIN_FIELD(DscpDefPbits, pbits, 4);

QIR_PIN_SIZE(DscpMapping, 4);
QIR_PIN_FIELD(DscpMapping, startDscp, 1);
QIR_PIN_FIELD(DscpMapping, endDscp, 2);
QIR_PIN_FIELD(DscpMapping, pbits, 3);

QIR_PIN_SIZE(PacRawAction, 12);
QIR_PIN_FIELD(PacRawAction, type, 0);
QIR_PIN_FIELD(PacRawAction, ofst, 4);
QIR_PIN_FIELD(PacRawAction, size, 5);
QIR_PIN_FIELD(PacRawAction, val, 6);
QIR_PIN_FIELD(PacRawAction, mask, 8);

QIR_PIN_SIZE(PacTblCfg, 28);
QIR_PIN_FIELD(PacTblCfg, ovrd, 0);
QIR_PIN_FIELD(PacTblCfg, dstGemPort, 2);
QIR_PIN_FIELD(PacTblCfg, dstQid, 3);
QIR_PIN_FIELD(PacTblCfg, rawAction, 4);

QIR_PIN_SIZE(EpTblCfg, 4);
QIR_PIN_SIZE(EpEnt, 2);

QIR_PIN_SIZE(FlowHdr, 8);
QIR_PIN_FIELD(FlowHdr, blk, 0);
QIR_PIN_FIELD(FlowHdr, flowHdr, 4);

QIR_PIN_SIZE(DstMask, 52);
QIR_PIN_FIELD(DstMask, gemQid, 0);
QIR_PIN_FIELD(DstMask, gemPortIdxMask, 32);
QIR_PIN_FIELD(DstMask, portQid, 36);
QIR_PIN_FIELD(DstMask, portMask, 48);

QIR_PIN_SIZE(FwdInfo, 68);
QIR_PIN_FIELD(FwdInfo, flowPrio, 0);
QIR_PIN_FIELD(FwdInfo, src.gemPortIdxMask, 4);
QIR_PIN_FIELD(FwdInfo, src.portMask, 8);
QIR_PIN_FIELD(FwdInfo, dst, 12);
QIR_PIN_FIELD(FwdInfo, fwdAction, 64);

QIR_PIN_SIZE(FcbHits, 36);
QIR_PIN_FIELD(FcbHits, numFlows, 0);
QIR_PIN_FIELD(FcbHits, hits, 4);

QIR_PIN_SIZE(TpidCfg, 12);
QIR_PIN_FIELD(TpidCfg, portId, 0);
QIR_PIN_FIELD(TpidCfg, tpid, 4);

QIR_PIN_SIZE(RlTciCfg, 4);

QIR_PIN_SIZE(RlEnt, 16);
QIR_PIN_FIELD(RlEnt, tci, 0);
QIR_PIN_FIELD(RlEnt, cirRate, 4);
QIR_PIN_FIELD(RlEnt, cirUnit, 8);
QIR_PIN_FIELD(RlEnt, cbs, 12);

QIR_PIN_SIZE(EthFilter, 36);
QIR_PIN_FIELD(EthFilter, op, 0);
QIR_PIN_FIELD(EthFilter, type, 4);
QIR_PIN_FIELD(EthFilter, cmpOp, 8);
QIR_PIN_FIELD(EthFilter, val, 12);

QIR_PIN_SIZE(VlanFilter, 24);
QIR_PIN_FIELD(VlanFilter, op, 0);
QIR_PIN_FIELD(VlanFilter, toTagNum, 4);
QIR_PIN_FIELD(VlanFilter, type, 8);
QIR_PIN_FIELD(VlanFilter, cmpOp, 12);
QIR_PIN_FIELD(VlanFilter, val, 16);
QIR_PIN_FIELD(VlanFilter, val2, 20);

QIR_PIN_SIZE(PppoeFilter, 16);
QIR_PIN_FIELD(PppoeFilter, val, 12);

QIR_PIN_SIZE(Ipv4Filter, 28);
QIR_PIN_FIELD(Ipv4Filter, val, 12);
QIR_PIN_FIELD(Ipv4Filter, val2, 20);

QIR_PIN_SIZE(TcpFilter, 16);
QIR_PIN_FIELD(TcpFilter, val, 12);

QIR_PIN_SIZE(UdpFilter, 16);
QIR_PIN_FIELD(UdpFilter, val, 12);

QIR_PIN_SIZE(EthAction, 20);
QIR_PIN_FIELD(EthAction, val, 8);

QIR_PIN_SIZE(VlanAction, 16);
QIR_PIN_FIELD(VlanAction, val, 8);
QIR_PIN_FIELD(VlanAction, toTagNum, 12);

QIR_PIN_SIZE(PppoeAction, 12);
QIR_PIN_FIELD(PppoeAction, val, 8);

QIR_PIN_SIZE(Ipv4Action, 16);
QIR_PIN_FIELD(Ipv4Action, val, 8);

QIR_PIN_SIZE(TcpAction, 12);
QIR_PIN_SIZE(UdpAction, 12);

#endif
