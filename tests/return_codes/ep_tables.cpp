#include "tests/return_codes/operations.h"

namespace return_codes {

Family EpTables() {
    return {
        "EP tables",
        {
            Placeholder("QIR_Alloc_EpTable", [] { return QIR_Alloc_EpTable(nullptr); }),
            Placeholder("QIR_Free_EpTable", [] { return QIR_Free_EpTable(nullptr); }),
            Placeholder("QIR_Activate_EpTable", [] { return QIR_Activate_EpTable(nullptr); }),
            Placeholder("QIR_Deactivate_EpTable", [] { return QIR_Deactivate_EpTable(nullptr); }),
            Placeholder("QIR_Set_EpTableCfg", [] { return QIR_Set_EpTableCfg(nullptr, nullptr); }),
            Placeholder("QIR_Get_EpTableCfg", [] { return QIR_Get_EpTableCfg(nullptr, nullptr); }),
            Placeholder("QIR_Set_EpTableEntry", [] { return QIR_Set_EpTableEntry(nullptr, 255, nullptr); }),
            Placeholder("QIR_Get_EpTableEntry", [] { return QIR_Get_EpTableEntry(nullptr, 255, nullptr); }),
        },
    };
}

} // namespace return_codes
