// What the checks of the fuzzer see: a context that is right is broken in one place, and they have to say where.
#include "tests/support/library.h"

#include "fuzz/hardware.h"
#include "fuzz/invariants.h"

#include <memory>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;
using fuzz::Changes;
using fuzz::kNone;

// Flow 0, configured: headers of both blocks with requests, and PAC table 0 in use. Flow 1, active. Flow 2,
// allocated. AS table 0 with an entry, DSCP table 0, PAC table 0 and rate limiter (1, 3), active; AS table 1,
// allocated.
class Checks : public test::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        test::Capture(Build);
        right_ = std::make_unique<QirCtxt>(ctxt);
    }
    static void Build();
    void Repair() { std::memcpy(static_cast<void *>(&ctxt), right_.get(), sizeof ctxt); }

    QirCtxt &ctxt = *qirCtxt_gp;
    std::unique_ptr<QirCtxt> right_;
};

void Checks::Build() {
    const auto accept = [](uint32_t rc) { ASSERT_EQ(rc, 0u); };
    AsTblHdl as{};
    const AsTblCfg asCfg{1};
    AsEnt ent{};
    ent.aclMask = AS_ENT_MASK_MAC_SA;
    accept(QIR_Alloc_AsTable(&as));
    accept(QIR_Set_AsTableCfg(&as, &asCfg));
    accept(QIR_Set_AsTableEntry(&as, 2, &ent));
    accept(QIR_Activate_AsTable(&as));
    accept(QIR_Alloc_AsTable(&as));
    DscpTblHdl dscp{};
    const DscpDefPbits def{};
    accept(QIR_Alloc_DscpToPbitsTable(&dscp));
    accept(QIR_Set_DscpToPbitsTable_DefPbits(&dscp, &def));
    accept(QIR_Activate_DscpToPbitsTable(&dscp));
    PacTblHdl pac{};
    const PacTblCfg pacCfg{};
    accept(QIR_Alloc_PacTable(&pac));
    accept(QIR_Set_PacTableCfg(&pac, &pacCfg));
    accept(QIR_Activate_PacTable(&pac));

    FlowHdl flow{};
    accept(QIR_Alloc_FCB(1, &flow));
    for (const uint32_t blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
        for (const uint32_t hdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
            const FlowHdr flowHdr{blk, hdr};
            accept(QIR_Alloc_Hdr(&flow, &flowHdr));
        }
    }
    VlanFilter vlan{};
    vlan.type = e_VLAN_FILT_VID;
    accept(QIR_Config_VlanFilter(&flow, &vlan));
    vlan.type = e_VLAN_FILT_TPID;
    accept(QIR_Config_VlanFilter(&flow, &vlan));
    const PppoeAction pppoe{};
    accept(QIR_Config_PppoeAction(&flow, &pppoe));
    accept(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 1, &pac));
    FwdInfo fwd{};
    fwd.src.portMask = 1;
    fwd.dst.portMask = 2;
    accept(QIR_Alloc_FCB(2, &flow));
    accept(QIR_Set_FwdInfo(&flow, &fwd));
    accept(QIR_Activate_FCB(&flow));
    accept(QIR_Alloc_FCB(1, &flow));
    accept(QIR_Set_RL(1, 3, RlEnt{5, 100, 1, 0}));
    accept(QIR_Activate_RL(1, 3));
}

// What a check complains of; empty when it does not.
template <class Check> std::string ComplaintOf(Check check) {
    try {
        check();
    } catch (const fuzz::Complaint &broken) {
        return broken.what();
    }
    return {};
}

struct Row {
    const char *complaint;
    void (*breakIt)(QirCtxt &c, Fcb &f); // the context, and flow 0
};

// ---- The context

