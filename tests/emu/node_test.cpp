// The device node and its descriptors, and what passes through to the C library.
#include "tests/emu/emu_test.h"
#include "tests/support/temp_folder.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
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

using EmuNodeTest = EmuTest;

class TemporaryFile {
  public:
    TemporaryFile() { test::WriteFile(path_, ""); }
    const char *Path() const { return path_.c_str(); }

  private:
    const test::TempFolder folder_;
    const std::string path_ = folder_.File("file");
};

bool IsOpen(int fd) {
    return ::fcntl(fd, F_GETFD) >= 0;
}

// The low descriptor numbers that are in use, the device's or not.
std::vector<int> OpenNumbers() {
    std::vector<int> numbers;
    for (int fd = 0; fd < 256; ++fd) {
        if (IsOpen(fd)) {
            numbers.push_back(fd);
        }
    }
    return numbers;
}

// Closes a descriptor past the hooks.
void CloseUnseen(int fd) {
    std::FILE *stream = ::fdopen(fd, "r+");
    ASSERT_NE(stream, nullptr) << std::strerror(errno);
    EXPECT_EQ(std::fclose(stream), 0);
}

int Ioctl(int fd, int request, Record record) {
    errno = 0;
    return ::ioctl(fd, static_cast<unsigned long>(request), record.Data()) == 0 ? 0 : errno;
}

// What the kernel itself says to a request of the device on a descriptor that is not the device's: an errno
// that is the kernel's choice.
int KernelAnswer(int fd) {
    Record record = GblRecord(1, 2);
    errno = 0;
    EXPECT_EQ(::syscall(SYS_ioctl, fd, kSetGblCfg, record.Data()), -1);
    return errno;
}

TEST_F(EmuNodeTest, DescriptorsAreCounted) {
    EXPECT_EQ(orxemu_numOpens(), 0u);
    const int first = ::open(kDevice, O_RDWR);
    const int second = ::open(kDevice, O_RDWR);
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    EXPECT_NE(first, second);
    EXPECT_EQ(orxemu_openDescriptors(), 2);
    EXPECT_EQ(::close(first), 0);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_FALSE(IsOpen(first));
    EXPECT_TRUE(IsOpen(second));
    EXPECT_EQ(::close(second), 0);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(orxemu_numOpens(), 2u);
}

TEST_F(EmuNodeTest, DescriptorsShareOneDevice) {
    const int first = ::open(kDevice, O_RDWR);
    const int second = ::open(kDevice, O_RDWR);
    EXPECT_EQ(Ioctl(first, kActivateFlow, FlowRecord(kNotSet)), 0);
    EXPECT_EQ(Ioctl(second, kDeactivateFlow, FlowRecord(0)), 0);
    EXPECT_EQ(State().flow[0].active, 0);
    EXPECT_EQ(::close(first), 0);
    EXPECT_EQ(::close(second), 0);
}

TEST_F(EmuNodeTest, OpensWithAnyFlags) {
    const int allFlags[] = {O_RDONLY,        O_WRONLY,
                            O_RDWR,          O_RDWR | O_CLOEXEC,
                            O_RDWR | O_SYNC, O_RDWR | O_NONBLOCK | O_NOCTTY,
                            O_RDWR | O_EXCL, O_RDWR | O_TRUNC | O_APPEND,
                            O_DIRECTORY};
    for (const int flags : allFlags) {
        SCOPED_TRACE(flags);
        const int fd = ::open(kDevice, flags);
        ASSERT_GE(fd, 0) << std::strerror(errno);
        EXPECT_EQ((::fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0, (flags & O_CLOEXEC) != 0);
        EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), 0);
        EXPECT_EQ(::close(fd), 0);
    }
    const int created = ::open(kDevice, O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(created, 0) << std::strerror(errno);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(::close(created), 0);
}

#ifdef __GLIBC__
TEST_F(EmuNodeTest, LargeFileOpenIsTheSameDevice) {
    const int fd = ::open64(kDevice, O_RDWR);
    ASSERT_GE(fd, 0) << std::strerror(errno);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), 0);
    EXPECT_EQ(::close(fd), 0);

    const TemporaryFile file;
    const int other = ::open64(file.Path(), O_RDONLY);
    EXPECT_GE(other, 0) << std::strerror(errno);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(::close(other), 0);
}
#endif

