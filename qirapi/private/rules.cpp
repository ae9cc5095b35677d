#include "qirapi/private/rules.h"

#include "log/never.h"
#include "qirapi/access/request_kinds.h"
#include "qirapi/private/report.h"
#include "qirapi/private/rule_tables.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

constexpr u32 kVlanHdrs = e_FLOWHDR_VLAN3 - e_FLOWHDR_VLAN0 + 1;

// What a table of the context holds in the rows `firstHdr` to `lastHdr`, the same in each of them: a bitmap
// per type or operator. The table's dump shows the first of these rows.
struct RuleSet {
    u32 firstHdr;
    u32 lastHdr;
    const char *what; // names type or operator in the message about one without a rule
    u32 numIndexes;   // types, or operators
    u32 numRules;
    u16 bmaps[QIR_HDR_FILT_MAX];
    const char *label = nullptr;
    u32 firstShown = 0;
    u32 endShown = 0;
};

// A row that is missing or misplaced does not compile.
template <class Kind, const auto &Rules> constexpr RuleSet EmptySet(const char *what) {
    static_assert(HasRowForEach(Rules, Kind::kNumTypes, &TypeRule::type), "a row per type, in their order");
    return {Kind::Row(0), Kind::Row(Kind::kPerTag ? kVlanHdrs - 1 : 0), what, 0, 0, {}};
}

// For each operator the types that take it.
template <class Kind, const auto &Rules> constexpr RuleSet Takers(const char *what) {
    RuleSet set = EmptySet<Kind, Rules>(what);
    set.numIndexes = e_CMP_MAX;
    for (const CmpOp &op : kCmpOps) {
        for (const TypeRule &rule : Rules) {
            if ((rule.cmpOps & Types(op.cmpOp)) != 0) {
                set.bmaps[op.cmpOp] |= Types(rule.type);
            }
        }
        ++set.numRules;
    }
    return set;
}

// For each type the types that exclude it.
template <class Kind, const auto &Rules>
constexpr RuleSet Exclusions(const char *what, const char *label, u32 firstShown = 0) {
    RuleSet set = EmptySet<Kind, Rules>(what);
    set.numIndexes = Kind::kNumTypes;
    for (const TypeRule &rule : Rules) {
        set.bmaps[rule.type] = rule.excludedBy;
        ++set.numRules;
    }
    set.label = label;
    set.firstShown = firstShown;
    set.endShown = Kind::kNumTypes;
    return set;
}

// MPLS has no rules: its row keeps the fill, of which dumps show three entries.
constexpr RuleSet kMplsSet = {e_FLOWHDR_MPLS, e_FLOWHDR_MPLS, "", 0, 0, {}, "MPLS  <6>", 0, 3};

constexpr RuleSet kCmpOpSets[] = {
    Takers<EthFilterKind, kEthFilters>("eth filter cmpOp"),
    Takers<VlanFilterKind, kVlanFilters>("vlan filter cmpOp"),
    Takers<PppoeFilterKind, kPppoeFilters>("PPPoE filter cmpOp"),
    kMplsSet,
    Takers<Ipv4FilterKind, kIpv4Filters>("IPv4 filter cmpOp"),
};
constexpr RuleSet kL4CmpOpSets[] = {
    Takers<TcpFilterKind, kTcpFilters>("TCP filter cmpOp"),
    Takers<UdpFilterKind, kUdpFilters>("UDP filter cmpOp"),
};

constexpr RuleSet kFilterSets[] = {
    Exclusions<EthFilterKind, kEthFilters>("eth filter type", "ETH   <0>"),
    Exclusions<VlanFilterKind, kVlanFilters>("vlan filter type", "VLAN1 <1>"),
    Exclusions<PppoeFilterKind, kPppoeFilters>("eth filter type", "PPPOE <5>"), // shares the Ethernet message
    kMplsSet,
    Exclusions<Ipv4FilterKind, kIpv4Filters>("IPv4 filter type", "IPv4  <7>"),
};
constexpr RuleSet kL4FilterSets[] = {
    Exclusions<TcpFilterKind, kTcpFilters>("TCP filter type", "TCP   <0>"),
    Exclusions<UdpFilterKind, kUdpFilters>("UDP filter type", "UDP   <1>"),
};

constexpr RuleSet kActionSets[] = {
    Exclusions<EthActionKind, kEthActions>("eth action type", "ETH   <0>"),
    Exclusions<VlanActionKind, kVlanActions>("vlan action type", "VLAN1 <1>"),
    Exclusions<PppoeActionKind, kPppoeActions>("PPPoE action type", "PPPOE <5>"),
    kMplsSet,
    // The dump leaves out the first type.
    Exclusions<Ipv4ActionKind, kIpv4Actions>("IPv4 action type", "IPv4  <7>", e_IPV4_ACTION_SA),
};
constexpr RuleSet kL4ActionSets[] = {
    Exclusions<TcpActionKind, kTcpActions>("TCP action type", "TCP   <0>"),
    Exclusions<UdpActionKind, kUdpActions>("UDP action type", "UDP   <1>"),
};

