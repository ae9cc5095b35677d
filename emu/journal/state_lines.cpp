#include "emu/journal/state_lines.h"

#include "emu/journal/json_lines.h"
#include "emu/journal/log_lines.h"

namespace orxemu::journal {

namespace {

// Slot is an OrxEmuTable, or a const one of a const state.
template <class Slot, class State> std::span<Slot> SlotsOf(State &state, IndexKind kind) {
    const struct {
        IndexKind kind;
        std::span<Slot> slots;
    } rows[] = {
        {IndexKind::AsTable, state.asTbl},
        {IndexKind::DscpTable, state.dscpTbl},
        {IndexKind::PacTable, state.pacTbl},
    };
    static_assert(std::size(rows) == std::size(kTableKinds));
    return TableRow(rows, kind).slots;
}

// Writes lines and counts them.
class Text {
  public:
    void Add(const Json &object) {
        text_ += LineOf(object);
        ++objects_;
    }
    std::string End() const {
        return HeadLine(kStateFormat, kHostOrder) + text_ + LineOf(StateEndJson(objects_));
    }

  private:
    std::string text_;
    std::size_t objects_ = 0;
};

void AddTables(Text &text, const OrxEmuState &state, const TableKind &kind) {
    const std::span<const OrxEmuTable> slots = TablesOf(state, kind);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i].active != 0) {
            text.Add(TableJson(kind, i, ByteView(slots[i].record).first(kind.recordSize), kHostOrder));
        }
    }
}

void AddRls(Text &text, const OrxEmuState &state, unsigned dir) {
    for (unsigned i = 0; i < ORXEMU_RL_INDEXES; ++i) {
        if (state.rl[dir][i].active != 0) {
            text.Add(RlJson(dir, i, state.rl[dir][i].record, kHostOrder));
        }
    }
}

} // namespace

std::span<const OrxEmuTable> TablesOf(const OrxEmuState &state, const TableKind &kind) {
    return SlotsOf<const OrxEmuTable>(state, kind.kind);
}
std::span<OrxEmuTable> TablesOf(OrxEmuState &state, const TableKind &kind) {
    return SlotsOf<OrxEmuTable>(state, kind.kind);
}

Json GlobalJson(const OrxEmuState &state) {
    Json settings;
    settings["flowMissAction"] = state.flowMissAction;
    settings["rlStatus"] = state.rlStatus;
    Json line;
    line["global"] = std::move(settings);
    return line;
}

Json PortJson(const OrxEmuState &state, unsigned port) {
    Json line;
    line["port"] = port;
    line["defAcl"] = state.portDefAcl[port];
    line["padLen"] = state.portPadLen[port];
    line["tpid"] = state.portTpid[port];
    return line;
}

Json RlTciJson(const OrxEmuState &state, unsigned dir) {
    Json line;
    line["rlTci"] = dir;
    line["tci"] = state.rlTci[dir];
    return line;
}

Json TableJson(const TableKind &kind, std::size_t index, ByteView record, ByteOrder order) {
    Json line;
    line[kind.member] = index;
    line["fields"] = DecodeTable(kind.kind, record, order);
    line["raw"] = ToHex(record);
    return line;
}

Json FlowJson(std::size_t index, const OrxEmuFlow &flow, ByteView fcb, ByteOrder order) {
    Json line;
    line["flow"] = index;
    line["pacTblIdx"] = flow.pacTblIdx;
    line["epTblIdx"] = flow.epTblIdx;
    line["numFlows"] = flow.numFlows;
    line["hits"] = flow.hits;
    line["fcb"] = DecodeFcb(fcb, order);
    line["fcbRaw"] = ToHex(fcb);
    return line;
}

Json RlJson(unsigned dir, unsigned index, ByteView cfg, ByteOrder order) {
    Json line;
    line["rl"] = dir;
    line["index"] = index;
    line["fields"] = DecodeRlCfg(cfg, order);
    line["raw"] = ToHex(cfg);
    return line;
}

Json StateEndJson(std::size_t objects) {
    Json counts;
    counts["objects"] = objects;
    Json line;
    line["end"] = std::move(counts);
    return line;
}

std::string StateText(const OrxEmuState &state) {
    Text text;
    text.Add(GlobalJson(state));
    for (unsigned port = 0; port < ORXEMU_PORTS; ++port) {
        text.Add(PortJson(state, port));
    }
    for (unsigned dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        text.Add(RlTciJson(state, dir));
    }
    for (const TableKind &kind : kTableKinds) {
        AddTables(text, state, kind);
    }
    for (std::size_t i = 0; i < ORXEMU_FLOWS; ++i) {
        if (state.flow[i].active != 0) {
            text.Add(FlowJson(i, state.flow[i], state.flow[i].fcb, kHostOrder));
        }
    }
    for (unsigned dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        AddRls(text, state, dir);
    }
    return text.End();
}

} // namespace orxemu::journal
