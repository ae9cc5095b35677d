#include "qirapi/private/actions.h"

#include "qirapi/private/report.h"
#include "qirapi/private/request_store.h"
#include "qirapi/private/request_values.h"
#include "qirapi/private/rules.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

// Operation, type, tag and value.
template <class Kind, u32 N>
u32 Validate(const char *fn, const typename Kind::Record *action_p, const TypeRule (&rules)[N]) {
    static_assert(N == Kind::kNumTypes);
    if (action_p->op != e_CONFIG_OPER_ADD) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_CONFIGOPER);
    }
    if (action_p->type >= N) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_ACTION);
    }
    const u32 tag = Kind::Tag(*action_p);
    if (tag >= e_VLAN_TAG_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_TAGNUM);
    }
    return IsValueAccepted(rules[action_p->type].value, &action_p->val, tag)
               ? static_cast<u32>(e_RET_OK)
               : QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM);
}

template <class Kind>
void AssertPtrs(const char *fn, const Fcb *fcb_p, const typename Kind::Record *action_p) {
    QEL_ASSERT_AS(fn, fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT_AS(fn, action_p != nullptr, "(action_p != NULL)");
    if constexpr (Kind::kPerTag) {
        QEL_ASSERT_AS(fn, action_p->toTagNum < e_VLAN_TAG_MAX, "(action_p->toTagNum < e_VLAN_TAG_MAX)");
    }
}

// Is the action excluded by one that is on its header?
template <class Kind> u32 ChkDependency(Fcb *fcb_p, const typename Kind::Record *action_p) {
    const u32 tag = Kind::Tag(*action_p);
    u16 *const curBmap_p = CurBmapAt(fcb_p->actionBlk, Kind::Entry(tag));
    return (Kind::kL4 ? Chk_L4ActionDepBmapTbl
                      : Chk_ActionDepBmapTbl)(Kind::Row(tag), static_cast<u8>(action_p->type), curBmap_p);
}

template <class Kind>
u32 StoreAction(const char *fn, Fcb *fcb_p, const typename Kind::Record *action_p,
                void (*fill)(const typename Kind::Record *, ReqNode *)) {
    AssertPtrs<Kind>(fn, fcb_p, action_p);
    if (const u32 rc = ChkDependency<Kind>(fcb_p, action_p); rc != e_RET_OK) {
        return rc;
    }
    return StoreReq<Kind>(fcb_p, action_p, fill);
}

// A frame can carry this many tags, matched and pushed together.
constexpr u32 kMaxTags = 2;

// A push has to come before all other Ethernet actions, and the VLAN action header of its tag has to be
// there.
u32 ChkPush(const char *fn, const Fcb *fcb_p) {
    const ActionBlk &blk = fcb_p->actionBlk;
    if (blk.eth.reqCount != 0 && blk.lastEthAction != e_ETH_ACTION_PUSH_TAG) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_REQOUTOFORDER);
    }
    const u32 pushed = blk.pushedTags + 1u;
    const u32 position = fcb_p->filterBlk.totalTags + pushed;
    if (pushed > kMaxTags || position > kMaxTags) {
        printf("pushedTags=%u filter totalTags=%u \n", blk.pushedTags, fcb_p->filterBlk.totalTags);
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM);
    }
    return IsHdrSet(blk.hdrBmap, position) ? static_cast<u32>(e_RET_OK)
                                           : QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM);
}

// No more pops than tags.
u32 ChkPop(const char *fn, const Fcb *fcb_p) {
    const ActionBlk &blk = fcb_p->actionBlk;
    const u32 tags = static_cast<u32>(fcb_p->filterBlk.totalTags) + blk.pushedTags;
    return blk.poppedTags + 1u > tags ? QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM)
                                      : static_cast<u32>(e_RET_OK);
}

