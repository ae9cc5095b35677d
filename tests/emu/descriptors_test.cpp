// The device node and its descriptors, and what passes through to the C library.
#include "tests/emu/emu_test.h"
#include "tests/support/temp_folder.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#ifdef __GLIBC__
// The C library declares them to fortified programs only.
extern "C" int __open_2(const char *path, int flags);
extern "C" int __open64_2(const char *path, int flags);
extern "C" int __openat_2(int folder, const char *path, int flags);
extern "C" int __openat64_2(int folder, const char *path, int flags);
#endif
#if defined(__GLIBC__) && __TIMESIZE == 32
extern "C" int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
#endif

namespace emu_test {

namespace {

int Ioctl(int fd, int request, Record record) {
    errno = 0;
    return ::ioctl(fd, static_cast<unsigned long>(request), record.Data()) == 0 ? 0 : errno;
}

bool IsDevice(int fd) {
    return Ioctl(fd, kSetRlStatus, RlStatusRecord(1)) == 0;
}

// What the kernel itself says to a request of the device, on a descriptor that is not the device's.
int KernelAnswer(int fd) {
    Record record = GblRecord(1, 2);
    errno = 0;
    EXPECT_EQ(::syscall(SYS_ioctl, fd, kSetGblCfg, record.Data()), -1);
    return errno;
}

// Numbers that are in use; the stand-in's own socket has one of the higher ones.
std::vector<int> OpenNumbers() {
    std::vector<int> numbers;
    for (int fd = 0; fd < 4096; ++fd) {
        if (::fcntl(fd, F_GETFD) >= 0) {
            numbers.push_back(fd);
        }
    }
    return numbers;
}

class EmuNodeTest : public EmuTest {
  protected:
    // Every test finds the stand-in's own socket open, and none of the device's descriptors.
    EmuNodeTest() { ::close(::open(kDevice, O_RDWR)); }

    static void ExpectPassesThrough(int fd) {
        const std::size_t before = orxemu_numRequests();
        EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd));
        EXPECT_EQ(orxemu_numRequests(), before);
    }
};

// Each way to open a path: from a folder on, where it takes one.
using OpenWay = int (*)(int folder, const char *path, int flags);
constexpr OpenWay kPlainOpens[] = {
    [](int /*folder*/, const char *path, int flags) { return ::open(path, flags); },
#ifdef __GLIBC__
    [](int /*folder*/, const char *path, int flags) { return ::open64(path, flags); },
    [](int /*folder*/, const char *path, int flags) { return __open_2(path, flags); },
    [](int /*folder*/, const char *path, int flags) { return __open64_2(path, flags); },
#endif
};
constexpr OpenWay kOpensFromAFolder[] = {
    [](int folder, const char *path, int flags) { return ::openat(folder, path, flags); },
#ifdef __GLIBC__
    [](int folder, const char *path, int flags) { return ::openat64(folder, path, flags); },
    __openat_2,
    __openat64_2,
#endif
};

TEST_F(EmuNodeTest, EveryWayToOpenIt) {
    std::vector<OpenWay> ways(std::begin(kPlainOpens), std::end(kPlainOpens));
    ways.insert(ways.end(), std::begin(kOpensFromAFolder), std::end(kOpensFromAFolder));
    const int folder = ::open("/dev", O_RDONLY | O_DIRECTORY);
    for (const OpenWay way : ways) {
        for (const int from : {AT_FDCWD, folder, -1}) {
            for (const int flags : {O_RDONLY, O_WRONLY, O_RDWR | O_CLOEXEC, O_RDWR | O_NONBLOCK | O_NOCTTY,
                                    O_RDWR | O_EXCL, O_RDWR | O_TRUNC | O_APPEND, O_DIRECTORY}) {
                const int fd = way(from, kDevice, flags);
                EXPECT_EQ(::fcntl(fd, F_GETFD), (flags & O_CLOEXEC) != 0 ? FD_CLOEXEC : 0);
                EXPECT_EQ(orxemu_openDescriptors(), 1);
                EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), 0);
                EXPECT_EQ(::close(fd), 0);
            }
        }
        const std::size_t opens = orxemu_numOpens();
        const int other = way(AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC);
        EXPECT_EQ(::fcntl(other, F_GETFD), FD_CLOEXEC);
        ExpectPassesThrough(other);
        EXPECT_EQ(::close(other), 0);
        for (const char *path : {"/dev/pktorx0", "/dev/pktor", "pktorx", ""}) {
            errno = 0;
            EXPECT_EQ(way(AT_FDCWD, path, O_RDWR), -1) << path;
            EXPECT_EQ(errno, ENOENT) << path;
        }
        EXPECT_EQ(orxemu_numOpens(), opens);
    }
    for (const OpenWay way : kOpensFromAFolder) {
        const int null = way(folder, "null", O_RDWR);
        ExpectPassesThrough(null);
        EXPECT_EQ(::close(null), 0);
        errno = 0;
        EXPECT_EQ(way(-1, "null", O_RDWR), -1);
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_EQ(::close(folder), 0);
    // Through a pointer, because the declaration promises a path.
    int (*volatile openAny)(const char *, int, ...) = ::open;
    errno = 0;
    EXPECT_EQ(openAny(nullptr, O_RDWR), -1);
    EXPECT_EQ(errno, EFAULT);
}

