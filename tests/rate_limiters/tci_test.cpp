// The TCI configuration of the two directions.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters::tci {
namespace {

const std::string kSet = "QIR_Set_RLTciCfg";
const std::string kGet = "QIR_Get_RLTciCfg";

class RlTciTest : public test::LibraryTest {};

Op SetTci(u32 dir, u16 first, u16 second) {
    return [=] { return QIR_Set_RLTciCfg(dir, RlTciCfg{{first, second}}); };
}

Op GetTci(u32 dir, RlTciCfg *rlTciCfg_p) {
    return [=] { return QIR_Get_RLTciCfg(dir, rlTciCfg_p); };
}

void ExpectTci(const RlTciCfg &actual, u16 first, u16 second) {
    EXPECT_EQ(actual.tci[0], first);
    EXPECT_EQ(actual.tci[1], second);
}

// The halves are shown in hexadecimal, right-aligned among blanks in a field of four.
struct Row {
    u32 dir;
    u16 first;
    u16 second;
    const char *shown;
};
const Row kRows[] = {
    {0, 0x0001, 0x00AB, "Params: rlDir<0> rlTciCfg<0x   1:0x  ab>"},
    {1, 0xFFFF, 0x0000, "Params: rlDir<1> rlTciCfg<0xffff:0x   0>"},
    {0, 0x0000, 0xFFFF, "Params: rlDir<0> rlTciCfg<0x   0:0xffff>"},
    {1, 0x0C1D, 0x8000, "Params: rlDir<1> rlTciCfg<0x c1d:0x8000>"},
    {0, 0x1234, 0x5678, "Params: rlDir<0> rlTciCfg<0x1234:0x5678>"},
    {0, 0x1234, 0x5678, "Params: rlDir<0> rlTciCfg<0x1234:0x5678>"},
};

TEST_F(RlTciTest, BothHalvesAreSentAndKept) {
    AtEveryLevel([](u32 level) {
        for (const Row &row : kRows) {
            SCOPED_TRACE(row.shown);
            Hardware expected;
            expected->rlTci[row.dir][0] = row.first;
            expected->rlTci[row.dir][1] = row.second;
            ExpectDone(level, SetTci(row.dir, row.first, row.second), Inf(kSet, row.shown),
                       {TciRecord(row.dir, row.first, row.second)},
                       {Place(qirCtxt_gp->rlTciCfgTbl[row.dir])});
            ExpectTci(qirCtxt_gp->rlTciCfgTbl[row.dir], row.first, row.second);
            EXPECT_TRUE(expected.IsNow());
        }
    });
}

TEST_F(RlTciTest, GetterYieldsAndShowsWhatWasKept) {
    AtEveryLevel([](u32 level) {
        for (const Row &row : kRows) {
            SCOPED_TRACE(row.shown);
            ASSERT_EQ(QIR_Set_RLTciCfg(row.dir, RlTciCfg{{row.first, row.second}}), 0u);
            RlTciCfg read = {{0xDEAD, 0xBEEF}};
            const std::string params = row.dir == 0 ? "Params: rlDir<0> rlTciCfg_p<0x<ptr>>"
                                                    : "Params: rlDir<1> rlTciCfg_p<0x<ptr>>";
            ExpectRead(level, GetTci(row.dir, &read), Inf(kGet, params) + Inf(kGet, row.shown));
            ExpectTci(read, row.first, row.second);
        }
    });
}

TEST_F(RlTciTest, GetterShowsTheCallersAddress) {
    RlTciCfg read = {};
    ExpectUnmasked(GetTci(0, &read),
                   "[INF orxapi] QIR_Get_RLTciCfg: Params: rlDir<0> rlTciCfg_p<" + AddressText(&read) +
                       ">\n[INF orxapi] QIR_Get_RLTciCfg: Params: rlDir<0> rlTciCfg<0x   0:0x   0>\n");
}

TEST_F(RlTciTest, HalvesOutliveASecondStart) {
    ASSERT_EQ(QIR_Set_RLTciCfg(0, RlTciCfg{{1, 2}}), 0u);
    ASSERT_EQ(QIR_Set_RLTciCfg(1, RlTciCfg{{3, 4}}), 0u);
    const std::size_t opens = orxemu_numOpens();
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_EQ(orxemu_numOpens(), opens);
    RlTciCfg read = {};
    EXPECT_EQ(QIR_Get_RLTciCfg(0, &read), 0u);
    ExpectTci(read, 1, 2);
    EXPECT_EQ(QIR_Get_RLTciCfg(1, &read), 0u);
    ExpectTci(read, 3, 4);
}

TEST_F(RlTciTest, HalvesAreZeroAtFirst) {
    for (u32 dir = 0; dir < kDirs; ++dir) {
        RlTciCfg read = {{0xDEAD, 0xBEEF}};
        EXPECT_EQ(QIR_Get_RLTciCfg(dir, &read), 0u);
        ExpectTci(read, 0, 0);
    }
}

} // namespace
} // namespace rate_limiters::tci
