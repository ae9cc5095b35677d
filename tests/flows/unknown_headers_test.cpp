// Header types that a bitmap has no bit for.
#include "tests/flows/flow_test.h"

namespace flows {
namespace {

class UnknownHeaders : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
};

// The public operation refuses them; behind it each takes a node and leaves no trace that it is there.
TEST_F(UnknownHeaders, TakeANodeEachTimeAndSetNoBit) {
    const struct {
        u32 blk;
        const char *order; // the function that looks for the headers needed
        const u16 &hdrBmap;
    } rows[] = {{e_BLKTYPE_FILTER, "IsSet_FilterAllReqdHdr", fcb_.filterBlk.hdrBmap},
                {e_BLKTYPE_ACTION, "IsSet_ActionAllReqdHdr", fcb_.actionBlk.hdrBmap}};
    u16 left = 31;
    for (const auto &row : rows) {
        for (const u32 flowHdr : {16u, 16u, 31u, 32u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << "block " << row.blk << " header " << flowHdr);
            const FlowHdr hdr{row.blk, flowHdr};
            const std::string unknown = "Unknown flow hdr <" + std::to_string(flowHdr) + "> ";
            ExpectCall([&] { return qir::Alloc_Hdr(&fcb_, &hdr); }, 0,
                       Assertion("qirapi_private", row.order, "(flowHdr < e_FLOWHDR_MAX)") +
                           Err(row.order, unknown) + Err("Alloc_Hdr", unknown));
            EXPECT_EQ(row.hdrBmap, 0);
            EXPECT_EQ(fcb_.freeReqCount, --left);
        }
    }
}

} // namespace
} // namespace flows
