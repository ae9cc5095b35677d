// What a flow is told about address screening, EP tables and PAC tables.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

const char *const kSetAs = "QIR_Set_AsOverride";
const char *const kGetAs = "QIR_Get_AsOverride";
const char *const kSetEp = "QIR_Set_EpInfo";
const char *const kGetEp = "QIR_Get_EpInfo";
const char *const kSetPac = "QIR_Set_PacInfo";
const char *const kGetPac = "QIR_Get_PacInfo";

// ---- address-screening override -------------------------------------------------------------------

class FlowAsOverride : public FlowTest {};

TEST_F(FlowAsOverride, IsStoredAndRead) {
    for (const u32 value : {1u, 0u}) {
        FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
        Fcb &fcb = FcbOf(hdl);
        const ContextSnapshot before;
        ExpectCall([&] { return QIR_Set_AsOverride(&hdl, value); }, 0, "");
        EXPECT_EQ(fcb.asOverride, value);
        EXPECT_EQ(fcb.status, 2u);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.asOverride), Place(fcb.status)}));
        u32 read = 9;
        ExpectRefused([&] { return QIR_Get_AsOverride(&hdl, &read); }, 0, "");
        EXPECT_EQ(read, value);
    }
}

TEST_F(FlowAsOverride, LogsItsParameters) {
    FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    RaiseLog(3);
    ExpectCall([&] { return QIR_Set_AsOverride(&hdl, 1); }, 0,
               Inf(kSetAs, "Params: flowHdl_p<0x<ptr>> asOverride<1>") + Inf(kSetAs, "Params2: flowHdl<0>"));
    u32 read = 9;
    ExpectCall([&] { return QIR_Get_AsOverride(&hdl, &read); }, 0,
               Inf(kGetAs, "Params: flowHdl_p<0x<ptr>> asOverride_p<0x<ptr>>") +
                   Inf(kGetAs, "Params2: flowHdl<0>"));
}

// ---- EP table -------------------------------------------------------------------------------------

class FlowEpTable : public FlowTest {
  protected:
    Op Set(u32 status, EpTblHdl ep) {
        return [this, status, ep] {
            EpTblHdl hdl = ep;
            return QIR_Set_EpInfo(&hdl_, status, &hdl);
        };
    }

    FlowHdl hdl_{};
};

TEST_F(FlowEpTable, IsAssociatedAndReleased) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    EpTblHdl ep = EpIn(5, e_STATUS_ALLOC);
    ep.f1.rsvd = 0xABCDEF;
    const ContextSnapshot before;
    ExpectCall(Set(1, ep), 0, "");
    EXPECT_EQ(fcb.epTblHdl.word, ep.word);
    EXPECT_EQ(fcb.tblAssoc, 0x1);
    EXPECT_EQ(EpOf(ep).refCnt, 1);
    EXPECT_EQ(fcb.status, 2u);
    EXPECT_TRUE(ChangedOnlyIn(
        before, {Place(fcb.epTblHdl), Place(fcb.tblAssoc), Place(EpOf(ep).refCnt), Place(fcb.status)}));
    ExpectCall(Set(0, ep), 0, "");
    EXPECT_EQ(fcb.epTblHdl.word, ep.word);
    EXPECT_EQ(fcb.tblAssoc, 0x0);
    EXPECT_EQ(EpOf(ep).refCnt, 0);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.epTblHdl), Place(fcb.status)}));
}

TEST_F(FlowEpTable, IsReadBack) {
    hdl_ = FlowIn(e_STATUS_CFG);
    u32 status = 9;
    EpTblHdl read{};
    ExpectRefused([&] { return QIR_Get_EpInfo(&hdl_, &status, &read); }, 0, "");
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(read.word, 0xFFFFFFFFu);
    const EpTblHdl ep = EpIn(2, e_STATUS_CFG);
    ASSERT_EQ(Set(1, ep)(), 0u);
    RaiseLog(3);
    ExpectRefused([&] { return QIR_Get_EpInfo(&hdl_, &status, &read); }, 0,
                  Inf(kGetEp, "Params: flowHdl_p<0x<ptr>> epTblSts_p<0x<ptr>> epTblHdl_p<0x<ptr>>") +
                      Inf(kGetEp, "Params2: flowHdl<0>") + Inf(kGetEp, "flowHdl<0> epTblSts<1> epTblHdl<2>"));
    EXPECT_EQ(status, 1u);
    EXPECT_EQ(read.word, ep.word);
}

TEST_F(FlowEpTable, SecondAssociationKeepsOnlyTheHandle) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_ACTIVE}) {
        hdl_ = FlowIn(status);
        Fcb &fcb = FcbOf(hdl_);
        fcb.tblAssoc = 0x1;
        const EpTblHdl ep = EpIn(1, e_STATUS_CFG);
        const ContextSnapshot before;
        ExpectCall(Set(1, ep), 15, Refusal(kSetEp, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
        EXPECT_EQ(fcb.epTblHdl.word, ep.word);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.epTblHdl)}));
    }
}

