#include "fuzz/changes.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

// Bytes of the context, [begin, end).
struct Range {
    std::size_t begin;
    std::size_t end;
};

constexpr Range kSettings = {0, offsetof(QirCtxt, fcbPool)};

Range FlowRange(u32 flow) {
    const std::size_t begin = kSettings.end + flow * sizeof(Fcb);
    return {begin, begin + sizeof(Fcb)};
}

// The table whose count a call on a flow changes: the one that the call names, or else the flow's.
u32 TableOf(const Call &call, u32 flows, u32 num) {
    const u32 table = call.table != kNone ? call.table : flows;
    return table < num ? table : kNone;
}

// The element, and the bytes before its array's part; kNone for what the call does not name.
struct Base {
    u32 element;
    std::size_t begin;
};

Base BaseOf(const Part &part, const QirCtxt &before, const Call &call) {
    const Fcb &fcb = before.fcbPool[call.flow != kNone ? call.flow : 0];
    const std::size_t flow = FlowRange(call.flow).begin;
    switch (part.at) {
    case At::Index:
        return {call.index, 0};
    case At::Table:
        return {call.table, 0};
    case At::EpTable:
        return {TableOf(call, fcb.epTblHdl.f1.id, QIR_EPTBL_MAXNUM), 0};
    case At::PacTable:
        return {TableOf(call, fcb.pacTblHdl.f1.id, QIR_PACTBL_MAXNUM), 0};
    case At::Flow:
        return {call.flow, flow};
    case At::Entry:
        return {call.flow == kNone ? kNone : call.entry, flow + call.entry};
    case At::Counter:
        return {call.flow == kNone ? kNone : call.counter, flow + call.counter};
    default:
        return {0, 0};
    }
}

const Part *PartsOf(const Call &call, std::size_t &num) {
    num = std::size(call.changes->accepted);
    if (call.rc == e_RET_OK) {
        return call.changes->accepted;
    }
    for (const Refusal &row : call.changes->refused) {
        if (row.rc == call.rc && (row.when == nullptr || call.*row.when)) {
            num = std::size(row.parts);
            return row.parts;
        }
    }
    num = 0;
    return nullptr;
}

// What the call may change, in order. Whether it names all of that: a count that a freed flow gives up has a
// table only if the flow's handle has.
bool FindRanges(const QirCtxt &before, const Call &call, std::vector<Range> &ranges) {
    bool named = true;
    std::size_t num = 0;
    const Part *const parts = PartsOf(call, num);
    for (std::size_t i = 0; i < num && parts[i].at != At::Nothing; ++i) {
        const Part &part = parts[i];
        const Base base = BaseOf(part, before, call);
        if (base.element == kNone) {
            named = named && (part.at == At::EpTable || part.at == At::PacTable);
            continue;
        }
        const std::size_t begin = base.begin + part.offset + std::size_t{base.element} * part.stride;
        ranges.push_back({begin, begin + (part.size != 0 ? part.size : call.entryBytes)});
    }
    std::sort(ranges.begin(), ranges.end(), [](Range a, Range b) { return a.begin < b.begin; });
    return named;
}

const u8 *Bytes(const QirCtxt &ctxt) {
    return reinterpret_cast<const u8 *>(&ctxt);
}

// "flow 3 + 36", "PAC table 2 + 40" or "byte 17".
std::string PlaceName(std::size_t offset) {
    constexpr struct {
        const char *name;
        std::size_t begin, num, size;
    } kRows[] = {
        {"AS table", kPool<AsKind>, QIR_ASTBL_MAXNUM, sizeof(AsTblInfo)},
        {"DSCP table", kPool<DscpKind>, QIR_DSCPTBL_MAXNUM, sizeof(DscpTblInfo)},
        {"EP table", kPool<EpKind>, QIR_EPTBL_MAXNUM, sizeof(EpTblInfo)},
        {"PAC table", kPool<PacKind>, QIR_PACTBL_MAXNUM, sizeof(PacTblInfo)},
        {"flow", offsetof(QirCtxt, fcbPool), QIR_MAX_FLOWS, sizeof(Fcb)},
    };
    for (const auto &row : kRows) {
        if (offset >= row.begin && offset - row.begin < row.num * row.size) {
            const std::size_t inRow = offset - row.begin;
            return std::string(row.name) + " " + std::to_string(inRow / row.size) + " + " +
                   std::to_string(inRow % row.size);
        }
    }
    return "byte " + std::to_string(offset);
}

// The bytes of `within` but for `allowed`, which is sorted, are the same on both sides.
Complaint CompareBut(const QirCtxt &before, const QirCtxt &now, Range within,
                     const std::vector<Range> &allowed) {
    std::size_t at = within.begin;
    for (std::size_t i = 0; i <= allowed.size(); ++i) {
        const std::size_t end = i < allowed.size() ? std::min(allowed[i].begin, within.end) : within.end;
        if (at < end && std::memcmp(Bytes(before) + at, Bytes(now) + at, end - at) != 0) {
            while (Bytes(before)[at] == Bytes(now)[at]) {
                ++at;
            }
            return "changed " + PlaceName(at);
        }
        at = i < allowed.size() ? std::max(at, allowed[i].end) : at;
    }
    return {};
}

} // namespace

Before::Before()
    : start_(std::make_unique<QirCtxt>()), before_(std::make_unique<QirCtxt>()), isTouched_(QIR_MAX_FLOWS) {}

void Before::Start(const QirCtxt &ctxt) {
    std::memcpy(static_cast<void *>(start_.get()), &ctxt, sizeof ctxt);
    std::memcpy(static_cast<void *>(before_.get()), &ctxt, sizeof ctxt);
}

void Before::Restore(QirCtxt &ctxt) {
    for (QirCtxt *const side : {&ctxt, before_.get()}) {
        std::memcpy(static_cast<void *>(side), start_.get(), kSettings.end);
        for (const u32 flow : touched_) {
            std::memcpy(static_cast<void *>(side->fcbPool + flow), start_->fcbPool + flow, sizeof(Fcb));
        }
    }
    touched_.clear();
    std::fill(isTouched_.begin(), isTouched_.end(), false);
}

Complaint Before::Compare(const QirCtxt &ctxt, const Call &call) {
    std::vector<Range> allowed;
    if (!FindRanges(*before_, call, allowed)) {
        return "accepted, or begun, and names nothing";
    }
    if (Complaint changed = CompareBut(*before_, ctxt, kSettings, allowed); !changed.empty()) {
        return changed;
    }
    if (call.flow != kNone && !isTouched_[call.flow]) {
        isTouched_[call.flow] = true;
        touched_.push_back(call.flow);
    }
    for (const u32 flow : touched_) {
        if (Complaint changed = CompareBut(*before_, ctxt, FlowRange(flow), allowed); !changed.empty()) {
            return changed;
        }
    }
    for (const Range range : allowed) {
        std::memcpy(reinterpret_cast<u8 *>(before_.get()) + range.begin, Bytes(ctxt) + range.begin,
                    range.end - range.begin);
        // Start-up brings everything that it initialises to what it was behind the first one.
        if (call.changes == &kInitSystem) {
            if (Complaint changed = CompareBut(*start_, ctxt, range, {}); !changed.empty()) {
                return changed + ", not what start-up makes of it";
            }
        }
    }
    return {};
}

Complaint Before::CompareRest(const QirCtxt &ctxt) const {
    return CompareBut(*before_, ctxt, {0, sizeof ctxt}, {});
}

} // namespace fuzz
