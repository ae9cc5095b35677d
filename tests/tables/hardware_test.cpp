// Tables and the driver: the bytes of each request, the driver's index in the record, and what is left after
// every kind of failure.
#include "tests/tables/hardware_kinds.h"

#include <cerrno>

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

    // A call that the driver layer fails: 1, the closing line alone, one line on standard error, and of the
    // context nothing but the driver's index of table `id` may change.
    static void ExpectDriverFailure(const Op &call, const char *fn, unsigned id, const std::string &err) {
        const uint32_t status = Table(id)->status;
        const ContextSnapshot before;
        const Said said = Call(call);
        EXPECT_EQ(said.code, 1u);
        EXPECT_EQ(said.out, RetVal(fn, 1));
        EXPECT_EQ(said.err, err);
        EXPECT_EQ(Table(id)->status, status);
        EXPECT_TRUE(OnlyChanged(before, &Table(id)->hwTblIdx, sizeof(uint32_t)));
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
};
TYPED_TEST_SUITE(TableInHardware, HardwareKinds, KindName);

std::string IoctlFailed(int request) {
    return "pktOrxDevIoctl <" + std::to_string(request) + "> error\n";
}
std::string OpenFailed(const char *number) {
    return std::string("qel_dev_open </dev/pktorx> error no ") + number + "\n";
}

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

TYPED_TEST(TableInHardware, TheWholePoolFits) {
    for (unsigned id = 3; id < TypeParam::kPoolSize; ++id) {
        auto hdl = HdlOf<typename TypeParam::Hdl>(0);
        ASSERT_EQ(TypeParam::Alloc(&hdl), 0u);
        TypeParam::Configure(id);
    }
    for (unsigned id = 0; id < TypeParam::kPoolSize; ++id) {
        SCOPED_TRACE(id);
        this->ExpectSilentSuccess(On(TypeParam::Activate, id));
        EXPECT_EQ(this->Table(id)->hwTblIdx, id);
        EXPECT_TRUE(TypeParam::Configured(id).Is(TypeParam::Hardware()[id].record));
    }
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

// The index word of the request is taken over although the driver refused; nobody has set it then.
TYPED_TEST(TableInHardware, RefusedActivationStillTakesTheIndexWordOver) {
    this->Table(1)->hwTblIdx = 0x13572468;
    orxemu_failRequest(TypeParam::kActivateRequest, 1, EIO);
    this->ExpectDriverFailure(On(TypeParam::Activate, 1), TypeParam::kActivateName, 1,
                              IoctlFailed(TypeParam::kActivateRequest));
    this->ExpectRequest(TypeParam::kActivateRequest, TypeParam::Configured(1).U32(kHwIdxOffset, 0x13572468),
                        EIO);
    EXPECT_EQ(this->Table(1)->hwTblIdx, WordAt(orxemu_request(0)->in));
    EXPECT_EQ(this->Table(1)->status, e_STATUS_CFG);
    EXPECT_EQ(TypeParam::Hardware()[0].active, 0);
}

TYPED_TEST(TableInHardware, ActivationWithALostAnswerKeepsTheIndexButStaysConfigured) {
    orxemu_loseAnswer(TypeParam::kActivateRequest, 1, EINTR);
    this->ExpectDriverFailure(On(TypeParam::Activate, 1), TypeParam::kActivateName, 1,
                              IoctlFailed(TypeParam::kActivateRequest));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0u);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_CFG);
    EXPECT_EQ(TypeParam::Hardware()[0].active, 1);
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 1u) << "the driver knows nothing of a second attempt";
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
}

// What is written then is not said; that it is written shows when two different values both go.
TYPED_TEST(TableInHardware, ActivationWithoutADeviceStillWritesTheIndex) {
    const uint32_t marks[] = {0x13572468, 0x2468ACE0};
    unsigned kept = 0;
    for (const uint32_t mark : marks) {
        this->Table(1)->hwTblIdx = mark;
        orxemu_setPresent(0);
        this->ExpectDriverFailure(On(TypeParam::Activate, 1), TypeParam::kActivateName, 1, OpenFailed("2"));
        kept += this->Table(1)->hwTblIdx == mark ? 1 : 0;
    }
    EXPECT_LT(kept, std::size(marks));
    EXPECT_EQ(this->Table(1)->status, e_STATUS_CFG);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    orxemu_setPresent(1);
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0u);
}

