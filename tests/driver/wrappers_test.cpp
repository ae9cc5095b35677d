// Every wrapper: its request, what becomes of it when the driver accepts, refuses, cannot be reached or
// answers too late, and what changes in the shadow.
#include "qirapi/driver/request_table.h"
#include "tests/driver/driver_test.h"

#include <cerrno>
#include <fcntl.h>
#include <set>

namespace driver_test {
namespace {

class Wrappers : public DriverTest {
  protected:
    // Runs `check` for each wrapper, each on a library and a driver of its own.
    static void ForEach(const std::function<void(const Wrapper &)> &check) {
        const std::size_t count = AllWrappers().size();
        for (std::size_t i = 0; i < count; ++i) {
            Prepare();
            const Wrapper wrapper = AllWrappers()[i];
            SCOPED_TRACE(wrapper.name);
            check(wrapper);
            EXPECT_EQ(orxemu_openDescriptors(), 0);
        }
    }

    // The object's index word after the call, given the word that the record held then.
    static void ExpectIndex(const Wrapper &wrapper, const ContextSnapshot &before, u32 indexWord) {
        switch (wrapper.index) {
        case Wrapper::None:
            EXPECT_TRUE(before.Unchanged());
            return;
        case Wrapper::Taken:
            EXPECT_EQ(WordAt(wrapper.shadow, 0), indexWord);
            break;
        case Wrapper::Forgot:
            EXPECT_EQ(WordAt(wrapper.shadow, 0), kAllOnes);
            break;
        }
        EXPECT_TRUE(OnlyChanged(before, wrapper.shadow));
    }
};

TEST_F(Wrappers, CoverEveryRequestOfTheDriver) {
    std::set<int> requests;
    for (const Wrapper &wrapper : AllWrappers()) {
        requests.insert(wrapper.request);
    }
    std::set<int> known;
    for (const qir::RequestInfo &info : qir::kRequestTable) {
        known.insert(info.number);
    }
    EXPECT_EQ(requests, known);
}

TEST_F(Wrappers, SendTheirRequestWithTheseBytes) {
    ForEach([](const Wrapper &wrapper) {
        const ContextSnapshot before;
        const NodeCalls calls;
        ExpectSilentSuccess(wrapper.call);
        ExpectRequest(wrapper.request, wrapper.record);
        ExpectIndex(wrapper, before, WordAt(LastRequest().out, 0));
        if (wrapper.index == Wrapper::Taken) {
            EXPECT_EQ(WordAt(wrapper.shadow, 0), kNextIdx);
        }
        ASSERT_EQ(calls.Seen().size(), 3u);
        EXPECT_EQ(calls.Seen()[0].kind, NodeCall::Open);
        EXPECT_EQ(calls.Seen()[0].flags & O_ACCMODE, O_RDWR);
        EXPECT_EQ(calls.Seen()[1].kind, NodeCall::Ioctl);
        EXPECT_EQ(calls.Seen()[1].request, static_cast<unsigned long>(wrapper.request));
        EXPECT_EQ(calls.Seen()[2].kind, NodeCall::Close);
    });
}

// Records live for the duration of the call, outside of the shadow.
TEST_F(Wrappers, PassARecordOutsideOfTheContext) {
    ForEach([](const Wrapper &wrapper) {
        const NodeCalls calls;
        ExpectSilentSuccess(wrapper.call);
        ASSERT_EQ(calls.Seen().size(), 3u);
        const auto *record = static_cast<const u8 *>(calls.Seen()[1].record);
        const auto *context = reinterpret_cast<const u8 *>(qirCtxt_gp);
        EXPECT_TRUE(record < context || record >= context + sizeof *qirCtxt_gp);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % 4, 0u) << "words stand on word boundaries";
    });
}

TEST_F(Wrappers, RefusedRequestGives1AndItsNumber) {
    ForEach([](const Wrapper &wrapper) {
        const ContextSnapshot before;
        orxemu_failRequest(wrapper.request, 1, EIO);
        ExpectDriverFailure(wrapper.call, IoctlFailed(wrapper.request));
        ExpectRequest(wrapper.request, wrapper.record, EIO);
        ExpectIndex(wrapper, before, WordAt(LastRequest().in, 0));
    });
}

// The driver did what it was told, but the answer is a failure: the index has come back all the same.
TEST_F(Wrappers, LostAnswerGives1AndTheIndex) {
    ForEach([](const Wrapper &wrapper) {
        const ContextSnapshot before;
        orxemu_loseAnswer(wrapper.request, 1, EINTR);
        ExpectDriverFailure(wrapper.call, IoctlFailed(wrapper.request));
        ExpectRequest(wrapper.request, wrapper.record, EINTR);
        ExpectIndex(wrapper, before, kNextIdx);
    });
}

TEST_F(Wrappers, MissingDeviceGives1AndErrno2) {
    ForEach([](const Wrapper &wrapper) {
        const ContextSnapshot before;
        orxemu_setPresent(0);
        ExpectDriverFailure(wrapper.call, "qel_dev_open </dev/pktorx> error no 2\n");
        EXPECT_EQ(orxemu_numRequests(), 0u);
        // What an activation keeps then is not said, that it keeps something is the next test.
        if (wrapper.index == Wrapper::Taken) {
            EXPECT_TRUE(OnlyChanged(before, wrapper.shadow));
        } else {
            ExpectIndex(wrapper, before, 0);
        }
    });
}

// The index word goes into the shadow whatever happened, so what stood there before does not survive: of two
// different marks at most one can.
TEST_F(Wrappers, ActivationWithoutADeviceStillWritesTheIndex) {
    ForEach([](const Wrapper &wrapper) {
        if (wrapper.index != Wrapper::Taken) {
            return;
        }
        orxemu_setPresent(0);
        u8 *const shadow =
            reinterpret_cast<u8 *>(qirCtxt_gp) + (wrapper.shadow - reinterpret_cast<u8 *>(qirCtxt_gp));
        unsigned kept = 0;
        for (const u32 mark : {0x13572468u, 0x2468ACE0u}) {
            PutWord(shadow, 0, mark);
            ExpectDriverFailure(wrapper.call, OpenFailed(2));
            kept += WordAt(shadow, 0) == mark ? 1u : 0u;
        }
        EXPECT_LE(kept, 1u);
    });
}

TEST_F(Wrappers, DeviceThatMayNotBeOpenedGives1AndItsErrno) {
    ForEach([](const Wrapper &wrapper) {
        orxemu_failOpen(1, EACCES);
        ExpectDriverFailure(wrapper.call, "qel_dev_open </dev/pktorx> error no 13\n");
        EXPECT_EQ(orxemu_numRequests(), 0u);
        EXPECT_EQ(orxemu_numOpens(), 9u) << "those of the preparation";
        if (wrapper.index == Wrapper::Forgot) {
            EXPECT_EQ(WordAt(wrapper.shadow, 0), kAllOnes);
        }
    });
}

// The wrappers print no line of their own at any log level.
TEST_F(Wrappers, SayNothingAtAnyLogLevel) {
    ForEach([](const Wrapper &wrapper) {
        test::RaiseLog(3);
        ExpectSilentSuccess(wrapper.call);
    });
}

// After a failure nothing stands in the way of a second attempt, but for tables whose index is forgotten.
TEST_F(Wrappers, SecondAttemptAfterARefusal) {
    ForEach([](const Wrapper &wrapper) {
        orxemu_failRequest(wrapper.request, 1, EAGAIN);
        ExpectDriverFailure(wrapper.call, IoctlFailed(wrapper.request));
        orxemu_clearLog();
        if (wrapper.index == Wrapper::Forgot) {
            ExpectDriverFailure(wrapper.call, IoctlFailed(wrapper.request));
            EXPECT_EQ(WordAt(LastRequest().in, 0), kAllOnes);
            EXPECT_EQ(WordAt(LastRequest().in, 8), kAllOnes) << "and so in the copy of the record";
            EXPECT_EQ(LastRequest().err, ENOENT);
        } else {
            ExpectSilentSuccess(wrapper.call);
            EXPECT_EQ(orxemu_numRequests(), 1u);
        }
    });
}

} // namespace
} // namespace driver_test
