// The EP operations: placeholders that accept anything and do nothing.

#include "qirapi/qirapi.h"

uint32_t QIR_Alloc_EpTable(EpTblHdl *) {
    return e_RET_OK;
}

uint32_t QIR_Free_EpTable(EpTblHdl *) {
    return e_RET_OK;
}

uint32_t QIR_Activate_EpTable(EpTblHdl *) {
    return e_RET_OK;
}

uint32_t QIR_Deactivate_EpTable(EpTblHdl *) {
    return e_RET_OK;
}

uint32_t QIR_Set_EpTableCfg(EpTblHdl *, const EpTblCfg *) {
    return e_RET_OK;
}

uint32_t QIR_Get_EpTableCfg(EpTblHdl *, EpTblCfg *) {
    return e_RET_OK;
}

uint32_t QIR_Set_EpTableEntry(EpTblHdl *, uint8_t, const EpEnt *) {
    return e_RET_OK;
}

uint32_t QIR_Get_EpTableEntry(EpTblHdl *, uint8_t, EpEnt *) {
    return e_RET_OK;
}
