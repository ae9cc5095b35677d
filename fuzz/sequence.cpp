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

class Sequence {
  public:
    Sequence(Before &before, const std::function<void(const Call &)> &observe)
        : before_(before), observe_(observe) {}
    Complaint Run(Input &in);

  private:
    Complaint Next(Input &in);
    Complaint CallOperation(const Operation &operation, Input &in);
    Complaint Repeat(Input &in);
    Complaint SetEpTable(Input &in);
    void ArmFault(Input &in);
    Complaint LookAt(const Call &call);
    Complaint LookAtDriver(const Call &call);
    Complaint LookAtContext(const Call &call);
    std::string LastCalls() const;

    Before &before_;
    const std::function<void(const Call &)> &observe_;
    Drift drift_;
    TwoSides sides_;
    Fault armed_ = Fault::None;
    bool isPresent_ = true; // the device
    std::vector<Call> calls_;
    u32 numFlows_ = 0; // flows and their slots behind these have not been used yet
};

const Operation &TakeOperation(u8 byte, Input &in) {
    u32 all = 0;
    for (const Family &family : Families()) {
        all += family.weight;
    }
    u32 at = byte % all;
    const Family *family = Families().data();
    for (; at >= family->weight; ++family) {
        at -= family->weight;
    }
    return family->operations[in.Byte() % family->operations.size()];
}

bool IsKnown(u32 rc) {
    return rc <= e_RET_DRIVER_FAILURE || RetCodeName(rc) != nullptr;
}

Complaint Sequence::Run(Input &in) {
    while (!in.Empty() && calls_.size() < kMaxCalls) {
        if (Complaint broken = Next(in); !broken.empty()) {
            return broken;
        }
    }
    if (Complaint broken = before_.CompareRest(*qirCtxt_gp); !broken.empty()) {
        return broken;
    }
    return sides_.Check(*qirCtxt_gp, *orxemu_state(), {"(the end)", &kReads}, QIR_MAX_FLOWS);
}

Complaint Sequence::Next(Input &in) {
    const u8 what = in.Byte();
    if (what < 0xE0) {
        return CallOperation(TakeOperation(what, in), in);
    }
    switch (what % 8) {
    case 0:
    case 1:
    case 2:
        ArmFault(in);
        return {};
    case 3:
        isPresent_ = in.Byte() % 2 != 0;
        orxemu_setPresent(isPresent_ ? 1 : 0);
        return {};
    case 4:
        qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, in.Byte() % QEL_LOG_LEVEL_MAX);
        return {};
    case 5:
        return SetEpTable(in);
    default:
        return Repeat(in);
    }
}

void Sequence::ArmFault(Input &in) {
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
Complaint Sequence::Repeat(Input &in) {
    constexpr u32 kTimes[] = {2, 3, 8, 34, 130, 520};
    const u32 times = kTimes[in.Byte() % std::size(kTimes)];
    const u8 family = in.Byte();
    const Operation &operation = TakeOperation(family, in);
    const u8 *const place = in.Place();
    for (u32 i = 0; i < times && calls_.size() < kMaxCalls; ++i) {
        in.Return(place);
        if (Complaint broken = CallOperation(operation, in); !broken.empty()) {
            return broken;
        }
    }
    return {};
}

// The operations on EP tables do nothing. What flows do with one is seen when it is put into a state by hand.
Complaint Sequence::SetEpTable(Input &in) {
    Call call{"(an EP table set)", &kChangeTable<EpKind>};
    call.table = in.Byte() % QIR_EPTBL_MAXNUM;
    qirCtxt_gp->epTblPool[call.table].status = in.Byte() % e_STATUS_MAX;
    return LookAt(call);
}

Complaint Sequence::CallOperation(const Operation &operation, Input &in) {
    Call call{operation.name, &operation.changes};
    operation.run(in, call);
    return LookAt(call);
}

// What a complaint is about: the last calls, each with its code and the objects that it named.
std::string Sequence::LastCalls() const {
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

Complaint Sequence::LookAt(const Call &call) {
    calls_.push_back(call);
    // The hardware takes the lowest slot, and no more of them than there are activations.
    const u32 named = call.flow == kNone ? 0 : call.flow + 1;
    const u32 activated = call.changes == &kActivateFlow ? numFlows_ + 1 : 0;
    numFlows_ = std::min<u32>(std::max({numFlows_, named, activated}), QIR_MAX_FLOWS);
    Complaint broken = IsKnown(call.rc) ? LookAtDriver(call) : "no such code";
    if (broken.empty()) {
        broken = LookAtContext(call);
    }
    if (broken.empty()) {
        broken = sides_.Check(*qirCtxt_gp, *orxemu_state(), call, numFlows_);
    }
    orxemu_clearLog();
    if (broken.empty() && observe_) {
        observe_(call);
    }
    return broken.empty() ? broken : LastCalls() + broken;
}

// A code of 1 says that the driver failed, and nothing else says it: the device could not be opened, or the
// request was refused. A call that is accepted has asked when it had something to ask.
Complaint Sequence::LookAtDriver(const Call &call) {
    const Asks asks = call.changes->asks;
    const bool failed = call.rc == e_RET_DRIVER_FAILURE;
    const bool accepted = call.rc == e_RET_OK;
    const bool opens = isPresent_ && armed_ != Fault::Open;
    const std::size_t num = orxemu_numRequests();
    if (orxemu_openDescriptors() != 0) {
        return "left the device open";
    }
    if (num > (asks == Asks::Never ? 0 : 1)) {
        return std::to_string(num) + " requests";
    }
    if (num == 0) {
        if (failed && (asks == Asks::Never || opens)) {
            return "a failure of the driver, which was not asked";
        }
        armed_ = failed && armed_ == Fault::Open ? Fault::None : armed_;
        return accepted && asks == Asks::Always ? "accepted, and the driver was not asked" : Complaint{};
    }
    if (!opens) {
        return "reached the driver, and an earlier call must have failed";
    }
    if (!failed && !accepted) {
        return "refused, and the driver was asked";
    }
    armed_ = Fault::None;
    return failed == (orxemu_request(0)->err != 0) ? Complaint{} : "not what the driver answered";
}

Complaint Sequence::LookAtContext(const Call &call) {
    const QirCtxt &ctxt = *qirCtxt_gp;
    drift_.Note(ctxt, call, before_.Ctxt().fcbPool[call.flow != kNone ? call.flow : 0]);
    if (Complaint broken = before_.Compare(ctxt, call); !broken.empty()) {
        return broken;
    }
    if (call.flow != kNone) {
        if (Complaint broken = CheckFlow(ctxt, call.flow); !broken.empty()) {
            return broken;
        }
    }
    if (Complaint broken = CheckSections(ctxt, numFlows_); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = CheckTables(ctxt, drift_, numFlows_); !broken.empty()) {
        return broken;
    }
    return CheckSettings(ctxt);
}

// The context as start-up leaves it, once for all sequences of the process.
Before &StartedUp() {
    static Before before;
    static const bool started = [] {
        std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
        QIR_Init_Sys();
        before.Start(*qirCtxt_gp);
        return true;
    }();
    static_cast<void>(started);
    return before;
}

} // namespace

Complaint RunSequence(const u8 *bytes, std::size_t size, const std::function<void(const Call &)> &observe) {
    Before &before = StartedUp();
    before.Restore(*qirCtxt_gp);
    orxemu_reset();
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, QEL_LOG_LEVEL_QUIET);
    Input in(bytes, size);
    return Sequence(before, observe).Run(in);
}

} // namespace fuzz
