// The public operations that reach the driver, when they do not: the code 1, the closing line, the line on
// standard error, and a shadow that knows only of what the driver accepted.
#include "tests/driver/driver_test.h"

#include <cerrno>
#include <utility>

namespace driver_test {
namespace {

// Objects: the table, flow or limiter 0 is ready for activation, 1 is in hardware.
constexpr unsigned kReady = 0, kActive = 1;

FwdInfo PlainFwd() {
    FwdInfo fwdInfo{};
    fwdInfo.flowPrio = 4;
    fwdInfo.src.portMask = 0x02;
    fwdInfo.dst.portMask = 0x01;
    fwdInfo.dst.portQid[0] = 3;
    fwdInfo.fwdAction = 4;
    return fwdInfo;
}

// A table of each kind and a flow in both states, one rate limiter of each direction likewise.
void BuildObjects() {
    for (const unsigned idx : {kReady, kActive}) {
        AsTblHdl as{};
        const AsTblCfg asCfg{0x1};
        ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
        ASSERT_EQ(QIR_Set_AsTableCfg(&as, &asCfg), 0u);
        DscpTblHdl dscp{};
        const DscpDefPbits defPbits{.srcPort = 1, .pbits = 2, .rsvd = {}};
        ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
        ASSERT_EQ(QIR_Set_DscpToPbitsTable_DefPbits(&dscp, &defPbits), 0u);
        PacTblHdl pac{};
        const PacTblCfg pacCfg{};
        ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
        ASSERT_EQ(QIR_Set_PacTableCfg(&pac, &pacCfg), 0u);
        FlowHdl flow{};
        const FwdInfo fwdInfo = PlainFwd();
        ASSERT_EQ(QIR_Alloc_FCB(1, &flow), 0u);
        ASSERT_EQ(QIR_Set_FwdInfo(&flow, &fwdInfo), 0u);
        ASSERT_EQ(QIR_Set_RL(idx, 3, RlEnt{1, 2, 0, 3}), 0u);
        if (idx == kActive) {
            ASSERT_EQ(QIR_Activate_AsTable(&as), 0u);
            ASSERT_EQ(QIR_Activate_DscpToPbitsTable(&dscp), 0u);
            ASSERT_EQ(QIR_Activate_PacTable(&pac), 0u);
            ASSERT_EQ(QIR_Activate_FCB(&flow), 0u);
            ASSERT_EQ(QIR_Activate_RL(idx, 3), 0u);
        }
    }
    orxemu_clearLog();
}

template <class Hdl> u32 OnTable(u32 (*op)(Hdl *), unsigned id) {
    Hdl hdl{};
    hdl.f1.id = id & 0xFF;
    return op(&hdl);
}
template <class... P, class... A> u32 OnFlow(u32 (*op)(FlowHdl *, P...), unsigned id, A... args) {
    FlowHdl hdl = test::Flow(id);
    return op(&hdl, args...);
}

DstMask PortTwo() {
    DstMask dstMask{};
    dstMask.portMask = 0x04;
    return dstMask;
}

// Where the driver's index of an object stands, for the operations that write it whatever happens.
const u8 *AsIdx(unsigned idx) {
    return reinterpret_cast<const u8 *>(&qirCtxt_gp->asTblPool[idx]) + 4;
}
const u8 *DscpIdx(unsigned idx) {
    return reinterpret_cast<const u8 *>(&qirCtxt_gp->dscpTblPool[idx]) + 4;
}
const u8 *PacIdx(unsigned idx) {
    return reinterpret_cast<const u8 *>(&qirCtxt_gp->pacTblPool[idx]) + 4;
}
const u8 *FlowIdx(unsigned idx) {
    return reinterpret_cast<const u8 *>(&qirCtxt_gp->fcbPool[idx]) + 8;
}

struct Operation {
    const char *name;
    int request;
    u32 (*call)();
    const u8 *index; // may change on failure
};

std::vector<Operation> Operations() {
    return {
        {"QIR_Activate_AsTable", 21, [] { return OnTable(QIR_Activate_AsTable, kReady); }, AsIdx(kReady)},
        {"QIR_Deactivate_AsTable", 22, [] { return OnTable(QIR_Deactivate_AsTable, kActive); },
         AsIdx(kActive)},
        {"QIR_Activate_DscpToPbitsTable", 23, [] { return OnTable(QIR_Activate_DscpToPbitsTable, kReady); },
         DscpIdx(kReady)},
        {"QIR_Deactivate_DscpToPbitsTable", 24,
         [] { return OnTable(QIR_Deactivate_DscpToPbitsTable, kActive); }, DscpIdx(kActive)},
        {"QIR_Activate_PacTable", 27, [] { return OnTable(QIR_Activate_PacTable, kReady); }, PacIdx(kReady)},
        {"QIR_Deactivate_PacTable", 28, [] { return OnTable(QIR_Deactivate_PacTable, kActive); },
         PacIdx(kActive)},
        {"QIR_Activate_FCB", 29, [] { return OnFlow(QIR_Activate_FCB, kReady); }, FlowIdx(kReady)},
        {"QIR_Deactivate_FCB", 30, [] { return OnFlow(QIR_Deactivate_FCB, kActive); }, nullptr},
        {"QIR_Get_FCBHits", 38,
         [] {
             FcbHits hits{};
             return OnFlow(QIR_Get_FCBHits, kActive, &hits);
         },
         nullptr},
        {"QIR_Add_DstPortInfo", 43,
         [] {
             const DstMask dstMask = PortTwo();
             return OnFlow(QIR_Add_DstPortInfo, kActive, &dstMask);
         },
         nullptr},
        {"QIR_Rem_DstPortInfo", 43,
         [] {
             const DstMask dstMask = PortTwo();
             return OnFlow(QIR_Rem_DstPortInfo, kActive, &dstMask);
         },
         nullptr},
        {"QIR_Set_FlowMissAction", 17, [] { return QIR_Set_FlowMissAction(2); }, nullptr},
        {"QIR_Set_PortPadLen", 19, [] { return QIR_Set_PortPadLen(7, 255); }, nullptr},
        {"QIR_Set_PortDefAcl", 19, [] { return QIR_Set_PortDefAcl(8, 1); }, nullptr},
        {"QIR_Set_Tpid", 19,
         [] {
             TpidCfg tpidCfg{.portId = 8, .tpid = {1, 2, 3, 4}};
             return QIR_Set_Tpid(&tpidCfg);
         },
         nullptr},
        {"QIR_Set_RLStatus", 39, [] { return QIR_Set_RLStatus(1); }, nullptr},
        {"QIR_Set_RLTciCfg", 40,
         [] {
             return QIR_Set_RLTciCfg(1, RlTciCfg{{5, 6}});
         },
         nullptr},
        {"QIR_Activate_RL", 41, [] { return QIR_Activate_RL(kReady, 3); }, nullptr},
        {"QIR_Deactivate_RL", 42, [] { return QIR_Deactivate_RL(kActive, 3); }, nullptr},
    };
}

class OperationsOfTheDriver : public test::LibraryTest {
  protected:
    static void ForEach(const std::function<void(const Operation &)> &check) {
        for (std::size_t i = 0; i < Operations().size(); ++i) {
            orxemu_reset();
            std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
            ASSERT_EQ(QIR_Init_Sys(), 0u);
            BuildObjects();
            const Operation operation = Operations()[i];
            SCOPED_TRACE(operation.name);
            check(operation);
        }
    }

