#include "qirapi/private/rules.h"

#include "log/never.h"
#include "qirapi/private/report.h"
#include "qirapi/private/rule_tables.h"

#include <stdio.h>
#include <string.h>

namespace qir {

namespace {

const Rule *FindRule(const RuleSet &set, u32 index) {
    for (u32 i = 0; !QEL_NEVER(i == set.numRules, "every index has a rule"); ++i) {
        if (set.rules[i].index == index) {
            return &set.rules[i];
        }
    }
    return nullptr;
}

// Fills a table and writes the rows of the rule sets; what they do not name keeps the fill.
template <u32 NumSets, class Row, u32 NumRows>
void FillTable(const char *fn, const RuleSet (&sets)[NumSets], Row (&table)[NumRows]) {
    memset(table, kFillByte, sizeof table);
    for (const RuleSet &set : sets) {
        for (u32 hdr = set.firstHdr; hdr <= set.lastHdr; ++hdr) {
            for (u32 index = 0; index < set.numIndexes; ++index) {
                if (const Rule *rule = FindRule(set, index);
                    !QEL_NEVER(rule == nullptr, "every index has a rule")) {
                    table[hdr][index] = rule->bmap;
                } else {
                    QIR_ERR_AS(fn, "Unknown %s <%u> \n", set.what, index);
                }
            }
        }
    }
}

// Asserts that a table, which is part of the context, has an address; in the name of the caller.
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

// One row of a dependency table's dump: its label, the table's row and the types shown.
struct DumpRow {
    const char *label;
    u32 hdr;
    u32 firstType;
    u32 endType;
};

template <u32 NumHdrs, u32 NumRows>
void DumpDepTable(const char *title, const u16 (&table)[NumHdrs][QIR_HDR_FILT_MAX],
                  const DumpRow (&rows)[NumRows]) {
    puts(title);
    puts("Hdr                         Type");
    for (const DumpRow &row : rows) {
        printf("\n%s", row.label);
        for (u32 type = row.firstType; type < row.endType; ++type) {
            printf(" <0x%.4x>", table[row.hdr][type]);
        }
    }
    putchar('\n');
    puts("----------------------------------------------");
}

// Of the four VLAN rows only the first is shown; the MPLS row shows three entries of the fill.
constexpr DumpRow kFilterDumpRows[] = {
    {"ETH   <0>", e_FLOWHDR_ETH, 0, e_ETH_FILT_MAX},     {"VLAN1 <1>", e_FLOWHDR_VLAN0, 0, e_VLAN_FILT_MAX},
    {"PPPOE <5>", e_FLOWHDR_PPPOE, 0, e_PPPOE_FILT_MAX}, {"MPLS  <6>", e_FLOWHDR_MPLS, 0, 3},
    {"IPv4  <7>", e_FLOWHDR_IPV4, 0, e_IPV4_FILT_MAX},
};
constexpr DumpRow kL4FilterDumpRows[] = {
    {"TCP   <0>", e_L4FLOWHDR_TCP, 0, e_TCP_FILT_MAX},
    {"UDP   <1>", e_L4FLOWHDR_UDP, 0, e_UDP_FILT_MAX},
};
constexpr DumpRow kActionDumpRows[] = {
    {"ETH   <0>", e_FLOWHDR_ETH, 0, e_ETH_ACTION_MAX},
    {"VLAN1 <1>", e_FLOWHDR_VLAN0, 0, e_VLAN_ACTION_MAX},
    {"PPPOE <5>", e_FLOWHDR_PPPOE, 0, e_PPPOE_ACTION_MAX},
    {"MPLS  <6>", e_FLOWHDR_MPLS, 0, 3},
    {"IPv4  <7>", e_FLOWHDR_IPV4, e_IPV4_ACTION_SA, e_IPV4_ACTION_MAX}, // the first type is left out
};
constexpr DumpRow kL4ActionDumpRows[] = {
    {"TCP   <0>", e_L4FLOWHDR_TCP, 0, e_TCP_ACTION_MAX},
    {"UDP   <1>", e_L4FLOWHDR_UDP, 0, e_UDP_ACTION_MAX},
};

} // namespace

void Init_CmpOpCntTbl() {
    AssertIsThere(__func__, qirCtxt_gp->cmpOpCntTbl, "(qirCtxt_gp->cmpOpCntTbl != NULL)");
    memset(qirCtxt_gp->cmpOpCntTbl, kFillByte, sizeof qirCtxt_gp->cmpOpCntTbl);
    for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
        bool found = false;
        for (const CmpOpLimit &row : kCmpOpLimits) {
            if (row.cmpOp == cmpOp) {
                qirCtxt_gp->cmpOpCntTbl[cmpOp] = row.limit;
                found = true;
            }
        }
        if (QEL_NEVER(!found, "every operator has a limit")) {
            QIR_ERR("Unknown cmpOp <%u> \n", cmpOp);
        }
    }
}

