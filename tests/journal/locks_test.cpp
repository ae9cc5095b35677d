// File systems that have no locks, or locks of their own kind. The lock of this program stands in front of
// the system's.
#include "emu/journal/state_file.h"
#include "tests/support/temp_folder.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// What a lock comes to; the system's own where there is none.
int (*lockInstead)(int fd) = nullptr;
int lockErrno = 0;

int Fail(int /*fd*/) {
    errno = lockErrno;
    return -1;
}

} // namespace

// By that name in the program: in the source it is a structure's, too.
extern "C" int LockInFront(int fd, int operation) noexcept __asm__("flock");
extern "C" int LockInFront(int fd, int operation) noexcept {
    return lockInstead != nullptr ? lockInstead(fd) : static_cast<int>(syscall(SYS_flock, fd, operation));
}

namespace {

using namespace orxemu::journal;

class JournalLocks : public ::testing::Test {
  protected:
    ~JournalLocks() override { lockInstead = nullptr; }

    void ExpectWritten(const std::string &text) const {
        Problem problem;
        EXPECT_TRUE(WriteFileAtomically(State(), text, problem)) << problem.Text();
        EXPECT_EQ(text, test::FileText(State()));
    }
    void ExpectNotWritten(const std::string &what) const {
        Problem problem;
        EXPECT_FALSE(WriteFileAtomically(State(), "new", problem));
        EXPECT_EQ(State() + ": cannot be written: " + what, problem.Text());
    }
    std::string State() const { return folder_.File("state"); }
    std::string Left() const { return State() + ".orxemu-new"; }

    const test::TempFolder folder_;
};

constexpr int kNoLocks[] = {ENOLCK, EOPNOTSUPP, ENOSYS};

TEST_F(JournalLocks, WithoutThemAStateIsWritten) {
    lockInstead = Fail;
    for (const int err : kNoLocks) {
        lockErrno = err;
        ExpectWritten("with errno " + std::to_string(err));
        EXPECT_EQ(1u, folder_.Names().size()) << err;
    }
    ASSERT_EQ(0, chmod(State().c_str(), 0604));
    ExpectWritten("again");
    struct stat file = {};
    ASSERT_EQ(0, stat(State().c_str(), &file));
    EXPECT_EQ(0604u, file.st_mode & 07777);
}

// It may be a writer's that is at work: nobody knows. Further writers have other names.
TEST_F(JournalLocks, WithoutThemNobodysFileIsTouched) {
    lockInstead = Fail;
    test::WriteFile(Left(), "half of a");
    test::WriteFile(Left() + "-" + std::to_string(getpid()), "half of one, too");
    for (const int err : kNoLocks) {
        lockErrno = err;
        ExpectWritten("with errno " + std::to_string(err));
        EXPECT_EQ("half of a", test::FileText(Left()));
        EXPECT_EQ("half of one, too", test::FileText(Left() + "-" + std::to_string(getpid())));
        EXPECT_EQ(3u, folder_.Names().size()) << err;
    }
}

// As over a network, where the lock for writing needs a descriptor for writing.
int NeedsTheRightToWrite(int fd) {
    if ((fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY) {
        errno = EBADF;
        return -1;
    }
    return 0;
}

TEST_F(JournalLocks, WhatIsLeftIsLockedByADescriptorForWriting) {
    lockInstead = NeedsTheRightToWrite;
    test::WriteFile(Left(), "half of a");
    ExpectWritten("new");
    EXPECT_EQ(1u, folder_.Names().size()) << "what was left is gone";
}

// While it lives somebody acts to whom files can be closed, which to root they cannot.
class AsNobody {
  public:
    explicit AsNobody(const std::string &folder) {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0) {
            EXPECT_EQ(0, chown(folder.c_str(), nobody, static_cast<gid_t>(-1)));
            EXPECT_EQ(0, seteuid(nobody));
        }
    }
    AsNobody(const AsNobody &) = delete;
    AsNobody &operator=(const AsNobody &) = delete;
    ~AsNobody() { EXPECT_EQ(0, seteuid(getuid())); }
};

TEST_F(JournalLocks, WhatIsLeftMayBeClosedToWriters) {
    const AsNobody nobody(folder_.File(""));
    test::WriteFile(Left(), "half of a");
    ASSERT_EQ(0, chmod(Left().c_str(), 0444));
    ExpectWritten("new");
    EXPECT_EQ(1u, folder_.Names().size());
    lockInstead = NeedsTheRightToWrite;
    test::WriteFile(Left(), "half of a");
    ASSERT_EQ(0, chmod(Left().c_str(), 0444));
    ExpectWritten("newer");
    EXPECT_EQ("half of a", test::FileText(Left())) << "nobody knows whose it is";
}

// The descriptor is not open any more when it is to be closed, and that is not what went wrong.
int FailAndSpoilTheDescriptor(int fd) {
    close(fd);
    errno = EIO;
    return -1;
}

TEST_F(JournalLocks, WhatWentWrongIsSaid) {
    test::WriteFile(State(), "old");
    lockInstead = Fail;
    lockErrno = EIO;
    ExpectNotWritten("Input/output error");
    lockInstead = FailAndSpoilTheDescriptor;
    ExpectNotWritten("Input/output error");
    EXPECT_EQ(1u, folder_.Names().size()) << "nothing is left beside";
    test::WriteFile(Left(), "half of a");
    ExpectNotWritten("Input/output error");
    EXPECT_EQ("old", test::FileText(State()));
    EXPECT_EQ("half of a", test::FileText(Left()));
}

} // namespace
