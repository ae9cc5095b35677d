// The pools: what a record looks like before its first use, start-up, and which slot an allocation takes.
#include "tests/tables/kinds.h"

namespace test {
namespace {

template <class Kind> class TablePool : public LibraryTest {};
TYPED_TEST_SUITE(TablePool, AllKinds, KindName);

TYPED_TEST(TablePool, RecordsHaveTheSizeThatTheDriverKnows) {
    EXPECT_EQ(sizeof(typename TypeParam::Info), TypeParam::kRecordSize);
}

TYPED_TEST(TablePool, IsFreeAndFilledAfterStartUp) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(TypeParam::Fresh().Is(TypeParam::Pool() + id));
        EXPECT_EQ(TypeParam::Pool()[id].status, e_STATUS_FREE);
        EXPECT_EQ(TypeParam::Pool()[id].refCnt, 0u);
        EXPECT_EQ(TypeParam::Pool()[id].hwTblIdx, 0xFFFFFFFFu);
    }
}

TYPED_TEST(TablePool, InitOfOneTableTouchesNoOtherByte) {
    for (const unsigned id : {0u, 2u, TypeParam::kPoolSize - 1}) {
        SCOPED_TRACE(id);
        std::memset(static_cast<void *>(TypeParam::Pool()), 0x5C,
                    sizeof *TypeParam::Pool() * TypeParam::kPoolSize);
        const ContextSnapshot before;
        EXPECT_EQ(Capture([&] { TypeParam::Init(static_cast<uint8_t>(id)); }), "");
        EXPECT_TRUE(TypeParam::Fresh().Is(TypeParam::Pool() + id));
        EXPECT_TRUE(OnlyChanged(before, TypeParam::Pool() + id, TypeParam::kRecordSize));
    }
}

TYPED_TEST(TablePool, InitOfThePoolSetsEveryRecordAndNothingElse) {
    const std::size_t size = sizeof *TypeParam::Pool() * TypeParam::kPoolSize;
    std::memset(static_cast<void *>(TypeParam::Pool()), 0x5C, size);
    const ContextSnapshot before;
    EXPECT_EQ(Capture([] { TypeParam::InitPool(); }), "");
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(TypeParam::Fresh().Is(TypeParam::Pool() + id));
    }
    EXPECT_TRUE(OnlyChanged(before, TypeParam::Pool(), size));
}

TYPED_TEST(TablePool, SecondStartUpForgetsAllTables) {
    std::memset(static_cast<void *>(TypeParam::Pool()), 0x5C,
                sizeof *TypeParam::Pool() * TypeParam::kPoolSize);
    ASSERT_EQ(QIR_Init_Sys(), 0u);
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        EXPECT_TRUE(TypeParam::Fresh().Is(TypeParam::Pool() + id));
    }
}

class TablePools : public LibraryTest {};

TEST_F(TablePools, HaveTheirNumbersOfTables) {
    EXPECT_EQ(std::size(qirCtxt_gp->asTblPool), 16u);
    EXPECT_EQ(std::size(qirCtxt_gp->dscpTblPool), 6u);
    EXPECT_EQ(std::size(qirCtxt_gp->epTblPool), 6u);
    EXPECT_EQ(std::size(qirCtxt_gp->pacTblPool), 16u);
    EXPECT_EQ(std::size(qirCtxt_gp->asTblPool[0].ent), 8u);
    EXPECT_EQ(std::size(qirCtxt_gp->dscpTblPool[0].pbits), 64u);
    EXPECT_EQ(std::size(qirCtxt_gp->epTblPool[0].ent), 8u);
    EXPECT_EQ(std::size(qirCtxt_gp->pacTblPool[0].ent), 8u);
}

TEST_F(TablePools, LieInTheContextInTheOrderAsDscpEpPac) {
    const auto *base = reinterpret_cast<const uint8_t *>(qirCtxt_gp->asTblPool);
    const auto offset = [base](const void *p) { return static_cast<const uint8_t *>(p) - base; };
    EXPECT_EQ(offset(qirCtxt_gp->dscpTblPool), 16 * 468);
    EXPECT_EQ(offset(qirCtxt_gp->epTblPool), 16 * 468 + 6 * 88);
    EXPECT_EQ(offset(qirCtxt_gp->pacTblPool), 16 * 468 + 6 * 88 + 6 * 84);
    EXPECT_EQ(offset(qirCtxt_gp->rlTciCfgTbl), 16 * 468 + 6 * 88 + 6 * 84 + 16 * 268);
}

