// The steps that no program should be told to do:
//
//   close-range[=cloexec]    closes all descriptors from 3 on with close_range(), or has them closed by exec;
//                            prints the outcome and how many are left
//   close-from               the same with closefrom()
//   dup-over=lock|channel    puts /dev/null under the number of a descriptor of the session, by dup2 and dup3
//   lose=lock|channel        closes a descriptor of the session behind the C library's back
//   unheard                  loses the channel and sends a request
//   lose-while-open          opens the device, loses the lock and sends a request; prints the outcome
//   in-clone=STEP            does a step in a child that runs in this process's memory, like one of vfork()
//   execute=STEP             does a step in a child that executes this program anew
//   execute-as-nobody=STEP   the same as another user
//   execute-elsewhere=STEP   the same with the session's memory under a number that nothing has
//   cancel-open=PATH         another process has the lock until PATH is there; a thread that waits for it in
//                            open() is cancelled, sends a request then, and opens the device once more
//   cancel-ioctl=PATH        the same with a thread that can be cancelled anywhere and waits in ioctl()
//   own-lock=PATH            uses the device under a lock of its own on PATH, while one thread of another
//                            process wants that lock and another one is on the device; prints the outcomes
//   load=PATH                loads a library; prints what the loader has to say before and after it
//   flood-channel=PATH       starts a process that sends messages of its own making all the time until PATH is
//                            there, or its folder is not
//   unread                   stops the tool, and sends until a request finds no room; then there is no limit
//                            for the wait, and one more is sent
#include "tests/orxemu_run/device_user.h"

#include "emu/session_memory.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <pthread.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace device_user {

namespace {

constexpr unsigned kFirst = 3;

int OutcomeOf(int result) {
    return result < 0 ? errno : 0;
}

int SessionDescriptor(const std::string &which) {
    return NumberOfSession(which == "lock" ? kLockFile : kChannel);
}

// A step that waits for ever, because a lock was left behind, ends the program, whose signals may wait, too.
void EndIfItHangs() {
    constexpr unsigned kSeconds = 30;
    const pid_t tool = getppid();
    const pid_t self = getpid();
    if (fork() == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sleep(kSeconds);
        kill(tool, SIGCONT);
        kill(self, SIGKILL);
        std::_Exit(0);
    }
}

// --- Descriptors

// Descriptors from the first on that are open; those that exec closes do not count when that was asked for.
int Left(int flags) {
    constexpr int kDescriptors = 4096;
    int left = 0;
    for (int fd = static_cast<int>(kFirst); fd < kDescriptors; ++fd) {
        const int marks = fcntl(fd, F_GETFD);
        left += marks == 0 || (marks > 0 && flags == 0) ? 1 : 0;
    }
    return left;
}

void CloseRange(const std::string &how) {
    const int flags = how == "cloexec" ? static_cast<int>(CLOSE_RANGE_CLOEXEC) : 0;
    PrintOutcome("close-range", OutcomeOf(close_range(kFirst, ~0U, flags)));
    Print("left " + std::to_string(Left(flags)));
}

void CloseFrom() {
    closefrom(static_cast<int>(kFirst));
    Print("left " + std::to_string(Left(0)));
}

void DupOver(const std::string &which) {
    const int null = open("/dev/null", O_RDWR);
    const int number = SessionDescriptor(which);
    PrintOutcome("dup2", OutcomeOf(dup2(null, number)));
    PrintOutcome("dup3", OutcomeOf(dup3(null, number, O_CLOEXEC)));
    PrintOutcome("of nothing", OutcomeOf(dup2(-1, number)));
    PrintOutcome("of itself", OutcomeOf(dup2(number, number)));
    close(null);
}

void Lose(const std::string &which) {
    syscall(SYS_close, SessionDescriptor(which));
}

void Unheard() {
    Lose("channel");
    SendStatus(1);
}

void LoseWhileOpen() {
    const int fd = open(kDevice, O_RDWR);
    Lose("lock");
    std::uint32_t status = 1;
    PrintOutcome("ioctl", OutcomeOf(ioctl(fd, kSetRlStatus, &status)));
    close(fd);
}

// --- Children

int DoInClone(void *step) {
    return Do(*static_cast<std::string *>(step)) ? 0 : 1;
}

void InClone(const std::string &step) {
    constexpr std::size_t kStackSize = 256 * 1024;
    std::vector<char> stack(kStackSize);
    std::string copy = step;
    const pid_t child =
        clone(DoInClone, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &copy);
    waitpid(child, nullptr, 0);
}

void BecomeNobody() {
    constexpr uid_t kNobody = 65534;
    const bool became = setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
    if (!became) {
        std::perror("nobody");
    }
}

void LoseMemory() {
    const std::string session = std::getenv("ORXEMU_SESSION");
    setenv("ORXEMU_SESSION", ("2147483647" + session.substr(session.find(','))).c_str(), 1);
}

void Execute(const std::string &step, void (*before)()) {
    const pid_t child = fork();
    if (child == 0) {
        before();
        execl(program_invocation_name, program_invocation_name, step.c_str(), nullptr);
        std::perror(program_invocation_name);
        std::_Exit(1);
    }
    waitpid(child, nullptr, 0);
}

// --- Threads that are cancelled

// What a thread has come to.
struct Course {
    std::atomic<pid_t> about = 0; // the thread, when nothing but the call is in front of it
    int fd = -1;
    int err = -1;
    std::atomic<bool> isAtItsEnd = false;
    bool isUnwound = false;
};

// A thread that is cancelled in open() leaves what stands around the call.
class Unwound {
  public:
    explicit Unwound(Course &course) : course_(course) {}
    Unwound(const Unwound &) = delete;
    Unwound &operator=(const Unwound &) = delete;
    ~Unwound() { course_.isUnwound = true; }

