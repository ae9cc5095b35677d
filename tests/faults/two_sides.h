// Copies of what the library and the hardware hold. A test takes one, changes in it what is to change, and
// asks for the difference from what the side really holds afterwards.
#ifndef TESTS_FAULTS_TWO_SIDES_H
#define TESTS_FAULTS_TWO_SIDES_H

#include "emu/orxemu.h"
#include "qirapi/private/context.h"

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

namespace faults {

template <class Side> class CopyOf {
  public:
    explicit CopyOf(const Side &side) : copy_(std::make_unique<Side>()) {
        static_assert(std::is_trivially_copyable_v<Side>);
        std::memcpy(static_cast<void *>(copy_.get()), static_cast<const void *>(&side), sizeof side);
    }
    CopyOf(const CopyOf &other) : CopyOf(*other) {}
    CopyOf(CopyOf &&) noexcept = default;
    CopyOf &operator=(const CopyOf &) = delete;

    Side &operator*() { return *copy_; }
    const Side &operator*() const { return *copy_; }
    Side *operator->() { return copy_.get(); }
    const Side *operator->() const { return copy_.get(); }

  private:
    std::unique_ptr<Side> copy_;
};

using Shadow = CopyOf<qir::QirCtxt>;
using Hardware = CopyOf<OrxEmuState>;

inline Shadow ShadowNow() {
    return Shadow(*qirCtxt_gp);
}
inline Hardware HardwareNow() {
    return Hardware(*orxemu_state());
}

// Empty when the two are alike byte by byte, else where they differ: object, offset, both values.
std::string Difference(const Shadow &actual, const Shadow &expected);
std::string Difference(const Hardware &actual, const Hardware &expected);
std::string BytesDifference(const void *actual, const void *expected, std::size_t size);

} // namespace faults

#endif
