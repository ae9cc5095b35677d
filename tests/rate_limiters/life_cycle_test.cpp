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

// ---- what is refused ------------------------------------------------------------------------------

struct Wrong {
    u32 state;
    OpKind op;
    u32 code;
    const char *name; // null: a detail line stands in place of the code's name
};
const Wrong kWrongs[] = {
    {kF, kGet, 17, "e_RET_ERR_STATE_NOTCFG"},
    {kF, kActivate, 17, "e_RET_ERR_STATE_NOTCFG"},
    {kF, kDeactivate, 14, "e_RET_ERR_RESRC_NOT_ACTIVE"},
    {kL, kAlloc, 12, nullptr},
    {kL, kGet, 17, "e_RET_ERR_STATE_NOTCFG"},
    {kL, kActivate, 17, "e_RET_ERR_STATE_NOTCFG"},
    {kL, kDeactivate, 14, "e_RET_ERR_RESRC_NOT_ACTIVE"},
    {kC, kAlloc, 12, nullptr},
    {kC, kDeactivate, 14, "e_RET_ERR_RESRC_NOT_ACTIVE"},
    {kX, kAlloc, 12, nullptr},
    {kX, kFree, 13, "e_RET_ERR_RESRC_BUSY"},
    {kX, kSet, 19, "e_RET_ERR_STATE_ALREADY_ACTIVE"},
    {kX, kActivate, 19, "e_RET_ERR_STATE_ALREADY_ACTIVE"},
};

void ExpectWrong(u32 level, const Limiter &rl, const Wrong &wrong) {
    const std::string fn = kFn[wrong.op];
    const std::string used = Err(fn, "RL rlDir<" + std::to_string(rl.dir) + "> rlIndex <" +
                                         std::to_string(rl.index) + "> already used") +
                             RetVal(fn, 12);
    RlEnt read = kNewEnt;
    Prepare(rl, wrong.state);
    ExpectRefused(level, {TextOf(rl) + ", " + StateName(wrong.state) + ", " + fn, OpOn(wrong.op, rl, &read),
                          wrong.code, ParamsOf(wrong.op, rl),
                          wrong.name == nullptr ? used : Refusal(fn, wrong.name, wrong.code)});
    EXPECT_EQ(WordsOf(read), WordsOf(kNewEnt));
}

TEST_F(RlLifeCycle, WrongStateIsRefusedForEveryLimiter) {
    ForEachLimiter([](const Limiter &rl) {
        for (const Wrong &wrong : kWrongs) {
            ExpectWrong(2, rl, wrong);
        }
    });
}

TEST_F(RlLifeCycle, WrongStateIsRefusedAtEveryLogLevel) {
    AtEveryLevel([](u32 level) {
        for (const Wrong &wrong : kWrongs) {
            ExpectWrong(level, {0, 15}, wrong);
        }
    });
}

TEST_F(RlLifeCycle, StepsAndRefusalsCoverEveryOperationInEveryState) {
    int seen[4][6] = {};
    for (const Step &step : kSteps) {
        ++seen[step.state][step.op];
    }
    for (const Wrong &wrong : kWrongs) {
        ++seen[wrong.state][wrong.op];
    }
    // cppcheck-suppress constVariable ; it is
    for (const auto &state : seen) {
        for (const int count : state) {
            EXPECT_EQ(count, 1);
        }
    }
}

// ---- longer stories -------------------------------------------------------------------------------

TEST_F(RlLifeCycle, LimiterGoesRoundMoreThanOnce) {
    for (const Limiter &rl : kCorners) {
        SCOPED_TRACE(TextOf(rl));
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(Call(Alloc(rl)).rc, 0u);
            ExpectSlot(rl, kZeroEnt, e_STATUS_ALLOC);
            EXPECT_EQ(Call(Set(rl, kOldEnt)).rc, 0u);
            EXPECT_EQ(Call(Activate(rl)).rc, 0u);
            EXPECT_EQ(Call(Deactivate(rl)).rc, 0u);
            EXPECT_EQ(Call(Set(rl, kNewEnt)).rc, 0u);
            EXPECT_EQ(Call(Activate(rl)).rc, 0u);
            Hardware expected;
            Put(expected, rl, true, kNewEnt);
            EXPECT_TRUE(expected.IsNow());
            EXPECT_EQ(Call(Deactivate(rl)).rc, 0u);
            EXPECT_EQ(Call(Free(rl)).rc, 0u);
            ExpectSlot(rl, kNewEnt, e_STATUS_FREE);
            EXPECT_EQ(orxemu_state()->rl[rl.dir][rl.index].active, 0);
        }
    }
}

TEST_F(RlLifeCycle, FreeLimiterThatIsConfiguredDirectlyIsInUse) {
    const Limiter rl = {0, 3};
    EXPECT_EQ(Call(Set(rl, kOldEnt)).rc, 0u);
    ExpectSlot(rl, kOldEnt, e_STATUS_CFG);
    const Called alloc = Call(Alloc(rl));
    EXPECT_EQ(alloc.rc, 12u);
    EXPECT_EQ(alloc.out, "[ERROR orxapi] QIR_Alloc_RL,#: RL rlDir<0> rlIndex <3> already used\n"
                         "[ERROR orxapi] QIR_Alloc_RL,#: retVal <12>\n");
    EXPECT_EQ(Call(Activate(rl)).rc, 0u);
    ExpectSlot(rl, kOldEnt, e_STATUS_ACTIVE);
}

TEST_F(RlLifeCycle, AllLimitersLiveSideBySide) {
    ForEachLimiter([](const Limiter &rl) {
        const RlEnt rlEnt = {
            .tci = 100 * rl.dir + rl.index, .cirRate = rl.index, .cirUnit = rl.dir, .cbs = 5};
        EXPECT_EQ(Call(Alloc(rl)).rc, 0u);
        EXPECT_EQ(Call(Set(rl, rlEnt)).rc, 0u);
        EXPECT_EQ(Call(Activate(rl)).rc, 0u);
    });
    ForEachLimiter([](const Limiter &rl) {
        const std::array<u32, 4> words = {100 * rl.dir + rl.index, rl.index, rl.dir, 5};
        RlEnt read = kZeroEnt;
        EXPECT_EQ(QIR_Get_RL(rl.dir, rl.index, &read), 0u);
        EXPECT_EQ(WordsOf(read), words);
        EXPECT_EQ(orxemu_state()->rl[rl.dir][rl.index].active, 1);
        EXPECT_EQ(BytesOf(orxemu_state()->rl[rl.dir][rl.index].record, 16), BytesOf(words.data(), 16));
    });
}

// The record is the caller's: what is done with it afterwards changes nothing.
TEST_F(RlLifeCycle, ReadBackIsACopy) {
    ASSERT_EQ(QIR_Set_RL(1, 2, kOldEnt), 0u);
    RlEnt read = kZeroEnt;
    ASSERT_EQ(QIR_Get_RL(1, 2, &read), 0u);
    read = kNewEnt;
    ExpectSlot({1, 2}, kOldEnt, e_STATUS_CFG);
}

} // namespace
} // namespace rate_limiters::life_cycle
