// What a call may change in the context, and the search for what else it changed.
//
// Every operation has a set of Changes (fuzz/operations.cpp says which): what an accepted call may change, for
// each refusal that leaves something behind what that is, and whether the driver is asked. A call that is
// refused with any other code changes nothing. What becomes of the bytes that may change is not looked at
// here.
#ifndef FUZZ_CHANGES_H
#define FUZZ_CHANGES_H

#include "fuzz/call.h"
#include "qirapi/private/table_kinds.h"

#include <memory>
#include <vector>

namespace fuzz {

// Where a part begins: at the context, at an element of an array there, or at a place in the flow.
enum class At : u8 {
    Nothing,
    Context,
    Index,    // the element that call.index names
    Table,    // the table that the call names
    EpTable,  // that table, or else the one of the flow
    PacTable, // likewise
    Flow,
    Entry,   // call.entry of the flow
    Counter, // call.counter of the flow
};

struct Part {
    At at;
    u32 offset;
    u32 size; // 0: as large as the entry
    u32 stride = 0;
};

#define FUZZ_PART(at, record, member)                                                                        \
    { at, offsetof(record, member), sizeof(record::member) }
#define FUZZ_ELEMENT(array)                                                                                  \
    { At::Index, offsetof(qir::QirCtxt, array), sizeof(*qir::QirCtxt::array), sizeof(*qir::QirCtxt::array) }

enum class Asks : u8 { Never, Maybe, Always }; // the driver, when the call is accepted

struct Refusal {
    u32 rc;
    Part parts[3];
    bool Call::*when = nullptr; // one code may come from several checks
};

struct Changes {
    Asks asks;
    Part accepted[6] = {};
    Refusal refused[4] = {};
};

// ---- Parts

constexpr Part kSections = FUZZ_PART(At::Context, qir::QirCtxt, cfg);
constexpr Part kRlSlot = FUZZ_ELEMENT(rlTbl[0]);
constexpr Part kRlState = {At::Index, offsetof(qir::QirCtxt, rlTbl) + offsetof(qir::RlSlot, state), 4,
                           sizeof(qir::RlSlot)};

template <class Kind> constexpr u32 kPool = offsetof(qir::QirCtxt, asTblPool);
template <> inline constexpr u32 kPool<qir::DscpKind> = offsetof(qir::QirCtxt, dscpTblPool);
template <> inline constexpr u32 kPool<qir::EpKind> = offsetof(qir::QirCtxt, epTblPool);
template <> inline constexpr u32 kPool<qir::PacKind> = offsetof(qir::QirCtxt, pacTblPool);

template <class Kind> constexpr Part InTable(u32 offset, u32 size, At at = At::Table) {
    return {at, kPool<Kind> + offset, size, sizeof(typename Kind::Info)};
}
template <class Kind> constexpr Part kTable = InTable<Kind>(0, sizeof(typename Kind::Info));
template <class Kind> constexpr Part kTblStatus = InTable<Kind>(offsetof(typename Kind::Info, status), 4);
template <class Kind> constexpr Part kTblHwIdx = InTable<Kind>(offsetof(typename Kind::Info, hwTblIdx), 4);
constexpr Part kEpRefCnt = InTable<qir::EpKind>(offsetof(qir::EpTblInfo, refCnt), 2, At::EpTable);
constexpr Part kPacRefCnt = InTable<qir::PacKind>(offsetof(qir::PacTblInfo, refCnt), 2, At::PacTable);

constexpr Part kFlow = {At::Flow, 0, sizeof(qir::Fcb)};
constexpr Part kFlowStatus = FUZZ_PART(At::Flow, qir::Fcb, status);
constexpr Part kHwFlowIdx = FUZZ_PART(At::Flow, qir::Fcb, hwFlowIdx);
constexpr Part kTblAssoc = FUZZ_PART(At::Flow, qir::Fcb, tblAssoc);
constexpr Part kAsOverride = FUZZ_PART(At::Flow, qir::Fcb, asOverride);
constexpr Part kEpHdl = FUZZ_PART(At::Flow, qir::Fcb, epTblHdl);
constexpr Part kPbitsSource = FUZZ_PART(At::Flow, qir::Fcb, pbitsSource);
constexpr Part kPacHdl = FUZZ_PART(At::Flow, qir::Fcb, pacTblHdl);
constexpr Part kFwdInfoSet = FUZZ_PART(At::Flow, qir::Fcb, fwdInfoSet);
constexpr Part kFwdInfo = FUZZ_PART(At::Flow, qir::Fcb, fwdInfo);
constexpr Part kFwdDst = FUZZ_PART(At::Flow, qir::Fcb, fwdInfo.dst);
// The last Ethernet action, tags pushed and popped.
constexpr Part kEthOrder = {At::Flow, offsetof(qir::Fcb, actionBlk.lastEthAction),
                            offsetof(qir::Fcb, fwdInfoSet) - offsetof(qir::Fcb, actionBlk.lastEthAction)};
// The request nodes, and how many are free.
constexpr Part kNodes = {At::Flow, offsetof(qir::Fcb, freeReqCount),
                         sizeof(qir::Fcb) - offsetof(qir::Fcb, freeReqCount)};
constexpr Part kEntry = {At::Entry, 0, 0};
constexpr Part kTypeBit = FUZZ_PART(At::Entry, qir::HdrEntry, curBmap);
constexpr Part kTypeCount = {At::Counter, 0, 1};

// ---- What the operations change. Checks know a kind of operation by the address.

inline constexpr Changes kReads = {Asks::Never};
inline constexpr Changes kReadsHits = {Asks::Always};

// Start-up keeps the settings and the TCI configurations.
inline constexpr Changes kInitSystem = {
    Asks::Never,
    {kSections,
     {At::Context, offsetof(qir::QirCtxt, cmpOpCntTbl),
      offsetof(qir::QirCtxt, rlTciCfgTbl) - offsetof(qir::QirCtxt, cmpOpCntTbl)},
     {At::Context, offsetof(qir::QirCtxt, rlTbl), sizeof(qir::QirCtxt) - offsetof(qir::QirCtxt, rlTbl)}}};
inline constexpr Changes kSetBudget = {Asks::Never, {kSections}};
inline constexpr Changes kSetFlowMissAction = {Asks::Always,
                                               {FUZZ_PART(At::Context, qir::QirCtxt, flowMissAction)}};
inline constexpr Changes kSetPadLen = {Asks::Always, {FUZZ_ELEMENT(portPadLenTbl)}};
inline constexpr Changes kSetDefAcl = {Asks::Always, {FUZZ_ELEMENT(portDefAclTbl)}};
inline constexpr Changes kSetTpid = {Asks::Always, {FUZZ_ELEMENT(tpidTbl)}};
inline constexpr Changes kSetRlStatus = {Asks::Always, {FUZZ_PART(At::Context, qir::QirCtxt, rlStatus)}};
inline constexpr Changes kSetRlTci = {Asks::Always, {FUZZ_ELEMENT(rlTciCfgTbl)}};
inline constexpr Changes kChangeRl = {Asks::Never, {kRlSlot}};
inline constexpr Changes kSwitchRl = {Asks::Always, {kRlState}};

template <class Kind> inline constexpr Changes kChangeTable = {Asks::Never, {kTable<Kind>}};
template <class Kind> inline constexpr Changes kAllocTable = {Asks::Never, {kTable<Kind>}};
template <class Kind> inline constexpr Changes kFreeTable = {Asks::Never, {kTblStatus<Kind>}};
// The driver's index is kept or forgotten whatever it answered.
template <class Kind>
inline constexpr Changes kSwitchTable = {
    Asks::Always, {kTblStatus<Kind>, kTblHwIdx<Kind>}, {{e_RET_DRIVER_FAILURE, {kTblHwIdx<Kind>}}}};

inline constexpr Changes kAllocFlow = {Asks::Never, {kFlow, kSections}};
inline constexpr Changes kFreeFlow = {Asks::Never,
                                      {kFlowStatus, kTblAssoc, kSections, kEpRefCnt, kPacRefCnt}};
// The driver's index is kept whatever it answered.
inline constexpr Changes kActivateFlow = {
    Asks::Always, {kFlowStatus, kHwFlowIdx}, {{e_RET_DRIVER_FAILURE, {kHwFlowIdx}}}};
inline constexpr Changes kDeactivateFlow = {Asks::Always, {kFlowStatus}};
// IPv4 without nodes left for TCP and UDP: what is done stays.
inline constexpr Changes kAllocHdr = {
    Asks::Never, {kFlowStatus, kEntry, kNodes}, {{e_RET_ERR_RESRC_UNAVAIL, {kEntry, kNodes}, &Call::isIpv4}}};
inline constexpr Changes kSetFwdInfo = {Asks::Never, {kFlowStatus, kFwdInfoSet, kFwdInfo}};
// The driver is asked while the flow is ACTIVE.
inline constexpr Changes kChangeDst = {Asks::Maybe, {kFwdDst}};
inline constexpr Changes kSetAsOverride = {Asks::Never, {kFlowStatus, kAsOverride}};
// The handle is stored before the association is looked at.
inline constexpr Changes kSetPacInfo = {Asks::Never,
                                        {kFlowStatus, kPacHdl, kTblAssoc, kPbitsSource, kPacRefCnt},
                                        {{e_RET_ERR_RESRC_ALREADY_ACTIVE, {kPacHdl}},
                                         {e_RET_ERR_RESRC_NOT_ACTIVE, {kPacHdl}},
                                         {e_RET_ERR_STATE_NOTCFG, {kPacHdl}}}};
// And the state is tested last.
inline constexpr Changes kSetEpInfo = {Asks::Never,
                                       {kFlowStatus, kEpHdl, kTblAssoc, kEpRefCnt},
                                       {{e_RET_ERR_RESRC_ALREADY_ACTIVE, {kEpHdl}},
                                        {e_RET_ERR_RESRC_NOT_ACTIVE, {kEpHdl}},
                                        {e_RET_ERR_STATE_NOTCFG, {kEpHdl, kTblAssoc, kEpRefCnt}}}};
// The dependencies come first, then the operator's limit, the value and the node. An operator that the type
// does not take is refused before all of them; UDP gives that the code of a bad value.
inline constexpr Changes kConfigFilter = {
    Asks::Never,
    {kEntry, kNodes},
    {{e_RET_ERR_INVALID_CMPOPSEQ, {kTypeBit}, &Call::takesOperator},
     {e_RET_ERR_INVALID_PARAM, {kTypeBit, kTypeCount}, &Call::takesOperator},
     {e_RET_ERR_RESRC_UNAVAIL, {kTypeBit, kTypeCount}, &Call::takesOperator}}};
// The value comes first, then the dependencies, for an Ethernet action order and tags, and the node.
inline constexpr Changes kConfigAction = {
    Asks::Never, {kEntry, kNodes}, {{e_RET_ERR_RESRC_UNAVAIL, {kTypeBit}}}};
inline constexpr Changes kConfigEthAction = {Asks::Never,
                                             {kEntry, kNodes, kEthOrder},
                                             {{e_RET_ERR_REQOUTOFORDER, {kTypeBit}},
                                              {e_RET_ERR_INVALID_PARAM, {kTypeBit}, &Call::isTagAction},
                                              {e_RET_ERR_RESRC_UNAVAIL, {kTypeBit}}}};

// ---- The search

// The context as it was before a call.
//
// A flow that no call has named yet in this sequence has to look as it did at start-up. That is looked at once,
// at the end, so that a call costs no more than the flows that the sequence is about.
class Before {
  public:
    Before();

    // The context as it is, right behind the first QIR_Init_Sys() of a process.
    void Start(const qir::QirCtxt &ctxt);
    // Puts `ctxt` back to that, where it may differ from it.
    void Restore(qir::QirCtxt &ctxt);

    const qir::QirCtxt &Ctxt() const { return *before_; }

    // Compares, and takes over what the call was allowed to change.
    Complaint Compare(const qir::QirCtxt &ctxt, const Call &call);
    // The end of the sequence: flows that no call has named.
    Complaint CompareRest(const qir::QirCtxt &ctxt) const;

  private:
    std::unique_ptr<qir::QirCtxt> start_;
    std::unique_ptr<qir::QirCtxt> before_;
    std::vector<u32> touched_;
    std::vector<bool> isTouched_;
};

} // namespace fuzz

#endif
