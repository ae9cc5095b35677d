// Start-up: what it sets, what it prints, and what it leaves alone.
#include "tests/context/members.h"
#include "tests/support/library.h"

#include "qirapi/private/fcb.h"
#include "qirapi/private/rules.h"
#include "qirapi/private/startup.h"
#include "qirapi/private/tables.h"

#include <algorithm>
#include <functional>

namespace context_test {
namespace {

using Startup = test::LibraryTest;

// Before main() nothing has called the library.
struct AtProcessStart {
    bool contextIsZero;
    bool pointerIsSet = qirCtxt_gp == &qirCtxt_g;

    AtProcessStart() {
        const auto *bytes = reinterpret_cast<const unsigned char *>(&qirCtxt_g);
        contextIsZero = std::all_of(bytes, bytes + sizeof qirCtxt_g, [](unsigned char b) { return b == 0; });
    }
};

const AtProcessStart atProcessStart;

TEST(ContextAtProcessStart, IsZeroAndReachableThroughItsPointer) {
    EXPECT_TRUE(atProcessStart.contextIsZero);
    EXPECT_TRUE(atProcessStart.pointerIsSet);
}

constexpr unsigned char kTrace = 0x3C;

void FillContext() {
    std::memset(static_cast<void *>(qirCtxt_gp), kTrace, sizeof *qirCtxt_gp);
}

bool HasOnlyTrace(const Member &member) {
    return std::all_of(member.Bytes(), member.Bytes() + member.size,
                       [](unsigned char byte) { return byte == kTrace; });
}

// The members' bytes as a first start-up of a zero context leaves them.
class FirstStartup {
  public:
    FirstStartup()
        : bytes_(reinterpret_cast<unsigned char *>(qirCtxt_gp),
                 reinterpret_cast<unsigned char *>(qirCtxt_gp) + sizeof *qirCtxt_gp) {}
    bool Has(const Member &member) const {
        return std::memcmp(member.Bytes(), bytes_.data() + member.offset, member.size) == 0;
    }

  private:
    std::vector<unsigned char> bytes_;
};

TEST_F(Startup, GivesTheWholeBudgetToSectionOne) {
    const uint16_t budgets[3] = {0, 512, 0};
    for (uint32_t section = 0; section < 3; ++section) {
        SCOPED_TRACE("section " + std::to_string(section));
        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].maxFlows, budgets[section]);
        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].cfgFlows, 0u);
    }
}

TEST_F(Startup, SetsOrxapiToLevelOneAndNoOtherLevel) {
    for (const uint32_t before : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE("module 12 at level " + std::to_string(before));
        qelLog_setLogLevel(12, before);
        qelLog_setLogLevel(11, 3);
        qelLog_setLogLevel(13, 0);
        qelLog_setGlobalLogLevel(2);
        EXPECT_EQ(QIR_Init_Sys(), 0u);
        EXPECT_EQ(qelLog_getLogLevel(12), 1);
        EXPECT_EQ(qelLog_getLogLevel(11), 3);
        EXPECT_EQ(qelLog_getLogLevel(13), 0);
        EXPECT_EQ(qelLog_getLogLevel(0), 1);
        EXPECT_EQ(qelLog_getGlobalLogLevel(), 2);
    }
    qelLog_setLogLevel(11, 1);
    qelLog_setLogLevel(13, 1);
}

TEST_F(Startup, PrintsNothingEvenAtDebugLevel) {
    test::RaiseLog(3);
    const test::Output printed = test::CaptureBoth([] { QIR_Init_Sys(); });
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(printed.err, "");
}

TEST_F(Startup, PrintsTheLevelsConfirmationWhenQellogInforms) {
    test::Capture([] { qelLog_setLogLevel(QEL_LOG_ID_QELLOG, 2); });
    EXPECT_EQ(test::Capture([] { QIR_Init_Sys(); }),
              "[INF qellog] qelLog_setLogLevel: Log level of orxapi was set to 1\n");
}

TEST_F(Startup, LeavesPortAndSystemSettingsZeroTheFirstTime) {
    for (const Member &member : kMembers) {
        if (member.atStartup == AtStartup::kLeavesAlone) {
            EXPECT_TRUE(std::all_of(member.Bytes(), member.Bytes() + member.size, [](unsigned char byte) {
                return byte == 0;
            })) << member.name;
        }
    }
}

TEST_F(Startup, KeepsPortAndSystemSettings) {
    FillContext();
    EXPECT_EQ(QIR_Init_Sys(), 0u);
    for (const Member &member : kMembers) {
        if (member.atStartup == AtStartup::kLeavesAlone) {
            EXPECT_TRUE(HasOnlyTrace(member)) << member.name << " was touched";
        }
    }
}

TEST_F(Startup, ResetsEverythingElse) {
    const FirstStartup first;
    FillContext();
    EXPECT_EQ(QIR_Init_Sys(), 0u);
    for (const Member &member : kMembers) {
        if (member.atStartup == AtStartup::kInitialises) {
            EXPECT_TRUE(first.Has(member)) << member.name << " differs from the first start-up";
        }
    }
}

