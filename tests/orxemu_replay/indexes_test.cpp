// Indexes and addresses: what the driver assigns now takes the place of what it assigned then.
#include "tests/orxemu_replay/replay_test.h"

#include <set>
#include <unistd.h>

namespace replay_test {

namespace {

using ReplayIndexesTest = ReplayTest;

// Objects that the hardware holds before a replay.
struct Before {
    std::uint32_t asTables, dscpTables, pacTables, flows;
};

void Occupy(const Before &before) {
    const auto send = [](int request, std::uint32_t times, const Record &record) {
        for (std::uint32_t i = 0; i < times; ++i) {
            Record sent = record;
            orxemu::tool::DeviceTarget device(kDevice);
            ASSERT_EQ(
                device.Send(request, {static_cast<std::uint8_t *>(sent.Data()), sent.Bytes().size()}).err, 0);
        }
    };
    FillFcb(200);
    send(kActivateAsTbl, before.asTables, TblRecord(468, kNotSet, 201));
    send(kActivateDscpTbl, before.dscpTables, TblRecord(88, kNotSet, 202));
    send(kActivatePacTbl, before.pacTables, TblRecord(268, kNotSet, 203));
    send(kActivateFlow, before.flows, FlowRecord(kNotSet));
}

template <class Slot, std::size_t num>
void MoveUp(Slot (&slots)[num], const Slot (&front)[num], std::uint32_t by) {
    for (std::size_t i = num; i-- > by;) {
        slots[i] = slots[i - by];
    }
    for (std::size_t i = 0; i < by; ++i) {
        slots[i] = front[i];
    }
}

// The state of an empty stand-in, with every object behind those that `held` has in front.
OrxEmuState Shifted(OrxEmuState state, const OrxEmuState &held, const Before &before) {
    MoveUp(state.asTbl, held.asTbl, before.asTables);
    MoveUp(state.dscpTbl, held.dscpTbl, before.dscpTables);
    MoveUp(state.pacTbl, held.pacTbl, before.pacTables);
    MoveUp(state.flow, held.flow, before.flows);
    for (std::size_t i = before.flows; i < ORXEMU_FLOWS; ++i) {
        if (state.flow[i].active != 0 && state.flow[i].pacTblIdx >= 0) {
            state.flow[i].pacTblIdx += static_cast<std::int32_t>(before.pacTables);
        }
    }
    return state;
}

std::uint32_t RequestWord(std::size_t i, std::size_t offset) {
    std::uint32_t word;
    std::memcpy(&word, orxemu_request(i)->in + offset, sizeof word);
    return word;
}

TEST_F(ReplayIndexesTest, EmptyHardwareHoldsTheSameAgain) {
    SendSession();
    ASSERT_EQ(orxemu_numRequests(), kSessionRequests);
    const OrxEmuState recorded = Held();
    const Log log = Read(RecordedText());
    orxemu_reset();
    const ReplayRun run = RunReplay(log);
    EXPECT_EQ(run.end, ReplayEnd::Done);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(kSessionRequests, 0, 0, 0, 0, 0));
    ExpectHeld(recorded);
}

TEST_F(ReplayIndexesTest, ObjectsAreRightBehindThoseThatTheHardwareHeld) {
    SendSession();
    const OrxEmuState recorded = Held();
    const Log log = Read(RecordedText());
    for (const Before &before :
         {Before{1, 1, 1, 1}, Before{0, 0, 3, 0}, Before{0, 0, 0, 5}, Before{7, 5, 14, 509}}) {
        SCOPED_TRACE(std::to_string(before.pacTables) + " PAC tables, " + std::to_string(before.flows) +
                     " flows");
        orxemu_reset();
        Occupy(before);
        const OrxEmuState held = Held();
        const ReplayRun run = RunReplay(log);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(Told(run.counts), Told(kSessionRequests, 0, 0, 0, 0, 0));
        ExpectHeld(Shifted(recorded, held, before));
    }
}

TEST_F(ReplayIndexesTest, LogOfTheOtherByteOrderIsConverted) {
    SendSession();
    const OrxEmuState recorded = Held();
    const Log log = Read(TextOf(InOtherOrder(Recorded())));
    ASSERT_EQ(log.order, kOtherOrder);
    for (const Before &before : {Before{0, 0, 0, 0}, Before{2, 3, 4, 5}}) {
        orxemu_reset();
        Occupy(before);
        const OrxEmuState held = Held();
        const ReplayRun run = RunReplay(log);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(Told(run.counts), Told(kSessionRequests, 0, 0, 0, 0, 0));
        ExpectHeld(Shifted(recorded, held, before));
    }
}

// The library's own notes of an index in records and FCBs: they follow the index, when they are of one.
TEST_F(ReplayIndexesTest, NotesOfIndexesAreThoseOfNow) {
    constexpr std::size_t kTblNote = 8;
    constexpr std::size_t kFcbNote = 8;
    const auto putNote = [](std::uint32_t note) { std::memcpy(fcb.data() + kFcbNote, &note, sizeof note); };
    for (const TblKind &kind : kTblKinds) {
        ASSERT_EQ(Send(kind.activate, TblRecord(kind.bytes, kNotSet, 1).Put32(kTblNote, kMinusOne)), 0);
        ASSERT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, 0, 1).Put32(kTblNote, 0)), 0);
        // No table has the number any more.
        ASSERT_EQ(Send(kind.activate, TblRecord(kind.bytes, kNotSet, 1).Put32(kTblNote, 0)), 0);
    }
    putNote(kMinusOne);
    ActivateFlow();
    putNote(0);
    ActivateFlow(); // another one, which notes the first
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    const Log log = Read(RecordedText());
    orxemu_reset();
    Occupy({2, 2, 2, 2});
    orxemu_clearLog();
    EXPECT_EQ(RunReplay(log).err, "");
    ASSERT_EQ(orxemu_numRequests(), 12u);
    for (const std::size_t first : {0u, 3u, 6u}) {
        EXPECT_EQ(RequestWord(first, kTblNote), kMinusOne);
        EXPECT_EQ(RequestWord(first + 1, kTblNote), 2u);
        EXPECT_EQ(RequestWord(first + 2, kTblNote), 0u);
    }
    const std::uint32_t expectedNotes[] = {kMinusOne, 2, 2};
    for (std::size_t i = 0; i < 3; ++i) {
        std::uint32_t note;
        std::memcpy(&note, orxemu_request(9 + i)->fcb + kFcbNote, sizeof note);
        EXPECT_EQ(note, expectedNotes[i]) << "flow request " << i;
    }
}