TEST_F(EmuNodeTest, ModeOfACreatedFilePassesThrough) {
    const test::TempFolder files;
    const mode_t savedMask = ::umask(0);
    const int fds[] = {::open(files.File("a").c_str(), O_RDWR | O_CREAT | O_EXCL, 0640),
                       ::openat(AT_FDCWD, files.File("b").c_str(), O_RDWR | O_CREAT | O_EXCL, 0640)};
    ::umask(savedMask);
    for (const int fd : fds) {
        struct stat status = {};
        EXPECT_EQ(::fstat(fd, &status), 0);
        EXPECT_EQ(status.st_mode & 0777u, 0640u);
        EXPECT_EQ(::close(fd), 0);
    }
    const int device = ::open(kDevice, O_RDWR | O_CREAT | O_EXCL, 0600);
    EXPECT_TRUE(IsDevice(device));
    EXPECT_EQ(::close(device), 0);
}

TEST_F(EmuNodeTest, RequestsOfOtherDescriptorsPassThrough) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    int waiting = 0;
    EXPECT_EQ(::ioctl(ends[0], FIONREAD, &waiting), 0);
    EXPECT_EQ(waiting, 3);
    int pair[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair), 0);
    const int own = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    std::strcpy(name.sun_path + 1, "orxemu-another");
    ASSERT_EQ(::bind(own, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
    for (const int fd : {ends[0], pair[0], own}) {
        ExpectPassesThrough(fd);
    }
    for (const int fd : {ends[0], ends[1], pair[0], pair[1], own}) {
        EXPECT_EQ(::close(fd), 0);
        ExpectPassesThrough(fd);
    }
}

#if defined(__GLIBC__) && __TIMESIZE == 32
TEST_F(EmuNodeTest, IoctlOfProgramsWithLongTimeIsTheSame) {
    const int fd = ::open(kDevice, O_RDWR);
    EXPECT_EQ(::__ioctl_time64(fd, kSetGblCfg, GblRecord(1, 2).Data()), 0);
    EXPECT_EQ(State().flowMissAction, 2u);
    EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(::__ioctl_time64(fd, kSetGblCfg, GblRecord(1, 2).Data()), -1);
    EXPECT_EQ(orxemu_numRequests(), 1u);
}
#endif

// They change the descriptor, whatever it is of, and no fault is spent on them.
TEST_F(EmuNodeTest, WhatTheKernelDoesToAnyDescriptorIsNoRequest) {
    const int fd = ::open(kDevice, O_RDWR);
    orxemu_failRequest(0, 1, EIO);
    EXPECT_EQ(::ioctl(fd, FIOCLEX), 0);
    EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::ioctl(fd, FIONCLEX), 0);
    EXPECT_EQ(::fcntl(fd, F_GETFD), 0);
    for (int on : {1, 0}) {
        EXPECT_EQ(::ioctl(fd, FIONBIO, &on), 0);
        EXPECT_EQ((::fcntl(fd, F_GETFL) & O_NONBLOCK) != 0, on == 1);
        EXPECT_EQ(::ioctl(fd, FIOASYNC, &on), ::syscall(SYS_ioctl, fd, FIOASYNC, &on));
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), EIO);
    // Others of the kernel's numbers are the device's to refuse.
    EXPECT_EQ(Ioctl(fd, FIONREAD, GblRecord(1, 1)), ENOTTY);
    EXPECT_EQ(orxemu_numRequests(), 2u);
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuNodeTest, MissingDeviceIsNoSuchFile) {
    const int before = ::open(kDevice, O_RDWR);
    orxemu_setPresent(0);
    errno = 0;
    EXPECT_EQ(::open(kDevice, O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(orxemu_numOpens(), 1u);
    EXPECT_TRUE(IsDevice(before)) << "a descriptor goes on working";
    EXPECT_EQ(::close(before), 0);
    orxemu_setPresent(1);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

TEST_F(EmuNodeTest, AcceptedCallsLeaveErrnoAndNoDescriptor) {
    const std::vector<int> before = OpenNumbers();
    errno = EXDEV;
    const int fd = ::open(kDevice, O_RDWR);
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(::ioctl(fd, kActivateFlow, FlowRecord(kNotSet).Data()), 0);
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(SendAt(kSetGblCfg, nullptr), EFAULT);
    EXPECT_EQ(Send(99, GblRecord(1, 1)), ENOTTY);
    EXPECT_EQ(OpenNumbers(), before);
}

// There are as many as the program may have.
TEST_F(EmuNodeTest, ManyDescriptorsUntilTheProgramHasNoneLeft) {
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few = {300, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<int> fds;
    for (int fd = ::open(kDevice, O_RDWR); fd >= 0; fd = ::open(kDevice, O_RDWR)) {
        fds.push_back(fd);
    }
    EXPECT_EQ(errno, EMFILE);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_GT(fds.size(), 200u);
    EXPECT_EQ(orxemu_openDescriptors(), static_cast<int>(fds.size()));
    EXPECT_EQ(orxemu_numOpens(), fds.size());
    EXPECT_TRUE(std::all_of(fds.begin(), fds.end(), IsDevice));
    std::for_each(fds.begin(), fds.end(), ::close);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

// --- What the kernel does with descriptors

// Sends it to itself.
int Passed(int fd) {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    char byte = 0;
    iovec part = {&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof fd)] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr *header = CMSG_FIRSTHDR(&message);
    *header = {};
    header->cmsg_len = CMSG_LEN(sizeof fd);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    std::memcpy(CMSG_DATA(header), &fd, sizeof fd);
    EXPECT_EQ(::sendmsg(ends[0], &message, 0), 1);
    EXPECT_EQ(::recvmsg(ends[1], &message, 0), 1);
    int passed = -1;
    std::memcpy(&passed, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof passed);
    ::close(ends[0]);
    ::close(ends[1]);
    return passed;
}

TEST_F(EmuNodeTest, CopiesAreTheDevicesToo) {
    const int fd = ::open(kDevice, O_RDWR);
    const int copies[] = {::dup(fd), ::dup2(fd, 200), ::dup3(fd, 201, O_CLOEXEC), ::fcntl(fd, F_DUPFD, 210),
                          Passed(fd)};
    EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(orxemu_openDescriptors(), 5);
    for (const int copy : copies) {
        EXPECT_TRUE(IsDevice(copy)) << copy;
        EXPECT_EQ(::close(copy), 0);
        ExpectPassesThrough(copy);
    }
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

// Its device is a copy from that moment on, and so is its descriptor.
TEST_F(EmuNodeTest, ChildHasADeviceOfItsOwn) {
    const int fd = ::open(kDevice, O_RDWR);
    const pid_t child = ::fork();
    if (child == 0) {
        const bool taken = Ioctl(fd, kSetGblCfg, GblRecord(1, 2)) == 0 &&
                           Send(kSetRlStatus, RlStatusRecord(1)) == 0 && ::close(fd) == 0 &&
                           orxemu_openDescriptors() == 0 && State().flowMissAction == 2;
        ::_exit(taken ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(State().flowMissAction, 0u);
    EXPECT_TRUE(IsDevice(fd));
    EXPECT_EQ(::close(fd), 0);
}

// Ways to lose descriptors, and the stand-in's own socket with them or not.
TEST_F(EmuNodeTest, ClosedByWhateverItIsNoLongerTheDevices) {
    using Close = void (*)(int fd);
    const std::pair<const char *, Close> ways[] = {
        {"close", [](int fd) { ::close(fd); }},
        {"close_range", [](int fd) { ::close_range(static_cast<unsigned>(fd), ~0U, 0); }},
        {"closefrom", [](int fd) { ::closefrom(fd); }},
        {"system call", [](int fd) { ::syscall(SYS_close, fd); }},
        {"fclose", [](int fd) { std::fclose(::fdopen(fd, "r+")); }},
        {"dup2", [](int fd) { ::dup2(STDIN_FILENO, fd); }},
        {"all of them", [](int fd) {
             for (const int number : OpenNumbers()) {
                 number >= fd ? ::close(number) : 0;
             }
         }}};
    for (const auto &[name, close] : ways) {
        const int fd = ::open(kDevice, O_RDWR);
        close(fd);
        EXPECT_EQ(orxemu_openDescriptors(), 0) << name;
        ExpectPassesThrough(fd);
        ::close(fd);
        EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 1)), 0) << name << ": it can be opened again";
        EXPECT_EQ(OpenNumbers().back() >= 1000, true) << name << ": out of the program's way";
    }
    const int fd = ::open(kDevice, O_RDWR);
    EXPECT_EQ(::close_range(static_cast<unsigned>(fd), ~0U, CLOSE_RANGE_CLOEXEC), 0);
    EXPECT_TRUE(IsDevice(fd));
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuNodeTest, ThreadsTakeTurns) {
    constexpr int kTimes = 200;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < kTimes; ++n) {
                const std::uint32_t index = Activate(kActivateAsTbl, TblRecord(468, kNotSet, 1));
                EXPECT_EQ(Send(kDeactivateAsTbl, TblRecord(468, index, 1)), 0) << "another's table";
            }
        });
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread &thread) { thread.join(); });
    EXPECT_EQ(orxemu_numRequests(), 8u * 2u * kTimes);
}

} // namespace

} // namespace emu_test
