// What the operations on flows have in common.
#ifndef TESTS_RETURN_CODES_FLOW_SCENE_H
#define TESTS_RETURN_CODES_FLOW_SCENE_H

#include "qirapi/private/req_list.h"
#include "tests/return_codes/operations.h"

namespace return_codes {

// Flow 0 in section 1, CFG.
struct FlowScene : Scene {
    FlowScene() { To(e_STATUS_CFG); }

    // Takes the flow to a state from whichever it is in. On the way up its contents stay.
    void To(uint32_t state) {
        FlowHdl own{};
        if (Fcb().status == e_STATUS_ACTIVE && state < e_STATUS_ACTIVE) {
            Must(QIR_Deactivate_FCB(&own));
        }
        if (Fcb().status > state) {
            Must(QIR_Free_FCB(&own));
        }
        if (Fcb().status < e_STATUS_ALLOC && state >= e_STATUS_ALLOC) {
            Must(QIR_Alloc_FCB(1, &own));
            EXPECT_EQ(own.f1.id, 0u) << "a step of the preparation allocated another flow";
        }
        if (Fcb().status < e_STATUS_CFG && state >= e_STATUS_CFG) {
            Must(QIR_Set_AsOverride(&own, e_AS_OVERRIDE_ENABLE));
        }
        if (Fcb().status < e_STATUS_ACTIVE && state >= e_STATUS_ACTIVE) {
            Must(QIR_Activate_FCB(&own));
        }
        EXPECT_EQ(Fcb().status, state) << "a step of the preparation led to another state";
    }
    // Without anything that it held.
    void Anew(uint32_t state) {
        To(e_STATUS_FREE);
        To(state);
    }
    void AllocHdr(uint32_t blk, uint32_t flowHdr) const {
        FlowHdl own{};
        const FlowHdr hdr = {blk, flowHdr};
        Must(QIR_Alloc_Hdr(&own, &hdr));
    }
    // Leaves no more than so many request nodes.
    void TakeNodes(unsigned left) const {
        while (Fcb().freeReqCount > left) {
            qir::ReqNode *node = nullptr;
            Must(qir::Alloc_ReqNode(&Fcb(), &node));
        }
    }
    // To the call only: other changes would find none.
    void UseUpNodes(unsigned left) {
        AtLast([this, left] { TakeNodes(left); });
    }
    qir::Fcb &Fcb() const { return qirCtxt_gp->fcbPool[0]; }

    FlowHdl hdl{};
    FlowHdl *hdl_p = &hdl;
};

template <uint32_t kState> constexpr auto kFlowIn = [](auto &s) { s.To(kState); };
constexpr auto kNoFlow = [](auto &s) { s.hdl_p = nullptr; };

// The handle: a flow that was never allocated, and an index beyond the pool.
template <class S> void CheckFlow(Describe<S> &op) {
    op.When("`flowHdl` is 512 or more, or the flow is free", e_RET_ERR_INVALID_HDL,
            [](auto &s) { s.hdl.f1.id = 511; })
        .PrintsInvalidHdl("Validate_FlowHdl", "Invalid flowHdl<511> FCB is free")
        .Or([](auto &s) { s.hdl.f1.id = 512; })
        .PrintsInvalidHdl("Validate_FlowHdl", "Value out of range for flowHdl<512>");
}

// The first rows of an operation that takes nothing but a flow.
template <class S> void OpenFlow(Describe<S> &op) {
    op.When("`flowHdl_p` is null", e_RET_ERR_NULL_PTR, kNoFlow);
    CheckFlow(op);
}

// The first rows of an operation that takes pointers besides; `others` are their names and what makes them
// null.
template <class S>
void OpenFlow(Describe<S> &op,
              const std::vector<std::pair<std::string, typename Describe<S>::Change>> &others) {
    std::string names = "`flowHdl_p`";
    for (std::size_t i = 0; i < others.size(); ++i) {
        names += (i + 1 == others.size() ? " or `" : ", `") + others[i].first + "`";
    }
    op.When(names + " is null", e_RET_ERR_NULL_PTR, kNoFlow);
    for (const auto &other : others) {
        op.Or(other.second);
    }
    CheckFlow(op);
}

} // namespace return_codes

#endif
