#include "emu/journal/layouts.h"

namespace orxemu::journal {

namespace {

void Convert(const Layout &layout, std::span<std::uint8_t> record, ByteOrder from) {
    const Bytes original(record.begin(), record.end());
    ConvertFields(layout, original, record, from);
}

} // namespace

Json DecodeRecord(const RequestInfo &info, ByteView record, ByteOrder order) {
    Json decoded = DecodeFields(RequestLayout(info.number), record, order);
    if (info.number == qir::kOrxUpdateFwdInfo) {
        decoded["fwdInfo"] = DecodeFwdInfo(record.subspan(offsetof(qir::FwdRecord, fwdInfo)), order);
    }
    return decoded;
}

Json DecodeAnswer(const RequestInfo &info, ByteView record, ByteOrder order) {
    const auto [offset, size] = info.answer;
    if (info.assigns()) {
        return {{"index", Load(record, offset, size, order)}};
    }
    if (info.number == qir::kOrxGetFlowHits) {
        return DecodeFields(kHitsLayout, record.subspan(offset, size), order);
    }
    return Json::object();
}

Json DecodeTable(IndexKind kind, ByteView record, ByteOrder order) {
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

void ConvertTable(IndexKind kind, std::span<std::uint8_t> record, ByteOrder from) {
    Convert(TableLayout(kind), record, from);
}

void ConvertRlCfg(std::span<std::uint8_t> cfg, ByteOrder from) {
    Convert(kRlCfgLayout, cfg, from);
}

} // namespace orxemu::journal
