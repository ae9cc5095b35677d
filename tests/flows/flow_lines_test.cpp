// Lines of several values: each in its own place, which values that are all different show.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class FlowLines : public FlowTest {};

TEST_F(FlowLines, EveryHitCounterHasItsPlace) {
    FlowHdl hdl = FlowIn(e_STATUS_ACTIVE);
    for (u32 counter = 0; counter < 8; ++counter) {
        ASSERT_EQ(orxemu_addHits(0, counter, 10 + counter), 0);
    }
    RaiseLog(2);
    FcbHits hits{};
    const std::string line = "flowHdl<0> numFlows<1> hits<10> <11> <12> <13> <14> <15> <16> <17>";
    const Called called = Call([&] { return QIR_Get_FCBHits(&hdl, &hits); });
    EXPECT_EQ(called.rc, 0u);
    EXPECT_NE(called.out.find(Inf("QIR_Get_FCBHits", line)), std::string::npos) << called.out;
}

} // namespace
} // namespace flows
