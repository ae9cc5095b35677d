// What a header accepts beside what it holds: the rule tables, the check on its own, and all combinations of
// requests through the operations.
#include "qirapi/private/rules.h"
#include "tests/requests/request_kit.h"

#include <algorithm>

namespace test {
namespace {

class Rules : public RequestTest {};

// ---- tables ---------------------------------------------------------------------------------------

constexpr u16 kFill = 0xA5A5;

// The row of a table as the named rules say it; entries that they do not name keep the fill.
std::vector<u16> Exclusions(const Member &m) {
    std::vector<u16> row(QIR_HDR_FILT_MAX, kFill);
    for (u32 type = 0; type < m.NumTypes(); ++type) {
        row[type] = 0;
        for (const u32 other : m.types[type].excludedBy) {
            row[type] = static_cast<u16>(row[type] | (1u << other));
        }
    }
    return row;
}

std::vector<u16> Operators(const Member &m) {
    std::vector<u16> row(e_CMP_MAX, 0);
    for (u32 at = 0; at < m.NumTypes() * e_CMP_MAX; ++at) {
        const u32 type = at % m.NumTypes();
        const u32 cmpOp = at / m.NumTypes();
        row[cmpOp] = static_cast<u16>(row[cmpOp] | ((m.types[type].operators >> cmpOp & 1u) << type));
    }
    return row;
}

template <std::size_t Columns> std::vector<u16> RowOf(const u16 (&row)[Columns]) {
    return {row, row + Columns};
}

// VLAN tags 2 and 3, which no operation takes, have the rules of the others.
TEST_F(Rules, StartUpFillsTheTables) {
    const qir::QirCtxt &ctxt = *qirCtxt_gp;
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        for (u32 row = m.row; row <= (m.IsVlan() ? 4 : m.row); ++row) {
            const auto &dep = m.isFilter ? ctxt.filterDepBmapTbl : ctxt.actionDepBmapTbl;
            const auto &l4Dep = m.isFilter ? ctxt.l4FilterDepBmapTbl : ctxt.l4ActionDepBmapTbl;
            EXPECT_EQ(RowOf(m.IsL4() ? l4Dep[row] : dep[row]), Exclusions(m)) << "row " << row;
            if (m.isFilter) {
                EXPECT_EQ(RowOf(m.IsL4() ? ctxt.l4CmpOpBmapTbl[row] : ctxt.cmpOpBmapTbl[row]), Operators(m));
            }
        }
    }
    EXPECT_EQ(RowOf(ctxt.filterDepBmapTbl[e_FLOWHDR_MPLS]), std::vector<u16>(QIR_HDR_FILT_MAX, kFill));
    EXPECT_EQ(RowOf(ctxt.actionDepBmapTbl[e_FLOWHDR_MPLS]), std::vector<u16>(QIR_HDR_FILT_MAX, kFill));
    EXPECT_EQ(RowOf(ctxt.cmpOpBmapTbl[e_FLOWHDR_MPLS]), std::vector<u16>(e_CMP_MAX, kFill));
    for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
        EXPECT_EQ(ctxt.cmpOpCntTbl[cmpOp], kOperatorLimit[cmpOp]);
    }
}

std::string DumpsOfTables() {
    return Capture([] {
        qir::Dump_FilterDepBmapTbl();
        qir::Dump_L4FilterDepBmapTbl();
        qir::Dump_ActionDepBmapTbl();
        qir::Dump_L4ActionDepBmapTbl();
    });
}

