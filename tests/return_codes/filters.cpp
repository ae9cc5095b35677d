#include "tests/return_codes/request_scene.h"

namespace return_codes {

namespace {

// ---- The six kinds. The good request is of a type that excludes itself and, if the header's values are
// checked, has a limit to its value; the bad values are one request for each limit of the header.

struct FilterKind {
    static constexpr uint32_t kBlk = e_BLKTYPE_FILTER;
    static constexpr const char *kBlkName = "filter";
    static constexpr bool kVlan = false;
    static constexpr bool kL4 = false;
    static constexpr bool kUdp = false;
    // A type that may be given again: Again() makes it.
    static constexpr bool kRepeats = false;
    static uint16_t &HdrBmap(qir::Fcb &fcb) { return fcb.filterBlk.hdrBmap; }
};

template <class Req, class Set> Req Make(uint32_t type, uint32_t cmpOp, Set set) {
    Req req{};
    req.type = type;
    req.cmpOp = cmpOp;
    set(req.val);
    return req;
}

struct Eth : FilterKind {
    using Req = EthFilter;
    static inline const HdrNames &kNames = kEthHdr;
    static constexpr uint32_t kTypes = 5;
    static constexpr bool kRepeats = true;
    static constexpr auto Config = QIR_Config_EthFilter;
    static constexpr auto Get = QIR_Get_EthFilter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.eth; }
    static Req Good() {
        return Make<Req>(e_ETH_FILT_MCAST, e_CMP_EQ, [](auto &val) { val.flag = 1; });
    }
    static Req Again(uint32_t cmpOp) {
        return Make<Req>(e_ETH_FILT_ETHTYPE, cmpOp, [](auto &val) { val.ethType = 0x0600; });
    }
    static std::vector<Req> BadValues() {
        return {Make<Req>(e_ETH_FILT_MCAST, e_CMP_EQ, [](auto &val) { val.flag = 2; }),
                Make<Req>(e_ETH_FILT_BCAST, e_CMP_EQ, [](auto &val) { val.flag = 2; }),
                Make<Req>(e_ETH_FILT_ETHTYPE, e_CMP_EQ, [](auto &val) { val.ethType = 0x05FF; })};
    }
};

struct Vlan : FilterKind {
    using Req = VlanFilter;
    static inline const HdrNames &kNames = kVlanHdr;
    static constexpr bool kVlan = true;
    static constexpr uint32_t kTypes = 6;
    static constexpr auto Config = QIR_Config_VlanFilter;
    static constexpr auto Get = QIR_Get_VlanFilter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.vlan[1]; }
    template <class Set> static Req Inner(uint32_t type, Set set) {
        Req req = Make<Req>(type, e_CMP_EQ, set);
        req.toTagNum = 1;
        return req;
    }
    static Req Good() {
        return Inner(e_VLAN_FILT_PBITS, [](auto &val) { val.pbits = 7; });
    }
    static std::vector<Req> BadValues() {
        return {Inner(e_VLAN_FILT_PBITS, [](auto &val) { val.pbits = 8; }),
                Inner(e_VLAN_FILT_DEI, [](auto &val) { val.dei = 2; }),
                Inner(e_VLAN_FILT_VID, [](auto &val) { val.vid = 4096; })};
    }
};

struct Pppoe : FilterKind {
    using Req = PppoeFilter;
    static inline const HdrNames &kNames = kPppoeHdr;
    static constexpr uint32_t kTypes = 5;
    static constexpr auto Config = QIR_Config_PppoeFilter;
    static constexpr auto Get = QIR_Get_PppoeFilter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.pppoe; }
    static Req Good() {
        return Make<Req>(e_PPPOE_FILT_VER, e_CMP_EQ, [](auto &val) { val.ver = 1; });
    }
    static std::vector<Req> BadValues() {
        return {Make<Req>(e_PPPOE_FILT_VER, e_CMP_EQ, [](auto &val) { val.ver = 2; }),
                Make<Req>(e_PPPOE_FILT_TYPE, e_CMP_EQ, [](auto &val) { val.type = 0; }),
                Make<Req>(e_PPPOE_FILT_CODE, e_CMP_EQ, [](auto &val) { val.code = 255; }),
                Make<Req>(e_PPPOE_FILT_SESID, e_CMP_EQ, [](auto &val) { val.sesId = 65535; })};
    }
};

