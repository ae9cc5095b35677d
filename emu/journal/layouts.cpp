// Offsets and sizes are taken from the driver's records, which pin them. What the tables add: what a field
// is, how it is shown, and when it is set.
#include "emu/journal/layouts.h"

#include "qirapi/driver/driver_records.h"

#include <algorithm>
#include <type_traits>

namespace orxemu::journal {

namespace {

using qir::kNotSet;

constexpr When kAlways = {};
constexpr When kNever = {.is = When::Is::Never};

// An element that still has the fill pattern was never written.
constexpr When kWritten = {.is = When::Is::Written};

constexpr When WhenEqual(std::size_t offset, std::uint32_t value) {
    return {When::Is::Equal, offset, 4, value};
}
constexpr When WhenNotEqual(std::size_t offset, std::uint32_t value) {
    return {When::Is::NotEqual, offset, 4, value};
}

// Where a member lies.
struct Place {
    const char *name;
    std::size_t offset;
    unsigned width;
    unsigned count;
};

template <class Member> constexpr Place PlaceOf(const char *name, std::size_t offset) {
    constexpr unsigned kWidth = sizeof(std::remove_all_extents_t<Member>);
    return {name, offset, kWidth, sizeof(Member) / kWidth};
}

#define PLACE_AS(name, Record, member) PlaceOf<decltype(Record::member)>(name, offsetof(Record, member))
#define PLACE(Record, member)          PLACE_AS(#member, Record, member)

constexpr Field Make(const Place &place, Show show, Names names, const Layout *record, const When &when) {
    return {place.name, place.offset, place.width, place.count, show, names, record, when};
}
constexpr Field Number(const Place &place, const When &when = kAlways) {
    return Make(place, Show::Number, {}, nullptr, when);
}
constexpr Field As(Show show, const Place &place, const When &when = kAlways) {
    return Make(place, show, {}, nullptr, when);
}
constexpr Field Named(const Place &place, Names names) {
    return Make(place, Show::Name, names, nullptr, kAlways);
}
constexpr Field BitSet(const Place &place, Names names) {
    return Make(place, Show::Bits, names, nullptr, kAlways);
}
constexpr Field Nested(const Place &place, const Layout &record, const When &when = kAlways) {
    return Make(place, Show::Record, {}, &record, when);
}

// Bytes of the record that no row covers: a row that is forgotten adds to them. The rows lie one behind the
// other and inside the record.
template <class Record, std::size_t N> constexpr std::size_t SpareBytes(const Field (&fields)[N]) {
    std::size_t end = 0;
    std::size_t covered = 0;
    for (const Field &field : fields) {
        const std::size_t bytes = std::size_t{field.width} * field.count;
        if (field.offset < end || field.offset + bytes > sizeof(Record)) {
            return sizeof(Record) + 1;
        }
        end = field.offset + bytes;
        covered += bytes;
    }
    return sizeof(Record) - covered;
}

#define NAME(value)                                                                                          \
    { value, #value }

constexpr NameRow kStatusNames[] = {NAME(e_STATUS_FREE), NAME(e_STATUS_ALLOC), NAME(e_STATUS_CFG),
                                    NAME(e_STATUS_ACTIVE)};
static_assert(CountsTo(kStatusNames, e_STATUS_MAX));
constexpr NameRow kAsOverrideNames[] = {NAME(e_AS_OVERRIDE_DISABLE), NAME(e_AS_OVERRIDE_ENABLE)};
static_assert(CountsTo(kAsOverrideNames, e_AS_OVERRIDE_MAX));
constexpr NameRow kAclMaskNames[] = {NAME(AS_ENT_MASK_MAC_SA),   NAME(AS_ENT_MASK_IP),
                                     NAME(AS_ENT_MASK_ETHTYPE),  NAME(AS_ENT_MASK_VLANTAG0),
                                     NAME(AS_ENT_MASK_VLANTAG1), NAME(AS_ENT_MASK_DESTPORT),
                                     NAME(AS_ENT_MASK_IPPROTO),  NAME(AS_ENT_MASK_NONIP_A),
                                     NAME(AS_ENT_MASK_NONIP_B),  NAME(AS_ENT_MASK_MAC_DA)};
static_assert(AreBitsOf(kAclMaskNames, 2 * AS_ENT_MASK_MAC_DA - 1));
constexpr NameRow kOvrdNames[] = {NAME(PAC_OVRD_HW_A), NAME(PAC_OVRD_UNCHECKED), NAME(PAC_OVRD_DSTQID_A),
                                  NAME(PAC_OVRD_DSTGEMPORT), NAME(PAC_OVRD_DSTQID_B)};
static_assert(AreBitsOf(kOvrdNames, PAC_OVRD_INVALID_BITS ^ 0xFFFF));
constexpr NameRow kFwdActionNames[] = {NAME(e_FWD_ACTION_DROP), NAME(e_FWD_ACTION_ARL_OVRD),
                                       NAME(e_FWD_ACTION_LRN_ENABLE)};
static_assert(AreBitsOf(kFwdActionNames, e_FWD_ACTION_MAX - 1));
constexpr NameRow kGblCfgNames[] = {{qir::kGblCfgFlowMissAction, "flowMissAction"}};
constexpr NameRow kPortCfgNames[] = {
    {qir::kPortCfgDefAcl, "defAcl"}, {qir::kPortCfgTpid, "tpid"}, {qir::kPortCfgPadLen, "pad"}};
constexpr NameRow kTblAssocNames[] = {{qir::kTblAssocEp, "ep"}, {qir::kTblAssocPac, "pac"}};
static_assert(AreBitsOf(kTblAssocNames, qir::kTblAssocEp | qir::kTblAssocPac));

// ---- Settings

constexpr Field kGblFields[] = {
    Named(PLACE(qir::GblRecord, cfgType), kGblCfgNames),
    Number(PLACE(qir::GblRecord, flowMissAction)),
};
static_assert(std::size(kGblCfgNames) == std::size(kGblFields) - 1); // a type for each setting
static_assert(SpareBytes<qir::GblRecord>(kGblFields) == 0);
constexpr Layout kGblLayout = {kGblFields};

using DefAcl = decltype(qir::PortRecord::defAcl);
constexpr Field kDefAclFields[] = {Number(PLACE(DefAcl, srcPort)), Number(PLACE(DefAcl, aclType))};
static_assert(SpareBytes<DefAcl>(kDefAclFields) == 0);
constexpr Layout kDefAclLayout = {kDefAclFields};

constexpr Field kTpidFields[] = {Number(PLACE(TpidCfg, portId)), Number(PLACE(TpidCfg, tpid))};
static_assert(SpareBytes<TpidCfg>(kTpidFields) == 0);
constexpr Layout kTpidLayout = {kTpidFields};

using Pad = decltype(qir::PortRecord::pad);
constexpr Field kPadFields[] = {Number(PLACE(Pad, srcPort)), Number(PLACE(Pad, padLen))};
static_assert(SpareBytes<Pad>(kPadFields) == 0);
constexpr Layout kPadLayout = {kPadFields};

constexpr When WhenPortCfg(std::uint32_t type) {
    return WhenEqual(offsetof(qir::PortRecord, cfgType), type);
}
constexpr Field kPortFields[] = {
    Named(PLACE(qir::PortRecord, cfgType), kPortCfgNames),
    Nested(PLACE(qir::PortRecord, defAcl), kDefAclLayout, WhenPortCfg(qir::kPortCfgDefAcl)),
    Nested(PLACE(qir::PortRecord, tpid), kTpidLayout, WhenPortCfg(qir::kPortCfgTpid)),
    Nested(PLACE(qir::PortRecord, pad), kPadLayout, WhenPortCfg(qir::kPortCfgPadLen)),
};
static_assert(std::size(kPortCfgNames) == std::size(kPortFields) - 1);
static_assert(SpareBytes<qir::PortRecord>(kPortFields) == 0);
constexpr Layout kPortLayout = {kPortFields};

// ---- Tables

constexpr Field kAsEntFields[] = {
    As(Show::Mac, PLACE(AsEnt, macDA)), As(Show::Mac, PLACE(AsEnt, macDAMask)),
    As(Show::Mac, PLACE(AsEnt, macSA)), As(Show::Mac, PLACE(AsEnt, macSAMask)),
    As(Show::Ip, PLACE(AsEnt, ipAddr)), Number(PLACE(AsEnt, ipPrefixLen)),
    Number(PLACE(AsEnt, ethType)),      Number(PLACE(AsEnt, vlanTag0)),
    Number(PLACE(AsEnt, vlanTag1)),     Number(PLACE(AsEnt, destPort)),
    Number(PLACE(AsEnt, ipProto)),      BitSet(PLACE(AsEnt, aclMask), kAclMaskNames),
    Number(PLACE(AsEnt, aclType)),
};
static_assert(SpareBytes<AsEnt>(kAsEntFields) == 3);
constexpr Layout kAsEntLayout = {kAsEntFields};

constexpr Field kAsEntSlotFields[] = {
    Nested(PLACE(qir::AsEntSlot, ent), kAsEntLayout,
           WhenNotEqual(offsetof(qir::AsEntSlot, status), e_STATUS_FREE)),
    Named(PLACE(qir::AsEntSlot, status), kStatusNames),
};
static_assert(SpareBytes<qir::AsEntSlot>(kAsEntSlotFields) == 0);
constexpr Layout kAsEntSlotLayout = {kAsEntSlotFields};

constexpr Field kAsTblCfgFields[] = {Number(PLACE(AsTblCfg, srcPortMask))};
static_assert(SpareBytes<AsTblCfg>(kAsTblCfgFields) == 0);
constexpr Layout kAsTblCfgLayout = {kAsTblCfgFields};

constexpr Field kAsTblFields[] = {
    As(Show::TblIndex, PLACE(qir::AsTblInfo, hdl)),      Number(PLACE(qir::AsTblInfo, hwTblIdx)),
    Nested(PLACE(qir::AsTblInfo, cfg), kAsTblCfgLayout), Number(PLACE(qir::AsTblInfo, refCnt)),
    Named(PLACE(qir::AsTblInfo, status), kStatusNames),  Nested(PLACE(qir::AsTblInfo, ent), kAsEntSlotLayout),
};
static_assert(SpareBytes<qir::AsTblInfo>(kAsTblFields) == 2);
constexpr Layout kAsTblLayout = {kAsTblFields};

constexpr Field kDscpCfgFields[] = {Number(PLACE(DscpDefPbits, srcPort)), Number(PLACE(DscpDefPbits, pbits))};
static_assert(SpareBytes<DscpDefPbits>(kDscpCfgFields) == 3);
constexpr Layout kDscpCfgLayout = {kDscpCfgFields};

constexpr Field kDscpTblFields[] = {
    As(Show::TblIndex, PLACE(qir::DscpTblInfo, hdl)),     Number(PLACE(qir::DscpTblInfo, hwTblIdx)),
    Nested(PLACE(qir::DscpTblInfo, cfg), kDscpCfgLayout), Number(PLACE(qir::DscpTblInfo, refCnt)),
    Named(PLACE(qir::DscpTblInfo, status), kStatusNames), Number(PLACE(qir::DscpTblInfo, pbits)),
};
static_assert(SpareBytes<qir::DscpTblInfo>(kDscpTblFields) == 2);
constexpr Layout kDscpTblLayout = {kDscpTblFields};

constexpr Field kRawActionFields[] = {
    Number(PLACE(PacRawAction, type)), Number(PLACE(PacRawAction, ofst)), Number(PLACE(PacRawAction, size)),
    Number(PLACE(PacRawAction, val)),  Number(PLACE(PacRawAction, mask)),
};
static_assert(SpareBytes<PacRawAction>(kRawActionFields) == 2);
constexpr Layout kRawActionLayout = {kRawActionFields};

constexpr Field kPacCfgFields[] = {
    BitSet(PLACE(PacTblCfg, ovrd), kOvrdNames),
    Number(PLACE(PacTblCfg, dstGemPort)),
    Number(PLACE(PacTblCfg, dstQid)),
    Nested(PLACE(PacTblCfg, rawAction), kRawActionLayout),
};
static_assert(SpareBytes<PacTblCfg>(kPacCfgFields) == 0);
constexpr Layout kPacCfgLayout = {kPacCfgFields};

constexpr Field kPacTblFields[] = {
    As(Show::TblIndex, PLACE(qir::PacTblInfo, hdl)),     Number(PLACE(qir::PacTblInfo, hwTblIdx)),
    Nested(PLACE(qir::PacTblInfo, cfg), kPacCfgLayout),  Number(PLACE(qir::PacTblInfo, refCnt)),
    Named(PLACE(qir::PacTblInfo, status), kStatusNames), Nested(PLACE(qir::PacTblInfo, ent), kPacCfgLayout),
};
static_assert(SpareBytes<qir::PacTblInfo>(kPacTblFields) == 2);
constexpr Layout kPacTblLayout = {kPacTblFields};

// The index of an activation is output.
template <class Record, const Layout &tbl, bool isActivation> struct TblRequest {
    static constexpr Field kFields[] = {
        Number(PLACE(Record, index), isActivation ? kNever : kAlways),
        Nested(PLACE(Record, tbl), tbl),
    };
    static_assert(SpareBytes<Record>(kFields) == 0);
    static constexpr Layout kLayout = {kFields};
};

// ---- Flows

template <bool isActivation> struct FlowRequest {
    static constexpr Field kFields[] = {
        Number(PLACE(qir::FlowRecord, flowIdx), isActivation ? kNever : kAlways),
        Number(PLACE(qir::FlowRecord, fcbSize)),
        Number(PLACE(qir::FlowRecord, fcbAddr)),
        As(Show::Signed, PLACE(qir::FlowRecord, pacTblIdx)),
        As(Show::Signed, PLACE(qir::FlowRecord, epTblIdx)),
    };
    static_assert(SpareBytes<qir::FlowRecord>(kFields) == 0);
    static constexpr Layout kLayout = {kFields};
};

constexpr Field kHitsFields[] = {Number(PLACE(FcbHits, numFlows)), Number(PLACE(FcbHits, hits))};
static_assert(SpareBytes<FcbHits>(kHitsFields) == 0);

// The library clears the counters, which are output.
constexpr Field kHitsRecordFields[] = {
    Number(PLACE(qir::HitsRecord, flowIdx)),
    Nested(PLACE(qir::HitsRecord, hits), kHitsLayout),
};
static_assert(SpareBytes<qir::HitsRecord>(kHitsRecordFields) == 0);
constexpr Layout kHitsRecordLayout = {kHitsRecordFields};

// kBytes: which bytes of the GEM ports and queues count. While forwarding is not set as a whole these are the
// written ones: an allocated flow has some of it, QIR_Add_DstPortInfo and QIR_Rem_DstPortInfo write the
// destination.
template <const When &kBytes>
constexpr Field kFwdSrcFields[] = {Number(PLACE(FwdSrc, gemPortIdxMask), kBytes),
                                   Number(PLACE(FwdSrc, portMask))};
static_assert(SpareBytes<FwdSrc>(kFwdSrcFields<kAlways>) == 0);
template <const When &kBytes> constexpr Layout kFwdSrcLayout = {kFwdSrcFields<kBytes>};

template <const When &kBytes>
constexpr Field kDstMaskFields[] = {
    Number(PLACE(DstMask, gemQid), kBytes),
    Number(PLACE(DstMask, gemPortIdxMask)),
    Number(PLACE(DstMask, portQid), kBytes),
    Number(PLACE(DstMask, portMask)),
};
static_assert(SpareBytes<DstMask>(kDstMaskFields<kAlways>) == 3);
template <const When &kBytes> constexpr Layout kDstMaskLayout = {kDstMaskFields<kBytes>};

template <const When &kBytes>
constexpr Field kFwdInfoFields[] = {
    Number(PLACE(FwdInfo, flowPrio)),
    Nested(PLACE(FwdInfo, src), kFwdSrcLayout<kBytes>),
    Nested(PLACE(FwdInfo, dst), kDstMaskLayout<kBytes>),
    BitSet(PLACE(FwdInfo, fwdAction), kFwdActionNames),
};
static_assert(SpareBytes<FwdInfo>(kFwdInfoFields<kAlways>) == 0);

constexpr Field kFwdRecordFields[] = {
    Number(PLACE(qir::FwdRecord, flowIdx)),
    Nested(PLACE(qir::FwdRecord, fwdInfo), kFwdInfoLayout),
};
static_assert(SpareBytes<qir::FwdRecord>(kFwdRecordFields) == 0);
constexpr Layout kFwdRecordLayout = {kFwdRecordFields};

constexpr Field kHdrEntryFields[] = {
    Number(PLACE_AS(nullptr, qir::HdrEntry, reqCount)),
    Number(PLACE_AS(nullptr, qir::HdrEntry, reqList)),
    Number(PLACE_AS(nullptr, qir::HdrEntry, curBmap)),
};
static_assert(SpareBytes<qir::HdrEntry>(kHdrEntryFields) == 0);
constexpr Layout kHdrEntryLayout = {kHdrEntryFields};

constexpr Field kFilterBlkFields[] = {
    Number(PLACE_AS(nullptr, qir::FilterBlk, hdrBmap)),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, eth), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, vlan), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, pppoe), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, ipv4), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, tcp), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::FilterBlk, udp), kHdrEntryLayout),
    Number(PLACE(qir::FilterBlk, totalTags)),
};
static_assert(SpareBytes<qir::FilterBlk>(kFilterBlkFields) == 1);
constexpr Layout kFilterBlkLayout = {kFilterBlkFields};