TEST_F(FlowEpTable, ReleaseWithoutAssociationKeepsOnlyTheHandle) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_ACTIVE}) {
        hdl_ = FlowIn(status);
        Fcb &fcb = FcbOf(hdl_);
        fcb.tblAssoc = 0x2;
        const EpTblHdl ep = EpIn(0, e_STATUS_CFG);
        const ContextSnapshot before;
        ExpectCall(Set(0, ep), 14, Refusal(kSetEp, "e_RET_ERR_RESRC_NOT_ACTIVE", 14));
        EXPECT_EQ(fcb.epTblHdl.word, ep.word);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.epTblHdl)}));
    }
}

TEST_F(FlowEpTable, OfAnActiveFlowChangesInSpiteOfTheRefusal) {
    hdl_ = FlowIn(e_STATUS_ACTIVE);
    Fcb &fcb = FcbOf(hdl_);
    const EpTblHdl ep = EpIn(3, e_STATUS_ACTIVE);
    const ContextSnapshot before;
    ExpectCall(Set(1, ep), 17, Refusal(kSetEp, "e_RET_ERR_STATE_NOTCFG", 17));
    EXPECT_EQ(EpOf(ep).refCnt, 1);
    EXPECT_EQ(fcb.tblAssoc, 0x1);
    EXPECT_EQ(fcb.epTblHdl.word, ep.word);
    EXPECT_EQ(fcb.status, 3u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.epTblHdl), Place(fcb.tblAssoc), Place(EpOf(ep).refCnt)}));
    ExpectCall(Set(0, ep), 17, Refusal(kSetEp, "e_RET_ERR_STATE_NOTCFG", 17));
    EXPECT_EQ(EpOf(ep).refCnt, 0);
    EXPECT_EQ(fcb.tblAssoc, 0x0);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.epTblHdl)}));
}

TEST_F(FlowEpTable, LogsItsParameters) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    RaiseLog(3);
    ExpectCall(Set(1, EpIn(4, e_STATUS_CFG)), 0,
               Inf(kSetEp, "Params: flowHdl_p<0x<ptr>> epTblSts<1> epTblHdl_p<0x<ptr>>") +
                   Inf(kSetEp, "Params2: flowHdl<0> epTblHdl<4>"));
}

TEST_F(FlowEpTable, CountsEveryFlow) {
    const EpTblHdl ep = EpIn(0, e_STATUS_CFG);
    for (u16 flows = 1; flows <= 5; ++flows) {
        hdl_ = FlowIn(e_STATUS_ALLOC);
        ASSERT_EQ(Set(1, ep)(), 0u);
        EXPECT_EQ(EpOf(ep).refCnt, flows);
    }
}

// ---- PAC table ------------------------------------------------------------------------------------

class FlowPacTable : public FlowTest {
  protected:
    Op Set(u32 status, u32 source, PacTblHdl pac) {
        return [this, status, source, pac] {
            PacTblHdl hdl = pac;
            return QIR_Set_PacInfo(&hdl_, status, source, &hdl);
        };
    }

    FlowHdl hdl_{};
};

TEST_F(FlowPacTable, IsAssociatedAndReleased) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    PacIn(e_STATUS_ALLOC);
    PacTblHdl pac = PacIn(e_STATUS_ALLOC);
    pac.f1.rsvd = 0x123456;
    const ContextSnapshot before;
    ExpectCall(Set(1, 2, pac), 0, "");
    EXPECT_EQ(fcb.pacTblHdl.word, pac.word);
    EXPECT_EQ(fcb.tblAssoc, 0x2);
    EXPECT_EQ(fcb.pbitsSource, 2u);
    EXPECT_EQ(PacOf(pac).refCnt, 1);
    EXPECT_EQ(fcb.status, 2u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.pacTblHdl), Place(fcb.tblAssoc), Place(fcb.pbitsSource),
                                       Place(PacOf(pac).refCnt), Place(fcb.status)}));
    ExpectCall(Set(0, 1, pac), 0, "");
    EXPECT_EQ(fcb.tblAssoc, 0x0);
    EXPECT_EQ(fcb.pbitsSource, 1u);
    EXPECT_EQ(PacOf(pac).refCnt, 0);
    EXPECT_EQ(fcb.pacTblHdl.word, pac.word);
}

TEST_F(FlowPacTable, IsReadBack) {
    hdl_ = FlowIn(e_STATUS_CFG);
    const PacTblHdl pac = PacIn(e_STATUS_CFG);
    ASSERT_EQ(Set(1, 2, pac)(), 0u);
    u32 status = 9;
    u32 source = 9;
    PacTblHdl read = test::PacHdl(99);
    ExpectRefused([&] { return QIR_Get_PacInfo(&hdl_, &status, &source, &read); }, 0, "");
    EXPECT_EQ(status, 1u);
    EXPECT_EQ(source, 2u);
    EXPECT_EQ(read.word, pac.word);
    RaiseLog(3);
    ExpectRefused([&] { return QIR_Get_PacInfo(&hdl_, &status, &source, &read); }, 0,
                  Inf(kGetPac, "Params: flowHdl_p<0x<ptr>> pacTblSts_p<0x<ptr>> pacTblHdl_p<0x<ptr>>") +
                      Inf(kGetPac, "Params2: flowHdl<0>") +
                      Inf(kGetPac, "flowHdl<0> pacTblSts<1> pacTblHdl<0>") + Inf(kGetPac, "pbitsSource<2>"));
}

