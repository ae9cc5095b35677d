// What all flow operations share: their parameter lines, null pointers, bad handles, and what each answers in
// each state of the flow.
#include "tests/flows/flow_test.h"

namespace flows::flow_args {
namespace {

// Arguments that are valid for a flow that has the two headers and the two tables of FlowArgs.
struct Args {
    FlowHdr newHdr{e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0};
    FlowHdr oldHdr{e_BLKTYPE_FILTER, e_FLOWHDR_ETH};
    FwdInfo fwd = PlainFwd();
    DstMask dst{};
    FcbHits hits{};
    FwdInfo fwdOut{};
    u32 word = 0;
    u32 word2 = 0;
    EpTblHdl ep{};
    PacTblHdl pac{};
};
Args *args = nullptr; // those of the running test

// What an operation answers in one state: its code, the code's name, the state afterwards.
struct InState {
    u32 rc;
    const char *code;
    u32 after;
};

struct Operation {
    const char *name;
    u32 (*call)(FlowHdl *hdl_p);
    std::vector<std::string> params;  // "@" stands for the flow handle's pointer
    std::vector<std::string> params2; // "#" for its index
    InState alloc, cfg, active;
};

constexpr u32 kAlloc = e_STATUS_ALLOC;
constexpr u32 kCfg = e_STATUS_CFG;
constexpr u32 kActive = e_STATUS_ACTIVE;
constexpr InState kToCfg{0, "", kCfg};
constexpr InState kStaysAlloc{0, "", kAlloc};
constexpr InState kStaysActive{0, "", kActive};
constexpr InState kNotCfgYet{17, "e_RET_ERR_STATE_NOTCFG", kAlloc};
constexpr InState kLocked{17, "e_RET_ERR_STATE_NOTCFG", kActive};

const std::vector<std::string> kHdlOnly = {"Params: flowHdl_p<@>"};
const std::vector<std::string> kHdl2 = {"Params2: flowHdl<#>"};

const Operation kOperations[] = {
    {"QIR_Activate_FCB",
     [](FlowHdl *hdl_p) { return QIR_Activate_FCB(hdl_p); },
     kHdlOnly,
     kHdl2,
     kNotCfgYet,
     {0, "", kActive},
     {15, "e_RET_ERR_RESRC_ALREADY_ACTIVE", kActive}},
    {"QIR_Deactivate_FCB",
     [](FlowHdl *hdl_p) { return QIR_Deactivate_FCB(hdl_p); },
     kHdlOnly,
     kHdl2,
     {14, "e_RET_ERR_RESRC_NOT_ACTIVE", kAlloc},
     {14, "e_RET_ERR_RESRC_NOT_ACTIVE", kCfg},
     kToCfg},
    {"QIR_Free_FCB",
     [](FlowHdl *hdl_p) { return QIR_Free_FCB(hdl_p); },
     kHdlOnly,
     kHdl2,
     {0, "", e_STATUS_FREE},
     {0, "", e_STATUS_FREE},
     {15, "e_RET_ERR_RESRC_ALREADY_ACTIVE", kActive}},
    {"QIR_Get_FCBHits",
     [](FlowHdl *hdl_p) { return QIR_Get_FCBHits(hdl_p, &args->hits); },
     kHdlOnly,
     kHdl2,
     {14, "e_RET_ERR_RESRC_NOT_ACTIVE", kAlloc},
     {14, "e_RET_ERR_RESRC_NOT_ACTIVE", kCfg},
     kStaysActive},
    {"QIR_Alloc_Hdr",
     [](FlowHdl *hdl_p) { return QIR_Alloc_Hdr(hdl_p, &args->newHdr); },
     {"Params: flowHdl_p<@> hdr_p<0x<ptr>>"},
     {"Params2: flowHdl<#> blk<0> flowHdr<1>"},
     kToCfg,
     kToCfg,
     kLocked},
    {"QIR_Dump_HdrReqList",
     [](FlowHdl *hdl_p) { return QIR_Dump_HdrReqList(hdl_p, &args->oldHdr); },
     {"Params: flowHdl_p<@> hdr_p<0x<ptr>>"},
     {"Params2: flowHdl<#> blk<0> flowHdr<0>"},
     kStaysAlloc,
     kToCfg,
     kStaysActive},
    {"QIR_Set_FwdInfo",
     [](FlowHdl *hdl_p) { return QIR_Set_FwdInfo(hdl_p, &args->fwd); },
     {"Params: flowHdl_p<@> fwdInfo_p<0x<ptr>>"},
     kHdl2,
     kToCfg,
     kToCfg,
     kLocked},
    {"QIR_Get_FwdInfo",
     [](FlowHdl *hdl_p) { return QIR_Get_FwdInfo(hdl_p, &args->fwdOut); },
     {"Params: flowHdl_p<@> fwdInfo_p<0x<ptr>>"},
     kHdl2,
     kNotCfgYet,
     kToCfg,
     kStaysActive},
    {"QIR_Add_DstPortInfo",
     [](FlowHdl *hdl_p) { return QIR_Add_DstPortInfo(hdl_p, &args->dst); },
     {"Params: flowHdl_p<@> dstMask_p<0x<ptr>>"},
     kHdl2,
     kStaysAlloc,
     kToCfg,
     kStaysActive},
    {"QIR_Rem_DstPortInfo",
     [](FlowHdl *hdl_p) { return QIR_Rem_DstPortInfo(hdl_p, &args->dst); },
     {"Params: flowHdl_p<@> dstMask_p<0x<ptr>>"},
     kHdl2,
     kStaysAlloc,
     kToCfg,
     kStaysActive},
    {"QIR_Set_AsOverride",
     [](FlowHdl *hdl_p) { return QIR_Set_AsOverride(hdl_p, 1); },
     {"Params: flowHdl_p<@> asOverride<1>"},
     kHdl2,
     kToCfg,
     kToCfg,
     kLocked},
    {"QIR_Get_AsOverride",
     [](FlowHdl *hdl_p) { return QIR_Get_AsOverride(hdl_p, &args->word); },
     {"Params: flowHdl_p<@> asOverride_p<0x<ptr>>"},
     kHdl2,
     kNotCfgYet,
     kToCfg,
     kStaysActive},
    {"QIR_Set_EpInfo",
     [](FlowHdl *hdl_p) { return QIR_Set_EpInfo(hdl_p, 1, &args->ep); },
     {"Params: flowHdl_p<@> epTblSts<1> epTblHdl_p<0x<ptr>>"},
     {"Params2: flowHdl<#> epTblHdl<3>"},
     kToCfg,
     kToCfg,
     kLocked},
    {"QIR_Get_EpInfo",
     [](FlowHdl *hdl_p) { return QIR_Get_EpInfo(hdl_p, &args->word, &args->ep); },
     {"Params: flowHdl_p<@> epTblSts_p<0x<ptr>> epTblHdl_p<0x<ptr>>"},
     kHdl2,
     kNotCfgYet,
     kToCfg,
     kStaysActive},
    {"QIR_Set_PacInfo",
     [](FlowHdl *hdl_p) { return QIR_Set_PacInfo(hdl_p, 1, 2, &args->pac); },
     {"Params: flowHdl_p<@> pacTblSts<1>", "Params: pacTblHdl_p<0x<ptr>> pbitsSource<2>"},
     {"Params2: flowHdl<#> pacTblHdl<0>"},
     kToCfg,
     kToCfg,
     kLocked},
    {"QIR_Get_PacInfo",
     [](FlowHdl *hdl_p) { return QIR_Get_PacInfo(hdl_p, &args->word, &args->word2, &args->pac); },
     {"Params: flowHdl_p<@> pacTblSts_p<0x<ptr>> pacTblHdl_p<0x<ptr>>"},
     kHdl2,
     kNotCfgYet,
     kToCfg,
     kStaysActive},
    {"QIR_Dump_FCB", [](FlowHdl *hdl_p) { return QIR_Dump_FCB(hdl_p); }, kHdlOnly, kHdl2, kStaysAlloc, kToCfg,
     kStaysActive},
};

class FlowArgs : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        args = &args_;
        args_.ep = EpIn(3, e_STATUS_CFG);
        args_.ep.f1.rsvd = 0xFFFFFF;
        args_.pac = PacIn(e_STATUS_CFG);
        args_.dst.portMask = 0x2;
    }
    void TearDown() override {
        args = nullptr;
        FlowTest::TearDown();
    }

