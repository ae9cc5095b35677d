// What a file says of the loader: heads of programs, made byte by byte, of each word size and byte order.
#include "emu/tool/run_elf.h"
#include "tests/orxemu_run/run_kit.h"

#include <elf.h>

namespace run_test {

namespace {

using namespace orxemu;

class ElfTest : public RunTest, public ::testing::WithParamInterface<std::pair<int, int>> {};

// A file of one word size and byte order, its segments' headers behind its head.
class Image {
  public:
    Image(int wordSize, int order, unsigned type)
        : is64_(wordSize == ELFCLASS64),
          order_(order == ELFDATA2MSB ? journal::ByteOrder::Big : journal::ByteOrder::Little) {
        for (const int byte : {0x7F, int{'E'}, int{'L'}, int{'F'}, wordSize, order}) {
            bytes_.push_back(static_cast<std::uint8_t>(byte));
        }
        bytes_.resize(is64_ ? sizeof(Elf64_Ehdr) : sizeof(Elf32_Ehdr));
        Put(16, 2, type);
        Put(18, 2, EM_PPC);
        PutAddress(is64_ ? 32 : 28, bytes_.size());
        Put(is64_ ? 54 : 42, 2, HeaderSize());
    }

    // Segments first, and their contents behind all of them.
    Image &Segment(unsigned type, std::size_t offset = 0, std::size_t size = 0) {
        const std::size_t header = bytes_.size();
        bytes_.resize(header + HeaderSize());
        Put(header, 4, type);
        PutAddress(header + (is64_ ? 8 : 4), offset);
        PutAddress(header + (is64_ ? 32 : 16), size);
        Put(is64_ ? 56 : 44, 2, ++segments_);
        return *this;
    }
    // A dynamic segment with these flags between two other entries.
    Image &Dynamic(std::uint32_t flags) {
        const std::size_t address = is64_ ? 8 : 4;
        const std::size_t contents = bytes_.size() + HeaderSize();
        Segment(PT_DYNAMIC, contents, 6 * address);
        bytes_.resize(contents + 6 * address);
        const std::uint32_t words[] = {DT_SONAME, DF_1_PIE, DT_FLAGS_1, flags, DT_NULL, 0};
        for (std::size_t i = 0; i < std::size(words); ++i) {
            PutAddress(contents + i * address, words[i]);
        }
        return *this;
    }
    std::string Text() const { return {bytes_.begin(), bytes_.end()}; }

  private:
    unsigned HeaderSize() const { return is64_ ? sizeof(Elf64_Phdr) : sizeof(Elf32_Phdr); }
    void Put(std::size_t offset, unsigned width, std::uint32_t value) {
        journal::Store(bytes_, offset, width, order_, value);
    }
    void PutAddress(std::size_t offset, std::size_t value) {
        const bool lowSecond = is64_ && order_ == journal::ByteOrder::Big;
        Put(offset + (lowSecond ? 4 : 0), 4, static_cast<std::uint32_t>(value));
    }

    bool is64_;
    journal::ByteOrder order_;
    std::vector<std::uint8_t> bytes_;
    unsigned segments_ = 0;
};

TEST_P(ElfTest, LoaderIsAskedForOrNot) {
    const int wordSize = GetParam().first;
    const int order = GetParam().second;
    const auto image = [&](unsigned type) { return Image(wordSize, order, type); };
    struct Row {
        const char *name;
        std::string text;
        bool isStatic;
    };
    const std::string dynamic = image(ET_EXEC).Segment(PT_LOAD).Segment(PT_INTERP).Text();
    const Row rows[] = {
        {"program", dynamic, false},
        {"program that lies anywhere", image(ET_DYN).Segment(PT_INTERP).Dynamic(DF_1_PIE).Text(), false},
        {"static", image(ET_EXEC).Segment(PT_LOAD).Segment(PT_NOTE).Text(), true},
        {"static without segments", image(ET_EXEC).Text(), true},
        {"static that lies anywhere", image(ET_DYN).Segment(PT_LOAD).Dynamic(DF_1_PIE | DF_1_NOW).Text(),
         true},
        {"loader", image(ET_DYN).Segment(PT_LOAD).Dynamic(DF_1_NOW).Text(), false},
        {"loader without flags", image(ET_DYN).Segment(PT_LOAD).Text(), false},
        {"dynamic segment behind the end", image(ET_DYN).Segment(PT_DYNAMIC, 1 << 30, 1 << 30).Text(), false},
        {"text", "#!/bin/sh\n", false},
        {"empty", "", false},
    };
    for (const Row &row : rows) {
        WriteFile(Path("program"), row.text);
        EXPECT_EQ(tool::IsStatic(Path("program")), row.isStatic) << row.name;
    }
    WriteFile(Path("program"), dynamic);
    const auto kind = tool::ElfKindOf(Path("program"));
    ASSERT_TRUE(kind.has_value());
    EXPECT_EQ(kind->wordSize, wordSize);
    EXPECT_EQ(kind->order, order);
    EXPECT_EQ(kind->machine, static_cast<std::uint32_t>(EM_PPC));
    EXPECT_FALSE(tool::ElfKindOf(Path("nothing")).has_value());
}

INSTANTIATE_TEST_SUITE_P(Kinds, ElfTest,
                         ::testing::Values(std::pair(ELFCLASS32, ELFDATA2LSB),
                                           std::pair(ELFCLASS32, ELFDATA2MSB),
                                           std::pair(ELFCLASS64, ELFDATA2LSB),
                                           std::pair(ELFCLASS64, ELFDATA2MSB)));

} // namespace

} // namespace run_test
