// Entries of AS tables: what is stored, what is refused and in which order, what is printed.
#include "tests/tables/support.h"

namespace test {
namespace {

// All fields valid and in use.
AsEnt GoodEntry() {
    return AsEnt{.macDA = {1, 2, 3, 4, 5, 6},
                 .macDAMask = {7, 8, 9, 10, 11, 12},
                 .macSA = {13, 14, 15, 16, 17, 18},
                 .macSAMask = {19, 20, 21, 22, 23, 24},
                 .ipAddr = 0x0A0B0C0D,
                 .ipPrefixLen = 32,
                 .ethType = 0x0800,
                 .vlanTag0 = 100,
                 .vlanTag1 = 4095,
                 .destPort = 65535,
                 .ipProto = 17,
                 .rsvd = {0xC1, 0xC2, 0xC3},
                 .aclMask = 0x27F,
                 .aclType = 1};
}

template <class Change> AsEnt GoodEntryBut(Change change) {
    AsEnt ent = GoodEntry();
    change(ent);
    return ent;
}

constexpr uint8_t kUsedSlot = 2;
constexpr uint8_t kFreeSlot = 3;

// Tables 0 allocated, 1 configured and 2 active, the last two with an entry in slot 2; 3 free.
class AsEntries : public LibraryTest {
  protected:
    void SetUp() override {
        LibraryTest::SetUp();
        const AsTblCfg cfg{0x21};
        const AsEnt ent = GoodEntry();
        for (unsigned id = 0; id < 3; ++id) {
            AsTblHdl hdl{};
            ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
        }
        for (const unsigned id : {kCfg, kActive}) {
            ASSERT_EQ(On(QIR_Set_AsTableCfg, id, &cfg)(), 0u);
            ASSERT_EQ(On(QIR_Set_AsTableEntry, id, kUsedSlot, &ent)(), 0u);
        }
        ASSERT_EQ(On(QIR_Activate_AsTable, kActive)(), 0u);
    }

    static qir::AsTblInfo *Table(unsigned id) { return &qirCtxt_gp->asTblPool[id]; }

    // Stores `ent` in a slot of the configured table and checks every byte.
    static void ExpectStored(const AsEnt &ent, uint8_t slot = kFreeSlot) {
        Table(kCfg)->ent[slot].status = e_STATUS_FREE;
        const std::size_t at = 20u + 56u * slot;
        Image expected = Image::Of(*Table(kCfg)).Bytes(at, &ent, 52).U32(at + 52, e_STATUS_ALLOC);
        const ContextSnapshot before;
        const Said said = Call(On(QIR_Set_AsTableEntry, kCfg, slot, &ent));
        EXPECT_EQ(said.code, 0u);
        EXPECT_EQ(said.out, "");
        EXPECT_TRUE(expected.Is(Table(kCfg)));
        EXPECT_TRUE(OnlyChanged(before, Table(kCfg), 468));
    }
};

const char *const kSet = "QIR_Set_AsTableEntry";

std::string SetParams(unsigned slot) {
    return Inf(kSet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<" + std::to_string(slot) + "> asEnt_p<0x<ptr>>");
}
std::string SetHead(unsigned id, unsigned slot, const std::string &type = "1",
                    const std::string &mask = " 27f") {
    return SetParams(slot) + Inf(kSet, "Params2: asTblHdl<" + std::to_string(id) + ">") +
           Inf(kSet, "Params2: aclType<" + type + "> aclMask<0x" + mask);
}
// "Params2: " lines with these texts.
std::string Fields(const std::vector<std::string> &texts) {
    std::string lines;
    for (const std::string &text : texts) {
        lines += Inf(kSet, "Params2: " + text);
    }
    return lines;
}
const std::vector<std::string> kMacs = {"macDA", "macSA"};
const std::vector<std::string> kToTag1 = {"macDA", "macSA", "ethType<2048>", "vlanTag0<100>",
                                          "vlanTag1<4095>"};
const std::vector<std::string> kAll = {"macDA",          "macSA",       "ethType<2048>",  "vlanTag0<100>",
                                       "vlanTag1<4095>", "ipProto<17>", "destPort<65535>"};

TEST_F(AsEntries, SetStoresTheWholeRecordInEverySlot) {
    const AsEnt good = GoodEntry();
    for (uint8_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE(unsigned{slot});
        ExpectStored(good, slot);
    }
}

TEST_F(AsEntries, ValueLimitsFromTheAcceptedSide) {
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.aclType = 0; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.aclType = 1; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ethType = 0x0600; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ethType = 0xFFFF; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.vlanTag0 = 0, e.vlanTag1 = 0; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.vlanTag0 = 4095, e.vlanTag1 = 4095; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ipPrefixLen = 0; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ipPrefixLen = 32; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ipProto = 0, e.destPort = 0; }));
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.ipProto = 255, e.destPort = 65535, e.ipAddr = 0; }));
}

TEST_F(AsEntries, PrefixLength200IsTakenInANonIpEntry) {
    for (const uint32_t nonIp : {0x080u, 0x100u, 0x180u}) {
        SCOPED_TRACE(nonIp);
        ExpectStored(GoodEntryBut([&](AsEnt &e) { e.ipPrefixLen = 200, e.aclMask = 0x27F | nonIp; }));
    }
}

TEST_F(AsEntries, FieldsWithoutTheirMaskBitAreNotChecked) {
    ExpectStored(GoodEntryBut([](AsEnt &e) {
        e.aclMask = 0x200;
        e.ethType = 0;
        e.vlanTag0 = e.vlanTag1 = 65535;
        e.ipPrefixLen = 999;
    }));
}

