#include "fuzz/changes.h"

#include "fuzz/past.h"
#include "fuzz/stored_requests.h"
#include "fuzz/tables.h"
#include "qirapi/access/request_kinds.h"

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

// What can change, as a part of the object that the call names.
enum class Part : u8 {
    None,
    Context, // all but the settings that start-up keeps
    Sections,
    FlowMissAction,
    PadLen,
    DefAcl,
    Tpid,
    RlStatus,
    RlTci,
    Rl,
    RlState,
    Table,
    TblStatus,
    TblHwIdx,
    EpRefCnt,  // of the EP table of the flow, or of the table that the call names
    PacRefCnt, // likewise
    Flow,
    FlowStatus,
    HwFlowIdx,
    TblAssoc,
    AsOverride,
    EpHdl,
    PbitsSource,
    PacHdl,
    Block,    // the filter or action block that the call names
    EthOrder, // last Ethernet action, tags pushed and popped
    FwdInfo,  // and that it is set
    FwdDst,
    Nodes,     // request nodes, and how many are free
    Entry,     // of the request's header
    TypeBit,   // in the entry's bitmap, the bit of the request's type
    TypeCount, // in the entry, the counter of the request's type and operator
};

constexpr u32 kMaxParts = 6;

struct Accepted {
    Doing doing;
    bool asksDriver;
    Part parts[kMaxParts];
};

// clang-format off
constexpr Accepted kAccepted[] = {
    {Doing::Read,              false, {}},
    {Doing::InitSystem,        false, {Part::Context}},
    {Doing::SetBudget,         false, {Part::Sections}},
    {Doing::SetFlowMissAction, true,  {Part::FlowMissAction}},
    {Doing::SetPadLen,         true,  {Part::PadLen}},
    {Doing::SetDefAcl,         true,  {Part::DefAcl}},
    {Doing::SetTpid,           true,  {Part::Tpid}},
    {Doing::SetRlStatus,       true,  {Part::RlStatus}},
    {Doing::SetRlTci,          true,  {Part::RlTci}},
    {Doing::ChangeRl,          false, {Part::Rl}},
    {Doing::SwitchRl,          true,  {Part::RlState}},
    {Doing::AllocTable,        false, {Part::Table}},
    {Doing::FreeTable,         false, {Part::TblStatus}},
    {Doing::ConfigTable,       false, {Part::Table}},
    {Doing::SwitchTable,       true,  {Part::TblStatus, Part::TblHwIdx}},
    {Doing::AllocFlow,         false, {Part::Flow, Part::Sections}},
    {Doing::FreeFlow,          false, {Part::FlowStatus, Part::TblAssoc, Part::Sections, Part::EpRefCnt,
                                       Part::PacRefCnt}},
    {Doing::ActivateFlow,      true,  {Part::FlowStatus, Part::HwFlowIdx}},
    {Doing::DeactivateFlow,    true,  {Part::FlowStatus}},
    {Doing::ReadHits,          true,  {}},
    {Doing::AllocHdr,          false, {Part::FlowStatus, Part::Block, Part::Nodes}},
    {Doing::SetFwdInfo,        false, {Part::FlowStatus, Part::FwdInfo}},
    {Doing::ChangeDst,         true,  {Part::FwdDst}},
    {Doing::SetAsOverride,     false, {Part::FlowStatus, Part::AsOverride}},
    {Doing::SetPacInfo,        false, {Part::FlowStatus, Part::PacHdl, Part::TblAssoc, Part::PbitsSource,
                                       Part::PacRefCnt}},
    {Doing::SetEpInfo,         false, {Part::FlowStatus, Part::EpHdl, Part::TblAssoc, Part::EpRefCnt}},
    {Doing::ConfigFilter,      false, {Part::Entry, Part::Nodes}},
    {Doing::ConfigEthAction,   false, {Part::Entry, Part::Nodes, Part::EthOrder}},
    {Doing::ConfigAction,      false, {Part::Entry, Part::Nodes}},
    {Doing::ReadFilters,       false, {}},
    {Doing::ReadAction,        false, {}},
};
static_assert(std::size(kAccepted) == static_cast<u32>(Doing::Num));
// clang-format on