constexpr Field kActionBlkFields[] = {
    Number(PLACE_AS(nullptr, qir::ActionBlk, hdrBmap)),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, eth), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, vlan), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, pppoe), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, ipv4), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, tcp), kHdrEntryLayout),
    Nested(PLACE_AS(nullptr, qir::ActionBlk, udp), kHdrEntryLayout),
    Number(PLACE_AS(nullptr, qir::ActionBlk, lastEthAction)),
    Number(PLACE(qir::ActionBlk, totalTags)),
    Number(PLACE(qir::ActionBlk, pushedTags)),
    Number(PLACE(qir::ActionBlk, poppedTags)),
};
static_assert(SpareBytes<qir::ActionBlk>(kActionBlkFields) == 1);
constexpr Layout kActionBlkLayout = {kActionBlkFields};

// Key and request of a node mean something only while the node is on a request list.
constexpr Field kReqNodeFields[] = {
    Number(PLACE_AS(nullptr, qir::ReqNode, curr)),
    Number(PLACE_AS(nullptr, qir::ReqNode, next)),
    Number(PLACE_AS(nullptr, qir::ReqNode, prev)),
};
static_assert(SpareBytes<qir::ReqNode>(kReqNodeFields) == sizeof(qir::ReqNode) - 6);
constexpr Layout kReqNodeLayout = {kReqNodeFields};

