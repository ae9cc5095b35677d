// Logs that were cut, edited or mixed up: the first line that does not check out is named, and what was in
// front of it is there.
#include "tests/journal/sample_log.h"

#include <random>

namespace {

using namespace journal_test;
using namespace orxemu::journal;

constexpr ByteOrder kOrder = ByteOrder::Big;
constexpr std::size_t kLastLine = 14;

// "" when the log is good. `numEntries`, when it is not null, gets the number of entries read.
std::string ProblemOf(const std::string &text, std::size_t *numEntries = nullptr) {
    Log log;
    Problem problem;
    const bool good = ReadLog(text, "log.json", log, problem);
    if (numEntries != nullptr) {
        *numEntries = log.entries.size();
    }
    return good ? "" : problem.Text();
}

struct Edit {
    std::size_t line; // counted from 1
    const char *from;
    const char *to;
    const char *what;
};

// In the lines of SampleLines(): line 1 is the head, line n + 1 entry n.
const Edit kEdits[] = {
    {1, "orxemu-log", "orxemu-state", "format is \"orxemu-state\", not \"orxemu-log\""},
    {1, "\"orxemu-log\"", "7", "format is 7, not a text"},
    {1, "\"version\":2", "\"version\":1", "version is 1, this program knows 2"},
    {1, "\"version\":2", "\"version\":3", "version is 3, this program knows 2"},
    {1, "\"version\":2", "\"version\":2.0", "version is 2.0, this program knows 2"},
    {1, "\"version\":2,", "", "version is missing"},
    {1, "\"big\"", "\"middle\"", "byteOrder is \"middle\", neither little nor big"},
    {1, "\"big\"", "\"big\",\"more\":1", "there is no \"more\" here"},
    {1, "{\"format\"", "{\"Format\"", "format is missing"},
    {2, "\"n\":1", "\"n\":2", "n is 2, it has to be 1"},
    {2, "\"n\":1", "\"n\":0", "n is 0, it has to be 1"},
    {2, "\"n\":1", "\"n\":-1", "n is -1, it has to be 1"},
    {2, "\"n\":1", "\"n\":1.0", "n is 1.0, it has to be 1"},
    {2, "\"n\":1", "\"n\":\"1\"", "n is \"1\", it has to be 1"},
    {2, "\"n\":1,", "", "n is missing"},
    {2, "\"n\":1", "\"n\":18446744073709551617", "n is 1.8446744073709552e+19, it has to be 1"},
    {2, "\"n\":1", "\"n\":1,\"n\":1", "\"n\" is there twice"},
    {2, "\"request\":17", "\"request\":39", "name is \"set-global\", the number says \"set-rl-status\""},
    {2, "\"request\":17", "\"request\":99", "there is no \"name\" here"},
    {2, "\"request\":17", "\"request\":\"17\"",
     "request is \"17\", not a number from -2147483648 to 2147483647"},
    {2, "\"request\":17", "\"request\":1e99",
     "request is 1e+99, not a number from -2147483648 to 2147483647"},
    {2, "\"request\":17", "\"request\":9223372036854775825",
     "request is 9223372036854775825, not a number from -2147483648 to 2147483647"},
    {2, "\"request\":17", "\"request\":2147483648",
     "request is 2147483648, not a number from -2147483648 to 2147483647"},
    {2, "\"request\":17,", "", "request is missing"},
    {2, "set-global", "set-port", "name is \"set-port\", the number says \"set-global\""},
    {2, "\"name\":\"set-global\",", "", "name is missing"},
    {2, "\"name\":", "\"n\\u0061me\":1,\"name\":", "\"name\" is there twice"},
    {2, "\"flowMissAction\":2", "\"flowMissAction\":1", "fields.flowMissAction is 1, the raw bytes say 2"},
    {2, "\"flowMissAction\":2", "\"flowMissAction\":2,\"x\":3", "there is no fields.\"x\" here"},
    {2, ",\"flowMissAction\":2", "", "fields.flowMissAction is missing"},
    {2, "\"flowMissAction\":2", "\"flowMissAction\":null",
     "fields.flowMissAction is null, the raw bytes say 2"},
    {2, "\"flowMissAction\":2", "\"flowMissAction\":true",
     "fields.flowMissAction is true, the raw bytes say 2"},
    {2, "\"cfgType\":\"flowMissAction\"", "\"cfgType\":1",
     "fields.cfgType is 1, the raw bytes say \"flowMissAction\""},
    {2, "0000000100000002", "0000000100000001", "fields.flowMissAction is 2, the raw bytes say 1"},
    {2, "0000000100000002", "00000001000000", "raw has 7 bytes, not 8"},
    {2, "0000000100000002", "0000000100000", "raw is not made of hexadecimal digits in pairs"},
    {2, "0000000100000002", "000000010000000g", "raw is not made of hexadecimal digits in pairs"},
    {2, "\"0000000100000002\"", "[0,0,0,1,0,0,0,2]", "raw is [0,0,0,1,0,0,0,2], not a text"},
    {2, "\"raw\":\"0000000100000002\",", "", "raw is missing in a request that the hardware took"},
    {2, "\"answer\":{}", "\"answer\":{},\"rawOut\":\"0000000100000002\"", "there is no \"rawOut\" here"},
    {2, "\"answer\":{}", "\"answer\":{\"index\":3}", "there is no answer.\"index\" here"},
    {2, "\"answer\":{}", "\"answer\":{\"fault\":\"fail\"}", "there is no answer.\"fault\" here"},
    {2, "\"answer\":{}", "\"answer\":[]", "answer is no object"},
    {2, "\"answer\":{}", "\"answer\":{},\"fcbRaw\":\"00\"", "there is no \"fcbRaw\" here"},
    {2, ",\"answer\":{}", "", "answer is missing"},
    {3, "\"index\":4", "\"index\":5", "answer.index is 5, the raw bytes say 4"},
    {3, "\"rawOut\":\"00000004", "\"rawOut\":\"00000005", "answer.index is 4, the raw bytes say 5"},
    {3, "\"index\":4", "\"index\":-4", "answer.index is -4, the raw bytes say 4"},
    {3, "\"pbits\":[", "\"pbits\":[0,", "fields.tbl.pbits is ["},
    {4, "\"pacTblIdx\":3", "\"pacTblIdx\":4", "fields.pacTblIdx is 4, the raw bytes say 3"},
    {4, "\"epTblIdx\":-1", "\"epTblIdx\":18446744073709551615",
     "fields.epTblIdx is 18446744073709551615, the raw bytes say -1"},
    {4, "\"epTblIdx\":-1", "\"epTblIdx\":4294967295", "fields.epTblIdx is 4294967295, the raw bytes say -1"},
    {4, "\"flowIdx\":\"unset\"", "\"flowIdx\":0", "fields.flowIdx is 0, the raw bytes say \"unset\""},
    {4, "\"cmpOp\":\"e_CMP_EQ\"", "\"cmpOp\":\"e_CMP_NEQ\"",
     "fcb.filter.headers[1].requests[0].cmpOp is \"e_CMP_NEQ\", the raw bytes say \"e_CMP_EQ\""},
    {4, "\"val\":1200", "\"val\":1201",
     "fcb.action.headers[0].requests[0].val is 1201, the raw bytes say 1200"},
    {4, "\"fwdInfoSet\":0", "\"fwdInfoSet\":1", "fcb.fwdInfoSet is 1, the raw bytes say 0"},
    {4, "\"gemQid\":\"unset\"", "\"gemQid\":[]",
     "fcb.forwarding.dst.gemQid is [], the raw bytes say \"unset\""},
    {4, "\"fcbRaw\":\"0", "\"fcbRaw\":\"0000", "fcbRaw is not made of hexadecimal digits in pairs"},
    {4, "\"fcbRaw\":\"0", "\"fcbRaw\":\"000", "fcbRaw has 1885 bytes, not 1884"},
    {4, "\"fcbRaw\":\"", "\"fcbRow\":\"", "fcbRaw is missing in a request that the hardware took"},
    {5, "EINVAL", "EINVALID", "answer.errno is \"EINVALID\", not a name or a number above 0"},
    {5, "EINVAL", "0", "answer.errno is \"0\", not a name or a number above 0"},
    {5, "\"EINVAL\"", "22", "errno is 22, not a text"},
    {5, "\"errno\":\"EINVAL\"", "\"errno\":\"EINVAL\",\"fault\":\"lost\"",
     "answer.fault is \"lost\", neither fail nor answer-lost"},
    {5, "\"errno\":\"EINVAL\"", "\"errno\":\"EINVAL\",\"index\":1", "there is no answer.\"index\" here"},
    {6, "/dev/pktorx", "/dev/null", "open is \"/dev/null\", it has to be \"/dev/pktorx\""},
    {6, "\"errno\":\"ENOENT\"", "", "answer.errno is missing in an opening that failed"},
    {6, "\"open\":", "\"request\":17,\"open\":", "there is no \"request\" here"},
    {7, "\"fault\":\"fail\"", "\"fault\":null", "fault is null, not a text"},
    {8, ",\"index\":0", "", "answer.index is missing"},
    {9, "1000000", "1000001", "answer.hits[7] is 1000001, the raw bytes say 1000000"},
    {10, "\"errno\":\"EFAULT\"", "", "raw is missing in a request that the hardware took"},
    {11, "\"errno\":\"EFAULT\"", "", "fcbRaw is missing in a request that the hardware took"},
    {12, "\"answer\"", "\"raw\":\"00\",\"answer\"", "there is no \"raw\" here"},
    {14, "\"requests\":10", "\"requests\":9", "end.requests is 9, the log has 10"},
    {14, "\"failedOpens\":2", "\"failedOpens\":3", "end.failedOpens is 3, the log has 2"},
    {14, "\"openDescriptors\":1", "\"openDescriptors\":-1",
     "openDescriptors is -1, not a number from 0 to 2147483647"},
    {14, ",\"openDescriptors\":1", "", "openDescriptors is missing"},
    {14, "{\"requests\":10,\"failedOpens\":2,\"openDescriptors\":1}", "7", "end is 7, the log has {"},
    {14, "1},", "1,\"lost\":7},", "requests that are missing in this log: 7"},
    {14, "1},", "1,\"lost\":0},", "lost is 0, not a number from 1 to 4294967295"},
    {14, "1},", "1,\"lost\":\"7\"},", "lost is \"7\", not a number from 1 to 4294967295"},
    {14, "{\"end\"", "{\"n\":13,\"end\"", "there is no \"n\" here"},
    {14, "}\n", "}x\n", "the line is no JSON"},
};

// Whether somebody has signed the edited line or not: what the line says is looked at first.
TEST(JournalLogDamage, EveryEditIsFoundInItsLine) {
    ASSERT_EQ("", ProblemOf(Joined(SampleLines(kOrder))));
    for (const Edit &edit : kEdits) {
        for (const bool isSigned : {false, true}) {
            std::vector<std::string> lines = SampleLines(kOrder);
            ASSERT_EQ(kLastLine, lines.size());
            std::string &line = lines[edit.line - 1];
            ReplaceOnce(line, edit.from, edit.to);
            if (isSigned && line.ends_with("}\n")) {
                line = Sealed(line);
            }
            std::size_t numEntries = 0;
            const std::string problem = ProblemOf(Joined(lines), &numEntries);
            const std::string expected = "log.json:" + std::to_string(edit.line) + ": " + edit.what;
            // A value that is a whole list or object is shortened.
            EXPECT_EQ(expected, expected.ends_with("[") || expected.ends_with("{")
                                    ? problem.substr(0, expected.size())
                                    : problem)
                << edit.from << " -> " << edit.to << (isSigned ? ", signed" : "");
            EXPECT_EQ(std::min<std::size_t>(edit.line < 2 ? 0 : edit.line - 2, 12), numEntries) << problem;
        }
    }
}

// Without the flow, whose line is long.
TEST(JournalLogDamage, ACutIsFoundAtEveryByte) {
    std::string text = LogHeadLine(kOrder);
    std::size_t n = 0;
    for (const LogEntry &entry : SampleEntries(kOrder)) {
        text += entry.in.size() > 40 || !entry.fcb.empty() ? "" : LogEntryLine(entry, ++n, kOrder);
    }
    text += LogEndLine({.requests = n - 2, .failedOpens = 2, .openDescriptors = 0});
    ASSERT_EQ("", ProblemOf(text));
    std::size_t linesBefore = 0;
    for (std::size_t size = 0; size < text.size(); ++size) {
        const bool atEndOfLine = size > 0 && text[size - 1] == '\n';
        linesBefore += atEndOfLine ? 1 : 0;
        const std::size_t line = size == 0 ? 1 : linesBefore + (atEndOfLine ? 0 : 1);
        const std::string what = size == 0     ? "the file is empty"
                                 : atEndOfLine ? "the last line of the log is missing behind this one"
                                               : "the line is cut off";
        ASSERT_EQ("log.json:" + std::to_string(line) + ": " + what, ProblemOf(text.substr(0, size)))
            << "cut behind " << size << " bytes";
    }
}

TEST(JournalLogDamage, EveryLineIsMissedAndEverySwapIsFound) {
    const std::vector<std::string> good = SampleLines(kOrder);
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::vector<std::string> lines = good;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_NE("", ProblemOf(Joined(lines))) << "without line " << i + 1;
        for (std::size_t j = i + 1; j < good.size(); ++j) {
            lines = good;
            std::swap(lines[i], lines[j]);
            const std::string at = "log.json:" + std::to_string(i + 1) + ": ";
            EXPECT_EQ(at, ProblemOf(Joined(lines)).substr(0, at.size()))
                << "lines " << i + 1 << " and " << j + 1;
        }
        lines = good;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), good[i]);
        const std::string at = "log.json:" + std::to_string(i + 2) + ": ";
        EXPECT_EQ(at, ProblemOf(Joined(lines)).substr(0, at.size())) << "line " << i + 1 << " twice";
    }
}

