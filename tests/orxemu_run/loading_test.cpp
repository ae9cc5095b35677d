// Programs that the stand-in cannot be loaded into: refused before they run, where their files say it, and told of
// at the end where they do not.
#include "tests/orxemu_run/run_kit.h"

#include <elf.h>
#include <filesystem>
#include <link.h>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace run_test {

namespace {

namespace fs = std::filesystem;

constexpr const char *kIsStatic = " is linked statically and cannot load the stand-in; when it only starts "
                                  "programs that can, --launcher runs it\n";
class LoadingTest : public RunTest {
  protected:
    // A copy of the program that names no loader.
    void WriteStatic(const std::string &name) const {
        std::string program = FileText(DEVICE_USER);
        ElfW(Ehdr) head;
        std::memcpy(&head, program.data(), sizeof head);
        for (std::size_t i = 0; i < head.e_phnum; ++i) {
            char *segment = program.data() + head.e_phoff + i * head.e_phentsize;
            std::uint32_t type;
            std::memcpy(&type, segment, sizeof type);
            type = type == PT_INTERP ? PT_NULL : type;
            std::memcpy(segment, &type, sizeof type);
        }
        WriteProgram(name, program);
    }
};

TEST_F(LoadingTest, StaticProgramIsRefused) {
    WriteStatic("static");
    WriteProgram("head", FileText(DEVICE_USER).substr(0, sizeof(ElfW(Ehdr))));
    for (const std::string &program : {Path("static"), Path("head"), std::string(STATIC_LAUNCHER)}) {
        ExpectRefused(RunWords({}, {program, "error=ran"}), 126, program + kIsStatic);
    }
}

// A head with the other word size, and one with the other byte order.
TEST_F(LoadingTest, ProgramOfAnotherProcessorIsRefused) {
    for (const int byte : {EI_CLASS, EI_DATA}) {
        std::string head = FileText(DEVICE_USER).substr(0, 4096);
        char &kind = head[static_cast<std::size_t>(byte)];
        kind = kind == 1 ? 2 : 1;
        WriteProgram("other", head);
        ExpectRefused(RunWords({"--launcher"}, {Path("other")}), 126,
                      Path("other is for another processor ("));
        if (byte == EI_DATA) {
            ExpectRefused(RunWords({"--library", Path("other")}, Steps({"error=ran"})), 125,
                          Path("other is "));
        }
    }
}

bool RightsAreHeeded(const std::string &folder) {
    struct statvfs mounted = {};
    return statvfs(folder.c_str(), &mounted) == 0 && (mounted.f_flag & ST_NOSUID) == 0 &&
           prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0;
}

TEST_F(LoadingTest, ProgramWithMoreRightsIsRefused) {
    if (Emulated() || geteuid() != 0 || !RightsAreHeeded(Path(""))) {
        GTEST_SKIP() << "needs root, and a system that heeds set-user-ID";
    }
    constexpr uid_t kNobody = 65534;
    const fs::perms user = fs::perms::set_uid;
    const fs::perms group = fs::perms::set_gid;
    const fs::perms all = fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec;
    const struct {
        const char *name;
        uid_t owner;
        gid_t ownerGroup;
        fs::perms permissions;
        bool refused;
    } rows[] = {
        {"set-user-ID, another's", kNobody, getgid(), all | user, true},
        {"set-user-ID, one's own", getuid(), kNobody, all | user, false},
        {"set-group-ID, another's", getuid(), kNobody, all | group, true},
        {"set-group-ID, one's own", kNobody, getgid(), all | group, false},
        {"another's", kNobody, kNobody, all, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        WriteProgram("program", FileText(DEVICE_USER));
        ASSERT_EQ(chown(Path("program").c_str(), row.owner, row.ownerGroup), 0);
        fs::permissions(Path("program"), row.permissions);
        if (row.refused) {
            ExpectRefused(RunWords({}, {Path("program"), "error=ran"}), 126,
                          Path("program has more rights than its user and cannot load the stand-in\n"));
        } else {
            EXPECT_EQ(Finished(RunWords({}, {Path("program"), "status=1"})).out, "status 1: ok\n");
        }
    }
}

TEST_F(LoadingTest, LauncherMayBeStatic) {
    const Words options = {"--launcher", "--log", Path("a.json")};
    const Outcome nothing = Finished(RunWords(options, {STATIC_LAUNCHER}));
    EXPECT_EQ(nothing.err,
              "orxemu: " STATIC_LAUNCHER " did not load the stand-in: it is linked statically or "
              "has more rights than its user\n");
    EXPECT_EQ(nothing.status, 125);
    EXPECT_EQ(RunSteps(options, {"status=0", "exit=4"}).status, 4) << "others run as ever";
    if (!Emulated()) { // there a program executes no other
        const Words program = {STATIC_LAUNCHER, DEVICE_USER, "status=1", "exit=3"};
        const Outcome outcome = Finished(RunWords(options, program));
        EXPECT_EQ(outcome.out, "status 1: ok\n");
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.status, 3);
        EXPECT_EQ(ReadLog().end.requests, 1u);
        EXPECT_EQ(Finished(RunWords(options, {STATIC_LAUNCHER, Path("nothing")})).status, 99)
            << "the program's own failure comes first";
    }
}

// Signs that the loader, or an emulator, would take for the end of a path.
TEST_F(LoadingTest, LibraryMayLieAnywhere) {
    for (const char *name : {"with blank", "with:colon", "with,comma", "with$ORIGIN", "plain"}) {
        fs::create_directory(Path(name));
        const std::string library = Path(name) + "/lib of mine.so";
        fs::create_symlink(STAND_IN, library);
        const Outcome outcome = RunSteps({"--library", library}, {"status=1"});
        EXPECT_EQ(outcome.out, "status 1: ok\n") << name;
        EXPECT_EQ(outcome.err, "") << name;
    }
}

// As `cmake --install` places the two on systems of one kind and another.
TEST_F(LoadingTest, LibraryIsFoundWhereItIsInstalled) {
    fs::create_directory(Path("bin"));
    fs::copy_file(ORXEMU_TOOL, Path("bin/orxemu"));
    Words words = RunWords({}, Steps({"status=1"}));
    *std::find(words.begin(), words.end(), ORXEMU_TOOL) = Path("bin/orxemu");
    const Outcome missing = Finished(words);
    EXPECT_EQ(missing.status, 125);
    EXPECT_EQ(missing.err, "orxemu: liborxemu.so is neither in " + Path("bin") +
                               " nor in the library folder beside it; --library FILE says where it is\n");
    for (const char *folder : {"lib/some-linux-gnu", "lib64", "lib", "bin"}) {
        fs::create_directories(Path(folder));
        fs::create_symlink(STAND_IN, Path(folder) + "/liborxemu.so");
        EXPECT_EQ(Finished(words).out, "status 1: ok\n") << folder;
        fs::remove(Path(folder) + "/liborxemu.so");
    }
}

// The library's own path, and what has to stand in front of it, as LD_PRELOAD takes them.
TEST_F(LoadingTest, PreloadOfTheUserStaysBehind) {
    if (Emulated()) {
        GTEST_SKIP() << "the variable would be for the emulator too";
    }
    const std::string other = Path("libother.so");
    fs::create_symlink(STAND_IN, other);
    const std::string users = std::string(STAND_IN_PRELOAD) + ":" + other;
    const Outcome outcome =
        RunSteps({}, {"environment=LD_PRELOAD", "status=1"}, {.environment = {"LD_PRELOAD=" + users}});
    EXPECT_EQ(outcome.out, std::string("LD_PRELOAD=") + STAND_IN_PRELOAD + ":" + users + "\nstatus 1: ok\n");
}

// Something that takes the words and the variable as an emulator does.
TEST_F(LoadingTest, EmulatorGetsItsWordsAndTheVariable) {
    if (Emulated()) {
        GTEST_SKIP() << "the real one runs every other test";
    }
    WriteProgram("my emulator", "#!/bin/sh\n"
                                "printf '<%s>' \"$1\" \"$2\"; shift 2\n"
                                "echo \" $LD_PRELOAD\"\n"
                                "echo \"$QEMU_SET_ENV\"\n"
                                "export \"${QEMU_SET_ENV#A=1,}\"\n"
                                "exec \"$@\"\n");
    const std::string emulator = std::string("'") + Path("my emulator") + "'  -L '' ";
    const Outcome outcome = Finished(Tool({"run", "--emulator", emulator, "--", DEVICE_USER, "status=1"}),
                                     {.environment = {"QEMU_SET_ENV=A=1"}});
    EXPECT_EQ(outcome.out, std::string("<-L><> \nA=1,LD_PRELOAD=") + STAND_IN_PRELOAD + "\nstatus 1: ok\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.status, 0);
}

} // namespace

} // namespace run_test