const Row kOfContext[] = {
    // The flow's fields.
    {"flow 0: no such status", [](QirCtxt &, Fcb &f) { f.status = e_STATUS_MAX; }},
    {"flow 0: no such section", [](QirCtxt &, Fcb &f) { f.section = 3; }},
    {"flow 0: its handle names another flow", [](QirCtxt &, Fcb &f) { f.flowHdl.f1.id = 1; }},
    {"flow 0: associated with a table of no kind", [](QirCtxt &, Fcb &f) { f.tblAssoc = 4; }},
    {"flow 0: no such address-screening override", [](QirCtxt &, Fcb &f) { f.asOverride = 2; }},
    {"flow 0: no such EP table", [](QirCtxt &, Fcb &f) { f.tblAssoc |= kTblAssocEp; }},
    {"flow 0: no such PAC table", [](QirCtxt &, Fcb &f) { f.pacTblHdl.f1.id = 16; }},
    {"flow 1: no such forwarding action", [](QirCtxt &c, Fcb &) { c.fcbPool[1].fwdInfo.fwdAction = 8; }},
    {"flow 0: configured, and still ALLOC", [](QirCtxt &, Fcb &f) { f.status = e_STATUS_ALLOC; }},
    {"flow 0: a header of no type", [](QirCtxt &, Fcb &f) { f.filterBlk.hdrBmap |= 0x100; }},
    {"flow 0: a VLAN header on none", [](QirCtxt &, Fcb &f) { f.filterBlk.hdrBmap |= 0x08; }},
    {"flow 0: tags miscounted", [](QirCtxt &, Fcb &f) { f.actionBlk.hdrBmap = 0x80; }},
    {"flow 0: more tags pushed than a frame can carry",
     [](QirCtxt &, Fcb &f) { f.actionBlk.pushedTags = 3; }},
    {"flow 0: more tags popped than there are", [](QirCtxt &, Fcb &f) { f.actionBlk.poppedTags = 2; }},
    // Its nodes.
    {"flow 0: node 5 does not name itself", [](QirCtxt &, Fcb &f) { f.reqPool[5].curr = 6; }},
    {"flow 0: node 31 leads out of the pool", [](QirCtxt &, Fcb &f) { f.reqPool[31].next = 32; }},
    {"flow 0: node 30 is not led back to", [](QirCtxt &, Fcb &f) { f.reqPool[30].next = 0; }},
    {"flow 0: node 0 does not head the free list", [](QirCtxt &, Fcb &f) { f.freeReqList = 1; }},
    // A node taken off the free list and put on none.
    {"flow 0: free nodes miscounted",
     [](QirCtxt &, Fcb &f) {
         f.reqPool[0].prev = 30;
         f.reqPool[30].next = 0;
         f.reqPool[31].next = f.reqPool[31].prev = 31;
     }},
    {"flow 0: a node on no list",
     [](QirCtxt &, Fcb &f) {
         f.reqPool[0].prev = 30;
         f.reqPool[30].next = 0;
         f.reqPool[31].next = f.reqPool[31].prev = 31;
         --f.freeReqCount;
     }},
    {"flow 0: PPPoE filters have no list", [](QirCtxt &, Fcb &f) { f.filterBlk.pppoe.hdr.reqList = 0xA5A5; }},
    {"flow 0: Ethernet filters are on the list of another header",
     [](QirCtxt &, Fcb &f) { f.filterBlk.eth.hdr.reqList = 31; }},
    {"flow 0: filters of tag 0 are miscounted",
     [](QirCtxt &, Fcb &f) { ++f.filterBlk.vlan[0].hdr.reqCount; }},
    // The PPPoE actions count on from the fill.
    {"flow 0: PPPoE actions are miscounted", [](QirCtxt &, Fcb &f) { f.actionBlk.pppoe.reqCount = 1; }},
    {"flow 0: filters of tag 0 hold a type that was not accepted",
     [](QirCtxt &, Fcb &f) { f.filterBlk.vlan[0].hdr.curBmap &= 0xFFDF; }},
    // Sections.
    {"section 1: miscounts its flows", [](QirCtxt &c, Fcb &) { ++c.cfg.flowSection[1].cfgFlows; }},
    {"section 1: more budget than there are flows",
     [](QirCtxt &c, Fcb &) { c.cfg.flowSection[0].maxFlows = 1; }},
    // Tables.
    {"AS table 0: no such status", [](QirCtxt &c, Fcb &) { c.asTblPool[0].status = 4; }},
    {"AS table 0: its handle names another table", [](QirCtxt &c, Fcb &) { c.asTblPool[0].hdl.f1.id = 7; }},
    {"AS table 1: in hardware, and still ALLOC", [](QirCtxt &c, Fcb &) { c.asTblPool[1].hwTblIdx = 0; }},
    {"AS table 0: in use", [](QirCtxt &c, Fcb &) { c.asTblPool[0].refCnt = 1; }},
    {"AS table 0: an entry that is none", [](QirCtxt &c, Fcb &) { c.asTblPool[0].ent[2].ent.aclMask = 0; }},
    {"AS table 0: no source port", [](QirCtxt &c, Fcb &) { c.asTblPool[0].cfg.srcPortMask = 0; }},
    {"AS table 1: entries before a configuration",
     [](QirCtxt &c, Fcb &) { c.asTblPool[1].ent[0] = c.asTblPool[0].ent[2]; }},
    {"DSCP table 0: no such source port", [](QirCtxt &c, Fcb &) { c.dscpTblPool[0].cfg.srcPort = 9; }},
    {"PAC table 0: unknown override bits", [](QirCtxt &c, Fcb &) { c.pacTblPool[0].ent[7].ovrd = 0x20; }},
    // Settings and rate limiters.
    {"port 2: no such pad length", [](QirCtxt &c, Fcb &) { c.portPadLenTbl[2] = 63; }},
    {"port 8: a pad length where there is none", [](QirCtxt &c, Fcb &) { c.portPadLenTbl[8] = 64; }},
    {"port 3: TPIDs of another port", [](QirCtxt &c, Fcb &) { c.tpidTbl[3].portId = 2; }},
    {"rate limiter 19: no such state", [](QirCtxt &c, Fcb &) { c.rlTbl[1][3].state = 4; }},
    {"rate limiter 19: no such rate", [](QirCtxt &c, Fcb &) { c.rlTbl[1][3].ent.cirRate = 1001; }},
};