TEST_F(Startup, ForgetsTablesFlowsAndBudgetsWithoutTellingTheDriver) {
    AsTblHdl asTbl{};
    PacTblHdl pacTbl{};
    FlowHdl flow{};
    const AsTblCfg asCfg{0x3};
    ASSERT_EQ(QIR_Alloc_AsTable(&asTbl), 0u);
    ASSERT_EQ(QIR_Set_AsTableCfg(&asTbl, &asCfg), 0u);
    ASSERT_EQ(QIR_Activate_AsTable(&asTbl), 0u);
    ASSERT_EQ(QIR_Alloc_PacTable(&pacTbl), 0u);
    ASSERT_EQ(QIR_Set_SectionMaxFlows(1, 412), 0u);
    ASSERT_EQ(QIR_Set_SectionMaxFlows(0, 100), 0u);
    ASSERT_EQ(QIR_Alloc_FCB(0, &flow), 0u);
    ASSERT_EQ(QIR_Set_AsOverride(&flow, 1), 0u);
    ASSERT_EQ(QIR_Activate_FCB(&flow), 0u);
    const std::size_t opens = orxemu_numOpens();
    orxemu_clearLog();

    EXPECT_EQ(QIR_Init_Sys(), 0u);

    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_numOpens(), opens);
    EXPECT_EQ(orxemu_state()->asTbl[0].active, 1) << "the hardware keeps what it had";
    EXPECT_EQ(orxemu_state()->flow[0].active, 1) << "the hardware keeps what it had";
    uint16_t numFlows = 0;
    EXPECT_EQ(QIR_Get_SectionMaxFlows(0, &numFlows), 0u);
    EXPECT_EQ(numFlows, 0u);
    EXPECT_EQ(QIR_Get_SectionMaxFlows(1, &numFlows), 0u);
    EXPECT_EQ(numFlows, 512u);
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[0].cfgFlows, 0u);
    std::vector<uint32_t> codes;
    test::Capture([&] {
        codes = {QIR_Free_AsTable(&asTbl), QIR_Free_PacTable(&pacTbl), QIR_Free_FCB(&flow)};
    });
    EXPECT_EQ(codes, (std::vector<uint32_t>{3, 3, 3})) << "the handles are still valid";
    EXPECT_EQ(QIR_Alloc_FCB(2, &flow), 0u);
    EXPECT_EQ(flow.f1.id, 0u);
}

TEST_F(Startup, TheContextsInitialiserSucceedsSilentlyAndLeavesLevelsAlone) {
    const FirstStartup first;
    FillContext();
    test::RaiseLog(3);
    uint32_t code = 1;
    EXPECT_EQ(test::Capture([&] { code = qir::Init_QirCfg(); }), "");
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(qelLog_getLogLevel(12), 3);
    for (const Member &member : kMembers) {
        const bool leaves = member.atStartup == AtStartup::kLeavesAlone;
        EXPECT_TRUE(leaves ? HasOnlyTrace(member) : first.Has(member)) << member.name;
    }
}

TEST_F(Startup, EachInitialiserSetsItsOwnMembersAlone) {
    const FirstStartup first;
    const struct {
        const char *name;
        std::function<void()> run;
        std::vector<std::string> members;
    } rows[] = {
        {"Init_CmpOpChkTbl", qir::Init_CmpOpChkTbl, {"cmpOpBmapTbl"}},
        {"Init_FilterDepBmapTbl", qir::Init_FilterDepBmapTbl, {"filterDepBmapTbl"}},
        {"Init_ActionDepBmapTbl", qir::Init_ActionDepBmapTbl, {"actionDepBmapTbl"}},
        {"Init_L4FilterDepBmapTbl", qir::Init_L4FilterDepBmapTbl, {"l4FilterDepBmapTbl"}},
        {"Init_L4ActionDepBmapTbl", qir::Init_L4ActionDepBmapTbl, {"l4ActionDepBmapTbl"}},
        {"Init_L4CmpOpChkTbl", qir::Init_L4CmpOpChkTbl, {"l4CmpOpBmapTbl"}},
        {"Init_CmpOpCntTbl", qir::Init_CmpOpCntTbl, {"cmpOpCntTbl"}},
        {"Init_AsTblPool", qir::Init_AsTblPool, {"asTblPool"}},
        {"Init_DscpTblPool", qir::Init_DscpTblPool, {"dscpTblPool"}},
        {"Init_EpTblPool", qir::Init_EpTblPool, {"epTblPool"}},
        {"Init_PacTblPool", qir::Init_PacTblPool, {"pacTblPool"}},
        {"Init_RLTbl", qir::Init_RLTbl, {"rlTbl", "rlStatus"}},
        {"Init_FcbPool", [] { qir::Init_FcbPool(); }, {"fcbPool"}},
    };
    test::RaiseLog(3);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        FillContext();
        EXPECT_EQ(test::Capture(row.run), "");
        for (const Member &member : kMembers) {
            const bool owned = std::count(row.members.begin(), row.members.end(), member.name) != 0;
            EXPECT_TRUE(owned ? first.Has(member) : HasOnlyTrace(member)) << member.name;
        }
    }
}

} // namespace
} // namespace context_test
