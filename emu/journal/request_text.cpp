// Settings, tables and rate limiters in a line; flows are told by their rules.
#include "emu/journal/rule_text.h"

#include "emu/journal/fcb_requests.h"
#include "emu/journal/phrases.h"

#include <algorithm>
#include <vector>

namespace orxemu::journal {

namespace {

// Fields that people know in hexadecimal, with their digits: masks and what stands in frames.
struct HexField {
    std::string_view name;
    unsigned digits;
};
constexpr HexField kHexFields[] = {
    {"gemPortIdxMask", 1}, {"portMask", 1}, {"srcPortMask", 1}, {"ethType", 4},
    {"tpid", 4},           {"tci", 4},      {"fcbAddr", 8},     {"hwTblIdx", 1},
};

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
    return std::to_string(count) + " " + std::string(count == 1 ? one : many);
}

// Digits of the field in hexadecimal; 0 when it is told in another way.
unsigned HexDigits(std::string_view field) {
    for (const HexField &row : kHexFields) {
        if (row.name == field) {
            return row.digits;
        }
    }
    const TypeRow *type = FindType(field);
    return type != nullptr ? HexDigits(*type) : 0;
}

// ---- Tables

std::string AsTableText(const Json &table) {
    const Json &entries = Member(table, "ent");
    const auto used = std::count_if(entries.begin(), entries.end(),
                                    [](const Json &slot) { return Member(slot, "ent").is_object(); });
    return PortsText(Number(Member(table, "cfg"), "srcPortMask")) + ", " +
           Counted(static_cast<std::size_t>(used), "entry", "entries");
}

// Rows that say something else than the usual, those that say the same together: "dscp 4-7 pbits 1".
void AddOwnRows(const Json &rows, const Json &usual, std::string_view key, std::string (*text)(const Json &),
                Phrase &to) {
    std::vector<const Json *> said = {&usual};
    for (const Json &row : rows) {
        const auto isRow = [&row](const Json *other) { return *other == row; };
        if (std::any_of(said.begin(), said.end(), isRow)) {
            continue;
        }
        said.push_back(&row);
        std::vector<unsigned> numbers;
        for (unsigned number = 0; number < rows.size(); ++number) {
            if (rows[number] == row) {
                numbers.push_back(number);
            }
        }
        to.Add(std::string(key) + " " + NumbersText(numbers) + " " + text(row));
    }
}

std::string PbitsText(const Json &pbits) {
    return "pbits " + PlainText(pbits);
}

std::string DscpTableText(const Json &table) {
    const Json &cfg = Member(table, "cfg");
    const Json &usual = Member(cfg, "pbits");
    Phrase text("; ");
    text.Add(PortName(Member(cfg, "srcPort")) + " " + PbitsText(usual));
    AddOwnRows(Member(table, "pbits"), usual, "dscp", PbitsText, text);
    return text.Text();
}

// What an entry of a PAC table overrides.
std::string PacEntryText(const Json &entry) {
    Phrase text;
    for (const Json &bit : Member(entry, "ovrd")) {
        if (bit == "PAC_OVRD_DSTGEMPORT") {
            text.Add("gem " + PlainText(Member(entry, "dstGemPort")));
        } else if (bit == "PAC_OVRD_DSTQID_A" || bit == "PAC_OVRD_DSTQID_B") {
            text.Add("q" + PlainText(Member(entry, "dstQid")));
        } else {
            text.Add("ovrd " + PlainText(bit));
        }
    }
    const Json &actions = Member(entry, "rawAction");
    const auto raw = std::count_if(actions.begin(), actions.end(),
                                   [](const Json &action) { return Number(action, "type") != 0; });
    text.Add(raw == 0 ? "" : Counted(static_cast<std::size_t>(raw), "raw action", "raw actions"));
    return text.IsEmpty() ? "no override" : text.Text();
}

std::string PacTableText(const Json &table) {
    const Json &cfg = Member(table, "cfg");
    Phrase text("; ");
    text.Add(PacEntryText(cfg));
    AddOwnRows(Member(table, "ent"), cfg, "pbits", PacEntryText, text);
    return text.Text();
}

// ---- Requests

std::string PortSetting(const Json &record) {
    const Json &type = Member(record, "cfgType");
    if (type == "tpid") {
        const Json &tpid = Member(record, "tpid");
        return PortName(Member(tpid, "portId")) + " tpid " + FieldText("tpid", Member(tpid, "tpid"));
    }
    if (type == "defAcl") {
        const Json &acl = Member(record, "defAcl");
        return PortName(Member(acl, "srcPort")) + " default acl " + PlainText(Member(acl, "aclType"));
    }
    if (type == "pad") {
        const Json &pad = Member(record, "pad");
        return PortName(Member(pad, "srcPort")) + " pad length " + PlainText(Member(pad, "padLen"));
    }
    return "configuration type " + PlainText(type);
}

std::string GlobalSetting(const Json &record) {
    const Json &type = Member(record, "cfgType");
    const std::string value = PlainText(Member(record, "flowMissAction"));
    return type == "flowMissAction" ? "flow-miss action " + value
                                    : "configuration type " + PlainText(type) + " value " + value;
}

std::string RlStatusText(const Json &record) {
    const Json &status = Member(record, "rlStatus");
    if (status == 0) {
        return "disabled";
    }
    return status == 1 ? "enabled" : "status " + PlainText(status);
}

std::string RlName(const Json &record) {
    return "direction " + PlainText(Member(record, "rlDir")) + " limiter " +
           PlainText(Member(record, "rlIndex"));
}

// A destination may be added to forwarding that was not set as a whole, which has no source.
std::string ForwardingUpdate(const Json &record) {
    const Json &fwdInfo = Member(record, "fwdInfo");
    const bool isSet = Number(Member(fwdInfo, "src"), "portMask") != 0;
    const Json &prio = Member(fwdInfo, "flowPrio");
    Phrase text;
    text.Add("flow " + PlainText(Member(record, "flowIdx")) + ":");
    text.Add(isSet ? "in " + SourceText(fwdInfo) : "");
    text.Add("→ " + DestinationText(fwdInfo));
    text.Add(isSet ? "" : kForwardingNotSet);
    text.Add(prio == 0 ? "" : "prio " + PlainText(prio));
    return text.Text();
}

// What stands in front of a request that names an object; of one that activates it nothing.
std::string Named(const RequestInfo &info, const char *object, const Json &index) {
    return info.assigns() ? "" : object + (" " + PlainText(index)) + ": ";
}

struct TableTextRow {
    IndexKind kind;
    std::string (*text)(const Json &table);
};
constexpr TableTextRow kTableTexts[] = {
    {IndexKind::AsTable, AsTableText},
    {IndexKind::DscpTable, DscpTableText},
    {IndexKind::PacTable, PacTableText},
};
static_assert(HasRowPerTable(kTableTexts));

} // namespace

