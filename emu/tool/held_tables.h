// The three kinds of table that the hardware holds.
#ifndef EMU_TOOL_HELD_TABLES_H
#define EMU_TOOL_HELD_TABLES_H

#include "emu/journal/records.h"
#include "emu/orxemu.h"
#include "qirapi/private/table_records.h"

#include <array>

namespace orxemu::tool {

struct HeldTables {
    journal::IndexKind kind;
    const char *name;
    std::span<const OrxEmuTable> tables;
    std::size_t recordSize;
};

inline std::array<HeldTables, 3> TablesOf(const OrxEmuState &state) {
    using journal::IndexKind;
    return {{{IndexKind::AsTable, "AS table", state.asTbl, sizeof(qir::AsTblInfo)},
             {IndexKind::DscpTable, "DSCP table", state.dscpTbl, sizeof(qir::DscpTblInfo)},
             {IndexKind::PacTable, "PAC table", state.pacTbl, sizeof(qir::PacTblInfo)}}};
}

// A table's record, which is in the byte order of this machine.
inline journal::Json DecodeHeld(const HeldTables &held, std::size_t index) {
    const journal::ByteView record(held.tables[index].record, held.recordSize);
    return journal::DecodeTable(held.kind, record, journal::kHostOrder);
}

} // namespace orxemu::tool

#endif
