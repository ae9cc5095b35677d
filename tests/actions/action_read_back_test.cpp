// Reading actions back, and iteration over them.
#include "qirapi/access/flow_access.h"
#include "qirapi/private/actions.h"
#include "tests/actions/action_kit.h"

namespace test {
namespace {

AnyAction Blank() {
    AnyAction blank;
    std::memset(blank.bytes, 0xEE, sizeof blank.bytes);
    return blank;
}

bool Same(const AnyAction &a, const AnyAction &b) {
    return std::memcmp(a.bytes, b.bytes, sizeof a.bytes) == 0;
}

// The caller's record after a read: the stored record, and nothing behind it.
AnyAction Delivered(const ActionMember &m, const AnyAction &stored, const AnyAction &before) {
    AnyAction expected = before;
    std::memcpy(expected.bytes, stored.bytes, m.recordSize);
    return expected;
}

class ActionReadBack : public ActionFlowTest {
  protected:
    // Puts a request on the header's list without the rules.
    void Put(const ActionMember &m, const AnyAction &req) {
        ModelAppend(fcb_, m.Entry(fcb_)->reqList, TypeOf(req), req.bytes, m.recordSize);
    }
    AnyAction Query(const ActionMember &m, u32 type) { return MakeAction(m, type, 0, 0xEE); }
};

TEST_F(ActionReadBack, FirstRequestOfTheTypeIsDelivered) {
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        Restore();
        const u32 other = m.NumTypes() > 1 ? 1 : 0;
        std::vector<AnyAction> stored;
        for (const u32 type : {other, 0u, other, 0u}) {
            stored.push_back(MakeAction(m, type, 0, static_cast<u8>(0x31 + stored.size())));
            Put(m, stored.back());
        }
        const ContextSnapshot before;
        for (const u32 type : {0u, other}) {
            const AnyAction &first = stored[type == other ? 0 : 1];
            AnyAction req = Query(m, type);
            const AnyAction asked = req;
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = m.get(&hdl_, &req); }), "");
            EXPECT_EQ(code, 0u);
            EXPECT_TRUE(Same(req, Delivered(m, first, asked))) << "type " << type;
            req = asked;
            EXPECT_EQ(m.read(fcb_, &req), 0u);
            EXPECT_TRUE(Same(req, Delivered(m, first, asked))) << "type " << type;
        }
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(ActionReadBack, EveryAcceptedActionComesBack) {
    fcb_->filterBlk.totalTags = 1;
    CopyFcb(&fresh_, *fcb_);
    for (const ActionMember &m : ActionMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            SCOPED_TRACE(m.Label() + " " + m.types[type].name);
            Restore();
            const AnyAction req = GoodAction(m, type);
            ASSERT_EQ(Config(m, req), 0u);
            AnyAction back = Query(m, type);
            const AnyAction asked = back;
            EXPECT_EQ(m.get(&hdl_, &back), 0u);
            EXPECT_TRUE(Same(back, Delivered(m, req, asked)));
        }
    }
}

TEST_F(ActionReadBack, NoSuchAction) {
    for (const ActionMember &m : ActionMembers()) {
        for (const bool empty : {true, false}) {
            if (!empty && m.NumTypes() == 1) {
                continue; // its only type would match
            }
            SCOPED_TRACE(m.Label() + (empty ? " empty" : " other type"));
            Restore();
            if (!empty) {
                Put(m, GoodAction(m, 1));
            }
            const ContextSnapshot before;
            AnyAction req = Query(m, 0);
            const AnyAction asked = req;
            u32 code = 0;
            EXPECT_EQ(CaptureMasked([&] { code = m.get(&hdl_, &req); }),
                      CodeLine("Get_Action", "e_RET_ERR_NO_SUCH_ENTRY") + RetVal(m.Fn("QIR_Get_"), 6));
            EXPECT_EQ(code, 6u);
            EXPECT_EQ(CaptureMasked([&] { code = m.read(fcb_, &req); }),
                      CodeLine("Get_Action", "e_RET_ERR_NO_SUCH_ENTRY"));
            EXPECT_EQ(code, 6u);
            EXPECT_TRUE(Same(req, asked));
            EXPECT_TRUE(before.Unchanged());
        }
    }
}

