#include "emu/tool/replay_memory.h"

#include "emu/orxemu.h"

#include <cstring>
#include <limits>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace orxemu::tool {

namespace {

// Whole pages, because that is what is mapped.
std::size_t MappedBytes() {
    static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (ORXEMU_FCB_BYTES + page - 1) / page * page;
}

#if UINTPTR_MAX > UINT32_MAX

// Where places are looked for: above what programs at a fixed place take up, below the last mapping that
// fits. The search goes on where the last one found a place, and starts over once at the end.
constexpr std::uint64_t kFirstHint = 0x20000000;
constexpr std::uint64_t kLastHint = 0xF0000000;

bool Fits(std::uint64_t address) {
    return address + ORXEMU_FCB_BYTES - 1 <= std::numeric_limits<std::uint32_t>::max();
}

// Null when the place is taken. A kernel that does not know the flag takes the address as a hint, and may map
// elsewhere.
void *MapAt(std::uint64_t hint) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a free place is looked for by its number
    auto *wanted = reinterpret_cast<void *>(std::uintptr_t{hint});
    void *place = mmap(wanted, MappedBytes(), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (place == MAP_FAILED) {
        return nullptr;
    }
    if (!Fits(reinterpret_cast<std::uintptr_t>(place))) {
        munmap(place, MappedBytes());
        return nullptr;
    }
    return place;
}

void *MapBelow4GiB() {
    static std::uint64_t next = kFirstHint;
    const std::uint64_t start = next;
    do {
        const std::uint64_t hint = next;
        next = next + MappedBytes() < kLastHint ? next + MappedBytes() : kFirstHint;
        if (void *place = MapAt(hint); place != nullptr) {
            return place;
        }
    } while (next != start);
    return nullptr;
}

#else

void *MapBelow4GiB() {
    void *place = mmap(nullptr, MappedBytes(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return place == MAP_FAILED ? nullptr : place;
}

#endif

} // namespace

LowFcb::LowFcb() : place_(MapBelow4GiB()) {
    if (place_ == nullptr) {
        throw std::bad_alloc();
    }
}

LowFcb::LowFcb(LowFcb &&other) noexcept : place_(std::exchange(other.place_, nullptr)) {}

LowFcb &LowFcb::operator=(LowFcb &&other) noexcept {
    std::swap(place_, other.place_);
    return *this;
}

LowFcb::~LowFcb() {
    if (place_ != nullptr) {
        munmap(place_, MappedBytes());
    }
}

void LowFcb::Write(journal::ByteView fcb) {
    std::memcpy(place_, fcb.data(), ORXEMU_FCB_BYTES);
}

} // namespace orxemu::tool
