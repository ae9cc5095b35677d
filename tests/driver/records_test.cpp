// Global and port settings, rate limiters and tables: the bytes of their records for every port, table and
// limiter. The wrappers check nothing: what the driver will refuse is sent, too.
#include "tests/driver/driver_test.h"

#include <cerrno>
#include <optional>

namespace driver_test {
namespace {

class SettingRequests : public test::LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        before_.emplace();
    }
    void TearDown() override {
        EXPECT_TRUE(before_->Unchanged()) << "a wrapper without an index leaves the shadow to its caller";
        LibraryTest::TearDown();
    }

    // The call sends this record; the driver's answer is `err`.
    static void ExpectSent(const Op &op, int request, const Wire &record, int err = 0) {
        orxemu_clearLog();
        if (err == 0) {
            ExpectSilentSuccess(op);
        } else {
            ExpectDriverFailure(op, IoctlFailed(request));
        }
        ExpectRequest(request, record, err);
    }

  private:
    std::optional<ContextSnapshot> before_;
};

TEST_F(SettingRequests, FlowMissAction) {
    for (u32 action = 0; action < 3; ++action) {
        SCOPED_TRACE(action);
        ExpectSent([=] { return qir::Set_GblFlowMissAction(action); }, 17, Wire(8).U32(0, 1).U32(4, action));
        EXPECT_EQ(orxemu_state()->flowMissAction, action);
    }
    for (const u32 action : {3u, 0x12345678u, kAllOnes}) {
        SCOPED_TRACE(action);
        ExpectSent([=] { return qir::Set_GblFlowMissAction(action); }, 17, Wire(8).U32(0, 1).U32(4, action),
                   EINVAL);
    }
}

TEST_F(SettingRequests, DefaultAcl) {
    for (u32 port = 0; port < 9; ++port) {
        for (u32 aclType = 0; aclType < 2; ++aclType) {
            SCOPED_TRACE(std::to_string(port) + ", ACL type " + std::to_string(aclType));
            ExpectSent([=] { return qir::Set_PortDefAcl(port, aclType); }, 19,
                       Wire(32).U32(0, 1).U32(4, port).U32(8, aclType));
            EXPECT_EQ(orxemu_state()->portDefAcl[port], aclType);
        }
    }
    ExpectSent([] { return qir::Set_PortDefAcl(9, 0x12345678); }, 19,
               Wire(32).U32(0, 1).U32(4, 9).U32(8, 0x12345678), EINVAL);
}

TEST_F(SettingRequests, Tpid) {
    for (u32 port = 0; port < 9; ++port) {
        SCOPED_TRACE(port);
        u8 tpidCfg[12];
        PutWord(tpidCfg, 0, port);
        for (std::size_t ix = 0; ix < 4; ++ix) {
            PutHalf(tpidCfg, 4 + 2 * ix, static_cast<u16>(0xFFF0 - 0x1357 * port - 0x0246 * ix));
        }
        TpidCfg arg;
        std::memcpy(&arg, tpidCfg, sizeof tpidCfg);
        ExpectSent([&] { return qir::Set_PortTpid(&arg); }, 19,
                   Wire(32).U32(0, 2).Copy(12, BytesAt(tpidCfg, 12)));
        EXPECT_EQ(BytesAt(orxemu_state()->portTpid[port], 8), BytesAt(tpidCfg + 4, 8));
    }
    const TpidCfg far = {.portId = 9, .tpid = {1, 2, 3, 4}};
    ExpectSent([&] { return qir::Set_PortTpid(&far); }, 19,
               Wire(32).U32(0, 2).U32(12, 9).U16(16, 1).U16(18, 2).U16(20, 3).U16(22, 4), EINVAL);
}

TEST_F(SettingRequests, PadLength) {
    for (u32 port = 0; port < 8; ++port) {
        for (const u32 padLen : {0u, 1u, 63u, 64u, 255u}) {
            SCOPED_TRACE(std::to_string(port) + ", pad length " + std::to_string(padLen));
            ExpectSent([=] { return qir::Set_PortPadLen(port, padLen); }, 19,
                       Wire(32).U32(0, 4).U32(24, port).U32(28, padLen));
            EXPECT_EQ(orxemu_state()->portPadLen[port], padLen);
        }
    }
    ExpectSent([] { return qir::Set_PortPadLen(8, 256); }, 19, Wire(32).U32(0, 4).U32(24, 8).U32(28, 256),
               EINVAL);
}

TEST_F(SettingRequests, RateLimiterStatus) {
    for (const u32 rlStatus : {1u, 0u}) {
        ExpectSent([=] { return qir::Set_RLStatus(rlStatus); }, 39, Wire(4).U32(0, rlStatus));
        EXPECT_EQ(orxemu_state()->rlStatus, rlStatus);
    }
    ExpectSent([] { return qir::Set_RLStatus(2); }, 39, Wire(4).U32(0, 2), EINVAL);
}

