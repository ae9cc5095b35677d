// Long walks of arbitrary calls, with a driver that fails now and then, beside a small model of the library
// and of the hardware.
#include "tests/rate_limiters/limiters.h"

#include <random>

namespace rate_limiters {
namespace {

class RlRandomWalk : public test::LibraryTest {};

enum Fault { kNone, kOpenFails, kRequestFails, kAnswerLost };

struct Model {
    struct Rl {
        std::array<u32, 4> words{};
        u32 state = 0;
        bool hwActive = false;
        std::array<u32, 4> hwWords{};
    };
    u32 status = 0;
    u32 hwStatus = 0;
    u16 tci[2][2] = {};
    u16 hwTci[2][2] = {};
    Rl rl[2][16];
    Fault armed = kNone; // fires at the next request

    // The driver gets a request that it would answer with `accepted`: whether the library sees it succeed.
    bool Ask(bool accepted, const std::function<void()> &take) {
        const Fault fault = armed;
        armed = kNone;
        if (accepted && (fault == kNone || fault == kAnswerLost)) {
            take();
        }
        return accepted && fault == kNone;
    }

    u32 SetStatus(u32 value) {
        if (value > 1) {
            return 68;
        }
        if (value == status) {
            return value == 1 ? 15 : 14;
        }
        if (!Ask(true, [&] { hwStatus = value; })) {
            return 1;
        }
        status = value;
        return 0;
    }

    u32 SetTci(u32 dir, u16 first, u16 second) {
        if (dir > 1) {
            return 70;
        }
        const auto put = [&](u16(&to)[2]) {
            to[0] = first;
            to[1] = second;
        };
        if (!Ask(true, [&] { put(hwTci[dir]); })) {
            return 1;
        }
        put(tci[dir]);
        return 0;
    }

    u32 Alloc(u32 dir, u32 index) {
        if (index > 15 || dir > 1) {
            return index > 15 ? 69 : 70;
        }
        if (rl[dir][index].state != 0) {
            return 12;
        }
        rl[dir][index].words = {};
        rl[dir][index].state = 1;
        return 0;
    }

    u32 Free(u32 dir, u32 index) {
        if (index > 15 || dir > 1) {
            return index > 15 ? 69 : 70;
        }
        if (rl[dir][index].state == 3) {
            return 13;
        }
        rl[dir][index].state = 0;
        return 0;
    }

    u32 Set(u32 dir, u32 index, const std::array<u32, 4> &words) {
        if (dir > 1 || index > 15) {
            return dir > 1 ? 70 : 69;
        }
        if (words[2] > 1) {
            return 71;
        }
        if (words[1] > (words[2] == 0 ? 8064u : 1000u)) {
            return 72;
        }
        if (rl[dir][index].state == 3) {
            return 19;
        }
        rl[dir][index].words = words;
        rl[dir][index].state = 2;
        return 0;
    }

    u32 Get(u32 dir, u32 index) const {
        if (dir > 1 || index > 15) {
            return dir > 1 ? 70 : 69;
        }
        return rl[dir][index].state < 2 ? 17 : 0;
    }

    u32 Activate(u32 dir, u32 index) {
        if (index > 15 || dir > 1) {
            return index > 15 ? 69 : 70;
        }
        Rl &it = rl[dir][index];
        if (it.state != 2) {
            return it.state == 3 ? 19 : 17;
        }
        if (!Ask(!it.hwActive, [&] {
                it.hwActive = true;
                it.hwWords = it.words;
            })) {
            return 1;
        }
        it.state = 3;
        return 0;
    }

    u32 Deactivate(u32 dir, u32 index) {
        if (index > 15 || dir > 1) {
            return index > 15 ? 69 : 70;
        }
        Rl &it = rl[dir][index];
        if (it.state != 3) {
            return 14;
        }
        if (!Ask(it.hwActive, [&] {
                it.hwActive = false;
                it.hwWords = {};
            })) {
            return 1;
        }
        it.state = 2;
        return 0;
    }

    // The library starts anew; the driver and the TCI configurations know nothing of it.
    u32 Init() {
        status = 0;
        for (auto &dir : rl) {
            for (Rl &it : dir) {
                it.words = {};
                it.state = 0;
            }
        }
        return 0;
    }

    bool AgreesWithShadowAndHardware() const {
        const OrxEmuState &hw = *orxemu_state();
        bool agrees = qirCtxt_gp->rlStatus == status && hw.rlStatus == hwStatus &&
                      std::memcmp(qirCtxt_gp->rlTciCfgTbl, tci, sizeof tci) == 0 &&
                      std::memcmp(hw.rlTci, hwTci, sizeof hwTci) == 0;
        for (u32 dir = 0; dir < kDirs; ++dir) {
            for (u32 index = 0; index < kIndexes; ++index) {
                const Rl &it = rl[dir][index];
                const OrxEmuRl &held = hw.rl[dir][index];
                agrees = agrees && WordsOf(SlotOf({dir, index}).ent) == it.words &&
                         SlotOf({dir, index}).state == it.state && (held.active == 1) == it.hwActive &&
                         std::memcmp(held.record, it.hwWords.data(), sizeof held.record) == 0;
            }
        }
        return agrees;
    }
};

class Walk {
  public:
    explicit Walk(u32 seed) : random_(seed) {}