constexpr When WhenAssociated(std::uint32_t bit) {
    return {When::Is::WithBit, offsetof(qir::Fcb, tblAssoc), sizeof(qir::Fcb::tblAssoc), bit};
}
// A flow's hwFlowIdx keeps the fill pattern until its first activation.
constexpr Field kFcbFields[] = {
    Named(PLACE(qir::Fcb, status), kStatusNames),
    As(Show::FlowIndex, PLACE(qir::Fcb, flowHdl)),
    Number(PLACE(qir::Fcb, hwFlowIdx), WhenNotEqual(offsetof(qir::Fcb, hwFlowIdx), kNotSet)),
    Number(PLACE(qir::Fcb, section)),
    BitSet(PLACE_AS("tables", qir::Fcb, tblAssoc), kTblAssocNames),
    Named(PLACE(qir::Fcb, asOverride), kAsOverrideNames),
    As(Show::TblIndex, PLACE(qir::Fcb, epTblHdl), WhenAssociated(qir::kTblAssocEp)),
    Number(PLACE(qir::Fcb, pbitsSource), WhenAssociated(qir::kTblAssocPac)),
    As(Show::TblIndex, PLACE(qir::Fcb, pacTblHdl), WhenAssociated(qir::kTblAssocPac)),
    Nested(PLACE_AS("filter", qir::Fcb, filterBlk), kFilterBlkLayout),
    Nested(PLACE_AS("action", qir::Fcb, actionBlk), kActionBlkLayout),
    Number(PLACE(qir::Fcb, fwdInfoSet)),
    Nested(PLACE_AS("forwarding", qir::Fcb, fwdInfo), kFwdInfoLayout),
    Number(PLACE_AS(nullptr, qir::Fcb, freeReqList)),
    Number(PLACE_AS(nullptr, qir::Fcb, freeReqCount)),
    Nested(PLACE_AS(nullptr, qir::Fcb, reqPool), kReqNodeLayout),
};
static_assert(SpareBytes<qir::Fcb>(kFcbFields) == 10);

