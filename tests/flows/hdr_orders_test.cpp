// Every order in which headers can be allocated: the bytes of the block, and that dumps, read-backs and
// iterations cope with whatever is there. Tags 2 and 3 lie on the PPPoE and IPv4 entries, so that request
// lists meet, cross the free list, or start at an index that is no node.
//
// The flow under test is the last FCB: behind it the context ends.
#include "tests/flows/fcb_model.h"
#include "tests/flows/flow_test.h"

#include <fcntl.h>
#include <sstream>
#include <unistd.h>

namespace flows {
namespace {

constexpr unsigned kLast = QIR_MAX_FLOWS - 1;

// Standard output goes nowhere while this lives: hundreds of thousands of dump lines are of no use.
class Silence {
  public:
    Silence() {
        std::fflush(stdout);
        saved_ = dup(STDOUT_FILENO);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;
    ~Silence() {
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
    }

  private:
    int saved_;
};

class HeaderOrders : public FlowTest {
  protected:
    void SetUp() override {
        FlowTest::SetUp();
        hdl_ = test::Flow(kLast);
        ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(2, &hdl_), 0u);
        ASSERT_EQ(QIR_Set_AsOverride(&hdl_, 0), 0u);
        start_ = fcb_;
        const u8 *bytes = reinterpret_cast<const u8 *>(&fcb_);
        for (const std::size_t word : {0u, 4u, 12u}) {
            model_.Set32(word, WordAt(bytes, word));
        }
        ASSERT_EQ(model_.DiffersFrom(BytesOf(fcb_)), "");
    }

    void Complain(const std::string &what) {
        std::ostringstream text;
        for (const FlowHdr &hdr : order_) {
            text << (hdr.blk == 0 ? " F" : " A") << hdr.flowHdr;
        }
        if (problems_.size() < 5) {
            problems_.push_back("after" + text.str() + ": " + what);
        }
    }

    void Report() {
        for (const std::string &problem : problems_) {
            ADD_FAILURE() << problem;
        }
    }

    // Reads everything that can be read; none of it may change the block.
    void ReadAll();
    // Adds every kind of request, accepted or not, allocates what headers are left, and reads again.
    void LoadAll();
    void AddRequests();
    template <class Filter, class Get> void ReadFilters(Get get, u32 types);
    template <class Record, class Next> void Iterate(const char *what, Next next);

    using AtEachOrder = std::function<void()>;
    // Tries every header of the given blocks behind the present order, `depth` levels deep. A refused header
    // changes nothing, which is checked, so that the orders behind it are those without it.
    void Descend(const std::vector<u32> &blocks, unsigned depth, const FcbModel &model,
                 const AtEachOrder &visit);

