// The driver comes first: a setting that it did not take leaves the shadow as it was. The getters answer from
// the shadow alone. The hardware has limits of its own.
#include "tests/support/calls.h"

namespace ports_test {

using namespace calls;

namespace {

const TpidCfg kOldTpid = {.portId = 8, .tpid = {0x8100, 0x88A8, 0x9100, 0x9200}};
const TpidCfg kNewTpid = {.portId = 8, .tpid = {1, 0xFFFF, 2, 0xFFFE}};

// One setter with a value that replaces the one of SetUp().
struct Setter {
    const char *fn;
    Op set;
    std::string inf;
    Request request;
    // The new value in what the hardware holds.
    void (*apply)(Hardware &hardware);
    // The getter's answer and the shadow hold the new value.
    bool (*isNew)();
};

std::string TpidParams(const std::string &fn) {
    return Inf(fn, "Params: tpidCfg_p<0x<ptr>>") + Inf(fn, "Params2: portId<8>") +
           Inf(fn, "Params2: ix<0> tpid<0x1>") + Inf(fn, "Params2: ix<1> tpid<0xffff>") +
           Inf(fn, "Params2: ix<2> tpid<0x2>") + Inf(fn, "Params2: ix<3> tpid<0xfffe>");
}

const std::vector<Setter> kSetters = {
    {"QIR_Set_FlowMissAction",
     [] { return QIR_Set_FlowMissAction(2); },
     Inf("QIR_Set_FlowMissAction", "Params: action<0x2> "),
     {17, 8, {Word(0, 1), Word(4, 2)}},
     [](Hardware &hardware) { hardware->flowMissAction = 2; },
     [] {
         u32 action = kAllOnes;
         return QIR_Get_FlowMissAction(&action) == 0 && action == 2 && qirCtxt_gp->flowMissAction == 2;
     }},
    {"QIR_Set_PortPadLen",
     [] { return QIR_Set_PortPadLen(7, 63); },
     Inf("QIR_Set_PortPadLen", "Params: srcPort<7> padLen<63>"),
     {19, 32, {Word(0, 4), Word(24, 7), Word(28, 0)}},
     [](Hardware &hardware) { hardware->portPadLen[7] = 0; },
     [] {
         u32 padLen = kAllOnes;
         return QIR_Get_PortPadLen(7, &padLen) == 0 && padLen == 0 && qirCtxt_gp->portPadLenTbl[7] == 0;
     }},
    {"QIR_Set_PortDefAcl",
     [] { return QIR_Set_PortDefAcl(8, 0); },
     Inf("QIR_Set_PortDefAcl", "Params: srcPort<8> aclType<0>"),
     {19, 32, {Word(0, 1), Word(4, 8), Word(8, 0)}},
     [](Hardware &hardware) { hardware->portDefAcl[8] = 0; },
     [] {
         u32 aclType = kAllOnes;
         return QIR_Get_PortDefAcl(8, &aclType) == 0 && aclType == 0 && qirCtxt_gp->portDefAclTbl[8] == 0;
     }},
    {"QIR_Set_Tpid",
     [] { return QIR_Set_Tpid(&kNewTpid); },
     TpidParams("QIR_Set_Tpid"),
     {19, 32, {Word(0, 2), Word(12, 8), Half(16, 1), Half(18, 0xFFFF), Half(20, 2), Half(22, 0xFFFE)}},
     [](Hardware &hardware) { std::memcpy(hardware->portTpid[8], kNewTpid.tpid, sizeof kNewTpid.tpid); },
     [] {
         TpidCfg cfg = {.portId = 8, .tpid = {}};
         return QIR_Get_Tpid(&cfg) == 0 && std::memcmp(&cfg, &kNewTpid, sizeof cfg) == 0 &&
                std::memcmp(&qirCtxt_gp->tpidTbl[8], &kNewTpid, sizeof cfg) == 0;
     }},
};

class SettingsAndDriver : public test::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        Prepare();
    }

