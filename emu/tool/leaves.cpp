#include "emu/tool/leaves.h"

#include "emu/journal/rule_text.h"

#include <algorithm>
#include <array>
#include <map>

namespace orxemu::tool {

namespace {

using journal::FieldText;
using journal::Json;

// Indexes of the driver, addresses, and the library's own names of its objects.
constexpr std::array<std::string_view, 10> kNoMeaning = {"index",     "flowIdx",  "hwTblIdx", "hwFlowIdx",
                                                         "fcbAddr",   "hdl",      "flowHdl",  "epTblHdl",
                                                         "pacTblHdl", "pacTblIdx"};
// Lists of names: one value.
constexpr std::array<std::string_view, 4> kSets = {"aclMask", "ovrd", "fwdAction", "tables"};

template <std::size_t N> bool IsOneOf(const std::array<std::string_view, N> &names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string Below(const std::string &path, std::string_view name) {
    return path.empty() ? std::string(name) : path + "." + std::string(name);
}

bool IsListOfRecords(const Json &list) {
    return !list.empty() && (list.front().is_object() || list.front().is_array());
}

class Walker {
  public:
    Walker(Leaves &leaves, bool meaningOnly) : leaves_(leaves), meaningOnly_(meaningOnly) {}

    void Walk(const std::string &path, std::string_view field, const Json &value) {
        if (value == journal::kUnset) {
            if (!meaningOnly_) {
                leaves_.push_back({path, journal::kUnset, true});
            }
        } else if (value.is_object()) {
            WalkMembers(path, value);
        } else if (value.is_array() && field == "headers") {
            WalkHeaders(path, value);
        } else if (value.is_array() && (IsListOfRecords(value) || (meaningOnly_ && !IsOneOf(kSets, field)))) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                Walk(path + "[" + std::to_string(i) + "]", field, value[i]);
            }
        } else {
            leaves_.push_back({path, FieldText(field, value)});
        }
    }

  private:
    void WalkMembers(const std::string &path, const Json &object) {
        for (const auto &[name, value] : object.items()) {
            if (!meaningOnly_ || !IsOneOf(kNoMeaning, name)) {
                // Headers are told by their names.
                Walk(name == "headers" ? path : Below(path, name), name, value);
            }
        }
    }

    void WalkHeaders(const std::string &path, const Json &headers) {
        const bool isFilter = path.ends_with("filter");
        for (const Json &header : headers) {
            const std::string name = header.value("header", "header");
            WalkRequests(Below(path, name), header.value("requests", Json::array()), isFilter);
        }
    }

    void WalkRequests(const std::string &path, Json requests, bool isFilter) {
        if (isFilter && meaningOnly_) {
            std::stable_sort(requests.begin(), requests.end(),
                             [](const Json &a, const Json &b) { return a.dump() < b.dump(); });
        }
        std::map<std::string, unsigned> seen;
        std::string order;
        const std::size_t head = leaves_.size();
        leaves_.push_back({path, "allocated"});
        for (const Json &request : requests) {
            if (request.contains("damaged")) {
                leaves_.push_back({Below(path, "damaged"), FieldText("", request["damaged"])});
                continue;
            }
            std::string type = FieldText("type", request.value("type", Json()));
            order += (order.empty() ? "" : " ") + type;
            const unsigned count = ++seen[type];
            const std::string place = Below(path, type) + (count > 1 ? "#" + std::to_string(count) : "");
            for (const auto &[name, value] : request.items()) {
                if (name != "type") {
                    // A value is shown as its type wants it.
                    Walk(Below(place, name), name.starts_with("val") ? std::string_view(type) : name, value);
                }
            }
        }
        if (!isFilter && !order.empty()) {
            leaves_[head].text = order;
        }
    }

    Leaves &leaves_;
    bool meaningOnly_;
};

} // namespace

Leaves AllFields(const std::string &path, const Json &decoded) {
    Leaves leaves;
    Walker(leaves, false).Walk(path, "", decoded);
    return leaves;
}

void AddMeaning(const std::string &path, const Json &decoded, Leaves &leaves) {
    Walker(leaves, true).Walk(path, "", decoded);
}

} // namespace orxemu::tool