// They print what the tables hold, at every log level. Type 0 of the IPv4 actions is left out.
TEST_F(Rules, DumpsOfTheTables) {
    const char *const expected =
        "--------- Filter Dep Bitmap Table ------------\n"
        "Hdr                         Type\n"
        "\n"
        "ETH   <0> <0x0007> <0x0007> <0x0007> <0x0008> <0x0000>\n"
        "VLAN1 <1> <0x003f> <0x0003> <0x003d> <0x000d> <0x0015> <0x0025>\n"
        "PPPOE <5> <0x0001> <0x0002> <0x0004> <0x0008> <0x0010>\n"
        "MPLS  <6> <0xa5a5> <0xa5a5> <0xa5a5>\n"
        "IPv4  <7> <0x0001> <0x0002> <0x0004> <0x0018> <0x0018> <0x0060> <0x0060> <0x0080> <0x0100> "
        "<0x0000> <0x0400>\n"
        "----------------------------------------------\n"
        "--------- L4Filter Dep Bitmap Table ------------\n"
        "Hdr                         Type\n"
        "\n"
        "TCP   <0> <0x0001> <0x0002> <0x0044> <0x0048> <0x0050> <0x0060> <0x007c>\n"
        "UDP   <1> <0x0001> <0x0002>\n"
        "----------------------------------------------\n"
        "--------- Action Dep Bitmap Table ------------\n"
        "Hdr                         Type\n"
        "\n"
        "ETH   <0> <0x0001> <0x0002> <0x0004> <0x0000> <0x0000>\n"
        "VLAN1 <1> <0x3fff> <0x00c3> <0x3f7d> <0x334d> <0x0955> <0x0565> <0x3fff> <0x00c3> <0x3f7d> "
        "<0x334d> <0x0565> <0x0955> <0x334d> <0x334d>\n"
        "PPPOE <5> <0x0001>\n"
        "MPLS  <6> <0xa5a5> <0xa5a5> <0xa5a5>\n"
        "IPv4  <7> <0x0002> <0x000c> <0x000c>\n"
        "----------------------------------------------\n"
        "--------- L4Action Dep Bitmap Table ------------\n"
        "Hdr                         Type\n"
        "\n"
        "TCP   <0> <0x0001> <0x0002>\n"
        "UDP   <1> <0x0001> <0x0002>\n"
        "----------------------------------------------\n";
    for (const u32 level : {0u, 1u, 3u}) {
        qelLog_setGlobalLogLevel(level);
        RaiseLog(level);
        EXPECT_EQ(DumpsOfTables(), expected);
    }
    qirCtxt_gp->filterDepBmapTbl[1][0] = 0x1234;
    qirCtxt_gp->l4FilterDepBmapTbl[1][1] = 0x8765;
    qirCtxt_gp->actionDepBmapTbl[1][13] = 0xBEEF;
    qirCtxt_gp->actionDepBmapTbl[7][0] = 0x7777;
    qirCtxt_gp->l4ActionDepBmapTbl[1][1] = 0x4321;
    const std::string dumps = DumpsOfTables();
    for (const char *line : {"\nVLAN1 <1> <0x1234> <0x0003>", "\nUDP   <1> <0x0001> <0x8765>\n",
                             "<0x334d> <0xbeef>\nPPPOE", "\nUDP   <1> <0x0001> <0x4321>\n"}) {
        EXPECT_NE(dumps.find(line), std::string::npos) << line << dumps;
    }
    EXPECT_EQ(dumps.find("0x7777"), std::string::npos) << dumps;
}

