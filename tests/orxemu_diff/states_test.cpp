// States compared by meaning: objects are found by what they are, not by their index.
#include "emu/tool/differences.h"
#include "qirapi/private/fcb_records.h"
#include "tests/orxemu_show/journal_kit.h"

#include <memory>

namespace {

using namespace journal_kit;
using namespace orxemu::tool;

using State = std::unique_ptr<OrxEmuState>;
using Lines = std::vector<std::string>;

State CopyOf(const OrxEmuState &state) {
    return std::make_unique<OrxEmuState>(state);
}

Lines Compare(const OrxEmuState &a, const OrxEmuState &b) {
    Meanings meaningsA = MeaningOf(a);
    Meanings meaningsB = MeaningOf(b);
    Lines lines;
    for (const Difference &difference : CompareStates(meaningsA, meaningsB)) {
        if (difference.after == nullptr) {
            lines.push_back("- " + difference.before->name);
        } else if (difference.before == nullptr) {
            lines.push_back("+ " + difference.after->name);
        } else {
            lines.push_back("~ " + difference.before->name + " / " + difference.after->name + ":");
            for (const Change &change : difference.changes) {
                lines.back() += " " + change.path + " [" + change.before + "] [" + change.after + "]";
            }
        }
    }
    return lines;
}

// Two tables, three flows: the first two on the tables, the third on none.
State SampleState() {
    PacTblHdl tables[] = {PacTable(1), PacTable(2)};
    for (PacTblHdl &table : tables) {
        EXPECT_EQ(QIR_Activate_PacTable(&table), e_RET_OK);
    }
    for (uint16_t i = 0; i < 3; ++i) {
        FlowHdl flow = TranslatingFlow(static_cast<uint16_t>(200 + i), static_cast<uint16_t>(1200 + i));
        if (i < 2) {
            EXPECT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &tables[i]), e_RET_OK);
        }
        EXPECT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    }
    EXPECT_EQ(QIR_Set_RL(1, 9, {0x10, 500, 1, 64}), e_RET_OK);
    EXPECT_EQ(QIR_Activate_RL(1, 9), e_RET_OK);
    return CopyOf(*orxemu_state());
}

class OrxemuDiffStates : public JournalTest {};

TEST_F(OrxemuDiffStates, AStateIsEqualToItself) {
    const State state = SampleState();
    EXPECT_EQ(Compare(*state, *state), Lines());
    const auto empty = std::make_unique<OrxEmuState>();
    EXPECT_EQ(Compare(*empty, *empty), Lines());
}

TEST_F(OrxemuDiffStates, IndexesDoNotCount) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    std::swap(other->pacTbl[0], other->pacTbl[1]);
    other->pacTbl[7] = other->pacTbl[1];
    other->pacTbl[1] = {};
    std::swap(other->flow[0], other->flow[300]);
    std::swap(other->flow[1], other->flow[2]);
    other->flow[300].pacTblIdx = 7;
    other->flow[2].pacTblIdx = 0;
    EXPECT_EQ(Compare(*state, *other), Lines());
}

TEST_F(OrxemuDiffStates, SettingsAreTheirOwn) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    other->flowMissAction = 2;
    other->rlStatus = 1;
    other->portDefAcl[8] = 1;
    other->portTpid[3][2] = 0x88A8;
    other->portPadLen[0] = 64;
    other->rlTci[1][0] = 7;
    EXPECT_EQ(Compare(*state, *other),
              Lines({"~ global / global: flowMissAction [0] [2] rlStatus [0] [1]",
                     "~ port 0 / port 0: padLen [0] [64]", "~ port 3 / port 3: tpid[2] [0x0000] [0x88a8]",
                     "~ port 8 / port 8: defAcl [0] [1]",
                     "~ rate limiting, direction 1 / rate limiting, direction 1: tci[0] "
                     "[0x0000] [0x0007]"}));
}

TEST_F(OrxemuDiffStates, AFlowOnAnotherTable) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    other->flow[0].pacTblIdx = 1;
    other->flow[1].pacTblIdx = -1;
    other->flow[2].pacTblIdx = 12;
    EXPECT_EQ(Compare(*state, *other), Lines({"~ flow 0 / flow 0: pacTable [PAC table 0] [PAC table 1]",
                                              "~ flow 1 / flow 1: pacTable [PAC table 1] [none]",
                                              "~ flow 2 / flow 2: pacTable [none] [not active]"}));
}

TEST_F(OrxemuDiffStates, ReferencesFollowAChangedTable) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    other->pacTbl[0].record[8 + 2] = 30;
    std::swap(other->pacTbl[0], other->pacTbl[5]);
    other->flow[0].pacTblIdx = 5;
    EXPECT_EQ(Compare(*state, *other), Lines({"~ PAC table 0 / PAC table 5: cfg.dstGemPort [1] [30]"}));
}

TEST_F(OrxemuDiffStates, TheMostAlikeGoTogether) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    // The first and the third flow change places and a field each.
    std::swap(other->flow[0], other->flow[2]);
    for (const std::size_t i : {0u, 2u}) {
        other->flow[i].hits[1] = 4;
    }
    EXPECT_EQ(Compare(*state, *other),
              Lines({"~ flow 0 / flow 2: hits[1] [0] [4]", "~ flow 2 / flow 0: hits[1] [0] [4]"}));
}

TEST_F(OrxemuDiffStates, ObjectsOfOneSideOnly) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    other->flow[1] = {};
    other->pacTbl[1] = {};
    other->rl[1][9] = {};
    other->rl[0][9] = state->rl[1][9];
    EXPECT_EQ(Compare(*state, *other), Lines({"- PAC table 1", "- flow 1", "- rate limiter 9 of direction 1",
                                              "+ rate limiter 9 of direction 0"}));
    EXPECT_EQ(Compare(*other, *state), Lines({"+ PAC table 1", "+ flow 1", "- rate limiter 9 of direction 0",
                                              "+ rate limiter 9 of direction 1"}));
}

TEST_F(OrxemuDiffStates, ALimitersConfigurationCounts) {
    const State state = SampleState();
    const State other = CopyOf(*state);
    std::swap(other->rl[1][9].record[0], other->rl[1][9].record[3]);
    const Lines lines = Compare(*state, *other);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(
        lines[0].rfind("~ rate limiter 9 of direction 1 / rate limiter 9 of direction 1: tci [0x0010] [", 0),
        0u)
        << lines[0];
}

} // namespace
