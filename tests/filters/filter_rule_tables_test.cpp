// The rule tables of filters: their values after start-up, the functions that fill them, their dumps.
#include "qirapi/private/rules.h"
#include "tests/filters/filter_kit.h"

#include <vector>

namespace test {
namespace {

class FilterRuleTables : public LibraryTest {};

constexpr u16 kFill = 0xA5A5;

// What a table holds in one row; entries behind the listed ones keep the fill.
struct Row {
    u32 hdr;
    std::vector<u16> entries;
};

const std::vector<u16> kVlanDep = {0x003F, 0x0003, 0x003D, 0x000D, 0x0015, 0x0025};

const std::vector<Row> kFilterDep = {
    {0, {0x0007, 0x0007, 0x0007, 0x0008, 0x0000}},
    {1, kVlanDep},
    {2, kVlanDep},
    {3, kVlanDep},
    {4, kVlanDep},
    {5, {0x0001, 0x0002, 0x0004, 0x0008, 0x0010}},
    {6, {}},
    {7, {0x0001, 0x0002, 0x0004, 0x0018, 0x0018, 0x0060, 0x0060, 0x0080, 0x0100, 0x0000, 0x0400}},
};

const std::vector<Row> kL4FilterDep = {
    {0, {0x0001, 0x0002, 0x0044, 0x0048, 0x0050, 0x0060, 0x007C}},
    {1, {0x0001, 0x0002}},
};

const std::vector<Row> kCmpOpBmap = {
    {0, {0x001F, 0x0010, 0x0000}},
    {1, {0x003F, 0x0022, 0x0000}},
    {2, {0x003F, 0x0022, 0x0000}},
    {3, {0x003F, 0x0022, 0x0000}},
    {4, {0x003F, 0x0022, 0x0000}},
    {5, {0x001F, 0x0012, 0x0000}},
    {6, {}},
    {7, {0x07FF, 0x0200, 0x0040}},
};

const std::vector<Row> kL4CmpOpBmap = {
    {0, {0x007F, 0x0003, 0x0000}},
    {1, {0x0003, 0x0003, 0x0000}},
};

template <std::size_t Rows, std::size_t Columns>
void ExpectTable(const char *name, const u16 (&table)[Rows][Columns], const std::vector<Row> &rows) {
    ASSERT_EQ(rows.size(), Rows) << name;
    for (const Row &row : rows) {
        for (u32 i = 0; i < Columns; ++i) {
            EXPECT_EQ(table[row.hdr][i], i < row.entries.size() ? row.entries[i] : kFill)
                << name << "[" << row.hdr << "][" << i << "]";
        }
    }
}

void ExpectOperatorLimits() {
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_EQ], 1u);
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_NEQ], 4u);
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_IN_RANGE], 1u);
}

TEST_F(FilterRuleTables, StartUpFillsEveryTable) {
    ExpectTable("filterDepBmapTbl", qirCtxt_gp->filterDepBmapTbl, kFilterDep);
    ExpectTable("l4FilterDepBmapTbl", qirCtxt_gp->l4FilterDepBmapTbl, kL4FilterDep);
    ExpectTable("cmpOpBmapTbl", qirCtxt_gp->cmpOpBmapTbl, kCmpOpBmap);
    ExpectTable("l4CmpOpBmapTbl", qirCtxt_gp->l4CmpOpBmapTbl, kL4CmpOpBmap);
    ExpectOperatorLimits();
}

