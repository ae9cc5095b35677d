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
    std::size_t size; // as the context has it
    std::size_t expectedSize;
    AtStartup atStartup;

    unsigned char *Bytes() const { return reinterpret_cast<unsigned char *>(qirCtxt_gp) + offset; }
};

constexpr Member MakeMember(const char *name, std::size_t offset, std::size_t size, std::size_t expectedSize,
                            AtStartup atStartup) {
    return {name, offset, size, expectedSize, atStartup};
}

#define CONTEXT_MEMBER(member, bytes, what)                                                                  \
    MakeMember(#member, offsetof(qir::QirCtxt, member), sizeof(qir::QirCtxt::member), bytes, AtStartup::what)

inline constexpr Member kMembers[] = {
    CONTEXT_MEMBER(cfg, 3 * 4, kInitialises),
    CONTEXT_MEMBER(flowMissAction, 4, kLeavesAlone),
    CONTEXT_MEMBER(tpidTbl, 9 * 12, kLeavesAlone),
    CONTEXT_MEMBER(portDefAclTbl, 9 * 4, kLeavesAlone),
    CONTEXT_MEMBER(portPadLenTbl, 9 * 4, kLeavesAlone),
    CONTEXT_MEMBER(cmpOpCntTbl, 3, kInitialises),
    CONTEXT_MEMBER(cmpOpBmapTbl, 8 * 3 * 2, kInitialises),
    CONTEXT_MEMBER(filterDepBmapTbl, 8 * 16 * 2, kInitialises),
    CONTEXT_MEMBER(actionDepBmapTbl, 8 * 16 * 2, kInitialises),
    CONTEXT_MEMBER(l4CmpOpBmapTbl, 2 * 3 * 2, kInitialises),
    CONTEXT_MEMBER(l4FilterDepBmapTbl, 2 * 16 * 2, kInitialises),
    CONTEXT_MEMBER(l4ActionDepBmapTbl, 2 * 16 * 2, kInitialises),
    CONTEXT_MEMBER(asTblPool, 16 * 468, kInitialises),
    CONTEXT_MEMBER(dscpTblPool, 6 * 88, kInitialises),
    CONTEXT_MEMBER(epTblPool, 6 * 84, kInitialises),
    CONTEXT_MEMBER(pacTblPool, 16 * 268, kInitialises),
    CONTEXT_MEMBER(rlTciCfgTbl, 2 * 4, kLeavesAlone),
    CONTEXT_MEMBER(rlTbl, 2 * 16 * 20, kInitialises),
    CONTEXT_MEMBER(rlStatus, 4, kInitialises),
    CONTEXT_MEMBER(fcbPool, 512 * 1884, kInitialises),
};

#undef CONTEXT_MEMBER

} // namespace context_test

#endif
