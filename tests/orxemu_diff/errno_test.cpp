// Logs from machines whose errors have other names and numbers.
#include "tests/journal/sealed_line.h"
#include "tests/orxemu_show/journal_kit.h"

#include <cerrno>

namespace {

using namespace journal_kit;

class OrxemuDiffErrno : public JournalTest {
  protected:
    // A log of one request, which failed with this errno on the machine that wrote it.
    static std::string LogText(const std::string &errnoText) {
        EXPECT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
        Log log = RecordedLog();
        log.entries.erase(log.entries.begin(), log.entries.end() - 1);
        log.entries[0].err = EIO;
        Recount(log);
        std::string text;
        for (std::string line : LinesOf(TextOf(log))) {
            if (line.find("EIO") != std::string::npos) {
                journal_test::ReplaceOnce(line, "EIO", errnoText);
                line = journal_test::Sealed(line);
            }
            text += line + "\n";
        }
        return text;
    }
};

TEST_F(OrxemuDiffErrno, NameThatThisMachineMayLack) {
    const TemporaryFile there(LogText("EDEADLOCK"));
    const TemporaryFile here(LogText(orxemu::journal::ErrnoName(EDEADLOCK)));
    const test::ChildResult diff = RunTool({"diff", there.Path(), here.Path()});
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
    EXPECT_NE(RunTool({"show", there.Path()}).out.find(orxemu::journal::ErrnoName(EDEADLOCK)),
              std::string::npos);
    const test::ChildResult replay = RunTool({"replay", there.Path(), "--with-refused"});
    EXPECT_EQ(replay.out, "replayed 1 request on the stand-in, 0 skipped, 0 refused\n");
    EXPECT_EQ(replay.err, "");
}

TEST_F(OrxemuDiffErrno, NumberThatHasANameHere) {
    const std::string number = std::to_string(EIO);
    const TemporaryFile there(LogText(number));
    const TemporaryFile here(LogText("EIO"));
    const test::ChildResult diff = RunTool({"diff", there.Path(), here.Path()});
    EXPECT_EQ(diff.status, 1);
    EXPECT_NE(diff.out.find("answer.errno: " + number + " → EIO\n"), std::string::npos) << diff.out;
    const std::string shown = RunTool({"show", there.Path()}).out;
    EXPECT_EQ(shown.find("EIO"), std::string::npos) << shown;
    EXPECT_NE(shown.find("  " + number + "\n"), std::string::npos) << shown;
}

} // namespace
