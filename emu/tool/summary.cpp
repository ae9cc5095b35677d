#include "emu/tool/summary.h"

#include "emu/tool/terminal.h"

#include <algorithm>
#include <span>

namespace orxemu::tool {

namespace {

// "0-3 7", or "-" when none is active.
template <class Slot> std::string ActiveIndexes(std::span<const Slot> slots) {
    std::string text;
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i].active == 0) {
            continue;
        }
        const std::size_t first = i;
        while (i + 1 < slots.size() && slots[i + 1].active != 0) {
            ++i;
        }
        text +=
            (text.empty() ? "" : " ") + std::to_string(first) + (i > first ? "-" + std::to_string(i) : "");
    }
    return text.empty() ? "-" : text;
}

template <class Slot> void AddObjects(Columns &table, const char *kind, std::span<const Slot> slots) {
    const auto active =
        std::count_if(slots.begin(), slots.end(), [](const Slot &slot) { return slot.active != 0; });
    table.AddRow({{kind},
                  {std::to_string(active), Colour::Plain, true},
                  {std::to_string(slots.size()), Colour::Plain, true},
                  {ActiveIndexes(slots)}});
}

std::string Hex16(std::uint16_t value) {
    constexpr const char *kDigits = "0123456789abcdef";
    std::string text = "0x0000";
    for (std::size_t i = 0; i < 4; ++i) {
        text[5 - i] = kDigits[value >> (4 * i) & 0xF];
    }
    return text;
}

void AddSetting(Columns &table, const std::string &what, std::uint32_t value) {
    if (value != 0) {
        table.AddRow({{what}, {std::to_string(value), Colour::Plain, true}});
    }
}

// Words of 16 bits that belong together; nothing when all are 0.
void AddWords(Columns &table, const std::string &what, std::span<const std::uint16_t> words) {
    if (std::all_of(words.begin(), words.end(), [](std::uint16_t word) { return word == 0; })) {
        return;
    }
    std::string text;
    for (const std::uint16_t word : words) {
        text += (text.empty() ? "" : " ") + Hex16(word);
    }
    table.AddRow({{what}, {text}});
}

} // namespace

std::string SummaryText(const OrxEmuState &state) {
    Columns table;
    table.AddRow({{"what the hardware holds"}, {"active"}, {"of", Colour::Plain, true}, {"indexes"}});
    AddObjects<OrxEmuTable>(table, "AS tables", state.asTbl);
    AddObjects<OrxEmuTable>(table, "DSCP tables", state.dscpTbl);
    AddObjects<OrxEmuTable>(table, "PAC tables", state.pacTbl);
    AddObjects<OrxEmuFlow>(table, "flows", state.flow);
    for (int dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        const std::string kind = "rate limiters, direction " + std::to_string(dir);
        AddObjects<OrxEmuRl>(table, kind.c_str(), state.rl[dir]);
    }
    AddSetting(table, "flow-miss action", state.flowMissAction);
    AddSetting(table, "rate-limiter status", state.rlStatus);
    for (int dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
        AddWords(table, "TCI, direction " + std::to_string(dir), state.rlTci[dir]);
    }
    for (int port = 0; port < ORXEMU_PORTS; ++port) {
        const std::string prefix = "port " + std::to_string(port) + " ";
        AddSetting(table, prefix + "default ACL", state.portDefAcl[port]);
        AddSetting(table, prefix + "pad length", state.portPadLen[port]);
        AddWords(table, prefix + "TPIDs", state.portTpid[port]);
    }
    return table.Text(false);
}

} // namespace orxemu::tool
