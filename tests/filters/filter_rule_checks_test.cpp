// The acceptance check of filters, called on its own: which types and how often, what it records, what it
// prints.
#include "qirapi/private/rules.h"
#include "tests/filters/filter_kit.h"

#include <algorithm>

namespace test {
namespace {

class FilterRuleChecks : public LibraryTest {};

using ChkFn = u32 (*)(u32, u8, u16 *, u32, u8 *);

// A row of a rule table and the header whose rules it holds.
struct ChkRow {
    const char *chk;
    ChkFn fn;
    u32 row;
    const char *header;
};

const ChkRow kRows[] = {
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 0, "Eth"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 1, "Vlan[0]"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 2, "Vlan[0]"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 3, "Vlan[0]"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 4, "Vlan[0]"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 5, "Pppoe"},
    {"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl, 7, "Ipv4"},
    {"Chk_L4FilterDepBmapTbl", qir::Chk_L4FilterDepBmapTbl, 0, "Tcp"},
    {"Chk_L4FilterDepBmapTbl", qir::Chk_L4FilterDepBmapTbl, 1, "Udp"},
};

// The check's verdict by the named rules, without the operator bitmap, which is not its business.
u32 Judge(const FilterMember &m, u32 type, u32 cmpOp, u16 *bmap, u8 *count) {
    const auto &excludedBy = m.types[type].excludedBy;
    if (std::any_of(excludedBy.begin(), excludedBy.end(),
                    [&](u32 other) { return (*bmap >> other & 1u) != 0; })) {
        return 22;
    }
    *bmap = static_cast<u16>(*bmap | (1u << type));
    if (*count >= kOperatorLimit[cmpOp]) {
        return 21;
    }
    ++*count;
    return 0;
}

// Every row, every subset of types that may be there, every type, every operator, counters around the limit.
TEST_F(FilterRuleChecks, EverySubsetOfPresentTypes) {
    Findings findings;
    const ContextSnapshot before;
    unsigned long calls = 0;
    Capture([&] {
        for (const ChkRow &row : kRows) {
            const FilterMember &m = FilterOf(row.header);
            const u32 subsets = 1u << m.NumTypes();
            for (u32 present = 0; present < subsets; ++present) {
                for (u32 at = 0; at < m.NumTypes() * e_CMP_MAX; ++at) {
                    const u32 type = at % m.NumTypes();
                    const u32 cmpOp = at / m.NumTypes();
                    for (const u8 start : {u8{0}, static_cast<u8>(kOperatorLimit[cmpOp])}) {
                        u16 bmap = static_cast<u16>(present);
                        u16 wantBmap = bmap;
                        u8 counts[3] = {0x77, start, 0x77};
                        u8 wantCount = start;
                        const u32 want = Judge(m, type, cmpOp, &wantBmap, &wantCount);
                        const u32 code = row.fn(row.row, static_cast<u8>(type), &bmap, cmpOp, &counts[1]);
                        ++calls;
                        if (code != want || bmap != wantBmap || counts[1] != wantCount || counts[0] != 0x77 ||
                            counts[2] != 0x77) {
                            findings.Add(std::string(row.chk) + " row " + std::to_string(row.row) + " type " +
                                         std::to_string(type) + " operator " + std::to_string(cmpOp) +
                                         " present " + std::to_string(present) + " counter " +
                                         std::to_string(start) + ": code " + std::to_string(code) + " for " +
                                         std::to_string(want) + ", curBmap " + std::to_string(bmap) +
                                         " for " + std::to_string(wantBmap) + ", counter " +
                                         std::to_string(counts[1]) + " for " + std::to_string(wantCount));
                        }
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, 2ul * 3 * (5 * 32 + 4 * 6 * 64 + 5 * 32 + 11 * 2048 + 7 * 128 + 2 * 4));
    EXPECT_TRUE(before.Unchanged()) << "the check changed the context";
}

TEST_F(FilterRuleChecks, CounterIsComparedWithTheOperatorsLimit) {
    struct {
        u32 cmpOp;
        u8 counter;
        u32 code;
    } const rows[] = {{0, 0, 0}, {0, 1, 21}, {0, 2, 21}, {0, 255, 21}, {1, 0, 0},    {1, 1, 0},
                      {1, 2, 0}, {1, 3, 0},  {1, 4, 21}, {1, 5, 21},   {1, 254, 21}, {1, 255, 21},
                      {2, 0, 0}, {2, 1, 21}, {2, 2, 21}, {2, 255, 21}};
    for (const auto &row : rows) {
        SCOPED_TRACE("operator " + std::to_string(row.cmpOp) + " counter " + std::to_string(row.counter));
        for (const ChkRow &chk : {kRows[0], kRows[8]}) { // Ethernet EtherType and UDP destination port
            SCOPED_TRACE(chk.chk);
            const u8 type = chk.row == 0 ? u8{e_ETH_FILT_ETHTYPE} : u8{e_UDP_FILT_DPORT};
            u16 bmap = 0;
            u8 counter = row.counter;
            u32 code = 99;
            const std::string out =
                CaptureMasked([&] { code = chk.fn(chk.row, type, &bmap, row.cmpOp, &counter); });
            EXPECT_EQ(code, row.code);
            EXPECT_EQ(bmap, 1u << type) << "the bit is set whatever the counter says";
            EXPECT_EQ(counter, row.code == 0 ? row.counter + 1 : row.counter);
            EXPECT_EQ(out, row.code == 0 ? ""
                                         : Err(chk.chk, "Invalid Cmp Op") +
                                               CodeLine(chk.chk, "e_RET_ERR_INVALID_CMPOPSEQ"));
        }
    }
}

// The limits are the table's, not the code's.
TEST_F(FilterRuleChecks, RulesAreReadFromTheTables) {
    qirCtxt_gp->cmpOpCntTbl[e_CMP_EQ] = 2;
    qirCtxt_gp->filterDepBmapTbl[0][e_ETH_FILT_SA] = 0x0010;
    qirCtxt_gp->l4FilterDepBmapTbl[1][e_UDP_FILT_DPORT] = 0x0001;
    u16 bmap = 0x0008;
    u8 counter = 1;
    EXPECT_EQ(qir::Chk_FilterDepBmapTbl(0, e_ETH_FILT_SA, &bmap, e_CMP_EQ, &counter), 0u);
    EXPECT_EQ(counter, 2u);
    bmap = 0x0018;
    u32 code = 0;
    Capture([&] { code = qir::Chk_FilterDepBmapTbl(0, e_ETH_FILT_SA, &bmap, e_CMP_EQ, &counter); });
    EXPECT_EQ(code, 22u);
    bmap = 0x0001;
    counter = 0;
    Capture([&] { code = qir::Chk_L4FilterDepBmapTbl(1, e_UDP_FILT_DPORT, &bmap, e_CMP_EQ, &counter); });
    EXPECT_EQ(code, 22u);
}

TEST_F(FilterRuleChecks, ExclusionPrintsTheCodeUnderTheChecksName) {
    for (const u32 level : {1u, 2u}) {
        RaiseLog(level);
        u16 bmap = 0x0001;
        u8 counter = 0;
        EXPECT_EQ(CaptureMasked([&] { qir::Chk_FilterDepBmapTbl(0, e_ETH_FILT_DA, &bmap, 0, &counter); }),
                  "[ERROR orxapi] Chk_FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_FILTSEQ\"\n");
        EXPECT_EQ(
            CaptureMasked([&] { qir::Chk_L4FilterDepBmapTbl(0, e_TCP_FILT_SPORT, &bmap, 0, &counter); }),
            "[ERROR orxapi] Chk_L4FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_FILTSEQ\"\n");
        EXPECT_EQ(bmap, 0x0001u);
        EXPECT_EQ(counter, 0u);
    }
}

TEST_F(FilterRuleChecks, DebugLinesOfAnAcceptedFilter) {
    RaiseLog(3);
    u16 bmap = 0x0012;
    u8 counter = 2;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_FilterDepBmapTbl(1, e_VLAN_FILT_VID, &bmap, 1, &counter); }),
              "[DBG orxapi] Chk_FilterDepBmapTbl: curBmap<0x0012> depBmap<0x0025> u16Bmap<0x0000>\n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: bmap after set<0x0032> \n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: Cnt<2> GlobalCnt<4> \n\n");
    bmap = 0x0038;
    counter = 0;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_L4FilterDepBmapTbl(0, e_TCP_FILT_SYN, &bmap, 0, &counter); }),
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: curBmap<0x0038> depBmap<0x0044> u16Bmap<0x0000>\n\n"
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: bmap after set<0x003c> \n\n"
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: Cnt<0> GlobalCnt<1> \n\n");
}

TEST_F(FilterRuleChecks, DebugLinesOfAnExcludedFilter) {
    RaiseLog(3);
    u16 bmap = 0x07FF;
    u8 counter = 0;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_FilterDepBmapTbl(7, e_IPV4_FILT_TOS, &bmap, 0, &counter); }),
              "[DBG orxapi] Chk_FilterDepBmapTbl: curBmap<0x07ff> depBmap<0x0060> u16Bmap<0x0060>\n\n"
              "[ERROR orxapi] Chk_FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_FILTSEQ\"\n");
    bmap = 0x0010;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_L4FilterDepBmapTbl(0, e_TCP_FILT_CTRL, &bmap, 0, &counter); }),
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: curBmap<0x0010> depBmap<0x007c> u16Bmap<0x0010>\n\n"
              "[ERROR orxapi] Chk_L4FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_FILTSEQ\"\n");
}