void Init_CmpOpChkTbl() {
    AssertIsThere(__func__, qirCtxt_gp->cmpOpBmapTbl, "(qirCtxt_gp->cmpOpBmapTbl != NULL)");
    FillTable(__func__, kCmpOpRules, qirCtxt_gp->cmpOpBmapTbl);
}

void Init_L4CmpOpChkTbl() {
    AssertIsThere(__func__, qirCtxt_gp->l4CmpOpBmapTbl, "(qirCtxt_gp->l4CmpOpBmapTbl != NULL)");
    FillTable(__func__, kL4CmpOpRules, qirCtxt_gp->l4CmpOpBmapTbl);
}

void Init_FilterDepBmapTbl() {
    AssertIsThere(__func__, qirCtxt_gp->filterDepBmapTbl, "(qirCtxt_gp->filterDepBmapTbl != NULL)");
    FillTable(__func__, kFilterDepRules, qirCtxt_gp->filterDepBmapTbl);
}

void Init_L4FilterDepBmapTbl() {
    FillTable(__func__, kL4FilterDepRules, qirCtxt_gp->l4FilterDepBmapTbl);
}

void Init_ActionDepBmapTbl() {
    FillTable(__func__, kActionDepRules, qirCtxt_gp->actionDepBmapTbl);
}

void Init_L4ActionDepBmapTbl() {
    FillTable(__func__, kL4ActionDepRules, qirCtxt_gp->l4ActionDepBmapTbl);
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
    switch (cmpOp) {
    case e_CMP_EQ:
        printf("<e_CMP_EQ>");
        break;
    case e_CMP_NEQ:
        printf("<e_CMP_NEQ>");
        break;
    case e_CMP_IN_RANGE:
        printf("<e_CMP_IN_RANGE>");
        break;
    default:
        QIR_ERR("Unknown cmpOp <%u>\n", cmpOp);
        break;
    }
    puts(", ");
}

void Dump_FilterDepBmapTbl() {
    DumpDepTable("--------- Filter Dep Bitmap Table ------------", qirCtxt_gp->filterDepBmapTbl,
                 kFilterDumpRows);
}

void Dump_L4FilterDepBmapTbl() {
    DumpDepTable("--------- L4Filter Dep Bitmap Table ------------", qirCtxt_gp->l4FilterDepBmapTbl,
                 kL4FilterDumpRows);
}

void Dump_ActionDepBmapTbl() {
    DumpDepTable("--------- Action Dep Bitmap Table ------------", qirCtxt_gp->actionDepBmapTbl,
                 kActionDumpRows);
}

void Dump_L4ActionDepBmapTbl() {
    DumpDepTable("--------- L4Action Dep Bitmap Table ------------", qirCtxt_gp->l4ActionDepBmapTbl,
                 kL4ActionDumpRows);
}

} // namespace qir
