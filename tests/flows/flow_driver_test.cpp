// Flows in hardware: activation, deactivation, hit counters, and what the driver's side sees of them.
#include "tests/flows/flow_test.h"

#include <cerrno>

namespace flows {
namespace {

class FlowInHardware : public FlowTest {
  protected:
    Op Activate() {
        return [this] { return QIR_Activate_FCB(&hdl_); };
    }
    Op Deactivate() {
        return [this] { return QIR_Deactivate_FCB(&hdl_); };
    }
    Op Hits() {
        return [this] { return QIR_Get_FCBHits(&hdl_, &hits_); };
    }

    // A configured flow; those before it hold the driver's first indexes.
    void Prepare(unsigned others) {
        for (unsigned i = 0; i < others; ++i) {
            FlowIn(e_STATUS_ACTIVE);
        }
        hdl_ = FlowIn(e_STATUS_CFG);
        orxemu_clearLog();
    }

    Fcb &fcb() { return FcbOf(hdl_); }

    FlowHdl hdl_{};
    FcbHits hits_{};
};

const char *const kActivate = "QIR_Activate_FCB";
const char *const kDeactivate = "QIR_Deactivate_FCB";
const char *const kHits = "QIR_Get_FCBHits";

u32 AddressOf(const Fcb &fcb) {
    return static_cast<u32>(reinterpret_cast<std::uintptr_t>(&fcb));
}

// ---- activation -----------------------------------------------------------------------------------

TEST_F(FlowInHardware, FcbsLieWhereA32BitWordReaches) {
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(&qirCtxt_gp->fcbPool[512 - 1]),
              std::uintptr_t{0xFFFFFFFF} - 1884);
}

TEST_F(FlowInHardware, ActivationHandsTheFcbToTheDriver) {
    Prepare(3);
    const FwdInfo fwd = PlainFwd();
    ASSERT_EQ(QIR_Set_FwdInfo(&hdl_, &fwd), 0u);
    AllocHdrs(fcb(), e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_IPV4});
    const std::vector<u8> shadow = BytesOf(fcb());
    const ContextSnapshot before;
    ExpectCall(Activate(), 0, "");
    EXPECT_EQ(fcb().status, 3u);
    EXPECT_EQ(fcb().hwFlowIdx, 3u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb().status), Place(fcb().hwFlowIdx)}));

    ASSERT_EQ(orxemu_numRequests(), 1u);
    const OrxEmuRequest &request = LastRequest();
    EXPECT_EQ(request.request, 29);
    EXPECT_EQ(request.err, 0);
    ASSERT_EQ(request.recordSize, 20u);
    EXPECT_EQ(WordAt(request.out, 0), 3u);
    EXPECT_EQ(WordAt(request.in, 4), 1884u);
    EXPECT_EQ(WordAt(request.in, 8), AddressOf(fcb()));
    EXPECT_EQ(WordAt(request.in, 12), 0xFFFFFFFFu);
    EXPECT_EQ(WordAt(request.in, 16), 0xFFFFFFFFu);
    ASSERT_EQ(request.fcbSize, 1884u);
    EXPECT_EQ(std::memcmp(request.fcb, shadow.data(), 1884), 0);

    const OrxEmuFlow &flow = orxemu_state()->flow[3];
    EXPECT_EQ(flow.active, 1);
    EXPECT_EQ(std::memcmp(flow.fcb, shadow.data(), 1884), 0);
    EXPECT_EQ(flow.pacTblIdx, -1);
    EXPECT_EQ(flow.epTblIdx, -1);
}

TEST_F(FlowInHardware, DriverIndexIsNotTheFcbIndex) {
    FlowHdl high = test::Flow(511);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &high), 0u);
    ASSERT_EQ(QIR_Set_AsOverride(&high, 0), 0u);
    ASSERT_EQ(QIR_Activate_FCB(&high), 0u);
    EXPECT_EQ(FcbOf(high).hwFlowIdx, 0u);
    EXPECT_EQ(WordAt(LastRequest().in, 8), AddressOf(qirCtxt_gp->fcbPool[511]));
    Prepare(0);
    ASSERT_EQ(Activate()(), 0u);
    EXPECT_EQ(hdl_.f1.id, 0u);
    EXPECT_EQ(fcb().hwFlowIdx, 1u);
}

