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
constexpr int kPassedOn[] = {SIGTERM,   SIGHUP, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF, SIGABRT,
#ifdef SIGSTKFLT
                             SIGSTKFLT,
#endif
                             SIGIO,     SIGPWR};
// The keyboard's, and that of a standard stream whose reader is gone.
constexpr int kIgnored[] = {SIGINT, SIGQUIT, SIGPIPE};

// Where the handler writes the numbers of signals.
volatile sig_atomic_t signalPipe = -1;

void NoteSignal(int signal) {
    const int savedErrno = errno;
    const auto number = static_cast<unsigned char>(signal);
    // A full pipe has news enough.
    [[maybe_unused]] const ssize_t written = write(signalPipe, &number, sizeof number);
    errno = savedErrno;
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
    readingEnd_.Reset(ends[0]);
    writingEnd_.Reset(ends[1]);
    signalPipe = ends[1];
    Handle(SIGCHLD, NoteSignal);
    for (const int signal : kPassedOn) {
        PassOn(signal);
    }
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) {
        PassOn(signal);
    }
    for (const int signal : kIgnored) {
        Handle(signal, SIG_IGN);
    }
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

void SignalHandling::Handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    Before before = {signal, {}};
    // An emulator may keep a signal for itself.
    if (sigaction(signal, &action, &before.action) == 0) {
        before_.push_back(before);
    }
}

void SignalHandling::PassOn(int signal) {
    struct sigaction now = {};
    if (sigaction(signal, nullptr, &now) == 0) {
        Handle(signal, now.sa_handler == SIG_IGN ? SIG_IGN : NoteSignal);
    }
}

void SignalHandling::Restore() const {
    for (const Before &before : before_) {
        sigaction(before.signal, &before.action, nullptr);
    }
    sigprocmask(SIG_SETMASK, &blockedBefore_, nullptr);
}

int SignalHandling::Next() const {
    unsigned char number = 0;
    return read(readingEnd_.get(), &number, sizeof number) == 1 ? number : 0;
}

Process::Process(Program &program, Session &session) {
    // A session around this one is not the program's.
    std::erase_if(program.environment(), [](const std::string &variable) {
        return variable.starts_with(std::string(kSessionVariable) + "=");
    });
    program.environment().push_back(session.Variable());
    const std::vector<char *> words = Pointers(program.words());
    const std::vector<char *> environment = Pointers(program.environment());
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw SystemTrouble("cannot start " + program.name(), errno);
    }
    OwnedDescriptor readingEnd;
    OwnedDescriptor writingEnd;
    readingEnd.Reset(ends[0]);
    writingEnd.Reset(ends[1]);
    {
        const SignalsWait wait;
        pid_ = fork();
        if (pid_ == 0) {
            signals_.Restore();
            session.BequeathDescriptors();
            execve(program.file().c_str(), words.data(), environment.data());
            const int err = errno;
            [[maybe_unused]] const ssize_t written = write(writingEnd.get(), &err, sizeof err);
            _exit(kStatusCannotRun);
        }
    }
    if (pid_ < 0) {
        throw SystemTrouble("cannot start " + program.name(), errno);
    }
    session.CloseSendingEnd();
    writingEnd.Reset();
    const int err = ReadFailure(readingEnd.get());
    if (err != 0) {
        waitpid(pid_, nullptr, 0);
        const char *hint = err == ENOEXEC ? " (a program of another processor needs --emulator)" : "";
        throw SystemTrouble(program.name() + " cannot be run" + hint, err, kStatusCannotRun);
    }
}

void Process::HandleSignals() {
    for (int signal = signals_.Next(); signal != 0; signal = signals_.Next()) {
        if (signal != SIGCHLD && !hasEnded_) {
            kill(pid_, signal);
        }
    }
    hasEnded_ = hasEnded_ || waitpid(pid_, &waitStatus_, WNOHANG) == pid_;
}

int Process::ExitStatus() const {
    constexpr int kKilled = 128;
    return WIFSIGNALED(waitStatus_) ? kKilled + WTERMSIG(waitStatus_) : WEXITSTATUS(waitStatus_);
}

} // namespace orxemu::tool
