// Flows at the driver: the FCB that the driver copies, the indexes of its tables, hit counters.
#include "tests/driver/driver_test.h"

#include <cerrno>

namespace driver_test {
namespace {

// Offsets in an FCB.
constexpr std::size_t kHwFlowIdx = 8;
constexpr std::size_t kTblAssoc = 16;
constexpr std::size_t kEpTblHdl = 28;
constexpr std::size_t kPacTblHdl = 36;
constexpr std::size_t kFwdInfoSet = 268;
// Where tables keep the driver's index.
constexpr std::size_t kHwTblIdx = 4;

// Stands where a flow has no table.
constexpr u32 kNone = 0xFFFFFFFF;

class FlowRequests : public test::LibraryTest {
  protected:
    static qir::Fcb *FcbAt(unsigned idx) { return &qirCtxt_gp->fcbPool[idx]; }

    // An FCB of patterned bytes that uses no table and has no forwarding information.
    static qir::Fcb *Load(unsigned idx) {
        qir::Fcb *const fcb_p = FcbAt(idx);
        driver_test::Load(fcb_p, kFcbBytes, idx + 1);
        PutHalf(fcb_p, kTblAssoc, 0);
        PutWord(fcb_p, kFwdInfoSet, 0);
        return fcb_p;
    }
    static qir::Fcb *Activate(unsigned idx) {
        qir::Fcb *const fcb_p = Load(idx);
        EXPECT_EQ(qir::Activate_FCB(fcb_p), 0u);
        orxemu_clearLog();
        return fcb_p;
    }
    static Wire FlowWire(const qir::Fcb *fcb_p, u32 pacTblIdx = kNone, u32 epTblIdx = kNone) {
        const auto address = static_cast<u32>(reinterpret_cast<std::uintptr_t>(fcb_p));
        return Wire(20).U32(4, 1884).U32(8, address).U32(12, pacTblIdx).U32(16, epTblIdx);
    }
};

// The driver has 32 bits for an address. They are all of it, wherever in the pool the flow is.
TEST_F(FlowRequests, AddressIsTheFcbs) {
    for (const unsigned idx : {0u, 1u, 255u, 510u, 511u}) {
        SCOPED_TRACE(idx);
        const qir::Fcb *const fcb_p = Activate(idx);
        orxemu_clearLog();
        ASSERT_EQ(qir::Activate_FCB(FcbAt(idx)), 0u);
        const u32 address = WordAt(LastRequest().in, 8);
        const void *const there = reinterpret_cast<const void *>(std::uintptr_t{address});
        ASSERT_EQ(there, static_cast<const void *>(fcb_p));
        EXPECT_EQ(WordAt(LastRequest().in, 4), 1884u);
        // The index that came back has been written since.
        std::vector<u8> expected = BytesAt(fcb_p, kFcbBytes);
        EXPECT_EQ(BytesAt(there, kFcbBytes), expected);
        PutWord(expected.data(), kHwFlowIdx, WordAt(LastRequest().fcb, kHwFlowIdx));
        EXPECT_EQ(LastRequest().fcbSize, 1884u);
        EXPECT_EQ(BytesAt(LastRequest().fcb, kFcbBytes), expected);
    }
}

// ---- tables of a flow -----------------------------------------------------------------------------

struct Association {
    u16 tblAssoc;
    bool pac;
    bool ep;
};
// Bit 0 is the EP table, bit 1 the PAC table; the other bits mean nothing.
const Association kAssociations[] = {
    {0x0000, false, false}, {0x0001, false, true},  {0x0002, true, false},  {0x0003, true, true},
    {0xFFFC, false, false}, {0xFFFD, false, true},  {0x8006, true, false},  {0xFFFF, true, true},
    {0x0100, false, false}, {0x0200, false, false}, {0x0300, false, false},
};

class FlowTables : public FlowRequests {
  protected:
    static constexpr unsigned kFlow = 77;
    static constexpr unsigned kPac = 13, kEp = 4;

