// A folder of its own for a test's files, and their contents.
#ifndef TESTS_SUPPORT_TEMP_FOLDER_H
#define TESTS_SUPPORT_TEMP_FOLDER_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace test {

// Removed with what is in it.
class TempFolder {
  public:
    TempFolder() {
        std::string pattern = ::testing::TempDir() + "qir.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            ADD_FAILURE() << "no temporary folder";
        }
        path_ = pattern;
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string File(const std::string &name) const { return path_ + "/" + name; }
    // Names of what is in it, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(path_)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::string path_;
};

inline void WriteFile(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string FileText(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace test

#endif
