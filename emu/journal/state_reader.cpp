// Lines are read as in log_reader.cpp. Records are compared in the byte order of the file and converted after
// that.
#include "emu/journal/json_lines.h"
#include "emu/journal/log_lines.h"
#include "emu/journal/state_lines.h"
#include "qirapi/private/fcb_records.h"

#include <algorithm>
#include <memory>

namespace orxemu::journal {

namespace {

// What a setting can be, as the hardware accepts it.
constexpr std::uint32_t kMaxFlowMissAction = QIR_FLOWMISSACTION_MAX - 1;
constexpr std::uint32_t kMaxAclType = QIR_ACLTYPE_MAX - 1;
constexpr std::uint32_t kMaxPadLen = QIR_PADLEN_MAX - 1;
constexpr std::uint32_t kMaxRlStatus = QIR_RLSTATUS_MAX - 1;
constexpr std::uint32_t kMaxCirUnit = QIR_RLUNIT_MAX - 1;
constexpr std::uint32_t kMaxCirRate[QIR_RLUNIT_MAX] = {QIR_RLRATE_UNIT0_MAX - 1, QIR_RLRATE_UNIT1_MAX - 1};
constexpr std::uint32_t kMaxFlowPrio = QIR_FLOWPRIO_MAX - 1;
constexpr std::uint32_t kMaxFwdAction = e_FWD_ACTION_MAX - 1;

std::uint32_t Setting(const Json &object, const char *name, std::uint32_t max) {
    return static_cast<std::uint32_t>(NumberMember(object, name, 0, max));
}

// An array of as many numbers as `numbers` has.
template <class Number, std::size_t N>
void ReadNumbers(const Json &object, const char *name, Number (&numbers)[N]) {
    const Json &list = Member(object, name);
    if (!list.is_array() || list.size() != N) {
        throw Error{std::string(name) + " is no list of " + std::to_string(N) + " numbers"};
    }
    for (std::size_t i = 0; i < N; ++i) {
        Json element;
        element[name] = list[i];
        numbers[i] = static_cast<Number>(Setting(element, name, Number(-1)));
    }
}

// The number at `offset` of a record, under the name of its field.
std::uint32_t SettingAt(ByteView record, std::size_t offset, ByteOrder order, const char *name,
                        std::uint32_t max) {
    constexpr unsigned kWord = 4;
    Json setting;
    setting[name] = Load(record, offset, kWord, order);
    return Setting(setting, name, max);
}

// Forwarding information that nobody has set is not looked at by the hardware.
void ForwardingMustBeInRange(ByteView fcb, ByteOrder order) {
    constexpr std::size_t kFwdInfo = offsetof(qir::Fcb, fwdInfo);
    if (IsFwdInfoSet(fcb, order)) {
        SettingAt(fcb, kFwdInfo + offsetof(FwdInfo, flowPrio), order, "flowPrio", kMaxFlowPrio);
        SettingAt(fcb, kFwdInfo + offsetof(FwdInfo, fwdAction), order, "fwdAction", kMaxFwdAction);
    }
}

void RateMustBeInRange(ByteView cfg, ByteOrder order) {
    const std::uint32_t unit = SettingAt(cfg, offsetof(RlEnt, cirUnit), order, "cirUnit", kMaxCirUnit);
    SettingAt(cfg, offsetof(RlEnt, cirRate), order, "cirRate", kMaxCirRate[unit]);
}

class StateReader {
  public:
    StateReader(JsonLines &lines, OrxEmuState &state) : lines_(lines), state_(state) {}

    ByteOrder Read() {
        order_ = ReadHead(lines_, kStateFormat);
        ReadSettings();
        while (!ReadEnd(Next())) {
            ReadObject(line_);
            lines_.MustBeIntact();
        }
        lines_.MustBeIntact();
        if (!lines_.AtEnd()) {
            lines_.Next(line_);
            throw Error{"the state has ended before this line"};
        }
        return order_;
    }

  private:
    const Json &Next() {
        if (!lines_.Next(line_)) {
            throw Error{"the last line of the state is missing behind this one"};
        }
        ++objects_;
        return line_;
    }

    void MustSay(const Json &expected) const { MustBe(line_, expected, "the raw bytes say"); }

    // These are always there, in this order.
    void ReadSettings() {
        const Json &global = Member(Next(), "global");
        if (!global.is_object()) {
            throw Error{"global is no object"};
        }
        state_.flowMissAction = Setting(global, "flowMissAction", kMaxFlowMissAction);
        state_.rlStatus = Setting(global, "rlStatus", kMaxRlStatus);
        MustSay(GlobalJson(state_));
        lines_.MustBeIntact();
        for (unsigned port = 0; port < ORXEMU_PORTS; ++port) {
            MustBe(Member(Next(), "port"), port, "it has to be", "port");
            state_.portDefAcl[port] = Setting(line_, "defAcl", kMaxAclType);
            state_.portPadLen[port] = Setting(line_, "padLen", port < QIR_PADPORT_MAX ? kMaxPadLen : 0);
            ReadNumbers(line_, "tpid", state_.portTpid[port]);
            MustSay(PortJson(state_, port));
            lines_.MustBeIntact();
        }
        for (unsigned dir = 0; dir < ORXEMU_RL_DIRS; ++dir) {
            MustBe(Member(Next(), "rlTci"), dir, "it has to be", "rlTci");
            ReadNumbers(line_, "tci", state_.rlTci[dir]);
            MustSay(RlTciJson(state_, dir));
            lines_.MustBeIntact();
        }
    }

