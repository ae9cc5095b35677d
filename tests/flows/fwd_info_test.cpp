// Forwarding information: checks of the record, and changes of its destinations.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FwdCheck : public FlowTest {};
class FwdDestination : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        // Every queue id of the record is different from every other and from those of the masks.
        for (unsigned i = 0; i < 32; ++i) {
            fwd_.dst.gemQid[i] = static_cast<u8>(100 + i);
        }
        for (unsigned i = 0; i < 9; ++i) {
            fwd_.dst.portQid[i] = static_cast<u8>(50 + i);
        }
        fwd_.flowPrio = 17;
        fwd_.src = {0x33, 0x44};
        fwd_.fwdAction = 5;
        std::memset(static_cast<void *>(&mask_), 0xC7, sizeof mask_);
        mask_.portMask = mask_.gemPortIdxMask = 0;
    }

    // Applies the change; the FCB and the destination record must stay as they are.
    void Add(u32 rc) { Change(qir::AddDstPortToFwdInfo, rc); }
    void Remove() { Change(qir::RemDstPortFromFwdInfo, 0); }

    FwdInfo fwd_{};
    DstMask mask_;
    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];

  private:
    template <class Fn> void Change(Fn fn, u32 rc) {
        const DstMask kept = mask_;
        ExpectRefused([&] { return fn(&fcb_, &mask_, &fwd_); }, rc, "");
        EXPECT_EQ(std::memcmp(&kept, &mask_, sizeof mask_), 0);
    }
};

bool operator==(const FwdInfo &left, const FwdInfo &right) {
    return std::memcmp(&left, &right, sizeof left) == 0;
}

const std::string kGemPortIdx = CodeLine("Validate_FwdInfo", "e_RET_ERR_INVALID_GEMPORTIDX");
const std::string kDstQid = CodeLine("Validate_FwdInfo", "e_RET_ERR_INVALID_DSTQID");
const std::string kGemPortIdxMask = CodeLine("Validate_FwdInfo", "e_RET_ERR_INVALID_GEMPORTIDXMASK");

std::string Detail(const std::string &text) {
    return Err("Validate_FwdInfo", "Invalid param " + text);
}

// Destinations: ports and GEM ports with the queue ids that differ from `rest`.
struct Dst {
    u32 portMask = 0;
    u32 gemMask = 0;
    std::vector<std::pair<unsigned, u8>> ports = {};
    std::vector<std::pair<unsigned, u8>> gems = {};
    u8 rest = 0xA5;
};

FwdInfo Record(u32 srcMask, u32 srcGem, const Dst &dst) {
    FwdInfo fwd{};
    fwd.src.portMask = srcMask;
    fwd.src.gemPortIdxMask = srcGem;
    std::memset(fwd.dst.gemQid, dst.rest, sizeof fwd.dst.gemQid);
    std::memset(fwd.dst.portQid, dst.rest, sizeof fwd.dst.portQid);
    fwd.dst.portMask = dst.portMask;
    fwd.dst.gemPortIdxMask = dst.gemMask;
    for (const auto &[port, qid] : dst.ports) {
        fwd.dst.portQid[port] = qid;
    }
    for (const auto &[gem, qid] : dst.gems) {
        fwd.dst.gemQid[gem] = qid;
    }
    return fwd;
}

void Check(const FwdInfo &fwd, u32 rc, const std::string &out) {
    ExpectRefused([&] { return qir::Validate_FwdInfo(&qirCtxt_gp->fcbPool[0], &fwd); }, rc, out);
}

// ---- checks ---------------------------------------------------------------------------------------

TEST_F(FwdCheck, PortsOnOneQueuePassAndOnTwoFail) {
    Check(Record(1, 0, {.portMask = 0x3, .ports = {{0, 3}, {1, 3}}}), 0, "");
    Check(Record(1, 0, {.portMask = 0x3, .ports = {{0, 3}, {1, 4}}}), 40,
          Detail("dst qid<4> for port<1>") + kDstQid);
}

