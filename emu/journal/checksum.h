// The checksum that ends every line of a log or a state.
//
// It finds what the members of a line do not contradict: bytes that no field shows (spare ones, unset ones,
// links of lists), and settings that are as good with another value. It is no secret: whoever wants to change
// a line can sign it anew.
#ifndef EMU_JOURNAL_CHECKSUM_H
#define EMU_JOURNAL_CHECKSUM_H

#include <cstddef>
#include <string>
#include <string_view>

namespace orxemu::journal {

constexpr std::size_t kChecksumDigits = 8;

// CRC-32 as Ethernet and zip have it (polynomial 0x04C11DB7, bits reflected, begun and ended with all ones),
// as lower-case hexadecimal digits.
std::string ChecksumOf(std::string_view text);

} // namespace orxemu::journal

#endif
