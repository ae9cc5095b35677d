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

// Tables 0 allocated, 1 configured and 2 active, the last two with an entry in slot 2; 3 free, 16 behind the
// pool.
class AsEntries : public LibraryTest {
  protected:
    static constexpr unsigned kBeyond = 16;

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

TEST_F(AsEntries, SetRefusesNullHandleAndIndex) {
    const AsEnt good = GoodEntry();
    const AsEnt noMask = GoodEntryBut([](AsEnt &e) { e.aclMask = 0; });
    ExpectRefused({
        {"null handle", OnNull(QIR_Set_AsTableEntry, kFreeSlot, &good), 2,
         Inf(kSet, "Params: asTblHdl_p<0x<nil>> asEntIdx<3> asEnt_p<0x<ptr>>"),
         Refusal(kSet, "e_RET_ERR_NULL_PTR", 2)},
        {"null entry", On(QIR_Set_AsTableEntry, kCfg, kFreeSlot, nullptr), 2,
         Inf(kSet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<3> asEnt_p<0x<nil>>"),
         Refusal(kSet, "e_RET_ERR_NULL_PTR", 2)},
        {"null entry before handle 16", On(QIR_Set_AsTableEntry, kBeyond, 8, nullptr), 2,
         Inf(kSet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<8> asEnt_p<0x<nil>>"),
         Refusal(kSet, "e_RET_ERR_NULL_PTR", 2)},
        {"handle 16", On(QIR_Set_AsTableEntry, kBeyond, kFreeSlot, &good), 3, SetHead(16, 3),
         OutOfRange("As", "asTblHdl", 16) + RetVal(kSet, 3)},
        {"free table", On(QIR_Set_AsTableEntry, kFree, kFreeSlot, &good), 3, SetHead(kFree, 3),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(kSet, 3)},
        {"handle 16 before slot 8", On(QIR_Set_AsTableEntry, kBeyond, 8, &good), 3, SetHead(16, 8),
         OutOfRange("As", "asTblHdl", 16) + RetVal(kSet, 3)},
        {"free table before slot 8", On(QIR_Set_AsTableEntry, kFree, 8, &good), 3, SetHead(kFree, 8),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(kSet, 3)},
        {"slot 8", On(QIR_Set_AsTableEntry, kCfg, 8, &good), 53, SetHead(kCfg, 8),
         Refusal(kSet, "e_RET_ERR_INVALID_ENTIDX", 53)},
        {"slot 255", On(QIR_Set_AsTableEntry, kCfg, 255, &good), 53, SetHead(kCfg, 255),
         Refusal(kSet, "e_RET_ERR_INVALID_ENTIDX", 53)},
        {"slot 8 before mask 0", On(QIR_Set_AsTableEntry, kCfg, 8, &noMask), 53,
         SetHead(kCfg, 8, "1", "   0"), Refusal(kSet, "e_RET_ERR_INVALID_ENTIDX", 53)},
    });
}

TEST_F(AsEntries, SetRefusesFieldsOneAfterTheOther) {
    struct Row {
        const char *what;
        AsEnt ent;
        uint32_t code;
        const char *name;
        const char *type;
        const char *mask;
        std::vector<std::string> fields;
    };
    const auto but = [](auto change) { return GoodEntryBut(change); };
    const std::vector<std::string> toEthType = {"macDA", "macSA", "ethType<1535>"};
    const std::vector<std::string> toTag0 = {"macDA", "macSA", "ethType<2048>", "vlanTag0<4096>"};
    const std::vector<std::string> badTag1 = {"macDA", "macSA", "ethType<2048>", "vlanTag0<100>",
                                              "vlanTag1<4096>"};
    std::vector<Row> rows = {
        {"mask 0", but([](AsEnt &e) { e.aclMask = 0; }), 49, "e_RET_ERR_INVALID_ASENT", "1", "   0", {}},
        {"mask 0 before type",
         but([](AsEnt &e) { e.aclMask = 0, e.aclType = 2; }),
         49,
         "e_RET_ERR_INVALID_ASENT",
         "2",
         "   0",
         {}},
        {"type 2", but([](AsEnt &e) { e.aclType = 2; }), 51, "e_RET_ERR_INVALID_ACLTYPE", "2", " 27f", {}},
        {"type 0xFFFFFFFF",
         but([](AsEnt &e) { e.aclType = 0xFFFFFFFF; }),
         51,
         "e_RET_ERR_INVALID_ACLTYPE",
         "4294967295",
         " 27f",
         {}},
        {"type before EtherType",
         but([](AsEnt &e) { e.aclType = 2, e.ethType = 0x5FF; }),
         51,
         "e_RET_ERR_INVALID_ACLTYPE",
         "2",
         " 27f",
         {}},
        {"EtherType 0x05FF", but([](AsEnt &e) { e.ethType = 0x5FF; }), 61, "e_RET_ERR_INVALID_ETHTYPE", "1",
         " 27f", toEthType},
        {"EtherType before outer tag", but([](AsEnt &e) { e.ethType = 0x5FF, e.vlanTag0 = 4096; }), 61,
         "e_RET_ERR_INVALID_ETHTYPE", "1", " 27f", toEthType},
        {"outer tag 4096", but([](AsEnt &e) { e.vlanTag0 = 4096; }), 62, "e_RET_ERR_INVALID_VLANTAG", "1",
         " 27f", toTag0},
        {"outer tag before inner tag", but([](AsEnt &e) { e.vlanTag0 = 4096, e.vlanTag1 = 4096; }), 62,
         "e_RET_ERR_INVALID_VLANTAG", "1", " 27f", toTag0},
        {"inner tag 4096", but([](AsEnt &e) { e.vlanTag1 = 4096; }), 62, "e_RET_ERR_INVALID_VLANTAG", "1",
         " 27f", badTag1},
        {"inner tag before prefix length", but([](AsEnt &e) { e.vlanTag1 = 4096, e.ipPrefixLen = 33; }), 62,
         "e_RET_ERR_INVALID_VLANTAG", "1", " 27f", badTag1},
        {"prefix length 33", but([](AsEnt &e) { e.ipPrefixLen = 33; }), 54,
         "e_RET_ERR_INVALID_IPPREFIXLENVAL", "1", " 27f", kToTag1},
        {"prefix length 0xFFFFFFFF", but([](AsEnt &e) { e.ipPrefixLen = 0xFFFFFFFF; }), 54,
         "e_RET_ERR_INVALID_IPPREFIXLENVAL", "1", " 27f", kToTag1},
        {"prefix length alone",
         but([](AsEnt &e) { e.ipPrefixLen = 33, e.aclMask = 0x002; }),
         54,
         "e_RET_ERR_INVALID_IPPREFIXLENVAL",
         "1",
         "   2",
         {}},
        {"EtherType in a non-IP entry",
         but([](AsEnt &e) { e.ethType = 0, e.aclMask = 0x084; }),
         61,
         "e_RET_ERR_INVALID_ETHTYPE",
         "1",
         "  84",
         {"ethType<0>"}},
        {"inner tag in a non-IP entry",
         but([](AsEnt &e) { e.vlanTag1 = 65535, e.aclMask = 0x110; }),
         62,
         "e_RET_ERR_INVALID_VLANTAG",
         "1",
         " 110",
         {"vlanTag1<65535>"}},
    };
    // Each of them on the configured table, on its used slot, and before the state of the other two.
    struct Place {
        unsigned id;
        uint8_t slot;
    };
    std::vector<Refused> refused;
    for (const Row &row : rows) {
        for (const Place &place : {Place{kCfg, kFreeSlot}, Place{kCfg, kUsedSlot}, Place{kAlloc, kFreeSlot},
                                   Place{kActive, kUsedSlot}}) {
            refused.push_back({std::string(row.what) + ", table " + std::to_string(place.id),
                               On(QIR_Set_AsTableEntry, place.id, place.slot, &row.ent), row.code,
                               SetHead(place.id, place.slot, row.type, row.mask) + Fields(row.fields),
                               Refusal(kSet, row.name, row.code)});
        }
    }
    ExpectRefused(refused);
}

// The state is tested twice, so its code line comes twice.
TEST_F(AsEntries, SetRefusesTablesThatAreNotConfiguredWithTwoCodeLines) {
    const AsEnt good = GoodEntry();
    const std::string twice = CodeLine(kSet, "e_RET_ERR_STATE_NOTCFG") +
                              CodeLine(kSet, "e_RET_ERR_STATE_NOTCFG") + RetVal(kSet, 17);
    ExpectRefused({
        {"allocated", On(QIR_Set_AsTableEntry, kAlloc, 0, &good), 17, SetHead(kAlloc, 0) + Fields(kAll),
         twice},
        {"active", On(QIR_Set_AsTableEntry, kActive, kFreeSlot, &good), 17,
         SetHead(kActive, kFreeSlot) + Fields(kAll), twice},
        {"active before slot in use", On(QIR_Set_AsTableEntry, kActive, kUsedSlot, &good), 17,
         SetHead(kActive, kUsedSlot) + Fields(kAll), twice},
    });
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kAlloc, 0, &good)).out,
              "[ERROR orxapi] QIR_Set_AsTableEntry,#: \"e_RET_ERR_STATE_NOTCFG\"\n"
              "[ERROR orxapi] QIR_Set_AsTableEntry,#: \"e_RET_ERR_STATE_NOTCFG\"\n"
              "[ERROR orxapi] QIR_Set_AsTableEntry,#: retVal <17>\n");
}