// The halves travel as two halves, in the order in which they stand in memory.
TEST_F(SettingRequests, TciConfiguration) {
    const u16 pairs[][2] = {{0, 0}, {0xFFFF, 0}, {0, 0xFFFF}, {0x1234, 0x5678}, {0x8001, 0x7FFE}};
    for (u32 rlDir = 0; rlDir < 2; ++rlDir) {
        for (const auto &pair : pairs) {
            SCOPED_TRACE(std::to_string(rlDir) + ": " + std::to_string(pair[0]) + ", " +
                         std::to_string(pair[1]));
            ExpectSent([&] { return qir::Set_RLTciCfg(rlDir, WordAt(pair, 0)); }, 40,
                       Wire(12).U32(4, rlDir).U16(8, pair[0]).U16(10, pair[1]));
            EXPECT_EQ(orxemu_state()->rlTci[rlDir][0], pair[0]);
            EXPECT_EQ(orxemu_state()->rlTci[rlDir][1], pair[1]);
        }
    }
    ExpectSent([] { return qir::Set_RLTciCfg(2, 0); }, 40, Wire(12).U32(4, 2).U16(8, 0).U16(10, 0), EINVAL);
}

// ---- rate limiters --------------------------------------------------------------------------------

constexpr u16 kFirstTci[2] = {0x8123, 0xFEDC};
constexpr u16 kSecondTci[2] = {0x4567, 0xBA98};

class RateLimiterRequests : public test::LibraryTest {
  protected:
    // Every limiter with a configuration of its own, in both units; every direction with its TCI halves.
    void SetUp() override {
        LibraryTest::SetUp();
        for (u32 rlDir = 0; rlDir < 2; ++rlDir) {
            PutHalf(&qirCtxt_gp->rlTciCfgTbl[rlDir], 0, kFirstTci[rlDir]);
            PutHalf(&qirCtxt_gp->rlTciCfgTbl[rlDir], 2, kSecondTci[rlDir]);
            for (u32 rlIndex = 0; rlIndex < 16; ++rlIndex) {
                void *const slot = &qirCtxt_gp->rlTbl[rlDir][rlIndex];
                PutWord(slot, 0, Tci(rlDir, rlIndex));
                PutWord(slot, 4, 1000 - rlIndex);
                PutWord(slot, 8, rlDir);
                PutWord(slot, 12, ~Tci(rlDir, rlIndex));
                PutWord(slot, 16, e_STATUS_CFG);
            }
        }
    }

    static u32 Tci(u32 rlDir, u32 rlIndex) { return 0xC0DE0000 + 0x100 * rlDir + rlIndex; }

    static void ForEach(const std::function<void(u32 rlDir, u32 rlIndex)> &check) {
        for (u32 rlDir = 0; rlDir < 2; ++rlDir) {
            for (u32 rlIndex = 0; rlIndex < 16; ++rlIndex) {
                SCOPED_TRACE(std::to_string(rlDir) + ", " + std::to_string(rlIndex));
                orxemu_clearLog();
                check(rlDir, rlIndex);
            }
        }
    }
};

TEST_F(RateLimiterRequests, ActivationCarriesTheLimitersConfiguration) {
    const ContextSnapshot before;
    ForEach([](u32 rlDir, u32 rlIndex) {
        ExpectSilentSuccess([=] { return qir::Activate_RL(rlDir, rlIndex); });
        ExpectRequest(41, Wire(32)
                              .U32(4, rlDir)
                              .U32(12, rlIndex)
                              .U32(16, Tci(rlDir, rlIndex))
                              .U32(20, 1000 - rlIndex)
                              .U32(24, rlDir)
                              .U32(28, ~Tci(rlDir, rlIndex)));
        EXPECT_EQ(orxemu_state()->rl[rlDir][rlIndex].active, 1);
    });
    EXPECT_TRUE(before.Unchanged()) << "the state is the caller's business";
}

TEST_F(RateLimiterRequests, DeactivationCarriesTheDirectionsFirstTciHalfInstead) {
    ForEach([](u32 rlDir, u32 rlIndex) { ASSERT_EQ(qir::Activate_RL(rlDir, rlIndex), 0u); });
    const ContextSnapshot before;
    ForEach([](u32 rlDir, u32 rlIndex) {
        ExpectSilentSuccess([=] { return qir::Deactivate_RL(rlDir, rlIndex); });
        ExpectRequest(42, Wire(32).U32(4, rlDir).U32(12, rlIndex).U32(16, kFirstTci[rlDir]).Zero(20, 12));
        EXPECT_EQ(orxemu_state()->rl[rlDir][rlIndex].active, 0);
    });
    EXPECT_TRUE(before.Unchanged());
}

// ---- tables ---------------------------------------------------------------------------------------

