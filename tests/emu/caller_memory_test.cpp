// Addresses of the caller: what the device cannot reach is an error, never a crash.
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace emu_test {

namespace {

constexpr std::size_t kMaxPage = 65536;
alignas(kMaxPage) std::uint8_t ownPages[3 * kMaxPage];

// Three areas at a fixed place; the one in the middle can be closed. Nothing else lives in them.
class EmuCallerMemoryTest : public EmuTest {
  protected:
    void SetUp() override {
        ASSERT_LE(sysconf(_SC_PAGESIZE), static_cast<long>(kMaxPage));
        EmuTest::SetUp();
    }
    void TearDown() override {
        Protect(PROT_READ | PROT_WRITE);
        EmuTest::TearDown();
    }

    static std::uint8_t *Middle() { return ownPages + kMaxPage; }
    static void Protect(int protection) { ASSERT_EQ(mprotect(Middle(), kMaxPage, protection), 0); }

    // The record's last `inside` bytes lie in the middle.
    static void *PlaceAcross(const Record &record, std::size_t inside) {
        std::uint8_t *place = Middle() + inside - record.Bytes().size();
        std::memcpy(place, record.Bytes().data(), record.Bytes().size());
        return place;
    }

    // A record in the middle, which is still open.
    static void *PlaceOf(const Record &record) { return PlaceAcross(record, record.Bytes().size()); }

    static Record FlowRecordAt(const void *fcbPlace) {
        return FlowRecord(kNotSet).Put32(8, Address32(fcbPlace));
    }
};

TEST_F(EmuCallerMemoryTest, RecordThatCannotBeReadIsRefused) {
    for (const KnownRequest &known : kKnownRequests) {
        SCOPED_TRACE(known.name);
        // A record that would name an active object or valid values reaches into the closed area with one
        // byte.
        Record record(known.size);
        std::memset(record.Data(), 0, known.size);
        void *across = PlaceAcross(record, 1);
        Protect(PROT_NONE);
        const StateSnapshot before;
        for (void *place : {static_cast<void *>(nullptr), across, static_cast<void *>(Middle())}) {
            EXPECT_EQ(SendAt(known.request, place), EFAULT) << place;
            EXPECT_EQ(LastRequest().err, EFAULT);
            EXPECT_EQ(LastRequest().recordSize, known.size);
            EXPECT_EQ(BytesAt(LastRequest().in, ORXEMU_MAX_RECORD),
                      std::vector<std::uint8_t>(ORXEMU_MAX_RECORD));
        }
        EXPECT_TRUE(before.Unchanged());
        Protect(PROT_READ | PROT_WRITE);
    }
}

TEST_F(EmuCallerMemoryTest, NothingIsKeptOfARecordThatEndsInClosedMemory) {
    for (const std::size_t inside : {1u, 4u}) {
        void *across = PlaceAcross(GblRecord(0x01010101, 0x02020202), inside);
        Protect(PROT_NONE);
        EXPECT_EQ(SendAt(kSetGblCfg, across), EFAULT);
        EXPECT_EQ(BytesAt(LastRequest().in, ORXEMU_MAX_RECORD), std::vector<std::uint8_t>(ORXEMU_MAX_RECORD));
        Protect(PROT_READ | PROT_WRITE);
    }
}

TEST_F(EmuCallerMemoryTest, RecordMayEndWhereReadableMemoryEnds) {
    void *place = PlaceAcross(GblRecord(1, 2), 0);
    Protect(PROT_NONE);
    EXPECT_EQ(SendAt(kSetGblCfg, place), 0);
    EXPECT_EQ(State().flowMissAction, 2u);
}

// The answer cannot be given, so nothing is activated.
TEST_F(EmuCallerMemoryTest, AnswerThatCannotBeWrittenActivatesNothing) {
    ActivateFlow();
    struct Row {
        const char *name;
        int request;
        Record record;
    };
    std::vector<Row> rows = {{"flow", kActivateFlow, FlowRecord(kNotSet)},
                             {"hits", kGetFlowHits, HitsRecord(0)}};
    for (const TblKind &kind : kTblKinds) {
        rows.push_back({kind.name, kind.activate, TblRecord(kind.bytes, kNotSet, 1)});
    }
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<std::uint8_t> &sent = row.record.Bytes();
        void *place = PlaceAcross(row.record, sent.size());
        Protect(PROT_READ);
        const StateSnapshot before;
        EXPECT_EQ(SendAt(row.request, place), EFAULT);
        EXPECT_TRUE(before.Unchanged());
        EXPECT_EQ(BytesAt(place, sent.size()), sent);
        EXPECT_EQ(BytesAt(LastRequest().in, sent.size()), sent);
        EXPECT_EQ(BytesAt(LastRequest().out, sent.size()), sent);
        Protect(PROT_READ | PROT_WRITE);
    }
}

// Requests without an answer do not need a record that can be written.
TEST_F(EmuCallerMemoryTest, SettingIsTakenFromReadOnlyMemory) {
    const Record record = GblRecord(1, 1);
    void *place = PlaceAcross(record, record.Bytes().size());
    Protect(PROT_READ);
    EXPECT_EQ(SendAt(kSetGblCfg, place), 0);
    EXPECT_EQ(State().flowMissAction, 1u);
}

TEST_F(EmuCallerMemoryTest, FcbThatCannotBeReadIsRefused) {
    ActivateFlow();
    Protect(PROT_NONE);
    const void *places[] = {
        nullptr,
        Middle(),
        Middle() + 1 - kFcbBytes, // its last byte is closed
        Middle() + kMaxPage - 1,  // its first byte is closed
        Middle() + kMaxPage - kFcbBytes / 2,
    };
    for (const void *place : places) {
        for (const int request : {kActivateFlow, kDeactivateFlow}) {
            SCOPED_TRACE(std::to_string(request) + " at " + std::to_string(Address32(place)));
            const StateSnapshot before;
            Record record = FlowRecordAt(place).Put32(0, 0);
            EXPECT_EQ(Send(request, record), EFAULT);
            EXPECT_EQ(record.Bytes(), FlowRecordAt(place).Put32(0, 0).Bytes());
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(LastRequest().fcbSize, 0u);
        }
    }
}

TEST_F(EmuCallerMemoryTest, FcbMayEndWhereReadableMemoryEnds) {
    std::uint8_t *place = Middle() - kFcbBytes;
    std::memcpy(place, fcb.data(), kFcbBytes);
    Protect(PROT_NONE);
    EXPECT_EQ(Send(kActivateFlow, FlowRecordAt(place)), 0);
    EXPECT_EQ(BytesAt(State().flow[0].fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
}

// Whether the kernel moves bytes from a process to itself; an emulator of another processor may not.
bool MovesDirectly() {
    char from = 'x';
    char to = 0;
    const iovec own = {&to, 1};
    const iovec callers = {&from, 1};
    return syscall(SYS_process_vm_readv, static_cast<long>(getpid()), &own, 1L, &callers, 1L, 0L) == 1;
}

TEST_F(EmuCallerMemoryTest, ProgramWithoutADescriptorLeftIsServed) {
    if (!MovesDirectly()) {
        GTEST_SKIP() << "needs process_vm_readv";
    }
    const int fd = ::open(kDevice, O_RDWR);
    ASSERT_GE(fd, 0);
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // The device has the lowest number that was free.
    const rlimit none = {static_cast<rlim_t>(fd) + 1, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const int full = ::open("/dev/null", O_RDONLY);
    const int fullErr = errno;

    Record flow = FlowRecordAt(fcb.data());
    const int activated = ::ioctl(fd, kActivateFlow, flow.Data());
    errno = 0;
    ::ioctl(fd, kSetGblCfg, nullptr);
    const int unreadErr = errno;
    void *place = PlaceOf(flow);
    Protect(PROT_READ);
    errno = 0;
    ::ioctl(fd, kActivateFlow, place);
    const int unwrittenErr = errno;

    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(full, -1);
    EXPECT_EQ(fullErr, EMFILE);
    EXPECT_EQ(activated, 0);
    EXPECT_EQ(flow.Word(0), 0u);
    EXPECT_EQ(BytesAt(State().flow[0].fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
    EXPECT_EQ(unreadErr, EFAULT);
    EXPECT_EQ(unwrittenErr, EFAULT);
    EXPECT_EQ(::close(fd), 0);
}

// From here on the two system calls fail in this process.
bool RefuseDirectMoves() {
    constexpr auto kNumber = static_cast<std::uint32_t>(offsetof(seccomp_data, nr));
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_process_vm_readv, 1, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_process_vm_writev, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {static_cast<unsigned short>(std::size(filter)), filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 && !MovesDirectly();
}

// In a child, because the refusal is for good.
TEST_F(EmuCallerMemoryTest, RefusedSystemCallHasASubstitute) {
    constexpr int kNoFilter = 77;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (MovesDirectly() && !RefuseDirectMoves()) {
            _exit(kNoFilter);
        }
        Record flow = FlowRecordAt(fcb.data());
        EXPECT_EQ(Send(kActivateFlow, flow), 0);
        EXPECT_EQ(flow.Word(0), 0u);
        EXPECT_EQ(BytesAt(State().flow[0].fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
        EXPECT_EQ(SendAt(kSetGblCfg, nullptr), EFAULT);
        void *across = PlaceAcross(flow, 1);
        void *within = PlaceOf(flow);
        Protect(PROT_READ);
        EXPECT_EQ(SendAt(kActivateFlow, within), EFAULT);
        Protect(PROT_NONE);
        EXPECT_EQ(SendAt(kDeactivateFlow, across), EFAULT);
        _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoFilter) {
        GTEST_SKIP() << "needs a system that filters system calls";
    }
    EXPECT_EQ(status, 0) << "what the child expected does not hold";
}

#if UINTPTR_MAX > 0xFFFFFFFF

// The record carries the low 32 bits only. They name a place below the program where nothing is mapped.
TEST_F(EmuCallerMemoryTest, FcbAbove4GiBCannotBeReached) {
    void *place = MAP_FAILED;
    for (int bit = 46; bit > 32 && place == MAP_FAILED; --bit) {
        place = mmap(reinterpret_cast<void *>((std::uintptr_t{1} << bit) + kMaxPage), kMaxPage,
                     PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    }
    ASSERT_NE(place, MAP_FAILED) << std::strerror(errno);
    std::memcpy(place, fcb.data(), kFcbBytes);
    const auto address = reinterpret_cast<std::uintptr_t>(place);
    EXPECT_GT(address, 0xFFFFFFFFu);
    EXPECT_EQ(Send(kActivateFlow, FlowRecord(kNotSet).Put32(8, static_cast<std::uint32_t>(address))), EFAULT);
    EXPECT_EQ(State().flow[0].active, 0);
    EXPECT_EQ(munmap(place, kMaxPage), 0);
}

#endif

} // namespace

} // namespace emu_test