    // One call on the library and on the model. Empty, or what they disagree about.
    std::string Step() {
        ArmSometimes();
        // Few limiters, so that they are met in every state; now and then a number out of range.
        const u32 dir = Below(24) == 0 ? 2 + Below(2) : Below(2);
        const u32 index = Below(24) == 0 ? 16 + Below(2) : (Below(2) == 0 ? 0 : 14 + Below(2));
        const Limiter rl = {dir, index};
        switch (Below(24)) {
        case 0:
        case 1: {
            const u32 value = Below(3);
            return Compare("QIR_Set_RLStatus", QIR_Set_RLStatus(value), model_.SetStatus(value));
        }
        case 2:
        case 3: {
            const auto first = static_cast<u16>(Below(0x10000));
            const auto second = static_cast<u16>(Below(0x10000));
            return Compare("QIR_Set_RLTciCfg " + TextOf(rl), QIR_Set_RLTciCfg(dir, RlTciCfg{{first, second}}),
                           model_.SetTci(dir, first, second));
        }
        case 4:
        case 5:
        case 6:
            return Compare("QIR_Alloc_RL " + TextOf(rl), QIR_Alloc_RL(dir, index), model_.Alloc(dir, index));
        case 7:
        case 8:
            return Compare("QIR_Free_RL " + TextOf(rl), QIR_Free_RL(dir, index), model_.Free(dir, index));
        case 9:
            if (Below(20) == 0) {
                return Compare("QIR_Init_Sys", QIR_Init_Sys(), model_.Init());
            }
            [[fallthrough]];
        case 10: {
            RlEnt read = kZeroEnt;
            const u32 expected = model_.Get(dir, index);
            std::string differ = Compare("QIR_Get_RL " + TextOf(rl), QIR_Get_RL(dir, index, &read), expected);
            if (expected == 0 && WordsOf(read) != model_.rl[dir][index].words) {
                differ += "QIR_Get_RL " + TextOf(rl) + " yields something else";
            }
            return differ;
        }
        case 11:
        case 12:
        case 13:
        case 14: {
            const u32 rates[] = {0, 1, 1000, 1001, 8064, 8065, Below(2000), Any()};
            const std::array<u32, 4> words = {Any(), rates[Below(8)], Below(20) == 0 ? 2 : Below(2), Any()};
            const RlEnt rlEnt = {.tci = words[0], .cirRate = words[1], .cirUnit = words[2], .cbs = words[3]};
            return Compare("QIR_Set_RL " + TextOf(rl), QIR_Set_RL(dir, index, rlEnt),
                           model_.Set(dir, index, words));
        }
        case 15:
        case 16:
        case 17:
        case 18:
        case 19:
            return Compare("QIR_Activate_RL " + TextOf(rl), QIR_Activate_RL(dir, index),
                           model_.Activate(dir, index));
        default:
            return Compare("QIR_Deactivate_RL " + TextOf(rl), QIR_Deactivate_RL(dir, index),
                           model_.Deactivate(dir, index));
        }
    }

    // Calls by their code, to show that the walk came by.
    const std::array<u32, 73> &Codes() const { return codes_; }

  private:
    u32 Any() { return static_cast<u32>(random_()); }
    u32 Below(u32 bound) { return Any() % bound; }

    void ArmSometimes() {
        if (model_.armed != kNone || Below(12) != 0) {
            return;
        }
        model_.armed = static_cast<Fault>(1 + Below(3));
        switch (model_.armed) {
        case kOpenFails:
            orxemu_failOpen(1, ENODEV);
            break;
        case kRequestFails:
            orxemu_failRequest(0, 1, EIO);
            break;
        default:
            orxemu_loseAnswer(0, 1, EINTR);
        }
    }

    std::string Compare(const std::string &what, u32 code, u32 expected) {
        ++codes_.at(code);
        if (code != expected) {
            return what + ": " + std::to_string(code) + " instead of " + std::to_string(expected);
        }
        return model_.AgreesWithShadowAndHardware() ? "" : what + ": shadow or hardware differ";
    }

    std::mt19937 random_;
    Model model_;
    std::array<u32, 73> codes_{};
};

TEST_F(RlRandomWalk, LibraryAndHardwareDoWhatTheModelDoes) {
    std::array<u32, 73> codes{};
    for (u32 seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Restart();
        Walk walk(seed);
        std::string differ;
        u32 step = 0;
        test::CaptureBoth([&] {
            while (step < 2000 && differ.empty()) {
                differ = walk.Step();
                ++step;
            }
        });
        EXPECT_EQ(differ, "") << "at step " << step;
        for (std::size_t code = 0; code < codes.size(); ++code) {
            codes[code] += walk.Codes()[code];
        }
    }
    for (const u32 code : {0u, 1u, 12u, 13u, 14u, 15u, 17u, 19u, 68u, 69u, 70u, 71u, 72u}) {
        EXPECT_GT(codes[code], 10u) << "code " << code << " is hardly met";
    }
}

} // namespace
} // namespace rate_limiters