void CheckAll() {
    for (fuzz::u32 idx = 0; idx < QIR_MAX_FLOWS; ++idx) {
        fuzz::CheckFlow(*qirCtxt_gp, idx);
    }
    fuzz::CheckSections(*qirCtxt_gp);
    fuzz::CheckTables(*qirCtxt_gp);
    fuzz::CheckSettings(*qirCtxt_gp);
}

TEST_F(Checks, OfTheContext) {
    for (const Row &row : kOfContext) {
        ASSERT_EQ(ComplaintOf(CheckAll), "");
        row.breakIt(ctxt, ctxt.fcbPool[0]);
        EXPECT_EQ(ComplaintOf(CheckAll), row.complaint);
        Repair();
    }
    ctxt.fcbPool[9].reqPool[3].next = 77;
    EXPECT_EQ(ComplaintOf(CheckAll), "") << "a FREE flow's nodes mean nothing";
}

// One more or less is counted when one flow more or less is associated.
TEST_F(Checks, OfCounts) {
    Call call{"", &fuzz::kSetPacInfo};
    call.flow = 0;
    const auto check = [&] { fuzz::CheckCounts(*right_, ctxt, call); };
    EXPECT_EQ(ComplaintOf(check), "");
    --ctxt.pacTblPool[0].refCnt;
    EXPECT_EQ(ComplaintOf(check), "counts of flow 0: of PAC tables");
    ctxt.fcbPool[0].tblAssoc = 0;
    EXPECT_EQ(ComplaintOf(check), "");
    ++ctxt.epTblPool[3].refCnt;
    EXPECT_EQ(ComplaintOf(check), "counts of flow 0: of EP tables");
    call = {"", &fuzz::kFreeTable<PacKind>, e_RET_OK, kNone, 0};
    EXPECT_EQ(ComplaintOf(check), "PAC table 0: freed while in use");
}

// ---- Hardware and shadow

const Row kOfSides[] = {
    {"the hardware's slot flow 0 is taken", [](QirCtxt &c, Fcb &) { c.fcbPool[1].status = e_STATUS_CFG; }},
    {"flow 7 is ACTIVE, and the hardware does not hold it",
     [](QirCtxt &c, Fcb &) { c.fcbPool[7].status = e_STATUS_ACTIVE; }},
    {"PAC table 0 is ACTIVE, and the hardware does not hold it",
     [](QirCtxt &c, Fcb &) { c.pacTblPool[0].hwTblIdx = kNoHwIdx; }},
    {"AS table 0 is not what the hardware holds for it",
     [](QirCtxt &c, Fcb &) { c.asTblPool[0].ent[7].status = 7; }},
    {"DSCP table 0 is not what the hardware holds for it",
     [](QirCtxt &c, Fcb &) { c.dscpTblPool[0].cfg.pbits = 7; }},
    {"flow 1 is not what the hardware holds for it",
     [](QirCtxt &c, Fcb &) { c.fcbPool[1].fwdInfo.dst.portMask = 4; }},
    {"limiter of direction 1, 3 is not what the hardware holds for it",
     [](QirCtxt &c, Fcb &) { c.rlTbl[1][3].ent.cbs = 4; }},
    {"flow-miss action 0 is another one in the hardware", [](QirCtxt &c, Fcb &) { c.flowMissAction = 1; }},
    {"rate-limiter status 0 is another one in the hardware", [](QirCtxt &c, Fcb &) { c.rlStatus = 1; }},
    {"pad length of port 7 is another one in the hardware",
     [](QirCtxt &c, Fcb &) { c.portPadLenTbl[7] = 64; }},
    {"default ACL of port 8 is another one in the hardware",
     [](QirCtxt &c, Fcb &) { c.portDefAclTbl[8] = 1; }},
    {"TPID of port 8 is another one in the hardware", [](QirCtxt &c, Fcb &) { c.tpidTbl[8].tpid[3] = 1; }},
    {"TCI configuration of direction 1 is another one in the hardware",
     [](QirCtxt &c, Fcb &) { c.rlTciCfgTbl[1].tci[1] = 1; }},
};

