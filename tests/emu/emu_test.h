// The fixture of the stand-in's own tests, and records written byte by byte: nothing here uses the library's
// declarations of them.
#ifndef TESTS_EMU_EMU_TEST_H
#define TESTS_EMU_EMU_TEST_H

#include "emu/orxemu.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace emu_test {

constexpr const char *kDevice = "/dev/pktorx";

enum Request {
    kSetGblCfg = 17,
    kSetPortCfg = 19,
    kActivateAsTbl = 21,
    kDeactivateAsTbl = 22,
    kActivateDscpTbl = 23,
    kDeactivateDscpTbl = 24,
    kActivatePacTbl = 27,
    kDeactivatePacTbl = 28,
    kActivateFlow = 29,
    kDeactivateFlow = 30,
    kGetFlowHits = 38,
    kSetRlStatus = 39,
    kSetRlTciCfg = 40,
    kActivateRl = 41,
    kDeactivateRl = 42,
    kUpdateFwdInfo = 43,
};

constexpr std::size_t kFcbBytes = 1884;
constexpr std::size_t kFwdInfoSetOffset = 268;
constexpr std::size_t kFwdInfoOffset = 272;
constexpr std::size_t kFwdInfoBytes = 68;
// What a word holds that the library does not set.
constexpr std::uint32_t kNotSet = 0xA5A5A5A5;
constexpr std::uint32_t kMinusOne = 0xFFFFFFFF;

// Bytes of a record, unset at first.
class Record {
  public:
    explicit Record(std::size_t size) : bytes_(size, std::uint8_t{0xA5}) {}

    Record &Put32(std::size_t offset, std::uint32_t value) { return Put(offset, &value, sizeof value); }
    Record &Put16(std::size_t offset, std::uint16_t value) { return Put(offset, &value, sizeof value); }
    Record &Put(std::size_t offset, const void *bytes, std::size_t size) {
        std::memcpy(bytes_.data() + offset, bytes, size);
        return *this;
    }
    // Byte i behind the first word: seed + step i.
    Record &Fill(std::uint8_t seed, std::uint8_t step) {
        for (std::size_t i = 4; i < bytes_.size(); ++i) {
            bytes_[i] = static_cast<std::uint8_t>(seed + step * (i - 4));
        }
        return *this;
    }
    std::uint32_t Word(std::size_t offset) const {
        std::uint32_t value;
        std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }
    const std::vector<std::uint8_t> &Bytes() const { return bytes_; }
    void *Data() { return bytes_.data(); }

  private:
    std::vector<std::uint8_t> bytes_;
};

// An FCB at a fixed place, so that 32 bits hold its address.
using FcbBytes = std::array<std::uint8_t, kFcbBytes>;
extern FcbBytes fcb;

// Byte i is seed + 7 i: no two neighbours alike. Words 268 and following say that no forwarding information
// is set.
void FillFcb(std::uint8_t seed);

// The 32 bits of an address that a record carries.
std::uint32_t Address32(const void *address);

// Records as the library sends them.
inline Record GblRecord(std::uint32_t type, std::uint32_t action) {
    return Record(8).Put32(0, type).Put32(4, action);
}
inline Record AclRecord(std::uint32_t port, std::uint32_t aclType) {
    return Record(32).Put32(0, 1).Put32(4, port).Put32(8, aclType);
}
inline Record TpidRecord(std::uint32_t port, const std::array<std::uint16_t, 4> &tpid) {
    return Record(32).Put32(0, 2).Put32(12, port).Put(16, tpid.data(), 8);
}
inline Record PadRecord(std::uint32_t port, std::uint32_t padLen) {
    return Record(32).Put32(0, 4).Put32(24, port).Put32(28, padLen);
}
// Index word and a table record whose byte i is seed + 3 i.
inline Record TblRecord(std::size_t tblBytes, std::uint32_t index, std::uint8_t seed) {
    return Record(4 + tblBytes).Fill(seed, 3).Put32(0, index);
}
inline Record FlowRecord(std::uint32_t flowIdx, std::uint32_t pacTblIdx = kMinusOne,
                         std::uint32_t epTblIdx = kMinusOne) {
    const std::uint32_t words[] = {flowIdx, kFcbBytes, Address32(fcb.data()), pacTblIdx, epTblIdx};
    return Record(20).Put(0, words, sizeof words);
}
inline Record HitsRecord(std::uint32_t flowIdx) {
    return Record(40).Fill(0, 0).Put32(0, flowIdx);
}
// Flow priority, forwarding flags, and bytes seed + 5 i between them.
inline Record FwdRecord(std::uint32_t flowIdx, std::uint32_t flowPrio, std::uint32_t fwdAction,
                        std::uint8_t seed) {
    return Record(72).Fill(seed, 5).Put32(0, flowIdx).Put32(4, flowPrio).Put32(68, fwdAction);
}
inline Record RlStatusRecord(std::uint32_t status) {
    return Record(4).Put32(0, status);
}
inline Record RlTciRecord(std::uint32_t dir, std::uint16_t first, std::uint16_t second) {
    return Record(12).Put32(4, dir).Put16(8, first).Put16(10, second);
}
inline Record RlRecord(std::uint32_t dir, std::uint32_t index, const std::array<std::uint32_t, 4> &config) {
    return Record(32).Put32(4, dir).Put32(12, index).Put(16, config.data(), 16);
}

// One kind of table.
struct TblKind {
    const char *name;
    int activate;
    int deactivate;
    std::size_t bytes;
    std::size_t num;
    const OrxEmuTable *(*slots)();
};
extern const std::array<TblKind, 3> kTblKinds;

// The bytes from `begin` on, as a vector that gtest can print.
inline std::vector<std::uint8_t> BytesAt(const void *begin, std::size_t size) {
    const auto *bytes = static_cast<const std::uint8_t *>(begin);
    return {bytes, bytes + size};
}

// Every request that the device knows, with the size of its record.
struct KnownRequest {
    const char *name;
    int request;
    std::size_t size;
};
extern const std::array<KnownRequest, 16> kKnownRequests;

class EmuTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // One request as the library makes it: open, ioctl, close. 0 or the errno of the ioctl.
    static int Send(int request, Record &record) { return SendAt(request, record.Data()); }
    static int Send(int request, Record &&record) { return SendAt(request, record.Data()); }
    static int SendAt(int request, void *record);

    // Sends an activation that must be accepted; the index that came back.
    static std::uint32_t Activate(int request, Record record);
    static std::uint32_t ActivateFlow() { return Activate(kActivateFlow, FlowRecord(kNotSet)); }

    static const OrxEmuState &State() { return *orxemu_state(); }
    static const OrxEmuRequest &LastRequest();
};

// A copy of what the hardware holds, to show that a refused request changed nothing.
class StateSnapshot {
  public:
    StateSnapshot() : bytes_(sizeof(OrxEmuState)) {
        std::memcpy(bytes_.data(), orxemu_state(), bytes_.size());
    }
    bool Unchanged() const { return std::memcmp(bytes_.data(), orxemu_state(), bytes_.size()) == 0; }

  private:
    std::vector<std::uint8_t> bytes_;
};

} // namespace emu_test

#endif