TEST_F(ActionReadBack, TagsHaveTheirOwnLists) {
    const ActionMember &outer = ActionOf("Vlan[0]");
    const ActionMember &inner = ActionOf("Vlan[1]");
    ASSERT_EQ(Config(outer, MakeAction(outer, e_VLAN_ACTION_SET_VID, 100)), 0u);
    ASSERT_EQ(Config(inner, MakeAction(inner, e_VLAN_ACTION_SET_VID, 200)), 0u);
    AnyAction req = MakeAction(outer, e_VLAN_ACTION_SET_VID, 0);
    EXPECT_EQ(outer.get(&hdl_, &req), 0u);
    EXPECT_EQ(req.vlan.val.vid, 100u);
    req = MakeAction(inner, e_VLAN_ACTION_SET_VID, 0);
    EXPECT_EQ(inner.get(&hdl_, &req), 0u);
    EXPECT_EQ(req.vlan.val.vid, 200u);
}

TEST_F(ActionReadBack, SharedWalkCopiesTheGivenSize) {
    const ActionMember &eth = ActionOf("Eth");
    const AnyAction stored = MakeAction(eth, 1, 0x42, 0x24);
    Put(eth, stored);
    u8 bytes[12];
    std::memset(bytes, 0xEE, sizeof bytes);
    const ReqNode *head = &fcb_->reqPool[fcb_->actionBlk.eth.reqList];
    EXPECT_EQ(qir::Get_Action(fcb_, bytes, 1, head, 10), 0u);
    EXPECT_EQ(std::memcmp(bytes, stored.bytes, 10), 0);
    EXPECT_EQ(bytes[10], 0xEEu);
    EXPECT_EQ(bytes[11], 0xEEu);
}

// While nothing is found, neither the record nor the list is needed.
TEST_F(ActionReadBack, AssertionsOfTheSharedWalk) {
    const ReqNode *empty = &fcb_->reqPool[fcb_->actionBlk.udp.reqList];
    const std::string none = CodeLine("Get_Action", "e_RET_ERR_NO_SUCH_ENTRY");
    UdpAction record{};
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = qir::Get_Action(fcb_, nullptr, 0, empty, 12); }),
              Assertion("qirapi_private", "Get_Action", "(action_p != NULL)") + none);
    EXPECT_EQ(code, 6u);
    EXPECT_EQ(CaptureMasked([&] { code = qir::Get_Action(fcb_, &record, 0, nullptr, 12); }),
              Assertion("qirapi_private", "Get_Action", "(reqList_p != NULL)") + none);
    EXPECT_EQ(code, 6u);
    EXPECT_EQ(CaptureMasked([&] { code = qir::Get_Action(nullptr, nullptr, 0, nullptr, 12); }),
              Assertion("qirapi_private", "Get_Action", "(fcb_p != NULL)") +
                  Assertion("qirapi_private", "Get_Action", "(action_p != NULL)") +
                  Assertion("qirapi_private", "Get_Action", "(reqList_p != NULL)") + none);
    EXPECT_EQ(code, 6u);
}

TEST_F(ActionReadBack, ValidQueriesPassSilently) {
    const ContextSnapshot before;
    for (const ActionMember &m : ActionMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            AnyAction req = MakeAction(m, type, 0xFFFFFFFF, 0xFF);
            SetOp(&req, 77); // a query has no operation
            u32 code = 99;
            EXPECT_EQ(Capture([&] { code = m.validateGet(&req); }), "");
            EXPECT_EQ(code, 0u) << m.Label() << " " << type;
        }
    }
    EXPECT_TRUE(before.Unchanged());
}

class ActionIteration : public ActionReadBack {};

TEST_F(ActionIteration, VisitsEveryRequestInTheOrderOfArrival) {
    for (const ActionMember &m : ActionMembers()) {
        SCOPED_TRACE(m.Label());
        const u32 other = m.NumTypes() > 1 ? 1 : 0;
        std::vector<AnyAction> stored;
        std::vector<u16> nodes;
        for (const u32 type : {other, 0u, other}) {
            stored.push_back(MakeAction(m, type, 0, static_cast<u8>(0x31 + stored.size())));
            nodes.push_back(fcb_->reqPool[0].next);
            Put(m, stored.back());
        }
        const ContextSnapshot before;
        void *info = nullptr;
        for (std::size_t i = 0; i < stored.size(); ++i) {
            AnyAction got = Blank();
            EXPECT_EQ(Capture([&] { m.next(fcb_, m.tag, &info, &got); }), "");
            EXPECT_EQ(info, static_cast<void *>(fcb_->reqPool[nodes[i]].req)) << "request " << i;
            EXPECT_TRUE(Same(got, Delivered(m, stored[i], Blank()))) << "request " << i;
        }
        AnyAction got = Blank();
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_EQ(info, nullptr) << "null after the last";
        EXPECT_TRUE(Same(got, Blank()));
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_EQ(info, static_cast<void *>(fcb_->reqPool[nodes[0]].req)) << "and from the start again";
        EXPECT_TRUE(before.Unchanged());
        Restore();
    }
}

