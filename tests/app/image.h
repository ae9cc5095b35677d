// A record as bytes, written down field by field in the machine's byte order. It knows nothing of the
// library's declarations.
#ifndef TESTS_APP_IMAGE_H
#define TESTS_APP_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace app_test {

class Image {
  public:
    // Every byte starts as the fill of memory that nothing has written.
    explicit Image(std::size_t size, uint8_t fill = 0xA5);
    template <class Record> static Image Of(const Record &record) {
        Image image(sizeof record);
        image.Copy(0, &record, sizeof record);
        return image;
    }

    Image &Put8(std::size_t offset, unsigned value);
    Image &Put16(std::size_t offset, unsigned value);
    Image &Put32(std::size_t offset, uint32_t value);
    Image &Put(std::size_t offset, const Image &part);
    Image &Zero(std::size_t offset, std::size_t count);
    // Only the bits of `mask` count.
    Image &Put32Masked(std::size_t offset, uint32_t value, uint32_t mask);
    // Bytes that may have any value.
    Image &Ignore(std::size_t offset, std::size_t count);

    std::size_t Size() const { return bytes_.size(); }

    // Empty when the bytes at `actual` are those of the image, else where they differ.
    std::string DifferenceFrom(const void *actual) const;

  private:
    void Copy(std::size_t offset, const void *from, std::size_t count);

    std::vector<uint8_t> bytes_;
    std::vector<uint8_t> compared_; // which bits of each byte count
};

} // namespace app_test

#endif