TEST_F(FwdCheck, QueueEightIsOutOfRange) {
    Check(Record(1, 0, {.portMask = 0x4, .ports = {{2, 8}}}), 40, Detail("dst qid<8> forport<2>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x4, .ports = {{2, 7}}}), 0, "");
    Check(Record(1, 0, {.portMask = 0x4, .ports = {{2, 0}}}), 0, "");
    Check(Record(1, 0, {.portMask = 0x4, .ports = {{2, 255}}}), 40,
          Detail("dst qid<255> forport<2>") + kDstQid);
}

TEST_F(FwdCheck, GponDestinationNeedsGemPorts) {
    Check(Record(1, 0, {.portMask = 0x80}), 41,
          Detail("GPON port srcPortMask<0x00000080> gemPortIdMask<0x00000000>") + kGemPortIdxMask);
    Check(Record(1, 0, {.portMask = 0x181, .ports = {{0, 2}, {8, 2}}}), 41,
          Detail("GPON port srcPortMask<0x00000181> gemPortIdMask<0x00000000>") + kGemPortIdxMask);
}

TEST_F(FwdCheck, GemPortsShareTheQueueOfThePorts) {
    Check(Record(1, 0, {.portMask = 0x81, .gemMask = 0x21, .ports = {{0, 2}}, .gems = {{0, 2}, {5, 2}}}), 0,
          "");
    Check(Record(1, 0, {.portMask = 0x81, .gemMask = 0x21, .ports = {{0, 2}}, .gems = {{0, 2}, {5, 1}}}), 40,
          Detail("gemPort qid<1> for port<5>") + kDstQid);
}

TEST_F(FwdCheck, GponSourceNeedsGemPortsBeforeAnyDestination) {
    Check(Record(0x80, 0, {.portMask = 0x84}), 57,
          Detail("srcPortMask<0x00000080> gemPortIdMask<0x00000000>") + kGemPortIdx);
    Check(Record(0xFF, 0, {.portMask = 0x1, .ports = {{0, 9}}}), 57,
          Detail("srcPortMask<0x000000ff> gemPortIdMask<0x00000000>") + kGemPortIdx);
    Check(Record(0x80, 0x80000000, {.portMask = 0x1, .ports = {{0, 1}}}), 0, "");
}

TEST_F(FwdCheck, SourceWithoutGponNeedsNoGemPorts) {
    Check(Record(0x17F, 0, {.portMask = 0x1, .ports = {{0, 1}}}), 0, "");
    Check(Record(0, 0, {}), 0, "");
}

TEST_F(FwdCheck, GemPortsAloneShareTheQueueOfTheFirst) {
    Check(Record(1, 0, {.portMask = 0x80, .gemMask = 0x80000001, .gems = {{0, 6}, {31, 6}}}), 0, "");
    Check(Record(1, 0, {.portMask = 0x80, .gemMask = 0x80000001, .gems = {{0, 6}, {31, 5}}}), 40,
          Detail("gemPort qid<5> for port<31>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x80, .gemMask = 0x10, .gems = {{4, 8}}}), 40,
          Detail("gemPort qid<8> for port<4>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x80, .gemMask = 0x10, .gems = {{4, 7}}}), 0, "");
}

TEST_F(FwdCheck, EveryPortIsCheckedButSeven) {
    for (unsigned port = 0; port < 9; ++port) {
        SCOPED_TRACE(port);
        const u32 mask = 1u << port;
        if (port == 7) {
            Check(Record(1, 0, {.portMask = mask, .gemMask = 1, .ports = {{7, 200}}, .gems = {{0, 1}}}), 0,
                  "");
            continue;
        }
        const std::string name = std::to_string(port);
        Check(Record(1, 0, {.portMask = mask, .ports = {{port, 8}}}), 40,
              Detail("dst qid<8> forport<" + name + ">") + kDstQid);
        Check(Record(1, 0, {.portMask = mask, .ports = {{port, 7}}}), 0, "");
        if (port > 0) {
            Check(Record(1, 0, {.portMask = mask | 1, .ports = {{0, 7}, {port, 6}}}), 40,
                  Detail("dst qid<6> for port<" + name + ">") + kDstQid);
        }
    }
}

TEST_F(FwdCheck, EveryGemPortIsChecked) {
    for (unsigned gem = 0; gem < 32; ++gem) {
        SCOPED_TRACE(gem);
        const std::string name = std::to_string(gem);
        const u32 mask = 1u << gem;
        Check(Record(1, 0, {.portMask = 0x80, .gemMask = mask, .gems = {{gem, 8}}}), 40,
              Detail("gemPort qid<8> for port<" + name + ">") + kDstQid);
        Check(Record(1, 0, {.portMask = 0x81, .gemMask = mask, .ports = {{0, 3}}, .gems = {{gem, 4}}}), 40,
              Detail("gemPort qid<4> for port<" + name + ">") + kDstQid);
        Check(Record(1, 0, {.portMask = 0x80, .gemMask = mask, .gems = {{gem, 0}}}), 0, "");
    }
}

TEST_F(FwdCheck, UnselectedQueuesAndHighPortBitsAreNotLookedAt) {
    Check(Record(1, 0, {.portMask = 0xFFFFFE00}), 0, "");
    Check(Record(1, 0, {.portMask = 0x1, .gemMask = 0xFFFFFFFF, .ports = {{0, 0}}}), 0, "");
    Check(Record(0xFFFFFF7F, 0, {.portMask = 0}), 0, "");
}

TEST_F(FwdCheck, FirstFailureDecides) {
    // Out of range before a difference, lower ports before higher ones, ports before GEM ports.
    Check(Record(1, 0, {.portMask = 0x3, .ports = {{0, 1}, {1, 9}}}), 40,
          Detail("dst qid<9> forport<1>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x7, .ports = {{0, 1}, {1, 2}, {2, 8}}}), 40,
          Detail("dst qid<2> for port<1>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x84, .ports = {{2, 8}}}), 40, Detail("dst qid<8> forport<2>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x100 | 0x80, .ports = {{8, 8}}}), 40,
          Detail("dst qid<8> forport<8>") + kDstQid);
    Check(Record(1, 0, {.portMask = 0x80, .gemMask = 0x6, .gems = {{1, 9}, {2, 10}}}), 40,
          Detail("gemPort qid<9> for port<1>") + kDstQid);
}

TEST_F(FwdCheck, PassedRecordIsCopiedAndMarked) {
    Fcb &fcb = qirCtxt_gp->fcbPool[0];
    FwdInfo fwd;
    std::memset(static_cast<void *>(&fwd), 0x3C, sizeof fwd);
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::Set_FwdInfo(&fcb, &fwd); }), "");
    EXPECT_TRUE(fcb.fwdInfo == fwd);
    EXPECT_EQ(fcb.fwdInfoSet, 1u);
    EXPECT_EQ(fcb.status, 0u);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(fcb.fwdInfo), Place(fcb.fwdInfoSet)}));
}