TEST_F(FilterRuleChecks, DebugLinesOfAnOperatorAtItsLimit) {
    RaiseLog(3);
    u16 bmap = 0;
    u8 counter = 4;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_FilterDepBmapTbl(7, e_IPV4_FILT_PROTO, &bmap, 1, &counter); }),
              "[DBG orxapi] Chk_FilterDepBmapTbl: curBmap<0x0000> depBmap<0x0000> u16Bmap<0x0000>\n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: bmap after set<0x0200> \n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: Cnt<4> GlobalCnt<4> \n\n"
              "[ERROR orxapi] Chk_FilterDepBmapTbl,#: Invalid Cmp Op\n"
              "[ERROR orxapi] Chk_FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_CMPOPSEQ\"\n");
    bmap = 0;
    counter = 1;
    EXPECT_EQ(CaptureMasked([&] { qir::Chk_L4FilterDepBmapTbl(1, e_UDP_FILT_DPORT, &bmap, 0, &counter); }),
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: curBmap<0x0000> depBmap<0x0002> u16Bmap<0x0000>\n\n"
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: bmap after set<0x0002> \n\n"
              "[DBG orxapi] Chk_L4FilterDepBmapTbl: Cnt<1> GlobalCnt<1> \n\n"
              "[ERROR orxapi] Chk_L4FilterDepBmapTbl,#: Invalid Cmp Op\n"
              "[ERROR orxapi] Chk_L4FilterDepBmapTbl,#: \"e_RET_ERR_INVALID_CMPOPSEQ\"\n");
}

