// Accessors of table records: configurations, entries and rows in and out, and the reference counts.
#include "tests/tables/kinds.h"

namespace test {
namespace {

template <class Kind> class ReferenceCount : public LibraryTest {};
TYPED_TEST_SUITE(ReferenceCount, AllKinds, KindName);

// Counts up or down from `from`; the count is all that may change.
template <class Kind, class Fn>
void ExpectCounted(Fn count, unsigned from, unsigned to, const std::string &line) {
    SCOPED_TRACE("from " + std::to_string(from));
    typename Kind::Info *info = Kind::Pool() + 1;
    info->refCnt = static_cast<uint16_t>(from);
    Image expected = Image::Of(*info);
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { count(info); }), line);
    EXPECT_TRUE(expected.U16(Kind::kRefCntOffset, to).Is(info));
    EXPECT_TRUE(OnlyChanged(before, info, Kind::kRecordSize));
}

TYPED_TEST(ReferenceCount, GoesUpByOne) {
    for (const unsigned from : {0u, 1u, 255u, 510u, 511u}) {
        ExpectCounted<TypeParam>(TypeParam::Incr, from, from + 1, "");
    }
}

TYPED_TEST(ReferenceCount, UpFrom512IsAssertedAndCounted) {
    const std::string line = Assertion("qirapi_access", std::string("incr") + TypeParam::kName + "TblRefCnt",
                                       "(tbl_p->refCnt < QIR_MAX_FLOWS)");
    ExpectCounted<TypeParam>(TypeParam::Incr, 512, 513, line);
    ExpectCounted<TypeParam>(TypeParam::Incr, 513, 514, line);
    ExpectCounted<TypeParam>(TypeParam::Incr, 65535, 0, line);
}

TYPED_TEST(ReferenceCount, GoesDownByOne) {
    for (const unsigned from : {1u, 2u, 256u, 512u, 65535u}) {
        ExpectCounted<TypeParam>(TypeParam::Decr, from, from - 1, "");
    }
}

TYPED_TEST(ReferenceCount, DownFrom0IsAssertedAndWraps) {
    ExpectCounted<TypeParam>(TypeParam::Decr, 0, 65535,
                             Assertion("qirapi_access", std::string("decr") + TypeParam::kName + "TblRefCnt",
                                       TypeParam::kDecrCondition));
}

class TableAccessors : public LibraryTest {
  protected:
    // Bytes 1, 2, 3 ...: no two neighbours alike, none the fill byte.
    template <class Record> static Record Numbered(uint8_t first = 1) {
        Record record;
        auto *bytes = reinterpret_cast<uint8_t *>(&record);
        for (std::size_t i = 0; i < sizeof record; ++i) {
            bytes[i] = static_cast<uint8_t>(first + i);
        }
        return record;
    }

    // Runs `store` on a record: it prints nothing and the record then has the bytes of `expected`.
    template <class Info, class Fn> static void ExpectStored(Info *info, const Image &expected, Fn store) {
        const ContextSnapshot before;
        EXPECT_EQ(Capture([&] { store(info); }), "");
        EXPECT_TRUE(expected.Is(info));
        EXPECT_TRUE(OnlyChanged(before, info, sizeof *info));
    }
};

TEST_F(TableAccessors, ReferenceCountAssertionsRead) {
    qir::DscpTblInfo dscp{};
    EXPECT_EQ(CaptureMasked([&] { qir::decrDscpTblRefCnt(&dscp); }),
              "[ASSERT qirapi_access] decrDscpTblRefCnt,#: (tbl_p->refCnt != 0 )\n");
    qir::PacTblInfo pac{};
    EXPECT_EQ(CaptureMasked([&] { qir::decrPacTblRefCnt(&pac); }),
              "[ASSERT qirapi_access] decrPacTblRefCnt,#: (tbl_p->refCnt != 0)\n");
    pac.refCnt = 512;
    EXPECT_EQ(CaptureMasked([&] { qir::incrPacTblRefCnt(&pac); }),
              "[ASSERT qirapi_access] incrPacTblRefCnt,#: (tbl_p->refCnt < QIR_MAX_FLOWS)\n");
}

TEST_F(TableAccessors, AsConfigurationInAndOut) {
    auto *info = &qirCtxt_gp->asTblPool[5];
    const auto cfg = Numbered<AsTblCfg>();
    ExpectStored(info, Image::Of(*info).Bytes(8, &cfg, 4), [&](auto *p) { qir::setAsTblCfg(p, &cfg); });
    AsTblCfg out{};
    ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getAsTblCfg(p, &out); });
    EXPECT_EQ(out.srcPortMask, cfg.srcPortMask);
}

TEST_F(TableAccessors, AsConfigurationByIndex) {
    const AsTblCfg cfg{0x80000001};
    for (uint8_t id = 0; id < 16; ++id) {
        SCOPED_TRACE(unsigned{id});
        auto *info = &qirCtxt_gp->asTblPool[id];
        ExpectStored(info, Image::Of(*info).U32(8, 0x80000001), [&](auto *) { qir::Set_AsTblCfg(id, &cfg); });
    }
}

TEST_F(TableAccessors, AsConfigurationRecordIsFilled) {
    for (const uint32_t mask : {0u, 0x5u, 0xFFFFFFFFu}) {
        AsTblCfg cfg{0x12345678};
        EXPECT_EQ(Capture([&] { qir::Fill_AsTblCfg(&cfg, mask); }), "");
        EXPECT_EQ(cfg.srcPortMask, mask);
    }
}