    static void Prepare() {
        Restart();
        ASSERT_EQ(QIR_Set_FlowMissAction(1), 0u);
        ASSERT_EQ(QIR_Set_PortPadLen(7, 200), 0u);
        ASSERT_EQ(QIR_Set_PortDefAcl(8, 1), 0u);
        ASSERT_EQ(QIR_Set_Tpid(&kOldTpid), 0u);
        orxemu_clearLog();
    }
};

TEST_F(SettingsAndDriver, FailedSetterLeavesTheShadowAsItWas) {
    for (const Setter &setter : kSetters) {
        for (const Failure &failure : kFailures) {
            AtEveryLevel([&](u32 level) {
                SCOPED_TRACE(std::string(setter.fn) + ", " + failure.how);
                Prepare();
                Hardware expected;
                if (failure.taken) {
                    setter.apply(expected);
                }
                ExpectFailed(level, failure, setter.set, setter.fn, setter.inf, setter.request);
                EXPECT_FALSE(setter.isNew());
                EXPECT_TRUE(expected.IsNow());
            });
        }
    }
}

TEST_F(SettingsAndDriver, SetterSucceedsOnceTheFailureIsOver) {
    for (const Setter &setter : kSetters) {
        for (const Failure &failure : kFailures) {
            SCOPED_TRACE(std::string(setter.fn) + ", " + failure.how);
            Prepare();
            Hardware expected;
            setter.apply(expected);
            ExpectFailed(1, failure, setter.set, setter.fn, setter.inf, setter.request);
            const Called again = Call(setter.set);
            EXPECT_EQ(again.rc, 0u);
            EXPECT_EQ(again.out, "");
            EXPECT_EQ(again.err, "");
            EXPECT_TRUE(setter.isNew());
            EXPECT_TRUE(expected.IsNow());
        }
    }
}

TEST_F(SettingsAndDriver, RefusedValuesDoNotReachAFailingDriver) {
    const TpidCfg port9 = {.portId = 9, .tpid = {}};
    const Op refused[] = {
        [] { return QIR_Set_FlowMissAction(3); },  [] { return QIR_Set_PortPadLen(8, 64); },
        [] { return QIR_Set_PortPadLen(0, 256); }, [] { return QIR_Set_PortDefAcl(9, 0); },
        [] { return QIR_Set_PortDefAcl(0, 2); },   [] { return QIR_Set_Tpid(nullptr); },
        [&] { return QIR_Set_Tpid(&port9); },
    };
    orxemu_setPresent(0);
    for (const Op &op : refused) {
        const Called called = Call(op);
        EXPECT_GT(called.rc, 1u);
        EXPECT_EQ(called.err, "");
    }
}

TEST_F(SettingsAndDriver, GettersAnswerWithoutTheDevice) {
    orxemu_reset();
    orxemu_setPresent(0);
    u32 value = kAllOnes;
    TpidCfg cfg = {.portId = 8, .tpid = {}};
    ExpectRead(
        1, [&] { return QIR_Get_FlowMissAction(&value); }, "");
    EXPECT_EQ(value, 1u);
    ExpectRead(
        1, [&] { return QIR_Get_PortPadLen(7, &value); }, "");
    EXPECT_EQ(value, 200u);
    ExpectRead(
        1, [&] { return QIR_Get_PortDefAcl(8, &value); }, "");
    EXPECT_EQ(value, 1u);
    ExpectRead(
        1, [&] { return QIR_Get_Tpid(&cfg); }, "");
    EXPECT_EQ(std::memcmp(&cfg, &kOldTpid, sizeof cfg), 0);
}

