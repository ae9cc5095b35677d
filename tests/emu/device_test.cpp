// The hardware as an object, with no descriptors and no hooks around it: what it makes of what a carrier could
// fetch and what not.
#include "emu/device/device.h"
#include "tests/emu/emu_test.h"

#include <cerrno>
#include <memory>

namespace emu_test {

namespace {

class DeviceTest : public ::testing::Test {
  protected:
    orxemu::Answer Serve(int number, const Record *record, const std::uint8_t *fcbBytes, bool canAnswer) {
        request_ = {number, record != nullptr ? record->Bytes().data() : nullptr, fcbBytes, canAnswer};
        return device_->Serve(request_);
    }
    static std::uint32_t Index(const orxemu::Answer &answer) {
        std::uint32_t index;
        std::memcpy(&index, answer.bytes, sizeof index);
        return index;
    }

    const std::unique_ptr<orxemu::Device> device_ = std::make_unique<orxemu::Device>();
    orxemu::Request request_;
};

TEST_F(DeviceTest, AnswersWhereTheDriverWrites) {
    const FcbBytes bytes = {};
    const Record flow = FlowRecord(kNotSet);
    EXPECT_EQ(Serve(kActivateFlow, &flow, bytes.data(), true).err, 0);
    const orxemu::Answer second = Serve(kActivateFlow, &flow, bytes.data(), true);
    EXPECT_EQ(second.offset, 0u);
    EXPECT_EQ(second.size, 4u);
    EXPECT_EQ(Index(second), 1u);
    EXPECT_TRUE(second.tookFcb);
    OrxEmuRequest entry;
    orxemu::Record(request_, second, entry);
    EXPECT_EQ(BytesAt(entry.in, 20), flow.Bytes());
    EXPECT_EQ(BytesAt(entry.out, 20), FlowRecord(1).Bytes());
    EXPECT_EQ(entry.fcbSize, kFcbBytes);

    EXPECT_TRUE(device_->AddHits(1, 7, 3));
    const Record hits = HitsRecord(1);
    const orxemu::Answer counted = Serve(kGetFlowHits, &hits, nullptr, true);
    EXPECT_EQ(counted.offset, 4u);
    EXPECT_EQ(counted.size, 36u);
    const Record status = RlStatusRecord(1);
    EXPECT_EQ(Serve(kSetRlStatus, &status, nullptr, false).size, 0u);
    EXPECT_EQ(device_->state.rlStatus, 1u);
}

TEST_F(DeviceTest, WhatCouldNotBeFetchedIsRefused) {
    const FcbBytes bytes = {};
    const Record flow = FlowRecord(kNotSet);
    const Record table = TblRecord(468, kNotSet, 1);
    const Record hits = HitsRecord(0);
    ASSERT_EQ(Serve(kActivateFlow, &flow, bytes.data(), true).err, 0);
    const struct {
        const char *given;
        int number;
        const Record *record;
        const std::uint8_t *fcb;
        bool canAnswer;
        int err;
        bool tookFcb;
    } rows[] = {
        {"no record", kActivateFlow, nullptr, nullptr, true, EFAULT, false},
        {"no FCB", kActivateFlow, &flow, nullptr, true, EFAULT, false},
        {"no FCB to release", kDeactivateFlow, &flow, nullptr, true, EFAULT, false},
        {"no answer", kActivateFlow, &flow, bytes.data(), false, EFAULT, true},
        {"no answer of a table", kActivateAsTbl, &table, nullptr, false, EFAULT, false},
        {"no answer of hits", kGetFlowHits, &hits, nullptr, false, EFAULT, false},
        {"unknown", 18, nullptr, nullptr, false, ENOTTY, false},
    };
    const OrxEmuState before = device_->state;
    for (const auto &row : rows) {
        const orxemu::Answer answer = Serve(row.number, row.record, row.fcb, row.canAnswer);
        EXPECT_EQ(answer.err, row.err) << row.given;
        EXPECT_EQ(answer.tookFcb, row.tookFcb) << row.given;
        EXPECT_EQ(answer.size, 0u) << row.given;
        EXPECT_EQ(std::memcmp(&before, &device_->state, sizeof before), 0) << row.given;
    }
}

} // namespace

} // namespace emu_test
