#include "qirapi/access/table_access.h"

#include "qirapi/private/report.h"
#include "qirapi/private/rows.h"

#include <stdio.h>

namespace qir {

namespace {

constexpr ValueName kStatuses[] = {
    {QIR_NAMED(e_STATUS_FREE)},
    {QIR_NAMED(e_STATUS_ALLOC)},
    {QIR_NAMED(e_STATUS_CFG)},
    {QIR_NAMED(e_STATUS_ACTIVE)},
};
static_assert(HasRowForEach(kStatuses, e_STATUS_MAX, &ValueName::value));

} // namespace

void Dump_Status(u32 status) {
    QEL_ASSERT(status < e_STATUS_MAX, "(status < e_STATUS_MAX)");
    if (status < e_STATUS_MAX) {
        printf("<%s> ", kStatuses[status].name);
    } else {
        QIR_ERR("Unknown status <%u> \n", status);
    }
}

void Dump_IP(u32 ip) {
    putchar('<');
    for (u32 shift = 24; shift != 0; shift -= 8) {
        printf("%u.", (ip >> shift) & 0xFF);
    }
    printf("%u> ", ip & 0xFF);
}

void Dump_CidrIP(u32 ip, u32 prefixLen) {
    Dump_IP(ip);
    printf("</%u> ", prefixLen);
}

void Dump_MAC(const u8 *mac_p) {
    putchar('<');
    printf("0x%.2x:%.2x", mac_p[0], mac_p[1]);
    for (u32 i = 2; i < 6; ++i) {
        printf(":%.2x", mac_p[i]);
    }
    printf("> ");
}

void Dump_AsTableCfg(const AsTblCfg *cfg_p) {
    printf("  srcPortMask<0x%2x> ", cfg_p->srcPortMask);
    putchar('\n');
}

void Dump_AsTableEntry(const AsEnt *ent_p) {
    const AsEnt &ent = *ent_p;
    const auto inUse = [&ent](u32 maskBit) { return (ent.aclMask & maskBit) != 0; };
    const auto blanks = [](int width) { printf("%*s", width, ""); };
    const auto macColumn = [&](u32 maskBit, const u8 *mac_p, const u8 *mask_p) {
        if (inUse(maskBit)) {
            Dump_MAC(mac_p);
            Dump_MAC(mask_p);
        } else {
            blanks(21);
        }
    };

    printf("%7u 0x%08x ", ent.aclType, ent.aclMask);
    macColumn(AS_ENT_MASK_MAC_DA, ent.macDA, ent.macDAMask);
    macColumn(AS_ENT_MASK_MAC_SA, ent.macSA, ent.macSAMask);
    if (inUse(AS_ENT_MASK_IP)) {
        Dump_CidrIP(ent.ipAddr, ent.ipPrefixLen);
    } else {
        blanks(21);
    }
    if (inUse(AS_ENT_MASK_VLANTAG0)) {
        printf("%4u ", ent.vlanTag0);
    } else {
        blanks(5);
    }
    if (inUse(AS_ENT_MASK_VLANTAG1)) {
        printf("%4u ", ent.vlanTag1);
    } else {
        blanks(5);
    }
    if (inUse(AS_ENT_MASK_ETHTYPE)) {
        printf("%7u ", ent.ethType);
    } else {
        blanks(8);
    }
    if (inUse(AS_ENT_MASK_IPPROTO)) {
        printf("%7u ", ent.ipProto);
    } else {
        blanks(8);
    }
    if (inUse(AS_ENT_MASK_DESTPORT)) {
        printf("%8u ", ent.destPort);
    } else {
        blanks(9);
    }
}

void Dump_AsTable(const AsTblInfo *tbl_p) {
    QEL_ASSERT(tbl_p != nullptr, "(tbl_p != NULL)");
    puts("-------------------- AsTable -----------------------");
    printf("Hdl<%u> ", tbl_p->hdl.f1.id);
    printf("RefCnt<%u> \n", tbl_p->refCnt);
    puts("Configuration: ");
    Dump_AsTableCfg(&tbl_p->cfg);
    puts("Table: ");
    printf("  AsEntType ");
    printf("\n  Idx         Status   ");
    printf("aclType  aclMask            macAddr           macMask     ");
    puts("           IPAddr           vid0 vid1 ethType ipProto destProto");
    for (u32 entIdx = 0; entIdx < QIR_ASENT_MAXNUM; ++entIdx) {
        const AsEntSlot &slot = tbl_p->ent[entIdx];
        printf("  <%u> ", entIdx);
        Dump_Status(slot.status);
        if (slot.status != e_STATUS_FREE) {
            Dump_AsTableEntry(&slot.ent);
        }
        putchar('\n');
    }
    puts("----------------------------------------------------");
}

} // namespace qir
