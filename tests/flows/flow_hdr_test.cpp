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

} // namespace
} // namespace flows::flow_hdr