std::string TableText(IndexKind kind, const Json &table) {
    const TableTextRow &row = TableRow(kTableTexts, kind);
    return row.text(table);
}

std::string RlText(const Json &cfg) {
    return "rate " + PlainText(Member(cfg, "cirRate")) + " unit " + PlainText(Member(cfg, "cirUnit")) +
           " burst " + PlainText(Member(cfg, "cbs")) + " tci " + HexText(Member(cfg, "tci"), 4);
}

std::string RequestText(const RequestInfo &info, const Json &record, const Json &fcb) {
    switch (info.number) {
    case qir::kOrxSetGblCfg:
        return GlobalSetting(record);
    case qir::kOrxSetPortCfg:
        return PortSetting(record);
    case qir::kOrxActivateAsTbl:
    case qir::kOrxDeactivateAsTbl:
    case qir::kOrxActivateDscpTbl:
    case qir::kOrxDeactivateDscpTbl:
    case qir::kOrxActivatePacTbl:
    case qir::kOrxDeactivatePacTbl:
        return Named(info, "index", Member(record, "index")) + TableText(info.index, Member(record, "tbl"));
    case qir::kOrxActivateFlow:
    case qir::kOrxDeactivateFlow:
        return Named(info, "flow", Member(record, "flowIdx")) + (fcb.is_null() ? "(no FCB)" : RuleText(fcb));
    case qir::kOrxGetFlowHits:
        return "flow " + PlainText(Member(record, "flowIdx"));
    case qir::kOrxSetRlStatus:
        return RlStatusText(record);
    case qir::kOrxSetRlTciCfg:
        return "direction " + PlainText(Member(record, "rlDir")) + " tci " +
               FieldText("tci", Member(Member(record, "rlTciCfg"), "tci"));
    case qir::kOrxActivateRl:
        return RlName(record) + " " + RlText(Member(record, "rlEnt"));
    case qir::kOrxDeactivateRl:
        return RlName(record);
    case qir::kOrxUpdateFwdInfo:
        break;
    }
    return ForwardingUpdate(record);
}

std::string FieldText(std::string_view field, const Json &value) {
    const unsigned digits = HexDigits(field);
    if (digits == 0) {
        return PlainText(value);
    }
    if (!value.is_array()) {
        return HexText(value, digits);
    }
    Phrase text;
    for (const Json &element : value) {
        text.Add(HexText(element, digits));
    }
    return text.Text();
}

} // namespace orxemu::journal
