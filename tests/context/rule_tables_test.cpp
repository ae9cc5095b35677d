// The seven rule tables as start-up leaves them. Rows and entries that no rule names keep the fill pattern.
#include "tests/support/library.h"

namespace context_test {
namespace {

using RuleTables = test::LibraryTest;

constexpr uint16_t kFill = 0xA5A5;

constexpr const char *kHdr[8] = {"Ethernet", "VLAN 0", "VLAN 1", "VLAN 2", "VLAN 3", "PPPoE", "MPLS", "IPv4"};
constexpr const char *kL4Hdr[2] = {"TCP", "UDP"};

template <std::size_t Rows, std::size_t Columns>
void ExpectTable(const uint16_t (&actual)[Rows][Columns], const uint16_t (&expected)[Rows][Columns],
                 const char *const (&hdr)[Rows]) {
    for (std::size_t row = 0; row < Rows; ++row) {
        for (std::size_t column = 0; column < Columns; ++column) {
            EXPECT_EQ(actual[row][column], expected[row][column]) << hdr[row] << ", entry " << column;
        }
    }
}

TEST_F(RuleTables, OperatorLimits) {
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_EQ], 1u);
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_NEQ], 4u);
    EXPECT_EQ(qirCtxt_gp->cmpOpCntTbl[e_CMP_IN_RANGE], 1u);
}

TEST_F(RuleTables, OperatorsOfEachFilterType) {
    // Columns: equal, not equal, in range.
    constexpr uint16_t expected[8][3] = {
        {0x001F, 0x0010, 0x0000}, // Ethernet
        {0x003F, 0x0022, 0x0000}, // VLAN tags
        {0x003F, 0x0022, 0x0000}, //
        {0x003F, 0x0022, 0x0000}, //
        {0x003F, 0x0022, 0x0000}, //
        {0x001F, 0x0012, 0x0000}, // PPPoE
        {kFill, kFill, kFill},    // MPLS
        {0x07FF, 0x0200, 0x0040}, // IPv4
    };
    ExpectTable(qirCtxt_gp->cmpOpBmapTbl, expected, kHdr);
}

TEST_F(RuleTables, OperatorsOfEachL4FilterType) {
    constexpr uint16_t expected[2][3] = {
        {0x007F, 0x0003, 0x0000}, // TCP
        {0x0003, 0x0003, 0x0000}, // UDP
    };
    ExpectTable(qirCtxt_gp->l4CmpOpBmapTbl, expected, kL4Hdr);
}

// clang-format off
TEST_F(RuleTables, FilterTypesThatExcludeEachOther) {
    constexpr uint16_t F = kFill;
    // A column per type: Ethernet MCAST BCAST DA SA ETHTYPE; VLAN TAG TPID TCI PBITS DEI VID; PPPoE VER TYPE
    // CODE SESID PROTO; IPv4 VER IHL SA DA MCAST TOS DSCP DSCP_1P TTL_GT1 PROTO FRAG.
    constexpr uint16_t expected[8][16] = {
        {0x0007, 0x0007, 0x0007, 0x0008, 0x0000,         F, F, F, F, F, F, F, F, F, F, F},
        {0x003F, 0x0003, 0x003D, 0x000D, 0x0015, 0x0025, F, F, F, F, F, F, F, F, F, F},
        {0x003F, 0x0003, 0x003D, 0x000D, 0x0015, 0x0025, F, F, F, F, F, F, F, F, F, F},
        {0x003F, 0x0003, 0x003D, 0x000D, 0x0015, 0x0025, F, F, F, F, F, F, F, F, F, F},
        {0x003F, 0x0003, 0x003D, 0x000D, 0x0015, 0x0025, F, F, F, F, F, F, F, F, F, F},
        {0x0001, 0x0002, 0x0004, 0x0008, 0x0010,         F, F, F, F, F, F, F, F, F, F, F},
        {F, F, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
        {0x0001, 0x0002, 0x0004, 0x0018, 0x0018, 0x0060, 0x0060, 0x0080, 0x0100, 0x0000, 0x0400, F, F, F, F, F},
    };
    ExpectTable(qirCtxt_gp->filterDepBmapTbl, expected, kHdr);
}

TEST_F(RuleTables, L4FilterTypesThatExcludeEachOther) {
    constexpr uint16_t F = kFill;
    // TCP SPORT DPORT SYN ACK FIN RST CTRL; UDP SPORT DPORT.
    constexpr uint16_t expected[2][16] = {
        {0x0001, 0x0002, 0x0044, 0x0048, 0x0050, 0x0060, 0x007C, F, F, F, F, F, F, F, F, F},
        {0x0001, 0x0002, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
    };
    ExpectTable(qirCtxt_gp->l4FilterDepBmapTbl, expected, kL4Hdr);
}

TEST_F(RuleTables, ActionTypesThatExcludeEachOther) {
    constexpr uint16_t F = kFill;
    // Ethernet DA SA ETHTYPE PUSH_TAG POP_TAG; VLAN SET_ TAG TPID TCI PBITS DEI VID, COPY_ TAG TPID TCI PBITS
    // VID DEI, XLATE_PBITS_FROM_ DSCP ETHTYPE; PPPoE has one type; IPv4 DA SA TOS DSCP.
    constexpr uint16_t expected[8][16] = {
        {0x0001, 0x0002, 0x0004, 0x0000, 0x0000, F, F, F, F, F, F, F, F, F, F, F},
        {0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0955, 0x0565,
         0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0565, 0x0955, 0x334D, 0x334D, F, F},
        {0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0955, 0x0565,
         0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0565, 0x0955, 0x334D, 0x334D, F, F},
        {0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0955, 0x0565,
         0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0565, 0x0955, 0x334D, 0x334D, F, F},
        {0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0955, 0x0565,
         0x3FFF, 0x00C3, 0x3F7D, 0x334D, 0x0565, 0x0955, 0x334D, 0x334D, F, F},
        {0x0001, F, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
        {F, F, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
        {0x0001, 0x0002, 0x000C, 0x000C, F, F, F, F, F, F, F, F, F, F, F, F},
    };
    ExpectTable(qirCtxt_gp->actionDepBmapTbl, expected, kHdr);
}

TEST_F(RuleTables, L4ActionTypesThatExcludeEachOther) {
    constexpr uint16_t F = kFill;
    // SPORT DPORT, for TCP and UDP.
    constexpr uint16_t expected[2][16] = {
        {0x0001, 0x0002, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
        {0x0001, 0x0002, F, F, F, F, F, F, F, F, F, F, F, F, F, F},
    };
    ExpectTable(qirCtxt_gp->l4ActionDepBmapTbl, expected, kL4Hdr);
}
// clang-format on

} // namespace
} // namespace context_test
