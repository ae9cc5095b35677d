// Flow control blocks: initialisation, the pool, the flow handle.
#include "tests/flows/fcb_model.h"
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FcbInit : public FlowTest {};
class FlowHandle : public FlowTest {};

TEST_F(FcbInit, WritesExactlyTheFieldsThatHaveAnInitialValue) {
    Fcb &fcb = qirCtxt_gp->fcbPool[7];
    for (const int junk : {0x00, 0xFF, 0x5A}) {
        SCOPED_TRACE(junk);
        std::memset(static_cast<void *>(&fcb), junk, sizeof fcb);
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::Init_FCB(&fcb); }), "");
        EXPECT_EQ(FcbModel().DiffersFrom(BytesOf(fcb)), "");
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb)}));
    }
}

TEST_F(FcbInit, StartUpLeavesAllFcbsInitialisedAndFree) {
    FcbModel expected;
    expected.Set32(0, e_STATUS_FREE);
    for (unsigned i = 0; i < QIR_MAX_FLOWS; ++i) {
        ASSERT_EQ(expected.DiffersFrom(BytesOf(qirCtxt_gp->fcbPool[i])), "") << "FCB " << i;
    }
}

TEST_F(FlowHandle, NamesItsFcb) {
    for (const unsigned id : {0u, 1u, 255u, 256u, 511u}) {
        SCOPED_TRACE(id);
        FlowHdl hdl = test::Flow(id);
        hdl.f1.rsvd = 0xBEEF;
        u16 idx = 0;
        Fcb *fcb = nullptr;
        FlowHdl made{};
        EXPECT_EQ(CaptureMasked([&] {
                      idx = qir::GetIdxFromFlowHdl(hdl);
                      fcb = qir::GetFCB(hdl);
                      made = qir::GetFlowHdlFromIdx(static_cast<u16>(id));
                  }),
                  "");
        EXPECT_EQ(idx, id);
        EXPECT_EQ(fcb, &qirCtxt_gp->fcbPool[id]);
        EXPECT_EQ(made.f1.id, id);
    }
}

TEST_F(FlowHandle, LiesInTheLowHalfOfItsWord) {
    FlowHdl hdl{};
    hdl.word = 0x00010005;
    EXPECT_EQ(qir::GetIdxFromFlowHdl(hdl), 5);
    EXPECT_EQ(qir::GetFCB(hdl), &qirCtxt_gp->fcbPool[5]);
}

TEST_F(FlowHandle, IndexOutOfRangeIsAssertedAndUsed) {
    u16 idx = 0;
    EXPECT_EQ(CaptureMasked([&] { idx = qir::GetIdxFromFlowHdl(test::Flow(512)); }),
              Assertion("qirapi_private", "GetIdxFromFlowHdl", "(flowHdl.f1.id < QIR_MAX_FLOWS)"));
    EXPECT_EQ(idx, 512);
    EXPECT_EQ(CaptureMasked([&] { idx = qir::GetIdxFromFlowHdl(test::Flow(0xFFFF)); }),
              Assertion("qirapi_private", "GetIdxFromFlowHdl", "(flowHdl.f1.id < QIR_MAX_FLOWS)"));
    EXPECT_EQ(idx, 0xFFFF);

    FlowHdl made{};
    EXPECT_EQ(CaptureMasked([&] { made = qir::GetFlowHdlFromIdx(512); }),
              Assertion("qirapi_private", "GetFlowHdlFromIdx", "(flowIdx < QIR_MAX_FLOWS)"));
    EXPECT_EQ(made.f1.id, 512u);

    const Fcb *fcb = nullptr;
    EXPECT_EQ(CaptureMasked([&] { fcb = qir::GetFCB(test::Flow(512)); }),
              Assertion("qirapi_private", "GetFCB", "(flowHdl.f1.id < QIR_MAX_FLOWS)"));
    EXPECT_EQ(fcb, qirCtxt_gp->fcbPool + 512);
}

TEST_F(FlowHandle, IsValidInEveryStateButFree) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        SCOPED_TRACE(status);
        qirCtxt_gp->fcbPool[511].status = status;
        FlowHdl hdl = test::Flow(511);
        hdl.f1.rsvd = 0xFFFF;
        ExpectRefused([&] { return qir::Validate_FlowHdl(hdl); }, 0, "");
    }
}

} // namespace
} // namespace flows
