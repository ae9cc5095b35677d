// What a call may change, and what it may leave behind when it is refused.
#include "tests/fuzz_checks/scene.h"

#include "fuzz/changes.h"
#include "fuzz/stored_requests.h"

#include <bit>
#include <ostream>

namespace fuzz_checks {

namespace {

using namespace qir;
using fuzz::Call;
using fuzz::Doing;

// Not a word that was there, and in no byte like it.
constexpr u32 kOther = 0x77777777;
constexpr bool kBigEndian = std::endian::native == std::endian::big;

Call Of(Doing doing, u32 rc, u32 flow = fuzz::kNone, u32 table = fuzz::kNone) {
    Call call;
    call.doing = doing;
    call.rc = rc;
    call.flow = flow;
    call.table = table;
    call.tblKind = fuzz::TblKind::Pac;
    return call;
}

// A filter of type 5 of VLAN tag 0, refused. Operator 1 is one that the type takes, 2 is not.
Call VlanFilterRefused(u32 rc, u32 cmpOp = e_CMP_NEQ) {
    Call call = Of(Doing::ConfigFilter, rc, 0);
    call.entry = offsetof(Fcb, filterBlk.vlan);
    call.entryBytes = sizeof(VlanFilterEntry);
    call.numTypes = e_VLAN_FILT_MAX;
    call.type = e_VLAN_FILT_VID;
    call.row = e_FLOWHDR_VLAN0;
    call.cmpOp = cmpOp;
    return call;
}

// A UDP filter of type 0 with an operator that it does not take.
Call UdpFilterRefused() {
    Call call = Of(Doing::ConfigFilter, e_RET_ERR_INVALID_PARAM, 0);
    call.entry = offsetof(Fcb, filterBlk.udp);
    call.entryBytes = sizeof(UdpFilterEntry);
    call.numTypes = e_UDP_FILT_MAX;
    call.type = e_UDP_FILT_SPORT;
    call.row = e_L4FLOWHDR_UDP;
    call.l4 = true;
    call.cmpOp = e_CMP_IN_RANGE;
    return call;
}

Call EthActionRefused(u32 type) {
    Call call = Of(Doing::ConfigEthAction, e_RET_ERR_INVALID_PARAM, 0);
    call.entry = offsetof(Fcb, actionBlk.eth);
    call.entryBytes = sizeof(HdrEntry);
    call.numTypes = e_ETH_ACTION_MAX;
    call.type = type;
    call.row = e_FLOWHDR_ETH;
    return call;
}

Call Ipv4Refused() {
    Call call = Of(Doing::AllocHdr, e_RET_ERR_RESRC_UNAVAIL, 0);
    call.blk = e_BLKTYPE_FILTER;
    call.hdr = e_FLOWHDR_IPV4;
    return call;
}

// The flow has as many free nodes.
void KeepFreeNodes(QirCtxt &ctxt, u32 num) {
    for (u32 i = 31; i > num; --i) {
        fuzz::TakeNode(ctxt.fcbPool[0]);
    }
}

struct Row {
    const char *what;
    std::string complaint; // "" for what is allowed
    Call call;
    void (*change)(QirCtxt &);
    void (*prepare)(QirCtxt &) = nullptr;
};

std::ostream &operator<<(std::ostream &out, const Row &row) {
    return out << row.what;
}

const Row kRows[] = {
    {"a reading call changes nothing", "changed flow 0 + 20", Of(Doing::Read, 0, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].asOverride = kOther; }},
    {"a refused call changes nothing", "changed flow 0 + 20", Of(Doing::SetAsOverride, 17, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].asOverride = kOther; }},
    {"an accepted one its field", "", Of(Doing::SetAsOverride, 0, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].asOverride = kOther; }},
    {"and no other", "changed flow 0 + 24", Of(Doing::SetAsOverride, 0, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].reserved1 = 1; }},
    {"the last byte of a flow", "changed flow 0 + 1883", Of(Doing::SetAsOverride, 0, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].reqPool[31].req[35] ^= 1; }},
    {"nor another table", "changed PAC table 3 + 40", Of(Doing::FreeTable, 0, fuzz::kNone, 2),
     [](QirCtxt &ctxt) { ctxt.pacTblPool[3].status = kOther; }},
    {"nor a setting", "changed byte 12", Of(Doing::SetAsOverride, 0, 0),
     [](QirCtxt &ctxt) { ctxt.flowMissAction = kOther; }},
    {"nor a rule table", "changed byte " + std::to_string(offsetof(QirCtxt, filterDepBmapTbl)),
     Of(Doing::AllocFlow, 0, 0), [](QirCtxt &ctxt) { ctxt.filterDepBmapTbl[0][0] ^= 0xFFFF; }},
    {"the driver's index of a refused activation", "", Of(Doing::SwitchTable, 1, fuzz::kNone, 2),
     [](QirCtxt &ctxt) { ctxt.pacTblPool[2].hwTblIdx = 9; }},
    {"but not the status", "changed PAC table 2 + 40", Of(Doing::SwitchTable, 1, fuzz::kNone, 2),
     [](QirCtxt &ctxt) { ctxt.pacTblPool[2].status = kOther; }},
    {"an index without the driver's answer", "changed PAC table 2 + 4",
     Of(Doing::SwitchTable, 17, fuzz::kNone, 2), [](QirCtxt &ctxt) { ctxt.pacTblPool[2].hwTblIdx = 9; }},
    {"the index of a flow", "", Of(Doing::ActivateFlow, 1, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].hwFlowIdx = 4; }},
    {"which deactivation keeps", "changed flow 0 + 8", Of(Doing::DeactivateFlow, 1, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].hwFlowIdx = 4; }},
    {"the PAC handle of a refused association", "", Of(Doing::SetPacInfo, 15, 0, 2),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].pacTblHdl.word = 2; }},
    {"but no count", "changed PAC table 2 + 36", Of(Doing::SetPacInfo, 17, 0, 2),
     [](QirCtxt &ctxt) { ctxt.pacTblPool[2].refCnt = 0x0101; }},
    {"not with a bad handle", "changed flow 0 + 36", Of(Doing::SetPacInfo, 3, 0, 2),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].pacTblHdl.word = 2; }},
    {"handle and count of an EP association that came too late", "", Of(Doing::SetEpInfo, 17, 0, 2),
     [](QirCtxt &ctxt) {
         ctxt.fcbPool[0].epTblHdl.word = 2;
         ctxt.fcbPool[0].tblAssoc |= kTblAssocEp;
         ++ctxt.epTblPool[2].refCnt;
     }},
    {"of that table alone", "changed EP table 3 + 12", Of(Doing::SetEpInfo, 17, 0, 2),
     [](QirCtxt &ctxt) { ctxt.epTblPool[3].refCnt = 0x0101; }},
    {"but the handle", "did not store the handle", Of(Doing::SetPacInfo, 15, 0, 2), [](QirCtxt &) {}},
    {"of the table that was named", "did not store the handle", Of(Doing::SetEpInfo, 14, 0, 2),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].epTblHdl.f1.id = 3; }},
    {"the association that came too late", "did not change the association", Of(Doing::SetEpInfo, 17, 0, 2),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].epTblHdl.word = kOther, ctxt.fcbPool[0].epTblHdl.f1.id = 2; }},
    {"an index that a failed deactivation keeps", "did not forget the driver's index",
     Of(Doing::SwitchTable, 1, fuzz::kNone, 2), [](QirCtxt &) {},
     [](QirCtxt &ctxt) {
         ctxt.pacTblPool[2].status = e_STATUS_ACTIVE;
         ctxt.pacTblPool[2].hwTblIdx = 5;
     }},
    {"a type's bit left by its limit", "", VlanFilterRefused(21),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.vlan[0].hdr.curBmap |= 1u << 5; }},
    {"not by an operator that it does not take", "changed flow 0 + " + std::to_string(kBigEndian ? 69 : 68),
     VlanFilterRefused(21, e_CMP_IN_RANGE),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.vlan[0].hdr.curBmap |= 1u << 5; }},
    {"nothing by a type that there is not", "changed flow 0 + " + std::to_string(kBigEndian ? 69 : 68),
     Of(Doing::ConfigFilter, e_RET_ERR_INVALID_CMPOPSEQ, 0),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.vlan[0].hdr.curBmap ^= 1u << 5; }},
    {"no counter with the limit", "changed flow 0 + 81", VlanFilterRefused(21),
     [](QirCtxt &ctxt) { ++ctxt.fcbPool[0].filterBlk.vlan[0].cmpOpCurCnt[11]; }},
    {"a counter left by a bad value", "", VlanFilterRefused(25),
     [](QirCtxt &ctxt) { ++ctxt.fcbPool[0].filterBlk.vlan[0].cmpOpCurCnt[11]; }},
    {"not by an operator that UDP does not take", "changed flow 0 + 212", UdpFilterRefused(),
     [](QirCtxt &ctxt) { ++ctxt.fcbPool[0].filterBlk.udp.cmpOpCurCnt[4]; }},
    {"not that of another type", "changed flow 0 + 80", VlanFilterRefused(12),
     [](QirCtxt &ctxt) { ++ctxt.fcbPool[0].filterBlk.vlan[0].cmpOpCurCnt[10]; }},
    {"nothing behind the dependencies", "changed flow 0 + " + std::to_string(kBigEndian ? 69 : 68),
     VlanFilterRefused(22), [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.vlan[0].hdr.curBmap |= 1u << 5; }},
    {"the bit of a tag that cannot be pushed", "", EthActionRefused(e_ETH_ACTION_PUSH_TAG),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].actionBlk.eth.curBmap ^= 1u << e_ETH_ACTION_PUSH_TAG; }},
    {"not that of a bad EtherType", "changed flow 0 + " + std::to_string(kBigEndian ? 223 : 222),
     EthActionRefused(e_ETH_ACTION_ETHTYPE),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].actionBlk.eth.curBmap ^= 1u << e_ETH_ACTION_ETHTYPE; }},
    {"no part of a header but IPv4 without nodes", "changed flow 0 + 40", Ipv4Refused(),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.hdrBmap |= 0x8080; }},
    {"which may be begun", "", Ipv4Refused(),
     [](QirCtxt &ctxt) { ctxt.fcbPool[0].filterBlk.hdrBmap |= 0x8080; },
     [](QirCtxt &ctxt) { KeepFreeNodes(ctxt, 2); }},
    {"not again", "changed flow 0 + 174", Ipv4Refused(),
     [](QirCtxt &ctxt) { memset(&ctxt.fcbPool[0].filterBlk.tcp, 0, sizeof(TcpFilterEntry)); },
     [](QirCtxt &ctxt) {
         KeepFreeNodes(ctxt, 1);
         ctxt.fcbPool[0].filterBlk.hdrBmap |= 1u << e_FLOWHDR_IPV4;
     }},
};

