// An independent picture of a flow control block as plain bytes: where each field lies, what initialisation
// writes, what the allocation of a header resets. Tests compare it with the real block byte by byte.
#ifndef TESTS_FLOWS_FCB_MODEL_H
#define TESTS_FLOWS_FCB_MODEL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace flows {

class FcbModel {
  public:
    // The block right behind its initialisation: fill bytes, but for the fields that have an initial value.
    FcbModel();

    void Set16(std::size_t offset, unsigned value);
    void Set32(std::size_t offset, std::uint32_t value);
    unsigned Get16(std::size_t offset) const;
    void Clear(std::size_t offset, std::size_t size);

    // What the allocation of a header answers; the bytes follow.
    unsigned AllocHdr(unsigned blk, unsigned hdr);

    const std::vector<std::uint8_t> &Bytes() const { return bytes_; }
    // "" when the bytes are the same, else the first difference.
    std::string DiffersFrom(const std::vector<std::uint8_t> &real) const;

  private:
    unsigned TakeNode();
    void ResetEntry(std::size_t offset, std::size_t counters, unsigned node);
    unsigned ResetIpv4(unsigned blk, unsigned node);

    std::vector<std::uint8_t> bytes_;
};

} // namespace flows

#endif
