// Request lists: their order, the searches that find nothing, iteration, and lists with damaged links.
#include "tests/flows/flow_test.h"

#include "qirapi/access/req_walk.h"

namespace flows {
namespace {

class RequestList : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
        head_ = Take();
    }

    ReqNode *Take() {
        ReqNode *node = nullptr;
        EXPECT_EQ(qir::Alloc_ReqNode(&fcb_, &node), 0u);
        return node;
    }

    ReqNode *Add(u32 key) {
        ReqNode *node = Take();
        node->key = key;
        EXPECT_EQ(CaptureMasked([&] { qir::AddReq_ReqList(&fcb_, head_, node); }), "");
        return node;
    }

    // Keys in the order in which iteration meets them; 40 of them at most.
    std::vector<u32> Keys() {
        std::vector<u32> keys;
        void *req = nullptr;
        for (qir::getNextReq(&fcb_, head_, &req); req != nullptr && keys.size() < 40;
             qir::getNextReq(&fcb_, head_, &req)) {
            keys.push_back(NodeOf(req).key);
        }
        return keys;
    }

    const ReqNode &NodeOf(const void *req) const {
        const auto offset = static_cast<const u8 *>(req) - reinterpret_cast<const u8 *>(fcb_.reqPool);
        EXPECT_EQ(offset % 48, 12) << "not the request field of a node";
        return fcb_.reqPool[offset / 48];
    }

    // One step of the iteration and what it prints.
    std::string Next(void *&req) {
        return CaptureMasked([&] { qir::getNextReq(&fcb_, head_, &req); });
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
    ReqNode *head_ = nullptr; // node 1
};

const std::string kParams = "[DBG orxapi] getNextReq: params: *req_pp <0x<ptr>>\n\n";
const std::string kParamsNull = "[DBG orxapi] getNextReq: params: *req_pp <0x<nil>>\n\n";

TEST_F(RequestList, ExactSearchFindsNothing) {
    for (const u32 key : {5u, 2u, 7u, 3u}) {
        ReqNode *found = head_;
        EXPECT_EQ(CaptureMasked([&] { qir::SrchExactReq_ReqList(&fcb_, head_, key, &found); }), "");
        EXPECT_EQ(found, nullptr) << "empty list, key " << key;
    }
    Add(5);
    Add(2);
    Add(7);
    for (const u32 key : {5u, 2u, 7u, 3u}) {
        ReqNode *found = head_;
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::SrchExactReq_ReqList(&fcb_, head_, key, &found); }), "");
        EXPECT_EQ(found, nullptr) << "key " << key;
        EXPECT_TRUE(before.Unchanged());
    }
}

TEST_F(RequestList, AfterSearchFindsNothing) {
    Add(5);
    Add(2);
    Add(7);
    for (const u32 key : {0u, 2u, 4u, 6u, 7u, 8u, 0xFFFFFFFFu}) {
        ReqNode *found = head_;
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::SrchAfterReq_ReqList(&fcb_, head_, key, &found); }), "");
        EXPECT_EQ(found, nullptr) << "key " << key;
        EXPECT_TRUE(before.Unchanged());
    }
    ReqNode *found = &fcb_.reqPool[2];
    qir::SrchAfterReq_ReqList(&fcb_, Take(), 0, &found);
    EXPECT_EQ(found, nullptr) << "empty list";
}

TEST_F(RequestList, RemovalUnlinksNothing) {
    ReqNode *loose = Take();
    loose->key = 5;
    const ContextSnapshot empty;
    EXPECT_EQ(CaptureMasked([&] { qir::RemReq_ReqList(&fcb_, head_, loose); }), "");
    EXPECT_TRUE(empty.Unchanged());
    ReqNode *first = Add(5);
    ReqNode *last = Add(6);
    for (ReqNode *node : {first, last, loose}) {
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { qir::RemReq_ReqList(&fcb_, head_, node); }), "");
        EXPECT_TRUE(before.Unchanged());
    }
    EXPECT_EQ(Keys(), (std::vector<u32>{5, 6}));
}

// ---- iteration ------------------------------------------------------------------------------------

TEST_F(RequestList, IterationWithoutAListIsAssertedAndYieldsNull) {
    void *req = nullptr;
    EXPECT_EQ(CaptureMasked([&] { qir::getNextReq(&fcb_, nullptr, &req); }),
              Assertion("qirapi_access", "getNextReq", "(reqList_p != NULL)"));
    EXPECT_EQ(req, nullptr);
}

