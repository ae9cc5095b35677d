#include "qirapi/private/fwd_info.h"

#include "qirapi/access/flow_access.h"
#include "qirapi/private/report.h"

namespace qir {

namespace {

// No queue id chosen yet.
constexpr u32 kQidUnset = QIR_QID_MAX;

bool HasBit(u32 mask, u32 bit) {
    return ((mask >> bit) & 1u) != 0;
}

// Calls visit(port) for the ports of a mask that have a queue of their own, which are all but the GPON port.
// In ascending order, until it returns a failure; the loop ends behind the mask's highest bit.
template <class Visit> u32 ForQueuePorts(u32 portMask, Visit visit) {
    for (u32 port = 0; port < QIR_PORT_MAX && portMask >> port != 0; ++port) {
        if (port == QIR_GPON_PORT || !HasBit(portMask, port)) {
            continue;
        }
        if (const u32 rc = visit(port); rc != e_RET_OK) {
            return rc;
        }
    }
    return e_RET_OK;
}

template <class Visit> u32 ForGemPorts(u32 gemPortIdxMask, Visit visit) {
    for (u32 gem = 0; gem < QIR_GEMPORTIDX_MAX && gemPortIdxMask >> gem != 0; ++gem) {
        if (!HasBit(gemPortIdxMask, gem)) {
            continue;
        }
        if (const u32 rc = visit(gem); rc != e_RET_OK) {
            return rc;
        }
    }
    return e_RET_OK;
}

// The first selected bit of a mask, or `none`.
u32 FirstQueuePort(u32 portMask, u32 none) {
    u32 first = none;
    ForQueuePorts(portMask, [&first](u32 port) {
        first = port;
        return 1u;
    });
    return first;
}

u32 FirstGemPort(u32 gemPortIdxMask, u32 none) {
    u32 first = none;
    ForGemPorts(gemPortIdxMask, [&first](u32 gem) {
        first = gem;
        return 1u;
    });
    return first;
}

} // namespace

u32 Validate_FwdInfo(const Fcb *fcb_p, const FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    const char *const fn = __func__;
    const FwdSrc &src = fwdInfo_p->src;
    const DstMask &dst = fwdInfo_p->dst;

    if (HasBit(src.portMask, QIR_GPON_PORT) && src.gemPortIdxMask == 0) {
        QIR_ERR("Invalid param srcPortMask<0x%.8x> gemPortIdMask<0x%.8x>\n", src.portMask,
                src.gemPortIdxMask);
        return QIR_REFUSE(e_RET_ERR_INVALID_GEMPORTIDX);
    }

    // All destinations share one queue id: the first one met.
    u32 commonQid = kQidUnset;
    const u32 portsRc = ForQueuePorts(dst.portMask, [&](u32 port) {
        const u32 qid = dst.portQid[port];
        if (qid >= QIR_QID_MAX) {
            QIR_ERR_AS(fn, "Invalid param dst qid<%u> forport<%u>\n", qid, port);
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_DSTQID);
        }
        if (commonQid == kQidUnset) {
            commonQid = qid;
        }
        if (qid != commonQid) {
            QIR_ERR_AS(fn, "Invalid param dst qid<%u> for port<%u>\n", qid, port);
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_DSTQID);
        }
        return static_cast<u32>(e_RET_OK);
    });
    if (portsRc != e_RET_OK || !HasBit(dst.portMask, QIR_GPON_PORT)) {
        return portsRc;
    }

    if (dst.gemPortIdxMask == 0) {
        // The message says "srcPortMask" and shows the destination's.
        QIR_ERR("Invalid param GPON port srcPortMask<0x%.8x> gemPortIdMask<0x%.8x>\n", dst.portMask,
                dst.gemPortIdxMask);
        return QIR_REFUSE(e_RET_ERR_INVALID_GEMPORTIDXMASK);
    }
    return ForGemPorts(dst.gemPortIdxMask, [&](u32 gem) {
        const u32 qid = dst.gemQid[gem];
        if (commonQid == kQidUnset && qid < QIR_QID_MAX) {
            commonQid = qid;
        }
        if (qid >= QIR_QID_MAX || qid != commonQid) {
            QIR_ERR_AS(fn, "Invalid param gemPort qid<%u> for port<%u>\n", qid, gem);
            return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_DSTQID);
        }
        return static_cast<u32>(e_RET_OK);
    });
}

void Set_FwdInfo(Fcb *fcb_p, const FwdInfo *fwdInfo_p) {
    setFwdInfo(fcb_p, fwdInfo_p);
    fcb_p->fwdInfoSet = 1;
}

u32 AddDstPortToFwdInfo(const Fcb *fcb_p, const DstMask *dstMask_p, FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(dstMask_p != nullptr, "(dstMask_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    DstMask &dst = fwdInfo_p->dst;
    const u32 portMask = dstMask_p->portMask;
    const u32 gemPortIdxMask = dstMask_p->gemPortIdxMask;
    const bool gpon = HasBit(portMask, QIR_GPON_PORT);

    // The queue is the one that the record already keeps for the first new destination; the caller's queue
    // tables are not read.
    u8 qid = kQidUnset;
    if (const u32 port = FirstQueuePort(portMask, QIR_PORT_MAX); port != QIR_PORT_MAX) {
        qid = dst.portQid[port];
    } else if (!gpon) {
        return 1;
    } else if (const u32 gem = FirstGemPort(gemPortIdxMask, QIR_GEMPORTIDX_MAX); gem != QIR_GEMPORTIDX_MAX) {
        qid = dst.gemQid[gem];
    }

    ForQueuePorts(portMask, [&dst, qid](u32 port) {
        dst.portMask |= 1u << port;
        dst.portQid[port] = qid;
        return static_cast<u32>(e_RET_OK);
    });
    if (!gpon) {
        return 0;
    }
    if (gemPortIdxMask == 0) {
        return 1;
    }
    ForGemPorts(gemPortIdxMask, [&dst, qid](u32 gem) {
        dst.gemQid[gem] = qid;
        // Bit 9, behind the last port, whatever the GEM port index. This is intended.
        dst.gemPortIdxMask |= 1u << QIR_PORT_MAX;
        return static_cast<u32>(e_RET_OK);
    });
    return 0;
}

u32 RemDstPortFromFwdInfo(const Fcb *fcb_p, const DstMask *dstMask_p, FwdInfo *fwdInfo_p) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(dstMask_p != nullptr, "(dstMask_p != NULL)");
    QEL_ASSERT(fwdInfo_p != nullptr, "(fwdInfo_p != NULL)");
    fwdInfo_p->dst.portMask &= ~dstMask_p->portMask;
    fwdInfo_p->dst.gemPortIdxMask &= ~dstMask_p->gemPortIdxMask;
    return 0;
}

} // namespace qir
