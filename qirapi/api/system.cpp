#include "qirapi/api/operation.h"
#include "qirapi/private/startup.h"

using namespace qir;

u32 QIR_Init_Sys(void) {
    FindLogRow();
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, QEL_LOG_LEVEL_QUIET);
    Init_QirCfg();
    return e_RET_OK;
}

u32 QIR_Set_SectionMaxFlows(u32 section, u16 numFlows) {
    QIR_INF("Params: section<%u> numFlows<%u>\n", section, numFlows);
    if (section >= e_FLOW_SECTION_MAX) {
        return QIR_FAIL(e_RET_ERR_INVALID_SECTION);
    }
    // One below the pool's size: only start-up gives a section all flows.
    if (numFlows >= QIR_MAX_FLOWS) {
        return QIR_FAIL(e_RET_ERR_INVALID_NUMFLOWS);
    }
    FlowSection *const sections = qirCtxt_gp->cfg.flowSection;
    if (numFlows < sections[section].cfgFlows) {
        QIR_ERR("numFlows<%u> less than active flows<%u>\n", numFlows, sections[section].cfgFlows);
        return QIR_FAIL(e_RET_ERR_RESRC_BUSY);
    }
    u32 totalFlows = numFlows;
    for (u32 other = 0; other < e_FLOW_SECTION_MAX; ++other) {
        totalFlows += other == section ? 0u : sections[other].maxFlows;
    }
    if (totalFlows > QIR_MAX_FLOWS) {
        QIR_ERR("total flows exceed maximum allowed: numFlows<%u> totalFlows<%u>\n", numFlows, totalFlows);
        return QIR_FAIL(e_RET_ERR_RESRC_UNAVAIL);
    }
    sections[section].maxFlows = numFlows;
    return QIR_END(e_RET_OK);
}

// The one operation without a closing line.
u32 QIR_Get_SectionMaxFlows(u32 section, u16 *numFlows_p) {
    QIR_INF("Params: section<%u> numFlows_p<0x%p>\n", section, Ptr(numFlows_p));
    if (numFlows_p == nullptr) {
        return QIR_REFUSE(e_RET_ERR_NULL_PTR);
    }
    if (section >= e_FLOW_SECTION_MAX) {
        return QIR_REFUSE(e_RET_ERR_INVALID_SECTION);
    }
    *numFlows_p = qirCtxt_gp->cfg.flowSection[section].maxFlows;
    QIR_INF("section<%u> numFlows<%u>\n", section, *numFlows_p);
    return e_RET_OK;
}
