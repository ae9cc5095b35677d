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

TEST_F(FcbAccess, SectionIsStoredAndRead) {
    for (const u32 section : {0u, 1u, 2u}) {
        u32 read = 99;
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] {
                      qir::setFlowSection(&fcb_, section);
                      qir::getFlowSection(&fcb_, &read);
                  }),
                  "");
        EXPECT_EQ(fcb_.section, section);
        EXPECT_EQ(read, section);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb_.section)}));
    }
}

TEST_F(FcbAccess, SectionOutOfRangeIsAssertedAndStored) {
    EXPECT_EQ(CaptureMasked([&] { qir::setFlowSection(&fcb_, 3); }),
              Assertion("qirapi_access", "setFlowSection", "(section < e_FLOW_SECTION_MAX )"));
    EXPECT_EQ(fcb_.section, 3u);
    u32 read = 0;
    EXPECT_EQ(CaptureMasked([&] { qir::getFlowSection(&fcb_, &read); }), "");
    EXPECT_EQ(read, 3u);
}

TEST_F(FcbAccess, ForwardingRecordIsCopiedWholeAndWithoutItsFlag) {
    const FwdInfo in = CountingFwd();
    FwdInfo out{};
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] {
                  qir::setFwdInfo(&fcb_, &in);
                  qir::getFwdInfo(&fcb_, &out);
              }),
              "");
    EXPECT_EQ(std::memcmp(&fcb_.fwdInfo, &in, 68), 0);
    EXPECT_EQ(std::memcmp(&out, &in, 68), 0);
    EXPECT_EQ(fcb_.fwdInfoSet, 0u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb_.fwdInfo)}));
}

TEST_F(FcbAccess, ForwardingUpdateCopiesTheDestinationOnly) {
    const FwdInfo in = CountingFwd();
    const std::vector<u8> before = BytesOf(fcb_);
    EXPECT_EQ(CaptureMasked([&] { qir::updateFwdInfo(&fcb_, &in); }), "");
    std::vector<u8> expected = before;
    std::memcpy(&expected[272 + 12], reinterpret_cast<const u8 *>(&in) + 12, 52);
    EXPECT_EQ(BytesOf(fcb_), expected);
}

TEST_F(FcbAccess, AsOverrideIsStoredWithoutChecks) {
    for (const u32 value : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        u32 read = 7;
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] {
                      qir::setAsOverride(&fcb_, value);
                      qir::getAsOverride(&fcb_, &read);
                  }),
                  "");
        EXPECT_EQ(read, value);
        EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb_.asOverride)}));
    }
}

TEST_F(FcbAccess, EpAssociationCountsTheFlowAndKeepsTheHandle) {
    qir::EpTblInfo &tbl = qirCtxt_gp->epTblPool[3];
    fcb_.tblAssoc = 0x2;
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::setEpInfo(&fcb_, 1, &tbl); }), "");
    EXPECT_EQ(tbl.refCnt, 1);
    EXPECT_EQ(fcb_.tblAssoc, 0x3);
    EXPECT_EQ(fcb_.epTblHdl.word, 0xFFFFFFFFu);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(tbl.refCnt), Place(fcb_.tblAssoc)}));
    EXPECT_EQ(CaptureMasked([&] { qir::setEpInfo(&fcb_, 0, &tbl); }), "");
    EXPECT_EQ(tbl.refCnt, 0);
    EXPECT_EQ(fcb_.tblAssoc, 0x2);
    EXPECT_TRUE(before.Unchanged());
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

TEST_F(FcbAccess, EpAssociationIsReadFromTheBitAndTheHandle) {
    fcb_.epTblHdl.word = 0x12345603;
    for (const u16 assoc : {u16{0}, u16{1}, u16{2}, u16{3}}) {
        fcb_.tblAssoc = assoc;
        u32 status = 9;
        EpTblHdl hdl{};
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::getEpInfo(&fcb_, &status, &hdl); }), "");
        EXPECT_EQ(status, (assoc & 1) != 0 ? 1u : 0u);
        EXPECT_EQ(hdl.word, 0x12345603u);
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(FcbAccess, PacAssociationCountsTheFlowAndStoresTheSource) {
    qir::PacTblInfo &tbl = qirCtxt_gp->pacTblPool[15];
    fcb_.tblAssoc = 0x1;
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::setPacInfo(&fcb_, 1, 2, &tbl); }), "");
    EXPECT_EQ(tbl.refCnt, 1);
    EXPECT_EQ(fcb_.tblAssoc, 0x3);
    EXPECT_EQ(fcb_.pbitsSource, 2u);
    EXPECT_EQ(fcb_.pacTblHdl.word, kFill32);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(tbl.refCnt), Place(fcb_.tblAssoc), Place(fcb_.pbitsSource)}));
    EXPECT_EQ(CaptureMasked([&] { qir::setPacInfo(&fcb_, 0, 0, &tbl); }), "");
    EXPECT_EQ(tbl.refCnt, 0);
    EXPECT_EQ(fcb_.tblAssoc, 0x1);
    EXPECT_EQ(fcb_.pbitsSource, 0u);
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

TEST_F(FcbAccess, PacAssociationIsReadFromTheBitTheSourceAndTheHandle) {
    fcb_.pacTblHdl.word = 0xABCDEF0F;
    fcb_.pbitsSource = 2;
    for (const u16 assoc : {u16{0}, u16{1}, u16{2}, u16{3}}) {
        fcb_.tblAssoc = assoc;
        u32 status = 9;
        u32 source = 9;
        PacTblHdl hdl{};
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::getPacInfo(&fcb_, &status, &source, &hdl); }), "");
        EXPECT_EQ(status, (assoc & 2) != 0 ? 1u : 0u);
        EXPECT_EQ(source, 2u);
        EXPECT_EQ(hdl.word, 0xABCDEF0Fu);
        EXPECT_TRUE(before.Unchanged());
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

TEST_F(FcbAccess, EthernetAndTwoTagsCountTwo) {
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1});
    u8 tags = 9;
    EXPECT_EQ(CaptureMasked([&] { qir::getFilterNumVlanTags(&fcb_, &tags); }), "");
    EXPECT_EQ(tags, 2);
    AllocHdrs(fcb_, e_BLKTYPE_FILTER, {e_FLOWHDR_VLAN2, e_FLOWHDR_VLAN3});
    EXPECT_EQ(CaptureMasked([&] { qir::getFilterNumVlanTags(&fcb_, &tags); }), "");
    EXPECT_EQ(tags, 2);
}

} // namespace
} // namespace flows
