// Records written byte by byte in either byte order: nothing here uses the library's declarations of them.
#ifndef TESTS_JOURNAL_IMAGE_H
#define TESTS_JOURNAL_IMAGE_H

#include "emu/journal/records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace journal_test {

using orxemu::journal::ByteOrder;
using orxemu::journal::Bytes;
using orxemu::journal::Json;

inline constexpr ByteOrder kBothOrders[] = {ByteOrder::Little, ByteOrder::Big};

inline ByteOrder Other(ByteOrder order) {
    return order == ByteOrder::Big ? ByteOrder::Little : ByteOrder::Big;
}

class Image {
  public:
    // Bytes that are not put have a pattern that is another one when it is turned round.
    Image(std::size_t size, ByteOrder order) : order_(order), bytes_(size) {
        for (std::size_t i = 0; i < size; ++i) {
            bytes_[i] = static_cast<std::uint8_t>(0x91 + 3 * i);
        }
    }

    Image &Put8(std::size_t offset, std::uint32_t value) { return Put(offset, 1, value); }
    Image &Put16(std::size_t offset, std::uint32_t value) { return Put(offset, 2, value); }
    Image &Put32(std::size_t offset, std::uint32_t value) { return Put(offset, 4, value); }
    Image &PutBytes(std::size_t offset, const std::vector<unsigned> &bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            Put8(offset + i, bytes[i]);
        }
        return *this;
    }
    Image &Fill(std::size_t offset, std::size_t size, unsigned byte) {
        return PutBytes(offset, std::vector<unsigned>(size, byte));
    }
    const Bytes &bytes() const { return bytes_; }

  private:
    Image &Put(std::size_t offset, unsigned width, std::uint32_t value) {
        for (unsigned i = 0; i < width; ++i) {
            const unsigned shift = 8 * (order_ == ByteOrder::Big ? width - 1 - i : i);
            bytes_.at(offset + i) = static_cast<std::uint8_t>(value >> shift);
        }
        return *this;
    }

    ByteOrder order_;
    Bytes bytes_;
};

} // namespace journal_test

#endif
