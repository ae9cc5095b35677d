// The device node: opened, asked and closed for every request, and what is said when that fails.
#include "tests/driver/driver_test.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace driver_test {
namespace {

class DeviceNode : public test::LibraryTest {
  protected:
    static Op Ioctl(i32 request, void *record) {
        return [=] { return static_cast<u32>(qir::pktOrxDevIoctl(request, record)); };
    }
};

TEST_F(DeviceNode, IsOpenedForReadingAndWriting) {
    const NodeCalls calls;
    i32 fd = -1;
    ExpectSilentSuccess([&] {
        fd = qir::pktOrxDevOpen();
        return 0u;
    });
    ASSERT_GE(fd, 0);
    EXPECT_EQ(orxemu_openDescriptors(), 1);
    ASSERT_EQ(calls.Seen().size(), 1u);
    EXPECT_EQ(calls.Seen()[0].kind, NodeCall::Open);
    EXPECT_EQ(calls.Seen()[0].flags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(calls.Seen()[0].flags & (O_CREAT | O_EXCL | O_TRUNC), 0);
    EXPECT_EQ(calls.Seen()[0].fd, fd);
    EXPECT_EQ(close(fd), 0);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

struct OpenFailure {
    const char *what;
    void (*arm)();
    const char *line;
};
const OpenFailure kOpenFailures[] = {
    {"missing", [] { orxemu_setPresent(0); }, "qel_dev_open </dev/pktorx> error no 2\n"},
    {"not permitted", [] { orxemu_failOpen(1, EACCES); }, "qel_dev_open </dev/pktorx> error no 13\n"},
    {"busy", [] { orxemu_failOpen(1, EBUSY); }, "qel_dev_open </dev/pktorx> error no 16\n"},
    {"no driver behind it", [] { orxemu_failOpen(1, ENXIO); }, "qel_dev_open </dev/pktorx> error no 6\n"},
    {"too many descriptors", [] { orxemu_failOpen(1, EMFILE); }, "qel_dev_open </dev/pktorx> error no 24\n"},
};

TEST_F(DeviceNode, OpeningThatFailsReportsTheErrno) {
    for (const OpenFailure &row : kOpenFailures) {
        SCOPED_TRACE(row.what);
        orxemu_reset();
        row.arm();
        i32 fd = 0;
        const Called called = Call([&] {
            fd = qir::pktOrxDevOpen();
            return 0u;
        });
        EXPECT_EQ(fd, -1);
        EXPECT_EQ(called.out, "");
        EXPECT_EQ(called.err, row.line);
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
}

// Opening, request and closing on one descriptor, in this order and with nothing around them.
void ExpectRoundTrip(const NodeCalls &calls, unsigned long request, const void *record) {
    ASSERT_EQ(calls.Seen().size(), 3u);
    const NodeCall &open = calls.Seen()[0];
    const NodeCall &ioctl = calls.Seen()[1];
    const NodeCall &close = calls.Seen()[2];
    EXPECT_EQ(open.kind, NodeCall::Open);
    EXPECT_EQ(open.flags & O_ACCMODE, O_RDWR);
    EXPECT_EQ(ioctl.kind, NodeCall::Ioctl);
    EXPECT_EQ(ioctl.fd, open.fd);
    EXPECT_EQ(ioctl.request, request);
    EXPECT_EQ(ioctl.record, record);
    EXPECT_EQ(close.kind, NodeCall::Close);
    EXPECT_EQ(close.fd, open.fd);
}

TEST_F(DeviceNode, AcceptedRequestOpensAsksAndCloses) {
    u32 status = 1;
    const NodeCalls calls;
    ExpectSilentSuccess(Ioctl(39, &status));
    ExpectRoundTrip(calls, 39, &status);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(orxemu_state()->rlStatus, 1u);
}

TEST_F(DeviceNode, RefusedRequestIsReportedByItsNumberAndClosesToo) {
    const struct {
        i32 request;
        int err;
        const char *line;
    } rows[] = {
        {17, EINVAL, "pktOrxDevIoctl <17> error\n"},
        {39, EIO, "pktOrxDevIoctl <39> error\n"},
        {43, ENOTTY, "pktOrxDevIoctl <43> error\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.request);
        orxemu_reset();
        orxemu_failRequest(row.request, 1, row.err);
        u8 record[72] = {};
        const NodeCalls calls;
        ExpectDriverFailure(Ioctl(row.request, record), row.line);
        ExpectRoundTrip(calls, static_cast<unsigned long>(row.request), record);
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
}

// The numbers that the library leaves unused, and others: the device knows none of them.
TEST_F(DeviceNode, UnknownNumbersAreRefusedByTheDevice) {
    for (const i32 request : {0, 1, 16, 18, 20, 25, 26, 31, 32, 33, 34, 35, 36, 37, 44, 255}) {
        SCOPED_TRACE(request);
        u8 record[72] = {};
        ExpectDriverFailure(Ioctl(request, record),
                            "pktOrxDevIoctl <" + std::to_string(request) + "> error\n");
        EXPECT_EQ(LastRequest().request, request);
        EXPECT_EQ(LastRequest().err, ENOTTY);
    }
}

// Only -1 is a failure; any other answer of the device counts as accepted.
TEST_F(DeviceNode, OnlyMinusOneIsAFailure) {
    for (const int answer : {0, 1, 5, 0x7FFFFFFF, -2}) {
        SCOPED_TRACE(answer);
        u32 status = 1;
        const NodeCalls calls([answer](unsigned long, void *) { return answer; });
        ExpectSilentSuccess(Ioctl(39, &status));
        ExpectRoundTrip(calls, 39, &status);
    }
    u32 status = 1;
    const NodeCalls calls([](unsigned long, void *) {
        errno = EPERM;
        return -1;
    });
    ExpectDriverFailure(Ioctl(39, &status), IoctlFailed(39));
    ExpectRoundTrip(calls, 39, &status);
}

// A program that closed its standard input gets 0 for the device, which is a descriptor like any other.
TEST_F(DeviceNode, DescriptorZeroIsGood) {
    u32 status = 1;
    const NodeCalls calls;
    ExpectSilentSuccess([&] {
        const int input = dup(0);
        close(0);
        const u32 rc = Ioctl(39, &status)();
        if (input >= 0) {
            dup2(input, 0);
            close(input);
        }
        return rc;
    });
    ExpectRoundTrip(calls, 39, &status);
    EXPECT_EQ(calls.Seen()[0].fd, 0);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(orxemu_numRequests(), 1u);
}

} // namespace
} // namespace driver_test
