// The fixture of the tests of data dumps and of the function registry: every test starts and ends with empty
// tables and with the levels of a fresh process.
#ifndef TESTS_DATA_DUMP_DATA_DUMP_TEST_H
#define TESTS_DATA_DUMP_DATA_DUMP_TEST_H

#include "log/qel_log.h"
#include "tests/support/capture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace data_dump {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kQids = 10;
constexpr std::uint32_t kDumpIds = 20;
constexpr std::uint32_t kFunIds = 2;

constexpr const char *kStart = "---DataDump Start---\n";
constexpr const char *kEnd = "---DataDump End---\n";

// Lines of the logging library's own module, masked.
inline std::string LogErr(const std::string &fn, const std::string &text) {
    return "[ERROR qellog] " + fn + ",#: " + text;
}
inline std::string Asserted(const std::string &fn, const std::string &text) {
    return test::Assertion("qel_log", fn, text);
}

// Byte i is seed + 13 i: no two of a block are alike.
inline Bytes Pattern(std::size_t size, unsigned seed = 0x8F) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(seed + 13 * i);
    }
    return bytes;
}

// What a dump of the block prints, masked. The block ends where its memory ends.
inline std::string Dump(std::uint32_t qid, std::uint32_t dumpId, const std::string &name,
                        const Bytes &block) {
    return test::CaptureMasked([&] {
        qel_dataDump(qid, dumpId, name.c_str(), static_cast<std::uint32_t>(block.size()), block.data());
    });
}

inline std::string Header(const std::string &queue, const std::string &name, std::size_t numBytes) {
    return "qID: " + queue + ", DataDump ID: " + name + ", numBytes: " + std::to_string(numBytes) + "\n";
}

// Digits of a number, lower case, with leading zeros.
std::string Hex(std::uint32_t value, std::size_t digits);

// The hexadecimal dump of a block, with the words in this processor's order.
std::string HexDump(const Bytes &block);

class DataDumpTest : public ::testing::Test {
  protected:
    void SetUp() override { Reset(); }
    void TearDown() override { Reset(); }

    // Creates queues until `num` are in use.
    static void CreateQueues(std::uint32_t num);

  private:
    static void Reset();
};

} // namespace data_dump

#endif
