// The dump of a whole flow.
#include "tests/flows/flow_test.h"

#include <cstdio>

namespace flows {
namespace {

class FcbDump : public FlowTest {
  protected:
    std::string Dump(const Fcb &fcb) {
        const ContextSnapshot before;
        const std::string text = CaptureMasked([&] { qir::Dump_FCB(&fcb); });
        EXPECT_TRUE(before.Unchanged());
        return text;
    }
};

std::string NodeLine(const char *fn, unsigned prev, unsigned curr, unsigned next) {
    char text[40];
    std::snprintf(text, sizeof text, " <%.2u> <%.2u> <%.2u> \n", prev, curr, next);
    return Dbg(fn, text);
}

const char *const kFresh = "\n\n"
                           "************* FCB ************* \n"
                           "FCB Status<e_STATUS_ALLOC> Hdl<0> Section<1> \n"
                           "\n"
                           "AS Override<e_AS_OVERRIDE_DISABLE> \n"
                           "------- Filter Block ----------\n"
                           "HdrBmap<0x00> totalTags<0> \n"
                           "\n"
                           "------- Action Block ----------\n"
                           "HdrBmap<0x00> totalTags<0> pushedTags<0> poppedTags<0> \n"
                           "\n"
                           "------- Fwd Block ----------\n"
                           "flowPrio<0> FwdAction<LRN_ENABLE> \n"
                           "src portMask<0x00000000> gemPortIdxMask<0xa5a5a5a5> \n"
                           "dst portMask<0x00000000> gemPortIdxMask<0x00000000> \n";
const char *const kEnd = "******************************* \n";

TEST_F(FcbDump, OfAFreshFlow) {
    const FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    for (const u32 level : {0u, 1u, 2u}) {
        RaiseLog(level);
        EXPECT_EQ(Dump(FcbOf(hdl)), std::string(kFresh) + kEnd) << level;
    }
}

TEST_F(FcbDump, AtDebugLevelShowsTheRequestPool) {
    const FlowHdl hdl = FlowIn(e_STATUS_ALLOC);
    RaiseLog(3);
    std::string expected = kFresh;
    expected += "[DBG orxapi] Dump_FCB  : FreeReqList: \n"
                "[DBG orxapi] Dump_FCB  : curr<0> next<1> prev<31> count<31> \n\n"
                "[DBG orxapi] Dump_ReqList: \n---- Req List ---- \n\n"
                "[DBG orxapi] Dump_ReqList: Prev  Curr  Next \n\n";
    for (unsigned i = 1; i < 32; ++i) {
        expected += NodeLine("Dump_ReqList", i - 1, i, (i + 1) % 32);
    }
    expected += "[DBG orxapi] Dump_ReqList: --------------------\n\n\n"
                "[DBG orxapi] Dump_ReqPool: \n---- Req Pool ---- \n\n"
                "[DBG orxapi] Dump_ReqPool: Req Count <31> \n\n"
                "[DBG orxapi] Dump_ReqPool: \nPrev  Curr  Next \n\n";
    for (unsigned i = 0; i < 32; ++i) {
        expected += NodeLine("Dump_ReqPool", (i + 31) % 32, i, (i + 1) % 32);
    }
    expected += "[DBG orxapi] Dump_ReqPool: -------------------- \n\n";
    EXPECT_EQ(Dump(FcbOf(hdl)), expected + kEnd);
}

TEST_F(FcbDump, NamesStatusSectionHandleAndOverride) {
    struct Row {
        u32 status;
        const char *name;
    };
    const Row rows[] = {
        {0, "<e_STATUS_FREE> "}, {1, "<e_STATUS_ALLOC> "}, {2, "<e_STATUS_CFG> "}, {3, "<e_STATUS_ACTIVE> "}};
    Fcb &fcb = qirCtxt_gp->fcbPool[300];
    fcb.flowHdl.word = 0xFFFF012C;
    fcb.section = 2;
    fcb.asOverride = e_AS_OVERRIDE_ENABLE;
    for (const Row &row : rows) {
        fcb.status = row.status;
        const std::vector<std::string> lines = test::Lines(Dump(fcb));
        ASSERT_GT(lines.size(), 6u);
        EXPECT_EQ(lines[3], std::string("FCB Status") + row.name + "Hdl<300> Section<2> ");
        EXPECT_EQ(lines[5], "AS Override<e_AS_OVERRIDE_ENABLE> ");
    }
}

TEST_F(FcbDump, UnknownStatusAndOverrideAreErrorLines) {
    Fcb &fcb = qirCtxt_gp->fcbPool[0];
    fcb.status = kFill32;
    fcb.flowHdl.word = 0;
    fcb.asOverride = 2;
    const std::string text = Dump(fcb);
    const std::string expected = "\n\n"
                                 "************* FCB ************* \n"
                                 "FCB Status"
                                 "[ASSERT qirapi_access] Dump_Status,#: (status < e_STATUS_MAX)\n"
                                 "[ERROR orxapi] Dump_Status,#: Unknown status <2779096485> \n"
                                 "Hdl<0> Section<0> \n"
                                 "\n"
                                 "AS "
                                 "[ASSERT qirapi_private] Dump_AsOverride,#: ( asOvrd < e_AS_OVERRIDE_MAX )\n"
                                 "Override"
                                 "[ERROR orxapi] Dump_AsOverride,#: Unknown AS override status <2> \n"
                                 "\n"
                                 "------- Filter Block ----------\n";
    EXPECT_EQ(text.substr(0, expected.size()), expected);
}

// ---- a flow that has everything -------------------------------------------------------------------

template <class Record> Record Request(u32 type) {
    Record record;
    std::memset(static_cast<void *>(&record), 0, sizeof record);
    record.type = type;
    return record;
}

class FullFlow : public FcbDump {
  protected:
    void SetUp() override {
        FcbDump::SetUp();
        for (int i = 0; i < 3; ++i) {
            FlowIn(e_STATUS_ALLOC);
        }
        hdl_ = FlowIn(e_STATUS_ALLOC, 2);
        ASSERT_EQ(QIR_Set_AsOverride(&hdl_, e_AS_OVERRIDE_ENABLE), 0u);
        FwdInfo fwd{};
        fwd.flowPrio = 7;
        fwd.src.portMask = 0x80;
        fwd.src.gemPortIdxMask = 0x5;
        fwd.dst.portMask = 0x83;
        fwd.dst.gemPortIdxMask = 0x1;
        fwd.dst.portQid[0] = fwd.dst.portQid[1] = fwd.dst.gemQid[0] = 3;
        fwd.fwdAction = 6;
        ASSERT_EQ(QIR_Set_FwdInfo(&hdl_, &fwd), 0u);
        for (const u32 blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
            for (const u32 type : {0u, 1u, 2u, 5u, 7u}) {
                const FlowHdr hdr{blk, type};
                ASSERT_EQ(QIR_Alloc_Hdr(&hdl_, &hdr), 0u);
            }
        }
        AddFilters();
        AddActions();
    }

