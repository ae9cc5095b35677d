#include "tests/return_codes/operations.h"

namespace return_codes {

namespace {

constexpr int kStatusRequest = 39;
constexpr int kTciRequest = 40;
constexpr int kActivateLimiter = 41;
constexpr int kDeactivateLimiter = 42;

// One limiter, free, with a configuration to give to it.
struct LimiterScene : Scene {
    // Takes the limiter to a state from whichever it is in.
    void To(uint32_t state) const {
        if (Shadow().state == e_STATUS_ACTIVE) {
            Must(QIR_Deactivate_RL(1, 5));
        }
        Must(QIR_Free_RL(1, 5));
        if (state >= e_STATUS_ALLOC) {
            Must(QIR_Alloc_RL(1, 5));
        }
        if (state >= e_STATUS_CFG) {
            Must(QIR_Set_RL(1, 5, RlEnt{7, 8064, 0, 9}));
        }
        if (state >= e_STATUS_ACTIVE) {
            Must(QIR_Activate_RL(1, 5));
        }
    }
    qir::RlSlot &Shadow() const { return qirCtxt_gp->rlTbl[1][5]; }

    uint32_t status = 1;
    uint32_t *status_p = &status;
    uint32_t dir = 1;
    uint32_t index = 5;
    RlTciCfg tci = {{1, 2}};
    RlTciCfg *tci_p = &tci;
    RlEnt ent = {7, 8064, 0, 9};
    RlEnt *ent_p = &ent;
};

template <uint32_t kState> void In(LimiterScene &s) {
    s.To(kState);
}

void CheckDir(Describe<LimiterScene> &op) {
    op.When("`rlDir` is 2 or more", e_RET_ERR_INVALID_RLDIR, [](auto &s) { s.dir = 2; });
}

void CheckIndex(Describe<LimiterScene> &op) {
    op.When("`rlIndex` is 16 or more", e_RET_ERR_INVALID_RLINDEX, [](auto &s) { s.index = 16; });
}

using Call = std::function<uint32_t(LimiterScene &)>;

// Allocation, release, activation and deactivation look at the index first.
Describe<LimiterScene> IndexFirst(const std::string &name, uint32_t (*fn)(uint32_t, uint32_t)) {
    Describe<LimiterScene> op(name, [fn](LimiterScene &s) { return fn(s.dir, s.index); });
    CheckIndex(op);
    CheckDir(op);
    return op;
}

// Configuration and its read-back look at the direction first.
Describe<LimiterScene> DirFirst(const std::string &name, Call call) {
    Describe<LimiterScene> op(name, std::move(call));
    CheckDir(op);
    CheckIndex(op);
    return op;
}

Describe<LimiterScene> DirOnly(const std::string &name, Call call) {
    Describe<LimiterScene> op(name, std::move(call));
    CheckDir(op);
    return op;
}

} // namespace

Family RateLimiters() {
    return {
        "Rate limiters",
        {
            Describe<LimiterScene>("QIR_Set_RLStatus",
                                   [](LimiterScene &s) { return QIR_Set_RLStatus(s.status); })
                .When("`rlStatus` is 2 or more", e_RET_ERR_INVALID_RLSTATUS, [](auto &s) { s.status = 2; })
                .When("`rlStatus` is 1 and rate limiting is enabled already", e_RET_ERR_RESRC_ALREADY_ACTIVE,
                      [](auto &s) {
                          Must(QIR_Set_RLStatus(1));
                          s.status = 1;
                      })
                .When("`rlStatus` is 0 and rate limiting is disabled already", e_RET_ERR_RESRC_NOT_ACTIVE,
                      [](auto &s) { s.status = 0; })
                .Driver(kStatusRequest)
                .Otherwise(),
            Describe<LimiterScene>("QIR_Get_RLStatus",
                                   [](LimiterScene &s) { return QIR_Get_RLStatus(s.status_p); })
                .When("`rlStatus_p` is null", e_RET_ERR_NULL_PTR, [](auto &s) { s.status_p = nullptr; })
                .Otherwise(),

            DirOnly("QIR_Set_RLTciCfg", [](LimiterScene &s) { return QIR_Set_RLTciCfg(s.dir, s.tci); })
                .Driver(kTciRequest)
                .Otherwise(),
            DirOnly("QIR_Get_RLTciCfg", [](LimiterScene &s) { return QIR_Get_RLTciCfg(s.dir, s.tci_p); })
                .When("`rlTciCfg_p` is null", e_RET_ERR_NULL_PTR, [](auto &s) { s.tci_p = nullptr; })
                .Otherwise(),

            IndexFirst("QIR_Alloc_RL", QIR_Alloc_RL)
                .Note("The error line about the limiter in use stands in place of the code's name.")
                .When("the limiter is not free", e_RET_ERR_RESRC_UNAVAIL, In<e_STATUS_ALLOC>)
                .Prints({test::Err("QIR_Alloc_RL", "RL rlDir<1> rlIndex <5> already used")})
                .OnItsOwn(In<e_STATUS_ACTIVE>)
                .Prints({test::Err("QIR_Alloc_RL", "RL rlDir<1> rlIndex <5> already used")})
                .Otherwise(),
            IndexFirst("QIR_Free_RL", QIR_Free_RL)
                .Given(In<e_STATUS_CFG>)
                .When("the limiter is ACTIVE", e_RET_ERR_RESRC_BUSY, In<e_STATUS_ACTIVE>)
                .Otherwise()
                .OnItsOwn(In<e_STATUS_FREE>),

            DirFirst("QIR_Set_RL", [](LimiterScene &s) { return QIR_Set_RL(s.dir, s.index, s.ent); })
                .When("`cirUnit` is 2 or more", e_RET_ERR_INVALID_RLUNIT, [](auto &s) { s.ent.cirUnit = 2; })
                .When("`cirRate` is 8065 or more in unit 0, or 1001 or more in unit 1",
                      e_RET_ERR_INVALID_RLRATE, [](auto &s) { s.ent.cirRate = 8065; })
                .Or([](auto &s) {
                    s.ent.cirUnit = 1;
                    s.ent.cirRate = 1001;
                })
                .When("the limiter is ACTIVE", e_RET_ERR_STATE_ALREADY_ACTIVE, In<e_STATUS_ACTIVE>)
                .Otherwise(),
            DirFirst("QIR_Get_RL", [](LimiterScene &s) { return QIR_Get_RL(s.dir, s.index, s.ent_p); })
                .Given(In<e_STATUS_CFG>)
                .When("`rlEnt_p` is null", e_RET_ERR_NULL_PTR, [](auto &s) { s.ent_p = nullptr; })
                .When("the limiter is not configured", e_RET_ERR_STATE_NOTCFG, In<e_STATUS_ALLOC>)
                .Or(In<e_STATUS_FREE>)
                .Otherwise()
                .OnItsOwn(In<e_STATUS_ACTIVE>),

            IndexFirst("QIR_Activate_RL", QIR_Activate_RL)
                .Given(In<e_STATUS_CFG>)
                .When("the limiter is ACTIVE", e_RET_ERR_STATE_ALREADY_ACTIVE, In<e_STATUS_ACTIVE>)
                .When("the limiter is not configured", e_RET_ERR_STATE_NOTCFG, In<e_STATUS_ALLOC>)
                .Or(In<e_STATUS_FREE>)
                .Driver(kActivateLimiter)
                .Otherwise(),
            IndexFirst("QIR_Deactivate_RL", QIR_Deactivate_RL)
                .Given(In<e_STATUS_ACTIVE>)
                .When("the limiter is not ACTIVE", e_RET_ERR_RESRC_NOT_ACTIVE, In<e_STATUS_CFG>)
                .Or(In<e_STATUS_FREE>)
                .Driver(kDeactivateLimiter)
                .Otherwise(),
        },
    };
}

} // namespace return_codes
