#include "emu/journal/layouts.h"
#include "qirapi/driver/driver_records.h"

#include <algorithm>

namespace orxemu::journal {

namespace {

constexpr std::size_t kIndexWord = 0;
constexpr unsigned kIndexBytes = 4;

constexpr RequestInfo kRequests[] = {
    {qir::kOrxSetGblCfg, "set-global", sizeof(qir::GblRecord), false, Assigned::None, false},
    {qir::kOrxSetPortCfg, "set-port", sizeof(qir::PortRecord), false, Assigned::None, false},
    {qir::kOrxActivateAsTbl, "activate-as-table", sizeof(qir::AsTblRecord), false, Assigned::AsTable, true},
    {qir::kOrxDeactivateAsTbl, "deactivate-as-table", sizeof(qir::AsTblRecord), false, Assigned::AsTable,
     false},
    {qir::kOrxActivateDscpTbl, "activate-dscp-table", sizeof(qir::DscpTblRecord), false, Assigned::DscpTable,
     true},
    {qir::kOrxDeactivateDscpTbl, "deactivate-dscp-table", sizeof(qir::DscpTblRecord), false,
     Assigned::DscpTable, false},
    {qir::kOrxActivatePacTbl, "activate-pac-table", sizeof(qir::PacTblRecord), false, Assigned::PacTable,
     true},
    {qir::kOrxDeactivatePacTbl, "deactivate-pac-table", sizeof(qir::PacTblRecord), false, Assigned::PacTable,
     false},
    {qir::kOrxActivateFlow, "activate-flow", sizeof(qir::FlowRecord), true, Assigned::Flow, true},
    {qir::kOrxDeactivateFlow, "deactivate-flow", sizeof(qir::FlowRecord), true, Assigned::Flow, false},
    {qir::kOrxGetFlowHits, "get-flow-hits", sizeof(qir::HitsRecord), false, Assigned::Flow, false},
    {qir::kOrxSetRlStatus, "set-rl-status", sizeof(qir::RlStatusRecord), false, Assigned::None, false},
    {qir::kOrxSetRlTciCfg, "set-rl-tci", sizeof(qir::RlTciRecord), false, Assigned::None, false},
    {qir::kOrxActivateRl, "activate-rl", sizeof(qir::RlRecord), false, Assigned::None, false},
    {qir::kOrxDeactivateRl, "deactivate-rl", sizeof(qir::RlRecord), false, Assigned::None, false},
    {qir::kOrxUpdateFwdInfo, "update-forwarding", sizeof(qir::FwdRecord), false, Assigned::Flow, false},
};
static_assert(std::ranges::is_sorted(kRequests, {}, &RequestInfo::number));

// Null when no row matches.
template <class Projection, class Value> const RequestInfo *Find(Projection projection, const Value &value) {
    const auto *row = std::ranges::find(kRequests, value, projection);
    return row != std::end(kRequests) ? row : nullptr;
}

void Convert(const Layout &layout, std::span<std::uint8_t> record, ByteOrder from) {
    const Bytes original(record.begin(), record.end());
    ConvertFields(layout, original, record, from);
}

} // namespace

std::span<const RequestInfo> AllRequests() {
    return kRequests;
}

const RequestInfo *FindRequestInfo(int number) {
    return Find(&RequestInfo::number, number);
}

const RequestInfo *FindRequestInfo(std::string_view name) {
    return Find([](const RequestInfo &info) { return std::string_view(info.name); }, name);
}

Json DecodeRecord(const RequestInfo &info, ByteView record, ByteOrder order) {
    Json decoded = DecodeFields(RequestLayout(info.number), record, order);
    if (info.number == qir::kOrxUpdateFwdInfo) {
        decoded["fwdInfo"] = DecodeFwdInfo(record.subspan(offsetof(qir::FwdRecord, fwdInfo)), order);
    }
    return decoded;
}

Json DecodeAnswer(const RequestInfo &info, ByteView record, ByteOrder order) {
    if (info.assigns) {
        return {{"index", Load(record, kIndexWord, kIndexBytes, order)}};
    }
    if (info.number == qir::kOrxGetFlowHits) {
        return DecodeFields(kHitsLayout, record.subspan(offsetof(qir::HitsRecord, hits)), order);
    }
    return Json::object();
}

AnswerPlace AnswerPlaceOf(const RequestInfo &info) {
    if (info.assigns) {
        return {kIndexWord, kIndexBytes};
    }
    if (info.number == qir::kOrxGetFlowHits) {
        return {offsetof(qir::HitsRecord, hits), sizeof(qir::HitsRecord::hits)};
    }
    return {};
}

std::size_t TableSize(Assigned kind) {
    switch (kind) {
    case Assigned::AsTable:
        return sizeof(qir::AsTblInfo);
    case Assigned::DscpTable:
        return sizeof(qir::DscpTblInfo);
    default:
        return sizeof(qir::PacTblInfo);
    }
}

Json DecodeTable(Assigned kind, ByteView record, ByteOrder order) {
    return DecodeFields(TableLayout(kind), record, order);
}

Json DecodeRlCfg(ByteView cfg, ByteOrder order) {
    return DecodeFields(kRlCfgLayout, cfg, order);
}

Json DecodeFwdInfo(ByteView fwdInfo, ByteOrder order) {
    constexpr std::size_t kSrcPortMask = offsetof(FwdInfo, src) + offsetof(FwdSrc, portMask);
    const bool isSet = Load(fwdInfo, kSrcPortMask, sizeof(FwdSrc::portMask), order) != 0;
    return DecodeFields(isSet ? kFwdInfoLayout : kNotSetFwdInfoLayout, fwdInfo, order);
}

void ConvertRecord(const RequestInfo &info, std::span<std::uint8_t> record, ByteOrder from) {
    Convert(RequestLayout(info.number), record, from);
}

void ConvertTable(Assigned kind, std::span<std::uint8_t> record, ByteOrder from) {
    Convert(TableLayout(kind), record, from);
}

void ConvertRlCfg(std::span<std::uint8_t> cfg, ByteOrder from) {
    Convert(kRlCfgLayout, cfg, from);
}

} // namespace orxemu::journal
