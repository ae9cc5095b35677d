// What the lines of a log look like, and a log read again.
#include "emu/journal/checksum.h"
#include "tests/journal/sample_log.h"

#include <cstring>

namespace {

using namespace journal_test;
using namespace orxemu::journal;

std::string Zeros(std::size_t bytes) {
    return std::string(2 * bytes, '0');
}

TEST(JournalLogLines, TheFirstAndTheLastLineSayWhatTheLogIs) {
    EXPECT_EQ(R"({"format":"orxemu-log","version":2,"byteOrder":"big","crc":"448c4032"})"
              "\n",
              LogHeadLine(ByteOrder::Big));
    EXPECT_EQ(R"({"format":"orxemu-log","version":2,"byteOrder":"little","crc":"d9e74295"})"
              "\n",
              LogHeadLine(ByteOrder::Little));
    EXPECT_EQ(R"({"end":{"requests":10,"failedOpens":2,"openDescriptors":1},"crc":"b36da93d"})"
              "\n",
              LogEndLine(SampleEnd()));
    EXPECT_EQ(
        R"({"end":{"requests":3,"failedOpens":0,"openDescriptors":2,"lost":4000000000},"crc":"ea9f0e45"})"
        "\n",
        LogEndLine({.requests = 3, .failedOpens = 0, .openDescriptors = 2, .lost = 4000000000}));
}

struct LineCase {
    const char *what;
    LogEntry entry;
    std::string line;
};

std::vector<LineCase> LineCases() {
    std::vector<LineCase> cases;
    const auto add = [&cases](const char *what, LogEntry entry, std::string line) {
        cases.push_back({what, std::move(entry), std::move(line)});
    };
    const auto status = [] { return Sent(39, Image(4, ByteOrder::Big).Put32(0, 1)); };
    const std::string statusHead =
        R"({"n":7,"request":39,"name":"set-rl-status","fields":{"rlStatus":1},"raw":"00000001","answer":)";
    LogEntry entry = status();
    add("accepted", entry, statusHead + "{}}");
    entry.err = EINVAL;
    add("refused", entry, statusHead + R"({"errno":"EINVAL"}})");
    entry.fault = FaultMark::Fail;
    entry.err = 4000;
    add("fault, errno without a name", entry, statusHead + R"({"errno":"4000","fault":"fail"}})");
    entry.fault = FaultMark::AnswerLost;
    entry.err = EIO;
    add("answer lost", entry, statusHead + R"({"errno":"EIO","fault":"answer-lost"}})");

    entry = Sent(38, Image(40, ByteOrder::Big).Fill(0, 40, 0).Put32(0, 2));
    entry.out = Image(40, ByteOrder::Big).Fill(0, 40, 0).Put32(0, 2).Put32(4, 1).Put32(36, 258).bytes();
    add("hit counters", entry,
        R"({"n":7,"request":38,"name":"get-flow-hits","fields":{"flowIdx":2,"hits":{"numFlows":0,)"
        R"("hits":[0,0,0,0,0,0,0,0]}},"raw":"00000002)" +
            Zeros(36) + R"(","answer":{"numFlows":1,"hits":[0,0,0,0,0,0,0,258]},"rawOut":"0000000200000001)" +
            Zeros(28) + R"(00000102"})");

    entry = LogEntry{};
    entry.isOpen = true;
    entry.err = ENOENT;
    add("opening", entry, R"({"n":7,"open":"/dev/pktorx","answer":{"errno":"ENOENT"}})");
    entry.fault = FaultMark::Fail;
    add("opening, fault", entry,
        R"({"n":7,"open":"/dev/pktorx","answer":{"errno":"ENOENT","fault":"fail"}})");

    entry = LogEntry{};
    entry.request = 99;
    entry.err = ENOTTY;
    add("unknown request", entry, R"({"n":7,"request":99,"answer":{"errno":"ENOTTY"}})");
    entry.request = 29;
    entry.err = EFAULT;
    add("record not read", entry,
        R"({"n":7,"request":29,"name":"activate-flow","answer":{"errno":"EFAULT"}})");

    entry = Sent(29, FlowRecord(ByteOrder::Big, 5));
    entry.out = FlowRecord(ByteOrder::Big, 300).bytes();
    entry.fcb = SampleFcb(ByteOrder::Big);
    add("flow", entry,
        R"({"n":7,"request":29,"name":"activate-flow","fields":{"flowIdx":"unset","fcbSize":1884,)"
        R"("fcbAddr":134516736,"pacTblIdx":3,"epTblIdx":-1},"raw":"000000050000075c0804900000000003ffffffff",)"
        R"("fcb":)" +
            DecodeFcb(entry.fcb, ByteOrder::Big).dump() + R"(,"fcbRaw":")" + ToHex(entry.fcb) +
            R"(","answer":{"index":300},"rawOut":"0000012c0000075c0804900000000003ffffffff"})");
    return cases;
}