#ifdef __GLIBC__
TEST_F(EmuNodeTest, FortifiedOpenIsTheSameDevice) {
    const TemporaryFile file;
    for (auto *const openFn : {&__open_2, &__open64_2}) {
        const int fd = openFn(kDevice, O_RDWR);
        ASSERT_GE(fd, 0) << std::strerror(errno);
        EXPECT_EQ(orxemu_openDescriptors(), 1);
        EXPECT_EQ(::close(fd), 0);

        const int other = openFn(file.Path(), O_RDONLY);
        EXPECT_GE(other, 0) << std::strerror(errno);
        EXPECT_EQ(orxemu_openDescriptors(), 0);
        EXPECT_EQ(::close(other), 0);
    }
}
#endif

// Each way to open a path from a folder on.
using OpenAt = std::function<int(int folder, const char *path, int flags)>;

std::vector<OpenAt> OpenAts() {
    return {
        [](int folder, const char *path, int flags) { return ::openat(folder, path, flags); },
#ifdef __GLIBC__
        [](int folder, const char *path, int flags) { return ::openat64(folder, path, flags); },
        __openat_2,
        __openat64_2,
#endif
    };
}

TEST_F(EmuNodeTest, OpenFromAFolderIsTheSameDevice) {
    const int folder = ::open("/", O_RDONLY | O_DIRECTORY);
    ASSERT_GE(folder, 0) << std::strerror(errno);
    for (const OpenAt &openAt : OpenAts()) {
        for (const int from : {AT_FDCWD, folder, -1}) {
            const int fd = openAt(from, kDevice, O_RDWR | O_CLOEXEC);
            ASSERT_GE(fd, 0) << std::strerror(errno);
            EXPECT_EQ(orxemu_openDescriptors(), 1);
            EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
            EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), 0);
            EXPECT_EQ(::close(fd), 0);
        }
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
    EXPECT_EQ(::close(folder), 0);
}

TEST_F(EmuNodeTest, OtherPathsFromAFolderPassThrough) {
    const int folder = ::open("/dev", O_RDONLY | O_DIRECTORY);
    ASSERT_GE(folder, 0) << std::strerror(errno);
    for (const OpenAt &openAt : OpenAts()) {
        const int fd = openAt(folder, "null", O_RDWR);
        EXPECT_GE(fd, 0) << std::strerror(errno);
        EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd));
        EXPECT_EQ(::close(fd), 0);
        errno = 0;
        EXPECT_EQ(openAt(-1, "null", O_RDWR), -1);
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_EQ(::close(folder), 0);
    EXPECT_EQ(orxemu_numOpens(), 0u);

    const mode_t savedMask = ::umask(0);
    const test::TempFolder files;
    const std::string path = files.File("new");
    const int created = ::openat(AT_FDCWD, path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0604);
    ::umask(savedMask);
    struct stat status = {};
    EXPECT_EQ(::fstat(created, &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0604u);
    EXPECT_EQ(::close(created), 0);
}

#if defined(__GLIBC__) && __TIMESIZE == 32
TEST_F(EmuNodeTest, IoctlOfProgramsWithLongTimeIsTheSame) {
    const int fd = ::open(kDevice, O_RDWR);
    EXPECT_EQ(::__ioctl_time64(fd, kSetGblCfg, GblRecord(1, 2).Data()), 0);
    EXPECT_EQ(State().flowMissAction, 2u);
    EXPECT_EQ(::close(fd), 0);

    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    int waiting = 0;
    EXPECT_EQ(::__ioctl_time64(ends[0], FIONREAD, &waiting), 0);
    EXPECT_EQ(waiting, 3);
    EXPECT_EQ(::close(ends[0]), 0);
    EXPECT_EQ(::close(ends[1]), 0);
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
    int on = 1;
    EXPECT_EQ(::ioctl(fd, FIONBIO, &on), 0);
    EXPECT_NE(::fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(::ioctl(fd, FIOASYNC, &on), ::syscall(SYS_ioctl, fd, FIOASYNC, &on));
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
    EXPECT_EQ(Ioctl(before, kSetGblCfg, GblRecord(1, 1)), 0) << "a descriptor goes on working";
    EXPECT_EQ(::close(before), 0);

    orxemu_setPresent(1);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

TEST_F(EmuNodeTest, DescriptorsHaveAnEnd) {
    std::vector<int> fds;
    for (int n = 0; n < ORXEMU_MAX_DESCRIPTORS; ++n) {
        fds.push_back(::open(kDevice, O_RDWR));
        ASSERT_GE(fds.back(), 0) << std::strerror(errno);
    }
    errno = 0;
    EXPECT_EQ(::open(kDevice, O_RDWR), -1);
    EXPECT_EQ(errno, EMFILE);
    for (const int fd : fds) {
        EXPECT_EQ(::close(fd), 0);
    }
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
}

TEST_F(EmuNodeTest, AcceptedRequestLeavesErrnoAlone) {
    const int fd = ::open(kDevice, O_RDWR);
    errno = EXDEV;
    EXPECT_EQ(::ioctl(fd, kActivateFlow, FlowRecord(kNotSet).Data()), 0);
    EXPECT_EQ(errno, EXDEV);
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuNodeTest, RequestsLeaveNoDescriptorBehind) {
    const std::vector<int> before = OpenNumbers();
    for (int n = 0; n < 3; ++n) {
        ActivateFlow();
        EXPECT_EQ(SendAt(kSetGblCfg, nullptr), EFAULT);
        EXPECT_EQ(Send(99, GblRecord(1, 1)), ENOTTY);
    }
    EXPECT_EQ(OpenNumbers(), before);
}

TEST_F(EmuNodeTest, OtherPathsPassThrough) {
    for (const char *path : {"/dev/null", "/dev/../dev/null"}) {
        const int fd = ::open(path, O_RDWR);
        ASSERT_GE(fd, 0) << path;
        EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd)) << path;
        EXPECT_EQ(::close(fd), 0);
    }
    for (const char *path : {"/dev/pktorx0", "/dev/pktor", "pktorx", ""}) {
        errno = 0;
        EXPECT_EQ(::open(path, O_RDWR), -1) << path;
        EXPECT_EQ(errno, ENOENT) << path;
    }
    // Through a pointer, because the declaration promises a path.
    int (*volatile openAny)(const char *, int, ...) = ::open;
    errno = 0;
    EXPECT_EQ(openAny(nullptr, O_RDWR), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_numOpens(), 0u);
    EXPECT_EQ(State().flowMissAction, 0u);
}