    void AddFilters();
    void AddActions();

    FlowHdl hdl_{};
};

void FullFlow::AddFilters() {
    auto da = Request<EthFilter>(e_ETH_FILT_DA);
    for (u8 i = 0; i < 6; ++i) {
        da.val.mac.addr[i] = static_cast<u8>(i + 1);
        da.val.mac.mask[i] = i < 3 ? 0xFF : 0;
    }
    ASSERT_EQ(QIR_Config_EthFilter(&hdl_, &da), 0u);
    auto ethType = Request<EthFilter>(e_ETH_FILT_ETHTYPE);
    ethType.cmpOp = e_CMP_NEQ;
    ethType.val.ethType = 0x0806;
    ASSERT_EQ(QIR_Config_EthFilter(&hdl_, &ethType), 0u);
    auto vid = Request<VlanFilter>(e_VLAN_FILT_VID);
    vid.val.vid = 100;
    ASSERT_EQ(QIR_Config_VlanFilter(&hdl_, &vid), 0u);
    auto pbits = Request<VlanFilter>(e_VLAN_FILT_PBITS);
    pbits.toTagNum = 1;
    pbits.val.pbits = 5;
    ASSERT_EQ(QIR_Config_VlanFilter(&hdl_, &pbits), 0u);
    auto proto = Request<PppoeFilter>(e_PPPOE_FILT_PROTO);
    proto.cmpOp = e_CMP_NEQ;
    proto.val.proto = 33;
    ASSERT_EQ(QIR_Config_PppoeFilter(&hdl_, &proto), 0u);
    auto ip = Request<Ipv4Filter>(e_IPV4_FILT_DA);
    ip.val.ip = {0x0A010000, 16};
    ASSERT_EQ(QIR_Config_Ipv4Filter(&hdl_, &ip), 0u);
    auto dscp = Request<Ipv4Filter>(e_IPV4_FILT_DSCP);
    dscp.cmpOp = e_CMP_IN_RANGE;
    dscp.val.dscp = 10;
    dscp.val2.dscp = 20;
    ASSERT_EQ(QIR_Config_Ipv4Filter(&hdl_, &dscp), 0u);
    auto dport = Request<TcpFilter>(e_TCP_FILT_DPORT);
    dport.val.port = 80;
    ASSERT_EQ(QIR_Config_TcpFilter(&hdl_, &dport), 0u);
    auto sport = Request<UdpFilter>(e_UDP_FILT_SPORT);
    sport.cmpOp = e_CMP_NEQ;
    sport.val.port = 53;
    ASSERT_EQ(QIR_Config_UdpFilter(&hdl_, &sport), 0u);
}

void FullFlow::AddActions() {
    auto sa = Request<EthAction>(e_ETH_ACTION_SA);
    for (u8 i = 0; i < 6; ++i) {
        sa.val.mac[i] = static_cast<u8>(0x0A + i);
    }
    ASSERT_EQ(QIR_Config_EthAction(&hdl_, &sa), 0u);
    const auto pop = Request<EthAction>(e_ETH_ACTION_POP_TAG);
    ASSERT_EQ(QIR_Config_EthAction(&hdl_, &pop), 0u);
    auto vid = Request<VlanAction>(e_VLAN_ACTION_SET_VID);
    vid.val.vid = 200;
    ASSERT_EQ(QIR_Config_VlanAction(&hdl_, &vid), 0u);
    auto pbits = Request<VlanAction>(e_VLAN_ACTION_COPY_PBITS_FROM_TAG);
    pbits.toTagNum = 1;
    ASSERT_EQ(QIR_Config_VlanAction(&hdl_, &pbits), 0u);
    const auto pppoe = Request<PppoeAction>(0);
    ASSERT_EQ(QIR_Config_PppoeAction(&hdl_, &pppoe), 0u);
    auto dscp = Request<Ipv4Action>(e_IPV4_ACTION_DSCP);
    dscp.val.dscp = 46;
    ASSERT_EQ(QIR_Config_Ipv4Action(&hdl_, &dscp), 0u);
    auto dport = Request<TcpAction>(e_TCP_ACTION_DPORT);
    dport.val.port = 8080;
    ASSERT_EQ(QIR_Config_TcpAction(&hdl_, &dport), 0u);
    auto sport = Request<UdpAction>(e_UDP_ACTION_SPORT);
    sport.val.port = 5353;
    ASSERT_EQ(QIR_Config_UdpAction(&hdl_, &sport), 0u);
}

const char *const kFull =
    "\n\n"
    "************* FCB ************* \n"
    "FCB Status<e_STATUS_ACTIVE> Hdl<3> Section<2> \n"
    "\n"
    "AS Override<e_AS_OVERRIDE_ENABLE> \n"
    "------- Filter Block ----------\n"
    "HdrBmap<0xa7> totalTags<2> \n"
    "------ Filter EthHdr -------\n"
    "type<e_ETH_FILT_DA> <0x01:02:03:04:05:06> <0xff:ff:ff:00:00:00> cmpOp<e_CMP_EQ>, \n"
    "type<e_ETH_FILT_ETHTYPE> val<0x0806> cmpOp<e_CMP_NEQ>, \n"
    "------ Filter VlanHdr[0] ------\n"
    "type<e_VLAN_FILT_VID> val<100> cmpOp<e_CMP_EQ>, \n"
    "------ Filter VlanHdr[1] ------\n"
    "type<e_VLAN_FILT_PBITS> val<5> cmpOp<e_CMP_EQ>, \n"
    "------ Filter PppoeHdr -------\n"
    "type<e_PPPOE_FILT_PROTO> <33> cmpOp<e_CMP_NEQ>, \n"
    "type<e_IPV4_FILT_DA> <10.1.0.0> </16> cmpOp<e_CMP_EQ>, \n"
    "type<e_IPV4_FILT_DSCP> <10> - <20> cmpOp<e_CMP_IN_RANGE>, \n"
    "\n\n"
    "type<e_TCP_FILT_DPORT> <80> cmpOp<e_CMP_EQ>, \n"
    "\n\n"
    "type<e_UDP_FILT_SPORT> <53> cmpOp<e_CMP_NEQ>, \n"
    "\n"
    "------- Action Block ----------\n"
    "HdrBmap<0xa7> totalTags<2> pushedTags<0> poppedTags<1> \n"
    "------ Action EthHdr -------\n"
    "type<e_ETH_ACTION_SA> <0x0a:0b:0c:0d:0e:0f> , \n"
    "type<e_ETH_ACTION_POP_TAG> , \n"
    "------ Action VlanHdr[0] -------\n"
    "type<e_VLAN_ACTION_SET_VID> val<200> , \n"
    "------ Action VlanHdr[1] -------\n"
    "type<e_VLAN_ACTION_COPY_PBITS_FROM_TAG> val<0> , \n"
    "------ Action PppoeHdr -------\n"
    "type[ERROR orxapi] Dump_PppoeActionReq,#: Unknown action type <0> \n"
    ", \n"
    "------ Action Ipv4Hdr -------\n"
    "type<e_IPV4_ACTION_DSCP> val<46> , \n"
    "------ Action TcpHdr -------\n"
    "type<e_TCP_ACTION_DPORT> val<8080> , \n"
    "------ Action UdpHdr -------\n"
    "type<e_UDP_ACTION_SPORT> val<5353> , \n"
    "\n"
    "------- Fwd Block ----------\n"
    "flowPrio<7> FwdAction<LRN_ENABLE> <ARL_OVRD> \n"
    "src portMask<0x00000080> gemPortIdxMask<0x00000005> \n"
    "dst portMask<0x00000083> gemPortIdxMask<0x00000001> \n";

TEST_F(FullFlow, UsesAllItsNodes) {
    EXPECT_EQ(FcbOf(hdl_).freeReqCount, 0);
}

TEST_F(FullFlow, IsDumpedWithAllItsRequests) {
    ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
    EXPECT_EQ(Dump(FcbOf(hdl_)), std::string(kFull) + kEnd);
}

TEST_F(FullFlow, IsDumpedByItsHandle) {
    ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
    ExpectRefused([&] { return QIR_Dump_FCB(&hdl_); }, 0, std::string(kFull) + kEnd);
    RaiseLog(2);
    ExpectRefused([&] { return QIR_Dump_FCB(&hdl_); }, 0,
                  Inf("QIR_Dump_FCB", "Params: flowHdl_p<0x<ptr>>") +
                      Inf("QIR_Dump_FCB", "Params2: flowHdl<3>") + kFull + kEnd);
}

TEST_F(FullFlow, IsDumpedAtDebugLevelWithItsPool) {
    ASSERT_EQ(QIR_Activate_FCB(&hdl_), 0u);
    RaiseLog(3);
    const std::string text = Dump(FcbOf(hdl_));
    const std::string upToPool = std::string(kFull) +
                                 "[DBG orxapi] Dump_FCB  : FreeReqList: \n"
                                 "[DBG orxapi] Dump_FCB  : curr<0> next<0> prev<0> count<0> \n\n"
                                 "[DBG orxapi] Dump_ReqList: \n---- Req List ---- \n\n"
                                 "[DBG orxapi] Dump_ReqList: Prev  Curr  Next \n\n"
                                 "[DBG orxapi] Dump_ReqList: --------------------\n\n\n"
                                 "[DBG orxapi] Dump_ReqPool: \n---- Req Pool ---- \n\n"
                                 "[DBG orxapi] Dump_ReqPool: Req Count <0> \n\n"
                                 "[DBG orxapi] Dump_ReqPool: \nPrev  Curr  Next \n\n"
                                 "[DBG orxapi] Dump_ReqPool:  <00> <00> <00> \n\n"
                                 "[DBG orxapi] Dump_ReqPool:  <16> <01> <15> \n\n";
    EXPECT_EQ(text.substr(0, upToPool.size()), upToPool);
    EXPECT_EQ(text.substr(text.size() - std::string(kEnd).size()), kEnd);
}

TEST_F(FullFlow, ForwardingUpdateShowsInTheDump) {
    DstMask dst{};
    dst.portMask = 0x1;
    ASSERT_EQ(QIR_Rem_DstPortInfo(&hdl_, &dst), 0u);
    const std::string text = Dump(FcbOf(hdl_));
    EXPECT_NE(text.find("dst portMask<0x00000082> gemPortIdxMask<0x00000001> \n"), std::string::npos);
}

} // namespace
} // namespace flows