    // A flow whose handles name PAC table 13 and EP table 4; only their low 8 bits do.
    void SetUp() override {
        FlowRequests::SetUp();
        Load(kFlow);
        PutWord(FcbAt(kFlow), kEpTblHdl, 0x12345600 + kEp);
        PutWord(FcbAt(kFlow), kPacTblHdl, 0xABCDEF00 + kPac);
        for (u32 idx = 0; idx < 16; ++idx) {
            PutWord(&qirCtxt_gp->pacTblPool[idx], kHwTblIdx, 0x50 + idx);
        }
        for (u32 idx = 0; idx < 6; ++idx) {
            PutWord(&qirCtxt_gp->epTblPool[idx], kHwTblIdx, 0x01020300 + idx);
        }
    }
};

// These bits decide about the two words, and the driver refuses tables that it does not have.
TEST_F(FlowTables, IndexesFollowTheAssociationBits) {
    qir::Fcb *const fcb_p = FcbAt(kFlow);
    for (const Association &row : kAssociations) {
        SCOPED_TRACE(row.tblAssoc);
        PutHalf(fcb_p, kTblAssoc, row.tblAssoc);
        const Wire record = FlowWire(fcb_p, row.pac ? 0x50 + kPac : kNone, row.ep ? 0x01020300 + kEp : kNone);
        const bool refused = row.pac || row.ep;

        orxemu_reset();
        Called called = Call([=] { return qir::Activate_FCB(fcb_p); });
        EXPECT_EQ(called.rc, refused ? 1u : 0u);
        EXPECT_EQ(called.out, "");
        ExpectRequest(29, record, refused ? ENOENT : 0);

        // Deactivation names them too.
        orxemu_clearLog();
        PutWord(fcb_p, kHwFlowIdx, 0);
        called = Call([=] { return qir::Deactivate_FCB(fcb_p); });
        EXPECT_EQ(called.rc, refused ? 1u : 0u);
        EXPECT_EQ(called.out, "");
        ExpectRequest(30, Wire(record).U32(0, 0), refused ? ENOENT : 0);
    }
}

TEST_F(FlowTables, FlowWithAnActivePacTableIsAccepted) {
    qir::Fcb *const fcb_p = FcbAt(kFlow);
    PutHalf(fcb_p, kTblAssoc, 2);
    ASSERT_EQ(qir::Activate_PacTable(&qirCtxt_gp->pacTblPool[0]), 0u);
    ASSERT_EQ(qir::Activate_PacTable(&qirCtxt_gp->pacTblPool[kPac]), 0u);
    orxemu_clearLog();
    ExpectSilentSuccess([=] { return qir::Activate_FCB(fcb_p); });
    ExpectRequest(29, FlowWire(fcb_p, 1));
    EXPECT_EQ(orxemu_state()->flow[0].pacTblIdx, 1);
    EXPECT_EQ(orxemu_state()->flow[0].epTblIdx, -1);

    // A table that has left the hardware has no index any more.
    ASSERT_EQ(qir::Deactivate_PacTable(&qirCtxt_gp->pacTblPool[kPac]), 0u);
    orxemu_clearLog();
    ExpectSilentSuccess([=] { return qir::Deactivate_FCB(fcb_p); });
    ExpectRequest(30, FlowWire(fcb_p, kNone).U32(0, 0));
}

// ---- hit counters ---------------------------------------------------------------------------------

class HitRequests : public FlowRequests {
  protected:
    static std::vector<u8> BytesOf(const FcbHits &hits) { return BytesAt(&hits, 36); }
};

// Each of the 36 bytes that the driver writes arrives, none is taken from anywhere else; the record is clear
// when the driver gets it, whatever the stack held.
TEST_F(HitRequests, RecordIsClearedBeforeAndItsBytesAreTheAnswer) {
    const qir::Fcb *const fcb_p = Activate(9);
    for (const unsigned seed : {1u, 100u, 200u}) {
        SCOPED_TRACE(seed);
        std::vector<u8> sent;
        const NodeCalls calls([&](unsigned long, void *record) {
            sent = BytesAt(record, 40);
            driver_test::Load(record, 40, seed);
            return 0;
        });
        FcbHits hits;
        std::memset(&hits, 0xEE, sizeof hits);
        ExpectSilentSuccess([&] { return qir::Get_FCBHits(fcb_p, &hits); });
        ASSERT_EQ(sent.size(), 40u);
        EXPECT_TRUE(Wire(40).U32(0, 0).Zero(4, 36).Matches(sent.data()));
        const std::vector<u8> answer = Pattern(40, seed);
        EXPECT_EQ(BytesOf(hits), std::vector<u8>(answer.begin() + 4, answer.end()));
        ASSERT_EQ(calls.Seen().size(), 3u);
        EXPECT_EQ(calls.Seen()[1].request, 38u);
    }
}

TEST_F(HitRequests, CallersRecordStaysOnFailure) {
    const struct {
        const char *what;
        void (*arm)();
        const char *line;
    } rows[] = {
        {"no device", [] { orxemu_setPresent(0); }, "qel_dev_open </dev/pktorx> error no 2\n"},
        {"refused", [] { orxemu_failRequest(38, 1, EIO); }, "pktOrxDevIoctl <38> error\n"},
        {"answer lost", [] { orxemu_loseAnswer(38, 1, EIO); }, "pktOrxDevIoctl <38> error\n"},
    };
    const qir::Fcb *const fcb_p = Activate(9);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        orxemu_setPresent(1);
        row.arm();
        FcbHits hits;
        driver_test::Load(&hits, 36, 5);
        ExpectDriverFailure([&] { return qir::Get_FCBHits(fcb_p, &hits); }, row.line);
        EXPECT_EQ(BytesOf(hits), Pattern(36, 5));
    }
}

// The record that takes the answer is asked for, though it is needed on success only.
TEST_F(HitRequests, MissingRecordIsAsserted) {
    const qir::Fcb *const fcb_p = Activate(9);
    orxemu_failRequest(38, 1, EIO);
    const Called called = Call([=] { return qir::Get_FCBHits(fcb_p, nullptr); });
    EXPECT_EQ(called.rc, 1u);
    EXPECT_EQ(called.out, "[ASSERT qirapi_private] Get_FCBHits,#: (fcb_p != NULL) && (fcbHits_p != NULL)\n");
    EXPECT_EQ(called.err, "pktOrxDevIoctl <38> error\n");
    EXPECT_EQ(orxemu_numRequests(), 1u) << "the program carries on behind the assertion";
}

} // namespace
} // namespace driver_test
