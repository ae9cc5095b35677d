// Reading requests back: a filter's query delivers all requests of its type, an action's the first. And
// iteration over stored requests for code outside the public operations.
#include "qirapi/access/flow_access.h"
#include "qirapi/private/actions.h"
#include "qirapi/private/filters.h"
#include "tests/requests/request_kit.h"

#include <algorithm>

namespace test {
namespace {

class ReadBack : public RequestTest {
  protected:
    static constexpr u8 kGuard = 0xEE;

    // Requests of types 1, 0, 1, 1, 0 with their number in the value area. (PPPoE actions have one type.)
    void Put(const Member &m) {
        Restore(m);
        stored_.clear();
        nodes_.clear();
        for (const u32 type : {1u, 0u, 1u, 1u, 0u}) {
            const u32 known = std::min(type, m.NumTypes() - 1);
            stored_.push_back(
                Make(m, known, static_cast<u32>(stored_.size()), 0, static_cast<u8>(0x40 + stored_.size())));
            nodes_.push_back(fcb_->reqPool[0].next);
            Append(fcb_, m.Entry(fcb_)->reqList, known, stored_.back().bytes, m.recordSize);
        }
    }

    // Expects request `which` at the head of a record that was all `before`, and nothing behind it.
    void ExpectRecord(const Member &m, const AnyRequest &got, AnyRequest before, std::size_t which) {
        std::memcpy(before.bytes, stored_[which].bytes, m.recordSize);
        EXPECT_TRUE(Same(got, before)) << "not request " << which << " alone";
    }

    static AnyRequest Blank() {
        AnyRequest blank;
        std::memset(blank.bytes, kGuard, sizeof blank.bytes);
        return blank;
    }