// Do the sets cover each header of a table once, in their order?
template <u32 N> constexpr bool CoverEachHdr(const RuleSet (&sets)[N], u32 numHdrs) {
    u32 hdr = 0;
    for (const RuleSet &set : sets) {
        if (set.firstHdr != hdr) {
            return false;
        }
        hdr = set.lastHdr + 1;
    }
    return hdr == numHdrs;
}

// Fills a table and writes the rules over the fill.
template <const auto &Sets, class Row, u32 NumHdrs> void FillTable(const char *fn, Row (&table)[NumHdrs]) {
    static_assert(CoverEachHdr(Sets, NumHdrs), "each header has its set, in their order");
    memset(table, kFillByte, sizeof table);
    for (const RuleSet &set : Sets) {
        for (u32 hdr = set.firstHdr; hdr <= set.lastHdr; ++hdr) {
            for (u32 index = 0; index < set.numIndexes; ++index) {
                if (QEL_NEVER(index >= set.numRules, "each index has its rule")) {
                    QIR_ERR_AS(fn, "Unknown %s <%u> \n", set.what, index);
                    continue;
                }
                table[hdr][index] = set.bmaps[index];
            }
        }
    }
}

// Asserts, in the caller's name, that a table of the context has an address.
void AssertIsThere(const char *fn, const void *table, const char *text) {
    QEL_ASSERT_AS(fn, !QEL_NEVER(table == nullptr, "the context is an object of the process"), text);
}

u32 ChkFilterDep(const char *fn, u16 depBmap, u8 type, u16 *curBmap_p, u32 cmpOp, u8 *cmpOpCurCnt_p) {
    const u32 excluded = *curBmap_p & depBmap;
    QIR_DBG_AS(fn, "curBmap<0x%.4x> depBmap<0x%.4x> u16Bmap<0x%.4x>\n\n", *curBmap_p, depBmap, excluded);
    if (excluded != 0) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_FILTSEQ);
    }
    *curBmap_p = static_cast<u16>(*curBmap_p | (1u << type));
    QIR_DBG_AS(fn, "bmap after set<0x%.4x> \n\n", *curBmap_p);
    const u8 limit = qirCtxt_gp->cmpOpCntTbl[cmpOp];
    QIR_DBG_AS(fn, "Cnt<%u> GlobalCnt<%u> \n\n", *cmpOpCurCnt_p, limit);
    if (*cmpOpCurCnt_p >= limit) {
        // The type's bit stays set.
        QIR_ERR_AS(fn, "Invalid Cmp Op\n");
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_CMPOPSEQ);
    }
    ++*cmpOpCurCnt_p;
    return e_RET_OK;
}

u32 ChkActionDep(const char *fn, u16 depBmap, u8 type, u16 *curBmap_p) {
    const u32 excluded = *curBmap_p & depBmap;
    QIR_DBG_AS(fn, "curBmap<0x%.4x> depBmap<0x%.4x> u16Bmap<0x%.4x>\n\n", *curBmap_p, depBmap, excluded);
    if (excluded != 0) {
        return QIR_REFUSE_AS(fn, e_RET_ERR_INVALID_ACTIONSEQ);
    }
    *curBmap_p = static_cast<u16>(*curBmap_p | (1u << type));
    QIR_DBG_AS(fn, "bmap after set<0x%.4x> \n\n", *curBmap_p);
    return e_RET_OK;
}

void AssertRequest(const char *fn, u8 type, const u16 *curBmap_p) {
    QEL_ASSERT_AS(fn, type < QIR_HDR_FILT_MAX, "(type < QIR_HDR_FILT_MAX)");
    QEL_ASSERT_AS(fn, curBmap_p != nullptr, "(curBmap_p != NULL)");
}

void AssertOperator(const char *fn, u32 cmpOp, const u8 *cmpOpCurCnt_p) {
    QEL_ASSERT_AS(fn, cmpOp < e_CMP_MAX, "(cmpOp < e_CMP_MAX)");
    QEL_ASSERT_AS(fn, cmpOpCurCnt_p != nullptr, "(cmpOpCurCnt_p != NULL)");
}

template <const auto &Sets, u32 NumHdrs>
void DumpDepTable(const char *title, const u16 (&table)[NumHdrs][QIR_HDR_FILT_MAX]) {
    puts(title);
    puts("Hdr                         Type");
    for (const RuleSet &set : Sets) {
        printf("\n%s", set.label);
        for (u32 type = set.firstShown; type < set.endShown; ++type) {
            printf(" <0x%.4x>", table[set.firstHdr][type]);
        }
    }
    putchar('\n');
    puts("----------------------------------------------");
}

} // namespace

void Init_CmpOpCntTbl() {
    AssertIsThere(__func__, qirCtxt_gp->cmpOpCntTbl, "(qirCtxt_gp->cmpOpCntTbl != NULL)");
    memset(qirCtxt_gp->cmpOpCntTbl, kFillByte, sizeof qirCtxt_gp->cmpOpCntTbl);
    for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
        if (QEL_NEVER(kCmpOps[cmpOp].cmpOp != cmpOp, "each operator has its row")) {
            QIR_ERR("Unknown cmpOp <%u> \n", cmpOp);
            continue;
        }
        qirCtxt_gp->cmpOpCntTbl[cmpOp] = kCmpOps[cmpOp].limit;
    }
}