struct Ipv4 : FilterKind {
    using Req = Ipv4Filter;
    static inline const HdrNames &kNames = kIpv4Hdr;
    static constexpr uint32_t kTypes = 11;
    static constexpr bool kRepeats = true;
    static constexpr auto Config = QIR_Config_Ipv4Filter;
    static constexpr auto Get = QIR_Get_Ipv4Filter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.ipv4; }
    static Req Good() {
        return Make<Req>(e_IPV4_FILT_MCAST, e_CMP_EQ, [](auto &val) { val.flag = 1; });
    }
    static Req Again(uint32_t cmpOp) {
        return Make<Req>(e_IPV4_FILT_PROTO, cmpOp, [](auto &val) { val.proto = 65534; });
    }
    static Req DscpRange(uint8_t from, uint8_t to) {
        Req req = Make<Req>(e_IPV4_FILT_DSCP, e_CMP_IN_RANGE, [from](auto &val) { val.dscp = from; });
        req.val2.dscp = to;
        return req;
    }
    static std::vector<Req> BadValues() {
        return {Make<Req>(e_IPV4_FILT_MCAST, e_CMP_EQ, [](auto &val) { val.flag = 2; }),
                Make<Req>(e_IPV4_FILT_VER, e_CMP_EQ, [](auto &val) { val.ver = 6; }),
                Make<Req>(e_IPV4_FILT_IHL, e_CMP_EQ, [](auto &val) { val.ihl = 255; }),
                Make<Req>(e_IPV4_FILT_SA, e_CMP_EQ, [](auto &val) { val.ip.prefixLen = 33; }),
                Make<Req>(e_IPV4_FILT_DA, e_CMP_EQ, [](auto &val) { val.ip.prefixLen = 33; }),
                Make<Req>(e_IPV4_FILT_TOS, e_CMP_EQ, [](auto &val) { val.tos = 255; }),
                Make<Req>(e_IPV4_FILT_DSCP, e_CMP_EQ, [](auto &val) { val.dscp = 64; }),
                DscpRange(10, 64),
                DscpRange(10, 9),
                Make<Req>(e_IPV4_FILT_DSCP_1P, e_CMP_EQ, [](auto &val) { val.dscp1p = 8; }),
                Make<Req>(e_IPV4_FILT_TTL_GT1, e_CMP_EQ, [](auto &val) { val.flag = 2; }),
                Make<Req>(e_IPV4_FILT_PROTO, e_CMP_EQ, [](auto &val) { val.proto = 65535; }),
                Make<Req>(e_IPV4_FILT_FRAG, e_CMP_EQ, [](auto &val) { val.frag = 2; })};
    }
};

struct Tcp : FilterKind {
    using Req = TcpFilter;
    static inline const HdrNames &kNames = kTcpHdr;
    static constexpr bool kL4 = true;
    static constexpr uint32_t kTypes = 7;
    static constexpr uint32_t kNotInMemory = e_TCP_FILT_ACK; // excluded by no bit of the fill pattern
    static constexpr auto Config = QIR_Config_TcpFilter;
    static constexpr auto Get = QIR_Get_TcpFilter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.tcp; }
    static Req Flag(uint32_t type, uint8_t flag) {
        return Make<Req>(type, e_CMP_EQ, [flag](auto &val) { val.flag = flag; });
    }
    static Req Good() { return Flag(e_TCP_FILT_SYN, 1); }
    static std::vector<Req> BadValues() {
        return {Flag(e_TCP_FILT_SYN, 2), Flag(e_TCP_FILT_ACK, 2), Flag(e_TCP_FILT_FIN, 2),
                Flag(e_TCP_FILT_RST, 2),
                Make<Req>(e_TCP_FILT_CTRL, e_CMP_EQ, [](auto &val) { val.ctrl = 64; })};
    }
};