// ---- destinations ---------------------------------------------------------------------------------

TEST_F(FwdDestination, AddedPortTakesTheQueueTheRecordKeepsForIt) {
    fwd_.dst.portMask = 0x1;
    fwd_.dst.portQid[0] = 5;
    fwd_.dst.portQid[2] = 1;
    mask_.portMask = 0x4;
    mask_.portQid[2] = 6;
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x5;
    Add(0);
    EXPECT_EQ(fwd_.dst.portQid[2], 1);
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, AddedPortsTakeTheQueueOfTheFirstOfThem) {
    mask_.portMask = 0x16A; // ports 1, 3, 5, 6, 8
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x16A;
    for (const unsigned port : {1u, 3u, 5u, 6u, 8u}) {
        expected.dst.portQid[port] = 51;
    }
    Add(0);
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, AddedGemPortsSetBitNineOfTheirMask) {
    fwd_.dst.portMask = 0x2;
    mask_.portMask = 0x80;
    mask_.gemPortIdxMask = 0x3;
    FwdInfo expected = fwd_;
    expected.dst.gemPortIdxMask = 0x200;
    expected.dst.gemQid[0] = 100;
    expected.dst.gemQid[1] = 100;
    Add(0);
    EXPECT_EQ(fwd_.dst.gemPortIdxMask, 0x200u);
    EXPECT_EQ(fwd_.dst.portMask, 0x2u);
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, AddedGponPortLeavesBitSevenAsItWas) {
    fwd_.dst.portMask = 0x80;
    fwd_.dst.gemPortIdxMask = 0x10;
    mask_.portMask = 0x80;
    mask_.gemPortIdxMask = 0x80000000;
    Add(0);
    EXPECT_EQ(fwd_.dst.portMask, 0x80u);
    EXPECT_EQ(fwd_.dst.gemPortIdxMask, 0x210u);
    EXPECT_EQ(fwd_.dst.gemQid[31], 131);
}