TEST_F(FlowInHardware, ActivationNeedsNeitherForwardingNorHeaders) {
    Prepare(0);
    ASSERT_EQ(fcb().fwdInfoSet, 0u);
    ASSERT_EQ(fcb().filterBlk.hdrBmap, 0);
    ExpectCall(Activate(), 0, "");
}

TEST_F(FlowInHardware, TablesAreNamedByTheirDriverIndexes) {
    PacTblHdl first = PacIn(e_STATUS_CFG);
    PacTblHdl second = PacIn(e_STATUS_CFG);
    ASSERT_EQ(QIR_Activate_PacTable(&second), 0u);
    ASSERT_EQ(QIR_Activate_PacTable(&first), 0u);
    ASSERT_EQ(PacOf(first).hwTblIdx, 1u);
    EpTblHdl ep = EpIn(2, e_STATUS_ACTIVE, 0x77);
    struct Row {
        bool pac;
        bool ep;
        u32 pacIdx;
        u32 epIdx;
    };
    const Row rows[] = {{true, false, 1, 0xFFFFFFFF}, {false, true, 0xFFFFFFFF, 0x77}, {true, true, 1, 0x77}};
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.pac << row.ep);
        Prepare(0);
        if (row.pac) {
            ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 1, 0, &first), 0u);
        }
        if (row.ep) {
            ASSERT_EQ(QIR_Set_EpInfo(&hdl_, 1, &ep), 0u);
        }
        // No request brings an EP table into the hardware; the record counts here, not the driver's answer.
        for (const int number : {29, 30}) {
            Call(number == 29 ? Activate() : Deactivate());
            const OrxEmuRequest &request = LastRequest();
            ASSERT_EQ(request.request, number);
            EXPECT_EQ(WordAt(request.in, 12), row.pacIdx);
            EXPECT_EQ(WordAt(request.in, 16), row.epIdx);
            fcb().status = e_STATUS_ACTIVE;
        }
    }
}

TEST_F(FlowInHardware, ReleasedTablesAreNotNamed) {
    PacTblHdl pac = PacIn(e_STATUS_ACTIVE);
    EpTblHdl ep = EpIn(1, e_STATUS_ACTIVE, 9);
    Prepare(0);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 1, 0, &pac), 0u);
    ASSERT_EQ(QIR_Set_EpInfo(&hdl_, 1, &ep), 0u);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 0, 0, &pac), 0u);
    ASSERT_EQ(QIR_Set_EpInfo(&hdl_, 0, &ep), 0u);
    ASSERT_EQ(Activate()(), 0u);
    EXPECT_EQ(WordAt(LastRequest().in, 12), 0xFFFFFFFFu);
    EXPECT_EQ(WordAt(LastRequest().in, 16), 0xFFFFFFFFu);
}

TEST_F(FlowInHardware, AssociatedTablesMustBeActive) {
    const std::string refusal = Refusal(kActivate, "e_RET_ERR_STATE_NOT_ACTIVE", 18);
    PacTblHdl pac = PacIn(e_STATUS_CFG);
    EpTblHdl ep = EpIn(0, e_STATUS_CFG);
    Prepare(0);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 1, 0, &pac), 0u);
    ASSERT_EQ(QIR_Set_EpInfo(&hdl_, 1, &ep), 0u);
    orxemu_failRequest(29, 1, EIO); // a refused flow never gets that far
    ExpectRefused(Activate(), 18, refusal);
    ASSERT_EQ(QIR_Activate_PacTable(&pac), 0u);
    ExpectRefused(Activate(), 18, refusal);
    for (const u32 status : {e_STATUS_FREE, e_STATUS_ALLOC}) {
        EpOf(ep).status = status;
        ExpectRefused(Activate(), 18, refusal);
    }
    EpOf(ep).status = e_STATUS_ACTIVE;
    ASSERT_EQ(QIR_Deactivate_PacTable(&pac), 0u);
    ExpectRefused(Activate(), 18, refusal);
    ASSERT_EQ(QIR_Activate_PacTable(&pac), 0u);
    EXPECT_EQ(Call(Activate()).rc, 1u);
    ExpectCall(Activate(), 0, "");
}