    Args args_;
};

// The parameter lines of an operation, with the handle's pointer and index filled in.
std::string InfLines(const Operation &op, const std::vector<std::string> &texts, const std::string &pointer,
                     unsigned id) {
    const std::string index = std::to_string(id);
    std::string lines;
    for (const std::string &text : texts) {
        std::string filled;
        for (const char c : text) {
            if (c == '@') {
                filled += pointer;
            } else if (c == '#') {
                filled += index;
            } else {
                filled += c;
            }
        }
        lines += Inf(op.name, filled);
    }
    return lines;
}

TEST_F(FlowArgs, SuccessBeginsWithTheParameterLines) {
    for (const Operation &op : kOperations) {
        SCOPED_TRACE(op.name);
        FlowHdl hdl = FlowIn(op.cfg.rc == 0 ? e_STATUS_CFG : e_STATUS_ACTIVE);
        AllocHdrs(FcbOf(hdl), e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
        FcbOf(hdl).fwdInfoSet = 1;
        RaiseLog(2);
        const Called called = Call([&] { return op.call(&hdl); });
        RaiseLog(1);
        EXPECT_EQ(called.rc, 0u);
        const std::string lines =
            InfLines(op, op.params, "0x<ptr>", hdl.f1.id) + InfLines(op, op.params2, "0x<ptr>", hdl.f1.id);
        EXPECT_EQ(called.out.substr(0, lines.size()), lines);
        EXPECT_EQ(called.out.find("[ERROR"), std::string::npos);
    }
}

TEST_F(FlowArgs, EveryStateHasItsAnswer) {
    for (const Operation &op : kOperations) {
        for (const u32 status : {kAlloc, kCfg, kActive}) {
            SCOPED_TRACE(testing::Message() << op.name << " in state " << status);
            const InState &expected = status == kAlloc ? op.alloc : status == kCfg ? op.cfg : op.active;
            args_.ep = EpIn(3, e_STATUS_ACTIVE);
            args_.pac.word = 0;
            FlowHdl hdl = FlowIn(status);
            AllocHdrs(FcbOf(hdl), e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
            FcbOf(hdl).fwdInfoSet = 1;
            FcbOf(hdl).fwdInfo.dst.portMask = 0x1;
            const Called called = Call([&] { return op.call(&hdl); });
            EXPECT_EQ(called.rc, expected.rc);
            EXPECT_EQ(FcbOf(hdl).status, expected.after);
            if (expected.rc != 0) {
                EXPECT_EQ(called.out, Refusal(op.name, expected.code, expected.rc));
            } else {
                EXPECT_EQ(called.out.find("[ERROR"), std::string::npos) << called.out;
            }
            EXPECT_EQ(called.err, "");
        }
    }
}

TEST_F(FlowArgs, RefusedCallsLeaveTheCallersRecords) {
    std::memset(static_cast<void *>(&args_.hits), 0x11, sizeof args_.hits);
    std::memset(static_cast<void *>(&args_.fwdOut), 0x22, sizeof args_.fwdOut);
    args_.word = 0x33333333;
    args_.word2 = 0x44444444;
    const Args before = args_;
    for (const Operation &op : kOperations) {
        FlowHdl bad = test::Flow(0xFFFF);
        FlowHdl alloc = FlowIn(e_STATUS_ALLOC);
        CaptureMasked([&] {
            op.call(nullptr);
            op.call(&bad);
            if (op.alloc.rc != 0) {
                op.call(&alloc);
            }
        });
        EXPECT_EQ(std::memcmp(&before, &args_, sizeof args_), 0) << op.name;
    }
}

} // namespace
} // namespace flows::flow_args
