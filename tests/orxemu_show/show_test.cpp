// `orxemu show` as a user starts it.
#include "tests/orxemu_show/journal_kit.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace journal_kit;
using orxemu::journal::FaultMark;
using test::ChildResult;

class OrxemuShow : public JournalTest {};

// A table, two flows that use it (the second refused for its fault), hits and a failed opening.
Log SampleLog() {
    PacTblHdl pac = PacTable(1);
    EXPECT_EQ(QIR_Activate_PacTable(&pac), e_RET_OK);
    FlowHdl flow = TranslatingFlow(200, 1200);
    EXPECT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &pac), e_RET_OK);
    EXPECT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    EXPECT_EQ(orxemu_addHits(0, 2, 5), 0);
    FcbHits hits = {};
    EXPECT_EQ(QIR_Get_FCBHits(&flow, &hits), e_RET_OK);
    FlowHdl second = TranslatingFlow(201, 1201);
    orxemu_loseAnswer(0, 1, EIO);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_NE(QIR_Activate_FCB(&second), e_RET_OK);
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    Log log = RecordedLog();
    log.entries[3].fault = FaultMark::AnswerLost;
    LogEntry open;
    open.isOpen = true;
    open.err = ENOENT;
    log.entries.push_back(open);
    LogEntry injected = log.entries[4];
    injected.err = EPERM;
    injected.fault = FaultMark::Fail;
    log.entries.push_back(injected);
    LogEntry unknown;
    unknown.request = 99;
    unknown.err = ENOTTY;
    log.entries.push_back(unknown);
    LogEntry unread;
    unread.request = 29;
    unread.err = EFAULT;
    log.entries.push_back(unread);
    Recount(log);
    log.end.openDescriptors = 1;
    return log;
}

const std::vector<std::string> kSampleLines = {
    "1  activate-pac-table  gem 1                                                      → 0",
    "2  activate-flow       in uni0 vlan 200 → set vid 1200 → gpon gem 3 q7 pac 0      → 0",
    "3  get-flow-hits       flow 0                                                     → 0 0 5 0 0 0 0 0 (1 "
    "flow)",
    "4  activate-flow       in uni0 vlan 201 → set vid 1201 → gpon gem 3 q7            → 1, EIO (fault: "
    "answer lost)",
    "5  set-global          flow-miss action 1",
    "6  open                /dev/pktorx                                                ENOENT",
    "7  set-global          flow-miss action 1                                         EPERM (fault)",
    "8  request 99          (unknown)                                                  ENOTTY",
    "9  activate-flow       (the record could not be read)                             EFAULT",
};

// Blanks in a row count as one: where the columns stand is tested by itself.
std::string Squeezed(const std::string &line) {
    std::string squeezed;
    for (const char c : line) {
        if (c != ' ' || squeezed.empty() || squeezed.back() != ' ') {
            squeezed.push_back(c);
        }
    }
    return squeezed;
}

// Column, in code points, where a text begins.
std::size_t ColumnOf(const std::string &line, const std::string &text) {
    const std::size_t at = line.find(text);
    EXPECT_NE(at, std::string::npos) << line;
    std::size_t column = 0;
    for (std::size_t i = 0; i < at && i < line.size(); ++i) {
        column += (static_cast<unsigned char>(line[i]) & 0xC0) != 0x80 ? 1 : 0;
    }
    return column;
}

TEST_F(OrxemuShow, OneAlignedLinePerRequest) {
    const Log log = SampleLog();
    for (const Log &shown : {log, InOtherOrder(log)}) {
        const TemporaryFile file(TextOf(shown));
        const ChildResult result = RunTool({"show", file.Path()});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        const std::vector<std::string> lines = LinesOf(result.out);
        ASSERT_EQ(lines.size(), kSampleLines.size() + 1);
        for (std::size_t i = 0; i < kSampleLines.size(); ++i) {
            EXPECT_EQ(Squeezed(lines[i]), Squeezed(kSampleLines[i]));
        }
        const std::size_t answers = ColumnOf(lines[0], "→ 0");
        EXPECT_EQ(ColumnOf(lines[2], "→ 0 0 5"), answers);
        EXPECT_EQ(ColumnOf(lines[3], "→ 1, EIO"), answers);
        EXPECT_EQ(ColumnOf(lines[5], "ENOENT"), answers);
        EXPECT_EQ(ColumnOf(lines[8], "EFAULT"), answers);
        EXPECT_EQ(ColumnOf(lines[0], "gem 1"), ColumnOf(lines[5], "/dev/pktorx"));
        EXPECT_EQ(lines.back(), "8 requests (4 failed), 1 failed opening, 1 descriptor left open, " +
                                    std::string(NameOf(shown.order)) + "-endian");
    }
}

