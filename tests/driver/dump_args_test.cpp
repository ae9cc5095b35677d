// The public dumps: parameter lines, null pointers and handles, and that they leave driver and shadow alone.
#include "qirapi/access/table_access.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/tables.h"
#include "tests/driver/driver_test.h"

#include <cstdio>

namespace driver_test {
namespace {

// One operation on handles of its kind, given by their word.
struct Dump {
    const char *name;
    const char *hdl;        // as the lines call it
    const char *kind;       // as the line on a free object says it
    const char *valid;      // the validator, which speaks for itself
    u32 num;                // objects in the pool
    u32 idBits;             // bits of the index
    const char *title;      // of the dump
    u32 (*call)(u32 *word); // null for a null pointer
    void (*dump)(unsigned idx);
    u32 *(*status)(unsigned idx);
};

template <class Hdl> u32 CallWith(u32 (*op)(Hdl *), const u32 *word) {
    if (word == nullptr) {
        return op(nullptr);
    }
    Hdl hdl{};
    hdl.word = *word;
    const u32 rc = op(&hdl);
    EXPECT_EQ(hdl.word, *word) << "the handle changed";
    return rc;
}

const Dump kDumps[] = {
    {"QIR_Dump_AsTable", "asTblHdl", ", table is free", "Validate_AsTblHdl", 16, 8,
     "-------------------- AsTable -----------------------\n",
     [](u32 *word) { return CallWith(QIR_Dump_AsTable, word); },
     [](unsigned idx) { qir::Dump_AsTable(&qirCtxt_gp->asTblPool[idx]); },
     [](unsigned idx) { return &qirCtxt_gp->asTblPool[idx].status; }},
    {"QIR_Dump_DscpToPbitsTable", "dscpTblHdl", ", table is free", "Validate_DscpTblHdl", 6, 8,
     "--------- DscpTable -------------\n",
     [](u32 *word) { return CallWith(QIR_Dump_DscpToPbitsTable, word); },
     [](unsigned idx) { qir::Dump_DscpToPbitsTable(static_cast<u8>(idx)); },
     [](unsigned idx) { return &qirCtxt_gp->dscpTblPool[idx].status; }},
    {"QIR_Dump_PacTable", "pacTblHdl", ", table is free", "Validate_PacTblHdl", 16, 8,
     "--------- PacTable -------------\n", [](u32 *word) { return CallWith(QIR_Dump_PacTable, word); },
     [](unsigned idx) { qir::Dump_PacTable(static_cast<u8>(idx)); },
     [](unsigned idx) { return &qirCtxt_gp->pacTblPool[idx].status; }},
    {"QIR_Dump_FCB", "flowHdl", " FCB is free", "Validate_FlowHdl", 512, 16,
     "\n\n************* FCB ************* \n", [](u32 *word) { return CallWith(QIR_Dump_FCB, word); },
     [](unsigned idx) { qir::Dump_FCB(&qirCtxt_gp->fcbPool[idx]); },
     [](unsigned idx) { return &qirCtxt_gp->fcbPool[idx].status; }},
};

// A handle with this index; its other bits are the caller's.
u32 HdlWord(const Dump &row, u32 id) {
    return (0x5A12C3E7u << row.idBits) | id;
}

class PublicDumps : public test::LibraryTest {
  protected:
    static constexpr u32 kLevels[] = {0, 1, 2, 3};

    // Checks every operation at every log level; `check` gets the level's parameter lines printed or not.
    static void ForEach(const std::function<void(const Dump &, bool infPrinted)> &check) {
        for (const Dump &row : kDumps) {
            for (const u32 level : kLevels) {
                SCOPED_TRACE(std::string(row.name) + ", log level " + std::to_string(level));
                test::RaiseLog(level);
                const ContextSnapshot before;
                check(row, level >= 2);
                EXPECT_TRUE(before.Unchanged());
                EXPECT_EQ(orxemu_numOpens(), 0u) << "no business of the driver";
            }
        }
    }

    static std::string ParamLines(const Dump &row, u32 id) {
        const std::string hdl = row.hdl;
        return Inf(row.name, "Params: " + hdl + "_p<0x<ptr>>") +
               Inf(row.name, "Params2: " + hdl + "<" + std::to_string(id) + ">");
    }