// The hardware kept it from before the recording, and keeps it now.
TEST_F(ReplayIndexesTest, IndexThatWasNeverAssignedIsSentAsItIs) {
    Occupy({1, 1, 1, 3});
    orxemu_clearLog();
    ASSERT_EQ(Send(kUpdateFwdInfo, FwdRecord(2, 3, 1, 50)), 0);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(1)), 0);
    ASSERT_EQ(Send(kActivateFlow, FlowRecord(kNotSet, 0)), 0);
    for (const TblKind &kind : kTblKinds) {
        ASSERT_EQ(Send(kind.deactivate, TblRecord(kind.bytes, 0, 1)), 0);
    }
    const OrxEmuState recorded = Held();
    const Log log = Read(RecordedText());
    orxemu_reset();
    Occupy({1, 1, 1, 3});
    EXPECT_EQ(RunReplay(log).err, "");
    ExpectHeld(recorded);
}

// On other hardware the number is one of another object, which must not be touched.
TEST_F(ReplayIndexesTest, NumberOfAnotherObjectIsNotSent) {
    struct Row {
        const char *name, *request, *object;
        Before before;
        int number;
        Record record; // sent last
    };
    const Row rows[] = {
        {"hits", "get-flow-hits", "flow", {0, 0, 0, 1}, kGetFlowHits, HitsRecord(0)},
        {"forwarding", "update-forwarding", "flow", {0, 0, 0, 1}, kUpdateFwdInfo, FwdRecord(0, 1, 1, 1)},
        {"flow", "deactivate-flow", "flow", {0, 0, 0, 1}, kDeactivateFlow, FlowRecord(0)},
        {"AS", "deactivate-as-table", "AS table", {1, 0, 0, 0}, kDeactivateAsTbl, TblRecord(468, 0, 1)},
        {"DSCP",
         "deactivate-dscp-table",
         "DSCP table",
         {0, 1, 0, 0},
         kDeactivateDscpTbl,
         TblRecord(88, 0, 1)},
        {"PAC", "deactivate-pac-table", "PAC table", {0, 0, 1, 0}, kDeactivatePacTbl, TblRecord(268, 0, 1)},
        {"PAC of a flow", "activate-flow", "PAC table", {0, 0, 1, 0}, kActivateFlow, FlowRecord(kNotSet, 0)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        orxemu_reset();
        Occupy(row.before);
        orxemu_clearLog();
        Occupy({1, 1, 1, 1});
        ASSERT_EQ(Send(row.number, Record(row.record)), 0);
        const Log log = Read(RecordedText());
        orxemu_reset();
        const ReplayRun run = RunReplay(log);
        EXPECT_EQ(run.end, ReplayEnd::Stopped);
        EXPECT_EQ(run.err, Line(5, std::string(row.request) + " (request 5) not sent: " + row.object +
                                       " 0 is now another one of this log"));
        EXPECT_EQ(Told(run.counts), Told(4, 0, 0, 1, 0, 0));
        EXPECT_EQ(orxemu_numRequests(), 4u);
    }
}

// A table was deactivated once; the second time its number is another table's.
TEST_F(ReplayIndexesTest, ReleasedIndexIsNotSentForAnotherObject) {
    Occupy({0, 0, 1, 0});
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 1)), 0);
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 1)), ENOENT);
    const Log log = Read(RecordedText());
    orxemu_reset();
    Occupy({0, 0, 3, 0});
    const ReplayRun run = RunReplay(log, {.keepGoing = false, .withRefused = true});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Told(run.counts), Told(2, 0, 0, 0, 1, 0));
    EXPECT_EQ(Sent(), "27 27 27 27 28 28:ENOENT") << "the table of number 0 is not the log's";
    EXPECT_EQ(State().pacTbl[0].active, 1);
}

