// The bytes of a flow control block as configuration calls write them, call by call, kept apart from the
// library: where each field lies, which node each header and request takes, how the lists are linked.
#ifndef TESTS_APP_FLOW_IMAGE_H
#define TESTS_APP_FLOW_IMAGE_H

#include "tests/app/image.h"

namespace app_test {

constexpr std::size_t kFcbBytes = 1884;

enum Status : uint32_t { kStatusCfg = 2, kStatusActive = 3 };
enum CmpOp : unsigned { kEq = 0, kNeq = 1 };
enum Hdr : unsigned { kEth = 0, kVlan0 = 1, kVlan1 = 2, kIpv4 = 7 };

enum FilterType : unsigned { kFiltEthType = 4, kFiltTpid = 1, kFiltVid = 5, kFiltIpSa = 2, kFiltIpDa = 3 };
enum ActionType : unsigned {
    kPushTag = 3,
    kPopTag = 4,
    kSetTpid = 1,
    kSetPbits = 3,
    kSetVid = 5,
    kXlatePbitsFromDscp = 12
};

// Forwarding; the flags are "override the address table's decision" for all flows.
struct Fwd {
    uint32_t prio = 0;
    uint32_t srcPorts = 0;
    uint32_t srcGems = 0;
    uint32_t dstPorts = 0;
    uint32_t dstGems = 0;
    unsigned gemWithQueue = 0; // the only GEM port whose queue may differ from 0
    unsigned queue = 0;
};

class FlowImage {
  public:
    // A flow that is allocated and configured but not in hardware. The caller's handle was all ones.
    FlowImage(unsigned flow, unsigned section);

    FlowImage &SetFwd(const Fwd &fwd);
    FlowImage &AsOverride(uint32_t override);
    FlowImage &Pac(uint32_t tblHdl, uint32_t pbitsSource);

    FlowImage &FilterHdr(unsigned hdr);
    FlowImage &EthType(unsigned cmpOp, unsigned ethType);
    FlowImage &VlanFilter(unsigned tag, unsigned type, unsigned value);
    FlowImage &IpFilter(unsigned type, uint32_t addr, uint32_t prefixLen);

    FlowImage &ActionHdr(unsigned hdr);
    FlowImage &EthAction(unsigned type);
    FlowImage &VlanAction16(unsigned tag, unsigned type, unsigned value);
    FlowImage &VlanAction8(unsigned tag, unsigned type, unsigned value);

    // As the shadow shows it once the driver has taken it.
    FlowImage Active(uint32_t hwFlowIdx) const;

    unsigned Flow() const { return flow_; }
    bool UsesPac() const { return usesPac_; }
    unsigned PacTbl() const { return pacTbl_; } // the table's place in the pool
    const Image &Bytes() const { return bytes_; }

  private:
    unsigned TakeNode();
    void ResetEntry(std::size_t entry, std::size_t counterBytes);
    void AppendRequest(std::size_t entry, unsigned type, const Image &request);
    void AddFilter(unsigned hdr, unsigned type, unsigned cmpOp, const Image &request);
    FlowImage &AddVlanAction(unsigned tag, unsigned type, const Image &request);

    unsigned flow_;
    bool usesPac_ = false;
    unsigned pacTbl_ = 0;
    Image bytes_;
};

} // namespace app_test

#endif
