#include "fuzz/public_calls.h"

#include "fuzz/allocated_headers.h"
#include "fuzz/asked.h"
#include "fuzz/changes.h"
#include "fuzz/effects.h"
#include "fuzz/hardware.h"
#include "fuzz/invariants.h"
#include "fuzz/stored_requests.h"
#include "log/qel_log.h"
#include "qirapi/private/report.h"

#include <algorithm>
#include <array>
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
    void CountHits(u32 slot) const;
    Complaint LookAt(const Call &call);
    Complaint WhatIsWrong(const Call &call);
    Complaint LookAtDriver(const Call &call);
    Complaint LookAtContext(const Call &call);
    std::string LastCalls() const;

    Before &before_;
    const std::function<void(const Call &)> &observe_;
    Past past_;
    HardwarePast hardware_;
    Fault armed_ = Fault::None;
    bool isPresent_ = true; // the device
    std::vector<Call> calls_;
    u32 numFlows_ = 0; // flows and their slots behind these have not been used yet
};

const std::array kAllOperations = {SystemOperations(), TableOperations(), FlowOperations(),
                                   RequestOperations()};

// How often each family is chosen, of 32.
constexpr u32 kWeights[] = {4, 7, 11, 10};

const Operation &TakeOperation(u8 family, Input &in) {
    u32 at = family % 32u;
    u32 i = 0;
    while (at >= kWeights[i]) {
        at -= kWeights[i++];
    }
    const std::span<const Operation> operations = kAllOperations[i];
    return operations[in.Byte() % operations.size()];
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
    return hardware_.Check(*qirCtxt_gp, *orxemu_state());
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
    Call call;
    call.name = "(an EP table set)";
    call.doing = Doing::ConfigTable;
    call.tblKind = TblKind::Ep;
    call.table = in.Byte() % QIR_EPTBL_MAXNUM;
    qirCtxt_gp->epTblPool[call.table].status = in.Byte() % e_STATUS_MAX;
    return LookAt(call);
}

Complaint Sequence::CallOperation(const Operation &operation, Input &in) {
    Call call;
    call.name = operation.name;
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

// Another number for each counter of each flow, so that it is seen whose they are.
void Sequence::CountHits(u32 slot) const {
    for (u32 counter = 0; counter < std::size(FcbHits{}.hits); ++counter) {
        orxemu_addHits(slot, counter, static_cast<u32>(calls_.size()) << 8 | counter);
    }
}

Complaint Sequence::LookAt(const Call &call) {
    calls_.push_back(call);
    // The hardware takes the lowest slot, and no more of them than there are activations.
    const u32 named = call.flow == kNone ? 0 : call.flow + 1;
    const u32 activated = call.doing == Doing::ActivateFlow ? numFlows_ + 1 : 0;
    numFlows_ = std::min<u32>(std::max({numFlows_, named, activated}), QIR_MAX_FLOWS);
    const Complaint broken = WhatIsWrong(call);
    orxemu_clearLog();
    if (broken.empty() && call.doing == Doing::ActivateFlow && call.rc == e_RET_OK) {
        CountHits(qirCtxt_gp->fcbPool[call.flow].hwFlowIdx);
    }
    if (broken.empty() && observe_) {
        observe_(call);
    }
    return broken.empty() ? broken : LastCalls() + broken;
}

Complaint Sequence::WhatIsWrong(const Call &call) {
    if (!IsKnown(call.rc)) {
        return "no such code";
    }
    if (Complaint broken = LookAtDriver(call); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = LookAtContext(call); !broken.empty()) {
        return broken;
    }
    return hardware_.Check(*qirCtxt_gp, *orxemu_state(), numFlows_);
}

Complaint Sequence::LookAtDriver(const Call &call) {
    if (orxemu_openDescriptors() != 0) {
        return "left the device open";
    }
    const bool opens = isPresent_ && armed_ != Fault::Open;
    const OrxEmuRequest *const request = orxemu_request(0);
    const Asked asked{orxemu_numRequests(), request, opens};
    if (Complaint broken = CheckAsked(before_.Ctxt(), *qirCtxt_gp, call, asked); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = CheckTaken(*qirCtxt_gp, call, *orxemu_state(), asked); !broken.empty()) {
        return broken;
    }
    const bool failed = call.rc == e_RET_DRIVER_FAILURE;
    if (request != nullptr) {
        hardware_.NoteRequest(call, *request, armed_ == Fault::Answer);
        armed_ = armed_ == Fault::Open ? armed_ : Fault::None;
    } else if (failed) {
        hardware_.NoteNoDevice(*qirCtxt_gp, call);
        armed_ = armed_ == Fault::Open ? Fault::None : armed_;
    }
    return {};
}

Complaint Sequence::LookAtContext(const Call &call) {
    const QirCtxt &ctxt = *qirCtxt_gp;
    if (Complaint broken = CheckEffect({before_.StartCtxt(), before_.Ctxt(), ctxt, call}); !broken.empty()) {
        return broken;
    }
    if (call.doing == Doing::InitSystem) {
        hardware_.NoteInit(*orxemu_state());
    }
    Fcb fcbBefore;
    const Fcb *const before = before_.FcbOf(call);
    if (before != nullptr) {
        fcbBefore = *before;
    }
    if (Complaint broken = before_.Compare(ctxt, call); !broken.empty()) {
        return broken;
    }
    if (before != nullptr) {
        const Fcb &now = ctxt.fcbPool[call.flow];
        if (Complaint broken = CheckRequest(ctxt, fcbBefore, now, call); !broken.empty()) {
            return broken;
        }
        if (Complaint broken = CheckHdrAllocation(fcbBefore, now, call); !broken.empty()) {
            return broken;
        }
        if (Complaint broken = CheckReadBack(now, call); !broken.empty()) {
            return broken;
        }
    }
    past_.Note(ctxt, call, before != nullptr ? &fcbBefore : nullptr);
    if (call.flow != kNone) {
        if (Complaint broken = CheckFlow(ctxt, call.flow, past_); !broken.empty()) {
            return broken;
        }
    }
    if (Complaint broken = CheckSections(ctxt, numFlows_); !broken.empty()) {
        return broken;
    }
    if (Complaint broken = CheckTables(ctxt, past_, numFlows_); !broken.empty()) {
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