TEST_F(OrxemuShow, VerboseShowsAllFieldsAndWhatIsUnset) {
    FlowHdl flow = TranslatingFlow(200, 1200);
    ASSERT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    const TemporaryFile file(TextOf(RecordedLog()));
    for (const char *flag : {"-v", "--verbose"}) {
        const ChildResult result = RunTool({"show", flag, file.Path()});
        EXPECT_EQ(result.status, 0);
        for (const char *line :
             {"\n      flowIdx: unset\n", "\n      fcbSize: 1884\n", "\n      pacTblIdx: -1\n",
              "\n      fcb.status: e_STATUS_CFG\n", "\n      fcb.pacTblHdl: unset\n",
              "\n      fcb.filter.vlan0.e_VLAN_FILT_VID.cmpOp: e_CMP_EQ\n",
              "\n      fcb.filter.vlan0.e_VLAN_FILT_VID.val: 200\n",
              "\n      fcb.action.vlan0.e_VLAN_ACTION_SET_VID.val: 1200\n",
              "\n      fcb.forwarding.dst.gemPortIdxMask: 0x8\n", "\n      fcb.fwdInfoSet: 1\n",
              "\n      fcb.forwarding.dst.portQid: 0 0 0 0 0 0 0 0 0\n"}) {
            EXPECT_NE(result.out.find(line), std::string::npos) << "no line" << line << "in\n" << result.out;
        }
    }
}

TEST_F(OrxemuShow, VerboseShowsWhatIsWrittenOfForwardingThatIsNotSet) {
    FlowHdl flow = {};
    ASSERT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    ASSERT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    const TemporaryFile file(TextOf(RecordedLog()));
    const ChildResult result = RunTool({"show", "-v", file.Path()});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("→ nowhere"), std::string::npos) << result.out;
    for (const char *line :
         {"\n      fcb.fwdInfoSet: 0\n", "\n      fcb.forwarding.flowPrio: 0\n",
          "\n      fcb.forwarding.src.gemPortIdxMask: unset\n", "\n      fcb.forwarding.src.portMask: 0x0\n",
          "\n      fcb.forwarding.dst.gemQid: unset\n", "\n      fcb.forwarding.dst.gemPortIdxMask: 0x0\n",
          "\n      fcb.forwarding.dst.portQid: unset unset unset unset unset unset unset unset 0\n",
          "\n      fcb.forwarding.fwdAction: e_FWD_ACTION_LRN_ENABLE\n"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << "no line" << line << "in\n" << result.out;
    }
}

struct Damage {
    const char *what;
    std::function<std::string(std::string)> edit;
    std::size_t line;       // that the message names; 0 for none
    std::size_t shownLines; // of the log in front of it
};

