#include "app/table_builders.h"

#include "app/record_tools.h"

#include <cstdio>
#include <cstring>

namespace app {

MacSa g_macSaTbl[kSaTblSize];
IpSa g_ipSaTbl[kSaTblSize];
uint8_t asFirstAddr = 1;
uint8_t defPbitsVal = 0;

namespace {

constexpr uint32_t kIpBase = 0x0A000000;
constexpr uint32_t kIpSubnet = 0x00000500;
constexpr uint32_t kHostPrefixLen = 32;
constexpr uint32_t kLastPrefixLen = 24;
constexpr uint8_t kAsAddrStep = 10;

// 00:00 and the four bytes of `low`, compared whole.
MacSa MakeMacSa(uint32_t low) {
    auto mac = Zeroed<MacSa>();
    for (uint32_t i = 0; i < 4; ++i) {
        mac.addr[2 + i] = static_cast<uint8_t>(low >> (24 - 8 * i));
    }
    std::memset(mac.mask, 0xFF, sizeof mac.mask);
    return mac;
}

} // namespace

void App_Init_MacIpSaTbl(uint32_t macBase, uint32_t ipBase, uint32_t lastPrefixLen) {
    constexpr uint32_t kLast = kSaTblSize - 1;
    for (uint32_t i = 0; i < kLast; ++i) {
        g_macSaTbl[i] = MakeMacSa(macBase + i);
        g_ipSaTbl[i] = {.addr = ipBase + i, .prefixLen = kHostPrefixLen};
    }
    g_macSaTbl[kLast] = MakeMacSa(macBase + kLast);
    g_ipSaTbl[kLast] = {.addr = ipBase | kIpSubnet, .prefixLen = lastPrefixLen};
}

uint32_t App_Allocate_AsTable(const AsTblCfg *cfg_p, AsTblHdl *hdl_p) {
    auto readBack = Zeroed<AsTblCfg>();
    QIR_Alloc_AsTable(hdl_p);
    QIR_Set_AsTableCfg(hdl_p, cfg_p);
    QIR_Get_AsTableCfg(hdl_p, &readBack);
    for (uint8_t i = 0; i < kSaTblSize; ++i) {
        auto ent = Zeroed<AsEnt>();
        ent.aclType = 1;
        ent.aclMask = AS_ENT_MASK_MAC_SA | AS_ENT_MASK_IP;
        std::memcpy(ent.macSA, g_macSaTbl[i].addr, sizeof ent.macSA);
        std::memcpy(ent.macSAMask, g_macSaTbl[i].mask, sizeof ent.macSAMask);
        ent.ipAddr = g_ipSaTbl[i].addr;
        ent.ipPrefixLen = g_ipSaTbl[i].prefixLen;
        QIR_Set_AsTableEntry(hdl_p, i, &ent);
    }
    return QIR_Activate_AsTable(hdl_p);
}

void App_ConfigAsTable(uint32_t uni, AsTblHdl *hdl_p) {
    std::printf("Initializing AS Table for UNI %d\n", static_cast<int>(uni));
    App_Init_MacIpSaTbl(asFirstAddr, asFirstAddr + kIpBase, kLastPrefixLen);
    asFirstAddr = static_cast<uint8_t>(asFirstAddr + kAsAddrStep);
    const AsTblCfg cfg{.srcPortMask = Bit(uni)};
    App_Allocate_AsTable(&cfg, hdl_p);
}

void App_ConfigDscpTable(uint32_t uni, DscpTblHdl *hdl_p) {
    std::printf("Initializing DSCP to PBITS Table for UNI %d\n", static_cast<int>(uni));
    std::memset(hdl_p, 0xFF, sizeof *hdl_p);
    QIR_Alloc_DscpToPbitsTable(hdl_p);
    auto defPbits = Zeroed<DscpDefPbits>();
    defPbits.srcPort = uni;
    defPbits.pbits = defPbitsVal;
    ++defPbitsVal;
    QIR_Set_DscpToPbitsTable_DefPbits(hdl_p, &defPbits);
    QIR_Get_DscpToPbitsTable_DefPbits(hdl_p, &defPbits);
    for (uint8_t pbits = 0; pbits < QIR_PBITS_MAX; ++pbits) {
        auto mapping = Zeroed<DscpMapping>();
        mapping.startDscp = static_cast<uint8_t>(4 * pbits);
        mapping.endDscp = static_cast<uint8_t>(4 * pbits + 3);
        mapping.pbits = pbits;
        QIR_Set_DscpToPbitsTable(hdl_p, &mapping);
    }
    QIR_Activate_DscpToPbitsTable(hdl_p);
}

void App_ConfigPacTablePgMode(uint32_t uni, uint32_t firstGem, PacTblHdl *hdl_p) {
    std::printf("Initializing PAC Table (PG mode) for UNI %d\n", static_cast<int>(uni));
    std::memset(hdl_p, 0xFF, sizeof *hdl_p);
    QIR_Alloc_PacTable(hdl_p);
    auto cfg = Zeroed<PacTblCfg>();
    QIR_Set_PacTableCfg(hdl_p, &cfg);
    QIR_Get_PacTableCfg(hdl_p, &cfg);
    for (uint8_t pbits = 0; pbits < QIR_PBITS_MAX; ++pbits) {
        auto ent = Zeroed<PacTblCfg>();
        ent.ovrd = PAC_OVRD_DSTGEMPORT | PAC_OVRD_DSTQID_B;
        ent.dstGemPort = static_cast<uint8_t>(firstGem + pbits % 2);
        QIR_Set_PacTableEntry(hdl_p, pbits, &ent);
    }
    QIR_Activate_PacTable(hdl_p);
}

} // namespace app