    std::vector<AnyRequest> stored_;
    std::vector<u16> nodes_;
};

TEST_F(ReadBack, EverySizeOfTheCallersArray) {
    for (const Member &m : Members()) {
        if (!m.isFilter) {
            continue;
        }
        Put(m);
        const ContextSnapshot before;
        for (const unsigned size : {1u, 2u, 3u, 4u, 255u}) {
            for (const bool direct : {false, true}) {
                SCOPED_TRACE(m.Label() + " size " + std::to_string(size));
                const std::vector<unsigned> which = {0, 2, 3}; // type 1 in the order of arrival
                const bool overflow = size < which.size();
                const AnyRequest query = Make(m, 1, 0, 77, kGuard); // of which only the type counts
                std::vector<u8> array(m.recordSize * (std::size_t{size} + 1), kGuard);
                std::memcpy(array.data(), query.bytes, m.recordSize);
                std::vector<u8> expected = array;
                for (std::size_t i = 0; i < which.size() && i < size; ++i) {
                    std::memcpy(expected.data() + i * m.recordSize, stored_[which[i]].bytes, m.recordSize);
                }
                u8 count = 0x99;
                const u8 room = static_cast<u8>(size);
                const Outcome is = Run([&] {
                    return direct ? m.read(fcb_, array.data(), room, &count)
                                  : m.get(&hdl_, array.data(), room, &count);
                });
                EXPECT_EQ(is.code, overflow ? 7u : 0u);
                EXPECT_EQ(count, std::min<std::size_t>(size, which.size()));
                EXPECT_EQ(is.lines, !overflow ? ""
                                    : direct  ? Code("Get_Filter", 7)
                                              : Code("Get_Filter", 7) + RetVal(m.Fn("QIR_Get_"), 7));
                EXPECT_EQ(array, expected);
            }
        }
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(ReadBack, FirstActionOfTheType) {
    for (const Member &m : Members()) {
        if (m.isFilter) {
            continue;
        }
        Put(m);
        const ContextSnapshot before;
        for (u32 type = 0; type < std::min(m.NumTypes(), 2u); ++type) {
            SCOPED_TRACE(m.Label() + " type " + std::to_string(type));
            AnyRequest asked = Make(m, type, 0, 0, kGuard);
            SetOp(&asked, 77); // a query has no operation
            AnyRequest got = asked;
            const Outcome is = Run([&] { return Get(m, &got); });
            EXPECT_EQ(is.code, 0u);
            EXPECT_EQ(is.lines, "");
            ExpectRecord(m, got, asked, type == 1 || m.NumTypes() == 1 ? 0 : 1);
            got = asked;
            EXPECT_EQ(m.read(fcb_, &got, 0, nullptr), 0u);
            ExpectRecord(m, got, asked, type == 1 || m.NumTypes() == 1 ? 0 : 1);
        }
        EXPECT_TRUE(before.Unchanged());
    }
}

// No match is success with a count of 0 for a filter, and a refusal for an action. The record is left alone.
TEST_F(ReadBack, NoMatch) {
    for (const Member &m : Members()) {
        for (const bool empty : {true, false}) {
            SCOPED_TRACE(m.Label() + (empty ? ", empty" : ", another type"));
            Restore(m);
            if (!empty && m.NumTypes() > 1) {
                Append(fcb_, m.Entry(fcb_)->reqList, 1, Good(m, 1).bytes, m.recordSize);
            }
            const ContextSnapshot before;
            AnyRequest req = Make(m, 0, 0, 0, kGuard);
            const AnyRequest asked = req;
            const std::string none = m.isFilter ? "" : Code("Get_Action", 6);
            for (const bool direct : {false, true}) {
                u8 count = 0x99;
                const Outcome is = Run(
                    [&] { return direct ? m.read(fcb_, &req, 1, &count) : m.get(&hdl_, &req, 1, &count); });
                EXPECT_EQ(is.code, m.isFilter ? 0u : 6u);
                EXPECT_EQ(is.lines, none + (direct || m.isFilter ? "" : RetVal(m.Fn("QIR_Get_"), 6)));
                EXPECT_EQ(count, m.isFilter ? 0u : 0x99u);
                EXPECT_TRUE(Same(req, asked));
            }
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

// What is accepted comes back, with the bytes of the value area that its type does not need.
TEST_F(ReadBack, EveryAcceptedRequestComesBack) {
    for (const Member &m : Members()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.Label() + " " + m.types[type].name);
            Restore(m);
            fcb_->filterBlk.totalTags = 1;
            const AnyRequest req = Make(m, type, m.types[type].lowest, 0, 0x5A);
            ASSERT_EQ(Config(m, req), 0u);
            AnyRequest back = Make(m, type, 0);
            EXPECT_EQ(Get(m, &back), 0u);
            EXPECT_EQ(std::memcmp(back.bytes, req.bytes, m.recordSize), 0);
        }
    }
}

TEST_F(ReadBack, SharedWalksCopyTheGivenSize) {
    Put(Of("EthFilter"));
    const ReqNode *head = &fcb_->reqPool[fcb_->filterBlk.eth.hdr.reqList];
    std::vector<u8> bytes(20, kGuard);
    u8 count = 0x99;
    EXPECT_EQ(qir::Get_Filter(fcb_, bytes.data(), 1, 3, &count, head, 6), 0u);
    EXPECT_EQ(count, 3u);
    std::vector<u8> expected(20, kGuard);
    for (unsigned i = 0; i < 3; ++i) {
        std::memcpy(expected.data() + 6 * i, stored_[i == 0 ? 0 : i + 1].bytes, 6);
    }
    EXPECT_EQ(bytes, expected);
    const auto find = [&](u32 type) { return qir::Get_Filter(fcb_, bytes.data(), type, 0, &count, head, 6); };
    EXPECT_EQ(Run([&] { return find(1); }).lines, Code("Get_Filter", 7));
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(find(4), 0u) << "no match needs no room";

    Put(Of("EthAction"));
    head = &fcb_->reqPool[fcb_->actionBlk.eth.reqList];
    bytes.assign(12, kGuard);
    expected.assign(12, kGuard);
    std::memcpy(expected.data(), stored_[0].bytes, 10);
    EXPECT_EQ(qir::Get_Action(fcb_, bytes.data(), 1, head, 10), 0u);
    EXPECT_EQ(bytes, expected);
}

// While nothing is found, neither the record nor the list is needed.
TEST_F(ReadBack, AssertionsOfTheActionsWalk) {
    Restore(Of("UdpAction"));
    const ReqNode *empty = &fcb_->reqPool[fcb_->actionBlk.udp.reqList];
    const auto is = [](const char *text) { return Assertion("qirapi_private", "Get_Action", text); };
    const std::string none = Code("Get_Action", 6);
    UdpAction record{};
    EXPECT_EQ(CaptureMasked([&] { qir::Get_Action(fcb_, nullptr, 0, empty, 12); }),
              is("(action_p != NULL)") + none);
    EXPECT_EQ(CaptureMasked([&] { qir::Get_Action(fcb_, &record, 0, nullptr, 12); }),
              is("(reqList_p != NULL)") + none);
    EXPECT_EQ(CaptureMasked([&] { qir::Get_Action(nullptr, nullptr, 0, nullptr, 12); }),
              is("(fcb_p != NULL)") + is("(action_p != NULL)") + is("(reqList_p != NULL)") + none);
}

// ---- iteration ------------------------------------------------------------------------------------

class Iteration : public ReadBack {
  protected:
    // One step from `info`, silently; a step that yields null leaves the record alone.
    void *Step(const Member &m, void *info, AnyRequest *got) {
        *got = Blank();
        EXPECT_EQ(Capture([&] { m.next(fcb_, m.tag, &info, got); }), "");
        EXPECT_TRUE(info != nullptr || Same(*got, Blank()));
        return info;
    }
};

TEST_F(Iteration, VisitsEveryRequestInTheOrderOfArrival) {
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        Put(m);
        const ContextSnapshot before;
        void *info = nullptr;
        AnyRequest got;
        for (unsigned round = 0; round < 2; ++round) { // and from the start again
            for (std::size_t i = 0; i < stored_.size(); ++i) {
                info = Step(m, info, &got);
                EXPECT_EQ(info, static_cast<void *>(fcb_->reqPool[nodes_[i]].req));
                ExpectRecord(m, got, Blank(), i);
            }
            info = Step(m, info, &got);
            EXPECT_EQ(info, nullptr) << "after the last";
        }
        EXPECT_TRUE(before.Unchanged());
    }
}

// The header's own bit decides, for TCP and UDP the IPv4 header's; the other block's does not matter.
TEST_F(Iteration, YieldsNullWhereNothingIs) {
    for (const Member &m : Members()) {
        SCOPED_TRACE(m.Label());
        Put(m);
        AnyRequest got;
        *m.Headers(fcb_) = static_cast<u16>(1u << m.bit);
        *m.OtherHeaders(fcb_) = 0;
        void *const first = Step(m, nullptr, &got);
        EXPECT_NE(first, nullptr);
        for (void *stray : {static_cast<void *>(fcb_), static_cast<void *>(fcb_->reqPool[31].req),
                            static_cast<void *>(fcb_->reqPool[m.Entry(fcb_)->reqList].req)}) {
            EXPECT_EQ(Step(m, stray, &got), nullptr) << "not on the list";
        }
        *m.Headers(fcb_) = static_cast<u16>(~(1u << m.bit));
        *m.OtherHeaders(fcb_) = 0xFFFF;
        EXPECT_EQ(Step(m, nullptr, &got), nullptr) << "no header";
        EXPECT_EQ(Step(m, first, &got), nullptr) << "no header any more";
        Restore(m);
        EXPECT_EQ(Step(m, nullptr, &got), nullptr) << "empty";
    }
}

TEST_F(Iteration, DebugLinesOfTheWalk) {
    for (const char *label : {"UdpFilter", "TcpAction"}) {
        const Member &m = Of(label);
        Restore(m);
        for (const u32 type : {0u, 1u}) {
            ASSERT_EQ(Config(m, Good(m, type)), 0u);
        }
        RaiseLog(3);
        void *info = nullptr;
        AnyRequest got;
        const auto step = [&] { return CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }); };
        EXPECT_EQ(step(), Dbg("getNextReq", "params: *req_pp <0x<nil>>\n") +
                              Dbg("getNextReq", "first returned *req_pp<0x<ptr>>\n"));
        EXPECT_EQ(step(), Dbg("getNextReq", "params: *req_pp <0x<ptr>>\n") +
                              Dbg("getNextReq", "found next returned *req_pp<0x<ptr>>\n"));
        EXPECT_EQ(step(), Dbg("getNextReq", "params: *req_pp <0x<ptr>>\n"));
        *m.Headers(fcb_) = 0;
        EXPECT_EQ(step(), "");
        RaiseLog(1);
    }
}

// Tags that have no bit in the bitmap (14 has the highest) are not allocated either.
TEST_F(Iteration, TagNumberIsAsserted) {
    for (const u32 tag : {2u, 3u, 14u, 15u, 16u, 17u, 0xFFFFFFFFu}) {
        for (const char *label : {"Vlan0Filter", "Vlan0Action"}) {
            const Member &m = Of(label);
            Restore(m);
            *m.Headers(fcb_) = tag < 14 ? 0 : 0x7FFF;
            void *info = fcb_;
            AnyRequest got;
            EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, tag, &info, &got); }),
                      Assertion("qirapi_access", m.Fn("getNext"), "(toTagNum < e_VLAN_TAG_MAX)"))
                << "tag " << tag;
            EXPECT_EQ(info, nullptr);
        }
    }
}

