// Storing a request, the same for filters and actions of all headers: take a node from the flow's pool, fill
// it and append it to the header's list.
#ifndef QIRAPI_PRIVATE_REQUEST_STORE_H
#define QIRAPI_PRIVATE_REQUEST_STORE_H

#include "qirapi/access/request_kinds.h"
#include "qirapi/private/report.h"
#include "qirapi/private/req_list.h"

#include <string.h>

namespace qir {

// Copies the whole record into the node; the node's key is the request's type.
template <class Record> void FillReqNode(const Record *record_p, ReqNode *reqNode_p) {
    static_assert(sizeof(Record) <= kReqBytes);
    memcpy(reqNode_p->req, record_p, sizeof *record_p);
    reqNode_p->key = record_p->type;
}

// Bitmap of the accepted types of the entry at `offset`.
template <class Blk> u16 *CurBmapAt(Blk &blk, u32 offset) {
    return reinterpret_cast<u16 *>(BlkBytes(blk, offset + offsetof(HdrEntry, curBmap)));
}

// Fills `node` and appends it to the list of the entry that the request names.
template <class Kind>
void AppendReq(Fcb *fcb_p, const typename Kind::Record *record_p, ReqNode *node_p,
               void (*fill)(const typename Kind::Record *, ReqNode *)) {
    auto &blk = BlkOf<Kind>(*fcb_p);
    const u32 offset = Kind::Entry(Kind::Tag(*record_p));
    fill(record_p, node_p);
    if (ReqNode *const reqList_p = ReqListAt(*fcb_p, blk, offset); reqList_p != nullptr) {
        AddReq_ReqList(fcb_p, reqList_p, node_p);
    }
    HdrEntry entry = LoadEntry(blk, offset);
    ++entry.reqCount;
    StoreEntry(blk, offset, entry);
}

// Takes a node and appends the request. 0, or e_RET_ERR_RESRC_UNAVAIL when no node is left.
template <class Kind>
u32 StoreReq(Fcb *fcb_p, const typename Kind::Record *record_p,
             void (*fill)(const typename Kind::Record *, ReqNode *)) {
    ReqNode *node_p = nullptr;
    if (const u32 rc = Alloc_ReqNode(fcb_p, &node_p); rc != e_RET_OK) {
        return rc;
    }
    AppendReq<Kind>(fcb_p, record_p, node_p, fill);
    return e_RET_OK;
}

} // namespace qir

#endif
