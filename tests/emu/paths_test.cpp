// Paths that cannot be read, or not to their end: the kernel says what they are.
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

namespace emu_test::paths {

namespace {

constexpr std::size_t kMaxPage = 65536;

// Two areas; the second one cannot be read.
class EmuPathsTest : public EmuTest {
  protected:
    void SetUp() override {
        EmuTest::SetUp();
        void *mapped =
            ::mmap(nullptr, 2 * kMaxPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(mapped, MAP_FAILED) << std::strerror(errno);
        areas_ = static_cast<char *>(mapped);
        ASSERT_EQ(::mprotect(Unreadable(), kMaxPage, PROT_NONE), 0);
    }
    void TearDown() override {
        EXPECT_EQ(::munmap(areas_, 2 * kMaxPage), 0);
        EmuTest::TearDown();
    }

    char *Unreadable() const { return areas_ + kMaxPage; }
    // The text, so that its last `size` bytes are the last that can be read.
    const char *AtTheEnd(const char *text, std::size_t size) const {
        return static_cast<const char *>(std::memcpy(Unreadable() - size, text, size));
    }

  private:
    char *areas_ = nullptr;
};

using Open = int (*)(const char *path);

constexpr Open kOpens[] = {
    [](const char *path) { return ::open(path, O_RDWR); },
    [](const char *path) { return ::openat(AT_FDCWD, path, O_RDWR); },
#ifdef __GLIBC__
    [](const char *path) { return ::open64(path, O_RDWR); },
    [](const char *path) { return ::openat64(AT_FDCWD, path, O_RDWR); },
#endif
};

// Errno, or 0.
int ErrnoOf(Open open, const char *path) {
    errno = 0;
    const int fd = open(path);
    const int err = errno;
    if (fd >= 0) {
        EXPECT_EQ(::close(fd), 0);
        return 0;
    }
    return err;
}

TEST_F(EmuPathsTest, PathThatCannotBeRead) {
    const char *const paths[] = {
        nullptr,
        reinterpret_cast<const char *>(1),
        reinterpret_cast<const char *>(~std::uintptr_t{0}),
        Unreadable(),
        AtTheEnd("/", 1),
        AtTheEnd("/dev/pktorx", 11), // all but the zero behind it
    };
    for (const Open way : kOpens) {
        for (const char *path : paths) {
            // The last two lie in one place.
            AtTheEnd("/dev/pktorx", 11);
            EXPECT_EQ(ErrnoOf(way, path), EFAULT) << static_cast<const void *>(path);
        }
    }
}

TEST_F(EmuPathsTest, PathThatEndsWhereMemoryEnds) {
    struct Row {
        const char *path;
        int err;
        std::size_t opens; // of the device
    };
    const Row rows[] = {
        {"/dev/pktorx", 0, 1}, {"/", EISDIR, 0},          {"", ENOENT, 0},
        {"/dev/null", 0, 0},   {"/dev/pktor", ENOENT, 0},
    };
    for (const Open way : kOpens) {
        for (const Row &row : rows) {
            orxemu_reset();
            EXPECT_EQ(ErrnoOf(way, AtTheEnd(row.path, std::strlen(row.path) + 1)), row.err) << row.path;
            EXPECT_EQ(orxemu_numOpens(), row.opens) << row.path;
        }
    }
}

// Whatever it takes to look at a path: nothing of it is left, and it is not what fails.
TEST_F(EmuPathsTest, NoDescriptorIsNeededToLook) {
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const int next = ::dup(STDIN_FILENO);
    ASSERT_EQ(::close(next), 0);
    rlimit one = before;
    one.rlim_cur = static_cast<rlim_t>(next) + 1;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &one), 0);
    const int fd = ::open(kDevice, O_RDWR);
    const int other = ::open("/dev/null", O_RDWR);
    const int err = errno;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(fd, next);
    EXPECT_EQ(other, -1);
    EXPECT_EQ(err, EMFILE);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    EXPECT_EQ(::close(fd), 0);
}

} // namespace

} // namespace emu_test::paths
