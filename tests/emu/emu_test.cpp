#include "tests/emu/emu_test.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace emu_test {

FcbBytes fcb;

const std::array<TblKind, 3> kTblKinds = {{
    {"AS", kActivateAsTbl, kDeactivateAsTbl, 468, 16, [] { return orxemu_state()->asTbl; }},
    {"DSCP", kActivateDscpTbl, kDeactivateDscpTbl, 88, 6, [] { return orxemu_state()->dscpTbl; }},
    {"PAC", kActivatePacTbl, kDeactivatePacTbl, 268, 16, [] { return orxemu_state()->pacTbl; }},
}};

const std::array<KnownRequest, 16> kKnownRequests = {{
    {"global configuration", 17, 8},
    {"port configuration", 19, 32},
    {"activate AS table", 21, 472},
    {"deactivate AS table", 22, 472},
    {"activate DSCP table", 23, 92},
    {"deactivate DSCP table", 24, 92},
    {"activate PAC table", 27, 272},
    {"deactivate PAC table", 28, 272},
    {"activate flow", 29, 20},
    {"deactivate flow", 30, 20},
    {"flow hits", 38, 40},
    {"rate-limiter status", 39, 4},
    {"rate-limiter TCI", 40, 12},
    {"activate rate limiter", 41, 32},
    {"deactivate rate limiter", 42, 32},
    {"update forwarding", 43, 72},
}};

void FillFcb(std::uint8_t seed) {
    for (std::size_t i = 0; i < fcb.size(); ++i) {
        fcb[i] = static_cast<std::uint8_t>(seed + 7 * i);
    }
    std::memset(fcb.data() + kFwdInfoSetOffset, 0, 4);
}

std::uint32_t Address32(const void *address) {
    const auto value = reinterpret_cast<std::uintptr_t>(address);
    EXPECT_LE(value, 0xFFFFFFFFu) << "the test program is not linked at a fixed place below 4 GiB";
    return static_cast<std::uint32_t>(value);
}

void EmuTest::SetUp() {
    orxemu_reset();
    FillFcb(1);
    ASSERT_EQ(orxemu_openDescriptors(), 0);
}

void EmuTest::TearDown() {
    orxemu_reset();
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

int EmuTest::SendAt(int request, void *record) {
    const int fd = ::open(kDevice, O_RDWR);
    EXPECT_GE(fd, 0) << std::strerror(errno);
    errno = 0;
    const int result = ::ioctl(fd, static_cast<unsigned long>(request), record);
    const int err = errno;
    EXPECT_EQ(result, err == 0 ? 0 : -1);
    EXPECT_EQ(::close(fd), 0);
    return err;
}

std::uint32_t EmuTest::Activate(int request, Record record) {
    EXPECT_EQ(Send(request, record), 0);
    return record.Word(0);
}

const OrxEmuRequest &EmuTest::LastRequest() {
    static const OrxEmuRequest none = {};
    const OrxEmuRequest *last = orxemu_request(orxemu_numRequests() - 1);
    EXPECT_NE(last, nullptr) << "the log is empty";
    return last != nullptr ? *last : none;
}

} // namespace emu_test
