// What the program prints on its two streams, and its exit status, line by line.
//
// The goldens are the same for every processor. Where a line prints a raw word whose bytes depend on the byte
// order, it gives both: "val<0x{little:000000c8,big:00c80000}>".
//
// With UPDATE_GOLDENS=1 in the environment the files are written instead of compared; lines that give both
// byte orders are kept where they fit what was printed.

#include "tests/support/capture.h"
#include "tests/support/child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

enum class On { kNoDevice, kStaticNoDevice, kStandIn, kStandInLevel3 };

struct ProgramRun {
    const char *name; // of the run; the golden's too, unless another run's golden is given
    On on;
    std::vector<std::string> args;
    int status;
    const char *sameAs = nullptr; // prints the same as that run

    std::string Golden() const { return sameAs != nullptr ? sameAs : name; }
};

std::ostream &operator<<(std::ostream &stream, const ProgramRun &run) {
    return stream << run.name;
}

constexpr int kUsageError = 255;

const ProgramRun kRuns[] = {
    {"standin_test0", On::kStandIn, {"-t", "0"}, 0},
    {"standin_test1", On::kStandIn, {"-t", "1"}, 0},
    {"standin_test2", On::kStandIn, {"-t", "2"}, 0},
    {"standin_test3", On::kStandIn, {"-t", "3"}, 0},
    {"standin_test4", On::kStandIn, {"-t", "4"}, 0},
    {"standin_test5", On::kStandIn, {"-t", "5"}, 0},

    // The exit status is 0 whatever the library says.
    {"nodevice_test0", On::kNoDevice, {"-t", "0"}, 0},
    {"nodevice_test1", On::kNoDevice, {"-t", "1"}, 0},
    {"nodevice_test2", On::kNoDevice, {"-t", "2"}, 0},
    {"nodevice_test3", On::kNoDevice, {"-t", "3"}, 0},
    {"nodevice_test4", On::kNoDevice, {"-t", "4"}, 0},
    {"nodevice_test5", On::kNoDevice, {"-t", "5"}, 0},

#ifdef ORXTEST_STATIC
    {"static_test0", On::kStaticNoDevice, {"-t", "0"}, 0, "nodevice_test0"},
    {"static_test3", On::kStaticNoDevice, {"-t", "3"}, 0, "nodevice_test3"},
    {"static_none", On::kStaticNoDevice, {}, kUsageError, "args_none"},
#endif

    {"level3_test0", On::kStandInLevel3, {"-t", "0"}, 0},
    {"level3_test1", On::kStandInLevel3, {"-t", "1"}, 0},
    {"level3_test2", On::kStandInLevel3, {"-t", "2"}, 0},
    {"level3_test3", On::kStandInLevel3, {"-t", "3"}, 0},
    {"level3_test4", On::kStandInLevel3, {"-t", "4"}, 0},
    {"level3_test5", On::kStandInLevel3, {"-t", "5"}, 0},

    {"args_none", On::kStandIn, {}, kUsageError},
    {"args_option_only", On::kStandIn, {"-t"}, kUsageError},
    // A lone number is taken as the option word.
    {"args_number_only", On::kStandIn, {"5"}, kUsageError, "args_option_only"},

    {"args_6", On::kStandIn, {"-t", "6"}, kUsageError},
    {"args_7", On::kStandIn, {"-t", "7"}, kUsageError},
    {"args_minus_1", On::kStandIn, {"-t", "-1"}, kUsageError},
    {"args_octal_6", On::kStandIn, {"-t", "06"}, kUsageError, "args_6"},
    {"args_hex_6", On::kStandIn, {"-t", "0x6"}, kUsageError, "args_6"},
    {"args_octal_10", On::kStandIn, {"-t", "010"}, kUsageError},
    {"args_highest", On::kStandIn, {"-t", "2147483647"}, kUsageError},
    {"args_lowest", On::kStandIn, {"-t", "-2147483648"}, kUsageError},

    // What does not fit 32 bits is out of range on every machine.
    {"args_above_range", On::kStandIn, {"-t", "99999999999999999999"}, kUsageError},
    {"args_below_range", On::kStandIn, {"-t", "-99999999999999999999"}, kUsageError},
    {"args_highest_plus_1", On::kStandIn, {"-t", "2147483648"}, kUsageError, "args_above_range"},
    {"args_lowest_minus_1", On::kStandIn, {"-t", "-2147483649"}, kUsageError, "args_below_range"},
    {"args_32_bits_set", On::kStandIn, {"-t", "0xFFFFFFFF"}, kUsageError, "args_above_range"},
    {"args_33_bits", On::kStandIn, {"-t", "4294967297"}, kUsageError, "args_above_range"},
    {"args_64_bits", On::kStandIn, {"-t", "9223372036854775807"}, kUsageError, "args_above_range"},

    // The option word is not looked at, numbers are decimal, octal or hexadecimal, a word that is no number
    // counts as 0, and the text behind a number and further arguments are ignored.
    {"args_foo_hex_5", On::kStandIn, {"foo", "0x5"}, 0, "standin_test5"},
    {"args_empty_word", On::kStandIn, {"", "2"}, 0, "standin_test2"},
    {"args_octal_3", On::kStandIn, {"-t", "03"}, 0, "standin_test3"},
    {"args_hex_3", On::kStandIn, {"-t", "0x3"}, 0, "standin_test3"},
    {"args_no_octal_digit", On::kStandIn, {"-t", "08"}, 0, "standin_test0"},
    {"args_abc", On::kStandIn, {"-t", "abc"}, 0, "standin_test0"},
    {"args_empty_number", On::kStandIn, {"-t", ""}, 0, "standin_test0"},
    {"args_text_behind", On::kStandIn, {"-t", " 4x"}, 0, "standin_test4"},
    {"args_further", On::kStandIn, {"-t", "1", "6", "-t", "abc"}, 0, "standin_test1"},
};

