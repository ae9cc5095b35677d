// The budgets of the three flow sections share the pool; nothing else counts.
#include "tests/support/library.h"

namespace context_test {
namespace {

class SectionBounds : public test::LibraryTest {};

TEST_F(SectionBounds, SettingsBesideTheBudgetsDoNotCount) {
    qirCtxt_gp->flowMissAction = 0xFFFFFFFF;
    ASSERT_EQ(QIR_Set_SectionMaxFlows(1, 510), 0u);
    ASSERT_EQ(QIR_Set_SectionMaxFlows(0, 1), 0u);
    EXPECT_EQ(QIR_Set_SectionMaxFlows(2, 1), 0u) << "510, 1 and 1 flows are as many as there are";
    test::Capture([] { EXPECT_EQ(QIR_Set_SectionMaxFlows(2, 2), 12u) << "513 flows are too many"; });
}

} // namespace
} // namespace context_test
