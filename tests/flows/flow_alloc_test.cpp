// Allocation and release of flows, and the count of each section.
#include "tests/flows/fcb_model.h"
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FlowAlloc : public FlowTest {
  protected:
    // An FCB right behind its allocation.
    static FcbModel Allocated(u32 word, u32 section) {
        FcbModel model;
        model.Set32(0, e_STATUS_ALLOC);
        model.Set32(4, word);
        model.Set32(12, section);
        return model;
    }

    static u16 Count(u32 section) { return qirCtxt_gp->cfg.flowSection[section].cfgFlows; }
};

class FlowFree : public FlowTest {};

const char *const kAlloc = "QIR_Alloc_FCB";
const char *const kAllocAt = "QIR_Alloc_FCB_Specify_Index";

TEST_F(FlowAlloc, TakesTheLowestFreeFcb) {
    for (unsigned i = 0; i < 4; ++i) {
        FlowHdl hdl{};
        hdl.word = 0xFFFFFFFF;
        const ContextSnapshot before;
        ExpectCall([&] { return QIR_Alloc_FCB(2, &hdl); }, 0, "");
        EXPECT_EQ(hdl.f1.id, i);
        EXPECT_EQ(Allocated(hdl.word, 2).DiffersFrom(BytesOf(qirCtxt_gp->fcbPool[i])), "");
        EXPECT_EQ(Count(2), i + 1);
        EXPECT_TRUE(
            ChangedOnlyIn(before, {Place(FcbOf(hdl)), Place(qirCtxt_gp->cfg.flowSection[2].cfgFlows)}));
    }
}

TEST_F(FlowAlloc, KeepsTheUpperHalfOfTheHandle) {
    FlowIn(e_STATUS_ALLOC);
    FlowHdl hdl{};
    hdl.word = 0xBEEF1234;
    ASSERT_EQ(QIR_Alloc_FCB(0, &hdl), 0u);
    EXPECT_EQ(hdl.word, 0xBEEF0001u);
    EXPECT_EQ(qirCtxt_gp->fcbPool[1].flowHdl.word, 0xBEEF0001u);
}

TEST_F(FlowAlloc, DoesNotLookAtTheBudget) {
    ASSERT_EQ(qirCtxt_gp->cfg.flowSection[0].maxFlows, 0);
    for (int i = 0; i < 3; ++i) {
        FlowIn(e_STATUS_ALLOC, 0);
    }
    EXPECT_EQ(Count(0), 3);
    EXPECT_EQ(Count(1), 0);
}

TEST_F(FlowAlloc, ARecordThatSaysFreeIsFreeWhoeverWroteIt) {
    for (unsigned i = 0; i < 40; ++i) {
        FlowIn(e_STATUS_ALLOC);
    }
    FlowHdl hdl{};
    qirCtxt_gp->fcbPool[5].status = e_STATUS_FREE;
    ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
    EXPECT_EQ(hdl.f1.id, 5u);

    qirCtxt_gp->fcbPool[40].status = e_STATUS_ACTIVE;
    ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
    EXPECT_EQ(hdl.f1.id, 41u);
}

TEST_F(FlowAlloc, AContextRestoredFromACopyHasItsOwnFreeFlows) {
    for (unsigned i = 0; i < 40; ++i) {
        FlowIn(e_STATUS_ALLOC);
    }
    FlowHdl hdl = test::Flow(5);
    ASSERT_EQ(QIR_Free_FCB(&hdl), 0u);
    const qir::QirCtxt copy = *qirCtxt_gp;
    for (const unsigned expected : {5u, 40u, 41u}) {
        EXPECT_EQ(FlowIn(e_STATUS_ALLOC).f1.id, expected);
    }
    *qirCtxt_gp = copy;
    for (const unsigned expected : {5u, 40u}) {
        EXPECT_EQ(FlowIn(e_STATUS_ALLOC).f1.id, expected);
    }
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
    EXPECT_EQ(hdl.f1.id, 0u);
}