TEST_F(Checks, OfTheTwoSides) {
    for (const Row &row : kOfSides) {
        fuzz::TwoSides sides;
        const auto check = [&](fuzz::u32 rc) {
            return ComplaintOf([&] { sides.Check(ctxt, *orxemu_state(), {"", &fuzz::kReads, rc}); });
        };
        ASSERT_EQ(check(e_RET_OK), "");
        row.breakIt(ctxt, ctxt.fcbPool[0]);
        EXPECT_EQ(check(e_RET_OK), row.complaint);
        EXPECT_EQ(check(e_RET_DRIVER_FAILURE), "") << "the driver failed";
        EXPECT_EQ(check(e_RET_OK), "") << "it is known";
        ctxt.tpidTbl[0].tpid[0] = 1;
        EXPECT_EQ(check(e_RET_OK), "TPID of port 0 is another one in the hardware") << "it is not";
        Repair();
        EXPECT_EQ(check(e_RET_OK), "") << "both sides are alike";
        row.breakIt(ctxt, ctxt.fcbPool[0]);
        EXPECT_EQ(check(e_RET_OK), row.complaint) << "what was known is forgotten";
        Repair();
    }
}

TEST_F(Checks, OfAnActivation) {
    fuzz::TwoSides sides;
    const Call call{"", &fuzz::kActivateFlow, e_RET_OK, 1};
    const auto check = [&] { sides.Check(ctxt, *orxemu_state(), call); };
    EXPECT_EQ(ComplaintOf(check), "");
    ctxt.fcbPool[1].reqPool[31].req[35] ^= 1;
    EXPECT_EQ(ComplaintOf(check), "the hardware has taken another flow");
}

// ---- What a call may change

Call Of(const Changes &changes, fuzz::u32 rc, fuzz::u32 flow = kNone, fuzz::u32 table = kNone) {
    Call call{"", &changes, rc, flow, table};
    call.epTable = call.pacTable = table;
    return call;
}

// A filter of VLAN tag 0, with the counter of its type and operator at 3.
Call Filter(fuzz::u32 rc, bool takesOperator) {
    Call call = Of(fuzz::kConfigFilter, rc, 0);
    call.entry = offsetof(QirCtxt, fcbPool) + offsetof(Fcb, filterBlk.vlan);
    call.entryBytes = sizeof(VlanFilterEntry);
    call.counter = call.entry + offsetof(VlanFilterEntry, cmpOpCurCnt) + 3;
    call.takesOperator = takesOperator;
    return call;
}

struct ChangeRow {
    const char *what;
    std::string complaint; // "" for what is allowed
    Call call;
    void (*change)(QirCtxt &c, Fcb &f); // of the context, and flow 0 in it
};

std::string Byte(std::size_t offset) {
    return "changed byte " + std::to_string(offset);
}

