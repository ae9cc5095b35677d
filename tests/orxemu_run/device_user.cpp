// A program that uses the device as it is told to: each argument is a step "NAME" or "NAME=VALUE", in order.
#include "tests/orxemu_run/refuse_calls.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr const char *kDevice = "/dev/pktorx";
constexpr int kTimes = 16;

void Do(const std::string &word);

void Print(const std::string &text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

// "WHAT VALUE: outcome".
void PrintOutcome(const char *what, const std::string &value, const std::string &outcome) {
    std::printf("%s%s%s: %s\n", what, value.empty() ? "" : " ", value.c_str(), outcome.c_str());
    std::fflush(stdout);
}

std::string Outcome(int result) {
    return result >= 0 ? "ok" : strerrorname_np(errno);
}

// What fails first: the opening, or the request. The descriptor is closed then.
std::string SendOn(int fd, unsigned long request, void *record) {
    const std::string outcome = Outcome(fd < 0 ? fd : ioctl(fd, request, record));
    close(fd);
    return outcome;
}

std::string Send(unsigned long request, void *record) {
    return SendOn(open(kDevice, O_RDWR), request, record);
}

std::string SendStatus(const std::string &value) {
    auto status = static_cast<std::uint32_t>(std::stoul(value));
    return Send(39, &status);
}

// Two that are served at once, or get each other's answers, have the same table, which only one of them can
// deactivate. They open the device, or use copies of a descriptor.
int UseTables(int shared = -1) {
    std::uint32_t record[118] = {};
    int failures = 0;
    const auto send = [&](unsigned long request) {
        return SendOn(shared < 0 ? open(kDevice, O_RDWR) : dup(shared), request, record);
    };
    for (int i = 0; i < kTimes; ++i) {
        const bool good = send(21) == "ok" && send(22) == "ok";
        failures += good ? 0 : 1;
    }
    return failures;
}

void InThreads() {
    std::atomic<int> failures = 0;
    std::thread threads[kTimes];
    for (std::thread &thread : threads) {
        thread = std::thread([&] { failures += UseTables(); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    PrintOutcome("failures", "", std::to_string(failures));
}

// Each has a thread besides, and all share a descriptor that was opened before. There are 16 tables.
void InProcesses() {
    const int fd = open(kDevice, O_RDWR);
    for (int i = 0; i < kTimes / 2; ++i) {
        if (fork() == 0) {
            int other = 0;
            std::thread thread([&] { other = UseTables(); });
            const int failures = UseTables(fd);
            thread.join();
            std::_Exit(failures + other);
        }
    }
    int failures = 0;
    for (int status = 0; wait(&status) > 0;) {
        failures += status != 0 ? 1 : 0;
    }
    close(fd);
    PrintOutcome("failures", "", std::to_string(failures));
}

void InChild(const std::string &step) {
    const pid_t child = fork();
    if (child == 0) {
        Do(step);
        std::exit(0);
    }
    waitpid(child, nullptr, 0);
}

void Execute(const std::string &step) {
    execl(program_invocation_name, program_invocation_name, step.c_str(), nullptr);
}

// --- Addresses that cannot be reached: of a record, of its answer, and of the FCB

constexpr std::size_t kPage = 65536;
alignas(kPage) std::uint8_t pages[2 * kPage];

void SendBadAddresses() {
    std::uint8_t *page = pages + kPage;
    std::uint32_t flow[5] = {0, 1884, static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(page)),
                             0xFFFFFFFF, 0xFFFFFFFF};
    std::memcpy(page, flow, sizeof flow);
    const auto send = [](const char *what, void *record) { PrintOutcome(what, "", Send(29, record)); };
    const auto protect = [page](int how) { mprotect(page, kPage, how); };
    protect(PROT_READ);
    send("answer", page);
    protect(PROT_NONE);
    send("record", page);
    send("end of record", page - 10);
    send("no record", nullptr);
    send("FCB", flow);
    protect(PROT_READ);
    send("good", flow);
    protect(PROT_READ | PROT_WRITE);
    send("good", page);
    Print(std::to_string(reinterpret_cast<std::uint32_t *>(page)[0]));
}

// As a kernel does that cannot be asked which pages it could fetch.
void RefuseToTell() {
    if (!test::RefuseCalls({SYS_madvise}, SECCOMP_RET_ERRNO | EINVAL)) {
        Print("no filter");
    }
}

// --- Signals and time

volatile std::sig_atomic_t cameSignal = 0;

void AwaitSignal(int signal) {
    std::signal(signal, [](int came) { cameSignal = came; });
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
    return std::string(action.sa_handler == SIG_DFL ? " default" : " ignored") +
           (sigismember(&blocked, signal) != 0 ? " blocked" : "");
}

// With an end, for when the test has failed and removed its folder.
void WaitFor(const std::string &path) {
    for (int i = 0; i < 60000 && access(path.c_str(), F_OK) != 0; ++i) {
        usleep(1000);
    }
}

// A process that goes on when this one has ended, and writes the outcomes of an opening and of a request on a
// descriptor that it had into PATH.done.
void Outlive(const std::string &path) {
    const int before = open(kDevice, O_RDWR);
    if (fork() != 0) {
        close(before);
        return;
    }
    setsid();
    for (int fd = 0; fd < 3; ++fd) {
        close(fd);
        open("/dev/null", O_RDWR);
    }
    WaitFor(path);
    std::uint32_t status = 1;
    std::string outcomes = SendStatus("1");
    outcomes.append(" ").append(SendOn(before, 39, &status));
    const int file = open((path + ".new").c_str(), O_CREAT | O_WRONLY, 0666);
    [[maybe_unused]] const ssize_t written = write(file, outcomes.data(), outcomes.size());
    std::rename((path + ".new").c_str(), (path + ".done").c_str());
    std::_Exit(0);
}

void CopyInput() {
    for (int c = std::getchar(); c != EOF; c = std::getchar()) {
        std::putchar(c);
    }
    std::fflush(stdout);
}

struct Step {
    const char *name;
    void (*run)(const std::string &value);
};
constexpr Step kSteps[] = {
    {"status", [](const std::string &v) { PrintOutcome("status", v, SendStatus(v)); }},
    {"request",
     [](const std::string &v) {
         std::uint8_t record[512] = {};
         PrintOutcome("request", v, Send(std::stoul(v), record));
     }},
    {"bad-addresses", [](const std::string &) { SendBadAddresses(); }},
    {"refuse-to-tell", [](const std::string &) { RefuseToTell(); }},
    {"leave-open", [](const std::string &) { PrintOutcome("open", "", Outcome(open(kDevice, O_RDWR))); }},
    {"send-on", // status 1 on a descriptor that is there, and closes it
     [](const std::string &v) {
         std::uint32_t status = 1;
         PrintOutcome("send", "", SendOn(std::stoi(v), 39, &status));
     }},
    {"close-from", [](const std::string &v) { closefrom(std::stoi(v)); }},
    {"in-child", InChild},
    {"execute", Execute},
    {"processes", [](const std::string &) { InProcesses(); }},
    {"threads", [](const std::string &) { InThreads(); }},
    {"outlive", Outlive},
    {"wait", WaitFor},
    {"copy-input", [](const std::string &) { CopyInput(); }},
    {"print", Print},
    {"error", [](const std::string &v) { std::fprintf(stderr, "%s\n", v.c_str()); }},
    {"environment",
     [](const std::string &v) {
         const char *value = std::getenv(v.c_str());
         Print(v + "=" + (value != nullptr ? value : "(none)"));
     }},
    {"await-signal", [](const std::string &v) { AwaitSignal(std::stoi(v)); }},
    {"note-signal", [](const std::string &v) { std::signal(std::stoi(v), PrintNoted); }},
    {"parent", [](const std::string &) { Print("parent " + std::to_string(getppid())); }},
    {"handling", [](const std::string &v) { Print(v + Handling(std::stoi(v))); }},
    {"signal", [](const std::string &v) { kill(getpid(), std::stoi(v)); }},
    {"signal-group", [](const std::string &v) { kill(0, std::stoi(v)); }},
    {"exit", [](const std::string &v) { std::exit(std::stoi(v)); }},
    {"quick-exit", [](const std::string &v) { std::_Exit(std::stoi(v)); }},
};

void Do(const std::string &word) {
    const std::size_t equals = word.find('=');
    for (const Step &step : kSteps) {
        if (word.substr(0, equals) == step.name) {
            step.run(equals != std::string::npos ? word.substr(equals + 1) : "");
            return;
        }
    }
    std::fprintf(stderr, "no such step: %s\n", word.c_str());
    std::exit(99);
}

} // namespace

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        Do(argv[i]);
    }
    return 0;
}
