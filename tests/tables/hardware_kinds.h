// The kinds of table that go to the driver: their operations, requests and a configured record, byte by byte.
#ifndef TESTS_TABLES_HARDWARE_KINDS_H
#define TESTS_TABLES_HARDWARE_KINDS_H

#include "tests/tables/kinds.h"

namespace test {

inline uint32_t WordAt(const uint8_t *bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

struct AsInHardware : AsKind {
    static const OrxEmuTable *Hardware() { return orxemu_state()->asTbl; }

    static void Configure(unsigned id) {
        const AsTblCfg cfg{0x21};
        const AsEnt ent{.macDA = {1, 2, 3, 4, 5, 6},
                        .macDAMask = {7, 8, 9, 10, 11, 12},
                        .macSA = {13, 14, 15, 16, 17, 18},
                        .macSAMask = {19, 20, 21, 22, 23, 24},
                        .ipAddr = 0x0A0B0C0D,
                        .ipPrefixLen = 24,
                        .ethType = 0x0800,
                        .vlanTag0 = 100,
                        .vlanTag1 = 200,
                        .destPort = 8080,
                        .ipProto = 6,
                        .rsvd = {0xC1, 0xC2, 0xC3},
                        .aclMask = 0x27F,
                        .aclType = 1};
        ASSERT_EQ(On(QIR_Set_AsTableCfg, id, &cfg)(), 0u);
        ASSERT_EQ(On(QIR_Set_AsTableEntry, id, 2, &ent)(), 0u);
    }
    static Image Configured(unsigned id) {
        Image image = Fresh().U32(0, kCallerBits | id).U32(8, 0x21).U32(16, e_STATUS_CFG);
        const std::size_t slot = 20 + 56 * 2;
        for (unsigned i = 0; i < 24; ++i) {
            image.U8(slot + i, i + 1);
        }
        image.U32(slot + 24, 0x0A0B0C0D).U32(slot + 28, 24).U16(slot + 32, 0x0800).U16(slot + 34, 100);
        image.U16(slot + 36, 200).U16(slot + 38, 8080).U8(slot + 40, 6);
        image.U8(slot + 41, 0xC1).U8(slot + 42, 0xC2).U8(slot + 43, 0xC3);
        return image.U32(slot + 44, 0x27F).U32(slot + 48, 1).U32(slot + 52, e_STATUS_ALLOC);
    }
    // A change of the configured table and its effect on the record.
    static void Change(unsigned id) { ASSERT_EQ(On(QIR_Delete_AsTableEntry, id, 2)(), 0u); }
    static Image Changed(unsigned id) { return Configured(id).U32(20 + 56 * 2 + 52, e_STATUS_FREE); }
};

struct DscpInHardware : DscpKind {
    static const OrxEmuTable *Hardware() { return orxemu_state()->dscpTbl; }

    static void Configure(unsigned id) {
        const DscpDefPbits def{5, 3, {0xD1, 0xD2, 0xD3}};
        const DscpMapping range{0, 8, 15, 6};
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable_DefPbits, id, &def)(), 0u);
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable, id, &range)(), 0u);
    }
    static Image Configured(unsigned id) {
        Image image = Fresh().U32(0, kCallerBits | id).U32(8, 5).U8(12, 3).U32(20, e_STATUS_CFG);
        image.U8(13, 0xD1).U8(14, 0xD2).U8(15, 0xD3);
        return image.Fill(24, 64, 3).Fill(24 + 8, 8, 6);
    }
    static void Change(unsigned id) {
        const DscpMapping range{0, 63, 63, 1};
        ASSERT_EQ(On(QIR_Set_DscpToPbitsTable, id, &range)(), 0u);
    }
    static Image Changed(unsigned id) { return Configured(id).U8(24 + 63, 1); }
};

struct PacInHardware : PacKind {
    static const OrxEmuTable *Hardware() { return orxemu_state()->pacTbl; }

    static void Configure(unsigned id) {
        PacTblCfg cfg{};
        cfg.ovrd = 0x00C;
        cfg.dstGemPort = 4;
        cfg.dstQid = 5;
        cfg.rawAction[0] = {
            .type = 1, .ofst = 9, .size = 2, .val = {6, 7}, .mask = {8, 10}, .rsvd = {11, 12}};
        ASSERT_EQ(On(QIR_Set_PacTableCfg, id, &cfg)(), 0u);
    }
    static Image Configured(unsigned id) {
        Image cfg(28, 0);
        cfg.U16(0, 0x00C).U8(2, 4).U8(3, 5).U32(4, 1).U8(8, 9).U8(9, 2);
        cfg.U8(10, 6).U8(11, 7).U8(12, 8).U8(13, 10).U8(14, 11).U8(15, 12);
        Image image = Fresh().U32(0, kCallerBits | id).Bytes(8, cfg.data(), 28).U32(40, e_STATUS_CFG);
        for (std::size_t pbits = 0; pbits < 8; ++pbits) {
            image.Bytes(44 + 28 * pbits, cfg.data(), 28);
        }
        return image;
    }
    static void Change(unsigned id) {
        PacTblCfg ent{};
        ent.ovrd = 0x002;
        ASSERT_EQ(On(QIR_Set_PacTableEntry, id, 6, &ent)(), 0u);
    }
    static Image Changed(unsigned id) {
        return Configured(id).Fill(44 + 28 * 6, 28, 0).U16(44 + 28 * 6, 0x002);
    }
};

using HardwareKinds = ::testing::Types<AsInHardware, DscpInHardware, PacInHardware>;

} // namespace test

#endif