// One kind of table.
struct TblKind {
    const char *name;
    unsigned poolSize;
    std::size_t bytes;
    int activateRequest;
    int deactivateRequest;
    void *(*slot)(unsigned idx);
    u32 (*activate)(unsigned idx);
    u32 (*deactivate)(unsigned idx);
};
const TblKind kTblKinds[] = {
    {"AS", 16, 468, 21, 22, [](unsigned idx) -> void * { return &qirCtxt_gp->asTblPool[idx]; },
     [](unsigned idx) { return qir::Activate_AsTable(&qirCtxt_gp->asTblPool[idx]); },
     [](unsigned idx) { return qir::Deactivate_AsTable(&qirCtxt_gp->asTblPool[idx]); }},
    {"DSCP-to-pbits", 6, 88, 23, 24, [](unsigned idx) -> void * { return &qirCtxt_gp->dscpTblPool[idx]; },
     [](unsigned idx) { return qir::Activate_DscpToPbitsTable(&qirCtxt_gp->dscpTblPool[idx]); },
     [](unsigned idx) { return qir::Deactivate_DscpToPbitsTable(&qirCtxt_gp->dscpTblPool[idx]); }},
    {"PAC", 16, 268, 27, 28, [](unsigned idx) -> void * { return &qirCtxt_gp->pacTblPool[idx]; },
     [](unsigned idx) { return qir::Activate_PacTable(&qirCtxt_gp->pacTblPool[idx]); },
     [](unsigned idx) { return qir::Deactivate_PacTable(&qirCtxt_gp->pacTblPool[idx]); }},
};

class TableRequests : public test::LibraryTest {
  protected:
    static constexpr std::size_t kHwTblIdx = 4;

    static void ForEachKind(const std::function<void(const TblKind &)> &check) {
        for (const TblKind &kind : kTblKinds) {
            SCOPED_TRACE(kind.name);
            orxemu_reset();
            check(kind);
        }
    }
};

// The last table goes first, so that the driver's indexes are not those of the pool. The copy is taken before
// the call: it has the index that the record held until then.
TEST_F(TableRequests, ActivationCarriesTheWholeRecord) {
    ForEachKind([](const TblKind &kind) {
        for (unsigned n = 0; n < kind.poolSize; ++n) {
            const unsigned idx = kind.poolSize - 1 - n;
            SCOPED_TRACE(idx);
            void *const slot = kind.slot(idx);
            const std::vector<u8> bytes = Pattern(kind.bytes, 3 * idx + 1);
            Load(slot, kind.bytes, 3 * idx + 1);
            const ContextSnapshot before;
            orxemu_clearLog();
            ExpectSilentSuccess([&] { return kind.activate(idx); });
            ExpectRequest(kind.activateRequest, Wire(4 + kind.bytes).Copy(4, bytes));
            EXPECT_EQ(WordAt(slot, kHwTblIdx), n);
            EXPECT_TRUE(OnlyChanged(before, static_cast<u8 *>(slot) + kHwTblIdx));
        }
    });
}

TEST_F(TableRequests, DeactivationCarriesTheIndexAndTheWholeRecord) {
    ForEachKind([](const TblKind &kind) {
        for (unsigned n = 0; n < kind.poolSize; ++n) {
            Load(kind.slot(n), kind.bytes, 5 * n + 2);
            ASSERT_EQ(kind.activate(n), 0u);
        }
        for (unsigned n = 0; n < kind.poolSize; ++n) {
            const unsigned idx = kind.poolSize - 1 - n;
            SCOPED_TRACE(idx);
            void *const slot = kind.slot(idx);
            const ContextSnapshot before;
            orxemu_clearLog();
            ExpectSilentSuccess([&] { return kind.deactivate(idx); });
            ExpectRequest(
                kind.deactivateRequest,
                Wire(4 + kind.bytes).U32(0, idx).Copy(4, Pattern(kind.bytes, 5 * idx + 2)).U32(8, idx));
            EXPECT_EQ(WordAt(slot, kHwTblIdx), kAllOnes);
            EXPECT_TRUE(OnlyChanged(before, static_cast<u8 *>(slot) + kHwTblIdx));
        }
    });
}

TEST_F(TableRequests, FullDriverRefusesAndTheIndexWordIsKept) {
    ForEachKind([](const TblKind &kind) {
        for (unsigned n = 0; n < kind.poolSize; ++n) {
            ASSERT_EQ(kind.activate(n), 0u);
        }
        orxemu_clearLog();
        ExpectDriverFailure([&] { return kind.activate(0); }, IoctlFailed(kind.activateRequest));
        EXPECT_EQ(LastRequest().err, ENOSPC);
        EXPECT_EQ(WordAt(kind.slot(0), kHwTblIdx), WordAt(LastRequest().in, 0));
    });
}

// Whatever index the record holds is what the driver is asked for.
TEST_F(TableRequests, DeactivationOfAnIndexThatIsNotActiveForgetsIt) {
    ForEachKind([](const TblKind &kind) {
        for (const u32 hwTblIdx : {0u, kind.poolSize - 1, 0x01020304u, kAllOnes}) {
            SCOPED_TRACE(hwTblIdx);
            PutWord(kind.slot(0), kHwTblIdx, hwTblIdx);
            orxemu_clearLog();
            ExpectDriverFailure([&] { return kind.deactivate(0); }, IoctlFailed(kind.deactivateRequest));
            ExpectRequest(kind.deactivateRequest, Wire(4 + kind.bytes).U32(0, hwTblIdx).U32(8, hwTblIdx),
                          ENOENT);
            EXPECT_EQ(WordAt(kind.slot(0), kHwTblIdx), kAllOnes);
        }
    });
}

} // namespace
} // namespace driver_test
