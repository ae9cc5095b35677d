// The section of a flow, the counters of the sections, and the question whether an FCB is free.
#include "tests/support/library.h"

#include "qirapi/access/flow_access.h"

namespace context_test {
namespace {

using test::Assertion;

using FlowSections = test::LibraryTest;

const char *const kAtMostAllFlows = "(qirCtxt_gp->cfg.flowSection[section].cfgFlows <= QIR_MAX_FLOWS)";
const char *const kSomeFlow = "(qirCtxt_gp->cfg.flowSection[section].cfgFlows != 0)";

TEST_F(FlowSections, AreStoredInTheFcbAndReadBack) {
    qir::Fcb &fcb = qirCtxt_gp->fcbPool[511];
    for (uint32_t section = 0; section < 3; ++section) {
        SCOPED_TRACE("section " + std::to_string(section));
        const test::ContextSnapshot before;
        uint32_t read = 0xDEAD;
        EXPECT_EQ(test::Capture([&] {
                      qir::setFlowSection(&fcb, section);
                      qir::getFlowSection(&fcb, &read);
                  }),
                  "");
        EXPECT_EQ(fcb.section, section);
        EXPECT_EQ(read, section);
        const std::size_t begin = offsetof(qir::QirCtxt, fcbPool) + 511 * sizeof fcb + 12;
        for (const std::size_t offset : before.ChangedBytes()) {
            EXPECT_TRUE(offset >= begin && offset < begin + 4) << "offset " << offset;
        }
    }
}

TEST_F(FlowSections, BeyondTheLastAreAssertedAndStoredAllTheSame) {
    qir::Fcb &fcb = qirCtxt_gp->fcbPool[0];
    for (const uint32_t section : {3u, 256u, 0xFFFFFFFFu}) {
        SCOPED_TRACE("section " + std::to_string(section));
        EXPECT_EQ(test::CaptureMasked([&] { qir::setFlowSection(&fcb, section); }),
                  "[ASSERT qirapi_access] setFlowSection,#: (section < e_FLOW_SECTION_MAX )\n");
        EXPECT_EQ(fcb.section, section);
        uint32_t read = 0xDEAD;
        EXPECT_EQ(test::Capture([&] { qir::getFlowSection(&fcb, &read); }), "");
        EXPECT_EQ(read, section);
    }
}

TEST_F(FlowSections, CountTheirFlows) {
    FlowHdl flows[3][2] = {};
    for (uint32_t section = 0; section < 3; ++section) {
        for (uint16_t i = 0; i < 2; ++i) {
            ASSERT_EQ(QIR_Alloc_FCB(section, &flows[section][i]), 0u);
            EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].cfgFlows, i + 1u);
            uint32_t stored = 0xDEAD;
            qir::getFlowSection(&qirCtxt_gp->fcbPool[flows[section][i].f1.id], &stored);
            EXPECT_EQ(stored, section);
        }
    }
    for (uint32_t section = 0; section < 3; ++section) {
        ASSERT_EQ(QIR_Free_FCB(&flows[section][0]), 0u);
        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[section].cfgFlows, 1u);
        EXPECT_EQ(qirCtxt_gp->cfg.flowSection[(section + 1) % 3].cfgFlows, section == 2 ? 1u : 2u);
    }
}

TEST_F(FlowSections, AssertWhenTheirCountPassesAllFlows) {
    for (uint32_t section = 0; section < 3; ++section) {
        SCOPED_TRACE("section " + std::to_string(section));
        qir::FlowSection &counted = qirCtxt_gp->cfg.flowSection[section];
        FlowHdl flow{};
        uint32_t code = 0xDEAD;

        counted.cfgFlows = 511;
        EXPECT_EQ(test::Capture([&] { code = QIR_Alloc_FCB(section, &flow); }), "");
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(counted.cfgFlows, 512u);

        EXPECT_EQ(test::CaptureMasked([&] { code = QIR_Alloc_FCB(section, &flow); }),
                  Assertion("qirapi", "QIR_Alloc_FCB", kAtMostAllFlows));
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(counted.cfgFlows, 513u);

        FlowHdl chosen = test::Flow(500 + section);
        EXPECT_EQ(test::CaptureMasked([&] { code = QIR_Alloc_FCB_Specify_Index(section, &chosen); }),
                  Assertion("qirapi", "QIR_Alloc_FCB_Specify_Index", kAtMostAllFlows));
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(counted.cfgFlows, 514u);
    }
}

TEST_F(FlowSections, AssertWhenAFlowIsFreedThatTheyDidNotCount) {
    for (uint32_t section = 0; section < 3; ++section) {
        SCOPED_TRACE("section " + std::to_string(section));
        qir::FlowSection &counted = qirCtxt_gp->cfg.flowSection[section];
        FlowHdl flow{};
        ASSERT_EQ(QIR_Alloc_FCB(section, &flow), 0u);
        counted.cfgFlows = 0;
        uint32_t code = 0xDEAD;
        EXPECT_EQ(test::CaptureMasked([&] { code = QIR_Free_FCB(&flow); }),
                  Assertion("qirapi", "QIR_Free_FCB", kSomeFlow));
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(counted.cfgFlows, 65535u) << "the count goes on from zero";
        EXPECT_EQ(Is_Orx_free(flow.f1.id), 1u);
    }
}

TEST_F(FlowSections, EveryFcbIsFreeAfterStartUp) {
    for (uint32_t index = 0; index < 512; ++index) {
        EXPECT_EQ(Is_Orx_free(index), 1u) << "index " << index;
    }
}

TEST_F(FlowSections, AnFcbIsFreeWhenItsWholeStatusWordIsZero) {
    for (const uint32_t status : {1u, 2u, 3u, 4u, 0x100u, 0x10000u, 0x80000000u}) {
        for (const uint32_t index : {0u, 1u, 255u, 256u, 511u}) {
            SCOPED_TRACE("status " + std::to_string(status) + ", index " + std::to_string(index));
            qirCtxt_gp->fcbPool[index].status = status;
            EXPECT_EQ(Is_Orx_free(index), 0u);
            qirCtxt_gp->fcbPool[index].status = e_STATUS_FREE;
            EXPECT_EQ(Is_Orx_free(index), 1u);
        }
    }
}

TEST_F(FlowSections, AskingWhetherAnFcbIsFreePrintsAndChangesNothing) {
    test::RaiseLog(3);
    qirCtxt_gp->fcbPool[7].status = e_STATUS_ACTIVE;
    const test::ContextSnapshot before;
    EXPECT_EQ(test::Capture([] {
                  Is_Orx_free(7);
                  Is_Orx_free(8);
              }),
              "");
    EXPECT_TRUE(before.Unchanged());
    EXPECT_EQ(orxemu_numOpens(), 0u);
}

} // namespace
} // namespace context_test
