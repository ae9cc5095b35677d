// The fuzzer's inputs run here too, with every compiler and in both byte orders; and they reach what they
// were made for.
#include "tests/support/library.h"

#include "fuzz/public_calls.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

namespace fuzz_checks {

namespace {

using fuzz::u32;
using fuzz::u8;

std::vector<u8> ContentsOf(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> AllNames() {
    std::vector<std::string> all;
    for (const fuzz::Family &family : fuzz::Families()) {
        for (const fuzz::Operation &operation : family.operations) {
            all.emplace_back(operation.name);
        }
    }
    return all;
}

using Seen = std::set<std::pair<std::string, u32>>;

// Runs all inputs; the codes with which each operation ended.
Seen RunCorpus() {
    Seen seen;
    for (const auto &entry : std::filesystem::directory_iterator(FUZZ_CORPUS)) {
        const std::vector<u8> bytes = ContentsOf(entry.path());
        std::string broken;
        test::CaptureBoth([&] {
            broken = fuzz::RunSequence(bytes.data(), bytes.size(),
                                       [&seen](const fuzz::Call &call) { seen.emplace(call.name, call.rc); });
        });
        EXPECT_EQ(broken, "") << entry.path();
    }
    return seen;
}

// States that take many calls, or the driver's help, to reach.
constexpr struct {
    const char *operation;
    u32 rc;
} kDeep[] = {
    {"QIR_Alloc_FCB", e_RET_ERR_RESRC_UNAVAIL}, // all 512 flows
    {"QIR_Set_SectionMaxFlows", e_RET_ERR_RESRC_BUSY},
    {"QIR_Alloc_AsTable", e_RET_ERR_RESRC_UNAVAIL}, // all tables
    {"QIR_Alloc_DscpToPbitsTable", e_RET_ERR_RESRC_UNAVAIL},
    {"QIR_Alloc_PacTable", e_RET_ERR_RESRC_UNAVAIL},
    {"QIR_Config_EthFilter", e_RET_ERR_RESRC_UNAVAIL}, // all nodes
    {"QIR_Config_VlanAction", e_RET_ERR_RESRC_UNAVAIL},
    {"QIR_Config_EthFilter", e_RET_ERR_INVALID_CMPOPSEQ},
    {"QIR_Config_EthFilter", e_RET_ERR_INVALID_PARAM},
    {"QIR_Config_EthAction", e_RET_ERR_REQOUTOFORDER},
    {"QIR_Config_EthAction", e_RET_ERR_INVALID_ACTIONSEQ},
    {"QIR_Activate_FCB", e_RET_ERR_STATE_NOT_ACTIVE},
    {"QIR_Set_FwdInfo", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Set_AsOverride", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Alloc_Hdr", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Free_FCB", e_RET_ERR_RESRC_ALREADY_ACTIVE},
    {"QIR_Set_PacTableCfg", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Set_AsTableEntry", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Set_RL", e_RET_ERR_STATE_ALREADY_ACTIVE},
    {"QIR_Set_PacInfo", e_RET_ERR_RESRC_ALREADY_ACTIVE},
    {"QIR_Set_PacInfo", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Set_EpInfo", e_RET_ERR_STATE_NOTCFG},
    {"QIR_Free_PacTable", e_RET_ERR_RESRC_BUSY},
    {"QIR_Get_EthFilter", e_RET_ERR_OVERFLOW},
    {"QIR_Activate_AsTable", e_RET_DRIVER_FAILURE}, // the driver fails
    {"QIR_Deactivate_AsTable", e_RET_DRIVER_FAILURE},
    {"QIR_Activate_FCB", e_RET_DRIVER_FAILURE},
    {"QIR_Deactivate_FCB", e_RET_DRIVER_FAILURE},
    {"QIR_Add_DstPortInfo", e_RET_DRIVER_FAILURE},
    {"QIR_Set_Tpid", e_RET_DRIVER_FAILURE},
    {"QIR_Activate_RL", e_RET_DRIVER_FAILURE},
    {"QIR_Deactivate_RL", e_RET_DRIVER_FAILURE},
};

// An operation that is added in the middle of its family shifts the meaning of all inputs: this says so.
TEST(Corpus, RunsWithoutComplaintAndReachesWhatItWasMadeFor) {
    const Seen seen = RunCorpus();
    for (const auto &[operation, rc] : kDeep) {
        EXPECT_TRUE(seen.contains({operation, rc})) << operation << " never ended with " << rc;
    }
    for (const std::string &name : AllNames()) {
        EXPECT_TRUE(seen.contains({name, e_RET_OK})) << name << " was never accepted";
    }
}

// What the shared library exports is what sequences are made of.
TEST(Operations, AreAllPublicOnes) {
    std::set<std::string> exported;
    std::ifstream file(EXPORTS);
    for (std::string library, name; file >> library;) {
        if (library.starts_with("#")) {
            std::getline(file, name);
        } else if (file >> name && library == "libqirapi" && name != "qirCtxt_gp") {
            exported.insert(name);
        }
    }
    std::set<std::string> called;
    for (const std::string &name : AllNames()) {
        EXPECT_TRUE(called.insert(name).second) << name << " stands twice";
    }
    EXPECT_EQ(called, exported);
}

} // namespace

} // namespace fuzz_checks