struct Udp : FilterKind {
    using Req = UdpFilter;
    static inline const HdrNames &kNames = kUdpHdr;
    static constexpr bool kL4 = true;
    static constexpr bool kUdp = true;
    static constexpr uint32_t kTypes = 2;
    static constexpr uint32_t kNotInMemory = e_UDP_FILT_DPORT; // excluded by no bit of the fill pattern
    static constexpr auto Config = QIR_Config_UdpFilter;
    static constexpr auto Get = QIR_Get_UdpFilter;
    static auto &Entry(qir::Fcb &fcb) { return fcb.filterBlk.udp; }
    static Req Good() {
        return Make<Req>(e_UDP_FILT_SPORT, e_CMP_EQ, [](auto &val) { val.port = 65535; });
    }
    static std::vector<Req> BadValues() { return {}; }
};

// ---- Configuration

template <class Kind> using Scene = RequestScene<Kind>;

// An operator that no type of the good request's kind takes.
template <class Kind> void CheckOperatorOfType(Describe<Scene<Kind>> &op, const std::string &validate) {
    const auto inRange = [](auto &s) { s.req.cmpOp = e_CMP_IN_RANGE; };
    if constexpr (Kind::kUdp) {
        op.When("the type does not take `cmpOp`", e_RET_ERR_INVALID_PARAM, inRange)
            .Prints({test::CodeLine(validate, "e_RET_ERR_INVALID_CMPOPSEQ"),
                     test::CodeLine(validate, "e_RET_ERR_INVALID_PARAM")});
    } else {
        op.When("the type does not take `cmpOp`", e_RET_ERR_INVALID_CMPOPSEQ, inRange)
            .By(validate)
            .Or([](auto &s) { s.req.cmpOp = e_CMP_NEQ; });
    }
}

// An IPv4 header whose allocation ran out of nodes: what its TCP and UDP filters are judged by is what memory
// held before, and it looks as if the header had many of them.
template <class Kind> void HalfAllocated(Scene<Kind> &s) {
    s.Anew(e_STATUS_CFG);
    s.AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
    s.TakeNodes(1);
    const FlowHdr ipv4 = {e_BLKTYPE_FILTER, e_FLOWHDR_IPV4};
    test::Capture(
        [&] { EXPECT_EQ(QIR_Alloc_Hdr(&s.hdl, &ipv4), static_cast<uint32_t>(e_RET_ERR_RESRC_UNAVAIL)); });
    s.req.type = Kind::kNotInMemory;
}

// The rules of exclusion and of number, in this order.
template <class Kind> void CheckRules(Describe<Scene<Kind>> &op) {
    const std::string chk = Kind::kL4 ? "Chk_L4FilterDepBmapTbl" : "Chk_FilterDepBmapTbl";
    op.When("a filter that the header holds excludes the type", e_RET_ERR_INVALID_FILTSEQ,
            [](auto &s) {
                s.req.type = Kind::Good().type;
                s.Entry().hdr.curBmap = static_cast<uint16_t>(1u << s.req.type);
            })
        .By(chk)
        .OnItsOwn(kStoredAlready);

    op.When("the header holds as many filters of the type with `cmpOp` as it may: one, or four with "
            "`e_CMP_NEQ`",
            e_RET_ERR_INVALID_CMPOPSEQ,
            [](auto &s) {
                for (uint8_t &count : s.Entry().cmpOpCurCnt) {
                    count = 4;
                }
            })
        .By(chk);
    if constexpr (Kind::kRepeats) {
        op.OnItsOwn([](auto &s) {
            s.req = Kind::Again(e_CMP_EQ);
            s.Add(s.req);
        });
        op.OnItsOwn([](auto &s) {
            s.req = Kind::Again(e_CMP_NEQ);
            for (unsigned i = 0; i < 4; ++i) {
                s.Add(s.req);
            }
        });
    } else if constexpr (Kind::kL4) {
        op.OnItsOwn(HalfAllocated<Kind>);
    } else {
        op.Unreachable();
    }
}

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
    const std::string name = "QIR_Config_" + Kind::kNames.fn + "Filter";
    const std::string validate = "Validate_Config_" + Kind::kNames.fn + "Filter";
    Describe<Scene<Kind>> op(name, [](auto &s) { return Kind::Config(s.hdl_p, s.req_p); });
    if constexpr (Kind::kUdp) {
        op.Note(
            "An operator that the type does not take is named twice, as e_RET_ERR_INVALID_CMPOPSEQ and as "
            "the code. The value is not checked.");
    }
    OpenFlow(op, {{"filter_p", kNoRequest}});
    CheckTag<Kind>(op, "");
    CheckHdr<Kind>(op);
    op.When("`op` is not 0", e_RET_ERR_INVALID_CONFIGOPER, kOpOtherThanAdd)
        .By(validate)
        .When("`cmpOp` is 3 or more", e_RET_ERR_INVALID_CMPOPER, [](auto &s) { s.req.cmpOp = 3; })
        .By(validate)
        .When("`type` is " + std::to_string(Kind::kTypes) + " or more", e_RET_ERR_INVALID_FILT,
              kUnknownType<Kind>)
        .By(validate);
    CheckOperatorOfType<Kind>(op, validate);
    CheckRules<Kind>(op);
    CheckValue<Kind>(op, validate);
    CheckNodes(op);
    return op.Otherwise();
}