// The header's own bit decides, for TCP and UDP the IPv4 header's; the filter block's does not matter.
TEST_F(ActionIteration, UnallocatedHeaderYieldsNull) {
    const struct {
        const char *header;
        u16 bit;
    } rows[] = {{"Eth", 0x01},  {"Vlan[0]", 0x02}, {"Vlan[1]", 0x04}, {"Pppoe", 0x20},
                {"Ipv4", 0x80}, {"Tcp", 0x80},     {"Udp", 0x80}};
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label());
        Restore();
        Put(m, GoodAction(m, 0));
        fcb_->actionBlk.hdrBmap = row.bit;
        fcb_->filterBlk.hdrBmap = 0;
        void *info = nullptr;
        AnyAction got = Blank();
        m.next(fcb_, m.tag, &info, &got);
        EXPECT_NE(info, nullptr);
        fcb_->actionBlk.hdrBmap = static_cast<u16>(~row.bit);
        fcb_->filterBlk.hdrBmap = 0xFFFF;
        for (void *start : {info, static_cast<void *>(nullptr)}) {
            got = Blank();
            info = start;
            EXPECT_EQ(Capture([&] { m.next(fcb_, m.tag, &info, &got); }), "");
            EXPECT_EQ(info, nullptr);
            EXPECT_TRUE(Same(got, Blank()));
        }
    }
}

TEST_F(ActionIteration, EmptyListAndStrayHandlesYieldNull) {
    for (const ActionMember &m : ActionMembers()) {
        for (void *start : {static_cast<void *>(nullptr), static_cast<void *>(fcb_),
                            static_cast<void *>(fcb_->reqPool[31].req)}) {
            void *info = start;
            AnyAction got = Blank();
            m.next(fcb_, m.tag, &info, &got);
            EXPECT_EQ(info, nullptr) << m.Label();
            EXPECT_TRUE(Same(got, Blank())) << m.Label();
        }
    }
}

TEST_F(ActionIteration, DebugLinesOfTheWalk) {
    const ActionMember &m = ActionOf("Tcp");
    Put(m, GoodAction(m, 0));
    RaiseLog(3);
    void *info = nullptr;
    AnyAction got = Blank();
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }),
              Dbg("getNextReq", "params: *req_pp <0x<nil>>\n") +
                  Dbg("getNextReq", "first returned *req_pp<0x<ptr>>\n"));
    EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, 0, &info, &got); }),
              Dbg("getNextReq", "params: *req_pp <0x<ptr>>\n"));
    EXPECT_EQ(info, nullptr);
}

TEST_F(ActionIteration, TagNumberIsAsserted) {
    for (const u32 tag : {2u, 3u}) {
        void *info = fcb_;
        VlanAction got{};
        EXPECT_EQ(CaptureMasked([&] { qir::getNextVlanAction(fcb_, tag, &info, &got); }),
                  Assertion("qirapi_access", "getNextVlanAction", "(toTagNum < e_VLAN_TAG_MAX)"));
        EXPECT_EQ(info, nullptr);
    }
}

TEST_F(ActionIteration, NullRecordIsAsserted) {
    for (const ActionMember &m : ActionMembers()) {
        void *info = nullptr;
        EXPECT_EQ(CaptureMasked([&] { m.next(fcb_, m.tag, &info, nullptr); }),
                  Assertion("qirapi_access", m.Fn("getNext"), "(action_p != NULL)"));
        EXPECT_EQ(info, nullptr);
    }
}

// An IPv4 header whose allocation ran out of nodes leaves lists that are no lists: the walk stays in the
// pool.
TEST_F(ActionIteration, HalfAllocatedHeaderDoesNotCrash) {
    for (const char *label : {"Ipv4", "Tcp", "Udp"}) {
        const ActionMember &m = ActionOf(label);
        Restore();
        m.Entry(fcb_)->reqList = 0xA5A5;
        void *info = nullptr;
        AnyAction got = Blank();
        m.next(fcb_, 0, &info, &got);
        EXPECT_EQ(info, nullptr) << label;
        AnyAction req = Query(m, 0);
        u32 code = 0;
        Capture([&] { code = m.get(&hdl_, &req); });
        EXPECT_EQ(code, 6u) << label;
    }
}

} // namespace
} // namespace test
