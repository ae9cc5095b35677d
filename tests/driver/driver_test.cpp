#include "tests/driver/driver_test.h"

#include <cstdio>

namespace driver_test {

// ---- bytes ----------------------------------------------------------------------------------------

std::vector<u8> Pattern(std::size_t size, unsigned seed) {
    std::vector<u8> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<u8>(seed + 7 * i);
    }
    return bytes;
}

void Load(void *record, std::size_t size, unsigned seed) {
    std::memcpy(record, Pattern(size, seed).data(), size);
}

u32 WordAt(const void *bytes, std::size_t offset) {
    u32 word;
    std::memcpy(&word, static_cast<const u8 *>(bytes) + offset, sizeof word);
    return word;
}

void PutWord(void *bytes, std::size_t offset, u32 value) {
    std::memcpy(static_cast<u8 *>(bytes) + offset, &value, sizeof value);
}

void PutHalf(void *bytes, std::size_t offset, u16 value) {
    std::memcpy(static_cast<u8 *>(bytes) + offset, &value, sizeof value);
}

std::vector<u8> BytesAt(const void *bytes, std::size_t size) {
    const auto *begin = static_cast<const u8 *>(bytes);
    return {begin, begin + size};
}

Wire &Wire::Zero(std::size_t offset, std::size_t count) {
    return Copy(offset, std::vector<u8>(count, 0));
}

Wire &Wire::Copy(std::size_t offset, const std::vector<u8> &bytes) {
    return Put(offset, bytes.data(), bytes.size());
}

Wire &Wire::Put(std::size_t offset, const void *value, std::size_t size) {
    const auto *from = static_cast<const u8 *>(value);
    for (std::size_t i = 0; i < size; ++i) {
        bytes_.at(offset + i) = from[i];
        set_.at(offset + i) = true;
    }
    return *this;
}

::testing::AssertionResult Wire::Matches(const u8 *actual) const {
    std::string differ;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (set_[i] && actual[i] != bytes_[i]) {
            char text[64];
            std::snprintf(text, sizeof text, " [%zu] 0x%02x instead of 0x%02x", i, actual[i], bytes_[i]);
            differ += text;
        }
    }
    return differ.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << differ;
}

// ---- calls ----------------------------------------------------------------------------------------

Called Call(const Op &op) {
    Called called;
    const test::Output both = test::CaptureBoth([&] { called.rc = op(); });
    called.out = test::Mask(both.out);
    called.err = both.err;
    return called;
}

void ExpectSilentSuccess(const Op &op) {
    const Called called = Call(op);
    EXPECT_EQ(called.rc, 0u);
    EXPECT_EQ(called.out, "");
    EXPECT_EQ(called.err, "");
}

void ExpectDriverFailure(const Op &op, const std::string &err) {
    const Called called = Call(op);
    EXPECT_EQ(called.rc, 1u);
    EXPECT_EQ(called.out, "");
    EXPECT_EQ(called.err, err);
}

std::string IoctlFailed(int request) {
    return "pktOrxDevIoctl <" + std::to_string(request) + "> error\n";
}

void ExpectRequest(int request, const Wire &record, int err) {
    ASSERT_EQ(orxemu_numRequests(), 1u);
    const OrxEmuRequest &seen = *orxemu_request(0);
    EXPECT_EQ(seen.request, request);
    EXPECT_EQ(seen.err, err);
    EXPECT_EQ(seen.recordSize, record.Size());
    EXPECT_TRUE(record.Matches(seen.in));
}

const OrxEmuRequest &LastRequest() {
    static const OrxEmuRequest none{};
    const std::size_t num = orxemu_numRequests();
    EXPECT_GT(num, 0u);
    return num == 0 ? none : *orxemu_request(num - 1);
}

::testing::AssertionResult OnlyChanged(const ContextSnapshot &before, const u8 *word) {
    const auto *context = reinterpret_cast<const u8 *>(qirCtxt_gp);
    for (const std::size_t offset : before.ChangedBytes()) {
        const u8 *const byte = context + offset;
        if (word == nullptr || byte < word || byte >= word + 4) {
            return ::testing::AssertionFailure() << "byte " << offset << " of the context changed";
        }
    }
    return ::testing::AssertionSuccess();
}

// ---- a library and a driver with something of everything -------------------------------------------

