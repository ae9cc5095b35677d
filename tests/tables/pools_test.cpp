// The pools: what a record looks like before its first use, start-up, and which slot an allocation takes.
#include "tests/tables/kinds.h"

namespace test {
namespace {

template <class Kind> class TablePool : public LibraryTest {};
TYPED_TEST_SUITE(TablePool, AllKinds, KindName);

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

class TablePools : public LibraryTest {};

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
    const std::string fn = "QIR_Alloc_" + std::string(TypeParam::kTable);
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
    const std::string fn = "QIR_Alloc_" + std::string(TypeParam::kTable);
    typename TypeParam::Hdl hdl{};
    hdl.word = kCallerBits | 0xEE;
    ExpectRefused({{"full pool", [&] { return TypeParam::Alloc(&hdl); }, e_RET_ERR_RESRC_UNAVAIL,
                    Inf(fn, std::string("Params: ") + TypeParam::kHdl + "_p<0x<ptr>>"),
                    Err(fn, TypeParam::kNoneFree) + Refusal(fn, "e_RET_ERR_RESRC_UNAVAIL", 12)}});
    EXPECT_EQ(hdl.word, kCallerBits | (TypeParam::kPoolSize - 1));
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