// Header allocation has begun when it refuses IPv4 with one or two nodes left.
bool IsBegun(const QirCtxt &before, const Call &call) {
    const Fcb &fcb = before.fcbPool[call.flow];
    const u16 hdrBmap = call.blk == e_BLKTYPE_FILTER ? fcb.filterBlk.hdrBmap : fcb.actionBlk.hdrBmap;
    const u32 numFree = NumMembers(fcb, 0);
    return call.hdr == e_FLOWHDR_IPV4 && !IsHdrSet(hdrBmap, e_FLOWHDR_IPV4) && (numFree == 1 || numFree == 2);
}

bool PushesOrPops(const QirCtxt &, const Call &call) {
    return IsTagAction(call);
}

// One code may come from several checks, of which only the later ones leave something behind. What was before
// the call says which it was.
struct Refused {
    Doing doing;
    u32 rc;
    Part parts[kMaxParts];
    bool (*when)(const QirCtxt &before, const Call &call) = nullptr;
};

// clang-format off
constexpr Refused kRefused[] = {
    // The driver's index is kept or forgotten whatever it answered.
    {Doing::SwitchTable,     e_RET_DRIVER_FAILURE,           {Part::TblHwIdx}},
    // The driver's index is kept whatever it answered.
    {Doing::ActivateFlow,    e_RET_DRIVER_FAILURE,           {Part::HwFlowIdx}},
    // IPv4 without nodes left for TCP and UDP: what is done stays.
    {Doing::AllocHdr,        e_RET_ERR_RESRC_UNAVAIL,        {Part::Block, Part::Nodes}, IsBegun},
    // The handle is stored before the association is looked at.
    {Doing::SetPacInfo,      e_RET_ERR_RESRC_ALREADY_ACTIVE, {Part::PacHdl}},
    {Doing::SetPacInfo,      e_RET_ERR_RESRC_NOT_ACTIVE,     {Part::PacHdl}},
    {Doing::SetPacInfo,      e_RET_ERR_STATE_NOTCFG,         {Part::PacHdl}},
    {Doing::SetEpInfo,       e_RET_ERR_RESRC_ALREADY_ACTIVE, {Part::EpHdl}},
    {Doing::SetEpInfo,       e_RET_ERR_RESRC_NOT_ACTIVE,     {Part::EpHdl}},
    // The state is tested last.
    {Doing::SetEpInfo,       e_RET_ERR_STATE_NOTCFG,         {Part::EpHdl, Part::TblAssoc, Part::EpRefCnt}},
    // The operator's limit is tested behind the dependencies, whether the type takes it before them.
    {Doing::ConfigFilter,    e_RET_ERR_INVALID_CMPOPSEQ,     {Part::TypeBit}, TakesOperator},
    // The value is tested behind the rules. UDP gives this code to an operator that its type does not take.
    {Doing::ConfigFilter,    e_RET_ERR_INVALID_PARAM,        {Part::TypeBit, Part::TypeCount}, TakesOperator},
    // The node is taken behind the rules.
    {Doing::ConfigFilter,    e_RET_ERR_RESRC_UNAVAIL,        {Part::TypeBit, Part::TypeCount}},
    // The order is tested behind the dependencies.
    {Doing::ConfigEthAction, e_RET_ERR_REQOUTOFORDER,        {Part::TypeBit}},
    // The tags are counted behind the dependencies, a value is tested before them.
    {Doing::ConfigEthAction, e_RET_ERR_INVALID_PARAM,        {Part::TypeBit}, PushesOrPops},
    // The node is taken behind the dependencies.
    {Doing::ConfigEthAction, e_RET_ERR_RESRC_UNAVAIL,        {Part::TypeBit}},
    {Doing::ConfigAction,    e_RET_ERR_RESRC_UNAVAIL,        {Part::TypeBit}},
};
// clang-format on

// Places in the context.

#define PLACE(member) offsetof(QirCtxt, member)
#define PLACE_IN(record, member)                                                                             \
    Range {                                                                                                  \
        offsetof(record, member), offsetof(record, member) + sizeof(record::member)                          \
    }

