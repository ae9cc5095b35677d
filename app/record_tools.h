// Small tools for records and masks.
#ifndef APP_RECORD_TOOLS_H
#define APP_RECORD_TOOLS_H

#include <cstdint>
#include <cstring>

namespace app {

// A record that is zero in every byte, also in the unused ends of its unions: the driver sees them.
template <class Record> Record Zeroed() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
}

// The mask of one bit; none for a number that a 32-bit mask does not have.
constexpr uint32_t Bit(uint32_t n) {
    return n < 32 ? 1u << n : 0;
}

} // namespace app

#endif
