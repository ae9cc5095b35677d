// The printers that tables share: status, addresses, and the parts of the AS dump.
#include "tests/tables/support.h"

namespace test {
namespace {

class TablePrinters : public LibraryTest {};

TEST_F(TablePrinters, StatusIsPrintedByName) {
    EXPECT_EQ(Capture([] { qir::Dump_Status(0); }), "<e_STATUS_FREE> ");
    EXPECT_EQ(Capture([] { qir::Dump_Status(1); }), "<e_STATUS_ALLOC> ");
    EXPECT_EQ(Capture([] { qir::Dump_Status(2); }), "<e_STATUS_CFG> ");
    EXPECT_EQ(Capture([] { qir::Dump_Status(3); }), "<e_STATUS_ACTIVE> ");
}

TEST_F(TablePrinters, UnknownStatusIsAssertedAndReported) {
    EXPECT_EQ(CaptureMasked([] { qir::Dump_Status(4); }),
              "[ASSERT qirapi_access] Dump_Status,#: (status < e_STATUS_MAX)\n"
              "[ERROR orxapi] Dump_Status,#: Unknown status <4> \n");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_Status(0xFFFFFFFF); }),
              "[ASSERT qirapi_access] Dump_Status,#: (status < e_STATUS_MAX)\n"
              "[ERROR orxapi] Dump_Status,#: Unknown status <4294967295> \n");
}

TEST_F(TablePrinters, IpAddressIsPrintedHighByteFirst) {
    EXPECT_EQ(Capture([] { qir::Dump_IP(0x0A000001); }), "<10.0.0.1> ");
    EXPECT_EQ(Capture([] { qir::Dump_IP(0); }), "<0.0.0.0> ");
    EXPECT_EQ(Capture([] { qir::Dump_IP(0xFFFFFFFF); }), "<255.255.255.255> ");
    EXPECT_EQ(Capture([] { qir::Dump_IP(0x80FE7F09); }), "<128.254.127.9> ");
}

TEST_F(TablePrinters, CidrAddressHasItsPrefixLengthBehindIt) {
    EXPECT_EQ(Capture([] { qir::Dump_CidrIP(0x0A000000, 8); }), "<10.0.0.0> </8> ");
    EXPECT_EQ(Capture([] { qir::Dump_CidrIP(0xC0A801FE, 0); }), "<192.168.1.254> </0> ");
    EXPECT_EQ(Capture([] { qir::Dump_CidrIP(0xC0A801FE, 200); }), "<192.168.1.254> </200> ");
}

TEST_F(TablePrinters, MacAddressIsPrintedInHexOfTwoDigits) {
    const uint8_t mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    EXPECT_EQ(Capture([&] { qir::Dump_MAC(mac); }), "<0x00:11:22:33:44:55> ");
    const uint8_t high[6] = {0xFF, 0x0A, 0x80, 0x7F, 0x01, 0xFE};
    EXPECT_EQ(Capture([&] { qir::Dump_MAC(high); }), "<0xff:0a:80:7f:01:fe> ");
}

TEST_F(TablePrinters, AsConfigurationIsOneLine) {
    EXPECT_EQ(Capture([] {
                  const AsTblCfg cfg{0x5};
                  qir::Dump_AsTableCfg(&cfg);
              }),
              "  srcPortMask<0x 5> \n");
    EXPECT_EQ(Capture([] {
                  const AsTblCfg cfg{0x81};
                  qir::Dump_AsTableCfg(&cfg);
              }),
              "  srcPortMask<0x81> \n");
    EXPECT_EQ(Capture([] {
                  const AsTblCfg cfg{0xDEADBEEF};
                  qir::Dump_AsTableCfg(&cfg);
              }),
              "  srcPortMask<0xdeadbeef> \n");
}

AsEnt EntryWithAllFields() {
    return AsEnt{.macDA = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55},
                 .macDAMask = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00},
                 .macSA = {0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB},
                 .macSAMask = {0xFF, 0x00, 0xF0, 0x0F, 0x01, 0x80},
                 .ipAddr = 0xC0A801FE,
                 .ipPrefixLen = 24,
                 .ethType = 0x0800,
                 .vlanTag0 = 7,
                 .vlanTag1 = 4095,
                 .destPort = 65535,
                 .ipProto = 17,
                 .rsvd = {1, 2, 3},
                 .aclMask = 0x27F,
                 .aclType = 1};
}