  private:
    Course &course_;
};

void *OpenTwice(void *argument) {
    Course &course = *static_cast<Course *>(argument);
    const Unwound unwound(course);
    course.about = gettid();
    course.fd = open(kDevice, O_RDWR);
    std::uint32_t status = 1;
    course.err = OutcomeOf(ioctl(course.fd, kSetRlStatus, &status));
    open(kDevice, O_RDWR);
    course.isAtItsEnd = true;
    return nullptr;
}

void *SendOnce(void *argument) {
    Course &course = *static_cast<Course *>(argument);
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    static std::uint32_t status = 1;
    course.about = gettid();
    ioctl(course.fd, kSetRlStatus, &status);
    pthread_testcancel();
    course.isAtItsEnd = true;
    return nullptr;
}

// How often a thread of this process has slept so far.
long SleepsOf(pid_t thread) {
    constexpr std::string_view kName = "voluntary_ctxt_switches:";
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(kName, 0) == 0) {
            return std::stol(line.substr(kName.size()));
        }
    }
    return 0;
}

// Who waits for the lock sleeps again and again, and does nothing else.
void AwaitWaiting(const Course &course) {
    constexpr long kOftenEnough = 20;
    while (course.about == 0) {
        usleep(1000);
    }
    const long before = SleepsOf(course.about);
    while (!course.isAtItsEnd && SleepsOf(course.about) < before + kOftenEnough) {
        usleep(1000);
    }
}

void Cancel(void *(*run)(void *), Course &course, const std::string &path) {
    EndIfItHangs();
    HoldLock(path);
    pthread_t thread;
    pthread_create(&thread, nullptr, run, &course);
    AwaitWaiting(course);
    pthread_cancel(thread);
    Touch(path);
    // Its result does not tell: some C libraries forget it when a thread was cancelled anywhere.
    pthread_join(thread, nullptr);
    Print(course.isAtItsEnd ? "not cancelled" : "cancelled");
}

void CancelOpen(const std::string &path) {
    Course course;
    Cancel(OpenTwice, course, path);
    PrintOutcome("open", course.fd < 0 ? EBADF : 0);
    PrintOutcome("ioctl", course.err < 0 ? ECANCELED : course.err);
    Print(course.isUnwound ? "unwound" : "not unwound");
    close(course.fd);
}

void CancelIoctl(const std::string &path) {
    Course course;
    course.fd = open(kDevice, O_RDWR);
    Cancel(SendOnce, course, path);
    close(course.fd);
}

// --- A lock of the program's own

int SetLock(int fd, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return OutcomeOf(fcntl(fd, F_SETLKW, &lock));
}

