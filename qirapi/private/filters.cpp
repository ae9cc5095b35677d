#include "qirapi/private/filters.h"

#include "log/never.h"
#include "qirapi/private/report.h"
#include "qirapi/private/request_store.h"
#include "qirapi/private/request_values.h"
#include "qirapi/private/rules.h"

#include <string.h>

namespace qir {

namespace {

// The rules, in the order of their checks: operation, operator, type, tag, whether the type takes the
// operator, exclusions and counts.
template <class Kind> u32 ChkRules(const char *fn, Fcb *fcb_p, const typename Kind::Record *filter_p) {
    if (filter_p->op != e_CONFIG_OPER_ADD) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_CONFIGOPER);
    }
    if (filter_p->cmpOp >= e_CMP_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_CMPOPER);
    }
    if (filter_p->type >= Kind::kNumTypes) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_FILT);
    }
    const u32 tag = Kind::Tag(*filter_p);
    if (tag >= e_VLAN_TAG_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_TAGNUM);
    }
    const u32 row = Kind::Row(tag);
    const u32 type = filter_p->type;
    const u32 cmpOp = filter_p->cmpOp;
    const u16 takers =
        Kind::kL4 ? qirCtxt_gp->l4CmpOpBmapTbl[row][cmpOp] : qirCtxt_gp->cmpOpBmapTbl[row][cmpOp];
    if (((takers >> type) & 1u) == 0) {
        const u32 rc = QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_CMPOPSEQ);
        // UDP alone then names another code, and returns that one.
        return __is_same(Kind, UdpFilterKind) ? QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM) : rc;
    }
    FilterBlk &blk = fcb_p->filterBlk;
    const u32 offset = Kind::Entry(tag);
    u8 *const count_p = BlkBytes(blk, offset + offsetof(FilterHdrEntry<Kind::kNumTypes>, cmpOpCurCnt)) +
                        cmpOp * Kind::kNumTypes + type;
    return (Kind::kL4 ? Chk_L4FilterDepBmapTbl : Chk_FilterDepBmapTbl)(
        row, static_cast<u8>(type), CurBmapAt(blk, offset), cmpOp, count_p);
}

// The rules, then the value. What the rules recorded stays when the value is refused.
template <class Kind, u32 N>
u32 Validate(const char *fn, Fcb *fcb_p, const typename Kind::Record *filter_p, const TypeRule (&rules)[N],
             const char *what) {
    static_assert(N == Kind::kNumTypes);
    if (const u32 rc = ChkRules<Kind>(fn, fcb_p, filter_p); rc != e_RET_OK) {
        return rc;
    }
    if (QEL_NEVER(filter_p->type >= N, "the rules have refused it")) {
        QIR_ERR_AS(fn, "Unknown %s filter type <%u> \n", what, filter_p->type);
        return e_RET_OK;
    }
    return IsValueAccepted(rules[filter_p->type].value, &filter_p->val)
               ? static_cast<u32>(e_RET_OK)
               : QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM);
}

template <class Kind>
u32 StoreFilter(const char *fn, Fcb *fcb_p, const typename Kind::Record *filter_p,
                void (*fill)(const typename Kind::Record *, ReqNode *)) {
    QEL_ASSERT_AS(fn, fcb_p != nullptr, "(fcb_p != NULL)");
    QEL_ASSERT_AS(fn, filter_p != nullptr, "(filter_p != NULL)");
    if constexpr (Kind::kPerTag) {
        QEL_ASSERT_AS(fn, filter_p->toTagNum < e_VLAN_TAG_MAX, "(filter_p->toTagNum < e_VLAN_TAG_MAX)");
    }
    return StoreReq<Kind>(fcb_p, filter_p, fill);
}

template <class Kind>
u32 ValidateGet(const char *fn, const typename Kind::Record *filter_p, u8 size, const u8 *elemCount_p) {
    if (Kind::Tag(*filter_p) >= e_VLAN_TAG_MAX) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_TAGNUM);
    }
    if (filter_p->type >= Kind::kNumTypes) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_FILT);
    }
    if (elemCount_p == nullptr) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_NULL_PTR);
    }
    if (size == 0) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_PARAM);
    }
    return e_RET_OK;
}

template <class Kind>
u32 GetFilters(const Fcb *fcb_p, typename Kind::Record *filter_p, u8 size, u8 *elemCount_p) {
    const ReqNode *const reqList_p = ReqListAt(*fcb_p, fcb_p->filterBlk, Kind::Entry(Kind::Tag(*filter_p)));
    return Get_Filter(fcb_p, filter_p, filter_p->type, size, elemCount_p, reqList_p, sizeof *filter_p);
}

} // namespace

u32 Validate_Config_EthFilter(Fcb *fcb_p, const EthFilter *filter_p) {
    return Validate<EthFilterKind>(__func__, fcb_p, filter_p, kEthFilters, "eth");
}

u32 Validate_Config_VlanFilter(Fcb *fcb_p, const VlanFilter *filter_p) {
    return Validate<VlanFilterKind>(__func__, fcb_p, filter_p, kVlanFilters, "vlan");
}

u32 Validate_Config_PppoeFilter(Fcb *fcb_p, const PppoeFilter *filter_p) {
    return Validate<PppoeFilterKind>(__func__, fcb_p, filter_p, kPppoeFilters, "pppoe");
}

