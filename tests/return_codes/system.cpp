#include "tests/return_codes/operations.h"

namespace return_codes {

namespace {

// Section 0 may be given the 100 flows that section 1 has been shrunk by.
struct BudgetScene : Scene {
    BudgetScene() { Must(QIR_Set_SectionMaxFlows(1, 412)); }
    qir::FlowSection &Shadow() const { return qirCtxt_gp->cfg.flowSection[0]; }

    uint32_t section = 0;
    uint16_t numFlows = 100;
    uint16_t *numFlows_p = &numFlows;
};

void FiveFlowsForFour(BudgetScene &s) {
    for (unsigned i = 0; i < 5; ++i) {
        FlowHdl hdl{};
        Must(QIR_Alloc_FCB(0, &hdl));
    }
    s.numFlows = 4;
}

} // namespace

Family System() {
    return {
        "System and flow sections",
        {
            Always("QIR_Init_Sys", "", [] { return QIR_Init_Sys(); }),

            Describe<BudgetScene>(
                "QIR_Set_SectionMaxFlows",
                [](BudgetScene &s) { return QIR_Set_SectionMaxFlows(s.section, s.numFlows); })
                .When("`section` is 3 or more", e_RET_ERR_INVALID_SECTION, [](auto &s) { s.section = 3; })
                .When("`numFlows` is 512 or more", e_RET_ERR_INVALID_NUMFLOWS,
                      [](auto &s) { s.numFlows = 512; })
                // More flows than there are, so that the section has too many for 512 as well.
                .When("`numFlows` is less than the section's allocated flows", e_RET_ERR_RESRC_BUSY,
                      [](auto &s) { s.Shadow().cfgFlows = 600; })
                .OnItsOwn(FiveFlowsForFour)
                .When("the budgets of the three sections would sum to 513 or more", e_RET_ERR_RESRC_UNAVAIL,
                      [](auto &s) { s.numFlows = 101; })
                .Otherwise(),

            Describe<BudgetScene>(
                "QIR_Get_SectionMaxFlows",
                [](BudgetScene &s) { return QIR_Get_SectionMaxFlows(s.section, s.numFlows_p); })
                .Note("A failure has no closing line.")
                .WithoutClosingLine()
                .When("`numFlows_p` is null", e_RET_ERR_NULL_PTR, [](auto &s) { s.numFlows_p = nullptr; })
                .When("`section` is 3 or more", e_RET_ERR_INVALID_SECTION, [](auto &s) { s.section = 3; })
                .Otherwise(),
        },
    };
}

} // namespace return_codes