    // The code, the closing line alone, one line on standard error, and of the shadow at most the index.
    static void ExpectFailure(const Operation &operation, const std::string &err) {
        const ContextSnapshot before;
        const Called called = Call(operation.call);
        EXPECT_EQ(called.rc, 1u);
        EXPECT_EQ(called.out, RetVal(operation.name, 1));
        EXPECT_EQ(called.err, err);
        EXPECT_TRUE(OnlyChanged(before, operation.index));
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
};

// What the rows below fail at is the driver alone.
TEST_F(OperationsOfTheDriver, SucceedWhenTheDriverAccepts) {
    ForEach([](const Operation &operation) {
        ExpectSilentSuccess(operation.call);
        ASSERT_EQ(orxemu_numRequests(), 1u);
        EXPECT_EQ(LastRequest().request, operation.request);
    });
}

TEST_F(OperationsOfTheDriver, MissingDeviceIs1WithErrno2) {
    ForEach([](const Operation &operation) {
        orxemu_setPresent(0);
        ExpectFailure(operation, "qel_dev_open </dev/pktorx> error no 2\n");
        EXPECT_EQ(orxemu_numRequests(), 0u);
    });
}

TEST_F(OperationsOfTheDriver, DeviceThatMayNotBeOpenedIs1WithItsErrno) {
    ForEach([](const Operation &operation) {
        orxemu_failOpen(1, EPERM);
        ExpectFailure(operation, "qel_dev_open </dev/pktorx> error no 1\n");
    });
}

TEST_F(OperationsOfTheDriver, RefusedRequestIs1WithItsNumber) {
    ForEach([](const Operation &operation) {
        orxemu_failRequest(operation.request, 1, EIO);
        ExpectFailure(operation, IoctlFailed(operation.request));
        EXPECT_EQ(orxemu_numRequests(), 1u);
    });
}

TEST_F(OperationsOfTheDriver, LostAnswerIs1WithTheRequestsNumber) {
    ForEach([](const Operation &operation) {
        orxemu_loseAnswer(operation.request, 1, EINTR);
        ExpectFailure(operation, IoctlFailed(operation.request));
    });
}

// A table that could not be deactivated is still active and has no index any more.
TEST_F(OperationsOfTheDriver, FailedTableDeactivationForgetsTheIndex) {
    const std::pair<int, void (*)()> failures[] = {
        {0, [] { orxemu_setPresent(0); }},
        {1, [] { orxemu_failRequest(0, 1, EIO); }},
        {2, [] { orxemu_loseAnswer(0, 1, EIO); }},
    };
    for (const auto &[number, arm] : failures) {
        SCOPED_TRACE(number);
        ForEach([arm = arm](const Operation &operation) {
            const int request = operation.request;
            if (request != 22 && request != 24 && request != 28) {
                return;
            }
            arm();
            EXPECT_EQ(Call(operation.call).rc, 1u);
            EXPECT_EQ(WordAt(operation.index, 0), kAllOnes);
        });
    }
}

} // namespace
} // namespace driver_test
