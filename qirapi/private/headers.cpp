#include "qirapi/private/headers.h"

#include "qirapi/access/request_kinds.h"
#include "qirapi/private/report.h"
#include "qirapi/private/req_list.h"

#include <string.h>

namespace qir {

namespace {

u16 HdrBit(u32 hdr) {
    return static_cast<u16>(hdr < 16 ? 1u << hdr : 0);
}

u32 VlanTagOf(u32 flowHdr) {
    return flowHdr - e_FLOWHDR_VLAN0;
}

// Are all headers that `flowHdr` needs in the bitmap? For a VLAN header, `traceBit` is called for every
// header that is looked for, and `traceMissing` for the one that is missing.
template <class TraceBit, class TraceMissing>
u32 ChkAllReqdHdr(const char *fn, u16 hdrBmap, u32 flowHdr, TraceBit traceBit, TraceMissing traceMissing) {
    switch (flowHdr) {
    case e_FLOWHDR_ETH:
        return e_RET_OK;
    case e_FLOWHDR_VLAN0:
    case e_FLOWHDR_VLAN1:
    case e_FLOWHDR_VLAN2:
    case e_FLOWHDR_VLAN3:
        for (u32 hdr = 0; hdr < flowHdr; ++hdr) {
            traceBit(hdr);
            if (!IsHdrSet(hdrBmap, hdr)) {
                traceMissing(hdr);
                return QIR_REFUSE_AS(fn, e_RET_ERR_HDROUTOFORDER);
            }
        }
        return e_RET_OK;
    case e_FLOWHDR_PPPOE:
    case e_FLOWHDR_IPV4:
        return IsHdrSet(hdrBmap, e_FLOWHDR_ETH) ? static_cast<u32>(e_RET_OK)
                                                : QIR_REFUSE_AS(fn, e_RET_ERR_HDROUTOFORDER);
    default:
        QIR_ERR_AS(fn, "Unknown flow hdr <%u> \n", flowHdr);
        return e_RET_OK;
    }
}

// Makes `node` the empty request list of the entry at `offset` and clears the entry.
template <class Blk> void ResetEntry(Blk &blk, u32 offset, ReqNode &node) {
    MakeSelfLinked(&node);
    StoreEntry(blk, offset, HdrEntry{.reqCount = 0, .reqList = node.curr, .curBmap = 0});
}

template <unsigned NumTypes> void ResetFilterEntry(FilterBlk &blk, u32 offset, ReqNode &node) {
    ResetEntry(blk, offset, node);
    memset(BlkBytes(blk, offset + offsetof(FilterHdrEntry<NumTypes>, cmpOpCurCnt)), 0,
           sizeof FilterHdrEntry<NumTypes>::cmpOpCurCnt);
}

// Takes a node and resets another entry with it: those of TCP and UDP come with IPv4.
template <class Reset> u32 AllocAndReset(Fcb *fcb_p, Reset reset) {
    ReqNode *node_p = nullptr;
    if (const u32 rc = Alloc_ReqNode(fcb_p, &node_p); rc != e_RET_OK) {
        return rc;
    }
    reset(*node_p);
    return e_RET_OK;
}

// Resets the entry of `flowHdr`. 0, or Alloc_ReqNode's code.
u32 ResetFilterHdr(const char *fn, Fcb *fcb_p, u32 flowHdr, ReqNode &node) {
    FilterBlk &blk = fcb_p->filterBlk;
    switch (flowHdr) {
    case e_FLOWHDR_ETH:
        ResetFilterEntry<e_ETH_FILT_MAX>(blk, EthFilterKind::Entry(0), node);
        return e_RET_OK;
    case e_FLOWHDR_VLAN0:
    case e_FLOWHDR_VLAN1:
    case e_FLOWHDR_VLAN2:
    case e_FLOWHDR_VLAN3: {
        const u32 tag = VlanTagOf(flowHdr);
        ResetFilterEntry<e_VLAN_FILT_MAX>(blk, VlanFilterKind::Entry(tag), node);
        blk.totalTags = static_cast<u8>(tag + 1);
        return e_RET_OK;
    }
    case e_FLOWHDR_PPPOE:
        ResetFilterEntry<e_PPPOE_FILT_MAX>(blk, PppoeFilterKind::Entry(0), node);
        return e_RET_OK;
    case e_FLOWHDR_IPV4: {
        ResetFilterEntry<e_IPV4_FILT_MAX>(blk, Ipv4FilterKind::Entry(0), node);
        const auto resetTcp = [&](ReqNode &tcp) {
            ResetFilterEntry<e_TCP_FILT_MAX>(blk, TcpFilterKind::Entry(0), tcp);
        };
        const auto resetUdp = [&](ReqNode &udp) {
            ResetFilterEntry<e_UDP_FILT_MAX>(blk, UdpFilterKind::Entry(0), udp);
        };
        const u32 rc = AllocAndReset(fcb_p, resetTcp);
        return rc != e_RET_OK ? rc : AllocAndReset(fcb_p, resetUdp);
    }
    default:
        QIR_ERR_AS(fn, "Unknown flow hdr <%u> \n", flowHdr);
        return e_RET_OK;
    }
}

u32 ResetActionHdr(const char *fn, Fcb *fcb_p, u32 flowHdr, ReqNode &node) {
    ActionBlk &blk = fcb_p->actionBlk;
    switch (flowHdr) {
    case e_FLOWHDR_ETH:
        ResetEntry(blk, EthActionKind::Entry(0), node);
        return e_RET_OK;
    case e_FLOWHDR_VLAN0:
    case e_FLOWHDR_VLAN1:
    case e_FLOWHDR_VLAN2:
    case e_FLOWHDR_VLAN3: {
        const u32 tag = VlanTagOf(flowHdr);
        ResetEntry(blk, VlanActionKind::Entry(tag), node);
        blk.totalTags = static_cast<u8>(tag + 1);
        return e_RET_OK;
    }
    case e_FLOWHDR_PPPOE:
        // The request count of this entry is not reset: it counts on from the fill pattern.
        MakeSelfLinked(&node);
        blk.pppoe.reqList = node.curr;
        blk.pppoe.curBmap = 0;
        return e_RET_OK;
    case e_FLOWHDR_IPV4: {
        ResetEntry(blk, Ipv4ActionKind::Entry(0), node);
        const u32 rc =
            AllocAndReset(fcb_p, [&](ReqNode &tcp) { ResetEntry(blk, TcpActionKind::Entry(0), tcp); });
        return rc != e_RET_OK ? rc : AllocAndReset(fcb_p, [&](ReqNode &udp) {
            ResetEntry(blk, UdpActionKind::Entry(0), udp);
        });
    }
    default:
        QIR_ERR_AS(fn, "Unknown flow hdr <%u> \n", flowHdr);
        return e_RET_OK;
    }
}

} // namespace

u32 IsSet_FilterAllReqdHdr(const Fcb *fcb_p, u32 flowHdr) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(flowHdr < e_FLOWHDR_MAX, "(flowHdr < e_FLOWHDR_MAX)");
    const u16 hdrBmap = fcb_p->filterBlk.hdrBmap;
    const auto silent = [](u32) {};
    const u32 rc = ChkAllReqdHdr(__func__, hdrBmap, flowHdr, silent, silent);
    QIR_DBG("hdrBmap = 0x%.4x \n\n", hdrBmap);
    return rc;
}

