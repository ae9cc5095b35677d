#include "emu/journal/fields.h"

#include <algorithm>

namespace orxemu::journal {

namespace {

constexpr std::size_t kMacBytes = 6;
constexpr std::uint8_t kFillByte = 0xA5;

ByteOrder Other(ByteOrder order) {
    return order == ByteOrder::Big ? ByteOrder::Little : ByteOrder::Big;
}

bool IsSet(const When &when, ByteView record, ByteOrder order) {
    if (when.is == When::Is::Always || when.is == When::Is::Never) {
        return when.is == When::Is::Always;
    }
    if (when.is == When::Is::Written) {
        return true; // the fill pattern is the same in both byte orders
    }
    const std::uint32_t word = Load(record, when.offset, when.width, order);
    switch (when.is) {
    case When::Is::Equal:
        return word == when.value;
    case When::Is::NotEqual:
        return word != when.value;
    default:
        return (word & when.value) != 0;
    }
}

Json NamesOfBits(Names names, std::uint32_t bits) {
    Json list = Json::array();
    for (const NameRow &row : names) {
        if ((bits & row.value) != 0) {
            list.push_back(row.name);
            bits &= ~row.value;
        }
    }
    if (bits != 0) {
        list.push_back(bits);
    }
    return list;
}

bool IsFill(ByteView bytes) {
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == kFillByte; });
}

Json DecodeElement(const Field &field, ByteView record, std::size_t offset, ByteOrder order) {
    if (field.when.is == When::Is::Written && IsFill(record.subspan(offset, field.width))) {
        return kUnset;
    }
    if (field.show == Show::Record) {
        return DecodeFields(*field.record, record.subspan(offset, field.width), order);
    }
    if (field.show == Show::Mac) {
        return MacText(record.subspan(offset, kMacBytes));
    }
    const std::uint32_t value = Load(record, offset, field.width, order);
    switch (field.show) {
    case Show::Signed:
        return static_cast<std::int32_t>(value);
    case Show::Ip:
        return IpText(value);
    case Show::Name:
        return NameOrNumber(field.names, value);
    case Show::Bits:
        return NamesOfBits(field.names, value);
    case Show::TblIndex:
        return value & 0xFF;
    case Show::FlowIndex:
        return value & 0xFFFF;
    default:
        return value;
    }
}

Json DecodeField(const Field &field, ByteView record, ByteOrder order) {
    if (!IsSet(field.when, record, order)) {
        return kUnset;
    }
    if (field.count == 1 || field.show == Show::Mac) {
        return DecodeElement(field, record, field.offset, order);
    }
    Json list = Json::array();
    for (std::size_t i = 0; i < field.count; ++i) {
        list.push_back(DecodeElement(field, record, field.offset + i * field.width, order));
    }
    const bool isUnset = std::ranges::all_of(list, [](const Json &element) { return element == kUnset; });
    return isUnset ? Json(kUnset) : list;
}

} // namespace

Json NameOrNumber(Names names, std::uint32_t value) {
    for (const NameRow &row : names) {
        if (row.value == value) {
            return row.name;
        }
    }
    return value;
}

std::string MacText(ByteView bytes) {
    std::string text;
    for (std::size_t i = 0; i < kMacBytes; ++i) {
        text += (i == 0 ? "" : ":") + ToHex(bytes.subspan(i, 1));
    }
    return text;
}

std::string IpText(std::uint32_t addr) {
    std::string text = std::to_string(addr >> 24);
    for (int shift = 16; shift >= 0; shift -= 8) {
        text += "." + std::to_string((addr >> shift) & 0xFF);
    }
    return text;
}

Json DecodeFields(const Layout &layout, ByteView record, ByteOrder order) {
    Json decoded = Json::object();
    for (const Field &field : layout.fields) {
        if (field.name != nullptr) {
            decoded[field.name] = DecodeField(field, record, order);
        }
    }
    return decoded;
}

void ConvertWord(ByteView original, std::span<std::uint8_t> record, std::size_t offset, unsigned width,
                 ByteOrder from) {
    Store(record, offset, width, Other(from), Load(original, offset, width, from));
}

void ConvertFields(const Layout &layout, ByteView original, std::span<std::uint8_t> record, ByteOrder from) {
    for (const Field &field : layout.fields) {
        if (!IsSet(field.when, original, from)) {
            continue;
        }
        for (std::size_t i = 0; i < field.count; ++i) {
            const std::size_t offset = field.offset + i * field.width;
            if (field.show == Show::Record) {
                ConvertFields(*field.record, original.subspan(offset, field.width),
                              record.subspan(offset, field.width), from);
            } else {
                ConvertWord(original, record, offset, field.width, from);
            }
        }
    }
}

} // namespace orxemu::journal
