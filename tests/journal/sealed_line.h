// Lines that tests edit.
//
// Their checksum is worked out in another way than the journal does it: bit by bit, as a division of
// polynomials. An edited line is signed anew when a test is about a check of its contents.
#ifndef TESTS_JOURNAL_SEALED_LINE_H
#define TESTS_JOURNAL_SEALED_LINE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace journal_test {

inline std::string CrcOf(std::string_view text) {
    std::uint32_t rest = 0xFFFFFFFF;
    for (const char c : text) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const bool divides = ((rest ^ (static_cast<unsigned char>(c) >> bit)) & 1u) != 0;
            rest = (rest >> 1) ^ (divides ? 0xEDB88320 : 0);
        }
    }
    std::string digits;
    for (int shift = 28; shift >= 0; shift -= 4) {
        digits += "0123456789abcdef"[(~rest >> shift) & 0xF];
    }
    return digits;
}

// A line's object, with or without a checksum and a line end, with the checksum that it has to have.
inline std::string Sealed(const std::string &line) {
    constexpr std::string_view kCrc = ",\"crc\":\"";
    const std::size_t crc = line.rfind(kCrc);
    const std::string text = line.substr(0, crc != std::string::npos ? crc : line.rfind('}'));
    return text + std::string(kCrc) + CrcOf(text) + "\"}" + (line.ends_with('\n') ? "\n" : "");
}

// The byte with these bits turned round.
inline char Flipped(char byte, unsigned bits) {
    return static_cast<char>(static_cast<unsigned char>(byte) ^ bits);
}

// Replaces the first place where `from` stands.
inline void ReplaceOnce(std::string &line, const std::string &from, const std::string &to) {
    const std::size_t at = line.find(from);
    ASSERT_NE(std::string::npos, at) << "no " << from << " in " << line;
    line.replace(at, from.size(), to);
}

} // namespace journal_test

#endif
