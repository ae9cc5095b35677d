// Ids out of range are reported and then used all the same: they mean the spare slot that every table has
// behind its end, and nothing within the table.
#include "tests/data_dump/data_dump_test.h"

#include <cstring>
#include <functional>

namespace data_dump {
namespace {

using DataDumpAssertions = DataDumpTest;

const std::string kUnknown = LogErr("qel_dataDumpDeleteQ", "Can not delete dataDump queue. qid unknown.\n\n");

void TextPrinter(std::uint32_t, const void *, std::uint32_t, char *buffer, std::uint32_t) {
    std::strcpy(buffer, "text\n");
}

std::string Unregistered(std::uint32_t qid) {
    return kStart + LogErr("qel_dataDump", "DataDump qID " + std::to_string(qid) + " not registered.\n\n") +
           kEnd;
}

TEST_F(DataDumpAssertions, IdsOutOfRangeAreAsserted) {
    CreateQueues(1);
    const std::string reg = "qel_dataDumpRegPrinter";
    const std::string dump = "qel_dataDump";
    const struct {
        const char *call;
        std::function<void()> fn;
        std::string expected;
    } rows[] = {
        {"delete queue 10", [] { qel_dataDumpDeleteQ(10); },
         Asserted("qel_dataDumpDeleteQ", "qid < MAX_NUM_QIDS") + kUnknown},
        {"printer of queue 10", [] { qel_dataDumpRegPrinter(10, 19, nullptr); },
         Asserted(reg, "qId < MAX_NUM_QIDS")},
        {"printer of kind 20", [] { qel_dataDumpRegPrinter(9, 20, nullptr); },
         Asserted(reg, "dataDumpId < MAX_NUM_DATADUMP_IDS")},
        {"printer of queue 10 and kind 20", [] { qel_dataDumpRegPrinter(10, 20, nullptr); },
         Asserted(reg, "qId < MAX_NUM_QIDS") + Asserted(reg, "dataDumpId < MAX_NUM_DATADUMP_IDS")},
        {"dump into queue 10", [] { qel_dataDump(10, 19, "d", 0, nullptr); },
         Asserted(dump, "qID < MAX_NUM_QIDS") + Unregistered(10)},
        {"dump of kind 20", [] { qel_dataDump(0, 20, "d", 0, nullptr); },
         Asserted(dump, "dataDumpID < MAX_NUM_DATADUMP_IDS") + kStart + Header("queue", "d", 0) + kEnd},
        {"dump of kind 20 into a queue that is not in use", [] { qel_dataDump(1, 20, "d", 0, nullptr); },
         Asserted(dump, "dataDumpID < MAX_NUM_DATADUMP_IDS") + Unregistered(1)},
        {"dump of kind 20 into queue 10", [] { qel_dataDump(10, 20, "d", 0, nullptr); },
         Asserted(dump, "qID < MAX_NUM_QIDS") + Asserted(dump, "dataDumpID < MAX_NUM_DATADUMP_IDS") +
             Unregistered(10)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.call);
        const test::Output printed = test::CaptureBoth(row.fn);
        EXPECT_EQ(test::Mask(printed.out), row.expected);
        EXPECT_EQ(printed.err, "");
    }
}

TEST_F(DataDumpAssertions, PrinterOutOfRangeIsStoredAllTheSame) {
    CreateQueues(1);
    test::Capture([] { qel_dataDumpRegPrinter(0, 20, TextPrinter); });
    const std::string asserted = Asserted("qel_dataDump", "dataDumpID < MAX_NUM_DATADUMP_IDS");
    EXPECT_EQ(Dump(0, 20, "d", {0xAB}), asserted + kStart + Header("queue", "d", 1) + "text\n" + kEnd);
    test::Capture([] { qel_dataDumpRegPrinter(0, 20, nullptr); });
    EXPECT_EQ(Dump(0, 20, "d", {0xAB}), asserted + kStart + Header("queue", "d", 1) + "0xab\n" + kEnd);
}

// Whatever the id, no memory but that of the tables is touched, and no slot within them.
TEST_F(DataDumpAssertions, IdsFarOutOfRangeDisturbNoQueueAndNoPrinter) {
    CreateQueues(10);
    const struct {
        std::uint32_t qid;
        std::uint32_t dumpId;
    } rows[] = {
        {10, 20}, {11, 21}, {20, 40}, {0x10000, 0x10000}, {0x7FFFFFFF, 0x7FFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto &row : rows) {
        const std::uint32_t qid = row.qid;
        const std::uint32_t dumpId = row.dumpId;
        SCOPED_TRACE("ids " + std::to_string(qid) + " and " + std::to_string(dumpId));
        test::Capture([=] {
            qel_dataDumpDeleteQ(qid);
            qel_dataDumpRegPrinter(qid, dumpId, TextPrinter);
            for (std::uint32_t inRange = 0; inRange < kDumpIds; ++inRange) {
                qel_dataDumpRegPrinter(qid, inRange, TextPrinter);
            }
            for (std::uint32_t inRange = 0; inRange < kQids; ++inRange) {
                qel_dataDumpRegPrinter(inRange, dumpId, TextPrinter);
            }
        });
        for (std::uint32_t n = 0; n < kQids * kDumpIds; ++n) {
            EXPECT_EQ(Dump(n / kDumpIds, n % kDumpIds, "d", {0xAB}),
                      kStart + Header("queue", "d", 1) + "0xab\n" + kEnd);
        }
    }
}

// And the other way round: no slot of the tables is that of an id out of range.
TEST_F(DataDumpAssertions, PrintersInRangeAreNotFoundUnderIdsOutOfRange) {
    CreateQueues(10);
    for (std::uint32_t n = 0; n < kQids * kDumpIds; ++n) {
        qel_dataDumpRegPrinter(n / kDumpIds, n % kDumpIds, TextPrinter);
    }
    const std::string kind = Asserted("qel_dataDump", "dataDumpID < MAX_NUM_DATADUMP_IDS");
    for (const std::uint32_t dumpId : {20u, 21u, 40u, 0xFFFFFFFFu}) {
        for (std::uint32_t qid = 0; qid < kQids; ++qid) {
            EXPECT_EQ(Dump(qid, dumpId, "d", {0xAB}),
                      kind + kStart + Header("queue", "d", 1) + "0xab\n" + kEnd);
        }
    }
    for (const std::uint32_t qid : {10u, 11u, 20u, 0x7FFFFFFFu}) {
        EXPECT_EQ(Dump(qid, 0, "d", {0xAB}),
                  Asserted("qel_dataDump", "qID < MAX_NUM_QIDS") + Unregistered(qid));
    }
}

// The spare slot is no queue: it is never taken.
TEST_F(DataDumpAssertions, FullTableHasNoEleventhQueue) {
    CreateQueues(10);
    std::int32_t created = 0;
    test::Capture([&] { created = qel_dataDumpCreateQ("eleventh"); });
    EXPECT_EQ(created, -1);
    EXPECT_EQ(Dump(10, 0, "d", {}), Asserted("qel_dataDump", "qID < MAX_NUM_QIDS") + Unregistered(10));
}

} // namespace
} // namespace data_dump
