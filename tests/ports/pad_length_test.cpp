// The length that the frames of a port are padded to: ports 0 to 7, one fewer than the other settings have.
#include "tests/support/calls.h"

namespace ports_test::pad_length {

using namespace calls;

namespace {

const std::string kSet = "QIR_Set_PortPadLen";
const std::string kGet = "QIR_Get_PortPadLen";

class PadLengthTest : public test::LibraryTest {};

Op Set(u32 srcPort, u32 padLen) {
    return [=] { return QIR_Set_PortPadLen(srcPort, padLen); };
}

std::string SetParams(u32 srcPort, u32 padLen) {
    return Inf(kSet,
               "Params: srcPort<" + std::to_string(srcPort) + "> padLen<" + std::to_string(padLen) + ">");
}

std::string GetParams(u32 srcPort) {
    return Inf(kGet, "Params: srcPort<" + std::to_string(srcPort) + "> ");
}

Request PadRecord(u32 srcPort, u32 padLen) {
    return {19, 32, {Word(0, 4), Word(24, srcPort), Word(28, padLen)}};
}

void ExpectSet(u32 level, u32 srcPort, u32 given, u32 kept) {
    SCOPED_TRACE("port " + std::to_string(srcPort) + ", length " + std::to_string(given));
    Hardware expected;
    expected->portPadLen[srcPort] = kept;
    ExpectDone(level, Set(srcPort, given), SetParams(srcPort, given), {PadRecord(srcPort, kept)},
               {Place(qirCtxt_gp->portPadLenTbl[srcPort])});
    EXPECT_EQ(qirCtxt_gp->portPadLenTbl[srcPort], kept);
    EXPECT_TRUE(expected.IsNow());
}

TEST_F(PadLengthTest, EveryPortIsSentAndKept) {
    for (u32 srcPort = 0; srcPort < 8; ++srcPort) {
        for (const u32 padLen : {255u, 0u, 64u, 65u, 128u, 254u}) {
            ExpectSet(2, srcPort, padLen, padLen);
        }
        ExpectSet(2, srcPort, 63, 0);
    }
}

// The line shows the length that the caller gave; that it counts as 0 is not said.
TEST_F(PadLengthTest, LinesAtEveryLevel) {
    AtEveryLevel([](u32 level) {
        ExpectSet(level, 7, 64, 64);
        ExpectSet(level, 7, 1, 0);
        ExpectSet(level, 7, 255, 255);
        ExpectSet(level, 7, 255, 255); // the value that is there already is sent once more
        ExpectSet(level, 7, 62, 0);
    });
}

TEST_F(PadLengthTest, EveryLengthBelow64CountsAsZero) {
    for (u32 padLen = 0; padLen < 256; ++padLen) {
        SCOPED_TRACE(padLen);
        const u32 kept = padLen < 64 ? 0 : padLen;
        ASSERT_EQ(QIR_Set_PortPadLen(5, 200), 0u);
        EXPECT_EQ(QIR_Set_PortPadLen(5, padLen), 0u);
        ExpectSeen(*orxemu_request(orxemu_numRequests() - 1), PadRecord(5, kept));
        EXPECT_EQ(qirCtxt_gp->portPadLenTbl[5], kept);
        EXPECT_EQ(orxemu_state()->portPadLen[5], kept);
    }
}

TEST_F(PadLengthTest, GetterYieldsTheLengthThatWasKept) {
    for (u32 srcPort = 0; srcPort < 8; ++srcPort) {
        ASSERT_EQ(QIR_Set_PortPadLen(srcPort, 60 + srcPort), 0u);
    }
    AtEveryLevel([](u32 level) {
        for (u32 srcPort = 0; srcPort < 8; ++srcPort) {
            SCOPED_TRACE(srcPort);
            u32 read = kAllOnes;
            ExpectRead(
                level, [&] { return QIR_Get_PortPadLen(srcPort, &read); }, GetParams(srcPort));
            EXPECT_EQ(read, srcPort < 4 ? 0 : 60 + srcPort);
        }
    });
}

TEST_F(PadLengthTest, LinesToTheBlank) {
    u32 read = 0;
    ExpectUnmasked([] { return QIR_Set_PortPadLen(3, 9); },
                   "[INF orxapi] QIR_Set_PortPadLen: Params: srcPort<3> padLen<9>\n");
    ExpectUnmasked([&] { return QIR_Get_PortPadLen(3, &read); },
                   "[INF orxapi] QIR_Get_PortPadLen: Params: srcPort<3> \n");
}

} // namespace
} // namespace ports_test::pad_length
