// The life of a limiter: every operation in every state, with what it prints, sends and leaves behind.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters::life_cycle {
namespace {

class RlLifeCycle : public test::LibraryTest {};

enum class Words { Old, New, Zero };

RlEnt EntOf(Words words) {
    return words == Words::Old ? kOldEnt : words == Words::New ? kNewEnt : kZeroEnt;
}

enum OpKind { kAlloc, kFree, kSet, kGet, kActivate, kDeactivate };
const char *const kFn[] = {"QIR_Alloc_RL", "QIR_Free_RL",     "QIR_Set_RL",
                           "QIR_Get_RL",   "QIR_Activate_RL", "QIR_Deactivate_RL"};

Op OpOn(OpKind kind, const Limiter &rl, RlEnt *read) {
    switch (kind) {
    case kAlloc:
        return Alloc(rl);
    case kFree:
        return Free(rl);
    case kSet:
        return Set(rl, kNewEnt);
    case kGet:
        return Get(rl, read);
    case kActivate:
        return Activate(rl);
    default:
        return Deactivate(rl);
    }
}

std::string ParamsOf(OpKind kind, const Limiter &rl) {
    return kind == kSet ? SetParams(rl) : kind == kGet ? GetParams(rl, "ptr") : Params(kFn[kind], rl);
}

constexpr u32 kF = e_STATUS_FREE, kL = e_STATUS_ALLOC, kC = e_STATUS_CFG, kX = e_STATUS_ACTIVE;

// ---- what succeeds --------------------------------------------------------------------------------

struct Step {
    u32 state;
    OpKind op;
    u32 next;
    Words before;
    Words after;
    int request; // 0 when none
};
const Step kSteps[] = {
    {kF, kAlloc, kL, Words::Old, Words::Zero, 0}, // the words of an earlier life are cleared
    {kF, kFree, kF, Words::Old, Words::Old, 0},
    {kF, kSet, kC, Words::Old, Words::New, 0}, // straight from FREE, without an allocation
    {kL, kFree, kF, Words::Zero, Words::Zero, 0},
    {kL, kSet, kC, Words::Zero, Words::New, 0},
    {kC, kFree, kF, Words::Old, Words::Old, 0}, // the words stay
    {kC, kSet, kC, Words::Old, Words::New, 0},
    {kC, kGet, kC, Words::Old, Words::Old, 0},
    {kC, kActivate, kX, Words::Old, Words::Old, 41},
    {kX, kGet, kX, Words::Old, Words::Old, 0},
    {kX, kDeactivate, kC, Words::Old, Words::Old, 42},
};

void ExpectStep(u32 level, const Limiter &rl, const Step &step) {
    SCOPED_TRACE(TextOf(rl) + ", " + StateName(step.state) + ", " + kFn[step.op]);
    Prepare(rl, step.state);
    ASSERT_EQ(QIR_Set_RLTciCfg(rl.dir, RlTciCfg{{0xFACE, 0x1234}}), 0u);
    ExpectSlot(rl, EntOf(step.before), step.state);

    Hardware expected;
    std::vector<Request> requests;
    if (step.request == 41) {
        requests.push_back(ActivateRecord(rl, kOldEnt));
        Put(expected, rl, true, kOldEnt);
    } else if (step.request == 42) {
        requests.push_back(DeactivateRecord(rl, 0xFACE));
        Put(expected, rl, false, kZeroEnt);
    }
    std::vector<Span> fields;
    if (step.op != kGet) {
        fields.push_back(Place(SlotOf(rl)));
    }
    std::string inf = ParamsOf(step.op, rl);
    if (step.op == kGet) {
        inf += Inf("QIR_Get_RL", "rlDir<" + std::to_string(rl.dir) + "> rlIndex<" + std::to_string(rl.index) +
                                     "> tci<16909060> cir<8064:0> cbs<287454020>");
    }
    RlEnt read = kZeroEnt;
    ExpectDone(level, OpOn(step.op, rl, &read), inf, requests, fields);
    ExpectSlot(rl, EntOf(step.after), step.next);
    EXPECT_EQ(WordsOf(read), WordsOf(step.op == kGet ? kOldEnt : kZeroEnt));
    EXPECT_TRUE(expected.IsNow());
}

TEST_F(RlLifeCycle, EveryStepOfEveryLimiter) {
    ForEachLimiter([](const Limiter &rl) {
        for (const Step &step : kSteps) {
            ExpectStep(2, rl, step);
        }
    });
}

TEST_F(RlLifeCycle, EveryStepAtEveryLogLevel) {
    AtEveryLevel([](u32 level) {
        for (const Step &step : kSteps) {
            ExpectStep(level, {1, 15}, step);
        }
    });
}

} // namespace
} // namespace rate_limiters::life_cycle