Range Whole(std::size_t begin, std::size_t size) {
    return {begin, begin + size};
}

template <class Element> Range ElementOf(std::size_t array, u32 idx) {
    return Whole(array + idx * sizeof(Element), sizeof(Element));
}

Range InFlow(const Call &call, Range part) {
    const std::size_t fcb = PLACE(fcbPool) + call.flow * sizeof(Fcb);
    return {fcb + part.begin, fcb + part.end};
}

template <class Info> Range InTable(std::size_t pool, u32 idx, Range part) {
    const std::size_t tbl = pool + idx * sizeof(Info);
    return {tbl + part.begin, tbl + part.end};
}

std::size_t PoolOf(TblKind kind) {
    constexpr std::size_t kPools[] = {PLACE(asTblPool), PLACE(dscpTblPool), PLACE(epTblPool),
                                      PLACE(pacTblPool)};
    return kPools[static_cast<u32>(kind)];
}

// The table's record, its status or its driver's index.
Range InNamedTable(const QirCtxt &ctxt, const Call &call, Part part) {
    return WithPool(ctxt, call.tblKind, [&](auto kind, const auto &) {
        using Info = typename decltype(kind)::Info;
        const std::size_t pool = PoolOf(call.tblKind);
        switch (part) {
        case Part::TblStatus:
            return InTable<Info>(pool, call.table, PLACE_IN(Info, status));
        case Part::TblHwIdx:
            return InTable<Info>(pool, call.table, PLACE_IN(Info, hwTblIdx));
        default:
            return ElementOf<Info>(pool, call.table);
        }
    });
}

// The table whose count a call on a flow changes: the one that the call names, or else the flow's.
Range RefCntOf(const QirCtxt &before, const Call &call, bool ep) {
    const Fcb &fcb = before.fcbPool[call.flow];
    const u32 named = ep ? fcb.epTblHdl.f1.id : fcb.pacTblHdl.f1.id;
    const u32 idx = call.table != kNone ? call.table : named;
    if (idx >= (ep ? u32{QIR_EPTBL_MAXNUM} : u32{QIR_PACTBL_MAXNUM})) {
        return {0, 0};
    }
    return ep ? InTable<EpTblInfo>(PLACE(epTblPool), idx, PLACE_IN(EpTblInfo, refCnt))
              : InTable<PacTblInfo>(PLACE(pacTblPool), idx, PLACE_IN(PacTblInfo, refCnt));
}

Range InFlowPart(const Call &call, Part part) {
    switch (part) {
    case Part::Flow:
        return Whole(0, sizeof(Fcb));
    case Part::FlowStatus:
        return PLACE_IN(Fcb, status);
    case Part::HwFlowIdx:
        return PLACE_IN(Fcb, hwFlowIdx);
    case Part::TblAssoc:
        return PLACE_IN(Fcb, tblAssoc);
    case Part::AsOverride:
        return PLACE_IN(Fcb, asOverride);
    case Part::EpHdl:
        return PLACE_IN(Fcb, epTblHdl);
    case Part::PbitsSource:
        return PLACE_IN(Fcb, pbitsSource);
    case Part::PacHdl:
        return PLACE_IN(Fcb, pacTblHdl);
    case Part::Block:
        return call.blk == e_BLKTYPE_FILTER ? PLACE_IN(Fcb, filterBlk) : PLACE_IN(Fcb, actionBlk);
    case Part::EthOrder:
        return {offsetof(Fcb, actionBlk.lastEthAction), offsetof(Fcb, fwdInfoSet)};
    case Part::FwdInfo:
        return {offsetof(Fcb, fwdInfoSet), offsetof(Fcb, reserved2)};
    case Part::FwdDst:
        return PLACE_IN(Fcb, fwdInfo.dst);
    case Part::Nodes:
        return {offsetof(Fcb, freeReqCount), sizeof(Fcb)};
    case Part::Entry:
        return Whole(call.entry, call.entryBytes);
    case Part::TypeBit:
        return Whole(call.entry + offsetof(HdrEntry, curBmap), sizeof(HdrEntry::curBmap));
    default:
        return Whole(CounterOf(call), 1);
    }
}

