// The four kinds of table, described once: the functions of each family and the names and numbers that
// differ between them.
#ifndef TESTS_TABLES_KINDS_H
#define TESTS_TABLES_KINDS_H

#include "tests/tables/support.h"

namespace test {

struct AsKind {
    using Hdl = AsTblHdl;
    using Info = qir::AsTblInfo;
    static constexpr const char *kName = "As";
    static constexpr const char *kHdl = "asTblHdl";
    static constexpr const char *kIdx = "asTblIdx";
    static constexpr const char *kLimit = "QIR_ASTBL_MAXNUM";
    static constexpr unsigned kPoolSize = 16;
    static constexpr std::size_t kRecordSize = 468;
    static constexpr std::size_t kRefCntOffset = 12;
    static constexpr std::size_t kStatusOffset = 16;
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static constexpr auto Idx = qir::GetIdxFromAsTblHdl;
    static constexpr auto FromIdx = qir::GetAsTblHdlFromIdx;
    static constexpr auto Ptr = qir::GetPtrFromAsTblHdl;
    static constexpr auto Validate = qir::Validate_AsTblHdl;
    static constexpr auto Init = qir::Init_AsTbl;
    static constexpr auto InitPool = qir::Init_AsTblPool;
    static constexpr auto Incr = qir::incrAsTblRefCnt;
    static constexpr auto Decr = qir::decrAsTblRefCnt;
    static Info *Pool() { return qirCtxt_gp->asTblPool; }

    // A record after initialisation.
    static Image Fresh() {
        Image image(kRecordSize);
        image.U32(4, 0xFFFFFFFF).U32(8, 0x5).U16(12, 0).U32(16, 0);
        for (std::size_t slot = 0; slot < 8; ++slot) {
            image.U32(20 + 56 * slot + 52, 0);
        }
        return image;
    }
};

struct DscpKind {
    using Hdl = DscpTblHdl;
    using Info = qir::DscpTblInfo;
    static constexpr const char *kName = "Dscp";
    static constexpr const char *kHdl = "dscpTblHdl";
    static constexpr const char *kIdx = "dscpTblIdx";
    static constexpr const char *kLimit = "QIR_DSCPTBL_MAXNUM";
    static constexpr unsigned kPoolSize = 6;
    static constexpr std::size_t kRecordSize = 88;
    static constexpr std::size_t kRefCntOffset = 16;
    static constexpr std::size_t kStatusOffset = 20;
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0 )";
    static constexpr auto Idx = qir::GetIdxFromDscpTblHdl;
    static constexpr auto FromIdx = qir::GetDscpTblHdlFromIdx;
    static constexpr auto Ptr = qir::GetPtrFromDscpTblHdl;
    static constexpr auto Validate = qir::Validate_DscpTblHdl;
    static constexpr auto Init = qir::Init_DscpTbl;
    static constexpr auto InitPool = qir::Init_DscpTblPool;
    static constexpr auto Incr = qir::incrDscpTblRefCnt;
    static constexpr auto Decr = qir::decrDscpTblRefCnt;
    static Info *Pool() { return qirCtxt_gp->dscpTblPool; }

    static Image Fresh() {
        Image image(kRecordSize);
        image.U32(4, 0xFFFFFFFF).U16(16, 0).U32(20, 0);
        return image;
    }
};

struct EpKind {
    using Hdl = EpTblHdl;
    using Info = qir::EpTblInfo;
    static constexpr const char *kName = "Ep";
    static constexpr const char *kHdl = "epTblHdl";
    static constexpr const char *kIdx = "epTblIdx";
    static constexpr const char *kLimit = "QIR_EPTBL_MAXNUM";
    static constexpr unsigned kPoolSize = 6;
    static constexpr std::size_t kRecordSize = 84;
    static constexpr std::size_t kRefCntOffset = 12;
    static constexpr std::size_t kStatusOffset = 16;
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static constexpr auto Idx = qir::GetIdxFromEpTblHdl;
    static constexpr auto FromIdx = qir::GetEpTblHdlFromIdx;
    static constexpr auto Ptr = qir::GetPtrFromEpTblHdl;
    static constexpr auto Validate = qir::Validate_EpTblHdl;
    static constexpr auto Init = qir::Init_EpTbl;
    static constexpr auto InitPool = qir::Init_EpTblPool;
    static constexpr auto Incr = qir::incrEpTblRefCnt;
    static constexpr auto Decr = qir::decrEpTblRefCnt;
    static Info *Pool() { return qirCtxt_gp->epTblPool; }

    static Image Fresh() {
        Image image(kRecordSize);
        image.U32(4, 0xFFFFFFFF).U16(12, 0).U32(16, 0);
        return image;
    }
};

struct PacKind {
    using Hdl = PacTblHdl;
    using Info = qir::PacTblInfo;
    static constexpr const char *kName = "Pac";
    static constexpr const char *kHdl = "pacTblHdl";
    static constexpr const char *kIdx = "pacTblIdx";
    static constexpr const char *kLimit = "QIR_PACTBL_MAXNUM";
    static constexpr unsigned kPoolSize = 16;
    static constexpr std::size_t kRecordSize = 268;
    static constexpr std::size_t kRefCntOffset = 36;
    static constexpr std::size_t kStatusOffset = 40;
    static constexpr const char *kDecrCondition = "(tbl_p->refCnt != 0)";
    static constexpr auto Idx = qir::GetIdxFromPacTblHdl;
    static constexpr auto FromIdx = qir::GetPacTblHdlFromIdx;
    static constexpr auto Ptr = qir::GetPtrFromPacTblHdl;
    static constexpr auto Validate = qir::Validate_PacTblHdl;
    static constexpr auto Init = qir::Init_PacTbl;
    static constexpr auto InitPool = qir::Init_PacTblPool;
    static constexpr auto Incr = qir::incrPacTblRefCnt;
    static constexpr auto Decr = qir::decrPacTblRefCnt;
    static Info *Pool() { return qirCtxt_gp->pacTblPool; }

    static Image Fresh() {
        Image image(kRecordSize);
        image.U32(4, 0xFFFFFFFF).U16(36, 0).U32(40, 0).Fill(44, 224, 0);
        return image;
    }
};

using AllKinds = ::testing::Types<AsKind, DscpKind, EpKind, PacKind>;

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