// The two ways of writing the rules down, by names and by numbers, say the same.
TEST_F(FilterRuleTables, NumbersAgreeWithTheNamedRules) {
    for (const FilterMember &m : FilterMembers()) {
        SCOPED_TRACE(m.Label());
        const auto &dep = m.IsL4() ? kL4FilterDep : kFilterDep;
        const auto &ops = m.IsL4() ? kL4CmpOpBmap : kCmpOpBmap;
        ASSERT_EQ(dep[m.row].entries.size(), m.types.size());
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.types[type].name);
            unsigned excluded = 0;
            for (const u32 other : m.types[type].excludedBy) {
                excluded |= 1u << other;
            }
            EXPECT_EQ(dep[m.row].entries[type], excluded);
            for (u32 cmpOp = 0; cmpOp < e_CMP_MAX; ++cmpOp) {
                EXPECT_EQ((ops[m.row].entries[cmpOp] >> type) & 1u, (m.types[type].operators >> cmpOp) & 1u)
                    << "operator " << cmpOp;
            }
        }
    }
}

// Overwrites one table, fills it again and expects the context as after start-up, nothing else touched.
template <class Table> void ExpectRefill(const char *name, Table &table, void (*init)()) {
    SCOPED_TRACE(name);
    const ContextSnapshot started;
    std::memset(&table, 0x3C, sizeof table);
    ASSERT_EQ(started.ChangedBytes().size(), sizeof table);
    EXPECT_EQ(Capture(init), "");
    EXPECT_TRUE(started.Unchanged());
}

TEST_F(FilterRuleTables, EachInitFunctionFillsItsOwnTableOnly) {
    ExpectRefill("Init_CmpOpCntTbl", qirCtxt_gp->cmpOpCntTbl, qir::Init_CmpOpCntTbl);
    ExpectRefill("Init_CmpOpChkTbl", qirCtxt_gp->cmpOpBmapTbl, qir::Init_CmpOpChkTbl);
    ExpectRefill("Init_L4CmpOpChkTbl", qirCtxt_gp->l4CmpOpBmapTbl, qir::Init_L4CmpOpChkTbl);
    ExpectRefill("Init_FilterDepBmapTbl", qirCtxt_gp->filterDepBmapTbl, qir::Init_FilterDepBmapTbl);
    ExpectRefill("Init_L4FilterDepBmapTbl", qirCtxt_gp->l4FilterDepBmapTbl, qir::Init_L4FilterDepBmapTbl);
}

TEST_F(FilterRuleTables, InitFunctionsPrintNothingAtDebugLevel) {
    RaiseLog(3);
    EXPECT_EQ(Capture([] {
                  qir::Init_CmpOpCntTbl();
                  qir::Init_CmpOpChkTbl();
                  qir::Init_L4CmpOpChkTbl();
                  qir::Init_FilterDepBmapTbl();
                  qir::Init_L4FilterDepBmapTbl();
              }),
              "");
}

TEST_F(FilterRuleTables, NothingButInitWritesTheTables) {
    const std::vector<u8> before(reinterpret_cast<const u8 *>(&qirCtxt_gp->cmpOpCntTbl),
                                 reinterpret_cast<const u8 *>(&qirCtxt_gp->asTblPool));
    FlowHdl hdl{};
    ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
    for (const u32 flowHdr : {e_FLOWHDR_ETH, e_FLOWHDR_IPV4}) {
        const FlowHdr hdr{e_BLKTYPE_FILTER, flowHdr};
        ASSERT_EQ(QIR_Alloc_Hdr(&hdl, &hdr), 0u);
    }
    for (const char *label : {"Eth", "Ipv4", "Tcp", "Udp"}) {
        const FilterMember &m = FilterOf(label);
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            const AnyFilter req = GoodFilter(m, type, e_CMP_EQ);
            Capture([&] { m.config(&hdl, &req); });
        }
    }
    EXPECT_EQ(std::memcmp(before.data(), &qirCtxt_gp->cmpOpCntTbl, before.size()), 0);
}

