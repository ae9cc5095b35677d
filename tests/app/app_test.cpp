#include "tests/app/app_test.h"

#include "app/scenario_groups.h"
#include "app/table_builders.h"

#include <cstring>

int orxtest_main(int argc, char **argv);

namespace app_test {

namespace {

constexpr int kActivateFlow = 29;

} // namespace

void ResetApp() {
    for (int i = 0; i < app::g_flowInfoIndex; ++i) {
        if (app::FlowRecord *const record_p = app::g_flowInfo[i]; record_p != nullptr) {
            record_p->asTbl_p = nullptr; // the tables may be gone
            record_p->dscpTbl_p = nullptr;
            record_p->pacTbl_p = nullptr;
        }
    }
    test::CaptureBoth(app::freeFlows);
    app::g_flowInfoIndex = 0;
    app::PppoePrio = 0;
    app::asFirstAddr = 1;
    app::defPbitsVal = 0;
    std::memset(app::g_macSaTbl, 0, sizeof app::g_macSaTbl);
    std::memset(app::g_ipSaTbl, 0, sizeof app::g_ipSaTbl);
}

void AppTest::SetUp() {
    test::LibraryTest::SetUp();
    ResetApp();
}

void AppTest::TearDown() {
    ResetApp();
    test::LibraryTest::TearDown();
}

Args::Args(std::initializer_list<const char *> args)
    : count(static_cast<int>(args.size())), texts_(args.begin(), args.end()) {
    for (std::string &text : texts_) {
        pointers_.push_back(text.data());
    }
    pointers_.push_back(nullptr);
    cursor = pointers_.data();
}

RunResult RunOrxtest(std::initializer_list<const char *> args) {
    std::vector<std::string> texts(args.begin(), args.end());
    texts.insert(texts.begin(), "orxtest");
    std::vector<char *> argv;
    argv.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    RunResult run;
    run.output =
        test::CaptureBoth([&] { run.status = orxtest_main(static_cast<int>(texts.size()), argv.data()); });
    run.output.out = test::Mask(run.output.out);
    return run;
}

FlowHdl UnsetFlow() {
    FlowHdl hdl;
    std::memset(&hdl, 0xFF, sizeof hdl);
    return hdl;
}

void LeaveFlowRecords(int left) {
    while (app::g_flowInfoIndex < app::kMaxFlowRecords - left) {
        ASSERT_NE(app::allocFlow(), nullptr);
    }
}

void ExpectTableRequest(std::size_t n, int number, const Image &record) {
    const OrxEmuRequest *const request = orxemu_request(n);
    ASSERT_NE(request, nullptr) << "there is no request " << n;
    EXPECT_EQ(request->request, number);
    EXPECT_EQ(request->err, 0);
    EXPECT_EQ(request->recordSize, record.Size());
    EXPECT_EQ(record.DifferenceFrom(request->in), "") << "record of request " << n;
    EXPECT_EQ(request->fcbSize, 0u);
}

void ExpectFlowRequest(std::size_t n, const FlowImage &flow, std::optional<uint32_t> hwPacTblIdx,
                       uint32_t hwFlowIdx) {
    const OrxEmuRequest *const request = orxemu_request(n);
    ASSERT_NE(request, nullptr) << "there is no request " << n;
    EXPECT_EQ(request->request, kActivateFlow);
    EXPECT_EQ(request->err, 0);
    ASSERT_EQ(request->recordSize, 20u);
    const auto address = reinterpret_cast<uintptr_t>(&qirCtxt_gp->fcbPool[flow.Flow()]);
    EXPECT_EQ(address, static_cast<uint32_t>(address)) << "the block does not lie in the first 4 GiB";
    Image record(20);
    record.Ignore(0, 4).Put32(4, 1884).Put32(8, static_cast<uint32_t>(address));
    record.Put32(12, hwPacTblIdx.value_or(0xFFFFFFFF)).Put32(16, 0xFFFFFFFF);
    EXPECT_EQ(record.DifferenceFrom(request->in), "") << "record of request " << n;
    ASSERT_EQ(request->fcbSize, sizeof(qir::Fcb));
    EXPECT_EQ(flow.Bytes().DifferenceFrom(request->fcb), "") << "block copied by request " << n;

    EXPECT_EQ(flow.Active(hwFlowIdx).Bytes().DifferenceFrom(&qirCtxt_gp->fcbPool[flow.Flow()]), "")
        << "shadow of flow " << flow.Flow();
}

} // namespace app_test
