// The corners of the action rules, one test each, through the public operations and with real headers.
#include "tests/actions/action_kit.h"

namespace test {
namespace {

class ActionEdgeCases : public HeaderFlowTest {
  protected:
    u32 Add(const char *header, u32 type) {
        const ActionMember &m = ActionOf(header);
        return Run(m, GoodAction(m, type));
    }
    u32 AddValue(const char *header, u32 type, u32 value) {
        const ActionMember &m = ActionOf(header);
        return Run(m, MakeAction(m, type, value));
    }
    void AllocHdrs(u32 blk, u32 last) {
        for (u32 flowHdr = e_FLOWHDR_ETH; flowHdr <= last; ++flowHdr) {
            AllocHdr(blk, flowHdr);
        }
    }

    std::string out_; // what the last call printed

  private:
    u32 Run(const ActionMember &m, const AnyAction &req) {
        u32 code = 0;
        out_ = CaptureMasked([&] { code = m.config(&hdl_, &req); });
        return code;
    }
};

TEST_F(ActionEdgeCases, OnePushBesideOneMatchedTag) {
    AllocHdrs(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0);
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    ASSERT_EQ(fcb_->filterBlk.totalTags, 1u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 25u);
    EXPECT_EQ(out_, "pushedTags=1 filter totalTags=1 \n" +
                        CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") +
                        RetVal("QIR_Config_EthAction", 25));
}

TEST_F(ActionEdgeCases, OnePushBesideOneMatchedTagNeedsTheSecondTagsHeader) {
    AllocHdrs(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0);
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN0);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 25u);
    AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
}

TEST_F(ActionEdgeCases, TwoPushesOnAnUntaggedFlow) {
    AllocHdrs(e_BLKTYPE_FILTER, e_FLOWHDR_ETH);
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 25u);
    EXPECT_EQ(out_, "pushedTags=2 filter totalTags=0 \n" +
                        CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") +
                        RetVal("QIR_Config_EthAction", 25));
    EXPECT_EQ(fcb_->actionBlk.eth.reqCount, 2u);
}

TEST_F(ActionEdgeCases, PopWithoutAnyTag) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_POP_TAG), 25u);
    EXPECT_EQ(out_,
              CodeLine("Config_EthAction", "e_RET_ERR_INVALID_PARAM") + RetVal("QIR_Config_EthAction", 25));
}

TEST_F(ActionEdgeCases, PushAfterDestinationIsOutOfOrder) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_DA), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 9u);
    EXPECT_EQ(out_,
              CodeLine("Config_EthAction", "e_RET_ERR_REQOUTOFORDER") + RetVal("QIR_Config_EthAction", 9));
}

TEST_F(ActionEdgeCases, DestinationAfterPopIsOutOfOrder) {
    AllocHdrs(e_BLKTYPE_FILTER, e_FLOWHDR_VLAN0);
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_POP_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_DA), 9u);
}

TEST_F(ActionEdgeCases, DestinationAfterTwoPushes) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_PUSH_TAG), 0u);
    EXPECT_EQ(Add("Eth", e_ETH_ACTION_DA), 0u);
    EXPECT_EQ(fcb_->actionBlk.eth.reqCount, 3u);
}

TEST_F(ActionEdgeCases, FieldsOfOneTagBesideEachOther) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(Add("Vlan[0]", e_VLAN_ACTION_SET_VID), 0u);
    EXPECT_EQ(Add("Vlan[0]", e_VLAN_ACTION_SET_PBITS), 0u);
    EXPECT_EQ(Add("Vlan[0]", e_VLAN_ACTION_SET_TCI), 23u);
    EXPECT_EQ(out_, CodeLine("Chk_ActionDepBmapTbl", "e_RET_ERR_INVALID_ACTIONSEQ") +
                        RetVal("QIR_Config_VlanAction", 23));
    EXPECT_EQ(Add("Vlan[1]", e_VLAN_ACTION_SET_TCI), 0u);
    EXPECT_EQ(Add("Vlan[1]", e_VLAN_ACTION_SET_TPID), 0u);
}

TEST_F(ActionEdgeCases, CopyFromTheTagItself) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    EXPECT_EQ(AddValue("Vlan[1]", e_VLAN_ACTION_COPY_VID_FROM_TAG, 1), 25u);
    EXPECT_EQ(out_, CodeLine("Validate_Config_VlanAction", "e_RET_ERR_INVALID_PARAM") +
                        RetVal("QIR_Config_VlanAction", 25));
    EXPECT_EQ(AddValue("Vlan[0]", e_VLAN_ACTION_COPY_VID_FROM_TAG, 0), 25u);
    EXPECT_EQ(AddValue("Vlan[1]", e_VLAN_ACTION_COPY_VID_FROM_TAG, 0), 0u);
}