u32 Validate_Config_Ipv4Filter(Fcb *fcb_p, const Ipv4Filter *filter_p) {
    if (const u32 rc = Validate<Ipv4FilterKind>(__func__, fcb_p, filter_p, kIpv4Filters, "ipv4");
        rc != e_RET_OK) {
        return rc;
    }
    if (filter_p->type == e_IPV4_FILT_DSCP && filter_p->cmpOp == e_CMP_IN_RANGE) {
        const u8 first = LoadU8(&filter_p->val);
        const u8 last = LoadU8(&filter_p->val2);
        if (last >= QIR_DSCP_MAX || last < first) {
            return QIR_REFUSE(e_RET_ERR_INVALID_PARAM);
        }
    }
    return e_RET_OK;
}

u32 Validate_Config_TcpFilter(Fcb *fcb_p, const TcpFilter *filter_p) {
    return Validate<TcpFilterKind>(__func__, fcb_p, filter_p, kTcpFilters, "tcp");
}

u32 Validate_Config_UdpFilter(Fcb *fcb_p, const UdpFilter *filter_p) {
    return Validate<UdpFilterKind>(__func__, fcb_p, filter_p, kUdpFilters, "udp");
}

u32 Config_EthFilter(Fcb *fcb_p, const EthFilter *filter_p) {
    return StoreFilter<EthFilterKind>(__func__, fcb_p, filter_p, FillReq_EthFilterReqNode);
}

u32 Config_VlanFilter(Fcb *fcb_p, const VlanFilter *filter_p) {
    return StoreFilter<VlanFilterKind>(__func__, fcb_p, filter_p, FillReq_VlanFilterReqNode);
}

u32 Config_PppoeFilter(Fcb *fcb_p, const PppoeFilter *filter_p) {
    return StoreFilter<PppoeFilterKind>(__func__, fcb_p, filter_p, FillReq_PppoeFilterReqNode);
}

u32 Config_Ipv4Filter(Fcb *fcb_p, const Ipv4Filter *filter_p) {
    return StoreFilter<Ipv4FilterKind>(__func__, fcb_p, filter_p, FillReq_Ipv4FilterReqNode);
}

u32 Config_TcpFilter(Fcb *fcb_p, const TcpFilter *filter_p) {
    return StoreFilter<TcpFilterKind>(__func__, fcb_p, filter_p, FillReq_TcpFilterReqNode);
}

u32 Config_UdpFilter(Fcb *fcb_p, const UdpFilter *filter_p) {
    return StoreFilter<UdpFilterKind>(__func__, fcb_p, filter_p, FillReq_UdpFilterReqNode);
}

void FillReq_EthFilterReqNode(const EthFilter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

void FillReq_VlanFilterReqNode(const VlanFilter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

void FillReq_PppoeFilterReqNode(const PppoeFilter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

void FillReq_Ipv4FilterReqNode(const Ipv4Filter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

void FillReq_TcpFilterReqNode(const TcpFilter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

void FillReq_UdpFilterReqNode(const UdpFilter *filter_p, ReqNode *reqNode_p) {
    FillReqNode(filter_p, reqNode_p);
}

u32 Validate_Get_EthFilter(const EthFilter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<EthFilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Validate_Get_VlanFilter(const VlanFilter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<VlanFilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Validate_Get_PppoeFilter(const PppoeFilter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<PppoeFilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Validate_Get_Ipv4Filter(const Ipv4Filter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<Ipv4FilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Validate_Get_TcpFilter(const TcpFilter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<TcpFilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Validate_Get_UdpFilter(const UdpFilter *filter_p, u8 size, const u8 *elemCount_p) {
    return ValidateGet<UdpFilterKind>(__func__, filter_p, size, elemCount_p);
}

u32 Get_EthFilter(const Fcb *fcb_p, EthFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<EthFilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_VlanFilter(const Fcb *fcb_p, VlanFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<VlanFilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_PppoeFilter(const Fcb *fcb_p, PppoeFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<PppoeFilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_Ipv4Filter(const Fcb *fcb_p, Ipv4Filter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<Ipv4FilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_TcpFilter(const Fcb *fcb_p, TcpFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<TcpFilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_UdpFilter(const Fcb *fcb_p, UdpFilter *filter_p, u8 size, u8 *elemCount_p) {
    return GetFilters<UdpFilterKind>(fcb_p, filter_p, size, elemCount_p);
}

u32 Get_Filter(const Fcb *fcb_p, void *filter_p, u32 type, u8 size, u8 *elemCount_p, const ReqNode *reqList_p,
               u32 recordSize) {
    *elemCount_p = 0;
    bool overflow = false;
    WalkReqList(fcb_p, reqList_p, [&](const ReqNode *node) {
        if (node->key != type) {
            return true;
        }
        if (*elemCount_p >= size) {
            overflow = true;
            return false;
        }
        memcpy(static_cast<u8 *>(filter_p) + static_cast<size_t>(*elemCount_p) * recordSize, node->req,
               recordSize);
        ++*elemCount_p;
        return true;
    });
    return overflow ? QIR_REFUSE(e_RET_ERR_OVERFLOW) : static_cast<u32>(e_RET_OK);
}

} // namespace qir
