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

constexpr PacRawAction kZeroRaw{};
constexpr PacRawAction kGoodRaw{
    .type = 2, .ofst = 95, .size = 2, .val = {1, 0xAB}, .mask = {0xF0, 7}, .rsvd = {}};
const std::vector<std::string> kGoodRaw0 = {"ix<0> type<2> ofst<95> size<2>", "val<0x 1> mask<0xf0>",
                                            "val<0xab> mask<0x 7>"};

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

} // namespace
} // namespace test