TEST_F(FlowInHardware, TableOfARefusedAssociationIsTheOneLookedAt) {
    PacTblHdl active = PacIn(e_STATUS_ACTIVE);
    PacTblHdl other = PacIn(e_STATUS_CFG);
    Prepare(0);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 1, 0, &active), 0u);
    ASSERT_EQ(Call([&] { return QIR_Set_PacInfo(&hdl_, 1, 0, &other); }).rc, 15u);
    ExpectRefused(Activate(), 18, Refusal(kActivate, "e_RET_ERR_STATE_NOT_ACTIVE", 18));
}

TEST_F(FlowInHardware, StateIsCheckedBeforeTheTables) {
    PacTblHdl pac = PacIn(e_STATUS_CFG);
    hdl_ = FlowIn(e_STATUS_ALLOC);
    fcb().tblAssoc = 0x3;
    fcb().pacTblHdl = pac;
    fcb().epTblHdl = test::EpHdl(0);
    ExpectRefused(Activate(), 17, Refusal(kActivate, "e_RET_ERR_STATE_NOTCFG", 17));
    fcb().status = e_STATUS_ACTIVE;
    ExpectRefused(Activate(), 15, Refusal(kActivate, "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
    fcb().status = e_STATUS_CFG;
    ExpectRefused(Activate(), 18, Refusal(kActivate, "e_RET_ERR_STATE_NOT_ACTIVE", 18));
}

TEST_F(FlowInHardware, LogsItsParameters) {
    Prepare(0);
    RaiseLog(3);
    const auto params = [](const char *fn) {
        return Inf(fn, "Params: flowHdl_p<0x<ptr>>") + Inf(fn, "Params2: flowHdl<0>");
    };
    ExpectCall(Activate(), 0, params(kActivate));
    orxemu_addHits(0, 0, 4000000000u);
    orxemu_addHits(0, 7, 5);
    ExpectCall(Hits(), 0,
               params(kHits) +
                   Inf(kHits, "flowHdl<0> numFlows<1> hits<4000000000> <0> <0> <0> <0> <0> <0> <5>"));
    ExpectCall(Deactivate(), 0, params(kDeactivate));
    ExpectCall([this] { return QIR_Free_FCB(&hdl_); }, 0, params("QIR_Free_FCB"));
}

// ---- deactivation ---------------------------------------------------------------------------------

TEST_F(FlowInHardware, DeactivationNamesTheDriversIndex) {
    Prepare(2);
    ASSERT_EQ(Activate()(), 0u);
    const ContextSnapshot before;
    ExpectCall(Deactivate(), 0, "");
    EXPECT_EQ(fcb().status, 2u);
    EXPECT_EQ(fcb().hwFlowIdx, 2u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb().status)}));
    const OrxEmuRequest &request = LastRequest();
    EXPECT_EQ(request.request, 30);
    EXPECT_EQ(request.recordSize, 20u);
    EXPECT_EQ(WordAt(request.in, 0), 2u);
    EXPECT_EQ(WordAt(request.in, 4), 1884u);
    EXPECT_EQ(WordAt(request.in, 8), AddressOf(fcb()));
    EXPECT_EQ(WordAt(request.in, 12), 0xFFFFFFFFu);
    EXPECT_EQ(WordAt(request.in, 16), 0xFFFFFFFFu);
    EXPECT_EQ(orxemu_state()->flow[2].active, 0);
    EXPECT_EQ(orxemu_state()->flow[1].active, 1);
}

TEST_F(FlowInHardware, ChangedFlowIsCopiedAgainAtTheNextActivation) {
    Prepare(0);
    ASSERT_EQ(Activate()(), 0u);
    ASSERT_EQ(Deactivate()(), 0u);
    ASSERT_EQ(QIR_Set_AsOverride(&hdl_, 1), 0u);
    const std::vector<u8> shadow = BytesOf(fcb());
    ASSERT_EQ(Activate()(), 0u);
    EXPECT_EQ(std::memcmp(orxemu_state()->flow[0].fcb, shadow.data(), 1884), 0);
}

TEST_F(FlowInHardware, OnlyActiveFlowsAreDeactivatedOrCounted) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        hdl_ = FlowIn(status);
        ExpectRefused(Deactivate(), 14, Refusal(kDeactivate, "e_RET_ERR_RESRC_NOT_ACTIVE", 14));
        ExpectRefused(Hits(), 14, Refusal(kHits, "e_RET_ERR_RESRC_NOT_ACTIVE", 14));
    }
}

// ---- hit counters ---------------------------------------------------------------------------------