u32 IsSet_ActionAllReqdHdr(const Fcb *fcb_p, u32 flowHdr) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(flowHdr < e_FLOWHDR_MAX, "(flowHdr < e_FLOWHDR_MAX)");
    const u16 hdrBmap = fcb_p->actionBlk.hdrBmap;
    const char *const fn = __func__;
    const auto traceBit = [fn, hdrBmap](u32 hdr) {
        QIR_DBG_AS(fn, "bmap = 0x%.4x \n\n", HdrBit(hdr));
        QIR_DBG_AS(fn, "hdrBmap = 0x%.4x \n\n", hdrBmap);
    };
    const auto traceMissing = [fn, flowHdr](u32 hdr) {
        QIR_DBG_AS(fn, "hdr = %u flowHdr %u \n\n", hdr, flowHdr);
    };
    const u32 rc = ChkAllReqdHdr(fn, hdrBmap, flowHdr, traceBit, traceMissing);
    QIR_DBG("hdrBmap = 0x%.4x \n\n", hdrBmap);
    return rc;
}

u32 Alloc_Hdr(Fcb *fcb_p, const FlowHdr *hdr_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(hdr_p != nullptr, "(hdr_p != NULL)");
    const u32 flowHdr = hdr_p->flowHdr;
    if (hdr_p->blk != e_BLKTYPE_FILTER && hdr_p->blk != e_BLKTYPE_ACTION) {
        QIR_ERR("Unknown block type <%u> \n", hdr_p->blk);
        return QIR_REFUSE(e_RET_ERR_INVALID_PARAM);
    }
    const bool filter = hdr_p->blk == e_BLKTYPE_FILTER;
    u16 &hdrBmap = filter ? fcb_p->filterBlk.hdrBmap : fcb_p->actionBlk.hdrBmap;

    if (const u32 rc =
            filter ? IsSet_FilterAllReqdHdr(fcb_p, flowHdr) : IsSet_ActionAllReqdHdr(fcb_p, flowHdr);
        rc != e_RET_OK) {
        return rc;
    }
    if (IsHdrSet(hdrBmap, flowHdr)) {
        return QIR_REFUSE(e_RET_ERR_RESRC_UNAVAIL);
    }
    ReqNode *node_p = nullptr;
    if (const u32 rc = Alloc_ReqNode(fcb_p, &node_p); rc != e_RET_OK) {
        return rc;
    }
    if (filter) {
        hdrBmap = static_cast<u16>(hdrBmap | HdrBit(flowHdr));
        return ResetFilterHdr(__func__, fcb_p, flowHdr, *node_p);
    }
    QIR_DBG("before hdrBmap = 0x%.4x \n\n", hdrBmap);
    hdrBmap = static_cast<u16>(hdrBmap | HdrBit(flowHdr));
    QIR_DBG("after hdrBmap = 0x%.4x \n\n", hdrBmap);
    return ResetActionHdr(__func__, fcb_p, flowHdr, *node_p);
}

} // namespace qir
