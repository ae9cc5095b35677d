// What a call has to have done: calls that are made as they should be pass, and those that left something out
// or did something else are seen.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/effects.h"
#include "fuzz/public_calls.h"

#include <array>
#include <bit>
#include <memory>
#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;
using fuzz::kNone;

Call Named(const char *name, u32 rc = e_RET_OK) {
    Call call;
    call.name = name;
    call.rc = rc;
    return call;
}

Call OnFlow(const char *name, u32 flow, u32 rc = e_RET_OK) {
    Call call = Named(name, rc);
    call.flow = flow;
    return call;
}

Call OnTable(const char *name, u32 table, u32 rc = e_RET_OK) {
    Call call = Named(name, rc);
    call.table = table;
    return call;
}

Call OnLimiter(const char *name, u32 index, u32 rc = e_RET_OK) {
    Call call = Named(name, rc);
    call.rlDir = 1;
    call.rlIndex = index;
    return call;
}

Call With(Call call, u32 first, u32 second = kNone) {
    call.arg[0] = first;
    call.arg[1] = second;
    return call;
}

template <class Record> Call Telling(Call call, const Record &record) {
    call.Tell(record);
    return call;
}

// The context behind the scene, a call, and what the call comes to.
class Effects : public Scene {
  protected:
    void SetUp() override {
        Scene::SetUp();
        Settle();
        QIR_Init_Sys();
        start_ = std::make_unique<QirCtxt>(ctxt);
        ctxt = *before_;
    }
    // The next call begins here.
    void Settle() { before_ = std::make_unique<QirCtxt>(ctxt); }
    std::string Check(const Call &call) const { return fuzz::CheckEffect({*start_, *before_, ctxt, call}); }

    std::unique_ptr<QirCtxt> start_;
    std::unique_ptr<QirCtxt> before_;
};

TEST_F(Effects, AreKnownOfEveryOperation) {
    for (const auto family : {fuzz::SystemOperations(), fuzz::TableOperations(), fuzz::FlowOperations(),
                              fuzz::RequestOperations()}) {
        for (const fuzz::Operation &operation : family) {
            EXPECT_NE(fuzz::FindEffect(operation.name, e_RET_OK), nullptr) << operation.name;
        }
    }
    EXPECT_EQ(Check(Named("QIR_Something")), "QIR_Something has no effect that is known");
    EXPECT_EQ(Check(Named("QIR_Something", 17)), "") << "a refusal that leaves nothing behind needs no row";
    EXPECT_EQ(Check(Named("(no call)")), "");
}

// ---- Calls that have not done what they do, or something else

struct Row {
    const char *what;
    std::string complaint;
    Call call;
    void (*change)(QirCtxt &); // what the call has done instead
};

std::ostream &operator<<(std::ostream &out, const Row &row) {
    return out << row.what;
}

void Nothing(QirCtxt &) {}

std::string NotMade(const char *name, std::size_t byte, u32 rc = e_RET_OK) {
    return std::string(name) + " -> " + std::to_string(rc) + ": not what it makes of its object, at byte " +
           std::to_string(byte);
}

std::string NotStored(const char *name) {
    return std::string(name) + " -> 0: the record is not what is stored";
}

std::string NoReason(const char *name, u32 rc) {
    return std::string(name) + " -> " + std::to_string(rc) + ": without a reason";
}

// Where a word shows first that it is another one, of words that differ in their low byte.
constexpr std::size_t kLow = std::endian::native == std::endian::big ? 3 : 0;
constexpr std::size_t kLowOfHalf = std::endian::native == std::endian::big ? 1 : 0;

Call Allocated(u32 flow, u32 hdl) {
    Call call = With(OnFlow("QIR_Alloc_FCB", flow), 1);
    call.hdl = hdl;
    return call;
}

Call AllocatedTable(const char *name, u32 table) {
    Call call = OnTable(name, table);
    call.hdl = table;
    return call;
}

