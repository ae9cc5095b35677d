// Allocation of headers in the filter and the action block: answers, messages, and the bytes it resets.
#include "tests/flows/fcb_model.h"
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class HeaderAlloc : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
        fcb_.status = e_STATUS_ALLOC;
        fcb_.flowHdl.word = 0;
        model_.Set32(0, e_STATUS_ALLOC);
        model_.Set32(4, 0);
    }

    // Allocates a header; the block's bytes follow the model.
    void Alloc(const FlowHdr &hdr, u32 rc, const std::string &out) {
        SCOPED_TRACE(testing::Message() << "block " << hdr.blk << " header " << hdr.flowHdr);
        const ContextSnapshot before;
        ExpectCall([&] { return qir::Alloc_Hdr(&fcb_, &hdr); }, rc, out);
        if (hdr.blk < 2) {
            EXPECT_EQ(model_.AllocHdr(hdr.blk, hdr.flowHdr), rc);
        }
        EXPECT_EQ(model_.DiffersFrom(BytesOf(fcb_)), "");
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb_)}));
    }

    // Writes a byte all over a part of the FCB, so that a reset shows.
    void Paint(std::size_t first, std::size_t last, u8 byte) {
        for (std::size_t i = first; i <= last; ++i) {
            reinterpret_cast<u8 *>(&fcb_)[i] = byte;
        }
    }

    // The bytes of the FCB from `first` to `last`, both included.
    std::vector<u8> Bytes(std::size_t first, std::size_t last) const {
        const auto *bytes = reinterpret_cast<const u8 *>(&fcb_);
        return {bytes + first, bytes + last + 1};
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
    FcbModel model_;
};

const std::string kFilterOrder = CodeLine("IsSet_FilterAllReqdHdr", "e_RET_ERR_HDROUTOFORDER");
const std::string kActionOrder = CodeLine("IsSet_ActionAllReqdHdr", "e_RET_ERR_HDROUTOFORDER");
const std::string kUnavail = CodeLine("Alloc_Hdr", "e_RET_ERR_RESRC_UNAVAIL");

// ---- answers --------------------------------------------------------------------------------------

TEST_F(HeaderAlloc, OuterTagNeedsEthernetAndCountsOneTag) {
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 10, kFilterOrder);
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 10, kActionOrder);
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, "");
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 0, "");
    EXPECT_EQ(fcb_.filterBlk.totalTags, 1);
    EXPECT_EQ(fcb_.actionBlk.totalTags, 0);
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 10, kActionOrder);
}

TEST_F(HeaderAlloc, InnerTagNeedsTheOuterTag) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    AllocHdrs(fcb_, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH});
    ExpectRefused(
        [&] {
            const FlowHdr hdr = FilterHdr(e_FLOWHDR_VLAN1);
            return qir::Alloc_Hdr(&fcb_, &hdr);
        },
        10, kFilterOrder);
    ExpectRefused(
        [&] {
            const FlowHdr hdr = ActionHdr(e_FLOWHDR_VLAN1);
            return qir::Alloc_Hdr(&fcb_, &hdr);
        },
        10, kActionOrder);
}

TEST_F(HeaderAlloc, AHeaderIsAllocatedOncePerBlock) {
    for (const u32 hdr : {0u, 1u, 2u, 3u, 4u, 5u, 7u}) {
        Alloc(FilterHdr(hdr), 0, "");
        Alloc(FilterHdr(hdr), 12, kUnavail);
        Alloc(ActionHdr(hdr), 0, "");
        Alloc(ActionHdr(hdr), 12, kUnavail);
    }
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0xBF);
    EXPECT_EQ(fcb_.actionBlk.hdrBmap, 0xBF);
    EXPECT_EQ(fcb_.freeReqCount, 31 - 18);
    EXPECT_EQ(fcb_.status, 1u);
}

