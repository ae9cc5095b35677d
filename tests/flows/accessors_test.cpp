// Plain accessors of FCB fields.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FcbAccess : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
};

// A record in which every byte is different from its neighbours and from the fill.
FwdInfo CountingFwd() {
    FwdInfo fwd{};
    auto *bytes = reinterpret_cast<u8 *>(&fwd);
    for (unsigned i = 0; i < sizeof fwd; ++i) {
        bytes[i] = static_cast<u8>(i + 1);
    }
    return fwd;
}

TEST_F(FcbAccess, ForwardingUpdateCopiesTheDestinationOnly) {
    const FwdInfo in = CountingFwd();
    const std::vector<u8> before = BytesOf(fcb_);
    EXPECT_EQ(CaptureMasked([&] { qir::updateFwdInfo(&fcb_, &in); }), "");
    std::vector<u8> expected = before;
    std::memcpy(&expected[272 + 12], reinterpret_cast<const u8 *>(&in) + 12, 52);
    EXPECT_EQ(BytesOf(fcb_), expected);
}

TEST_F(FcbAccess, AnyEpStatusButOneReleases) {
    qir::EpTblInfo &tbl = qirCtxt_gp->epTblPool[0];
    for (const u32 status : {0u, 2u, 0xFFFFFFFFu}) {
        tbl.refCnt = 5;
        fcb_.tblAssoc = 0x3;
        EXPECT_EQ(CaptureMasked([&] { qir::setEpInfo(&fcb_, status, &tbl); }), "");
        EXPECT_EQ(tbl.refCnt, 4);
        EXPECT_EQ(fcb_.tblAssoc, 0x2);
    }
}

TEST_F(FcbAccess, AnyPacStatusButOneReleases) {
    qir::PacTblInfo &tbl = qirCtxt_gp->pacTblPool[0];
    for (const u32 status : {0u, 2u, 0xFFFFFFFFu}) {
        tbl.refCnt = 5;
        fcb_.tblAssoc = 0x3;
        EXPECT_EQ(CaptureMasked([&] { qir::setPacInfo(&fcb_, status, 1, &tbl); }), "");
        EXPECT_EQ(tbl.refCnt, 4);
        EXPECT_EQ(fcb_.tblAssoc, 0x1);
    }
}

TEST_F(FcbAccess, ReferenceCountsAreAssertedNotBounded) {
    qir::EpTblInfo &ep = qirCtxt_gp->epTblPool[0];
    qir::PacTblInfo &pac = qirCtxt_gp->pacTblPool[0];
    ep.refCnt = pac.refCnt = 512;
    EXPECT_EQ(CaptureMasked([&] {
                  qir::setEpInfo(&fcb_, 1, &ep);
                  qir::setPacInfo(&fcb_, 1, 0, &pac);
              }),
              Assertion("qirapi_access", "incrEpTblRefCnt", "(tbl_p->refCnt < QIR_MAX_FLOWS)") +
                  Assertion("qirapi_access", "incrPacTblRefCnt", "(tbl_p->refCnt < QIR_MAX_FLOWS)"));
    EXPECT_EQ(ep.refCnt, 513);
    EXPECT_EQ(pac.refCnt, 513);
    ep.refCnt = pac.refCnt = 0;
    EXPECT_EQ(CaptureMasked([&] {
                  qir::setEpInfo(&fcb_, 0, &ep);
                  qir::setPacInfo(&fcb_, 0, 0, &pac);
              }),
              Assertion("qirapi_access", "decrEpTblRefCnt", "(tbl_p->refCnt != 0)") +
                  Assertion("qirapi_access", "decrPacTblRefCnt", "(tbl_p->refCnt != 0)"));
    EXPECT_EQ(ep.refCnt, 0xFFFF);
    EXPECT_EQ(pac.refCnt, 0xFFFF);
}

TEST_F(FcbAccess, VlanTagsAreCountedFromBitsOneAndTwo) {
    for (unsigned bmap = 0; bmap < 0x100; ++bmap) {
        SCOPED_TRACE(bmap);
        const unsigned expected = ((bmap >> 1) & 1u) + ((bmap >> 2) & 1u);
        u8 filterTags = 9;
        u8 actionTags = 9;
        fcb_.filterBlk.hdrBmap = static_cast<u16>(bmap);
        fcb_.actionBlk.hdrBmap = 0;
        const std::vector<u8> before = BytesOf(fcb_);
        qir::getFilterNumVlanTags(&fcb_, &filterTags);
        qir::getActionNumVlanTags(&fcb_, &actionTags);
        EXPECT_EQ(BytesOf(fcb_), before);
        EXPECT_EQ(filterTags, expected);
        EXPECT_EQ(actionTags, 0);
        fcb_.filterBlk.hdrBmap = 0;
        fcb_.actionBlk.hdrBmap = static_cast<u16>(bmap);
        qir::getFilterNumVlanTags(&fcb_, &filterTags);
        qir::getActionNumVlanTags(&fcb_, &actionTags);
        EXPECT_EQ(filterTags, 0);
        EXPECT_EQ(actionTags, expected);
    }
}

} // namespace
} // namespace flows
