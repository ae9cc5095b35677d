#include "tests/return_codes/request_scene.h"

namespace return_codes {

namespace {

// ---- The six kinds. The good request is of a type that excludes itself and, if the header's values are
// checked, has a limit to its value; the bad values are one request for each limit of the header.

struct ActionKind {
    static constexpr uint32_t kBlk = e_BLKTYPE_ACTION;
    static constexpr const char *kBlkName = "action";
    static constexpr bool kVlan = false;
    static constexpr bool kEth = false;
    static constexpr bool kL4 = false;
    static uint16_t &HdrBmap(qir::Fcb &fcb) { return fcb.actionBlk.hdrBmap; }
};

struct Eth : ActionKind {
    using Req = EthAction;
    static inline const HdrNames &kNames = kEthHdr;
    static constexpr bool kEth = true;
    static constexpr uint32_t kTypes = 5;
    static constexpr auto Config = QIR_Config_EthAction;
    static constexpr auto Get = QIR_Get_EthAction;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.eth; }
    static Req EthType(uint16_t ethType) {
        Req req{};
        req.type = e_ETH_ACTION_ETHTYPE;
        req.val.ethType = ethType;
        return req;
    }
    static Req Good() { return EthType(0x0600); }
    static std::vector<Req> BadValues() { return {EthType(0x05FF)}; }
};

struct Vlan : ActionKind {
    using Req = VlanAction;
    static inline const HdrNames &kNames = kVlanHdr;
    static constexpr bool kVlan = true;
    static constexpr uint32_t kTypes = 14;
    static constexpr auto Config = QIR_Config_VlanAction;
    static constexpr auto Get = QIR_Get_VlanAction;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.vlan[1]; }
    template <class Set> static Req Inner(uint32_t type, Set set) {
        Req req{};
        req.type = type;
        req.toTagNum = 1;
        set(req.val);
        return req;
    }
    static Req Good() {
        return Inner(e_VLAN_ACTION_SET_PBITS, [](auto &val) { val.pbits = 7; });
    }
    static std::vector<Req> BadValues() {
        std::vector<Req> bad = {Inner(e_VLAN_ACTION_SET_PBITS, [](auto &val) { val.pbits = 8; }),
                                Inner(e_VLAN_ACTION_SET_DEI, [](auto &val) { val.dei = 2; }),
                                Inner(e_VLAN_ACTION_SET_VID, [](auto &val) { val.vid = 4096; })};
        for (uint32_t type = e_VLAN_ACTION_COPY_TAG_FROM_TAG; type <= e_VLAN_ACTION_COPY_DEI_FROM_TAG;
             ++type) {
            bad.push_back(Inner(type, [](auto &val) { val.fromTagNum = 1; }));
            bad.push_back(Inner(type, [](auto &val) { val.fromTagNum = 2; }));
        }
        return bad;
    }
};

// Kinds whose values are not looked at.
template <class Request> struct AnyValueKind : ActionKind {
    using Req = Request;
    static Req Good() { return {}; }
    static std::vector<Req> BadValues() { return {}; }
};

struct Pppoe : AnyValueKind<PppoeAction> {
    static inline const HdrNames &kNames = kPppoeHdr;
    static constexpr uint32_t kTypes = 1;
    static constexpr auto Config = QIR_Config_PppoeAction;
    static constexpr auto Get = QIR_Get_PppoeAction;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.pppoe; }
};

struct Ipv4 : AnyValueKind<Ipv4Action> {
    static inline const HdrNames &kNames = kIpv4Hdr;
    static constexpr uint32_t kTypes = 4;
    static constexpr auto Config = QIR_Config_Ipv4Action;
    static constexpr auto Get = QIR_Get_Ipv4Action;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.ipv4; }
};

struct Tcp : AnyValueKind<TcpAction> {
    static inline const HdrNames &kNames = kTcpHdr;
    static constexpr bool kL4 = true;
    static constexpr uint32_t kTypes = 2;
    static constexpr auto Config = QIR_Config_TcpAction;
    static constexpr auto Get = QIR_Get_TcpAction;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.tcp; }
};

struct Udp : AnyValueKind<UdpAction> {
    static inline const HdrNames &kNames = kUdpHdr;
    static constexpr bool kL4 = true;
    static constexpr uint32_t kTypes = 2;
    static constexpr auto Config = QIR_Config_UdpAction;
    static constexpr auto Get = QIR_Get_UdpAction;
    static auto &Entry(qir::Fcb &fcb) { return fcb.actionBlk.udp; }
};

