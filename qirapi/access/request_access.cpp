#include "qirapi/access/flow_access.h"
#include "qirapi/access/req_walk.h"
#include "qirapi/access/request_kinds.h"
#include "qirapi/private/report.h"

#include <string.h>

namespace qir {

namespace {

// The shared core of the twelve iterators; `fn` is the iterator that it serves.
template <class Kind>
void GetNext(const char *fn, Fcb *fcb_p, u32 tag, void **infoHdl_pp, typename Kind::Record *record_p,
             const char *recordText) {
    QEL_ASSERT_AS(fn, fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT_AS(fn, infoHdl_pp != nullptr, "(infoHdl_pp != NULL)");
    QEL_ASSERT_AS(fn, record_p != nullptr, recordText);
    if constexpr (Kind::kPerTag) {
        QEL_ASSERT_AS(fn, tag < e_VLAN_TAG_MAX, "(toTagNum < e_VLAN_TAG_MAX)");
    }
    auto &blk = BlkOf<Kind>(*fcb_p);
    if (!Kind::IsAllocated(blk, tag)) {
        *infoHdl_pp = nullptr;
        return;
    }
    ReqNode *const reqList_p = ReqListAt(*fcb_p, blk, Kind::Entry(tag));
    if (reqList_p == nullptr) {
        *infoHdl_pp = nullptr;
        return;
    }
    getNextReq(fcb_p, reqList_p, infoHdl_pp);
    if (*infoHdl_pp != nullptr) {
        memcpy(record_p, *infoHdl_pp, sizeof *record_p);
    }
}

constexpr const char *kFilterText = "(filter_p != NULL)";
constexpr const char *kActionText = "(action_p != NULL)";

} // namespace

void getNextReq(Fcb *fcb_p, ReqNode *reqList_p, void **req_pp) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(reqList_p != nullptr, "(reqList_p != NULL)");
    QEL_ASSERT(req_pp != nullptr, "(req_pp != NULL)");
    QIR_DBG("params: *req_pp <0x%p>\n\n", *req_pp);

    ReqNode *next = nullptr;
    if (*req_pp == nullptr) {
        WalkReqList(fcb_p, reqList_p, [&next](ReqNode *node) {
            next = node;
            return false;
        });
        *req_pp = next == nullptr ? nullptr : next->req;
        QIR_DBG("first returned *req_pp<0x%p>\n\n", *req_pp);
        return;
    }

    bool found = false;
    WalkReqList(fcb_p, reqList_p, [&](ReqNode *node) {
        if (found) {
            next = node;
            return false;
        }
        found = node->req == *req_pp;
        return true;
    });
    if (next == nullptr) {
        *req_pp = nullptr;
        return;
    }
    *req_pp = next->req;
    QIR_DBG("found next returned *req_pp<0x%p>\n\n", *req_pp);
}

void getNextEthFilter(Fcb *fcb_p, void **infoHdl_pp, EthFilter *filter_p) {
    GetNext<EthFilterKind>(__func__, fcb_p, 0, infoHdl_pp, filter_p, kFilterText);
}

void getNextVlanFilter(Fcb *fcb_p, u32 toTagNum, void **infoHdl_pp, VlanFilter *filter_p) {
    GetNext<VlanFilterKind>(__func__, fcb_p, toTagNum, infoHdl_pp, filter_p, kFilterText);
}

void getNextPppoeFilter(Fcb *fcb_p, void **infoHdl_pp, PppoeFilter *filter_p) {
    GetNext<PppoeFilterKind>(__func__, fcb_p, 0, infoHdl_pp, filter_p, kFilterText);
}

void getNextIpv4Filter(Fcb *fcb_p, void **infoHdl_pp, Ipv4Filter *filter_p) {
    GetNext<Ipv4FilterKind>(__func__, fcb_p, 0, infoHdl_pp, filter_p, kFilterText);
}

void getNextTcpFilter(Fcb *fcb_p, void **infoHdl_pp, TcpFilter *filter_p) {
    GetNext<TcpFilterKind>(__func__, fcb_p, 0, infoHdl_pp, filter_p, kFilterText);
}

void getNextUdpFilter(Fcb *fcb_p, void **infoHdl_pp, UdpFilter *filter_p) {
    GetNext<UdpFilterKind>(__func__, fcb_p, 0, infoHdl_pp, filter_p, kFilterText);
}

void getNextEthAction(Fcb *fcb_p, void **infoHdl_pp, EthAction *action_p) {
    GetNext<EthActionKind>(__func__, fcb_p, 0, infoHdl_pp, action_p, kActionText);
}

void getNextVlanAction(Fcb *fcb_p, u32 toTagNum, void **infoHdl_pp, VlanAction *action_p) {
    GetNext<VlanActionKind>(__func__, fcb_p, toTagNum, infoHdl_pp, action_p, kActionText);
}

void getNextPppoeAction(Fcb *fcb_p, void **infoHdl_pp, PppoeAction *action_p) {
    GetNext<PppoeActionKind>(__func__, fcb_p, 0, infoHdl_pp, action_p, kActionText);
}

void getNextIpv4Action(Fcb *fcb_p, void **infoHdl_pp, Ipv4Action *action_p) {
    GetNext<Ipv4ActionKind>(__func__, fcb_p, 0, infoHdl_pp, action_p, kActionText);
}

void getNextTcpAction(Fcb *fcb_p, void **infoHdl_pp, TcpAction *action_p) {
    GetNext<TcpActionKind>(__func__, fcb_p, 0, infoHdl_pp, action_p, kActionText);
}

void getNextUdpAction(Fcb *fcb_p, void **infoHdl_pp, UdpAction *action_p) {
    GetNext<UdpActionKind>(__func__, fcb_p, 0, infoHdl_pp, action_p, kActionText);
}

} // namespace qir