TEST_F(TablePools, UnsetFieldsKeepTheFillByte) {
    const qir::AsTblInfo &as = qirCtxt_gp->asTblPool[4];
    EXPECT_EQ(as.hdl.word, 0xA5A5A5A5u);
    EXPECT_EQ(as.spare, 0xA5A5u);
    EXPECT_EQ(as.ent[7].ent.ipAddr, 0xA5A5A5A5u);
    EXPECT_EQ(as.ent[7].status, e_STATUS_FREE);
    const qir::DscpTblInfo &dscp = qirCtxt_gp->dscpTblPool[4];
    EXPECT_EQ(dscp.hdl.word, 0xA5A5A5A5u);
    EXPECT_EQ(dscp.cfg.srcPort, 0xA5A5A5A5u);
    EXPECT_EQ(dscp.cfg.pbits, 0xA5u);
    EXPECT_EQ(dscp.spare, 0xA5A5u);
    EXPECT_EQ(dscp.pbits[0], 0xA5u);
    EXPECT_EQ(dscp.pbits[63], 0xA5u);
    const qir::PacTblInfo &pac = qirCtxt_gp->pacTblPool[4];
    EXPECT_EQ(pac.hdl.word, 0xA5A5A5A5u);
    EXPECT_EQ(pac.cfg.ovrd, 0xA5A5u);
    EXPECT_EQ(pac.spare, 0xA5A5u);
    EXPECT_EQ(pac.ent[7].ovrd, 0u);
    const qir::EpTblInfo &ep = qirCtxt_gp->epTblPool[4];
    EXPECT_EQ(ep.hdl.word, 0xA5A5A5A5u);
    EXPECT_EQ(ep.cfg.opaque[0], 0xA5u);
    EXPECT_EQ(ep.spare, 0xA5A5u);
    EXPECT_EQ(ep.ent[7].ent.opaque[1], 0xA5u);
}

// The kinds that can be allocated, with their operations and texts.
struct AsAlloc : AsKind {
    static constexpr auto Alloc = QIR_Alloc_AsTable;
    static constexpr auto Free = QIR_Free_AsTable;
    static constexpr const char *kAllocName = "QIR_Alloc_AsTable";
    static constexpr const char *kNoneFree = "No free AS table available";
};
struct DscpAlloc : DscpKind {
    static constexpr auto Alloc = QIR_Alloc_DscpToPbitsTable;
    static constexpr auto Free = QIR_Free_DscpToPbitsTable;
    static constexpr const char *kAllocName = "QIR_Alloc_DscpToPbitsTable";
    static constexpr const char *kNoneFree = "No Free DSCP Table available";
};
struct PacAlloc : PacKind {
    static constexpr auto Alloc = QIR_Alloc_PacTable;
    static constexpr auto Free = QIR_Free_PacTable;
    static constexpr const char *kAllocName = "QIR_Alloc_PacTable";
    static constexpr const char *kNoneFree = "No Free PAC Table available";
};

template <class Kind> class TableAllocation : public LibraryTest {
  protected:
    using Hdl = typename Kind::Hdl;

    // Allocates with a handle that holds `before` and returns the handle's word afterwards.
    static uint32_t AllocatedWord(uint32_t before) {
        Hdl hdl{};
        hdl.word = before;
        EXPECT_EQ(Kind::Alloc(&hdl), 0u);
        return hdl.word;
    }
    static void FillPool() {
        for (unsigned id = 0; id < Kind::kPoolSize; ++id) {
            ASSERT_EQ(AllocatedWord(0), id);
        }
    }
};
using AllocKinds = ::testing::Types<AsAlloc, DscpAlloc, PacAlloc>;
TYPED_TEST_SUITE(TableAllocation, AllocKinds, KindName);

TYPED_TEST(TableAllocation, SetsHandleAndStatusInAFreshRecord) {
    const ContextSnapshot before;
    EXPECT_EQ(this->AllocatedWord(kCallerBits | 0xEE), kCallerBits | 0u);
    EXPECT_TRUE(TypeParam::Fresh()
                    .U32(0, kCallerBits)
                    .U32(TypeParam::kStatusOffset, e_STATUS_ALLOC)
                    .Is(TypeParam::Pool()));
    EXPECT_TRUE(OnlyChanged(before, TypeParam::Pool(), TypeParam::kRecordSize));
}

