// Tables and the driver: the bytes of each request and the driver's index in the record.
#include "tests/tables/hardware_kinds.h"

#include <cstdio>

namespace test {
namespace {

constexpr std::size_t kHwIdxOffset = 4;

// Three configured tables, nothing in hardware.
template <class Kind> class TableInHardware : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        for (unsigned id = 0; id < 3; ++id) {
            auto hdl = HdlOf<typename Kind::Hdl>(0xEE);
            ASSERT_EQ(Kind::Alloc(&hdl), 0u);
            ASSERT_EQ(hdl.word, kCallerBits | id);
            Kind::Configure(id);
        }
        ASSERT_EQ(orxemu_numOpens(), 0u) << "configuration is no business of the driver";
    }

    static typename Kind::Info *Table(unsigned id) { return Kind::Pool() + id; }

    static void ExpectSilentSuccess(const Op &call) {
        const Said said = Call(call);
        EXPECT_EQ(said.code, 0u);
        EXPECT_EQ(said.out, "");
        EXPECT_EQ(said.err, "");
    }

    // The only request so far: its number, its record behind the index word, and its answer.
    static void ExpectRequest(int number, const Image &record, int err) {
        ASSERT_EQ(orxemu_numRequests(), 1u);
        const OrxEmuRequest *request = orxemu_request(0);
        EXPECT_EQ(request->request, number);
        EXPECT_EQ(request->err, err);
        EXPECT_EQ(request->recordSize, 4 + Kind::kRecordSize);
        EXPECT_TRUE(record.Is(request->in + 4));
        EXPECT_EQ(request->fcbSize, 0u);
    }

    // The parameter lines of an operation on table `id`.
    static std::string Params(const std::string &verb, unsigned id) {
        const std::string fn = "QIR_" + verb + "_" + Kind::kTable;
        const std::string hdl = Kind::kHdl;
        return Inf(fn, "Params: " + hdl + "_p<0x<ptr>>") +
               Inf(fn, "Params2: " + hdl + "<" + std::to_string(id) + ">");
    }
};
TYPED_TEST_SUITE(TableInHardware, HardwareKinds, KindName);

TYPED_TEST(TableInHardware, ConfiguredRecordHasTheseBytes) {
    for (unsigned id = 0; id < 3; ++id) {
        EXPECT_TRUE(TypeParam::Configured(id).Is(this->Table(id)));
    }
}

TYPED_TEST(TableInHardware, ActivationSendsTheWholeRecordAndKeepsTheDriversIndex) {
    const ContextSnapshot before;
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    this->ExpectRequest(TypeParam::kActivateRequest, TypeParam::Configured(1), 0);
    EXPECT_EQ(WordAt(orxemu_request(0)->out), 0u);
    EXPECT_TRUE(TypeParam::Configured(1)
                    .U32(kHwIdxOffset, 0)
                    .U32(TypeParam::kStatusOffset, e_STATUS_ACTIVE)
                    .Is(this->Table(1)));
    EXPECT_TRUE(OnlyChanged(before, this->Table(1), TypeParam::kRecordSize));
    EXPECT_EQ(orxemu_numOpens(), 1u);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(TypeParam::Hardware()[0].active, 1);
    EXPECT_TRUE(TypeParam::Configured(1).Is(TypeParam::Hardware()[0].record));
    EXPECT_EQ(TypeParam::Hardware()[1].active, 0);
}

TYPED_TEST(TableInHardware, DeactivationSendsTheIndexAndTheWholeRecordAndForgetsTheIndex) {
    for (const unsigned id : {2u, 1u, 0u}) {
        this->ExpectSilentSuccess(On(TypeParam::Activate, id));
    }
    orxemu_clearLog();
    const ContextSnapshot before;
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 1));
    this->ExpectRequest(
        TypeParam::kDeactivateRequest,
        TypeParam::Configured(1).U32(kHwIdxOffset, 1).U32(TypeParam::kStatusOffset, e_STATUS_ACTIVE), 0);
    EXPECT_EQ(WordAt(orxemu_request(0)->in), 1u);
    EXPECT_TRUE(TypeParam::Configured(1).Is(this->Table(1))) << "configured as before, index all ones";
    EXPECT_TRUE(OnlyChanged(before, this->Table(1), TypeParam::kRecordSize));
    EXPECT_EQ(orxemu_numOpens(), 4u);
    EXPECT_EQ(TypeParam::Hardware()[0].active, 1);
    EXPECT_EQ(TypeParam::Hardware()[1].active, 0);
    EXPECT_EQ(TypeParam::Hardware()[2].active, 1);
}