// ---- Rate limiters

constexpr Field kRlStatusFields[] = {Number(PLACE(qir::RlStatusRecord, rlStatus))};
static_assert(SpareBytes<qir::RlStatusRecord>(kRlStatusFields) == 0);
constexpr Layout kRlStatusLayout = {kRlStatusFields};

constexpr Field kRlTciCfgFields[] = {Number(PLACE(RlTciCfg, tci))};
static_assert(SpareBytes<RlTciCfg>(kRlTciCfgFields) == 0);
constexpr Layout kRlTciCfgLayout = {kRlTciCfgFields};

constexpr Field kRlTciFields[] = {
    Number(PLACE(qir::RlTciRecord, notSet), kNever),
    Number(PLACE(qir::RlTciRecord, rlDir)),
    Nested(PLACE(qir::RlTciRecord, rlTciCfg), kRlTciCfgLayout),
};
static_assert(SpareBytes<qir::RlTciRecord>(kRlTciFields) == 0);
constexpr Layout kRlTciLayout = {kRlTciFields};

constexpr Field kRlEntFields[] = {
    Number(PLACE(RlEnt, tci)),
    Number(PLACE(RlEnt, cirRate)),
    Number(PLACE(RlEnt, cirUnit)),
    Number(PLACE(RlEnt, cbs)),
};
static_assert(SpareBytes<RlEnt>(kRlEntFields) == 0);

