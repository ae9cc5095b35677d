#include "tests/data_dump/data_dump_test.h"

#include <algorithm>
#include <bit>

namespace data_dump {

std::string Hex(std::uint32_t value, std::size_t digits) {
    std::string text;
    for (; value != 0 || text.size() < digits; value /= 16) {
        text.insert(text.begin(), "0123456789abcdef"[value % 16]);
    }
    return text;
}

namespace {

// The word that stands at `offset`, put together from its bytes.
std::string WordText(const Bytes &block, std::size_t offset) {
    std::string text = "0x";
    for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t at = std::endian::native == std::endian::big ? offset + i : offset + 3 - i;
        text += Hex(block[at], 2);
    }
    return text;
}

std::string RowText(const Bytes &block, std::size_t offset) {
    const std::size_t left = std::min<std::size_t>(block.size() - offset, 16);
    const std::size_t words = left / 4;
    std::string text;
    for (std::size_t word = 0; word < words; ++word) {
        text += (word == 0 ? Hex(static_cast<std::uint32_t>(offset), 4) + ": " : " ") +
                WordText(block, offset + 4 * word);
    }
    if (words == 4) {
        return text + "\n";
    }
    // Every word of a part line is followed by a blank, and only bytes end the line: the block's first ones.
    text += words != 0 ? " " : "";
    if (left % 4 != 0) {
        text += "0x";
        for (std::size_t i = 0; i < left % 4; ++i) {
            text += Hex(block[i], 2);
        }
        text += "\n";
    }
    return text;
}

} // namespace

std::string HexDump(const Bytes &block) {
    std::string text;
    for (std::size_t offset = 0; offset < block.size(); offset += 16) {
        text += RowText(block, offset);
    }
    return text;
}

void DataDumpTest::CreateQueues(std::uint32_t num) {
    for (std::uint32_t qid = 0; qid < num; ++qid) {
        ASSERT_EQ(qel_dataDumpCreateQ("queue"), static_cast<std::int32_t>(qid));
    }
}

// The tables outlive a test: ids up to the spare one behind each table are emptied, with lines that nobody
// wants to see.
void DataDumpTest::Reset() {
    test::Capture([] {
        for (std::uint32_t id = 0; id < QEL_LOG_ID_MAX; ++id) {
            qelLog_setLogLevel(id, 1);
        }
        qelLog_setGlobalLogLevel(3);
        for (std::uint32_t qid = 0; qid <= kQids; ++qid) {
            qel_dataDumpDeleteQ(qid);
            for (std::uint32_t dumpId = 0; dumpId <= kDumpIds; ++dumpId) {
                qel_dataDumpRegPrinter(qid, dumpId, nullptr);
            }
        }
        for (std::uint32_t funId = 0; funId <= kFunIds; ++funId) {
            qelFun_dereg(funId);
        }
    });
}

} // namespace data_dump
