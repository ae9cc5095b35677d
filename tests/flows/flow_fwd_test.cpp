// The public operations on forwarding information and destinations.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FlowForwarding : public FlowTest {
  protected:
    Op Set(const FwdInfo &fwd) {
        return [this, fwd] { return QIR_Set_FwdInfo(&hdl_, &fwd); };
    }

    FlowHdl hdl_{};
};

class FlowDestination : public FlowForwarding {
  protected:
    // A flow from port 1 to ports 0 and 1 on queue 3.
    void Prepare(u32 status) {
        hdl_ = FlowIn(e_STATUS_ALLOC);
        if (status != e_STATUS_ALLOC) {
            FwdInfo fwd = PlainFwd();
            fwd.dst.portMask = 0x3;
            fwd.dst.portQid[1] = 3;
            ASSERT_EQ(QIR_Set_FwdInfo(&hdl_, &fwd), 0u);
        }
        if (status == e_STATUS_ACTIVE) {
            ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
        }
        orxemu_clearLog();
    }
    Op Add(u32 ports, u32 gems = 0) {
        return [this, ports, gems] {
            const DstMask dst = Masks(ports, gems);
            return QIR_Add_DstPortInfo(&hdl_, &dst);
        };
    }
    Op Rem(u32 ports, u32 gems = 0) {
        return [this, ports, gems] {
            const DstMask dst = Masks(ports, gems);
            return QIR_Rem_DstPortInfo(&hdl_, &dst);
        };
    }

  private:
    static DstMask Masks(u32 ports, u32 gems) {
        DstMask dst;
        std::memset(static_cast<void *>(&dst), 0x06, sizeof dst);
        dst.portMask = ports;
        dst.gemPortIdxMask = gems;
        return dst;
    }
};

const char *const kSet = "QIR_Set_FwdInfo";
const char *const kGet = "QIR_Get_FwdInfo";
const char *const kAdd = "QIR_Add_DstPortInfo";
const char *const kRem = "QIR_Rem_DstPortInfo";

bool Same(const FwdInfo &left, const FwdInfo &right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

// ---- set ------------------------------------------------------------------------------------------

TEST_F(FlowForwarding, AcceptedRecordIsCopiedWhole) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        hdl_ = FlowIn(status);
        FwdInfo fwd;
        std::memset(static_cast<void *>(&fwd), 0x3C, sizeof fwd);
        fwd.flowPrio = 31;
        fwd.src.portMask = 0x100;
        fwd.dst.portMask = 0x20;
        fwd.dst.portQid[5] = 7;
        fwd.fwdAction = 7;
        Fcb &fcb = FcbOf(hdl_);
        const ContextSnapshot before;
        ExpectCall(Set(fwd), 0, "");
        EXPECT_TRUE(Same(fcb.fwdInfo, fwd));
        EXPECT_EQ(fcb.fwdInfoSet, 1u);
        EXPECT_EQ(fcb.status, 2u);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.fwdInfo), Place(fcb.fwdInfoSet), Place(fcb.status)}));
        EXPECT_EQ(orxemu_numRequests(), 0u);
    }
}

TEST_F(FlowForwarding, MayBeSetAgain) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    FwdInfo fwd = PlainFwd();
    ASSERT_EQ(Set(fwd)(), 0u);
    fwd.flowPrio = 9;
    ASSERT_EQ(Set(fwd)(), 0u);
    EXPECT_EQ(FcbOf(hdl_).fwdInfo.flowPrio, 9u);
}

TEST_F(FlowForwarding, LimitsAreAcceptedOnTheirInnerSide) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    for (const u32 action : {0u, 1u, 7u}) {
        FwdInfo fwd = PlainFwd();
        fwd.fwdAction = action;
        fwd.flowPrio = action == 0 ? 0 : 31;
        ExpectCall(Set(fwd), 0, "");
    }
    for (const u32 beyond : {8u, 9u, 0xFFFFFFFFu}) {
        FwdInfo fwd = PlainFwd();
        fwd.fwdAction = beyond;
        ExpectRefused(Set(fwd), 30, Refusal(kSet, "e_RET_ERR_INVALID_FWDACTION", 30));
    }
    for (const u32 beyond : {32u, 33u, 0xFFFFFFFFu}) {
        FwdInfo fwd = PlainFwd();
        fwd.flowPrio = beyond;
        ExpectRefused(Set(fwd), 59, Refusal(kSet, "e_RET_ERR_INVALID_FLOWPRIO", 59));
    }
}

