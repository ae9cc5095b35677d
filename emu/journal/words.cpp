#include "emu/journal/words.h"

namespace orxemu::journal {

namespace {

constexpr char kDigits[] = "0123456789abcdef";

// Bits by which byte `i` of a word of `width` bytes is shifted.
unsigned ShiftOf(unsigned i, unsigned width, ByteOrder order) {
    return 8 * (order == ByteOrder::Little ? i : width - 1 - i);
}

// -1 when it is no digit.
int DigitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

} // namespace

const char *NameOf(ByteOrder order) {
    return order == ByteOrder::Big ? "big" : "little";
}

std::uint32_t Load(ByteView bytes, std::size_t offset, unsigned width, ByteOrder order) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < width; ++i) {
        value |= std::uint32_t{bytes[offset + i]} << ShiftOf(i, width, order);
    }
    return value;
}

void Store(std::span<std::uint8_t> bytes, std::size_t offset, unsigned width, ByteOrder order,
           std::uint32_t value) {
    for (unsigned i = 0; i < width; ++i) {
        bytes[offset + i] = static_cast<std::uint8_t>(value >> ShiftOf(i, width, order));
    }
}

std::string ToHex(ByteView bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

bool FromHex(std::string_view text, Bytes &bytes) {
    if (text.size() % 2 != 0) {
        return false;
    }
    Bytes read;
    read.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = DigitOf(text[i]);
        const int low = DigitOf(text[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        read.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    bytes = std::move(read);
    return true;
}

} // namespace orxemu::journal
