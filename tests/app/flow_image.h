// A flow control block as the engine writes it, step by step: what a flow of the program has to be.
#ifndef TESTS_APP_FLOW_IMAGE_H
#define TESTS_APP_FLOW_IMAGE_H

#include "qirapi/private/context.h"
#include "tests/app/image.h"

#include <optional>

namespace app_test {

// Forwarding; the flags are "override the address table's decision" for all flows.
struct Fwd {
    uint32_t prio = 0;
    uint32_t srcPorts = 0;
    uint32_t srcGems = 0;
    uint32_t dstPorts = 0;
    uint32_t dstGems = 0;
    unsigned gemWithQueue = 0; // the only GEM port whose queue may differ from 0
    unsigned queue = 0;

    FwdInfo Record() const;
};

// Every step fails the test that the engine refuses.
class FlowImage {
  public:
    // A flow that is allocated and configured but not in hardware. The caller's handle was all ones.
    FlowImage(unsigned flow, uint32_t section);

    FlowImage &SetFwd(const Fwd &fwd);
    FlowImage &AsOverride(uint32_t override);
    FlowImage &Pac(uint32_t tblHdl, uint32_t pbitsSource);

    FlowImage &FilterHdr(uint32_t hdr);
    FlowImage &EthType(uint32_t cmpOp, uint16_t ethType);
    FlowImage &Vlan(uint32_t tag, uint16_t tpid, std::optional<uint16_t> vid = {});
    FlowImage &IpFilter(uint32_t type, uint32_t addr, uint32_t prefixLen);

    FlowImage &ActionHdr(uint32_t hdr);
    FlowImage &EthAction(uint32_t type);
    // The value is as wide as the action takes it.
    FlowImage &VlanAction(uint32_t tag, uint32_t type, uint16_t value);

    // As the shadow shows it once the driver has taken it.
    FlowImage Active(uint32_t hwFlowIdx) const;

    unsigned Flow() const { return fcb_.flowHdl.f1.id; }
    bool UsesPac() const { return fcb_.tblAssoc != 0; }
    Image Bytes() const { return Image::Of(fcb_); }

  private:
    void Add(const VlanFilter &filter);

    qir::Fcb fcb_;
};

} // namespace app_test

#endif
