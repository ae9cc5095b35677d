// What the rows of effects are made of.
#ifndef FUZZ_EFFECT_ROWS_H
#define FUZZ_EFFECT_ROWS_H

#include "fuzz/effects.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

// ---- Places: the object that a call is about, in the context before or behind it; null when it named none

inline const qir::Fcb *FlowOf(const qir::QirCtxt &ctxt, const Call &call) {
    return call.flow < QIR_MAX_FLOWS ? ctxt.fcbPool + call.flow : nullptr;
}
inline const qir::AsTblInfo *AsTblOf(const qir::QirCtxt &ctxt, const Call &call) {
    return call.table < QIR_ASTBL_MAXNUM ? ctxt.asTblPool + call.table : nullptr;
}
inline const qir::DscpTblInfo *DscpTblOf(const qir::QirCtxt &ctxt, const Call &call) {
    return call.table < QIR_DSCPTBL_MAXNUM ? ctxt.dscpTblPool + call.table : nullptr;
}
inline const qir::PacTblInfo *PacTblOf(const qir::QirCtxt &ctxt, const Call &call) {
    return call.table < QIR_PACTBL_MAXNUM ? ctxt.pacTblPool + call.table : nullptr;
}

// ---- Kinds of row

// Nothing to look at: that nothing has changed is seen elsewhere.
inline Complaint DoesNothing(const Moment &) {
    return {};
}

// `apply` does to a copy of the object what the call has to have done.
template <auto place, auto apply> Complaint Makes(const Moment &moment) {
    const auto *const before = place(moment.before, moment.call);
    if (before == nullptr) {
        return "accepted, and names nothing";
    }
    auto expected = *before;
    apply(expected, moment);
    const u8 *const want = reinterpret_cast<const u8 *>(&expected);
    const u8 *const have = reinterpret_cast<const u8 *>(place(moment.now, moment.call));
    const auto differs =
        static_cast<std::size_t>(std::mismatch(want, want + sizeof expected, have).first - want);
    return differs == sizeof expected ? Complaint{}
                                      : "not what it makes of its object, at byte " + std::to_string(differs);
}

// The call's record is what stands at the place, be it handed in or given.
template <auto place> Complaint Holds(const Moment &moment) {
    const auto *const stored = place(moment.now, moment.call);
    if (stored == nullptr) {
        return "accepted, and names nothing";
    }
    const std::vector<u8> &record = moment.call.record;
    return record.size() == sizeof *stored && std::memcmp(record.data(), stored, sizeof *stored) == 0
               ? Complaint{}
               : "the record is not what is stored";
}

// What has to have been the case, of the whole context or of the object.
template <auto reason> Complaint Needs(const Moment &moment) {
    return reason(moment) ? Complaint{} : "without a reason";
}
template <auto place, auto reason> Complaint NeedsOf(const Moment &moment) {
    const auto *const before = place(moment.before, moment.call);
    return before != nullptr && reason(*before, moment) ? Complaint{} : "without a reason";
}

// The call's record, or what part of it there is.
template <class Record> Record RecordOf(const Call &call) {
    Record record{};
    std::memcpy(&record, call.record.data(), std::min(call.record.size(), sizeof record));
    return record;
}

} // namespace fuzz

#endif