// A null record is asserted, and not needed while there is nothing to copy.
TEST_F(Iteration, NullRecordIsAsserted) {
    for (const Member &m : Members()) {
        for (const bool header : {true, false}) {
            Restore(m);
            *m.Headers(fcb_) = header ? 0xFFFF : 0;
            void *info = header ? nullptr : fcb_;
            EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, m.tag, &info, nullptr); }),
                      Assertion("qirapi_access", m.Fn("getNext"), "(" + m.Pointer() + " != NULL)"));
            EXPECT_EQ(info, nullptr);
        }
    }
}

// An IPv4 header whose allocation ran out of nodes leaves lists that are no lists: walks stay in the pool,
// and what is added is counted and takes its node, but it is on no list.
TEST_F(Iteration, ListOutsideThePool) {
    for (const Member &m : Members()) {
        for (const u16 head : {u16{QIR_MAX_FCBREQ}, u16{0xA5A5}, u16{0xFFFF}}) {
            SCOPED_TRACE(m.Label() + " head " + std::to_string(head));
            Restore(m);
            HdrEntry &entry = *m.Entry(fcb_);
            entry.reqList = head;
            const u16 count = entry.reqCount;
            AnyRequest got;
            EXPECT_EQ(Step(m, nullptr, &got), nullptr);
            AnyRequest query = Make(m, 0, 0);
            EXPECT_EQ(Quiet([&] { return Get(m, &query); }), m.isFilter ? 0u : 6u);

            const u16 node = fcb_->reqPool[0].next;
            const Outcome is = Run([&] { return Config(m, Good(m, 0)); });
            EXPECT_EQ(is.code, 0u);
            EXPECT_EQ(is.lines, "");
            EXPECT_EQ(entry.reqCount, count + 1);
            EXPECT_EQ(entry.reqList, head);
            EXPECT_EQ(fcb_->freeReqCount, Fresh(m).freeReqCount - 1);
            EXPECT_EQ(fcb_->reqPool[node].next, node);
            EXPECT_EQ(fcb_->reqPool[node].prev, node);
            EXPECT_EQ(fcb_->reqPool[node].key, 0u);
        }
    }
}

} // namespace
} // namespace test
