// The arguments of public calls. Each type here takes one from the input, tells the call what it names, and
// hands it over by Arg(). Most are such as are accepted; some are at the edge, beyond it or null.
#ifndef FUZZ_ARGUMENTS_H
#define FUZZ_ARGUMENTS_H

#include "fuzz/call.h"
#include "fuzz/input.h"
#include "qirapi/access/request_kinds.h"
#include "qirapi/private/table_kinds.h"

#include <cstring>
#include <tuple>

namespace fuzz {

// Makes a call: takes the arguments in the order of the parameters, and keeps the code.
template <auto operation, class... Args> void Make(Input &in, Call &call) {
    std::tuple<Args...> args{Args(in, call)...};
    call.rc = std::apply([](auto &...arg) { return operation(arg.Arg()...); }, args);
}

// What `take` makes of the input, by value.
template <auto take> struct Value {
    Value(Input &in, Call &call) : value(take(in, call)) {}
    auto Arg() const { return value; }
    decltype(take(std::declval<Input &>(), std::declval<Call &>())) value;
};

// Its address, null rarely.
template <auto take> struct Given : Value<take> {
    Given(Input &in, Call &call) : Value<take>(in, call), isNull(in.Rarely()) {}
    auto *Arg() { return isNull ? nullptr : &this->value; }
    bool isNull;
};

// What a call writes into.
template <class Record> Record TakeOut(Input &, Call &) {
    Record record;
    std::memset(&record, 0x5A, sizeof record);
    return record;
}
template <class Record> using Out = Given<TakeOut<Record>>;

// ---- Numbers

template <u32 limit, class Number> Number TakeBelow(Input &in, Call &) {
    return static_cast<Number>(in.Below(limit));
}

template <u32 limit, class Number = u32> using Below = Value<TakeBelow<limit, Number>>;
using Word = Value<[](Input &in, Call &) { return in.Word(); }>;
using Half = Value<[](Input &in, Call &) { return in.Half(); }>;
using Null = Value<[](Input &, Call &) { return nullptr; }>;
using Zero = Value<[](Input &, Call &) { return u8{0}; }>;

// A port, or a direction of rate limiters.
template <u32 num> struct Index : Below<num> {
    Index(Input &in, Call &call) : Below<num>(in, call) {
        call.index = this->value < num ? this->value : kNone;
    }
};

// A rate limiter of the direction in front of it.
struct RlIndex : Below<QIR_RLINDEX_MAX> {
    RlIndex(Input &in, Call &call) : Below<QIR_RLINDEX_MAX>(in, call) {
        const bool isThere = call.index != kNone && value < QIR_RLINDEX_MAX;
        call.index = isThere ? call.index * QIR_RLINDEX_MAX + value : kNone;
    }
};

// ---- Handles: the first few indexes are met most

struct Flow {
    Flow(Input &in, Call &call) {
        constexpr u32 kEdges[] = {QIR_MAX_FLOWS - 1, QIR_MAX_FLOWS, 0xFFFF, QIR_MAX_FLOWS - 2};
        const u8 lead = in.Byte();
        const u32 id = lead < 0xC0 ? lead % 4u : lead < 0xE0 ? lead % 32u : kEdges[lead % 4];
        hdl.word = lead * 0x01010000u;
        hdl.f1.id = id & 0xFFFF;
        isNull = lead >= 0xF8;
        if (!isNull && id < QIR_MAX_FLOWS) {
            const qir::Fcb &fcb = qirCtxt_gp->fcbPool[call.flow = id];
            call.epTable = fcb.epTblHdl.f1.id < QIR_EPTBL_MAXNUM ? u32{fcb.epTblHdl.f1.id} : kNone;
            call.pacTable = fcb.pacTblHdl.f1.id < QIR_PACTBL_MAXNUM ? u32{fcb.pacTblHdl.f1.id} : kNone;
        }
    }
    FlowHdl *Arg() { return isNull ? nullptr : &hdl; }
    FlowHdl hdl{};
    bool isNull;
};

template <class Kind> struct Table {
    Table(Input &in, Call &call) {
        const u8 lead = in.Byte();
        const u32 edges[] = {Kind::kPoolSize - 1, Kind::kPoolSize, 0xFF, Kind::kPoolSize - 2};
        const u32 id = lead < 0xC0 ? lead % 4u : lead < 0xE0 ? lead % Kind::kPoolSize : edges[lead % 4];
        hdl.word = lead * 0x01010100u | id;
        hdl.f1.id = id & 0xFF;
        isNull = lead >= 0xF8;
        call.table = !isNull && id < Kind::kPoolSize ? id : kNone;
        call.epTable = call.pacTable = call.table;
    }
    typename Kind::Hdl *Arg() { return isNull ? nullptr : &hdl; }
    typename Kind::Hdl hdl{};
    bool isNull;
};

// ---- Headers, filters and actions

template <class Kind> constexpr bool kIsFilter = __is_same(typename Kind::Blk, qir::FilterBlk);

// Where in the context the block of the call's flow lies.
inline u32 BlkOf(const Call &call, bool isFilter) {
    const std::size_t blk = isFilter ? offsetof(qir::Fcb, filterBlk) : offsetof(qir::Fcb, actionBlk);
    return static_cast<u32>(offsetof(qir::QirCtxt, fcbPool) + call.flow * sizeof(qir::Fcb) + blk);
}

struct Hdr {
    Hdr(Input &in, Call &call) {
        const u8 lead = in.Byte();
        hdr.blk = lead < 0xE0 ? lead / 8 % 2u : in.Word();
        hdr.flowHdr = lead < 0xE0 ? lead % e_FLOWHDR_MAX : in.Word();
        isNull = in.Rarely();
        const bool isFilter = hdr.blk == e_BLKTYPE_FILTER;
        call.entry = call.flow != kNone ? BlkOf(call, isFilter) : kNone;
        call.entryBytes = isFilter ? sizeof(qir::FilterBlk) : sizeof(qir::ActionBlk);
        call.isIpv4 = hdr.flowHdr == e_FLOWHDR_IPV4;
    }
    FlowHdr *Arg() { return isNull ? nullptr : &hdr; }
    FlowHdr hdr{};
    bool isNull;
};

// What of the flow a request is about, and what the operator's row of the rule tables says of it.
template <class Kind> void TellRequest(const typename Kind::Record &record, Call &call) {
    const u32 tag = Kind::Tag(record);
    if (call.flow == kNone || tag >= e_VLAN_TAG_MAX || record.type >= Kind::kNumTypes) {
        return;
    }
    call.type = record.type;
    call.entry = BlkOf(call, kIsFilter<Kind>) + Kind::Entry(tag);
    call.entryBytes = sizeof(qir::HdrEntry);
    if constexpr (kIsFilter<Kind>) {
        call.entryBytes += e_CMP_MAX * Kind::kNumTypes;
        if (record.cmpOp < e_CMP_MAX) {
            const u32 row = Kind::Row(tag);
            const u16 *const takers =
                Kind::kL4 ? qirCtxt_gp->l4CmpOpBmapTbl[row] : qirCtxt_gp->cmpOpBmapTbl[row];
            call.counter = call.entry + static_cast<u32>(sizeof(qir::HdrEntry)) +
                           record.cmpOp * Kind::kNumTypes + record.type;
            call.takesOperator = (takers[record.cmpOp] >> record.type & 1u) != 0;
        }
    } else if constexpr (__is_same(Kind, qir::EthActionKind)) {
        call.isTagAction = record.type == e_ETH_ACTION_PUSH_TAG || record.type == e_ETH_ACTION_POP_TAG;
    }
}

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
        std::memcpy(val, &half, sizeof half);
        break;
    }
    default: // an address, and the length behind it; no further than the value goes
        in.Fill(val, 4);
        if constexpr (sizeof record.val >= 8) {
            const u32 length = in.Byte();
            std::memcpy(val + 4, &length, sizeof length);
        }
        break;
    }
    if constexpr (requires { record.val2; }) {
        *reinterpret_cast<u8 *>(&record.val2) = in.Byte();
    }
}

// A query, with nothing in its value that a request could hold by chance.
template <class Kind> typename Kind::Record TakeQuery(Input &in, Call &) {
    typename Kind::Record record{};
    record.op = in.Rarely() ? in.Word() : u32{e_CONFIG_OPER_ADD};
    record.type = in.Below(Kind::kNumTypes);
    if constexpr (kIsFilter<Kind>) {
        record.cmpOp = in.Below(e_CMP_MAX);
    }
    if constexpr (Kind::kPerTag) {
        record.toTagNum = in.Below(e_VLAN_TAG_MAX);
    }
    std::memset(&record.val, 0xEE, sizeof record.val);
    return record;
}

template <class Kind> typename Kind::Record TakeRequest(Input &in, Call &call) {
    typename Kind::Record record = TakeQuery<Kind>(in, call);
    std::memset(&record.val, 0, sizeof record.val);
    TakeValue<Kind>(in, record);
    TellRequest<Kind>(record, call);
    return record;
}

template <class Kind> using Request = Given<TakeRequest<Kind>>;
template <class Kind> using Query = Given<TakeQuery<Kind>>;

} // namespace fuzz

#endif
