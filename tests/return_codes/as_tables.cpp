#include "tests/return_codes/table_scene.h"

namespace return_codes {

namespace {

struct As {
    using Hdl = AsTblHdl;
    using Cfg = AsTblCfg;
    static constexpr auto Alloc = QIR_Alloc_AsTable;
    static constexpr auto Free = QIR_Free_AsTable;
    static constexpr auto Activate = QIR_Activate_AsTable;
    static constexpr auto Deactivate = QIR_Deactivate_AsTable;
    static constexpr auto SetCfg = QIR_Set_AsTableCfg;
    static constexpr auto GetCfg = QIR_Get_AsTableCfg;
    static constexpr unsigned kPoolSize = 16;
    static constexpr int kActivateRequest = 21;
    static constexpr int kDeactivateRequest = 22;
    static inline const std::string kTable = "AsTable";
    static inline const std::string kHdl = "asTblHdl";
    static inline const std::string kKind = "AsTbl";
    static inline const std::string kCfg = "AsTableCfg";
    static inline const std::string kCfgParam = "asTblCfg_p";

    static Cfg GoodCfg() { return {0x3}; }
    static qir::AsTblInfo *Pool() { return qirCtxt_gp->asTblPool; }
};

using AsScene = TableScene<As>;

// An entry with every field, for slot 3.
struct EntryScene : AsScene {
    EntryScene() {
        ent.ipAddr = 0x0A000001;
        ent.ipPrefixLen = 32;
        ent.ethType = 0x0600;
        ent.vlanTag0 = 4095;
        ent.vlanTag1 = 4095;
        ent.aclMask = 0x27F;
        ent.aclType = 1;
    }
    void FillSlot() const {
        AsTblHdl own{};
        const AsEnt good = Good();
        Must(QIR_Set_AsTableEntry(&own, 3, &good));
    }
    static AsEnt Good() {
        AsEnt good{};
        good.aclMask = AS_ENT_MASK_MAC_SA;
        return good;
    }

    uint8_t idx = 3;
    AsEnt ent{};
    AsEnt *ent_p = &ent;
};

const auto kNoEnt = [](EntryScene &s) { s.ent_p = nullptr; };
const auto kFilled = [](EntryScene &s) { s.FillSlot(); };
const auto kOtherSlot = [](EntryScene &s) { s.idx = 4; };

void CheckSlot(Describe<EntryScene> &op) {
    op.When("`asEntIdx` is 8 or more", e_RET_ERR_INVALID_ENTIDX, [](auto &s) { s.idx = 8; });
}

// The twice-made test of the state says so twice.
std::vector<std::string> Twice(const std::string &line) {
    return {line, line};
}

Operation SetEntry() {
    const std::string name = "QIR_Set_AsTableEntry";
    const auto notCfg = Twice(test::CodeLine(name, "e_RET_ERR_STATE_NOTCFG"));
    const auto used = test::Err(name, "As Table entry<3> already used");
    Describe<EntryScene> op(name,
                            [](EntryScene &s) { return QIR_Set_AsTableEntry(s.hdl_p, s.idx, s.ent_p); });
    op.Note(
        "A field is checked only if its bit of `aclMask` is set. The state is tested twice, and its code's "
        "name printed twice; the error line about the slot stands in place of the code's name.");
    CheckNull<As>(op, "asEnt_p", kNoEnt);
    CheckHandle<As>(op);
    CheckSlot(op);
    return op.When("`aclMask` is 0", e_RET_ERR_INVALID_ASENT, [](auto &s) { s.ent.aclMask = 0; })
        .When("`aclType` is 2 or more", e_RET_ERR_INVALID_ACLTYPE, [](auto &s) { s.ent.aclType = 2; })
        .When("`ethType` is less than 0x0600", e_RET_ERR_INVALID_ETHTYPE,
              [](auto &s) { s.ent.ethType = 0x05FF; })
        .When("`vlanTag0` is 4096 or more", e_RET_ERR_INVALID_VLANTAG, [](auto &s) { s.ent.vlanTag0 = 4096; })
        .When("`vlanTag1` is 4096 or more", e_RET_ERR_INVALID_VLANTAG, [](auto &s) { s.ent.vlanTag1 = 4096; })
        .When("`ipPrefixLen` is more than 32, and neither of the non-IP bits of `aclMask` is set",
              e_RET_ERR_INVALID_IPPREFIXLENVAL, [](auto &s) { s.ent.ipPrefixLen = 33; })
        .When("the table is not CFG", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Prints(notCfg)
        .Or(kTableIn<e_STATUS_ALLOC>)
        .Prints(notCfg)
        .When("the slot is in use", e_RET_ERR_RESRC_UNAVAIL, kFilled)
        .Prints({used})
        .Otherwise()
        .OnItsOwn([](auto &s) {
            s.ent.aclMask |= AS_ENT_MASK_NONIP_A;
            s.ent.ipPrefixLen = 200;
        });
}

Operation GetEntry() {
    Describe<EntryScene> op("QIR_Get_AsTableEntry",
                            [](EntryScene &s) { return QIR_Get_AsTableEntry(s.hdl_p, s.idx, s.ent_p); });
    CheckNull<As>(op, "asEnt_p", kNoEnt);
    CheckSlot(op);
    CheckHandle<As>(op);
    return op.Given(kFilled)
        .When("the table is not configured", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ALLOC>)
        .When("the slot is free", e_RET_ERR_NO_SUCH_ENTRY, kOtherSlot)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ACTIVE>);
}

Operation DeleteEntry() {
    Describe<EntryScene> op("QIR_Delete_AsTableEntry",
                            [](EntryScene &s) { return QIR_Delete_AsTableEntry(s.hdl_p, s.idx); });
    CheckNull<As>(op);
    CheckSlot(op);
    CheckHandle<As>(op);
    return op.Given(kFilled)
        .When("the table is not CFG", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Or(kTableIn<e_STATUS_ALLOC>)
        .When("the slot is free", e_RET_ERR_NO_SUCH_ENTRY, kOtherSlot)
        .Otherwise();
}

Operation SetCfg() {
    Describe<AsScene> op("QIR_Set_AsTableCfg",
                         [](AsScene &s) { return QIR_Set_AsTableCfg(s.hdl_p, s.cfg_p); });
    CheckNull<As>(op, As::kCfgParam, kNoCfg);
    op.When("`srcPortMask` is 0", e_RET_ERR_INVALID_SRCPORTMASK, [](auto &s) { s.cfg.srcPortMask = 0; });
    CheckHandle<As>(op);
    return op.When("the table is ACTIVE", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ACTIVE>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ALLOC>);
}

} // namespace

Family AsTables() {
    return {
        "AS tables",
        {
            AllocOperation<As>(),
            OnTable<As>("Free", As::Free)
                .When("the table is ACTIVE", e_RET_ERR_STATE_ALREADY_ACTIVE, kTableIn<e_STATUS_ACTIVE>)
                .Otherwise(),
            ActivateOperation<As>(e_RET_ERR_STATE_ALREADY_ACTIVE),
            DeactivateOperation<As>(e_RET_ERR_STATE_NOT_ACTIVE),
            SetCfg(),
            GetCfgOperation<As>(),
            SetEntry(),
            GetEntry(),
            DeleteEntry(),
        },
    };
}

} // namespace return_codes
