#include "bench/operations.h"

#include "bench/device.h"

#include "qirapi/driver/driver_records.h"
#include "qirapi/private/context.h"
#include "qirapi/private/fcb.h"
#include "qirapi/private/filters.h"

#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

constexpr uint32_t kSection = 1;
constexpr unsigned kLongList = 27; // what fits beside two headers in each block
constexpr uint32_t kRequestsOfAFlow = 2;

unsigned char scratch[sizeof(qir::QirCtxt)];

// Operations that fail are not worth measuring.
void Expect(uint32_t code) {
    if (code != e_RET_OK) {
        std::abort();
    }
}

// Tells the compiler that somebody else may read and write these bytes, so that it keeps stores to them.
void Keep(void *bytes) {
    asm volatile("" : : "g"(bytes) : "memory");
}

FlowHdl AllocFlow() {
    FlowHdl flow{};
    Expect(QIR_Alloc_FCB(kSection, &flow));
    return flow;
}

void AllocHeaders(FlowHdl &flow, uint32_t blk) {
    for (const uint32_t hdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0}) {
        const FlowHdr header{blk, hdr};
        Expect(QIR_Alloc_Hdr(&flow, &header));
    }
}

EthFilter MakeEthTypeFilter(uint32_t cmpOp) {
    EthFilter filter{};
    filter.op = e_CONFIG_OPER_ADD;
    filter.type = e_ETH_FILT_ETHTYPE;
    filter.cmpOp = cmpOp;
    filter.val.ethType = 0x0800;
    return filter;
}

VlanFilter MakeVlanFilter(uint32_t type, uint16_t val) {
    VlanFilter filter{};
    filter.op = e_CONFIG_OPER_ADD;
    filter.toTagNum = 0;
    filter.type = type;
    filter.cmpOp = e_CMP_EQ;
    filter.val.vid = val;
    return filter;
}

FwdInfo MakeFwdInfo() {
    FwdInfo fwd{};
    fwd.src.portMask = 0x01;
    fwd.dst.portMask = 1u << QIR_GPON_PORT;
    fwd.dst.gemPortIdxMask = 0x08;
    fwd.dst.gemQid[3] = 7;
    fwd.fwdAction = e_FWD_ACTION_ARL_OVRD;
    return fwd;
}

VlanAction MakeVlanAction() {
    VlanAction action{};
    action.op = e_CONFIG_OPER_ADD;
    action.toTagNum = 0;
    action.type = e_VLAN_ACTION_SET_VID;
    action.val.vid = 1200;
    return action;
}

// The records that a flow is made of, made before anything is measured.
const FwdInfo fwdInfo = MakeFwdInfo();
const EthFilter ethTypeFilter = MakeEthTypeFilter(e_CMP_EQ);
const EthFilter otherEthTypeFilter = MakeEthTypeFilter(e_CMP_NEQ);
const VlanFilter tpidFilter = MakeVlanFilter(e_VLAN_FILT_TPID, 0x8100);
const VlanFilter vidFilter = MakeVlanFilter(e_VLAN_FILT_VID, 200);
const VlanAction vidAction = MakeVlanAction();

// ---- Start-up -----------------------------------------------------------------------------------------

void InitSys(unsigned) {
    QIR_Init_Sys();
}

void FillContext(unsigned) {
    std::memset(scratch, qir::kFillByte, sizeof scratch);
    Keep(scratch);
}

// ---- A flow -------------------------------------------------------------------------------------------

void PrepareInProcess() {
    UseDevice(Device::kInProcess);
    QIR_Init_Sys();
}

void PrepareNullDevice() {
    UseDevice(Device::kNull);
    QIR_Init_Sys();
}

void WholeFlow(unsigned) {
    FlowHdl flow = AllocFlow();
    Expect(QIR_Set_FwdInfo(&flow, &fwdInfo));
    AllocHeaders(flow, e_BLKTYPE_FILTER);
    Expect(QIR_Config_EthFilter(&flow, &ethTypeFilter));
    Expect(QIR_Config_VlanFilter(&flow, &tpidFilter));
    Expect(QIR_Config_VlanFilter(&flow, &vidFilter));
    AllocHeaders(flow, e_BLKTYPE_ACTION);
    Expect(QIR_Config_VlanAction(&flow, &vidAction));
    Expect(QIR_Activate_FCB(&flow));
    Expect(QIR_Deactivate_FCB(&flow));
    Expect(QIR_Free_FCB(&flow));
}

// The block is filled, the records are copied into it, and one goes to the driver with each request.
void FlowBytes(unsigned) {
    unsigned char *to = scratch;
    const auto copy = [&to](const auto &record) {
        std::memcpy(to, &record, sizeof record);
        Keep(to);
        to += sizeof record;
    };
    std::memset(to, qir::kFillByte, sizeof(qir::Fcb));
    Keep(to);
    copy(fwdInfo);
    copy(ethTypeFilter);
    copy(tpidFilter);
    copy(vidFilter);
    copy(vidAction);
    static const qir::FlowRecord flowRecord{};
    for (uint32_t request = 0; request < kRequestsOfAFlow; ++request) {
        copy(flowRecord);
    }
}