TEST_F(FilterRuleTables, DumpOfTheDependencyTable) {
    EXPECT_EQ(Capture(qir::Dump_FilterDepBmapTbl),
              "--------- Filter Dep Bitmap Table ------------\n"
              "Hdr                         Type\n"
              "\n"
              "ETH   <0> <0x0007> <0x0007> <0x0007> <0x0008> <0x0000>\n"
              "VLAN1 <1> <0x003f> <0x0003> <0x003d> <0x000d> <0x0015> <0x0025>\n"
              "PPPOE <5> <0x0001> <0x0002> <0x0004> <0x0008> <0x0010>\n"
              "MPLS  <6> <0xa5a5> <0xa5a5> <0xa5a5>\n"
              "IPv4  <7> <0x0001> <0x0002> <0x0004> <0x0018> <0x0018> <0x0060> <0x0060> <0x0080> <0x0100> "
              "<0x0000> <0x0400>\n"
              "----------------------------------------------\n");
}

TEST_F(FilterRuleTables, DumpOfTheL4DependencyTable) {
    EXPECT_EQ(Capture(qir::Dump_L4FilterDepBmapTbl),
              "--------- L4Filter Dep Bitmap Table ------------\n"
              "Hdr                         Type\n"
              "\n"
              "TCP   <0> <0x0001> <0x0002> <0x0044> <0x0048> <0x0050> <0x0060> <0x007c>\n"
              "UDP   <1> <0x0001> <0x0002>\n"
              "----------------------------------------------\n");
}

// The dumps print what the tables hold, not what they should hold.
TEST_F(FilterRuleTables, DumpsReadTheTables) {
    qirCtxt_gp->filterDepBmapTbl[0][4] = 0xBEEF;
    qirCtxt_gp->filterDepBmapTbl[1][0] = 0x1234;
    qirCtxt_gp->filterDepBmapTbl[7][10] = 0x4321;
    qirCtxt_gp->l4FilterDepBmapTbl[0][6] = 0x5678;
    qirCtxt_gp->l4FilterDepBmapTbl[1][1] = 0x8765;
    const std::string l2 = Capture(qir::Dump_FilterDepBmapTbl);
    EXPECT_NE(l2.find("<0x0008> <0xbeef>\nVLAN1 <1> <0x1234> <0x0003>"), std::string::npos) << l2;
    EXPECT_NE(l2.find("<0x0000> <0x4321>\n"), std::string::npos) << l2;
    const std::string l4 = Capture(qir::Dump_L4FilterDepBmapTbl);
    EXPECT_NE(l4.find("<0x0060> <0x5678>\nUDP   <1> <0x0001> <0x8765>\n"), std::string::npos) << l4;
}

TEST_F(FilterRuleTables, DumpsDoNotDependOnTheLogLevel) {
    const std::string quiet = Capture(qir::Dump_FilterDepBmapTbl) + Capture(qir::Dump_L4FilterDepBmapTbl);
    RaiseLog(3);
    EXPECT_EQ(Capture(qir::Dump_FilterDepBmapTbl) + Capture(qir::Dump_L4FilterDepBmapTbl), quiet);
    qelLog_setGlobalLogLevel(0);
    EXPECT_EQ(Capture(qir::Dump_FilterDepBmapTbl) + Capture(qir::Dump_L4FilterDepBmapTbl), quiet);
}

TEST_F(FilterRuleTables, DumpOfTheOperators) {
    EXPECT_EQ(Capture([] { qir::Dump_CmpOp(e_CMP_EQ); }), "cmpOp<e_CMP_EQ>, \n");
    EXPECT_EQ(Capture([] { qir::Dump_CmpOp(e_CMP_NEQ); }), "cmpOp<e_CMP_NEQ>, \n");
    EXPECT_EQ(Capture([] { qir::Dump_CmpOp(e_CMP_IN_RANGE); }), "cmpOp<e_CMP_IN_RANGE>, \n");
}

TEST_F(FilterRuleTables, DumpOfAnUnknownOperator) {
    for (const u32 cmpOp : {3u, 4u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_CmpOp(cmpOp); }),
                  Assertion("qirapi_private", "Dump_CmpOp", "(cmpOp < e_CMP_MAX)") + "cmpOp" +
                      Err("Dump_CmpOp", "Unknown cmpOp <" + std::to_string(cmpOp) + ">") + ", \n");
    }
}

} // namespace
} // namespace test