TEST_F(FlowForwarding, NoDestinationIsForDropAlone) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    FwdInfo fwd = PlainFwd();
    fwd.dst.portMask = 0;
    for (const u32 action : {0u, 2u, 3u, 4u, 5u, 6u, 7u}) {
        fwd.fwdAction = action;
        ExpectRefused(Set(fwd), 39, Refusal(kSet, "e_RET_ERR_INVALID_DSTPORTMASK", 39));
    }
    fwd.fwdAction = e_FWD_ACTION_DROP;
    ExpectCall(Set(fwd), 0, "");
    EXPECT_TRUE(Same(FcbOf(hdl_).fwdInfo, fwd));
}

TEST_F(FlowForwarding, ParametersAreLoggedAsTheyAreLookedAt) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    RaiseLog(2);
    FwdInfo fwd = PlainFwd();
    fwd.src = {0xAB, 0x82};
    const std::string head =
        Inf(kSet, "Params: flowHdl_p<0x<ptr>> fwdInfo_p<0x<ptr>>") + Inf(kSet, "Params2: flowHdl<0>");
    const std::string masks = Inf(kSet, "Params2: src portMask<0x00000082> gemPortIdxMask<0x000000ab>") +
                              Inf(kSet, "Params2: dst portMask<0x00000001> gemPortIdxMask<0x00000000>");
    ExpectCall(Set(fwd), 0, head + Inf(kSet, "Params2: flowPrio<4> fwdAction<4>") + masks);
    fwd.flowPrio = 77;
    ExpectRefused(Set(fwd), 59,
                  head + Inf(kSet, "Params2: flowPrio<77> fwdAction<4>") + masks +
                      Refusal(kSet, "e_RET_ERR_INVALID_FLOWPRIO", 59));
    fwd.fwdAction = 8;
    ExpectRefused(Set(fwd), 30,
                  head + Inf(kSet, "Params2: flowPrio<77> fwdAction<8>") +
                      Refusal(kSet, "e_RET_ERR_INVALID_FWDACTION", 30));
}

// ---- get ------------------------------------------------------------------------------------------

TEST_F(FlowForwarding, IsReadBackWhole) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    FwdInfo fwd = PlainFwd();
    fwd.dst.rsvd[1] = 0x77;
    ASSERT_EQ(Set(fwd)(), 0u);
    for (const bool active : {false, true}) {
        if (active) {
            ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
        }
        FwdInfo read{};
        ExpectRefused([&] { return QIR_Get_FwdInfo(&hdl_, &read); }, 0, "");
        EXPECT_TRUE(Same(read, fwd));
    }
    RaiseLog(2);
    FwdInfo read{};
    ExpectRefused([&] { return QIR_Get_FwdInfo(&hdl_, &read); }, 0,
                  Inf(kGet, "Params: flowHdl_p<0x<ptr>> fwdInfo_p<0x<ptr>>") +
                      Inf(kGet, "Params2: flowHdl<0>") +
                      Inf(kGet, "flowHdl<0> src portMask<0x00000002> gemPortIdxMask<0x00000000>") +
                      Inf(kGet, "dst portMask<0x00000001> gemPortIdxMask<0x00000000>") +
                      Inf(kGet, "flowPrio<4> fwdAction<4>"));
}

// ---- destinations ---------------------------------------------------------------------------------

TEST_F(FlowDestination, ZeroPortMaskChangesNothing) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        Prepare(status);
        ExpectRefused(Add(0), 0, "");
        ExpectRefused(Add(0, 0xFF), 0, "");
        ExpectRefused(Rem(0), 0, "");
        ExpectRefused(Rem(0, 0xFFFFFFFF), 0, "");
    }
}

TEST_F(FlowDestination, ChangesTheRecordOfAnInactiveFlowOnly) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        SCOPED_TRACE(status);
        Prepare(status);
        Fcb &fcb = FcbOf(hdl_);
        FwdInfo expected = fcb.fwdInfo;
        const u32 set = fcb.fwdInfoSet;
        const ContextSnapshot before;
        ExpectCall(Add(0x10), 0, "");
        expected.dst.portMask |= 0x10;
        EXPECT_TRUE(Same(fcb.fwdInfo, expected));
        ExpectCall(Rem(0x10), 0, "");
        EXPECT_TRUE(before.Unchanged());
        ExpectCall(Rem(0x1), 0, "");
        expected.dst.portMask &= ~0x11u;
        EXPECT_TRUE(Same(fcb.fwdInfo, expected));
        EXPECT_EQ(fcb.status, status);
        EXPECT_EQ(fcb.fwdInfoSet, set);
        EXPECT_EQ(orxemu_numRequests(), 0u);
    }
}

