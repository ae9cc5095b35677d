// The port example: what the hardware holds afterwards, what it prints, and that it stops at the first
// operation that fails.
#include "tests/support/library.h"

#include <array>
#include <cerrno>
#include <cstdlib>

int port_setup_main(); // port_setup.cpp

namespace {

class PortSetup : public test::LibraryTest {
  protected:
    void Run() {
        output_ = test::CaptureBoth([&] { status_ = port_setup_main(); });
    }

    test::Output output_;
    int status_ = -1;
};

TEST_F(PortSetup, ReportsWhatItSet) {
    Run();
    EXPECT_EQ(status_, EXIT_SUCCESS);
    EXPECT_EQ(output_.out, "user port 0: TPIDs 8100 88a8 9100 9200, ACL type 1, pad length 64\n"
                           "user port 1: TPIDs 8100 88a8 9100 9200, ACL type 1, pad length 64\n"
                           "GPON port: TPIDs 8100 88a8 9100 9200, ACL type 0, pad length 0\n"
                           "host port: TPIDs 8100 8100 8100 8100, ACL type 0\n"
                           "limiter 0 of direction 0: TCI 200, rate 1600 in unit 0, burst 64\n"
                           "limiter 0 of direction 1: TCI 1200, rate 100 in unit 1, burst 128\n");
    EXPECT_EQ(output_.err, "");
}

TEST_F(PortSetup, SettingsReachTheHardware) {
    Run();
    const OrxEmuState &hw = *orxemu_state();
    EXPECT_EQ(hw.flowMissAction, 1u);

    struct Row {
        uint32_t port;
        std::array<uint16_t, 4> tpids;
        uint32_t padLen;
        uint32_t aclType;
    };
    const Row rows[] = {
        {0, {0x8100, 0x88A8, 0x9100, 0x9200}, 64, 1},
        {1, {0x8100, 0x88A8, 0x9100, 0x9200}, 64, 1},
        {2, {0, 0, 0, 0}, 0, 0}, // not set up
        {7, {0x8100, 0x88A8, 0x9100, 0x9200}, 0, 0},
        {8, {0x8100, 0x8100, 0x8100, 0x8100}, 0, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << "port " << row.port);
        for (std::size_t i = 0; i < row.tpids.size(); ++i) {
            EXPECT_EQ(hw.portTpid[row.port][i], row.tpids[i]) << "TPID " << i;
        }
        EXPECT_EQ(hw.portPadLen[row.port], row.padLen);
        EXPECT_EQ(hw.portDefAcl[row.port], row.aclType);
    }

    const uint32_t limiters[][4] = {{200, 1600, 0, 64}, {1200, 100, 1, 128}};
    for (std::size_t dir = 0; dir < 2; ++dir) {
        SCOPED_TRACE(testing::Message() << "direction " << dir);
        EXPECT_EQ(hw.rlTci[dir][0], 0x0FFF);
        EXPECT_EQ(hw.rlTci[dir][1], 0x0FFF);
        EXPECT_EQ(hw.rl[dir][0].active, 1);
        EXPECT_EQ(std::memcmp(hw.rl[dir][0].record, limiters[dir], sizeof limiters[dir]), 0);
        EXPECT_EQ(hw.rl[dir][1].active, 0);
    }
    EXPECT_EQ(hw.rlStatus, 1u);
}

// Every request of a run, in order.
TEST_F(PortSetup, StopsAtTheFirstRequestThatFails) {
    struct Row {
        int request;
        const char *object;
        const char *operation;
    };
    const Row rows[] = {
        {17, "frames without a flow", "QIR_Set_FlowMissAction"},
        {19, "user port 0", "QIR_Set_Tpid"},
        {19, "user port 0", "QIR_Set_PortPadLen"},
        {19, "user port 0", "QIR_Set_PortDefAcl"},
        {19, "user port 1", "QIR_Set_Tpid"},
        {19, "user port 1", "QIR_Set_PortPadLen"},
        {19, "user port 1", "QIR_Set_PortDefAcl"},
        {19, "GPON port", "QIR_Set_Tpid"},
        {19, "GPON port", "QIR_Set_PortPadLen"},
        {19, "GPON port", "QIR_Set_PortDefAcl"},
        {19, "host port", "QIR_Set_Tpid"},
        {19, "host port", "QIR_Set_PortDefAcl"},
        {40, "direction 0", "QIR_Set_RLTciCfg"},
        {40, "direction 1", "QIR_Set_RLTciCfg"},
        {41, "limiter 0 of direction 0", "QIR_Activate_RL"},
        {41, "limiter 0 of direction 1", "QIR_Activate_RL"},
        {39, "rate limiting", "QIR_Set_RLStatus"},
    };
    Run();
    ASSERT_EQ(orxemu_numRequests(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Row &row = rows[i];
        SCOPED_TRACE(testing::Message() << "request " << i << ", " << row.operation << " of " << row.object);
        orxemu_reset();
        orxemu_failRequest(0, static_cast<unsigned>(i + 1), EIO);
        Run();
        EXPECT_EQ(status_, EXIT_FAILURE);
        EXPECT_EQ(output_.err, "pktOrxDevIoctl <" + std::to_string(row.request) +
                                   "> error\nport_setup: " + row.object + ": " + row.operation +
                                   " returned 1, the driver is missing or refused\n");
        EXPECT_EQ(orxemu_numRequests(), i + 1);
    }
}

} // namespace