Range SettingPart(const Call &call, Part part) {
    switch (part) {
    case Part::Sections:
        return PLACE_IN(QirCtxt, cfg);
    case Part::FlowMissAction:
        return PLACE_IN(QirCtxt, flowMissAction);
    case Part::PadLen:
        return ElementOf<u32>(PLACE(portPadLenTbl), call.port);
    case Part::DefAcl:
        return ElementOf<u32>(PLACE(portDefAclTbl), call.port);
    case Part::Tpid:
        return ElementOf<TpidCfg>(PLACE(tpidTbl), call.port);
    case Part::RlStatus:
        return PLACE_IN(QirCtxt, rlStatus);
    case Part::RlTci:
        return ElementOf<RlTciCfg>(PLACE(rlTciCfgTbl), call.rlDir);
    default:
        break;
    }
    const Range slot = ElementOf<RlSlot>(PLACE(rlTbl), call.rlDir * QIR_RLINDEX_MAX + call.rlIndex);
    return part == Part::Rl ? slot : Range{slot.begin + offsetof(RlSlot, state), slot.end};
}

// Start-up leaves out the settings, and the TCI configurations.
void AddRanges(std::vector<Range> &ranges, const QirCtxt &before, const Call &call, Part part) {
    switch (part) {
    case Part::None:
        break;
    case Part::Context:
        ranges.push_back(PLACE_IN(QirCtxt, cfg));
        ranges.push_back({PLACE(cmpOpCntTbl), PLACE(rlTciCfgTbl)});
        ranges.push_back({PLACE(rlTbl), sizeof(QirCtxt)});
        break;
    case Part::Table:
    case Part::TblStatus:
    case Part::TblHwIdx:
        ranges.push_back(InNamedTable(before, call, part));
        break;
    case Part::EpRefCnt:
    case Part::PacRefCnt:
        ranges.push_back(RefCntOf(before, call, part == Part::EpRefCnt));
        break;
    default:
        ranges.push_back(part < Part::Table ? SettingPart(call, part) : InFlow(call, InFlowPart(call, part)));
        break;
    }
}

const Part *PartsOf(const QirCtxt &before, const Call &call) {
    if (call.rc == e_RET_OK) {
        return kAccepted[static_cast<u32>(call.doing)].parts;
    }
    for (const Refused &row : kRefused) {
        if (row.doing == call.doing && row.rc == call.rc) {
            return row.when == nullptr || row.when(before, call) ? row.parts : nullptr;
        }
    }
    return nullptr;
}

std::vector<Range> RangesOf(const QirCtxt &before, const Call &call) {
    std::vector<Range> ranges;
    if (const Part *parts = PartsOf(before, call); parts != nullptr) {
        for (u32 i = 0; i < kMaxParts; ++i) {
            AddRanges(ranges, before, call, parts[i]);
        }
    }
    std::sort(ranges.begin(), ranges.end(), [](Range a, Range b) { return a.begin < b.begin; });
    return ranges;
}

const u8 *Bytes(const QirCtxt &ctxt) {
    return reinterpret_cast<const u8 *>(&ctxt);
}

