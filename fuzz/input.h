// The bytes of a fuzzer's input, as the numbers of a sequence of calls. Behind the end there are zeros.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include "fuzz/call.h"

#include <cstddef>
#include <cstring>

namespace fuzz {

class Input {
  public:
    Input(const u8 *bytes, std::size_t size) : at_(bytes), end_(bytes + size) {}

    bool Empty() const { return at_ == end_; }
    // The place in the input, to read the same bytes once more.
    const u8 *Place() const { return at_; }
    void Return(const u8 *place) { at_ = place; }

    u8 Byte() { return Empty() ? u8{0} : *at_++; }

    u16 Half() {
        const u32 high = Byte();
        return static_cast<u16>(high << 8 | Byte());
    }

    // Mostly a small number, at times one at the edge of its type.
    u32 Word() {
        constexpr u32 kEdges[] = {0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFF,
                                  0x10000,    0xA5A5A5A5, 512,        0x0600};
        const u8 lead = Byte();
        if (lead < 0x80) {
            return lead;
        }
        return lead < 0xC0 ? Half() : kEdges[lead % 8];
    }

    // Mostly below `limit`; one byte in eight is at the limit or beyond.
    u32 Below(u32 limit) {
        const u8 lead = Byte();
        const u32 beyond[] = {limit, limit + 1, 0x80000000, 0xFFFFFFFF};
        return lead < 0xE0 ? lead % limit : beyond[lead % 4];
    }

    // True for one byte in sixteen.
    bool Rarely() { return Byte() >= 0xF0; }

    // The address of `object`, rarely null.
    template <class Object> Object *OrNull(Object &object) { return Rarely() ? nullptr : &object; }

    void Fill(void *bytes, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            static_cast<u8 *>(bytes)[i] = Byte();
        }
    }

  private:
    const u8 *at_;
    const u8 *end_;
};

} // namespace fuzz

#endif
