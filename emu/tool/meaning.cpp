#include "emu/tool/meaning.h"

#include "emu/journal/rule_text.h"

#include <map>
#include <optional>

namespace orxemu::tool {

namespace {

using journal::FaultMark;
using journal::IndexKind;
using journal::Json;
using journal::kHostOrder;
using journal::LogEntry;
using journal::RequestInfo;
using journal::TableKind;

std::optional<std::uint32_t> NumberIn(const Json &object, const char *name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number()) {
        return std::nullopt;
    }
    return found->is_number_unsigned() ? found->get<std::uint32_t>()
                                       : static_cast<std::uint32_t>(found->get<std::int32_t>());
}

constexpr std::uint32_t kNoTable = 0xFFFFFFFF;

// Which request assigned each index of the driver, as far as the log has been read.
class IndexOwners {
  public:
    void Assign(IndexKind kind, std::uint32_t index, std::size_t request) {
        owners_[{kind, index}] = {request, false};
    }
    void Release(IndexKind kind, std::uint32_t index) {
        if (const auto found = owners_.find({kind, index}); found != owners_.end()) {
            found->second.released = true;
        }
    }
    // Adds the leaf for an index that a request carries. An index that was assigned before the log began has
    // no owner here and is shown as its number.
    void AddReference(Meaning &meaning, const std::string &path, IndexKind kind, std::uint32_t index) const {
        const auto found = owners_.find({kind, index});
        if (found == owners_.end()) {
            meaning.leaves.push_back({path, "index " + std::to_string(index)});
            return;
        }
        meaning.references.push_back({meaning.leaves.size(), found->second.request, found->second.released});
        meaning.leaves.push_back({path, ""});
    }

  private:
    struct Owner {
        std::size_t request;
        bool released;
    };
    std::map<std::pair<IndexKind, std::uint32_t>, Owner> owners_;
};

void AddAnswer(const LogEntry &entry, Meaning &meaning) {
    if (entry.err != 0) {
        meaning.leaves.push_back({"answer.errno", journal::ErrnoName(entry)});
    }
    if (entry.fault != FaultMark::None) {
        meaning.leaves.push_back({"answer.fault", entry.fault == FaultMark::Fail ? "fail" : "answer-lost"});
    }
}

class LogReader {
  public:
    explicit LogReader(const journal::Log &log) : order_(log.order) {}

    Meaning Read(const LogEntry &entry, std::size_t position) {
        Meaning meaning;
        if (entry.isOpen) {
            meaning.kind = "open";
        } else if (const RequestInfo *info = qir::FindRequest(entry.request); info == nullptr) {
            meaning.kind = "request " + std::to_string(entry.request);
        } else if (!entry.recordRead) {
            meaning.kind = info->name;
            meaning.text = "(record not read)";
            meaning.leaves.push_back({"fields", "not read"});
        } else {
            ReadRequest(*info, entry, position, meaning);
        }
        meaning.title = meaning.kind;
        AddAnswer(entry, meaning);
        return meaning;
    }

  private:
    void ReadRequest(const RequestInfo &info, const LogEntry &entry, std::size_t position, Meaning &meaning) {
        const Json fields = journal::DecodeRecord(info, entry.in, order_);
        const Json fcb = entry.fcb.empty() ? Json() : journal::DecodeFcb(entry.fcb, order_);
        meaning.kind = info.name;
        meaning.text = journal::RequestText(info, fields, fcb);
        AddIndexes(info, fields, meaning);
        AddMeaning("fields", fields, meaning.leaves);
        if (info.copiesFcb && fcb.is_null()) {
            meaning.leaves.push_back({"fcb", "not read"});
        } else if (info.copiesFcb) {
            AddMeaning("fcb", fcb, meaning.leaves);
        }
        FollowIndex(info, entry, fields, position, meaning);
    }

    void AddIndexes(const RequestInfo &info, const Json &fields, Meaning &meaning) const {
        for (const char *name : {"index", "flowIdx"}) {
            if (const auto index = NumberIn(fields, name)) {
                owners_.AddReference(meaning, std::string("fields.") + name, info.index, *index);
            }
        }
        const auto pacTable = NumberIn(fields, "pacTblIdx");
        if (pacTable && *pacTable != kNoTable) {
            owners_.AddReference(meaning, "fields.pacTblIdx", IndexKind::PacTable, *pacTable);
        } else if (pacTable) {
            meaning.leaves.push_back({"fields.pacTblIdx", "none"});
        }
    }

    // What the answer tells, and what becomes of the index.
    void FollowIndex(const RequestInfo &info, const LogEntry &entry, const Json &fields, std::size_t position,
                     Meaning &meaning) {
        if (!journal::WasTaken(entry)) {
            return;
        }
        const Json answer =
            entry.out.empty() ? Json::object() : journal::DecodeAnswer(info, entry.out, order_);
        AddMeaning("answer", answer, meaning.leaves);
        if (const auto assigned = NumberIn(answer, "index"); assigned && info.assigns()) {
            owners_.Assign(info.index, *assigned, position);
        }
        if (info.releases()) {
            for (const char *name : {"index", "flowIdx"}) {
                if (const auto index = NumberIn(fields, name)) {
                    owners_.Release(info.index, *index);
                }
            }
        }
    }

