#include "tests/return_codes/flow_scene.h"

namespace return_codes {

namespace {

template <class Hdl> struct DumpScene : Scene {
    Hdl hdl{};
    Hdl *hdl_p = &hdl;
};

// A dump of a kind of table; table 0 is in use.
template <class Hdl>
Operation DumpTable(const std::string &table, const std::string &hdl, const std::string &kind,
                    unsigned poolSize, uint32_t (*alloc)(Hdl *), uint32_t (*dump)(Hdl *)) {
    using S = DumpScene<Hdl>;
    return Describe<S>("QIR_Dump_" + table, [dump](S &s) { return dump(s.hdl_p); })
        .Given([alloc](S &) {
            Hdl own{};
            Must(alloc(&own));
        })
        .When("`" + hdl + "_p` is null", e_RET_ERR_NULL_PTR, [](S &s) { s.hdl_p = nullptr; })
        .WhenBadTable(kind, poolSize, 1, [](S &s) -> Hdl & { return s.hdl; })
        .Otherwise();
}

struct DumpedHdrScene : FlowScene {
    DumpedHdrScene() { AllocHdr(e_BLKTYPE_FILTER, e_FLOWHDR_ETH); }

    FlowHdr hdr = {e_BLKTYPE_FILTER, e_FLOWHDR_ETH};
    FlowHdr *hdr_p = &hdr;
};

Operation DumpHdr() {
    Describe<DumpedHdrScene> op("QIR_Dump_HdrReqList",
                                [](DumpedHdrScene &s) { return QIR_Dump_HdrReqList(s.hdl_p, s.hdr_p); });
    OpenFlow(op, {{"hdr_p", [](auto &s) { s.hdr_p = nullptr; }}});
    return op.When("`blk` is 3 or more", e_RET_ERR_INVALID_BLOCKTYPE, [](auto &s) { s.hdr.blk = 3; })
        .When("`flowHdr` is 8 or more", e_RET_ERR_INVALID_HDRTYPE, [](auto &s) { s.hdr.flowHdr = 8; })
        .When("`blk` is the forwarding block: an error line instead of requests", e_RET_OK,
              [](auto &s) { s.hdr.blk = e_BLKTYPE_FWD; })
        .Prints({test::Err("Dump_HdrReqList", "Unknown block type <2> ")})
        .When("the block has no such header", e_RET_ERR_RESRC_UNAVAIL,
              [](auto &s) { s.hdr.flowHdr = e_FLOWHDR_IPV4; })
        .By("Dump_HdrReqList")
        .OnItsOwn([](auto &s) { s.hdr.blk = e_BLKTYPE_ACTION; })
        .Otherwise();
}

Operation DumpFlow() {
    Describe<FlowScene> op("QIR_Dump_FCB", [](FlowScene &s) { return QIR_Dump_FCB(s.hdl_p); });
    OpenFlow(op);
    return op.Otherwise();
}

} // namespace

Family Dumps() {
    return {
        "Dumps",
        {
            DumpTable("AsTable", "asTblHdl", "AsTbl", 16, QIR_Alloc_AsTable, QIR_Dump_AsTable),
            DumpTable("DscpToPbitsTable", "dscpTblHdl", "DscpTbl", 6, QIR_Alloc_DscpToPbitsTable,
                      QIR_Dump_DscpToPbitsTable),
            DumpTable("PacTable", "pacTblHdl", "PacTbl", 16, QIR_Alloc_PacTable, QIR_Dump_PacTable),
            DumpFlow(),
            DumpHdr(),
        },
    };
}

} // namespace return_codes
