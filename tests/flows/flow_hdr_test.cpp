// The public operations on headers.
#include "tests/flows/flow_test.h"

namespace flows::flow_hdr {
namespace {

class FlowHeader : public FlowTest {
  protected:
    Op Alloc(u32 blk, u32 hdr) {
        return [this, blk, hdr] {
            const FlowHdr record{blk, hdr};
            return QIR_Alloc_Hdr(&hdl_, &record);
        };
    }
    Op Dump(u32 blk, u32 hdr) {
        return [this, blk, hdr] {
            const FlowHdr record{blk, hdr};
            return QIR_Dump_HdrReqList(&hdl_, &record);
        };
    }

    FlowHdl hdl_{};
};

const char *const kAlloc = "QIR_Alloc_Hdr";
const char *const kDump = "QIR_Dump_HdrReqList";

TEST_F(FlowHeader, AllocationMakesTheFlowConfigured) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    const ContextSnapshot before;
    ExpectCall(Alloc(0, e_FLOWHDR_ETH), 0, "");
    EXPECT_EQ(fcb.status, 2u);
    EXPECT_EQ(fcb.filterBlk.hdrBmap, 0x1);
    EXPECT_EQ(fcb.actionBlk.hdrBmap, 0x0);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.status), Place(fcb.filterBlk.hdrBmap),
                                       Place(fcb.filterBlk.eth), Place(fcb.reqPool[0].next),
                                       Place(fcb.reqPool[1].next), Place(fcb.reqPool[1].prev),
                                       Place(fcb.reqPool[2].prev), Place(fcb.freeReqCount)}));
    ExpectCall(Alloc(1, e_FLOWHDR_ETH), 0, "");
    EXPECT_EQ(fcb.actionBlk.hdrBmap, 0x1);
    EXPECT_EQ(fcb.status, 2u);
}

TEST_F(FlowHeader, MplsSucceedsWithErrorLines) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    ASSERT_EQ(Alloc(0, e_FLOWHDR_ETH)(), 0u);
    ExpectCall(Alloc(0, e_FLOWHDR_MPLS), 0,
               Err("IsSet_FilterAllReqdHdr", "Unknown flow hdr <6> ") +
                   Err("Alloc_Hdr", "Unknown flow hdr <6> "));
    EXPECT_EQ(FcbOf(hdl_).filterBlk.hdrBmap, 0x41);
    ExpectRefused(Dump(0, e_FLOWHDR_MPLS), 0, Err("Dump_HdrReqList", "Unknown flow hdr <6> "));
}

TEST_F(FlowHeader, RefusalsLeaveTheFlowAsItWas) {
    struct Row {
        const char *what;
        u32 blk;
        u32 hdr;
        u32 rc;
        std::string out;
    };
    const std::string order =
        CodeLine("IsSet_FilterAllReqdHdr", "e_RET_ERR_HDROUTOFORDER") + RetVal(kAlloc, 10);
    const std::string actionOrder =
        CodeLine("IsSet_ActionAllReqdHdr", "e_RET_ERR_HDROUTOFORDER") + RetVal(kAlloc, 10);
    const std::string block = Refusal(kAlloc, "e_RET_ERR_INVALID_BLOCKTYPE", 43);
    const std::string header = Refusal(kAlloc, "e_RET_ERR_INVALID_HDRTYPE", 42);
    const Row rows[] = {
        {"first block beyond", 3, 0, 43, block},
        {"any block beyond", 0xFFFFFFFF, 0, 43, block},
        {"block before header", 3, 8, 43, block},
        {"first header beyond", 0, 8, 42, header},
        {"any header beyond", 1, 0xFFFFFFFF, 42, header},
        {"header before the block without headers", 2, 8, 42, header},
        {"block without headers", 2, 0, 25,
         Err("Alloc_Hdr", "Unknown block type <2> ") + CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM") +
             RetVal(kAlloc, 25)},
        {"block without headers, last header", 2, 7, 25,
         Err("Alloc_Hdr", "Unknown block type <2> ") + CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM") +
             RetVal(kAlloc, 25)},
        {"outer tag without Ethernet", 0, 1, 10, order},
        {"inner tag without Ethernet", 0, 2, 10, order},
        {"PPPoE without Ethernet", 0, 5, 10, order},
        {"IPv4 without Ethernet", 0, 7, 10, order},
        {"outer tag action without Ethernet", 1, 1, 10, actionOrder},
        {"IPv4 action without Ethernet", 1, 7, 10, actionOrder},
    };
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG}) {
        hdl_ = FlowIn(status);
        for (const Row &row : rows) {
            SCOPED_TRACE(row.what);
            ExpectRefused(Alloc(row.blk, row.hdr), row.rc, row.out);
        }
    }
}

