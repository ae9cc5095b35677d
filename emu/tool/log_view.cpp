#include "emu/tool/log_view.h"

#include "emu/journal/phrases.h"
#include "emu/journal/rule_text.h"
#include "emu/tool/leaves.h"
#include "qirapi/driver/driver_records.h"

namespace orxemu::tool {

namespace {

using journal::FaultMark;
using journal::Json;
using journal::LogEntry;
using journal::RequestInfo;

// A request or an opening as its columns show it.
struct View {
    std::string name;
    std::string text;
    std::string answer;
    Leaves fields;
};

std::string Counted(std::size_t count, const std::string &what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string HitsText(const Json &answer) {
    return journal::FieldText("hits", answer.value("hits", Json::array())) + " (" +
           Counted(answer.value("numFlows", std::size_t{0}), "flow") + ")";
}

std::string ErrorText(const LogEntry &entry) {
    const std::string err = journal::ErrnoName(entry);
    switch (entry.fault) {
    case FaultMark::Fail:
        return err + " (fault)";
    case FaultMark::AnswerLost:
        return err + " (fault: answer lost)";
    case FaultMark::None:
        break;
    }
    return err;
}

// What the driver gave back and, of a request that failed, why.
std::string AnswerText(const LogEntry &entry, const Json &answer) {
    const bool taken = entry.err == 0 || entry.fault == FaultMark::AnswerLost;
    std::string text;
    if (taken && answer.contains("index")) {
        text = "→ " + journal::FieldText("index", answer["index"]);
    } else if (taken && answer.contains("hits")) {
        text = "→ " + HitsText(answer);
    }
    if (entry.err != 0) {
        text += (text.empty() ? "" : ", ") + ErrorText(entry);
    }
    return text;
}

void Append(Leaves &leaves, Leaves more) {
    leaves.insert(leaves.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

View ViewOf(const LogEntry &entry, journal::ByteOrder order) {
    if (entry.isOpen) {
        return {"open", qir::kPktOrxDevice, ErrorText(entry), {}};
    }
    const RequestInfo *info = qir::FindRequest(entry.request);
    if (info == nullptr) {
        return {
            "request " + std::to_string(entry.request), "(unknown)", AnswerText(entry, Json::object()), {}};
    }
    if (!entry.recordRead) {
        return {info->name, "(the record could not be read)", AnswerText(entry, Json::object()), {}};
    }
    const Json record = journal::DecodeRecord(*info, entry.in, order);
    const Json fcb = entry.fcb.empty() ? Json() : journal::DecodeFcb(entry.fcb, order);
    const Json answer = entry.out.empty() ? Json::object() : journal::DecodeAnswer(*info, entry.out, order);
    View view = {info->name, journal::RequestText(*info, record, fcb), AnswerText(entry, answer),
                 AllFields("", record)};
    if (!fcb.is_null()) {
        Append(view.fields, AllFields("fcb", fcb));
    }
    return view;
}

void AddFields(const Leaves &fields, Columns &columns) {
    for (const Leaf &field : fields) {
        columns.AddLine("      " + field.path + ": " + field.text, field.unset ? Colour::Dim : Colour::Plain);
    }
}

std::string EndText(const journal::Log &log) {
    const auto isRefused = [](const LogEntry &entry) { return !entry.isOpen && entry.err != 0; };
    std::size_t refused = 0;
    for (const LogEntry &entry : log.entries) {
        refused += isRefused(entry) ? 1 : 0;
    }
    return Counted(log.end.requests, "request") + " (" + std::to_string(refused) + " failed), " +
           Counted(log.end.failedOpens, "failed opening") + ", " +
           Counted(static_cast<std::size_t>(log.end.openDescriptors), "descriptor") + " left open, " +
           journal::NameOf(log.order) + "-endian";
}

// ---- States

// Rows of objects, with what they hold.
class StateRows {
  public:
    StateRows(Columns &columns, bool verbose) : columns_(columns), verbose_(verbose) {}

    void Add(std::string name, std::string text, const Json &decoded, std::string extra = "") {
        columns_.AddRow({{std::move(name), Colour::Bold}, {std::move(text)}, {std::move(extra)}});
        if (verbose_) {
            AddFields(AllFields("", decoded), columns_);
        }
    }
    // A setting that is 0 has no line.
    void AddSetting(const std::string &name, const std::string &text) {
        columns_.AddRow({{name, Colour::Bold}, {text}});
    }

  private:
    Columns &columns_;
    bool verbose_;
};

bool IsSet(std::span<const std::uint16_t> words) {
    for (const std::uint16_t word : words) {
        if (word != 0) {
            return true;
        }
    }
    return false;
}

std::string TciText(const char *what, std::span<const std::uint16_t> words) {
    Json list = Json::array();
    for (const std::uint16_t word : words) {
        list.push_back(word);
    }
    return std::string(what) + " " + journal::FieldText("tpid", list);
}

void AddSettings(const OrxEmuState &state, StateRows &rows) {
    if (state.flowMissAction != 0) {
        rows.AddSetting("global", "flow-miss action " + std::to_string(state.flowMissAction));
    }
    if (state.rlStatus != 0) {
        rows.AddSetting("global", "rate limiting enabled");
    }
    for (unsigned port = 0; port < ORXEMU_PORTS; ++port) {
        const std::string name = journal::PortName(port);
        if (state.portDefAcl[port] != 0) {
            rows.AddSetting(name, "default acl " + std::to_string(state.portDefAcl[port]));
        }
        if (state.portPadLen[port] != 0) {
            rows.AddSetting(name, "pad length " + std::to_string(state.portPadLen[port]));
        }
        if (IsSet(state.portTpid[port])) {
            rows.AddSetting(name, TciText("tpid", state.portTpid[port]));
        }
    }
    for (std::size_t dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        if (IsSet(state.rlTci[dir])) {
            rows.AddSetting("direction " + std::to_string(dir), TciText("tci", state.rlTci[dir]));
        }
    }
}

std::size_t AddTables(const OrxEmuState &state, const journal::TableKind &kind, StateRows &rows) {
    const std::span<const OrxEmuTable> tables = journal::TablesOf(state, kind);
    std::size_t count = 0;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (tables[i].active != 0) {
            const Json decoded = journal::DecodeTable(kind.kind, tables[i].record, journal::kHostOrder);
            rows.Add(kind.name + (" " + std::to_string(i)), journal::TableText(kind.kind, decoded), decoded);
            ++count;
        }
    }
    return count;
}

std::string FlowExtra(const OrxEmuFlow &flow) {
    std::string extra;
    if (flow.pacTblIdx >= 0) {
        extra = "on PAC table " + std::to_string(flow.pacTblIdx);
    }
    Json hits = Json::array();
    bool hit = false;
    for (const std::uint32_t count : flow.hits) {
        hits.push_back(count);
        hit = hit || count != 0;
    }
    if (hit) {
        extra += (extra.empty() ? "hits " : ", hits ") + journal::FieldText("hits", hits);
    }
    return extra;
}

std::size_t AddFlows(const OrxEmuState &state, StateRows &rows) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < ORXEMU_FLOWS; ++i) {
        const OrxEmuFlow &flow = state.flow[i];
        if (flow.active != 0) {
            const Json fcb = journal::DecodeFcb(flow.fcb, journal::kHostOrder);
            rows.Add("flow " + std::to_string(i), journal::RuleText(fcb), fcb, FlowExtra(flow));
            ++count;
        }
    }
    return count;
}

std::size_t AddLimiters(const OrxEmuState &state, StateRows &rows) {
    std::size_t count = 0;
    for (std::size_t dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        for (std::size_t i = 0; i < ORXEMU_RL_INDEXES; ++i) {
            if (state.rl[dir][i].active != 0) {
                const Json cfg = journal::DecodeRlCfg(state.rl[dir][i].record, journal::kHostOrder);
                rows.Add("rate limiter " + std::to_string(dir) + "/" + std::to_string(i),
                         journal::RlText(cfg), cfg);
                ++count;
            }
        }
    }
    return count;
}

} // namespace

Columns LogView(const journal::Log &log, bool verbose) {
    Columns columns;
    std::size_t n = 0;
    for (const LogEntry &entry : log.entries) {
        const View view = ViewOf(entry, log.order);
        columns.AddRow({{std::to_string(++n), Colour::Dim, true},
                        {view.name, Colour::Bold},
                        {view.text},
                        {view.answer, entry.err != 0 ? Colour::Red : Colour::Green}});
        if (verbose) {
            AddFields(view.fields, columns);
        }
    }
    if (log.complete) {
        columns.AddLine(EndText(log), Colour::Plain);
    }
    return columns;
}

Columns StateView(const OrxEmuState &state, bool verbose) {
    Columns columns;
    StateRows rows(columns, verbose);
    AddSettings(state, rows);
    std::size_t tables = 0;
    for (const journal::TableKind &kind : journal::kTableKinds) {
        tables += AddTables(state, kind, rows);
    }
    const std::size_t flows = AddFlows(state, rows);
    const std::size_t limiters = AddLimiters(state, rows);
    columns.AddLine(Counted(tables, "table") + ", " + Counted(flows, "flow") + ", " +
                        Counted(limiters, "rate limiter"),
                    Colour::Plain);
    return columns;
}

} // namespace orxemu::tool