Call PacInfo(u32 rc, u32 status, u32 source, u32 hdl) {
    Call call = With(OnFlow("QIR_Set_PacInfo", 0, rc), status, source);
    call.table = hdl;
    call.hdl = hdl;
    return call;
}

Call EpInfo(u32 rc, u32 status) {
    Call call = With(OnFlow("QIR_Set_EpInfo", 1, rc), status);
    call.hdl = 2;
    return call;
}

const Row kRows[] = {
    // Flows.
    {"a flow that is not freed", NotMade("QIR_Free_FCB", kLow), OnFlow("QIR_Free_FCB", 0), Nothing},
    {"that keeps its association", NotMade("QIR_Free_FCB", offsetof(Fcb, tblAssoc) + kLowOfHalf),
     OnFlow("QIR_Free_FCB", 0), [](QirCtxt &ctxt) { ctxt.fcbPool[0].status = e_STATUS_FREE; }},
    {"an accepted call on no flow", "QIR_Free_FCB -> 0: accepted, and names nothing",
     OnFlow("QIR_Free_FCB", kNone), Nothing},
    {"a flow that is not allocated", NotMade("QIR_Alloc_FCB", kLow), Allocated(3, 3), Nothing},
    {"another handle than the caller's", NotMade("QIR_Alloc_FCB", offsetof(Fcb, flowHdl) + 3 - kLow),
     Allocated(3, 0xAB000003),
     [](QirCtxt &ctxt) {
         ctxt.fcbPool[3].status = e_STATUS_ALLOC;
         ctxt.fcbPool[3].flowHdl.word = 3;
     }},
    {"not the lowest", "QIR_Alloc_FCB -> 0: a lower flow was FREE", Allocated(32, 32), Nothing},
    {"one that was not FREE", "QIR_Alloc_FCB -> 0: took a flow that was not FREE", Allocated(1, 1), Nothing},
    {"none FREE while there is one", NoReason("QIR_Alloc_FCB", 12), OnFlow("QIR_Alloc_FCB", kNone, 12),
     Nothing},
    {"an index not free that is", NoReason("QIR_Alloc_FCB_Specify_Index", 12),
     OnFlow("QIR_Alloc_FCB_Specify_Index", 3, 12), Nothing},
    {"an index not free", "", OnFlow("QIR_Alloc_FCB_Specify_Index", 2, 12), Nothing},
    {"a free flow called taken", "Is_Orx_free -> 0: the wrong answer",
     Telling(With(Named("Is_Orx_free"), 3), u32{0}), Nothing},
    {"a flow that is not activated", NotMade("QIR_Activate_FCB", kLow), OnFlow("QIR_Activate_FCB", 0),
     Nothing},
    {"nor deactivated", NotMade("QIR_Deactivate_FCB", kLow), OnFlow("QIR_Deactivate_FCB", 1), Nothing},
    {"a table not active that is", NoReason("QIR_Activate_FCB", 18), OnFlow("QIR_Activate_FCB", 0, 18),
     Nothing},
    {"forwarding that is not stored", NotMade("QIR_Set_FwdInfo", offsetof(Fcb, fwdInfoSet) + kLow),
     Telling(OnFlow("QIR_Set_FwdInfo", 0), FwdInfo{}), Nothing},
    {"forwarding that is not given", NotStored("QIR_Get_FwdInfo"),
     Telling(OnFlow("QIR_Get_FwdInfo", 1), fuzz::Unwritten<FwdInfo>()), Nothing},
    {"a destination that is not added",
     NotMade("QIR_Add_DstPortInfo", offsetof(Fcb, fwdInfo.dst.portMask) + kLow),
     Telling(OnFlow("QIR_Add_DstPortInfo", 1), DstMask{{}, 0, {}, {}, 8}), Nothing},
    {"GEM ports without bit 9",
     NotMade("QIR_Add_DstPortInfo", offsetof(Fcb, fwdInfo.dst.gemPortIdxMask) + (kLow == 0 ? 1 : 2)),
     Telling(OnFlow("QIR_Add_DstPortInfo", 1), DstMask{{}, 1, {}, {}, 0x80}), Nothing},
    {"a destination that is not removed",
     NotMade("QIR_Rem_DstPortInfo", offsetof(Fcb, fwdInfo.dst.portMask) + kLow),
     Telling(OnFlow("QIR_Rem_DstPortInfo", 1), DstMask{{}, 0, {}, {}, 2}), Nothing},
    {"no destination at all", "", Telling(OnFlow("QIR_Rem_DstPortInfo", 1), DstMask{{}, 1, {}, {}, 0}),
     Nothing},
    {"an override that is not set", NotMade("QIR_Set_AsOverride", offsetof(Fcb, asOverride) + kLow),
     With(OnFlow("QIR_Set_AsOverride", 0), 1), Nothing},
    {"an override that is not given", NotStored("QIR_Get_AsOverride"),
     Telling(OnFlow("QIR_Get_AsOverride", 0), u32{1}), Nothing},
    {"a PAC table that is not released", NotMade("QIR_Set_PacInfo", offsetof(Fcb, tblAssoc) + kLowOfHalf),
     PacInfo(0, e_TBLSTATUS_DISABLE, 1, 0), Nothing},
    {"a source that is not stored", NotMade("QIR_Set_PacInfo", offsetof(Fcb, pbitsSource) + kLow),
     PacInfo(0, e_TBLSTATUS_ENABLE, 2, 0), Nothing},
    {"a refusal that does not store the handle",
     NotMade("QIR_Set_PacInfo", offsetof(Fcb, pacTblHdl) + kLow, 15), PacInfo(15, e_TBLSTATUS_ENABLE, 1, 1),
     Nothing},
    {"a refusal that has no EP association",
     NotMade("QIR_Set_EpInfo", offsetof(Fcb, tblAssoc) + kLowOfHalf, 17), EpInfo(17, e_TBLSTATUS_ENABLE),
     [](QirCtxt &ctxt) { ctxt.fcbPool[1].epTblHdl.word = 2; }},
    {"a PAC association that is not given", NotStored("QIR_Get_PacInfo"),
     Telling(OnFlow("QIR_Get_PacInfo", 0), std::array<u32, 3>{1, 0, 0}), Nothing},
    {"an EP association that is not given", NotStored("QIR_Get_EpInfo"),
     Telling(OnFlow("QIR_Get_EpInfo", 0), std::array<u32, 2>{1, 0xFFFFFFFF}), Nothing},
    // Tables.
    {"a table that is not freed", NotMade("QIR_Free_PacTable", offsetof(PacTblInfo, status) + kLow),
     OnTable("QIR_Free_PacTable", 0), Nothing},
    {"a table called used that is not", NoReason("QIR_Free_PacTable", 13),
     OnTable("QIR_Free_PacTable", 1, 13), Nothing},
    {"a table that is used", "", OnTable("QIR_Free_PacTable", 0, 13), Nothing},
    {"a table that is not allocated", NotMade("QIR_Alloc_PacTable", 0),
     AllocatedTable("QIR_Alloc_PacTable", 1), Nothing},
    {"not the lowest", "QIR_Alloc_DscpToPbitsTable -> 0: a lower table was FREE",
     AllocatedTable("QIR_Alloc_DscpToPbitsTable", 2), Nothing},
    {"one that was not FREE", "QIR_Alloc_AsTable -> 0: took a table that was not FREE",
     AllocatedTable("QIR_Alloc_AsTable", 1), Nothing},
    {"a table that there is not", "QIR_Alloc_AsTable -> 0: accepted, and names nothing",
     AllocatedTable("QIR_Alloc_AsTable", 16), Nothing},
    {"a flow that there is not", "QIR_Alloc_FCB -> 0: accepted, and names nothing", Allocated(512, 512),
     Nothing},
    {"none FREE while there is one", NoReason("QIR_Alloc_AsTable", 12),
     OnTable("QIR_Alloc_AsTable", kNone, 12), Nothing},
    {"a table that is not activated", NotMade("QIR_Activate_AsTable", offsetof(AsTblInfo, status) + kLow),
     OnTable("QIR_Activate_AsTable", 1), Nothing},
    {"nor deactivated", NotMade("QIR_Deactivate_DscpToPbitsTable", offsetof(DscpTblInfo, hwTblIdx)),
     OnTable("QIR_Deactivate_DscpToPbitsTable", 0), Nothing},
    {"a failure that keeps the slot", NotMade("QIR_Deactivate_PacTable", offsetof(PacTblInfo, hwTblIdx), 1),
     OnTable("QIR_Deactivate_PacTable", 0, 1), Nothing},
    {"a configuration that is not stored", NotMade("QIR_Set_AsTableCfg", offsetof(AsTblInfo, cfg) + kLow),
     Telling(OnTable("QIR_Set_AsTableCfg", 0), AsTblCfg{2}), Nothing},
    {"an entry that is not stored", NotMade("QIR_Set_AsTableEntry", offsetof(AsTblInfo, ent)),
     Telling(With(OnTable("QIR_Set_AsTableEntry", 0), 0), AsEnt{}), Nothing},
    {"an entry used that is not", NoReason("QIR_Set_AsTableEntry", 12),
     With(OnTable("QIR_Set_AsTableEntry", 0, 12), 0), Nothing},
    {"an entry that is not deleted",
     NotMade("QIR_Delete_AsTableEntry", offsetof(AsTblInfo, ent) + 2 * sizeof(AsEntSlot) + 52 + kLow),
     With(OnTable("QIR_Delete_AsTableEntry", 0), 2), Nothing},
    {"an entry that is not given", NotStored("QIR_Get_AsTableEntry"),
     Telling(With(OnTable("QIR_Get_AsTableEntry", 0), 2), fuzz::Unwritten<AsEnt>()), Nothing},
    {"rows without the default",
     NotMade("QIR_Set_DscpToPbitsTable_DefPbits", offsetof(DscpTblInfo, status) + kLow),
     Telling(OnTable("QIR_Set_DscpToPbitsTable_DefPbits", 0), DscpDefPbits{0, 3, {}}),
     [](QirCtxt &ctxt) { ctxt.dscpTblPool[0].pbits[63] = 2; }},
    {"a row that is not set", NotMade("QIR_Set_DscpToPbitsTable", offsetof(DscpTblInfo, pbits) + 63),
     Telling(OnTable("QIR_Set_DscpToPbitsTable", 0), DscpMapping{0, 63, 63, 7}), Nothing},
    {"a row that is not given", NotStored("QIR_Get_DscpToPbitsTable"),
     Telling(With(OnTable("QIR_Get_DscpToPbitsTable", 0), 63), u8{7}), Nothing},
    {"entries without the configuration", NotMade("QIR_Set_PacTableCfg", offsetof(PacTblInfo, cfg) + 2),
     Telling(OnTable("QIR_Set_PacTableCfg", 0), PacTblCfg{0, 7, 0, {}}), Nothing},
    {"an entry that is not stored", NotMade("QIR_Set_PacTableEntry", offsetof(PacTblInfo, ent) + 7 * 28 + 3),
     Telling(With(OnTable("QIR_Set_PacTableEntry", 0), 7), PacTblCfg{0, 0, 7, {}}), Nothing},
    // Settings and limiters.
    {"a budget that is not stored", NotMade("QIR_Set_SectionMaxFlows", kLowOfHalf),
     With(Named("QIR_Set_SectionMaxFlows"), 2, 1), Nothing},
    {"the budget of another section", NotMade("QIR_Set_SectionMaxFlows", 2 + kLowOfHalf),
     With(Named("QIR_Set_SectionMaxFlows"), 2, 0), [](QirCtxt &ctxt) { ++ctxt.cfg.flowSection[2].cfgFlows; }},
    {"busy without reason", NoReason("QIR_Set_SectionMaxFlows", 13),
     With(Named("QIR_Set_SectionMaxFlows", 13), 1, 2), Nothing},
    {"busy", "", With(Named("QIR_Set_SectionMaxFlows", 13), 1, 1), Nothing},
    {"too many without reason", NoReason("QIR_Set_SectionMaxFlows", 12),
     With(Named("QIR_Set_SectionMaxFlows", 12), 1, 512), Nothing},
    {"too many", "", With(Named("QIR_Set_SectionMaxFlows", 12), 2, 1), Nothing},
    {"a budget that is not given", NotStored("QIR_Get_SectionMaxFlows"),
     Telling(With(Named("QIR_Get_SectionMaxFlows"), 1), u16{511}), Nothing},
    {"a setting that is not stored", NotStored("QIR_Set_FlowMissAction"),
     Telling(Named("QIR_Set_FlowMissAction"), u32{1}), Nothing},
    {"a setting that is not given", NotStored("QIR_Get_RLStatus"), Telling(Named("QIR_Get_RLStatus"), u32{1}),
     Nothing},
    {"a limiter that is not allocated", NotMade("QIR_Alloc_RL", offsetof(RlSlot, state) + kLow),
     OnLimiter("QIR_Alloc_RL", 0), Nothing},
    {"nor cleared", NotMade("QIR_Alloc_RL", 0 + kLow), OnLimiter("QIR_Alloc_RL", 3),
     [](QirCtxt &ctxt) { ctxt.rlTbl[1][3].state = e_STATUS_ALLOC; }},
    {"nor freed", NotMade("QIR_Free_RL", offsetof(RlSlot, state) + kLow), OnLimiter("QIR_Free_RL", 3),
     Nothing},
    {"busy without reason", NoReason("QIR_Free_RL", 13), OnLimiter("QIR_Free_RL", 0, 13), Nothing},
    {"in use without reason", NoReason("QIR_Alloc_RL", 12), OnLimiter("QIR_Alloc_RL", 0, 12), Nothing},
    {"a limiter that is not set", NotMade("QIR_Set_RL", 4 + kLow),
     Telling(OnLimiter("QIR_Set_RL", 3), RlEnt{5, 101, 1, 0}), Nothing},
    {"nor given", NotStored("QIR_Get_RL"), Telling(OnLimiter("QIR_Get_RL", 3), RlEnt{5, 101, 1, 0}), Nothing},
    {"nor deactivated", NotMade("QIR_Deactivate_RL", offsetof(RlSlot, state) + kLow),
     OnLimiter("QIR_Deactivate_RL", 3), Nothing},
};

