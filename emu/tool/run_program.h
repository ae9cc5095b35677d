// What `orxemu run` executes: the program, found and looked at before anything runs, and the words and the
// environment it is started with.
#ifndef EMU_TOOL_RUN_PROGRAM_H
#define EMU_TOOL_RUN_PROGRAM_H

#include <filesystem>
#include <string>
#include <vector>

namespace orxemu::tool {

struct ProgramOptions {
    std::vector<std::string> words; // the program and its arguments
    std::string library;            // liborxemu.so; empty: the one beside the tool or in the library folder
    std::string emulator;           // a command line, empty when the program is for this machine
    bool isLauncher = false;        // it may be linked statically, for it only starts others
};

// A symbolic link to the library in a folder of its own, for where its path cannot be written. Both go with
// it.
class TemporaryLink {
  public:
    TemporaryLink() = default;
    TemporaryLink(const TemporaryLink &) = delete;
    TemporaryLink &operator=(const TemporaryLink &) = delete;
    ~TemporaryLink();
    // The path of the link to `target`. Throws RunTrouble.
    std::string Create(const std::filesystem::path &target);

  private:
    std::filesystem::path folder_;
};

class Program {
  public:
    // Throws RunTrouble: a program that is not there (127) or cannot be run on the stand-in (126); a library
    // or an emulator that is not there or is not for this tool (125).
    explicit Program(const ProgramOptions &options);

    const std::string &name() const { return name_; }
    // The file to execute, its words and its environment, to which the caller adds.
    const std::string &file() const { return file_; }
    const std::vector<std::string> &words() const { return words_; }
    std::vector<std::string> &environment() { return environment_; }

  private:
    std::string PreloadPath(const std::filesystem::path &library);
    void SetPreload(const std::string &preload, bool emulated);

    std::string name_;
    std::string file_;
    std::vector<std::string> words_;
    std::vector<std::string> environment_;
    TemporaryLink link_;
};

} // namespace orxemu::tool

#endif
