// Forms of values that no row of the tables has.
#include "qirapi/private/request_values.h"
#include "tests/support/capture.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using qir::Show;
using qir::TypeRule;
using qir::ValueForm;
using qir::ValueRule;

constexpr auto kLastForm = static_cast<unsigned>(ValueForm::kFromTag);
constexpr auto kLastShow = static_cast<unsigned>(Show::kCidr);

TEST(RequestValues, FormsWithoutAMeaningAcceptNothing) {
    const uint32_t val = 1;
    for (unsigned form = kLastForm + 1; form <= 0xFF; ++form) {
        const ValueRule rule{static_cast<ValueForm>(form), 0, 0xFFFFFFFF};
        EXPECT_FALSE(qir::IsValueAccepted(rule, &val)) << "form " << form;
    }
}

TEST(RequestValues, WaysToShowWithoutAMeaningShowTheNameOnly) {
    const uint32_t val = 1;
    for (unsigned show = kLastShow + 1; show <= 0xFF; ++show) {
        const TypeRule rules[] = {{0, "name", static_cast<Show>(show), qir::kAnyValue, 0, 0}};
        bool known = false;
        EXPECT_EQ(Capture([&] { known = qir::PrintRequest(rules, 0, &val); }), "<name> ") << "way " << show;
        EXPECT_TRUE(known) << "way " << show;
    }
}

} // namespace
} // namespace test
