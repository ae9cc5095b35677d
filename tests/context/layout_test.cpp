// The context object, its members and the limits.
#include "tests/context/members.h"
#include "tests/support/library.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace context_test {
namespace {

// Before main() nothing has called the library.
struct AtProcessStart {
    bool contextIsZero;
    bool pointerIsSet = qirCtxt_gp == &qirCtxt_g;

    AtProcessStart() {
        const auto *bytes = reinterpret_cast<const unsigned char *>(&qirCtxt_g);
        contextIsZero = std::all_of(bytes, bytes + sizeof qirCtxt_g, [](unsigned char b) { return b == 0; });
    }
};

const AtProcessStart atProcessStart;

TEST(ContextAtProcessStart, IsZeroAndReachableThroughItsPointer) {
    EXPECT_TRUE(atProcessStart.contextIsZero);
    EXPECT_TRUE(atProcessStart.pointerIsSet);
}

TEST(ContextAtProcessStart, ThePointerNeverChanges) {
    EXPECT_TRUE((std::is_same_v<decltype(qirCtxt_gp), qir::QirCtxt *const>));
    EXPECT_EQ(qirCtxt_gp, &qirCtxt_g);
}

TEST(ContextLayout, MembersFollowEachOtherInTheirOrder) {
    EXPECT_EQ(kMembers[0].offset, 0u);
    for (std::size_t i = 1; i < std::size(kMembers); ++i) {
        EXPECT_GE(kMembers[i].offset, kMembers[i - 1].offset + kMembers[i - 1].size)
            << kMembers[i].name << " does not stand behind " << kMembers[i - 1].name;
    }
    const Member &last = kMembers[std::size(kMembers) - 1];
    EXPECT_EQ(sizeof(qir::QirCtxt), last.offset + last.size) << "there is something behind the FCB pool";
}

TEST(ContextLayout, NothingButAlignmentLiesBetweenMembers) {
    for (std::size_t i = 1; i < std::size(kMembers); ++i) {
        EXPECT_LT(kMembers[i].offset - (kMembers[i - 1].offset + kMembers[i - 1].size), 4u)
            << "behind " << kMembers[i - 1].name;
    }
}

TEST(ContextLayout, MembersHaveTheSizesOfTheirRecords) {
    for (const Member &member : kMembers) {
        EXPECT_EQ(member.size, member.expectedSize) << member.name;
    }
}

TEST(ContextLayout, MembersHaveTheirWidthsAndShapes) {
    using qir::QirCtxt;
    EXPECT_TRUE((std::is_same_v<decltype(qir::FlowSection::maxFlows), uint16_t>));
    EXPECT_TRUE((std::is_same_v<decltype(qir::FlowSection::cfgFlows), uint16_t>));
    EXPECT_EQ(offsetof(qir::FlowSection, maxFlows), 0u);
    EXPECT_EQ(offsetof(qir::FlowSection, cfgFlows), 2u);
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::cfg.flowSection), qir::FlowSection[3]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::flowMissAction), uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::tpidTbl), TpidCfg[9]>));
    EXPECT_TRUE((std::is_same_v<decltype(TpidCfg::portId), uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(TpidCfg::tpid), uint16_t[4]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::portDefAclTbl), uint32_t[9]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::portPadLenTbl), uint32_t[9]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::cmpOpCntTbl), uint8_t[3]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::cmpOpBmapTbl), uint16_t[8][3]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::filterDepBmapTbl), uint16_t[8][16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::actionDepBmapTbl), uint16_t[8][16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::l4CmpOpBmapTbl), uint16_t[2][3]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::l4FilterDepBmapTbl), uint16_t[2][16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::l4ActionDepBmapTbl), uint16_t[2][16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::asTblPool), qir::AsTblInfo[16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::dscpTblPool), qir::DscpTblInfo[6]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::epTblPool), qir::EpTblInfo[6]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::pacTblPool), qir::PacTblInfo[16]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::rlTciCfgTbl), RlTciCfg[2]>));
    EXPECT_TRUE((std::is_same_v<decltype(RlTciCfg::tci), uint16_t[2]>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::rlTbl), qir::RlSlot[2][16]>));
    EXPECT_EQ(offsetof(qir::RlSlot, ent), 0u);
    EXPECT_EQ(offsetof(qir::RlSlot, state), 16u);
    EXPECT_TRUE((std::is_same_v<decltype(qir::RlSlot::state), uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::rlStatus), uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(QirCtxt::fcbPool), qir::Fcb[512]>));
}

TEST(ContextLimits, AreThoseOfTheClassifier) {
    EXPECT_EQ(QIR_MAX_FLOWS, 512);
    EXPECT_EQ(e_FLOW_SECTION_MAX, 3);
    EXPECT_EQ(QIR_ASTBL_MAXNUM, 16);
    EXPECT_EQ(QIR_DSCPTBL_MAXNUM, 6);
    EXPECT_EQ(QIR_EPTBL_MAXNUM, 6);
    EXPECT_EQ(QIR_PACTBL_MAXNUM, 16);
    EXPECT_EQ(QIR_ASENT_MAXNUM, 8);
    EXPECT_EQ(QIR_EPENT_MAXNUM, 8);
    EXPECT_EQ(QIR_DSCP_MAX, 64);
    EXPECT_EQ(QIR_PBITS_MAX, 8);
    EXPECT_EQ(QIR_MAX_FCBREQ, 32);
    EXPECT_EQ(QIR_HDR_FILT_MAX, 16);
}

TEST(ContextLimits, StatusesAreNumberedFromFreeToActive) {
    EXPECT_EQ(e_STATUS_FREE, 0);
    EXPECT_EQ(e_STATUS_ALLOC, 1);
    EXPECT_EQ(e_STATUS_CFG, 2);
    EXPECT_EQ(e_STATUS_ACTIVE, 3);
    EXPECT_EQ(e_STATUS_MAX, 4);
}

} // namespace
} // namespace context_test
