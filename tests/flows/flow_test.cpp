#include "tests/flows/flow_test.h"

namespace flows {

Called Call(const Op &op) {
    Called called;
    test::Output both = test::CaptureBoth([&] { called.rc = op(); });
    called.out = test::Mask(both.out);
    called.err = both.err;
    return called;
}

void ExpectCall(const Op &op, u32 rc, const std::string &out) {
    const Called called = Call(op);
    EXPECT_EQ(called.rc, rc);
    EXPECT_EQ(called.out, out);
    EXPECT_EQ(called.err, "");
}

void ExpectRefused(const Op &op, u32 rc, const std::string &out) {
    const ContextSnapshot before;
    const std::size_t requests = orxemu_numRequests();
    ExpectCall(op, rc, out);
    EXPECT_TRUE(ChangedOnlyIn(before, {}));
    EXPECT_EQ(orxemu_numRequests(), requests);
}

std::string HdlOutOfRange(const std::string &fn, unsigned id) {
    return Err("Validate_FlowHdl", "Value out of range for flowHdl<" + std::to_string(id) + ">") +
           CodeLine("Validate_FlowHdl", "e_RET_ERR_INVALID_HDL") + RetVal(fn, 3);
}

std::string HdlFree(const std::string &fn, unsigned id) {
    return Err("Validate_FlowHdl", "Invalid flowHdl<" + std::to_string(id) + "> FCB is free") +
           CodeLine("Validate_FlowHdl", "e_RET_ERR_INVALID_HDL") + RetVal(fn, 3);
}

::testing::AssertionResult ChangedOnlyIn(const ContextSnapshot &before, std::initializer_list<Span> spans) {
    for (const std::size_t changed : before.ChangedBytes()) {
        bool expected = false;
        for (const Span &span : spans) {
            expected = expected || (changed >= span.first && changed - span.first < span.size);
        }
        if (!expected) {
            const std::size_t pool = Place(qirCtxt_gp->fcbPool).first;
            ::testing::AssertionResult failure = ::testing::AssertionFailure();
            failure << "byte " << changed << " of the context changed";
            if (changed >= pool) {
                failure << ", FCB " << (changed - pool) / sizeof(Fcb) << " byte "
                        << (changed - pool) % sizeof(Fcb);
            }
            return failure;
        }
    }
    return ::testing::AssertionSuccess();
}

Fcb &FcbOf(FlowHdl hdl) {
    return qirCtxt_gp->fcbPool[hdl.f1.id];
}

FlowHdl FlowIn(u32 status, u32 section) {
    FlowHdl hdl{};
    EXPECT_EQ(QIR_Alloc_FCB(section, &hdl), 0u);
    if (status >= e_STATUS_CFG) {
        EXPECT_EQ(QIR_Set_AsOverride(&hdl, e_AS_OVERRIDE_DISABLE), 0u);
    }
    if (status == e_STATUS_ACTIVE) {
        EXPECT_EQ(QIR_Activate_FCB(&hdl), 0u);
    }
    EXPECT_EQ(FcbOf(hdl).status, status);
    return hdl;
}

PacTblHdl PacIn(u32 status) {
    PacTblHdl hdl{};
    EXPECT_EQ(QIR_Alloc_PacTable(&hdl), 0u);
    if (status >= e_STATUS_CFG) {
        const PacTblCfg cfg{};
        EXPECT_EQ(QIR_Set_PacTableCfg(&hdl, &cfg), 0u);
    }
    if (status == e_STATUS_ACTIVE) {
        EXPECT_EQ(QIR_Activate_PacTable(&hdl), 0u);
    }
    EXPECT_EQ(PacOf(hdl).status, status);
    return hdl;
}

qir::PacTblInfo &PacOf(PacTblHdl hdl) {
    return qirCtxt_gp->pacTblPool[hdl.f1.id];
}

EpTblHdl EpIn(unsigned idx, u32 status, u32 hwTblIdx) {
    qirCtxt_gp->epTblPool[idx].status = status;
    qirCtxt_gp->epTblPool[idx].hwTblIdx = hwTblIdx;
    return test::EpHdl(idx);
}

qir::EpTblInfo &EpOf(EpTblHdl hdl) {
    return qirCtxt_gp->epTblPool[hdl.f1.id];
}

FwdInfo PlainFwd() {
    FwdInfo fwd{};
    fwd.flowPrio = 4;
    fwd.src.portMask = 0x2;
    fwd.dst.portQid[0] = 3;
    fwd.dst.portMask = 0x1;
    fwd.fwdAction = e_FWD_ACTION_LRN_ENABLE;
    return fwd;
}

void AllocHdrs(Fcb &fcb, u32 blk, std::initializer_list<u32> hdrs) {
    for (const u32 type : hdrs) {
        const FlowHdr hdr{blk, type};
        EXPECT_EQ(qir::Alloc_Hdr(&fcb, &hdr), 0u) << "block " << blk << " header " << type;
    }
}

void DrainPool(Fcb &fcb, unsigned left) {
    while (fcb.freeReqCount > left) {
        ReqNode *node = nullptr;
        ASSERT_EQ(qir::Alloc_ReqNode(&fcb, &node), 0u);
    }
    ASSERT_EQ(fcb.freeReqCount, left);
}

std::vector<u8> BytesOf(const Fcb &fcb) {
    const auto *bytes = reinterpret_cast<const u8 *>(&fcb);
    return {bytes, bytes + sizeof fcb};
}

const OrxEmuRequest &LastRequest() {
    static const OrxEmuRequest none{};
    const std::size_t count = orxemu_numRequests();
    const OrxEmuRequest *last = count > 0 ? orxemu_request(count - 1) : nullptr;
    EXPECT_NE(last, nullptr) << "no request reached the driver";
    return last != nullptr ? *last : none;
}

u32 WordAt(const u8 *bytes, std::size_t offset) {
    u32 word = 0;
    std::memcpy(&word, bytes + offset, sizeof word);
    return word;
}

} // namespace flows
