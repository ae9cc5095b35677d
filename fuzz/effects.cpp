#include "fuzz/effects.h"

#include <map>
#include <utility>

namespace fuzz {

namespace {

using Rows = std::map<std::pair<std::string, u32>, const Effect *>;

Rows AllRows() {
    Rows rows;
    for (const auto family : {SystemEffects(), TableEffects(), FlowEffects(), RequestEffects()}) {
        for (const Effect &effect : family) {
            rows.emplace(std::pair{effect.name, effect.rc}, &effect);
        }
    }
    return rows;
}

} // namespace

const Effect *FindEffect(const std::string &name, u32 rc) {
    static const Rows rows = AllRows();
    const auto found = rows.find({name, rc});
    return found != rows.end() ? found->second : nullptr;
}

Complaint CheckEffect(const Moment &moment) {
    const Call &call = moment.call;
    const std::string name = call.name;
    if (name.empty() || name.front() == '(') {
        return {};
    }
    const Effect *const effect = FindEffect(name, call.rc);
    if (effect == nullptr) {
        return call.rc == e_RET_OK ? name + " has no effect that is known" : Complaint{};
    }
    const Complaint broken = effect->check(moment);
    return broken.empty() ? broken : name + " -> " + std::to_string(call.rc) + ": " + broken;
}

} // namespace fuzz
