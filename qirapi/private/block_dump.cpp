#include "qirapi/access/request_kinds.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/filters.h"
#include "qirapi/private/headers.h"
#include "qirapi/private/report.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

// Every request of a kind's list, in list order.
template <class Kind>
void DumpReqs(const Fcb *fcb_p, u32 tag, void (*dumpReq)(const typename Kind::Record *)) {
    const auto &blk = BlkOf<Kind>(*fcb_p);
    WalkReqList(fcb_p, ReqListAt(*fcb_p, blk, Kind::Entry(tag)), [dumpReq](const ReqNode *node) {
        typename Kind::Record record;
        memcpy(&record, node->req, sizeof record);
        dumpReq(&record);
        return true;
    });
}

void DumpFilterHdr(const char *fn, const Fcb *fcb_p, u32 flowHdr) {
    switch (flowHdr) {
    case e_FLOWHDR_ETH:
        puts("------ Filter EthHdr -------");
        DumpReqs<EthFilterKind>(fcb_p, 0, Dump_EthFilterReq);
        break;
    case e_FLOWHDR_VLAN0:
    case e_FLOWHDR_VLAN1:
    case e_FLOWHDR_VLAN2:
    case e_FLOWHDR_VLAN3: {
        const u32 tag = flowHdr - e_FLOWHDR_VLAN0;
        printf("------ Filter VlanHdr[%u] ------\n", tag);
        DumpReqs<VlanFilterKind>(fcb_p, tag, Dump_VlanFilterReq);
        break;
    }
    case e_FLOWHDR_PPPOE:
        puts("------ Filter PppoeHdr -------");
        DumpReqs<PppoeFilterKind>(fcb_p, 0, Dump_PppoeFilterReq);
        break;
    case e_FLOWHDR_IPV4:
        // Here the lists have no titles; two line ends stand between them.
        DumpReqs<Ipv4FilterKind>(fcb_p, 0, Dump_Ipv4FilterReq);
        puts("\n");
        DumpReqs<TcpFilterKind>(fcb_p, 0, Dump_TcpFilterReq);
        puts("\n");
        DumpReqs<UdpFilterKind>(fcb_p, 0, Dump_UdpFilterReq);
        break;
    default:
        QIR_ERR_AS(fn, "Unknown flow hdr <%u> \n", flowHdr);
        break;
    }
}

void DumpActionHdr(const char *fn, const Fcb *fcb_p, u32 flowHdr) {
    switch (flowHdr) {
    case e_FLOWHDR_ETH:
        puts("------ Action EthHdr -------");
        DumpReqs<EthActionKind>(fcb_p, 0, Dump_EthActionReq);
        break;
    case e_FLOWHDR_VLAN0:
    case e_FLOWHDR_VLAN1:
    case e_FLOWHDR_VLAN2:
    case e_FLOWHDR_VLAN3: {
        const u32 tag = flowHdr - e_FLOWHDR_VLAN0;
        printf("------ Action VlanHdr[%u] -------\n", tag);
        DumpReqs<VlanActionKind>(fcb_p, tag, Dump_VlanActionReq);
        break;
    }
    case e_FLOWHDR_PPPOE:
        puts("------ Action PppoeHdr -------");
        DumpReqs<PppoeActionKind>(fcb_p, 0, Dump_PppoeActionReq);
        break;
    case e_FLOWHDR_IPV4:
        puts("------ Action Ipv4Hdr -------");
        DumpReqs<Ipv4ActionKind>(fcb_p, 0, Dump_Ipv4ActionReq);
        puts("------ Action TcpHdr -------");
        DumpReqs<TcpActionKind>(fcb_p, 0, Dump_TcpActionReq);
        puts("------ Action UdpHdr -------");
        DumpReqs<UdpActionKind>(fcb_p, 0, Dump_UdpActionReq);
        break;
    default:
        QIR_ERR_AS(fn, "Unknown flow hdr <%u> \n", flowHdr);
        break;
    }
}

void DumpAllocatedHdrs(const Fcb *fcb_p, u32 blk, u16 hdrBmap) {
    for (u32 flowHdr = 0; flowHdr < e_FLOWHDR_MAX; ++flowHdr) {
        if (IsHdrSet(hdrBmap, flowHdr)) {
            const FlowHdr hdr{.blk = blk, .flowHdr = flowHdr};
            Dump_HdrReqList(fcb_p, &hdr);
        }
    }
}

} // namespace

u32 Dump_HdrReqList(const Fcb *fcb_p, const FlowHdr *hdr_p) {
    if (hdr_p->blk != e_BLKTYPE_FILTER && hdr_p->blk != e_BLKTYPE_ACTION) {
        QIR_ERR("Unknown block type <%u> \n", hdr_p->blk);
        return e_RET_OK;
    }
    const bool filter = hdr_p->blk == e_BLKTYPE_FILTER;
    if (!IsHdrSet(filter ? fcb_p->filterBlk.hdrBmap : fcb_p->actionBlk.hdrBmap, hdr_p->flowHdr)) {
        QIR_ERR("Hdr not allocated\n");
        return QIR_REFUSE(e_RET_ERR_RESRC_UNAVAIL);
    }
    if (filter) {
        DumpFilterHdr(__func__, fcb_p, hdr_p->flowHdr);
    } else {
        DumpActionHdr(__func__, fcb_p, hdr_p->flowHdr);
    }
    return e_RET_OK;
}

void Dump_FilterBlk(const Fcb *fcb_p) {
    const FilterBlk &blk = fcb_p->filterBlk;
    putchar('\n');
    puts("------- Filter Block ----------");
    printf("HdrBmap<0x%.2x> ", blk.hdrBmap);
    printf("totalTags<%u> \n", blk.totalTags);
    DumpAllocatedHdrs(fcb_p, e_BLKTYPE_FILTER, blk.hdrBmap);
    putchar('\n');
}

void Dump_ActionBlk(const Fcb *fcb_p) {
    const ActionBlk &blk = fcb_p->actionBlk;
    puts("------- Action Block ----------");
    printf("HdrBmap<0x%.2x> ", blk.hdrBmap);
    printf("totalTags<%u> pushedTags<%u> poppedTags<%u> \n", blk.totalTags, blk.pushedTags, blk.poppedTags);
    DumpAllocatedHdrs(fcb_p, e_BLKTYPE_ACTION, blk.hdrBmap);
    putchar('\n');
}

void Dump_FwdBlk(const Fcb *fcb_p) {
    const FwdInfo &fwdInfo = fcb_p->fwdInfo;
    puts("------- Fwd Block ----------");
    printf("flowPrio<%u> ", fwdInfo.flowPrio);
    Dump_FwdAction(fwdInfo.fwdAction);
    putchar('\n');
    printf("src portMask<0x%.8x> gemPortIdxMask<0x%.8x> \n", fwdInfo.src.portMask,
           fwdInfo.src.gemPortIdxMask);
    printf("dst portMask<0x%.8x> gemPortIdxMask<0x%.8x> \n", fwdInfo.dst.portMask,
           fwdInfo.dst.gemPortIdxMask);
}

} // namespace qir
