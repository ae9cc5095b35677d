#include "tests/return_codes/flow_scene.h"

namespace return_codes {

namespace {

struct NewFlowScene : Scene {
    static void AllocAll() {
        for (unsigned i = 0; i < QIR_MAX_FLOWS; ++i) {
            FlowHdl other{};
            Must(QIR_Alloc_FCB(i % e_FLOW_SECTION_MAX, &other));
        }
    }

    uint32_t section = 2;
    FlowHdl hdl{};
    FlowHdl *hdl_p = &hdl;
};

struct HitsScene : FlowScene {
    FcbHits hits{};
    FcbHits *hits_p = &hits;
};

constexpr int kActivateRequest = 29;
constexpr int kDeactivateRequest = 30;
constexpr int kHitsRequest = 38;

Describe<NewFlowScene> NewFlow(const std::string &name, uint32_t (*fn)(uint32_t, FlowHdl *)) {
    Describe<NewFlowScene> op(name, [fn](NewFlowScene &s) { return fn(s.section, s.hdl_p); });
    op.When("`flowHdl_p` is null", e_RET_ERR_NULL_PTR, kNoFlow)
        .When("`section` is 3 or more", e_RET_ERR_INVALID_SECTION, [](auto &s) { s.section = 3; });
    return op;
}

template <class S> Describe<S> OnFlow(const std::string &name, uint32_t (*fn)(FlowHdl *)) {
    Describe<S> op(name, [fn](S &s) { return fn(s.hdl_p); });
    OpenFlow(op);
    return op;
}

// The table is configured and not ACTIVE.
void PacTableNotActive(FlowScene &s) {
    PacTblHdl table{};
    const PacTblCfg cfg{};
    Must(QIR_Alloc_PacTable(&table));
    Must(QIR_Set_PacTableCfg(&table, &cfg));
    Must(QIR_Set_PacInfo(&s.hdl, e_TBLSTATUS_ENABLE, 0, &table));
}

void EpTableNotActive(FlowScene &s) {
    qirCtxt_gp->epTblPool[0].status = e_STATUS_CFG;
    s.Fcb().epTblHdl = test::EpHdl(0);
    s.Fcb().tblAssoc = static_cast<uint16_t>(s.Fcb().tblAssoc | 1u);
}

// The status alone, so that the tables of the flow stay as they are.
template <uint32_t kState> void StatusWord(FlowScene &s) {
    s.Fcb().status = kState;
}

Operation Hits() {
    Describe<HitsScene> op("QIR_Get_FCBHits",
                           [](HitsScene &s) { return QIR_Get_FCBHits(s.hdl_p, s.hits_p); });
    OpenFlow(op, {{"hits_p", [](auto &s) { s.hits_p = nullptr; }}});
    return op.Given(kFlowIn<e_STATUS_ACTIVE>)
        .When("the flow is not ACTIVE", e_RET_ERR_RESRC_NOT_ACTIVE, kFlowIn<e_STATUS_CFG>)
        .Or(kFlowIn<e_STATUS_ALLOC>)
        .Driver(kHitsRequest)
        .Otherwise();
}

} // namespace

Family FlowLife() {
    return {
        "Flows: life",
        {
            NewFlow("QIR_Alloc_FCB", QIR_Alloc_FCB)
                .When("no FCB is free", e_RET_ERR_RESRC_UNAVAIL, [](auto &s) { s.AllocAll(); })
                .Otherwise(),
            NewFlow("QIR_Alloc_FCB_Specify_Index", QIR_Alloc_FCB_Specify_Index)
                .Note("`f1.id` is not range-checked.")
                .When("the named FCB is in use", e_RET_ERR_RESRC_UNAVAIL,
                      [](auto &) {
                          FlowHdl same{};
                          Must(QIR_Alloc_FCB(0, &same));
                      })
                .Otherwise(),
            Describe<FlowScene>("Is_Orx_free", [](FlowScene &s) { return Is_Orx_free(s.hdl.f1.id); })
                .Note("Answers a question: the number is not a return code, and nothing is checked.")
                .WithoutClosingLine()
                .When("the FCB is free", 1, [](auto &s) { s.hdl.f1.id = 1; })
                .Answer("1")
                .Otherwise()
                .Answer("0"),

            OnFlow<FlowScene>("QIR_Activate_FCB", QIR_Activate_FCB)
                .When("the flow is ACTIVE already", e_RET_ERR_RESRC_ALREADY_ACTIVE,
                      StatusWord<e_STATUS_ACTIVE>)
                .OnItsOwn(kFlowIn<e_STATUS_ACTIVE>)
                .When("the flow is not configured", e_RET_ERR_STATE_NOTCFG, StatusWord<e_STATUS_ALLOC>)
                .OnItsOwn(kFlowIn<e_STATUS_ALLOC>)
                .When("an EP table is associated and not ACTIVE", e_RET_ERR_STATE_NOT_ACTIVE,
                      EpTableNotActive)
                .Unreachable()
                .When("a PAC table is associated and not ACTIVE", e_RET_ERR_STATE_NOT_ACTIVE,
                      PacTableNotActive)
                .Driver(kActivateRequest)
                .Otherwise(),
            OnFlow<FlowScene>("QIR_Deactivate_FCB", QIR_Deactivate_FCB)
                .Given(kFlowIn<e_STATUS_ACTIVE>)
                .When("the flow is not ACTIVE", e_RET_ERR_RESRC_NOT_ACTIVE, kFlowIn<e_STATUS_CFG>)
                .Or(kFlowIn<e_STATUS_ALLOC>)
                .Driver(kDeactivateRequest)
                .Otherwise(),
            OnFlow<FlowScene>("QIR_Free_FCB", QIR_Free_FCB)
                .When("the flow is ACTIVE", e_RET_ERR_RESRC_ALREADY_ACTIVE, kFlowIn<e_STATUS_ACTIVE>)
                .Otherwise()
                .OnItsOwn(kFlowIn<e_STATUS_ALLOC>),
            Hits(),
        },
    };
}

} // namespace return_codes
