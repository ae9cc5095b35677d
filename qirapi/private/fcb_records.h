// The flow control block (FCB): everything that is known of one flow.
//
// The driver copies the whole FCB from the library's memory, so that both share its layout. An FCB has no
// pointers: request nodes name each other by their 16-bit index in the FCB's own pool.
//
// A header entry (one per header and block) counts the header's requests, names the node that heads its
// request list and keeps the bitmap of the accepted types; in the filter block also one counter per
// (operator, type) pair, operator-major.
#ifndef QIRAPI_PRIVATE_FCB_RECORDS_H
#define QIRAPI_PRIVATE_FCB_RECORDS_H

#include "qirapi/private/types.h"
#include "qirapi/qirapi.h"

namespace qir {

// Every header entry begins with this.
struct HdrEntry {
    u16 reqCount; // requests added to the header
    u16 reqList;  // node that heads the header's request list
    u16 curBmap;  // accepted types, bit n = type n
};
QIR_PIN_SIZE(HdrEntry, 6);
QIR_PIN_FIELD(HdrEntry, reqCount, 0);
QIR_PIN_FIELD(HdrEntry, reqList, 2);
QIR_PIN_FIELD(HdrEntry, curBmap, 4);

template <unsigned NumTypes> struct FilterHdrEntry {
    HdrEntry hdr;
    u8 cmpOpCurCnt[e_CMP_MAX * NumTypes]; // element cmpOp * NumTypes + type
};
using EthFilterEntry = FilterHdrEntry<e_ETH_FILT_MAX>;
using VlanFilterEntry = FilterHdrEntry<e_VLAN_FILT_MAX>;
using PppoeFilterEntry = FilterHdrEntry<e_PPPOE_FILT_MAX>;
using Ipv4FilterEntry = FilterHdrEntry<e_IPV4_FILT_MAX>;
using TcpFilterEntry = FilterHdrEntry<e_TCP_FILT_MAX>;
using UdpFilterEntry = FilterHdrEntry<e_UDP_FILT_MAX>;
QIR_PIN_SIZE(EthFilterEntry, 22);
QIR_PIN_SIZE(VlanFilterEntry, 24);
QIR_PIN_SIZE(PppoeFilterEntry, 22);
QIR_PIN_SIZE(Ipv4FilterEntry, 40);
QIR_PIN_SIZE(TcpFilterEntry, 28);
QIR_PIN_SIZE(UdpFilterEntry, 12);
QIR_PIN_FIELD(UdpFilterEntry, cmpOpCurCnt, 6);

struct FilterBlk {
    u16 hdrBmap; // allocated headers, bit n = header type n
    EthFilterEntry eth;
    VlanFilterEntry vlan[e_VLAN_TAG_MAX];
    PppoeFilterEntry pppoe;
    Ipv4FilterEntry ipv4;
    TcpFilterEntry tcp;
    UdpFilterEntry udp;
    u8 totalTags; // VLAN tags the flow matches
};
QIR_PIN_SIZE(FilterBlk, 176);
QIR_PIN_FIELD(FilterBlk, hdrBmap, 0);
QIR_PIN_FIELD(FilterBlk, eth, 2);
QIR_PIN_FIELD(FilterBlk, vlan, 24);
QIR_PIN_FIELD(FilterBlk, pppoe, 72);
QIR_PIN_FIELD(FilterBlk, ipv4, 94);
QIR_PIN_FIELD(FilterBlk, tcp, 134);
QIR_PIN_FIELD(FilterBlk, udp, 162);
QIR_PIN_FIELD(FilterBlk, totalTags, 174);

struct ActionBlk {
    u16 hdrBmap; // allocated headers, bit n = header type n
    HdrEntry eth;
    HdrEntry vlan[e_VLAN_TAG_MAX];
    HdrEntry pppoe;
    HdrEntry ipv4;
    HdrEntry tcp;
    HdrEntry udp;
    u32 lastEthAction; // type of the last accepted Ethernet action; 0 before the first
    u8 totalTags;
    u8 pushedTags;
    u8 poppedTags;
};
QIR_PIN_SIZE(ActionBlk, 52);
QIR_PIN_FIELD(ActionBlk, hdrBmap, 0);
QIR_PIN_FIELD(ActionBlk, eth, 2);
QIR_PIN_FIELD(ActionBlk, vlan, 8);
QIR_PIN_FIELD(ActionBlk, pppoe, 20);
QIR_PIN_FIELD(ActionBlk, ipv4, 26);
QIR_PIN_FIELD(ActionBlk, tcp, 32);
QIR_PIN_FIELD(ActionBlk, udp, 38);
QIR_PIN_FIELD(ActionBlk, lastEthAction, 44);
QIR_PIN_FIELD(ActionBlk, totalTags, 48);
QIR_PIN_FIELD(ActionBlk, pushedTags, 49);
QIR_PIN_FIELD(ActionBlk, poppedTags, 50);

// Bytes of a request in its node; the largest record is the Ethernet filter.
constexpr u32 kReqBytes = 36;

struct ReqNode {
    u16 curr; // the node's own index, written once
    u16 next;
    u16 prev;
    u16 spare;
    u32 key; // the request's type
    alignas(u32) u8 req[kReqBytes];
};
QIR_PIN_SIZE(ReqNode, 48);
QIR_PIN_FIELD(ReqNode, curr, 0);
QIR_PIN_FIELD(ReqNode, next, 2);
QIR_PIN_FIELD(ReqNode, prev, 4);
QIR_PIN_FIELD(ReqNode, key, 8);
QIR_PIN_FIELD(ReqNode, req, 12);
QIR_PIN_BYTES(ReqNode, req, kReqBytes);

// Bits of Fcb::tblAssoc.
constexpr u16 kTblAssocEp = 0x1;
constexpr u16 kTblAssocPac = 0x2;

struct Fcb {
    u32 status;
    FlowHdl flowHdl; // the whole word that the caller gave
    u32 hwFlowIdx;   // the driver's index
    u32 section;
    u16 tblAssoc; // kTblAssoc* bits
    u16 spare0;
    u32 asOverride;
    u32 reserved1;
    EpTblHdl epTblHdl;
    u32 pbitsSource;
    PacTblHdl pacTblHdl;
    FilterBlk filterBlk;
    ActionBlk actionBlk;
    u32 fwdInfoSet; // 1 once forwarding information has been set
    FwdInfo fwdInfo;
    u16 reserved2;
    u16 freeReqList; // node that heads the free list; always 0
    u16 freeReqCount;
    u16 spare3;
    ReqNode reqPool[QIR_MAX_FCBREQ];
};
QIR_PIN_SIZE(Fcb, 1884);
QIR_PIN_FIELD(Fcb, status, 0);
QIR_PIN_FIELD(Fcb, flowHdl, 4);
QIR_PIN_FIELD(Fcb, hwFlowIdx, 8);
QIR_PIN_FIELD(Fcb, section, 12);
QIR_PIN_FIELD(Fcb, tblAssoc, 16);
QIR_PIN_FIELD(Fcb, asOverride, 20);
QIR_PIN_FIELD(Fcb, reserved1, 24);
QIR_PIN_FIELD(Fcb, epTblHdl, 28);
QIR_PIN_FIELD(Fcb, pbitsSource, 32);
QIR_PIN_FIELD(Fcb, pacTblHdl, 36);
QIR_PIN_FIELD(Fcb, filterBlk, 40);
QIR_PIN_FIELD(Fcb, actionBlk, 216);
QIR_PIN_FIELD(Fcb, fwdInfoSet, 268);
QIR_PIN_FIELD(Fcb, fwdInfo, 272);
QIR_PIN_FIELD(Fcb, reserved2, 340);
QIR_PIN_FIELD(Fcb, freeReqList, 342);
QIR_PIN_FIELD(Fcb, freeReqCount, 344);
QIR_PIN_FIELD(Fcb, reqPool, 348);

} // namespace qir

#endif
