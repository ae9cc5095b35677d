// Flows, tables and requests in a line that people read.
#ifndef EMU_JOURNAL_RULE_TEXT_H
#define EMU_JOURNAL_RULE_TEXT_H

#include "emu/journal/records.h"

#include <string>
#include <string_view>

namespace orxemu::journal {

// A decoded FCB as a rule: "in uni0 vlan 200 ip → set vid 1200 → gpon gem 3 q7". What the flow matches, what
// it rewrites, where it forwards to. An empty part is left out together with its arrow; a flow whose
// forwarding nobody has set ends in "→ nowhere". What is unusual follows the destination: forwarding flags
// other than the override of the address table, "forwarding-not-set" when there is a destination although
// forwarding information was not set as a whole, priority, tables, address-screening override, section.
std::string RuleText(const Json &fcb);

// Follows the destination of forwarding information that was not set as a whole.
constexpr std::string_view kForwardingNotSet = "forwarding-not-set";

// Source and destination of decoded forwarding information: "uni0" and "gpon gem 3 q7".
std::string SourceText(const Json &fwdInfo);
std::string DestinationText(const Json &fwdInfo);

// A decoded table as its ports and settings, with its entries counted. `kind` is one of the three tables.
std::string TableText(IndexKind kind, const Json &table);

// Decoded configuration of a rate limiter.
std::string RlText(const Json &cfg);

// One line for a request of any kind, without its number and name: "port 3 tpid 0x8100 0x88a8 0x9100 0x0000".
// `fcb` is null for requests that copy none.
std::string RequestText(const RequestInfo &info, const Json &record, const Json &fcb);

// One value of a decoded object as people read it, by the name of its field: masks and types of frames in
// hexadecimal, lists in a line, text as it is. The value of a filter or action goes by the name of its type.
std::string FieldText(std::string_view field, const Json &value);

} // namespace orxemu::journal

#endif
