#include "emu/close_range.h"

#include "emu/cancellation.h"
#include "emu/device_node.h"
#include "emu/next.h"
#include "emu/session.h"

#include <climits>

namespace orxemu {

namespace {

// Nothing has this number.
constexpr unsigned kBehindAll = UINT_MAX;
// From <linux/close_range.h>, which is younger than some C libraries.
constexpr int kMarkOnly = 1 << 2;

// Does something to what is left of a range without the session's descriptors: `part(first, last)` for each
// piece, with the result of the first piece that failed, or 0.
template <class Part> int WithoutSession(unsigned first, unsigned last, Part part) {
    int kept[kSessionDescriptors];
    const int num = SessionDescriptorsInOrder(kept);
    int result = 0;
    for (int i = 0; i < num; ++i) {
        const auto fd = static_cast<unsigned>(kept[i]);
        if (fd < first || fd > last) {
            continue;
        }
        if (fd > first && result == 0) {
            result = part(first, fd - 1);
        }
        first = fd + 1;
    }
    return first <= last && result == 0 ? part(first, last) : result;
}

// One by one, for a kernel that has no such call.
void CloseEach(unsigned first, unsigned last) {
    for (unsigned fd = first; fd <= last; ++fd) {
        NextClose(static_cast<int>(fd));
    }
}

} // namespace

int CloseRange(unsigned first, unsigned last, int flags) {
    // What is wrong with the call shows before anything is done for it.
    const bool inOrder = first <= last;
    if (NextCloseRange(inOrder ? kBehindAll : first, inOrder ? kBehindAll : last, flags) != 0) {
        return -1;
    }
    if ((flags & kMarkOnly) == 0) {
        ForgetDescriptors(first, last);
    }
    return WithoutSession(first, last,
                          [flags](unsigned from, unsigned to) { return NextCloseRange(from, to, flags); });
}

void CloseFrom(int first) {
    const CancellationOff whole;
    const unsigned begin = first > 0 ? static_cast<unsigned>(first) : 0;
    ForgetDescriptors(begin, kBehindAll);
    WithoutSession(begin, kBehindAll, [](unsigned from, unsigned to) {
        if (to == kBehindAll) {
            NextCloseFrom(static_cast<int>(from));
        } else if (NextCloseRange(from, to, 0) != 0) {
            CloseEach(from, to);
        }
        return 0;
    });
}

} // namespace orxemu