TEST_F(FlowInHardware, HitsAreReadFromTheDriver) {
    Prepare(2);
    ASSERT_EQ(Activate()(), 0u);
    for (u32 i = 0; i < 8; ++i) {
        ASSERT_EQ(orxemu_addHits(2, i, 10 * i + 1), 0);
    }
    ASSERT_EQ(orxemu_addHits(0, 3, 999), 0);
    std::memset(static_cast<void *>(&hits_), 0xEE, sizeof hits_);
    ExpectCall(Hits(), 0, "");
    EXPECT_EQ(hits_.numFlows, 1u);
    for (u32 i = 0; i < 8; ++i) {
        EXPECT_EQ(hits_.hits[i], 10 * i + 1);
    }
    const OrxEmuRequest &request = LastRequest();
    EXPECT_EQ(request.request, 38);
    ASSERT_EQ(request.recordSize, 40u);
    EXPECT_EQ(WordAt(request.in, 0), 2u);
    for (std::size_t offset = 4; offset < 40; offset += 4) {
        EXPECT_EQ(WordAt(request.in, offset), 0u) << offset;
    }
    EXPECT_EQ(std::memcmp(request.out + 4, &hits_, 36), 0);
}

TEST_F(FlowInHardware, ReadingHitsChangesNothing) {
    Prepare(0);
    ASSERT_EQ(Activate()(), 0u);
    const ContextSnapshot before;
    ExpectCall(Hits(), 0, "");
    EXPECT_TRUE(before.Unchanged());
}

// ---- driver failures ------------------------------------------------------------------------------

struct Fault {
    const char *what;
    void (*arm)(int request);
    bool reachesDriver;
    bool isTaken; // the hardware has taken the request all the same
    int err;      // errno of the opening; 0 when the request fails
};

const Fault kFaults[] = {
    {"device missing", [](int) { orxemu_setPresent(0); }, false, false, ENOENT},
    {"device locked", [](int) { orxemu_failOpen(1, EACCES); }, false, false, EACCES},
    {"request refused", [](int request) { orxemu_failRequest(request, 1, EIO); }, true, false, 0},
    {"answer lost", [](int request) { orxemu_loseAnswer(request, 1, EIO); }, true, true, 0},
};

// Arms the fault, makes the call, and checks what it answers and prints.
void ExpectDriverFailure(const Fault &fault, int number, const char *fn, const Op &op) {
    const std::size_t requests = orxemu_numRequests();
    fault.arm(number);
    const Called called = Call(op);
    orxemu_setPresent(1);
    EXPECT_EQ(called.rc, 1u);
    EXPECT_EQ(called.out, RetVal(fn, 1));
    EXPECT_EQ(called.err, fault.err != 0
                              ? "qel_dev_open </dev/pktorx> error no " + std::to_string(fault.err) + "\n"
                              : "pktOrxDevIoctl <" + std::to_string(number) + "> error\n");
    EXPECT_EQ(orxemu_numRequests(), requests + (fault.reachesDriver ? 1 : 0));
}

TEST_F(FlowInHardware, FailedActivationLeavesTheStatusAndKeepsTheIndexWord) {
    for (const Fault &fault : kFaults) {
        SCOPED_TRACE(fault.what);
        Prepare(1);
        fcb().hwFlowIdx = 0x12345678;
        const std::vector<u8> shadow = BytesOf(fcb());
        const ContextSnapshot before;
        ExpectDriverFailure(fault, 29, kActivate, Activate());
        EXPECT_EQ(fcb().status, 2u);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb().hwFlowIdx)}));
        if (fault.reachesDriver) {
            EXPECT_EQ(fcb().hwFlowIdx, WordAt(LastRequest().out, 0));
            EXPECT_EQ(std::memcmp(LastRequest().fcb, shadow.data(), LastRequest().fcbSize), 0);
        }
        if (fault.isTaken) {
            EXPECT_EQ(orxemu_state()->flow[fcb().hwFlowIdx].active, 1);
        }
        ExpectCall(Activate(), 0, "");
        EXPECT_EQ(fcb().status, 3u);
    }
}

