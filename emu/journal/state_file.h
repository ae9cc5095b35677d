// What the hardware holds, as a file that survives the run: lines of JSON, one per object.
//
//   {"format":"orxemu-state","version":2,"byteOrder":"big","crc":"4701f73e"}
//   {"global":{"flowMissAction":0,"rlStatus":0},"crc":"..."}
//   {"port":0,"defAcl":0,"padLen":64,"tpid":[...],"crc":"..."}                          ports 0 to 8
//   {"rlTci":0,"tci":[...],"crc":"..."}                                                 directions 0 and 1
//   {"asTable":0,"fields":{...},"raw":"...","crc":"..."}                               tables that are active
//   {"dscpTable":...} {"pacTable":...}
//   {"flow":0,"pacTblIdx":0,"epTblIdx":-1,"numFlows":1,"hits":[...],"fcb":{...},"fcbRaw":"...","crc":"..."}
//   {"rl":0,"index":3,"fields":{...},"raw":"...","crc":"..."}                        limiters that are active
//   {"end":{"objects":17},"crc":"..."}
//
// As in logs the raw bytes count: a reader refuses fields that say something else, and checks the checksum of
// a line last. It also refuses settings, rates and forwarding that the hardware would refuse.
#ifndef EMU_JOURNAL_STATE_FILE_H
#define EMU_JOURNAL_STATE_FILE_H

#include "emu/journal/log_file.h"
#include "emu/orxemu.h"

namespace orxemu::journal {

// The tables of a kind, active or not.
std::span<const OrxEmuTable> TablesOf(const OrxEmuState &state, const TableKind &kind);
std::span<OrxEmuTable> TablesOf(OrxEmuState &state, const TableKind &kind);

// In the byte order of this machine.
std::string StateText(const OrxEmuState &state);

// False, with `problem` set, at the first line that does not check out. A state of the other byte order is
// converted to this machine's; `writtenOrder` says which it was. On failure `state` is as it was.
bool ReadState(std::string_view text, const std::string &fileName, OrxEmuState &state,
               ByteOrder &writtenOrder, Problem &problem);

// Writes the whole file beside `path` and renames it: at every moment `path` has the old or the new contents.
// False, with `problem` set, on failure; then `path` is as it was, and nothing is left beside it.
bool WriteFileAtomically(const std::string &path, std::string_view text, Problem &problem);

} // namespace orxemu::journal

#endif
