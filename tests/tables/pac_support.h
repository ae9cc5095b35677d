// The PAC tables that the tests of the PAC operations start from, and their texts.
#ifndef TESTS_TABLES_PAC_SUPPORT_H
#define TESTS_TABLES_PAC_SUPPORT_H

#include "tests/tables/support.h"

namespace test {

// A record with every field in use, all at their upper limits.
inline PacTblCfg FullPacRecord() {
    PacTblCfg record{};
    record.ovrd = 0x01D;
    record.dstGemPort = 31;
    record.dstQid = 7;
    record.rawAction[0] = {
        .type = 1, .ofst = 0, .size = 1, .val = {0x01, 0xAB}, .mask = {0x0F, 0xFF}, .rsvd = {0xB1, 0xB2}};
    record.rawAction[1] = {
        .type = 2, .ofst = 95, .size = 2, .val = {0x80, 0x00}, .mask = {0x7F, 0x10}, .rsvd = {0xB3, 0xB4}};
    return record;
}

template <class Change> PacTblCfg PacRecord(Change change) {
    PacTblCfg record{};
    change(record);
    return record;
}

// Tables 0 allocated, 1 configured, 2 active (both with the full record); 3 free.
class PacTables : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        for (unsigned id = 0; id < 3; ++id) {
            PacTblHdl hdl{};
            ASSERT_EQ(QIR_Alloc_PacTable(&hdl), 0u);
            ASSERT_EQ(hdl.f1.id, id);
        }
        const PacTblCfg cfg = FullPacRecord();
        ASSERT_EQ(On(QIR_Set_PacTableCfg, kCfg, &cfg)(), 0u);
        ASSERT_EQ(On(QIR_Set_PacTableCfg, kActive, &cfg)(), 0u);
        ASSERT_EQ(On(QIR_Activate_PacTable, kActive)(), 0u);
    }

    static qir::PacTblInfo *Table(unsigned id) { return &qirCtxt_gp->pacTblPool[id]; }
};

} // namespace test

#endif
