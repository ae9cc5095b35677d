// Calls of operations that keep a setting and tell the driver: what they print at each log level, what they
// send, what they change in the context and in the hardware. Shared by the tests of the ports and of the rate
// limiters.
#ifndef TESTS_SUPPORT_CALLS_H
#define TESTS_SUPPORT_CALLS_H

#include "tests/support/library.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace calls {

using qir::u16;
using qir::u32;
using qir::u8;
using test::ContextSnapshot;
using test::Inf;

constexpr u32 kAllOnes = 0xFFFFFFFF;
// Parameter lines are printed from this level on.
constexpr u32 kInfLevel = 2;

// ---- calls ----------------------------------------------------------------------------------------

using Op = std::function<u32()>;

struct Called {
    u32 rc = 0;
    std::string out; // standard output, masked
    std::string err; // standard error
};

inline Called Call(const Op &op, u32 level = 1) {
    Called called;
    test::RaiseLog(level);
    const test::Output both = test::CaptureBoth([&] { called.rc = op(); });
    test::RaiseLog(1);
    called.out = test::Mask(both.out);
    called.err = both.err;
    return called;
}

// At level 2 the call prints exactly `expected`, addresses included.
inline void ExpectUnmasked(const Op &op, const std::string &expected) {
    test::RaiseLog(kInfLevel);
    const std::string out = test::Capture([&] { op(); });
    test::RaiseLog(1);
    EXPECT_EQ(out, expected);
}

// An address as "0x%p" prints it.
inline std::string AddressText(const void *ptr) {
    char text[64];
    std::snprintf(text, sizeof text, "0x%p", ptr);
    return text;
}

// Runs `check` once per log level.
inline void AtEveryLevel(const std::function<void(u32 level)> &check) {
    for (u32 level = 0; level <= 3; ++level) {
        SCOPED_TRACE("log level " + std::to_string(level));
        check(level);
    }
}

// A process that has just started the library, with an idle driver.
inline void Restart() {
    orxemu_reset();
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    ASSERT_EQ(QIR_Init_Sys(), 0u);
}

// ---- context and hardware -------------------------------------------------------------------------

struct Span {
    std::size_t first;
    std::size_t size;
};
// Place of a field of the context.
template <class Field> Span Place(const Field &field) {
    const auto *base = reinterpret_cast<const u8 *>(qirCtxt_gp);
    return {static_cast<std::size_t>(reinterpret_cast<const u8 *>(&field) - base), sizeof field};
}

inline ::testing::AssertionResult ChangedOnlyIn(const ContextSnapshot &before,
                                                const std::vector<Span> &fields) {
    for (const std::size_t changed : before.ChangedBytes()) {
        bool expected = false;
        for (const Span &field : fields) {
            expected = expected || (changed >= field.first && changed - field.first < field.size);
        }
        if (!expected) {
            return ::testing::AssertionFailure() << "byte " << changed << " of the context changed";
        }
    }
    return ::testing::AssertionSuccess();
}

// A copy of what the hardware holds. Changed where a call is to have an effect, it is what the hardware has
// to hold afterwards.
class Hardware {
  public:
    Hardware() : state_(std::make_unique<OrxEmuState>(*orxemu_state())) {}
    OrxEmuState *operator->() { return state_.get(); }
    bool IsNow() const { return std::memcmp(state_.get(), orxemu_state(), sizeof *state_) == 0; }

  private:
    std::unique_ptr<OrxEmuState> state_;
};

// ---- requests -------------------------------------------------------------------------------------

// One field of a record as it goes over the wire, in the byte order of the processor.
struct Field {
    std::size_t offset;
    std::size_t size;
    u32 value;
};
inline Field Word(std::size_t offset, u32 value) {
    return {offset, 4, value};
}
inline Field Half(std::size_t offset, u16 value) {
    return {offset, 2, value};
}

// A request with the fields that its record has set; no other byte of the record counts.
struct Request {
    int number;
    std::size_t recordSize;
    std::vector<Field> fields;
};

inline u32 ValueAt(const u8 *record, const Field &field) {
    if (field.size == 2) {
        u16 half;
        std::memcpy(&half, record + field.offset, sizeof half);
        return half;
    }
    u32 word;
    std::memcpy(&word, record + field.offset, sizeof word);
    return word;
}

// This request came in and was answered with `err`; the record came back as it went.
inline void ExpectSeen(const OrxEmuRequest &seen, const Request &request, int err = 0) {
    EXPECT_EQ(seen.request, request.number);
    EXPECT_EQ(seen.err, err);
    EXPECT_EQ(seen.recordSize, request.recordSize);
    for (const Field &field : request.fields) {
        EXPECT_EQ(ValueAt(seen.in, field), field.value) << "at offset " << field.offset;
    }
    EXPECT_EQ(std::memcmp(seen.in, seen.out, sizeof seen.in), 0);
}

// ---- outcomes -------------------------------------------------------------------------------------

// The call succeeds, prints nothing but its parameter lines, sends these requests one by one, each over a
// descriptor of its own, and changes no byte of the context outside of the fields.
inline void ExpectDone(u32 level, const Op &op, const std::string &inf, const std::vector<Request> &requests,
                       const std::vector<Span> &fields) {
    const ContextSnapshot before;
    const std::size_t numRequests = orxemu_numRequests();
    const std::size_t numOpens = orxemu_numOpens();
    const Called called = Call(op, level);
    EXPECT_EQ(called.rc, 0u);
    EXPECT_EQ(called.out, level >= kInfLevel ? inf : "");
    EXPECT_EQ(called.err, "");
    EXPECT_TRUE(ChangedOnlyIn(before, fields));
    EXPECT_EQ(orxemu_numOpens() - numOpens, requests.size());
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    ASSERT_EQ(orxemu_numRequests() - numRequests, requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        ExpectSeen(*orxemu_request(numRequests + i), requests[i]);
    }
}

// The call reads: it succeeds, prints nothing but its parameter lines, asks nothing of the driver and changes
// nothing.
inline void ExpectRead(u32 level, const Op &op, const std::string &inf) {
    ExpectDone(level, op, inf, {}, {});
}

} // namespace calls

#endif
