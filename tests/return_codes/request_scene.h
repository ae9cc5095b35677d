// What filters and actions have in common. A kind of request names its record, its operations, its header and
// a request that is accepted; everything else about the header comes from these.
#ifndef TESTS_RETURN_CODES_REQUEST_SCENE_H
#define TESTS_RETURN_CODES_REQUEST_SCENE_H

#include "tests/return_codes/flow_scene.h"

namespace return_codes {

// The header that a kind of request belongs to; TCP and UDP belong to IPv4.
struct HdrNames {
    std::string fn; // as in the names of the operations
    std::string hdr;
    uint32_t type; // e_FLOWHDR_*
};
inline const HdrNames kEthHdr = {"Eth", "Ethernet", e_FLOWHDR_ETH};
inline const HdrNames kVlanHdr = {"Vlan", "VLAN", e_FLOWHDR_VLAN1};
inline const HdrNames kPppoeHdr = {"Pppoe", "PPPoE", e_FLOWHDR_PPPOE};
inline const HdrNames kIpv4Hdr = {"Ipv4", "IPv4", e_FLOWHDR_IPV4};
inline const HdrNames kTcpHdr = {"Tcp", "IPv4", e_FLOWHDR_IPV4};
inline const HdrNames kUdpHdr = {"Udp", "IPv4", e_FLOWHDR_IPV4};

// A flow with all headers in one block, and a request that is accepted. VLAN requests name the inner tag.
template <class Kind> struct RequestScene : FlowScene {
    using Req = typename Kind::Req;

    RequestScene() { AllocHdrs(); }
    void AllocHdrs() {
        for (const uint32_t hdr :
             {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
            AllocHdr(Kind::kBlk, hdr);
        }
    }
    // Without requests.
    void AnewWithHdrs() {
        Anew(e_STATUS_CFG);
        AllocHdrs();
    }
    void Add(const Req &request) const {
        FlowHdl own{};
        Must(Kind::Config(&own, &request));
    }
    auto &Entry() { return Kind::Entry(Fcb()); }

    Req req = Kind::Good();
    Req *req_p = &req;
};

constexpr auto kNoRequest = [](auto &s) { s.req_p = nullptr; };
constexpr auto kOpOtherThanAdd = [](auto &s) { s.req.op = 1; };
template <class Kind> constexpr auto kUnknownType = [](auto &s) { s.req.type = Kind::kTypes; };
constexpr auto kStoredAlready = [](auto &s) { s.Add(s.req); };
constexpr auto kNoNodes = [](auto &s) { s.UseUpNodes(0); };

// The header's own bit only: whatever the header holds stays.
template <class Kind> void HdrBitClear(RequestScene<Kind> &s) {
    uint16_t &bmap = Kind::HdrBmap(s.Fcb());
    bmap = static_cast<uint16_t>(bmap & ~(1u << Kind::kNames.type));
}

template <class Kind, class S> void CheckHdr(Describe<S> &op) {
    op.When(std::string("the flow's ") + Kind::kBlkName + " block has no " + Kind::kNames.hdr + " header" +
                (Kind::kVlan ? " of the tag" : ""),
            e_RET_ERR_HDRNOTCFG, HdrBitClear<Kind>)
        .OnItsOwn([](auto &s) { s.Anew(e_STATUS_CFG); });
}

// In front of the header, whose bit nobody looks at for a tag that does not exist.
template <class Kind, class S> void CheckTag(Describe<S> &op, const std::string &by) {
    if constexpr (Kind::kVlan) {
        op.When("`toTagNum` is 2 or more", e_RET_ERR_INVALID_TAGNUM, [](auto &s) {
              s.req.toTagNum = 2;
          }).By(by);
    }
}

template <class S> void CheckNodes(Describe<S> &op) {
    op.When("the flow's request nodes are used up", e_RET_ERR_RESRC_UNAVAIL, kNoNodes).By("Alloc_ReqNode");
}

} // namespace return_codes

#endif
