#include "tests/return_codes/table_scene.h"

namespace return_codes {

namespace {

struct Pac {
    using Hdl = PacTblHdl;
    using Cfg = PacTblCfg;
    static constexpr auto Alloc = QIR_Alloc_PacTable;
    static constexpr auto Free = QIR_Free_PacTable;
    static constexpr auto Activate = QIR_Activate_PacTable;
    static constexpr auto Deactivate = QIR_Deactivate_PacTable;
    static constexpr auto SetCfg = QIR_Set_PacTableCfg;
    static constexpr auto GetCfg = QIR_Get_PacTableCfg;
    static constexpr unsigned kPoolSize = 16;
    static constexpr int kActivateRequest = 27;
    static constexpr int kDeactivateRequest = 28;
    static inline const std::string kTable = "PacTable";
    static inline const std::string kHdl = "pacTblHdl";
    static inline const std::string kKind = "PacTbl";
    static inline const std::string kCfg = "PacTableCfg";
    static inline const std::string kCfgParam = "pacTblCfg_p";

    // Everything in use, every value at its upper end.
    static Cfg GoodCfg() {
        Cfg cfg{};
        cfg.ovrd = 0x000D;
        cfg.dstGemPort = 31;
        cfg.dstQid = 7;
        cfg.rawAction[0] = {1, 0, 1, {0x12, 0x34}, {0xFF, 0xFF}, {}};
        cfg.rawAction[1] = {2, 95, 2, {0x12, 0x34}, {0xFF, 0xFF}, {}};
        return cfg;
    }
    static qir::PacTblInfo *Pool() { return qirCtxt_gp->pacTblPool; }
};

// The record is the configuration, or the entry of some pbits.
struct PacScene : TableScene<Pac> {
    uint8_t pbits = 7;
};

void UsedByAFlow(TableScene<Pac> &s) {
    FlowHdl flow{};
    Must(QIR_Alloc_FCB(1, &flow));
    Must(QIR_Set_PacInfo(&flow, e_TBLSTATUS_ENABLE, 0, &s.hdl));
}

void CheckRawAction(Describe<PacScene> &op, unsigned ix) {
    const std::string raw = "`rawAction[" + std::to_string(ix) + "]` has a `type` and its ";
    op.When("`type` of `rawAction[" + std::to_string(ix) + "]` is 3 or more",
            e_RET_ERR_INVALID_RAWACTION_TYPE, [ix](auto &s) { s.cfg.rawAction[ix].type = 3; })
        .When(raw + "`ofst` is 96 or more", e_RET_ERR_INVALID_RAWACTION_OFFSET,
              [ix](auto &s) { s.cfg.rawAction[ix].ofst = 96; })
        .When(raw + "`size` is 0, or 3 or more", e_RET_ERR_INVALID_RAWACTION_SIZE,
              [ix](auto &s) { s.cfg.rawAction[ix].size = 0; })
        .Or([ix](auto &s) { s.cfg.rawAction[ix].size = 3; });
}

// The checks of the record, which configuration and entries share.
void CheckRecord(Describe<PacScene> &op) {
    op.Note("With `PAC_OVRD_UNCHECKED` in `ovrd` nothing else in the record is checked.");
    op.When("`ovrd` has a bit of `PAC_OVRD_INVALID_BITS`", e_RET_ERR_INVALID_OVRD,
            [](auto &s) { s.cfg.ovrd |= 0x0020; })
        .Or([](auto &s) { s.cfg.ovrd |= 0x8000; })
        .OnItsOwn([](auto &s) { s.cfg.ovrd = 0x8002; })
        .When("`ovrd` has `PAC_OVRD_DSTGEMPORT` and `dstGemPort` is 32 or more", e_RET_ERR_INVALID_GEMPORTIDX,
              [](auto &s) { s.cfg.dstGemPort = 32; })
        .When("`ovrd` has `PAC_OVRD_DSTQID_A` or `PAC_OVRD_DSTQID_B` and `dstQid` is 8 or more",
              e_RET_ERR_INVALID_DSTQID, [](auto &s) { s.cfg.dstQid = 8; })
        .Or([](auto &s) {
            s.cfg.ovrd = 0x0010;
            s.cfg.dstQid = 8;
        });
    CheckRawAction(op, 0);
    CheckRawAction(op, 1);
}

void Unchecked(PacScene &s) {
    s.cfg.ovrd = 0x001F;
    s.cfg.dstGemPort = 200;
    s.cfg.dstQid = 200;
    s.cfg.rawAction[0].type = 9;
}

Operation SetCfg() {
    Describe<PacScene> op("QIR_Set_PacTableCfg",
                          [](PacScene &s) { return QIR_Set_PacTableCfg(s.hdl_p, s.cfg_p); });
    CheckNull<Pac>(op, Pac::kCfgParam, kNoCfg);
    CheckRecord(op);
    CheckHandle<Pac>(op);
    return op.When("the table is ACTIVE", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ALLOC>)
        .OnItsOwn(Unchecked);
}

void CheckPbits(Describe<PacScene> &op) {
    op.When("`pbits` is 8 or more", e_RET_ERR_INVALID_PBITS, [](auto &s) { s.pbits = 8; });
}

Operation SetEntry() {
    Describe<PacScene> op("QIR_Set_PacTableEntry",
                          [](PacScene &s) { return QIR_Set_PacTableEntry(s.hdl_p, s.pbits, s.cfg_p); });
    CheckNull<Pac>(op, "pacEnt_p", kNoCfg);
    CheckPbits(op);
    CheckRecord(op);
    CheckHandle<Pac>(op);
    return op.When("the table is not CFG", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Or(kTableIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(Unchecked);
}

Operation GetEntry() {
    Describe<PacScene> op("QIR_Get_PacTableEntry",
                          [](PacScene &s) { return QIR_Get_PacTableEntry(s.hdl_p, s.pbits, s.cfg_p); });
    CheckNull<Pac>(op, "pacEnt_p", kNoCfg);
    CheckPbits(op);
    CheckHandle<Pac>(op);
    return op.When("the table is not configured", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ACTIVE>);
}

} // namespace

Family PacTables() {
    return {
        "PAC tables",
        {
            AllocOperation<Pac>(),
            OnTable<Pac>("Free", Pac::Free)
                .When("the table is ACTIVE", e_RET_ERR_RESRC_ALREADY_ACTIVE, kTableIn<e_STATUS_ACTIVE>)
                .When("flows use the table", e_RET_ERR_RESRC_BUSY, UsedByAFlow)
                .Otherwise(),
            // There is no code of its own for a table that is ACTIVE already.
            OnTable<Pac>("Activate", Pac::Activate)
                .When("the table is not CFG", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
                .Or(kTableIn<e_STATUS_ALLOC>)
                .Driver(Pac::kActivateRequest)
                .Otherwise(),
            DeactivateOperation<Pac>(e_RET_ERR_RESRC_NOT_ACTIVE),
            SetCfg(),
            GetCfgOperation<Pac>(),
            SetEntry(),
            GetEntry(),
        },
    };
}

} // namespace return_codes
