// Tables of the scenarios. The builders ignore the results of the calls: errors show in the library's lines.
#ifndef APP_TABLE_BUILDERS_H
#define APP_TABLE_BUILDERS_H

#include "qirapi/qirapi.h"

#include <cstdint>

namespace app {

struct MacSa {
    uint8_t addr[6];
    uint8_t mask[6];
};

struct IpSa {
    uint32_t addr;
    uint32_t prefixLen;
};

constexpr int kSaTblSize = 5;
extern MacSa g_macSaTbl[kSaTblSize];
extern IpSa g_ipSaTbl[kSaTblSize];
extern uint8_t asFirstAddr; // first address byte of the next AS table
extern uint8_t defPbitsVal; // default pbits of the next DSCP table

// Source addresses of the next AS table: four hosts, and a subnet of `lastPrefixLen` bits.
void App_Init_MacIpSaTbl(uint32_t macBase, uint32_t ipBase, uint32_t lastPrefixLen);
// An active AS table with the five source addresses. Returns the result of the activation.
uint32_t App_Allocate_AsTable(const AsTblCfg *cfg_p, AsTblHdl *hdl_p);
// The AS table of a user port, for addresses 10.0.0.x.
void App_ConfigAsTable(uint32_t uni, AsTblHdl *hdl_p);
// The DSCP table of a user port: DSCP 0 to 31 get pbits DSCP / 4, the others the default.
void App_ConfigDscpTable(uint32_t uni, DscpTblHdl *hdl_p);
// A PAC table whose even pbits go to `firstGem` and whose odd pbits go to the next GEM port.
void App_ConfigPacTablePgMode(uint32_t uni, uint32_t firstGem, PacTblHdl *hdl_p);

} // namespace app

#endif