namespace {

qir::Fcb *FcbAt(unsigned idx) {
    return &qirCtxt_gp->fcbPool[idx];
}

u32 FcbAddress(unsigned idx) {
    return static_cast<u32>(reinterpret_cast<std::uintptr_t>(FcbAt(idx)));
}

// A flow of patterned bytes that uses no table and has no forwarding information.
void LoadFcb(unsigned idx, unsigned seed) {
    Load(FcbAt(idx), kFcbBytes, seed);
    PutHalf(FcbAt(idx), 16, 0);
    PutWord(FcbAt(idx), 268, 0);
}

constexpr TpidCfg kTpidCfg = {.portId = 8, .tpid = {0x8100, 0x88A8, 0x9100, 0xFFFF}};

FwdInfo givenFwdInfo;
FcbHits readHits;

// A forwarding record of patterned bytes, with a priority and flags that the driver accepts.
std::vector<u8> FwdBytes() {
    std::vector<u8> bytes = Pattern(68, kNewSeed);
    PutWord(bytes.data(), 0, 31);
    PutWord(bytes.data(), 64, 7);
    return bytes;
}

// The configuration of a rate limiter: TCI, rate, unit, burst size.
void LoadRl(u32 rlDir, u32 rlIndex) {
    void *const slot = &qirCtxt_gp->rlTbl[rlDir][rlIndex];
    PutWord(slot, 0, 0x12345678);
    PutWord(slot, 4, 8064);
    PutWord(slot, 8, 0);
    PutWord(slot, 12, 0x9ABCDEF0);
}

// The two halves of a TCI configuration as one value.
u32 TciWord(u16 first, u16 second) {
    const u16 halves[2] = {first, second};
    return WordAt(halves, 0);
}

// A table record with its index word unset, and with the driver's index as the record knows it.
Wire NewTblWire(std::size_t tblBytes) {
    return Wire(4 + tblBytes).Copy(4, Pattern(tblBytes, kNewSeed));
}
Wire LiveTblWire(std::size_t tblBytes) {
    return Wire(4 + tblBytes).U32(0, kLiveIdx).Copy(4, Pattern(tblBytes, kLiveSeed)).U32(8, kLiveIdx);
}

Wire FlowWire(unsigned idx) {
    return Wire(20).U32(4, 1884).U32(8, FcbAddress(idx)).U32(12, kAllOnes).U32(16, kAllOnes);
}

const u8 *IndexOf(const void *record, std::size_t offset) {
    return static_cast<const u8 *>(record) + offset;
}

} // namespace

void DriverTest::SetUp() {
    LibraryTest::SetUp();
    Prepare();
}

void DriverTest::Prepare() {
    orxemu_reset();
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    QIR_Init_Sys();

    qir::QirCtxt &ctxt = *qirCtxt_gp;
    Load(&ctxt.asTblPool[kAsLive], 468, kLiveSeed);
    Load(&ctxt.asTblPool[kAsNew], 468, kNewSeed);
    Load(&ctxt.dscpTblPool[kDscpLive], 88, kLiveSeed);
    Load(&ctxt.dscpTblPool[kDscpNew], 88, kNewSeed);
    Load(&ctxt.pacTblPool[kPacLive], 268, kLiveSeed);
    Load(&ctxt.pacTblPool[kPacNew], 268, kNewSeed);
    LoadFcb(kFlowLive, kLiveSeed);
    LoadFcb(kFlowNew, kNewSeed);
    LoadRl(kRlLiveDir, kRlLiveIdx);
    LoadRl(kRlNewDir, kRlNewIdx);
    ctxt.rlTciCfgTbl[0] = {{0x8123, 0x4567}};
    ctxt.rlTciCfgTbl[1] = {{0x89AB, 0xCDEF}};
    Load(&readHits, 36, kNewSeed);
    std::memcpy(&givenFwdInfo, FwdBytes().data(), 68);

    // Another of each kind takes the driver's index 0.
    ASSERT_EQ(qir::Activate_AsTable(&ctxt.asTblPool[0]), 0u);
    ASSERT_EQ(qir::Activate_AsTable(&ctxt.asTblPool[kAsLive]), 0u);
    ASSERT_EQ(qir::Activate_DscpToPbitsTable(&ctxt.dscpTblPool[0]), 0u);
    ASSERT_EQ(qir::Activate_DscpToPbitsTable(&ctxt.dscpTblPool[kDscpLive]), 0u);
    ASSERT_EQ(qir::Activate_PacTable(&ctxt.pacTblPool[0]), 0u);
    ASSERT_EQ(qir::Activate_PacTable(&ctxt.pacTblPool[kPacLive]), 0u);
    ASSERT_EQ(qir::Activate_FCB(FcbAt(0)), 0u);
    ASSERT_EQ(qir::Activate_FCB(FcbAt(kFlowLive)), 0u);
    ASSERT_EQ(qir::Activate_RL(kRlLiveDir, kRlLiveIdx), 0u);
    orxemu_clearLog();
}

