// What a call asked of the driver, and what the hardware has taken: it is seen when that is something else.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/asked.h"
#include "qirapi/driver/driver_records.h"

#include <cerrno>
#include <functional>
#include <memory>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;
using fuzz::Doing;

// A call, its request and what both sides have behind it, each a copy that can be broken.
struct Made {
    Call call;
    OrxEmuRequest request;
    std::shared_ptr<QirCtxt> before, now;
    std::shared_ptr<OrxEmuState> hardware;
    bool opens = true;
    std::size_t numRequests = 1;

    std::string Check() const {
        const fuzz::Asked asked{numRequests, numRequests > 0 ? &request : nullptr, opens};
        const std::string broken = fuzz::CheckAsked(*before, *now, call, asked);
        return broken.empty() ? fuzz::CheckTaken(*now, call, *hardware, asked) : broken;
    }
};

Call OnFlow(Doing doing, u32 flow) {
    Call call;
    call.doing = doing;
    call.flow = flow;
    return call;
}

Call OnTable(fuzz::TblKind kind, u32 table) {
    Call call;
    call.doing = Doing::SwitchTable;
    call.tblKind = kind;
    call.table = table;
    return call;
}

class AskedOfDriver : public Scene {
  protected:
    template <class Operation> Made Make(Call call, Operation operation) {
        Made made;
        made.before = std::make_shared<QirCtxt>(ctxt);
        orxemu_clearLog();
        test::CaptureBoth([&] { call.rc = operation(call); });
        made.call = call;
        made.now = std::make_shared<QirCtxt>(ctxt);
        made.hardware = std::make_shared<OrxEmuState>(*orxemu_state());
        made.numRequests = orxemu_numRequests();
        made.request = made.numRequests > 0 ? *orxemu_request(0) : OrxEmuRequest{};
        EXPECT_EQ(made.Check(), "") << "before it is broken";
        return made;
    }

    Made Activate() {
        test::Capture([] { // when it is ACTIVE
            FlowHdl hdl = test::Flow(0);
            QIR_Deactivate_FCB(&hdl);
        });
        return Make(OnFlow(Doing::ActivateFlow, 0), [](Call &) {
            FlowHdl hdl = test::Flow(0);
            return QIR_Activate_FCB(&hdl);
        });
    }
    Made DeActivate() {
        return Make(OnFlow(Doing::DeactivateFlow, 1), [](Call &) {
            FlowHdl hdl = test::Flow(1);
            return QIR_Deactivate_FCB(&hdl);
        });
    }
    Made AddDst(u32 flowIdx) {
        return Make(OnFlow(Doing::ChangeDst, flowIdx), [flowIdx](Call &call) {
            FlowHdl hdl = test::Flow(flowIdx);
            const DstMask dst{{}, 0, {}, {}, 8};
            call.Tell(dst);
            return QIR_Add_DstPortInfo(&hdl, &dst);
        });
    }
    Made ReadHits() {
        orxemu_addHits(0, 7, 99);
        return Make(OnFlow(Doing::ReadHits, 1), [](Call &call) {
            FlowHdl hdl = test::Flow(1);
            FcbHits hits{};
            const u32 rc = QIR_Get_FCBHits(&hdl, &hits);
            call.Tell(hits);
            return rc;
        });
    }
    Made DeactivateAs() {
        return Make(OnTable(fuzz::TblKind::As, 0), [](Call &) {
            AsTblHdl hdl = test::AsHdl(0);
            return QIR_Deactivate_AsTable(&hdl);
        });
    }
    Made ActivateAs() {
        test::Capture([] { // when it is ACTIVE
            AsTblHdl hdl = test::AsHdl(0);
            QIR_Deactivate_AsTable(&hdl);
        });
        return Make(OnTable(fuzz::TblKind::As, 0), [](Call &) {
            AsTblHdl hdl = test::AsHdl(0);
            return QIR_Activate_AsTable(&hdl);
        });
    }
};

// ---- The code and the driver's answer

TEST_F(AskedOfDriver, CallsThatAreAcceptedHaveAsked) {
    for (Made made : {Activate(), AddDst(1), ReadHits(), DeActivate(), DeactivateAs()}) {
        made.numRequests = 0;
        EXPECT_EQ(made.Check(), "accepted, and the driver was not asked")
            << static_cast<u32>(made.call.doing);
        made.opens = false;
        EXPECT_EQ(made.Check(), "accepted, and the driver was not asked") << "the device could not be opened";
        made.call.rc = e_RET_DRIVER_FAILURE;
        EXPECT_EQ(made.Check(), "") << "and the call says so";
    }
}

TEST_F(AskedOfDriver, FailureIsTheDrivers) {
    Made made = Activate();
    made.call.rc = e_RET_DRIVER_FAILURE;
    EXPECT_EQ(made.Check(), "not what the driver answered");
    made.numRequests = 0;
    EXPECT_EQ(made.Check(), "a failure of the driver, which was not asked");
    made.numRequests = 1;
    made.call.rc = e_RET_OK;
    made.request.err = EIO;
    EXPECT_EQ(made.Check(), "not what the driver answered");
    made.numRequests = 2;
    EXPECT_EQ(made.Check(), "2 requests");
}

// An opening that was to fail has failed before, in a call that did not say so.
TEST_F(AskedOfDriver, FailedOpeningsAreTold) {
    Made made = Activate();
    made.opens = false;
    EXPECT_EQ(made.Check(), "reached the driver, and an earlier call must have failed");
}

