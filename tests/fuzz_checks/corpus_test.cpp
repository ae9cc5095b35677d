// The fuzzer's inputs run here too, with every compiler and in both byte orders.
#include "tests/support/library.h"

#include "fuzz/public_calls.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace fuzz_checks {

namespace {

std::vector<fuzz::u8> ContentsOf(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(Corpus, RunsWithoutComplaint) {
    std::size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(FUZZ_CORPUS)) {
        const std::vector<fuzz::u8> bytes = ContentsOf(entry.path());
        fuzz::Complaint broken;
        test::CaptureBoth([&] { broken = fuzz::RunSequence(bytes.data(), bytes.size()); });
        EXPECT_EQ(broken, "") << entry.path();
        ++files;
    }
    EXPECT_GT(files, 0u) << FUZZ_CORPUS;
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
    for (const auto family : {fuzz::SystemOperations(), fuzz::TableOperations(), fuzz::FlowOperations(),
                              fuzz::RequestOperations()}) {
        for (const fuzz::Operation &operation : family) {
            EXPECT_TRUE(called.insert(operation.name).second) << operation.name << " stands twice";
        }
    }
    EXPECT_EQ(called, exported);
}

} // namespace

} // namespace fuzz_checks
