#include "fuzz/past.h"

#include "qirapi/access/req_walk.h"

#include <cstring>

namespace fuzz {

using namespace qir;

namespace {

bool GainedHdr(const Fcb &before, const Fcb &now, u32 hdr) {
    return ((now.filterBlk.hdrBmap & ~before.filterBlk.hdrBmap) >> hdr & 1u) != 0;
}

bool HasHdr(const FilterBlk &blk, u32 hdr) {
    return (blk.hdrBmap >> hdr & 1u) != 0;
}

void NoteHdr(FlowPast &past, const Fcb &before, const Fcb &now) {
    if (!HasHdr(before.filterBlk, e_FLOWHDR_IPV4)) {
        return;
    }
    const HdrEntry &ipv4 = before.filterBlk.ipv4.hdr;
    if (GainedHdr(before, now, e_FLOWHDR_VLAN2)) {
        past.ipv4Missing = static_cast<u16>(NumMembers(before, ipv4.reqList));
    }
    if (GainedHdr(before, now, e_FLOWHDR_VLAN3)) {
        past.ipv4Before = ipv4.reqCount;
    }
}

void NoteRequest(FlowPast &past, const Call &call, const Fcb &now) {
    HdrEntry entry;
    std::memcpy(&entry, reinterpret_cast<const u8 *>(&now) + call.entry, sizeof entry);
    if (entry.reqList == 0) {
        ++past.onFreeList;
    } else if (entry.reqList >= QIR_MAX_FCBREQ) {
        ++past.strays;
    }
}

template <class Hdl, std::size_t num>
void NoteHandle(std::array<i32, num> &drift, const Fcb &before, u16 bit, Hdl was, Hdl is) {
    if ((before.tblAssoc & bit) != 0 && was.f1.id != is.f1.id && was.f1.id < num && is.f1.id < num) {
        ++drift[was.f1.id];
        --drift[is.f1.id];
    }
}

// Flows whose PAC association names the table.
u32 NumNaming(const QirCtxt &ctxt, u32 table) {
    u32 naming = 0;
    for (const Fcb &fcb : ctxt.fcbPool) {
        const bool associated = fcb.status != e_STATUS_FREE && (fcb.tblAssoc & kTblAssocPac) != 0;
        naming += associated && fcb.pacTblHdl.f1.id == table ? 1 : 0;
    }
    return naming;
}

} // namespace

u32 NumMembers(const Fcb &fcb, u16 head) {
    u32 members = 0;
    WalkReqList(&fcb, ReqNodeAt(&fcb, head), [&members](const ReqNode *) {
        ++members;
        return true;
    });
    return members;
}

void Past::Note(const QirCtxt &ctxt, const Call &call, const Fcb *before) {
    if (call.doing == Doing::InitSystem) {
        *this = {};
    }
    if (call.doing == Doing::AllocTable && call.tblKind == TblKind::Pac && call.rc == e_RET_OK) {
        pacDrift[call.table] = -static_cast<i32>(NumNaming(ctxt, call.table));
    }
    if (call.flow == kNone || before == nullptr) {
        return;
    }
    FlowPast &past = flow[call.flow];
    const Fcb &now = ctxt.fcbPool[call.flow];
    switch (call.doing) {
    case Doing::AllocFlow:
        past = call.rc == e_RET_OK ? FlowPast{} : past;
        break;
    case Doing::AllocHdr:
        NoteHdr(past, *before, now);
        break;
    case Doing::ConfigFilter:
    case Doing::ConfigEthAction:
    case Doing::ConfigAction:
        if (call.rc == e_RET_OK) {
            NoteRequest(past, call, now);
        }
        break;
    case Doing::SetPacInfo:
        NoteHandle(pacDrift, *before, kTblAssocPac, before->pacTblHdl, now.pacTblHdl);
        break;
    case Doing::SetEpInfo:
        NoteHandle(epDrift, *before, kTblAssocEp, before->epTblHdl, now.epTblHdl);
        break;
    default:
        break;
    }
}

} // namespace fuzz