// An excluded filter is refused before operator or counter are used, so that their assertions can be seen.
TEST_F(FilterRuleChecks, AssertionsOfOperatorAndCounter) {
    u16 bmap = 0x0003;
    u8 counter = 0;
    const struct {
        const char *chk;
        ChkFn fn;
    } checks[] = {{"Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl},
                  {"Chk_L4FilterDepBmapTbl", qir::Chk_L4FilterDepBmapTbl}};
    for (const auto &check : checks) {
        SCOPED_TRACE(check.chk);
        const std::string refused = CodeLine(check.chk, "e_RET_ERR_INVALID_FILTSEQ");
        u32 code = 0;
        EXPECT_EQ(CaptureMasked([&] { code = check.fn(0, 0, &bmap, e_CMP_MAX, &counter); }),
                  Assertion("qirapi_private", check.chk, "(cmpOp < e_CMP_MAX)") + refused);
        EXPECT_EQ(code, 22u);
        EXPECT_EQ(CaptureMasked([&] { code = check.fn(0, 0, &bmap, e_CMP_EQ, nullptr); }),
                  Assertion("qirapi_private", check.chk, "(cmpOpCurCnt_p != NULL)") + refused);
        EXPECT_EQ(code, 22u);
        EXPECT_EQ(CaptureMasked([&] { code = check.fn(0, 0, &bmap, 7, nullptr); }),
                  Assertion("qirapi_private", check.chk, "(cmpOp < e_CMP_MAX)") +
                      Assertion("qirapi_private", check.chk, "(cmpOpCurCnt_p != NULL)") + refused);
        EXPECT_EQ(code, 22u);
        EXPECT_EQ(bmap, 0x0003u);
    }
}

} // namespace
} // namespace test
