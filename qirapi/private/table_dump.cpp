#include "qirapi/private/report.h"
#include "qirapi/private/tables.h"

#include <stdio.h>

namespace qir {

namespace {

constexpr u32 kDscpPerLine = 8;

void DumpRawAction(u32 ix, const PacRawAction &raw) {
    printf("%36s", "");
    printf("<%1u> <%2u> <%2u> <%2u> ", ix, raw.type, raw.ofst, raw.size);
    printf("<0x%02x%02x>", raw.val[0], raw.val[1]);
    printf(" <0x%02x%02x>\n", raw.mask[0], raw.mask[1]);
}

} // namespace

void Dump_DscpToPbitsTable(u8 dscpTblIdx) {
    QEL_ASSERT(dscpTblIdx < QIR_DSCPTBL_MAXNUM, "(dscpTblIdx < QIR_DSCPTBL_MAXNUM)");
    const DscpTblInfo &tbl = qirCtxt_gp->dscpTblPool[dscpTblIdx];
    puts("--------- DscpTable -------------");
    printf("Hdl<%u> ", tbl.hdl.f1.id);
    printf("RefCnt<%u> \n", tbl.refCnt);
    puts("Configuration: ");
    printf("  srcPort<%u> defPbits<%u> \n", tbl.cfg.srcPort, tbl.cfg.pbits);
    puts("Table: ");
    for (u32 dscp = 0; dscp < QIR_DSCP_MAX; ++dscp) {
        if (dscp % kDscpPerLine == 0) {
            printf("  <%.2u> ", dscp);
        }
        printf("  %u ", tbl.pbits[dscp]);
        if (dscp % kDscpPerLine == kDscpPerLine - 1) {
            putchar('\n');
        }
    }
    puts("---------------------------------");
}

void Dump_PacTable(u8 pacTblIdx) {
    QEL_ASSERT(pacTblIdx < QIR_PACTBL_MAXNUM, "(pacTblIdx < QIR_PACTBL_MAXNUM)");
    const PacTblInfo &tbl = qirCtxt_gp->pacTblPool[pacTblIdx];
    puts("--------- PacTable -------------");
    printf("Hdl<%u> ", tbl.hdl.f1.id);
    printf("RefCnt<%u> \n", tbl.refCnt);
    puts("Configuration: ");
    // Of the configuration's raw actions nothing is shown.
    printf(" ovrd<0x%02x> dstGemPort<%u> dstQid<%u>\n", tbl.cfg.ovrd, tbl.cfg.dstGemPort, tbl.cfg.dstQid);
    puts("Table: ");
    printf("                                     <------- Raw Actions ");
    puts(" --------->");
    printf("  pbits   ovrd    dstGemPort dstQid  ix type ofst size");
    puts("  value    mask  ");
    for (u32 pbits = 0; pbits < QIR_PBITS_MAX; ++pbits) {
        const PacTblCfg &ent = tbl.ent[pbits];
        printf("  <%u>   <0x%04x>     <%.2u>     <%u>    \n", pbits, ent.ovrd, ent.dstGemPort, ent.dstQid);
        for (u32 ix = 0; ix < 2; ++ix) {
            if (ent.rawAction[ix].type != 0) {
                DumpRawAction(ix, ent.rawAction[ix]);
            }
        }
    }
    puts("---------------------------------");
}

} // namespace qir
