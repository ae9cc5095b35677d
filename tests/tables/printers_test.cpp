// The printers that tables share: status, addresses, and the parts of the AS dump.
#include "tests/tables/support.h"

namespace test {
namespace {

class TablePrinters : public LibraryTest {};

TEST_F(TablePrinters, UnknownStatusIsAssertedAndReported) {
    EXPECT_EQ(CaptureMasked([] { qir::Dump_Status(4); }),
              "[ASSERT qirapi_access] Dump_Status,#: (status < e_STATUS_MAX)\n"
              "[ERROR orxapi] Dump_Status,#: Unknown status <4> \n");
    EXPECT_EQ(CaptureMasked([] { qir::Dump_Status(0xFFFFFFFF); }),
              "[ASSERT qirapi_access] Dump_Status,#: (status < e_STATUS_MAX)\n"
              "[ERROR orxapi] Dump_Status,#: Unknown status <4294967295> \n");
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