TEST_F(ActionEdgeCases, QueryOfAnUnknownEthernetAction) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    EthAction query{};
    query.type = 7;
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = QIR_Get_EthAction(&hdl_, &query); }),
              CodeLine("Validate_Get_EthAction", "e_RET_ERR_INVALID_PARAM") +
                  RetVal("QIR_Get_EthAction", 25));
    EXPECT_EQ(code, 25u);
}

TEST_F(ActionEdgeCases, QueryOfAnActionThatWasNeverAdded) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    ASSERT_EQ(Add("Eth", e_ETH_ACTION_DA), 0u);
    EthAction query{};
    query.type = e_ETH_ACTION_SA;
    u32 code = 0;
    EXPECT_EQ(CaptureMasked([&] { code = QIR_Get_EthAction(&hdl_, &query); }),
              CodeLine("Get_Action", "e_RET_ERR_NO_SUCH_ENTRY") + RetVal("QIR_Get_EthAction", 6));
    EXPECT_EQ(code, 6u);
}

TEST_F(ActionEdgeCases, OfRepeatedPushesTheFirstIsReadBack) {
    AllocHdrs(e_BLKTYPE_ACTION, e_FLOWHDR_VLAN1);
    for (const u8 mark : {u8{1}, u8{2}}) {
        EthAction push{};
        push.type = e_ETH_ACTION_PUSH_TAG;
        push.val.bytes[11] = mark;
        ASSERT_EQ(QIR_Config_EthAction(&hdl_, &push), 0u);
    }
    EthAction query{};
    query.type = e_ETH_ACTION_PUSH_TAG;
    EXPECT_EQ(QIR_Get_EthAction(&hdl_, &query), 0u);
    EXPECT_EQ(query.val.bytes[11], 1u);
}

TEST_F(ActionEdgeCases, HeaderThatWasNeverAllocated) {
    AllocAllHdrs(e_BLKTYPE_FILTER); // the other block does not help
    const ContextSnapshot before;
    for (const ActionMember &m : ActionMembers()) {
        AnyAction req = GoodAction(m, 0);
        EXPECT_EQ(CaptureMasked([&] { m.config(&hdl_, &req); }),
                  Refusal(m.Fn("QIR_Config_"), "e_RET_ERR_HDRNOTCFG", 11));
        EXPECT_EQ(CaptureMasked([&] { m.get(&hdl_, &req); }),
                  Refusal(m.Fn("QIR_Get_"), "e_RET_ERR_HDRNOTCFG", 11));
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_F(ActionEdgeCases, TcpAndUdpNeedTheIpv4HeaderOnly) {
    AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_ETH);
    AllocHdr(e_BLKTYPE_ACTION, e_FLOWHDR_IPV4);
    EXPECT_EQ(Add("Tcp", e_TCP_ACTION_SPORT), 0u);
    EXPECT_EQ(Add("Udp", e_UDP_ACTION_DPORT), 0u);
}

TEST_F(ActionEdgeCases, TagNumberTwoIsRefusedBeforeTheHeaderBit) {
    for (const u16 bmap : {u16{0x0000}, u16{0xFFFF}}) {
        fcb_->actionBlk.hdrBmap = bmap;
        AnyAction req = GoodAction(ActionOf("Vlan[0]"), 0);
        SetTag(&req, 2);
        EXPECT_EQ(CaptureMasked([&] { QIR_Config_VlanAction(&hdl_, &req.vlan); }),
                  Refusal("QIR_Config_VlanAction", "e_RET_ERR_INVALID_TAGNUM", 44));
        EXPECT_EQ(CaptureMasked([&] { QIR_Get_VlanAction(&hdl_, &req.vlan); }),
                  Refusal("QIR_Get_VlanAction", "e_RET_ERR_INVALID_TAGNUM", 44));
    }
}

TEST_F(ActionEdgeCases, MplsActionWithNullPointers) {
    EXPECT_EQ(QIR_Config_MplsAction(nullptr, nullptr), 0u);
    EXPECT_EQ(QIR_Get_MplsAction(nullptr, nullptr), 0u);
}

} // namespace
} // namespace test