// "flow 3 + 36", "PAC table 2 + 40" or "byte 17".
std::string PlaceName(std::size_t offset) {
    struct Row {
        const char *name;
        std::size_t begin, num, size;
    };
    constexpr Row kRows[] = {
        {"AS table", PLACE(asTblPool), QIR_ASTBL_MAXNUM, sizeof(AsTblInfo)},
        {"DSCP table", PLACE(dscpTblPool), QIR_DSCPTBL_MAXNUM, sizeof(DscpTblInfo)},
        {"EP table", PLACE(epTblPool), QIR_EPTBL_MAXNUM, sizeof(EpTblInfo)},
        {"PAC table", PLACE(pacTblPool), QIR_PACTBL_MAXNUM, sizeof(PacTblInfo)},
        {"flow", PLACE(fcbPool), QIR_MAX_FLOWS, sizeof(Fcb)},
    };
    for (const Row &row : kRows) {
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
    const auto same = [&](std::size_t begin, std::size_t end) {
        return begin >= end || std::memcmp(Bytes(before) + begin, Bytes(now) + begin, end - begin) == 0;
    };
    std::size_t at = within.begin;
    for (std::size_t i = 0; i <= allowed.size(); ++i) {
        const std::size_t end = i < allowed.size() ? std::min(allowed[i].begin, within.end) : within.end;
        if (!same(at, end)) {
            while (Bytes(before)[at] == Bytes(now)[at]) {
                ++at;
            }
            return "changed " + PlaceName(at);
        }
        at = i < allowed.size() ? std::max(at, allowed[i].end) : at;
    }
    return {};
}

constexpr Range kSettings = {0, offsetof(QirCtxt, fcbPool)};

Range FlowRange(u32 flow) {
    return ElementOf<Fcb>(PLACE(fcbPool), flow);
}

u32 WordAt(const QirCtxt &ctxt, Range place) {
    u32 word = 0;
    std::memcpy(&word, Bytes(ctxt) + place.begin, sizeof word);
    return word;
}

// What a refused call has to leave behind, beyond what requests do (fuzz/stored_requests.h).
//
// An association that is refused behind the tests of its arguments has stored the handle; where the state is
// tested last it has been made, or ended, as well. A table that the driver did not deactivate has forgotten
// the driver's index.
Complaint CheckLeftBehind(const QirCtxt &before, const QirCtxt &now, const Call &call) {
    if (call.doing == Doing::SwitchTable) {
        const bool deactivated =
            WordAt(before, InNamedTable(before, call, Part::TblStatus)) == e_STATUS_ACTIVE;
        const u32 hwIdx = WordAt(now, InNamedTable(now, call, Part::TblHwIdx));
        return deactivated && hwIdx != kNone ? "did not forget the driver's index" : Complaint{};
    }
    if (call.doing != Doing::SetPacInfo && call.doing != Doing::SetEpInfo) {
        return {};
    }
    const Fcb &fcb = now.fcbPool[call.flow];
    if ((call.doing == Doing::SetPacInfo ? fcb.pacTblHdl.f1.id : fcb.epTblHdl.f1.id) != call.table) {
        return "did not store the handle";
    }
    const bool made = call.doing == Doing::SetEpInfo && call.rc == e_RET_ERR_STATE_NOTCFG;
    return made && (before.fcbPool[call.flow].tblAssoc ^ fcb.tblAssoc) != kTblAssocEp
               ? "did not change the association"
               : Complaint{};
}

} // namespace

bool AsksDriver(Doing doing) {
    return kAccepted[static_cast<u32>(doing)].asksDriver;
}

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

const Fcb *Before::FcbOf(const Call &call) const {
    return call.flow == kNone ? nullptr : before_->fcbPool + call.flow;
}

void Before::Touch(u32 flow) {
    if (!isTouched_[flow]) {
        isTouched_[flow] = true;
        touched_.push_back(flow);
    }
}

Complaint Before::Compare(const QirCtxt &ctxt, const Call &call) {
    const std::vector<Range> allowed = RangesOf(*before_, call);
    if (Complaint changed = CompareBut(*before_, ctxt, kSettings, allowed); !changed.empty()) {
        return changed;
    }
    if (call.flow != kNone) {
        Touch(call.flow);
    }
    for (const u32 flow : touched_) {
        if (Complaint changed = CompareBut(*before_, ctxt, FlowRange(flow), allowed); !changed.empty()) {
            return changed;
        }
    }
    if (call.rc != e_RET_OK && !allowed.empty()) {
        if (Complaint left = CheckLeftBehind(*before_, ctxt, call); !left.empty()) {
            return left;
        }
    }
    for (const Range range : allowed) {
        std::memcpy(reinterpret_cast<u8 *>(before_.get()) + range.begin, Bytes(ctxt) + range.begin,
                    range.end - range.begin);
    }
    // Start-up brings everything that it initialises to what it was behind the first one.
    if (call.doing == Doing::InitSystem) {
        for (const Range range : allowed) {
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
