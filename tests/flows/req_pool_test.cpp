// The request nodes of one FCB: the free list, taking and returning nodes, the dumps of pool and lists.
#include "tests/flows/flow_test.h"

#include <cstdio>

namespace flows {
namespace {

class RequestPool : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
        fcb_.status = e_STATUS_ALLOC;
    }

    // The node that the pool hands out, which must succeed silently.
    ReqNode *Take() {
        ReqNode *node = nullptr;
        u32 rc = 99;
        EXPECT_EQ(CaptureMasked([&] { rc = qir::Alloc_ReqNode(&fcb_, &node); }), "");
        EXPECT_EQ(rc, 0u);
        return node;
    }

    // Indexes of the free nodes in list order, followed forwards; the same list backwards must agree.
    std::vector<unsigned> FreeNodes() const {
        std::vector<unsigned> forwards;
        for (u16 i = fcb_.reqPool[0].next; i != 0 && forwards.size() < 40; i = fcb_.reqPool[i].next) {
            forwards.push_back(i);
        }
        std::vector<unsigned> backwards;
        for (u16 i = fcb_.reqPool[0].prev; i != 0 && backwards.size() < 40; i = fcb_.reqPool[i].prev) {
            backwards.insert(backwards.begin(), i);
        }
        EXPECT_EQ(forwards, backwards);
        return forwards;
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
};

std::vector<unsigned> Ascending(unsigned first, unsigned last) {
    std::vector<unsigned> numbers;
    for (unsigned i = first; i <= last; ++i) {
        numbers.push_back(i);
    }
    return numbers;
}

const std::string kFreedLine =
    Assertion("qirapi_private", "Free_ReqNode", "(fcb_p->freeReqCount > QIR_MAX_FCBREQ)");

TEST_F(RequestPool, FreeListIsBuiltFromAnyContents) {
    std::memset(static_cast<void *>(&fcb_), 0x11, sizeof fcb_);
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::Init_FreeReqList(&fcb_); }), "");
    EXPECT_EQ(fcb_.freeReqList, 0);
    EXPECT_EQ(fcb_.freeReqCount, 31);
    EXPECT_EQ(FreeNodes(), Ascending(1, 31));
    for (unsigned i = 0; i < QIR_MAX_FCBREQ; ++i) {
        SCOPED_TRACE(i);
        const ReqNode &node = fcb_.reqPool[i];
        EXPECT_EQ(node.curr, i);
        EXPECT_EQ(node.next, (i + 1) % 32);
        EXPECT_EQ(node.prev, (i + 31) % 32);
        EXPECT_EQ(node.spare, 0x1111);
        EXPECT_EQ(node.key, 0x11111111u);
        EXPECT_EQ(node.req[0], 0x11);
    }
    EXPECT_TRUE(
        ChangedOnlyIn(before, {Place(fcb_.freeReqList), Place(fcb_.freeReqCount), Place(fcb_.reqPool)}));
}

TEST_F(RequestPool, ThirtySecondAllocationFailsAndDumpsTheFcb) {
    fcb_.flowHdl.word = 0;
    for (int i = 0; i < 31; ++i) {
        Take();
    }
    ReqNode *node = &fcb_.reqPool[5];
    ExpectRefused([&] { return qir::Alloc_ReqNode(&fcb_, &node); }, 12,
                  CodeLine("Alloc_ReqNode", "e_RET_ERR_RESRC_UNAVAIL") +
                      "\n\n"
                      "************* FCB ************* \n"
                      "FCB Status<e_STATUS_ALLOC> Hdl<0> Section<0> \n"
                      "\n"
                      "AS Override<e_AS_OVERRIDE_DISABLE> \n"
                      "------- Filter Block ----------\n"
                      "HdrBmap<0x00> totalTags<0> \n"
                      "\n"
                      "------- Action Block ----------\n"
                      "HdrBmap<0x00> totalTags<0> pushedTags<0> poppedTags<0> \n"
                      "\n"
                      "------- Fwd Block ----------\n"
                      "flowPrio<0> FwdAction<LRN_ENABLE> \n"
                      "src portMask<0x00000000> gemPortIdxMask<0xa5a5a5a5> \n"
                      "dst portMask<0x00000000> gemPortIdxMask<0x00000000> \n"
                      "******************************* \n");
    EXPECT_EQ(node, nullptr);
}

TEST_F(RequestPool, CountOfZeroWithNodesLeftIsAssertedAndWraps) {
    fcb_.freeReqCount = 0;
    ReqNode *node = nullptr;
    u32 rc = 99;
    EXPECT_EQ(CaptureMasked([&] { rc = qir::Alloc_ReqNode(&fcb_, &node); }),
              Assertion("qirapi_private", "Alloc_ReqNode", "(fcb_p->freeReqCount != 0)"));
    EXPECT_EQ(rc, 0u);
    EXPECT_EQ(node, &fcb_.reqPool[1]);
    EXPECT_EQ(fcb_.freeReqCount, 0xFFFF);
}

