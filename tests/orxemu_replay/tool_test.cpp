// The command as a user runs it: files in, one line out.
#include "emu/journal/state_file.h"
#include "emu/tool/summary.h"
#include "tests/orxemu_replay/replay_test.h"
#include "tests/support/child_process.h"
#include "tests/support/temp_folder.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace replay_test {

namespace {

using orxemu::journal::Bytes;
using test::ChildResult;

class ReplayToolTest : public ReplayTest {
  protected:
    std::string Path(const std::string &name) const { return folder_.File(name); }
    std::string Write(const std::string &name, const std::string &text) const {
        test::WriteFile(Path(name), text);
        return Path(name);
    }
    std::string Contents(const std::string &name) const { return test::FileText(Path(name)); }
    bool Exists(const std::string &name) const { return std::filesystem::exists(Path(name)); }

    // `path` in front of what is expected of a message about a file.
    static std::string About(const std::string &path, const std::string &text) {
        return "orxemu: " + path + ":" + text + "\n";
    }
    static ChildResult Replay(std::vector<std::string> args, const std::string &setting = "") {
        args.insert(args.begin(), "replay");
        return test::RunChild(test::CommandOf(ORXEMU_TOOL, args), setting);
    }

    // What the stand-in would hold behind the session, as a state file has it.
    static std::string SessionState() { return orxemu::journal::StateText(*orxemu_state()); }

  private:
    const test::TempFolder folder_;
};

TEST_F(ReplayToolTest, ReplaysOnTheStandIn) {
    SendSession();
    const ChildResult run = Replay({Write("a.json", RecordedText()), "--state", Path("s.json")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "replayed 27 requests on the stand-in, 0 skipped, 0 refused\n");
    EXPECT_EQ(Contents("s.json"), SessionState());
}

TEST_F(ReplayToolTest, LogOfTheOtherByteOrder) {
    SendSession();
    const ChildResult run =
        Replay({Write("a.json", TextOf(InOtherOrder(Recorded()))), "--state", Path("s.json")});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Contents("s.json"), SessionState());
}

TEST_F(ReplayToolTest, StateIsThereForTheNextReplay) {
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    ActivateFlow();
    const std::string log = Write("a.json", RecordedText());
    ASSERT_EQ(Replay({log, "--state", Path("s.json")}).status, 0);
    ASSERT_EQ(Replay({log, "--state", Path("s.json")}).status, 0);
    ActivateFlow();
    EXPECT_EQ(Contents("s.json"), SessionState());
}

TEST_F(ReplayToolTest, SummaryIsOfTheHardwareAtTheEnd) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const std::string line = "replayed 27 requests on the stand-in, 0 skipped, 0 refused\n";
    const ChildResult run = Replay({log, "--summary"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, line + orxemu::tool::SummaryText(*orxemu_state()));
}

// Its own log can be sent again, and then says the same.
TEST_F(ReplayToolTest, WritesALogOfWhatItSends) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const ChildResult first = Replay({log, "--log", Path("b.json")});
    ASSERT_EQ(first.status, 0) << first.err;
    const Log written = Read(Contents("b.json"));
    ASSERT_EQ(written.entries.size(), kSessionRequests);
    const Log recorded = Read(RecordedText());
    constexpr std::size_t kAddress = 8;
    for (std::size_t i = 0; i < kSessionRequests; ++i) {
        SCOPED_TRACE(i + 1);
        LogEntry expected = recorded.entries[i];
        const LogEntry &entry = written.entries[i];
        if (!expected.fcb.empty()) {
            std::memcpy(expected.in.data() + kAddress, entry.in.data() + kAddress, 4);
            std::memcpy(expected.out.data() + kAddress, entry.in.data() + kAddress, 4);
        }
        EXPECT_EQ(entry.request, expected.request);
        EXPECT_EQ(entry.in, expected.in);
        EXPECT_EQ(entry.out, expected.out);
        EXPECT_EQ(entry.fcb, expected.fcb);
    }
    ASSERT_EQ(Replay({Path("b.json"), "--state", Path("s.json")}).status, 0);
    EXPECT_EQ(Contents("s.json"), SessionState());

    const ChildResult diff = test::RunChild(test::CommandOf(ORXEMU_TOOL, {"diff", log, Path("b.json")}));
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
}

