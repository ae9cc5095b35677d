#include "tests/faults/scenario_plan.h"

#include "tests/app/app_test.h"

#include <cstdint>
#include <map>
#include <utility>

namespace faults {

namespace {

using qir::u32;
using qir::u8;

// What nobody has written: the index word of a request, and hwFlowIdx of a flow that was never sent.
constexpr u32 kUnsetWord = 0xA5A5A5A5;
constexpr int32_t kNoIndex = -1;

// Words of a flow record.
constexpr std::size_t kIndexWord = 0;
constexpr std::size_t kPacTblIdxWord = 12;

struct KindInfo {
    int request;
    const char *operation; // that sends it
    const char *title;     // printed by the program in front of it
};

const KindInfo &InfoOf(Kind kind) {
    static const KindInfo kInfos[] = {
        {21, "QIR_Activate_AsTable", "Initializing AS Table for UNI 0\n"},
        {23, "QIR_Activate_DscpToPbitsTable", "Initializing DSCP to PBITS Table for UNI 0\n"},
        {27, "QIR_Activate_PacTable", "Initializing PAC Table (PG mode) for UNI 0\n"},
        {29, "QIR_Activate_FCB", "\n\n************* FCB *************"},
    };
    return kInfos[static_cast<int>(kind)];
}

void PutWord(u8 *record, std::size_t offset, u32 value) {
    std::memcpy(record + offset, &value, sizeof value);
}

// Status and driver's index of an object of the shadow.
struct ObjectState {
    u32 &status;
    u32 &hwIdx;
};

ObjectState StateOf(qir::QirCtxt &shadow, const Step &step) {
    switch (step.kind) {
    case Kind::As:
        return {shadow.asTblPool[step.idx].status, shadow.asTblPool[step.idx].hwTblIdx};
    case Kind::Dscp:
        return {shadow.dscpTblPool[step.idx].status, shadow.dscpTblPool[step.idx].hwTblIdx};
    case Kind::Pac:
        return {shadow.pacTblPool[step.idx].status, shadow.pacTblPool[step.idx].hwTblIdx};
    case Kind::Flow:
        break;
    }
    return {shadow.fcbPool[step.idx].status, shadow.fcbPool[step.idx].hwFlowIdx};
}

// The lowest slot that is free. There is one: no test fills the hardware.
template <class Slot> u32 FreeSlot(Slot *slots) {
    u32 idx = 0;
    while (slots[idx].active != 0) {
        ++idx;
    }
    slots[idx].active = 1;
    return idx;
}

u32 PutTable(OrxEmuTable *slots, const OrxEmuRequest &request) {
    const u32 idx = FreeSlot(slots);
    std::memcpy(slots[idx].record, request.in + sizeof idx, request.recordSize - sizeof idx);
    return idx;
}

u32 PutFlow(OrxEmuFlow *slots, const OrxEmuRequest &request) {
    const u32 idx = FreeSlot(slots);
    std::memcpy(slots[idx].fcb, request.fcb, sizeof slots[idx].fcb);
    std::memcpy(&slots[idx].pacTblIdx, request.in + kPacTblIdxWord, sizeof slots[idx].pacTblIdx);
    slots[idx].epTblIdx = kNoIndex;
    slots[idx].numFlows = 1;
    return idx;
}

// The driver's index of what the request brings in.
u32 PutIn(OrxEmuState &hardware, Kind kind, const OrxEmuRequest &request) {
    switch (kind) {
    case Kind::As:
        return PutTable(hardware.asTbl, request);
    case Kind::Dscp:
        return PutTable(hardware.dscpTbl, request);
    case Kind::Pac:
        return PutTable(hardware.pacTbl, request);
    case Kind::Flow:
        break;
    }
    return PutFlow(hardware.flow, request);
}

// The program's text, changed step by step.
class Transcript {
  public:
    explicit Transcript(std::string undisturbed) : text_(std::move(undisturbed)) {}