    journal::ByteOrder order_;
    IndexOwners owners_;
};

// ---- States

Meaning Object(const std::string &kind, const std::string &name, const std::string &text,
               const Json &decoded) {
    Meaning meaning = {kind, name, "", text, {}, {}};
    AddMeaning("", decoded, meaning.leaves);
    return meaning;
}

void AddSettings(const OrxEmuState &state, Meanings &meanings) {
    meanings.push_back(Object("global", "global", "",
                              {{"flowMissAction", state.flowMissAction}, {"rlStatus", state.rlStatus}}));
    for (std::size_t port = 0; port < ORXEMU_PORTS; ++port) {
        const std::string name = "port " + std::to_string(port);
        meanings.push_back(Object(name, name, "",
                                  {{"defAcl", state.portDefAcl[port]},
                                   {"padLen", state.portPadLen[port]},
                                   {"tpid", state.portTpid[port]}}));
    }
    for (std::size_t dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        const std::string name = "rate limiting, direction " + std::to_string(dir);
        meanings.push_back(Object(name, name, "", {{"tci", state.rlTci[dir]}}));
    }
}

// For each index of a kind of table where its meaning stands.
using Positions = std::map<std::int32_t, std::size_t>;

Positions AddTables(const OrxEmuState &state, const TableKind &kind, Meanings &meanings) {
    const std::span<const OrxEmuTable> tables = journal::TablesOf(state, kind);
    Positions positions;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        if (tables[i].active == 0) {
            continue;
        }
        const Json decoded = journal::DecodeTable(kind.kind, tables[i].record, kHostOrder);
        positions[static_cast<std::int32_t>(i)] = meanings.size();
        meanings.push_back(Object(kind.name, kind.name + (" " + std::to_string(i)),
                                  journal::TableText(kind.kind, decoded), decoded));
    }
    return positions;
}

void AddFlows(const OrxEmuState &state, const Positions &pacTables, Meanings &meanings) {
    for (std::size_t i = 0; i < ORXEMU_FLOWS; ++i) {
        const OrxEmuFlow &flow = state.flow[i];
        if (flow.active == 0) {
            continue;
        }
        const Json fcb = journal::DecodeFcb(flow.fcb, kHostOrder);
        Meaning meaning = Object(
            "flow", "flow " + std::to_string(i), journal::RuleText(fcb),
            {{"epTblIdx", flow.epTblIdx}, {"numFlows", flow.numFlows}, {"hits", flow.hits}, {"fcb", fcb}});
        if (const auto found = pacTables.find(flow.pacTblIdx); found != pacTables.end()) {
            meaning.references.push_back({meaning.leaves.size(), found->second, false});
            meaning.leaves.push_back({"pacTable", ""});
        } else {
            // A table may be taken away while a flow uses it.
            meaning.leaves.push_back({"pacTable", flow.pacTblIdx < 0 ? "none" : "not active"});
        }
        meanings.push_back(std::move(meaning));
    }
}

void AddLimiters(const OrxEmuState &state, Meanings &meanings) {
    for (std::size_t dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        for (std::size_t i = 0; i < ORXEMU_RL_INDEXES; ++i) {
            const OrxEmuRl &limiter = state.rl[dir][i];
            if (limiter.active != 0) {
                const std::string name =
                    "rate limiter " + std::to_string(i) + " of direction " + std::to_string(dir);
                const Json decoded = journal::DecodeRlCfg(limiter.record, kHostOrder);
                meanings.push_back(Object(name, name, journal::RlText(decoded), decoded));
            }
        }
    }
}

} // namespace

Meanings MeaningOf(const journal::Log &log) {
    Meanings meanings;
    LogReader reader(log);
    for (const LogEntry &entry : log.entries) {
        meanings.push_back(reader.Read(entry, meanings.size()));
        meanings.back().name = std::to_string(meanings.size());
    }
    // The requests and openings are compared one by one: the end adds only the open descriptors.
    Meaning end = {"end", "end", "", "", {}, {}};
    end.leaves.push_back({"openDescriptors", std::to_string(log.end.openDescriptors)});
    meanings.push_back(std::move(end));
    return meanings;
}

Meanings MeaningOf(const OrxEmuState &state) {
    Meanings meanings;
    AddSettings(state, meanings);
    Positions pacTables;
    for (const TableKind &kind : journal::kTableKinds) {
        Positions positions = AddTables(state, kind, meanings);
        if (kind.kind == IndexKind::PacTable) {
            pacTables = std::move(positions);
        }
    }
    AddFlows(state, pacTables, meanings);
    AddLimiters(state, meanings);
    return meanings;
}

void NameReferences(Meanings &meanings, const std::function<std::string(std::size_t)> &name) {
    for (Meaning &meaning : meanings) {
        for (const Reference &reference : meaning.references) {
            meaning.leaves[reference.leaf].text =
                name(reference.target) + (reference.released ? ", taken out before" : "");
        }
    }
}

} // namespace orxemu::tool