TYPED_TEST(TableInHardware, IndexIsTheDriversAndNotThePools) {
    for (const unsigned id : {2u, 0u, 1u}) {
        this->ExpectSilentSuccess(On(TypeParam::Activate, id));
    }
    EXPECT_EQ(this->Table(2)->hwTblIdx, 0u);
    EXPECT_EQ(this->Table(0)->hwTblIdx, 1u);
    EXPECT_EQ(this->Table(1)->hwTblIdx, 2u);
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 2));
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 0));
    this->ExpectSilentSuccess(On(TypeParam::Activate, 0));
    EXPECT_EQ(this->Table(0)->hwTblIdx, 0u);
    orxemu_clearLog();
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 1));
    EXPECT_EQ(WordAt(orxemu_request(0)->in), 2u);
}

TYPED_TEST(TableInHardware, AChangedTableIsSentAnewAfterDeactivation) {
    this->ExpectSilentSuccess(On(TypeParam::Activate, 0));
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 0));
    TypeParam::Change(0);
    orxemu_clearLog();
    this->ExpectSilentSuccess(On(TypeParam::Activate, 0));
    this->ExpectRequest(TypeParam::kActivateRequest, TypeParam::Changed(0), 0);
    EXPECT_TRUE(TypeParam::Changed(0).Is(TypeParam::Hardware()[0].record));
}

class TablesInHardware : public LibraryTest {};

// Free changes the status and keeps all else. Only PAC tables ask whether a flow uses them.
TYPED_TEST(TableInHardware, FreeTakesAllocatedAndConfiguredTables) {
    for (const uint32_t status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        for (uint32_t level = 0; level <= 3; ++level) {
            this->Table(1)->status = status;
            this->Table(1)->refCnt = std::is_same_v<TypeParam, PacInHardware> ? 0 : 1;
            Image expected = Image::Of(*this->Table(1)).U32(TypeParam::kStatusOffset, e_STATUS_FREE);
            const ContextSnapshot before;
            ExpectAccepted(On(TypeParam::Free, 1), this->Params("Free", 1), level);
            EXPECT_TRUE(expected.Is(this->Table(1)));
            EXPECT_TRUE(OnlyChanged(before, this->Table(1), TypeParam::kRecordSize));
        }
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TYPED_TEST(TableInHardware, ActivateAndDeactivatePrintPointerAndIndex) {
    for (uint32_t level = 0; level <= 3; ++level) {
        ExpectAccepted(On(TypeParam::Activate, 2), this->Params("Activate", 2), level);
        EXPECT_EQ(this->Table(2)->status, e_STATUS_ACTIVE);
        ExpectAccepted(On(TypeParam::Deactivate, 2), this->Params("Deactivate", 2), level);
        EXPECT_EQ(this->Table(2)->status, e_STATUS_CFG);
    }
}

TYPED_TEST(TableInHardware, ParameterLinesShowTheCallersPointer) {
    const struct {
        const char *verb;
        uint32_t (*op)(typename TypeParam::Hdl *);
    } rows[] = {{"Alloc", TypeParam::Alloc},
                {"Activate", TypeParam::Activate},
                {"Dump", TypeParam::Dump},
                {"Deactivate", TypeParam::Deactivate},
                {"Free", TypeParam::Free}};
    auto hdl = HdlOf<typename TypeParam::Hdl>(1);
    RaiseLog(2);
    for (const auto &row : rows) {
        hdl = HdlOf<typename TypeParam::Hdl>(1);
        char line[128];
        std::snprintf(line, sizeof line, "[INF orxapi] QIR_%s_%s: Params: %s_p<0x%p>\n", row.verb,
                      TypeParam::kTable, TypeParam::kHdl, static_cast<void *>(&hdl));
        EXPECT_EQ(Capture([&] { row.op(&hdl); }).rfind(line, 0), 0u) << line;
    }
}

} // namespace
} // namespace test