TEST_F(AsEntries, SetRefusesASlotInUseWithoutACodeLine) {
    const AsEnt good = GoodEntry();
    ExpectRefused({{"slot in use", On(QIR_Set_AsTableEntry, kCfg, kUsedSlot, &good), 12,
                    SetHead(kCfg, kUsedSlot) + Fields(kAll),
                    Err(kSet, "As Table entry<2> already used") + RetVal(kSet, 12)}});
    // Any slot status but FREE is in use.
    for (const uint32_t status : {1u, 2u, 3u, 4u, 0xA5A5A5A5u}) {
        Table(kCfg)->ent[7].status = status;
        EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kCfg, 7, &good)).code, 12u) << status;
    }
}

TEST_F(AsEntries, SameSlotTwiceIsRefusedTheSecondTime) {
    const AsEnt good = GoodEntry();
    ASSERT_EQ(Call(On(QIR_Set_AsTableEntry, kCfg, 5, &good)).code, 0u);
    const Said again = Call(On(QIR_Set_AsTableEntry, kCfg, 5, &good));
    EXPECT_EQ(again.code, 12u);
    EXPECT_EQ(again.out, "[ERROR orxapi] QIR_Set_AsTableEntry,#: As Table entry<5> already used\n"
                         "[ERROR orxapi] QIR_Set_AsTableEntry,#: retVal <12>\n");
}

