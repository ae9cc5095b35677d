// The table builders: what they write, what the driver gets, and what the globals are afterwards.

#include "app/table_builders.h"
#include "tests/app/app_test.h"
#include "tests/app/expected_tables.h"

#include <cerrno>

namespace app_test {
namespace {

using app::App_Allocate_AsTable;
using app::App_ConfigAsTable;
using app::App_ConfigDscpTable;
using app::App_ConfigPacTablePgMode;
using app::App_Init_MacIpSaTbl;
using app::asFirstAddr;
using app::defPbitsVal;
using test::Err;
using test::Refusal;

enum RequestNumber { kActivateAsTbl = 21, kActivateDscpTbl = 23, kActivatePacTbl = 27 };

class TableBuilders : public AppTest {};

std::string Times(int count, const std::string &text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// ---- Source addresses ----------------------------------------------------------------------------------

TEST_F(TableBuilders, FillTheSourceAddressesWithFourHostsAndASubnet) {
    const struct {
        uint32_t macBase, ipBase, lastPrefixLen;
        uint8_t mac[5][6];
        uint32_t ip[5];
    } rows[] = {
        {1,
         0x0A000001,
         24,
         {{0, 0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 2}, {0, 0, 0, 0, 0, 3}, {0, 0, 0, 0, 0, 4}, {0, 0, 0, 0, 0, 5}},
         {0x0A000001, 0x0A000002, 0x0A000003, 0x0A000004, 0x0A000501}},
        // The MAC address's low four bytes run on from the lowest one, most significant first.
        {0x010203FD,
         0xC0A800F0,
         16,
         {{0, 0, 1, 2, 3, 0xFD},
          {0, 0, 1, 2, 3, 0xFE},
          {0, 0, 1, 2, 3, 0xFF},
          {0, 0, 1, 2, 4, 0},
          {0, 0, 1, 2, 4, 1}},
         {0xC0A800F0, 0xC0A800F1, 0xC0A800F2, 0xC0A800F3, 0xC0A805F0}},
        // The subnet's bits are set, not added.
        {0x80000000,
         0x0A000402,
         0,
         {{0, 0, 0x80, 0, 0, 0},
          {0, 0, 0x80, 0, 0, 1},
          {0, 0, 0x80, 0, 0, 2},
          {0, 0, 0x80, 0, 0, 3},
          {0, 0, 0x80, 0, 0, 4}},
         {0x0A000402, 0x0A000403, 0x0A000404, 0x0A000405, 0x0A000502}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.macBase);
        EXPECT_EQ(test::Capture([&] { App_Init_MacIpSaTbl(row.macBase, row.ipBase, row.lastPrefixLen); }),
                  "");
        for (unsigned i = 0; i < 5; ++i) {
            SCOPED_TRACE("entry " + std::to_string(i));
            for (unsigned byte = 0; byte < 6; ++byte) {
                EXPECT_EQ(app::g_macSaTbl[i].addr[byte], row.mac[i][byte]) << "byte " << byte;
                EXPECT_EQ(app::g_macSaTbl[i].mask[byte], 0xFF) << "byte " << byte;
            }
            EXPECT_EQ(app::g_ipSaTbl[i].addr, row.ip[i]);
            EXPECT_EQ(app::g_ipSaTbl[i].prefixLen, i < 4 ? 32u : row.lastPrefixLen);
        }
    }
}

// ---- AS tables -----------------------------------------------------------------------------------------

TEST_F(TableBuilders, AllocateAnActiveAsTable) {
    App_Init_MacIpSaTbl(7, 0x0A000007, 24);
    const AsTblCfg cfg{.srcPortMask = 0x21};
    AsTblHdl hdl{};
    uint32_t result = 99;
    EXPECT_EQ(test::Capture([&] { result = App_Allocate_AsTable(&cfg, &hdl); }), "");
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(hdl.f1.id, 0u);
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].status, unsigned{e_STATUS_ACTIVE});
    ASSERT_EQ(orxemu_numRequests(), 1u);
    ExpectTableRequest(0, kActivateAsTbl, AsTableRequest(0, 0x21, 7));
}

TEST_F(TableBuilders, ReturnTheResultOfTheAsTablesActivation) {
    orxemu_failRequest(kActivateAsTbl, 1, EIO);
    const AsTblCfg cfg{.srcPortMask = 1};
    AsTblHdl hdl{};
    uint32_t result = 99;
    const test::Output output = test::CaptureBoth([&] { result = App_Allocate_AsTable(&cfg, &hdl); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(test::Mask(output.out), test::RetVal("QIR_Activate_AsTable", 1));
    EXPECT_EQ(output.err, "pktOrxDevIoctl <21> error\n");
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].status, unsigned{e_STATUS_CFG});
}

TEST_F(TableBuilders, CarryOnWhenNoAsTableIsLeft) {
    const AsTblCfg cfg{.srcPortMask = 1};
    AsTblHdl hdl{};
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_EQ(App_Allocate_AsTable(&cfg, &hdl), 0u);
        EXPECT_EQ(hdl.f1.id, i);
    }
    orxemu_clearLog();
    uint32_t result = 99;
    const std::string out = test::CaptureMasked([&] { result = App_Allocate_AsTable(&cfg, &hdl); });
    const std::string notCfg = test::CodeLine("QIR_Set_AsTableEntry", "e_RET_ERR_STATE_NOTCFG") +
                               Refusal("QIR_Set_AsTableEntry", "e_RET_ERR_STATE_NOTCFG", 17);
    EXPECT_EQ(out, Err("QIR_Alloc_AsTable", "No free AS table available") +
                       Refusal("QIR_Alloc_AsTable", "e_RET_ERR_RESRC_UNAVAIL", 12) +
                       Refusal("QIR_Set_AsTableCfg", "e_RET_ERR_STATE_NOTCFG", 17) + Times(5, notCfg) +
                       Refusal("QIR_Activate_AsTable", "e_RET_ERR_STATE_ALREADY_ACTIVE", 19));
    EXPECT_EQ(result, 19u);
    EXPECT_EQ(hdl.f1.id, 15u);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(TableBuilders, ConfigureAsTablesTenAddressesApart) {
    AsTblHdl hdl{};
    EXPECT_EQ(test::Capture([&] { App_ConfigAsTable(0, &hdl); }), "Initializing AS Table for UNI 0\n");
    EXPECT_EQ(asFirstAddr, 11);
    EXPECT_EQ(hdl.f1.id, 0u);
    EXPECT_EQ(test::Capture([&] { App_ConfigAsTable(5, &hdl); }), "Initializing AS Table for UNI 5\n");
    EXPECT_EQ(asFirstAddr, 21);
    EXPECT_EQ(hdl.f1.id, 1u);
    ASSERT_EQ(orxemu_numRequests(), 2u);
    ExpectTableRequest(0, kActivateAsTbl, AsTableRequest(0, 0x01, 1));
    ExpectTableRequest(1, kActivateAsTbl, AsTableRequest(1, 0x20, 11));
}

// The address of the table itself does not wrap: its hosts run on above 255.
TEST_F(TableBuilders, WrapTheFirstAddressByteOfTheNextAsTable) {
    asFirstAddr = 253;
    AsTblHdl hdl{};
    EXPECT_EQ(test::Capture([&] { App_ConfigAsTable(2, &hdl); }), "Initializing AS Table for UNI 2\n");
    EXPECT_EQ(asFirstAddr, 7);
    ASSERT_EQ(orxemu_numRequests(), 1u);
    ExpectTableRequest(0, kActivateAsTbl, AsTableRequest(0, 0x04, 253));
    EXPECT_EQ(app::g_ipSaTbl[3].addr, 0x0A000100u);
    EXPECT_EQ(app::g_macSaTbl[4].addr[4], 1);
    EXPECT_EQ(app::g_macSaTbl[4].addr[5], 1);
}

// From address 1 in steps of ten: 251 is followed by 5.
TEST_F(TableBuilders, ReachAddress251BeforeTheWrap) {
    int tables = 0;
    for (; asFirstAddr != 251; ++tables) {
        ASSERT_LT(tables, 100);
        AsTblHdl hdl{};
        test::Capture([&] { App_ConfigAsTable(0, &hdl); });
        QIR_Deactivate_AsTable(&hdl);
        QIR_Free_AsTable(&hdl);
    }
    EXPECT_EQ(tables, 25);
    AsTblHdl hdl{};
    test::Capture([&] { App_ConfigAsTable(0, &hdl); });
    EXPECT_EQ(asFirstAddr, 5);
}

// ---- DSCP tables ---------------------------------------------------------------------------------------

TEST_F(TableBuilders, ConfigureDscpTablesWithARunningDefault) {
    for (unsigned i = 0; i < 6; ++i) {
        SCOPED_TRACE("table " + std::to_string(i));
        DscpTblHdl hdl{};
        EXPECT_EQ(test::CaptureMasked([&] { App_ConfigDscpTable(i, &hdl); }),
                  "Initializing DSCP to PBITS Table for UNI " + std::to_string(i) + "\n");
        EXPECT_EQ(Image(4).Put32(0, 0xFFFFFF00u | i).DifferenceFrom(&hdl), "");
        EXPECT_EQ(defPbitsVal, i + 1);
        EXPECT_EQ(qirCtxt_gp->dscpTblPool[i].status, unsigned{e_STATUS_ACTIVE});
        ASSERT_EQ(orxemu_numRequests(), i + 1);
        ExpectTableRequest(i, kActivateDscpTbl, DscpTableRequest(i, i, i));
    }
}

TEST_F(TableBuilders, CarryOnWhenNoDscpTableIsLeft) {
    DscpTblHdl hdl{};
    for (unsigned i = 0; i < 6; ++i) {
        test::Capture([&] { App_ConfigDscpTable(0, &hdl); });
    }
    orxemu_clearLog();
    EXPECT_EQ(test::CaptureMasked([&] { App_ConfigDscpTable(0, &hdl); }),
              "Initializing DSCP to PBITS Table for UNI 0\n" +
                  Err("QIR_Alloc_DscpToPbitsTable", "No Free DSCP Table available") +
                  Refusal("QIR_Alloc_DscpToPbitsTable", "e_RET_ERR_RESRC_UNAVAIL", 12) +
                  Refusal("QIR_Set_DscpToPbitsTable_DefPbits", "e_RET_ERR_STATE_NOTCFG", 17) +
                  Times(8, Refusal("QIR_Set_DscpToPbitsTable", "e_RET_ERR_STATE_NOTCFG", 17)) +
                  Refusal("QIR_Activate_DscpToPbitsTable", "e_RET_ERR_RESRC_ALREADY_ACTIVE", 15));
    EXPECT_EQ(Image(4).Put32(0, 0xFFFFFF05).DifferenceFrom(&hdl), "");
    EXPECT_EQ(defPbitsVal, 7);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

// The default has gone up to 8, which is no pbits value: the table stays unconfigured.
TEST_F(TableBuilders, HaveTheNinthDscpTablesDefaultRefused) {
    DscpTblHdl hdl{};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(test::Capture([&] { App_ConfigDscpTable(3, &hdl); }),
                  "Initializing DSCP to PBITS Table for UNI 3\n");
        EXPECT_EQ(QIR_Deactivate_DscpToPbitsTable(&hdl), 0u);
        EXPECT_EQ(QIR_Free_DscpToPbitsTable(&hdl), 0u);
    }
    orxemu_clearLog();
    EXPECT_EQ(test::CaptureMasked([&] { App_ConfigDscpTable(3, &hdl); }),
              "Initializing DSCP to PBITS Table for UNI 3\n" +
                  Refusal("QIR_Set_DscpToPbitsTable_DefPbits", "e_RET_ERR_INVALID_PBITS", 55) +
                  Refusal("QIR_Get_DscpToPbitsTable_DefPbits", "e_RET_ERR_STATE_NOTCFG", 17) +
                  Times(8, Refusal("QIR_Set_DscpToPbitsTable", "e_RET_ERR_STATE_NOTCFG", 17)) +
                  Refusal("QIR_Activate_DscpToPbitsTable", "e_RET_ERR_STATE_NOTCFG", 17));
    EXPECT_EQ(defPbitsVal, 9);
    EXPECT_EQ(qirCtxt_gp->dscpTblPool[0].status, unsigned{e_STATUS_ALLOC});
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(TableBuilders, WrapTheDefaultOfTheNextDscpTable) {
    defPbitsVal = 255;
    DscpTblHdl hdl{};
    test::Capture([&] { App_ConfigDscpTable(0, &hdl); });
    EXPECT_EQ(defPbitsVal, 0);
}

// ---- PAC tables ----------------------------------------------------------------------------------------

TEST_F(TableBuilders, ConfigurePacTablesWithTwoGemPortsInTurn) {
    const struct { uint32_t uni, firstGem; } rows[] = {{0, 6}, {3, 0}, {5, 30}};
    unsigned tbl = 0;
    for (const auto &row : rows) {
        SCOPED_TRACE("first GEM port " + std::to_string(row.firstGem));
        PacTblHdl hdl{};
        EXPECT_EQ(test::CaptureMasked([&] { App_ConfigPacTablePgMode(row.uni, row.firstGem, &hdl); }),
                  "Initializing PAC Table (PG mode) for UNI " + std::to_string(row.uni) + "\n");
        EXPECT_EQ(Image(4).Put32(0, 0xFFFFFF00u | tbl).DifferenceFrom(&hdl), "");
        EXPECT_EQ(qirCtxt_gp->pacTblPool[tbl].status, unsigned{e_STATUS_ACTIVE});
        ASSERT_EQ(orxemu_numRequests(), tbl + 1);
        ExpectTableRequest(tbl, kActivatePacTbl, PacTableRequest(tbl, row.firstGem));
        ++tbl;
    }
}

// GEM port 32 does not exist: the odd pbits keep the configuration's zeros.
TEST_F(TableBuilders, HavePacEntriesBehindTheLastGemPortRefused) {
    PacTblHdl hdl{};
    EXPECT_EQ(test::CaptureMasked([&] { App_ConfigPacTablePgMode(0, 31, &hdl); }),
              "Initializing PAC Table (PG mode) for UNI 0\n" +
                  Times(4, Refusal("QIR_Set_PacTableEntry", "e_RET_ERR_INVALID_GEMPORTIDX", 57)));
    Image record = PacTableRequest(0, 31);
    for (std::size_t pbits = 1; pbits < 8; pbits += 2) {
        record.Zero(4 + 44 + 28 * pbits, 28);
    }
    ASSERT_EQ(orxemu_numRequests(), 1u);
    ExpectTableRequest(0, kActivatePacTbl, record);
}

// ---- A driver that refuses -----------------------------------------------------------------------------

TEST_F(TableBuilders, LeaveTablesConfiguredWhenTheDriverRefuses) {
    orxemu_setPresent(0);
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac{};
    const test::Output output = test::CaptureBoth([&] {
        App_ConfigAsTable(0, &as);
        App_ConfigDscpTable(0, &dscp);
        App_ConfigPacTablePgMode(0, 0, &pac);
    });
    EXPECT_EQ(test::Mask(output.out),
              "Initializing AS Table for UNI 0\n" + test::RetVal("QIR_Activate_AsTable", 1) +
                  "Initializing DSCP to PBITS Table for UNI 0\n" +
                  test::RetVal("QIR_Activate_DscpToPbitsTable", 1) +
                  "Initializing PAC Table (PG mode) for UNI 0\n" + test::RetVal("QIR_Activate_PacTable", 1));
    EXPECT_EQ(output.err, Times(3, "qel_dev_open </dev/pktorx> error no 2\n"));
    EXPECT_EQ(qirCtxt_gp->asTblPool[0].status, unsigned{e_STATUS_CFG});
    EXPECT_EQ(qirCtxt_gp->dscpTblPool[0].status, unsigned{e_STATUS_CFG});
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].status, unsigned{e_STATUS_CFG});
}

} // namespace
} // namespace app_test