TEST_F(FwdDestination, PortsAndGemPortsShareTheQueueOfTheFirstPort) {
    mask_.portMask = 0x90; // ports 4 and 7
    mask_.gemPortIdxMask = 0x22;
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x10;
    expected.dst.gemPortIdxMask = 0x200;
    expected.dst.gemQid[1] = 54;
    expected.dst.gemQid[5] = 54;
    Add(0);
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, GponWithoutGemPortsKeepsTheAddedPortsAndReturnsOne) {
    mask_.portMask = 0x88;
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x8;
    Add(1);
    EXPECT_TRUE(fwd_ == expected);

    mask_.portMask = 0x80;
    Add(1);
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, NothingToAddReturnsOne) {
    const FwdInfo expected = fwd_;
    for (const u32 ports : {0x0u, 0x200u, 0xFFFFFE00u}) {
        mask_.portMask = ports;
        mask_.gemPortIdxMask = 0xFF;
        Add(1);
        EXPECT_TRUE(fwd_ == expected);
    }
}

TEST_F(FwdDestination, RemovedPortsLeaveTheQueues) {
    fwd_.dst.portMask = 0x3;
    mask_.portMask = 0x1;
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x2;
    Remove();
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, RemovalClearsTheBitsOfBothMasks) {
    fwd_.dst.portMask = 0xFFFFFFFF;
    fwd_.dst.gemPortIdxMask = 0xF0F0F0F0;
    mask_.portMask = 0x80000181;
    mask_.gemPortIdxMask = 0xFF;
    FwdInfo expected = fwd_;
    expected.dst.portMask = 0x7FFFFE7E;
    expected.dst.gemPortIdxMask = 0xF0F0F000;
    Remove();
    EXPECT_TRUE(fwd_ == expected);
    mask_.portMask = 0; // GEM ports go even if no port does
    mask_.gemPortIdxMask = 0xF0000000;
    expected.dst.gemPortIdxMask = 0x00F0F000;
    Remove();
    EXPECT_TRUE(fwd_ == expected);
}

TEST_F(FwdDestination, MissingFcbIsAssertedAndNotNeeded) {
    mask_.portMask = 0x1;
    ExpectCall([&] { return qir::AddDstPortToFwdInfo(nullptr, &mask_, &fwd_); }, 0,
               Assertion("qirapi_private", "AddDstPortToFwdInfo", "(fcb_p != NULL)"));
    EXPECT_EQ(fwd_.dst.portMask, 0x1u);
    ExpectCall([&] { return qir::RemDstPortFromFwdInfo(nullptr, &mask_, &fwd_); }, 0,
               Assertion("qirapi_private", "RemDstPortFromFwdInfo", "(fcb_p != NULL)"));
    EXPECT_EQ(fwd_.dst.portMask, 0x0u);
}

} // namespace
} // namespace flows
