// One public call as the checks see it: what it was about, which objects it named and how it ended.
#ifndef FUZZ_CALL_H
#define FUZZ_CALL_H

#include "qirapi/private/context.h"

#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

using qir::i32;
using qir::u16;
using qir::u32;
using qir::u8;

// What is wrong, for people; empty when nothing is.
using Complaint = std::string;

// What an operation is about. Operations that may change the same things share one.
enum class Doing : u8 {
    Read,
    InitSystem,
    SetBudget,
    SetFlowMissAction,
    SetPadLen,
    SetDefAcl,
    SetTpid,
    SetRlStatus,
    SetRlTci,
    ChangeRl, // allocate, free, configure
    SwitchRl, // activate, deactivate
    AllocTable,
    FreeTable,
    ConfigTable,
    SwitchTable,
    AllocFlow,
    FreeFlow,
    ActivateFlow,
    DeactivateFlow,
    ReadHits,
    AllocHdr,
    SetFwdInfo,
    ChangeDst,
    SetAsOverride,
    SetPacInfo,
    SetEpInfo,
    ConfigFilter,
    ConfigEthAction,
    ConfigAction,
    ReadFilters,
    ReadAction,
    Num
};

enum class TblKind : u8 { As, Dscp, Ep, Pac, Num };

// An index that the call did not name, or named out of range.
constexpr u32 kNone = 0xFFFFFFFF;

// A caller's count of records before a call that writes it.
constexpr u8 kNotCounted = 0xEE;

struct Call {
    const char *name = "";
    Doing doing = Doing::Read;
    u32 rc = 0;
    u32 flow = kNone;
    TblKind tblKind = TblKind::As;
    u32 table = kNone;
    u32 port = kNone;
    u32 rlDir = kNone;
    u32 rlIndex = kNone;
    u32 blk = kNone; // header allocation: block
    u32 hdr = kNone; // and header
    // Requests: where in the FCB the entry of their header lies, and what they ask for.
    u32 entry = kNone;
    u32 entryBytes = 0;
    u32 numTypes = 0;
    u32 type = kNone;
    u32 cmpOp = kNone;
    u32 row = kNone; // in the rule tables
    bool l4 = false; // in those of TCP and UDP
    // And the caller's records as the call leaves them: one, or the array that is read into, with what was in
    // it before and the number of records that it is said to hold.
    std::vector<u8> records{};
    std::vector<u8> recordsBefore{};
    u32 recordBytes = 0;
    u8 count = kNotCounted;
    // What else the call was given: numbers in the order of the parameters, the handle that it stores and the
    // record. A call that reads has here what it gave.
    u32 arg[2] = {kNone, kNone};
    u32 hdl = kNone;
    std::vector<u8> record{};

    template <class Record> void Tell(const Record &told) { Tell(&told, sizeof told); }
    void Tell(const void *told, std::size_t size) {
        const auto *const bytes = static_cast<const u8 *>(told);
        record.insert(record.end(), bytes, bytes + size);
    }
};

// What a call is to write into: bytes that it does not leave by chance.
template <class Record> Record Unwritten() {
    Record record;
    std::memset(&record, 0x5A, sizeof record);
    return record;
}

} // namespace fuzz

#endif
