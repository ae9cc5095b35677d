// A program that uses the device as it is told to: each argument is a step, in order.
//
//   status=N          opens the device, sets the rate-limiter status to N, closes; prints the outcome
//   request=N         the same with request number N and a record of zeros
//   bad-record        the same with a record that cannot be read
//   leave-open        opens the device and leaves it open
//   in-child=STEP     does a step in a child, which ends without a last word
//   die-in-request    stops the tool, starts a process that is killed when it waits for the tool with a
//                     request that the hardware has taken, and lets the tool go on
//   stop-in-request   the same with a process that is stopped there and goes on
//   hold-lock=PATH    starts a process that keeps all others off the hardware until PATH is there
//   close-all         closes all descriptors from 3 on with close(); prints how many there were
//   close-all-behind  the same behind the C library's back
//   cover-all         puts /dev/null under every number from 3 to 1023; prints how many there are
//   processes=N       N processes send N requests each, at the same time
//   threads=N         N threads send N requests each, at the same time
//   tables=N          N processes at the same time; N times, each activates an AS table and deactivates it
//   thread-tables=N   the same with threads
//   outlive=PATH      starts a process that has the standard streams closed, waits for PATH, sends a request
//                     and creates PATH.done
//   flood=PATH        starts a process that sends requests all the time until PATH is there
//   wait=PATH         waits until PATH is there
//   touch=PATH        creates PATH
//   copy-input        copies standard input to standard output
//   error=TEXT        prints TEXT on standard error
//   environment=NAME  prints a variable
//   await-signal=N    prints "ready", waits for signal N and prints that it came
//   note-signal=N     prints the last digit of N each time that signal N comes
//   parent            prints the process that started it
//   handling=N        prints how signal N is handled at the start
//   signal=N          sends itself a signal
//   signal-group=N    sends one to all processes of its group
//   exit=N            ends with that status
//   quick-exit=N      the same without a last word
//
// Those in rough_steps.cpp besides.
#include "tests/orxemu_run/device_user.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace device_user {

int Send(unsigned long request, void *record) {
    const int fd = open(kDevice, O_RDWR);
    if (fd < 0) {
        return errno;
    }
    const int err = ioctl(fd, request, record) == 0 ? 0 : errno;
    close(fd);
    return err;
}

int SendStatus(std::uint32_t status) {
    return Send(kSetRlStatus, &status);
}

void Print(const std::string &text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

void PrintOutcome(const std::string &what, int err) {
    Print(what + ": " + (err == 0 ? "ok" : strerrorname_np(err)));
}

void Touch(const std::string &path) {
    close(open(path.c_str(), O_CREAT | O_WRONLY, 0666));
}

int NumberOfSession(SessionNumber which) {
    const char *text = std::getenv("ORXEMU_SESSION");
    for (int i = 0; i < which && text != nullptr; ++i) {
        text = std::strchr(text, ',');
        text = text != nullptr ? text + 1 : nullptr;
    }
    return text != nullptr ? std::atoi(text) : -1;
}

namespace {

constexpr int kDescriptors = 4096;

int SendZeros(unsigned long request) {
    std::vector<std::uint8_t> record(512);
    return Send(request, record.data());
}

bool SendMany(int count) {
    for (int i = 0; i < count; ++i) {
        if (SendStatus(1) != 0) {
            return false;
        }
    }
    return true;
}

// The device looks for a free table, answers with its index, and takes it: two that do so at once would have
// the same one, and only the first could deactivate it.
bool UseTables(int count) {
    constexpr unsigned long kActivateAsTbl = 21;
    constexpr unsigned long kDeactivateAsTbl = 22;
    std::vector<std::uint8_t> record(472);
    for (int i = 0; i < count; ++i) {
        if (Send(kActivateAsTbl, record.data()) != 0 || Send(kDeactivateAsTbl, record.data()) != 0) {
            return false;
        }
    }
    return true;
}

using Work = bool (*)(int count);

int FailedProcesses(Work work, int count) {
    for (int i = 0; i < count; ++i) {
        if (fork() == 0) {
            std::_Exit(work(count) ? 0 : 1);
        }
    }
    int failures = 0;
    int status = 0;
    while (wait(&status) > 0) {
        failures += status != 0 ? 1 : 0;
    }
    return failures;
}

int FailedThreads(Work work, int count) {
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&] { failures += work(count) ? 0 : 1; });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    return failures;
}

