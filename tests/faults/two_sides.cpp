#include "tests/faults/two_sides.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace faults {

namespace {

// Equal objects in a row.
struct Row {
    const char *name;
    std::size_t offset;
    std::size_t size;
    std::size_t elementSize;
};
using Rows = std::vector<Row>;

template <class Element, std::size_t num, class Side>
Row RowOf(const char *name, const Side &side, const Element (&elements)[num]) {
    const auto *const begin = reinterpret_cast<const std::uint8_t *>(&side);
    const auto *const first = reinterpret_cast<const std::uint8_t *>(elements);
    return {name, static_cast<std::size_t>(first - begin), sizeof elements, sizeof *elements};
}

// "FCB 3 + 8", or the offset alone for a byte of no row.
std::string PlaceOf(std::size_t offset, const Rows &rows) {
    for (const Row &row : rows) {
        if (offset >= row.offset && offset - row.offset < row.size) {
            const std::size_t inRow = offset - row.offset;
            return std::string(row.name) + " " + std::to_string(inRow / row.elementSize) + " + " +
                   std::to_string(inRow % row.elementSize);
        }
    }
    return "byte " + std::to_string(offset);
}

std::string Compare(const void *actual, const void *expected, std::size_t size, const Rows &rows) {
    constexpr int kMaxShown = 16;
    if (std::memcmp(actual, expected, size) == 0) {
        return "";
    }
    const auto *const is = static_cast<const std::uint8_t *>(actual);
    const auto *const toBe = static_cast<const std::uint8_t *>(expected);
    std::string differ;
    int shown = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (is[i] == toBe[i]) {
            continue;
        }
        if (++shown > kMaxShown) {
            return differ + "...\n";
        }
        char text[48];
        std::snprintf(text, sizeof text, ": 0x%02x instead of 0x%02x\n", is[i], toBe[i]);
        differ += PlaceOf(i, rows) + text;
    }
    return differ;
}

} // namespace

std::string BytesDifference(const void *actual, const void *expected, std::size_t size) {
    return Compare(actual, expected, size, {});
}

std::string Difference(const Shadow &actual, const Shadow &expected) {
    const qir::QirCtxt &side = *actual;
    return Compare(&*actual, &*expected, sizeof *actual,
                   {RowOf("AS table", side, side.asTblPool), RowOf("DSCP table", side, side.dscpTblPool),
                    RowOf("EP table", side, side.epTblPool), RowOf("PAC table", side, side.pacTblPool),
                    RowOf("FCB", side, side.fcbPool)});
}

std::string Difference(const Hardware &actual, const Hardware &expected) {
    const OrxEmuState &side = *actual;
    return Compare(&*actual, &*expected, sizeof *actual,
                   {RowOf("AS table", side, side.asTbl), RowOf("DSCP table", side, side.dscpTbl),
                    RowOf("PAC table", side, side.pacTbl), RowOf("flow", side, side.flow),
                    RowOf("rate limiters of direction", side, side.rl)});
}

} // namespace faults
