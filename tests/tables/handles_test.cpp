// Handles: index in, index out, the record behind it, and who is refused.
#include "tests/tables/kinds.h"

namespace test {
namespace {

template <class Kind> class TableHandle : public LibraryTest {};
TYPED_TEST_SUITE(TableHandle, AllKinds, KindName);

// "GetIdxFrom" + kind + "TblHdl" and its like.
template <class Kind> std::string Fn(const char *head, const char *tail) {
    return std::string(head) + Kind::kName + tail;
}

template <class Kind> std::string HdlCondition() {
    return std::string("(") + Kind::kHdl + ".f1.id < " + Kind::kLimit + ")";
}

template <class Kind> std::string IdxCondition() {
    return std::string("(") + Kind::kIdx + " < " + Kind::kLimit + ")";
}

TYPED_TEST(TableHandle, IsA32BitWordWithTheIndexInItsLow8Bits) {
    typename TypeParam::Hdl hdl{};
    static_assert(sizeof hdl == 4);
    hdl.word = 0x12345607;
    EXPECT_EQ(hdl.f1.id, 0x07u);
    hdl.f1.id = 0xFF;
    EXPECT_EQ(hdl.word, 0x123456FFu);
}

TYPED_TEST(TableHandle, IndexIsReadFromTheLowBitsOnly) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        unsigned idx = 999;
        const std::string out = Capture([&] { idx = TypeParam::Idx(HdlOf<typename TypeParam::Hdl>(id)); });
        EXPECT_EQ(idx, id);
        EXPECT_EQ(out, "");
    }
}

TYPED_TEST(TableHandle, IndexBehindThePoolIsAssertedAndStillReturned) {
    const std::string line =
        Assertion("qirapi_private", Fn<TypeParam>("GetIdxFrom", "TblHdl"), HdlCondition<TypeParam>());
    for (const unsigned id : {TypeParam::kPoolSize, TypeParam::kPoolSize + 1, 255u}) {
        SCOPED_TRACE(id);
        unsigned idx = 999;
        const std::string out =
            CaptureMasked([&] { idx = TypeParam::Idx(HdlOf<typename TypeParam::Hdl>(id)); });
        EXPECT_EQ(idx, id);
        EXPECT_EQ(out, line);
    }
}

TYPED_TEST(TableHandle, IsMadeFromAnIndexAndKeepsItsUpperBits) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        auto hdl = HdlOf<typename TypeParam::Hdl>(0xEE);
        const std::string out = Capture([&] { TypeParam::FromIdx(&hdl, static_cast<uint8_t>(id)); });
        EXPECT_EQ(hdl.word, kCallerBits | id);
        EXPECT_EQ(out, "");
    }
}

TYPED_TEST(TableHandle, MadeFromAnIndexBehindThePoolIsAssertedAndStillMade) {
    const std::string line =
        Assertion("qirapi_private", Fn<TypeParam>("Get", "TblHdlFromIdx"), IdxCondition<TypeParam>());
    for (const unsigned id : {TypeParam::kPoolSize, TypeParam::kPoolSize + 1, 255u}) {
        SCOPED_TRACE(id);
        auto hdl = HdlOf<typename TypeParam::Hdl>(0);
        const std::string out = CaptureMasked([&] { TypeParam::FromIdx(&hdl, static_cast<uint8_t>(id)); });
        EXPECT_EQ(hdl.word, kCallerBits | id);
        EXPECT_EQ(out, line);
    }
}

TYPED_TEST(TableHandle, NamesTheRecordAtItsIndex) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        const typename TypeParam::Info *info = nullptr;
        const std::string out = Capture([&] { info = TypeParam::Ptr(HdlOf<typename TypeParam::Hdl>(id)); });
        EXPECT_EQ(info, TypeParam::Pool() + id);
        EXPECT_EQ(out, "");
    }
}

// The place right behind the pool can be named without touching it.
TYPED_TEST(TableHandle, NamingTheRecordBehindThePoolIsAsserted) {
    const typename TypeParam::Info *info = nullptr;
    const std::string out =
        CaptureMasked([&] { info = TypeParam::Ptr(HdlOf<typename TypeParam::Hdl>(TypeParam::kPoolSize)); });
    EXPECT_EQ(info, TypeParam::Pool() + TypeParam::kPoolSize);
    EXPECT_EQ(out,
              Assertion("qirapi_private", Fn<TypeParam>("GetPtrFrom", "TblHdl"), HdlCondition<TypeParam>()));
}

TYPED_TEST(TableHandle, OfATableThatIsNotFreeIsValid) {
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        for (const uint32_t status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
            SCOPED_TRACE(std::to_string(id) + ", status " + std::to_string(status));
            TypeParam::Pool()[id].status = status;
            ExpectAccepted([&] { return TypeParam::Validate(HdlOf<typename TypeParam::Hdl>(id)); }, "");
        }
    }
}

