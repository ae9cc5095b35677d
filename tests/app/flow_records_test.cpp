// The records of allocated flows, and their release.

#include "app/flow_records.h"
#include "tests/app/app_test.h"

#include <set>

namespace app_test {
namespace {

using app::allocFlow;
using app::FlowRecord;
using app::freeFlows;
using app::g_flowInfo;
using app::g_flowInfoIndex;

class FlowRecords : public AppTest {
  protected:
    // A record whose flow is allocated in section 1, and configured when it uses a PAC table.
    FlowRecord *Record(AsTblHdl *asTbl_p, DscpTblHdl *dscpTbl_p, PacTblHdl *pacTbl_p) {
        FlowRecord *const record_p = allocFlow();
        record_p->flowHdl = UnsetFlow();
        EXPECT_EQ(QIR_Alloc_FCB(1, &record_p->flowHdl), 0u);
        record_p->asTbl_p = asTbl_p;
        record_p->dscpTbl_p = dscpTbl_p;
        record_p->pacTbl_p = pacTbl_p;
        if (pacTbl_p != nullptr) {
            EXPECT_EQ(QIR_Set_PacInfo(&record_p->flowHdl, e_TBLSTATUS_ENABLE, 0, pacTbl_p), 0u);
        }
        return record_p;
    }

    PacTblHdl ActivePacTable() {
        PacTblHdl hdl{};
        const PacTblCfg cfg{};
        EXPECT_EQ(QIR_Alloc_PacTable(&hdl), 0u);
        EXPECT_EQ(QIR_Set_PacTableCfg(&hdl, &cfg), 0u);
        EXPECT_EQ(QIR_Activate_PacTable(&hdl), 0u);
        return hdl;
    }
};

TEST_F(FlowRecords, AreZeroAndGatherInTheArray) {
    for (int i = 0; i < 3; ++i) {
        FlowRecord *const record_p = allocFlow();
        ASSERT_NE(record_p, nullptr);
        EXPECT_EQ(Image(sizeof *record_p, 0).DifferenceFrom(record_p), "");
        EXPECT_EQ(g_flowInfo[i], record_p);
        EXPECT_EQ(g_flowInfoIndex, i + 1);
    }
}

TEST_F(FlowRecords, Are100AtMost) {
    std::set<FlowRecord *> records;
    for (int i = 0; i < 100; ++i) {
        records.insert(allocFlow());
    }
    EXPECT_EQ(records.size(), 100u);
    EXPECT_EQ(records.count(nullptr), 0u);
    EXPECT_EQ(allocFlow(), nullptr);
    EXPECT_EQ(allocFlow(), nullptr);
    EXPECT_EQ(g_flowInfoIndex, 100);
}

TEST_F(FlowRecords, PrintNothingWhenThereAreNoneToFree) {
    EXPECT_EQ(test::Capture(freeFlows), "");
    EXPECT_EQ(g_flowInfoIndex, 0);
}

TEST_F(FlowRecords, AreFreedWithAWordForEachTable) {
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac = ActivePacTable();
    const struct {
        AsTblHdl *as_p;
        DscpTblHdl *dscp_p;
        PacTblHdl *pac_p;
    } rows[] = {
        {nullptr, nullptr, nullptr}, {&as, nullptr, nullptr}, {nullptr, &dscp, nullptr},
        {nullptr, nullptr, &pac},    {&as, &dscp, nullptr},   {&as, nullptr, &pac},
        {nullptr, &dscp, &pac},      {&as, &dscp, &pac},
    };
    for (const auto &row : rows) {
        Record(row.as_p, row.dscp_p, row.pac_p);
    }
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 4u);
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[1].cfgFlows, 8u);
    EXPECT_EQ(test::CaptureMasked(freeFlows), "Free Flow 0: DONE\n"
                                              "Free Flow 1: ASP DONE\n"
                                              "Free Flow 2: DSCP2PBITS DONE\n"
                                              "Free Flow 3: PBITS2ACTION DONE\n"
                                              "Free Flow 4: ASP DSCP2PBITS DONE\n"
                                              "Free Flow 5: ASP PBITS2ACTION DONE\n"
                                              "Free Flow 6: DSCP2PBITS PBITS2ACTION DONE\n"
                                              "Free Flow 7: ASP DSCP2PBITS PBITS2ACTION DONE\n");
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 0u);
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[1].cfgFlows, 0u);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(qirCtxt_gp->fcbPool[i].status, unsigned{e_STATUS_FREE}) << "flow " << i;
    }
}

