// The TPIDs that are recognised on a port: ports 0 to 8, four of any value.
#include "tests/support/calls.h"

namespace ports_test::tpids {

using namespace calls;

namespace {

const std::string kSet = "QIR_Set_Tpid";
const std::string kGet = "QIR_Get_Tpid";

class TpidTest : public test::LibraryTest {};

Op Set(const TpidCfg *tpidCfg_p) {
    return [=] { return QIR_Set_Tpid(tpidCfg_p); };
}

Op Get(TpidCfg *tpidCfg_p) {
    return [=] { return QIR_Get_Tpid(tpidCfg_p); };
}

std::string Params(const std::string &fn, const std::string &ptr) {
    return Inf(fn, "Params: tpidCfg_p<0x<" + ptr + ">>");
}

std::string PortParam(const std::string &fn, u32 portId) {
    return Inf(fn, "Params2: portId<" + std::to_string(portId) + ">");
}

Request TpidRecord(const TpidCfg &cfg) {
    return {19,
            32,
            {Word(0, 2), Word(12, cfg.portId), Half(16, cfg.tpid[0]), Half(18, cfg.tpid[1]),
             Half(20, cfg.tpid[2]), Half(22, cfg.tpid[3])}};
}

::testing::AssertionResult SameBytes(const TpidCfg &actual, const TpidCfg &expected) {
    if (std::memcmp(&actual, &expected, sizeof expected) == 0) {
        return ::testing::AssertionSuccess();
    }
    ::testing::AssertionResult failure = ::testing::AssertionFailure();
    for (const TpidCfg *cfg : {&actual, &expected}) {
        failure << (cfg == &actual ? "port " : " instead of port ") << cfg->portId << ":";
        for (const u16 tpid : cfg->tpid) {
            failure << " " << tpid;
        }
    }
    return failure;
}

TpidCfg CfgOf(u32 portId) {
    const auto seed = static_cast<u16>(0x1111 * portId);
    return {.portId = portId,
            .tpid = {seed, static_cast<u16>(0x8100 + portId), static_cast<u16>(0xFFFF - seed),
                     static_cast<u16>(0x0A00 >> portId)}};
}

TEST_F(TpidTest, EveryPortIsSentAndKept) {
    AtEveryLevel([](u32 level) {
        Restart();
        for (u32 portId = 0; portId < 9; ++portId) {
            SCOPED_TRACE(portId);
            const TpidCfg cfg = CfgOf(portId);
            TpidCfg given = cfg;
            Hardware expected;
            std::memcpy(expected->portTpid[portId], cfg.tpid, sizeof cfg.tpid);
            const ContextSnapshot before;
            const Called called = Call(Set(&given), level);
            EXPECT_EQ(called.rc, 0u);
            EXPECT_EQ(called.err, "");
            EXPECT_TRUE(SameBytes(given, cfg)) << "the caller's record";
            EXPECT_TRUE(SameBytes(qirCtxt_gp->tpidTbl[portId], cfg)) << "the shadow";
            EXPECT_TRUE(ChangedOnlyIn(before, {Place(qirCtxt_gp->tpidTbl[portId])}));
            EXPECT_TRUE(expected.IsNow());
            ASSERT_EQ(orxemu_numRequests(), portId + 1);
            ExpectSeen(*orxemu_request(portId), TpidRecord(cfg));
        }
    });
}

TEST_F(TpidTest, SetterShowsPortAndTpidsFromLevel2On) {
    const TpidCfg cfg = {.portId = 8, .tpid = {0x8100, 0, 0xA, 0xFFFF}};
    AtEveryLevel([&](u32 level) {
        ExpectDone(level, Set(&cfg),
                   "[INF orxapi] QIR_Set_Tpid: Params: tpidCfg_p<0x<ptr>>\n"
                   "[INF orxapi] QIR_Set_Tpid: Params2: portId<8>\n"
                   "[INF orxapi] QIR_Set_Tpid: Params2: ix<0> tpid<0x8100>\n"
                   "[INF orxapi] QIR_Set_Tpid: Params2: ix<1> tpid<0x0>\n"
                   "[INF orxapi] QIR_Set_Tpid: Params2: ix<2> tpid<0xa>\n"
                   "[INF orxapi] QIR_Set_Tpid: Params2: ix<3> tpid<0xffff>\n",
                   {TpidRecord(cfg)}, {Place(qirCtxt_gp->tpidTbl[8])});
    });
}

TEST_F(TpidTest, GetterShowsWhatItReadFromLevel2On) {
    const TpidCfg cfg = {.portId = 8, .tpid = {0x8100, 0, 0xA, 0xFFFF}};
    ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
    AtEveryLevel([&](u32 level) {
        TpidCfg read = {.portId = 8, .tpid = {1, 2, 3, 4}};
        ExpectRead(level, Get(&read),
                   "[INF orxapi] QIR_Get_Tpid: Params: tpidCfg_p<0x<ptr>>\n"
                   "[INF orxapi] QIR_Get_Tpid: Params2: portId<8>\n"
                   "[INF orxapi] QIR_Get_Tpid: ix<0> tpid<0x8100>\n"
                   "[INF orxapi] QIR_Get_Tpid: ix<1> tpid<0x0>\n"
                   "[INF orxapi] QIR_Get_Tpid: ix<2> tpid<0xa>\n"
                   "[INF orxapi] QIR_Get_Tpid: ix<3> tpid<0xffff>\n");
        EXPECT_TRUE(SameBytes(read, cfg));
    });
}

TEST_F(TpidTest, GetterYieldsTheRecordOfItsPort) {
    for (u32 portId = 0; portId < 9; ++portId) {
        const TpidCfg cfg = CfgOf(portId);
        ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
    }
    for (u32 portId = 0; portId < 9; ++portId) {
        SCOPED_TRACE(portId);
        TpidCfg read = {.portId = portId, .tpid = {}};
        ExpectRead(1, Get(&read), "");
        EXPECT_TRUE(SameBytes(read, CfgOf(portId)));
    }
}

// The stored port id belongs to the record: a row that nobody has set holds port 0.
TEST_F(TpidTest, GetterYieldsTheStoredPortIdToo) {
    TpidCfg read = {.portId = 5, .tpid = {1, 2, 3, 4}};
    ExpectRead(2, Get(&read),
               Params(kGet, "ptr") + PortParam(kGet, 5) + Inf(kGet, "ix<0> tpid<0x0>") +
                   Inf(kGet, "ix<1> tpid<0x0>") + Inf(kGet, "ix<2> tpid<0x0>") +
                   Inf(kGet, "ix<3> tpid<0x0>"));
    EXPECT_TRUE(SameBytes(read, {.portId = 0, .tpid = {}}));

    qirCtxt_gp->tpidTbl[5] = {.portId = 0x87654321, .tpid = {9, 8, 7, 6}};
    read.portId = 5;
    ExpectRead(1, Get(&read), "");
    EXPECT_TRUE(SameBytes(read, {.portId = 0x87654321, .tpid = {9, 8, 7, 6}}));
}

TEST_F(TpidTest, LinesShowTheCallersAddress) {
    TpidCfg cfg = {.portId = 9, .tpid = {}};
    test::RaiseLog(2);
    const std::string set = test::Lines(test::Capture([&] { QIR_Set_Tpid(&cfg); })).at(0);
    const std::string get = test::Lines(test::Capture([&] { QIR_Get_Tpid(&cfg); })).at(0);
    EXPECT_EQ(set, "[INF orxapi] QIR_Set_Tpid: Params: tpidCfg_p<" + AddressText(&cfg) + ">");
    EXPECT_EQ(get, "[INF orxapi] QIR_Get_Tpid: Params: tpidCfg_p<" + AddressText(&cfg) + ">");
}

} // namespace
} // namespace ports_test::tpids