TEST_F(FlowAlloc, AnyOneFlowFreedInAFullPoolIsFound) {
    for (unsigned i = 0; i < QIR_MAX_FLOWS; ++i) {
        FlowIn(e_STATUS_ALLOC);
    }
    for (unsigned i = 0; i < QIR_MAX_FLOWS; ++i) {
        FlowHdl hdl = test::Flow(i);
        ASSERT_EQ(QIR_Free_FCB(&hdl), 0u);
        hdl.f1.id = QIR_MAX_FLOWS;
        ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
        EXPECT_EQ(hdl.f1.id, i);
    }
}

TEST_F(FlowAlloc, ReusesTheLowestFreedFcb) {
    std::vector<FlowHdl> flows;
    for (int i = 0; i < 10; ++i) {
        flows.push_back(FlowIn(e_STATUS_CFG));
    }
    FcbOf(flows[5]).reqPool[3].key = 77;
    FcbOf(flows[5]).asOverride = 1;
    ASSERT_EQ(QIR_Free_FCB(&flows[5]), 0u);
    FlowHdl hdl{};
    ASSERT_EQ(QIR_Alloc_FCB(0, &hdl), 0u);
    EXPECT_EQ(hdl.f1.id, 5u);
    EXPECT_EQ(Allocated(5, 0).DiffersFrom(BytesOf(FcbOf(hdl))), "");
    EXPECT_EQ(Count(1), 9);
    EXPECT_EQ(Count(0), 1);
}

TEST_F(FlowAlloc, ChosenFcbIsTakenWithTheWholeHandle) {
    FlowHdl hdl{};
    hdl.word = 0xCAFE01FF;
    const ContextSnapshot before;
    ExpectCall([&] { return QIR_Alloc_FCB_Specify_Index(1, &hdl); }, 0, "");
    EXPECT_EQ(hdl.word, 0xCAFE01FFu);
    EXPECT_EQ(Allocated(0xCAFE01FF, 1).DiffersFrom(BytesOf(qirCtxt_gp->fcbPool[511])), "");
    EXPECT_EQ(Count(1), 1);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(FcbOf(hdl)), Place(qirCtxt_gp->cfg.flowSection[1].cfgFlows)}));
    EXPECT_EQ(FlowIn(e_STATUS_ALLOC).f1.id, 0u);
}

TEST_F(FlowAlloc, LogsParametersAndHandle) {
    RaiseLog(2);
    FlowHdl hdl{};
    ExpectCall([&] { return QIR_Alloc_FCB(1, &hdl); }, 0,
               Inf(kAlloc, "Params: section<1>, flowHdl_p<0x<ptr>>") + Inf(kAlloc, "flowHdl<0>"));
    hdl = test::Flow(300);
    ExpectCall([&] { return QIR_Alloc_FCB_Specify_Index(2, &hdl); }, 0,
               Inf(kAllocAt, "Params: section<2>, flowHdl_p<0x<ptr>>") + Inf(kAllocAt, "flowHdl<300>"));
    ExpectRefused([&] { return QIR_Alloc_FCB_Specify_Index(2, &hdl); }, 12,
                  Inf(kAllocAt, "Params: section<2>, flowHdl_p<0x<ptr>>") +
                      Err(kAllocAt, " FCB index not free!") +
                      Refusal(kAllocAt, "e_RET_ERR_RESRC_UNAVAIL", 12));
    ExpectRefused([] { return QIR_Alloc_FCB(7, nullptr); }, 2,
                  Inf(kAlloc, "Params: section<7>, flowHdl_p<0x<nil>>") +
                      Refusal(kAlloc, "e_RET_ERR_NULL_PTR", 2));
    RaiseLog(3);
    ExpectCall([&] { return QIR_Alloc_FCB(0, &hdl); }, 0,
               Inf(kAlloc, "Params: section<0>, flowHdl_p<0x<ptr>>") + Inf(kAlloc, "flowHdl<1>"));
}

// ---- release --------------------------------------------------------------------------------------

