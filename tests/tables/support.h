// What the table tests share: calls as values, refusals as rows, expected records as bytes, and one
// description per kind of table.
#ifndef TESTS_TABLES_SUPPORT_H
#define TESTS_TABLES_SUPPORT_H

#include "qirapi/access/table_access.h"
#include "qirapi/driver/driver.h"
#include "qirapi/private/tables.h"
#include "tests/support/library.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace test {

// A call with its arguments.
using Op = std::function<uint32_t()>;

// Upper bits of every handle that these tests pass: the library neither reads nor writes them.
constexpr uint32_t kCallerBits = 0x5A12C300;

template <class Hdl> Hdl HdlOf(unsigned id) {
    Hdl hdl{};
    hdl.word = kCallerBits | id;
    return hdl;
}

// The operation on the table `id`. The handle has to come back as it was.
template <class Hdl, class... P, class... A> Op On(uint32_t (*op)(Hdl *, P...), unsigned id, A... args) {
    return [=] {
        Hdl hdl = HdlOf<Hdl>(id);
        const uint32_t code = op(&hdl, static_cast<P>(args)...);
        EXPECT_EQ(hdl.word, kCallerBits | id) << "the handle changed";
        return code;
    };
}

// The operation without a handle.
template <class Hdl, class... P, class... A> Op OnNull(uint32_t (*op)(Hdl *, P...), A... args) {
    return [=] { return op(nullptr, static_cast<P>(args)...); };
}

struct Said {
    uint32_t code;
    std::string out; // standard output, masked
    std::string err; // standard error
};

inline Said Call(const Op &op, uint32_t level = 1) {
    Said said{};
    RaiseLog(level);
    Output both = CaptureBoth([&] { said.code = op(); });
    RaiseLog(1);
    said.out = Mask(both.out);
    said.err = both.err;
    return said;
}

// A call that is refused: its code, its parameter lines, its error lines.
struct Refused {
    std::string what;
    Op call;
    uint32_t code;
    std::string inf;
    std::string err;
};

// At every log level the call returns the code and prints its lines, changes no byte of the context and asks
// nothing of the driver. Level 3 has no lines of its own.
inline void ExpectRefused(const std::vector<Refused> &rows) {
    for (const Refused &row : rows) {
        for (uint32_t level = 0; level <= 3; ++level) {
            SCOPED_TRACE(row.what + ", code " + std::to_string(row.code) + ", log level " +
                         std::to_string(level));
            const ContextSnapshot before;
            const std::size_t opens = orxemu_numOpens();
            const Said said = Call(row.call, level);
            EXPECT_EQ(said.code, row.code);
            EXPECT_EQ(said.out, (level >= 2 ? row.inf : "") + row.err);
            EXPECT_EQ(said.err, "");
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(orxemu_numOpens(), opens);
        }
    }
}

// The call returns 0 and prints its parameter lines at `level` 2 and 3, nothing below.
inline void ExpectAccepted(const Op &call, const std::string &inf, uint32_t level) {
    SCOPED_TRACE("log level " + std::to_string(level));
    const Said said = Call(call, level);
    EXPECT_EQ(said.code, 0u);
    EXPECT_EQ(said.out, level >= 2 ? inf : "");
    EXPECT_EQ(said.err, "");
}

// The same for a call that can be repeated.
inline void ExpectAccepted(const Op &call, const std::string &inf) {
    for (uint32_t level = 0; level <= 3; ++level) {
        ExpectAccepted(call, inf, level);
    }
}

// The bytes that a record is expected to have.
class Image {
  public:
    explicit Image(std::size_t size, uint8_t fill = 0xA5) : bytes_(size, fill) {}
    template <class Record> static Image Of(const Record &record) {
        Image image(sizeof record);
        return image.Bytes(0, &record, sizeof record);
    }

    Image &U8(std::size_t offset, unsigned value) {
        bytes_.at(offset) = static_cast<uint8_t>(value);
        return *this;
    }
    Image &U16(std::size_t offset, unsigned value) {
        const auto narrow = static_cast<uint16_t>(value);
        return Bytes(offset, &narrow, sizeof narrow);
    }
    Image &U32(std::size_t offset, uint32_t value) { return Bytes(offset, &value, sizeof value); }
    Image &Bytes(std::size_t offset, const void *data, std::size_t size) {
        EXPECT_LE(offset + size, bytes_.size());
        std::memcpy(bytes_.data() + offset, data, size);
        return *this;
    }
    Image &Fill(std::size_t offset, std::size_t size, uint8_t value) {
        EXPECT_LE(offset + size, bytes_.size());
        std::memset(bytes_.data() + offset, value, size);
        return *this;
    }

    std::size_t size() const { return bytes_.size(); }
    const uint8_t *data() const { return bytes_.data(); }

    // Compares with memory; the message names the bytes that differ.
    ::testing::AssertionResult Is(const void *memory) const {
        const auto *actual = static_cast<const uint8_t *>(memory);
        std::ostringstream differ;
        for (std::size_t i = 0; i < bytes_.size(); ++i) {
            if (actual[i] != bytes_[i]) {
                differ << " [" << i << "] " << unsigned{actual[i]} << " instead of " << unsigned{bytes_[i]};
            }
        }
        if (differ.str().empty()) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << "bytes differ:" << differ.str();
    }

  private:
    std::vector<uint8_t> bytes_;
};

// Every byte of the context that changed since `before` lies in `size` bytes at `begin`.
inline ::testing::AssertionResult OnlyChanged(const ContextSnapshot &before, const void *begin,
                                              std::size_t size) {
    const auto *context = reinterpret_cast<const uint8_t *>(qirCtxt_gp);
    const auto first = static_cast<std::size_t>(static_cast<const uint8_t *>(begin) - context);
    for (const std::size_t offset : before.ChangedBytes()) {
        if (offset < first || offset >= first + size) {
            return ::testing::AssertionFailure() << "byte " << offset << " of the context changed, outside "
                                                 << first << " to " << first + size - 1;
        }
    }
    return ::testing::AssertionSuccess();
}

// The two lines of each handle refusal, under the validator's name.
inline std::string OutOfRange(const std::string &kind, const std::string &hdl, unsigned id) {
    return Err("Validate_" + kind + "TblHdl",
               "Value out of range for " + hdl + "<" + std::to_string(id) + ">") +
           Err("Validate_" + kind + "TblHdl", "\"e_RET_ERR_INVALID_HDL\"");
}

inline std::string TableIsFree(const std::string &kind, const std::string &hdl, unsigned id) {
    return Err("Validate_" + kind + "TblHdl",
               "Invalid " + hdl + "<" + std::to_string(id) + ">, table is free") +
           Err("Validate_" + kind + "TblHdl", "\"e_RET_ERR_INVALID_HDL\"");
}

// The tables that the operation tests start from: one in each state, and one index behind the pool.
constexpr unsigned kAlloc = 0;
constexpr unsigned kCfg = 1;
constexpr unsigned kActive = 2;
constexpr unsigned kFree = 3;

} // namespace test

#endif