// Nothing may be rewritten behind a pop.
u32 ChkRewrite(const char *fn, const Fcb *fcb_p) {
    return fcb_p->actionBlk.lastEthAction == e_ETH_ACTION_POP_TAG ? QIR_REFUSE_AS(fn, e_RET_ERR_REQOUTOFORDER)
                                                                  : static_cast<u32>(e_RET_OK);
}

u32 ChkEthOrder(const char *fn, const Fcb *fcb_p, u32 type) {
    switch (type) {
    case e_ETH_ACTION_PUSH_TAG:
        return ChkPush(fn, fcb_p);
    case e_ETH_ACTION_POP_TAG:
        return ChkPop(fn, fcb_p);
    default:
        return ChkRewrite(fn, fcb_p);
    }
}

template <class Kind>
u32 ValidateGet(const char *fn, const typename Kind::Record *action_p,
                u32 badType = e_RET_ERR_INVALID_ACTION) {
    if (action_p->type >= Kind::kNumTypes) {
        return QIR_REFUSE_AS(fn, badType);
    }
    if (Kind::Tag(*action_p) >= e_VLAN_TAG_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_TAGNUM);
    }
    return e_RET_OK;
}

template <class Kind> u32 GetAction(const Fcb *fcb_p, typename Kind::Record *action_p) {
    const ReqNode *const reqList_p = ReqListAt(*fcb_p, fcb_p->actionBlk, Kind::Entry(Kind::Tag(*action_p)));
    return Get_Action(fcb_p, action_p, action_p->type, reqList_p != nullptr ? reqList_p : &kNoRequests,
                      sizeof *action_p);
}

} // namespace

u32 Validate_Config_EthAction(const EthAction *action_p) {
    return Validate<EthActionKind>(__func__, action_p, kEthActions);
}

u32 Validate_Config_VlanAction(const VlanAction *action_p) {
    return Validate<VlanActionKind>(__func__, action_p, kVlanActions);
}

u32 Validate_Config_PppoeAction(const PppoeAction *action_p) {
    return Validate<PppoeActionKind>(__func__, action_p, kPppoeActions);
}

u32 Validate_Config_Ipv4Action(const Ipv4Action *action_p) {
    return Validate<Ipv4ActionKind>(__func__, action_p, kIpv4Actions);
}

u32 Validate_Config_TcpAction(const TcpAction *action_p) {
    return Validate<TcpActionKind>(__func__, action_p, kTcpActions);
}

u32 Validate_Config_UdpAction(const UdpAction *action_p) {
    return Validate<UdpActionKind>(__func__, action_p, kUdpActions);
}

u32 Config_EthAction(Fcb *fcb_p, const EthAction *action_p) {
    AssertPtrs<EthActionKind>(__func__, fcb_p, action_p);
    if (const u32 rc = ChkDependency<EthActionKind>(fcb_p, action_p); rc != e_RET_OK) {
        return rc;
    }
    if (const u32 rc = ChkEthOrder(__func__, fcb_p, action_p->type); rc != e_RET_OK) {
        return rc;
    }
    ReqNode *node_p = nullptr;
    if (const u32 rc = Alloc_ReqNode(fcb_p, &node_p); rc != e_RET_OK) {
        return rc;
    }
    ActionBlk &blk = fcb_p->actionBlk;
    if (action_p->type == e_ETH_ACTION_PUSH_TAG) {
        ++blk.pushedTags;
    } else if (action_p->type == e_ETH_ACTION_POP_TAG) {
        ++blk.poppedTags;
    }
    blk.lastEthAction = action_p->type;
    AppendReq<EthActionKind>(fcb_p, action_p, node_p, FillReq_EthActionReqNode);
    return e_RET_OK;
}

u32 Config_VlanAction(Fcb *fcb_p, const VlanAction *action_p) {
    return StoreAction<VlanActionKind>(__func__, fcb_p, action_p, FillReq_VlanActionReqNode);
}

u32 Config_PppoeAction(Fcb *fcb_p, const PppoeAction *action_p) {
    return StoreAction<PppoeActionKind>(__func__, fcb_p, action_p, FillReq_PppoeActionReqNode);
}

