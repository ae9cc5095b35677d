#include "emu/tool/run_process.h"

#include "emu/tool/run_trouble.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace orxemu::tool {

namespace {

// Signals that others send and that end a process; the real-time signals are added below. A timer that was set
// before the tool started signals the tool, but is meant for the program.
constexpr int kPassedOn[] = {SIGINT,    SIGQUIT, SIGTERM,   SIGHUP,  SIGUSR1,
                             SIGUSR2,   SIGALRM, SIGVTALRM, SIGPROF, SIGABRT,
#ifdef SIGSTKFLT
                             SIGSTKFLT,
#endif
                             SIGIO,     SIGPWR};

// A signal that has come to the tool.
struct CameSignal {
    int number;
    int code; // whose it is, as siginfo_t says it
    pid_t sender;
};

// Where the handler writes what has come.
volatile sig_atomic_t signalPipe = -1;

void NoteSignal(int number, siginfo_t *info, void * /*context*/) {
    const int savedErrno = errno;
    const CameSignal signal = {number, info->si_code, info->si_pid};
    // Written as a whole or not at all; a full pipe has news enough.
    [[maybe_unused]] const ssize_t written = write(signalPipe, &signal, sizeof signal);
    errno = savedErrno;
}

// A signal that is ignored stays ignored (nohup). It is set again because an emulator reports it as ignored and
// acts on it all the same.
bool StaysIgnored(int number) {
    struct sigaction action = {};
    const bool isIgnored = sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
    if (isIgnored) {
        signal(number, SIG_IGN);
    }
    return isIgnored;
}

void Note(int number) {
    if (StaysIgnored(number)) {
        return;
    }
    struct sigaction action = {};
    action.sa_sigaction = NoteSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_NOCLDSTOP;
    sigfillset(&action.sa_mask); // one after the other
    sigaction(number, &action, nullptr);
}

// Whether the program has not got it already: from the terminal, whose keys signal all processes in front (and
// which tells the session's first process alone that it is gone), or by signalling its own group.
bool IsToBePassedOn(const CameSignal &signal, pid_t program) {
    if (signal.code == SI_USER || signal.code == SI_TKILL || signal.code == SI_QUEUE) {
        return signal.sender != program;
    }
    const bool isTerminals = signal.number == SIGINT || signal.number == SIGQUIT ||
                             (signal.number == SIGHUP && getsid(0) != getpid());
    return signal.number != SIGCHLD && !isTerminals;
}

// Pointers to the texts, as a program takes them.
std::vector<char *> Pointers(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts) {
        pointers.push_back(const_cast<char *>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Process::Process(const Program &program) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw SystemTrouble("cannot watch for signals", errno);
    }
    signals_ = Descriptor(ends[0]);
    signalPipe = ends[1];
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before); // none meets the child before it is the program
    signal(SIGCHLD, SIG_DFL);                // who ignores it is not told of the program's end
    Note(SIGCHLD);
    for (const int number : kPassedOn) {
        Note(number);
    }
    for (int number = SIGRTMIN; number <= SIGRTMAX; ++number) {
        Note(number);
    }
    StaysIgnored(SIGPIPE);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &before);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int err = posix_spawn(&pid_, program.file.c_str(), nullptr, &attributes,
                                Pointers(program.words).data(), Pointers(program.environment).data());
    posix_spawnattr_destroy(&attributes);
    if (err != 0) {
        const char *hint = err == ENOEXEC ? " (a script needs a first line with #!, a program of another "
                                            "processor --emulator)"
                                          : "";
        throw SystemTrouble(program.name + " cannot be run" + hint, err, kStatusCannotRun);
    }
    signal(SIGPIPE, SIG_IGN); // the reader of a standard stream may go away
    sigemptyset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
}

void Process::HandleSignals() {
    CameSignal signal = {};
    while (read(signals_.get(), &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal)) {
        if (!hasEnded_ && IsToBePassedOn(signal, pid_)) {
            kill(pid_, signal.number);
        }
    }
    hasEnded_ = hasEnded_ || waitpid(pid_, &waitStatus_, WNOHANG) == pid_;
}

int Process::ExitStatus() const {
    constexpr int kKilled = 128;
    return WIFSIGNALED(waitStatus_) ? kKilled + WTERMSIG(waitStatus_) : WEXITSTATUS(waitStatus_);
}

} // namespace orxemu::tool