    static void ExpectRefused(const Dump &row, u32 *word, u32 rc, const std::string &out) {
        const Called called = Call([&] { return row.call(word); });
        EXPECT_EQ(called.rc, rc);
        EXPECT_EQ(called.out, out);
        EXPECT_EQ(called.err, "");
    }
};

TEST_F(PublicDumps, NullPointerIsRefusedBeforeItIsRead) {
    ForEach([](const Dump &row, bool infPrinted) {
        const std::string params = Inf(row.name, "Params: " + std::string(row.hdl) + "_p<0x<nil>>");
        ExpectRefused(row, nullptr, 2,
                      (infPrinted ? params : "") + Refusal(row.name, "e_RET_ERR_NULL_PTR", 2));
    });
}

TEST_F(PublicDumps, HandleOutOfRangeIsRefused) {
    ForEach([](const Dump &row, bool infPrinted) {
        for (const u32 id : {row.num, row.num + 1, (1u << row.idBits) - 1}) {
            SCOPED_TRACE(id);
            u32 word = HdlWord(row, id);
            ExpectRefused(row, &word, 3,
                          (infPrinted ? ParamLines(row, id) : "") +
                              test::Err(row.valid, "Value out of range for " + std::string(row.hdl) + "<" +
                                                       std::to_string(id) + ">") +
                              test::CodeLine(row.valid, "e_RET_ERR_INVALID_HDL") + RetVal(row.name, 3));
        }
    });
}

TEST_F(PublicDumps, FreeObjectIsRefused) {
    ForEach([](const Dump &row, bool infPrinted) {
        for (const u32 id : {0u, 1u, row.num - 1}) {
            SCOPED_TRACE(id);
            u32 word = HdlWord(row, id);
            ExpectRefused(row, &word, 3,
                          (infPrinted ? ParamLines(row, id) : "") +
                              test::Err(row.valid, "Invalid " + std::string(row.hdl) + "<" +
                                                       std::to_string(id) + ">" + row.kind) +
                              test::CodeLine(row.valid, "e_RET_ERR_INVALID_HDL") + RetVal(row.name, 3));
        }
    });
}

// The last object of the pool, in every state in which it is in use: the parameter lines, then its dump.
TEST_F(PublicDumps, ObjectInUseIsPrintedBehindTheParameterLines) {
    for (const u32 status : {e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        SCOPED_TRACE(status);
        for (const Dump &row : kDumps) {
            *row.status(row.num - 1) = status;
        }
        ForEach([](const Dump &row, bool infPrinted) {
            const u32 id = row.num - 1;
            u32 word = HdlWord(row, id);
            const std::string shadow = test::CaptureMasked([&] { row.dump(id); });
            ASSERT_EQ(shadow.rfind(row.title, 0), 0u) << shadow;
            const Called called = Call([&] { return row.call(&word); });
            EXPECT_EQ(called.rc, 0u);
            EXPECT_EQ(called.out, (infPrinted ? ParamLines(row, id) : "") + shadow);
            EXPECT_EQ(called.err, "");
        });
    }
}

// Two objects of a kind are told apart by the handle.
TEST_F(PublicDumps, HandleSaysWhichObject) {
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac{};
    FlowHdl flow{};
    for (unsigned id = 0; id < 3; ++id) {
        ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
        ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
        ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
        ASSERT_EQ(QIR_Alloc_FCB(1, &flow), 0u);
    }
    ForEach([](const Dump &row, bool) {
        for (u32 id = 0; id < 3; ++id) {
            u32 word = HdlWord(row, id);
            const Called called = Call([&] { return row.call(&word); });
            EXPECT_EQ(called.rc, 0u);
            EXPECT_NE(called.out.find("Hdl<" + std::to_string(id) + "> "), std::string::npos) << called.out;
        }
    });
}

// The parameter line shows the caller's pointer, a literal "0x" in front of what "%p" prints.
TEST_F(PublicDumps, ParameterLineShowsThePointer) {
    test::RaiseLog(2);
    AsTblHdl as{};
    DscpTblHdl dscp{};
    PacTblHdl pac{};
    FlowHdl flow{};
    const struct {
        const char *prefix;
        const void *pointer;
        Op call;
    } rows[] = {
        {"[INF orxapi] QIR_Dump_AsTable: Params: asTblHdl_p<0x", &as, [&] { return QIR_Dump_AsTable(&as); }},
        {"[INF orxapi] QIR_Dump_DscpToPbitsTable: Params: dscpTblHdl_p<0x", &dscp,
         [&] { return QIR_Dump_DscpToPbitsTable(&dscp); }},
        {"[INF orxapi] QIR_Dump_PacTable: Params: pacTblHdl_p<0x", &pac,
         [&] { return QIR_Dump_PacTable(&pac); }},
        {"[INF orxapi] QIR_Dump_FCB: Params: flowHdl_p<0x", &flow, [&] { return QIR_Dump_FCB(&flow); }},
    };
    for (const auto &row : rows) {
        char pointer[64];
        std::snprintf(pointer, sizeof pointer, "%p", row.pointer);
        const std::vector<std::string> lines = test::Lines(test::Capture([&] { row.call(); }));
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines[0], row.prefix + std::string(pointer) + ">");
    }
}

} // namespace
} // namespace driver_test