    FlowHdl hdl_{};
    Fcb &fcb_ = qirCtxt_gp->fcbPool[kLast];
    Fcb start_{};
    FcbModel model_;
    std::vector<FlowHdr> order_;
    std::vector<std::string> problems_;
    unsigned orders_ = 0;
};

template <class Filter, class Get> void HeaderOrders::ReadFilters(Get get, u32 types) {
    for (u32 type = 0; type < types; ++type) {
        for (const u32 tag : {0u, 1u}) {
            Filter found[32] = {};
            u8 count = 0;
            found[0].type = type;
            if constexpr (std::is_same_v<Filter, VlanFilter>) {
                found[0].toTagNum = tag;
            } else if (tag != 0) {
                continue;
            }
            const u32 rc = get(&hdl_, found, 32, &count);
            if ((rc != 0 && rc != e_RET_ERR_HDRNOTCFG) || count > 32) {
                Complain("reading filters of type " + std::to_string(type) + " gave " + std::to_string(rc));
            }
        }
    }
}

template <class Record, class Next> void HeaderOrders::Iterate(const char *what, Next next) {
    void *info = nullptr;
    Record record{};
    for (unsigned steps = 0;; ++steps) {
        next(&info, &record);
        if (info == nullptr) {
            return;
        }
        const auto *at = static_cast<const u8 *>(info);
        if (at < fcb_.reqPool[0].req || at > fcb_.reqPool[31].req || steps > 32) {
            Complain(std::string(what) + " left the pool or never ended");
            return;
        }
    }
}

void HeaderOrders::ReadAll() {
    const std::vector<u8> before = BytesOf(fcb_);
    QIR_Dump_FCB(&hdl_);
    ReadFilters<EthFilter>(QIR_Get_EthFilter, e_ETH_FILT_MAX);
    ReadFilters<VlanFilter>(QIR_Get_VlanFilter, e_VLAN_FILT_MAX);
    ReadFilters<PppoeFilter>(QIR_Get_PppoeFilter, e_PPPOE_FILT_MAX);
    ReadFilters<Ipv4Filter>(QIR_Get_Ipv4Filter, e_IPV4_FILT_MAX);
    ReadFilters<TcpFilter>(QIR_Get_TcpFilter, e_TCP_FILT_MAX);
    ReadFilters<UdpFilter>(QIR_Get_UdpFilter, e_UDP_FILT_MAX);
    const auto with = [this](auto next) {
        return [this, next](void **info, auto *rec) { next(&fcb_, info, rec); };
    };
    const auto tag = [this](auto next, u32 num) {
        return [this, next, num](void **info, auto *rec) { next(&fcb_, num, info, rec); };
    };
    Iterate<EthFilter>("Ethernet filters", with(qir::getNextEthFilter));
    Iterate<VlanFilter>("outer tag filters", tag(qir::getNextVlanFilter, 0));
    Iterate<VlanFilter>("inner tag filters", tag(qir::getNextVlanFilter, 1));
    Iterate<PppoeFilter>("PPPoE filters", with(qir::getNextPppoeFilter));
    Iterate<Ipv4Filter>("IPv4 filters", with(qir::getNextIpv4Filter));
    Iterate<TcpFilter>("TCP filters", with(qir::getNextTcpFilter));
    Iterate<UdpFilter>("UDP filters", with(qir::getNextUdpFilter));
    Iterate<EthAction>("Ethernet actions", with(qir::getNextEthAction));
    Iterate<VlanAction>("outer tag actions", tag(qir::getNextVlanAction, 0));
    Iterate<VlanAction>("inner tag actions", tag(qir::getNextVlanAction, 1));
    Iterate<PppoeAction>("PPPoE actions", with(qir::getNextPppoeAction));
    Iterate<Ipv4Action>("IPv4 actions", with(qir::getNextIpv4Action));
    Iterate<TcpAction>("TCP actions", with(qir::getNextTcpAction));
    Iterate<UdpAction>("UDP actions", with(qir::getNextUdpAction));
    EthAction eth{};
    VlanAction vlan{};
    PppoeAction pppoe{};
    Ipv4Action ipv4{};
    TcpAction tcp{};
    UdpAction udp{};
    QIR_Get_EthAction(&hdl_, &eth);
    QIR_Get_VlanAction(&hdl_, &vlan);
    QIR_Get_PppoeAction(&hdl_, &pppoe);
    QIR_Get_Ipv4Action(&hdl_, &ipv4);
    QIR_Get_TcpAction(&hdl_, &tcp);
    QIR_Get_UdpAction(&hdl_, &udp);
    if (BytesOf(fcb_) != before) {
        Complain("reading changed the block");
    }
}

void HeaderOrders::AddRequests() {
    EthFilter eth{};
    eth.type = e_ETH_FILT_SA;
    QIR_Config_EthFilter(&hdl_, &eth);
    VlanFilter vlan{};
    vlan.type = e_VLAN_FILT_VID;
    QIR_Config_VlanFilter(&hdl_, &vlan);
    vlan.toTagNum = 1;
    QIR_Config_VlanFilter(&hdl_, &vlan);
    PppoeFilter pppoe{};
    pppoe.type = e_PPPOE_FILT_PROTO;
    QIR_Config_PppoeFilter(&hdl_, &pppoe);
    // Each type sets a bit of the bitmap in which tag 3 looks for its request list.
    for (const u32 type :
         {e_IPV4_FILT_SA, e_IPV4_FILT_DA, e_IPV4_FILT_DSCP, e_IPV4_FILT_PROTO, e_IPV4_FILT_FRAG}) {
        Ipv4Filter ipv4{};
        ipv4.type = type;
        QIR_Config_Ipv4Filter(&hdl_, &ipv4);
        QIR_Dump_FCB(&hdl_);
    }
    TcpFilter tcp{};
    tcp.type = e_TCP_FILT_DPORT;
    QIR_Config_TcpFilter(&hdl_, &tcp);
    UdpFilter udp{};
    udp.type = e_UDP_FILT_DPORT;
    QIR_Config_UdpFilter(&hdl_, &udp);

    const EthAction ethAction{};
    QIR_Config_EthAction(&hdl_, &ethAction);
    VlanAction vlanAction{};
    vlanAction.type = e_VLAN_ACTION_SET_VID;
    QIR_Config_VlanAction(&hdl_, &vlanAction);
    vlanAction.toTagNum = 1;
    QIR_Config_VlanAction(&hdl_, &vlanAction);
    const PppoeAction pppoeAction{};
    QIR_Config_PppoeAction(&hdl_, &pppoeAction);
    Ipv4Action ipv4Action{};
    ipv4Action.type = e_IPV4_ACTION_TOS;
    QIR_Config_Ipv4Action(&hdl_, &ipv4Action);
    TcpAction tcpAction{};
    tcpAction.type = e_TCP_ACTION_DPORT;
    QIR_Config_TcpAction(&hdl_, &tcpAction);
    UdpAction udpAction{};
    udpAction.type = e_UDP_ACTION_DPORT;
    QIR_Config_UdpAction(&hdl_, &udpAction);
}

void HeaderOrders::LoadAll() {
    const Fcb kept = fcb_;
    AddRequests();
    ReadAll();
    for (const u32 blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
        for (u32 type = 0; type < e_FLOWHDR_MAX; ++type) {
            const FlowHdr hdr{blk, type};
            QIR_Alloc_Hdr(&hdl_, &hdr);
        }
    }
    ReadAll();
    AddRequests();
    ReadAll();
    fcb_ = kept;
}

void HeaderOrders::Descend(const std::vector<u32> &blocks, unsigned depth, const FcbModel &model,
                           const AtEachOrder &visit) {
    const Fcb kept = fcb_;
    for (const u32 blk : blocks) {
        for (u32 type = 0; type < e_FLOWHDR_MAX; ++type) {
            const FlowHdr hdr{blk, type};
            order_.push_back(hdr);
            FcbModel next = model;
            const u32 expected = next.AllocHdr(blk, type);
            const u32 rc = qir::Alloc_Hdr(&fcb_, &hdr);
            ++orders_;
            if (rc != expected) {
                Complain("answered " + std::to_string(rc) + ", expected " + std::to_string(expected));
            }
            const std::string difference = next.DiffersFrom(BytesOf(fcb_));
            if (!difference.empty()) {
                Complain(difference);
            }
            if (next.Bytes() != model.Bytes()) {
                visit();
                if (depth > 1) {
                    Descend(blocks, depth - 1, next, visit);
                }
            }
            order_.pop_back();
            fcb_ = kept;
        }
    }
}

TEST_F(HeaderOrders, OfOneBlockUpToFive) {
    for (const u32 blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
        const ContextSnapshot before;
        {
            const Silence silence;
            Descend({blk}, 5, model_, [this] {
                ReadAll();
                LoadAll();
            });
        }
        EXPECT_TRUE(before.Unchanged()) << "something outside of the flow changed";
    }
    EXPECT_GT(orders_, 1000u);
    Report();
}

TEST_F(HeaderOrders, OfBothBlocksMixedUpToFive) {
    const ContextSnapshot before;
    {
        const Silence silence;
        Descend({e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}, 5, model_, [this] { ReadAll(); });
    }
    EXPECT_TRUE(before.Unchanged());
    EXPECT_GT(orders_, 1000u);
    Report();
}

TEST_F(HeaderOrders, WithAlmostNoNodesLeft) {
    for (unsigned left = 0; left <= 7; ++left) {
        SCOPED_TRACE(left);
        fcb_ = start_;
        DrainPool(fcb_, left);
        FcbModel model = model_;
        for (std::size_t i = 344; i < sizeof fcb_; i += 4) { // the pool as it stands now
            model.Set32(i, WordAt(reinterpret_cast<const u8 *>(&fcb_), i));
        }
        const ContextSnapshot before;
        {
            const Silence silence;
            Descend({e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}, 3, model, [this] {
                ReadAll();
                LoadAll();
            });
        }
        EXPECT_TRUE(before.Unchanged());
    }
    Report();
}

TEST_F(HeaderOrders, AllTagsThenIpv4WithFiltersAtDebugLevel) {
    const ContextSnapshot before;
    {
        const Silence silence;
        RaiseLog(3);
        for (const u32 blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
            fcb_ = start_;
            for (const u32 type : {0u, 1u, 2u, 3u, 4u, 7u, 5u, 6u}) {
                const FlowHdr hdr{blk, type};
                EXPECT_EQ(QIR_Alloc_Hdr(&hdl_, &hdr), 0u);
                ReadAll();
                LoadAll();
            }
        }
        RaiseLog(1);
    }
    fcb_ = start_;
    EXPECT_TRUE(before.Unchanged());
    Report();
}

} // namespace
} // namespace flows
