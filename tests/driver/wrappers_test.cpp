// Every wrapper: the record that it sends, and what changes in the shadow. (Requests that fail have a room of
// their own.)
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
        // The record lives for the duration of the call, outside of the shadow.
        const auto *record = static_cast<const u8 *>(calls.Seen()[1].record);
        const auto *context = reinterpret_cast<const u8 *>(qirCtxt_gp);
        EXPECT_TRUE(record < context || record >= context + sizeof *qirCtxt_gp);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(record) % 4, 0u) << "words stand on word boundaries";
    });
}

} // namespace
} // namespace driver_test
