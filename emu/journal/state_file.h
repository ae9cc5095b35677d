// What the hardware holds, as a file that survives the run: lines of JSON, one per object.
//
//   {"format":"orxemu-state","version":1,"byteOrder":"big"}
//   {"global":{"flowMissAction":0,"rlStatus":0}}
//   {"port":0,"defAcl":0,"padLen":64,"tpid":[...]}                          ports 0 to 8
//   {"rlTci":0,"tci":[...]}                                                 directions 0 and 1
//   {"asTable":0,"fields":{...},"raw":"..."}                                tables that are active
//   {"dscpTable":...} {"pacTable":...}
//   {"flow":0,"pacTblIdx":0,"epTblIdx":-1,"numFlows":1,"hits":[...],"fcb":{...},"fcbRaw":"..."}
//   {"rl":0,"index":3,"fields":{...},"raw":"..."}                           limiters that are active
//   {"end":{"objects":17}}
//
// As in logs the raw bytes count, and a reader refuses fields that say something else.
#ifndef EMU_JOURNAL_STATE_FILE_H
#define EMU_JOURNAL_STATE_FILE_H

#include "emu/journal/log_file.h"
#include "emu/orxemu.h"

namespace orxemu::journal {

// In the byte order of this machine.
std::string StateText(const OrxEmuState &state);

// False, with `problem` set, at the first line that does not check out. A state of the other byte order is
// converted to this machine's; `writtenOrder` says which it was. On failure `state` is as it was.
bool ReadState(std::string_view text, const std::string &fileName, OrxEmuState &state, ByteOrder &writtenOrder,
               Problem &problem);

// Writes the whole file beside `path` and renames it, so that `path` has the old or the new contents at every
// moment. False, with `problem` set, when it could not; then `path` is as it was and nothing is left beside.
bool WriteFileAtomically(const std::string &path, std::string_view text, Problem &problem);

} // namespace orxemu::journal

#endif
