// What the operations on tables have in common. A kind of table names its operations, its requests and the
// codes in which it differs.
#ifndef TESTS_RETURN_CODES_TABLE_SCENE_H
#define TESTS_RETURN_CODES_TABLE_SCENE_H

#include "tests/return_codes/operations.h"

namespace return_codes {

// Table 0, CFG unless told otherwise.
template <class Kind> struct TableScene : Scene {
    using Hdl = typename Kind::Hdl;

    TableScene() { To(e_STATUS_CFG); }

    // Takes the table to a state from whichever it is in. On the way up its contents stay.
    void To(uint32_t state) {
        Hdl own{};
        if (Status() == e_STATUS_ACTIVE && state < e_STATUS_ACTIVE) {
            Must(Kind::Deactivate(&own));
        }
        if (Status() > state) {
            Must(Kind::Free(&own));
        }
        if (Status() < e_STATUS_ALLOC && state >= e_STATUS_ALLOC) {
            Must(Kind::Alloc(&own));
            EXPECT_EQ(own.f1.id, 0u) << "a step of the preparation allocated another table";
        }
        if (Status() < e_STATUS_CFG && state >= e_STATUS_CFG) {
            const typename Kind::Cfg good = Kind::GoodCfg();
            Must(Kind::SetCfg(&own, &good));
        }
        if (Status() < e_STATUS_ACTIVE && state >= e_STATUS_ACTIVE) {
            Must(Kind::Activate(&own));
        }
        EXPECT_EQ(Status(), state) << "a step of the preparation led to another state";
    }
    uint32_t Status() const { return Kind::Pool()[0].status; }

    Hdl hdl{};
    Hdl *hdl_p = &hdl;
    typename Kind::Cfg cfg = Kind::GoodCfg();
    typename Kind::Cfg *cfg_p = &cfg;
};

// Ways to a state, a null pointer and a bad handle, for every scene on a table.
template <uint32_t kState> constexpr auto kTableIn = [](auto &s) { s.To(kState); };
constexpr auto kNoHandle = [](auto &s) { s.hdl_p = nullptr; };
constexpr auto kNoCfg = [](auto &s) { s.cfg_p = nullptr; };

inline std::string Quoted(const std::string &name) {
    return "`" + name + "`";
}

// The first row of an operation that takes nothing but a handle, and of one that takes a record too.
template <class Kind, class S> void CheckNull(Describe<S> &op) {
    op.When(Quoted(Kind::kHdl + "_p") + " is null", e_RET_ERR_NULL_PTR, kNoHandle);
}
template <class Kind, class S, class Change>
void CheckNull(Describe<S> &op, const std::string &record, Change noRecord) {
    op.When(Quoted(Kind::kHdl + "_p") + " or " + Quoted(record) + " is null", e_RET_ERR_NULL_PTR, kNoHandle)
        .Or(noRecord);
}

// The handle: a table that was never allocated, and an index beyond the pool.
template <class Kind, class S> void CheckHandle(Describe<S> &op) {
    op.WhenBadTable(
        Kind::kKind, Kind::kPoolSize, Kind::kPoolSize - 1, [](auto &s) -> auto & { return s.hdl; });
}

// Allocation, release, activation, deactivation and the reading of the configuration. Where the kinds differ,
// `When` adds the rows of the kind.
template <class Kind> Operation AllocOperation() {
    using S = TableScene<Kind>;
    Describe<S> op("QIR_Alloc_" + Kind::kTable, [](S &s) { return Kind::Alloc(s.hdl_p); });
    op.Note("With no table free the caller's handle is left at the last index.");
    CheckNull<Kind>(op);
    op.When("no table is free", e_RET_ERR_RESRC_UNAVAIL, [](S &) {
        for (unsigned i = 1; i < Kind::kPoolSize; ++i) {
            typename Kind::Hdl hdl{};
            Must(Kind::Alloc(&hdl));
        }
    });
    op.Otherwise();
    return op;
}

template <class Kind>
Describe<TableScene<Kind>> OnTable(const std::string &verb, uint32_t (*fn)(typename Kind::Hdl *)) {
    using S = TableScene<Kind>;
    Describe<S> op("QIR_" + verb + "_" + Kind::kTable, [fn](S &s) { return fn(s.hdl_p); });
    CheckNull<Kind>(op);
    CheckHandle<Kind>(op);
    return op;
}

template <class Kind> Operation DeactivateOperation(uint32_t notActive) {
    return OnTable<Kind>("Deactivate", Kind::Deactivate)
        .Given(kTableIn<e_STATUS_ACTIVE>)
        .When("the table is not ACTIVE", notActive, kTableIn<e_STATUS_CFG>)
        .Or(kTableIn<e_STATUS_ALLOC>)
        .Driver(Kind::kDeactivateRequest)
        .Otherwise();
}

// Activation of the kinds that tell an ACTIVE table from one that is not configured.
template <class Kind> Operation ActivateOperation(uint32_t alreadyActive) {
    return OnTable<Kind>("Activate", Kind::Activate)
        .When("the table is ACTIVE already", alreadyActive, kTableIn<e_STATUS_ACTIVE>)
        .When("the table is not configured", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ALLOC>)
        .Driver(Kind::kActivateRequest)
        .Otherwise();
}

template <class Kind> Operation GetCfgOperation() {
    using S = TableScene<Kind>;
    Describe<S> op("QIR_Get_" + Kind::kCfg, [](S &s) { return Kind::GetCfg(s.hdl_p, s.cfg_p); });
    CheckNull<Kind>(op, Kind::kCfgParam, kNoCfg);
    CheckHandle<Kind>(op);
    return op.When("the table is not configured", e_RET_ERR_STATE_NOTCFG, kTableIn<e_STATUS_ALLOC>)
        .Otherwise()
        .OnItsOwn(kTableIn<e_STATUS_ACTIVE>);
}

} // namespace return_codes

#endif
