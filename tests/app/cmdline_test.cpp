// The argument readers and the help.

#include "app/cmdline.h"
#include "tests/app/app_test.h"

#include <cerrno>

namespace app_test {
namespace {

using app::CmdValue;
using app::getCmdArgs;
using app::getNumericArg;
using app::getStringArg;
using app::printHelp;

constexpr int kUntouched = -77;

// For comparisons of where a text lies.
const void *Place(const char *text) {
    return text;
}

// ---- getNumericArg -------------------------------------------------------------------------------------

TEST(GetNumericArg, ReadsTheArgumentBehindTheCursor) {
    const struct {
        const char *text;
        int value;
    } rows[] = {
        {"0", 0},
        {"3", 3},
        {"03", 3},
        {"0x3", 3},
        {"0X1f", 31},
        {"017", 15},
        {"-1", -1},
        {"+5", 5},
        {"-0x10", -16},
        {"  7", 7},
        {"5abc", 5},
        {"08", 0}, // 8 is no octal digit
        {"abc", 0},
        {"", 0},
        {"2147483647", 2147483647},
        {"-2147483648", -2147483647 - 1},
        {"0x7FFFFFFF", 2147483647},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string("argument \"") + row.text + "\"");
        Args args({"-t", row.text});
        int value = kUntouched;
        int result = kUntouched;
        errno = ENOENT; // an old error does not count
        const std::string out =
            test::Capture([&] { result = getNumericArg(&args.count, &args.cursor, &value); });
        EXPECT_EQ(result, 0);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(out, "");
        EXPECT_EQ(args.count, 1);
        EXPECT_EQ(args.Moved(), 1);
    }
}

// The value is shown and stored all the same.
TEST(GetNumericArg, RefusesWhatDoesNotFit32Bits) {
    const struct {
        const char *text;
        int value;
        const char *line;
    } rows[] = {
        {"99999999999999999999", 2147483647, "Numerical result out of range: 2147483647"},
        {"-99999999999999999999", -2147483647 - 1, "Numerical result out of range: -2147483648"},
        {"9223372036854775807", 2147483647, "Numerical result out of range: 2147483647"},
        {"2147483648", 2147483647, "Numerical result out of range: 2147483647"},
        {"4294967295", 2147483647, "Numerical result out of range: 2147483647"},
        {"4294967296", 2147483647, "Numerical result out of range: 2147483647"},
        {"-2147483649", -2147483647 - 1, "Numerical result out of range: -2147483648"},
        {"0x80000000", 2147483647, "Numerical result out of range: 2147483647"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string("argument ") + row.text);
        Args args({"-t", row.text});
        int value = kUntouched;
        int result = kUntouched;
        const std::string out =
            test::Capture([&] { result = getNumericArg(&args.count, &args.cursor, &value); });
        EXPECT_EQ(result, -1);
        EXPECT_EQ(value, row.value);
        EXPECT_EQ(out, row.line);
        EXPECT_EQ(args.count, 1);
        EXPECT_EQ(args.Moved(), 1);
    }
}

TEST(GetNumericArg, MissesAnArgumentBehindTheLastOne) {
    Args args({"-t"});
    int value = kUntouched;
    int result = kUntouched;
    const std::string out = test::Capture([&] { result = getNumericArg(&args.count, &args.cursor, &value); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(value, kUntouched);
    EXPECT_EQ(out, "Missing argument");
    EXPECT_EQ(args.count, 0);
    EXPECT_EQ(args.Moved(), 0);
}

// ---- getStringArg --------------------------------------------------------------------------------------

TEST(GetStringArg, GivesTheArgumentItself) {
    Args args({"-n", "99999999999999999999"});
    char *value = nullptr;
    int result = kUntouched;
    const std::string out = test::Capture([&] { result = getStringArg(&args.count, &args.cursor, &value); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Place(value), args.Text(1));
    EXPECT_EQ(out, "");
    EXPECT_EQ(args.count, 1);
    EXPECT_EQ(args.Moved(), 1);
}

TEST(GetStringArg, MissesAnArgumentBehindTheLastOne) {
    Args args({"-n"});
    char *value = nullptr;
    int result = kUntouched;
    const std::string out = test::Capture([&] { result = getStringArg(&args.count, &args.cursor, &value); });
    EXPECT_EQ(result, -1);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(out, "Missing argument");
    EXPECT_EQ(args.count, 0);
    EXPECT_EQ(args.Moved(), 0);
}

// ---- getCmdArgs ----------------------------------------------------------------------------------------

struct CmdArgs {
    CmdArgs(std::initializer_list<const char *> list, const char *mask) : args(list) {
        for (CmdValue &value : values) {
            value.text = nullptr;
            value.number = kUntouched;
        }
        out = test::Capture([&] { result = getCmdArgs(&args.count, &args.cursor, values, mask); });
    }

    Args args;
    CmdValue values[5];
    int result = kUntouched;
    std::string out;
};

TEST(GetCmdArgs, ReadsOneNumber) {
    const CmdArgs got({"-t", "0x5", "7"}, "d");
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.values[0].number, 5);
    EXPECT_EQ(got.values[1].number, kUntouched);
    EXPECT_EQ(got.args.count, 2);
    EXPECT_EQ(got.args.Moved(), 1);
    EXPECT_EQ(got.out, "");
}

TEST(GetCmdArgs, ReadsOneText) {
    CmdArgs got({"-n", "name"}, "s");
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(Place(got.values[0].text), got.args.Text(1));
    EXPECT_EQ(got.values[1].number, kUntouched);
    EXPECT_EQ(got.args.Moved(), 1);
    EXPECT_EQ(got.out, "");
}

TEST(GetCmdArgs, FillsTheSlotsInTheOrderOfTheMask) {
    CmdArgs numberFirst({"-x", "12", "name"}, "ds");
    EXPECT_EQ(numberFirst.result, 0);
    EXPECT_EQ(numberFirst.values[0].number, 12);
    EXPECT_EQ(Place(numberFirst.values[1].text), numberFirst.args.Text(2));
    EXPECT_EQ(numberFirst.args.Moved(), 2);

    CmdArgs textFirst({"-x", "12", "34"}, "sd");
    EXPECT_EQ(textFirst.result, 0);
    EXPECT_EQ(Place(textFirst.values[0].text), textFirst.args.Text(1));
    EXPECT_EQ(textFirst.values[1].number, 34);
}

TEST(GetCmdArgs, ReadsFourArgumentsAtMost) {
    for (const char *mask : {"dddd", "ddddd", "ddddx"}) {
        SCOPED_TRACE(mask);
        const CmdArgs got({"-x", "1", "2", "3", "4", "5"}, mask);
        EXPECT_EQ(got.result, 0);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(got.values[i].number, i + 1);
        }
        EXPECT_EQ(got.values[4].number, kUntouched);
        EXPECT_EQ(got.args.count, 2);
        EXPECT_EQ(got.args.Moved(), 4);
        EXPECT_EQ(got.out, "");
    }
}

TEST(GetCmdArgs, ReadsNothingForAnEmptyMask) {
    const CmdArgs got({"-t", "5"}, "");
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.values[0].number, kUntouched);
    EXPECT_EQ(got.args.count, 2);
    EXPECT_EQ(got.args.Moved(), 0);
    EXPECT_EQ(got.out, "");
}

TEST(GetCmdArgs, RefusesUnknownMaskCharacters) {
    const struct {
        const char *mask;
        long moved;
        const char *line;
    } rows[] = {
        {"x", 0, "Internal Error: cmdMask[0] = x"},
        {"D", 0, "Internal Error: cmdMask[0] = D"},
        {"d%", 1, "Internal Error: cmdMask[1] = %"},
        {"dsdx", 3, "Internal Error: cmdMask[3] = x"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.mask);
        const CmdArgs got({"-x", "1", "2", "3", "4"}, row.mask);
        EXPECT_EQ(got.result, -1);
        EXPECT_EQ(got.out, row.line);
        EXPECT_EQ(got.args.Moved(), row.moved);
    }
}

TEST(GetCmdArgs, StopsAtTheFirstReaderThatFails) {
    const CmdArgs missing({"-x", "1"}, "ddd");
    EXPECT_EQ(missing.result, -1);
    EXPECT_EQ(missing.out, "Missing argument");
    EXPECT_EQ(missing.values[0].number, 1);
    EXPECT_EQ(missing.values[1].number, kUntouched);
    EXPECT_EQ(missing.args.count, 0);

    const CmdArgs outOfRange({"-x", "2147483648", "2"}, "dd");
    EXPECT_EQ(outOfRange.result, -1);
    EXPECT_EQ(outOfRange.out, "Numerical result out of range: 2147483647");
    EXPECT_EQ(outOfRange.values[1].number, kUntouched);
    EXPECT_EQ(outOfRange.args.count, 2);

    const CmdArgs missingText({"-x", "1"}, "ds");
    EXPECT_EQ(missingText.result, -1);
    EXPECT_EQ(missingText.out, "Missing argument");
}

// ---- Help ----------------------------------------------------------------------------------------------

} // namespace
} // namespace app_test