TEST(JournalLogLines, EveryAnswerHasItsForm) {
    for (const LineCase &c : LineCases()) {
        EXPECT_EQ(Sealed(c.line) + "\n", LogEntryLine(c.entry, 7, ByteOrder::Big)) << c.what;
    }
}

// The usual example of this checksum, and two whose first bits count.
TEST(JournalLogLines, TheChecksumIsCrc32) {
    EXPECT_EQ("cbf43926", ChecksumOf("123456789"));
    EXPECT_EQ("00000000", ChecksumOf(""));
    EXPECT_EQ("d202ef8d", ChecksumOf(std::string_view("\0", 1)));
    EXPECT_EQ("ff000000", ChecksumOf("\xFF"));
    std::string text;
    for (unsigned byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
        EXPECT_EQ(CrcOf(text), ChecksumOf(text)) << byte;
    }
}

TEST(JournalLogLines, ProblemsNameTheirFileAndLine) {
    EXPECT_EQ("a.json:14: broken", (Problem{"a.json", 14, "broken"}.Text()));
    EXPECT_EQ("a.json: broken", (Problem{"a.json", 0, "broken"}.Text()));
}

TEST(JournalLogLines, ErrnoValuesHaveNamesOrDigits) {
    for (const int err : {EPERM, ENOENT, EIO, EFAULT, EBUSY, EINVAL, ENOTTY, ENOSPC, EMFILE, EOVERFLOW}) {
        EXPECT_STREQ(strerrorname_np(err), ErrnoName(err).c_str());
        EXPECT_EQ(err, ErrnoOf(ErrnoName(err)));
    }
    EXPECT_EQ("EIO", ErrnoName(EIO));
    EXPECT_EQ("4000", ErrnoName(4000));
    EXPECT_EQ("-3", ErrnoName(-3));
    EXPECT_EQ("0", ErrnoName(0));
    EXPECT_EQ(4000, ErrnoOf("4000"));
    EXPECT_EQ(5, ErrnoOf("5"));
    EXPECT_EQ(2147483647, ErrnoOf("2147483647"));
    for (const char *text :
         {"", "0", "-1", "+5", "eio", "EI", "EIOX", " EIO", "5 ", "5x", "2147483648", "0x5"}) {
        EXPECT_EQ(0, ErrnoOf(text)) << text;
    }
}

void ExpectSameEntry(const LogEntry &expected, const LogEntry &read) {
    EXPECT_EQ(expected.isOpen, read.isOpen);
    EXPECT_EQ(expected.request, read.request);
    EXPECT_EQ(expected.err, read.err);
    EXPECT_EQ(expected.fault, read.fault);
    EXPECT_EQ(expected.recordRead, read.recordRead);
    EXPECT_EQ(expected.in, read.in);
    EXPECT_EQ(expected.out, read.out);
    EXPECT_EQ(expected.fcb, read.fcb);
}

TEST(JournalLog, ALogReadsAsItWasWritten) {
    for (const ByteOrder order : kBothOrders) {
        Log log;
        Problem problem;
        ASSERT_TRUE(ReadLog(Joined(SampleLines(order)), "log.json", log, problem)) << problem.Text();
        EXPECT_EQ(order, log.order);
        EXPECT_TRUE(log.complete);
        EXPECT_EQ(10u, log.end.requests);
        EXPECT_EQ(2u, log.end.failedOpens);
        EXPECT_EQ(1, log.end.openDescriptors);
        const std::vector<LogEntry> expected = SampleEntries(order);
        ASSERT_EQ(expected.size(), log.entries.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            SCOPED_TRACE(i + 1);
            EXPECT_EQ(i + 2, log.entries[i].line);
            ExpectSameEntry(expected[i], log.entries[i]);
        }
    }
}

