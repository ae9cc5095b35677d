#include "emu/tool/replay_indexes.h"

namespace orxemu::tool {

IndexMap::Lookup IndexMap::Find(std::uint32_t recorded) const {
    const auto object = objects_.find(recorded);
    if (object == objects_.end()) {
        return {inUse_.contains(recorded) ? Found::Clash : Found::Yes, recorded};
    }
    const std::uint32_t number = object->second.number;
    switch (object->second.life) {
    case Life::Missing:
        return {Found::Missing, 0};
    case Life::Released:
        return {inUse_.contains(number) ? Found::Clash : Found::Yes, number};
    case Life::Active:
        break;
    }
    return {Found::Yes, number};
}

std::optional<std::uint32_t> IndexMap::Active(std::uint32_t recorded) const {
    const auto object = objects_.find(recorded);
    if (object == objects_.end() || object->second.life != Life::Active) {
        return std::nullopt;
    }
    return object->second.number;
}

void IndexMap::Assign(std::optional<std::uint32_t> recorded, std::uint32_t number) {
    // A driver that hands out a number again has released it without being asked.
    if (const auto holder = inUse_.find(number); holder != inUse_.end() && holder->second.has_value()) {
        Object &object = objects_[*holder->second];
        if (object.life == Life::Active && object.number == number) {
            object.life = Life::Released;
        }
    }
    if (recorded.has_value()) {
        objects_[*recorded] = {Life::Active, number};
    }
    inUse_[number] = recorded;
}

void IndexMap::Miss(std::uint32_t recorded) {
    objects_[recorded] = {Life::Missing, 0};
}

void IndexMap::Release(std::uint32_t recorded) {
    const auto object = objects_.find(recorded);
    const std::uint32_t number = object != objects_.end() ? object->second.number : recorded;
    inUse_.erase(number);
    if (object != objects_.end()) {
        object->second.life = Life::Released;
    }
}

} // namespace orxemu::tool