template <class Kind> using Scene = RequestScene<Kind>;
using EthScene = Scene<Eth>;

// ---- Order of the Ethernet actions, and the number of tags

EthAction OfType(uint32_t type) {
    EthAction req = Eth::Good();
    req.type = type;
    return req;
}

// The flow as operations leave it: these actions, then the call with one of this type.
auto After(const std::vector<uint32_t> &before, uint32_t type) {
    return [=](EthScene &s) {
        for (const uint32_t earlier : before) {
            s.Add(OfType(earlier));
        }
        s.req = OfType(type);
    };
}

// The filter block matches a tag.
void MatchTag(EthScene &s) {
    s.AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
    s.AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0);
}

// The flow's bookkeeping alone, so that the later conditions stay as they are.
void Tags(EthScene &s, uint8_t matched, uint8_t pushed) {
    s.Fcb().filterBlk.totalTags = matched;
    s.Fcb().actionBlk.pushedTags = pushed;
    s.Fcb().actionBlk.poppedTags = 0;
}

void CheckPush(Describe<EthScene> &op, const std::string &by) {
    op.When("a push, behind an Ethernet action that is not a push", e_RET_ERR_REQOUTOFORDER,
            [](auto &s) {
                s.req.type = e_ETH_ACTION_PUSH_TAG;
                s.Entry().reqCount = 1;
                s.Fcb().actionBlk.lastEthAction = e_ETH_ACTION_DA;
            })
        .By(by)
        .OnItsOwn(After({e_ETH_ACTION_DA}, e_ETH_ACTION_PUSH_TAG))
        .OnItsOwn(After({e_ETH_ACTION_PUSH_TAG, e_ETH_ACTION_SA}, e_ETH_ACTION_PUSH_TAG));

    op.When("a push, and the action block has no VLAN header for the tag that it creates",
            e_RET_ERR_INVALID_PARAM,
            [](auto &s) {
                s.req.type = e_ETH_ACTION_PUSH_TAG;
                Tags(s, 0, 0);
                s.Fcb().actionBlk.hdrBmap = 1u << e_FLOWHDR_ETH;
            })
        .By(by)
        .OnItsOwn([](auto &s) {
            s.Anew(e_STATUS_CFG);
            s.AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
            s.req.type = e_ETH_ACTION_PUSH_TAG;
        });

    // With a header for a third tag, which is no reason to accept it.
    const auto pushThird = [](auto &s) {
        s.AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN2);
        After({e_ETH_ACTION_PUSH_TAG, e_ETH_ACTION_PUSH_TAG}, e_ETH_ACTION_PUSH_TAG)(s);
    };
    op.When("a push, and the flow has two tags already, matched and pushed", e_RET_ERR_INVALID_PARAM,
            [](auto &s) {
                s.req.type = e_ETH_ACTION_PUSH_TAG;
                Tags(s, 2, 0);
                s.Fcb().actionBlk.hdrBmap = 0xFF;
            })
        .By(by)
        .OnItsOwn(pushThird)
        .OnItsOwn([](auto &s) {
            MatchTag(s);
            After({e_ETH_ACTION_PUSH_TAG}, e_ETH_ACTION_PUSH_TAG)(s);
        });
}

void CheckPop(Describe<EthScene> &op, const std::string &by) {
    op.When("a pop, and no matched or pushed tag is left", e_RET_ERR_INVALID_PARAM,
            [](auto &s) {
                s.req.type = e_ETH_ACTION_POP_TAG;
                Tags(s, 0, 0);
            })
        .By(by)
        .OnItsOwn(After({e_ETH_ACTION_PUSH_TAG, e_ETH_ACTION_POP_TAG}, e_ETH_ACTION_POP_TAG));

    op.When("any other action, behind a pop", e_RET_ERR_REQOUTOFORDER, [](auto &s) {
          s.req.type = Eth::Good().type;
          s.Fcb().actionBlk.lastEthAction = e_ETH_ACTION_POP_TAG;
      }).By(by);
    for (const uint32_t type : {e_ETH_ACTION_DA, e_ETH_ACTION_SA, e_ETH_ACTION_ETHTYPE}) {
        op.OnItsOwn([type](auto &s) {
            MatchTag(s);
            After({e_ETH_ACTION_POP_TAG}, type)(s);
        });
    }
}

