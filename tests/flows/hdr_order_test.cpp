// The order in which headers may be allocated.
#include "tests/flows/flow_test.h"

#include <cstdio>

namespace flows {
namespace {

class HeaderOrder : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        qir::Init_FCB(&fcb_);
    }

    Fcb &fcb_ = qirCtxt_gp->fcbPool[0];
};

const char *const kFilterFn = "IsSet_FilterAllReqdHdr";
const char *const kActionFn = "IsSet_ActionAllReqdHdr";

std::string Hex4(const char *name, unsigned value) {
    char text[40];
    std::snprintf(text, sizeof text, "%s = 0x%.4x \n", name, value);
    return text;
}

// The headers that each header needs below it.
struct Needs {
    u32 hdr;
    unsigned required; // bits of hdrBmap
};
const Needs kNeeds[] = {
    {e_FLOWHDR_ETH, 0x00},   {e_FLOWHDR_VLAN0, 0x01}, {e_FLOWHDR_VLAN1, 0x03}, {e_FLOWHDR_VLAN2, 0x07},
    {e_FLOWHDR_VLAN3, 0x0F}, {e_FLOWHDR_PPPOE, 0x01}, {e_FLOWHDR_IPV4, 0x01},
};

TEST_F(HeaderOrder, HoldsForEverySetOfAllocatedHeaders) {
    for (const Needs &needs : kNeeds) {
        for (unsigned bmap = 0; bmap < 0x100; ++bmap) {
            SCOPED_TRACE(testing::Message() << "header " << needs.hdr << " hdrBmap " << bmap);
            const bool allowed = (bmap & needs.required) == needs.required;
            const std::string refusal = "\"e_RET_ERR_HDROUTOFORDER\"";
            fcb_.filterBlk.hdrBmap = static_cast<u16>(bmap);
            fcb_.actionBlk.hdrBmap = 0xFFFF;
            ExpectCall([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, needs.hdr); }, allowed ? 0 : 10,
                       allowed ? "" : Err(kFilterFn, refusal));
            fcb_.filterBlk.hdrBmap = 0xFFFF;
            fcb_.actionBlk.hdrBmap = static_cast<u16>(bmap);
            ExpectCall([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, needs.hdr); }, allowed ? 0 : 10,
                       allowed ? "" : Err(kActionFn, refusal));
        }
    }
}

TEST_F(HeaderOrder, FilterLogsItsHeadersAtTheEnd) {
    RaiseLog(3);
    fcb_.filterBlk.hdrBmap = 0x0081;
    const std::string bmap = Dbg(kFilterFn, Hex4("hdrBmap", 0x81));
    for (const u32 hdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
        ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, hdr); }, 0, bmap);
    }
    ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, e_FLOWHDR_VLAN2); }, 10,
                  CodeLine(kFilterFn, "e_RET_ERR_HDROUTOFORDER") + bmap);
    fcb_.filterBlk.hdrBmap = 0;
    ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, e_FLOWHDR_PPPOE); }, 10,
                  CodeLine(kFilterFn, "e_RET_ERR_HDROUTOFORDER") + Dbg(kFilterFn, Hex4("hdrBmap", 0)));
}

TEST_F(HeaderOrder, ActionLogsEveryBitItTests) {
    RaiseLog(3);
    fcb_.actionBlk.hdrBmap = 0x000F;
    std::string expected;
    for (const unsigned bit : {0x1u, 0x2u, 0x4u, 0x8u}) {
        expected += Dbg(kActionFn, Hex4("bmap", bit)) + Dbg(kActionFn, Hex4("hdrBmap", 0x0F));
    }
    expected += Dbg(kActionFn, Hex4("hdrBmap", 0x0F));
    ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, e_FLOWHDR_VLAN3); }, 0, expected);
}

TEST_F(HeaderOrder, ActionLogsTheMissingHeaderBeforeItRefuses) {
    RaiseLog(3);
    fcb_.actionBlk.hdrBmap = 0x0001;
    ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, e_FLOWHDR_VLAN2); }, 10,
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: bmap = 0x0002 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdr = 1 flowHdr 3 \n\n"
                  "[ERROR orxapi] IsSet_ActionAllReqdHdr,#: \"e_RET_ERR_HDROUTOFORDER\"\n"
                  "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n");
}

TEST_F(HeaderOrder, ActionLogsPairsForVlanTagsOnly) {
    RaiseLog(3);
    fcb_.actionBlk.hdrBmap = 0x0001;
    const std::string bmap = "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0001 \n\n";
    for (const u32 hdr : {e_FLOWHDR_ETH, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
        ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, hdr); }, 0, bmap);
    }
    fcb_.actionBlk.hdrBmap = 0;
    for (const u32 hdr : {e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
        ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, hdr); }, 10,
                      "[ERROR orxapi] IsSet_ActionAllReqdHdr,#: \"e_RET_ERR_HDROUTOFORDER\"\n"
                      "[DBG orxapi] IsSet_ActionAllReqdHdr: hdrBmap = 0x0000 \n\n");
    }
}

TEST_F(HeaderOrder, IsSilentBelowDebugLevel) {
    RaiseLog(2);
    fcb_.actionBlk.hdrBmap = fcb_.filterBlk.hdrBmap = 0x000F;
    for (u32 hdr = 0; hdr < 6; ++hdr) {
        ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, hdr); }, 0, "");
        ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, hdr); }, 0, "");
    }
}

TEST_F(HeaderOrder, UnknownHeaderNeedsNothing) {
    RaiseLog(3);
    ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, 6); }, 0,
                  Err(kFilterFn, "Unknown flow hdr <6> ") + Dbg(kFilterFn, Hex4("hdrBmap", 0)));
    ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, 6); }, 0,
                  Err(kActionFn, "Unknown flow hdr <6> ") + Dbg(kActionFn, Hex4("hdrBmap", 0)));
}

TEST_F(HeaderOrder, HeaderTypeOutOfRangeIsAssertedAndNeedsNothing) {
    for (const u32 hdr : {8u, 9u, 31u, 32u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(hdr);
        const std::string unknown = "Unknown flow hdr <" + std::to_string(hdr) + "> ";
        ExpectRefused([&] { return qir::IsSet_FilterAllReqdHdr(&fcb_, hdr); }, 0,
                      Assertion("qirapi_private", kFilterFn, "(flowHdr < e_FLOWHDR_MAX)") +
                          Err(kFilterFn, unknown));
        ExpectRefused([&] { return qir::IsSet_ActionAllReqdHdr(&fcb_, hdr); }, 0,
                      Assertion("qirapi_private", kActionFn, "(flowHdr < e_FLOWHDR_MAX)") +
                          Err(kActionFn, unknown));
    }
}

} // namespace
} // namespace flows