// The number of a released object is free again for what the hardware held before, in either byte order.
TEST_F(ReplayIndexesTest, NumberOfAReleasedObjectIsNotTaken) {
    Occupy({0, 0, 2, 0});
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 1, 1)), 0);
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 4, 1)), ENOENT);
    const Log ownOrder = Read(RecordedText());
    const Log otherOrder = Read(TextOf(InOtherOrder(Recorded())));
    for (const Log *log : {&ownOrder, &otherOrder}) {
        orxemu_reset();
        Occupy({0, 0, 3, 0});
        EXPECT_EQ(RunReplay(*log, {.keepGoing = false, .withRefused = true}).err, "");
        EXPECT_EQ(Sent(), "27 27 27 27 27 28 28:ENOENT");
    }
}

// An activation that was refused then is accepted now and gets the number of the released table.
TEST_F(ReplayIndexesTest, ReleasedIndexIsNotSentForWhatHasItsNumberNow) {
    Occupy({0, 0, 1, 0});
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 1)), 0);
    orxemu_failRequest(kActivatePacTbl, 1, EIO);
    ASSERT_EQ(Send(kActivatePacTbl, TblRecord(268, kNotSet, 2)), EIO);
    ASSERT_EQ(Send(kDeactivatePacTbl, TblRecord(268, 0, 1)), ENOENT);
    const Log log = Read(RecordedText({{3, FaultMark::Fail}}));
    orxemu_reset();
    Occupy({0, 0, 1, 0});
    EXPECT_EQ(RunReplay(log, {.keepGoing = false, .withRefused = true}).err, "");
    EXPECT_EQ(Sent(), "27 27 28 27");
    EXPECT_EQ(State().pacTbl[1].active, 1);
}

