// Requests that no hardware can have answered like this. Their lines are as a writer writes them: every
// member is what the others say, and the checksum is right.
#include "tests/journal/sample_log.h"

namespace {

using namespace journal_test;
using namespace orxemu::journal;

// "" when a log with this one entry is good.
std::string ProblemOf(const LogEntry &entry, ByteOrder order) {
    const LogEnd end = {
        .requests = entry.isOpen ? 0u : 1u, .failedOpens = entry.isOpen ? 1u : 0u, .openDescriptors = 0};
    Log log;
    Problem problem;
    const std::string text = LogHeadLine(order) + LogEntryLine(entry, 1, order) + LogEndLine(end);
    return ReadLog(text, "log.json", log, problem) ? "" : problem.Text();
}

std::string Line2(const char *what) {
    return what == nullptr ? "" : "log.json:2: " + std::string(what);
}

LogEntry Flow(int request, ByteOrder order) {
    LogEntry entry = Sent(request, FlowRecord(order, 7));
    entry.fcb = SampleFcb(order);
    return entry;
}

void SetFcbSize(LogEntry &entry, std::uint32_t size, ByteOrder order) {
    Store(entry.in, 4, 4, order, size);
    entry.out = entry.in;
}

void Answer(LogEntry &entry, int err, FaultMark fault = FaultMark::None) {
    entry.err = err;
    entry.fault = fault;
}

void LoseRecord(LogEntry &entry) {
    entry.recordRead = false;
    entry.in.clear();
    entry.out.clear();
}

constexpr int kActivateFlow = 29;
constexpr int kDeactivateFlow = 30;

struct FlowCase {
    const char *what;
    void (*change)(LogEntry &entry, ByteOrder order);
    const char *problem; // nullptr: it can be
};

constexpr const char *kOtherSize = "fields.fcbSize is 1883, the driver copies an FCB of 1884 bytes";

const FlowCase kFlowCases[] = {
    {"accepted", [](LogEntry &, ByteOrder) {}, nullptr},
    {"accepted, another size", [](LogEntry &entry, ByteOrder order) { SetFcbSize(entry, 1883, order); },
     kOtherSize},
    {"refused, another size, with its FCB",
     [](LogEntry &entry, ByteOrder order) {
         SetFcbSize(entry, 1883, order);
         Answer(entry, EINVAL);
     },
     kOtherSize},
    {"refused for its size",
     [](LogEntry &entry, ByteOrder order) {
         SetFcbSize(entry, 1883, order);
         Answer(entry, EINVAL);
         entry.fcb.clear();
     },
     nullptr},
    {"answer lost", [](LogEntry &entry, ByteOrder) { Answer(entry, EIO, FaultMark::AnswerLost); }, nullptr},
    {"answer lost, no FCB",
     [](LogEntry &entry, ByteOrder) {
         Answer(entry, EIO, FaultMark::AnswerLost);
         entry.fcb.clear();
     },
     "fcbRaw is missing in a request that the hardware took"},
    {"answer lost, no record",
     [](LogEntry &entry, ByteOrder) {
         Answer(entry, EIO, FaultMark::AnswerLost);
         LoseRecord(entry);
         entry.fcb.clear();
     },
     "raw is missing in a request that the hardware took"},
    {"fault, no FCB",
     [](LogEntry &entry, ByteOrder) {
         Answer(entry, EIO, FaultMark::Fail);
         entry.fcb.clear();
     },
     nullptr},
    {"record that cannot be read, with an FCB",
     [](LogEntry &entry, ByteOrder) {
         Answer(entry, EFAULT);
         LoseRecord(entry);
     },
     "fcbRaw is there without raw"},
};

TEST(JournalLogAnswers, FlowsComeWithWhatTheDriverCopied) {
    for (const FlowCase &c : kFlowCases) {
        for (const ByteOrder order : kBothOrders) {
            for (const int request : {kActivateFlow, kDeactivateFlow}) {
                LogEntry entry = Flow(request, order);
                c.change(entry, order);
                EXPECT_EQ(Line2(c.problem), ProblemOf(entry, order)) << request << " " << c.what;
            }
        }
    }
}

TEST(JournalLogAnswers, AnAnswerIsLostOnlyOfARequestThatTheHardwareKnows) {
    for (const ByteOrder order : kBothOrders) {
        LogEntry unknown;
        unknown.request = 99;
        Answer(unknown, EIO, FaultMark::Fail);
        EXPECT_EQ("", ProblemOf(unknown, order));
        Answer(unknown, EIO, FaultMark::AnswerLost);
        EXPECT_EQ(Line2("answer.fault is \"answer-lost\" in a request of an unknown number"),
                  ProblemOf(unknown, order));
        LogEntry open;
        open.isOpen = true;
        Answer(open, EMFILE, FaultMark::Fail);
        EXPECT_EQ("", ProblemOf(open, order));
        Answer(open, EMFILE, FaultMark::AnswerLost);
        EXPECT_EQ(Line2("answer.fault is \"answer-lost\" in an opening that failed"), ProblemOf(open, order));
    }
}

// Where a driver writes: the index of an activation, and behind the index of the flow its hits.
bool IsAnswer(int request, std::size_t byte) {
    switch (request) {
    case 21:
    case 23:
    case 27:
    case kActivateFlow:
        return byte < 4;
    case 38:
        return byte >= 4;
    default:
        return false;
    }
}

TEST(JournalLogAnswers, ADriverWritesItsAnswerAndNothingElse) {
    for (const RequestInfo &info : qir::kRequestTable) {
        const ByteOrder order = kHostOrder;
        LogEntry good =
            info.copiesFcb ? Flow(info.number, order) : Sent(info.number, Image(info.recordSize, order));
        for (std::size_t byte = 0; byte < info.recordSize; byte += byte < 40 ? 1 : 13) {
            LogEntry entry = good;
            entry.out[byte] ^= 0x10;
            const std::string elsewhere = "rawOut differs from raw at byte " + std::to_string(byte) +
                                          ", which the driver does not write";
            const std::string expected = IsAnswer(info.number, byte) ? "" : Line2(elsewhere.c_str());
            EXPECT_EQ(expected, ProblemOf(entry, order)) << info.name;
        }
    }
}

TEST(JournalLogAnswers, OnlyARequestThatTheHardwareTookIsAnswered) {
    for (const ByteOrder order : kBothOrders) {
        LogEntry entry = Flow(kActivateFlow, order);
        entry.out[3] ^= 1;
        EXPECT_EQ("", ProblemOf(entry, order));
        Answer(entry, EIO, FaultMark::AnswerLost);
        EXPECT_EQ("", ProblemOf(entry, order));
        for (const FaultMark fault : {FaultMark::None, FaultMark::Fail}) {
            Answer(entry, EIO, fault);
            EXPECT_EQ(Line2("rawOut is there in a request that the hardware did not take"),
                      ProblemOf(entry, order));
        }
    }
}

} // namespace