TEST_F(AskedOfDriver, FailureOfACallThatAsksNothing) {
    Made made = Activate();
    made.call = OnFlow(Doing::FreeFlow, 0);
    EXPECT_EQ(made.Check(), "1 requests");
    made.numRequests = 0;
    made.call.rc = e_RET_DRIVER_FAILURE;
    made.opens = false;
    EXPECT_EQ(made.Check(), "a failure of the driver, which was not asked");
}

TEST_F(AskedOfDriver, RefusedCallsDoNotAsk) {
    Made made = Activate();
    made.call.rc = e_RET_ERR_STATE_NOTCFG;
    EXPECT_EQ(made.Check(), "refused, and the driver was asked");
}

TEST_F(AskedOfDriver, DestinationsAreAskedForWhenTheFlowIsActive) {
    Made made = AddDst(0);
    EXPECT_EQ(made.numRequests, 0u) << "flow 0 is not ACTIVE";
    made.numRequests = 1;
    EXPECT_EQ(made.Check(), "asked the driver without need");
    made = AddDst(1);
    std::fill(made.call.record.begin(), made.call.record.end(), u8{0});
    EXPECT_EQ(made.Check(), "asked the driver without need") << "no destination";
}

// ---- Records, and what was taken

class BrokenAsking : public AskedOfDriver {
  protected:
    void Expect(Made made, const char *complaint, const std::function<void(Made &)> &breakIt) {
        breakIt(made);
        EXPECT_EQ(made.Check(), complaint);
    }
};

void WriteWord(u8 *bytes, std::size_t offset, u32 word) {
    memcpy(bytes + offset, &word, sizeof word);
}

TEST_F(BrokenAsking, OfAnActivation) {
    const char *const kOtherTables = "the driver was told of other tables than the flow's";
    const char *const kOtherFlow = "the hardware has taken another flow";
    Expect(Activate(), kOtherTables,
           [](Made &made) { WriteWord(made.request.in, offsetof(FlowRecord, pacTblIdx), 1); });
    Expect(Activate(), kOtherTables,
           [](Made &made) { WriteWord(made.request.in, offsetof(FlowRecord, epTblIdx), 0); });
    Expect(Activate(), "the hardware has other tables for the flow",
           [](Made &made) { made.hardware->flow[made.now->fcbPool[0].hwFlowIdx].pacTblIdx = -1; });
    Expect(Activate(), "does not know the slot that the driver gave",
           [](Made &made) { ++made.now->fcbPool[0].hwFlowIdx; });
    Expect(Activate(), "asked for something else",
           [](Made &made) { made.request.request = kOrxDeactivateFlow; });
    Expect(Activate(), "asked for something else", [](Made &made) { made.call.flow = fuzz::kNone; });
    for (const std::size_t offset :
         {offsetof(Fcb, status), offsetof(Fcb, flowHdl), offsetof(Fcb, tblAssoc), offsetof(Fcb, pacTblHdl),
          offsetof(Fcb, filterBlk.vlan), offsetof(Fcb, actionBlk.eth), offsetof(Fcb, reqPool[31].req[35])}) {
        Expect(Activate(), kOtherFlow, [offset](Made &made) {
            made.hardware->flow[made.now->fcbPool[0].hwFlowIdx].fcb[offset] ^= 0x40;
        });
    }
}

TEST_F(BrokenAsking, OfADeactivation) {
    Expect(DeActivate(), "not about the slot that it has",
           [](Made &made) { WriteWord(made.request.in, 0, 5); });
    Expect(DeactivateAs(), "not about the slot that it has",
           [](Made &made) { WriteWord(made.request.in, 0, 5); });
}

TEST_F(BrokenAsking, OfATable) {
    Expect(ActivateAs(), "does not know the slot that the driver gave",
           [](Made &made) { made.now->asTblPool[0].hwTblIdx = 3; });
    for (const std::size_t offset :
         {offsetof(AsTblInfo, hdl), offsetof(AsTblInfo, cfg), offsetof(AsTblInfo, refCnt),
          offsetof(AsTblInfo, status), offsetof(AsTblInfo, ent[7].status)}) {
        Expect(ActivateAs(), "the hardware has taken another table",
               [offset](Made &made) { made.hardware->asTbl[0].record[offset] ^= 0x40; });
    }
}

TEST_F(BrokenAsking, OfAForwardingUpdate) {
    Expect(AddDst(1), "not about the slot that it has", [](Made &made) { WriteWord(made.request.in, 0, 5); });
    Expect(AddDst(1), "the hardware forwards otherwise",
           [](Made &made) { made.hardware->flow[0].fcb[offsetof(Fcb, fwdInfo.dst.portMask)] ^= 0x40; });
}

TEST_F(BrokenAsking, OfHits) {
    EXPECT_EQ(ReadHits().call.record.size(), sizeof(FcbHits));
    Expect(ReadHits(), "asked for the hits of another flow",
           [](Made &made) { WriteWord(made.request.in, 0, 5); });
    Expect(ReadHits(), "asked for the hits of another flow", [](Made &made) { made.request.in[39] = 1; });
    Expect(ReadHits(), "gave other hits than the driver did", [](Made &made) { made.call.record[35] ^= 1; });
}

} // namespace

} // namespace fuzz_checks