TEST_F(AsEntries, SlotEightChecksTheHandleFirstOnSetAndTheIndexFirstOnGet) {
    AsEnt ent = GoodEntry();
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kCfg, 8, &ent)).code, 53u);
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kBeyond, 8, &ent)).code, 3u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kBeyond, 8, &ent)).code, 53u);
}

TEST_F(AsEntries, SetStoresTheWholeRecordInEverySlot) {
    const AsEnt good = GoodEntry();
    for (uint8_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE(unsigned{slot});
        ExpectStored(good, slot);
    }
}

TEST_F(AsEntries, BadEntriesAreRefusedInEverySlot) {
    for (uint8_t slot = 0; slot < 8; ++slot) {
        SCOPED_TRACE(static_cast<unsigned>(slot));
        Table(kCfg)->ent[slot].status = e_STATUS_FREE;
        const ContextSnapshot before;
        const auto code = [slot](const AsEnt &ent) {
            uint32_t result = 0;
            Capture([&] { result = On(QIR_Set_AsTableEntry, kCfg, slot, &ent)(); });
            return result;
        };
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.aclMask = 0; })), 49u);
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.aclType = 2; })), 51u);
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.ethType = 0x05FF; })), 61u);
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.vlanTag0 = 4096; })), 62u);
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.vlanTag1 = 4096; })), 62u);
        EXPECT_EQ(code(GoodEntryBut([](AsEnt &e) { e.ipPrefixLen = 33; })), 54u);
        EXPECT_TRUE(before.Unchanged());
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