std::string Replaced(std::string text, const std::string &from, const std::string &to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

TEST_F(OrxemuShow, ADamagedLogIsShownUpToTheDamage) {
    ASSERT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    ASSERT_EQ(QIR_Set_PortDefAcl(3, 1), e_RET_OK);
    ASSERT_EQ(QIR_Set_PortPadLen(3, 64), e_RET_OK);
    const std::string good = TextOf(RecordedLog());
    const Damage damages[] = {
        {"cut in line 4", [](const std::string &t) { return t.substr(0, t.find("\"n\":3") + 20); }, 4, 2},
        {"no last line", [](const std::string &t) { return t.substr(0, t.find("{\"end\"")); }, 4, 3},
        {"edited value", [](const std::string &t) { return Replaced(t, "\"aclType\":1", "\"aclType\":0"); },
         3, 1},
        {"edited byte that no field shows",
         [](const std::string &t) {
             return Replaced(t, "\"fields\":{\"cfgType\":\"def", "\"fields\": {\"cfgType\":\"def");
         },
         3, 1},
        {"number left out", [](const std::string &t) { return Replaced(t, "\"n\":2", "\"n\":3"); }, 3, 1},
        {"text behind the end", [](const std::string &t) { return t + "{}\n"; }, 6, 4},
        {"no log at all", [](const std::string &) { return "GIF89a\x1b[31m\n"; }, 1, 0},
        {"empty", [](const std::string &) { return ""; }, 0, 0},
    };
    for (const Damage &damage : damages) {
        const TemporaryFile file(damage.edit(good));
        const ChildResult result = RunTool({"show", file.Path()});
        EXPECT_EQ(result.status, 2) << damage.what;
        std::string where = "orxemu: " + file.Path() + ":";
        if (damage.line != 0) {
            where += std::to_string(damage.line) + ": ";
        }
        EXPECT_EQ(result.err.substr(0, where.size()), where) << damage.what << ": " << result.err;
        EXPECT_EQ(result.err.find('\x1b'), std::string::npos) << damage.what;
        EXPECT_EQ(LinesOf(result.err).size(), 1u) << damage.what << ": " << result.err;
        EXPECT_EQ(LinesOf(result.out).size(), damage.shownLines) << damage.what << ": " << result.out;
    }
}

TEST_F(OrxemuShow, FilesThatCannotBeRead) {
    const ChildResult missing = RunTool({"show", "/nonexistent/orxemu.log"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.err.rfind("orxemu: /nonexistent/orxemu.log: ", 0), 0u) << missing.err;
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(RunTool({"show"}).status, 2);
    const ChildResult wrong = RunTool({"show", "--no-such-flag", "x"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_TRUE(wrong.err.ends_with("\norxemu: \"orxemu show --help\" explains the command line\n"))
        << wrong.err;
    const ChildResult unknown = RunTool({"exhibit", "x"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_TRUE(unknown.err.ends_with("\norxemu: \"orxemu --help\" explains the command line\n"))
        << unknown.err;
    const ChildResult help = RunTool({"show", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Example: orxemu show"), std::string::npos) << help.out;
}

TEST_F(OrxemuShow, AStateAsItsObjects) {
    ASSERT_EQ(QIR_Set_FlowMissAction(2), e_RET_OK);
    ASSERT_EQ(QIR_Set_PortDefAcl(8, 1), e_RET_OK);
    ASSERT_EQ(QIR_Set_PortPadLen(7, 64), e_RET_OK);
    const TpidCfg tpid = {0, {0x8100, 0, 0, 0x9100}};
    ASSERT_EQ(QIR_Set_Tpid(&tpid), e_RET_OK);
    ASSERT_EQ(QIR_Set_RLStatus(1), e_RET_OK);
    ASSERT_EQ(QIR_Set_RLTciCfg(1, {{0, 5}}), e_RET_OK);
    ASSERT_EQ(QIR_Set_RL(1, 9, {0x10, 500, 1, 64}), e_RET_OK);
    ASSERT_EQ(QIR_Activate_RL(1, 9), e_RET_OK);
    PacTblHdl pac = PacTable(1);
    ASSERT_EQ(QIR_Activate_PacTable(&pac), e_RET_OK);
    FlowHdl flow = TranslatingFlow(200, 1200);
    ASSERT_EQ(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &pac), e_RET_OK);
    ASSERT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    FlowHdl plain = TranslatingFlow(201, 1201);
    ASSERT_EQ(QIR_Activate_FCB(&plain), e_RET_OK);
    ASSERT_EQ(orxemu_addHits(1, 0, 3), 0);
    const TemporaryFile file(StateText());
    const ChildResult result = RunTool({"show", file.Path()});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(
        result.out,
        "global            flow-miss action 2\n"
        "global            rate limiting enabled\n"
        "uni0              tpid 0x8100 0x0000 0x0000 0x9100\n"
        "gpon              pad length 64\n"
        "host              default acl 1\n"
        "direction 1       tci 0x0000 0x0005\n"
        "PAC table 0       gem 1\n"
        "flow 0            in uni0 vlan 200 → set vid 1200 → gpon gem 3 q7 pac 0  on PAC table 0\n"
        "flow 1            in uni0 vlan 201 → set vid 1201 → gpon gem 3 q7        hits 3 0 0 0 0 0 0 0\n"
        "rate limiter 1/9  rate 500 unit 1 burst 64 tci 0x0010\n"
        "1 table, 2 flows, 1 rate limiter\n");
    const ChildResult verbose = RunTool({"show", "-v", file.Path()});
    EXPECT_NE(verbose.out.find("\n      forwarding.dst.gemPortIdxMask: 0x8\n"), std::string::npos)
        << verbose.out;
}

TEST_F(OrxemuShow, AnEmptyStateAndADamagedOne) {
    const TemporaryFile empty(StateText());
    EXPECT_EQ(RunTool({"show", empty.Path()}).out, "0 tables, 0 flows, 0 rate limiters\n");
    const TemporaryFile damaged(Replaced(StateText(), "\"flowMissAction\":0", "\"flowMissAction\":\"x\""));
    const ChildResult result = RunTool({"show", damaged.Path()});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("orxemu: " + damaged.Path() + ":2: ", 0), 0u) << result.err;
}

// What the tool writes to a terminal.
std::string OnTerminal(const std::vector<std::string> &args) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_GE(master, 0);
    EXPECT_EQ(grantpt(master), 0);
    EXPECT_EQ(unlockpt(master), 0);
    const int slave = open(ptsname(master), O_RDWR | O_NOCTTY);
    EXPECT_GE(slave, 0);
    std::vector<std::string> command = test::CommandOf(ORXEMU_TOOL, args);
    const std::vector<char *> argv = test::Pointers(command);
    const pid_t child = fork();
    if (child == 0) {
        dup2(slave, STDOUT_FILENO);
        execvp(argv.front(), argv.data());
        _exit(127);
    }
    close(slave);
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t n = read(master, buffer.data(), buffer.size()); n > 0;
         n = read(master, buffer.data(), buffer.size())) {
        text.append(buffer.data(), static_cast<std::size_t>(n));
    }
    close(master);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return text;
}

TEST_F(OrxemuShow, ColoursOnATerminalOnly) {
    ASSERT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    const TemporaryFile file(TextOf(RecordedLog()));
    const auto isColoured = [](const std::string &text) { return text.find("\x1b[") != std::string::npos; };
    unsetenv("NO_COLOR");
    EXPECT_TRUE(isColoured(OnTerminal({"show", file.Path()})));
    EXPECT_FALSE(isColoured(OnTerminal({"show", "--no-colour", file.Path()})));
    EXPECT_FALSE(isColoured(OnTerminal({"show", "--no-color", file.Path()})));
    EXPECT_FALSE(isColoured(RunTool({"show", file.Path()}).out));
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(isColoured(OnTerminal({"show", file.Path()})));
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(isColoured(OnTerminal({"show", file.Path()})));
    unsetenv("NO_COLOR");
}

// Runs the tool with standard output on a descriptor. Its exit status, or -1 when a signal ended it; what it
// says on standard error goes to `err`.
int RunWithOutput(const std::vector<std::string> &args, int out, std::string &err) {
    std::array<int, 2> errPipe{};
    EXPECT_EQ(pipe(errPipe.data()), 0);
    std::vector<std::string> command = test::CommandOf(ORXEMU_TOOL, args);
    const std::vector<char *> argv = test::Pointers(command);
    const pid_t child = fork();
    if (child == 0) {
        dup2(out, STDOUT_FILENO);
        dup2(errPipe[1], STDERR_FILENO);
        execvp(argv.front(), argv.data());
        _exit(127);
    }
    close(errPipe[1]);
    std::array<char, 4096> buffer{};
    for (ssize_t n = read(errPipe[0], buffer.data(), buffer.size()); n > 0;
         n = read(errPipe[0], buffer.data(), buffer.size())) {
        err.append(buffer.data(), static_cast<std::size_t>(n));
    }
    close(errPipe[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(OrxemuShow, AClosedPipeEndsItQuietly) {
    ASSERT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    const TemporaryFile file(TextOf(RecordedLog()));
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    close(ends[0]);
    std::string err;
    EXPECT_EQ(RunWithOutput({"show", file.Path()}, ends[1], err), 0);
    EXPECT_EQ(err, "");
    close(ends[1]);
}

TEST_F(OrxemuShow, AFullDiskIsTrouble) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full < 0) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    const TemporaryFile file(TextOf(RecordedLog()));
    std::string err;
    EXPECT_EQ(RunWithOutput({"show", file.Path()}, full, err), 2);
    EXPECT_EQ(err, "orxemu: standard output: No space left on device\n");
    close(full);
}

} // namespace
