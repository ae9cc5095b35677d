// States as files: what they look like, and files that no hardware was in.
#include "emu/journal/state_file.h"
#include "tests/journal/fcb_image.h"
#include "tests/journal/sealed_line.h"

#include <cstring>
#include <memory>

namespace {

using namespace journal_test;
using namespace orxemu::journal;

// The objects of a state in either byte order: tables, flows and limiters as the bytes of records.
struct Objects {
    Bytes asTbl, dscpTbl, pacTbl, fcb, rl;
};

Objects MakeObjects(ByteOrder order) {
    Objects objects;
    objects.asTbl =
        Image(468, order).Fill(0, 468, 0).Put32(0, 3).Put32(4, 15).Put32(8, 5).Put16(12, 1).bytes();
    objects.dscpTbl = Image(88, order).Fill(0, 88, 0).Put32(8, 7).Put16(16, 2).Put32(20, 2).bytes();
    objects.pacTbl = Image(268, order).Fill(0, 268, 0).Put16(8, 0x14).Put16(36, 300).Put32(44 + 4, 2).bytes();
    FcbImage fcb(order);
    fcb.AddHeader(kEthFilter);
    fcb.AddHeader(kVlan0Filter);
    fcb.AddReq({&kVlan0Filter, 5, 0, Value::U16, 200, 0, nullptr});
    objects.fcb = fcb.bytes();
    objects.rl = Image(16, order).Put32(0, 7).Put32(4, 1000).Put32(8, 1).Put32(12, 0x01020304).bytes();
    return objects;
}

using State = std::unique_ptr<OrxEmuState>;

State MakeState() {
    auto state = std::make_unique<OrxEmuState>();
    const Objects objects = MakeObjects(kHostOrder);
    state->flowMissAction = 2;
    state->rlStatus = 1;
    for (unsigned port = 0; port < ORXEMU_PORTS; ++port) {
        state->portDefAcl[port] = port % 2;
        state->portPadLen[port] = port == 8 ? 0 : 64 + port;
        for (unsigned i = 0; i < 4; ++i) {
            state->portTpid[port][i] = static_cast<std::uint16_t>(0x8100 + 16 * port + i);
        }
    }
    state->rlTci[0][0] = 1;
    state->rlTci[1][1] = 65535;
    const auto put = [](auto &slot, const Bytes &bytes) {
        slot.active = 1;
        std::memcpy(slot.record, bytes.data(), bytes.size());
    };
    put(state->asTbl[15], objects.asTbl);
    put(state->dscpTbl[0], objects.dscpTbl);
    put(state->dscpTbl[5], objects.dscpTbl);
    put(state->pacTbl[2], objects.pacTbl);
    put(state->rl[0][15], objects.rl);
    put(state->rl[1][0], objects.rl);
    for (const unsigned idx : {0u, 511u}) {
        OrxEmuFlow &flow = state->flow[idx];
        flow.active = 1;
        std::memcpy(flow.fcb, objects.fcb.data(), objects.fcb.size());
        flow.pacTblIdx = idx == 0 ? -1 : 2;
        flow.epTblIdx = -1;
        flow.numFlows = 1;
        flow.hits[7] = idx == 0 ? 0 : 0xFFFFFFFF;
    }
    return state;
}

std::string Raw(const Bytes &bytes) {
    return "\"raw\":\"" + ToHex(bytes) + "\"}";
}

// The state of MakeState() as a machine of `order` writes it, built without StateText().
std::vector<std::string> ExpectedLines(ByteOrder order) {
    const Objects objects = MakeObjects(order);
    std::vector<std::string> lines{"{\"format\":\"orxemu-state\",\"version\":2,\"byteOrder\":\"" +
                                       std::string(NameOf(order)) + "\"}",
                                   R"({"global":{"flowMissAction":2,"rlStatus":1}})"};
    for (unsigned port = 0; port < 9; ++port) {
        std::string tpids;
        for (unsigned i = 0; i < 4; ++i) {
            tpids += (i == 0 ? "" : ",") + std::to_string(0x8100 + 16 * port + i);
        }
        lines.push_back("{\"port\":" + std::to_string(port) + ",\"defAcl\":" + std::to_string(port % 2) +
                        ",\"padLen\":" + std::to_string(port == 8 ? 0 : 64 + port) + ",\"tpid\":[" + tpids +
                        "]}");
    }
    lines.emplace_back(R"({"rlTci":0,"tci":[1,0]})");
    lines.emplace_back(R"({"rlTci":1,"tci":[0,65535]})");
    const auto table = [&](const char *member, unsigned index, IndexKind kind, const Bytes &record) {
        lines.push_back("{\"" + std::string(member) + "\":" + std::to_string(index) +
                        ",\"fields\":" + DecodeTable(kind, record, order).dump() + "," + Raw(record));
    };
    table("asTable", 15, IndexKind::AsTable, objects.asTbl);
    table("dscpTable", 0, IndexKind::DscpTable, objects.dscpTbl);
    table("dscpTable", 5, IndexKind::DscpTable, objects.dscpTbl);
    table("pacTable", 2, IndexKind::PacTable, objects.pacTbl);
    const std::string fcb =
        "\"fcb\":" + DecodeFcb(objects.fcb, order).dump() + ",\"fcbRaw\":\"" + ToHex(objects.fcb) + "\"}";
    lines.push_back(R"({"flow":0,"pacTblIdx":-1,"epTblIdx":-1,"numFlows":1,"hits":[0,0,0,0,0,0,0,0],)" + fcb);
    lines.push_back(
        R"({"flow":511,"pacTblIdx":2,"epTblIdx":-1,"numFlows":1,"hits":[0,0,0,0,0,0,0,4294967295],)" + fcb);
    const std::string rl =
        R"("fields":{"tci":7,"cirRate":1000,"cirUnit":1,"cbs":16909060},)" + Raw(objects.rl);
    lines.push_back(R"({"rl":0,"index":15,)" + rl);
    lines.push_back(R"({"rl":1,"index":0,)" + rl);
    lines.emplace_back(R"({"end":{"objects":20}})");
    std::ranges::transform(lines, lines.begin(), Sealed);
    return lines;
}

std::string Joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) {
        text += line + "\n";
    }
    return text;
}