class Change : public test::LibraryTest, public ::testing::WithParamInterface<Row> {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        before_.Start(*qirCtxt_gp);
    }
    fuzz::Before before_;
};

TEST_P(Change, IsSeenOrAllowed) {
    if (GetParam().call.type != fuzz::kNone) { // the bitmap of an entry that is there
        qirCtxt_gp->fcbPool[0].filterBlk.vlan[0].hdr.curBmap = 1;
        memset(qirCtxt_gp->fcbPool[0].filterBlk.vlan[0].cmpOpCurCnt, 0, 18);
        before_.Start(*qirCtxt_gp);
    }
    if (GetParam().prepare != nullptr) {
        GetParam().prepare(*qirCtxt_gp);
        before_.Start(*qirCtxt_gp);
    }
    GetParam().change(*qirCtxt_gp);
    EXPECT_EQ(before_.Compare(*qirCtxt_gp, GetParam().call), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Rows, Change, ::testing::ValuesIn(kRows));

// A flow that no call named.
TEST_F(Change, OfAFlowThatNoCallNamedIsSeenInTheEnd) {
    qirCtxt_gp->fcbPool[400].reqPool[31].req[35] ^= 1;
    EXPECT_EQ(before_.Compare(*qirCtxt_gp, Of(Doing::Read, 0, 3)), "");
    EXPECT_EQ(before_.CompareRest(*qirCtxt_gp), "changed flow 400 + 1883");
}

// Start-up that leaves something of before.
TEST_F(Change, OfStartUpIsSeen) {
    ++qirCtxt_gp->fcbPool[400].reqPool[31].req[35];
    EXPECT_EQ(before_.Compare(*qirCtxt_gp, Of(Doing::InitSystem, 0)),
              "changed flow 400 + 1883, not what start-up makes of it");
}

TEST_F(Change, IsTakenBack) {
    ++qirCtxt_gp->fcbPool[7].asOverride;
    ASSERT_EQ(before_.Compare(*qirCtxt_gp, Of(Doing::SetAsOverride, 0, 7)), "");
    before_.Restore(*qirCtxt_gp);
    EXPECT_EQ(before_.CompareRest(*qirCtxt_gp), "");
    EXPECT_EQ(qirCtxt_gp->fcbPool[7].asOverride, 0u);
}

} // namespace

} // namespace fuzz_checks
