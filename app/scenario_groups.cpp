#include "app/scenario_groups.h"

#include "app/flow_builders.h"
#include "app/flow_records.h"
#include "app/record_tools.h"

#include <cstdio>
#include <cstring>

namespace app {

uint32_t PppoePrio = 0;

namespace {

constexpr uint32_t kHostPort = 8;
constexpr uint32_t kAllGemPorts = 0xFFFFFFFF;

int Shown(uint32_t number) {
    return static_cast<int>(number);
}

FwdInfo MakeFwdInfo(uint32_t flowPrio) {
    auto fwd = Zeroed<FwdInfo>();
    fwd.flowPrio = flowPrio;
    fwd.fwdAction = e_FWD_ACTION_ARL_OVRD;
    return fwd;
}

// Frames from user ports.
FwdInfo FromPorts(uint32_t flowPrio, uint32_t portMask) {
    FwdInfo fwd = MakeFwdInfo(flowPrio);
    fwd.src.portMask = portMask;
    return fwd;
}

// Frames from the GPON port.
FwdInfo FromGpon(uint32_t flowPrio, uint32_t gemPortIdxMask) {
    FwdInfo fwd = FromPorts(flowPrio, Bit(QIR_GPON_PORT));
    fwd.src.gemPortIdxMask = gemPortIdxMask;
    return fwd;
}

// To ports, on queue 0.
FwdInfo ToPorts(FwdInfo fwd, uint32_t portMask) {
    fwd.dst.portMask = portMask;
    return fwd;
}

// To one GEM port of the GPON port.
FwdInfo ToGem(FwdInfo fwd, uint32_t gem, uint8_t qid) {
    fwd.dst.portMask = Bit(QIR_GPON_PORT);
    fwd.dst.gemPortIdxMask = Bit(gem);
    if (gem < QIR_GEMPORTIDX_MAX) {
        fwd.dst.gemQid[gem] = qid;
    }
    return fwd;
}

// A flow record whose handle is not allocated yet. Null, after an error line, when none is left.
FlowRecord *NewFlow() {
    FlowRecord *const flow_p = allocFlow();
    if (flow_p == nullptr) {
        std::puts("****** ERROR: Failed to allocate flow ******");
        return nullptr;
    }
    std::memset(&flow_p->flowHdl, 0xFF, sizeof flow_p->flowHdl);
    return flow_p;
}

// Takes the PPPoE flows' priority from the running one as long as it is 0.
void TakePppoePrio(uint32_t *prio_p) {
    if (PppoePrio == 0) {
        PppoePrio = *prio_p;
        ++*prio_p;
    }
}

} // namespace

int App_ConfigUntaggedNonIpFlows(uint32_t *prio_p) {
    constexpr uint32_t kUserPorts = 0x23;

    std::printf("\n*** US: Untagged, non-IP, MIPS, Prio %d ***\n", Shown(*prio_p));
    FlowRecord *flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    const FwdInfo us = ToPorts(FromPorts(*prio_p, kUserPorts), Bit(kHostPort));
    App_ConfigFlow_UntaggedNonIP(&us, &flow_p->flowHdl);
    ++*prio_p;

    std::printf("\n*** DS: Untagged, non-IP, MIPS, Prio %d ***\n", Shown(*prio_p));
    flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    const FwdInfo ds = ToPorts(FromGpon(*prio_p, kAllGemPorts), Bit(kHostPort));
    App_ConfigFlow_UntaggedNonIP(&ds, &flow_p->flowHdl);
    ++*prio_p;
    return 0;
}

// The banners show the running priority, the next free one, not the one that the flows get.
int App_ConfigUntaggedPppoeFlows(uint32_t uni, uint32_t *prio_p, uint32_t gem, AsTblHdl *asTbl_p,
                                 uint16_t vid) {
    TakePppoePrio(prio_p);
    std::printf("\n*** US: Untagged, PPPoE: GEM %d, Prio %d ***\n", Shown(gem), Shown(*prio_p));
    FlowRecord *flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    flow_p->asTbl_p = asTbl_p;
    const FwdInfo us = ToGem(FromPorts(PppoePrio, Bit(uni)), gem, 0);
    App_ConfigUsUcastFlow_PPPoE(&us, asTbl_p, &flow_p->flowHdl, vid);

    TakePppoePrio(prio_p);
    std::printf("\n*** DS: Untagged, PPPoE: GEM %d, Prio %d ***\n", Shown(gem), Shown(*prio_p));
    flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    const FwdInfo ds = ToPorts(FromGpon(PppoePrio, Bit(gem)), Bit(uni));
    App_ConfigDsUcastFlow_PPPoE(&ds, &flow_p->flowHdl);
    return 0;
}

int App_ConfigUntaggedIpFlows(uint32_t uni, uint32_t *prio_p, DscpTblHdl *dscpTbl_p, AsTblHdl *asTbl_p,
                              PacTblHdl *pac_p, uint16_t vid) {
    constexpr uint32_t kGem = 3;
    constexpr uint8_t kQid = 5;

    std::printf("\n*** US: Untagged, IP: PBITS2GEM, Prio %d ***\n", Shown(*prio_p));
    FlowRecord *const flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    flow_p->asTbl_p = asTbl_p;
    flow_p->dscpTbl_p = dscpTbl_p;
    flow_p->pacTbl_p = pac_p;
    const FwdInfo us = ToGem(FromPorts(*prio_p, Bit(uni)), kGem, kQid);
    App_ConfigUsUcastFlow_UntaggedDscp2Pbits(&us, asTbl_p, dscpTbl_p, pac_p, &flow_p->flowHdl, vid);
    ++*prio_p;
    return 0;
}

int App_ConfigFlowMapperWithTranslation(uint32_t uni, uint32_t *gem_p, uint32_t *prio_p, AsTblHdl *asTbl_p,
                                        PacTblHdl *pac_p, uint16_t cVid, uint16_t nwVid) {
    constexpr uint32_t kUsGem = 3;
    constexpr uint8_t kUsQid = 7;
    constexpr int kPasses = 2;

    uint32_t gem = *gem_p;
    std::printf("\n*** 1:M Flows for UNI %d: GEM Ports %d to %d ***\n", Shown(uni), Shown(gem),
                Shown(gem + 1));
    const uint32_t dsGemPortIdxMask = Bit(gem) | Bit(gem + 1);
    for (int pass = 0; pass < kPasses; ++pass) {
        std::printf("\n*** US: GEM %d, Prio %d ***\n", Shown(gem), Shown(*prio_p));
        FlowRecord *flow_p = NewFlow();
        if (flow_p == nullptr) {
            return -1;
        }
        // Only the first pass screens addresses.
        AsTblHdl *const passAsTbl_p = pass == 0 ? asTbl_p : nullptr;
        flow_p->asTbl_p = passAsTbl_p;
        flow_p->pacTbl_p = pac_p;
        const FwdInfo us = ToGem(FromPorts(*prio_p, Bit(uni)), kUsGem, kUsQid);
        App_ConfigUsUcastFlow_VlanTrans(&us, passAsTbl_p, pac_p, &flow_p->flowHdl, cVid, nwVid);
        ++*prio_p;

        std::printf("*** DS: GEM %d, Prio %d ***\n", Shown(gem), Shown(*prio_p));
        flow_p = NewFlow();
        if (flow_p == nullptr) {
            return -1;
        }
        const FwdInfo ds = ToPorts(FromGpon(*prio_p, dsGemPortIdxMask), Bit(uni));
        App_ConfigDsUcastFlow_VlanTrans(&ds, &flow_p->flowHdl, cVid, nwVid);
        ++*prio_p;

        ++cVid;
        ++nwVid;
        ++gem;
    }
    *gem_p = gem;
    return 0;
}

int App_ConfigFlowMulticast(uint32_t *prio_p) {
    constexpr uint32_t kMcastGem = 31;
    constexpr uint16_t kMcastVid = 1500;
    constexpr uint32_t kAsmPorts = 0x21;
    constexpr uint32_t kSsmPorts = 0x03;
    constexpr uint32_t kAnySource = 0;
    constexpr uint32_t kOneSource = 1;

    std::printf("\n*** DS: ASM Multicast, Prio %d ***\n", Shown(*prio_p));
    FlowRecord *flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    const FwdInfo anySource = ToPorts(FromGpon(*prio_p, Bit(kMcastGem)), kAsmPorts);
    App_ConfigDsMcastFlow_IpTv(&anySource, &flow_p->flowHdl, kAnySource, kMcastVid);
    ++*prio_p;

    std::printf("\n*** DS: SSM Multicast, Prio %d ***\n", Shown(*prio_p));
    flow_p = NewFlow();
    if (flow_p == nullptr) {
        return -1;
    }
    const FwdInfo oneSource = ToPorts(FromGpon(*prio_p, Bit(kMcastGem)), kSsmPorts);
    App_ConfigDsMcastFlow_IpTv(&oneSource, &flow_p->flowHdl, kOneSource, kMcastVid);
    ++*prio_p;
    return 0;
}

} // namespace app