TYPED_TEST(TableHandle, OfAFreeTableIsRefused) {
    std::vector<Refused> rows;
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        rows.push_back({std::string(TypeParam::kHdl) + " " + std::to_string(id),
                        [id] { return TypeParam::Validate(HdlOf<typename TypeParam::Hdl>(id)); },
                        e_RET_ERR_INVALID_HDL, "", TableIsFree(TypeParam::kName, TypeParam::kHdl, id)});
    }
    ExpectRefused(rows);
}

TYPED_TEST(TableHandle, BehindThePoolIsRefusedWithoutAnAssertion) {
    std::vector<Refused> rows;
    for (const unsigned id : {TypeParam::kPoolSize, TypeParam::kPoolSize + 1, 128u, 255u}) {
        rows.push_back({std::string(TypeParam::kHdl) + " " + std::to_string(id),
                        [id] { return TypeParam::Validate(HdlOf<typename TypeParam::Hdl>(id)); },
                        e_RET_ERR_INVALID_HDL, "", OutOfRange(TypeParam::kName, TypeParam::kHdl, id)});
    }
    ExpectRefused(rows);
}

class TableHandles : public LibraryTest {};

// The lines once in full, as they are read in a log.
TEST_F(TableHandles, RefusalsReadAsOneDetailAndOneCodeLine) {
    EXPECT_EQ(CaptureMasked([] { qir::Validate_AsTblHdl(AsHdl(16)); }),
              "[ERROR orxapi] Validate_AsTblHdl,#: Value out of range for asTblHdl<16>\n"
              "[ERROR orxapi] Validate_AsTblHdl,#: \"e_RET_ERR_INVALID_HDL\"\n");
    EXPECT_EQ(CaptureMasked([] { qir::Validate_DscpTblHdl(DscpHdl(5)); }),
              "[ERROR orxapi] Validate_DscpTblHdl,#: Invalid dscpTblHdl<5>, table is free\n"
              "[ERROR orxapi] Validate_DscpTblHdl,#: \"e_RET_ERR_INVALID_HDL\"\n");
    EXPECT_EQ(CaptureMasked([] { qir::Validate_EpTblHdl(EpHdl(6)); }),
              "[ERROR orxapi] Validate_EpTblHdl,#: Value out of range for epTblHdl<6>\n"
              "[ERROR orxapi] Validate_EpTblHdl,#: \"e_RET_ERR_INVALID_HDL\"\n");
    EXPECT_EQ(CaptureMasked([] { qir::Validate_PacTblHdl(PacHdl(15)); }),
              "[ERROR orxapi] Validate_PacTblHdl,#: Invalid pacTblHdl<15>, table is free\n"
              "[ERROR orxapi] Validate_PacTblHdl,#: \"e_RET_ERR_INVALID_HDL\"\n");
    EXPECT_EQ(CaptureMasked([] { qir::GetIdxFromAsTblHdl(AsHdl(16)); }),
              "[ASSERT qirapi_private] GetIdxFromAsTblHdl,#: (asTblHdl.f1.id < QIR_ASTBL_MAXNUM)\n");
    AsTblHdl hdl = AsHdl(0);
    EXPECT_EQ(CaptureMasked([&] { qir::GetAsTblHdlFromIdx(&hdl, 16); }),
              "[ASSERT qirapi_private] GetAsTblHdlFromIdx,#: (asTblIdx < QIR_ASTBL_MAXNUM)\n");
}

TEST_F(TableHandles, AsHandle16IsOutOfRangeAndAFreedTablesHandleIsFree) {
    ASSERT_EQ(Call(On(QIR_Free_AsTable, 16)).code, 3u);
    AsTblHdl hdl{};
    ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
    ASSERT_EQ(QIR_Free_AsTable(&hdl), 0u);
    ExpectRefused({{"handle 16", [] { return qir::Validate_AsTblHdl(AsHdl(16)); }, 3, "",
                    OutOfRange("As", "asTblHdl", 16)},
                   {"freed table", [=] { return qir::Validate_AsTblHdl(hdl); }, 3, "",
                    TableIsFree("As", "asTblHdl", 0)}});
}

TEST_F(TableHandles, EveryEpHandleIsOfAFreeTable) {
    EpTblHdl allocated = EpHdl(0);
    ASSERT_EQ(QIR_Alloc_EpTable(&allocated), 0u);
    std::vector<Refused> rows;
    for (unsigned id = 0; id < 6; ++id) {
        rows.push_back({"epTblHdl " + std::to_string(id), [id] { return qir::Validate_EpTblHdl(EpHdl(id)); },
                        3, "", TableIsFree("Ep", "epTblHdl", id)});
    }
    ExpectRefused(rows);
}

} // namespace
} // namespace test