u32 Config_Ipv4Action(Fcb *fcb_p, const Ipv4Action *action_p) {
    return StoreAction<Ipv4ActionKind>(__func__, fcb_p, action_p, FillReq_Ipv4ActionReqNode);
}

u32 Config_TcpAction(Fcb *fcb_p, const TcpAction *action_p) {
    return StoreAction<TcpActionKind>(__func__, fcb_p, action_p, FillReq_TcpActionReqNode);
}

u32 Config_UdpAction(Fcb *fcb_p, const UdpAction *action_p) {
    return StoreAction<UdpActionKind>(__func__, fcb_p, action_p, FillReq_UdpActionReqNode);
}

void FillReq_EthActionReqNode(const EthAction *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

void FillReq_VlanActionReqNode(const VlanAction *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

void FillReq_PppoeActionReqNode(const PppoeAction *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

void FillReq_Ipv4ActionReqNode(const Ipv4Action *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

void FillReq_TcpActionReqNode(const TcpAction *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

void FillReq_UdpActionReqNode(const UdpAction *action_p, ReqNode *reqNode_p) {
    FillReqNode(action_p, reqNode_p);
}

u32 Validate_Get_EthAction(const EthAction *action_p) {
    // The other five have another code for an unknown type.
    return ValidateGet<EthActionKind>(__func__, action_p, e_RET_ERR_INVALID_PARAM);
}

u32 Validate_Get_VlanAction(const VlanAction *action_p) {
    return ValidateGet<VlanActionKind>(__func__, action_p);
}

u32 Validate_Get_PppoeAction(const PppoeAction *action_p) {
    return ValidateGet<PppoeActionKind>(__func__, action_p);
}

u32 Validate_Get_Ipv4Action(const Ipv4Action *action_p) {
    return ValidateGet<Ipv4ActionKind>(__func__, action_p);
}

u32 Validate_Get_TcpAction(const TcpAction *action_p) {
    return ValidateGet<TcpActionKind>(__func__, action_p);
}

u32 Validate_Get_UdpAction(const UdpAction *action_p) {
    return ValidateGet<UdpActionKind>(__func__, action_p);
}

u32 Get_EthAction(const Fcb *fcb_p, EthAction *action_p) {
    return GetAction<EthActionKind>(fcb_p, action_p);
}

u32 Get_VlanAction(const Fcb *fcb_p, VlanAction *action_p) {
    return GetAction<VlanActionKind>(fcb_p, action_p);
}

u32 Get_PppoeAction(const Fcb *fcb_p, PppoeAction *action_p) {
    return GetAction<PppoeActionKind>(fcb_p, action_p);
}

u32 Get_Ipv4Action(const Fcb *fcb_p, Ipv4Action *action_p) {
    return GetAction<Ipv4ActionKind>(fcb_p, action_p);
}

u32 Get_TcpAction(const Fcb *fcb_p, TcpAction *action_p) {
    return GetAction<TcpActionKind>(fcb_p, action_p);
}

u32 Get_UdpAction(const Fcb *fcb_p, UdpAction *action_p) {
    return GetAction<UdpActionKind>(fcb_p, action_p);
}

u32 Get_Action(const Fcb *fcb_p, void *action_p, u32 type, const ReqNode *reqList_p, u32 size) {
    QEL_ASSERT(fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT(action_p != nullptr, "(action_p != NULL)");
    QEL_ASSERT(reqList_p != nullptr, "(reqList_p != NULL)");
    bool found = false;
    WalkReqList(fcb_p, reqList_p, [&](const ReqNode *node) {
        found = node->key == type;
        if (found) {
            memcpy(action_p, node->req, size);
        }
        return !found;
    });
    return found ? static_cast<u32>(e_RET_OK) : QIR_REFUSE(e_RET_ERR_NO_SUCH_ENTRY);
}

} // namespace qir
