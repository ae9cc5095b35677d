// Pins the layout of a record that crosses to the driver: its size and the place of each of its fields.
// The pins stand beside the record and hold for every target, 32-bit big-endian and 64-bit little-endian.
#ifndef QIRAPI_PRIVATE_LAYOUT_H
#define QIRAPI_PRIVATE_LAYOUT_H

#include <cstddef>
#include <cstdint>

#define QIR_PIN_SIZE(record, bytes) static_assert(sizeof(record) == (bytes), #record)
#define QIR_PIN_FIELD(record, field, offset)                                                                 \
    static_assert(offsetof(record, field) == (offset), #record "." #field)

namespace qir {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using i32 = std::int32_t;

} // namespace qir

#endif