TEST_F(AsEntries, MaskBitsAbove0x200AreNotChecked) {
    for (unsigned bit = 10; bit < 32; ++bit) {
        SCOPED_TRACE(bit);
        ExpectStored(GoodEntryBut([&](AsEnt &e) { e.aclMask = 1u << bit, e.ethType = 0; }));
    }
}

TEST_F(AsEntries, SetPrintsTheFieldsInUse) {
    struct Row {
        uint32_t mask;
        const char *printed;
        std::vector<std::string> fields;
    };
    const std::vector<Row> rows = {
        {0x27F, " 27f", kAll},
        {0x200, " 200", {"macDA"}},
        {0x001, "   1", {"macSA"}},
        {0x002, "   2", {}},
        {0x004, "   4", {"ethType<2048>"}},
        {0x008, "   8", {"vlanTag0<100>"}},
        {0x010, "  10", {"vlanTag1<4095>"}},
        {0x020, "  20", {"destPort<65535>"}},
        {0x040, "  40", {"ipProto<17>"}},
        {0x080, "  80", {"nonIP"}},
        {0x100, " 100", {"nonIP"}},
        {0x180, " 180", {"nonIP"}},
        {0x0E2, "  e2", {"nonIP"}},
        {0x3FF, " 3ff", {"macDA", "macSA", "ethType<2048>", "vlanTag0<100>", "vlanTag1<4095>", "nonIP"}},
        {0x10400, "10400", {}},
    };
    for (const Row &row : rows) {
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE(row.printed);
            const AsEnt ent = GoodEntryBut([&](AsEnt &e) { e.aclMask = row.mask; });
            Table(kCfg)->ent[kFreeSlot].status = e_STATUS_FREE;
            ExpectAccepted(On(QIR_Set_AsTableEntry, kCfg, kFreeSlot, &ent),
                           SetHead(kCfg, kFreeSlot, "1", row.printed) + Fields(row.fields), level);
        }
    }
}

const char *const kGet = "QIR_Get_AsTableEntry";

std::string GetHead(unsigned id, unsigned slot) {
    const std::string idx = std::to_string(slot);
    return Inf(kGet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<" + idx + "> asEnt_p<0x<ptr>>") +
           Inf(kGet, "Params2: asTblHdl<" + std::to_string(id) + "> asEntIdx<" + idx + ">");
}

TEST_F(AsEntries, GetReadsTheWholeRecordOfConfiguredAndActiveTables) {
    const ContextSnapshot before;
    for (const unsigned id : {kCfg, kActive}) {
        AsEnt out{};
        ExpectAccepted(On(QIR_Get_AsTableEntry, id, kUsedSlot, &out), GetHead(id, kUsedSlot));
        EXPECT_TRUE(Image::Of(GoodEntry()).Is(&out));
    }
    EXPECT_TRUE(before.Unchanged());
}

const char *const kDelete = "QIR_Delete_AsTableEntry";

std::string DeleteHead(unsigned id, unsigned slot) {
    const std::string idx = std::to_string(slot);
    return Inf(kDelete, "Params: asTblHdl_p<0x<ptr>> asEntIdx<" + idx + ">") +
           Inf(kDelete, "Params2: asTblHdl<" + std::to_string(id) + "> asEntIdx<" + idx + ">");
}

TEST_F(AsEntries, DeleteFreesTheSlotAndKeepsItsBytes) {
    for (uint32_t level = 0; level <= 3; ++level) {
        Table(kCfg)->ent[kUsedSlot].status = e_STATUS_ALLOC;
        Image expected = Image::Of(*Table(kCfg)).U32(20 + 56 * kUsedSlot + 52, e_STATUS_FREE);
        const ContextSnapshot before;
        ExpectAccepted(On(QIR_Delete_AsTableEntry, kCfg, kUsedSlot), DeleteHead(kCfg, kUsedSlot), level);
        EXPECT_TRUE(expected.Is(Table(kCfg)));
        EXPECT_TRUE(OnlyChanged(before, Table(kCfg), 468));
    }
}

TEST_F(AsEntries, ASlotIsSetAgainAfterItsEntryWasDeleted) {
    AsEnt out{};
    ASSERT_EQ(Call(On(QIR_Delete_AsTableEntry, kCfg, kUsedSlot)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kCfg, kUsedSlot, &out)).code, 6u);
    ExpectStored(GoodEntryBut([](AsEnt &e) { e.vlanTag0 = 42; }), kUsedSlot);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kCfg, kUsedSlot, &out)).code, 0u);
    EXPECT_EQ(out.vlanTag0, 42u);
}

TEST_F(AsEntries, SurviveDeactivationAndReactivationAndAreLostAtTheNextAllocation) {
    AsEnt out{};
    ASSERT_EQ(Call(On(QIR_Deactivate_AsTable, kActive)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kActive, kUsedSlot, &out)).code, 0u);
    ASSERT_EQ(Call(On(QIR_Activate_AsTable, kActive)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kActive, kUsedSlot, &out)).code, 0u);
    EXPECT_TRUE(Image::Of(GoodEntry()).Is(&out));
    ASSERT_EQ(Call(On(QIR_Deactivate_AsTable, kActive)).code, 0u);
    ASSERT_EQ(Call(On(QIR_Free_AsTable, kActive)).code, 0u);
    AsTblHdl hdl{};
    ASSERT_EQ(QIR_Alloc_AsTable(&hdl), 0u);
    ASSERT_EQ(hdl.f1.id, kActive);
    const AsTblCfg cfg{1};
    ASSERT_EQ(Call(On(QIR_Set_AsTableCfg, kActive, &cfg)).code, 0u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kActive, kUsedSlot, &out)).code, 6u);
}

} // namespace
} // namespace test
