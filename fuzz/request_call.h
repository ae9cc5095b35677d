// What a call about a filter or an action tells the checks.
#ifndef FUZZ_REQUEST_CALL_H
#define FUZZ_REQUEST_CALL_H

#include "fuzz/call.h"
#include "qirapi/access/request_kinds.h"

#include <span>

namespace fuzz {

template <class Kind> constexpr bool kIsFilter = __is_same(typename Kind::Blk, qir::FilterBlk);

template <class Record> std::vector<u8> BytesOf(std::span<const Record> records) {
    const u8 *const bytes = reinterpret_cast<const u8 *>(records.data());
    return {bytes, bytes + records.size_bytes()};
}

// What of the flow's block the request is about.
template <class Kind> void TellEntry(const typename Kind::Record &record, Call &call) {
    const u32 tag = Kind::Tag(record);
    if (tag >= e_VLAN_TAG_MAX || record.type >= Kind::kNumTypes) {
        return;
    }
    const u32 counters = kIsFilter<Kind> ? e_CMP_MAX * Kind::kNumTypes : 0;
    call.entry =
        static_cast<u32>(kIsFilter<Kind> ? offsetof(qir::Fcb, filterBlk) : offsetof(qir::Fcb, actionBlk)) +
        Kind::Entry(tag);
    call.entryBytes = static_cast<u32>(sizeof(qir::HdrEntry)) + counters;
    call.numTypes = Kind::kNumTypes;
    call.type = record.type;
    call.row = Kind::Row(tag);
    call.l4 = Kind::kL4;
    if constexpr (kIsFilter<Kind>) {
        call.cmpOp = record.cmpOp;
    }
}

// Tells it all and makes the call in between: `operation` gives its code. The first record is the request, or
// the query.
template <class Kind, class Operation>
void CallWith(std::span<typename Kind::Record> records, Call &call, Operation operation) {
    using Records = std::span<const typename Kind::Record>;
    TellEntry<Kind>(records[0], call);
    call.recordBytes = sizeof records[0];
    call.recordsBefore = BytesOf(Records(records));
    call.rc = operation();
    call.records = BytesOf(Records(records));
}

} // namespace fuzz

#endif
