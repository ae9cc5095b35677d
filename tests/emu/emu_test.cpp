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

Record GblRecord(std::uint32_t type, std::uint32_t action) {
    return Record(8).Put32(0, type).Put32(4, action);
}

Record AclRecord(std::uint32_t port, std::uint32_t aclType) {
    return Record(32).Put32(0, 1).Put32(4, port).Put32(8, aclType);
}

Record TpidRecord(std::uint32_t port, const std::array<std::uint16_t, 4> &tpid) {
    return Record(32).Put32(0, 2).Put32(12, port).Put(16, tpid.data(), 8);
}

Record PadRecord(std::uint32_t port, std::uint32_t padLen) {
    return Record(32).Put32(0, 4).Put32(24, port).Put32(28, padLen);
}

Record TblRecord(std::size_t tblBytes, std::uint32_t index, std::uint8_t seed) {
    Record record(4 + tblBytes);
    record.Put32(0, index);
    for (std::size_t i = 0; i < tblBytes; ++i) {
        const auto byte = static_cast<std::uint8_t>(seed + 3 * i);
        record.Put(4 + i, &byte, 1);
    }
    return record;
}

Record FlowRecord(std::uint32_t flowIdx, std::uint32_t pacTblIdx, std::uint32_t epTblIdx) {
    return Record(20)
        .Put32(0, flowIdx)
        .Put32(4, kFcbBytes)
        .Put32(8, Address32(fcb.data()))
        .Put32(12, pacTblIdx)
        .Put32(16, epTblIdx);
}

Record HitsRecord(std::uint32_t flowIdx) {
    Record record(40);
    std::memset(record.Data(), 0, 40);
    return record.Put32(0, flowIdx);
}

Record FwdRecord(std::uint32_t flowIdx, std::uint32_t flowPrio, std::uint32_t fwdAction, std::uint8_t seed) {
    Record record(72);
    for (std::size_t i = 0; i < kFwdInfoBytes; ++i) {
        const auto byte = static_cast<std::uint8_t>(seed + 5 * i);
        record.Put(4 + i, &byte, 1);
    }
    return record.Put32(0, flowIdx).Put32(4, flowPrio).Put32(68, fwdAction);
}

Record RlStatusRecord(std::uint32_t status) {
    return Record(4).Put32(0, status);
}

Record RlTciRecord(std::uint32_t dir, std::uint16_t first, std::uint16_t second) {
    return Record(12).Put32(4, dir).Put16(8, first).Put16(10, second);
}

Record RlRecord(std::uint32_t dir, std::uint32_t index, const std::array<std::uint32_t, 4> &config) {
    return Record(32).Put32(4, dir).Put32(12, index).Put(16, config.data(), 16);
}

std::vector<std::uint8_t> BytesAt(const void *begin, std::size_t size) {
    const auto *bytes = static_cast<const std::uint8_t *>(begin);
    return {bytes, bytes + size};
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
