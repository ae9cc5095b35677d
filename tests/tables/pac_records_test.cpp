// What a PAC record may hold, and what is printed of it: the same for the configuration and for an entry.
#include "tests/tables/pac_support.h"

namespace test {
namespace {

// One of the two setters, on any table.
struct Setter {
    const char *fn;
    const char *record; // name of the record's pointer
    const char *pbits;  // what the second parameter line says between handle and ovrd
    Op (*on)(unsigned id, const PacTblCfg *record);
};
const Setter kSetters[] = {
    {"QIR_Set_PacTableCfg", "pacTblCfg_p", "",
     [](unsigned id, const PacTblCfg *record) { return On(QIR_Set_PacTableCfg, id, record); }},
    {"QIR_Set_PacTableEntry", "pacEnt_p", " pbits<7>",
     [](unsigned id, const PacTblCfg *record) { return On(QIR_Set_PacTableEntry, id, 7, record); }},
};

std::string Head(const Setter &setter, unsigned id, const std::string &ovrd) {
    return Inf(setter.fn, std::string("Params: pacTblHdl_p<0x<ptr>> ") + setter.record + "<0x<ptr>>") +
           Inf(setter.fn,
               "Params2: pacTblHdl<" + std::to_string(id) + ">" + setter.pbits + " ovrd<0x" + ovrd + ">");
}
std::string Fields(const Setter &setter, const std::vector<std::string> &texts) {
    std::string lines;
    for (const std::string &text : texts) {
        lines += Inf(setter.fn, "Params2: " + text);
    }
    return lines;
}

struct Row {
    std::string what;
    PacTblCfg record;
    uint32_t code;
    const char *name;
    const char *ovrd;
    std::vector<std::string> fields;
};

// The record is what fails first: on tables in every state and on handles that name none.
void ExpectRecordRefused(const std::vector<Row> &rows) {
    std::vector<Refused> refused;
    for (const Setter &setter : kSetters) {
        for (const Row &row : rows) {
            for (const unsigned id : {kCfg, kAlloc, kActive, kFree, 16u}) {
                refused.push_back({std::string(setter.fn) + ": " + row.what + ", table " + std::to_string(id),
                                   setter.on(id, &row.record), row.code,
                                   Head(setter, id, row.ovrd) + Fields(setter, row.fields),
                                   Refusal(setter.fn, row.name, row.code)});
            }
        }
    }
    ExpectRefused(refused);
}

constexpr PacRawAction kZeroRaw{};
constexpr PacRawAction kGoodRaw{
    .type = 2, .ofst = 95, .size = 2, .val = {1, 0xAB}, .mask = {0xF0, 7}, .rsvd = {}};
const std::vector<std::string> kGoodRaw0 = {"ix<0> type<2> ofst<95> size<2>", "val<0x 1> mask<0xf0>",
                                            "val<0xab> mask<0x 7>"};

// Parameter lines of raw action `ix` with zero value and mask.
std::vector<std::string> RawLines(unsigned ix, uint32_t type, unsigned ofst, unsigned size) {
    return {"ix<" + std::to_string(ix) + "> type<" + std::to_string(type) + "> ofst<" + std::to_string(ofst) +
                "> size<" + std::to_string(size) + ">",
            "val<0x 0> mask<0x 0>", "val<0x 0> mask<0x 0>"};
}
std::vector<std::string> Join(std::vector<std::string> first, const std::vector<std::string> &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(PacTables, OverrideBitsAbove0x010AreRefusedOneByOne) {
    const char *const printed[] = {"20",  "40",   "80",   "100",  "200", "400",
                                   "800", "1000", "2000", "4000", "8000"};
    std::vector<Row> rows;
    for (unsigned i = 0; i < std::size(printed); ++i) {
        rows.push_back({"bit " + std::to_string(5 + i),
                        PacRecord([&](PacTblCfg &r) { r.ovrd = static_cast<uint16_t>(0x20u << i); }),
                        52,
                        "e_RET_ERR_INVALID_OVRD",
                        printed[i],
                        {}});
    }
    ExpectRecordRefused(rows);
}

TEST_F(PacTables, RecordIsRefusedByItsFirstBadField) {
    const auto raw = [](unsigned ix, PacRawAction action) {
        return PacRecord([=](PacTblCfg &r) { r.rawAction[ix] = action; });
    };
    const char *const kOvrd = "e_RET_ERR_INVALID_OVRD";
    const char *const kGem = "e_RET_ERR_INVALID_GEMPORTIDX";
    const char *const kQid = "e_RET_ERR_INVALID_DSTQID";
    const char *const kType = "e_RET_ERR_INVALID_RAWACTION_TYPE";
    const char *const kOffset = "e_RET_ERR_INVALID_RAWACTION_OFFSET";
    const char *const kSize = "e_RET_ERR_INVALID_RAWACTION_SIZE";
    std::vector<Row> rows = {
        {"override before GEM port",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x28, r.dstGemPort = 32; }),
         52,
         kOvrd,
         "28",
         {"dstGemPort<32> "}},
        {"bit 0x002 does not save the override",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x22; }),
         52,
         kOvrd,
         "22",
         {}},
        {"GEM port 32",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x08, r.dstGemPort = 32; }),
         57,
         kGem,
         " 8",
         {"dstGemPort<32> "}},
        {"GEM port 255",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x08, r.dstGemPort = 255; }),
         57,
         kGem,
         " 8",
         {"dstGemPort<255> "}},
        {"GEM port before queue",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x0C, r.dstGemPort = 32, r.dstQid = 8; }),
         57,
         kGem,
         " c",
         {"dstGemPort<32> ", "dstQid<8>"}},
        {"queue 8 by bit 0x004",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x04, r.dstQid = 8; }),
         40,
         kQid,
         " 4",
         {"dstQid<8>"}},
        {"queue 8 by bit 0x010",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x10, r.dstQid = 8; }),
         40,
         kQid,
         "10",
         {"dstQid<8>"}},
        {"queue 255 by both bits",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x15, r.dstQid = 255; }),
         40,
         kQid,
         "15",
         {"dstQid<255>"}},
        {"queue before raw action",
         PacRecord([](PacTblCfg &r) { r.ovrd = 0x04, r.dstQid = 8, r.rawAction[0].type = 3; }), 40, kQid,
         " 4", Join({"dstQid<8>"}, RawLines(0, 3, 0, 0))},
    };
    for (const unsigned ix : {0u, 1u}) {
        const std::string name = "raw action " + std::to_string(ix) + " ";
        for (const uint32_t type : {3u, 4u, 0xFFFFFFFFu}) {
            rows.push_back({name + "type " + std::to_string(type),
                            raw(ix, {.type = type, .ofst = 0, .size = 1, .val = {}, .mask = {}, .rsvd = {}}),
                            64, kType, " 0", RawLines(ix, type, 0, 1)});
        }
        rows.push_back({name + "type before offset",
                        raw(ix, {.type = 3, .ofst = 96, .size = 1, .val = {}, .mask = {}, .rsvd = {}}), 64,
                        kType, " 0", RawLines(ix, 3, 96, 1)});
        for (const uint8_t ofst : {uint8_t{96}, uint8_t{255}}) {
            rows.push_back({name + "offset " + std::to_string(ofst),
                            raw(ix, {.type = 1, .ofst = ofst, .size = 1, .val = {}, .mask = {}, .rsvd = {}}),
                            65, kOffset, " 0", RawLines(ix, 1, ofst, 1)});
        }
        rows.push_back({name + "offset before size",
                        raw(ix, {.type = 1, .ofst = 96, .size = 0, .val = {}, .mask = {}, .rsvd = {}}), 65,
                        kOffset, " 0", RawLines(ix, 1, 96, 0)});
        for (const uint8_t size : {uint8_t{0}, uint8_t{3}, uint8_t{255}}) {
            rows.push_back({name + "size " + std::to_string(size),
                            raw(ix, {.type = 2, .ofst = 95, .size = size, .val = {}, .mask = {}, .rsvd = {}}),
                            66, kSize, " 0", RawLines(ix, 2, 95, size)});
        }
    }
    rows.push_back({"first raw action's size before the second's type", PacRecord([](PacTblCfg &r) {
                        r.rawAction[0].type = 1;
                        r.rawAction[1].type = 3;
                    }),
                    66, kSize, " 0", Join(RawLines(0, 1, 0, 0), RawLines(1, 3, 0, 0))});
    rows.push_back({"second raw action behind a good first", PacRecord([](PacTblCfg &r) {
                        r.rawAction[0] = kGoodRaw;
                        r.rawAction[1].type = 1;
                    }),
                    66, kSize, " 0", Join(kGoodRaw0, RawLines(1, 1, 0, 0))});
    ExpectRecordRefused(rows);
}

