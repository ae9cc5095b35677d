// The corners of the filter rules, one test each, through the public operations.
#include "tests/filters/filter_kit.h"

namespace test {
namespace {

class FilterEdgeCases : public FilterFlowTest {
  protected:
    // Adds an Ethernet, VLAN, ... filter with a good value.
    u32 Add(const char *header, u32 type, u32 cmpOp = e_CMP_EQ) {
        const FilterMember &m = FilterOf(header);
        return QuietConfig(m, GoodFilter(m, type, cmpOp));
    }
    u32 AddValue(const char *header, u32 type, u32 value, u32 cmpOp = e_CMP_EQ) {
        const FilterMember &m = FilterOf(header);
        return QuietConfig(m, MakeFilter(m, type, cmpOp, value));
    }
};

TEST_F(FilterEdgeCases, EthernetDestinationAfterMulticastIsExcludedButSourceMayFollowDestination) {
    EXPECT_EQ(Add("Eth", e_ETH_FILT_MCAST), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_DA), 22u);
    Restore();
    EXPECT_EQ(Add("Eth", e_ETH_FILT_DA), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_SA), 0u);
}

TEST_F(FilterEdgeCases, EtherTypesAreLimitedByTheOperator) {
    EXPECT_EQ(Add("Eth", e_ETH_FILT_ETHTYPE), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_ETHTYPE), 21u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.curBmap, 0x0010u);
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(Add("Eth", e_ETH_FILT_ETHTYPE, e_CMP_NEQ), 0u);
    }
    EXPECT_EQ(Add("Eth", e_ETH_FILT_ETHTYPE, e_CMP_NEQ), 21u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.reqCount, 5u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.curBmap, 0x0010u);
}

TEST_F(FilterEdgeCases, OperatorOfTheTypeIsRefusedBeforeAnyChange) {
    EXPECT_EQ(Add("Eth", e_ETH_FILT_DA, e_CMP_NEQ), 21u);
    for (const FilterMember &m : FilterMembers()) {
        for (u32 type = 0; type < m.NumTypes(); ++type) {
            if (std::string(m.hdr) == "Ipv4" && type == e_IPV4_FILT_DSCP) {
                continue;
            }
            EXPECT_EQ(QuietConfig(m, GoodFilter(m, type, e_CMP_IN_RANGE)), m.IsUdp() ? 25u : 21u)
                << m.Label() << " " << m.types[type].name;
        }
    }
    EXPECT_EQ(FcbDiff(fresh_, *fcb_), "");
    EXPECT_EQ(Add("Ipv4", e_IPV4_FILT_DSCP, e_CMP_IN_RANGE), 0u);
}

TEST_F(FilterEdgeCases, WholeTagFilterComesAloneOnItsTag) {
    for (u32 type = e_VLAN_FILT_TAG; type < e_VLAN_FILT_MAX; ++type) {
        Restore();
        EXPECT_EQ(Add("Vlan[0]", type), 0u);
        EXPECT_EQ(Add("Vlan[0]", e_VLAN_FILT_TAG), 22u) << "after type " << type;
        EXPECT_EQ(Add("Vlan[1]", e_VLAN_FILT_TAG), 0u) << "on the other tag";
    }
}

TEST_F(FilterEdgeCases, TosAndDscpExcludeEachOther) {
    EXPECT_EQ(Add("Ipv4", e_IPV4_FILT_DSCP), 0u);
    EXPECT_EQ(Add("Ipv4", e_IPV4_FILT_TOS), 22u);
    Restore();
    EXPECT_EQ(Add("Ipv4", e_IPV4_FILT_TOS), 0u);
    EXPECT_EQ(Add("Ipv4", e_IPV4_FILT_DSCP), 22u);
}

TEST_F(FilterEdgeCases, TcpFlagsGoTogetherButNotWithTheControlByte) {
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_SYN), 0u);
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_CTRL), 22u);
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_ACK), 0u);
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_FIN), 0u);
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_RST), 0u);
    EXPECT_EQ(fcb_->filterBlk.tcp.hdr.reqCount, 4u);
}

TEST_F(FilterEdgeCases, RefusedMulticastValueStillBlocksBroadcastAndDestination) {
    EXPECT_EQ(AddValue("Eth", e_ETH_FILT_MCAST, 2), 25u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_BCAST), 22u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_DA), 22u);
    EXPECT_EQ(Add("Eth", e_ETH_FILT_SA), 0u);
    EXPECT_EQ(fcb_->filterBlk.eth.hdr.reqCount, 1u);
}

// One-directional: tag protocol id may follow the control information, not the other way with its parts.
TEST_F(FilterEdgeCases, VlanTpidFollowsTciButTciDoesNotFollowPbits) {
    EXPECT_EQ(Add("Vlan[0]", e_VLAN_FILT_TCI), 0u);
    EXPECT_EQ(Add("Vlan[0]", e_VLAN_FILT_TPID), 0u);
    EXPECT_EQ(Add("Vlan[1]", e_VLAN_FILT_PBITS), 0u);
    EXPECT_EQ(Add("Vlan[1]", e_VLAN_FILT_TCI), 22u);
}

TEST_F(FilterEdgeCases, RefusedPbitsBlockTheSecondAttempt) {
    EXPECT_EQ(AddValue("Vlan[0]", e_VLAN_FILT_PBITS, 8), 25u);
    EXPECT_EQ(AddValue("Vlan[0]", e_VLAN_FILT_PBITS, 7), 22u);
    EXPECT_EQ(AddValue("Vlan[1]", e_VLAN_FILT_PBITS, 7), 0u);
}