void SystemCalls(unsigned) {
    for (uint32_t request = 0; request < kRequestsOfAFlow; ++request) {
        CallNullDevice();
    }
}

// ---- Calls that do little -----------------------------------------------------------------------------

void RefusedCall(unsigned) {
    QIR_Alloc_FCB(kSection, nullptr);
}

void ReadingCall(unsigned) {
    uint16_t numFlows = 0;
    QIR_Get_SectionMaxFlows(kSection, &numFlows);
    Keep(&numFlows);
}

void EmptyCall(unsigned) {
    Empty();
}

void CallWithLine(unsigned index) {
    WithLine(index);
}

void CallWithoutLine(unsigned index) {
    WithoutLine(index);
}

// ---- How cost grows -----------------------------------------------------------------------------------

void PrepareLastFlow() {
    PrepareInProcess();
    for (unsigned i = 0; i + 1 < QIR_MAX_FLOWS; ++i) {
        AllocFlow();
    }
}

void AllocAndFree(unsigned) {
    FlowHdl flow = AllocFlow();
    Expect(QIR_Free_FCB(&flow));
}

FlowHdl FlowAt(unsigned index) {
    FlowHdl flow{};
    flow.f1.id = static_cast<uint16_t>(index);
    return flow;
}

// All flows, each with `numFilters` filters in one list. The operations admit a handful of each kind, so that
// a long list is made below them.
void PrepareLists(unsigned numFilters) {
    PrepareInProcess();
    for (unsigned i = 0; i < QIR_MAX_FLOWS; ++i) {
        FlowHdl flow = AllocFlow();
        AllocHeaders(flow, e_BLKTYPE_FILTER);
        AllocHeaders(flow, e_BLKTYPE_ACTION);
        for (unsigned n = 0; n < numFilters; ++n) {
            Expect(qir::Config_EthFilter(qir::GetFCB(flow), &otherEthTypeFilter));
        }
    }
}

void PrepareNoFilter() {
    PrepareLists(0);
}

void PrepareOneFilter() {
    PrepareLists(1);
}

void PrepareAllButOneFilter() {
    PrepareLists(kLongList - 1);
}

void PrepareAllFilters() {
    PrepareLists(kLongList);
}

void AddFilter(unsigned index) {
    FlowHdl flow = FlowAt(index);
    Expect(QIR_Config_EthFilter(&flow, &otherEthTypeFilter));
}

template <uint8_t NumFilters> void ReadBack(unsigned index) {
    FlowHdl flow = FlowAt(index % QIR_MAX_FLOWS);
    EthFilter filters[kLongList];
    filters[0].type = e_ETH_FILT_ETHTYPE;
    uint8_t count = 0;
    Expect(QIR_Get_EthFilter(&flow, filters, NumFilters, &count));
    if (count != NumFilters) {
        std::abort();
    }
    Keep(filters);
}

// ---- Processes ----------------------------------------------------------------------------------------

void Orxtest(unsigned) {
    const char *const argv[] = {BENCH_ORXTEST, "-t", "0", nullptr};
    RunProgram(argv, BENCH_STAND_IN, BENCH_OUTPUT);
}

void True(unsigned) {
    const char *const argv[] = {"/bin/true", nullptr};
    RunProgram(argv, "", BENCH_OUTPUT);
}

void PrepareNothing() {}

constexpr unsigned kAnyNumber = 0;
constexpr unsigned kEachFlow = QIR_MAX_FLOWS;

constexpr Operation kOperations[] = {
    {"init_sys", PrepareInProcess, InitSys, kAnyNumber, false},
    {"fill_context", PrepareNothing, FillContext, kAnyNumber, false},
    {"flow_in_process", PrepareInProcess, WholeFlow, kAnyNumber, false},
    {"flow_bytes", PrepareNothing, FlowBytes, kAnyNumber, false},
    {"flow_null_device", PrepareNullDevice, WholeFlow, kAnyNumber, false},
    {"system_calls", PrepareNothing, SystemCalls, kAnyNumber, false},
    {"refused_call", PrepareInProcess, RefusedCall, kAnyNumber, false},
    {"reading_call", PrepareInProcess, ReadingCall, kAnyNumber, false},
    {"empty_call", PrepareNothing, EmptyCall, kAnyNumber, false},
    {"call_with_line", PrepareInProcess, CallWithLine, kAnyNumber, false},
    {"call_without_line", PrepareInProcess, CallWithoutLine, kAnyNumber, false},
    {"alloc_first", PrepareInProcess, AllocAndFree, kAnyNumber, false},
    {"alloc_last", PrepareLastFlow, AllocAndFree, kAnyNumber, false},
    {"add_first_filter", PrepareNoFilter, AddFilter, kEachFlow, false},
    {"add_27th_filter", PrepareAllButOneFilter, AddFilter, kEachFlow, false},
    {"read_list_of_1", PrepareOneFilter, ReadBack<1>, kAnyNumber, false},
    {"read_list_of_27", PrepareAllFilters, ReadBack<kLongList>, kAnyNumber, false},
    {"orxtest", PrepareNothing, Orxtest, kAnyNumber, true},
    {"true", PrepareNothing, True, kAnyNumber, true},
};

} // namespace

std::span<const Operation> Operations() {
    return kOperations;
}

} // namespace bench
