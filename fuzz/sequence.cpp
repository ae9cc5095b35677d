#include "fuzz/public_calls.h"

#include "fuzz/hardware.h"
#include "fuzz/invariants.h"
#include "log/qel_log.h"
#include "qirapi/private/report.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

namespace fuzz {

using namespace qir;

namespace {

// A sequence that repeats calls ends at some time.
constexpr u32 kMaxCalls = 1500;

// At most one fault at a time, so that it is known which call has met it.
enum class Fault : u8 { None, Open, Request, Answer };

const Operation &TakeOperation(u8 byte, Input &in) {
    const Family *family = Families().data();
    u32 at = byte % kAllWeights;
    while (at >= family->weight) {
        at -= family++->weight;
    }
    return family->operations[in.Byte() % family->operations.size()];
}

void Require(bool holds, const char *broken) {
    if (!holds) {
        throw Complaint(broken);
    }
}

class Sequence {
  public:
    Sequence(Before &before, const std::function<void(const Call &)> &observe)
        : before_(before), observe_(observe) {}

    void Run(Input &in) {
        while (!in.Empty() && calls_.size() < kMaxCalls) {
            Next(in);
        }
        before_.CompareRest(*qirCtxt_gp);
        sides_.Check(*qirCtxt_gp, *orxemu_state(), {"(the end)", &kReads});
    }

    // What a complaint is about: the last calls, each with its code and the objects that it named.
    std::string LastCalls() const {
        constexpr std::size_t kShown = 20;
        std::string text;
        for (std::size_t i = calls_.size() - std::min(calls_.size(), kShown); i < calls_.size(); ++i) {
            const Call &call = calls_[i];
            text += std::to_string(i + 1) + " " + call.name + " -> " + std::to_string(call.rc);
            for (const auto &[what, idx] :
                 {std::pair{"flow", call.flow}, {"table", call.table}, {"type", call.type}}) {
                text += idx != kNone ? std::string(", ") + what + " " + std::to_string(idx) : "";
            }
            text += "\n";
        }
        return text;
    }

  private:
    void Next(Input &in) {
        const u8 what = in.Byte();
        if (what < 0xE0) {
            return CallOperation(TakeOperation(what, in), in);
        }
        switch (what % 8) {
        case 0:
        case 1:
        case 2:
            return ArmFault(in);
        case 3:
            isPresent_ = in.Byte() % 2 != 0;
            return orxemu_setPresent(isPresent_ ? 1 : 0);
        case 4:
            qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, in.Byte() % QEL_LOG_LEVEL_MAX);
            return;
        case 5:
            return SetEpTable(in);
        default:
            return Repeat(in);
        }
    }

    void ArmFault(Input &in) {
        if (armed_ != Fault::None) {
            return;
        }
        switch (in.Byte() % 3) {
        case 0:
            armed_ = Fault::Open;
            return orxemu_failOpen(1, EACCES);
        case 1:
            armed_ = Fault::Request;
            return orxemu_failRequest(0, 1, EIO);
        default:
            armed_ = Fault::Answer;
            return orxemu_loseAnswer(0, 1, EINTR);
        }
    }

    // The same operation with the same arguments, again and again.
    void Repeat(Input &in) {
        constexpr u32 kTimes[] = {2, 3, 8, 34, 130, 520};
        const u32 times = kTimes[in.Byte() % std::size(kTimes)];
        const u8 family = in.Byte();
        const Operation &operation = TakeOperation(family, in);
        const u8 *const place = in.Place();
        for (u32 i = 0; i < times && calls_.size() < kMaxCalls; ++i) {
            in.Return(place);
            CallOperation(operation, in);
        }
    }

    // The operations on EP tables do nothing. What flows do with one is seen when it is put into a state by hand.
    void SetEpTable(Input &in) {
        Call call{"(an EP table set)", &kChangeTable<EpKind>};
        call.table = in.Byte() % QIR_EPTBL_MAXNUM;
        qirCtxt_gp->epTblPool[call.table].status = in.Byte() % e_STATUS_MAX;
        LookAt(call);
    }

    void CallOperation(const Operation &operation, Input &in) {
        Call call{operation.name, &operation.changes};
        operation.run(in, call);
        LookAt(call);
    }

    void LookAt(const Call &call) {
        calls_.push_back(call);
        // The hardware takes the lowest slot, and no more of them than there are activations.
        const u32 named = call.flow == kNone ? 0 : call.flow + 1;
        const u32 activated = call.changes == &kActivateFlow ? numFlows_ + 1 : 0;
        numFlows_ = std::min<u32>(std::max({numFlows_, named, activated}), QIR_MAX_FLOWS);
        const QirCtxt &ctxt = *qirCtxt_gp;
        LookAtDriver(call);
        CheckCounts(before_.Ctxt(), ctxt, call);
        before_.Compare(ctxt, call);
        if (call.flow != kNone) {
            CheckFlow(ctxt, call.flow);
        }
        CheckSections(ctxt, numFlows_);
        CheckTables(ctxt);
        CheckSettings(ctxt);
        sides_.Check(ctxt, *orxemu_state(), call, numFlows_);
        orxemu_clearLog();
        if (observe_) {
            observe_(call);
        }
    }

    // A call returns e_RET_DRIVER_FAILURE if and only if the device could not be opened or the request was
    // refused. An accepted call has asked for what it had to ask.
    void LookAtDriver(const Call &call) {
        const Asks asks = call.changes->asks;
        const bool failed = call.rc == e_RET_DRIVER_FAILURE;
        const bool accepted = call.rc == e_RET_OK;
        const bool opens = isPresent_ && armed_ != Fault::Open;
        const std::size_t num = orxemu_numRequests();
        Require(accepted || failed || RetCodeName(call.rc) != nullptr, "no such code");
        Require(orxemu_openDescriptors() == 0, "left the device open");
        Require(num <= (asks == Asks::Never ? 0 : 1), "more requests than it may make");
        if (num == 0) {
            Require(!failed || (asks != Asks::Never && !opens),
                    "a failure of the driver, which was not asked");
            Require(!accepted || asks != Asks::Always, "accepted, and the driver was not asked");
            armed_ = failed && armed_ == Fault::Open ? Fault::None : armed_;
            return;
        }
        Require(opens, "reached the driver, and an earlier call must have failed");
        Require(failed || accepted, "refused, and the driver was asked");
        Require(failed == (orxemu_request(0)->err != 0), "not what the driver answered");
        armed_ = Fault::None;
    }

    Before &before_;
    const std::function<void(const Call &)> &observe_;
    TwoSides sides_;
    Fault armed_ = Fault::None;
    bool isPresent_ = true; // the device
    std::vector<Call> calls_;
    u32 numFlows_ = 0; // no flow and no slot from here on has been used yet
};

const QirCtxt &StartUp() {
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    QIR_Init_Sys();
    return *qirCtxt_gp;
}

} // namespace

std::string RunSequence(const u8 *bytes, std::size_t size, const std::function<void(const Call &)> &observe) {
    static Before before(StartUp()); // once for all sequences of the process
    before.Restore(*qirCtxt_gp);
    orxemu_reset();
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, QEL_LOG_LEVEL_QUIET);
    Input in(bytes, size);
    Sequence sequence(before, observe);
    try {
        sequence.Run(in);
    } catch (const Complaint &broken) {
        return sequence.LastCalls() + broken.what();
    }
    return {};
}

} // namespace fuzz
