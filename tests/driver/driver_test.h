// What the tests of the driver access share: records of the wire written down by their offsets, calls with
// what they print, and a library and a driver that have something of everything.
#ifndef TESTS_DRIVER_DRIVER_TEST_H
#define TESTS_DRIVER_DRIVER_TEST_H

#include "qirapi/driver/driver.h"
#include "tests/driver/node_calls.h"
#include "tests/support/library.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace driver_test {

using qir::i32;
using qir::u16;
using qir::u32;
using qir::u8;
using test::ContextSnapshot;

constexpr u32 kAllOnes = 0xFFFFFFFF;
constexpr std::size_t kFcbBytes = 1884;

// ---- bytes ----------------------------------------------------------------------------------------

// Byte i is seed + 7 i: no two neighbours alike.
std::vector<u8> Pattern(std::size_t size, unsigned seed);
// Fills the record of `size` bytes with the pattern.
void Load(void *record, std::size_t size, unsigned seed);

u32 WordAt(const void *bytes, std::size_t offset);
void PutWord(void *bytes, std::size_t offset, u32 value);
void PutHalf(void *bytes, std::size_t offset, u16 value);
std::vector<u8> BytesAt(const void *bytes, std::size_t size);

// A record as it goes over the wire. Bytes that nobody puts are not set by the library and not compared.
class Wire {
  public:
    explicit Wire(std::size_t size) : bytes_(size, 0), set_(size, false) {}

    Wire &U16(std::size_t offset, u16 value) { return Put(offset, &value, sizeof value); }
    Wire &U32(std::size_t offset, u32 value) { return Put(offset, &value, sizeof value); }
    Wire &Zero(std::size_t offset, std::size_t count);
    Wire &Copy(std::size_t offset, const std::vector<u8> &bytes);

    std::size_t Size() const { return bytes_.size(); }
    ::testing::AssertionResult Matches(const u8 *actual) const;

  private:
    Wire &Put(std::size_t offset, const void *value, std::size_t size);

    std::vector<u8> bytes_;
    std::vector<bool> set_;
};

// ---- calls ----------------------------------------------------------------------------------------

using Op = std::function<u32()>;

struct Called {
    u32 rc = 0;
    std::string out; // standard output, masked
    std::string err; // standard error
};
Called Call(const Op &op);
// The call returns 0 and prints nothing.
void ExpectSilentSuccess(const Op &op);
// The call returns 1, prints nothing on standard output and `err` on standard error.
void ExpectDriverFailure(const Op &op, const std::string &err);

std::string IoctlFailed(int request);

// The only request since the log was cleared has this number and this record; its answer was `err`.
void ExpectRequest(int request, const Wire &record, int err = 0);
const OrxEmuRequest &LastRequest();

// No byte of the context has changed but the 4 at `word`; null stands for none at all.
::testing::AssertionResult OnlyChanged(const ContextSnapshot &before, const u8 *word);

// ---- a library and a driver with something of everything -------------------------------------------

// Indexes in the pools: of each kind one that is in hardware, with the driver's index 1, and one that is not.
constexpr unsigned kAsLive = 9, kAsNew = 5;
constexpr unsigned kDscpLive = 4, kDscpNew = 1;
constexpr unsigned kPacLive = 11, kPacNew = 2;
constexpr unsigned kFlowLive = 41, kFlowNew = 511;
constexpr u32 kLiveIdx = 1;
constexpr u32 kNextIdx = 2; // what the driver gives to the next one
constexpr u32 kRlLiveDir = 0, kRlLiveIdx = 5;
constexpr u32 kRlNewDir = 1, kRlNewIdx = 14;

// The first byte of the objects' patterns.
constexpr unsigned kLiveSeed = 0x31, kNewSeed = 0xB4;

class DriverTest : public test::LibraryTest {
  protected:
    void SetUp() override;
    // Fresh driver, fresh library, everything above in its place, empty log.
    static void Prepare();
};

// One wrapper, called on the objects above.
struct Wrapper {
    // What the wrapper does with the index word of the object's shadow.
    enum Index {
        None,   // nothing
        Taken,  // it becomes the record's index word
        Forgot, // it becomes all ones
    };
    const char *name;
    int request;
    u32 (*call)();
    Wire record;      // what the driver gets
    const u8 *shadow; // the index word of the object, null when there is none
    Index index;
};
// Every wrapper once; to be asked for after Prepare().
std::vector<Wrapper> AllWrappers();

} // namespace driver_test

#endif
