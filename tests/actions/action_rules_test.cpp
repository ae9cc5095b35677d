// The rule tables of actions: their values, the functions that fill them, the acceptance check, the dumps.
#include "qirapi/private/rules.h"
#include "tests/actions/action_kit.h"

#include <vector>

namespace test::action_rules {
namespace {

class ActionRules : public LibraryTest {};

constexpr u16 kFill = 0xA5A5;

const std::vector<u16> kVlanDep = {0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0955, 0x0565, 0x3FFF,
                                   0x00C3, 0x3F7D, 0x334D, 0x0565, 0x0955, 0x334D, 0x334D};

// Entries behind the listed ones keep the fill.
const std::vector<std::vector<u16>> kActionDep = {
    {0x0001, 0x0002, 0x0004, 0x0000, 0x0000}, kVlanDep, kVlanDep, kVlanDep, kVlanDep, {0x0001}, {},
    {0x0001, 0x0002, 0x000C, 0x000C},
};

const std::vector<std::vector<u16>> kL4ActionDep = {{0x0001, 0x0002}, {0x0001, 0x0002}};

template <std::size_t Rows>
void ExpectTable(const char *name, const u16 (&table)[Rows][QIR_HDR_FILT_MAX],
                 const std::vector<std::vector<u16>> &rows) {
    ASSERT_EQ(rows.size(), Rows);
    for (u32 row = 0; row < Rows; ++row) {
        for (u32 i = 0; i < QIR_HDR_FILT_MAX; ++i) {
            EXPECT_EQ(table[row][i], i < rows[row].size() ? rows[row][i] : kFill)
                << name << "[" << row << "][" << i << "]";
        }
    }
}

TEST_F(ActionRules, StartUpFillsBothTables) {
    ExpectTable("actionDepBmapTbl", qirCtxt_gp->actionDepBmapTbl, kActionDep);
    ExpectTable("l4ActionDepBmapTbl", qirCtxt_gp->l4ActionDepBmapTbl, kL4ActionDep);
}

// The two ways of writing the rules down, by names and by numbers, say the same.
TEST_F(ActionRules, NumbersAgreeWithTheNamedRules) {
    for (const ActionMember &m : ActionMembers()) {
        const auto &dep = (m.l4 ? kL4ActionDep : kActionDep)[m.row];
        ASSERT_EQ(dep.size(), m.types.size()) << m.Label();
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            unsigned excluded = 0;
            for (const u32 other : m.types[type].excludedBy) {
                excluded |= 1u << other;
            }
            EXPECT_EQ(dep[type], excluded) << m.Label() << " " << m.types[type].name;
        }
    }
}

template <class Table> void ExpectRefill(const char *name, Table &table, void (*init)()) {
    SCOPED_TRACE(name);
    const ContextSnapshot started;
    std::memset(&table, 0x6E, sizeof table);
    ASSERT_EQ(started.ChangedBytes().size(), sizeof table);
    EXPECT_EQ(Capture(init), "");
    EXPECT_TRUE(started.Unchanged());
}

TEST_F(ActionRules, EachInitFunctionFillsItsOwnTableOnly) {
    RaiseLog(3);
    ExpectRefill("Init_ActionDepBmapTbl", qirCtxt_gp->actionDepBmapTbl, qir::Init_ActionDepBmapTbl);
    ExpectRefill("Init_L4ActionDepBmapTbl", qirCtxt_gp->l4ActionDepBmapTbl, qir::Init_L4ActionDepBmapTbl);
}

TEST_F(ActionRules, DumpOfTheDependencyTable) {
    EXPECT_EQ(Capture(qir::Dump_ActionDepBmapTbl),
              "--------- Action Dep Bitmap Table ------------\n"
              "Hdr                         Type\n"
              "\n"
              "ETH   <0> <0x0001> <0x0002> <0x0004> <0x0000> <0x0000>\n"
              "VLAN1 <1> <0x3fff> <0x00c3> <0x3f7d> <0x334d> <0x0955> <0x0565> <0x3fff> <0x00c3> <0x3f7d> "
              "<0x334d> <0x0565> <0x0955> <0x334d> <0x334d>\n"
              "PPPOE <5> <0x0001>\n"
              "MPLS  <6> <0xa5a5> <0xa5a5> <0xa5a5>\n"
              "IPv4  <7> <0x0002> <0x000c> <0x000c>\n" // type 0 is left out
              "----------------------------------------------\n");
}

TEST_F(ActionRules, DumpOfTheL4DependencyTable) {
    EXPECT_EQ(Capture(qir::Dump_L4ActionDepBmapTbl), "--------- L4Action Dep Bitmap Table ------------\n"
                                                     "Hdr                         Type\n"
                                                     "\n"
                                                     "TCP   <0> <0x0001> <0x0002>\n"
                                                     "UDP   <1> <0x0001> <0x0002>\n"
                                                     "----------------------------------------------\n");
}

TEST_F(ActionRules, DumpsReadTheTables) {
    qirCtxt_gp->actionDepBmapTbl[1][13] = 0xBEEF;
    qirCtxt_gp->actionDepBmapTbl[5][0] = 0x1234;
    qirCtxt_gp->actionDepBmapTbl[7][0] = 0x7777;
    qirCtxt_gp->l4ActionDepBmapTbl[1][1] = 0x4321;
    const std::string l2 = Capture(qir::Dump_ActionDepBmapTbl);
    EXPECT_NE(l2.find("<0x334d> <0xbeef>\nPPPOE <5> <0x1234>\n"), std::string::npos) << l2;
    EXPECT_EQ(l2.find("0x7777"), std::string::npos) << l2;
    const std::string l4 = Capture(qir::Dump_L4ActionDepBmapTbl);
    EXPECT_NE(l4.find("UDP   <1> <0x0001> <0x4321>"), std::string::npos) << l4;
}

using ChkFn = u32 (*)(u32, u8, u16 *);

struct ChkRow {
    ChkFn fn;
    u32 row;
    const char *header;
};

const ChkRow kRows[] = {
    {qir::Chk_ActionDepBmapTbl, 0, "Eth"},     {qir::Chk_ActionDepBmapTbl, 1, "Vlan[0]"},
    {qir::Chk_ActionDepBmapTbl, 2, "Vlan[0]"}, {qir::Chk_ActionDepBmapTbl, 3, "Vlan[0]"},
    {qir::Chk_ActionDepBmapTbl, 4, "Vlan[0]"}, {qir::Chk_ActionDepBmapTbl, 5, "Pppoe"},
    {qir::Chk_ActionDepBmapTbl, 7, "Ipv4"},    {qir::Chk_L4ActionDepBmapTbl, 0, "Tcp"},
    {qir::Chk_L4ActionDepBmapTbl, 1, "Udp"},
};

// Every row, every subset of types that may be there, every type. The four VLAN rows are the same: the inner
// ones are walked with subsets of up to three types.
TEST_F(ActionRules, EverySubsetOfPresentTypes) {
    const ContextSnapshot before;
    Findings findings;
    unsigned long calls = 0;
    Capture([&] {
        for (const ChkRow &chk : kRows) {
            const ActionMember &m = ActionOf(chk.header);
            for (u32 present = 0; present < 1u << m.NumTypes(); ++present) {
                if (m.IsVlan() && chk.row > 1 && __builtin_popcount(present) > 3) {
                    continue;
                }
                for (u32 type = 0; type < m.NumTypes(); ++type) {
                    u16 bmap = static_cast<u16>(present);
                    bool excluded = false;
                    for (const u32 other : m.types[type].excludedBy) {
                        excluded = excluded || (present >> other & 1u) != 0;
                    }
                    const u32 code = chk.fn(chk.row, static_cast<u8>(type), &bmap);
                    ++calls;
                    if (code != (excluded ? 23u : 0u) ||
                        bmap != (excluded ? present : present | 1u << type)) {
                        findings.Add(m.Label() + " row " + std::to_string(chk.row) + " " +
                                     m.types[type].name + " beside " + std::to_string(present) + ": code " +
                                     std::to_string(code) + " curBmap " + std::to_string(bmap));
                    }
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
    EXPECT_EQ(calls, 5ul * 32 + 14ul * 16384 + 3ul * 14 * (1 + 14 + 91 + 364) + 2 + 4ul * 16 + 2ul * 2 * 4);
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(ActionRules, RulesAreReadFromTheTables) {
    qirCtxt_gp->actionDepBmapTbl[0][e_ETH_ACTION_DA] = 0x8000;
    qirCtxt_gp->l4ActionDepBmapTbl[0][e_TCP_ACTION_SPORT] = 0x0002;
    u16 bmap = 0x0001;
    EXPECT_EQ(qir::Chk_ActionDepBmapTbl(0, e_ETH_ACTION_DA, &bmap), 0u);
    bmap = 0x0002;
    u32 code = 0;
    Capture([&] { code = qir::Chk_L4ActionDepBmapTbl(0, e_TCP_ACTION_SPORT, &bmap); });
    EXPECT_EQ(code, 23u);
}

TEST_F(ActionRules, LinesOfTheCheck) {
    const struct {
        ChkFn fn;
        const char *name;
    } checks[] = {{qir::Chk_ActionDepBmapTbl, "Chk_ActionDepBmapTbl"},
                  {qir::Chk_L4ActionDepBmapTbl, "Chk_L4ActionDepBmapTbl"}};
    for (const auto &check : checks) {
        const std::string refused = CodeLine(check.name, "e_RET_ERR_INVALID_ACTIONSEQ");
        for (const u32 level : {1u, 2u, 3u}) {
            SCOPED_TRACE(std::string(check.name) + " level " + std::to_string(level));
            RaiseLog(level);
            u16 bmap = 0x0001;
            EXPECT_EQ(CaptureMasked([&] { check.fn(0, 1, &bmap); }),
                      level < 3 ? ""
                                : Dbg(check.name, "curBmap<0x0001> depBmap<0x0002> u16Bmap<0x0000>\n") +
                                      Dbg(check.name, "bmap after set<0x0003> \n"));
            EXPECT_EQ(
                CaptureMasked([&] { check.fn(0, 1, &bmap); }),
                (level < 3 ? "" : Dbg(check.name, "curBmap<0x0003> depBmap<0x0002> u16Bmap<0x0002>\n")) +
                    refused);
            EXPECT_EQ(bmap, 0x0003u);
        }
    }
}

} // namespace
} // namespace test::action_rules
