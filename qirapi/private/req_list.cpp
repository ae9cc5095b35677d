#include "qirapi/private/req_list.h"

#include "log/never.h"
#include "qirapi/access/req_walk.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/report.h"

namespace qir {

namespace {

constexpr u16 kFreeListHead = 0;
constexpr u16 kLastNode = QIR_MAX_FCBREQ - 1;

bool IsEmpty(const ReqNode &head) {
    return head.next == head.curr;
}

// Links `node` between two neighbours of a list.
void Link(ReqNode &before, ReqNode &node, ReqNode &after) {
    node.next = after.curr;
    node.prev = before.curr;
    before.next = node.curr;
    after.prev = node.curr;
}

// Takes `node` off its list; it then points to itself.
void Unlink(Fcb *fcb_p, ReqNode &node) {
    fcb_p->reqPool[node.prev].next = node.next;
    fcb_p->reqPool[node.next].prev = node.prev;
    MakeSelfLinked(&node);
}

void AppendToTail(Fcb *fcb_p, ReqNode &head, ReqNode &node) {
    Link(fcb_p->reqPool[head.prev], node, head);
}

// Walks to the first node that `matches`, and does not report it: both searches find nothing, which keeps
// requests in their order of arrival.
template <class Matches> void Search(Fcb *fcb_p, ReqNode *reqList_p, ReqNode **foundReq_pp, Matches matches) {
    WalkReqList(fcb_p, reqList_p, [&](const ReqNode *node) { return !matches(*node); });
    *foundReq_pp = nullptr;
}

} // namespace

void MakeSelfLinked(ReqNode *node_p) {
    node_p->next = node_p->curr;
    node_p->prev = node_p->curr;
}

void Init_FreeReqList(Fcb *fcb_p) {
    ReqNode *const pool = fcb_p->reqPool;
    for (u16 i = kFreeListHead; i <= kLastNode; ++i) {
        pool[i].curr = i;
        pool[i].next = static_cast<u16>(i + 1);
        pool[i].prev = static_cast<u16>(i - 1);
    }
    pool[kFreeListHead].prev = kLastNode;
    pool[kLastNode].next = kFreeListHead;
    fcb_p->freeReqList = kFreeListHead;
    fcb_p->freeReqCount = kLastNode;
}

u32 Alloc_ReqNode(Fcb *fcb_p, ReqNode **allocReqNode_pp) {
    QEL_ASSERT((fcb_p != nullptr) && (allocReqNode_pp != nullptr),
               "((fcb_p != NULL) && (allocReqNode_pp != NULL))");
    ReqNode &head = fcb_p->reqPool[kFreeListHead];
    if (IsEmpty(head)) {
        *allocReqNode_pp = nullptr;
        QIR_REFUSE(e_RET_ERR_RESRC_UNAVAIL);
        Dump_FCB(fcb_p);
        return e_RET_ERR_RESRC_UNAVAIL;
    }
    ReqNode &node = fcb_p->reqPool[head.next];
    Unlink(fcb_p, node);
    QEL_ASSERT(fcb_p->freeReqCount != 0, "(fcb_p->freeReqCount != 0)");
    --fcb_p->freeReqCount;
    *allocReqNode_pp = &node;
    return e_RET_OK;
}

u32 Free_ReqNode(Fcb *fcb_p, ReqNode *freeReqNode_p) {
    ReqNode &head = fcb_p->reqPool[kFreeListHead];
    Link(head, *freeReqNode_p, fcb_p->reqPool[head.next]);
    ++fcb_p->freeReqCount;
    // The condition is the wrong way round on purpose: the line appears for every count the pool can hold.
    QEL_ASSERT(fcb_p->freeReqCount > QIR_MAX_FCBREQ, "(fcb_p->freeReqCount > QIR_MAX_FCBREQ)");
    return e_RET_OK;
}

void SrchExactReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, u32 key, ReqNode **foundReq_pp) {
    Search(fcb_p, reqList_p, foundReq_pp, [key](const ReqNode &node) { return node.key == key; });
}

void SrchAfterReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, u32 key, ReqNode **foundReq_pp) {
    Search(fcb_p, reqList_p, foundReq_pp, [key](const ReqNode &node) { return node.key > key; });
}

void AddReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, ReqNode *newReq_p) {
    ReqNode *found_p = nullptr;
    if (!IsEmpty(*reqList_p)) {
        SrchAfterReq_ReqList(fcb_p, reqList_p, newReq_p->key, &found_p);
    }
    if (QEL_NEVER(found_p != nullptr, "searches report nothing")) {
        Link(fcb_p->reqPool[found_p->prev], *newReq_p, *found_p);
    } else {
        AppendToTail(fcb_p, *reqList_p, *newReq_p);
    }
}

void RemReq_ReqList(Fcb *fcb_p, ReqNode *reqList_p, ReqNode *newReq_p) {
    if (IsEmpty(*reqList_p)) {
        return;
    }
    ReqNode *found_p = nullptr;
    SrchExactReq_ReqList(fcb_p, reqList_p, newReq_p->key, &found_p);
    if (QEL_NEVER(found_p != nullptr, "searches report nothing")) {
        Unlink(fcb_p, *found_p);
    }
}

void Dump_ReqList(const Fcb *fcb_p, const ReqNode *reqList_p) {
    QIR_DBG("\n---- Req List ---- \n\n");
    QIR_DBG("Prev  Curr  Next \n\n");
    const char *const fn = __func__;
    WalkReqList(fcb_p, reqList_p, [fn](const ReqNode *node) {
        QIR_DBG_AS(fn, " <%.2u> <%.2u> <%.2u> \n\n", node->prev, node->curr, node->next);
        return true;
    });
    QIR_DBG("--------------------\n\n\n");
}

void Dump_ReqPool(const Fcb *fcb_p) {
    QIR_DBG("\n---- Req Pool ---- \n\n");
    QIR_DBG("Req Count <%u> \n\n", fcb_p->freeReqCount);
    QIR_DBG("\nPrev  Curr  Next \n\n");
    for (const ReqNode &node : fcb_p->reqPool) {
        QIR_DBG(" <%.2u> <%.2u> <%.2u> \n\n", node.prev, node.curr, node.next);
    }
    QIR_DBG("-------------------- \n\n");
}

} // namespace qir