// The PAC table can be freed afterwards: no flow holds it any more.
TEST_F(FlowRecords, ReleaseTheirPacTable) {
    PacTblHdl pac = ActivePacTable();
    EXPECT_EQ(QIR_Deactivate_PacTable(&pac), 0u);
    Record(nullptr, nullptr, &pac);
    EXPECT_EQ(test::CaptureMasked([&] { QIR_Free_PacTable(&pac); }),
              test::Err("QIR_Free_PacTable", "Non-zero RefCnt <1>") +
                  test::Refusal("QIR_Free_PacTable", "e_RET_ERR_RESRC_BUSY", 13));
    EXPECT_EQ(test::CaptureMasked(freeFlows), "Free Flow 0: PBITS2ACTION DONE\n");
    EXPECT_EQ(QIR_Free_PacTable(&pac), 0u);
}

// The tables that AS and DSCP markers point to are not looked at.
TEST_F(FlowRecords, LeaveAsAndDscpTablesAlone) {
    AsTblHdl as = test::AsHdl(200);
    DscpTblHdl dscp = test::DscpHdl(200);
    Record(&as, &dscp, nullptr);
    EXPECT_EQ(test::CaptureMasked(freeFlows), "Free Flow 0: ASP DSCP2PBITS DONE\n");
}

TEST_F(FlowRecords, KeepTheirNumberWhenFreed) {
    Record(nullptr, nullptr, nullptr);
    Record(nullptr, nullptr, nullptr);
    EXPECT_EQ(test::Capture(freeFlows), "Free Flow 0: DONE\nFree Flow 1: DONE\n");
    EXPECT_EQ(g_flowInfoIndex, 2);
    EXPECT_EQ(allocFlow(), g_flowInfo[2]);
    EXPECT_EQ(g_flowInfoIndex, 3);
}

TEST_F(FlowRecords, AreFreedOnlyOnce) {
    Record(nullptr, nullptr, nullptr);
    test::Capture(freeFlows);
    EXPECT_EQ(test::Capture(freeFlows), "");
    Record(nullptr, nullptr, nullptr);
    EXPECT_EQ(test::Capture(freeFlows), "Free Flow 1: DONE\n");
}

// What is in hardware stays; the records go all the same.
TEST_F(FlowRecords, DoNotFreeActiveFlows) {
    PacTblHdl pac = ActivePacTable();
    FlowRecord *const record_p = Record(nullptr, nullptr, &pac);
    EXPECT_EQ(QIR_Activate_FCB(&record_p->flowHdl), 0u);
    EXPECT_EQ(test::CaptureMasked(freeFlows),
              "Free Flow 0: PBITS2ACTION "
              "[ERROR orxapi] QIR_Set_PacInfo,#: \"e_RET_ERR_STATE_NOTCFG\"\n"
              "[ERROR orxapi] QIR_Set_PacInfo,#: retVal <17>\n"
              "[ERROR orxapi] QIR_Free_FCB,#: \"e_RET_ERR_RESRC_ALREADY_ACTIVE\"\n"
              "[ERROR orxapi] QIR_Free_FCB,#: retVal <15>\n"
              "DONE\n");
    EXPECT_EQ(qirCtxt_gp->fcbPool[0].status, unsigned{e_STATUS_ACTIVE});
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 1u);
    EXPECT_EQ(orxemu_state()->flow[0].active, 1);
}

TEST_F(FlowRecords, WhoseFlowWasNeverAllocatedAreFreedAllTheSame) {
    allocFlow()->flowHdl = UnsetFlow();
    EXPECT_EQ(test::CaptureMasked(freeFlows),
              "Free Flow 0: "
              "[ERROR orxapi] Validate_FlowHdl,#: Value out of range for flowHdl<65535>\n"
              "[ERROR orxapi] Validate_FlowHdl,#: \"e_RET_ERR_INVALID_HDL\"\n"
              "[ERROR orxapi] QIR_Free_FCB,#: retVal <3>\n"
              "DONE\n");
}

} // namespace
} // namespace app_test