TEST_F(ReplayToolTest, RefusalEndsWithStatusOne) {
    for (unsigned i = 0; i < 6; ++i) {
        ASSERT_EQ(Activate(kActivateDscpTbl, TblRecord(88, kNotSet, 1)), i);
    }
    const std::string log = Write("a.json", RecordedText());
    ASSERT_EQ(Send(kDeactivateDscpTbl, TblRecord(88, 1, 1)), 0);
    ASSERT_EQ(Send(kDeactivateDscpTbl, TblRecord(88, 4, 1)), 0);
    Write("s.json", SessionState());
    const ChildResult run = Replay({log, "--state", Path("s.json"), "--log", Path("b.json")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, About(log, "4: activate-dscp-table (request 3) refused: ENOSPC"));
    EXPECT_EQ(run.out, "replayed 2 requests on the stand-in, 0 skipped, 1 refused, 3 not sent\n");
    EXPECT_EQ(Read(Contents("b.json")).entries.back().err, ENOSPC);

    const ChildResult goOn = Replay({log, "--state", Path("s.json"), "--keep-going"});
    EXPECT_EQ(goOn.status, 1);
    EXPECT_EQ(goOn.out, "replayed 0 requests on the stand-in, 0 skipped, 6 refused\n");
}

TEST_F(ReplayToolTest, TellsWhatItSkips) {
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 3)), EINVAL);
    ASSERT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0);
    const std::string one = Write("a.json", RecordedText());
    ChildResult run = Replay({one});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "orxemu: " + one + ": skipped 1 request that was refused when it was recorded\n");
    EXPECT_EQ(run.out, "replayed 1 request on the stand-in, 1 skipped, 0 refused\n");

    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(3)), ENOENT);
    const std::string two = Write("a.json", RecordedText());
    run = Replay({two});
    EXPECT_EQ(run.err, "orxemu: " + two + ": skipped 2 requests that were refused when they were recorded\n");

    run = Replay({two, "--with-refused"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "replayed 1 request on the stand-in, 0 skipped, 0 refused, 2 refused as recorded\n");
}

// A run that would send something writes a state file.
TEST_F(ReplayToolTest, NothingIsSentFromAFileThatDoesNotCheckOut) {
    SendSession();
    const std::string text = RecordedText();
    const std::vector<std::string> lines = [&] {
        std::vector<std::string> found;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at) + 1;
            found.push_back(text.substr(at, end - at));
            at = end;
        }
        return found;
    }();
    const auto joined = [](const std::vector<std::string> &some) {
        std::string all;
        for (const std::string &line : some) {
            all += line;
        }
        return all;
    };
    const auto with = [&](std::size_t line, const std::string &from, const std::string &to) {
        std::vector<std::string> edited = lines;
        const std::size_t at = edited[line - 1].find(from);
        EXPECT_NE(at, std::string::npos) << edited[line - 1];
        edited[line - 1].replace(at == std::string::npos ? 0 : at, from.size(), to);
        return joined(edited);
    };
    std::vector<std::string> swapped = lines;
    std::swap(swapped[11], swapped[12]);
    std::vector<std::string> dropped = lines;
    dropped.erase(dropped.begin() + 14);
    // Signed, and the fields say the same.
    const std::string otherSize = [] {
        Log log = Recorded();
        for (Bytes *record : {&log.entries[11].in, &log.entries[11].out}) {
            orxemu::journal::Store(*record, 4, 4, log.order, 100);
        }
        return TextOf(log);
    }();
    struct Row {
        const char *name;
        std::string text;
        std::size_t line;
    };
    const Row rows[] = {
        {"empty", "", 1},
        {"no JSON", "hello\n", 1},
        {"last line missing", joined({lines.begin(), lines.end() - 1}), kSessionRequests + 1},
        {"cut in the last request", text.substr(0, text.size() - lines.back().size() - 20),
         kSessionRequests + 1},
        {"field edited", with(2, "\"flowMissAction\":2", "\"flowMissAction\":1"), 2},
        {"number edited", with(28, "\"n\":27", "\"n\":28"), 28},
        {"raw edited", with(17, "\"raw\":\"a5", "\"raw\":\"b"), 17},
        {"bytes that no field shows edited", with(13, "\"raw\":\"a5a5", "\"raw\":\"a5a6"), 13},
        {"FCB of another size", otherSize, 13},
        {"lines swapped", joined(swapped), 12},
        {"line dropped", joined(dropped), 15},
        {"something behind the end", text + lines[1], kSessionRequests + 3},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = Write("a.json", row.text);
        const ChildResult run = Replay({path, "--state", Path("s.json"), "--log", Path("b.json")});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.rfind("orxemu: " + path + ":" + std::to_string(row.line) + ": ", 0), 0u) << run.err;
        EXPECT_FALSE(Exists("s.json"));
        EXPECT_FALSE(Exists("b.json"));
    }
}