// The columns of the entry above, in their order, and the blanks that stand for each.
struct Column {
    uint32_t bit;
    const char *text;
    std::size_t blanks;
};
const Column kColumns[] = {
    {0x200, "<0x00:11:22:33:44:55> <0xff:ff:ff:ff:ff:00> ", 21},
    {0x001, "<0x66:77:88:99:aa:bb> <0xff:00:f0:0f:01:80> ", 21},
    {0x002, "<192.168.1.254> </24> ", 21},
    {0x008, "   7 ", 5},
    {0x010, "4095 ", 5},
    {0x004, "   2048 ", 8},
    {0x040, "     17 ", 8},
    {0x020, "   65535 ", 9},
};

std::string ColumnsOf(uint32_t aclMask) {
    std::string text;
    for (const Column &column : kColumns) {
        text += (aclMask & column.bit) != 0 ? std::string(column.text) : std::string(column.blanks, ' ');
    }
    return text;
}

TEST_F(TablePrinters, AsEntryWithAllFieldsPrintsEveryColumn) {
    const AsEnt ent = EntryWithAllFields();
    EXPECT_EQ(Capture([&] { qir::Dump_AsTableEntry(&ent); }), "      1 0x0000027f "
                                                              "<0x00:11:22:33:44:55> <0xff:ff:ff:ff:ff:00> "
                                                              "<0x66:77:88:99:aa:bb> <0xff:00:f0:0f:01:80> "
                                                              "<192.168.1.254> </24> "
                                                              "   7 4095    2048      17    65535 ");
}

TEST_F(TablePrinters, AsEntryWithoutFieldsPrintsBlanks) {
    AsEnt ent = EntryWithAllFields();
    ent.aclMask = 0xFFFFFD80; // every bit that has no column
    ent.aclType = 0;
    EXPECT_EQ(Capture([&] { qir::Dump_AsTableEntry(&ent); }), "      0 0xfffffd80 " + std::string(98, ' '));
}

// Every combination of the eight columns.
TEST_F(TablePrinters, AsEntryColumnsFollowTheirOwnMaskBit) {
    AsEnt ent = EntryWithAllFields();
    for (uint32_t combination = 0; combination < 256; ++combination) {
        ent.aclMask = 0;
        for (std::size_t i = 0; i < std::size(kColumns); ++i) {
            ent.aclMask |= (combination >> i & 1u) != 0 ? kColumns[i].bit : 0;
        }
        char mask[16];
        std::snprintf(mask, sizeof mask, "0x%08x", ent.aclMask);
        ASSERT_EQ(Capture([&] { qir::Dump_AsTableEntry(&ent); }),
                  std::string("      1 ") + mask + " " + ColumnsOf(ent.aclMask));
    }
}

// A non-IP entry is dumped by its field bits like any other.
TEST_F(TablePrinters, AsEntryMarkedNonIpStillShowsItsIpFields) {
    AsEnt ent = EntryWithAllFields();
    ent.aclMask = 0x080 | 0x100 | 0x002 | 0x040 | 0x020;
    EXPECT_EQ(Capture([&] { qir::Dump_AsTableEntry(&ent); }), "      1 0x000001e2 " + std::string(42, ' ') +
                                                                  "<192.168.1.254> </24> " +
                                                                  std::string(18, ' ') + "     17    65535 ");
}

TEST_F(TablePrinters, AsEntryNumbersAreRightAlignedAndNeverCut) {
    AsEnt ent = EntryWithAllFields();
    ent.aclType = 4294967295u;
    ent.ipAddr = 0;
    ent.ipPrefixLen = 4294967295u;
    ent.vlanTag0 = 0;
    ent.vlanTag1 = 65535;
    ent.ethType = 0;
    ent.ipProto = 255;
    ent.destPort = 0;
    ent.aclMask = 0x07E;
    EXPECT_EQ(Capture([&] { qir::Dump_AsTableEntry(&ent); }),
              "4294967295 0x0000007e " + std::string(42, ' ') +
                  "<0.0.0.0> </4294967295>    0 65535       0     255        0 ");
}

} // namespace
} // namespace test
