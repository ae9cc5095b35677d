// The flow that an allocation gets is the lowest free one, whatever was allocated and freed before; also in a
// context that was cleared or put back.
#include "tests/flows/flow_test.h"

#include <random>

namespace flows {
namespace {

class FlowSearch : public FlowTest {
  protected:
    // The lowest free flow by the records alone, or QIR_MAX_FLOWS.
    static u32 LowestFree() {
        u32 flowIdx = 0;
        while (flowIdx < QIR_MAX_FLOWS && qirCtxt_gp->fcbPool[flowIdx].status != e_STATUS_FREE) {
            ++flowIdx;
        }
        return flowIdx;
    }

    // Allocates a flow and expects it to be the lowest free one, or the refusal when there is none.
    static void AllocLowest() {
        const u32 expected = LowestFree();
        FlowHdl hdl{};
        hdl.f1.id = QIR_MAX_FLOWS;
        u32 rc = 0;
        const std::string printed = CaptureMasked([&] { rc = QIR_Alloc_FCB(1, &hdl); });
        EXPECT_EQ(hdl.f1.id, expected);
        EXPECT_EQ(rc, expected == QIR_MAX_FLOWS ? 12u : 0u);
        EXPECT_EQ(printed, expected == QIR_MAX_FLOWS
                               ? Err("QIR_Alloc_FCB", "No Free FCB available") +
                                     Refusal("QIR_Alloc_FCB", "e_RET_ERR_RESRC_UNAVAIL", 12)
                               : "");
    }

    static void AllocFlows(unsigned numFlows) {
        for (unsigned i = 0; i < numFlows; ++i) {
            FlowHdl hdl{};
            ASSERT_EQ(QIR_Alloc_FCB(1, &hdl), 0u);
        }
    }

    static void Free(unsigned flowIdx) {
        FlowHdl hdl = test::Flow(flowIdx);
        EXPECT_EQ(QIR_Free_FCB(&hdl), 0u) << "flow " << flowIdx;
    }
};

TEST_F(FlowSearch, EveryFlowThatBecomesFreeInAFullPoolIsFound) {
    AllocFlows(QIR_MAX_FLOWS);
    AllocLowest();
    for (unsigned flowIdx = 0; flowIdx < QIR_MAX_FLOWS; ++flowIdx) {
        Free(flowIdx);
        AllocLowest();
    }
    AllocLowest();
}

TEST_F(FlowSearch, FlowsAreFoundInTheirOrderWhateverTheOrderOfTheirRelease) {
    for (const int step : {1, -1, 33, 511}) {
        SCOPED_TRACE("step " + std::to_string(step));
        QIR_Init_Sys();
        AllocFlows(QIR_MAX_FLOWS);
        for (int i = 0; i < QIR_MAX_FLOWS; ++i) {
            Free(static_cast<unsigned>((i * step + QIR_MAX_FLOWS * QIR_MAX_FLOWS) % QIR_MAX_FLOWS));
            if (i % 3 == 0) {
                AllocLowest();
            }
        }
        while (LowestFree() != QIR_MAX_FLOWS) {
            AllocLowest();
        }
        AllocLowest();
    }
}

TEST_F(FlowSearch, ARandomWalkAlwaysGetsTheLowestFreeFlow) {
    std::mt19937 random(20); // the same walk every time
    const auto below = [&random](unsigned end) { return static_cast<unsigned>(random() % end); };
    for (int step = 0; step < 4000 && !HasFailure(); ++step) {
        // It fills the pool, empties it and fills it again.
        const bool filling = step / 1000 % 2 == 0;
        const unsigned flowIdx = below(QIR_MAX_FLOWS);
        if (below(4) == (filling ? 0u : 1u) || (!filling && below(2) == 0)) {
            if (qirCtxt_gp->fcbPool[flowIdx].status != e_STATUS_FREE) {
                Free(flowIdx);
            }
        } else if (below(8) == 0) {
            FlowHdl hdl = test::Flow(flowIdx);
            if (qirCtxt_gp->fcbPool[flowIdx].status == e_STATUS_FREE) {
                EXPECT_EQ(QIR_Alloc_FCB_Specify_Index(2, &hdl), 0u);
            }
        } else {
            AllocLowest();
        }
    }
}

TEST_F(FlowSearch, AContextThatIsPutBackHasItsOwnFreeFlows) {
    AllocFlows(3);
    const qir::QirCtxt saved = *qirCtxt_gp;
    AllocFlows(QIR_MAX_FLOWS - 3);
    AllocLowest();
    *qirCtxt_gp = saved;
    AllocLowest();
    EXPECT_EQ(LowestFree(), 4u);
}

TEST_F(FlowSearch, AContextWithAsManyOtherFlowsHasItsOwnFreeFlows) {
    for (unsigned flowIdx = 100; flowIdx < 200; ++flowIdx) {
        FlowHdl hdl = test::Flow(flowIdx);
        ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl), 0u);
    }
    const qir::QirCtxt saved = *qirCtxt_gp;
    QIR_Init_Sys();
    AllocFlows(100);
    *qirCtxt_gp = saved;
    AllocLowest();
    EXPECT_EQ(LowestFree(), 1u);
}

TEST_F(FlowSearch, AContextThatIsZeroAgainStartsAtTheFirstFlow) {
    AllocFlows(200);
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    AllocLowest();
    EXPECT_EQ(LowestFree(), 1u);
}

TEST_F(FlowSearch, StartUpForgetsWhereTheSearchStarted) {
    AllocFlows(QIR_MAX_FLOWS);
    QIR_Init_Sys();
    AllocLowest();
    EXPECT_EQ(LowestFree(), 1u);
}

TEST_F(FlowSearch, ARecordThatSaysFreeIsFoundInAFullPool) {
    AllocFlows(QIR_MAX_FLOWS);
    for (const unsigned flowIdx : {0u, 31u, 32u, 300u, 511u}) {
        qirCtxt_gp->fcbPool[flowIdx].status = e_STATUS_FREE;
        --qirCtxt_gp->cfg.flowSection[1].cfgFlows;
        AllocLowest();
    }
}

TEST_F(FlowSearch, ARecordThatSaysInUseIsPassedOver) {
    for (const unsigned flowIdx : {0u, 1u, 2u, 40u}) {
        qirCtxt_gp->fcbPool[flowIdx].status = e_STATUS_ACTIVE;
    }
    for (int i = 0; i < 60; ++i) {
        AllocLowest();
    }
}

} // namespace
} // namespace flows
