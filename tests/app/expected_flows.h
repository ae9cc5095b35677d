// The flow shapes of the scenarios, step by step, as bytes.
#ifndef TESTS_APP_EXPECTED_FLOWS_H
#define TESTS_APP_EXPECTED_FLOWS_H

#include "tests/app/flow_image.h"

#include <optional>

namespace app_test {

// All upper bits of the handles that a PAC table builder and a flow record hand out are set.
constexpr uint32_t PacWord(unsigned tbl) {
    return 0xFFFFFF00u | tbl;
}

constexpr uint32_t kAsInUse = 0;    // no override
constexpr uint32_t kAsNotInUse = 1; // override

FlowImage UntaggedNonIp(unsigned flow, const Fwd &fwd);
FlowImage UsUntaggedIp(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                       uint16_t vid);
FlowImage UsPppoe(unsigned flow, const Fwd &fwd, uint32_t asOverride, uint16_t vid);
FlowImage DsPppoe(unsigned flow, const Fwd &fwd);
FlowImage UsVlanTrans(unsigned flow, const Fwd &fwd, uint32_t asOverride, std::optional<uint32_t> pacTblHdl,
                      uint16_t cVid, uint16_t nwVid);
FlowImage DsVlanTrans(unsigned flow, const Fwd &fwd, uint16_t cVid, uint16_t nwVid);
FlowImage DsDoubleVlanTrans(unsigned flow, const Fwd &fwd);
FlowImage DsIpTvAnySource(unsigned flow, const Fwd &fwd, uint16_t vid);
FlowImage DsIpTvOneSource(unsigned flow, const Fwd &fwd, uint16_t vid);
FlowImage DsIpTvAnyTagAnySource(unsigned flow, const Fwd &fwd);
FlowImage DsIpTvUnknownType(unsigned flow, const Fwd &fwd, uint16_t vid);
FlowImage DsMultiVlanTrans(unsigned flow, const Fwd &fwd);

} // namespace app_test

#endif