bool SameState(const OrxEmuState &a, const OrxEmuState &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(JournalState, TheTextHasALineForEveryObject) {
    EXPECT_EQ(Joined(ExpectedLines(kHostOrder)), StateText(*MakeState()));
}

TEST(JournalState, AStateOfEitherByteOrderIsReadAsThisMachines) {
    for (const ByteOrder order : kBothOrders) {
        const auto read = std::make_unique<OrxEmuState>();
        ByteOrder written = Other(order);
        Problem problem;
        ASSERT_TRUE(ReadState(Joined(ExpectedLines(order)), "state.json", *read, written, problem))
            << problem.Text();
        EXPECT_EQ(order, written);
        EXPECT_TRUE(SameState(*MakeState(), *read)) << NameOf(order);
    }
}

TEST(JournalState, PowerOnIsSettingsOnly) {
    const auto state = std::make_unique<OrxEmuState>();
    const std::string text = StateText(*state);
    EXPECT_EQ(14, std::count(text.begin(), text.end(), '\n'));
    const auto read = MakeState();
    ByteOrder written{};
    Problem problem;
    ASSERT_TRUE(ReadState(text, "state.json", *read, written, problem)) << problem.Text();
    EXPECT_TRUE(SameState(*state, *read));
}

TEST(JournalState, AFullStateReadsAsItWasWritten) {
    const State state = MakeState();
    for (OrxEmuTable &tbl : state->asTbl) {
        tbl = state->asTbl[15];
    }
    for (OrxEmuTable &tbl : state->dscpTbl) {
        tbl = state->dscpTbl[0];
    }
    for (OrxEmuTable &tbl : state->pacTbl) {
        tbl = state->pacTbl[2];
    }
    for (auto &dir : state->rl) {
        for (OrxEmuRl &rl : dir) {
            rl = state->rl[0][15];
        }
    }
    for (unsigned i = 0; i < ORXEMU_FLOWS; i += 37) {
        state->flow[i] = state->flow[511];
        state->flow[i].hits[0] = i;
    }
    const auto read = std::make_unique<OrxEmuState>();
    ByteOrder written{};
    Problem problem;
    ASSERT_TRUE(ReadState(StateText(*state), "state.json", *read, written, problem)) << problem.Text();
    EXPECT_TRUE(SameState(*state, *read));
}

// "" when the state is good.
std::string ProblemOf(const std::string &text) {
    const State state = MakeState();
    state->flowMissAction = 1;
    const auto before = std::make_unique<OrxEmuState>(*state);
    ByteOrder written{};
    Problem problem;
    if (ReadState(text, "state.json", *state, written, problem)) {
        return "";
    }
    EXPECT_TRUE(SameState(*before, *state)) << "a bad file changed the state";
    return problem.Text();
}

struct Edit {
    std::size_t line; // counted from 1
    const char *from;
    const char *to;
    const char *what;
};

const Edit kEdits[] = {
    {1, "orxemu-state", "orxemu-log", "format is \"orxemu-log\", not \"orxemu-state\""},
    {1, "\"version\":2", "\"version\":1", "version is 1, this program knows 2"},
    {2, "\"flowMissAction\":2", "\"flowMissAction\":3", "flowMissAction is 3, not a number from 0 to 2"},
    {2, "\"rlStatus\":1", "\"rlStatus\":2", "rlStatus is 2, not a number from 0 to 1"},
    {2, "\"rlStatus\":1", "\"rlStatus\":1,\"x\":1", "there is no global.\"x\" here"},
    {2, "\"global\"", "\"globe\"", "global is missing"},
    {2, "{\"flowMissAction\":2,\"rlStatus\":1}", "1", "global is no object"},
    {3, "\"port\":0", "\"port\":1", "port is 1, it has to be 0"},
    {3, "\"defAcl\":0", "\"defAcl\":2", "defAcl is 2, not a number from 0 to 1"},
    {3, "\"padLen\":64", "\"padLen\":256", "padLen is 256, not a number from 0 to 255"},
    {3, "\"padLen\":64", "\"padLen\":-1", "padLen is -1, not a number from 0 to 255"},
    {3, "33024", "65536", "tpid is 65536, not a number from 0 to 65535"},
    {3, "33024", "\"33024\"", "tpid is \"33024\", not a number from 0 to 65535"},
    {3, "33024,", "", "tpid is no list of 4 numbers"},
    {3, "33024,", "33024,1,", "tpid is no list of 4 numbers"},
    {3, "{\"port\"", "{\"x\":1,\"port\"", "there is no \"x\" here"},
    {11, "\"padLen\":0", "\"padLen\":64", "padLen is 64, not a number from 0 to 0"},
    {12, "\"rlTci\":0", "\"rlTci\":1", "rlTci is 1, it has to be 0"},
    {12, "\"tci\":[1,0]", "\"tci\":{}", "tci is no list of 2 numbers"},
    {14, "\"asTable\":15", "\"asTable\":16", "asTable is 16, not a number from 0 to 15"},
    {14, "\"asTable\":15", "\"dscpTable\":1", "raw has 468 bytes, not 88"},
    {14, "\"asTable\":15", "\"epTable\":1", "the line is no object of a state"},
    {14, "\"srcPortMask\":5", "\"srcPortMask\":1", "fields.cfg.srcPortMask is 1, the raw bytes say 5"},
    {14, "\"raw\"", "\"rau\"", "raw is missing"},
    {15, "\"dscpTable\":0", "\"dscpTable\":5", nullptr},
    {16, "\"dscpTable\":5", "\"dscpTable\":0", "dscpTable 0 is out of order"},
    {16, "\"dscpTable\":5", "\"dscpTable\":6", "dscpTable is 6, not a number from 0 to 5"},
    {17, "\"pacTable\":2", "\"pacTable\":\"2\"", "pacTable is \"2\", not a number from 0 to 15"},
    {18, "\"flow\":0", "\"flow\":512", "flow is 512, not a number from 0 to 511"},
    {18, "\"pacTblIdx\":-1", "\"pacTblIdx\":16", "pacTblIdx is 16, not a number from -1 to 15"},
    {18, "\"epTblIdx\":-1", "\"epTblIdx\":0", "epTblIdx is 0, not a number from -1 to -1"},
    {18, "\"numFlows\":1", "\"numFlows\":2", "numFlows is 2, not a number from 1 to 1"},
    {18, "\"hits\":[0,", "\"hits\":[", "hits is no list of 8 numbers"},
    {18, "\"hits\":[0,", "\"hits\":[4294967296,", "hits is 4294967296, not a number from 0 to 4294967295"},
    {18, "\"val\":200", "\"val\":201", "fcb.filter.headers[1].requests[0].val is 201, the raw bytes say 200"},
    {18, "\"fcbRaw\":\"", "\"fcbRaw\":\"00", "fcbRaw has 1885 bytes, not 1884"},
    {19, "\"flow\":511", "\"flow\":0", "flow 0 is out of order"},
    {20, "\"index\":15", "\"index\":16", "index is 16, not a number from 0 to 15"},
    {20, "\"rl\":0", "\"rl\":2", "rl is 2, not a number from 0 to 1"},
    {21, "\"rl\":1,\"index\":0", "\"rl\":0,\"index\":15", "index 15 is out of order"},
    {21, "\"cirRate\":1000", "\"cirRate\":1001", "fields.cirRate is 1001, the raw bytes say 1000"},
    {22, "\"objects\":20", "\"objects\":19", "end.objects is 19, the state has 20"},
    {22, "},", "},\"more\":1,", "there is no \"more\" here"},
};

// Whether somebody has signed the edited line or not. An index that is taken is found where it comes again.
TEST(JournalState, EveryEditIsFoundInItsLine) {
    ASSERT_EQ("", ProblemOf(Joined(ExpectedLines(kHostOrder))));
    for (const Edit &edit : kEdits) {
        for (const ByteOrder order : kBothOrders) {
            for (const bool isSigned : {false, true}) {
                std::vector<std::string> lines = ExpectedLines(order);
                ASSERT_EQ(22u, lines.size());
                std::string &line = lines[edit.line - 1];
                ReplaceOnce(line, edit.from, edit.to);
                if (isSigned || edit.what == nullptr) {
                    line = Sealed(line);
                }
                const std::string expected =
                    edit.what != nullptr
                        ? "state.json:" + std::to_string(edit.line) + ": " + edit.what
                        : "state.json:" + std::to_string(edit.line + 1) + ": dscpTable 5 is out of order";
                EXPECT_EQ(expected, ProblemOf(Joined(lines)))
                    << edit.from << " -> " << edit.to << (isSigned ? ", signed" : "");
            }
        }
    }
}

// What nothing else in the line contradicts.
TEST(JournalState, ValuesThatAreAsGoodAreSigned) {
    const Edit edits[] = {
        {1, "{\"format\"", "{ \"format\"", nullptr},
        {2, "\"flowMissAction\":2", "\"flowMissAction\":1", nullptr},
        {3, "\"padLen\":64", "\"padLen\":65", nullptr},
        {12, "\"tci\":[1,0]", "\"tci\":[1,1]", nullptr},
        {18, "\"hits\":[0,", "\"hits\":[1,", nullptr},
        {19, "\"pacTblIdx\":2", "\"pacTblIdx\":3", nullptr},
    };
    for (const Edit &edit : edits) {
        std::vector<std::string> lines = ExpectedLines(kHostOrder);
        std::string &line = lines[edit.line - 1];
        ReplaceOnce(line, edit.from, edit.to);
        const std::string problem = ProblemOf(Joined(lines));
        const std::string expected = "state.json:" + std::to_string(edit.line) + ": crc is \"";
        EXPECT_EQ(expected, problem.substr(0, expected.size())) << problem;
        line = Sealed(line);
        EXPECT_EQ("", ProblemOf(Joined(lines))) << edit.to;
    }
}

// Bytes all over the file.
TEST(JournalState, AChangedByteIsFoundInItsLine) {
    const std::string good = Joined(ExpectedLines(kHostOrder));
    for (std::size_t at = 0; at < good.size(); at += 101) {
        std::string text = good;
        text[at] = Flipped(text[at], static_cast<unsigned>(1 + at % 7));
        const auto line = 1 + std::count(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        const std::string where = "state.json:" + std::to_string(line) + ": ";
        const std::string problem = ProblemOf(text);
        ASSERT_EQ(where, problem.substr(0, where.size())) << "byte " << at << ": " << problem;
    }
}

// What the hardware would refuse, in a line that says nothing else: no hardware held it.
struct OutOfRange {
    std::size_t line;
    void (*put)(Image &record);
    const char *what; // nullptr: the hardware takes it
};

const OutOfRange kRates[] = {
    {20, [](Image &rl) { rl.Put32(4, 1000).Put32(8, 1); }, nullptr},
    {20, [](Image &rl) { rl.Put32(4, 8064).Put32(8, 0); }, nullptr},
    {20, [](Image &rl) { rl.Put32(4, 1001).Put32(8, 1); }, "cirRate is 1001, not a number from 0 to 1000"},
    {20, [](Image &rl) { rl.Put32(4, 8065).Put32(8, 0); }, "cirRate is 8065, not a number from 0 to 8064"},
    {21, [](Image &rl) { rl.Put32(4, 0).Put32(8, 2); }, "cirUnit is 2, not a number from 0 to 1"},
    {21, [](Image &rl) { rl.Put32(4, 0).Put32(8, 0xFFFFFFFF); },
     "cirUnit is 4294967295, not a number from 0 to 1"},
};

TEST(JournalState, RatesThatTheHardwareRefusesAreFound) {
    for (const OutOfRange &c : kRates) {
        for (const ByteOrder order : kBothOrders) {
            Image rl = Image(16, order).Fill(0, 16, 0);
            c.put(rl);
            std::vector<std::string> lines = ExpectedLines(order);
            const std::string head = lines[c.line - 1].substr(0, lines[c.line - 1].find("\"fields\""));
            lines[c.line - 1] =
                Sealed(head + "\"fields\":" + DecodeRlCfg(rl.bytes(), order).dump() + "," + Raw(rl.bytes()));
            EXPECT_EQ(c.what == nullptr ? "" : "state.json:" + std::to_string(c.line) + ": " + c.what,
                      ProblemOf(Joined(lines)))
                << NameOf(order);
        }
    }
}

const OutOfRange kForwardings[] = {
    {18, [](Image &fcb) { fcb.Put32(268, 1).Put32(272, 31).Put32(336, 7); }, nullptr},
    {18, [](Image &fcb) { fcb.Put32(268, 1).Put32(272, 32); }, "flowPrio is 32, not a number from 0 to 31"},
    {19, [](Image &fcb) { fcb.Put32(268, 1).Put32(336, 8); }, "fwdAction is 8, not a number from 0 to 7"},
    {18, [](Image &fcb) { fcb.Put32(268, 0).Put32(272, 32).Put32(336, 8); }, nullptr},
    {18, [](Image &fcb) { fcb.Put32(268, 2).Put32(272, 32).Put32(336, 8); }, nullptr},
};

TEST(JournalState, ForwardingThatTheHardwareRefusesIsFoundWhenItIsSet) {
    for (const OutOfRange &c : kForwardings) {
        for (const ByteOrder order : kBothOrders) {
            FcbImage fcb(order);
            c.put(fcb);
            std::vector<std::string> lines = ExpectedLines(order);
            const std::string head = lines[c.line - 1].substr(0, lines[c.line - 1].find("\"fcb\""));
            lines[c.line - 1] = Sealed(head + "\"fcb\":" + DecodeFcb(fcb.bytes(), order).dump() +
                                       ",\"fcbRaw\":\"" + ToHex(fcb.bytes()) + "\"}");
            EXPECT_EQ(c.what == nullptr ? "" : "state.json:" + std::to_string(c.line) + ": " + c.what,
                      ProblemOf(Joined(lines)))
                << NameOf(order);
        }
    }
}

TEST(JournalState, MissingDoubledAndSwappedLinesAreFound) {
    const std::vector<std::string> good = ExpectedLines(kHostOrder);
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::vector<std::string> lines = good;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(i));
        EXPECT_NE("", ProblemOf(Joined(lines))) << "without line " << i + 1;
        lines = good;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), good[i]);
        const std::string at = "state.json:" + std::to_string(i + 2) + ": ";
        EXPECT_EQ(at, ProblemOf(Joined(lines)).substr(0, at.size())) << "line " << i + 1 << " twice";
        if (i + 1 < good.size()) {
            lines = good;
            std::swap(lines[i], lines[i + 1]);
            EXPECT_NE("", ProblemOf(Joined(lines))) << "lines " << i + 1 << " and " << i + 2;
        }
    }
}

TEST(JournalState, CutsAreFound) {
    const std::string text = Joined(ExpectedLines(kHostOrder));
    EXPECT_EQ("state.json:1: the file is empty", ProblemOf(""));
    for (std::size_t size = 1; size < text.size(); size += size < 800 ? 1 : 211) {
        const auto lines = static_cast<std::size_t>(
            std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), '\n'));
        const bool atEndOfLine = text[size - 1] == '\n';
        ASSERT_EQ("state.json:" + std::to_string(lines + (atEndOfLine ? 0 : 1)) + ": " +
                      (atEndOfLine ? "the last line of the state is missing behind this one"
                                   : "the line is cut off"),
                  ProblemOf(text.substr(0, size)))
            << "cut behind " << size << " bytes";
    }
    EXPECT_EQ("state.json:22: the line is cut off", ProblemOf(text.substr(0, text.size() - 1)));
    EXPECT_EQ("state.json:23: the state has ended before this line", ProblemOf(text + "{}\n"));
    EXPECT_EQ("state.json:23: the line is no JSON", ProblemOf(text + "\n"));
}

} // namespace