TEST_F(SettingsAndDriver, SettingsOfOnePortAreKeptApart) {
    const TpidCfg cfg = {.portId = 3, .tpid = {1, 2, 3, 4}};
    Hardware expected;
    ASSERT_EQ(QIR_Set_PortPadLen(3, 77), 0u);
    ASSERT_EQ(QIR_Set_PortDefAcl(3, 1), 0u);
    ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
    expected->portPadLen[3] = 77;
    expected->portDefAcl[3] = 1;
    std::memcpy(expected->portTpid[3], cfg.tpid, sizeof cfg.tpid);
    EXPECT_TRUE(expected.IsNow());
    u32 value = kAllOnes;
    EXPECT_EQ(QIR_Get_PortPadLen(3, &value), 0u);
    EXPECT_EQ(value, 77u);
    EXPECT_EQ(QIR_Get_PortDefAcl(3, &value), 0u);
    EXPECT_EQ(value, 1u);
}

// ---- start-up -------------------------------------------------------------------------------------

TEST_F(SettingsAndDriver, SettingsOutliveASecondStart) {
    for (u32 port = 0; port < 9; ++port) {
        const auto seed = static_cast<u16>(0x1000 + port);
        const TpidCfg cfg = {.portId = port, .tpid = {seed, 2, 3, static_cast<u16>(~seed)}};
        ASSERT_EQ(QIR_Set_Tpid(&cfg), 0u);
        ASSERT_EQ(QIR_Set_PortDefAcl(port, port % 2), 0u);
        if (port < 8) {
            ASSERT_EQ(QIR_Set_PortPadLen(port, 100 + port), 0u);
        }
    }
    const Hardware hardware;
    const std::size_t opens = orxemu_numOpens();
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    EXPECT_EQ(orxemu_numOpens(), opens) << "the driver is not told";
    EXPECT_TRUE(hardware.IsNow());

    u32 value = kAllOnes;
    EXPECT_EQ(QIR_Get_FlowMissAction(&value), 0u);
    EXPECT_EQ(value, 1u);
    for (u32 port = 0; port < 9; ++port) {
        SCOPED_TRACE(port);
        TpidCfg cfg = {.portId = port, .tpid = {}};
        EXPECT_EQ(QIR_Get_Tpid(&cfg), 0u);
        EXPECT_EQ(cfg.portId, port);
        EXPECT_EQ(cfg.tpid[0], 0x1000 + port);
        EXPECT_EQ(cfg.tpid[1], 2);
        EXPECT_EQ(cfg.tpid[2], 3);
        EXPECT_EQ(cfg.tpid[3], 0xEFFF - port);
        EXPECT_EQ(QIR_Get_PortDefAcl(port, &value), 0u);
        EXPECT_EQ(value, port % 2);
        if (port < 8) {
            EXPECT_EQ(QIR_Get_PortPadLen(port, &value), 0u);
            EXPECT_EQ(value, 100 + port);
        }
    }
}

// ---- requests past the library --------------------------------------------------------------------

Request GblRecord(u32 type, u32 action) {
    return {17, 8, {Word(0, type), Word(4, action)}};
}
Request AclRecord(u32 port, u32 aclType) {
    return {19, 32, {Word(0, 1), Word(4, port), Word(8, aclType)}};
}
Request TpidRecord(u32 port) {
    return {19, 32, {Word(0, 2), Word(12, port), Half(16, 1), Half(18, 2), Half(20, 3), Half(22, 4)}};
}
Request PadRecord(u32 port, u32 padLen) {
    return {19, 32, {Word(0, 4), Word(24, port), Word(28, padLen)}};
}