TEST_F(ReplayToolTest, FilesOfTheWrongKindAreTrouble) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const std::string state = Write("s.json", SessionState());
    struct Row {
        std::vector<std::string> args;
        std::string err;
    };
    const Row rows[] = {
        {{state}, "orxemu: " + state + ": is a state, and replay takes a log\n"},
        {{log, "--state", log}, "orxemu: " + log + ": is a log, and --state takes a state\n"},
        {{Path("none.json")},
         "orxemu: " + Path("none.json") + ": cannot be opened: No such file or directory\n"},
        {{log, "--log", Path("none/b.json")},
         "orxemu: " + Path("none/b.json") + ": cannot be written: No such file or directory\n"},
    };
    for (const Row &row : rows) {
        const ChildResult run = Replay(row.args);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, row.err);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(Contents("a.json"), RecordedText());
    EXPECT_EQ(Contents("s.json"), SessionState());
}

TEST_F(ReplayToolTest, LogDoesNotOverwriteWhatIsRead) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const std::string state = Write("s.json", SessionState());
    std::filesystem::create_symlink(log, Path("link.json"));
    for (const std::string &path : {log, state, Path("link.json"), Path("new.json")}) {
        const bool isNew = path == Path("new.json");
        const ChildResult run = Replay({log, "--state", isNew ? path : state, "--log", path});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err,
                  "orxemu: " + path + ": is another file of this command, and --log would overwrite it\n");
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(Contents("a.json"), RecordedText());
    EXPECT_EQ(Contents("s.json"), SessionState());
    EXPECT_FALSE(Exists("new.json"));
}

TEST_F(ReplayToolTest, DamagedStateIsLeftAsItIs) {
    const std::string log = Write("a.json", RecordedText());
    const std::string damaged = SessionState() + "x\n";
    const std::string path = Write("s.json", damaged);
    const ChildResult run = Replay({log, "--state", path});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err.rfind("orxemu: " + path + ":", 0), 0u) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Contents("s.json"), damaged);
}

// A run that would send something writes a log.
TEST_F(ReplayToolTest, StateThatCannotBeKeptIsTroubleBeforeAnythingIsSent) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("none/s.json", Path("link"));
    std::filesystem::create_symlink("circle", Path("circle"));
    const std::string rows[][2] = {
        {Path("none/s.json"), "its folder is not there"},
        {Path("link"), "leads to " + Path("none/s.json") + ": its folder is not there"},
        {Path("circle"), "cannot be opened: Too many levels of symbolic links"},
        {Path("pipe"), "is no regular file"},
        {Path(""), "is no regular file"},
        {"/dev/null", "is no regular file"},
    };
    for (const auto &[path, message] : rows) {
        const ChildResult run = Replay({log, "--state", path, "--log", Path("b.json")});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err, "orxemu: " + path + ": " + message + "\n");
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(Exists("b.json")) << path;
    }
}

TEST_F(ReplayToolTest, StateIsWrittenWhereALinkLeads) {
    SendSession();
    std::filesystem::create_symlink("s.json", Path("link"));
    EXPECT_EQ(Replay({Write("a.json", RecordedText()), "--state", Path("link")}).err, "");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
    EXPECT_EQ(Contents("s.json"), SessionState());
}

TEST_F(ReplayToolTest, LogAndStateThatWouldBecomeOneFile) {
    const std::string log = Write("a.json", RecordedText());
    std::filesystem::create_directory_symlink(".", Path("folder"));
    std::filesystem::create_symlink("s.json", Path("link"));
    for (const char *name : {"./s.json", "folder/s.json", "link"}) {
        const ChildResult run = Replay({log, "--state", Path("s.json"), "--log", Path(name)});
        EXPECT_EQ(run.status, 2) << name;
        EXPECT_EQ(run.err, "orxemu: " + Path(name) +
                               ": is another file of this command, and --log would overwrite it\n");
        EXPECT_FALSE(Exists("s.json")) << name;
    }
}

TEST_F(ReplayToolTest, LogOnAFullDiskIsTrouble) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const ChildResult run = Replay({log, "--log", "/dev/full"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "orxemu: /dev/full: cannot be written: No space left on device\n");
}

