// The two sides: what is seen when they differ, and what is known of where they may.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/hardware.h"
#include "qirapi/driver/driver_records.h"

#include <cerrno>
#include <memory>
#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;

// Takes note of every call on the way, as the fuzzer does.
class TwoSides : public test::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        test::Capture([this] { Build(); });
        hardware_ = std::make_unique<OrxEmuState>(*orxemu_state());
        ASSERT_EQ(Check(), "");
    }

    // The code of `operation`, whose request is noted for `call`.
    template <class Operation> u32 Noted(fuzz::Call call, Operation operation, bool answerLost = false) {
        orxemu_clearLog();
        test::Capture([&] { call.rc = operation(); });
        if (const OrxEmuRequest *request = orxemu_request(0); request != nullptr) {
            past_.NoteRequest(call, *request, answerLost);
        }
        return call.rc;
    }
    static fuzz::Call OnFlow(u32 flow) {
        fuzz::Call call;
        call.flow = flow;
        return call;
    }
    static fuzz::Call OnTable(u32 table) {
        fuzz::Call call;
        call.table = table;
        return call;
    }

    std::string Check() const { return past_.Check(*qirCtxt_gp, *orxemu_state()); }
    std::string CheckHardware() const { return past_.Check(*qirCtxt_gp, *hardware_); }

    fuzz::HardwarePast past_;
    std::unique_ptr<OrxEmuState> hardware_; // a copy that can be broken

  private:
    // Flows 0 and 1, AS, DSCP and PAC table 0 and limiter (0, 2), all active; settings that are not 0.
    void Build();
};

void TwoSides::Build() {
    AsTblHdl as = test::AsHdl(0);
    DscpTblHdl dscp = test::DscpHdl(0);
    PacTblHdl pac = test::PacHdl(0);
    const AsTblCfg asCfg{1};
    const DscpDefPbits def{};
    const PacTblCfg pacCfg{};
    QIR_Alloc_AsTable(&as);
    QIR_Set_AsTableCfg(&as, &asCfg);
    EXPECT_EQ(Noted(OnTable(0), [&] { return QIR_Activate_AsTable(&as); }), 0u);
    QIR_Alloc_DscpToPbitsTable(&dscp);
    QIR_Set_DscpToPbitsTable_DefPbits(&dscp, &def);
    EXPECT_EQ(Noted(OnTable(0), [&] { return QIR_Activate_DscpToPbitsTable(&dscp); }), 0u);
    QIR_Alloc_PacTable(&pac);
    QIR_Set_PacTableCfg(&pac, &pacCfg);
    EXPECT_EQ(Noted(OnTable(0), [&] { return QIR_Activate_PacTable(&pac); }), 0u);
    FwdInfo fwd{};
    fwd.src.portMask = 1;
    fwd.dst.portMask = 2;
    for (u32 i = 0; i < 2; ++i) {
        FlowHdl flow{};
        QIR_Alloc_FCB(1, &flow);
        QIR_Set_FwdInfo(&flow, &fwd);
        EXPECT_EQ(Noted(OnFlow(i), [&] { return QIR_Activate_FCB(&flow); }), 0u);
    }
    QIR_Set_RL(0, 2, RlEnt{1, 2, 0, 3});
    fuzz::Call limiter;
    limiter.rlDir = 0;
    limiter.rlIndex = 2;
    EXPECT_EQ(Noted(limiter, [] { return QIR_Activate_RL(0, 2); }), 0u);
}

struct Row {
    const char *complaint;
    void (*breakIt)(QirCtxt &, OrxEmuState &);
};

std::ostream &operator<<(std::ostream &out, const Row &row) {
    return out << row.complaint;
}