TEST_F(EmuNodeTest, ModeOfACreatedFilePassesThrough) {
    const test::TempFolder files;
    const std::string path = files.File("new");
    const mode_t savedMask = ::umask(0);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0640);
    ::umask(savedMask);
    ASSERT_GE(fd, 0) << std::strerror(errno);
    struct stat status = {};
    EXPECT_EQ(::fstat(fd, &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0640u);
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuNodeTest, RequestsOfOtherDescriptorsPassThrough) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    int waiting = 0;
    EXPECT_EQ(::ioctl(ends[0], FIONREAD, &waiting), 0);
    EXPECT_EQ(waiting, 3);
    EXPECT_EQ(Ioctl(ends[0], kSetGblCfg, GblRecord(1, 2)), KernelAnswer(ends[0]));
    EXPECT_EQ(::close(ends[0]), 0);
    EXPECT_EQ(::close(ends[1]), 0);
    EXPECT_FALSE(IsOpen(ends[0]));
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(EmuNodeTest, ClosedDescriptorIsNoLongerTheDevices) {
    const int fd = ::open(kDevice, O_RDWR);
    ASSERT_EQ(::close(fd), 0);
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd));
    errno = 0;
    EXPECT_EQ(::close(fd), -1);
    EXPECT_EQ(errno, EBADF);

    // Its number may be another file's by then.
    const int other = ::open("/dev/null", O_RDWR);
    EXPECT_EQ(other, fd);
    EXPECT_EQ(Ioctl(other, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(other));
    EXPECT_EQ(::close(other), 0);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(EmuNodeTest, NumberThatAnotherFileTookOverIsNoLongerTheDevices) {
    const int fd = ::open(kDevice, O_RDWR);
    CloseUnseen(fd);
    const int other = ::open("/dev/null", O_RDWR);
    ASSERT_EQ(other, fd);
    EXPECT_EQ(Ioctl(other, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(other));
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(::close(other), 0);
}

// Puts something under a number that is free, behind the hooks; what it opened besides is closed again.
struct TakeOver {
    const char *name;
    void (*run)();
};
constexpr TakeOver kTakeOvers[] = {
    {"pipe",
     [] {
         int ends[2];
         EXPECT_EQ(::pipe(ends), 0);
         EXPECT_EQ(::close(ends[1]), 0);
     }},
    {"socket", [] { EXPECT_GE(::socket(AF_UNIX, SOCK_STREAM, 0), 0); }},
    {"copy", [] { EXPECT_GE(::dup(STDIN_FILENO), 0); }},
    {"the placeholder's device", [] { EXPECT_GE(::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR), 0); }},
};

TEST_F(EmuNodeTest, RequestOfANumberThatWasTakenOverUnseenIsNotTheDevices) {
    for (const TakeOver &takeOver : kTakeOvers) {
        const int fd = ::open(kDevice, O_RDWR);
        CloseUnseen(fd);
        takeOver.run();
        ASSERT_TRUE(IsOpen(fd)) << takeOver.name;
        EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd)) << takeOver.name;
        EXPECT_EQ(orxemu_openDescriptors(), 0) << takeOver.name;
        EXPECT_EQ(::close(fd), 0) << takeOver.name;
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

TEST_F(EmuNodeTest, NumberThatWasTakenOverUnseenIsClosedAsAnothers) {
    for (const TakeOver &takeOver : kTakeOvers) {
        const int fd = ::open(kDevice, O_RDWR);
        CloseUnseen(fd);
        takeOver.run();
        errno = EXDEV;
        EXPECT_EQ(::close(fd), 0) << takeOver.name;
        EXPECT_EQ(errno, EXDEV) << takeOver.name;
        EXPECT_FALSE(IsOpen(fd)) << takeOver.name;
        EXPECT_EQ(orxemu_openDescriptors(), 0) << takeOver.name;
    }
}

TEST_F(EmuNodeTest, NumberThatWasClosedUnseenIsNobodys) {
    const int fd = ::open(kDevice, O_RDWR);
    CloseUnseen(fd);
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), KernelAnswer(fd));
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

