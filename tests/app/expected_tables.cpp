#include "tests/app/expected_tables.h"

namespace app_test {

namespace {

constexpr std::size_t kIndexBytes = 4;
constexpr uint32_t kNotInHardware = 0xFFFFFFFF;
constexpr uint32_t kStatusAlloc = 1;
constexpr uint32_t kTableCfg = 2;

Image AsEntry(uint32_t macLow, uint32_t ipAddr, uint32_t prefixLen) {
    Image entry(52, 0);
    for (unsigned i = 0; i < 4; ++i) { // the first two bytes stay 00:00
        entry.Put8(14 + i, macLow >> (24 - 8 * i) & 0xFF);
    }
    for (unsigned i = 0; i < 6; ++i) {
        entry.Put8(18 + i, 0xFF);
    }
    return entry.Put32(24, ipAddr).Put32(28, prefixLen).Put32(44, 0x003).Put32(48, 1);
}

Image Request(const Image &record) {
    Image request(kIndexBytes + record.Size());
    request.Ignore(0, kIndexBytes).Put(kIndexBytes, record);
    return request;
}

} // namespace

Image AsTableRequest(unsigned tbl, uint32_t srcPortMask, unsigned firstAddr) {
    Image record(468);
    record.Put32Masked(0, tbl, 0xFF); // the handle's other bits are the caller's
    record.Put32(4, kNotInHardware).Put32(8, srcPortMask).Put16(12, 0).Put32(16, kTableCfg);
    for (std::size_t slot = 0; slot < 8; ++slot) {
        const std::size_t offset = 20 + 56 * slot;
        record.Put32(offset + 52, slot < 5 ? kStatusAlloc : 0);
        if (slot < 4) {
            const auto address = static_cast<uint32_t>(firstAddr + slot);
            record.Put(offset, AsEntry(address, 0x0A000000u + address, 32));
        } else if (slot == 4) {
            record.Put(offset, AsEntry(firstAddr + 4, (0x0A000000u + firstAddr) | 0x00000500u, 24));
        }
    }
    return Request(record);
}

Image DscpTableRequest(unsigned tbl, uint32_t srcPort, unsigned defPbits) {
    Image record(88);
    record.Put32(0, 0xFFFFFF00u | tbl).Put32(4, kNotInHardware).Put32(8, srcPort);
    record.Zero(12, 4).Put8(12, defPbits).Put16(16, 0).Put32(20, kTableCfg);
    for (unsigned dscp = 0; dscp < 64; ++dscp) {
        record.Put8(24 + dscp, dscp < 32 ? dscp / 4 : defPbits);
    }
    return Request(record);
}

Image PacTableRequest(unsigned tbl, unsigned firstGem) {
    Image record(268);
    record.Put32(0, 0xFFFFFF00u | tbl).Put32(4, kNotInHardware);
    record.Zero(8, 28).Put16(36, 0).Put32(40, kTableCfg);
    for (unsigned pbits = 0; pbits < 8; ++pbits) {
        const std::size_t offset = 44 + std::size_t{28} * pbits;
        record.Zero(offset, 28).Put16(offset, 0x0018).Put8(offset + 2, firstGem + pbits % 2);
    }
    return Request(record);
}

} // namespace app_test