    void ReadObject(const Json &line) {
        std::size_t rank = 0;
        for (const TableKind &kind : kTableKinds) {
            if (line.contains(kind.member)) {
                ReadTable(kind, rank);
                return;
            }
            ++rank;
        }
        if (line.contains("flow")) {
            ReadFlow(rank);
        } else if (line.contains("rl")) {
            ReadRl(rank + 1);
        } else {
            throw Error{"the line is no object of a state"};
        }
    }

    // Objects stand in the order of their kinds and indexes, each once.
    std::size_t TakePlace(std::size_t rank, const char *member, std::size_t num) {
        const auto index =
            static_cast<std::size_t>(NumberMember(line_, member, 0, static_cast<int>(num) - 1));
        if (place_ >= std::pair(rank, index + 1)) {
            throw Error{std::string(member) + " " + std::to_string(index) + " is out of order"};
        }
        place_ = {rank, index + 1};
        return index;
    }

    void ReadTable(const TableKind &kind, std::size_t rank) {
        const std::span<OrxEmuTable> slots = TablesOf(state_, kind);
        const std::size_t index = TakePlace(rank, kind.member, slots.size());
        Bytes record = HexMember(line_, "raw", kind.recordSize);
        MustSay(TableJson(kind, index, record, order_));
        if (order_ != kHostOrder) {
            ConvertTable(kind.kind, record, order_);
        }
        slots[index].active = 1;
        std::ranges::copy(record, slots[index].record);
    }

    void ReadFlow(std::size_t rank) {
        const std::size_t index = TakePlace(rank, "flow", ORXEMU_FLOWS);
        OrxEmuFlow &flow = state_.flow[index];
        // A table may have been taken out of the hardware since the flow was activated with it.
        flow.pacTblIdx =
            static_cast<std::int32_t>(NumberMember(line_, "pacTblIdx", -1, ORXEMU_PAC_TABLES - 1));
        flow.epTblIdx = static_cast<std::int32_t>(NumberMember(line_, "epTblIdx", -1, -1));
        flow.numFlows = static_cast<std::uint32_t>(NumberMember(line_, "numFlows", 1, 1));
        ReadNumbers(line_, "hits", flow.hits);
        Bytes fcb = HexMember(line_, "fcbRaw", sizeof flow.fcb);
        MustSay(FlowJson(index, flow, fcb, order_));
        ForwardingMustBeInRange(fcb, order_);
        if (order_ != kHostOrder) {
            ConvertFcb(fcb, order_);
        }
        flow.active = 1;
        std::ranges::copy(fcb, flow.fcb);
    }

    void ReadRl(std::size_t rank) {
        const auto dir = static_cast<unsigned>(NumberMember(line_, "rl", 0, ORXEMU_RL_DIRS - 1));
        const auto index = static_cast<unsigned>(TakePlace(rank + dir, "index", ORXEMU_RL_INDEXES));
        OrxEmuRl &rl = state_.rl[dir][index];
        Bytes cfg = HexMember(line_, "raw", sizeof rl.record);
        MustSay(RlJson(dir, index, cfg, order_));
        RateMustBeInRange(cfg, order_);
        if (order_ != kHostOrder) {
            ConvertRlCfg(cfg, order_);
        }
        rl.active = 1;
        std::ranges::copy(cfg, rl.record);
    }

    // Whether this is the last line.
    bool ReadEnd(const Json &line) const {
        if (!line.contains("end")) {
            return false;
        }
        MustBe(line, StateEndJson(objects_ - 1), "the state has");
        return true;
    }

    JsonLines &lines_;
    OrxEmuState &state_;
    ByteOrder order_ = kHostOrder;
    Json line_;
    std::size_t objects_ = 0;
    std::pair<std::size_t, std::size_t> place_ = {0, 0};
};

} // namespace

bool ReadState(std::string_view text, const std::string &fileName, OrxEmuState &state,
               ByteOrder &writtenOrder, Problem &problem) {
    const auto read = std::make_unique<OrxEmuState>();
    JsonLines lines(text);
    try {
        writtenOrder = StateReader(lines, *read).Read();
        state = *read;
        return true;
    } catch (const Error &error) {
        problem = {fileName, std::max<std::size_t>(lines.line(), 1), error.what};
        return false;
    }
}

} // namespace orxemu::journal