TYPED_TEST(TableAllocation, TakesTheLowestFreeIndexInTurn) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        EXPECT_EQ(this->AllocatedWord(kCallerBits | 0x77), kCallerBits | id);
        EXPECT_EQ(TypeParam::Pool()[id].hdl.f1.id, id);
    }
}

TYPED_TEST(TableAllocation, TakesTheHoleThatAFreedTableLeft) {
    for (unsigned id = 0; id < 5; ++id) {
        ASSERT_EQ(this->AllocatedWord(0), id);
    }
    ASSERT_EQ(On(TypeParam::Free, 3)(), 0u);
    EXPECT_EQ(this->AllocatedWord(0), 3u);
    EXPECT_EQ(this->AllocatedWord(0), 5u);
}

TYPED_TEST(TableAllocation, InitialisesARecordThatWasUsedBefore) {
    ASSERT_EQ(this->AllocatedWord(0), 0u);
    std::memset(static_cast<void *>(TypeParam::Pool()), 0x5C, TypeParam::kRecordSize);
    TypeParam::Pool()->status = e_STATUS_FREE;
    ASSERT_EQ(this->AllocatedWord(0), 0u);
    EXPECT_TRUE(
        TypeParam::Fresh().U32(0, 0).U32(TypeParam::kStatusOffset, e_STATUS_ALLOC).Is(TypeParam::Pool()));
}

// Every state but FREE keeps a slot in use.
TYPED_TEST(TableAllocation, PassesOverTablesInAnyStateButFree) {
    TypeParam::Pool()[0].status = e_STATUS_ACTIVE;
    TypeParam::Pool()[1].status = e_STATUS_CFG;
    TypeParam::Pool()[2].status = e_STATUS_ALLOC;
    EXPECT_EQ(this->AllocatedWord(0), 3u);
}

TYPED_TEST(TableAllocation, PrintsPointerAndIndex) {
    const std::string fn = TypeParam::kAllocName;
    const std::string hdlName = TypeParam::kHdl;
    for (uint32_t level = 0; level <= 3; ++level) {
        typename TypeParam::Hdl hdl{};
        ExpectAccepted([&] { return TypeParam::Alloc(&hdl); },
                       Inf(fn, "Params: " + hdlName + "_p<0x<ptr>>") +
                           Inf(fn, hdlName + "<" + std::to_string(level) + ">"),
                       level);
    }
}

TYPED_TEST(TableAllocation, OfAFullPoolFailsAndLeavesTheLastIndexInTheHandle) {
    this->FillPool();
    const std::string fn = TypeParam::kAllocName;
    typename TypeParam::Hdl hdl{};
    hdl.word = kCallerBits | 0xEE;
    ExpectRefused({{"full pool", [&] { return TypeParam::Alloc(&hdl); }, e_RET_ERR_RESRC_UNAVAIL,
                    Inf(fn, std::string("Params: ") + TypeParam::kHdl + "_p<0x<ptr>>"),
                    Err(fn, TypeParam::kNoneFree) + Refusal(fn, "e_RET_ERR_RESRC_UNAVAIL", 12)}});
    EXPECT_EQ(hdl.word, kCallerBits | (TypeParam::kPoolSize - 1));
}

TYPED_TEST(TableAllocation, OfAFullPoolWorksAgainAfterAFree) {
    this->FillPool();
    ASSERT_EQ(On(TypeParam::Free, TypeParam::kPoolSize - 1)(), 0u);
    EXPECT_EQ(this->AllocatedWord(0), TypeParam::kPoolSize - 1);
}

TYPED_TEST(TableAllocation, RefusesANullPointerFullPoolOrNot) {
    const std::string fn = TypeParam::kAllocName;
    const Refused row{"null handle", OnNull(TypeParam::Alloc), e_RET_ERR_NULL_PTR,
                      Inf(fn, std::string("Params: ") + TypeParam::kHdl + "_p<0x<nil>>"),
                      Refusal(fn, "e_RET_ERR_NULL_PTR", 2)};
    ExpectRefused({row});
    this->FillPool();
    ExpectRefused({row});
}

