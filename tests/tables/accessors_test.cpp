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
