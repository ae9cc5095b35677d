// AS, DSCP-to-pbits, PAC and EP tables.
#include "fuzz/public_calls.h"
#include "fuzz/tables.h"

namespace fuzz {

namespace {

template <class Kind> constexpr TblKind kKindOf = TblKind::As;
template <> constexpr TblKind kKindOf<qir::DscpKind> = TblKind::Dscp;
template <> constexpr TblKind kKindOf<qir::EpKind> = TblKind::Ep;
template <> constexpr TblKind kKindOf<qir::PacKind> = TblKind::Pac;

template <class Kind> Handle<typename Kind::Hdl> Take(Input &in, Call &call) {
    return TakeTable<Kind>(in, call, kKindOf<Kind>);
}

template <class Kind, Doing doing, auto operation> void OnTable(Input &in, Call &call) {
    call.doing = doing;
    auto hdl = Take<Kind>(in, call);
    call.rc = operation(hdl.Ptr());
}

template <class Kind, auto operation> void AllocTable(Input &in, Call &call) {
    call.doing = Doing::AllocTable;
    auto hdl = Take<Kind>(in, call);
    call.rc = operation(hdl.Ptr());
    call.table = call.rc == e_RET_OK ? u32{hdl.value.f1.id} : kNone;
    call.hdl = hdl.value.word;
}

void SetAsTableCfg(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::AsKind>(in, call);
    AsTblCfg cfg{in.Word()};
    call.Tell(cfg);
    call.rc = QIR_Set_AsTableCfg(hdl.Ptr(), in.OrNull(cfg));
}

void GetAsTableCfg(Input &in, Call &call) {
    auto hdl = Take<qir::AsKind>(in, call);
    auto cfg = Unwritten<AsTblCfg>();
    call.rc = QIR_Get_AsTableCfg(hdl.Ptr(), in.OrNull(cfg));
    call.Tell(cfg);
}

u8 TakeIndex(Input &in, u32 limit) {
    return static_cast<u8>(in.Below(limit));
}

void SetAsTableEntry(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::AsKind>(in, call);
    const u8 idx = TakeIndex(in, QIR_ASENT_MAXNUM);
    AsEnt ent{};
    ent.aclMask = in.Half();
    ent.aclType = in.Below(2);
    ent.ethType = in.Half();
    ent.vlanTag0 = in.Half();
    ent.vlanTag1 = in.Half();
    ent.ipPrefixLen = in.Word();
    ent.macDA[5] = in.Byte();
    call.arg[0] = idx;
    call.Tell(ent);
    call.rc = QIR_Set_AsTableEntry(hdl.Ptr(), idx, in.OrNull(ent));
}

void GetAsTableEntry(Input &in, Call &call) {
    auto hdl = Take<qir::AsKind>(in, call);
    const u8 idx = TakeIndex(in, QIR_ASENT_MAXNUM);
    auto ent = Unwritten<AsEnt>();
    call.arg[0] = idx;
    call.rc = QIR_Get_AsTableEntry(hdl.Ptr(), idx, in.OrNull(ent));
    call.Tell(ent);
}

void DeleteAsTableEntry(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::AsKind>(in, call);
    const u8 idx = TakeIndex(in, QIR_ASENT_MAXNUM);
    call.arg[0] = idx;
    call.rc = QIR_Delete_AsTableEntry(hdl.Ptr(), idx);
}

void SetDefPbits(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::DscpKind>(in, call);
    DscpDefPbits def{};
    def.srcPort = in.Below(QIR_PORT_MAX);
    def.pbits = TakeIndex(in, QIR_PBITS_MAX);
    call.Tell(def);
    call.rc = QIR_Set_DscpToPbitsTable_DefPbits(hdl.Ptr(), in.OrNull(def));
}

void GetDefPbits(Input &in, Call &call) {
    auto hdl = Take<qir::DscpKind>(in, call);
    auto def = Unwritten<DscpDefPbits>();
    call.rc = QIR_Get_DscpToPbitsTable_DefPbits(hdl.Ptr(), in.OrNull(def));
    call.Tell(def);
}

void SetDscp(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::DscpKind>(in, call);
    DscpMapping mapping{};
    mapping.startDscp = TakeIndex(in, QIR_DSCP_MAX);
    mapping.endDscp = TakeIndex(in, QIR_DSCP_MAX);
    mapping.pbits = TakeIndex(in, QIR_PBITS_MAX);
    call.Tell(mapping);
    call.rc = QIR_Set_DscpToPbitsTable(hdl.Ptr(), in.OrNull(mapping));
}

void GetDscp(Input &in, Call &call) {
    auto hdl = Take<qir::DscpKind>(in, call);
    const u8 dscp = TakeIndex(in, QIR_DSCP_MAX);
    auto pbits = Unwritten<u8>();
    call.arg[0] = dscp;
    call.rc = QIR_Get_DscpToPbitsTable(hdl.Ptr(), dscp, in.OrNull(pbits));
    call.Tell(pbits);
}

PacTblCfg TakePacRecord(Input &in) {
    PacTblCfg rec{};
    rec.ovrd = in.Byte() & 0x3F; // one unknown bit among them
    rec.dstGemPort = TakeIndex(in, QIR_GEMPORTIDX_MAX);
    rec.dstQid = TakeIndex(in, QIR_QID_MAX);
    for (PacRawAction &raw : rec.rawAction) {
        raw.type = in.Below(3);
        if (raw.type != 0) {
            raw.ofst = TakeIndex(in, 96);
            raw.size = TakeIndex(in, 3);
            raw.val[1] = in.Byte();
        }
    }
    return rec;
}

void SetPacTableCfg(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::PacKind>(in, call);
    PacTblCfg rec = TakePacRecord(in);
    call.Tell(rec);
    call.rc = QIR_Set_PacTableCfg(hdl.Ptr(), in.OrNull(rec));
}

void GetPacTableCfg(Input &in, Call &call) {
    auto hdl = Take<qir::PacKind>(in, call);
    auto rec = Unwritten<PacTblCfg>();
    call.rc = QIR_Get_PacTableCfg(hdl.Ptr(), in.OrNull(rec));
    call.Tell(rec);
}

void SetPacTableEntry(Input &in, Call &call) {
    call.doing = Doing::ConfigTable;
    auto hdl = Take<qir::PacKind>(in, call);
    const u8 pbits = TakeIndex(in, QIR_PBITS_MAX);
    PacTblCfg rec = TakePacRecord(in);
    call.arg[0] = pbits;
    call.Tell(rec);
    call.rc = QIR_Set_PacTableEntry(hdl.Ptr(), pbits, in.OrNull(rec));
}

void GetPacTableEntry(Input &in, Call &call) {
    auto hdl = Take<qir::PacKind>(in, call);
    const u8 pbits = TakeIndex(in, QIR_PBITS_MAX);
    auto rec = Unwritten<PacTblCfg>();
    call.arg[0] = pbits;
    call.rc = QIR_Get_PacTableEntry(hdl.Ptr(), pbits, in.OrNull(rec));
    call.Tell(rec);
}

// The EP operations do nothing whatever they get.
template <class Record, auto operation> void OnEpRecord(Input &in, Call &call) {
    auto hdl = Take<qir::EpKind>(in, call);
    Record record{};
    call.rc = operation(hdl.Ptr(), in.OrNull(record));
}

template <auto operation> void OnEpEntry(Input &in, Call &call) {
    auto hdl = Take<qir::EpKind>(in, call);
    const u8 idx = TakeIndex(in, QIR_EPENT_MAXNUM);
    EpEnt ent{};
    call.rc = operation(hdl.Ptr(), idx, in.OrNull(ent));
}

using qir::AsKind;
using qir::DscpKind;
using qir::EpKind;
using qir::PacKind;

constexpr Operation kOperations[] = {
    {"QIR_Alloc_AsTable", AllocTable<AsKind, QIR_Alloc_AsTable>},
    {"QIR_Free_AsTable", OnTable<AsKind, Doing::FreeTable, QIR_Free_AsTable>},
    {"QIR_Activate_AsTable", OnTable<AsKind, Doing::SwitchTable, QIR_Activate_AsTable>},
    {"QIR_Deactivate_AsTable", OnTable<AsKind, Doing::SwitchTable, QIR_Deactivate_AsTable>},
    {"QIR_Set_AsTableCfg", SetAsTableCfg},
    {"QIR_Get_AsTableCfg", GetAsTableCfg},
    {"QIR_Set_AsTableEntry", SetAsTableEntry},
    {"QIR_Get_AsTableEntry", GetAsTableEntry},
    {"QIR_Delete_AsTableEntry", DeleteAsTableEntry},
    {"QIR_Dump_AsTable", OnTable<AsKind, Doing::Read, QIR_Dump_AsTable>},
    {"QIR_Alloc_DscpToPbitsTable", AllocTable<DscpKind, QIR_Alloc_DscpToPbitsTable>},
    {"QIR_Free_DscpToPbitsTable", OnTable<DscpKind, Doing::FreeTable, QIR_Free_DscpToPbitsTable>},
    {"QIR_Activate_DscpToPbitsTable", OnTable<DscpKind, Doing::SwitchTable, QIR_Activate_DscpToPbitsTable>},
    {"QIR_Deactivate_DscpToPbitsTable",
     OnTable<DscpKind, Doing::SwitchTable, QIR_Deactivate_DscpToPbitsTable>},
    {"QIR_Set_DscpToPbitsTable_DefPbits", SetDefPbits},
    {"QIR_Get_DscpToPbitsTable_DefPbits", GetDefPbits},
    {"QIR_Set_DscpToPbitsTable", SetDscp},
    {"QIR_Get_DscpToPbitsTable", GetDscp},
    {"QIR_Dump_DscpToPbitsTable", OnTable<DscpKind, Doing::Read, QIR_Dump_DscpToPbitsTable>},
    {"QIR_Alloc_PacTable", AllocTable<PacKind, QIR_Alloc_PacTable>},
    {"QIR_Free_PacTable", OnTable<PacKind, Doing::FreeTable, QIR_Free_PacTable>},
    {"QIR_Activate_PacTable", OnTable<PacKind, Doing::SwitchTable, QIR_Activate_PacTable>},
    {"QIR_Deactivate_PacTable", OnTable<PacKind, Doing::SwitchTable, QIR_Deactivate_PacTable>},
    {"QIR_Set_PacTableCfg", SetPacTableCfg},
    {"QIR_Get_PacTableCfg", GetPacTableCfg},
    {"QIR_Set_PacTableEntry", SetPacTableEntry},
    {"QIR_Get_PacTableEntry", GetPacTableEntry},
    {"QIR_Dump_PacTable", OnTable<PacKind, Doing::Read, QIR_Dump_PacTable>},
    {"QIR_Alloc_EpTable", OnTable<EpKind, Doing::Read, QIR_Alloc_EpTable>},
    {"QIR_Free_EpTable", OnTable<EpKind, Doing::Read, QIR_Free_EpTable>},
    {"QIR_Activate_EpTable", OnTable<EpKind, Doing::Read, QIR_Activate_EpTable>},
    {"QIR_Deactivate_EpTable", OnTable<EpKind, Doing::Read, QIR_Deactivate_EpTable>},
    {"QIR_Set_EpTableCfg", OnEpRecord<EpTblCfg, QIR_Set_EpTableCfg>},
    {"QIR_Get_EpTableCfg", OnEpRecord<EpTblCfg, QIR_Get_EpTableCfg>},
    {"QIR_Set_EpTableEntry", OnEpEntry<QIR_Set_EpTableEntry>},
    {"QIR_Get_EpTableEntry", OnEpEntry<QIR_Get_EpTableEntry>},
};

} // namespace

std::span<const Operation> TableOperations() {
    return kOperations;
}

} // namespace fuzz
