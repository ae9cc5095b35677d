// Filters and actions.
#include "fuzz/public_calls.h"

#include "fuzz/request_call.h"

#include <vector>

namespace fuzz {

using namespace qir;

namespace {

template <class Kind> void TakeValue(Input &in, typename Kind::Record &record) {
    u8 *const val = reinterpret_cast<u8 *>(&record.val);
    const u8 lead = in.Byte();
    switch (lead % 4) {
    case 0:
        break;
    case 1: // a number of one byte
        val[0] = lead / 4;
        break;
    case 2: { // of two
        const u16 half = in.Half();
        memcpy(val, &half, sizeof half);
        break;
    }
    default: // an address, and the length behind it; no further than the value goes
        in.Fill(val, 4);
        if constexpr (sizeof record.val >= 8) {
            const u32 length = in.Byte();
            memcpy(val + 4, &length, sizeof length);
        }
        break;
    }
    if constexpr (requires { record.val2; }) {
        *reinterpret_cast<u8 *>(&record.val2) = in.Byte();
    }
}

template <class Kind> typename Kind::Record TakeRecord(Input &in) {
    typename Kind::Record record{};
    record.op = in.Rarely() ? in.Word() : u32{e_CONFIG_OPER_ADD};
    record.type = in.Below(Kind::kNumTypes);
    if constexpr (kIsFilter<Kind>) {
        record.cmpOp = in.Below(e_CMP_MAX);
    }
    if constexpr (Kind::kPerTag) {
        record.toTagNum = in.Below(e_VLAN_TAG_MAX);
    }
    return record;
}

// A query, with nothing in its value that a request could hold by chance.
template <class Kind> typename Kind::Record TakeQuery(Input &in) {
    typename Kind::Record query = TakeRecord<Kind>(in);
    memset(&query.val, 0xEE, sizeof query.val);
    return query;
}

template <class Kind, Doing doing, auto operation> void Config(Input &in, Call &call) {
    call.doing = doing;
    auto hdl = TakeFlow(in, call);
    typename Kind::Record record = TakeRecord<Kind>(in);
    TakeValue<Kind>(in, record);
    CallWith<Kind>({&record, 1}, call, [&] { return operation(hdl.Ptr(), in.OrNull(record)); });
}

// As many records as the call may write, and no more.
template <class Kind, auto operation> void GetFilter(Input &in, Call &call) {
    call.doing = Doing::ReadFilters;
    auto hdl = TakeFlow(in, call);
    const u8 lead = in.Byte();
    const u8 size = lead < 0xF0 ? lead % 5 : lead;
    std::vector<typename Kind::Record> records(size > 0 ? size : 1u);
    records[0] = TakeQuery<Kind>(in);
    u8 *const count_p = in.OrNull(call.count);
    auto *const records_p = in.Rarely() ? nullptr : records.data();
    CallWith<Kind>(records, call, [&] { return operation(hdl.Ptr(), records_p, size, count_p); });
}

template <class Kind, auto operation> void GetAction(Input &in, Call &call) {
    call.doing = Doing::ReadAction;
    auto hdl = TakeFlow(in, call);
    typename Kind::Record record = TakeQuery<Kind>(in);
    CallWith<Kind>({&record, 1}, call, [&] { return operation(hdl.Ptr(), in.OrNull(record)); });
}

// The MPLS operations look at nothing.
void ConfigMplsFilter(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    call.rc = QIR_Config_MplsFilter(hdl.Ptr(), nullptr);
}

void GetMplsFilter(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    call.rc = QIR_Get_MplsFilter(hdl.Ptr(), nullptr, 0, nullptr);
}

void ConfigMplsAction(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    call.rc = QIR_Config_MplsAction(hdl.Ptr(), nullptr);
}

void GetMplsAction(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    call.rc = QIR_Get_MplsAction(hdl.Ptr(), nullptr);
}

constexpr Operation kOperations[] = {
    {"QIR_Config_EthFilter", Config<EthFilterKind, Doing::ConfigFilter, QIR_Config_EthFilter>},
    {"QIR_Config_VlanFilter", Config<VlanFilterKind, Doing::ConfigFilter, QIR_Config_VlanFilter>},
    {"QIR_Config_PppoeFilter", Config<PppoeFilterKind, Doing::ConfigFilter, QIR_Config_PppoeFilter>},
    {"QIR_Config_MplsFilter", ConfigMplsFilter},
    {"QIR_Config_Ipv4Filter", Config<Ipv4FilterKind, Doing::ConfigFilter, QIR_Config_Ipv4Filter>},
    {"QIR_Config_TcpFilter", Config<TcpFilterKind, Doing::ConfigFilter, QIR_Config_TcpFilter>},
    {"QIR_Config_UdpFilter", Config<UdpFilterKind, Doing::ConfigFilter, QIR_Config_UdpFilter>},
    {"QIR_Get_EthFilter", GetFilter<EthFilterKind, QIR_Get_EthFilter>},
    {"QIR_Get_VlanFilter", GetFilter<VlanFilterKind, QIR_Get_VlanFilter>},
    {"QIR_Get_PppoeFilter", GetFilter<PppoeFilterKind, QIR_Get_PppoeFilter>},
    {"QIR_Get_MplsFilter", GetMplsFilter},
    {"QIR_Get_Ipv4Filter", GetFilter<Ipv4FilterKind, QIR_Get_Ipv4Filter>},
    {"QIR_Get_TcpFilter", GetFilter<TcpFilterKind, QIR_Get_TcpFilter>},
    {"QIR_Get_UdpFilter", GetFilter<UdpFilterKind, QIR_Get_UdpFilter>},
    {"QIR_Config_EthAction", Config<EthActionKind, Doing::ConfigEthAction, QIR_Config_EthAction>},
    {"QIR_Config_VlanAction", Config<VlanActionKind, Doing::ConfigAction, QIR_Config_VlanAction>},
    {"QIR_Config_PppoeAction", Config<PppoeActionKind, Doing::ConfigAction, QIR_Config_PppoeAction>},
    {"QIR_Config_MplsAction", ConfigMplsAction},
    {"QIR_Config_Ipv4Action", Config<Ipv4ActionKind, Doing::ConfigAction, QIR_Config_Ipv4Action>},
    {"QIR_Config_TcpAction", Config<TcpActionKind, Doing::ConfigAction, QIR_Config_TcpAction>},
    {"QIR_Config_UdpAction", Config<UdpActionKind, Doing::ConfigAction, QIR_Config_UdpAction>},
    {"QIR_Get_EthAction", GetAction<EthActionKind, QIR_Get_EthAction>},
    {"QIR_Get_VlanAction", GetAction<VlanActionKind, QIR_Get_VlanAction>},
    {"QIR_Get_PppoeAction", GetAction<PppoeActionKind, QIR_Get_PppoeAction>},
    {"QIR_Get_MplsAction", GetMplsAction},
    {"QIR_Get_Ipv4Action", GetAction<Ipv4ActionKind, QIR_Get_Ipv4Action>},
    {"QIR_Get_TcpAction", GetAction<TcpActionKind, QIR_Get_TcpAction>},
    {"QIR_Get_UdpAction", GetAction<UdpActionKind, QIR_Get_UdpAction>},
};

} // namespace

std::span<const Operation> RequestOperations() {
    return kOperations;
}

} // namespace fuzz