// The lines of the fields come before every other refusal too.
TEST_F(PacTables, FieldsArePrintedBeforePbitsHandleAndStateAreChecked) {
    const PacTblCfg record = PacRecord([](PacTblCfg &r) {
        r.ovrd = 0x01C;
        r.dstGemPort = 31;
        r.dstQid = 7;
        r.rawAction[0] = kGoodRaw;
    });
    const std::vector<std::string> fields = Join({"dstGemPort<31> ", "dstQid<7>"}, kGoodRaw0);
    std::vector<Refused> refused;
    for (const Setter &setter : kSetters) {
        const auto lines = [&](unsigned id) { return Head(setter, id, "1c") + Fields(setter, fields); };
        refused.push_back({"handle 16", setter.on(kBeyond, &record), 3, lines(kBeyond),
                           OutOfRange("Pac", "pacTblHdl", 16) + RetVal(setter.fn, 3)});
        refused.push_back({"free table", setter.on(kFree, &record), 3, lines(kFree),
                           TableIsFree("Pac", "pacTblHdl", kFree) + RetVal(setter.fn, 3)});
        refused.push_back({"active", setter.on(kActive, &record), 17, lines(kActive),
                           Refusal(setter.fn, "e_RET_ERR_STATE_NOTCFG", 17)});
    }
    const char *const fn = "QIR_Set_PacTableEntry";
    const Setter pbits8{fn, "pacEnt_p", " pbits<8>", nullptr};
    refused.push_back({"pbits 8", On(QIR_Set_PacTableEntry, kCfg, 8, &record), 55,
                       Head(pbits8, kCfg, "1c") + Fields(pbits8, fields),
                       Refusal(fn, "e_RET_ERR_INVALID_PBITS", 55)});
    ExpectRefused(refused);
}