void Init_CmpOpChkTbl() {
    AssertIsThere(__func__, qirCtxt_gp->cmpOpBmapTbl, "(qirCtxt_gp->cmpOpBmapTbl != NULL)");
    FillTable<kCmpOpSets>(__func__, qirCtxt_gp->cmpOpBmapTbl);
}

void Init_L4CmpOpChkTbl() {
    AssertIsThere(__func__, qirCtxt_gp->l4CmpOpBmapTbl, "(qirCtxt_gp->l4CmpOpBmapTbl != NULL)");
    FillTable<kL4CmpOpSets>(__func__, qirCtxt_gp->l4CmpOpBmapTbl);
}

void Init_FilterDepBmapTbl() {
    AssertIsThere(__func__, qirCtxt_gp->filterDepBmapTbl, "(qirCtxt_gp->filterDepBmapTbl != NULL)");
    FillTable<kFilterSets>(__func__, qirCtxt_gp->filterDepBmapTbl);
}

void Init_L4FilterDepBmapTbl() {
    FillTable<kL4FilterSets>(__func__, qirCtxt_gp->l4FilterDepBmapTbl);
}

void Init_ActionDepBmapTbl() {
    FillTable<kActionSets>(__func__, qirCtxt_gp->actionDepBmapTbl);
}

void Init_L4ActionDepBmapTbl() {
    FillTable<kL4ActionSets>(__func__, qirCtxt_gp->l4ActionDepBmapTbl);
}

u32 Chk_FilterDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p, u32 cmpOp, u8 *cmpOpCurCnt_p) {
    QEL_ASSERT(hdr < e_FLOWHDR_MAX, "(hdr < e_FLOWHDR_MAX)");
    AssertRequest(__func__, type, curBmap_p);
    AssertOperator(__func__, cmpOp, cmpOpCurCnt_p);
    return ChkFilterDep(__func__, qirCtxt_gp->filterDepBmapTbl[hdr][type], type, curBmap_p, cmpOp,
                        cmpOpCurCnt_p);
}

u32 Chk_L4FilterDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p, u32 cmpOp, u8 *cmpOpCurCnt_p) {
    QEL_ASSERT(hdr < e_L4FLOWHDR_MAX, "(hdr < e_L4FLOWHDR_MAX)");
    AssertRequest(__func__, type, curBmap_p);
    AssertOperator(__func__, cmpOp, cmpOpCurCnt_p);
    return ChkFilterDep(__func__, qirCtxt_gp->l4FilterDepBmapTbl[hdr][type], type, curBmap_p, cmpOp,
                        cmpOpCurCnt_p);
}

u32 Chk_ActionDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p) {
    QEL_ASSERT(hdr < e_FLOWHDR_MAX, "(hdr < e_FLOWHDR_MAX)");
    AssertRequest(__func__, type, curBmap_p);
    return ChkActionDep(__func__, qirCtxt_gp->actionDepBmapTbl[hdr][type], type, curBmap_p);
}

u32 Chk_L4ActionDepBmapTbl(u32 hdr, u8 type, u16 *curBmap_p) {
    QEL_ASSERT(hdr < e_L4FLOWHDR_MAX, "(hdr < e_L4FLOWHDR_MAX)");
    AssertRequest(__func__, type, curBmap_p);
    return ChkActionDep(__func__, qirCtxt_gp->l4ActionDepBmapTbl[hdr][type], type, curBmap_p);
}

void Dump_CmpOp(u32 cmpOp) {
    QEL_ASSERT(cmpOp < e_CMP_MAX, "(cmpOp < e_CMP_MAX)");
    printf("cmpOp");
    if (cmpOp < e_CMP_MAX) {
        printf("<%s>", kCmpOps[cmpOp].name);
    } else {
        QIR_ERR("Unknown cmpOp <%u>\n", cmpOp);
    }
    puts(", ");
}

void Dump_FilterDepBmapTbl() {
    DumpDepTable<kFilterSets>("--------- Filter Dep Bitmap Table ------------", qirCtxt_gp->filterDepBmapTbl);
}

void Dump_L4FilterDepBmapTbl() {
    DumpDepTable<kL4FilterSets>("--------- L4Filter Dep Bitmap Table ------------",
                                qirCtxt_gp->l4FilterDepBmapTbl);
}

void Dump_ActionDepBmapTbl() {
    DumpDepTable<kActionSets>("--------- Action Dep Bitmap Table ------------", qirCtxt_gp->actionDepBmapTbl);
}

void Dump_L4ActionDepBmapTbl() {
    DumpDepTable<kL4ActionSets>("--------- L4Action Dep Bitmap Table ------------",
                                qirCtxt_gp->l4ActionDepBmapTbl);
}

} // namespace qir