TEST_F(RequestPool, LastFreedIsFirstReused) {
    Take();
    ReqNode *second = Take();
    ReqNode *third = Take();
    u32 rc = 99;
    EXPECT_EQ(CaptureMasked([&] { rc = qir::Free_ReqNode(&fcb_, second); }), kFreedLine);
    EXPECT_EQ(rc, 0u);
    EXPECT_EQ(fcb_.freeReqCount, 29);
    EXPECT_EQ(CaptureMasked([&] { rc = qir::Free_ReqNode(&fcb_, third); }), kFreedLine);
    EXPECT_EQ(rc, 0u);
    EXPECT_EQ(fcb_.freeReqCount, 30);
    std::vector<unsigned> expected = {3, 2};
    for (const unsigned i : Ascending(4, 31)) {
        expected.push_back(i);
    }
    EXPECT_EQ(FreeNodes(), expected);
    EXPECT_EQ(Take(), third);
    EXPECT_EQ(Take(), second);
    EXPECT_EQ(Take(), &fcb_.reqPool[4]);
}

TEST_F(RequestPool, FreedNodeOfAnEmptyFreeListIsReused) {
    DrainPool(fcb_, 0);
    EXPECT_EQ(CaptureMasked([&] { qir::Free_ReqNode(&fcb_, &fcb_.reqPool[17]); }), kFreedLine);
    EXPECT_EQ(fcb_.freeReqCount, 1);
    EXPECT_EQ(FreeNodes(), std::vector<unsigned>{17});
    EXPECT_EQ(Take(), &fcb_.reqPool[17]);
}

TEST_F(RequestPool, FreeingAssertsUnlessTheCountExceedsThePool) {
    struct Row {
        u16 before;
        bool asserts;
    };
    for (const Row &row : {Row{0, true}, Row{30, true}, Row{31, true}, Row{32, false}, Row{40, false}}) {
        SCOPED_TRACE(row.before);
        qir::Init_FCB(&fcb_);
        ReqNode *node = Take();
        fcb_.freeReqCount = row.before;
        u32 rc = 99;
        EXPECT_EQ(CaptureMasked([&] { rc = qir::Free_ReqNode(&fcb_, node); }), row.asserts ? kFreedLine : "");
        EXPECT_EQ(rc, 0u);
        EXPECT_EQ(fcb_.freeReqCount, row.before + 1);
    }
}

TEST_F(RequestPool, SelfLinkedNodeIsAnEmptyList) {
    ReqNode &node = fcb_.reqPool[9];
    const ContextSnapshot before;
    qir::MakeSelfLinked(&node);
    EXPECT_EQ(node.next, 9);
    EXPECT_EQ(node.prev, 9);
    EXPECT_TRUE(ChangedOnlyIn(before, {Place(node.next), Place(node.prev)}));
}

// ---- dumps ----------------------------------------------------------------------------------------

std::string NodeLine(const char *fn, unsigned prev, unsigned curr, unsigned next) {
    char text[40];
    std::snprintf(text, sizeof text, " <%.2u> <%.2u> <%.2u> \n", prev, curr, next);
    return Dbg(fn, text);
}

TEST_F(RequestPool, DumpsPrintAtDebugLevelOnly) {
    for (const u32 level : {0u, 1u, 2u}) {
        RaiseLog(level);
        EXPECT_EQ(CaptureMasked([&] {
                      qir::Dump_ReqList(&fcb_, &fcb_.reqPool[0]);
                      qir::Dump_ReqPool(&fcb_);
                  }),
                  "")
            << level;
    }
}

TEST_F(RequestPool, ListDumpLeavesTheHeadOut) {
    RaiseLog(3);
    DrainPool(fcb_, 2);
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ReqList(&fcb_, &fcb_.reqPool[0]); }),
              Dbg("Dump_ReqList", "\n---- Req List ---- \n") + Dbg("Dump_ReqList", "Prev  Curr  Next \n") +
                  Dbg("Dump_ReqList", " <00> <30> <31> \n") + Dbg("Dump_ReqList", " <30> <31> <00> \n") +
                  Dbg("Dump_ReqList", "--------------------\n\n"));
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(RequestPool, DumpOfAnEmptyListHasItsFrameOnly) {
    RaiseLog(3);
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ReqList(&fcb_, Take()); }),
              "[DBG orxapi] Dump_ReqList: \n---- Req List ---- \n\n"
              "[DBG orxapi] Dump_ReqList: Prev  Curr  Next \n\n"
              "[DBG orxapi] Dump_ReqList: --------------------\n\n\n");
}

TEST_F(RequestPool, PoolDumpShowsAllNodes) {
    RaiseLog(3);
    Take();
    std::string expected = "[DBG orxapi] Dump_ReqPool: \n---- Req Pool ---- \n\n"
                           "[DBG orxapi] Dump_ReqPool: Req Count <30> \n\n"
                           "[DBG orxapi] Dump_ReqPool: \nPrev  Curr  Next \n\n"
                           "[DBG orxapi] Dump_ReqPool:  <31> <00> <02> \n\n"
                           "[DBG orxapi] Dump_ReqPool:  <01> <01> <01> \n\n"
                           "[DBG orxapi] Dump_ReqPool:  <00> <02> <03> \n\n";
    for (unsigned i = 3; i < 32; ++i) {
        expected += NodeLine("Dump_ReqPool", i - 1, i, (i + 1) % 32);
    }
    expected += "[DBG orxapi] Dump_ReqPool: -------------------- \n\n";
    const ContextSnapshot before;
    EXPECT_EQ(CaptureMasked([&] { qir::Dump_ReqPool(&fcb_); }), expected);
    EXPECT_TRUE(before.Unchanged());
}

} // namespace
} // namespace flows