// Both setters take the record on the configured table, store it whole and print these lines.
void ExpectRecordAccepted(const PacTblCfg &record, const std::string &ovrd,
                          const std::vector<std::string> &fields) {
    for (const Setter &setter : kSetters) {
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE(setter.fn);
            std::memset(static_cast<void *>(&qirCtxt_gp->pacTblPool[kCfg].ent[7]), 0x5C, 28);
            ExpectAccepted(setter.on(kCfg, &record), Head(setter, kCfg, ovrd) + Fields(setter, fields),
                           level);
            EXPECT_TRUE(Image::Of(record).Is(&qirCtxt_gp->pacTblPool[kCfg].ent[7]));
        }
    }
}

TEST_F(PacTables, RecordLimitsFromTheAcceptedSide) {
    ExpectRecordAccepted(PacRecord([](PacTblCfg &) {}), " 0", {});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x01; }), " 1", {});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x08; }), " 8", {"dstGemPort<0> "});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x08, r.dstGemPort = 31; }), " 8",
                         {"dstGemPort<31> "});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x04, r.dstQid = 7; }), " 4", {"dstQid<7>"});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x10, r.dstQid = 7; }), "10", {"dstQid<7>"});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x1D, r.dstGemPort = 31, r.dstQid = 7; }),
                         "1d", {"dstGemPort<31> ", "dstQid<7>"});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.rawAction[0] = kGoodRaw; }), " 0", kGoodRaw0);
    ExpectRecordAccepted(
        PacRecord([](PacTblCfg &r) {
            r.rawAction[1] = {
                .type = 1, .ofst = 0, .size = 1, .val = {255, 255}, .mask = {255, 255}, .rsvd = {}};
        }),
        " 0", {"ix<1> type<1> ofst<0> size<1>", "val<0xff> mask<0xff>", "val<0xff> mask<0xff>"});
    ExpectRecordAccepted(FullPacRecord(), "1d",
                         {"dstGemPort<31> ", "dstQid<7>", "ix<0> type<1> ofst<0> size<1>",
                          "val<0x 1> mask<0x f>", "val<0xab> mask<0xff>", "ix<1> type<2> ofst<95> size<2>",
                          "val<0x80> mask<0x7f>", "val<0x 0> mask<0x10>"});
}