TEST_F(Rules, DumpOfTheOperators) {
    const auto dump = [](u32 cmpOp) { return CaptureMasked([&] { qir::Dump_CmpOp(cmpOp); }); };
    EXPECT_EQ(dump(e_CMP_EQ), "cmpOp<e_CMP_EQ>, \n");
    EXPECT_EQ(dump(e_CMP_NEQ), "cmpOp<e_CMP_NEQ>, \n");
    EXPECT_EQ(dump(e_CMP_IN_RANGE), "cmpOp<e_CMP_IN_RANGE>, \n");
    for (const u32 cmpOp : {3u, 4u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(dump(cmpOp), Assertion("qirapi_private", "Dump_CmpOp", "(cmpOp < e_CMP_MAX)") + "cmpOp" +
                                   Err("Dump_CmpOp", "Unknown cmpOp <" + std::to_string(cmpOp) + ">") +
                                   ", \n");
    }
}

// ---- the check on its own -------------------------------------------------------------------------

TEST_F(Rules, AreReadFromTheTables) {
    qirCtxt_gp->cmpOpCntTbl[e_CMP_EQ] = 2;
    qirCtxt_gp->filterDepBmapTbl[0][e_ETH_FILT_SA] = 0x0010;
    qirCtxt_gp->l4FilterDepBmapTbl[1][e_UDP_FILT_DPORT] = 0x0001;
    qirCtxt_gp->actionDepBmapTbl[0][e_ETH_ACTION_DA] = 0x8000;
    qirCtxt_gp->l4ActionDepBmapTbl[0][e_TCP_ACTION_SPORT] = 0x0002;
    const struct {
        const char *member;
        u32 type;
        u16 present;
        u8 counter;
        u32 code;
    } rows[] = {{"EthFilter", e_ETH_FILT_SA, 0x0008, 1, 0},
                {"EthFilter", e_ETH_FILT_SA, 0x0018, 0, 22},
                {"UdpFilter", e_UDP_FILT_DPORT, 0x0001, 0, 22},
                {"EthAction", e_ETH_ACTION_DA, 0x0001, 0, 0},
                {"TcpAction", e_TCP_ACTION_SPORT, 0x0002, 0, 23}};
    for (const auto &row : rows) {
        const Member &m = Of(row.member);
        Restore(m);
        m.Entry(fcb_)->curBmap = row.present;
        if (m.isFilter) {
            *m.Counter(fcb_, e_CMP_EQ, row.type) = row.counter;
        }
        EXPECT_EQ(QuietConfig(m, Good(m, row.type)), row.code) << row.member;
    }
}

using ChkFilter = u32 (*)(u32, u8, u16 *, u32, u8 *);
using ChkAction = u32 (*)(u32, u8, u16 *);

// The bit is set whatever the counter says.
TEST_F(Rules, CounterIsComparedWithTheOperatorsLimit) {
    for (const char *label : {"EthFilter", "UdpFilter"}) {
        const Member &m = Of(label);
        const u32 type = m.NumTypes() - 1;
        const ChkFilter chk = m.IsL4() ? qir::Chk_L4FilterDepBmapTbl : qir::Chk_FilterDepBmapTbl;
        for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
            for (unsigned start = 0; start <= 255; ++start) {
                u16 bmap = 0;
                u8 counter = static_cast<u8>(start);
                const bool full = start >= kOperatorLimit[cmpOp];
                const Outcome is =
                    Run([&] { return chk(m.row, static_cast<u8>(type), &bmap, cmpOp, &counter); });
                EXPECT_EQ(is.code, full ? 21u : 0u) << "operator " << cmpOp << " counter " << start;
                EXPECT_EQ(is.lines, full ? Err(m.Chk(), "Invalid Cmp Op") + Code(m.Chk(), 21) : "");
                EXPECT_EQ(bmap, 1u << type);
                EXPECT_EQ(counter, full ? start : start + 1);
            }
        }
    }
}

// An excluded filter is refused before operator or counter are used, so that their assertions can be seen.
TEST_F(Rules, AssertionsOfOperatorAndCounter) {
    const auto check = [](const char *name, ChkFilter chk) {
        u16 bmap = 0x0003;
        u8 counter = 0;
        const std::string badOp = Assertion("qirapi_private", name, "(cmpOp < e_CMP_MAX)");
        const std::string noCounter = Assertion("qirapi_private", name, "(cmpOpCurCnt_p != NULL)");
        const auto lines = [&](u32 cmpOp, u8 *count) {
            return Run([&] { return chk(0, 0, &bmap, cmpOp, count); }).lines;
        };
        EXPECT_EQ(lines(e_CMP_MAX, &counter), badOp + Code(name, 22));
        EXPECT_EQ(lines(e_CMP_EQ, nullptr), noCounter + Code(name, 22));
        EXPECT_EQ(lines(7, nullptr), badOp + noCounter + Code(name, 22));
        EXPECT_EQ(bmap, 0x0003u);
    };
    check("Chk_FilterDepBmapTbl", qir::Chk_FilterDepBmapTbl);
    check("Chk_L4FilterDepBmapTbl", qir::Chk_L4FilterDepBmapTbl);
}