TEST_F(FlowDestination, AddingWithoutAQueueStillSucceeds) {
    Prepare(e_STATUS_CFG);
    ExpectRefused(Add(0x200), 0, "");
    ExpectRefused(Add(0x80, 0), 0, "");
    ExpectCall(Add(0x84, 0), 0, "");
    EXPECT_EQ(FcbOf(hdl_).fwdInfo.dst.portMask, 0x7u);
}

TEST_F(FlowDestination, ChangedRecordIsNotCheckedAgain) {
    Prepare(e_STATUS_CFG);
    FcbOf(hdl_).fwdInfo.dst.portQid[4] = 200;
    ExpectCall(Add(0x10), 0, "");
    EXPECT_EQ(FcbOf(hdl_).fwdInfo.dst.portQid[4], 200);
    ExpectCall(Rem(0x1FF), 0, "");
    EXPECT_EQ(FcbOf(hdl_).fwdInfo.dst.portMask, 0u);
}

TEST_F(FlowDestination, ParametersAreLogged) {
    Prepare(e_STATUS_CFG);
    RaiseLog(2);
    struct Row {
        const char *name;
        Op op;
    };
    for (const Row &row : {Row{kAdd, Add(0x80, 0x2)}, Row{kRem, Rem(0x80, 0x2)}}) {
        ExpectCall(row.op, 0,
                   Inf(row.name, "Params: flowHdl_p<0x<ptr>> dstMask_p<0x<ptr>>") +
                       Inf(row.name, "Params2: flowHdl<0>") +
                       Inf(row.name, "Params2: dst portMask<0x00000080> gemPortIdxMask<0x00000002>"));
    }
}

// ---- destinations of a flow in hardware -----------------------------------------------------------

TEST_F(FlowDestination, ActiveFlowIsUpdatedInHardware) {
    FlowIn(e_STATUS_ACTIVE); // takes the driver's index 0
    Prepare(e_STATUS_ACTIVE);
    Fcb &fcb = FcbOf(hdl_);
    ASSERT_EQ(fcb.hwFlowIdx, 1u);
    for (const bool adding : {true, false}) {
        FwdInfo expected = fcb.fwdInfo;
        expected.dst.portMask = adding ? 0x43 : 0x42;
        expected.dst.gemPortIdxMask = 0;
        const ContextSnapshot before;
        ExpectCall(adding ? Add(0x40) : Rem(0x1), 0, "");
        EXPECT_TRUE(Same(fcb.fwdInfo, expected));
        EXPECT_EQ(fcb.status, 3u);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.fwdInfo)}));
        const OrxEmuRequest &request = LastRequest();
        EXPECT_EQ(request.request, 43);
        EXPECT_EQ(request.err, 0);
        EXPECT_EQ(request.recordSize, 72u);
        EXPECT_EQ(WordAt(request.in, 0), 1u);
        EXPECT_EQ(std::memcmp(request.in + 4, &expected, 68), 0);
        EXPECT_EQ(std::memcmp(orxemu_state()->flow[1].fcb + 272, &expected, 68), 0);
    }
    EXPECT_EQ(orxemu_numRequests(), 2u);
}

TEST_F(FlowDestination, ActiveFlowIsUpdatedEvenIfNothingWasAdded) {
    Prepare(e_STATUS_ACTIVE);
    const ContextSnapshot before;
    ExpectCall(Add(0x200), 0, "");
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(orxemu_numRequests(), 1u);
    EXPECT_EQ(LastRequest().request, 43);
}

TEST_F(FlowDestination, DeactivatedFlowIsNotUpdatedInHardware) {
    Prepare(e_STATUS_ACTIVE);
    ASSERT_EQ(QIR_Deactivate_FCB(&hdl_), 0u);
    orxemu_clearLog();
    ExpectCall(Add(0x40), 0, "");
    ExpectCall(Rem(0x1), 0, "");
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(FcbOf(hdl_).fwdInfo.dst.portMask, 0x42u);
}

} // namespace
} // namespace flows