    // The error lines of a table follow its title, those of a flow come before its dump, which shows its
    // status.
    void Note(Kind kind, const std::string &errors, bool isActive) {
        const std::string title = InfoOf(kind).title;
        at_ = text_.find(title, at_);
        ASSERT_NE(at_, std::string::npos) << "the program does not print " << title;
        if (kind != Kind::Flow) {
            at_ += title.size();
        }
        text_.insert(at_, errors);
        at_ += errors.size();
        if (kind == Kind::Flow) {
            const std::string active = "FCB Status<e_STATUS_ACTIVE>";
            at_ = text_.find(active, at_);
            ASSERT_NE(at_, std::string::npos) << "the program dumps too few flows";
            const std::string shown = isActive ? active : "FCB Status<e_STATUS_CFG>";
            text_.replace(at_, active.size(), shown);
            at_ += shown.size();
        }
    }

    const std::string &Text() const { return text_; }

  private:
    std::string text_;
    std::size_t at_ = 0;
};

// Both sides and the outside while the steps are gone through.
class Forecast {
  public:
    Forecast(const ProgramRun &undisturbed, const Hardware &before)
        : run_{0, "", "", {}, 0, undisturbed.shadow, before}, transcript_(undisturbed.out) {}

    // A flow whose PAC table is not active never gets as far as the driver.
    bool IsHeldBack(const Step &step) const { return step.pac && !activePacTbls_.contains(*step.pac); }

    void HoldBack(const Step &step) {
        Settle(step, e_STATUS_CFG, kUnsetWord);
        transcript_.Note(step.kind,
                         test::Refusal(InfoOf(step.kind).operation, "e_RET_ERR_STATE_NOT_ACTIVE", 18), false);
    }

    void Send(const Step &step, const OrxEmuRequest &undisturbed, const Fault *fault) {
        OrxEmuRequest request = undisturbed;
        PutWord(request.in, kIndexWord, kUnsetWord);
        if (step.pac) {
            PutWord(request.in, kPacTblIdxWord, activePacTbls_.at(*step.pac));
        }
        std::memcpy(request.out, request.in, sizeof request.out);
        request.err = fault != nullptr ? fault->err : 0;

        u32 hwIdx = kUnsetWord;
        if (fault == nullptr || fault->isTaken) {
            hwIdx = PutIn(*run_.hardware, step.kind, request);
            PutWord(request.out, kIndexWord, hwIdx);
        } else {
            request.fcbSize = 0;
            std::memset(request.fcb, 0, sizeof request.fcb);
        }
        if (fault == nullptr || fault->isSeen) {
            run_.requests.push_back(request);
            ++run_.opens;
        }
        Settle(step, fault == nullptr ? e_STATUS_ACTIVE : e_STATUS_CFG, hwIdx);
        Tell(step, fault);
        if (fault == nullptr && step.kind == Kind::Pac) {
            activePacTbls_[step.idx] = hwIdx;
        }
    }

    ProgramRun Result() {
        run_.out = transcript_.Text();
        return std::move(run_);
    }

  private:
    void Settle(const Step &step, u32 status, u32 hwIdx) {
        const ObjectState object = StateOf(*run_.shadow, step);
        object.status = status;
        object.hwIdx = hwIdx;
    }

    void Tell(const Step &step, const Fault *fault) {
        const KindInfo &info = InfoOf(step.kind);
        transcript_.Note(step.kind, fault != nullptr ? test::RetVal(info.operation, 1) : "",
                         fault == nullptr);
        if (fault != nullptr) {
            run_.err += LinesOf(*fault, info.request);
        }
    }

