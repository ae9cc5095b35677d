// The context object, its members and the limits.
#include "tests/context/members.h"
#include "tests/support/library.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace context_test {
namespace {

// Before main() nothing has called the library.
struct AtProcessStart {
    bool contextIsZero;
    bool pointerIsSet = qirCtxt_gp == &qirCtxt_g;

    AtProcessStart() {
        const auto *bytes = reinterpret_cast<const unsigned char *>(&qirCtxt_g);
        contextIsZero = std::all_of(bytes, bytes + sizeof qirCtxt_g, [](unsigned char b) { return b == 0; });
    }
};

const AtProcessStart atProcessStart;

TEST(ContextAtProcessStart, IsZeroAndReachableThroughItsPointer) {
    EXPECT_TRUE(atProcessStart.contextIsZero);
    EXPECT_TRUE(atProcessStart.pointerIsSet);
}

} // namespace
} // namespace context_test