TYPED_TEST(TableInHardware, ActivationThatMayNotOpenTheDeviceReportsTheErrno) {
    orxemu_failOpen(1, EACCES);
    this->ExpectDriverFailure(On(TypeParam::Activate, 1), TypeParam::kActivateName, 1, OpenFailed("13"));
    EXPECT_EQ(this->Table(1)->status, e_STATUS_CFG);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TYPED_TEST(TableInHardware, RefusedDeactivationStaysActiveAndForgetsTheIndex) {
    this->ExpectSilentSuccess(On(TypeParam::Activate, 2));
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    orxemu_clearLog();
    orxemu_failRequest(TypeParam::kDeactivateRequest, 1, EBUSY);
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1,
                              IoctlFailed(TypeParam::kDeactivateRequest));
    this->ExpectRequest(
        TypeParam::kDeactivateRequest,
        TypeParam::Configured(1).U32(kHwIdxOffset, 1).U32(TypeParam::kStatusOffset, e_STATUS_ACTIVE), EBUSY);
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
    EXPECT_EQ(TypeParam::Hardware()[1].active, 1);

    // The next attempt has no index to give, and the driver refuses it.
    orxemu_clearLog();
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1,
                              IoctlFailed(TypeParam::kDeactivateRequest));
    EXPECT_EQ(WordAt(orxemu_request(0)->in), 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
}

TYPED_TEST(TableInHardware, DeactivationWithALostAnswerStaysActiveAndForgetsTheIndex) {
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    orxemu_loseAnswer(TypeParam::kDeactivateRequest, 1, EINTR);
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1,
                              IoctlFailed(TypeParam::kDeactivateRequest));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
    EXPECT_EQ(TypeParam::Hardware()[0].active, 0);
}

TYPED_TEST(TableInHardware, DeactivationWithoutADeviceStaysActiveAndForgetsTheIndex) {
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    orxemu_setPresent(0);
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1, OpenFailed("2"));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
    orxemu_setPresent(1);
    this->Table(1)->hwTblIdx = 0;
    orxemu_failOpen(1, EMFILE);
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1, OpenFailed("24"));
    EXPECT_EQ(this->Table(1)->hwTblIdx, 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(1)->status, e_STATUS_ACTIVE);
}

TYPED_TEST(TableInHardware, DriverRefusesAnIndexThatIsNotActive) {
    this->ExpectSilentSuccess(On(TypeParam::Activate, 1));
    this->Table(1)->hwTblIdx = TypeParam::kPoolSize - 1;
    this->ExpectDriverFailure(On(TypeParam::Deactivate, 1), TypeParam::kDeactivateName, 1,
                              IoctlFailed(TypeParam::kDeactivateRequest));
    EXPECT_EQ(TypeParam::Hardware()[0].active, 1);
}

// The parameter lines come before the driver's failure, the closing line after it.
TYPED_TEST(TableInHardware, FailureAtLevel2) {
    const std::string hdl = TypeParam::kHdl;
    const auto lines = [&](const char *fn) {
        return Inf(fn, "Params: " + hdl + "_p<0x<ptr>>") + Inf(fn, "Params2: " + hdl + "<1>") + RetVal(fn, 1);
    };
    orxemu_setPresent(0);
    EXPECT_EQ(Call(On(TypeParam::Activate, 1), 2).out, lines(TypeParam::kActivateName));
    this->Table(1)->status = e_STATUS_ACTIVE;
    EXPECT_EQ(Call(On(TypeParam::Deactivate, 1), 2).out, lines(TypeParam::kDeactivateName));
}

// The wrappers alone: the request and the index, no status, no line, any record in memory.
TYPED_TEST(TableInHardware, WrappersWriteTheIndexOnly) {
    typename TypeParam::Info info = *this->Table(2);
    ASSERT_TRUE(TypeParam::Configured(2).Is(&info));
    const ContextSnapshot before;

    this->ExpectSilentSuccess([&] { return TypeParam::ActivateRecord(&info); });
    this->ExpectRequest(TypeParam::kActivateRequest, TypeParam::Configured(2), 0);
    EXPECT_TRUE(TypeParam::Configured(2).U32(kHwIdxOffset, 0).Is(&info));

    orxemu_clearLog();
    this->ExpectSilentSuccess([&] { return TypeParam::DeactivateRecord(&info); });
    this->ExpectRequest(TypeParam::kDeactivateRequest, TypeParam::Configured(2).U32(kHwIdxOffset, 0), 0);
    EXPECT_EQ(WordAt(orxemu_request(0)->in), 0u);
    EXPECT_TRUE(TypeParam::Configured(2).Is(&info));
    EXPECT_TRUE(before.Unchanged());
}