TEST_F(FlowHeader, HeaderThatIsThereIsRefused) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    AllocHdrs(FcbOf(hdl_), e_BLKTYPE_FILTER, {0, 1});
    ExpectRefused(Alloc(0, e_FLOWHDR_ETH), 12,
                  CodeLine("Alloc_Hdr", "e_RET_ERR_RESRC_UNAVAIL") + RetVal(kAlloc, 12));
    ExpectRefused(Alloc(0, e_FLOWHDR_VLAN0), 12,
                  CodeLine("Alloc_Hdr", "e_RET_ERR_RESRC_UNAVAIL") + RetVal(kAlloc, 12));
    EXPECT_EQ(FcbOf(hdl_).status, 1u);
    ExpectCall(Alloc(1, e_FLOWHDR_ETH), 0, "");
}

TEST_F(FlowHeader, ActiveFlowIsRefusedBehindTheArguments) {
    hdl_ = FlowIn(e_STATUS_ACTIVE);
    ExpectRefused(Alloc(0, 0), 17, Refusal(kAlloc, "e_RET_ERR_STATE_NOTCFG", 17));
    ExpectRefused(Alloc(2, 0), 17, Refusal(kAlloc, "e_RET_ERR_STATE_NOTCFG", 17));
    ExpectRefused(Alloc(0, 7), 17, Refusal(kAlloc, "e_RET_ERR_STATE_NOTCFG", 17));
    ExpectRefused(Alloc(3, 0), 43, Refusal(kAlloc, "e_RET_ERR_INVALID_BLOCKTYPE", 43));
    ExpectRefused(Alloc(0, 8), 42, Refusal(kAlloc, "e_RET_ERR_INVALID_HDRTYPE", 42));
}

TEST_F(FlowHeader, HandleIsCheckedBeforeTheRecord) {
    hdl_ = test::Flow(512);
    ExpectRefused(Alloc(3, 8), 3, HdlOutOfRange(kAlloc, 512));
    ExpectRefused(Dump(3, 8), 3, HdlOutOfRange(kDump, 512));
    hdl_ = test::Flow(20);
    ExpectRefused(Alloc(3, 8), 3, HdlFree(kAlloc, 20));
    ExpectRefused(Dump(3, 8), 3, HdlFree(kDump, 20));
}

TEST_F(FlowHeader, WithoutANodeTheStatusStays) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    Fcb &fcb = FcbOf(hdl_);
    AllocHdrs(fcb, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    DrainPool(fcb, 1);
    const Called called = Call(Alloc(0, e_FLOWHDR_IPV4));
    EXPECT_EQ(called.rc, 12u);
    const std::string first = CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL") +
                              "\n\n************* FCB ************* \nFCB Status<e_STATUS_ALLOC> ";
    const std::string last = "******************************* \n" + RetVal(kAlloc, 12);
    ASSERT_GT(called.out.size(), last.size());
    EXPECT_EQ(called.out.substr(0, first.size()), first);
    EXPECT_EQ(called.out.substr(called.out.size() - last.size()), last);
    EXPECT_EQ(fcb.status, 1u);
    EXPECT_EQ(fcb.filterBlk.hdrBmap, 0x81);
    EXPECT_EQ(fcb.filterBlk.ipv4.hdr.reqList, 31);
    // Half allocated is allocated.
    ExpectRefused(Alloc(0, e_FLOWHDR_IPV4), 12,
                  CodeLine("Alloc_Hdr", "e_RET_ERR_RESRC_UNAVAIL") + RetVal(kAlloc, 12));
}