// With bit 0x002 the record is taken as it is and nothing of it is printed.
TEST_F(PacTables, UncheckedRecordIsTakenAsItIs) {
    for (const char *const ovrd : {" 2", " 3", " 6", " a", "12", "1f"}) {
        SCOPED_TRACE(ovrd);
        ExpectRecordAccepted(PacRecord([&](PacTblCfg &r) {
                                 r.ovrd = static_cast<uint16_t>(std::stoul(ovrd, nullptr, 16));
                                 r.dstGemPort = 200;
                                 r.dstQid = 99;
                                 r.rawAction[0].type = 9;
                                 r.rawAction[1] = {
                                     .type = 1, .ofst = 96, .size = 0, .val = {}, .mask = {}, .rsvd = {}};
                             }),
                             ovrd, {});
    }
}

TEST_F(PacTables, Override0x0020IsRefusedAnd0x0002TakesGemPort200AndType9) {
    for (const Setter &setter : kSetters) {
        const PacTblCfg bad = PacRecord([](PacTblCfg &r) { r.ovrd = 0x0020; });
        EXPECT_EQ(Call(setter.on(kCfg, &bad)).code, 52u);
        const PacTblCfg odd = PacRecord([](PacTblCfg &r) {
            r.ovrd = 0x0002;
            r.dstGemPort = 200;
            r.rawAction[0].type = 9;
        });
        EXPECT_EQ(Call(setter.on(kCfg, &odd)).code, 0u);
    }
}

TEST_F(PacTables, FieldsThatTheOverrideDoesNotUseAreNeitherCheckedNorPrinted) {
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x08, r.dstGemPort = 31, r.dstQid = 8; }),
                         " 8", {"dstGemPort<31> "});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x14, r.dstGemPort = 32, r.dstQid = 7; }),
                         "14", {"dstQid<7>"});
    ExpectRecordAccepted(PacRecord([](PacTblCfg &r) { r.ovrd = 0x01, r.dstGemPort = 255, r.dstQid = 255; }),
                         " 1", {});
}

TEST_F(PacTables, RawActionOfType0IsIgnoredWhateverItsOtherFields) {
    for (const unsigned ix : {0u, 1u}) {
        ExpectRecordAccepted(
            PacRecord([&](PacTblCfg &r) {
                r.rawAction[ix] = {
                    .type = 0, .ofst = 255, .size = 255, .val = {1, 2}, .mask = {3, 4}, .rsvd = {}};
            }),
            " 0", {});
    }
}

// All override bits against GEM port and queue on both sides of their limits.
TEST_F(PacTables, OverrideDecidesWhichFieldIsChecked) {
    for (const Setter &setter : kSetters) {
        for (unsigned ovrd = 0; ovrd < 0x40; ++ovrd) {
            for (const uint8_t gem : {uint8_t{0}, uint8_t{31}, uint8_t{32}}) {
                for (const uint8_t qid : {uint8_t{0}, uint8_t{7}, uint8_t{8}}) {
                    for (const uint32_t type : {0u, 1u, 3u}) {
                        const PacTblCfg record = PacRecord([&](PacTblCfg &r) {
                            r.ovrd = static_cast<uint16_t>(ovrd);
                            r.dstGemPort = gem;
                            r.dstQid = qid;
                            r.rawAction[1] = {
                                .type = type, .ofst = 10, .size = 2, .val = {}, .mask = {}, .rsvd = {}};
                        });
                        uint32_t expected = type == 3 ? 64 : 0;
                        expected = (ovrd & 0x14) != 0 && qid == 8 ? 40 : expected;
                        expected = (ovrd & 0x08) != 0 && gem == 32 ? 57 : expected;
                        expected = (ovrd & 0x02) != 0 ? 0 : expected;
                        expected = (ovrd & 0x20) != 0 ? 52 : expected;
                        ASSERT_EQ(Call(setter.on(kCfg, &record)).code, expected)
                            << setter.fn << " ovrd " << ovrd << " GEM port " << unsigned{gem} << " queue "
                            << unsigned{qid} << " type " << type;
                    }
                }
            }
        }
    }
}

