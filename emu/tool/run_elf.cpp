#include "emu/tool/run_elf.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <elf.h>
#include <fstream>

namespace orxemu::tool {

namespace {

// Where the fields are in files of one word size. Half-words have 2 bytes, words 4, and the others `address`.
struct ElfLayout {
    std::size_t address;
    std::size_t headersOffset; // in the head of the file
    std::size_t headerSize, headerCount;
    std::size_t segmentOffset, segmentSize; // in the header of a segment
};
constexpr ElfLayout kLayout32 = {4,
                                 offsetof(Elf32_Ehdr, e_phoff),
                                 offsetof(Elf32_Ehdr, e_phentsize),
                                 offsetof(Elf32_Ehdr, e_phnum),
                                 offsetof(Elf32_Phdr, p_offset),
                                 offsetof(Elf32_Phdr, p_filesz)};
constexpr ElfLayout kLayout64 = {8,
                                 offsetof(Elf64_Ehdr, e_phoff),
                                 offsetof(Elf64_Ehdr, e_phentsize),
                                 offsetof(Elf64_Ehdr, e_phnum),
                                 offsetof(Elf64_Phdr, p_offset),
                                 offsetof(Elf64_Phdr, p_filesz)};
// The same in both.
constexpr std::size_t kTypeOffset = offsetof(Elf32_Ehdr, e_type);
constexpr std::size_t kMachineOffset = offsetof(Elf32_Ehdr, e_machine);
constexpr std::size_t kSegmentTypeOffset = offsetof(Elf32_Phdr, p_type);
static_assert(kTypeOffset == offsetof(Elf64_Ehdr, e_type) &&
              kMachineOffset == offsetof(Elf64_Ehdr, e_machine));
static_assert(kSegmentTypeOffset == offsetof(Elf64_Phdr, p_type));

// Reads values at offsets; what lies behind the end of the file is 0.
class ElfFile {
  public:
    explicit ElfFile(const std::filesystem::path &path) : file_(path, std::ios::binary) {}

    // False when it is no program or library.
    bool ReadKind(ElfKind &kind) {
        std::array<std::uint8_t, sizeof(Elf32_Ehdr)> head = {};
        if (!Read(0, head.data(), head.size()) || std::memcmp(head.data(), ELFMAG, SELFMAG) != 0) {
            return false;
        }
        kind_ = {head[EI_CLASS], head[EI_DATA], 0};
        kind_.machine = Half(kMachineOffset);
        kind = kind_;
        return true;
    }

    std::uint32_t Half(std::uint64_t offset) { return Load(offset, 2); }
    std::uint32_t Word(std::uint64_t offset) { return Load(offset, 4); }
    // As long as an address of the file's word size.
    std::uint64_t Address(std::uint64_t offset) {
        if (Layout().address == 4) {
            return Word(offset);
        }
        const std::uint64_t first = Word(offset);
        const std::uint64_t second = Word(offset + 4);
        return OrderOf(kind_) == journal::ByteOrder::Big ? first << 32 | second : second << 32 | first;
    }
    const ElfLayout &Layout() const { return kind_.wordSize == ELFCLASS64 ? kLayout64 : kLayout32; }

  private:
    bool Read(std::uint64_t offset, std::uint8_t *to, std::size_t size) {
        file_.clear();
        file_.seekg(static_cast<std::streamoff>(offset));
        file_.read(reinterpret_cast<char *>(to), static_cast<std::streamsize>(size));
        return file_.gcount() == static_cast<std::streamsize>(size);
    }
    std::uint32_t Load(std::uint64_t offset, unsigned size) {
        std::array<std::uint8_t, 4> bytes = {};
        return Read(offset, bytes.data(), size) ? journal::Load(bytes, 0, size, OrderOf(kind_)) : 0;
    }

    std::ifstream file_;
    ElfKind kind_ = {};
};

struct Segment {
    std::uint64_t offset;
    std::uint64_t size;
};

// The first of a type.
std::optional<Segment> FindSegment(ElfFile &file, std::uint32_t type) {
    const ElfLayout &layout = file.Layout();
    const std::uint64_t headers = file.Address(layout.headersOffset);
    const std::uint64_t size = file.Half(layout.headerSize);
    const std::uint32_t count = file.Half(layout.headerCount);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t header = headers + i * size;
        if (file.Word(header + kSegmentTypeOffset) == type) {
            return Segment{file.Address(header + layout.segmentOffset),
                           file.Address(header + layout.segmentSize)};
        }
    }
    return std::nullopt;
}

// Whether it calls itself a program that can lie anywhere; libraries, the loader among them, do not.
bool SaysItIsAProgram(ElfFile &file) {
    constexpr std::uint64_t kLargest = 1 << 16; // a few hundred bytes are usual
    const std::optional<Segment> dynamic = FindSegment(file, PT_DYNAMIC);
    const std::uint64_t address = file.Layout().address;
    const std::uint64_t size = dynamic ? std::min(dynamic->size, kLargest) : 0;
    for (std::uint64_t entry = 0; entry + 2 * address <= size; entry += 2 * address) {
        if (file.Address(dynamic->offset + entry) == DT_FLAGS_1) {
            return (file.Address(dynamic->offset + entry + address) & DF_1_PIE) != 0;
        }
    }
    return false;
}

} // namespace

std::optional<ElfKind> ElfKindOf(const std::filesystem::path &path) {
    ElfKind kind = {};
    return ElfFile(path).ReadKind(kind) ? std::optional(kind) : std::nullopt;
}

journal::ByteOrder OrderOf(const ElfKind &kind) {
    return kind.order == ELFDATA2MSB ? journal::ByteOrder::Big : journal::ByteOrder::Little;
}

std::string Describe(const ElfKind &kind) {
    return std::string(kind.wordSize == ELFCLASS64 ? "64" : "32") + "-bit " + journal::NameOf(OrderOf(kind)) +
           "-endian, machine " + std::to_string(kind.machine);
}

bool IsStatic(const std::filesystem::path &path) {
    ElfFile file(path);
    ElfKind kind = {};
    if (!file.ReadKind(kind) || FindSegment(file, PT_INTERP)) {
        return false;
    }
    return file.Half(kTypeOffset) == ET_EXEC || SaysItIsAProgram(file);
}

} // namespace orxemu::tool
