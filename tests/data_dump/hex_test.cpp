// Hexadecimal dumps: words in the processor's order, four to a line; a part line that words alone do not end;
// a byte step that starts over at the block's first byte.
#include "tests/data_dump/data_dump_test.h"

#include <bit>
#include <cstring>

namespace data_dump {
namespace {

class DataDumpHex : public DataDumpTest {
  protected:
    void SetUp() override {
        DataDumpTest::SetUp();
        ASSERT_EQ(qel_dataDumpCreateQ("hex"), 0);
    }

    // What stands between the header and the end marker.
    static std::string HexOf(const Bytes &block) {
        const std::string text = Dump(0, 0, "block", block);
        const std::string head = kStart + Header("hex", "block", block.size());
        const std::string tail = kEnd;
        EXPECT_EQ(text.substr(0, head.size()), head);
        EXPECT_GE(text.size(), head.size() + tail.size());
        EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
        return text.substr(head.size(), text.size() - head.size() - tail.size());
    }
};

TEST_F(DataDumpHex, EveryLengthUpTo40) {
    for (std::size_t size = 0; size <= 40; ++size) {
        for (const unsigned seed : {0x8Fu, 0x00u, 0xF3u}) {
            SCOPED_TRACE(std::to_string(size) + " bytes from " + Hex(seed, 2) + " on");
            const Bytes block = Pattern(size, seed);
            EXPECT_EQ(HexOf(block), HexDump(block));
        }
    }
}

// The bytes of a word stand in the processor's order, those of the byte step in that of the block.
TEST_F(DataDumpHex, LinesToTheBlank) {
    const bool big = std::endian::native == std::endian::big;
    const Bytes block = {0x01, 0x02, 0x03, 0x04, 0x15, 0x16, 0x17, 0x18, 0xF9, 0xFA, 0xFB, 0xFC,
                         0x00, 0x00, 0x00, 0x0D, 0xA0, 0xB0, 0xC0, 0xD0, 0x00, 0x00, 0x00, 0x00};
    const std::string one = big ? "0x01020304" : "0x04030201";
    const std::string two = big ? "0x15161718" : "0x18171615";
    const std::string full =
        "0000: " + one + " " + two + (big ? " 0xf9fafbfc 0x0000000d\n" : " 0xfcfbfaf9 0x0d000000\n");
    const std::string five = big ? "0010: 0xa0b0c0d0 " : "0010: 0xd0c0b0a0 ";
    const struct {
        std::size_t size;
        std::string text;
    } rows[] = {
        {0, ""},
        {1, "0x01\n"},
        {2, "0x0102\n"},
        {3, "0x010203\n"},
        {4, "0000: " + one + " "},
        {5, "0000: " + one + " 0x01\n"},
        {7, "0000: " + one + " 0x010203\n"},
        {8, "0000: " + one + " " + two + " "},
        {10, "0000: " + one + " " + two + " 0x0102\n"},
        {16, full},
        {17, full + "0x01\n"},
        {18, full + "0x0102\n"},
        {19, full + "0x010203\n"},
        {20, full + five},
        {21, full + five + "0x01\n"},
        {24, full + five + "0x00000000 "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.size);
        EXPECT_EQ(HexOf(Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(row.size))),
                  row.text);
    }
}

TEST_F(DataDumpHex, BlockMayStartAnywhere) {
    const Bytes block = Pattern(39);
    for (std::size_t shift = 0; shift < 4; ++shift) {
        SCOPED_TRACE(shift);
        Bytes memory(shift + block.size());
        std::memcpy(memory.data() + shift, block.data(), block.size());
        const std::string text =
            test::Capture([&] { qel_dataDump(0, 0, "block", 39, memory.data() + shift); });
        EXPECT_EQ(text, kStart + Header("hex", "block", 39) + HexDump(block) + kEnd);
    }
}

TEST_F(DataDumpHex, EmptyBlockIsNotLookedAt) {
    EXPECT_EQ(test::Capture([] { qel_dataDump(0, 0, "block", 0, nullptr); }),
              kStart + Header("hex", "block", 0) + kEnd);
}

// An offset has at least four digits.
TEST_F(DataDumpHex, LongBlockGoesOnPastFourDigits) {
    const Bytes block = Pattern(0x10000 + 16 + 7);
    const std::string text = HexOf(block);
    EXPECT_EQ(text, HexDump(block));
    const std::vector<std::string> lines = test::Lines(text);
    ASSERT_EQ(lines.size(), 0x1002u);
    EXPECT_EQ(lines[0x00A].substr(0, 8), "00a0: 0x");
    EXPECT_EQ(lines[0xFFF].substr(0, 8), "fff0: 0x");
    EXPECT_EQ(lines[0x1000].substr(0, 9), "10000: 0x");
    EXPECT_EQ(lines[0x1001].substr(0, 9), "10010: 0x");
    EXPECT_EQ(lines[0x1001].substr(17), " 0x8f9ca9");
}

} // namespace
} // namespace data_dump