TEST_F(FilterEdgeCases, DscpRangeOfOneValueIsAcceptedAndABackwardRangeIsNot) {
    const FilterMember &m = FilterOf("Ipv4");
    AnyFilter range = MakeFilter(m, e_IPV4_FILT_DSCP, e_CMP_IN_RANGE, 10);
    range.ipv4.val2.dscp = 9;
    EXPECT_EQ(QuietConfig(m, range), 25u);
    Restore();
    range.ipv4.val2.dscp = 10;
    EXPECT_EQ(QuietConfig(m, range), 0u);
}

TEST_F(FilterEdgeCases, LowestEtherType) {
    EXPECT_EQ(AddValue("Eth", e_ETH_FILT_ETHTYPE, 0x05FF), 25u);
    Restore();
    EXPECT_EQ(AddValue("Eth", e_ETH_FILT_ETHTYPE, 0x0600), 0u);
}

TEST_F(FilterEdgeCases, UdpRangeIsABadParameterAndTcpRangeABadOperator) {
    EXPECT_EQ(Add("Udp", e_UDP_FILT_SPORT, e_CMP_IN_RANGE), 25u);
    EXPECT_EQ(Add("Tcp", e_TCP_FILT_SPORT, e_CMP_IN_RANGE), 21u);
    EXPECT_EQ(FcbDiff(fresh_, *fcb_), "");
}

TEST_F(FilterEdgeCases, ReadBackOfThreeWithRoomForTwo) {
    for (unsigned i = 0; i < 3; ++i) {
        ASSERT_EQ(AddValue("Eth", e_ETH_FILT_ETHTYPE, 0x0800 + i, e_CMP_NEQ), 0u);
    }
    EthFilter records[3] = {};
    records[0].type = e_ETH_FILT_ETHTYPE;
    u8 count = 0;
    u32 code = 0;
    Capture([&] { code = QIR_Get_EthFilter(&hdl_, records, 2, &count); });
    EXPECT_EQ(code, 7u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(records[0].val.ethType, 0x0800u);
    EXPECT_EQ(records[1].val.ethType, 0x0801u);
    EXPECT_EQ(records[2].val.ethType, 0u);
    records[0].type = e_ETH_FILT_SA;
    EXPECT_EQ(QIR_Get_EthFilter(&hdl_, records, 2, &count), 0u);
    EXPECT_EQ(count, 0u);
}

TEST_F(FilterEdgeCases, OnlyAddIsAnOperation) {
    for (const FilterMember &m : FilterMembers()) {
        AnyFilter req = MakeFilter(m, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFF);
        SetOp(&req, 1);
        if (m.IsVlan()) {
            SetTag(&req, 0xFFFFFFFF);
        }
        u32 code = 0;
        EXPECT_EQ(CaptureMasked([&] { code = m.validateConfig(fcb_, &req); }),
                  CodeLine(m.Fn("Validate_Config_"), "e_RET_ERR_INVALID_CONFIGOPER"))
            << "before anything else is looked at";
        EXPECT_EQ(code, 45u);
    }
    EXPECT_EQ(FcbDiff(fresh_, *fcb_), "");
}

TEST_F(FilterEdgeCases, HeaderThatWasNeverAllocated) {
    FlowHdl bare = Flow(9);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(0, &bare), 0u);
    const ContextSnapshot before;
    for (const FilterMember &m : FilterMembers()) {
        const AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
        u32 code = 0;
        EXPECT_EQ(CaptureMasked([&] { code = m.config(&bare, &req); }),
                  Refusal(m.Fn("QIR_Config_"), "e_RET_ERR_HDRNOTCFG", 11));
        EXPECT_EQ(code, 11u) << m.Label();
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(FilterEdgeCases, TcpAndUdpNeedTheIpv4HeaderOnly) {
    FlowHdl flow = Flow(9);
    ASSERT_EQ(QIR_Alloc_FCB_Specify_Index(0, &flow), 0u);
    for (const u32 flowHdr : {e_FLOWHDR_ETH, e_FLOWHDR_IPV4}) {
        const FlowHdr hdr{e_BLKTYPE_FILTER, flowHdr};
        ASSERT_EQ(QIR_Alloc_Hdr(&flow, &hdr), 0u);
    }
    for (const char *label : {"Tcp", "Udp"}) {
        const FilterMember &m = FilterOf(label);
        const AnyFilter req = GoodFilter(m, 0, e_CMP_EQ);
        EXPECT_EQ(m.config(&flow, &req), 0u) << label;
    }
}

TEST_F(FilterEdgeCases, MplsFilterWithNullPointers) {
    EXPECT_EQ(QIR_Config_MplsFilter(nullptr, nullptr), 0u);
    EXPECT_EQ(QIR_Get_MplsFilter(nullptr, nullptr, 0, nullptr), 0u);
}

TEST_F(FilterEdgeCases, NullCountIsRefusedBeforeTheHeaderBit) {
    fcb_->filterBlk.hdrBmap = 0;
    EthFilter query{};
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = QIR_Get_EthFilter(&hdl_, &query, 1, nullptr); }),
              CodeLine("Validate_Get_EthFilter", "e_RET_ERR_NULL_PTR") + RetVal("QIR_Get_EthFilter", 2));
    EXPECT_EQ(code, 2u);
}

TEST_F(FilterEdgeCases, TagNumberTwoIsRefusedBeforeTheHeaderBit) {
    fcb_->filterBlk.hdrBmap = 0;
    AnyFilter req = GoodFilter(FilterOf("Vlan[0]"), 0, e_CMP_EQ);
    SetTag(&req, 2);
    EXPECT_EQ(QuietConfig(FilterOf("Vlan[0]"), req), 44u);
}

} // namespace
} // namespace test