    ProgramRun run_;
    Transcript transcript_;
    std::map<unsigned, u32> activePacTbls_; // the driver's indexes
};

void ExpectRequest(const OrxEmuRequest &actual, const OrxEmuRequest &expected) {
    EXPECT_EQ(actual.request, expected.request);
    EXPECT_EQ(actual.err, expected.err);
    EXPECT_EQ(actual.recordSize, expected.recordSize);
    EXPECT_EQ(actual.fcbSize, expected.fcbSize);
    EXPECT_EQ(BytesDifference(actual.in, expected.in, sizeof actual.in), "") << "record as it was sent";
    EXPECT_EQ(BytesDifference(actual.out, expected.out, sizeof actual.out), "") << "record as it came back";
    EXPECT_EQ(BytesDifference(actual.fcb, expected.fcb, sizeof actual.fcb), "") << "copied FCB";
}

} // namespace

const std::vector<Scenario> &Scenarios() {
    static const Step kAs0{Kind::As, 0, {}};
    static const Step kDscp0{Kind::Dscp, 0, {}};
    const auto pac = [](unsigned idx) { return Step{Kind::Pac, idx, {}}; };
    const auto flow = [](unsigned idx) { return Step{Kind::Flow, idx, {}}; };
    const auto flowWithPac = [](unsigned idx, unsigned tbl) { return Step{Kind::Flow, idx, tbl}; };
    static const std::vector<Scenario> kScenarios = {
        {"0",
         {flow(0), flow(1),                                                     // PPPoE
          pac(0), kDscp0, flowWithPac(2, 0),                                    // IP
          pac(1), kAs0, flowWithPac(3, 1), flow(4), flowWithPac(5, 1), flow(6), // tagged
          flow(7), flow(8),                                                     // non-IP
          flow(9), flow(10)}},                                                  // multicast
        {"1", {flow(0), flow(1)}},
        {"2", {flow(0), flow(1)}},
        {"3", {pac(0), kAs0, flowWithPac(0, 0), flow(1), flowWithPac(2, 0), flow(3)}},
        {"4", {pac(0), kDscp0, flowWithPac(0, 0)}},
        {"5", {flow(0), flow(1)}},
    };
    return kScenarios;
}

int RequestOf(const Step &step) {
    return InfoOf(step.kind).request;
}

ProgramRun RunOnce(const Scenario &scenario) {
    app_test::ResetApp();
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    orxemu_clearLog();
    const std::size_t opens = orxemu_numOpens();
    const app_test::RunResult result = app_test::RunOrxtest({"-t", scenario.number});
    ProgramRun run{result.status, result.output.out, result.output.err, {}, orxemu_numOpens() - opens,
                   ShadowNow(),   HardwareNow()};
    for (std::size_t i = 0; i < orxemu_numRequests(); ++i) {
        run.requests.push_back(*orxemu_request(i));
    }
    return run;
}

ProgramRun Predict(const Scenario &scenario, const ProgramRun &undisturbed, const Hardware &before,
                   const std::optional<Disturbance> &disturbance) {
    Forecast forecast(undisturbed, before);
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        const Step &step = scenario.steps[i];
        if (forecast.IsHeldBack(step)) {
            forecast.HoldBack(step);
        } else {
            const bool isDisturbed = disturbance && disturbance->step == i;
            forecast.Send(step, undisturbed.requests.at(i), isDisturbed ? &disturbance->fault : nullptr);
        }
    }
    return forecast.Result();
}

void ExpectRun(const ProgramRun &actual, const ProgramRun &expected) {
    EXPECT_EQ(actual.status, expected.status);
    EXPECT_EQ(actual.out, expected.out);
    EXPECT_EQ(actual.err, expected.err);
    EXPECT_EQ(actual.opens, expected.opens);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(Difference(actual.shadow, expected.shadow), "") << "of the shadow";
    EXPECT_EQ(Difference(actual.hardware, expected.hardware), "") << "of what the hardware holds";
    ASSERT_EQ(actual.requests.size(), expected.requests.size());
    for (std::size_t i = 0; i < expected.requests.size(); ++i) {
        SCOPED_TRACE("request " + std::to_string(i));
        ExpectRequest(actual.requests[i], expected.requests[i]);
    }
}

} // namespace faults