// ---- Configuration

template <class Kind> void CheckValue(Describe<Scene<Kind>> &op, const std::string &validate) {
    const auto bad = Kind::BadValues();
    if (bad.empty()) {
        return;
    }
    op.When("the value is out of the range of its type", e_RET_ERR_INVALID_PARAM,
            [first = bad.front()](auto &s) { s.req = first; })
        .By(validate);
    for (std::size_t i = 1; i < bad.size(); ++i) {
        op.OnItsOwn([next = bad[i]](auto &s) { s.req = next; });
    }
}

template <class Kind> Operation ConfigOperation() {
    const std::string validate = "Validate_Config_" + Kind::kNames.fn + "Action";
    const std::string store = "Config_" + Kind::kNames.fn + "Action";
    Describe<Scene<Kind>> op("QIR_" + store, [](auto &s) { return Kind::Config(s.hdl_p, s.req_p); });
    OpenFlow(op, {{"action_p", kNoRequest}});
    if constexpr (Kind::kVlan) {
        CheckTag<Kind>(op, "");
    }
    CheckHdr<Kind>(op);
    op.When("`op` is not 0", e_RET_ERR_INVALID_CONFIGOPER, kOpOtherThanAdd)
        .By(validate)
        .When("`type` is " + std::to_string(Kind::kTypes) + " or more", e_RET_ERR_INVALID_ACTION,
              kUnknownType<Kind>)
        .By(validate);
    CheckValue<Kind>(op, validate);
    op.When("an action that the header holds excludes the type", e_RET_ERR_INVALID_ACTIONSEQ,
            [](auto &s) {
                s.req.type = Kind::Good().type;
                s.Entry().curBmap = static_cast<uint16_t>(1u << s.req.type);
            })
        .By(Kind::kL4 ? "Chk_L4ActionDepBmapTbl" : "Chk_ActionDepBmapTbl")
        .OnItsOwn(kStoredAlready);
    if constexpr (Kind::kEth) {
        CheckPush(op, store);
        CheckPop(op, store);
    }
    CheckNodes(op);
    op.Otherwise();
    if constexpr (Kind::kEth) {
        op.OnItsOwn(After({e_ETH_ACTION_PUSH_TAG, e_ETH_ACTION_PUSH_TAG}, e_ETH_ACTION_DA));
    }
    return op;
}

// ---- Read-back

template <class Kind> Operation GetOperation() {
    const std::string get = "Get_" + Kind::kNames.fn + "Action";
    // The Ethernet member has another code.
    const uint32_t unknownType = Kind::kEth ? e_RET_ERR_INVALID_PARAM : e_RET_ERR_INVALID_ACTION;
    Describe<Scene<Kind>> op("QIR_" + get, [](auto &s) { return Kind::Get(s.hdl_p, s.req_p); });
    OpenFlow(op, {{"action_p", kNoRequest}});
    if constexpr (Kind::kVlan) {
        CheckTag<Kind>(op, "");
    }
    CheckHdr<Kind>(op);
    return op.Given(kStoredAlready)
        .When("`type` is " + std::to_string(Kind::kTypes) + " or more", unknownType, kUnknownType<Kind>)
        .By("Validate_" + get)
        .When("the header holds no action of the type", e_RET_ERR_NO_SUCH_ENTRY,
              [](auto &s) { s.AnewWithHdrs(); })
        .By("Get_Action")
        .Otherwise();
}

template <class Kind> void Add(std::vector<Operation> &operations) {
    operations.push_back(ConfigOperation<Kind>());
    operations.push_back(GetOperation<Kind>());
}

} // namespace

Family Actions() {
    Family family{"Actions", {}};
    Add<Eth>(family.operations);
    Add<Vlan>(family.operations);
    Add<Pppoe>(family.operations);
    family.operations.push_back(
        Placeholder("QIR_Config_MplsAction", [] { return QIR_Config_MplsAction(nullptr, nullptr); }));
    family.operations.push_back(
        Placeholder("QIR_Get_MplsAction", [] { return QIR_Get_MplsAction(nullptr, nullptr); }));
    Add<Ipv4>(family.operations);
    Add<Tcp>(family.operations);
    Add<Udp>(family.operations);
    return family;
}

} // namespace return_codes
