#include "tests/return_codes/operations.h"

namespace return_codes {

namespace {

struct PortScene : Scene {
    uint32_t port = 0;
    uint32_t value = 1; // a flow-miss action, pad length or ACL type
    uint32_t *value_p = &value;
    TpidCfg tpid = {0, {0x8100, 0x88A8, 0x9100, 0x9200}};
    TpidCfg *tpid_p = &tpid;
};

constexpr int kGlobalRequest = 17;
constexpr int kPortRequest = 19;

const auto kNoValue = [](PortScene &s) { s.value_p = nullptr; };
const auto kNoTpid = [](PortScene &s) { s.tpid_p = nullptr; };
const auto kPort8 = [](PortScene &s) { s.port = 8; };
const auto kPort9 = [](PortScene &s) { s.port = 9; };
const auto kTpidPort9 = [](PortScene &s) { s.tpid.portId = 9; };

} // namespace

Family Ports() {
    return {
        "System and port settings",
        {
            Describe<PortScene>("QIR_Set_FlowMissAction",
                                [](PortScene &s) { return QIR_Set_FlowMissAction(s.value); })
                .When("`action` is 3 or more", e_RET_ERR_INVALID_ACTION, [](auto &s) { s.value = 3; })
                .Driver(kGlobalRequest)
                .Otherwise()
                .OnItsOwn([](auto &s) { s.value = 2; }),
            Describe<PortScene>("QIR_Get_FlowMissAction",
                                [](PortScene &s) { return QIR_Get_FlowMissAction(s.value_p); })
                .When("`action_p` is null", e_RET_ERR_NULL_PTR, kNoValue)
                .Otherwise(),

            Describe<PortScene>("QIR_Set_PortPadLen",
                                [](PortScene &s) { return QIR_Set_PortPadLen(s.port, s.value); })
                .When("`srcPort` is 8 or more", e_RET_ERR_INVALID_SRCPORT, kPort8)
                .When("`padLen` is 256 or more", e_RET_ERR_INVALID_PADLEN, [](auto &s) { s.value = 256; })
                .Driver(kPortRequest)
                .Otherwise()
                .OnItsOwn([](auto &s) {
                    s.port = 7;
                    s.value = 255;
                }),
            Describe<PortScene>("QIR_Get_PortPadLen",
                                [](PortScene &s) { return QIR_Get_PortPadLen(s.port, s.value_p); })
                .When("`srcPort` is 8 or more", e_RET_ERR_INVALID_SRCPORT, kPort8)
                .When("`padLen_p` is null", e_RET_ERR_NULL_PTR, kNoValue)
                .Otherwise(),

            Describe<PortScene>("QIR_Set_PortDefAcl",
                                [](PortScene &s) { return QIR_Set_PortDefAcl(s.port, s.value); })
                .When("`srcPort` is 9 or more", e_RET_ERR_INVALID_SRCPORT, kPort9)
                .When("`aclType` is 2 or more", e_RET_ERR_INVALID_ACLTYPE, [](auto &s) { s.value = 2; })
                .Driver(kPortRequest)
                .Otherwise()
                .OnItsOwn(kPort8),
            Describe<PortScene>("QIR_Get_PortDefAcl",
                                [](PortScene &s) { return QIR_Get_PortDefAcl(s.port, s.value_p); })
                .When("`srcPort` is 9 or more", e_RET_ERR_INVALID_SRCPORT, kPort9)
                .When("`aclType_p` is null", e_RET_ERR_NULL_PTR, kNoValue)
                .Otherwise()
                .OnItsOwn(kPort8),

            Describe<PortScene>("QIR_Set_Tpid", [](PortScene &s) { return QIR_Set_Tpid(s.tpid_p); })
                .When("`tpidCfg_p` is null", e_RET_ERR_NULL_PTR, kNoTpid)
                .When("`portId` is 9 or more", e_RET_ERR_INVALID_SRCPORT, kTpidPort9)
                .Driver(kPortRequest)
                .Otherwise(),
            Describe<PortScene>("QIR_Get_Tpid", [](PortScene &s) { return QIR_Get_Tpid(s.tpid_p); })
                .When("`tpidCfg_p` is null", e_RET_ERR_NULL_PTR, kNoTpid)
                .When("`portId` is 9 or more", e_RET_ERR_INVALID_SRCPORT, kTpidPort9)
                .Otherwise(),
        },
    };
}

} // namespace return_codes
