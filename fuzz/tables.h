// The tables of one kind as the checks look at them, whatever the kind.
#ifndef FUZZ_TABLES_H
#define FUZZ_TABLES_H

#include "fuzz/call.h"
#include "qirapi/private/table_kinds.h"

#include <cstddef>

namespace fuzz {

// Calls fn(description of the kind, its pool).
template <class Ctxt, class Fn> decltype(auto) WithPool(Ctxt &ctxt, TblKind kind, Fn fn) {
    switch (kind) {
    case TblKind::As:
        return fn(qir::AsKind{}, ctxt.asTblPool);
    case TblKind::Dscp:
        return fn(qir::DscpKind{}, ctxt.dscpTblPool);
    case TblKind::Ep:
        return fn(qir::EpKind{}, ctxt.epTblPool);
    default:
        return fn(qir::PacKind{}, ctxt.pacTblPool);
    }
}

constexpr const char *kTblNames[] = {"AS table", "DSCP table", "EP table", "PAC table"};
constexpr u32 kTblCounts[] = {QIR_ASTBL_MAXNUM, QIR_DSCPTBL_MAXNUM, QIR_EPTBL_MAXNUM, QIR_PACTBL_MAXNUM};

inline const char *NameOf(TblKind kind) {
    return kTblNames[static_cast<u32>(kind)];
}
inline u32 CountOf(TblKind kind) {
    return kTblCounts[static_cast<u32>(kind)];
}

} // namespace fuzz

#endif
