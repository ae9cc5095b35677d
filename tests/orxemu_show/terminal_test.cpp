// Columns, widths and colours.
#include "emu/tool/terminal.h"

#include <gtest/gtest.h>

namespace {

using namespace orxemu::tool;

struct WidthCase {
    const char *text;
    std::size_t width;
};

TEST(OrxemuTerminal, EveryCodePointIsAColumn) {
    constexpr WidthCase kCases[] = {
        {"", 0},         {"abc", 3},      {"a → b", 5}, {"ü", 1},    {"\xF0\x9F\x99\x82", 1},
        {"\xE2\x86", 2}, {"\x80\x80", 2}, {"\xC3(", 2}, {"\xFF", 1},
    };
    for (const WidthCase &c : kCases) {
        EXPECT_EQ(DisplayWidth(c.text), c.width) << c.text;
    }
}

TEST(OrxemuTerminal, ColumnsAreAsWideAsTheirWidestCell) {
    Columns columns;
    columns.AddRow({{"9", Colour::Plain, true}, {"a → b"}, {"x"}});
    columns.AddRow({{"10", Colour::Plain, true}, {"abc"}, {"yy"}});
    columns.AddLine("a line that widens no column");
    columns.AddRow({{"11", Colour::Plain, true}, {"the last cell of a row widens no column"}, {""}});
    columns.AddRow({{"12", Colour::Plain, true}, {""}, {"z"}});
    EXPECT_EQ(columns.Text(false), " 9  a → b  x\n"
                                   "10  abc    yy\n"
                                   "a line that widens no column\n"
                                   "11  the last cell of a row widens no column\n"
                                   "12         z\n");
}

TEST(OrxemuTerminal, ColoursWidenNothing) {
    Columns columns;
    columns.AddRow({{"a", Colour::Bold}, {"b", Colour::Red}});
    columns.AddRow({{"ccc", Colour::Bold}, {"d"}});
    EXPECT_EQ(columns.Text(true), "\x1b[1ma\x1b[0m    \x1b[31mb\x1b[0m\n"
                                  "\x1b[1mccc\x1b[0m  d\n");
    EXPECT_EQ(columns.Text(false), "a    b\nccc  d\n");
}

struct ColourCase {
    bool off;
    bool isTerminal;
    const char *noColor;
    bool colours;
};

TEST(OrxemuTerminal, ColoursAreForTerminalsOfUsersWhoWantThem) {
    constexpr ColourCase kCases[] = {
        {false, true, nullptr, true}, {false, true, "", true},      {false, true, "1", false},
        {false, true, "0", false},    {true, true, nullptr, false}, {false, false, nullptr, false},
        {false, false, "", false},
    };
    for (const ColourCase &c : kCases) {
        EXPECT_EQ(UseColours({c.off}, c.isTerminal, c.noColor), c.colours)
            << "off " << c.off << ", terminal " << c.isTerminal << ", NO_COLOR "
            << (c.noColor == nullptr ? "unset" : c.noColor);
    }
}

TEST(OrxemuTerminal, ControlCharactersAreShown) {
    EXPECT_EQ(Printable("a\x1b[31m\n\x7f"), "a\\x1b[31m\\x0a\\x7f");
    EXPECT_EQ(Printable("→ ü \xC2\x9B"), "→ ü \\xc2\\x9b");
    EXPECT_EQ(Printable(std::string_view("\0", 1)), "\\x00");
}

} // namespace