const Row kRows[] = {
    {"the hardware's slot AS table 0 is free", [](QirCtxt &, OrxEmuState &hw) { hw.asTbl[0].active = 0; }},
    {"the hardware's slot DSCP table 5 is taken",
     [](QirCtxt &, OrxEmuState &hw) { hw.dscpTbl[5].active = 1; }},
    {"the hardware's slot PAC table 0 is free", [](QirCtxt &, OrxEmuState &hw) { hw.pacTbl[0].active = 0; }},
    {"the hardware's slot flow 511 is taken", [](QirCtxt &, OrxEmuState &hw) { hw.flow[511].active = 1; }},
    {"the hardware's slot rate limiter 2 is free",
     [](QirCtxt &, OrxEmuState &hw) { hw.rl[0][2].active = 0; }},
    {"flow 1 is held by the hardware, and not ACTIVE",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[1].status = e_STATUS_CFG; }},
    {"flow 1 knows another slot than the one that it has",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[1].hwFlowIdx = 0; }},
    {"PAC table 0 knows another slot than the one that it has",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.pacTblPool[0].hwTblIdx = kNoHwIdx; }},
    {"flow 7 is ACTIVE, and the hardware does not hold it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[7].status = e_STATUS_ACTIVE; }},
    {"DSCP table 1 is ACTIVE, and the hardware does not hold it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.dscpTblPool[1].status = e_STATUS_ACTIVE; }},
    {"rate limiter 31 is ACTIVE, and the hardware does not hold it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.rlTbl[1][15].state = e_STATUS_ACTIVE; }},
    {"AS table 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.asTblPool[0].cfg.srcPortMask = 2; }},
    {"AS table 0 is not what the hardware holds for it",
     [](QirCtxt &, OrxEmuState &hw) { hw.asTbl[0].record[467] ^= 1; }},
    {"DSCP table 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.dscpTblPool[0].pbits[63] = 1; }},
    {"PAC table 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.pacTblPool[0].ent[7].dstQid = 1; }},
    {"flow 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[0].asOverride = 1; }},
    {"flow 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[0].fwdInfo.dst.portMask = 4; }},
    {"flow 0 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.fcbPool[0].actionBlk.hdrBmap = 1; }},
    {"rate limiter 2 is not what the hardware holds for it",
     [](QirCtxt &ctxt, OrxEmuState &) { ctxt.rlTbl[0][2].ent.cbs = 4; }},
    {"the hardware has another flow-miss action", [](QirCtxt &, OrxEmuState &hw) { hw.flowMissAction = 1; }},
    {"the hardware has another rate-limiter status", [](QirCtxt &, OrxEmuState &hw) { hw.rlStatus = 1; }},
    {"the hardware has another pad length", [](QirCtxt &, OrxEmuState &hw) { hw.portPadLen[7] = 64; }},
    {"the hardware has another default ACL", [](QirCtxt &, OrxEmuState &hw) { hw.portDefAcl[8] = 1; }},
    {"the hardware has other TPIDs", [](QirCtxt &, OrxEmuState &hw) { hw.portTpid[8][3] = 1; }},
    {"the hardware has another TCI configuration", [](QirCtxt &, OrxEmuState &hw) { hw.rlTci[1][1] = 1; }},
};

class BrokenSide : public TwoSides, public ::testing::WithParamInterface<Row> {};

TEST_P(BrokenSide, IsSeen) {
    ASSERT_EQ(CheckHardware(), "") << "before it is broken";
    GetParam().breakIt(*qirCtxt_gp, *hardware_);
    EXPECT_EQ(CheckHardware(), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, BrokenSide, ::testing::ValuesIn(kRows));

// Where the two sides may part. Each is known for what it is, and seen when it is not noted.

TEST_F(TwoSides, ActivationWhoseAnswerIsLostLeavesASlotOfNobody) {
    FlowHdl flow = test::Flow(5);
    test::Capture([&] {
        QIR_Alloc_FCB_Specify_Index(1, &flow);
        QIR_Set_AsOverride(&flow, 1);
    });
    orxemu_loseAnswer(kOrxActivateFlow, 1, EIO);
    const auto activate = [&] { return QIR_Activate_FCB(&flow); };
    ASSERT_EQ(Noted(OnFlow(5), activate, true), 1u);
    EXPECT_EQ(Check(), "");
    EXPECT_EQ(Noted(OnFlow(5), activate), 0u);
    EXPECT_EQ(Check(), "");
    EXPECT_EQ(qirCtxt_gp->fcbPool[5].hwFlowIdx, 3u);
}

TEST_F(TwoSides, ActivationWhoseAnswerIsLostIsSeenWhenNobodyKnows) {
    FlowHdl flow = test::Flow(5);
    test::Capture([&] {
        QIR_Alloc_FCB_Specify_Index(1, &flow);
        QIR_Set_AsOverride(&flow, 1);
    });
    orxemu_loseAnswer(kOrxActivateFlow, 1, EIO);
    ASSERT_EQ(Noted(
                  OnFlow(5), [&] { return QIR_Activate_FCB(&flow); }, false),
              1u);
    EXPECT_EQ(Check(), "the hardware's slot flow 2 is taken");
}

TEST_F(TwoSides, TableWhoseDeactivationIsRefusedForgetsItsSlot) {
    PacTblHdl pac = test::PacHdl(0);
    orxemu_failRequest(kOrxDeactivatePacTbl, 1, EIO);
    const auto deactivate = [&] { return QIR_Deactivate_PacTable(&pac); };
    ASSERT_EQ(Noted(OnTable(0), deactivate), 1u);
    EXPECT_EQ(Check(), "");
    ASSERT_EQ(Noted(OnTable(0), deactivate), 1u) << "nothing frees the slot";
    EXPECT_EQ(Check(), "");
}

TEST_F(TwoSides, TableThatFindsNoDeviceForgetsItsSlotToo) {
    AsTblHdl as = test::AsHdl(0);
    fuzz::Call call = OnTable(0);
    call.doing = fuzz::Doing::SwitchTable;
    orxemu_failOpen(1, EACCES);
    ASSERT_EQ(Noted(call, [&] { return QIR_Deactivate_AsTable(&as); }), 1u);
    EXPECT_EQ(Check(), "AS table 0 knows another slot than the one that it has");
    past_.NoteNoDevice(*qirCtxt_gp, call);
    EXPECT_EQ(Check(), "");
}

// The second flow gets the slot that the first one still knows, and loses it to the first one.
TEST_F(TwoSides, FlowWhoseDeactivationIsLostReachesAnotherFlow) {
    FlowHdl first = test::Flow(0);
    FlowHdl other = test::Flow(5);
    orxemu_loseAnswer(kOrxDeactivateFlow, 1, EIO);
    const auto deactivate = [&] { return QIR_Deactivate_FCB(&first); };
    ASSERT_EQ(Noted(OnFlow(0), deactivate, true), 1u);
    EXPECT_EQ(Check(), "");
    test::Capture([&] {
        QIR_Alloc_FCB_Specify_Index(1, &other);
        QIR_Set_AsOverride(&other, 1);
    });
    ASSERT_EQ(Noted(OnFlow(5), [&] { return QIR_Activate_FCB(&other); }), 0u);
    ASSERT_EQ(qirCtxt_gp->fcbPool[5].hwFlowIdx, 0u);
    EXPECT_EQ(Check(), "");
    const DstMask dst{{}, 0, {}, {}, 8};
    ASSERT_EQ(Noted(OnFlow(0), [&] { return QIR_Add_DstPortInfo(&first, &dst); }), 0u);
    EXPECT_EQ(Check(), "") << "the update reached the other flow";
    ASSERT_EQ(Noted(OnFlow(0), deactivate), 0u);
    EXPECT_EQ(Check(), "") << "the deactivation reached the other flow";
    EXPECT_EQ(orxemu_state()->flow[0].active, 0);
}

TEST_F(TwoSides, UpdateWhoseAnswerIsLostIsAhead) {
    FlowHdl flow = test::Flow(0);
    const DstMask dst{{}, 0, {}, {}, 8};
    orxemu_loseAnswer(kOrxUpdateFwdInfo, 1, EIO);
    const auto add = [&] { return QIR_Add_DstPortInfo(&flow, &dst); };
    ASSERT_EQ(Noted(OnFlow(0), add, true), 1u);
    EXPECT_EQ(Check(), "");
    ASSERT_EQ(Noted(OnFlow(0), add), 0u);
    EXPECT_EQ(Check(), "");
    qirCtxt_gp->fcbPool[0].fwdInfo.dst.portMask = 4;
    EXPECT_EQ(Check(), "flow 0 is not what the hardware holds for it") << "it is no longer ahead";
}

TEST_F(TwoSides, SettingWhoseAnswerIsLostIsAhead) {
    fuzz::Call call;
    call.doing = fuzz::Doing::SetPadLen;
    call.port = 3;
    orxemu_loseAnswer(kOrxSetPortCfg, 1, EIO);
    ASSERT_EQ(Noted(
                  call, [] { return QIR_Set_PortPadLen(3, 100); }, true),
              1u);
    EXPECT_EQ(Check(), "");
    ASSERT_EQ(Noted(call, [] { return QIR_Set_PortPadLen(3, 101); }), 0u);
    qirCtxt_gp->portPadLenTbl[3] = 100;
    EXPECT_EQ(Check(), "the hardware has another pad length") << "it is no longer ahead";
}

TEST_F(TwoSides, StartUpForgetsWhatTheHardwareHolds) {
    test::Capture([] { QIR_Init_Sys(); });
    EXPECT_NE(Check(), "");
    past_.NoteInit(*orxemu_state());
    EXPECT_EQ(Check(), "");
}

} // namespace

} // namespace fuzz_checks
