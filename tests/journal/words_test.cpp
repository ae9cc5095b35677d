#include "emu/journal/words.h"

#include <gtest/gtest.h>

namespace {

using namespace orxemu::journal;

constexpr std::uint8_t kBytes[] = {0x01, 0x02, 0x83, 0x04, 0x05};

TEST(JournalWords, LoadsEveryWidthInBothOrders) {
    EXPECT_EQ(0x83u, Load(kBytes, 2, 1, ByteOrder::Big));
    EXPECT_EQ(0x83u, Load(kBytes, 2, 1, ByteOrder::Little));
    EXPECT_EQ(0x0283u, Load(kBytes, 1, 2, ByteOrder::Big));
    EXPECT_EQ(0x8302u, Load(kBytes, 1, 2, ByteOrder::Little));
    EXPECT_EQ(0x02830405u, Load(kBytes, 1, 4, ByteOrder::Big));
    EXPECT_EQ(0x05048302u, Load(kBytes, 1, 4, ByteOrder::Little));
}

TEST(JournalWords, StoresEveryWidthInBothOrdersAndNothingBeside) {
    Bytes bytes(6, 0xEE);
    Store(bytes, 1, 4, ByteOrder::Big, 0x01020304);
    EXPECT_EQ((Bytes{0xEE, 1, 2, 3, 4, 0xEE}), bytes);
    Store(bytes, 1, 4, ByteOrder::Little, 0x01020304);
    EXPECT_EQ((Bytes{0xEE, 4, 3, 2, 1, 0xEE}), bytes);
    Store(bytes, 2, 2, ByteOrder::Big, 0x0506);
    EXPECT_EQ((Bytes{0xEE, 4, 5, 6, 1, 0xEE}), bytes);
    Store(bytes, 2, 2, ByteOrder::Little, 0x0506);
    EXPECT_EQ((Bytes{0xEE, 4, 6, 5, 1, 0xEE}), bytes);
    Store(bytes, 3, 1, ByteOrder::Big, 0x07);
    EXPECT_EQ((Bytes{0xEE, 4, 6, 7, 1, 0xEE}), bytes);
}

TEST(JournalWords, HostOrderIsTheProcessors) {
    const std::uint32_t word = 0x01020304;
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&word);
    EXPECT_EQ(word, Load({bytes, sizeof word}, 0, 4, kHostOrder));
}

TEST(JournalWords, OrdersHaveNames) {
    EXPECT_STREQ("big", NameOf(ByteOrder::Big));
    EXPECT_STREQ("little", NameOf(ByteOrder::Little));
}

TEST(JournalWords, HexIsLowerCaseAndReadInEitherCase) {
    EXPECT_EQ("00017fa5ff", ToHex(Bytes{0x00, 0x01, 0x7F, 0xA5, 0xFF}));
    EXPECT_EQ("", ToHex({}));
    Bytes bytes;
    EXPECT_TRUE(FromHex("00aAfF19", bytes));
    EXPECT_EQ((Bytes{0x00, 0xAA, 0xFF, 0x19}), bytes);
    EXPECT_TRUE(FromHex("", bytes));
    EXPECT_TRUE(bytes.empty());
}

TEST(JournalWords, TextThatIsNoHexIsRefusedAndChangesNothing) {
    for (const char *text : {"0", "0g", "g0", " 0", "0x10", "00 ", "0:", "/0", "@0", "`0", "\xC3\xA9"}) {
        Bytes bytes{1, 2};
        EXPECT_FALSE(FromHex(text, bytes)) << text;
        EXPECT_EQ((Bytes{1, 2}), bytes) << text;
    }
}

} // namespace