// Whether one of a process's threads waits in the kernel for a lock of a file.
bool WaitsForLock(pid_t process) {
    const std::string waiting = " WRITE " + std::to_string(process) + " ";
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        if (line.find("->") != std::string::npos && line.find(waiting) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// Has the session's lock until the other end of a pipe is closed.
[[noreturn]] void WantOwnLockOnTheDevice(int own, int end) {
    const int session = NumberOfSession(kLockFile);
    SetLock(session, F_WRLCK);
    int err = 0;
    std::thread wants([&] { err = SetLock(own, F_WRLCK); });
    char none = 0;
    [[maybe_unused]] const ssize_t size = read(end, &none, 1);
    SetLock(session, F_UNLCK);
    wants.join();
    PrintOutcome("own lock", err);
    std::_Exit(0);
}

void OwnLock(const std::string &path) {
    EndIfItHangs();
    const int own = open(path.c_str(), O_RDWR | O_CREAT, 0666);
    SetLock(own, F_WRLCK);
    int ends[2] = {-1, -1};
    PrintOutcome("pipe", OutcomeOf(pipe(ends)));
    const pid_t other = fork();
    if (other == 0) {
        close(ends[1]);
        WantOwnLockOnTheDevice(own, ends[0]);
    }
    while (!WaitsForLock(other)) {
        usleep(1000);
    }
    Course course;
    std::thread sends([&] {
        course.about = gettid();
        course.err = SendStatus(1);
        course.isAtItsEnd = true;
    });
    AwaitWaiting(course);
    close(ends[1]);
    sends.join();
    PrintOutcome("under own lock", course.err);
    SetLock(own, F_UNLCK);
    waitpid(other, nullptr, 0);
    close(ends[0]);
    close(own);
}

// --- A tool that does not read

void SetPatience(timeval patience) {
    setsockopt(NumberOfSession(kChannel), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

void Unread() {
    constexpr timeval kShort = {0, 50000};
    constexpr timeval kForEver = {0, 0};
    constexpr int kMoreThanThereIsRoomFor = 1000;
    EndIfItHangs();
    kill(getppid(), SIGSTOP);
    SetPatience(kShort);
    for (int i = 0; i < kMoreThanThereIsRoomFor; ++i) {
        SendStatus(1);
    }
    SetPatience(kForEver);
    PrintOutcome("unread", SendStatus(0));
    kill(getppid(), SIGCONT);
}

void FloodChannel(const std::string &path) {
    static orxemu::SessionMessage message = {};
    message.head.kind = orxemu::MessageKind::Request;
    message.request.request = static_cast<int>(kSetRlStatus);
    const std::string folder = path.substr(0, path.rfind('/'));
    if (fork() != 0) {
        return;
    }
    while (access(path.c_str(), F_OK) != 0 && access(folder.c_str(), F_OK) == 0) {
        send(NumberOfSession(kChannel), &message, sizeof message, MSG_NOSIGNAL);
    }
    std::_Exit(0);
}

void Load(const std::string &path) {
    EndIfItHangs();
    const char *before = dlerror();
    Print(std::string("so far ") + (before == nullptr ? "nothing" : before));
    const bool loaded = dlopen(path.c_str(), RTLD_NOW) != nullptr;
    Print(loaded ? "loaded" : dlerror());
}

constexpr Step kSteps[] = {
    {"close-range", CloseRange},
    {"close-from", [](const std::string &) { CloseFrom(); }},
    {"dup-over", DupOver},
    {"lose", Lose},
    {"unheard", [](const std::string &) { Unheard(); }},
    {"lose-while-open", [](const std::string &) { LoseWhileOpen(); }},
    {"in-clone", InClone},
    {"execute", [](const std::string &v) { Execute(v, [] {}); }},
    {"execute-as-nobody", [](const std::string &v) { Execute(v, BecomeNobody); }},
    {"execute-elsewhere", [](const std::string &v) { Execute(v, LoseMemory); }},
    {"cancel-open", CancelOpen},
    {"cancel-ioctl", CancelIoctl},
    {"own-lock", OwnLock},
    {"load", Load},
    {"flood-channel", FloodChannel},
    {"unread", [](const std::string &) { Unread(); }},
};

} // namespace

std::span<const Step> RoughSteps() {
    return kSteps;
}

} // namespace device_user