// The slot's status word lies behind the entry's 52 bytes and is not the accessors' business.
TEST_F(TableAccessors, AsEntryInAndOutLeavesTheSlotStatusAlone) {
    auto *info = &qirCtxt_gp->asTblPool[5];
    for (uint8_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE(unsigned{slot});
        const auto ent = Numbered<AsEnt>(static_cast<uint8_t>(1 + slot));
        ExpectStored(info, Image::Of(*info).Bytes(20u + 56u * slot, &ent, 52),
                     [&](auto *p) { qir::setAsTblEntry(p, slot, &ent); });
        EXPECT_EQ(info->ent[slot].status, e_STATUS_FREE);
        AsEnt out{};
        ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getAsTblEntry(p, slot, &out); });
        EXPECT_TRUE(Image::Of(ent).Is(&out));
    }
}

TEST_F(TableAccessors, DscpDefaultIsCopiedWholeAndWrittenIntoAllRows) {
    auto *info = &qirCtxt_gp->dscpTblPool[5];
    auto def = Numbered<DscpDefPbits>(0x10);
    def.pbits = 6;
    ExpectStored(info, Image::Of(*info).Bytes(8, &def, 8).Fill(24, 64, 6),
                 [&](auto *p) { qir::setDscpToPbitsTable_DefPbits(p, &def); });
    DscpDefPbits out{};
    ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getDscpToPbitsTable_DefPbits(p, &out); });
    EXPECT_TRUE(Image::Of(def).Is(&out));
}

TEST_F(TableAccessors, DscpRangeIsWrittenWithBothEnds) {
    struct Row {
        uint8_t start, end;
    };
    for (const Row &row : {Row{0, 0}, Row{0, 63}, Row{10, 10}, Row{10, 20}, Row{63, 63}, Row{62, 63}}) {
        SCOPED_TRACE(std::to_string(row.start) + " to " + std::to_string(row.end));
        auto *info = &qirCtxt_gp->dscpTblPool[3];
        qir::Init_DscpTbl(3);
        const DscpMapping mapping{0xEE, row.start, row.end, 7};
        ExpectStored(
            info,
            Image::Of(*info).Fill(24u + row.start, static_cast<std::size_t>(row.end - row.start + 1), 7),
            [&](auto *p) { qir::setDscpToPbitsTable(p, &mapping); });
    }
}

TEST_F(TableAccessors, DscpRowOut) {
    auto *info = &qirCtxt_gp->dscpTblPool[3];
    for (uint8_t dscp = 0; dscp < 64; ++dscp) {
        info->pbits[dscp] = static_cast<uint8_t>(dscp + 100);
    }
    for (uint8_t dscp = 0; dscp < 64; ++dscp) {
        SCOPED_TRACE(unsigned{dscp});
        uint8_t pbits = 0;
        ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getDscpToPbitsTable(p, dscp, &pbits); });
        EXPECT_EQ(pbits, dscp + 100);
    }
}

TEST_F(TableAccessors, PacConfigurationIsCopiedWholeAndIntoAllEntries) {
    auto *info = &qirCtxt_gp->pacTblPool[5];
    const auto cfg = Numbered<PacTblCfg>();
    Image expected = Image::Of(*info).Bytes(8, &cfg, 28);
    for (std::size_t pbits = 0; pbits < 8; ++pbits) {
        expected.Bytes(44 + 28 * pbits, &cfg, 28);
    }
    ExpectStored(info, expected, [&](auto *p) { qir::setPacTblCfg(p, &cfg); });
    PacTblCfg out{};
    ExpectStored(info, expected, [&](auto *p) { qir::getPacTblCfg(p, &out); });
    EXPECT_TRUE(Image::Of(cfg).Is(&out));
}

TEST_F(TableAccessors, PacEntryInAndOut) {
    auto *info = &qirCtxt_gp->pacTblPool[5];
    for (uint8_t pbits = 0; pbits < 8; ++pbits) {
        SCOPED_TRACE(unsigned{pbits});
        const auto ent = Numbered<PacTblCfg>(static_cast<uint8_t>(1 + pbits));
        ExpectStored(info, Image::Of(*info).Bytes(44u + 28u * pbits, &ent, 28),
                     [&](auto *p) { qir::setPacTblEntry(p, pbits, &ent); });
        PacTblCfg out{};
        ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getPacTblEntry(p, pbits, &out); });
        EXPECT_TRUE(Image::Of(ent).Is(&out));
    }
}

TEST_F(TableAccessors, EpConfigurationIs4Bytes) {
    auto *info = &qirCtxt_gp->epTblPool[5];
    const auto cfg = Numbered<EpTblCfg>();
    ExpectStored(info, Image::Of(*info).Bytes(8, &cfg, 4), [&](auto *p) { qir::setEpTblCfg(p, &cfg); });
    EpTblCfg out{};
    ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getEpTblCfg(p, &out); });
    EXPECT_TRUE(Image::Of(cfg).Is(&out));
}

// Of a slot's 8 bytes an entry has the first 2.
TEST_F(TableAccessors, EpEntryIs2BytesOfItsSlot) {
    auto *info = &qirCtxt_gp->epTblPool[5];
    for (uint8_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE(unsigned{slot});
        const auto ent = Numbered<EpEnt>(static_cast<uint8_t>(0x10 + 2 * slot));
        ExpectStored(info, Image::Of(*info).Bytes(20u + 8u * slot, &ent, 2),
                     [&](auto *p) { qir::setEpTblEntry(p, slot, &ent); });
        EpEnt out{};
        ExpectStored(info, Image::Of(*info), [&](auto *p) { qir::getEpTblEntry(p, slot, &out); });
        EXPECT_TRUE(Image::Of(ent).Is(&out));
    }
}

} // namespace
} // namespace test