constexpr Field kRlFields[] = {
    Number(PLACE(qir::RlRecord, notSet0), kNever),     Number(PLACE(qir::RlRecord, rlDir)),
    Number(PLACE(qir::RlRecord, notSet8), kNever),     Number(PLACE(qir::RlRecord, rlIndex)),
    Nested(PLACE(qir::RlRecord, rlEnt), kRlCfgLayout),
};
static_assert(SpareBytes<qir::RlRecord>(kRlFields) == 0);
constexpr Layout kRlLayout = {kRlFields};

struct RequestRow {
    qir::OrxRequest number;
    const Layout *layout;
};
constexpr RequestRow kRequests[] = {
    {qir::kOrxSetGblCfg, &kGblLayout},
    {qir::kOrxSetPortCfg, &kPortLayout},
    {qir::kOrxActivateAsTbl, &TblRequest<qir::AsTblRecord, kAsTblLayout, true>::kLayout},
    {qir::kOrxDeactivateAsTbl, &TblRequest<qir::AsTblRecord, kAsTblLayout, false>::kLayout},
    {qir::kOrxActivateDscpTbl, &TblRequest<qir::DscpTblRecord, kDscpTblLayout, true>::kLayout},
    {qir::kOrxDeactivateDscpTbl, &TblRequest<qir::DscpTblRecord, kDscpTblLayout, false>::kLayout},
    {qir::kOrxActivatePacTbl, &TblRequest<qir::PacTblRecord, kPacTblLayout, true>::kLayout},
    {qir::kOrxDeactivatePacTbl, &TblRequest<qir::PacTblRecord, kPacTblLayout, false>::kLayout},
    {qir::kOrxActivateFlow, &FlowRequest<true>::kLayout},
    {qir::kOrxDeactivateFlow, &FlowRequest<false>::kLayout},
    {qir::kOrxGetFlowHits, &kHitsRecordLayout},
    {qir::kOrxSetRlStatus, &kRlStatusLayout},
    {qir::kOrxSetRlTciCfg, &kRlTciLayout},
    {qir::kOrxActivateRl, &kRlLayout},
    {qir::kOrxDeactivateRl, &kRlLayout},
    {qir::kOrxUpdateFwdInfo, &kFwdRecordLayout},
};
static_assert(std::ranges::equal(kRequests, qir::kRequestTable, {}, &RequestRow::number,
                                 &RequestInfo::number));

struct TableLayoutRow {
    IndexKind kind;
    const Layout *layout;
};
constexpr TableLayoutRow kTables[] = {
    {IndexKind::AsTable, &kAsTblLayout},
    {IndexKind::DscpTable, &kDscpTblLayout},
    {IndexKind::PacTable, &kPacTblLayout},
};
static_assert(HasRowPerTable(kTables));

} // namespace

constexpr Layout kHitsLayout = {kHitsFields};
constexpr Layout kRlCfgLayout = {kRlEntFields};
constexpr Layout kFwdInfoLayout = {kFwdInfoFields<kAlways>};
constexpr Layout kNotSetFwdInfoLayout = {kFwdInfoFields<kWritten>};
constexpr Layout kFcbLayout = {kFcbFields};

const Layout &RequestLayout(qir::OrxRequest number) {
    const RequestRow *row = std::ranges::find(kRequests, number, &RequestRow::number);
    return *row->layout;
}

const Layout &TableLayout(IndexKind kind) {
    const TableLayoutRow &row = TableRow(kTables, kind);
    return *row.layout;
}

} // namespace orxemu::journal