TEST_F(FlowPacTable, NeverSetReadsBackAsTheFill) {
    hdl_ = FlowIn(e_STATUS_CFG);
    u32 status = 9;
    u32 source = 9;
    PacTblHdl read{};
    RaiseLog(2);
    ExpectRefused([&] { return QIR_Get_PacInfo(&hdl_, &status, &source, &read); }, 0,
                  Inf(kGetPac, "Params: flowHdl_p<0x<ptr>> pacTblSts_p<0x<ptr>> pacTblHdl_p<0x<ptr>>") +
                      Inf(kGetPac, "Params2: flowHdl<0>") +
                      Inf(kGetPac, "flowHdl<0> pacTblSts<0> pacTblHdl<165>") +
                      Inf(kGetPac, "pbitsSource<2779096485>"));
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(source, kFill32);
    EXPECT_EQ(read.word, kFill32);
}

TEST_F(FlowPacTable, SecondAssociationKeepsOnlyTheHandle) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    const PacTblHdl first = PacIn(e_STATUS_CFG);
    const PacTblHdl second = PacIn(e_STATUS_CFG);
    ASSERT_EQ(Set(1, 0, first)(), 0u);
    const ContextSnapshot before;
    ExpectCall(Set(1, 2, second), 15, Refusal(kSetPac, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
    EXPECT_EQ(fcb.pacTblHdl.word, second.word);
    EXPECT_EQ(PacOf(first).refCnt, 1);
    EXPECT_EQ(PacOf(second).refCnt, 0);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.pacTblHdl)}));
    ExpectCall(Set(1, 2, first), 15, Refusal(kSetPac, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(PacOf(first).refCnt, 1);
}

TEST_F(FlowPacTable, ReleaseWithoutAssociationKeepsOnlyTheHandle) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    fcb.tblAssoc = 0x1;
    const PacTblHdl pac = PacIn(e_STATUS_CFG);
    const ContextSnapshot before;
    ExpectCall(Set(0, 2, pac), 14, Refusal(kSetPac, "e_RET_ERR_RESRC_NOT_ACTIVE", 14));
    EXPECT_EQ(fcb.pacTblHdl.word, pac.word);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.pacTblHdl)}));
}

TEST_F(FlowPacTable, OfAnActiveFlowKeepsOnlyTheHandle) {
    hdl_ = FlowIn(e_STATUS_ACTIVE);
    Fcb &fcb = FcbOf(hdl_);
    const PacTblHdl pac = PacIn(e_STATUS_ACTIVE);
    for (const u32 status : {1u, 0u}) {
        fcb.tblAssoc = status == 1 ? 0x0 : 0x2;
        fcb.pacTblHdl.word = 99;
        const ContextSnapshot before;
        ExpectCall(Set(status, 2, pac), 17, Refusal(kSetPac, "e_RET_ERR_STATE_NOTCFG", 17));
        EXPECT_EQ(fcb.pacTblHdl.word, pac.word);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.pacTblHdl)}));
    }
}

TEST_F(FlowPacTable, LogsTheAssociationBeforeAndAfter) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    const PacTblHdl pac = PacIn(e_STATUS_CFG);
    PacOf(pac).refCnt = 4;
    RaiseLog(3);
    const auto params = [](u32 status, u32 source) {
        return Inf(kSetPac, "Params: flowHdl_p<0x<ptr>> pacTblSts<" + std::to_string(status) + ">") +
               Inf(kSetPac, "Params: pacTblHdl_p<0x<ptr>> pbitsSource<" + std::to_string(source) + ">") +
               Inf(kSetPac, "Params2: flowHdl<0> pacTblHdl<0>");
    };
    ExpectCall(Set(1, 2, pac), 0,
               params(1, 2) + "[DBG orxapi] QIR_Set_PacInfo: TblAssoc=<0> refCnt=<4>\n"
                              "[DBG orxapi] QIR_Set_PacInfo: After TblAssoc=<1> refCnt=<5>\n");
    ExpectCall(Set(1, 2, pac), 15,
               params(1, 2) + "[DBG orxapi] QIR_Set_PacInfo: TblAssoc=<1> refCnt=<5>\n" +
                   Refusal(kSetPac, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
    ExpectCall(Set(0, 0, pac), 0,
               params(0, 0) + "[DBG orxapi] QIR_Set_PacInfo: TblAssoc=<1> refCnt=<5>\n"
                              "[DBG orxapi] QIR_Set_PacInfo: After TblAssoc=<0> refCnt=<4>\n");
    RaiseLog(2);
    ExpectCall(Set(1, 1, pac), 0, params(1, 1));
}

} // namespace
} // namespace flows