// All raw actions around their limits, in both places.
TEST_F(PacTables, RawActionsAreCheckedInBothPlaces) {
    for (const unsigned ix : {0u, 1u}) {
        for (uint32_t type = 0; type <= 4; ++type) {
            for (const unsigned ofst : {0u, 1u, 94u, 95u, 96u, 97u, 255u}) {
                for (const unsigned size : {0u, 1u, 2u, 3u, 255u}) {
                    const PacTblCfg record = PacRecord([&](PacTblCfg &r) {
                        r.rawAction[1 - ix] = kZeroRaw;
                        r.rawAction[ix].type = type;
                        r.rawAction[ix].ofst = static_cast<uint8_t>(ofst);
                        r.rawAction[ix].size = static_cast<uint8_t>(size);
                    });
                    uint32_t expected = size == 1 || size == 2 ? 0 : 66;
                    expected = ofst >= 96 ? 65 : expected;
                    expected = type >= 3 ? 64 : expected;
                    expected = type == 0 ? 0 : expected;
                    ASSERT_EQ(Call(On(QIR_Set_PacTableCfg, kCfg, &record)).code, expected)
                        << "ix " << ix << " type " << type << " ofst " << ofst << " size " << size;
                }
            }
        }
    }
}

TEST_F(PacTables, GemPortQueueAndRawActionLimitsFromBothSides) {
    const auto code = [](auto change) {
        const PacTblCfg record = PacRecord(change);
        return Call(On(QIR_Set_PacTableCfg, kCfg, &record)).code;
    };
    EXPECT_EQ(code([](PacTblCfg &r) { r.ovrd = 0x0008, r.dstGemPort = 31; }), 0u);
    EXPECT_EQ(code([](PacTblCfg &r) { r.ovrd = 0x0008, r.dstGemPort = 32; }), 57u);
    EXPECT_EQ(code([](PacTblCfg &r) { r.ovrd = 0x0004, r.dstQid = 8; }), 40u);
    EXPECT_EQ(code([](PacTblCfg &r) { r.ovrd = 0x0008, r.dstQid = 8; }), 0u);
    const auto raw = [&](uint32_t type, uint8_t ofst, uint8_t size) {
        return code([=](PacTblCfg &r) {
            r.rawAction[0] = {.type = type, .ofst = ofst, .size = size, .val = {}, .mask = {}, .rsvd = {}};
        });
    };
    EXPECT_EQ(raw(0, 96, 3), 0u);
    EXPECT_EQ(raw(2, 95, 2), 0u);
    EXPECT_EQ(raw(2, 95, 0), 66u);
    EXPECT_EQ(raw(2, 95, 3), 66u);
}

TEST_F(PacTables, ParameterLinesOfARecordRead) {
    const PacTblCfg record = PacRecord([](PacTblCfg &r) {
        r.ovrd = 0x00C;
        r.dstGemPort = 3;
        r.dstQid = 2;
        r.rawAction[1] = kGoodRaw;
    });
    EXPECT_EQ(Call(On(QIR_Set_PacTableEntry, kCfg, 6, &record), 2).out,
              "[INF orxapi] QIR_Set_PacTableEntry: Params: pacTblHdl_p<0x<ptr>> pacEnt_p<0x<ptr>>\n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: pacTblHdl<1> pbits<6> ovrd<0x c>\n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: dstGemPort<3> \n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: dstQid<2>\n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: ix<1> type<2> ofst<95> size<2>\n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: val<0x 1> mask<0xf0>\n"
              "[INF orxapi] QIR_Set_PacTableEntry: Params2: val<0xab> mask<0x 7>\n");
}

} // namespace
} // namespace test
