// The public operations that reach the driver, when they do not: the code 1, the closing line, the line on
// standard error, and a shadow that knows only of what the driver accepted.
#include "tests/driver/driver_test.h"
#include "tests/driver/operations.h"

#include <cerrno>
#include <utility>

namespace driver_test {
namespace {

class OperationsOfTheDriver : public test::LibraryTest {
  protected:
    static void ForEach(const std::function<void(const Operation &)> &check) {
        for (std::size_t i = 0; i < Operations().size(); ++i) {
            PrepareObjects();
            const Operation operation = Operations()[i];
            SCOPED_TRACE(std::string(operation.name) + ", " + operation.with);
            check(operation);
        }
    }

    // The code, the closing line alone, one line on standard error, and of the shadow at most the index.
    static void ExpectFailure(const Operation &operation, const std::string &err) {
        const ContextSnapshot before;
        const Called called = Call(operation.call);
        EXPECT_EQ(called.rc, 1u);
        EXPECT_EQ(called.out, RetVal(operation.name, 1));
        EXPECT_EQ(called.err, err);
        EXPECT_TRUE(OnlyChanged(before, operation.index));
        EXPECT_EQ(orxemu_openDescriptors(), 0);
    }
};

// What the rows below fail at is the driver alone.
TEST_F(OperationsOfTheDriver, SucceedWhenTheDriverAccepts) {
    ForEach([](const Operation &operation) {
        ExpectSilentSuccess(operation.call);
        ASSERT_EQ(orxemu_numRequests(), 1u);
        EXPECT_EQ(LastRequest().request, operation.request);
    });
}

TEST_F(OperationsOfTheDriver, MissingDeviceIs1WithErrno2) {
    ForEach([](const Operation &operation) {
        orxemu_setPresent(0);
        ExpectFailure(operation, "qel_dev_open </dev/pktorx> error no 2\n");
        EXPECT_EQ(orxemu_numRequests(), 0u);
    });
}

TEST_F(OperationsOfTheDriver, DeviceThatMayNotBeOpenedIs1WithItsErrno) {
    ForEach([](const Operation &operation) {
        orxemu_failOpen(1, EPERM);
        ExpectFailure(operation, "qel_dev_open </dev/pktorx> error no 1\n");
    });
}

TEST_F(OperationsOfTheDriver, RefusedRequestIs1WithItsNumber) {
    ForEach([](const Operation &operation) {
        orxemu_failRequest(operation.request, 1, EIO);
        ExpectFailure(operation, IoctlFailed(operation.request));
        EXPECT_EQ(orxemu_numRequests(), 1u);
    });
}

TEST_F(OperationsOfTheDriver, LostAnswerIs1WithTheRequestsNumber) {
    ForEach([](const Operation &operation) {
        orxemu_loseAnswer(operation.request, 1, EINTR);
        ExpectFailure(operation, IoctlFailed(operation.request));
    });
}

// A table that could not be deactivated is still active and has no index any more.
TEST_F(OperationsOfTheDriver, FailedTableDeactivationForgetsTheIndex) {
    const std::pair<int, void (*)()> failures[] = {
        {0, [] { orxemu_setPresent(0); }},
        {1, [] { orxemu_failRequest(0, 1, EIO); }},
        {2, [] { orxemu_loseAnswer(0, 1, EIO); }},
    };
    for (const auto &[number, arm] : failures) {
        SCOPED_TRACE(number);
        ForEach([arm = arm](const Operation &operation) {
            const int request = operation.request;
            if (request != 22 && request != 24 && request != 28) {
                return;
            }
            arm();
            EXPECT_EQ(Call(operation.call).rc, 1u);
            EXPECT_EQ(WordAt(operation.index, 0), kAllOnes);
        });
    }
}

} // namespace
} // namespace driver_test