// Files may not become larger than a few hundred bytes: the old state stays, and what can be said is said.
TEST_F(ReplayToolTest, FilesThatBecomeTooLargeAreTrouble) {
    const std::string before = SessionState();
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    const std::string state = Write("s.json", before);
    const std::string written = Path("b.json");
    std::vector<std::string> command = {"sh", "-c", "ulimit -f 1 && exec \"$@\"", "sh"};
    for (const std::string &word :
         test::CommandOf(ORXEMU_TOOL, {"replay", log, "--state", state, "--log", written})) {
        command.push_back(word);
    }
    const ChildResult run = test::RunChild(command);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "orxemu: " + written + ": cannot be written: File too large\n" + "orxemu: " + state +
                           ": cannot be written: File too large\n");
    EXPECT_EQ(run.out, "replayed 27 requests on the stand-in, 0 skipped, 0 refused\n");
    EXPECT_EQ(Contents("s.json"), before);
}

TEST_F(ReplayToolTest, ReplaysOnADeviceNode) {
    SendSession();
    const std::string log = Write("a.json", RecordedText());
    ASSERT_EQ(Replay({log, "--log", Path("b.json")}).status, 0);
    const ChildResult run = Replay({log, "--device", kDevice, "--log", Path("c.json")}, STAND_IN);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "replayed 27 requests on /dev/pktorx, 0 skipped, 0 refused\n");
    // The places of the FCBs are the only thing that may be different.
    constexpr std::size_t kAddress = 8;
    const Log there = Read(Contents("b.json"));
    Log here = Read(Contents("c.json"));
    ASSERT_EQ(here.entries.size(), there.entries.size());
    for (std::size_t i = 0; i < here.entries.size(); ++i) {
        LogEntry expected = there.entries[i];
        if (!expected.fcb.empty()) {
            std::memcpy(expected.in.data() + kAddress, here.entries[i].in.data() + kAddress, 4);
            std::memcpy(expected.out.data() + kAddress, here.entries[i].out.data() + kAddress, 4);
        }
        EXPECT_EQ(here.entries[i].in, expected.in) << i + 1;
        EXPECT_EQ(here.entries[i].out, expected.out) << i + 1;
        EXPECT_EQ(here.entries[i].fcb, expected.fcb) << i + 1;
    }
}

TEST_F(ReplayToolTest, NodeThatIsMissingOrNoDevice) {
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    const std::string log = Write("a.json", RecordedText());
    ChildResult run = Replay({log, "--device", Path("pktorx"), "--log", Path("b.json")});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, About(log, "2: set-rl-status (request 1) not sent: " + Path("pktorx") +
                                      " cannot be opened: ENOENT"));
    EXPECT_EQ(run.out, "replayed 0 requests on " + Path("pktorx") + ", 0 skipped, 0 refused, 1 not sent\n");
    const Log written = Read(Contents("b.json"));
    ASSERT_EQ(written.entries.size(), 1u);
    EXPECT_TRUE(written.entries[0].isOpen);
    EXPECT_EQ(written.entries[0].err, ENOENT);

    // Which errno a file that is no device has for a request is the kernel's choice.
    const std::string file = Write("file", "");
    const int fd = ::open(file.c_str(), O_RDWR);
    ASSERT_GE(fd, 0);
    std::uint32_t word = 1;
    EXPECT_EQ(::syscall(SYS_ioctl, fd, kSetRlStatus, &word), -1);
    const std::string refusal = orxemu::journal::ErrnoName(errno);
    ::close(fd);
    run = Replay({log, "--device", file});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, About(log, "2: set-rl-status (request 1) refused: " + refusal));
}

TEST_F(ReplayToolTest, ArgumentsThatDoNotGoTogether) {
    const std::string log = Write("a.json", RecordedText());
    for (const std::vector<std::string> &args : {std::vector<std::string>{},
                                                 {log, log},
                                                 {log, "--device", kDevice, "--state", Path("s.json")},
                                                 {log, "--device", kDevice, "--summary"},
                                                 {log, "--keep"},
                                                 {log, "--state"}}) {
        const ChildResult run = Replay(args);
        EXPECT_EQ(run.status, 2);
        const std::string hint = "\norxemu: \"orxemu replay --help\" explains the command line\n";
        EXPECT_TRUE(run.err.ends_with(hint)) << run.err;
        EXPECT_EQ(run.out, "");
    }
    EXPECT_FALSE(Exists("s.json"));
}

} // namespace

} // namespace replay_test