TEST_F(FlowHeader, ExhaustedPoolIsDumpedAtDebugLevelToo) {
    hdl_ = FlowIn(e_STATUS_CFG);
    DrainPool(FcbOf(hdl_), 0);
    RaiseLog(3);
    const ContextSnapshot before;
    const Called called = Call(Alloc(0, e_FLOWHDR_ETH));
    EXPECT_EQ(called.rc, 12u);
    EXPECT_TRUE(before.Unchanged());
    for (const char *part : {"[DBG orxapi] Dump_FCB  : curr<0> next<0> prev<0> count<0> \n\n",
                             "[DBG orxapi] Dump_ReqPool: Req Count <0> \n\n",
                             "[DBG orxapi] Dump_ReqPool:  <31> <31> <31> \n\n"}) {
        EXPECT_NE(called.out.find(part), std::string::npos) << part;
    }
}

TEST_F(FlowHeader, AllocationLogsItsSteps) {
    hdl_ = FlowIn(e_STATUS_ALLOC);
    RaiseLog(3);
    ExpectCall(Alloc(1, e_FLOWHDR_ETH), 0,
               "[INF orxapi] QIR_Alloc_Hdr: Params: flowHdl_p<0x<ptr>> hdr_p<0x<ptr>>\n"
               "[INF orxapi] QIR_Alloc_Hdr: Params2: flowHdl<0> blk<1> flowHdr<0>\n"
               "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0000 \n\n"
               "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0000 \n\n"
               "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0001 \n\n");
    ExpectRefused(Alloc(1, e_FLOWHDR_VLAN1), 10,
                  "[INF orxapi] QIR_Alloc_Hdr: Params: flowHdl_p<0x<ptr>> hdr_p<0x<ptr>>\n"
                  "[INF orxapi] QIR_Alloc_Hdr: Params2: flowHdl<0> blk<1> flowHdr<2>\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0002 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdr = 1 flowHdr 2 \n\n"
                  "[ERROR orxapi] IsSet_ActionAllReqdHdr,#: \"e_RET_ERR_HDROUTOFORDER\"\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
                  "[ERROR orxapi] QIR_Alloc_Hdr,#: retVal <10>\n");
}

// ---- dump of one header ---------------------------------------------------------------------------

TEST_F(FlowHeader, DumpPrintsTheListInAnyState) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        hdl_ = FlowIn(status);
        AllocHdrs(FcbOf(hdl_), e_BLKTYPE_FILTER, {0, 1});
        RaiseLog(1);
        ExpectRefused(Dump(0, 1), 0, "------ Filter VlanHdr[0] ------\n");
        RaiseLog(2);
        ExpectRefused(
            Dump(0, 1), 0,
            Inf(kDump, "Params: flowHdl_p<0x<ptr>> hdr_p<0x<ptr>>") +
                Inf(kDump, "Params2: flowHdl<" + std::to_string(hdl_.f1.id) + "> blk<0> flowHdr<1>") +
                "------ Filter VlanHdr[0] ------\n");
        RaiseLog(1);
    }
}

TEST_F(FlowHeader, DumpChecksBlockThenHeaderThenPresence) {
    hdl_ = FlowIn(e_STATUS_CFG);
    const std::string block = Refusal(kDump, "e_RET_ERR_INVALID_BLOCKTYPE", 43);
    const std::string header = Refusal(kDump, "e_RET_ERR_INVALID_HDRTYPE", 42);
    ExpectRefused(Dump(3, 8), 43, block);
    ExpectRefused(Dump(3, 0), 43, block);
    ExpectRefused(Dump(0xFFFFFFFF, 0), 43, block);
    ExpectRefused(Dump(0, 8), 42, header);
    ExpectRefused(Dump(2, 8), 42, header);
    ExpectRefused(Dump(1, 0xFFFFFFFF), 42, header);
    ExpectRefused(Dump(2, 0), 0, Err("Dump_HdrReqList", "Unknown block type <2> "));
    for (const u32 blk : {0u, 1u}) {
        ExpectRefused(Dump(blk, 7), 12,
                      Err("Dump_HdrReqList", "Hdr not allocated") +
                          CodeLine("Dump_HdrReqList", "e_RET_ERR_RESRC_UNAVAIL") + RetVal(kDump, 12));
    }
}

} // namespace
} // namespace flows::flow_hdr