// Free changes the status and keeps all else, until the slot is allocated again.
TYPED_TEST(TableAllocation, FreeClearsTheStatusOnly) {
    ASSERT_EQ(this->AllocatedWord(0), 0u);
    TypeParam::Pool()->hwTblIdx = 0x01020304;
    Image expected = Image::Of(*TypeParam::Pool());
    const ContextSnapshot before;
    ASSERT_EQ(On(TypeParam::Free, 0)(), 0u);
    EXPECT_TRUE(expected.U32(TypeParam::kStatusOffset, e_STATUS_FREE).Is(TypeParam::Pool()));
    EXPECT_TRUE(OnlyChanged(before, TypeParam::Pool(), TypeParam::kRecordSize));
    EXPECT_EQ(Call(On(TypeParam::Free, 0)).code, 3u) << "a freed table's handle is no longer valid";
}

TEST_F(TablePools, FreshlyAllocatedAsTableHasSourcePortMask5) {
    AsTblHdl hdl{};
    ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].status, e_STATUS_ALLOC);
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].cfg.srcPortMask, 0x5u);
}

TEST_F(TablePools, FreshlyAllocatedPacTableHasZeroEntriesAndAFilledConfiguration) {
    PacTblHdl hdl{};
    ASSERT_EQ(QIR_Alloc_PacTable(&hdl), 0u);
    EXPECT_TRUE(Image(28, 0xA5).Is(&qirCtxt_gp->pacTblPool[0].cfg));
    EXPECT_TRUE(Image(8 * 28, 0).Is(qirCtxt_gp->pacTblPool[0].ent));
}

// The lines once in full.
TEST_F(TablePools, SeventeenthAsTableSeventhDscpTableSeventeenthPacTable) {
    AsTblHdl as{};
    PacTblHdl pac{};
    for (unsigned i = 0; i < 16; ++i) {
        ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
        ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
    }
    DscpTblHdl dscp{};
    for (unsigned i = 0; i < 6; ++i) {
        ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
    }
    as.f1.id = dscp.f1.id = pac.f1.id = 0;
    EXPECT_EQ(CaptureMasked([&] { EXPECT_EQ(QIR_Alloc_AsTable(&as), 12u); }),
              "[ERROR orxapi] QIR_Alloc_AsTable,#: No free AS table available\n"
              "[ERROR orxapi] QIR_Alloc_AsTable,#: \"e_RET_ERR_RESRC_UNAVAIL\"\n"
              "[ERROR orxapi] QIR_Alloc_AsTable,#: retVal <12>\n");
    EXPECT_EQ(CaptureMasked([&] { EXPECT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 12u); }),
              "[ERROR orxapi] QIR_Alloc_DscpToPbitsTable,#: No Free DSCP Table available\n"
              "[ERROR orxapi] QIR_Alloc_DscpToPbitsTable,#: \"e_RET_ERR_RESRC_UNAVAIL\"\n"
              "[ERROR orxapi] QIR_Alloc_DscpToPbitsTable,#: retVal <12>\n");
    EXPECT_EQ(CaptureMasked([&] { EXPECT_EQ(QIR_Alloc_PacTable(&pac), 12u); }),
              "[ERROR orxapi] QIR_Alloc_PacTable,#: No Free PAC Table available\n"
              "[ERROR orxapi] QIR_Alloc_PacTable,#: \"e_RET_ERR_RESRC_UNAVAIL\"\n"
              "[ERROR orxapi] QIR_Alloc_PacTable,#: retVal <12>\n");
    EXPECT_EQ(as.f1.id, 15u);
    EXPECT_EQ(dscp.f1.id, 5u);
    EXPECT_EQ(pac.f1.id, 15u);
}

// Only a PAC table is kept while flows count on it.
TEST_F(TablePools, FreeOfAsAndDscpTablesDoesNotLookAtTheReferenceCount) {
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac{};
    ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
    ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
    ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
    qirCtxt_gp->asTblPool[0].refCnt = 7;
    qirCtxt_gp->dscpTblPool[0].refCnt = 7;
    qirCtxt_gp->pacTblPool[0].refCnt = 7;
    EXPECT_EQ(QIR_Free_AsTable(&as), 0u);
    EXPECT_EQ(QIR_Free_DscpToPbitsTable(&dscp), 0u);
    EXPECT_EQ(Call([&] { return QIR_Free_PacTable(&pac); }).code, 13u);
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].refCnt, 7u);
    EXPECT_EQ(qirCtxt_gp->dscpTblPool[0].refCnt, 7u);
}

} // namespace
} // namespace test
