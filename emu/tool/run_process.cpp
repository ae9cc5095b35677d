#include "emu/tool/run_process.h"

#include "emu/tool/run_trouble.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orxemu::tool {

namespace {

// With the real-time signals, those that others send and that end a process. A timer that was set before the
// tool is the tool's, and its signal meant for the program.
constexpr int kPassedOn[] = {SIGINT,    SIGQUIT, SIGTERM,   SIGHUP,  SIGUSR1,
                             SIGUSR2,   SIGALRM, SIGVTALRM, SIGPROF, SIGABRT,
#ifdef SIGSTKFLT
                             SIGSTKFLT,
#endif
                             SIGIO,     SIGPWR};

// Where the handler writes what has come.
volatile sig_atomic_t signalPipe = -1;

void NoteSignal(int number, siginfo_t *info, void * /*context*/) {
    const int savedErrno = errno;
    const CameSignal signal = {number, info->si_code, info->si_pid};
    // Written as a whole or not at all; a full pipe has news enough.
    [[maybe_unused]] const ssize_t written = write(signalPipe, &signal, sizeof signal);
    errno = savedErrno;
}

// Somebody has sent it, who then is its sender.
bool IsSent(const CameSignal &signal) {
    return signal.code == SI_USER || signal.code == SI_TKILL || signal.code == SI_QUEUE;
}

// The terminal sends the signals of its keys to all processes in front, and so it tells them that it is gone,
// when its first process has not lived to hear of that: that one alone is told.
bool IsTerminals(const CameSignal &signal) {
    return signal.number == SIGINT || signal.number == SIGQUIT ||
           (signal.number == SIGHUP && getsid(0) != getpid());
}

// Pointers to the texts, as execve takes them.
std::vector<char *> Pointers(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string &text : texts) {
        pointers.push_back(const_cast<char *>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

// While it lives signals wait, so that none meets the child between fork and exec.
class SignalsWait {
  public:
    SignalsWait() {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, &before_);
    }
    SignalsWait(const SignalsWait &) = delete;
    SignalsWait &operator=(const SignalsWait &) = delete;
    ~SignalsWait() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

  private:
    sigset_t before_;
};

// The errno of an exec that failed comes through a pipe that a successful one closes. 0 for the latter.
int ReadFailure(int pipe) {
    int err = 0;
    ssize_t size;
    do {
        size = read(pipe, &err, sizeof err);
    } while (size < 0 && errno == EINTR);
    return size == static_cast<ssize_t>(sizeof err) ? err : 0;
}

} // namespace

SignalHandling::SignalHandling() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw SystemTrouble("cannot watch for signals", errno);
    }
    readingEnd_ = Descriptor(ends[0]);
    writingEnd_ = Descriptor(ends[1]);
    signalPipe = ends[1];
    Note(SIGCHLD);
    for (const int signal : kPassedOn) {
        NoteUnlessIgnored(signal);
    }
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) {
        NoteUnlessIgnored(signal);
    }
    // The reader of a standard stream may go away.
    Ignore(SIGPIPE);
    sigset_t own;
    sigemptyset(&own);
    for (const Before &before : before_) {
        sigaddset(&own, before.signal);
    }
    sigprocmask(SIG_UNBLOCK, &own, &blockedBefore_);
}

SignalHandling::~SignalHandling() {
    Restore();
    signalPipe = -1;
}

void SignalHandling::Set(int signal, const struct sigaction &action) {
    Before before = {signal, {}};
    // An emulator may keep a signal for itself.
    if (sigaction(signal, &action, &before.action) == 0) {
        before_.push_back(before);
    }
}

void SignalHandling::Note(int signal) {
    struct sigaction action = {};
    action.sa_sigaction = NoteSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART | SA_NOCLDSTOP;
    sigfillset(&action.sa_mask); // one after the other
    Set(signal, action);
}

void SignalHandling::NoteUnlessIgnored(int signal) {
    struct sigaction now = {};
    if (sigaction(signal, nullptr, &now) == 0) {
        now.sa_handler == SIG_IGN ? Ignore(signal) : Note(signal);
    }
}

void SignalHandling::Ignore(int signal) {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    Set(signal, action);
}

void SignalHandling::Restore() const {
    for (const Before &before : before_) {
        sigaction(before.signal, &before.action, nullptr);
    }
    sigprocmask(SIG_SETMASK, &blockedBefore_, nullptr);
}

CameSignal SignalHandling::Next() const {
    CameSignal signal = {};
    const ssize_t size = read(readingEnd_.get(), &signal, sizeof signal);
    return size == static_cast<ssize_t>(sizeof signal) ? signal : CameSignal{};
}

Process::Process(Program &program, const std::string &sessionVariable) {
    // A session around this one is not the program's.
    const std::string name = sessionVariable.substr(0, sessionVariable.find('=') + 1);
    std::erase_if(program.environment(),
                  [&name](const std::string &variable) { return variable.starts_with(name); });
    program.environment().push_back(sessionVariable);
    const std::vector<char *> words = Pointers(program.words());
    const std::vector<char *> environment = Pointers(program.environment());
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw SystemTrouble("cannot start " + program.name(), errno);
    }
    const Descriptor readingEnd(ends[0]);
    Descriptor writingEnd(ends[1]);
    {
        const SignalsWait wait;
        pid_ = fork();
        if (pid_ == 0) {
            signals_.Restore();
            execve(program.file().c_str(), words.data(), environment.data());
            const int err = errno;
            [[maybe_unused]] const ssize_t written = write(writingEnd.get(), &err, sizeof err);
            _exit(kStatusCannotRun);
        }
    }
    if (pid_ < 0) {
        throw SystemTrouble("cannot start " + program.name(), errno);
    }
    writingEnd.Close();
    const int err = ReadFailure(readingEnd.get());
    if (err != 0) {
        waitpid(pid_, nullptr, 0);
        const char *hint = err == ENOEXEC ? " (a script needs a first line with #!, a program of another "
                                            "processor --emulator)"
                                          : "";
        throw SystemTrouble(program.name() + " cannot be run" + hint, err, kStatusCannotRun);
    }
}

void Process::HandleSignals() {
    for (CameSignal signal = signals_.Next(); signal.number != 0; signal = signals_.Next()) {
        if (!hasEnded_ && IsToBePassedOn(signal)) {
            kill(pid_, signal.number);
        }
    }
    hasEnded_ = hasEnded_ || waitpid(pid_, &waitStatus_, WNOHANG) == pid_;
}

bool Process::IsToBePassedOn(const CameSignal &signal) const {
    if (signal.number == SIGCHLD) {
        return false;
    }
    // A program that sends one to all of its group has meant, and got, it itself.
    return IsSent(signal) ? signal.sender != pid_ : !IsTerminals(signal);
}

int Process::ExitStatus() const {
    constexpr int kKilled = 128;
    return WIFSIGNALED(waitStatus_) ? kKilled + WTERMSIG(waitStatus_) : WEXITSTATUS(waitStatus_);
}

} // namespace orxemu::tool
