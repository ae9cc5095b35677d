// The corners of data dumps, one test each.
#include "tests/data_dump/data_dump_test.h"

#include <cstring>

namespace data_dump {
namespace {

using DataDumpEdgeCases = DataDumpTest;

// A word of four equal bytes reads the same in every byte order.
Bytes Words(std::size_t size) {
    Bytes block(size);
    for (std::size_t i = 0; i < size; ++i) {
        block[i] = static_cast<std::uint8_t>(0x11 * (1 + i / 4));
    }
    return block;
}

TEST_F(DataDumpEdgeCases, EleventhQueueFailsAndADeletedOneIsTakenAgain) {
    CreateQueues(10);
    std::int32_t created = 0;
    EXPECT_EQ(test::CaptureMasked([&] { created = qel_dataDumpCreateQ("eleventh"); }),
              "[ERROR qellog] qel_dataDumpCreateQ,#: Can not create dataDump queue. Max. #qids reached.\n\n");
    EXPECT_EQ(created, -1);
    qel_dataDumpDeleteQ(6);
    qel_dataDumpDeleteQ(3);
    EXPECT_EQ(qel_dataDumpCreateQ("again"), 3);
    EXPECT_EQ(qel_dataDumpCreateQ("again"), 6);
}

TEST_F(DataDumpEdgeCases, TwentyBytesLeaveTheEndMarkerOnTheLineOfTheFifthWord) {
    ASSERT_EQ(qel_dataDumpCreateQ("q"), 0);
    EXPECT_EQ(Dump(0, 0, "twenty", Words(20)), "---DataDump Start---\n"
                                               "qID: q, DataDump ID: twenty, numBytes: 20\n"
                                               "0000: 0x11111111 0x22222222 0x33333333 0x44444444\n"
                                               "0010: 0x55555555 ---DataDump End---\n");
}

TEST_F(DataDumpEdgeCases, EighteenBytesEndWithTheFirstTwoOfTheBlock) {
    ASSERT_EQ(qel_dataDumpCreateQ("q"), 0);
    EXPECT_EQ(Dump(0, 0, "eighteen", Words(18)), "---DataDump Start---\n"
                                                 "qID: q, DataDump ID: eighteen, numBytes: 18\n"
                                                 "0000: 0x11111111 0x22222222 0x33333333 0x44444444\n"
                                                 "0x1111\n"
                                                 "---DataDump End---\n");
}

TEST_F(DataDumpEdgeCases, QueueThatIsNotRegisteredShowsMarkersAndTheError) {
    EXPECT_EQ(Dump(4, 0, "d", Words(20)), "---DataDump Start---\n"
                                          "[ERROR qellog] qel_dataDump,#: DataDump qID 4 not registered.\n\n"
                                          "---DataDump End---\n");
}

} // namespace
} // namespace data_dump
