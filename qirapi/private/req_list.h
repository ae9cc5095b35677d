// Request nodes and request lists of one FCB.
//
// A list is a circle of nodes, linked by `next` and `prev`. Its head holds no request, and the index of the
// head names the list; the head of an empty list points to itself. Node 0 heads the free list and is never
// taken. A flow's other 31 nodes serve its headers and requests; none comes back before the FCB is
// initialised again.
//
// A header's `reqList` is not always a valid index: an IPv4 header whose allocation failed halfway, and the
// tags behind the inner VLAN tag, leave other bytes there. ReqListAt and every walk therefore stay inside the
// pool.
#ifndef QIRAPI_PRIVATE_REQ_LIST_H
#define QIRAPI_PRIVATE_REQ_LIST_H

#include "qirapi/private/context.h"

namespace qir {

// Builds the free list: head 0, then nodes 1 to 31 in ascending order.
void Init_FreeReqList(Fcb *fcb_p);
// Takes the first node of the free list. 0, or e_RET_ERR_RESRC_UNAVAIL, which also prints the whole FCB.
u32 Alloc_ReqNode(Fcb *fcb_p, ReqNode **allocReqNode_pp);
// Puts a node back in front of the free list. Returns 0.
u32 Free_ReqNode(Fcb *fcb_p, ReqNode *freeReqNode_p);

// Both searches walk the list and find nothing, whatever is there. Requests therefore keep their order of
// arrival.
void SrchExactReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, u32 key, ReqNode **foundReq_pp);
void SrchAfterReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, u32 key, ReqNode **foundReq_pp);
void AddReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, ReqNode *newReq_p);
void RemReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, ReqNode *newReq_p);

// At debug level only.
void Dump_ReqList(const Fcb *fcb_p, const ReqNode *reqList_p);
void Dump_ReqPool(const Fcb *fcb_p);

// Makes a node an empty list (or a node on no list): it points to itself.
void MakeSelfLinked(ReqNode *node_p);

} // namespace qir

#endif
