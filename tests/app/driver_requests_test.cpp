// What the driver gets of each test: number and order of the requests, every record and every copied block.

#include "tests/app/app_test.h"
#include "tests/app/expected_flows.h"
#include "tests/app/expected_tables.h"

namespace app_test {
namespace {

enum RequestNumber { kActivateAsTbl = 21, kActivateDscpTbl = 23, kActivatePacTbl = 27 };

// Ports as bits.
constexpr uint32_t kUni0 = 0x01;
constexpr uint32_t kGpon = 0x80;
constexpr uint32_t kHost = 0x100;

struct Step {
    int table = 0;                 // request number of a table
    Image record = Image(0);       // its record
    std::optional<FlowImage> flow; // or a flow, and the index that its PAC table has in the hardware
};

Step Pac(unsigned tbl, unsigned firstGem) {
    return {kActivatePacTbl, PacTableRequest(tbl, firstGem), {}};
}

Step As() {
    return {kActivateAsTbl, AsTableRequest(0, kUni0, 1), {}};
}

Step Dscp() {
    return {kActivateDscpTbl, DscpTableRequest(0, 0, 0), {}};
}

Step Flow(FlowImage flow) {
    Step step;
    step.flow.emplace(std::move(flow));
    return step;
}

std::vector<Step> Pppoe(unsigned flow, uint32_t usPrio, uint32_t dsPrio) {
    const Fwd us{.prio = usPrio, .srcPorts = kUni0, .dstPorts = kGpon, .dstGems = 0x1};
    const Fwd ds{.prio = dsPrio, .srcPorts = kGpon, .srcGems = 0x1, .dstPorts = kUni0};
    return {Flow(UsPppoe(flow, us, kAsNotInUse, 1200)), Flow(DsPppoe(flow + 1, ds))};
}

std::vector<Step> UntaggedIp(unsigned flow, uint32_t prio) {
    const Fwd us{
        .prio = prio, .srcPorts = kUni0, .dstPorts = kGpon, .dstGems = 0x8, .gemWithQueue = 3, .queue = 5};
    return {Pac(0, 6), Dscp(), Flow(UsUntaggedIp(flow, us, kAsNotInUse, PacWord(0), 1200))};
}

std::vector<Step> Tagged(unsigned flow, uint32_t prio, unsigned pac) {
    const auto us = [](uint32_t usPrio) {
        return Fwd{.prio = usPrio,
                   .srcPorts = kUni0,
                   .dstPorts = kGpon,
                   .dstGems = 0x8,
                   .gemWithQueue = 3,
                   .queue = 7};
    };
    const auto ds = [](uint32_t dsPrio) {
        return Fwd{.prio = dsPrio, .srcPorts = kGpon, .srcGems = 0x3, .dstPorts = kUni0};
    };
    return {Pac(pac, 0),
            As(),
            Flow(UsVlanTrans(flow, us(prio), kAsInUse, PacWord(pac), 200, 1200)),
            Flow(DsVlanTrans(flow + 1, ds(prio + 1), 200, 1200)),
            Flow(UsVlanTrans(flow + 2, us(prio + 2), kAsNotInUse, PacWord(pac), 201, 1201)),
            Flow(DsVlanTrans(flow + 3, ds(prio + 3), 201, 1201))};
}

std::vector<Step> NonIp(unsigned flow, uint32_t prio) {
    const Fwd us{.prio = prio, .srcPorts = 0x23, .dstPorts = kHost};
    const Fwd ds{.prio = prio + 1, .srcPorts = kGpon, .srcGems = 0xFFFFFFFF, .dstPorts = kHost};
    return {Flow(UntaggedNonIp(flow, us)), Flow(UntaggedNonIp(flow + 1, ds))};
}

std::vector<Step> Multicast(unsigned flow, uint32_t prio) {
    const Fwd any{.prio = prio, .srcPorts = kGpon, .srcGems = 0x80000000, .dstPorts = 0x21};
    const Fwd one{.prio = prio + 1, .srcPorts = kGpon, .srcGems = 0x80000000, .dstPorts = 0x03};
    return {Flow(DsIpTvAnySource(flow, any, 1500)), Flow(DsIpTvOneSource(flow + 1, one, 1500))};
}

std::vector<Step> Join(std::initializer_list<std::vector<Step>> parts) {
    std::vector<Step> all;
    for (const std::vector<Step> &part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// `offset` is what the driver's indexes are ahead of the pools' by.
void ExpectRequests(const std::vector<Step> &steps, uint32_t offset = 0) {
    ASSERT_EQ(orxemu_numRequests(), steps.size());
    uint32_t hwFlowIdx = offset;
    for (std::size_t n = 0; n < steps.size(); ++n) {
        SCOPED_TRACE("request " + std::to_string(n));
        const Step &step = steps[n];
        if (!step.flow) {
            ExpectTableRequest(n, step.table, step.record);
            continue;
        }
        std::optional<uint32_t> hwPacTblIdx;
        if (step.flow->UsesPac()) {
            hwPacTblIdx = step.flow->PacTbl() + offset;
        }
        ExpectFlowRequest(n, *step.flow, hwPacTblIdx, hwFlowIdx++);
    }
}

class DriverRequests : public AppTest {
  protected:
    void Run(const char *test) {
        const RunResult run = RunOrxtest({"-t", test});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.output.out.find("[ERROR"), std::string::npos) << run.output.out;
        EXPECT_EQ(run.output.err, "");
    }
};

TEST_F(DriverRequests, OfUntaggedNonIpFlows) {
    Run("1");
    ExpectRequests(NonIp(0, 0));
}

// The first flow takes priority 0, which still counts as none taken: the second flow takes the next one.
TEST_F(DriverRequests, OfPppoeFlows) {
    Run("2");
    ExpectRequests(Pppoe(0, 0, 1));
}

TEST_F(DriverRequests, OfTaggedFlows) {
    Run("3");
    ExpectRequests(Tagged(0, 0, 0));
}

TEST_F(DriverRequests, OfUntaggedIpFlows) {
    Run("4");
    ExpectRequests(UntaggedIp(0, 0));
}

TEST_F(DriverRequests, OfMulticastFlows) {
    Run("5");
    ExpectRequests(Multicast(0, 0));
}

TEST_F(DriverRequests, OfAllTestsInTurnWithOneRunningPriority) {
    Run("0");
    ExpectRequests(Join({Pppoe(0, 0, 1), UntaggedIp(2, 2), Tagged(3, 3, 1), NonIp(7, 7), Multicast(9, 9)}));
}

// A second start of the library forgets what the hardware still holds: the flows then name the tables by the
// driver's indexes, not by their place in the pool.
TEST_F(DriverRequests, NameTablesByTheDriversIndexes) {
    Run("4");
    const OrxEmuRequest first = *orxemu_request(2);
    EXPECT_EQ(Image(4).Put32(0, 0).DifferenceFrom(first.in + 12), "");
    ResetApp();
    orxemu_clearLog();
    Run("4");
    ExpectRequests(UntaggedIp(0, 0), 1);
}

TEST_F(DriverRequests, LeaveTheHardwareHoldingFlowsAndTables) {
    Run("0");
    const OrxEmuState &state = *orxemu_state();
    for (int i = 0; i < ORXEMU_FLOWS; ++i) {
        EXPECT_EQ(state.flow[i].active, i < 11 ? 1 : 0) << "flow " << i;
    }
    const struct {
        int flow;
        int pacTblIdx;
    } rows[] = {{0, -1}, {1, -1}, {2, 0},  {3, 1},  {4, -1}, {5, 1},
                {6, -1}, {7, -1}, {8, -1}, {9, -1}, {10, -1}};
    for (const auto &row : rows) {
        EXPECT_EQ(state.flow[row.flow].pacTblIdx, row.pacTblIdx) << "flow " << row.flow;
        EXPECT_EQ(state.flow[row.flow].epTblIdx, -1) << "flow " << row.flow;
    }
    for (int i = 0; i < ORXEMU_PAC_TABLES; ++i) {
        EXPECT_EQ(state.pacTbl[i].active, i < 2 ? 1 : 0) << "PAC table " << i;
    }
    for (int i = 0; i < ORXEMU_AS_TABLES; ++i) {
        EXPECT_EQ(state.asTbl[i].active, i < 1 ? 1 : 0) << "AS table " << i;
    }
    for (int i = 0; i < ORXEMU_DSCP_TABLES; ++i) {
        EXPECT_EQ(state.dscpTbl[i].active, i < 1 ? 1 : 0) << "DSCP table " << i;
    }
}

// Each request opens the device anew and closes it again.
TEST_F(DriverRequests, OpenTheDeviceOncePerRequest) {
    Run("0");
    EXPECT_EQ(orxemu_numRequests(), 15u);
    EXPECT_EQ(orxemu_numOpens(), 15u);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
}

} // namespace
} // namespace app_test
