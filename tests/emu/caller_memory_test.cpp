// Addresses of the caller: what the device cannot reach is an error, never a crash.
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace emu_test {

namespace {

constexpr std::size_t kMaxPage = 65536;
alignas(kMaxPage) std::uint8_t ownPages[3 * kMaxPage];

// Three areas at a fixed place; the one in the middle can be closed. Nothing else lives in them.
class EmuCallerMemoryTest : public EmuTest {
  protected:
    void TearDown() override {
        Protect(PROT_READ | PROT_WRITE);
        EmuTest::TearDown();
    }

    static std::uint8_t *Middle() { return ownPages + kMaxPage; }
    static void Protect(int protection) { ASSERT_EQ(mprotect(Middle(), kMaxPage, protection), 0); }

    // The record's last `inside` bytes lie in the middle, which is still open.
    static void *Place(const Record &record, std::size_t inside) {
        Protect(PROT_READ | PROT_WRITE);
        std::uint8_t *place = Middle() + inside - record.Bytes().size();
        std::memcpy(place, record.Bytes().data(), record.Bytes().size());
        return place;
    }
    static void *Place(const Record &record) { return Place(record, record.Bytes().size()); }
    static Record FlowRecordAt(const void *fcbPlace) {
        return FlowRecord(kNotSet).Put32(8, Address32(fcbPlace));
    }
};

// Records that would name an active object or valid values.
TEST_F(EmuCallerMemoryTest, RecordsThatCannotBeRead) {
    for (const KnownRequest &known : kKnownRequests) {
        Record record(known.size);
        std::memset(record.Data(), 0, known.size);
        for (const std::size_t inside : {std::size_t{1}, known.size - 1, known.size}) {
            void *across = Place(record, inside);
            Protect(PROT_NONE);
            const StateSnapshot before;
            for (void *place : {across, static_cast<void *>(nullptr), reinterpret_cast<void *>(~0UL)}) {
                EXPECT_EQ(SendAt(known.request, place), EFAULT) << known.name << " at " << place;
                EXPECT_EQ(LastRequest().recordSize, known.size);
                EXPECT_EQ(BytesAt(LastRequest().in, ORXEMU_MAX_RECORD),
                          std::vector<std::uint8_t>(ORXEMU_MAX_RECORD))
                    << "nothing is kept of it";
            }
            EXPECT_TRUE(before.Unchanged()) << known.name;
        }
    }
    void *ends = Place(GblRecord(1, 2), 0);
    Protect(PROT_NONE);
    EXPECT_EQ(SendAt(kSetGblCfg, ends), 0) << "it may end where readable memory ends";
    EXPECT_EQ(State().flowMissAction, 2u);
}

// The answer cannot be given, so nothing is activated.
TEST_F(EmuCallerMemoryTest, AnswersThatCannotBeWritten) {
    ActivateFlow();
    const std::pair<int, Record> rows[] = {{kActivateFlow, FlowRecord(kNotSet)},
                                           {kGetFlowHits, HitsRecord(0)},
                                           {kActivateAsTbl, TblRecord(468, kNotSet, 1)},
                                           {kActivateDscpTbl, TblRecord(88, kNotSet, 1)},
                                           {kActivatePacTbl, TblRecord(268, kNotSet, 1)}};
    for (const auto &[request, record] : rows) {
        const std::vector<std::uint8_t> &sent = record.Bytes();
        void *place = Place(record);
        Protect(PROT_READ);
        const StateSnapshot before;
        EXPECT_EQ(SendAt(request, place), EFAULT) << request;
        EXPECT_TRUE(before.Unchanged());
        EXPECT_EQ(BytesAt(place, sent.size()), sent);
        EXPECT_EQ(BytesAt(LastRequest().in, sent.size()), sent);
        EXPECT_EQ(BytesAt(LastRequest().out, sent.size()), sent);
    }
    // Requests without an answer do not need a record that can be written.
    void *place = Place(GblRecord(1, 1));
    Protect(PROT_READ);
    EXPECT_EQ(SendAt(kSetGblCfg, place), 0);
    EXPECT_EQ(State().flowMissAction, 1u);
}

TEST_F(EmuCallerMemoryTest, FcbsThatCannotBeRead) {
    ActivateFlow();
    Protect(PROT_NONE);
    const void *places[] = {nullptr, Middle(), Middle() + 1 - kFcbBytes, // its last byte is closed
                            Middle() + kMaxPage - 1,                     // its first byte is closed
                            Middle() + kMaxPage - kFcbBytes / 2};
    for (const void *place : places) {
        for (const int request : {kActivateFlow, kDeactivateFlow}) {
            const StateSnapshot before;
            Record record = FlowRecordAt(place).Put32(0, 0);
            EXPECT_EQ(Send(request, record), EFAULT) << request << " at " << place;
            EXPECT_EQ(record.Bytes(), FlowRecordAt(place).Put32(0, 0).Bytes());
            EXPECT_TRUE(before.Unchanged());
            EXPECT_EQ(LastRequest().fcbSize, 0u);
        }
    }
    std::uint8_t *ends = Middle() - kFcbBytes;
    std::memcpy(ends, fcb.data(), kFcbBytes);
    EXPECT_EQ(Activate(kActivateFlow, FlowRecordAt(ends)), 1u) << "it may end where readable memory ends";
    EXPECT_EQ(BytesAt(State().flow[1].fcb, kFcbBytes), BytesAt(fcb.data(), kFcbBytes));
}

} // namespace

} // namespace emu_test
