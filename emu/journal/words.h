// Words of either byte order: a journal is read on machines of both, whatever machine it was written on.
#ifndef EMU_JOURNAL_WORDS_H
#define EMU_JOURNAL_WORDS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orxemu::journal {

enum class ByteOrder { Little, Big };

constexpr ByteOrder kHostOrder = std::endian::native == std::endian::big ? ByteOrder::Big : ByteOrder::Little;

// "little" and "big".
const char *NameOf(ByteOrder order);

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// The word of `width` bytes (1, 2 or 4) at `offset`; the bytes have to be there.
std::uint32_t Load(ByteView bytes, std::size_t offset, unsigned width, ByteOrder order);
void Store(std::span<std::uint8_t> bytes, std::size_t offset, unsigned width, ByteOrder order,
           std::uint32_t value);

// Lower-case hexadecimal digits, two a byte. FromHex takes either case; false when it is no such text.
std::string ToHex(ByteView bytes);
bool FromHex(std::string_view text, Bytes &bytes);

} // namespace orxemu::journal

#endif