std::string Path(const std::string &name) {
    return std::string(GOLDENS_DIR) + "/" + name + ".txt";
}

// A run that says nothing on standard error has no file for it.
bool Read(const std::string &path, std::string &text) {
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), {});
    return file.is_open();
}

void Write(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    ASSERT_TRUE(file.flush()) << path;
}

bool Updating() {
    const char *const update = std::getenv("UPDATE_GOLDENS");
    return update != nullptr && std::string(update) == "1";
}

// A line or a whole golden as this processor prints it.
std::string InThisByteOrder(const std::string &golden) {
    constexpr std::string_view kLittle = "{little:";
    constexpr std::string_view kBig = ",big:";
    std::string text;
    std::size_t done = 0;
    for (;;) {
        const std::size_t open = golden.find(kLittle, done);
        const std::size_t middle = golden.find(kBig, open);
        const std::size_t close = golden.find('}', middle);
        if (close == std::string::npos) {
            return text + golden.substr(done);
        }
        text += golden.substr(done, open - done);
        const std::size_t little = open + kLittle.size();
        const std::size_t big = middle + kBig.size();
        text += std::endian::native == std::endian::big ? golden.substr(big, close - big)
                                                        : golden.substr(little, middle - little);
        done = close + 1;
    }
}

// What was printed, with the lines of the old golden that give both byte orders.
std::string NewGolden(const std::string &oldGolden, const std::string &printed) {
    std::map<std::string, std::string> bothOrders;
    for (const std::string &line : test::Lines(oldGolden)) {
        if (InThisByteOrder(line) != line) {
            bothOrders[InThisByteOrder(line)] = line;
        }
    }
    std::string golden;
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);) {
        const auto found = bothOrders.find(line);
        golden += found != bothOrders.end() ? found->second : line;
        golden += lines.eof() ? "" : "\n";
    }
    return golden;
}

// "" when the texts are the same, else the first line that differs.
std::string FirstDifference(const std::string &expected, const std::string &actual) {
    if (expected == actual) {
        return "";
    }
    const std::vector<std::string> want = test::Lines(expected);
    const std::vector<std::string> have = test::Lines(actual);
    const std::size_t common = std::min(want.size(), have.size());
    for (std::size_t i = 0; i <= common; ++i) {
        const std::string wantLine = i < want.size() ? "\"" + want[i] + "\"" : "the end";
        const std::string haveLine = i < have.size() ? "\"" + have[i] + "\"" : "the end";
        if (wantLine != haveLine) {
            std::string text = "line " + std::to_string(i + 1);
            text += ":\n  expected " + wantLine;
            text += "\n  printed  " + haveLine;
            return text;
        }
    }
    return "line " + std::to_string(common) + ": one text ends in a line end, the other does not";
}