TYPED_TEST(TableInHardware, WrappersReturn1OnFailureAndSayWhyOnStandardError) {
    typename TypeParam::Info info = *this->Table(2);
    orxemu_failRequest(TypeParam::kActivateRequest, 1, EIO);
    Said said = Call([&] { return TypeParam::ActivateRecord(&info); });
    EXPECT_EQ(said.code, 1u);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, IoctlFailed(TypeParam::kActivateRequest));
    EXPECT_EQ(info.hwTblIdx, WordAt(orxemu_request(0)->in));

    orxemu_setPresent(0);
    info.hwTblIdx = 5;
    said = Call([&] { return TypeParam::DeactivateRecord(&info); });
    EXPECT_EQ(said.code, 1u);
    EXPECT_EQ(said.out, "");
    EXPECT_EQ(said.err, OpenFailed("2"));
    EXPECT_EQ(info.hwTblIdx, 0xFFFFFFFFu);
}

// Every state in turn, and the driver's index in each.
TYPED_TEST(TableInHardware, LifeFromAllocationToFree) {
    auto hdl = HdlOf<typename TypeParam::Hdl>(0xEE);
    ASSERT_EQ(TypeParam::Alloc(&hdl), 0u);
    ASSERT_EQ(this->Table(3)->status, e_STATUS_ALLOC);
    EXPECT_EQ(this->Table(3)->hwTblIdx, 0xFFFFFFFFu);
    TypeParam::Configure(3);
    ASSERT_EQ(this->Table(3)->status, e_STATUS_CFG);
    EXPECT_EQ(this->Table(3)->hwTblIdx, 0xFFFFFFFFu);
    this->ExpectSilentSuccess(On(TypeParam::Activate, 3));
    ASSERT_EQ(this->Table(3)->status, e_STATUS_ACTIVE);
    EXPECT_EQ(this->Table(3)->hwTblIdx, 0u);
    this->ExpectSilentSuccess(On(TypeParam::Deactivate, 3));
    ASSERT_EQ(this->Table(3)->status, e_STATUS_CFG);
    EXPECT_EQ(this->Table(3)->hwTblIdx, 0xFFFFFFFFu);
    EXPECT_EQ(this->Table(3)->refCnt, 0u);
    this->ExpectSilentSuccess(On(TypeParam::Free, 3));
    EXPECT_EQ(this->Table(3)->status, e_STATUS_FREE);
    EXPECT_EQ(orxemu_numRequests(), 2u) << "activation and deactivation";
}

class TablesInHardware : public LibraryTest {};

TEST_F(TablesInHardware, DriverFailuresRead) {
    AsTblHdl hdl{};
    const AsTblCfg cfg{1};
    ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
    ASSERT_EQ(QIR_Set_AsTableCfg(&hdl, &cfg), 0u);
    orxemu_setPresent(0);
    Said said = Call([&] { return QIR_Activate_AsTable(&hdl); });
    EXPECT_EQ(said.out, "[ERROR orxapi] QIR_Activate_AsTable,#: retVal <1>\n");
    EXPECT_EQ(said.err, "qel_dev_open </dev/pktorx> error no 2\n");
    orxemu_setPresent(1);
    orxemu_failRequest(0, 1, ENOSPC);
    said = Call([&] { return QIR_Activate_AsTable(&hdl); });
    EXPECT_EQ(said.out, "[ERROR orxapi] QIR_Activate_AsTable,#: retVal <1>\n");
    EXPECT_EQ(said.err, "pktOrxDevIoctl <21> error\n");
}

// Tables of different kinds have indexes of their own.
TEST_F(TablesInHardware, KindsDoNotShareIndexes) {
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac{};
    ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
    ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
    ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
    AsInHardware::Configure(0);
    DscpInHardware::Configure(0);
    PacInHardware::Configure(0);
    EXPECT_EQ(QIR_Activate_AsTable(&as), 0u);
    EXPECT_EQ(QIR_Activate_DscpToPbitsTable(&dscp), 0u);
    EXPECT_EQ(QIR_Activate_PacTable(&pac), 0u);
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].hwTblIdx, 0u);
    EXPECT_EQ(qirCtxt_gp->dscpTblPool[0].hwTblIdx, 0u);
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].hwTblIdx, 0u);
    EXPECT_EQ(orxemu_numOpens(), 3u) << "each request opens the device";
}

} // namespace
} // namespace test