#ifdef __GLIBC__
// A child that the stand-in does not hear of.
TEST_F(EmuNodeTest, NumberThatAChildTookOverIsNotTheDevicesThere) {
    const int fd = ::open(kDevice, O_RDWR);
    const pid_t child = ::_Fork();
    if (child == 0) {
        int waiting = -1;
        const bool taken = ::close(fd) == 0 && ::socket(AF_UNIX, SOCK_DGRAM, 0) == fd;
        ::_exit(taken && ::ioctl(fd, FIONREAD, &waiting) == 0 && waiting == 0 ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the child's request did not reach its own file";
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 2)), 0) << "it is still the device's here";
    EXPECT_EQ(::close(fd), 0);
}
#endif

// Programs look at what they have opened.
TEST_F(EmuNodeTest, DescriptorIsOfACharacterDevice) {
    const int fd = ::open(kDevice, O_RDWR);
    struct stat status = {};
    EXPECT_EQ(::fstat(fd, &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
    EXPECT_EQ(::fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuNodeTest, NumberThatTheDeviceTookOverCountsOnce) {
    const int fd = ::open(kDevice, O_RDWR);
    CloseUnseen(fd);
    const int again = ::open(kDevice, O_RDWR);
    ASSERT_EQ(again, fd);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(::close(again), 0);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

TEST_F(EmuNodeTest, ResetIsPowerOn) {
    Activate(kActivateAsTbl, TblRecord(468, kNotSet, 1));
    Activate(kActivateDscpTbl, TblRecord(88, kNotSet, 1));
    Activate(kActivatePacTbl, TblRecord(268, kNotSet, 1));
    Activate(kActivateFlow, FlowRecord(kNotSet, 0));
    EXPECT_EQ(orxemu_addHits(0, 0, 1), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
    EXPECT_EQ(Send(kSetPortCfg, AclRecord(1, 1)), 0);
    EXPECT_EQ(Send(kSetPortCfg, PadRecord(1, 64)), 0);
    EXPECT_EQ(Send(kSetPortCfg, TpidRecord(1, {1, 2, 3, 4})), 0);
    EXPECT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    EXPECT_EQ(Send(kSetRlTciCfg, RlTciRecord(1, 1, 2)), 0);
    EXPECT_EQ(Send(kActivateRl, RlRecord(1, 1, {1, 1, 1, 1})), 0);
    const int fd = ::open(kDevice, O_RDWR);
    orxemu_setPresent(0);
    orxemu_failOpen(1, EACCES);
    orxemu_failRequest(0, 1, EIO);
    orxemu_loseAnswer(0, 2, EIO);

    orxemu_reset();
    static const OrxEmuState powerOn = {};
    EXPECT_EQ(std::memcmp(&State(), &powerOn, sizeof powerOn), 0);
    EXPECT_EQ(orxemu_numRequests(), 0u);
    EXPECT_EQ(orxemu_request(0), nullptr);
    EXPECT_EQ(orxemu_numOpens(), 0u);
    EXPECT_EQ(orxemu_openDescriptors(), 1) << "an open descriptor stays open";
    EXPECT_EQ(Ioctl(fd, kSetGblCfg, GblRecord(1, 1)), 0);
    EXPECT_EQ(::close(fd), 0);
    EXPECT_EQ(Send(kSetGblCfg, GblRecord(1, 2)), 0);
    EXPECT_EQ(ActivateFlow(), 0u);
}

} // namespace

} // namespace emu_test
