// The lines of a state as JSON, before they are text. Records are bytes of the given byte order.
#ifndef EMU_JOURNAL_STATE_LINES_H
#define EMU_JOURNAL_STATE_LINES_H

#include "emu/journal/state_file.h"

namespace orxemu::journal {

Json GlobalJson(const OrxEmuState &state);
Json PortJson(const OrxEmuState &state, unsigned port);
Json RlTciJson(const OrxEmuState &state, unsigned dir);
Json TableJson(const TableKind &kind, std::size_t index, ByteView record, ByteOrder order);
// `fcb` takes the place of the flow's own.
Json FlowJson(std::size_t index, const OrxEmuFlow &flow, ByteView fcb, ByteOrder order);
Json RlJson(unsigned dir, unsigned index, ByteView cfg, ByteOrder order);
Json StateEndJson(std::size_t objects);

} // namespace orxemu::journal

#endif
