// The public operations that reach the driver, with a request that fails in every way: what either side holds
// then, and how the same call ends when it is made again.
#include "tests/faults/fault.h"
#include "tests/faults/operations.h"
#include "tests/faults/two_sides.h"
#include "tests/support/library.h"

#include <set>

namespace faults {
namespace {

using qir::u32;

constexpr std::size_t kNumOperations = 26;
constexpr std::size_t kNumRequestNumbers = 16;

// The index word of a request before the driver has seen it, and of a table that was taken out.
constexpr u32 kUnset = 0xA5A5A5A5;
constexpr u32 kAllOnes = 0xFFFFFFFF;

// How a call of an operation ends.
struct Outcome {
    bool isAccepted; // the library gets to know that the hardware has taken the request
    bool isTaken;
    int err; // errno of the request that the driver has seen
    bool isSeen;
    std::string lines; // on standard error
};

Outcome Accepted() {
    return {true, true, 0, true, ""};
}
Outcome RefusedByDriver(const Operation &operation, int err) {
    return {false, false, err, true, RefusalLines(operation.request)};
}
Outcome MeetsFault(const Operation &operation, const Fault &fault) {
    return {false, fault.isTaken, fault.err, fault.isSeen, LinesOf(fault, operation.request)};
}
Outcome MadeAgain(const Operation &operation, bool wasTaken) {
    const int err = wasTaken ? operation.againWhenTaken : operation.again;
    return err == 0 ? Accepted() : RefusedByDriver(operation, err);
}

// The driver's index that the hardware has given: where something is active that was not.
template <class Slot, std::size_t num>
void FindTaken(const Slot (&before)[num], const Slot (&after)[num], u32 &idx) {
    for (std::size_t i = 0; i < num; ++i) {
        if (before[i].active == 0 && after[i].active != 0) {
            idx = static_cast<u32>(i);
        }
    }
}

u32 TakenIndex(const Hardware &before, const Hardware &after) {
    u32 idx = kUnset;
    FindTaken(before->asTbl, after->asTbl, idx);
    FindTaken(before->dscpTbl, after->dscpTbl, idx);
    FindTaken(before->pacTbl, after->pacTbl, idx);
    FindTaken(before->flow, after->flow, idx);
    return idx;
}

// Writes the word of the object into the copy of the shadow.
void PutIndexWord(Shadow &shadow, const Operation &operation, u32 value) {
    const auto offset = operation.index - reinterpret_cast<const qir::u8 *>(qirCtxt_gp);
    std::memcpy(reinterpret_cast<qir::u8 *>(&*shadow) + offset, &value, sizeof value);
}

// Calls the operation and expects this end of it, on all sides. Has the request failed?
bool ExpectOutcome(const Operation &operation, const Outcome &outcome) {
    Shadow shadow = ShadowNow();
    const Hardware before = HardwareNow();
    Hardware hardware = before;
    if (outcome.isTaken && operation.hardware != nullptr) {
        operation.hardware(*hardware, *shadow);
    }
    if (outcome.isAccepted && operation.shadow != nullptr) {
        operation.shadow(*shadow);
    }
    if (operation.indexWord == IndexWord::Taken) {
        PutIndexWord(shadow, operation, TakenIndex(before, hardware));
    } else if (operation.indexWord == IndexWord::Forgotten) {
        PutIndexWord(shadow, operation, kAllOnes);
    }
    orxemu_clearLog();

    u32 code = 0;
    const test::Output output = test::CaptureBoth([&] { code = operation.call(); });
    EXPECT_EQ(code, outcome.isAccepted ? 0u : 1u);
    EXPECT_EQ(test::Mask(output.out), outcome.isAccepted ? "" : test::RetVal(operation.name, 1));
    EXPECT_EQ(output.err, outcome.lines);
    EXPECT_EQ(orxemu_openDescriptors(), 0);
    EXPECT_EQ(Difference(ShadowNow(), shadow), "") << "of the shadow";
    EXPECT_EQ(Difference(HardwareNow(), hardware), "") << "of what the hardware holds";
    EXPECT_EQ(orxemu_numRequests(), outcome.isSeen ? 1u : 0u);
    if (orxemu_numRequests() == 0) {
        return !output.err.empty();
    }
    EXPECT_EQ(orxemu_request(0)->request, operation.request);
    EXPECT_EQ(orxemu_request(0)->err, outcome.err);
    return orxemu_request(0)->err != 0;
}

class OperationFaults : public test::LibraryTest {
  protected:
    // Each operation on objects of its own.
    static void ForEach(const std::function<void(const Operation &)> &check) {
        for (std::size_t i = 0; i < kNumOperations; ++i) {
            PrepareObjects();
            const std::vector<Operation> operations = Operations();
            ASSERT_EQ(operations.size(), kNumOperations);
            SCOPED_TRACE(std::string(operations[i].name) + ", " + operations[i].with);
            check(operations[i]);
        }
    }
};

TEST_F(OperationFaults, ConcernEveryRequestOfTheDriver) {
    std::set<int> numbers;
    ForEach([&](const Operation &operation) { numbers.insert(operation.request); });
    EXPECT_EQ(numbers.size(), kNumRequestNumbers);
}

TEST_F(OperationFaults, AreNotMetByUndisturbedCalls) {
    ForEach([](const Operation &operation) { EXPECT_FALSE(ExpectOutcome(operation, Accepted())); });
}

TEST_F(OperationFaults, LeaveBothSidesAsTheRequestLeftThem) {
    std::size_t injected = 0;
    for (const Fault &fault : kFaults) {
        SCOPED_TRACE(fault.name);
        ForEach([&](const Operation &operation) {
            fault.arm(1);
            injected += ExpectOutcome(operation, MeetsFault(operation, fault)) ? 1 : 0;
            SCOPED_TRACE("again");
            ExpectOutcome(operation, MadeAgain(operation, fault.isTaken));
        });
    }
    PrintInjected(static_cast<unsigned>(injected));
    EXPECT_EQ(injected, kNumFaults * kNumOperations);
}

} // namespace
} // namespace faults