// ---- Read-back

// One filter is stored, and the caller has room for one.
template <class Kind> struct QueryScene : Scene<Kind> {
    QueryScene() { this->Add(this->req); }

    uint8_t size = 1;
    uint8_t count = 0;
    uint8_t *count_p = &count;
};

// The same filter once more, which only a header that has forgotten its rules takes.
template <class Kind> void OneMore(QueryScene<Kind> &s) {
    s.Entry().hdr.curBmap = 0;
    for (uint8_t &count : s.Entry().cmpOpCurCnt) {
        count = 0;
    }
    s.Add(Kind::Good());
}

template <class Kind> Operation GetOperation() {
    const std::string name = "QIR_Get_" + Kind::kNames.fn + "Filter";
    const std::string validate = "Validate_Get_" + Kind::kNames.fn + "Filter";
    Describe<QueryScene<Kind>> op(name,
                                  [](auto &s) { return Kind::Get(s.hdl_p, s.req_p, s.size, s.count_p); });
    OpenFlow(op, {{"filter_p", kNoRequest}});
    CheckTag<Kind>(op, validate);
    op.When("`type` is " + std::to_string(Kind::kTypes) + " or more", e_RET_ERR_INVALID_FILT,
            kUnknownType<Kind>)
        .By(validate)
        .When("`elemCount_p` is null", e_RET_ERR_NULL_PTR, [](auto &s) { s.count_p = nullptr; })
        .By(validate)
        .When("`size` is 0", e_RET_ERR_INVALID_PARAM, [](auto &s) { s.size = 0; })
        .By(validate);
    CheckHdr<Kind>(op);
    op.When("the header holds more filters of the type than `size`", e_RET_ERR_OVERFLOW, OneMore<Kind>)
        .By("Get_Filter");
    if constexpr (Kind::kRepeats) {
        op.OnItsOwn([](auto &s) {
            s.req = Kind::Again(e_CMP_NEQ);
            s.Add(s.req);
            s.Add(s.req);
        });
    } else {
        op.Unreachable();
    }
    // No match is success too, and filters of another type do not count.
    op.Otherwise().OnItsOwn([](auto &s) { s.AnewWithHdrs(); });
    if constexpr (Kind::kRepeats) {
        op.OnItsOwn([](auto &s) { s.Add(Kind::Again(e_CMP_EQ)); });
    }
    return op;
}

template <class Kind> void Add(std::vector<Operation> &operations) {
    operations.push_back(ConfigOperation<Kind>());
    operations.push_back(GetOperation<Kind>());
}

} // namespace

Family Filters() {
    Family family{"Filters", {}};
    Add<Eth>(family.operations);
    Add<Vlan>(family.operations);
    Add<Pppoe>(family.operations);
    family.operations.push_back(
        Placeholder("QIR_Config_MplsFilter", [] { return QIR_Config_MplsFilter(nullptr, nullptr); }));
    family.operations.push_back(
        Placeholder("QIR_Get_MplsFilter", [] { return QIR_Get_MplsFilter(nullptr, nullptr, 0, nullptr); }));
    Add<Ipv4>(family.operations);
    Add<Tcp>(family.operations);
    Add<Udp>(family.operations);
    return family;
}

} // namespace return_codes