TEST(JournalLogDamage, NothingMayStandBehindTheLastLine) {
    const std::string text = Joined(SampleLines(kOrder));
    EXPECT_EQ("log.json:15: the line is no JSON", ProblemOf(text + "\n"));
    EXPECT_EQ("log.json:15: the line is cut off", ProblemOf(text + " "));
    EXPECT_EQ("log.json:15: the log has ended before this line", ProblemOf(text + "{}\n"));
    EXPECT_EQ("log.json:15: the log has ended before this line", ProblemOf(text + LogEndLine(SampleEnd())));
}

struct LineDamage {
    std::string line;
    const char *what;
};

TEST(JournalLogDamage, LinesThatAreNoJsonAreToldApart) {
    const LineDamage cases[] = {
        {"", "the line is no JSON"},
        {"null", "the line is no JSON object"},
        {"7", "the line is no JSON object"},
        {"[1]", "the line is no JSON object"},
        {"{} {}", "the line is no JSON"},
        {"{\"n\":1", "the line is no JSON"},
        {"{\"n\":1,}", "the line is no JSON"},
        {"{'n':1}", "the line is no JSON"},
        {"{\"n\":01}", "the line is no JSON"},
        {"{\"n\":NaN}", "the line is no JSON"},
        {"// comment", "the line is no JSON"},
        {std::string("{\"n\":1}\0", 8), "the line has a byte that is 0"},
        {std::string("{\"n\":1}\0{", 9), "the line has a byte that is 0"},
        {std::string("\0", 1), "the line has a byte that is 0"},
        {"{\"\xFF\":1}", "the line is no JSON"},
        {"{\"n\":\"\xC3\"}", "the line is no JSON"},
        {"{\"a\":{\"b\":1,\"b\":2}}", "\"b\" is there twice"},
        {"{\"a\":[{\"b\":1},{\"b\":2,\"c\":{\"b\":3}}],\"c\":1,\"a\":4}", "\"a\" is there twice"},
        {"{\"n\":1}\r", "the line ends with a carriage return"},
        {std::string(1000000, '['), "the line is longer than 65536 bytes"},
        {std::string(65000, '['), "the line is nested too deeply"},
        {"{\"a\":" + std::string(17, '[') + std::string(17, ']') + "}", "the line is nested too deeply"},
        {"{\"a\":\"" + std::string(70000, 'x') + "\"}", "the line is longer than 65536 bytes"},
        {"{\"a\":\"\\\"[[[[[[[[[[[[[[[[[[[[[[\"}", "n is missing"},
        {"{\"n\":\"" + std::string(300, 'x') + "\"}", nullptr},
        {"{\"n\":\"\\u001b[31m\"}", "n is \"\\u001b[31m\", it has to be 1"},
        {"{\"n\":\"\\u00e9\"}", "n is \"\\u00e9\", it has to be 1"},
    };
    for (const LineDamage &c : cases) {
        const std::string what =
            c.what != nullptr ? c.what : "n is \"" + std::string(59, 'x') + "..., it has to be 1";
        EXPECT_EQ("log.json:2: " + what, ProblemOf(LogHeadLine(kOrder) + c.line + "\n"))
            << c.line.substr(0, 100);
    }
}

