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

TEST_F(FlowInHardware, TableOfARefusedAssociationIsTheOneLookedAt) {
    PacTblHdl active = PacIn(e_STATUS_ACTIVE);
    PacTblHdl other = PacIn(e_STATUS_CFG);
    Prepare(0);
    ASSERT_EQ(QIR_Set_PacInfo(&hdl_, 1, 0, &active), 0u);
    ASSERT_EQ(Call([&] { return QIR_Set_PacInfo(&hdl_, 1, 0, &other); }).rc, 15u);
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

} // namespace
} // namespace flows
