// A folder of its own for a test's files.
#ifndef TESTS_JOURNAL_TEMP_FOLDER_H
#define TESTS_JOURNAL_TEMP_FOLDER_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace journal_test {

class TempFolder {
  public:
    TempFolder() {
        std::string pattern = ::testing::TempDir() + "/journal.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            ADD_FAILURE() << "no temporary folder";
        }
        path_ = pattern;
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    ~TempFolder() { std::filesystem::remove_all(path_); }

    std::string File(const std::string &name) const { return path_ + "/" + name; }
    std::size_t NumFiles() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path_), std::filesystem::directory_iterator()));
    }

  private:
    std::string path_;
};

inline void WriteText(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string TextOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace journal_test

#endif