TEST_F(Rules, DebugLinesOfTheCheck) {
    RaiseLog(3);
    const auto filter = [](ChkFilter chk, u32 row, u8 type, u16 bmap, u32 cmpOp, u8 counter) {
        return CaptureMasked([&] { chk(row, type, &bmap, cmpOp, &counter); });
    };
    const auto action = [](ChkAction chk, u32 row, u8 type, u16 bmap) {
        return CaptureMasked([&] { chk(row, type, &bmap); });
    };
    std::string fn = "Chk_FilterDepBmapTbl";
    EXPECT_EQ(filter(qir::Chk_FilterDepBmapTbl, 1, e_VLAN_FILT_VID, 0x0012, e_CMP_NEQ, 2),
              "[DBG orxapi] Chk_FilterDepBmapTbl: curBmap<0x0012> depBmap<0x0025> u16Bmap<0x0000>\n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: bmap after set<0x0032> \n\n"
              "[DBG orxapi] Chk_FilterDepBmapTbl: Cnt<2> GlobalCnt<4> \n\n");
    EXPECT_EQ(filter(qir::Chk_FilterDepBmapTbl, 7, e_IPV4_FILT_TOS, 0x07FF, e_CMP_EQ, 0),
              Dbg(fn, "curBmap<0x07ff> depBmap<0x0060> u16Bmap<0x0060>\n") + Code(fn, 22));
    EXPECT_EQ(filter(qir::Chk_FilterDepBmapTbl, 7, e_IPV4_FILT_PROTO, 0, e_CMP_NEQ, 4),
              Dbg(fn, "curBmap<0x0000> depBmap<0x0000> u16Bmap<0x0000>\n") +
                  Dbg(fn, "bmap after set<0x0200> \n") + Dbg(fn, "Cnt<4> GlobalCnt<4> \n") +
                  Err(fn, "Invalid Cmp Op") + Code(fn, 21));
    fn = "Chk_L4FilterDepBmapTbl";
    EXPECT_EQ(filter(qir::Chk_L4FilterDepBmapTbl, 0, e_TCP_FILT_CTRL, 0x0010, e_CMP_EQ, 0),
              Dbg(fn, "curBmap<0x0010> depBmap<0x007c> u16Bmap<0x0010>\n") + Code(fn, 22));
    EXPECT_EQ(filter(qir::Chk_L4FilterDepBmapTbl, 1, e_UDP_FILT_DPORT, 0, e_CMP_EQ, 1),
              Dbg(fn, "curBmap<0x0000> depBmap<0x0002> u16Bmap<0x0000>\n") +
                  Dbg(fn, "bmap after set<0x0002> \n") + Dbg(fn, "Cnt<1> GlobalCnt<1> \n") +
                  Err(fn, "Invalid Cmp Op") + Code(fn, 21));
    fn = "Chk_ActionDepBmapTbl";
    EXPECT_EQ(action(qir::Chk_ActionDepBmapTbl, 0, 1, 0x0003),
              Dbg(fn, "curBmap<0x0003> depBmap<0x0002> u16Bmap<0x0002>\n") + Code(fn, 23));
    fn = "Chk_L4ActionDepBmapTbl";
    EXPECT_EQ(action(qir::Chk_L4ActionDepBmapTbl, 0, 1, 0x0001),
              Dbg(fn, "curBmap<0x0001> depBmap<0x0002> u16Bmap<0x0000>\n") +
                  Dbg(fn, "bmap after set<0x0003> \n"));
}

// ---- combinations ---------------------------------------------------------------------------------

// Every pair of predecessors, in both orders and with every operator, and then every request: the code, every
// line, every byte of the context.
TEST_F(Rules, EveryPairOfPredecessors) {
    for (const Member &m : Members()) {
        Restore(m);
        fcb_->filterBlk.totalTags = 1; // so that one pop and one push are there to have
        const ContextSnapshot before;
        Walk walk{m, &hdl_, fcb_};
        walk.Run(3);
        EXPECT_TRUE(before.Unchanged()) << m.Label() << ": a byte outside the flow changed";
    }
}