std::vector<Wrapper> AllWrappers() {
    const qir::QirCtxt &ctxt = *qirCtxt_gp;
    // Where a table and an FCB keep the driver's index.
    constexpr std::size_t kTblIdx = 4;
    constexpr std::size_t kFlowIdx = 8;
    return {
        {"Set_GblFlowMissAction", 17, [] { return qir::Set_GblFlowMissAction(2); },
         Wire(8).U32(0, 1).U32(4, 2), nullptr, Wrapper::None},
        {"Set_PortDefAcl", 19, [] { return qir::Set_PortDefAcl(8, 1); },
         Wire(32).U32(0, 1).U32(4, 8).U32(8, 1), nullptr, Wrapper::None},
        {"Set_PortTpid", 19, [] { return qir::Set_PortTpid(&kTpidCfg); },
         Wire(32).U32(0, 2).U32(12, 8).U16(16, 0x8100).U16(18, 0x88A8).U16(20, 0x9100).U16(22, 0xFFFF),
         nullptr, Wrapper::None},
        {"Set_PortPadLen", 19, [] { return qir::Set_PortPadLen(7, 255); },
         Wire(32).U32(0, 4).U32(24, 7).U32(28, 255), nullptr, Wrapper::None},

        {"Activate_AsTable", 21, [] { return qir::Activate_AsTable(&qirCtxt_gp->asTblPool[kAsNew]); },
         NewTblWire(468), IndexOf(&ctxt.asTblPool[kAsNew], kTblIdx), Wrapper::Taken},
        {"Deactivate_AsTable", 22, [] { return qir::Deactivate_AsTable(&qirCtxt_gp->asTblPool[kAsLive]); },
         LiveTblWire(468), IndexOf(&ctxt.asTblPool[kAsLive], kTblIdx), Wrapper::Forgot},
        {"Activate_DscpToPbitsTable", 23,
         [] { return qir::Activate_DscpToPbitsTable(&qirCtxt_gp->dscpTblPool[kDscpNew]); }, NewTblWire(88),
         IndexOf(&ctxt.dscpTblPool[kDscpNew], kTblIdx), Wrapper::Taken},
        {"Deactivate_DscpToPbitsTable", 24,
         [] { return qir::Deactivate_DscpToPbitsTable(&qirCtxt_gp->dscpTblPool[kDscpLive]); },
         LiveTblWire(88), IndexOf(&ctxt.dscpTblPool[kDscpLive], kTblIdx), Wrapper::Forgot},
        {"Activate_PacTable", 27, [] { return qir::Activate_PacTable(&qirCtxt_gp->pacTblPool[kPacNew]); },
         NewTblWire(268), IndexOf(&ctxt.pacTblPool[kPacNew], kTblIdx), Wrapper::Taken},
        {"Deactivate_PacTable", 28,
         [] { return qir::Deactivate_PacTable(&qirCtxt_gp->pacTblPool[kPacLive]); }, LiveTblWire(268),
         IndexOf(&ctxt.pacTblPool[kPacLive], kTblIdx), Wrapper::Forgot},

        {"Activate_FCB", 29, [] { return qir::Activate_FCB(FcbAt(kFlowNew)); }, FlowWire(kFlowNew),
         IndexOf(FcbAt(kFlowNew), kFlowIdx), Wrapper::Taken},
        {"Deactivate_FCB", 30, [] { return qir::Deactivate_FCB(FcbAt(kFlowLive)); },
         FlowWire(kFlowLive).U32(0, kLiveIdx), IndexOf(FcbAt(kFlowLive), kFlowIdx), Wrapper::None},
        {"Get_FCBHits", 38, [] { return qir::Get_FCBHits(FcbAt(kFlowLive), &readHits); },
         Wire(40).U32(0, kLiveIdx).Zero(4, 36), IndexOf(FcbAt(kFlowLive), kFlowIdx), Wrapper::None},
        {"Update_FwdInfo", 43, [] { return qir::Update_FwdInfo(FcbAt(kFlowLive), &givenFwdInfo); },
         Wire(72).U32(0, kLiveIdx).Copy(4, FwdBytes()), IndexOf(FcbAt(kFlowLive), kFlowIdx), Wrapper::None},

        {"Set_RLStatus", 39, [] { return qir::Set_RLStatus(1); }, Wire(4).U32(0, 1), nullptr, Wrapper::None},
        {"Set_RLTciCfg", 40, [] { return qir::Set_RLTciCfg(1, TciWord(0xFEDC, 0x0BA9)); },
         Wire(12).U32(4, 1).U16(8, 0xFEDC).U16(10, 0x0BA9), nullptr, Wrapper::None},
        {"Activate_RL", 41, [] { return qir::Activate_RL(kRlNewDir, kRlNewIdx); },
         Wire(32).U32(4, 1).U32(12, 14).U32(16, 0x12345678).U32(20, 8064).U32(24, 0).U32(28, 0x9ABCDEF0),
         nullptr, Wrapper::None},
        {"Deactivate_RL", 42, [] { return qir::Deactivate_RL(kRlLiveDir, kRlLiveIdx); },
         Wire(32).U32(4, 0).U32(12, 5).U32(16, 0x8123).Zero(20, 12), nullptr, Wrapper::None},
    };
}

} // namespace driver_test
