// A record as bytes, written down field by field, and how the context differs from it.
#ifndef TESTS_CONTEXT_BYTE_IMAGE_H
#define TESTS_CONTEXT_BYTE_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace context_test {

class ByteImage {
  public:
    // Every byte starts as the fill pattern of memory that nothing has written.
    explicit ByteImage(std::size_t size, uint8_t fill = 0xA5) : bytes_(size, fill) {}

    ByteImage &U8(std::size_t offset, uint8_t value) { return Put(offset, value); }
    ByteImage &U16(std::size_t offset, uint16_t value) { return Put(offset, value); }
    ByteImage &U32(std::size_t offset, uint32_t value) { return Put(offset, value); }
    ByteImage &Zero(std::size_t offset, std::size_t count) {
        std::memset(&bytes_.at(offset + count - 1) - (count - 1), 0, count);
        return *this;
    }

    std::size_t Size() const { return bytes_.size(); }

    // Empty when the bytes at `actual` are those of the image, else where they differ first.
    std::string DifferenceFrom(const void *actual) const {
        const auto *now = static_cast<const unsigned char *>(actual);
        std::string first;
        std::size_t count = 0;
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            if (now[i] != bytes_[i] && ++count == 1) {
                char text[64];
                std::snprintf(text, sizeof text, "byte %zu is 0x%02x, expected 0x%02x", i, now[i], bytes_[i]);
                first = text;
            }
        }
        return count > 1 ? first + ", and " + std::to_string(count - 1) + " more bytes differ" : first;
    }

  private:
    template <class Value> ByteImage &Put(std::size_t offset, Value value) {
        std::memcpy(&bytes_.at(offset + sizeof value - 1) - (sizeof value - 1), &value, sizeof value);
        return *this;
    }

    std::vector<uint8_t> bytes_;
};

} // namespace context_test

#endif