// Every subset of types that may be there, prepared in the header's entry, with the request's own counter
// empty and at its limit.
TEST_F(Rules, EverySubsetOfPresentTypes) {
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const Member &m : Members()) {
            for (u32 present = 0; present < 1u << m.NumTypes(); ++present) {
                if (!m.isFilter && m.IsVlan() && m.tag == 1 && __builtin_popcount(present) > 2) {
                    continue; // the inner tag's rules are the outer one's
                }
                for (u32 at = 0; at < m.NumTypes() * m.NumOperators() * 2; ++at) {
                    const u32 type = at / 2 % m.NumTypes();
                    const u32 cmpOp = at / 2 / m.NumTypes();
                    if (!m.isFilter && at % 2 != 0) {
                        continue; // actions have no counters
                    }
                    Restore(m);
                    m.Entry(fcb_)->curBmap = static_cast<u16>(present);
                    if (at % 2 != 0) {
                        *m.Counter(fcb_, cmpOp, type) = static_cast<u8>(kOperatorLimit[cmpOp]);
                    }
                    Fcb expected;
                    CopyFcb(&expected, *fcb_);
                    const AnyRequest req = Good(m, type, cmpOp);
                    const Outcome want =
                        m.isFilter ? Judge(m, &expected, req) : JudgeAndStore(m, &expected, req);
                    const u32 code = m.isFilter ? m.validateConfig(fcb_, &req) : m.store(fcb_, &req);
                    ++calls;
                    const std::string diff = FcbDiff(expected, *fcb_);
                    if (code != want.code || !diff.empty()) {
                        findings.Add(m.Label() + " " + m.types[type].name + " operator " +
                                     std::to_string(cmpOp) + " beside " + std::to_string(present) +
                                     ": code " + std::to_string(code) + " for " + std::to_string(want.code) +
                                     diff);
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, 2ul * 3 * (5 * 32 + 2 * 6 * 64 + 5 * 32 + 11 * 2048 + 7 * 128 + 2 * 4) + 5ul * 32 +
                         14ul * 16384 + 14ul * (1 + 14 + 91) + 2 + 4ul * 16 + 2ul * 2 * 4);
}

// The two types that may come again: every order of equal and not-equal, seven filters long.
TEST_F(Rules, RepeatableFiltersAreBoundedByTheOperatorsLimit) {
    for (const auto &[label, type] :
         {std::pair<const char *, u32>{"EthFilter", e_ETH_FILT_ETHTYPE}, {"Ipv4Filter", e_IPV4_FILT_PROTO}}) {
        const Member &m = Of(label);
        for (unsigned order = 0; order < 128; ++order) {
            Restore(m);
            unsigned stored[2] = {0, 0};
            for (unsigned i = 0; i < 7; ++i) {
                const unsigned cmpOp = order >> i & 1u;
                const bool full = stored[cmpOp] == kOperatorLimit[cmpOp];
                stored[cmpOp] += full ? 0 : 1;
                ASSERT_EQ(QuietConfig(m, Good(m, type, cmpOp)), full ? 21u : 0u) << label << " " << order;
            }
            EXPECT_EQ(m.Entry(fcb_)->reqCount, stored[0] + stored[1]);
        }
    }
}

// What one header holds says nothing about another, and filters nothing about actions.
TEST_F(Rules, HeadersDoNotShareTheirRecords) {
    AllocAllHdrs(e_BLKTYPE_FILTER);
    AllocAllHdrs(e_BLKTYPE_ACTION);
    fcb_->filterBlk.totalTags = 1;
    Fcb empty;
    CopyFcb(&empty, *fcb_);
    for (const Member &full : Members()) {
        for (const Member &m : Members()) {
            for (u32 type = 0; &m != &full && type < m.NumTypes(); ++type) {
                CopyFcb(fcb_, empty);
                full.Entry(fcb_)->curBmap = 0xFFFF;
                if (full.isFilter) {
                    std::memset(full.Counter(fcb_, 0, 0), 0xFF, full.NumTypes() * std::size_t{e_CMP_MAX});
                }
                EXPECT_EQ(QuietConfig(m, Good(m, type)), 0u)
                    << m.Label() << " " << m.types[type].name << " beside a full " << full.Label();
            }
        }
    }
}

} // namespace
} // namespace test