TEST(JournalLog, EveryRequestMayBeAnswered) {
    for (const ByteOrder order : kBothOrders) {
        std::string text = LogHeadLine(order);
        std::size_t n = 0;
        for (const RequestInfo &info : qir::kRequestTable) {
            LogEntry entry = Sent(info.number, Image(info.recordSize, order));
            if (info.copiesFcb) {
                entry = Sent(info.number, FlowRecord(order, 7));
                entry.fcb = SampleFcb(order);
            }
            text += LogEntryLine(entry, ++n, order);
        }
        text += LogEndLine({.requests = n, .failedOpens = 0, .openDescriptors = 0});
        Log log;
        Problem problem;
        ASSERT_TRUE(ReadLog(text, "log.json", log, problem)) << problem.Text();
        EXPECT_EQ(16u, log.entries.size());
    }
}

TEST(JournalLog, AnEmptyLogIsGood) {
    Log log;
    Problem problem;
    EXPECT_TRUE(ReadLog(LogHeadLine(kHostOrder) + LogEndLine({}), "log.json", log, problem))
        << problem.Text();
    EXPECT_TRUE(log.entries.empty());
    EXPECT_TRUE(log.complete);
}

TEST(JournalLog, BlanksAndTheOrderOfMembersDoNotCount) {
    std::vector<std::string> lines = SampleLines(ByteOrder::Big);
    lines[1] = " { \"answer\" : { }, \"raw\":\"0000000100000002\",\t\"fields\": {\"flowMissAction\":2,"
               "\"cfgType\":\"flowMissAction\"}, \"name\":\"set-global\",\"request\":17 , \"n\": 1 }\n";
    lines[1] = Sealed(lines[1]);
    Log log;
    Problem problem;
    EXPECT_TRUE(ReadLog(Joined(lines), "log.json", log, problem)) << problem.Text();
}

// Another machine has another number for a name.
TEST(JournalLog, AnErrnoInDigitsIsGoodAlthoughItHasAName) {
    std::vector<std::string> lines = SampleLines(ByteOrder::Big);
    ReplaceOnce(lines[4], "EINVAL", std::to_string(EINVAL));
    lines[4] = Sealed(lines[4]);
    Log log;
    Problem problem;
    ASSERT_TRUE(ReadLog(Joined(lines), "log.json", log, problem)) << problem.Text();
    EXPECT_EQ(EINVAL, log.entries[3].err);
}

TEST(JournalLog, KindsOfFilesAreTold) {
    struct KindCase {
        const char *text;
        const char *problem; // "" for none
        FileKind kind;
    };
    const KindCase cases[] = {
        {"{\"format\":\"orxemu-log\",\"version\":2,\"byteOrder\":\"big\"}\nrest", "", FileKind::Log},
        {"{\"format\":\"orxemu-state\"}\n", "", FileKind::State},
        {"{\"format\":\"orxemu-states\"}\n", "f:1: the file is neither a log nor a state of orxemu", {}},
        {"{\"format\":1}\n", "f:1: format is 1, not a text", {}},
        {"{\"version\":1}\n", "f:1: format is missing", {}},
        {"", "f:1: the file is empty", {}},
        {"\n", "f:1: the line is no JSON", {}},
        {"[]\n", "f:1: the line is no JSON object", {}},
        {"\x7F"
         "ELF\n",
         "f:1: the line is no JSON",
         {}},
        {"{\"format\":\"orxemu-log\"}", "f:1: the line is cut off", {}},
    };
    for (const KindCase &c : cases) {
        FileKind kind = FileKind::Log;
        Problem problem;
        const bool good = KindOf(c.text, "f", kind, problem);
        EXPECT_EQ(c.problem, good ? std::string() : problem.Text()) << c.text;
        if (good) {
            EXPECT_EQ(c.kind, kind) << c.text;
        }
    }
}

} // namespace
