// A flow with headers, and a model of what storing a request does to its FCB. The rooms of filters and of
// actions share it.
#ifndef TESTS_FILTERS_FLOW_KIT_H
#define TESTS_FILTERS_FLOW_KIT_H

#include "qirapi/private/context.h"
#include "tests/support/library.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace test {

using qir::Fcb;
using qir::HdrEntry;
using qir::ReqNode;
using qir::u16;
using qir::u32;
using qir::u8;

// The name that logs print for a code.
inline std::string CodeName(u32 code) {
    switch (code) {
    case 2:
        return "e_RET_ERR_NULL_PTR";
    case 3:
        return "e_RET_ERR_INVALID_HDL";
    case 6:
        return "e_RET_ERR_NO_SUCH_ENTRY";
    case 7:
        return "e_RET_ERR_OVERFLOW";
    case 9:
        return "e_RET_ERR_REQOUTOFORDER";
    case 11:
        return "e_RET_ERR_HDRNOTCFG";
    case 12:
        return "e_RET_ERR_RESRC_UNAVAIL";
    case 21:
        return "e_RET_ERR_INVALID_CMPOPSEQ";
    case 22:
        return "e_RET_ERR_INVALID_FILTSEQ";
    case 23:
        return "e_RET_ERR_INVALID_ACTIONSEQ";
    case 25:
        return "e_RET_ERR_INVALID_PARAM";
    case 44:
        return "e_RET_ERR_INVALID_TAGNUM";
    case 45:
        return "e_RET_ERR_INVALID_CONFIGOPER";
    case 46:
        return "e_RET_ERR_INVALID_CMPOPER";
    case 47:
        return "e_RET_ERR_INVALID_FILT";
    case 48:
        return "e_RET_ERR_INVALID_ACTION";
    default:
        return "no name";
    }
}

// The error line of a code under a function's name.
inline std::string Code(const std::string &fn, u32 code) {
    return CodeLine(fn, CodeName(code));
}

// What a call should do: its code and the lines that internal functions print before the closing line.
struct Outcome {
    u32 code = 0;
    std::string lines;
};

// What went wrong while standard output was captured (a failure reported there would vanish with it).
class Findings {
  public:
    void Add(const std::string &what) {
        if (++count_ <= kShown) {
            text_ += what + "\n";
        }
    }
    std::string Text() const {
        return count_ <= kShown ? text_ : text_ + std::to_string(count_) + " findings in all\n";
    }

  private:
    static constexpr unsigned kShown = 10;
    unsigned count_ = 0;
    std::string text_;
};

// Copies all bytes, padding included.
inline void CopyFcb(Fcb *to, const Fcb &from) {
    std::memcpy(static_cast<void *>(to), static_cast<const void *>(&from), sizeof from);
}

// Empty when the bytes are equal, else where they differ.
inline std::string FcbDiff(const Fcb &expected, const Fcb &actual) {
    const auto *want = reinterpret_cast<const unsigned char *>(&expected);
    const auto *have = reinterpret_cast<const unsigned char *>(&actual);
    if (std::memcmp(want, have, sizeof expected) == 0) {
        return {};
    }
    std::string text;
    unsigned shown = 0;
    for (std::size_t i = 0; i < sizeof expected && shown < 12; ++i) {
        if (want[i] != have[i]) {
            text += " byte " + std::to_string(i) + " is " + std::to_string(have[i]) + ", expected " +
                    std::to_string(want[i]) + ";";
            ++shown;
        }
    }
    return text;
}

// Takes the first free node and puts a request at the tail of the list of `head`, as storing a request
// does. Returns the node's index.
inline u16 ModelAppend(Fcb *fcb, u16 head, u32 key, const void *req, std::size_t size) {
    ReqNode *const pool = fcb->reqPool;
    const u16 node = pool[0].next;
    const u16 nextFree = pool[node].next;
    pool[0].next = nextFree;
    pool[nextFree].prev = 0;
    --fcb->freeReqCount;
    const u16 last = pool[head].prev;
    pool[node].next = head;
    pool[node].prev = last;
    pool[last].next = node;
    pool[head].prev = node;
    pool[node].key = key;
    std::memcpy(pool[node].req, req, size);
    return node;
}

// Leaves the free list empty. The nodes taken point to themselves.
inline void DrainPool(Fcb *fcb) {
    ReqNode *const pool = fcb->reqPool;
    while (pool[0].next != 0) {
        const u16 node = pool[0].next;
        pool[0].next = pool[node].next;
        pool[pool[node].next].prev = 0;
        pool[node].next = node;
        pool[node].prev = node;
        --fcb->freeReqCount;
    }
}

// Every test has flow 5, allocated in section 1, with a handle whose upper half is not zero.
class HeaderFlowTest : public LibraryTest {
  protected:
    static constexpr unsigned kFlow = 5;

    void SetUp() override {
        LibraryTest::SetUp();
        hdl_.f1.id = kFlow;
        hdl_.f1.rsvd = 0xBEEF;
        ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(1, &hdl_), 0u);
        fcb_ = &qirCtxt_gp->fcbPool[kFlow];
    }

    void AllocHdr(u32 blk, u32 flowHdr) {
        const FlowHdr hdr{blk, flowHdr};
        ASSERT_EQ(QIR_Alloc_Hdr(&hdl_, &hdr), 0u) << "block " << blk << " header " << flowHdr;
    }

    // Ethernet, both tags, PPPoE and IPv4 (with TCP and UDP): seven nodes.
    void AllocAllHdrs(u32 blk) {
        for (const u32 flowHdr :
             {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_VLAN1, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
            AllocHdr(blk, flowHdr);
        }
    }

    void UsePool() { DrainPool(fcb_); }

    FlowHdl hdl_{};
    Fcb *fcb_ = nullptr;
};

} // namespace test

#endif
