#include "tests/orxemu_run/run_kit.h"

#include "tests/orxemu_run/refuse_calls.h"
#include "tests/support/child_process.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace run_test {

namespace {

int MemoryFile(const std::string &text = "") {
    const int fd = memfd_create("orxemu-test", MFD_CLOEXEC);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        std::abort();
    }
    lseek(fd, 0, SEEK_SET);
    return fd;
}

std::string TextOf(int fd) {
    struct stat st = {};
    fstat(fd, &st);
    std::string text(static_cast<std::size_t>(st.st_size), '\0');
    const ssize_t size = pread(fd, text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
}

void SetUpChild(const Conditions &conditions, int in, int out, int err) {
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    if (conditions.terminal >= 0) {
        setsid();
        ioctl(conditions.terminal, TIOCSCTTY, 0);
    }
    closefrom(STDERR_FILENO + 1); // whoever runs the tests may have left some open
    if (conditions.fileLimit != 0) {
        const rlimit limit = {conditions.fileLimit, conditions.fileLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (conditions.ignoredSignal != 0) {
        signal(conditions.ignoredSignal, SIG_IGN);
    }
    if (conditions.blockedSignal != 0) {
        sigset_t blocked;
        sigemptyset(&blocked);
        sigaddset(&blocked, conditions.blockedSignal);
        sigprocmask(SIG_BLOCK, &blocked, nullptr);
    }
    if (!conditions.deadlyCalls.empty() &&
        !test::RefuseCalls(conditions.deadlyCalls, SECCOMP_RET_KILL_PROCESS)) {
        std::abort();
    }
    for (const std::string &variable : conditions.environment) {
        putenv(strdup(variable.c_str()));
    }
}

} // namespace

bool Emulated() {
    return !std::string(EMULATOR).empty();
}

Child::Child(const Words &words, const Conditions &conditions)
    : in_(MemoryFile(conditions.input)), out_(MemoryFile()), err_(MemoryFile()) {
    Words command = words;
    const std::vector<char *> pointers = test::Pointers(command);
    pid_ = fork();
    if (pid_ == 0) {
        SetUpChild(conditions, in_, out_, err_);
        execvp(pointers[0], pointers.data());
        std::perror(pointers[0]);
        _exit(99);
    }
}

Child::~Child() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    for (const int fd : {in_, out_, err_}) {
        close(fd);
    }
}

std::string Child::OutputSoFar() const {
    return TextOf(out_);
}

bool Child::Prints(const std::string &text) const {
    for (int i = 0; i < 60000 && OutputSoFar().find(text) == std::string::npos; ++i) {
        usleep(1000);
    }
    return OutputSoFar().find(text) != std::string::npos;
}

Outcome Child::Finish() {
    Outcome outcome;
    int status = 0;
    if (waitpid(pid_, &status, 0) == pid_) {
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : kKilled + WTERMSIG(status);
    }
    pid_ = -1;
    outcome.out = TextOf(out_);
    outcome.err = TextOf(err_);
    return outcome;
}

Words Tool(const Words &words) {
    return test::CommandOf(ORXEMU_TOOL, words);
}

Words RunWords(const Words &options, const Words &program) {
    Words words = {"run"};
    words.insert(words.end(), options.begin(), options.end());
    if (Emulated()) {
        words.insert(words.end(), {"--emulator", EMULATOR});
    }
    words.emplace_back("--");
    words.insert(words.end(), program.begin(), program.end());
    return Tool(words);
}

Outcome Finished(const Words &words, const Conditions &conditions) {
    return Child(words, conditions).Finish();
}

Words Steps(const Words &steps) {
    Words program = {DEVICE_USER};
    program.insert(program.end(), steps.begin(), steps.end());
    return program;
}

Outcome RunSteps(const Words &options, const Words &steps, const Conditions &conditions) {
    return Finished(RunWords(options, Steps(steps)), conditions);
}

Outcome RunOrxtest(const Words &options, int test, const Conditions &conditions) {
    return Finished(RunWords(options, {ORXTEST, "-t", std::to_string(test)}), conditions);
}

Outcome RunAlone(const Words &steps, Conditions conditions) {
    const std::string preload = std::string("LD_PRELOAD=") + STAND_IN_PRELOAD;
    conditions.environment.push_back(Emulated() ? "QEMU_SET_ENV=" + preload : preload);
    return Finished(test::CommandOf(DEVICE_USER, steps), conditions);
}

void RunTest::WriteProgram(const std::string &name, const std::string &text) const {
    WriteFile(Path(name), text);
    std::filesystem::permissions(Path(name), std::filesystem::perms::owner_all);
}

void RunTest::ExpectRefused(const Words &words, int status, const std::string &message) {
    const Outcome outcome = Finished(words);
    EXPECT_EQ(outcome.status, status) << message;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.substr(0, message.size() + 8), "orxemu: " + message) << outcome.err;
    EXPECT_EQ(outcome.err.find("ran\n"), std::string::npos) << outcome.err;
}

orxemu::journal::Log RunTest::ReadLog(const std::string &name) const {
    orxemu::journal::Log log;
    orxemu::journal::Problem problem;
    EXPECT_TRUE(orxemu::journal::ReadLog(FileText(Path(name)), name, log, problem)) << problem.Text();
    return log;
}

std::unique_ptr<OrxEmuState> RunTest::ReadState(const std::string &name) const {
    auto state = std::make_unique<OrxEmuState>();
    orxemu::journal::Problem problem;
    auto order = orxemu::journal::kHostOrder;
    EXPECT_TRUE(orxemu::journal::ReadState(FileText(Path(name)), name, *state, order, problem))
        << problem.Text();
    return state;
}

bool Appears(const std::string &path) {
    for (int i = 0; i < 60000 && !std::filesystem::exists(path); ++i) {
        usleep(1000);
    }
    return std::filesystem::exists(path);
}

} // namespace run_test
