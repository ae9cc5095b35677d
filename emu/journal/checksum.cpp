#include "emu/journal/checksum.h"

#include "emu/journal/words.h"

#include <array>

namespace orxemu::journal {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320; // of reflected bits
constexpr std::uint32_t kAllOnes = 0xFFFFFFFF;

// What a byte at the low end does to the register.
constexpr std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t crc = byte;
        for (unsigned bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1u) != 0 ? kPolynomial : 0);
        }
        table[byte] = crc;
    }
    return table;
}
constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

} // namespace

std::string ChecksumOf(std::string_view text) {
    std::uint32_t crc = kAllOnes;
    for (const char c : text) {
        crc = (crc >> 8) ^ kTable[(crc ^ static_cast<std::uint8_t>(c)) & 0xFF];
    }
    std::array<std::uint8_t, kChecksumDigits / 2> bytes{};
    Store(bytes, 0, bytes.size(), ByteOrder::Big, crc ^ kAllOnes);
    return ToHex(bytes);
}

} // namespace orxemu::journal