TEST_F(FlowFree, ReleasesTheFlowAndKeepsItsContents) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        SCOPED_TRACE(status);
        FlowHdl hdl = FlowIn(status, 2);
        Fcb &fcb = FcbOf(hdl);
        AllocHdrs(fcb, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
        const u16 count = qirCtxt_gp->cfg.flowSection[2].cfgFlows;
        const ContextSnapshot before;
        ExpectCall([&] { return QIR_Free_FCB(&hdl); }, 0, "");
        EXPECT_EQ(fcb.status, 0u);
        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[2].cfgFlows, count - 1);
        EXPECT_TRUE(
            ChangedOnlyIn(before, {Place(fcb.status), Place(qirCtxt_gp->cfg.flowSection[2].cfgFlows)}));
        EXPECT_EQ(orxemu_numRequests(), 0u);
        ExpectRefused([&] { return QIR_Free_FCB(&hdl); }, 3, HdlFree("QIR_Free_FCB", hdl.f1.id));
    }
}

TEST_F(FlowFree, ReleasesBothTables) {
    FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    PacTblHdl pac = PacIn(e_STATUS_CFG);
    EpTblHdl ep = EpIn(4, e_STATUS_CFG);
    ASSERT_EQ(QIR_Set_EpInfo(&hdl, 1, &ep), 0u);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl, 1, 2, &pac), 0u);
    EpOf(ep).refCnt = 7;
    PacOf(pac).refCnt = 9;
    Fcb &fcb = FcbOf(hdl);
    ASSERT_EQ(fcb.tblAssoc, 0x3);
    const ContextSnapshot before;
    ExpectCall([&] { return QIR_Free_FCB(&hdl); }, 0, "");
    EXPECT_EQ(EpOf(ep).refCnt, 6);
    EXPECT_EQ(PacOf(pac).refCnt, 8);
    EXPECT_EQ(fcb.tblAssoc, 0);
    EXPECT_EQ(fcb.epTblHdl.word, ep.word);
    EXPECT_EQ(fcb.pacTblHdl.word, pac.word);
    EXPECT_EQ(fcb.pbitsSource, 2u);
    EXPECT_TRUE(
        ChangedOnlyIn(before, {Place(fcb.status), Place(fcb.tblAssoc), Place(EpOf(ep).refCnt),
                               Place(PacOf(pac).refCnt), Place(qirCtxt_gp->cfg.flowSection[1].cfgFlows)}));
}

TEST_F(FlowFree, ReleasesOnlyTheTablesItUses) {
    FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    PacTblHdl pac = PacIn(e_STATUS_CFG);
    EpTblHdl ep = EpIn(0, e_STATUS_CFG);
    FcbOf(hdl).epTblHdl = ep;
    FcbOf(hdl).pacTblHdl = pac;
    EpOf(ep).refCnt = PacOf(pac).refCnt = 3;
    FcbOf(hdl).tblAssoc = 0x1;
    ASSERT_EQ(QIR_Free_FCB(&hdl), 0u);
    EXPECT_EQ(EpOf(ep).refCnt, 2);
    EXPECT_EQ(PacOf(pac).refCnt, 3);

    hdl = FlowIn(e_STATUS_ALLOC);
    FcbOf(hdl).epTblHdl = ep;
    FcbOf(hdl).pacTblHdl = pac;
    FcbOf(hdl).tblAssoc = 0x2;
    ASSERT_EQ(QIR_Free_FCB(&hdl), 0u);
    EXPECT_EQ(EpOf(ep).refCnt, 2);
    EXPECT_EQ(PacOf(pac).refCnt, 2);
}

TEST_F(FlowFree, TableReplacedByARefusedCallIsTheOneReleased) {
    FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    PacTblHdl used = PacIn(e_STATUS_CFG);
    PacTblHdl other = PacIn(e_STATUS_CFG);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl, 1, 0, &used), 0u);
    ASSERT_EQ(Call([&] { return QIR_Set_PacInfo(&hdl, 1, 0, &other); }).rc, 15u);
    ExpectCall([&] { return QIR_Free_FCB(&hdl); }, 0,
               Assertion("qirapi_access", "decrPacTblRefCnt", "(tbl_p->refCnt != 0)"));
    EXPECT_EQ(PacOf(used).refCnt, 1);
    EXPECT_EQ(PacOf(other).refCnt, 0xFFFF);
}

} // namespace
} // namespace flows
