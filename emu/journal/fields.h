// Layouts as tables of fields, and the two walks over them: decoding and conversion to the other byte order.
#ifndef EMU_JOURNAL_FIELDS_H
#define EMU_JOURNAL_FIELDS_H

#include "emu/journal/records.h"

namespace orxemu::journal {

struct NameRow {
    std::uint32_t value;
    const char *name;
};
using Names = std::span<const NameRow>;

// Whether row i is value i, for `num` values.
constexpr bool CountsTo(Names names, std::uint32_t num) {
    for (std::uint32_t value = 0; value < names.size(); ++value) {
        if (names[value].value != value) {
            return false;
        }
    }
    return names.size() == num;
}
// Whether the rows are the bits of `all`, lowest first.
constexpr bool AreBitsOf(Names names, std::uint32_t all) {
    for (const NameRow &row : names) {
        if (row.value != (all & -all)) {
            return false;
        }
        all &= ~row.value;
    }
    return all == 0;
}

// When a field is set: always, never, depending on a word of the same record, or element by element, as soon
// as the element's bytes are no longer the fill pattern.
struct When {
    enum class Is : std::uint8_t { Always, Never, Equal, NotEqual, WithBit, Written };
    Is is = Is::Always;
    std::size_t offset = 0;
    unsigned width = 4;
    std::uint32_t value = 0;
};

enum class Show : std::uint8_t {
    Number,
    Signed,
    Mac, // all bytes of the field are one address
    Ip,
    Name,      // by `names`
    Bits,      // by `names`, a list
    TblIndex,  // the low 8 bits of a table's handle
    FlowIndex, // the low 16 bits of a flow's handle
    Record,    // by `record`
};

struct Layout;

// `count` elements of `width` bytes. A field without a name is the library's bookkeeping: it is converted, but
// not shown.
struct Field {
    const char *name;
    std::size_t offset;
    unsigned width;
    unsigned count;
    Show show;
    Names names;
    const Layout *record;
    When when;
};

struct Layout {
    std::span<const Field> fields;
};

// A value's name, or the value when it has none.
Json NameOrNumber(Names names, std::uint32_t value);
std::string MacText(ByteView bytes);
std::string IpText(std::uint32_t addr);

Json DecodeFields(const Layout &layout, ByteView record, ByteOrder order);
// Converts what is set. `original` is the record before any of it was converted.
void ConvertFields(const Layout &layout, ByteView original, std::span<std::uint8_t> record, ByteOrder from);
void ConvertWord(ByteView original, std::span<std::uint8_t> record, std::size_t offset, unsigned width,
                 ByteOrder from);

} // namespace orxemu::journal

#endif