class BrokenEffect : public Effects, public ::testing::WithParamInterface<Row> {};

TEST_P(BrokenEffect, IsSeenOrAllowed) {
    GetParam().change(ctxt);
    EXPECT_EQ(Check(GetParam().call), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, BrokenEffect, ::testing::ValuesIn(kRows));

// All flows in use: the refusal has its reason.
TEST_F(Effects, NoFlowIsFree) {
    for (Fcb &each : before_->fcbPool) {
        each.status = e_STATUS_ALLOC;
    }
    EXPECT_EQ(Check(OnFlow("QIR_Alloc_FCB", kNone, 12)), "");
    for (AsTblInfo &each : before_->asTblPool) {
        each.status = e_STATUS_ALLOC;
    }
    EXPECT_EQ(Check(OnTable("QIR_Alloc_AsTable", kNone, 12)), "");
}

// The calls of which the rows above show what is missing, made as they should be.
TEST_F(Effects, OfRightCallsAreFound) {
    FlowHdl hdl = test::Flow(0);
    hdl.f1.rsvd = 0x5A; // the caller's own
    test::Capture([&] { ASSERT_EQ(QIR_Free_FCB(&hdl), 0u); });
    EXPECT_EQ(Check(OnFlow("QIR_Free_FCB", 0)), "");
    Settle();
    test::Capture([&] { ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u); });
    EXPECT_EQ(Check(Allocated(0, hdl.word)), "");
    Settle();
    PacTblHdl pac{};
    test::Capture([&] { ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u); });
    EXPECT_EQ(Check(AllocatedTable("QIR_Alloc_PacTable", 1)), "");
}

} // namespace

} // namespace fuzz_checks
