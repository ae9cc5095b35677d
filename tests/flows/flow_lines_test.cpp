// What the lines of flows show: values that are all different, each in its own place, and no more headers than there
// are.
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

// Eight kinds of header have a bit; whatever else a bitmap holds is shown as the number it is.
TEST_F(FlowLines, NoHeaderBehindTheLastIsDumped) {
    Fcb &fcb = FcbOf(FlowIn(e_STATUS_CFG));
    fcb.filterBlk.hdrBmap = fcb.actionBlk.hdrBmap = 0xFF00;
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_FilterBlk(&fcb); }),
              "\n------- Filter Block ----------\nHdrBmap<0xff00> totalTags<0> \n\n");
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ActionBlk(&fcb); }),
              "------- Action Block ----------\n"
              "HdrBmap<0xff00> totalTags<0> pushedTags<0> poppedTags<0> \n\n");
}

} // namespace
} // namespace flows