TEST_F(ReplayIndexesTest, EachFcbHasAPlaceOfItsOwnWhileItsFlowIsActive) {
    for (std::uint8_t i = 0; i < 4; ++i) {
        FillFcb(i);
        ActivateFlow();
    }
    FillFcb(2);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(2)), 0);
    FillFcb(9);
    ActivateFlow();
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    const Log log = Read(RecordedText());
    orxemu_reset();
    ASSERT_EQ(RunReplay(log).err, "");
    constexpr std::size_t kAddress = 8;
    const std::set<std::uint32_t> first = {RequestWord(0, kAddress), RequestWord(1, kAddress),
                                           RequestWord(2, kAddress), RequestWord(3, kAddress)};
    EXPECT_EQ(first.size(), 4u);
    EXPECT_EQ(RequestWord(4, kAddress), RequestWord(2, kAddress));
    const std::set<std::uint32_t> others = {RequestWord(0, kAddress), RequestWord(1, kAddress),
                                            RequestWord(3, kAddress)};
    EXPECT_FALSE(others.contains(RequestWord(5, kAddress)));
    EXPECT_EQ(RequestWord(6, kAddress), RequestWord(0, kAddress));
    EXPECT_FALSE(first.contains(log.entries[0].in[kAddress])) << "the address of the recording";
}

// The device, which notes for every request whether the FCB of the first one is still there.
class WatchingTarget : public orxemu::tool::DeviceTarget {
  public:
    WatchingTarget() : DeviceTarget(kDevice) {}
    orxemu::tool::Answer Send(int request, std::span<std::uint8_t> record) override {
        if (thereAt.empty()) {
            std::uint32_t word;
            std::memcpy(&word, record.data() + 8, sizeof word);
            first_ = reinterpret_cast<void *>(std::uintptr_t{word});
        }
        thereAt += IsThere(first_) ? '1' : '0';
        return DeviceTarget::Send(request, record);
    }
    std::string thereAt;

  private:
    // The kernel reads what is there, and refuses what is not.
    static bool IsThere(const void *fcb) {
        int ends[2];
        if (pipe(ends) != 0) {
            ADD_FAILURE() << "no pipe";
            return false;
        }
        const bool isThere = write(ends[1], fcb, kFcbBytes) == static_cast<ssize_t>(kFcbBytes);
        close(ends[0]);
        close(ends[1]);
        return isThere;
    }
    void *first_ = nullptr;
};

TEST_F(ReplayIndexesTest, FcbIsThereUntilItsFlowIsDeactivated) {
    ActivateFlow();
    ASSERT_EQ(Send(kUpdateFwdInfo, FwdRecord(0, 1, 1, 1)), 0);
    ASSERT_EQ(Send(kDeactivateFlow, FlowRecord(0)), 0);
    ASSERT_EQ(Send(kSetRlStatus, RlStatusRecord(1)), 0);
    const Log log = Read(RecordedText());
    orxemu_reset();
    WatchingTarget target;
    orxemu::journal::LogWriter writer;
    EXPECT_EQ(orxemu::tool::Replay(log, kLogName, target, writer, {}).Run(), ReplayEnd::Done);
    EXPECT_EQ(target.thereAt, "1110");
}

TEST_F(ReplayIndexesTest, FcbsFillAllFlowsAndMore) {
    std::set<std::uint32_t> addresses;
    std::vector<orxemu::tool::LowFcb> places(2 * ORXEMU_FLOWS);
    const std::vector<std::uint8_t> bytes(kFcbBytes, 0x5A);
    for (orxemu::tool::LowFcb &place : places) {
        place.Write(bytes);
        addresses.insert(place.Address());
        ASSERT_EQ(BytesAt(reinterpret_cast<const void *>(std::uintptr_t{place.Address()}), kFcbBytes), bytes);
    }
    EXPECT_EQ(addresses.size(), places.size());
    std::uint32_t before = 0;
    for (const std::uint32_t address : addresses) {
        EXPECT_TRUE(before == 0 || address - before >= kFcbBytes)
            << address << " lies in the one at " << before;
        before = address;
    }
}

} // namespace

} // namespace replay_test