void PrintFailures(int failures) {
    Print("failures " + std::to_string(failures));
}

int CloseAll(bool behind) {
    int closed = 0;
    for (int fd = 3; fd < kDescriptors; ++fd) {
        const long result = behind ? syscall(SYS_close, fd) : close(fd);
        closed += result == 0 ? 1 : 0;
    }
    return closed;
}

// Behind the C library's back, which would keep the session's numbers.
int CoverAll() {
    const int null = open("/dev/null", O_RDWR);
    int covered = 0;
    for (int fd = 3; fd < 1024; ++fd) {
        covered += fd == null || syscall(SYS_dup3, null, fd, 0) == fd ? 1 : 0;
    }
    return covered;
}

// With an end, for when the test has failed and removed its folder.
void WaitFor(const std::string &path) {
    for (int i = 0; i < 60000 && access(path.c_str(), F_OK) != 0; ++i) {
        usleep(1000);
    }
}

void Outlive(const std::string &path) {
    if (fork() != 0) {
        return;
    }
    setsid();
    for (int fd = 0; fd < 3; ++fd) {
        close(fd);
        open("/dev/null", O_RDWR);
    }
    WaitFor(path);
    SendStatus(1); // nobody reads of it any more, and that is no harm
    Touch(path + ".done");
    std::_Exit(0);
}

// The process that has the lock, or 0.
pid_t LockHolder() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(NumberOfSession(kLockFile), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? lock.l_pid : 0;
}

// Behind the name in brackets stands the state, S for one that waits.
bool Sleeps(pid_t pid) {
    const int fd = open(("/proc/" + std::to_string(pid) + "/stat").c_str(), O_RDONLY);
    char text[512] = {};
    const ssize_t size = read(fd, text, sizeof text - 1);
    close(fd);
    const char *bracket = size > 0 ? std::strrchr(text, ')') : nullptr;
    return bracket != nullptr && bracket[1] == ' ' && bracket[2] == 'S';
}

bool HasEnded(pid_t child) {
    siginfo_t ended = {};
    return waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           ended.si_pid == child;
}

// Stops the tool, and starts a process that sends more requests than there is room for. Who has the lock
// waits for nothing but that room.
pid_t StartBlockedSender() {
    constexpr int kMoreThanThereIsRoomFor = 1000;
    kill(getppid(), SIGSTOP);
    const pid_t child = fork();
    if (child == 0) {
        std::_Exit(SendMany(kMoreThanThereIsRoomFor) ? 0 : 1);
    }
    while (!HasEnded(child) && (LockHolder() != child || !Sleeps(child) || LockHolder() != child)) {
        usleep(1000);
    }
    return child;
}

void DieInRequest() {
    const pid_t child = StartBlockedSender();
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    kill(getppid(), SIGCONT);
    Print(WIFSIGNALED(status) ? "died" : "did not die");
}

void StopInRequest() {
    const pid_t child = StartBlockedSender();
    kill(child, SIGSTOP);
    int status = 0;
    waitpid(child, &status, WUNTRACED);
    kill(child, SIGCONT);
    waitpid(child, &status, WCONTINUED);
    kill(getppid(), SIGCONT);
    waitpid(child, &status, 0);
    Print(WIFEXITED(status) ? "went on" : "did not go on");
}

// With requests that take the tool longer to read than to send; it ends with the test's folder, too.
void Flood(const std::string &path) {
    const std::string folder = path.substr(0, path.rfind('/'));
    if (fork() != 0) {
        return;
    }
    while (access(path.c_str(), F_OK) != 0 && access(folder.c_str(), F_OK) == 0) {
        UseTables(50);
    }
    std::_Exit(0);
}

void InChild(const std::string &step);

volatile std::sig_atomic_t cameSignal = 0;

void Note(int signal) {
    cameSignal = signal;
}

void AwaitSignal(int signal) {
    std::signal(signal, Note);
    Print("ready");
    while (cameSignal != signal) {
        usleep(1000);
    }
    Print("signal " + std::to_string(signal));
}

void PrintNoted(int signal) {
    char text[] = "noted ?\n";
    text[6] = static_cast<char>('0' + signal % 10);
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, text, sizeof text - 1);
}

