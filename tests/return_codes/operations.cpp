#include "tests/return_codes/operations.h"

namespace return_codes {

const std::vector<Family> &Families() {
    static const std::vector<Family> families = {
        System(),   Ports(),      AsTables(), DscpTables(), PacTables(),    EpTables(),
        FlowLife(), FlowConfig(), Filters(),  Actions(),    RateLimiters(), Dumps(),
    };
    return families;
}

const Operation &OperationOf(const std::string &name) {
    static const Operation none;
    for (const Family &family : Families()) {
        for (const Operation &operation : family.operations) {
            if (operation.name == name) {
                return operation;
            }
        }
    }
    ADD_FAILURE() << "no operation " << name;
    return none;
}

} // namespace return_codes
