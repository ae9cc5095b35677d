// What a request, a table record or an FCB says: its fields by name, from bytes of either byte order.
//
// Each record has a table of its fields (layouts.cpp). It serves three uses: decoding for people, comparison
// by meaning, and conversion to the other byte order. A field that the interface leaves unset in a record, or
// that only the driver writes, is the text "unset" and is not decoded.
//
// The decoded form is ordered JSON: objects keep the order of the record's fields and have their names.
// Numbers are numbers; types and statuses that have names are their names ("e_STATUS_ACTIVE"), a value
// without a name is its number; MAC addresses and their masks are "00:11:22:33:44:55", IP addresses
// "10.0.0.1". Bit sets whose bits have names (aclMask, ovrd, fwdAction) are lists, lowest bit first:
// ["AS_ENT_MASK_MAC_SA", "AS_ENT_MASK_IP"]; bits without a name follow as one number. Port and GEM masks are
// numbers. A handle is its index. Spare bytes do not appear. The configuration type of a setting is the name
// of the member that it sets: "flowMissAction"; "defAcl", "tpid", "pad".
#ifndef EMU_JOURNAL_RECORDS_H
#define EMU_JOURNAL_RECORDS_H

#include "emu/journal/words.h"
#include "qirapi/driver/request_table.h"

#include <nlohmann/json.hpp>

namespace orxemu::journal {

using Json = nlohmann::ordered_json;

constexpr const char *kUnset = "unset";

using qir::IndexKind;
using qir::RequestInfo;

// The record as it was sent: {"<field>": value, ...}, nested as the records are. `record` has
// info.recordSize bytes.
Json DecodeRecord(const RequestInfo &info, ByteView record, ByteOrder order);
// What the driver answered in the record: {"index": 3} for an assigned index, {"numFlows":1,"hits":[...]} for
// hit counters, {} for all else.
Json DecodeAnswer(const RequestInfo &info, ByteView record, ByteOrder order);

// The kinds of table that the hardware holds, in the order of their lines in a state. Here and below a table's
// `kind` is one of these.
struct TableKind {
    IndexKind kind;
    const char *name;
    const char *member;     // in a state
    std::size_t recordSize; // of the shadow record
};
constexpr TableKind kTableKinds[] = {
    {IndexKind::AsTable, "AS table", "asTable", sizeof(qir::AsTblInfo)},
    {IndexKind::DscpTable, "DSCP table", "dscpTable", sizeof(qir::DscpTblInfo)},
    {IndexKind::PacTable, "PAC table", "pacTable", sizeof(qir::PacTblInfo)},
};

// Whether a table has a row for each kind of table, in the order of IndexKind.
template <class Row, std::size_t N> constexpr bool HasRowPerTable(const Row (&rows)[N]) {
    std::size_t kind = static_cast<std::size_t>(IndexKind::AsTable);
    for (const Row &row : rows) {
        if (row.kind != static_cast<IndexKind>(kind++)) {
            return false;
        }
    }
    return kind == static_cast<std::size_t>(IndexKind::Flow);
}
template <class Row, std::size_t N> constexpr const Row &TableRow(const Row (&rows)[N], IndexKind kind) {
    return rows[static_cast<std::size_t>(kind) - static_cast<std::size_t>(IndexKind::AsTable)];
}
static_assert(HasRowPerTable(kTableKinds));

constexpr bool IsTable(IndexKind kind) {
    return kind != IndexKind::None && kind != IndexKind::Flow;
}

// Whole shadow records, as the state of the hardware holds them.
Json DecodeTable(IndexKind kind, ByteView record, ByteOrder order);
// 16 bytes of a rate limiter's configuration.
Json DecodeRlCfg(ByteView cfg, ByteOrder order);
// The 68 bytes of an update. They do not say whether they were set as a whole, but then there is a source
// port. Without one, what still has the fill pattern is "unset", as in an FCB.
Json DecodeFwdInfo(ByteView fwdInfo, ByteOrder order);

// 1884 bytes. {"status", "flowHdl", "hwFlowIdx", "section", "tables": [] or ["ep","pac"], "asOverride",
// "epTblHdl", "pbitsSource", "pacTblHdl", "filter": {"totalTags", "headers": [...]}, "action": {"totalTags",
// "pushedTags", "poppedTags", "headers": [...]}, "fwdInfoSet": 1, "forwarding": {...}}.
//
// Forwarding information that was not set as a whole (fwdInfoSet is not 1) is there too, because the driver
// gets it: what still has the fill pattern is "unset", in lists element by element. A header is {"header":
// "eth"|"vlan0"|"vlan1"|"vlan2"|"vlan3"|"pppoe"|"mpls"|"ipv4"|"tcp"|"udp", "requests": [{"type":
// "e_VLAN_FILT_VID", "cmpOp": "e_CMP_EQ", "val": 200}, ...]}, in the order of the request list. TCP and UDP
// follow "ipv4" when their lists have requests; they have no list when the pool of nodes ran out before.
//
// "val" of a MAC filter is {"addr", "mask"}, of an IP address {"addr", "prefixLen"}, of a MAC action
// "00:11:22:33:44:55", else a number; actions without a value have none. "val2" comes with e_CMP_IN_RANGE
// only. A request of an unknown type has its number and "raw", the value's bytes, instead of "val". Handles
// and pbitsSource are "unset" while their table is not associated. Tags 2 and 3 have no list.
//
// A damaged list (an index outside the pool, a circle that does not close) ends where the damage is, with
// {"damaged": "<what>"}: never a crash, never an endless walk.
Json DecodeFcb(ByteView fcb, ByteOrder order);
// Whether its forwarding information was set as a whole.
bool IsFwdInfoSet(ByteView fcb, ByteOrder order);

// The same bytes in the other byte order; unset fields and bytes behind a shorter value stay as they are.
void ConvertRecord(const RequestInfo &info, std::span<std::uint8_t> record, ByteOrder from);
void ConvertTable(IndexKind kind, std::span<std::uint8_t> record, ByteOrder from);
void ConvertRlCfg(std::span<std::uint8_t> cfg, ByteOrder from);
void ConvertFcb(std::span<std::uint8_t> fcb, ByteOrder from);

} // namespace orxemu::journal

#endif
