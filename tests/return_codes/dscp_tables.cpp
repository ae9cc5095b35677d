#include "tests/return_codes/table_scene.h"

namespace return_codes {

namespace {

struct Dscp {
    using Hdl = DscpTblHdl;
    using Cfg = DscpDefPbits;
    static constexpr auto Alloc = QIR_Alloc_DscpToPbitsTable;
    static constexpr auto Free = QIR_Free_DscpToPbitsTable;
    static constexpr auto Activate = QIR_Activate_DscpToPbitsTable;
    static constexpr auto Deactivate = QIR_Deactivate_DscpToPbitsTable;
    static constexpr auto SetCfg = QIR_Set_DscpToPbitsTable_DefPbits;
    static constexpr auto GetCfg = QIR_Get_DscpToPbitsTable_DefPbits;
    static constexpr unsigned kPoolSize = 6;
    static constexpr int kActivateRequest = 23;
    static constexpr int kDeactivateRequest = 24;
    static inline const std::string kTable = "DscpToPbitsTable";
    static inline const std::string kHdl = "dscpTblHdl";
    static inline const std::string kKind = "DscpTbl";
    static inline const std::string kCfg = "DscpToPbitsTable_DefPbits";
    static inline const std::string kCfgParam = "defPbits_p";

    static Cfg GoodCfg() { return {8, 7, {}}; }
    static qir::DscpTblInfo *Pool() { return qirCtxt_gp->dscpTblPool; }
};

using DscpScene = TableScene<Dscp>;

struct MappingScene : DscpScene {
    DscpMapping mapping = {0, 10, 63, 7};
    DscpMapping *mapping_p = &mapping;
    uint8_t dscp = 63;
    uint8_t pbits = 0;
    uint8_t *pbits_p = &pbits;
};

Operation SetDefault() {
    Describe<DscpScene> op("QIR_Set_DscpToPbitsTable_DefPbits",
                           [](DscpScene &s) { return QIR_Set_DscpToPbitsTable_DefPbits(s.hdl_p, s.cfg_p); });
    CheckNull<Dscp>(op, Dscp::kCfgParam, kNoCfg);
    op.When("`srcPort` is 9 or more", e_RET_ERR_INVALID_SRCPORT, [](auto &s) {
          s.cfg.srcPort = 9;
      }).When("`pbits` is 8 or more", e_RET_ERR_INVALID_PBITS, [](auto &s) { s.cfg.pbits = 8; });
    CheckHandle<Dscp>(op);
    return op.When("the table is ACTIVE", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ALLOC>);
}

Operation SetRange() {
    Describe<MappingScene> op("QIR_Set_DscpToPbitsTable",
                              [](MappingScene &s) { return QIR_Set_DscpToPbitsTable(s.hdl_p, s.mapping_p); });
    CheckNull<Dscp>(op, "dscpMapping_p", [](auto &s) { s.mapping_p = nullptr; });
    op.When("`startDscp` or `endDscp` is 64 or more, or `endDscp` is less than `startDscp`",
            e_RET_ERR_INVALID_DSCPVAL, [](auto &s) { s.mapping.endDscp = 64; })
        .Or([](auto &s) { s.mapping.startDscp = s.mapping.endDscp = 64; })
        .Or([](auto &s) { s.mapping.endDscp = 9; })
        .When("`pbits` is 8 or more", e_RET_ERR_INVALID_PBITS, [](auto &s) { s.mapping.pbits = 8; });
    CheckHandle<Dscp>(op);
    return op.When("the table is not CFG", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Or(kTableIn<e_STATUS_ALLOC>)
        .Otherwise();
}

Operation GetRow() {
    Describe<MappingScene> op("QIR_Get_DscpToPbitsTable", [](MappingScene &s) {
        return QIR_Get_DscpToPbitsTable(s.hdl_p, s.dscp, s.pbits_p);
    });
    CheckNull<Dscp>(op, "pbits", [](auto &s) { s.pbits_p = nullptr; });
    op.When("`dscp` is 64 or more", e_RET_ERR_INVALID_DSCPVAL, [](auto &s) { s.dscp = 64; });
    CheckHandle<Dscp>(op);
    return op.When("the table is not configured", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ACTIVE>);
}

} // namespace

Family DscpTables() {
    return {
        "DSCP-to-pbits tables",
        {
            AllocOperation<Dscp>(),
            OnTable<Dscp>("Free", Dscp::Free)
                .When("the table is ACTIVE", e_RET_ERR_RESRC_ALREADY_ACTIVE, kTableIn<e_STATUS_ACTIVE>)
                .Otherwise(),
            ActivateOperation<Dscp>(e_RET_ERR_RESRC_ALREADY_ACTIVE),
            DeactivateOperation<Dscp>(e_RET_ERR_RESRC_NOT_ACTIVE),
            SetDefault(),
            GetCfgOperation<Dscp>(),
            SetRange(),
            GetRow(),
        },
    };
}

} // namespace return_codes