TEST_F(AsEntries, ParameterLinesOfAnEntryRead) {
    const AsEnt ent = GoodEntryBut([](AsEnt &e) { e.aclMask = 0x204; });
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kCfg, 4, &ent), 2).out,
              "[INF orxapi] QIR_Set_AsTableEntry: Params: asTblHdl_p<0x<ptr>> asEntIdx<4> asEnt_p<0x<ptr>>\n"
              "[INF orxapi] QIR_Set_AsTableEntry: Params2: asTblHdl<1>\n"
              "[INF orxapi] QIR_Set_AsTableEntry: Params2: aclType<1> aclMask<0x 204\n"
              "[INF orxapi] QIR_Set_AsTableEntry: Params2: macDA\n"
              "[INF orxapi] QIR_Set_AsTableEntry: Params2: ethType<2048>\n");
}

const char *const kGet = "QIR_Get_AsTableEntry";

std::string GetHead(unsigned id, unsigned slot) {
    const std::string idx = std::to_string(slot);
    return Inf(kGet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<" + idx + "> asEnt_p<0x<ptr>>") +
           Inf(kGet, "Params2: asTblHdl<" + std::to_string(id) + "> asEntIdx<" + idx + ">");
}

TEST_F(AsEntries, GetRefuses) {
    AsEnt out = GoodEntry();
    const std::string badIdx = Refusal(kGet, "e_RET_ERR_INVALID_ENTIDX", 53);
    const std::string notCfg = Refusal(kGet, "e_RET_ERR_STATE_NOTCFG", 17);
    ExpectRefused({
        {"null handle", OnNull(QIR_Get_AsTableEntry, 0, &out), 2,
         Inf(kGet, "Params: asTblHdl_p<0x<nil>> asEntIdx<0> asEnt_p<0x<ptr>>"),
         Refusal(kGet, "e_RET_ERR_NULL_PTR", 2)},
        {"null entry", On(QIR_Get_AsTableEntry, kCfg, 0, nullptr), 2,
         Inf(kGet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<0> asEnt_p<0x<nil>>"),
         Refusal(kGet, "e_RET_ERR_NULL_PTR", 2)},
        {"null entry before slot 8", On(QIR_Get_AsTableEntry, kCfg, 8, nullptr), 2,
         Inf(kGet, "Params: asTblHdl_p<0x<ptr>> asEntIdx<8> asEnt_p<0x<nil>>"),
         Refusal(kGet, "e_RET_ERR_NULL_PTR", 2)},
        {"slot 8", On(QIR_Get_AsTableEntry, kCfg, 8, &out), 53, GetHead(kCfg, 8), badIdx},
        {"slot 8 before handle 16", On(QIR_Get_AsTableEntry, kBeyond, 8, &out), 53, GetHead(16, 8), badIdx},
        {"slot 8 before free table", On(QIR_Get_AsTableEntry, kFree, 8, &out), 53, GetHead(kFree, 8), badIdx},
        {"handle 16", On(QIR_Get_AsTableEntry, kBeyond, 0, &out), 3, GetHead(16, 0),
         OutOfRange("As", "asTblHdl", 16) + RetVal(kGet, 3)},
        {"free table", On(QIR_Get_AsTableEntry, kFree, 0, &out), 3, GetHead(kFree, 0),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(kGet, 3)},
        {"allocated before free slot", On(QIR_Get_AsTableEntry, kAlloc, 0, &out), 17, GetHead(kAlloc, 0),
         notCfg},
        {"free slot", On(QIR_Get_AsTableEntry, kCfg, 7, &out), 6, GetHead(kCfg, 7),
         Err(kGet, "As Table entry<7> not used") + Refusal(kGet, "e_RET_ERR_NO_SUCH_ENTRY", 6)},
        {"free slot, active", On(QIR_Get_AsTableEntry, kActive, 0, &out), 6, GetHead(kActive, 0),
         Err(kGet, "As Table entry<0> not used") + Refusal(kGet, "e_RET_ERR_NO_SUCH_ENTRY", 6)},
    });
    EXPECT_TRUE(Image::Of(GoodEntry()).Is(&out)) << "a refused read leaves the caller's record alone";
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

TEST_F(AsEntries, DeleteRefuses) {
    const std::string badIdx = Refusal(kDelete, "e_RET_ERR_INVALID_ENTIDX", 53);
    const std::string notCfg = Refusal(kDelete, "e_RET_ERR_STATE_NOTCFG", 17);
    ExpectRefused({
        {"null handle", OnNull(QIR_Delete_AsTableEntry, 0), 2,
         Inf(kDelete, "Params: asTblHdl_p<0x<nil>> asEntIdx<0>"), Refusal(kDelete, "e_RET_ERR_NULL_PTR", 2)},
        {"null handle before slot 8", OnNull(QIR_Delete_AsTableEntry, 8), 2,
         Inf(kDelete, "Params: asTblHdl_p<0x<nil>> asEntIdx<8>"), Refusal(kDelete, "e_RET_ERR_NULL_PTR", 2)},
        {"slot 8", On(QIR_Delete_AsTableEntry, kCfg, 8), 53, DeleteHead(kCfg, 8), badIdx},
        {"slot 255", On(QIR_Delete_AsTableEntry, kCfg, 255), 53, DeleteHead(kCfg, 255), badIdx},
        {"slot 8 before handle 16", On(QIR_Delete_AsTableEntry, kBeyond, 8), 53, DeleteHead(16, 8), badIdx},
        {"slot 8 before free table", On(QIR_Delete_AsTableEntry, kFree, 8), 53, DeleteHead(kFree, 8), badIdx},
        {"handle 16", On(QIR_Delete_AsTableEntry, kBeyond, 0), 3, DeleteHead(16, 0),
         OutOfRange("As", "asTblHdl", 16) + RetVal(kDelete, 3)},
        {"free table", On(QIR_Delete_AsTableEntry, kFree, 0), 3, DeleteHead(kFree, 0),
         TableIsFree("As", "asTblHdl", kFree) + RetVal(kDelete, 3)},
        {"allocated before free slot", On(QIR_Delete_AsTableEntry, kAlloc, 0), 17, DeleteHead(kAlloc, 0),
         notCfg},
        {"active", On(QIR_Delete_AsTableEntry, kActive, kUsedSlot), 17, DeleteHead(kActive, kUsedSlot),
         notCfg},
        {"active before free slot", On(QIR_Delete_AsTableEntry, kActive, 0), 17, DeleteHead(kActive, 0),
         notCfg},
        {"free slot", On(QIR_Delete_AsTableEntry, kCfg, 7), 6, DeleteHead(kCfg, 7),
         Err(kDelete, "As Table entry<7> not used") + Refusal(kDelete, "e_RET_ERR_NO_SUCH_ENTRY", 6)},
    });
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

TEST_F(AsEntries, EntriesOfAnActiveTableAreReadButNeitherAddedNorDeletedNorSetAgain) {
    AsEnt ent = GoodEntry();
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kActive, kFreeSlot, &ent)).code, 17u);
    EXPECT_EQ(Call(On(QIR_Set_AsTableEntry, kActive, kUsedSlot, &ent)).code, 17u);
    EXPECT_EQ(Call(On(QIR_Delete_AsTableEntry, kActive, kUsedSlot)).code, 17u);
    EXPECT_EQ(Call(On(QIR_Get_AsTableEntry, kActive, kUsedSlot, &ent)).code, 0u);
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

TEST_F(AsEntries, LimitsOfPrefixEtherTypeAndTagFromBothSides) {
    const auto code = [](auto change) {
        const AsEnt ent = GoodEntryBut(change);
        Table(kCfg)->ent[kFreeSlot].status = e_STATUS_FREE;
        return Call(On(QIR_Set_AsTableEntry, kCfg, kFreeSlot, &ent)).code;
    };
    EXPECT_EQ(code([](AsEnt &e) { e.ipPrefixLen = 32; }), 0u);
    EXPECT_EQ(code([](AsEnt &e) { e.ipPrefixLen = 33; }), 54u);
    EXPECT_EQ(code([](AsEnt &e) { e.ipPrefixLen = 200, e.aclMask = 0x082; }), 0u);
    EXPECT_EQ(code([](AsEnt &e) { e.ethType = 0x05FF; }), 61u);
    EXPECT_EQ(code([](AsEnt &e) { e.ethType = 0x0600; }), 0u);
    EXPECT_EQ(code([](AsEnt &e) { e.vlanTag0 = 4095; }), 0u);
    EXPECT_EQ(code([](AsEnt &e) { e.vlanTag0 = 4096; }), 62u);
}

} // namespace
} // namespace test
