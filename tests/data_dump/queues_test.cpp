// Queues: which one is taken, which one is given back.
#include "tests/data_dump/data_dump_test.h"

namespace data_dump::queues {
namespace {

const std::string kFull =
    LogErr("qel_dataDumpCreateQ", "Can not create dataDump queue. Max. #qids reached.\n\n");
const std::string kUnknown = LogErr("qel_dataDumpDeleteQ", "Can not delete dataDump queue. qid unknown.\n\n");

using DataDumpQueues = DataDumpTest;

TEST_F(DataDumpQueues, LowestFreeQueueIsTakenAgain) {
    CreateQueues(10);
    for (const std::uint32_t qid : {7u, 2u, 9u, 0u}) {
        EXPECT_EQ(test::Capture([qid] { qel_dataDumpDeleteQ(qid); }), "");
    }
    for (const std::int32_t qid : {0, 2, 7, 9}) {
        EXPECT_EQ(qel_dataDumpCreateQ("again"), qid);
    }
    std::int32_t created = 0;
    EXPECT_EQ(test::CaptureMasked([&] { created = qel_dataDumpCreateQ("more"); }), kFull);
    EXPECT_EQ(created, -1);
}

TEST_F(DataDumpQueues, QueueThatIsNotInUseCannotBeDeleted) {
    for (std::uint32_t qid = 0; qid < kQids; ++qid) {
        SCOPED_TRACE(qid);
        EXPECT_EQ(test::CaptureMasked([qid] { qel_dataDumpDeleteQ(qid); }), kUnknown);
    }
    CreateQueues(2);
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpDeleteQ(2); }), kUnknown);
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpDeleteQ(1); }), "");
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpDeleteQ(1); }), kUnknown);
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpDeleteQ(0); }), "");
}

TEST_F(DataDumpQueues, EveryQueueHasItsName) {
    static const char *const names[] = {"alpha", "beta", "gamma", "delta", "",
                                        "x y",   "%s%d", "eta",   "theta", "iota"};
    for (const char *name : names) {
        ASSERT_GE(qel_dataDumpCreateQ(name), 0);
    }
    for (std::uint32_t qid = 0; qid < kQids; ++qid) {
        EXPECT_EQ(Dump(qid, 19, "%n kind", {}), kStart + Header(names[qid], "%n kind", 0) + kEnd);
    }
}

// The name is kept by address.
TEST_F(DataDumpQueues, NameIsNotCopied) {
    static char name[] = "before";
    ASSERT_EQ(qel_dataDumpCreateQ(name), 0);
    name[0] = 'B';
    EXPECT_EQ(Dump(0, 0, "d", {}), kStart + Header("Before", "d", 0) + kEnd);
    name[0] = 'b';
}

// A slot is free while it holds no name.
TEST_F(DataDumpQueues, QueueWithoutANameStaysFree) {
    EXPECT_EQ(qel_dataDumpCreateQ(nullptr), 0);
    EXPECT_EQ(qel_dataDumpCreateQ("q"), 0);
    EXPECT_EQ(qel_dataDumpCreateQ("q"), 1);
}

TEST_F(DataDumpQueues, DumpIntoAQueueThatIsNotInUseShowsNoData) {
    CreateQueues(3);
    qel_dataDumpDeleteQ(1);
    for (const std::uint32_t qid : {1u, 3u, 9u}) {
        EXPECT_EQ(Dump(qid, 0, "d", Pattern(20)),
                  kStart +
                      LogErr("qel_dataDump", "DataDump qID " + std::to_string(qid) + " not registered.\n\n") +
                      kEnd);
    }
}

// Dumps and error lines ask no gate that could be closed.
TEST_F(DataDumpQueues, QuietestLevelsHideNothing) {
    qelLog_setLogLevel(0, 0);
    qelLog_setGlobalLogLevel(0);
    EXPECT_EQ(Dump(0, 0, "d", {}),
              kStart + LogErr("qel_dataDump", "DataDump qID 0 not registered.\n\n") + kEnd);
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpDeleteQ(0); }), kUnknown);
    CreateQueues(10);
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpCreateQ("q"); }), kFull);
    EXPECT_EQ(Dump(0, 0, "d", Pattern(1, 0xFE)), kStart + Header("queue", "d", 1) + "0xfe\n" + kEnd);
}

TEST_F(DataDumpQueues, LouderLevelsShowNothingMore) {
    test::Capture([] { qelLog_setLogLevel(0, 3); });
    EXPECT_EQ(test::Capture([] { CreateQueues(10); }), "");
    EXPECT_EQ(test::CaptureMasked([] { qel_dataDumpCreateQ("q"); }), kFull);
    EXPECT_EQ(Dump(9, 0, "d", Pattern(4, 0)),
              kStart + Header("queue", "d", 4) + HexDump(Pattern(4, 0)) + kEnd);
    EXPECT_EQ(test::Capture([] { qel_dataDumpDeleteQ(9); }), "");
}

TEST_F(DataDumpQueues, NothingGoesToStandardError) {
    CreateQueues(10);
    const test::Output both = test::CaptureBoth([] {
        qel_dataDumpCreateQ("q");
        qel_dataDumpDeleteQ(9);
        qel_dataDumpDeleteQ(9);
        qel_dataDumpDeleteQ(10);
        qel_dataDump(9, 0, "d", 0, nullptr);
        qel_dataDump(0, 0, "d", 0, nullptr);
    });
    EXPECT_EQ(both.err, "");
}

} // namespace
} // namespace data_dump::queues
