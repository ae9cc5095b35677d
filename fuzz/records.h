// Records as bytes: those that travelled to the driver, and those that they were copied from.
#ifndef FUZZ_RECORDS_H
#define FUZZ_RECORDS_H

#include "fuzz/call.h"

namespace fuzz {

inline u32 WordAt(const u8 *bytes, std::size_t offset) {
    u32 word = 0;
    std::memcpy(&word, bytes + offset, sizeof word);
    return word;
}

// Are the record and its copy alike from `begin` on, up to `end`?
template <class Record> bool Alike(const Record &record, const u8 *copy, std::size_t begin, std::size_t end) {
    return std::memcmp(reinterpret_cast<const u8 *>(&record) + begin, copy + begin, end - begin) == 0;
}

} // namespace fuzz

#endif
