// Rate limiters in every state, and the lines that their operations print.
#ifndef TESTS_RATE_LIMITERS_LIMITERS_H
#define TESTS_RATE_LIMITERS_LIMITERS_H

#include "tests/support/calls.h"

#include <array>
#include <string>
#include <vector>

namespace rate_limiters {

using namespace calls;

constexpr u32 kDirs = 2;
constexpr u32 kIndexes = 16;

using Bytes = std::vector<u8>;

inline Bytes BytesOf(const void *begin, std::size_t size) {
    const auto *bytes = static_cast<const u8 *>(begin);
    return {bytes, bytes + size};
}

// The four words of a configuration: TCI, rate, unit, burst size.
inline std::array<u32, 4> WordsOf(const RlEnt &rlEnt) {
    return {rlEnt.tci, rlEnt.cirRate, rlEnt.cirUnit, rlEnt.cbs};
}

constexpr RlEnt kZeroEnt = {.tci = 0, .cirRate = 0, .cirUnit = 0, .cbs = 0};
constexpr RlEnt kOldEnt = {.tci = 0x01020304, .cirRate = 8064, .cirUnit = 0, .cbs = 0x11223344};
constexpr RlEnt kNewEnt = {.tci = kAllOnes, .cirRate = 1000, .cirUnit = 1, .cbs = 0xFEDCBA98};

struct Limiter {
    u32 dir;
    u32 index;
};

inline std::string TextOf(const Limiter &rl) {
    return "limiter " + std::to_string(rl.dir) + ":" + std::to_string(rl.index);
}

inline qir::RlSlot &SlotOf(const Limiter &rl) {
    return qirCtxt_gp->rlTbl[rl.dir][rl.index];
}

inline void ExpectSlot(const Limiter &rl, const RlEnt &rlEnt, u32 state) {
    EXPECT_EQ(WordsOf(SlotOf(rl).ent), WordsOf(rlEnt));
    EXPECT_EQ(SlotOf(rl).state, state);
}

inline void ForEachLimiter(const std::function<void(const Limiter &)> &check) {
    for (u32 dir = 0; dir < kDirs; ++dir) {
        for (u32 index = 0; index < kIndexes; ++index) {
            SCOPED_TRACE(TextOf({dir, index}));
            check({dir, index});
        }
    }
}

// ---- calls ----------------------------------------------------------------------------------------

inline Op Alloc(Limiter rl) {
    return [=] { return QIR_Alloc_RL(rl.dir, rl.index); };
}
inline Op Free(Limiter rl) {
    return [=] { return QIR_Free_RL(rl.dir, rl.index); };
}
inline Op Set(Limiter rl, const RlEnt &rlEnt) {
    return [=] { return QIR_Set_RL(rl.dir, rl.index, rlEnt); };
}
inline Op Get(Limiter rl, RlEnt *rlEnt_p) {
    return [=] { return QIR_Get_RL(rl.dir, rl.index, rlEnt_p); };
}
inline Op Activate(Limiter rl) {
    return [=] { return QIR_Activate_RL(rl.dir, rl.index); };
}
inline Op Deactivate(Limiter rl) {
    return [=] { return QIR_Deactivate_RL(rl.dir, rl.index); };
}

// The parameter line of allocation, release, activation and deactivation.
inline std::string Params(const std::string &fn, Limiter rl) {
    return Inf(fn, "Params: rlDir<" + std::to_string(rl.dir) + "> rlIndex<" + std::to_string(rl.index) + ">");
}
// That of the configuration has two blanks.
inline std::string SetParams(Limiter rl) {
    return Inf("QIR_Set_RL",
               "Params:  rlDir<" + std::to_string(rl.dir) + "> rlIndex<" + std::to_string(rl.index) + ">");
}
// `ptr` is "ptr" or "nil".
inline std::string GetParams(Limiter rl, const std::string &ptr) {
    return Inf("QIR_Get_RL", "Params: rlDir<" + std::to_string(rl.dir) + "> rlIndex<" +
                                 std::to_string(rl.index) + "> rlEnt_p<0x<" + ptr + ">>");
}

// ---- states ---------------------------------------------------------------------------------------

// The library and the driver as new, and the limiter in this state by way of the operations. A FREE one keeps
// the words of an earlier life; all but ALLOC have kOldEnt.
inline void Prepare(const Limiter &rl, u32 state) {
    Restart();
    if (state == e_STATUS_ALLOC) {
        ASSERT_EQ(QIR_Alloc_RL(rl.dir, rl.index), 0u);
    } else {
        ASSERT_EQ(QIR_Set_RL(rl.dir, rl.index, kOldEnt), 0u);
    }
    if (state == e_STATUS_FREE) {
        ASSERT_EQ(QIR_Free_RL(rl.dir, rl.index), 0u);
    }
    if (state == e_STATUS_ACTIVE) {
        ASSERT_EQ(QIR_Activate_RL(rl.dir, rl.index), 0u);
    }
    ASSERT_EQ(SlotOf(rl).state, state);
    orxemu_clearLog();
}

inline const char *StateName(u32 state) {
    static const char *const names[] = {"FREE", "ALLOC", "CFG", "ACTIVE"};
    return names[state];
}

// ---- requests -------------------------------------------------------------------------------------

inline Request StatusRecord(u32 rlStatus) {
    return {39, 4, {Word(0, rlStatus)}};
}
inline Request TciRecord(u32 dir, u16 first, u16 second) {
    return {40, 12, {Word(4, dir), Half(8, first), Half(10, second)}};
}
inline Request ActivateRecord(const Limiter &rl, const RlEnt &rlEnt) {
    return {41,
            32,
            {Word(4, rl.dir), Word(12, rl.index), Word(16, rlEnt.tci), Word(20, rlEnt.cirRate),
             Word(24, rlEnt.cirUnit), Word(28, rlEnt.cbs)}};
}
// The direction's first TCI half stands in place of a configuration.
inline Request DeactivateRecord(const Limiter &rl, u16 firstTci) {
    return {42,
            32,
            {Word(4, rl.dir), Word(12, rl.index), Word(16, firstTci), Word(20, 0), Word(24, 0), Word(28, 0)}};
}

// What the hardware holds of the limiter.
inline void Put(Hardware &hardware, const Limiter &rl, bool active, const RlEnt &rlEnt) {
    OrxEmuRl &held = hardware->rl[rl.dir][rl.index];
    held.active = active ? 1 : 0;
    std::memcpy(held.record, &rlEnt, sizeof held.record);
}

} // namespace rate_limiters

#endif