TEST(JournalLogDamage, WindowsLineEndsAreRefused) {
    std::string text;
    for (std::string line : SampleLines(kOrder)) {
        line.insert(line.size() - 1, "\r");
        text += line;
    }
    EXPECT_EQ("log.json:1: the line ends with a carriage return", ProblemOf(text));
}

// The head's byte order decides how the bytes are read.
TEST(JournalLogDamage, AnotherByteOrderInTheHeadIsFound) {
    std::vector<std::string> lines = SampleLines(kOrder);
    lines[0] = LogHeadLine(Other(kOrder));
    EXPECT_EQ("log.json:2: fields.cfgType is \"flowMissAction\", the raw bytes say 16777216",
              ProblemOf(Joined(lines)));
}

TEST(JournalLogDamage, AStateIsNoLog) {
    EXPECT_EQ("log.json:1: format is \"orxemu-state\", not \"orxemu-log\"",
              ProblemOf("{\"format\":\"orxemu-state\",\"version\":2,\"byteOrder\":\"big\"}\n"));
}

// The checksum, in a line that is good in every other way.
TEST(JournalLogDamage, ALineHasToEndWithItsChecksum) {
    constexpr const char *kNone = "the line does not end with its crc";
    const std::string text = R"({"n":1,"request":99,"answer":{"errno":"ENOTTY"})";
    const std::string crc = CrcOf(text);
    const std::string blank = R"({ "n":1,"request":99,"answer":{"errno":"ENOTTY"})";
    const LineDamage cases[] = {
        {text + ",\"crc\":\"" + crc + "\"}", nullptr},
        {blank + ",\"crc\":\"" + CrcOf(blank) + "\"}", nullptr},
        {text + "}", kNone},
        {text + ",\"crc\":\"" + crc + "\"} ", kNone},
        {text + ",\"crc\":\"" + crc + "\" }", kNone},
        {text + ",\"crc\": \"" + crc + "\"}", kNone},
        {text + ", \"crc\":\"" + crc + "\"}", kNone},
        {text + ",\"crc\":\"" + crc.substr(1) + "\"}", kNone},
        {text + ",\"crc\":\"0" + crc + "\"}", kNone},
        {text + ",\"crc\":\"\"}", kNone},
        {text + ",\"crc\":12345678}", kNone},
        {text + ",\"crc\":\"1234567G\"}", kNone},
        {text + ",\"crc\":\"1234567A\"}", kNone},
        {text + ",\"crc\":\"\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\"}", kNone},
        {text + ",\"cr\\u0063\":\"" + crc + "\"}", kNone},
        {"{\"crc\":\"" + crc + "\"," + text.substr(1) + "}", kNone},
        {text + ",\"crc\":\"" + crc + "\",\"crc\":\"" + crc + "\"}", "\"crc\" is there twice"},
        {text + ",\"crc\":\"00000000\"}", "crc is \"00000000\", the text in front of it has \"@CRC\""},
        {blank + ",\"crc\":\"@CRC\"}", "crc is \"@CRC\", the text in front of it has \"@BLANK\""},
    };
    const auto filled = [&](std::string said) {
        for (const auto &[name, sum] : {std::pair("@CRC", crc), std::pair("@BLANK", CrcOf(blank))}) {
            for (std::size_t at; (at = said.find(name)) != std::string::npos;) {
                said.replace(at, std::string(name).size(), sum);
            }
        }
        return said;
    };
    for (const LineDamage &c : cases) {
        const std::string expected = c.what == nullptr ? "" : filled("log.json:2: " + std::string(c.what));
        const std::string end = LogEndLine({.requests = 1, .failedOpens = 0, .openDescriptors = 0});
        EXPECT_EQ(expected, ProblemOf(LogHeadLine(kOrder) + filled(c.line) + "\n" + end)) << c.line;
    }
}

