// Programs that the stand-in cannot be loaded into: refused before they run, where their files say it.
#include "emu/tool/run_elf.h"
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
                                  "programs that can, --launcher runs it";

// Where a program names its loader.
struct Interpreter {
    std::size_t header = 0; // of the segment
    std::string name;
};

// In a program of this build.
Interpreter InterpreterIn(const std::string &program) {
    ElfW(Ehdr) head;
    std::memcpy(&head, program.data(), sizeof head);
    for (std::size_t i = 0; i < head.e_phnum; ++i) {
        ElfW(Phdr) segment;
        const std::size_t header = head.e_phoff + i * head.e_phentsize;
        std::memcpy(&segment, program.data() + header, sizeof segment);
        if (segment.p_type == PT_INTERP) {
            return {header, program.substr(segment.p_offset, segment.p_filesz - 1)};
        }
    }
    ADD_FAILURE() << "the program names no loader";
    return {};
}

class LoadingTest : public RunTest {
  protected:
    void WriteProgram(const std::string &name, const std::string &text) const {
        WriteFile(Path(name), text);
        fs::permissions(Path(name), fs::perms::owner_all | fs::perms::others_all);
    }
    // A copy of the program that names no loader.
    void WriteStatic(const std::string &name) const {
        std::string program = FileText(DEVICE_USER);
        const std::size_t type = InterpreterIn(program).header;
        const std::uint32_t none = PT_NULL;
        std::memcpy(program.data() + type, &none, sizeof none);
        WriteProgram(name, program);
    }
    static void ExpectRefused(const std::string &program, const std::string &message) {
        const Outcome outcome = Finished(RunWords({}, {program, "error=ran"}));
        EXPECT_EQ(outcome.status, 126) << program;
        EXPECT_EQ(outcome.err, "orxemu: " + message + "\n");
    }
};

TEST_F(LoadingTest, StaticProgram) {
    WriteStatic("static");
    ExpectRefused(Path("static"), Path("static") + kIsStatic);
}

TEST_F(LoadingTest, ScriptIsLookedAtByWhatRunsIt) {
    if (Emulated()) {
        GTEST_SKIP() << "an emulator runs no scripts";
    }
    WriteStatic("static");
    WriteProgram("script", "#! \t" + Path("static") + " one argument\necho no\n");
    WriteProgram("script of a script", "#!" + Path("script") + "\n");
    for (const char *script : {"script", "script of a script"}) {
        ExpectRefused(Path(script), Path("static") + ", which runs " + Path(script) + "," + kIsStatic);
    }
    std::string other = FileText(DEVICE_USER).substr(0, 4096);
    other[EI_DATA] = other[EI_DATA] == ELFDATA2LSB ? ELFDATA2MSB : ELFDATA2LSB;
    WriteProgram("other", other);
    WriteProgram("script", "#!" + Path("other"));
    const Outcome outcome = Finished(RunWords({}, {Path("script")}));
    EXPECT_EQ(outcome.status, 126);
    EXPECT_EQ(outcome.err.rfind("orxemu: " + Path("other") + ", which runs " + Path("script") +
                                    ", is for another processor (",
                                0),
              0u)
        << outcome.err;

    WriteProgram("script", std::string("#!") + DEVICE_USER + " status=1\n");
    EXPECT_EQ(Finished(RunWords({}, {Path("script"), "exit=3"})).out, "status 1: ok\n");
}

// A script that runs itself, which the system refuses.
TEST_F(LoadingTest, CircleOfScriptsEnds) {
    WriteProgram("script", "#!" + Path("script") + "\n");
    EXPECT_EQ(Finished(RunWords({}, {Path("script")})).status, 126);
}

// It names no loader either, and loads what it is told to.
TEST_F(LoadingTest, LoaderItself) {
    if (Emulated()) {
        GTEST_SKIP() << "the emulator looks for it under another path";
    }
    const std::string loader = InterpreterIn(FileText(DEVICE_USER)).name;
    const Outcome outcome = Finished(RunWords({}, {loader, DEVICE_USER, "status=1"}));
    EXPECT_EQ(outcome.out, "status 1: ok\n");
    EXPECT_EQ(outcome.err, "");
}

bool RightsAreHeeded(const std::string &folder) {
    struct statvfs mounted = {};
    return statvfs(folder.c_str(), &mounted) == 0 && (mounted.f_flag & ST_NOSUID) == 0 &&
           prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 0;
}

TEST_F(LoadingTest, ProgramWithMoreRights) {
    if (Emulated() || geteuid() != 0 || !RightsAreHeeded(Path(""))) {
        GTEST_SKIP() << "needs root, and a system that heeds set-user-ID";
    }
    constexpr uid_t kNobody = 65534;
    const uid_t own = getuid();
    const gid_t ownGroup = getgid();
    const fs::perms user = fs::perms::set_uid;
    const fs::perms group = fs::perms::set_gid;
    const fs::perms all = fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec;
    struct Row {
        const char *name;
        uid_t owner;
        gid_t ownerGroup;
        fs::perms permissions;
        bool refused;
    };
    const Row rows[] = {
        {"set-user-ID, another's", kNobody, ownGroup, all | user, true},
        {"set-user-ID, one's own", own, kNobody, all | user, false},
        {"set-group-ID, another's", own, kNobody, all | group, true},
        {"set-group-ID, one's own", kNobody, ownGroup, all | group, false},
        {"both", kNobody, kNobody, all | user | group, true},
        {"another's", kNobody, kNobody, all, false},
        {"a lock mark and no program of the group", own, kNobody, (all & ~fs::perms::group_exec) | group,
         false},
    };
    for (const Row &row : rows) {
        WriteProgram("program", FileText(DEVICE_USER));
        ASSERT_EQ(chown(Path("program").c_str(), row.owner, row.ownerGroup), 0) << row.name;
        fs::permissions(Path("program"), row.permissions);
        if (row.refused) {
            ExpectRefused(Path("program"),
                          Path("program") + " has more rights than its user and cannot load the stand-in");
        } else {
            EXPECT_EQ(Finished(RunWords({}, {Path("program"), "status=1"})).out, "status 1: ok\n")
                << row.name;
        }
    }
    // Of a script only the program that runs it counts.
    WriteProgram("program", std::string("#!") + DEVICE_USER + " status=1\n");
    ASSERT_EQ(chown(Path("program").c_str(), kNobody, kNobody), 0);
    fs::permissions(Path("program"), all | fs::perms::others_read | user | group);
    EXPECT_EQ(Finished(RunWords({}, {Path("program"), "exit=0"})).out, "status 1: ok\n");
}

} // namespace

} // namespace run_test