TEST_F(SettingsAndDriver, HardwareRefusesWhatIsOutOfRange) {
    // All parts of the record in range, so that only the type word is wrong.
    const auto typed = [](u32 type) {
        return Request{
            19, 32, {Word(0, type), Word(4, 1), Word(8, 1), Word(12, 1), Word(24, 1), Word(28, 64)}};
    };
    const struct {
        const char *what;
        Request request;
    } rows[] = {
        {"action 3", GblRecord(1, 3)},
        {"action all ones", GblRecord(1, kAllOnes)},
        {"global type 0", GblRecord(0, 1)},
        {"global type 2", GblRecord(2, 1)},
        {"ACL port 9", AclRecord(9, 0)},
        {"ACL port all ones", AclRecord(kAllOnes, 0)},
        {"ACL type 2", AclRecord(8, 2)},
        {"TPID port 9", TpidRecord(9)},
        {"TPID port all ones", TpidRecord(kAllOnes)},
        {"pad length of port 8", PadRecord(8, 64)},
        {"pad length of port all ones", PadRecord(kAllOnes, 64)},
        {"pad length 256", PadRecord(7, 256)},
        {"no part", typed(0)},
        {"two parts", typed(1 | 2)},
        {"two other parts", typed(1 | 4)},
        {"all parts", typed(1 | 2 | 4)},
        {"type 8", typed(8)},
    };
    const ContextSnapshot context;
    const Hardware hardware;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(SendDirectly(row.request), EINVAL);
        EXPECT_TRUE(hardware.IsNow());
    }
    EXPECT_TRUE(context.Unchanged());
}

// What is not set holds 0xA5 bytes, out of every range.
TEST_F(SettingsAndDriver, HardwareReadsOnlyThePartThatTheTypeNames) {
    Hardware expected;
    EXPECT_EQ(SendDirectly(GblRecord(1, 2)), 0);
    expected->flowMissAction = 2;
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(AclRecord(0, 1)), 0);
    expected->portDefAcl[0] = 1;
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(TpidRecord(0)), 0);
    for (u16 ix = 0; ix < 4; ++ix) {
        expected->portTpid[0][ix] = static_cast<u16>(1 + ix);
    }
    EXPECT_TRUE(expected.IsNow());
    EXPECT_EQ(SendDirectly(PadRecord(0, 255)), 0);
    expected->portPadLen[0] = 255;
    EXPECT_TRUE(expected.IsNow());
}

TEST_F(SettingsAndDriver, LibraryKeepsToItsShadowWhateverTheHardwareHolds) {
    ASSERT_EQ(SendDirectly(GblRecord(1, 2)), 0);
    ASSERT_EQ(SendDirectly(PadRecord(7, 99)), 0);
    ASSERT_EQ(SendDirectly(AclRecord(8, 0)), 0);
    u32 value = kAllOnes;
    EXPECT_EQ(QIR_Get_FlowMissAction(&value), 0u);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(QIR_Get_PortPadLen(7, &value), 0u);
    EXPECT_EQ(value, 200u);
    EXPECT_EQ(QIR_Get_PortDefAcl(8, &value), 0u);
    EXPECT_EQ(value, 1u);
}

// Neither side of the wire takes what the other refuses; only pad lengths below 64 the library alone knows.
TEST_F(SettingsAndDriver, BothSidesHaveTheSameLimits) {
    const auto expectAgreed = [](const Op &op, const Request &request) {
        EXPECT_EQ(Call(op).rc == 0, SendDirectly(request) == 0);
    };
    for (u32 action = 0; action < 6; ++action) {
        SCOPED_TRACE("action " + std::to_string(action));
        expectAgreed([=] { return QIR_Set_FlowMissAction(action); }, GblRecord(1, action));
    }
    for (u32 port = 0; port < 12; ++port) {
        SCOPED_TRACE("port " + std::to_string(port));
        for (u32 aclType = 0; aclType < 4; ++aclType) {
            expectAgreed([=] { return QIR_Set_PortDefAcl(port, aclType); }, AclRecord(port, aclType));
        }
        for (const u32 padLen : {0u, 63u, 64u, 255u, 256u, 257u}) {
            expectAgreed([=] { return QIR_Set_PortPadLen(port, padLen); }, PadRecord(port, padLen));
        }
        const TpidCfg cfg = {.portId = port, .tpid = {1, 2, 3, 4}};
        expectAgreed([&] { return QIR_Set_Tpid(&cfg); }, TpidRecord(port));
    }
}

} // namespace
} // namespace ports_test