// Bytes that no field shows: the text is good in every other way.
TEST(JournalLogDamage, BytesThatNoFieldShowsAreSigned) {
    struct Hidden {
        const char *what;
        std::size_t line;
        const char *member;
        std::size_t byte;
    };
    const Hidden cases[] = {
        {"index of an activation, unset", 3, "raw", 0},
        {"part of a port's record for another setting", 5, "raw", 4},
        {"reserved word of an FCB", 4, "fcbRaw", 24},
        {"counter of an operator", 4, "fcbRaw", 40 + 2 + 6},
        {"link of a node that is free", 4, "fcbRaw", 348 + 30 * 48 + 2},
        {"tag of an action", 4, "fcbRaw", 348 + 5 * 48 + 12 + 12},
        {"queue without a port, unset", 4, "fcbRaw", 272 + 57},
    };
    for (const Hidden &hidden : cases) {
        std::vector<std::string> lines = SampleLines(kOrder);
        std::string &line = lines[hidden.line - 1];
        const std::string member = "\"" + std::string(hidden.member) + "\":\"";
        const std::size_t at = line.find(member);
        ASSERT_NE(std::string::npos, at) << hidden.what;
        char &digit = line[at + member.size() + 2 * hidden.byte];
        digit = digit == '0' ? '1' : '0';
        const std::string problem = ProblemOf(Joined(lines));
        const std::string expected = "log.json:" + std::to_string(hidden.line) + ": crc is \"";
        EXPECT_EQ(expected, problem.substr(0, expected.size())) << hidden.what << ": " << problem;
        // Nothing else would have found it.
        line = Sealed(line);
        EXPECT_EQ("", ProblemOf(Joined(lines))) << hidden.what;
    }
}

TEST(JournalLogDamage, EveryChangedByteIsFoundInItsLine) {
    const std::string good = Joined(SampleLines(kOrder));
    std::mt19937 random(7);
    for (unsigned round = 0; round < 400; ++round) {
        std::string text = good;
        const std::size_t at = random() % text.size();
        text[at] = Flipped(text[at], static_cast<unsigned>(1 + random() % 255));
        const auto line = 1 + std::count(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        const std::string where = "log.json:" + std::to_string(line) + ": ";
        const std::string problem = ProblemOf(text);
        ASSERT_EQ(where, problem.substr(0, where.size()))
            << "byte " << at << ", '" << good[at] << "': " << problem;
    }
}

} // namespace
