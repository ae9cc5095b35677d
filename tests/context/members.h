// The members of the context in their order.
#ifndef TESTS_CONTEXT_MEMBERS_H
#define TESTS_CONTEXT_MEMBERS_H

#include "qirapi/private/context.h"

#include <cstddef>

namespace context_test {

// What start-up does with a member.
enum class AtStartup { kInitialises, kLeavesAlone };

struct Member {
    const char *name;
    std::size_t offset;
    std::size_t size;
    AtStartup atStartup;

    unsigned char *Bytes() const { return reinterpret_cast<unsigned char *>(qirCtxt_gp) + offset; }
};

#define CONTEXT_MEMBER(member, what)                                                                         \
    Member {                                                                                                 \
#member, offsetof(qir::QirCtxt, member), sizeof(qir::QirCtxt::member), AtStartup::what               \
    }

inline constexpr Member kMembers[] = {
    CONTEXT_MEMBER(cfg, kInitialises),
    CONTEXT_MEMBER(flowMissAction, kLeavesAlone),
    CONTEXT_MEMBER(tpidTbl, kLeavesAlone),
    CONTEXT_MEMBER(portDefAclTbl, kLeavesAlone),
    CONTEXT_MEMBER(portPadLenTbl, kLeavesAlone),
    CONTEXT_MEMBER(cmpOpCntTbl, kInitialises),
    CONTEXT_MEMBER(cmpOpBmapTbl, kInitialises),
    CONTEXT_MEMBER(filterDepBmapTbl, kInitialises),
    CONTEXT_MEMBER(actionDepBmapTbl, kInitialises),
    CONTEXT_MEMBER(l4CmpOpBmapTbl, kInitialises),
    CONTEXT_MEMBER(l4FilterDepBmapTbl, kInitialises),
    CONTEXT_MEMBER(l4ActionDepBmapTbl, kInitialises),
    CONTEXT_MEMBER(asTblPool, kInitialises),
    CONTEXT_MEMBER(dscpTblPool, kInitialises),
    CONTEXT_MEMBER(epTblPool, kInitialises),
    CONTEXT_MEMBER(pacTblPool, kInitialises),
    CONTEXT_MEMBER(rlTciCfgTbl, kLeavesAlone),
    CONTEXT_MEMBER(rlTbl, kInitialises),
    CONTEXT_MEMBER(rlStatus, kInitialises),
    CONTEXT_MEMBER(fcbPool, kInitialises),
};

#undef CONTEXT_MEMBER

} // namespace context_test

#endif
