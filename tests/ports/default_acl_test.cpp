// The default ACL type of a port: ports 0 to 8.
#include "tests/support/calls.h"

namespace ports_test {

using namespace calls;

namespace {

const std::string kSet = "QIR_Set_PortDefAcl";
const std::string kGet = "QIR_Get_PortDefAcl";

class DefaultAclTest : public test::LibraryTest {};

Op Set(u32 srcPort, u32 aclType) {
    return [=] { return QIR_Set_PortDefAcl(srcPort, aclType); };
}

std::string SetParams(u32 srcPort, u32 aclType) {
    return Inf(kSet,
               "Params: srcPort<" + std::to_string(srcPort) + "> aclType<" + std::to_string(aclType) + ">");
}

std::string GetParams(u32 srcPort, const std::string &ptr) {
    return Inf(kGet, "Params: srcPort<" + std::to_string(srcPort) + "> aclType_p<0x<" + ptr + ">>");
}

void ExpectSet(u32 level, u32 srcPort, u32 aclType) {
    SCOPED_TRACE("port " + std::to_string(srcPort) + ", type " + std::to_string(aclType));
    Hardware expected;
    expected->portDefAcl[srcPort] = aclType;
    ExpectDone(level, Set(srcPort, aclType), SetParams(srcPort, aclType),
               {{19, 32, {Word(0, 1), Word(4, srcPort), Word(8, aclType)}}},
               {Place(qirCtxt_gp->portDefAclTbl[srcPort])});
    EXPECT_EQ(qirCtxt_gp->portDefAclTbl[srcPort], aclType);
    EXPECT_TRUE(expected.IsNow());
}

TEST_F(DefaultAclTest, EveryPortAndTypeIsSentAndKept) {
    for (u32 srcPort = 0; srcPort < 9; ++srcPort) {
        for (const u32 aclType : {1u, 0u, 1u}) {
            ExpectSet(2, srcPort, aclType);
        }
    }
}

TEST_F(DefaultAclTest, LinesAtEveryLevel) {
    AtEveryLevel([](u32 level) {
        ExpectSet(level, 8, 1);
        ExpectSet(level, 8, 1); // the value that is there already is sent once more
        ExpectSet(level, 8, 0);
    });
}

TEST_F(DefaultAclTest, GetterYieldsTheTypeThatWasKept) {
    for (const u32 odd : {0u, 1u}) {
        for (u32 srcPort = 0; srcPort < 9; ++srcPort) {
            ASSERT_EQ(QIR_Set_PortDefAcl(srcPort, (srcPort + odd) % 2), 0u);
        }
        AtEveryLevel([odd](u32 level) {
            for (u32 srcPort = 0; srcPort < 9; ++srcPort) {
                SCOPED_TRACE(srcPort);
                u32 read = kAllOnes;
                ExpectRead(
                    level, [&] { return QIR_Get_PortDefAcl(srcPort, &read); }, GetParams(srcPort, "ptr"));
                EXPECT_EQ(read, (srcPort + odd) % 2);
            }
        });
    }
}

TEST_F(DefaultAclTest, LinesToTheBlank) {
    u32 read = 0;
    ExpectUnmasked([] { return QIR_Set_PortDefAcl(8, 0); },
                   "[INF orxapi] QIR_Set_PortDefAcl: Params: srcPort<8> aclType<0>\n");
    ExpectUnmasked([&] { return QIR_Get_PortDefAcl(8, &read); },
                   "[INF orxapi] QIR_Get_PortDefAcl: Params: srcPort<8> aclType_p<" + AddressText(&read) +
                       ">\n");
}

} // namespace
} // namespace ports_test