TEST_F(HeaderAlloc, MplsIsAcceptedWithoutAnEntry) {
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, "");
    Alloc(FilterHdr(e_FLOWHDR_MPLS), 0,
          Err("IsSet_FilterAllReqdHdr", "Unknown flow hdr <6> ") + Err("Alloc_Hdr", "Unknown flow hdr <6> "));
    EXPECT_EQ(fcb_.filterBlk.hdrBmap, 0x41);
    EXPECT_EQ(fcb_.freeReqCount, 29);
    Alloc(FilterHdr(e_FLOWHDR_MPLS), 12, Err("IsSet_FilterAllReqdHdr", "Unknown flow hdr <6> ") + kUnavail);
    Alloc(ActionHdr(e_FLOWHDR_MPLS), 0,
          Err("IsSet_ActionAllReqdHdr", "Unknown flow hdr <6> ") + Err("Alloc_Hdr", "Unknown flow hdr <6> "));
    EXPECT_EQ(fcb_.actionBlk.hdrBmap, 0x40);
    EXPECT_EQ(fcb_.freeReqCount, 28);
}

TEST_F(HeaderAlloc, OtherBlocksAreUnknown) {
    for (const u32 blk : {2u, 3u, 0xFFFFFFFFu}) {
        const FlowHdr hdr{blk, e_FLOWHDR_ETH};
        ExpectRefused([&] { return qir::Alloc_Hdr(&fcb_, &hdr); }, 25,
                      Err("Alloc_Hdr", "Unknown block type <" + std::to_string(blk) + "> ") +
                          CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM"));
    }
}

TEST_F(HeaderAlloc, ChecksBlockThenOrderThenPresenceThenNodes) {
    const auto alloc = [&](FlowHdr hdr) { return [this, hdr] { return qir::Alloc_Hdr(&fcb_, &hdr); }; };
    ExpectRefused(alloc({2, e_FLOWHDR_VLAN0}), 25,
                  Err("Alloc_Hdr", "Unknown block type <2> ") +
                      CodeLine("Alloc_Hdr", "e_RET_ERR_INVALID_PARAM"));
    fcb_.filterBlk.hdrBmap = 0x2; // the tag is there, Ethernet is not
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_VLAN0)), 10, kFilterOrder);
    fcb_.actionBlk.hdrBmap = 0x2;
    ExpectRefused(alloc(ActionHdr(e_FLOWHDR_VLAN0)), 10, kActionOrder);
    fcb_.filterBlk.hdrBmap = fcb_.actionBlk.hdrBmap = 0x1;
    DrainPool(fcb_, 0);
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_ETH)), 12, kUnavail);
    ExpectRefused(alloc(ActionHdr(e_FLOWHDR_ETH)), 12, kUnavail);
    ExpectRefused(alloc(FilterHdr(e_FLOWHDR_VLAN1)), 10, kFilterOrder);
}

TEST_F(HeaderAlloc, FilterBlockLogsItsOrderRuleOnly) {
    RaiseLog(3);
    Alloc(FilterHdr(e_FLOWHDR_ETH), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0000 \n"));
    Alloc(FilterHdr(e_FLOWHDR_VLAN0), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0001 \n"));
    Alloc(FilterHdr(e_FLOWHDR_IPV4), 0, Dbg("IsSet_FilterAllReqdHdr", "hdrBmap = 0x0003 \n"));
}

TEST_F(HeaderAlloc, ActionBlockLogsItsHeadersBeforeAndAfter) {
    RaiseLog(3);
    Alloc(ActionHdr(e_FLOWHDR_ETH), 0,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0000 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0000 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0001 \n\n");
    Alloc(ActionHdr(e_FLOWHDR_VLAN0), 0,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0001 \n\n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0001 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0003 \n\n");
    Alloc(ActionHdr(e_FLOWHDR_MPLS), 0,
          "[ERROR orxapi] IsSet_ActionAllReqdHdr,#: Unknown flow hdr <6> \n"
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0003 \n\n"
          "[DBG orxapi] Alloc_Hdr : before hdrBmap = 0x0003 \n\n"
          "[DBG orxapi] Alloc_Hdr : after hdrBmap = 0x0043 \n\n"
          "[ERROR orxapi] Alloc_Hdr ,#: Unknown flow hdr <6> \n");
    Alloc(ActionHdr(e_FLOWHDR_ETH), 12,
          "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0043 \n\n" + kUnavail);
}

} // namespace
} // namespace flows
