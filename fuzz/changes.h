// What a call may change in the context, and the search for what else it changed.
//
// Each operation's row in fuzz/operations.cpp names one of the Changes below. They say what an accepted call may
// change, what a refused one may leave changed, and whether the call asks the driver. A call that is refused with
// any other code changes nothing. Nobody checks here what becomes of the bytes that may change.
#ifndef FUZZ_CHANGES_H
#define FUZZ_CHANGES_H

#include "fuzz/call.h"
#include "qirapi/private/table_kinds.h"

#include <memory>
#include <set>

namespace fuzz {

using qir::Fcb;
using qir::QirCtxt;

// Bytes of the context: those of the element that the call names by one of its indexes, or of no element.
struct Part {
    u32 Call::*index;
    u32 offset;
    u32 size;
    u32 stride = 0;
};
constexpr u32 kWhole = 0xFFFFFFFF; // size of an entry

#define FUZZ_PART(member)                                                                                    \
    Part {                                                                                                   \
        nullptr, offsetof(QirCtxt, member), sizeof(QirCtxt::member)                                          \
    }
#define FUZZ_ELEMENT(array)                                                                                  \
    Part {                                                                                                   \
        &Call::index, offsetof(QirCtxt, array), sizeof(*QirCtxt::array), sizeof(*QirCtxt::array)             \
    }

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

constexpr Part kSections = FUZZ_PART(cfg);
constexpr Part kRlState = {&Call::index, offsetof(QirCtxt, rlTbl) + offsetof(qir::RlSlot, state), 4,
                           sizeof(qir::RlSlot)};

template <class Kind> constexpr u32 kPool = offsetof(QirCtxt, asTblPool);
template <> inline constexpr u32 kPool<qir::DscpKind> = offsetof(QirCtxt, dscpTblPool);
template <> inline constexpr u32 kPool<qir::EpKind> = offsetof(QirCtxt, epTblPool);
template <> inline constexpr u32 kPool<qir::PacKind> = offsetof(QirCtxt, pacTblPool);

template <class Kind> constexpr Part InTable(u32 offset, u32 size, u32 Call::*index = &Call::table) {
    return {index, kPool<Kind> + offset, size, sizeof(typename Kind::Info)};
}
template <class Kind> constexpr Part kTable = InTable<Kind>(0, sizeof(typename Kind::Info));
template <class Kind> constexpr Part kTblStatus = InTable<Kind>(offsetof(typename Kind::Info, status), 4);
template <class Kind> constexpr Part kTblHwIdx = InTable<Kind>(offsetof(typename Kind::Info, hwTblIdx), 4);
constexpr Part kEpRefCnt = InTable<qir::EpKind>(offsetof(qir::EpTblInfo, refCnt), 2, &Call::epTable);
constexpr Part kPacRefCnt = InTable<qir::PacKind>(offsetof(qir::PacTblInfo, refCnt), 2, &Call::pacTable);

// From a place in the flow up to another one.
constexpr Part InFlow(std::size_t begin, std::size_t end) {
    return {&Call::flow, static_cast<u32>(offsetof(QirCtxt, fcbPool) + begin), static_cast<u32>(end - begin),
            sizeof(Fcb)};
}
#define FUZZ_IN_FLOW(member) InFlow(offsetof(Fcb, member), offsetof(Fcb, member) + sizeof(Fcb::member))

constexpr Part kFlow = InFlow(0, sizeof(Fcb));
constexpr Part kFlowStatus = FUZZ_IN_FLOW(status);
constexpr Part kHwFlowIdx = FUZZ_IN_FLOW(hwFlowIdx);
constexpr Part kTblAssoc = FUZZ_IN_FLOW(tblAssoc);
constexpr Part kEpHdl = FUZZ_IN_FLOW(epTblHdl);
constexpr Part kPacHdl = FUZZ_IN_FLOW(pacTblHdl);
constexpr Part kFwdInfo = InFlow(offsetof(Fcb, fwdInfoSet), offsetof(Fcb, reserved2));
// The last Ethernet action, tags pushed and popped.
constexpr Part kEthOrder = InFlow(offsetof(Fcb, actionBlk.lastEthAction), offsetof(Fcb, fwdInfoSet));
// The request nodes, and how many are free.
constexpr Part kNodes = InFlow(offsetof(Fcb, freeReqCount), sizeof(Fcb));
constexpr Part kEntry = {&Call::entry, 0, kWhole, 1};
constexpr Part kTypeBit = {&Call::entry, offsetof(qir::HdrEntry, curBmap), 2, 1};
constexpr Part kTypeCount = {&Call::counter, 0, 1, 1};

// ---- What the operations change. The checks tell kinds of operation apart by these addresses.

inline constexpr Changes kReads = {Asks::Never};
inline constexpr Changes kReadsHits = {Asks::Always};

// Start-up keeps the settings and the TCI configurations.
inline constexpr Changes kInitSystem = {
    Asks::Never,
    {kSections,
     {nullptr, offsetof(QirCtxt, cmpOpCntTbl),
      offsetof(QirCtxt, rlTciCfgTbl) - offsetof(QirCtxt, cmpOpCntTbl)},
     {nullptr, offsetof(QirCtxt, rlTbl), sizeof(QirCtxt) - offsetof(QirCtxt, rlTbl)}}};
inline constexpr Changes kSetBudget = {Asks::Never, {kSections}};
inline constexpr Changes kSetFlowMissAction = {Asks::Always, {FUZZ_PART(flowMissAction)}};
inline constexpr Changes kSetPadLen = {Asks::Always, {FUZZ_ELEMENT(portPadLenTbl)}};
inline constexpr Changes kSetDefAcl = {Asks::Always, {FUZZ_ELEMENT(portDefAclTbl)}};
inline constexpr Changes kSetTpid = {Asks::Always, {FUZZ_ELEMENT(tpidTbl)}};
inline constexpr Changes kSetRlStatus = {Asks::Always, {FUZZ_PART(rlStatus)}};
inline constexpr Changes kSetRlTci = {Asks::Always, {FUZZ_ELEMENT(rlTciCfgTbl)}};
inline constexpr Changes kChangeRl = {Asks::Never, {FUZZ_ELEMENT(rlTbl[0])}};
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
inline constexpr Changes kSetFwdInfo = {Asks::Never, {kFlowStatus, kFwdInfo}};
// The driver is asked while the flow is ACTIVE.
inline constexpr Changes kChangeDst = {Asks::Maybe, {FUZZ_IN_FLOW(fwdInfo.dst)}};
inline constexpr Changes kSetAsOverride = {Asks::Never, {kFlowStatus, FUZZ_IN_FLOW(asOverride)}};
// The handle is stored before the association is looked at.
inline constexpr Changes kSetPacInfo = {
    Asks::Never,
    {kFlowStatus, kPacHdl, kTblAssoc, FUZZ_IN_FLOW(pbitsSource), kPacRefCnt},
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
// A flow that no call has named yet must look as it did at start-up. CompareRest() looks at these flows once, at
// the end, so that a call costs no more than the flows that the sequence is about.
class Before {
  public:
    // The context as start-up leaves it.
    explicit Before(const QirCtxt &start);

    // Puts `ctxt` back to that, where it may differ from it.
    void Restore(QirCtxt &ctxt);
    const QirCtxt &Ctxt() const { return *before_; }
    // Compares, and takes over what the call was allowed to change.
    void Compare(const QirCtxt &ctxt, const Call &call);
    // The end of the sequence: flows that no call has named.
    void CompareRest(const QirCtxt &ctxt) const;

  private:
    std::unique_ptr<QirCtxt> start_;
    std::unique_ptr<QirCtxt> before_;
    std::set<u32> touched_;
};

} // namespace fuzz

#endif