const char *ProgramOf(On on) {
#ifdef ORXTEST_STATIC
    if (on == On::kStaticNoDevice) {
        return ORXTEST_STATIC;
    }
#endif
    return on == On::kStandInLevel3 ? ORXTEST_LEVEL3 : ORXTEST;
}

class Orxtest : public ::testing::TestWithParam<ProgramRun> {};

TEST_P(Orxtest, PrintsItsGolden) {
    const ProgramRun &run = GetParam();
    const bool noDevice = run.on == On::kNoDevice || run.on == On::kStaticNoDevice;
    if (noDevice && std::filesystem::exists("/dev/pktorx")) {
        GTEST_SKIP() << "this machine has the device";
    }
    const test::ChildResult result =
        test::RunChild(test::CommandOf(ProgramOf(run.on), run.args), noDevice ? "" : STAND_IN);
    EXPECT_EQ(result.status, run.status);
    const std::string out = test::Mask(result.out);
    const std::string err = test::Mask(result.err);
    const std::string outPath = Path(run.Golden());
    const std::string errPath = Path(run.Golden() + ".err");

    std::string expectedOut;
    std::string expectedErr;
    const bool haveGolden = Read(outPath, expectedOut);
    Read(errPath, expectedErr);

    if (Updating() && run.sameAs == nullptr) {
        Write(outPath, NewGolden(expectedOut, out));
        if (err.empty()) {
            std::filesystem::remove(errPath);
        } else {
            Write(errPath, err);
        }
        GTEST_SKIP() << "golden written";
    }
    ASSERT_TRUE(haveGolden) << "no golden " << outPath;
    const std::string outDifference = FirstDifference(InThisByteOrder(expectedOut), out);
    const std::string errDifference = FirstDifference(expectedErr, err);
    EXPECT_TRUE(outDifference.empty()) << "standard output, " << outPath << ", " << outDifference;
    EXPECT_TRUE(errDifference.empty()) << "standard error, " << errPath << ", " << errDifference;
}

INSTANTIATE_TEST_SUITE_P(Runs, Orxtest, ::testing::ValuesIn(kRuns),
                         [](const ::testing::TestParamInfo<ProgramRun> &row) { return row.param.name; });

// ---- The byte orders of a golden -----------------------------------------------------------------------

constexpr const char *kOwnWord = std::endian::native == std::endian::big ? "00c80000" : "000000c8";

TEST(InThisByteOrder, TakesTheWordOfThisProcessor) {
    EXPECT_EQ(InThisByteOrder("a<0x{little:000000c8,big:00c80000}> b\n"),
              "a<0x" + std::string(kOwnWord) + "> b\n");
    EXPECT_EQ(InThisByteOrder("a {b} <1>\n"), "a {b} <1>\n");
}

TEST(NewGolden, KeepsLinesOfBothByteOrders) {
    const std::string both = "a<0x{little:000000c8,big:00c80000}>";
    const std::string own = InThisByteOrder(both);
    EXPECT_EQ(NewGolden("x\n" + both + "\n", own + "\ny\n" + own), both + "\ny\n" + both);
    EXPECT_EQ(NewGolden(both + "\n", "a<0x00000001>\n"), "a<0x00000001>\n");
    EXPECT_EQ(NewGolden("", own + "\n"), own + "\n");
}

// ---- The comparison itself -----------------------------------------------------------------------------

TEST(FirstDifference, NamesTheFirstLineThatDiffers) {
    EXPECT_EQ(FirstDifference("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(FirstDifference("a\nb\nc\n", "a\nx\ny\n"), "line 2:\n  expected \"b\"\n  printed  \"x\"");
    EXPECT_EQ(FirstDifference("a\n", "a\nb\n"), "line 2:\n  expected the end\n  printed  \"b\"");
    EXPECT_EQ(FirstDifference("a\nb\n", "a\n"), "line 2:\n  expected \"b\"\n  printed  the end");
    EXPECT_EQ(FirstDifference("a\nb", "a\nb\n"), "line 2: one text ends in a line end, the other does not");
}

} // namespace
