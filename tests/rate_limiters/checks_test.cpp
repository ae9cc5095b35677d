// What the operations on a limiter refuse, and which of two faults decides. Allocation, release, activation
// and deactivation look at the index first, configuration and its read-back at the direction.
#include "tests/rate_limiters/limiters.h"

namespace rate_limiters {
namespace {

class RlChecks : public test::LibraryTest {};

const std::string kAlloc = "QIR_Alloc_RL";
const std::string kFree = "QIR_Free_RL";
const std::string kSet = "QIR_Set_RL";
const std::string kGet = "QIR_Get_RL";
const std::string kActivate = "QIR_Activate_RL";
const std::string kDeactivate = "QIR_Deactivate_RL";

RlEnt Rate(u32 rate, u32 unit) {
    return {.tci = 7, .cirRate = rate, .cirUnit = unit, .cbs = 9};
}

TEST_F(RlChecks, IndexBeforeDirection) {
    const struct {
        const std::string &fn;
        Op (*op)(Limiter);
    } ops[] = {{kAlloc, Alloc}, {kFree, Free}, {kActivate, Activate}, {kDeactivate, Deactivate}};
    struct Row {
        Limiter rl;
        u32 code;
        const char *name;
        const char *params;
    };
    const Row rows[] = {
        {{0, 16}, 69, "e_RET_ERR_INVALID_RLINDEX", "Params: rlDir<0> rlIndex<16>"},
        {{1, 17}, 69, "e_RET_ERR_INVALID_RLINDEX", "Params: rlDir<1> rlIndex<17>"},
        {{1, kAllOnes}, 69, "e_RET_ERR_INVALID_RLINDEX", "Params: rlDir<1> rlIndex<4294967295>"},
        {{2, 0}, 70, "e_RET_ERR_INVALID_RLDIR", "Params: rlDir<2> rlIndex<0>"},
        {{2, 15}, 70, "e_RET_ERR_INVALID_RLDIR", "Params: rlDir<2> rlIndex<15>"},
        {{kAllOnes, 15}, 70, "e_RET_ERR_INVALID_RLDIR", "Params: rlDir<4294967295> rlIndex<15>"},
        {{2, 16}, 69, "e_RET_ERR_INVALID_RLINDEX", "Params: rlDir<2> rlIndex<16>"},
        {{kAllOnes, kAllOnes},
         69,
         "e_RET_ERR_INVALID_RLINDEX",
         "Params: rlDir<4294967295> rlIndex<4294967295>"},
    };
    std::vector<Refused> refused;
    for (const auto &op : ops) {
        for (const Row &row : rows) {
            refused.push_back({op.fn + " " + TextOf(row.rl), op.op(row.rl), row.code, Inf(op.fn, row.params),
                               Refusal(op.fn, row.name, row.code)});
        }
    }
    ExpectRefused(refused);
}

TEST_F(RlChecks, ConfigurationLooksAtDirectionIndexUnitAndRateInThisOrder) {
    struct Row {
        const char *what;
        Limiter rl;
        RlEnt rlEnt;
        u32 code;
        const char *name;
    };
    std::vector<Refused> refused;
    for (const Row &row : {
             Row{"direction", {2, 15}, Rate(0, 0), 70, "e_RET_ERR_INVALID_RLDIR"},
             Row{"direction all ones", {kAllOnes, 0}, Rate(0, 0), 70, "e_RET_ERR_INVALID_RLDIR"},
             Row{"direction and index", {2, 16}, Rate(0, 0), 70, "e_RET_ERR_INVALID_RLDIR"},
             Row{"direction and unit", {2, 0}, Rate(0, 2), 70, "e_RET_ERR_INVALID_RLDIR"},
             Row{"direction and rate", {2, 0}, Rate(8065, 0), 70, "e_RET_ERR_INVALID_RLDIR"},
             Row{"index", {1, 16}, Rate(0, 0), 69, "e_RET_ERR_INVALID_RLINDEX"},
             Row{"index all ones", {0, kAllOnes}, Rate(0, 0), 69, "e_RET_ERR_INVALID_RLINDEX"},
             Row{"index and unit", {1, 16}, Rate(0, 2), 69, "e_RET_ERR_INVALID_RLINDEX"},
             Row{"index and rate", {1, 16}, Rate(8065, 0), 69, "e_RET_ERR_INVALID_RLINDEX"},
             Row{"unit", {1, 15}, Rate(0, 2), 71, "e_RET_ERR_INVALID_RLUNIT"},
             Row{"unit all ones", {1, 15}, Rate(0, kAllOnes), 71, "e_RET_ERR_INVALID_RLUNIT"},
             Row{"unit and rate", {1, 15}, Rate(8065, 2), 71, "e_RET_ERR_INVALID_RLUNIT"},
             Row{"unit and rate, all ones",
                 {1, 15},
                 Rate(kAllOnes, kAllOnes),
                 71,
                 "e_RET_ERR_INVALID_RLUNIT"},
             Row{"rate 8065 in unit 0", {1, 15}, Rate(8065, 0), 72, "e_RET_ERR_INVALID_RLRATE"},
             Row{"rate all ones in unit 0", {0, 0}, Rate(kAllOnes, 0), 72, "e_RET_ERR_INVALID_RLRATE"},
             Row{"rate 1001 in unit 1", {0, 0}, Rate(1001, 1), 72, "e_RET_ERR_INVALID_RLRATE"},
             Row{"rate 8064 in unit 1", {0, 0}, Rate(8064, 1), 72, "e_RET_ERR_INVALID_RLRATE"},
             Row{"rate all ones in unit 1", {0, 0}, Rate(kAllOnes, 1), 72, "e_RET_ERR_INVALID_RLRATE"},
         }) {
        refused.push_back({row.what, Set(row.rl, row.rlEnt), row.code, SetParams(row.rl),
                           Refusal(kSet, row.name, row.code)});
    }
    ExpectRefused(refused);
}

TEST_F(RlChecks, ConfigurationLooksAtTheStateLast) {
    const Limiter rl = {1, 15};
    Prepare(rl, e_STATUS_ACTIVE);
    ExpectRefused({
        {"state", Set(rl, kNewEnt), 19, SetParams(rl), Refusal(kSet, "e_RET_ERR_STATE_ALREADY_ACTIVE", 19)},
        {"rate and state", Set(rl, Rate(1001, 1)), 72, SetParams(rl),
         Refusal(kSet, "e_RET_ERR_INVALID_RLRATE", 72)},
        {"unit and state", Set(rl, Rate(0, 2)), 71, SetParams(rl),
         Refusal(kSet, "e_RET_ERR_INVALID_RLUNIT", 71)},
    });
}

// The refused value replaces nothing, whatever is there.
TEST_F(RlChecks, RefusedRateLeavesEveryStateAsItWas) {
    for (const u32 state : {e_STATUS_FREE, e_STATUS_ALLOC, e_STATUS_CFG, e_STATUS_ACTIVE}) {
        SCOPED_TRACE(StateName(state));
        const Limiter rl = {0, 15};
        Prepare(rl, state);
        ExpectRefused({{"rate", Set(rl, Rate(8065, 0)), 72, SetParams(rl),
                        Refusal(kSet, "e_RET_ERR_INVALID_RLRATE", 72)}});
    }
}

TEST_F(RlChecks, RatesEndByUnit) {
    const Limiter rl = {1, 15};
    for (const RlEnt &rlEnt : {Rate(0, 0), Rate(1, 0), Rate(1000, 0), Rate(1001, 0), Rate(8063, 0),
                               Rate(8064, 0), Rate(0, 1), Rate(1, 1), Rate(999, 1), Rate(1000, 1)}) {
        SCOPED_TRACE("rate " + std::to_string(rlEnt.cirRate) + " in unit " + std::to_string(rlEnt.cirUnit));
        Prepare(rl, e_STATUS_ALLOC);
        ExpectDone(1, Set(rl, rlEnt), "", {}, {Place(SlotOf(rl))});
        ExpectSlot(rl, rlEnt, e_STATUS_CFG);
        EXPECT_EQ(Call(Activate(rl)).rc, 0u) << "what the library takes, the hardware takes";
    }
}

TEST_F(RlChecks, TciAndBurstSizeHaveNoEnd) {
    const Limiter rl = {0, 0};
    for (const u32 value : {0u, 0x10000u, 0x80000000u, kAllOnes}) {
        SCOPED_TRACE(value);
        Prepare(rl, e_STATUS_FREE);
        const RlEnt rlEnt = {.tci = value, .cirRate = 1, .cirUnit = 1, .cbs = ~value};
        ExpectDone(1, Set(rl, rlEnt), "", {}, {Place(SlotOf(rl))});
        ExpectSlot(rl, rlEnt, e_STATUS_CFG);
    }
}

TEST_F(RlChecks, ReadBackLooksAtDirectionIndexPointerAndStateInThisOrder) {
    struct Row {
        const char *what;
        Limiter rl;
        bool null;
        u32 code;
        const char *name;
    };
    RlEnt read = kNewEnt;
    for (const u32 state : {e_STATUS_FREE, e_STATUS_ALLOC}) {
        SCOPED_TRACE(StateName(state));
        Prepare({1, 15}, state);
        std::vector<Refused> refused;
        for (const Row &row : {
                 Row{"direction", {2, 15}, false, 70, "e_RET_ERR_INVALID_RLDIR"},
                 Row{"direction all ones", {kAllOnes, 15}, false, 70, "e_RET_ERR_INVALID_RLDIR"},
                 Row{"direction and index", {2, 16}, false, 70, "e_RET_ERR_INVALID_RLDIR"},
                 Row{"direction and null", {2, 15}, true, 70, "e_RET_ERR_INVALID_RLDIR"},
                 Row{"index", {1, 16}, false, 69, "e_RET_ERR_INVALID_RLINDEX"},
                 Row{"index all ones", {1, kAllOnes}, false, 69, "e_RET_ERR_INVALID_RLINDEX"},
                 Row{"index and null", {1, 16}, true, 69, "e_RET_ERR_INVALID_RLINDEX"},
                 Row{"null and state", {1, 15}, true, 2, "e_RET_ERR_NULL_PTR"},
                 Row{"state", {1, 15}, false, 17, "e_RET_ERR_STATE_NOTCFG"},
             }) {
            refused.push_back({row.what, Get(row.rl, row.null ? nullptr : &read), row.code,
                               GetParams(row.rl, row.null ? "nil" : "ptr"),
                               Refusal(kGet, row.name, row.code)});
        }
        ExpectRefused(refused);
    }
    EXPECT_EQ(WordsOf(read), WordsOf(kNewEnt)) << "the caller's record";
    Prepare({1, 15}, e_STATUS_ACTIVE);
    ExpectRefused({{"null alone", Get({1, 15}, nullptr), 2, GetParams({1, 15}, "nil"),
                    Refusal(kGet, "e_RET_ERR_NULL_PTR", 2)}});
}

TEST_F(RlChecks, LinesToTheBlank) {
    RlEnt read = kZeroEnt;
    ExpectUnmasked(Alloc({0, 7}), "[INF orxapi] QIR_Alloc_RL: Params: rlDir<0> rlIndex<7>\n");
    ExpectUnmasked(Set({0, 7}, {.tci = 4294967295, .cirRate = 8064, .cirUnit = 0, .cbs = 2147483648}),
                   "[INF orxapi] QIR_Set_RL: Params:  rlDir<0> rlIndex<7>\n");
    ExpectUnmasked(Get({0, 7}, &read),
                   "[INF orxapi] QIR_Get_RL: Params: rlDir<0> rlIndex<7> rlEnt_p<" + AddressText(&read) +
                       ">\n[INF orxapi] QIR_Get_RL: rlDir<0> rlIndex<7> tci<4294967295> cir<8064:0> "
                       "cbs<2147483648>\n");
    ExpectUnmasked(Activate({0, 7}), "[INF orxapi] QIR_Activate_RL: Params: rlDir<0> rlIndex<7>\n");
    ExpectUnmasked(Deactivate({0, 7}), "[INF orxapi] QIR_Deactivate_RL: Params: rlDir<0> rlIndex<7>\n");
    ExpectUnmasked(Free({0, 7}), "[INF orxapi] QIR_Free_RL: Params: rlDir<0> rlIndex<7>\n");
}

} // namespace
} // namespace rate_limiters
