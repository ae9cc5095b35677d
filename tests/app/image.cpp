#include "tests/app/image.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace app_test {

Image::Image(std::size_t size, uint8_t fill) : bytes_(size, fill), compared_(size, 0xFF) {}

void Image::Copy(std::size_t offset, const void *from, std::size_t count) {
    const auto *const bytes = static_cast<const uint8_t *>(from);
    for (std::size_t i = 0; i < count; ++i) {
        bytes_.at(offset + i) = bytes[i];
    }
}

Image &Image::Put8(std::size_t offset, unsigned value) {
    bytes_.at(offset) = static_cast<uint8_t>(value);
    return *this;
}

Image &Image::Put16(std::size_t offset, unsigned value) {
    const auto half = static_cast<uint16_t>(value);
    Copy(offset, &half, sizeof half);
    return *this;
}

Image &Image::Put32(std::size_t offset, uint32_t value) {
    Copy(offset, &value, sizeof value);
    return *this;
}

Image &Image::Put(std::size_t offset, const Image &part) {
    Copy(offset, part.bytes_.data(), part.bytes_.size());
    std::copy(part.compared_.begin(), part.compared_.end(),
              compared_.begin() + static_cast<std::ptrdiff_t>(offset));
    return *this;
}

Image &Image::Zero(std::size_t offset, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes_.at(offset + i) = 0;
    }
    return *this;
}

Image &Image::Put32Masked(std::size_t offset, uint32_t value, uint32_t mask) {
    Put32(offset, value);
    std::memcpy(&compared_.at(offset), &mask, sizeof mask);
    return *this;
}

Image &Image::Ignore(std::size_t offset, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        compared_.at(offset + i) = 0;
    }
    return *this;
}

std::string Image::DifferenceFrom(const void *actual) const {
    const auto *const now = static_cast<const uint8_t *>(actual);
    std::string text;
    std::size_t count = 0;
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (((now[i] ^ bytes_[i]) & compared_[i]) != 0 && ++count <= 8) {
            char line[64];
            std::snprintf(line, sizeof line, "byte %zu is 0x%02x, expected 0x%02x\n", i, now[i], bytes_[i]);
            text += line;
        }
    }
    return count > 8 ? text + "and " + std::to_string(count - 8) + " more bytes differ" : text;
}

} // namespace app_test