TEST_F(FlowInHardware, LostAnswerOfAnActivationLeavesTheDriversIndex) {
    Prepare(4);
    orxemu_loseAnswer(29, 1, EIO);
    EXPECT_EQ(Call(Activate()).rc, 1u);
    EXPECT_EQ(fcb().hwFlowIdx, 4u);
    EXPECT_EQ(fcb().status, 2u);
    // The driver knows nothing of a second try: it gives the next index.
    ASSERT_EQ(Activate()(), 0u);
    EXPECT_EQ(fcb().hwFlowIdx, 5u);
}

TEST_F(FlowInHardware, FailedDeactivationLeavesTheFlowActive) {
    for (const Fault &fault : kFaults) {
        SCOPED_TRACE(fault.what);
        Prepare(0);
        ASSERT_EQ(Activate()(), 0u);
        const u32 idx = fcb().hwFlowIdx;
        const ContextSnapshot before;
        ExpectDriverFailure(fault, 30, kDeactivate, Deactivate());
        EXPECT_TRUE(before.Unchanged());
        EXPECT_EQ(orxemu_state()->flow[idx].active, fault.isTaken ? 0 : 1);
        if (fault.isTaken) { // the driver does not know the flow any more
            EXPECT_EQ(Call(Deactivate()).rc, 1u);
            EXPECT_TRUE(before.Unchanged());
        } else {
            ExpectCall(Deactivate(), 0, "");
        }
    }
}

TEST_F(FlowInHardware, FailedReadingLeavesTheCallersCounters) {
    Prepare(0);
    ASSERT_EQ(Activate()(), 0u);
    ASSERT_EQ(orxemu_addHits(0, 0, 7), 0);
    for (const Fault &fault : kFaults) {
        SCOPED_TRACE(fault.what);
        std::memset(static_cast<void *>(&hits_), 0xEE, sizeof hits_);
        const FcbHits kept = hits_;
        const ContextSnapshot before;
        ExpectDriverFailure(fault, 38, kHits, Hits());
        EXPECT_EQ(std::memcmp(&hits_, &kept, sizeof hits_), 0);
        EXPECT_TRUE(before.Unchanged());
    }
    ExpectCall(Hits(), 0, "");
    EXPECT_EQ(hits_.hits[0], 7u);
}

TEST_F(FlowInHardware, EveryRequestOpensTheDeviceOnce) {
    Prepare(0);
    const std::size_t opens = orxemu_numOpens();
    ASSERT_EQ(Activate()(), 0u);
    ASSERT_EQ(Hits()(), 0u);
    DstMask dst{};
    dst.portMask = 1;
    ASSERT_EQ(QIR_Add_DstPortInfo(&hdl_, &dst), 0u);
    ASSERT_EQ(Deactivate()(), 0u);
    EXPECT_EQ(orxemu_numOpens(), opens + 4);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

// ---- the driver's wrappers ------------------------------------------------------------------------

TEST_F(FlowInHardware, WrappersReturnTheDriversAnswerAndLeaveTheStatus) {
    Prepare(1);
    ExpectCall([&] { return qir::Activate_FCB(&fcb()); }, 0, "");
    EXPECT_EQ(fcb().status, 2u);
    EXPECT_EQ(fcb().hwFlowIdx, 1u);
    FwdInfo fwd = PlainFwd();
    const ContextSnapshot before;
    ExpectCall([&] { return qir::Update_FwdInfo(&fcb(), &fwd); }, 0, "");
    EXPECT_EQ(std::memcmp(LastRequest().in + 4, &fwd, 68), 0);
    ASSERT_EQ(orxemu_addHits(1, 2, 3), 0);
    ExpectCall([&] { return qir::Get_FCBHits(&fcb(), &hits_); }, 0, "");
    EXPECT_EQ(hits_.hits[2], 3u);
    ExpectCall([&] { return qir::Deactivate_FCB(&fcb()); }, 0, "");
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(FlowInHardware, MissingHitsRecordIsAsserted) {
    Prepare(0);
    ASSERT_EQ(Activate()(), 0u);
    orxemu_setPresent(0); // the counters never arrive, so that nothing is written to the null record
    const Called called = Call([&] { return qir::Get_FCBHits(&fcb(), nullptr); });
    EXPECT_EQ(called.rc, 1u);
    EXPECT_EQ(called.out,
              Assertion("qirapi_private", "Get_FCBHits", "(fcb_p != NULL) && (fcbHits_p != NULL)"));
    EXPECT_EQ(called.err, "qel_dev_open </dev/pktorx> error no 2\n");
}

} // namespace
} // namespace flows