// ---- damaged links --------------------------------------------------------------------------------

TEST_F(RequestList, IndexOutsideThePoolEndsEveryWalk) {
    ReqNode *first = Add(5);
    Add(2);
    for (const u16 beyond : {u16{32}, u16{33}, kFill16, u16{0xFFFF}}) {
        SCOPED_TRACE(beyond);
        first->next = beyond;
        EXPECT_EQ(Keys(), (std::vector<u32>{5}));
        ReqNode *found = head_;
        qir::SrchExactReq_ReqList(&fcb_, head_, 2, &found);
        EXPECT_EQ(found, nullptr);
        found = head_;
        qir::SrchAfterReq_ReqList(&fcb_, head_, 8, &found);
        EXPECT_EQ(found, nullptr);
        RaiseLog(3);
        EXPECT_EQ(CaptureMasked([&] { qir::Dump_ReqList(&fcb_, head_); }),
                  "[DBG orxapi] Dump_ReqList: \n---- Req List ---- \n\n"
                  "[DBG orxapi] Dump_ReqList: Prev  Curr  Next \n\n"
                  "[DBG orxapi] Dump_ReqList:  <01> <02> <" +
                      std::to_string(beyond) +
                      "> \n\n"
                      "[DBG orxapi] Dump_ReqList: --------------------\n\n\n");
        RaiseLog(1);
    }
    head_->next = 40;
    EXPECT_EQ(Keys(), std::vector<u32>{});
}

TEST_F(RequestList, CircleWithoutItsHeadEndsEveryWalk) {
    Add(5);
    ReqNode *second = Add(2);
    second->next = 2; // back to the first node, past the head
    ReqNode *found = head_;
    qir::SrchExactReq_ReqList(&fcb_, head_, 77, &found);
    EXPECT_EQ(found, nullptr);
    found = head_;
    qir::SrchAfterReq_ReqList(&fcb_, head_, 77, &found);
    EXPECT_EQ(found, nullptr);
    void *req = fcb_.reqPool[20].req;
    EXPECT_EQ(Next(req), "");
    EXPECT_EQ(req, nullptr);
    RaiseLog(3);
    const std::vector<std::string> lines =
        test::Lines(CaptureMasked([&] { qir::Dump_ReqList(&fcb_, head_); }));
    EXPECT_LE(lines.size(), 80u);
    EXPECT_EQ(lines[5], "[DBG orxapi] Dump_ReqList:  <01> <02> <03> ");
}

TEST_F(RequestList, NodeThatPointsToItselfEndsTheWalk) {
    Add(5);
    ReqNode *second = Add(2);
    Add(7);
    second->next = second->curr;
    ReqNode *found = head_;
    qir::SrchExactReq_ReqList(&fcb_, head_, 7, &found);
    EXPECT_EQ(found, nullptr);
    std::vector<unsigned> met;
    qir::WalkReqList(&fcb_, head_, [&](const ReqNode *node) {
        met.push_back(node->curr);
        return true;
    });
    EXPECT_EQ(met, (std::vector<unsigned>{2, 3}));
}

TEST_F(RequestList, WalkStopsWhereTheVisitorSaysSo) {
    Add(5);
    Add(2);
    std::vector<unsigned> met;
    const auto firstOnly = [&](const ReqNode *node) {
        met.push_back(node->curr);
        return false;
    };
    qir::WalkReqList(&fcb_, head_, firstOnly);
    EXPECT_EQ(met, (std::vector<unsigned>{2}));
    qir::WalkReqList(&fcb_, static_cast<ReqNode *>(nullptr), firstOnly);
    EXPECT_EQ(met.size(), 1u);
}

TEST_F(RequestList, NodesExistForIndexesBelowThirtyTwo) {
    const Fcb &view = fcb_;
    EXPECT_EQ(qir::ReqNodeAt(&fcb_, 0), &fcb_.reqPool[0]);
    EXPECT_EQ(qir::ReqNodeAt(&fcb_, 31), &fcb_.reqPool[31]);
    EXPECT_EQ(qir::ReqNodeAt(&fcb_, 32), nullptr);
    EXPECT_EQ(qir::ReqNodeAt(&view, 31), &fcb_.reqPool[31]);
    EXPECT_EQ(qir::ReqNodeAt(&view, 0xA5A5), nullptr);
}

} // namespace
} // namespace flows
