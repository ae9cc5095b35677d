// The kinds of table, described once: what differs between them, and the operations of those that can be
// allocated.
#ifndef TESTS_TABLES_KINDS_H
#define TESTS_TABLES_KINDS_H

#include "qirapi/access/table_access.h"
#include "qirapi/private/tables.h"
#include "tests/tables/support.h"

namespace test {

// A record after initialisation; the status stands behind the reference count.
inline Image FreshRecord(std::size_t recordSize, std::size_t refCntOffset) {
    return Image(recordSize).U32(4, 0xFFFFFFFF).U16(refCntOffset, 0).U32(refCntOffset + 4, 0);
}

#define TABLE_KIND(Kind, kind, poolSize, recordSize, refCntOffset)                                           \
    using Hdl = Kind##TblHdl;                                                                                \
    using Info = qir::Kind##TblInfo;                                                                         \
    static constexpr const char *kName = #Kind;                                                              \
    static constexpr const char *kHdl = #kind "TblHdl";                                                      \
    static constexpr unsigned kPoolSize = poolSize;                                                          \
    static constexpr std::size_t kRecordSize = recordSize;                                                   \
    static constexpr std::size_t kRefCntOffset = refCntOffset;                                               \
    static constexpr std::size_t kStatusOffset = (refCntOffset) + 4;                                         \
    static constexpr auto Init = qir::Init_##Kind##Tbl;                                                      \
    static constexpr auto Incr = qir::incr##Kind##TblRefCnt;                                                 \
    static constexpr auto Decr = qir::decr##Kind##TblRefCnt;                                                 \
    static Info *Pool() {                                                                                    \
        return qirCtxt_gp->kind##TblPool;                                                                    \
    }

#define TABLE_OPERATIONS(Table, activateRequest, noneFree)                                                   \
    static constexpr auto Alloc = QIR_Alloc_##Table;                                                         \
    static constexpr auto Free = QIR_Free_##Table;                                                           \
    static constexpr auto Activate = QIR_Activate_##Table;                                                   \
    static constexpr auto Deactivate = QIR_Deactivate_##Table;                                               \
    static constexpr auto Dump = QIR_Dump_##Table;                                                           \
    static constexpr const char *kTable = #Table;                                                            \
    static constexpr const char *kNoneFree = noneFree;                                                       \
    static constexpr int kActivateRequest = activateRequest;                                                 \
    static constexpr int kDeactivateRequest = (activateRequest) + 1;

struct AsKind {
    TABLE_KIND(As, as, 16, 468, 12)
    TABLE_OPERATIONS(AsTable, 21, "No free AS table available")
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static Image Fresh() {
        Image image = FreshRecord(kRecordSize, kRefCntOffset).U32(8, 0x5);
        for (std::size_t slot = 0; slot < 8; ++slot) {
            image.U32(20 + 56 * slot + 52, 0);
        }
        return image;
    }
};

struct DscpKind {
    TABLE_KIND(Dscp, dscp, 6, 88, 16)
    TABLE_OPERATIONS(DscpToPbitsTable, 23, "No Free DSCP Table available")
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0 )";
    static Image Fresh() { return FreshRecord(kRecordSize, kRefCntOffset); }
};

struct EpKind {
    TABLE_KIND(Ep, ep, 6, 84, 12)
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static Image Fresh() { return FreshRecord(kRecordSize, kRefCntOffset); }
};

struct PacKind {
    TABLE_KIND(Pac, pac, 16, 268, 36)
    TABLE_OPERATIONS(PacTable, 27, "No Free PAC Table available")
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static Image Fresh() { return FreshRecord(kRecordSize, kRefCntOffset).Fill(44, 224, 0); }
};

#undef TABLE_KIND
#undef TABLE_OPERATIONS

using AllKinds = ::testing::Types<AsKind, DscpKind, EpKind, PacKind>;
using AllocKinds = ::testing::Types<AsKind, DscpKind, PacKind>;

struct KindName {
    template <class Kind> static std::string GetName(int) { return Kind::kName; }
};

// The pools of all kinds stand in a row in the context: one that has no kind here does not compile.
template <class... Kind> constexpr std::size_t PoolBytes(::testing::Types<Kind...>) {
    return (0 + ... + (Kind::kPoolSize * sizeof(typename Kind::Info)));
}
static_assert(PoolBytes(AllKinds()) ==
              offsetof(qir::QirCtxt, rlTciCfgTbl) - offsetof(qir::QirCtxt, asTblPool));

} // namespace test

#endif
