// The driver's requests: a row for each, in the order of their numbers. The stand-in, the journal and the tool
// read this table; the library, which only sends requests, does not.
#ifndef QIRAPI_DRIVER_REQUEST_TABLE_H
#define QIRAPI_DRIVER_REQUEST_TABLE_H

#include "qirapi/driver/driver_records.h"

#include <cstddef>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qir {

// What the index word counts. It is the first word of a record.
enum class IndexKind : u8 { None, AsTable, DscpTable, PacTable, Flow };
enum class IndexUse : u8 {
    None,
    Given,    // the caller names an active object
    Assigned, // output: the driver makes an object active and gives it the index
    Released, // the caller names an active object, which the driver releases
};

// The part of the record that the driver writes; the rest comes back as it was sent.
struct AnswerPlace {
    u32 offset = 0;
    u32 size = 0; // 0: the driver writes nothing
};

constexpr u32 kIndexOffset = 0;
constexpr AnswerPlace kNoAnswer = {};
constexpr AnswerPlace kIndexAnswer = {kIndexOffset, sizeof(u32)};
constexpr AnswerPlace kHitsAnswer = {offsetof(HitsRecord, hits), sizeof(HitsRecord::hits)};

struct RequestInfo {
    OrxRequest number;
    const char *name; // "activate-flow": the word in logs and on command lines
    u32 recordSize;
    bool copiesFcb; // the driver copies the FCB from the address in the record
    IndexKind index;
    IndexUse use;
    AnswerPlace answer;

    constexpr bool assigns() const { return use == IndexUse::Assigned; }
    constexpr bool releases() const { return use == IndexUse::Released; }
};

template <class Record>
constexpr RequestInfo Row(OrxRequest number, const char *name, IndexKind index = IndexKind::None,
                          IndexUse use = IndexUse::None, AnswerPlace answer = kNoAnswer) {
    return {number, name, sizeof(Record), std::is_same_v<Record, FlowRecord>, index, use, answer};
}

inline constexpr RequestInfo kRequestTable[] = {
    Row<GblRecord>(kOrxSetGblCfg, "set-global"),
    Row<PortRecord>(kOrxSetPortCfg, "set-port"),
    Row<AsTblRecord>(kOrxActivateAsTbl, "activate-as-table", IndexKind::AsTable, IndexUse::Assigned,
                     kIndexAnswer),
    Row<AsTblRecord>(kOrxDeactivateAsTbl, "deactivate-as-table", IndexKind::AsTable, IndexUse::Released),
    Row<DscpTblRecord>(kOrxActivateDscpTbl, "activate-dscp-table", IndexKind::DscpTable, IndexUse::Assigned,
                       kIndexAnswer),
    Row<DscpTblRecord>(kOrxDeactivateDscpTbl, "deactivate-dscp-table", IndexKind::DscpTable,
                       IndexUse::Released),
    Row<PacTblRecord>(kOrxActivatePacTbl, "activate-pac-table", IndexKind::PacTable, IndexUse::Assigned,
                      kIndexAnswer),
    Row<PacTblRecord>(kOrxDeactivatePacTbl, "deactivate-pac-table", IndexKind::PacTable, IndexUse::Released),
    Row<FlowRecord>(kOrxActivateFlow, "activate-flow", IndexKind::Flow, IndexUse::Assigned, kIndexAnswer),
    Row<FlowRecord>(kOrxDeactivateFlow, "deactivate-flow", IndexKind::Flow, IndexUse::Released),
    Row<HitsRecord>(kOrxGetFlowHits, "get-flow-hits", IndexKind::Flow, IndexUse::Given, kHitsAnswer),
    Row<RlStatusRecord>(kOrxSetRlStatus, "set-rl-status"),
    Row<RlTciRecord>(kOrxSetRlTciCfg, "set-rl-tci"),
    Row<RlRecord>(kOrxActivateRl, "activate-rl"),
    Row<RlRecord>(kOrxDeactivateRl, "deactivate-rl"),
    Row<FwdRecord>(kOrxUpdateFwdInfo, "update-forwarding", IndexKind::Flow, IndexUse::Given),
};

// Null when there is no such request.
constexpr const RequestInfo *FindRequest(int number) {
    for (const RequestInfo &info : kRequestTable) {
        if (info.number == number) {
            return &info;
        }
    }
    return nullptr;
}
constexpr const RequestInfo *FindRequest(std::string_view name) {
    for (const RequestInfo &info : kRequestTable) {
        if (info.name == name) {
            return &info;
        }
    }
    return nullptr;
}

// ---- The table is complete and in order

// Whether OrxRequest has a name for this number. The compiler spells such a number by its name
// ("kOrxActivateFlow") and any other as a cast ("(qir::OrxRequest)18").
template <OrxRequest number> constexpr bool IsNamed() {
    return std::string_view(__PRETTY_FUNCTION__).find("= (") == std::string_view::npos;
}

// Whether those of these numbers that have a name are the rows of the table, one after the other.
template <int... number> constexpr bool AreTheRows(std::integer_sequence<int, number...> /*unused*/) {
    const RequestInfo *row = kRequestTable;
    const RequestInfo *const end = std::end(kRequestTable);
    const auto isNext = [&](int named) { return row != end && (row++)->number == named; };
    return ((!IsNamed<static_cast<OrxRequest>(number)>() || isNext(number)) && ...) && row == end;
}
constexpr bool kTableIsComplete = AreTheRows(std::make_integer_sequence<int, 128>());
static_assert(kTableIsComplete,
              "kRequestTable has a row for each name of OrxRequest, in the order of the numbers");

} // namespace qir

#endif
