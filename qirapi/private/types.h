// The integer types of the engine, by their width.
#ifndef QIRAPI_PRIVATE_TYPES_H
#define QIRAPI_PRIVATE_TYPES_H

#include <cstddef>
#include <cstdint>

namespace qir {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using i32 = std::int32_t;

} // namespace qir

#endif
