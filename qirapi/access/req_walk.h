// Walks the nodes of a request list without leaving the pool: the walk ends at an index of 32 or more, and
// after as many steps as the pool has nodes.
#ifndef QIRAPI_ACCESS_REQ_WALK_H
#define QIRAPI_ACCESS_REQ_WALK_H

#include "qirapi/private/context.h"

namespace qir {

// Node `idx` of the FCB's pool, or null when there is no such node.
inline ReqNode *ReqNodeAt(Fcb *fcb_p, u16 idx) {
    return idx < QIR_MAX_FCBREQ ? &fcb_p->reqPool[idx] : nullptr;
}

inline const ReqNode *ReqNodeAt(const Fcb *fcb_p, u16 idx) {
    return idx < QIR_MAX_FCBREQ ? &fcb_p->reqPool[idx] : nullptr;
}

// The empty list: a reader gets it for an index outside the pool.
inline constexpr ReqNode kNoRequests{};

// Calls visit(node) for the nodes after the head, in list order, until it returns false. A node that points
// to itself is the last one. A null head is an empty list.
template <class FcbPtr, class NodePtr, class Visit>
void WalkReqList(FcbPtr fcb_p, NodePtr reqList_p, Visit visit) {
    if (reqList_p == nullptr) {
        return;
    }
    NodePtr node = ReqNodeAt(fcb_p, reqList_p->next);
    for (u32 steps = 0; node != nullptr && node->curr != reqList_p->curr && steps < QIR_MAX_FCBREQ; ++steps) {
        if (!visit(node) || node->next == node->curr) {
            return;
        }
        node = ReqNodeAt(fcb_p, node->next);
    }
}

} // namespace qir

#endif
