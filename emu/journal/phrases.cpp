#include "emu/journal/phrases.h"

#include <array>
#include <cstdio>
#include <vector>

namespace orxemu::journal {

namespace {

const Json kNull = nullptr;

constexpr unsigned kMaskBits = 32;

} // namespace

const Json &Member(const Json &object, std::string_view name) {
    if (!object.is_object()) {
        return kNull;
    }
    const auto found = object.find(name);
    return found != object.end() ? *found : kNull;
}

const Json &Element(const Json &list, std::size_t index) {
    return list.is_array() && index < list.size() ? list[index] : kNull;
}

std::uint32_t Number(const Json &object, std::string_view name) {
    const Json &value = Member(object, name);
    return value.is_number() ? value.get<std::uint32_t>() : 0;
}

std::string PlainText(const Json &value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (!value.is_array()) {
        return value.dump();
    }
    Phrase text;
    for (const Json &element : value) {
        text.Add(PlainText(element));
    }
    return text.IsEmpty() ? "none" : text.Text();
}

std::string HexText(const Json &value, unsigned digits) {
    if (!value.is_number_integer() || value < 0) {
        return PlainText(value);
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", static_cast<int>(digits), value.get<unsigned>());
    return text.data();
}

std::string PortName(unsigned port) {
    if (port == kHostPort) {
        return "host";
    }
    if (port == kGponPort) {
        return "gpon";
    }
    return (port < kGponPort ? "uni" : "port ") + std::to_string(port);
}

std::string PortName(const Json &port) {
    return port.is_number_integer() ? PortName(port.get<unsigned>()) : PlainText(port);
}

std::string PortsText(std::uint32_t mask) {
    Phrase text;
    for (unsigned port = 0; port < kMaskBits; ++port) {
        if (Has(mask, port)) {
            text.Add(PortName(port));
        }
    }
    return text.IsEmpty() ? "no port" : text.Text();
}

std::string NumbersText(std::span<const unsigned> numbers) {
    Phrase text(",");
    for (std::size_t first = 0; first < numbers.size(); ++first) {
        std::size_t last = first;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        if (last >= first + 2) {
            text.Add(std::to_string(numbers[first]) + "-" + std::to_string(numbers[last]));
            first = last;
        } else {
            text.Add(std::to_string(numbers[first]));
        }
    }
    return text.Text();
}

std::string GemText(std::uint32_t mask) {
    std::vector<unsigned> indexes;
    for (unsigned index = 0; index < kMaskBits; ++index) {
        if (Has(mask, index)) {
            indexes.push_back(index);
        }
    }
    return "gem " + NumbersText(indexes);
}

} // namespace orxemu::journal