// Whole words are turned over, so that the first byte differs in either byte order.
const ChangeRow kOfCalls[] = {
    {"a reading call changes nothing", "changed flow 0 + 20", Of(fuzz::kReads, 0, 0),
     [](QirCtxt &, Fcb &f) { f.asOverride = ~f.asOverride; }},
    {"a refused call changes nothing", "changed flow 0 + 20", Of(fuzz::kSetAsOverride, 17, 0),
     [](QirCtxt &, Fcb &f) { f.asOverride = ~f.asOverride; }},
    {"an accepted one its field", "", Of(fuzz::kSetAsOverride, 0, 0),
     [](QirCtxt &, Fcb &f) { f.asOverride = ~f.asOverride; }},
    {"and no other", "changed flow 0 + 24", Of(fuzz::kSetAsOverride, 0, 0),
     [](QirCtxt &, Fcb &f) { f.reserved1 = ~f.reserved1; }},
    {"the last byte of a flow", "changed flow 0 + 1883", Of(fuzz::kSetAsOverride, 0, 0),
     [](QirCtxt &, Fcb &f) { f.reqPool[31].req[35] ^= 1; }},
    {"one that names no flow", "accepted, or begun, and names nothing", Of(fuzz::kSetAsOverride, 0),
     [](QirCtxt &, Fcb &) {}},
    {"a table", "", Of(fuzz::kFreeTable<PacKind>, 0, kNone, 3),
     [](QirCtxt &c, Fcb &) { c.pacTblPool[3].status = ~c.pacTblPool[3].status; }},
    {"and not its neighbour", Byte(offsetof(QirCtxt, pacTblPool[3].status)),
     Of(fuzz::kFreeTable<PacKind>, 0, kNone, 2),
     [](QirCtxt &c, Fcb &) { c.pacTblPool[3].status = ~c.pacTblPool[3].status; }},
    {"the driver's index of a refused activation", "", Of(fuzz::kSwitchTable<PacKind>, 1, kNone, 2),
     [](QirCtxt &c, Fcb &) { c.pacTblPool[2].hwTblIdx = 9; }},
    {"only with the driver's refusal", Byte(offsetof(QirCtxt, pacTblPool[2].hwTblIdx)),
     Of(fuzz::kSwitchTable<PacKind>, 17, kNone, 2),
     [](QirCtxt &c, Fcb &) { c.pacTblPool[2].hwTblIdx = ~c.pacTblPool[2].hwTblIdx; }},
    {"the count of the table that a flow names", "", Of(fuzz::kFreeFlow, 0, 0, 2),
     [](QirCtxt &c, Fcb &) { ++c.epTblPool[2].refCnt; }},
    {"the type's bit and count by a bad value", "", Filter(e_RET_ERR_INVALID_PARAM, true),
     [](QirCtxt &, Fcb &f) { f.filterBlk.vlan[0].hdr.curBmap ^= 1, ++f.filterBlk.vlan[0].cmpOpCurCnt[3]; }},
    {"no count by the operator's limit", "changed flow 0 + 73", Filter(e_RET_ERR_INVALID_CMPOPSEQ, true),
     [](QirCtxt &, Fcb &f) { ++f.filterBlk.vlan[0].cmpOpCurCnt[3]; }},
    {"nothing by an operator that the type does not take", "changed flow 0 + 68",
     Filter(e_RET_ERR_INVALID_CMPOPSEQ, false),
     [](QirCtxt &, Fcb &f) { f.filterBlk.vlan[0].hdr.curBmap ^= 0xFFFF; }},
};

TEST_F(Checks, OfChanges) {
    for (const ChangeRow &row : kOfCalls) {
        fuzz::Before before(ctxt);
        row.change(ctxt, ctxt.fcbPool[0]);
        EXPECT_EQ(ComplaintOf([&] { before.Compare(ctxt, row.call); }), row.complaint) << row.what;
        Repair();
    }
}

TEST_F(Checks, OfAFlowThatNoCallNamed) {
    fuzz::Before before(ctxt);
    ctxt.fcbPool[400].reqPool[31].req[35] ^= 1;
    EXPECT_EQ(ComplaintOf([&] { before.Compare(ctxt, Of(fuzz::kReads, 0, 3)); }), "");
    EXPECT_EQ(ComplaintOf([&] { before.CompareRest(ctxt); }), "changed flow 400 + 1883");
    EXPECT_EQ(ComplaintOf([&] { before.Compare(ctxt, Of(fuzz::kInitSystem, 0)); }),
              "changed flow 400 + 1883, not what start-up makes of it");
}

TEST_F(Checks, ChangesAreTakenBack) {
    fuzz::Before before(ctxt);
    ctxt.fcbPool[7].asOverride = 7;
    ASSERT_EQ(ComplaintOf([&] { before.Compare(ctxt, Of(fuzz::kSetAsOverride, 0, 7)); }), "");
    before.Restore(ctxt);
    EXPECT_EQ(ComplaintOf([&] { before.CompareRest(ctxt); }), "");
    EXPECT_NE(ctxt.fcbPool[7].asOverride, 7u);
}

} // namespace

} // namespace fuzz_checks
