// Numbers of device descriptors that are closed or taken over otherwise than by close().
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace emu_test {

namespace {

using EmuClosingTest = EmuTest;

bool IsDevice(int fd) {
    Record record = GblRecord(1, 2);
    return ::ioctl(fd, static_cast<unsigned long>(kSetGblCfg), record.Data()) == 0;
}

std::vector<int> OpenMany(std::size_t count) {
    std::vector<int> descriptors;
    for (std::size_t i = 0; i < count; ++i) {
        descriptors.push_back(::open(kDevice, O_RDWR));
        EXPECT_GE(descriptors.back(), 0) << std::strerror(errno);
    }
    return descriptors;
}

// The device takes the lowest numbers that are free, which may have others in between.
TEST_F(EmuClosingTest, RangeEndsTheDevicesInIt) {
    const std::vector<int> fds = OpenMany(4);
    for (const int fd : {fds[1], fds[2]}) {
        const auto number = static_cast<unsigned>(fd);
        EXPECT_EQ(::close_range(number, number, 0), 0) << std::strerror(errno);
        EXPECT_FALSE(IsDevice(fd));
        EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
    }
    EXPECT_EQ(orxemu_openDescriptors(), 2);
    EXPECT_TRUE(IsDevice(fds[0]));
    EXPECT_TRUE(IsDevice(fds[3]));
    EXPECT_EQ(::close(fds[0]), 0);
    EXPECT_EQ(::close(fds[3]), 0);
}

TEST_F(EmuClosingTest, RangeThatIsClosedByExecOnlyStaysOpen) {
    const int fd = ::open(kDevice, O_RDWR);
    const auto number = static_cast<unsigned>(fd);
    EXPECT_EQ(::close_range(number, number, CLOSE_RANGE_CLOEXEC), 0) << std::strerror(errno);
    EXPECT_EQ(::fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_TRUE(IsDevice(fd));
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuClosingTest, RangeThatIsRefusedStaysOpen) {
    struct Row {
        const char *name;
        unsigned before, behind; // how far the range reaches around the descriptor
        int flags;
    };
    const Row rows[] = {{"unknown flags", 0, 0, 0x4000}, {"end in front of the beginning", 0, ~0U, 0}};
    const int fd = ::open(kDevice, O_RDWR);
    for (const Row &row : rows) {
        const auto number = static_cast<unsigned>(fd);
        errno = 0;
        EXPECT_EQ(::close_range(number - row.before, number + row.behind, row.flags), -1) << row.name;
        EXPECT_EQ(errno, EINVAL) << row.name;
        EXPECT_TRUE(IsDevice(fd)) << row.name;
    }
    EXPECT_EQ(::close(fd), 0);
}

TEST_F(EmuClosingTest, NumberThatIsGivenAwayIsNoLongerTheDevices) {
    const int null = ::open("/dev/null", O_RDWR);
    for (const bool third : {false, true}) {
        const int fd = ::open(kDevice, O_RDWR);
        EXPECT_EQ(::dup2(-1, fd), -1);
        EXPECT_EQ(::dup2(fd, fd), fd);
        EXPECT_TRUE(IsDevice(fd)) << "neither has touched it";
        EXPECT_EQ(third ? ::dup3(null, fd, O_CLOEXEC) : ::dup2(null, fd), fd);
        EXPECT_FALSE(IsDevice(fd)) << (third ? "dup3" : "dup2");
        EXPECT_EQ(orxemu_openDescriptors(), 0);
        EXPECT_EQ(::close(fd), 0);
    }
    EXPECT_EQ(::close(null), 0);
}

// As a child of vfork() does before it executes something.
int CloseCopies(void *argument) {
    const int fd = *static_cast<int *>(argument);
    const auto number = static_cast<unsigned>(fd);
    const bool closed = ::close(fd) == 0 && ::open("/dev/null", O_RDWR) == fd &&
                        ::close_range(number, number, 0) == 0 && ::open("/dev/null", O_RDWR) == fd &&
                        ::dup2(STDIN_FILENO, fd) == fd;
    return closed ? 0 : 1;
}

TEST_F(EmuClosingTest, ChildInThisMemoryClosesItsCopiesOnly) {
    int fd = ::open(kDevice, O_RDWR);
    std::vector<char> stack(256 * std::size_t{1024});
    const pid_t child =
        ::clone(CloseCopies, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | SIGCHLD, &fd);
    ASSERT_GT(child, 0) << std::strerror(errno);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the child could not do what it had to";
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_TRUE(IsDevice(fd));
    EXPECT_EQ(::close(fd), 0);
}

// A child with a memory of its own, and its child.
TEST_F(EmuClosingTest, ChildrenForgetWhatTheyClose) {
    const int fd = ::open(kDevice, O_RDWR);
    const pid_t child = fork();
    if (child == 0) {
        const pid_t grandchild = fork();
        int status = -1;
        if (grandchild == 0) {
            const bool forgotten = ::close(fd) == 0 && orxemu_openDescriptors() == 0 && !IsDevice(fd);
            _exit(forgotten ? 0 : 1);
        }
        const bool ended = ::waitpid(grandchild, &status, 0) == grandchild && status == 0;
        const bool forgotten = ::close(fd) == 0 && orxemu_openDescriptors() == 0 && !IsDevice(fd);
        _exit(ended && forgotten ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the copies are still the device's";
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(::close(fd), 0);
}

} // namespace

} // namespace emu_test
