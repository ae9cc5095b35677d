#include "tests/orxemu_show/journal_kit.h"

#include "qirapi/driver/driver_records.h"

#include <sstream>

namespace journal_kit {

using namespace orxemu::journal;

Log RecordedLog() {
    Log log;
    for (std::size_t i = 0; i < orxemu_numRequests(); ++i) {
        const OrxEmuRequest &request = *orxemu_request(i);
        LogEntry entry;
        entry.request = request.request;
        entry.err = request.err;
        entry.recordRead = request.recordSize != 0;
        entry.in.assign(request.in, request.in + request.recordSize);
        entry.out.assign(request.out, request.out + request.recordSize);
        entry.fcb.assign(request.fcb, request.fcb + request.fcbSize);
        log.entries.push_back(entry);
    }
    Recount(log);
    return log;
}

void Recount(Log &log) {
    log.end = {};
    for (const LogEntry &entry : log.entries) {
        ++(entry.isOpen ? log.end.failedOpens : log.end.requests);
    }
    log.complete = true;
}

namespace {

// As ConvertRecord, with the words that are output too.
void ConvertAnswer(const RequestInfo &info, Bytes &record, ByteOrder from, ByteOrder to) {
    const Bytes original = record;
    ConvertRecord(info, record, from);
    const std::size_t words = info.number == qir::kOrxGetFlowHits ? record.size() / 4
                              : info.index != IndexKind::None     ? 1
                                                                  : 0;
    for (std::size_t i = 0; i < words; ++i) {
        Store(record, 4 * i, 4, to, Load(original, 4 * i, 4, from));
    }
}

} // namespace

Log InOtherOrder(Log log) {
    const ByteOrder from = log.order;
    log.order = from == ByteOrder::Big ? ByteOrder::Little : ByteOrder::Big;
    for (LogEntry &entry : log.entries) {
        if (const RequestInfo *info = qir::FindRequest(entry.request); info != nullptr && entry.recordRead) {
            ConvertRecord(*info, entry.in, from);
            ConvertAnswer(*info, entry.out, from, log.order);
        }
        if (!entry.fcb.empty()) {
            ConvertFcb(entry.fcb, from);
        }
    }
    return log;
}

std::string TextOf(const Log &log) {
    std::string text = LogHeadLine(log.order);
    std::size_t n = 0;
    for (const LogEntry &entry : log.entries) {
        text += LogEntryLine(entry, ++n, log.order);
    }
    return text + LogEndLine(log.end);
}

std::string StateText() {
    return orxemu::journal::StateText(*orxemu_state());
}

test::ChildResult RunTool(const std::vector<std::string> &args) {
    return test::RunChild(test::CommandOf(ORXEMU_TOOL, args));
}

void AllocHdrs(FlowHdl &flow, uint32_t blk, std::initializer_list<uint32_t> hdrs) {
    for (const uint32_t hdr : hdrs) {
        const FlowHdr flowHdr = {blk, hdr};
        ASSERT_EQ(QIR_Alloc_Hdr(&flow, &flowHdr), e_RET_OK) << "block " << blk << " header " << hdr;
    }
}

FwdInfo ToGemPort3() {
    FwdInfo fwd = {};
    fwd.src.portMask = 0x01;
    fwd.dst.portMask = 0x80;
    fwd.dst.gemPortIdxMask = 0x08;
    fwd.dst.gemQid[3] = 7;
    fwd.fwdAction = e_FWD_ACTION_ARL_OVRD;
    return fwd;
}

FlowHdl TranslatingFlow(uint16_t from, uint16_t to) {
    FlowHdl flow = {};
    EXPECT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    AllocHdrs(flow, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    VlanFilter filter = {};
    filter.type = e_VLAN_FILT_VID;
    filter.val.vid = from;
    EXPECT_EQ(QIR_Config_VlanFilter(&flow, &filter), e_RET_OK);
    VlanAction action = {};
    action.type = e_VLAN_ACTION_SET_VID;
    action.val.vid = to;
    EXPECT_EQ(QIR_Config_VlanAction(&flow, &action), e_RET_OK);
    const FwdInfo fwd = ToGemPort3();
    EXPECT_EQ(QIR_Set_FwdInfo(&flow, &fwd), e_RET_OK);
    return flow;
}

PacTblHdl PacTable(uint8_t gemPort) {
    PacTblHdl table = {};
    EXPECT_EQ(QIR_Alloc_PacTable(&table), e_RET_OK);
    PacTblCfg cfg = {};
    cfg.ovrd = PAC_OVRD_DSTGEMPORT;
    cfg.dstGemPort = gemPort;
    EXPECT_EQ(QIR_Set_PacTableCfg(&table, &cfg), e_RET_OK);
    return table;
}

std::vector<std::string> LinesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace journal_kit