std::string Handling(int signal) {
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    return std::string(action.sa_handler == SIG_DFL   ? "default"
                       : action.sa_handler == SIG_IGN ? "ignored"
                                                      : "handled") +
           (sigismember(&blocked, signal) != 0 ? " blocked" : "");
}

void CopyInput() {
    for (int c = std::getchar(); c != EOF; c = std::getchar()) {
        std::putchar(c);
    }
    std::fflush(stdout);
}

int Number(const std::string &text) {
    return std::stoi(text);
}

constexpr Step kSteps[] = {
    {"status",
     [](const std::string &v) {
         PrintOutcome("status " + v, SendStatus(static_cast<std::uint32_t>(Number(v))));
     }},
    {"request",
     [](const std::string &v) {
         PrintOutcome("request " + v, SendZeros(static_cast<unsigned long>(Number(v))));
     }},
    {"bad-record", [](const std::string &) { PrintOutcome("bad record", Send(kSetRlStatus, nullptr)); }},
    {"leave-open", [](const std::string &) { PrintOutcome("open", open(kDevice, O_RDWR) < 0 ? errno : 0); }},
    {"in-child", InChild},
    {"die-in-request", [](const std::string &) { DieInRequest(); }},
    {"stop-in-request", [](const std::string &) { StopInRequest(); }},
    {"hold-lock", HoldLock},
    {"close-all", [](const std::string &) { Print("closed " + std::to_string(CloseAll(false))); }},
    {"close-all-behind", [](const std::string &) { CloseAll(true); }},
    {"cover-all", [](const std::string &) { Print("covered " + std::to_string(CoverAll())); }},
    {"processes", [](const std::string &v) { PrintFailures(FailedProcesses(SendMany, Number(v))); }},
    {"threads", [](const std::string &v) { PrintFailures(FailedThreads(SendMany, Number(v))); }},
    {"tables", [](const std::string &v) { PrintFailures(FailedProcesses(UseTables, Number(v))); }},
    {"thread-tables", [](const std::string &v) { PrintFailures(FailedThreads(UseTables, Number(v))); }},
    {"outlive", Outlive},
    {"flood", Flood},
    {"wait", WaitFor},
    {"touch", Touch},
    {"copy-input", [](const std::string &) { CopyInput(); }},
    {"error", [](const std::string &v) { std::fprintf(stderr, "%s\n", v.c_str()); }},
    {"environment",
     [](const std::string &v) {
         const char *value = std::getenv(v.c_str());
         Print(v + "=" + (value != nullptr ? value : "(none)"));
     }},
    {"await-signal", [](const std::string &v) { AwaitSignal(Number(v)); }},
    {"note-signal", [](const std::string &v) { std::signal(Number(v), PrintNoted); }},
    {"parent", [](const std::string &) { Print("parent " + std::to_string(getppid())); }},
    {"handling", [](const std::string &v) { Print("signal " + v + " " + Handling(Number(v))); }},
    {"signal", [](const std::string &v) { kill(getpid(), Number(v)); }},
    {"signal-group", [](const std::string &v) { kill(0, Number(v)); }},
    {"exit", [](const std::string &v) { std::exit(Number(v)); }},
    {"quick-exit", [](const std::string &v) { std::_Exit(Number(v)); }},
};

void InChild(const std::string &step) {
    const pid_t child = fork();
    if (child == 0) {
        std::_Exit(Do(step) ? 0 : 1);
    }
    waitpid(child, nullptr, 0);
}

} // namespace

void HoldLock(const std::string &path) {
    const pid_t child = fork();
    if (child != 0) {
        while (LockHolder() != child) {
            usleep(1000);
        }
        return;
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    fcntl(NumberOfSession(kLockFile), F_SETLKW, &lock);
    WaitFor(path);
    std::_Exit(0);
}

bool Do(std::string_view word) {
    const std::size_t equals = std::min(word.find('='), word.size());
    const std::string value(equals < word.size() ? word.substr(equals + 1) : "");
    for (const std::span<const Step> steps : {std::span<const Step>(kSteps), RoughSteps()}) {
        for (const Step &step : steps) {
            if (word.substr(0, equals) == step.name) {
                step.run(value);
                return true;
            }
        }
    }
    return false;
}

} // namespace device_user

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        if (!device_user::Do(argv[i])) {
            std::fprintf(stderr, "no such step: %s\n", argv[i]);
            return 99;
        }
    }
    return 0;
}
