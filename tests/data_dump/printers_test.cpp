// Printers: what they are called with, what becomes of their text, how long they stay.
#include "tests/data_dump/data_dump_test.h"

#include <cstring>
#include <utility>

namespace data_dump {
namespace {

struct PrinterCall {
    std::uint32_t dumpId;
    const void *data;
    std::uint32_t numBytes;
    char *buffer;
    std::uint32_t bufferSize;
    char first; // the buffer's first byte at the call
};
std::vector<PrinterCall> calls;
std::string said; // what NotingPrinter() writes

void NotingPrinter(std::uint32_t dumpId, const void *data, std::uint32_t numBytes, char *buffer,
                   std::uint32_t bufferSize) {
    calls.push_back({dumpId, data, numBytes, buffer, bufferSize, buffer[0]});
    std::memcpy(buffer, said.c_str(), said.size() + 1);
}

void SilentPrinter(std::uint32_t, const void *, std::uint32_t, char *buffer, std::uint32_t) {
    calls.push_back({0, nullptr, 0, buffer, 0, buffer[0]});
}

class DataDumpPrinters : public DataDumpTest {
  protected:
    void SetUp() override {
        DataDumpTest::SetUp();
        calls.clear();
        said = "";
    }
};

TEST_F(DataDumpPrinters, PrinterGetsTheBlockAndTheWholeBuffer) {
    CreateQueues(5);
    qel_dataDumpRegPrinter(4, 17, NotingPrinter);
    said = "seven words\n";
    const Bytes block = Pattern(28);
    EXPECT_EQ(Dump(4, 17, "kind", block), kStart + Header("queue", "kind", 28) + "seven words\n" + kEnd);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].dumpId, 17u);
    EXPECT_EQ(calls[0].data, block.data());
    EXPECT_EQ(calls[0].numBytes, 28u);
    EXPECT_NE(calls[0].buffer, nullptr);
    EXPECT_EQ(calls[0].bufferSize, 65536u);
    EXPECT_EQ(calls[0].first, '\0');
}

// No line end is added, and no format is looked for.
TEST_F(DataDumpPrinters, TextIsPrintedAsItStands) {
    CreateQueues(1);
    qel_dataDumpRegPrinter(0, 3, NotingPrinter);
    for (const char *text : {"", "no line end", "\n", "a\n\nb\n", "%s %n %d %%", "tab\tand blank "}) {
        said = text;
        EXPECT_EQ(Dump(0, 3, "d", Pattern(18)), kStart + Header("queue", "d", 18) + text + kEnd);
    }
}

TEST_F(DataDumpPrinters, TextMayFillTheBuffer) {
    CreateQueues(1);
    qel_dataDumpRegPrinter(0, 0, NotingPrinter);
    said = std::string(65535, 'x');
    EXPECT_EQ(Dump(0, 0, "d", {}), kStart + Header("queue", "d", 0) + said + kEnd);
}

// The buffer is emptied by its first byte alone, and all printers have the same one.
TEST_F(DataDumpPrinters, PrinterThatWritesNothingPrintsNothing) {
    CreateQueues(2);
    qel_dataDumpRegPrinter(0, 0, NotingPrinter);
    qel_dataDumpRegPrinter(1, 19, SilentPrinter);
    said = "left over";
    Dump(0, 0, "d", {});
    EXPECT_EQ(Dump(1, 19, "d", Pattern(5)), kStart + Header("queue", "d", 5) + kEnd);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].first, '\0');
    EXPECT_EQ(calls[1].buffer, calls[0].buffer);
    EXPECT_STREQ(calls[1].buffer + 1, "eft over");
}

TEST_F(DataDumpPrinters, QueueNeedNotExistYet) {
    qel_dataDumpRegPrinter(0, 0, NotingPrinter);
    said = "text\n";
    EXPECT_EQ(Dump(0, 0, "d", Pattern(4)),
              kStart + LogErr("qel_dataDump", "DataDump qID 0 not registered.\n\n") + kEnd);
    EXPECT_TRUE(calls.empty()) << "a queue that is not in use has nothing printed";
    CreateQueues(1);
    EXPECT_EQ(Dump(0, 0, "d", Pattern(4)), kStart + Header("queue", "d", 4) + "text\n" + kEnd);
}

TEST_F(DataDumpPrinters, PrinterOutlivesItsQueue) {
    CreateQueues(3);
    qel_dataDumpRegPrinter(2, 0, NotingPrinter);
    qel_dataDumpRegPrinter(2, 19, NotingPrinter);
    said = "text\n";
    qel_dataDumpDeleteQ(2);
    EXPECT_EQ(Dump(2, 19, "d", {}),
              kStart + LogErr("qel_dataDump", "DataDump qID 2 not registered.\n\n") + kEnd);
    ASSERT_EQ(qel_dataDumpCreateQ("another"), 2);
    for (const std::uint32_t dumpId : {0u, 19u}) {
        EXPECT_EQ(Dump(2, dumpId, "d", {}), kStart + Header("another", "d", 0) + "text\n" + kEnd);
    }
    EXPECT_EQ(calls.size(), 2u);
}

// ---- one printer per queue and kind ---------------------------------------------------------------

template <std::uint32_t n>
void NumberPrinter(std::uint32_t, const void *, std::uint32_t, char *buffer, std::uint32_t) {
    const std::string text = "printer " + std::to_string(n) + "\n";
    std::memcpy(buffer, text.c_str(), text.size() + 1);
}

template <std::uint32_t... n>
std::vector<QelDataDumpPrinter> NumberPrinters(std::integer_sequence<std::uint32_t, n...>) {
    return {NumberPrinter<n>...};
}

TEST_F(DataDumpPrinters, EveryQueueAndKindHasItsOwnPrinter) {
    CreateQueues(10);
    const auto printers = NumberPrinters(std::make_integer_sequence<std::uint32_t, kQids * kDumpIds>{});
    for (std::uint32_t qid = 0; qid < kQids; ++qid) {
        for (std::uint32_t dumpId = 0; dumpId < kDumpIds; ++dumpId) {
            qel_dataDumpRegPrinter(qid, dumpId, printers[qid * kDumpIds + dumpId]);
        }
    }
    // Then every third one goes.
    for (const bool thinned : {false, true}) {
        for (std::uint32_t n = 0; thinned && n < kQids * kDumpIds; n += 3) {
            qel_dataDumpRegPrinter(n / kDumpIds, n % kDumpIds, nullptr);
        }
        for (std::uint32_t n = 0; n < kQids * kDumpIds; ++n) {
            const std::string text = thinned && n % 3 == 0 ? "0xab\n" : "printer " + std::to_string(n) + "\n";
            EXPECT_EQ(Dump(n / kDumpIds, n % kDumpIds, "d", {0xAB}),
                      kStart + Header("queue", "d", 1) + text + kEnd);
        }
    }
}

} // namespace
} // namespace data_dump
