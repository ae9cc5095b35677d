// Life and configuration of flows.
#include "fuzz/public_calls.h"
#include "fuzz/tables.h"

namespace fuzz {

Handle<FlowHdl> TakeFlow(Input &in, Call &call) {
    constexpr u32 kEdges[] = {QIR_MAX_FLOWS - 1, QIR_MAX_FLOWS, 0xFFFF, QIR_MAX_FLOWS - 2};
    const u8 lead = in.Byte();
    const u32 id = lead < 0xC0 ? lead % 4u : lead < 0xE0 ? lead % 32u : kEdges[lead % 4];
    Handle<FlowHdl> hdl{};
    hdl.value.word = lead * 0x01010000u;
    hdl.value.f1.id = id & 0xFFFF;
    hdl.isNull = lead >= 0xF8;
    call.flow = !hdl.isNull && id < QIR_MAX_FLOWS ? id : kNone;
    return hdl;
}

namespace {

void AllocFcb(Input &in, Call &call) {
    call.doing = Doing::AllocFlow;
    auto hdl = TakeFlow(in, call);
    call.arg[0] = in.Below(e_FLOW_SECTION_MAX);
    call.rc = QIR_Alloc_FCB(call.arg[0], hdl.Ptr());
    call.hdl = hdl.value.word;
    call.flow = call.rc == e_RET_OK ? u32{hdl.value.f1.id} : kNone;
}

// The operation does not test the index, so that the caller answers for it.
void AllocFcbSpecifyIndex(Input &in, Call &call) {
    call.doing = Doing::AllocFlow;
    auto hdl = TakeFlow(in, call);
    if (call.flow == kNone) {
        hdl.value.f1.id = QIR_MAX_FLOWS / 2;
        call.flow = hdl.isNull ? kNone : QIR_MAX_FLOWS / 2;
    }
    call.arg[0] = in.Below(e_FLOW_SECTION_MAX);
    call.hdl = hdl.value.word;
    call.rc = QIR_Alloc_FCB_Specify_Index(call.arg[0], hdl.Ptr());
}

// It has no code: it answers.
void IsFree(Input &in, Call &call) {
    call.arg[0] = in.Half() % QIR_MAX_FLOWS;
    call.Tell(Is_Orx_free(call.arg[0]));
}

template <Doing doing, auto operation> void OnFlow(Input &in, Call &call) {
    call.doing = doing;
    auto hdl = TakeFlow(in, call);
    call.rc = operation(hdl.Ptr());
}

void GetHits(Input &in, Call &call) {
    call.doing = Doing::ReadHits;
    auto hdl = TakeFlow(in, call);
    auto hits = Unwritten<FcbHits>();
    call.rc = QIR_Get_FCBHits(hdl.Ptr(), in.OrNull(hits));
    call.Tell(hits);
}

template <Doing doing, auto operation> void OnHdr(Input &in, Call &call) {
    call.doing = doing;
    auto hdl = TakeFlow(in, call);
    FlowHdr hdr{};
    const u8 lead = in.Byte();
    hdr.blk = lead < 0xE0 ? lead / 8 % 2u : in.Word();
    hdr.flowHdr = lead < 0xE0 ? lead % e_FLOWHDR_MAX : in.Word();
    call.blk = hdr.blk;
    call.hdr = hdr.flowHdr;
    call.rc = operation(hdl.Ptr(), in.OrNull(hdr));
}

// One queue for all destinations, which is what the operations accept; rarely another one for one of them.
DstMask TakeDst(Input &in) {
    DstMask dst{};
    dst.portMask = in.Half();
    dst.gemPortIdxMask = in.Half();
    const auto queue = static_cast<u8>(in.Below(QIR_QID_MAX));
    memset(dst.portQid, queue, sizeof dst.portQid);
    memset(dst.gemQid, queue, sizeof dst.gemQid);
    if (in.Rarely()) {
        dst.portQid[in.Byte() % QIR_PORT_MAX] = in.Byte();
        dst.gemQid[in.Byte() % QIR_GEMPORTIDX_MAX] = in.Byte();
    }
    return dst;
}

FwdInfo TakeFwdInfo(Input &in) {
    FwdInfo info{};
    info.fwdAction = in.Below(e_FWD_ACTION_MAX);
    info.flowPrio = in.Below(QIR_FLOWPRIO_MAX);
    info.src.portMask = in.Byte();
    info.src.gemPortIdxMask = in.Byte();
    info.dst = TakeDst(in);
    return info;
}

void SetFwdInfo(Input &in, Call &call) {
    call.doing = Doing::SetFwdInfo;
    auto hdl = TakeFlow(in, call);
    FwdInfo info = TakeFwdInfo(in);
    call.Tell(info);
    call.rc = QIR_Set_FwdInfo(hdl.Ptr(), in.OrNull(info));
}

void GetFwdInfo(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    auto info = Unwritten<FwdInfo>();
    call.rc = QIR_Get_FwdInfo(hdl.Ptr(), in.OrNull(info));
    call.Tell(info);
}

template <auto operation> void ChangeDst(Input &in, Call &call) {
    call.doing = Doing::ChangeDst;
    auto hdl = TakeFlow(in, call);
    DstMask dst = TakeDst(in);
    call.Tell(dst);
    call.rc = operation(hdl.Ptr(), in.OrNull(dst));
}

void SetAsOverride(Input &in, Call &call) {
    call.doing = Doing::SetAsOverride;
    auto hdl = TakeFlow(in, call);
    call.arg[0] = in.Below(e_AS_OVERRIDE_MAX);
    call.rc = QIR_Set_AsOverride(hdl.Ptr(), call.arg[0]);
}

void GetAsOverride(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    auto asOverride = Unwritten<u32>();
    call.rc = QIR_Get_AsOverride(hdl.Ptr(), in.OrNull(asOverride));
    call.Tell(asOverride);
}

void SetEpInfo(Input &in, Call &call) {
    call.doing = Doing::SetEpInfo;
    auto hdl = TakeFlow(in, call);
    auto tbl = TakeTable<qir::EpKind>(in, call, TblKind::Ep);
    call.arg[0] = in.Below(e_TBLSTATUS_MAX);
    call.hdl = tbl.value.word;
    call.rc = QIR_Set_EpInfo(hdl.Ptr(), call.arg[0], tbl.Ptr());
}

void GetEpInfo(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    auto sts = Unwritten<u32>();
    auto tbl = Unwritten<EpTblHdl>();
    u32 *const sts_p = in.OrNull(sts);
    call.rc = QIR_Get_EpInfo(hdl.Ptr(), sts_p, in.OrNull(tbl));
    call.Tell(sts);
    call.Tell(tbl);
}

void SetPacInfo(Input &in, Call &call) {
    call.doing = Doing::SetPacInfo;
    auto hdl = TakeFlow(in, call);
    auto tbl = TakeTable<qir::PacKind>(in, call, TblKind::Pac);
    call.arg[0] = in.Below(e_TBLSTATUS_MAX);
    call.arg[1] = in.Below(QIR_PBITS_SOURCE_MAX);
    call.hdl = tbl.value.word;
    call.rc = QIR_Set_PacInfo(hdl.Ptr(), call.arg[0], call.arg[1], tbl.Ptr());
}

void GetPacInfo(Input &in, Call &call) {
    auto hdl = TakeFlow(in, call);
    auto sts = Unwritten<u32>();
    auto source = Unwritten<u32>();
    auto tbl = Unwritten<PacTblHdl>();
    u32 *const sts_p = in.OrNull(sts);
    u32 *const source_p = in.OrNull(source);
    call.rc = QIR_Get_PacInfo(hdl.Ptr(), sts_p, source_p, in.OrNull(tbl));
    call.Tell(sts);
    call.Tell(source);
    call.Tell(tbl);
}

constexpr Operation kOperations[] = {
    {"QIR_Alloc_FCB", AllocFcb},
    {"QIR_Alloc_FCB_Specify_Index", AllocFcbSpecifyIndex},
    {"Is_Orx_free", IsFree},
    {"QIR_Activate_FCB", OnFlow<Doing::ActivateFlow, QIR_Activate_FCB>},
    {"QIR_Deactivate_FCB", OnFlow<Doing::DeactivateFlow, QIR_Deactivate_FCB>},
    {"QIR_Free_FCB", OnFlow<Doing::FreeFlow, QIR_Free_FCB>},
    {"QIR_Get_FCBHits", GetHits},
    {"QIR_Alloc_Hdr", OnHdr<Doing::AllocHdr, QIR_Alloc_Hdr>},
    {"QIR_Dump_HdrReqList", OnHdr<Doing::Read, QIR_Dump_HdrReqList>},
    {"QIR_Dump_FCB", OnFlow<Doing::Read, QIR_Dump_FCB>},
    {"QIR_Set_FwdInfo", SetFwdInfo},
    {"QIR_Get_FwdInfo", GetFwdInfo},
    {"QIR_Add_DstPortInfo", ChangeDst<QIR_Add_DstPortInfo>},
    {"QIR_Rem_DstPortInfo", ChangeDst<QIR_Rem_DstPortInfo>},
    {"QIR_Set_AsOverride", SetAsOverride},
    {"QIR_Get_AsOverride", GetAsOverride},
    {"QIR_Set_EpInfo", SetEpInfo},
    {"QIR_Get_EpInfo", GetEpInfo},
    {"QIR_Set_PacInfo", SetPacInfo},
    {"QIR_Get_PacInfo", GetPacInfo},
};

} // namespace

std::span<const Operation> FlowOperations() {
    return kOperations;
}

} // namespace fuzz
