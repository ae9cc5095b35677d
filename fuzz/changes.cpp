#include "fuzz/changes.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

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

std::span<const Part> PartsOf(const Call &call) {
    if (call.rc == e_RET_OK) {
        return call.changes->accepted;
    }
    for (const Refusal &row : call.changes->refused) {
        if (row.rc == call.rc && (row.when == nullptr || call.*row.when)) {
            return row.parts;
        }
    }
    return {};
}

// What the call may change, in order.
std::vector<Range> RangesOf(const Call &call) {
    std::vector<Range> ranges;
    for (const Part &part : PartsOf(call)) {
        const u32 index = part.index != nullptr ? call.*part.index : 0;
        if (index != kNone) {
            const std::size_t begin = std::size_t{index} * part.stride + part.offset;
            ranges.push_back({begin, begin + (part.size == kWhole ? call.entryBytes : part.size)});
        } else if (part.index != &Call::epTable && part.index != &Call::pacTable) {
            throw Complaint("accepted, or begun, and names nothing");
        }
    }
    std::sort(ranges.begin(), ranges.end(), [](Range a, Range b) { return a.begin < b.begin; });
    return ranges;
}

const u8 *Bytes(const QirCtxt &ctxt) {
    return reinterpret_cast<const u8 *>(&ctxt);
}

// "flow 3 + 36" or "byte 17".
std::string PlaceName(std::size_t offset) {
    if (offset < kSettings.end) {
        return "byte " + std::to_string(offset);
    }
    const std::size_t inPool = offset - kSettings.end;
    return "flow " + std::to_string(inPool / sizeof(Fcb)) + " + " + std::to_string(inPool % sizeof(Fcb));
}

// The bytes of `within` but for `allowed`, which is sorted, are the same on both sides.
void CompareBut(const QirCtxt &before, const QirCtxt &now, Range within, const std::vector<Range> &allowed,
                const char *more = "") {
    std::size_t at = within.begin;
    for (std::size_t i = 0; i <= allowed.size(); ++i) {
        const std::size_t end = i < allowed.size() ? std::min(allowed[i].begin, within.end) : within.end;
        if (at < end && std::memcmp(Bytes(before) + at, Bytes(now) + at, end - at) != 0) {
            while (Bytes(before)[at] == Bytes(now)[at]) {
                ++at;
            }
            throw Complaint("changed " + PlaceName(at) + more);
        }
        at = i < allowed.size() ? std::max(at, allowed[i].end) : at;
    }
}

} // namespace

Before::Before(const QirCtxt &start)
    : start_(std::make_unique<QirCtxt>(start)), before_(std::make_unique<QirCtxt>(start)) {}

void Before::Restore(QirCtxt &ctxt) {
    for (QirCtxt *const side : {&ctxt, before_.get()}) {
        std::memcpy(static_cast<void *>(side), start_.get(), kSettings.end);
        for (const u32 flow : touched_) {
            std::memcpy(static_cast<void *>(side->fcbPool + flow), start_->fcbPool + flow, sizeof(Fcb));
        }
    }
    touched_.clear();
}

void Before::Compare(const QirCtxt &ctxt, const Call &call) {
    const std::vector<Range> allowed = RangesOf(call);
    CompareBut(*before_, ctxt, kSettings, allowed);
    if (call.flow != kNone) {
        touched_.insert(call.flow);
    }
    for (const u32 flow : touched_) {
        CompareBut(*before_, ctxt, FlowRange(flow), allowed);
    }
    for (const Range range : allowed) {
        std::memcpy(reinterpret_cast<u8 *>(before_.get()) + range.begin, Bytes(ctxt) + range.begin,
                    range.end - range.begin);
        // Start-up makes of everything that it initialises what the first start-up made of it.
        if (call.changes == &kInitSystem) {
            CompareBut(*start_, ctxt, range, {}, ", not what start-up makes of it");
        }
    }
}

void Before::CompareRest(const QirCtxt &ctxt) const {
    CompareBut(*before_, ctxt, {0, sizeof ctxt}, {});
}

} // namespace fuzz
