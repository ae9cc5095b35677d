// The flow builders: the calls that each one makes, in their order, and the flow that comes out.

#include "app/flow_builders.h"
#include "app/table_builders.h"
#include "tests/app/app_test.h"
#include "tests/app/expected_flows.h"

#include <cerrno>
#include <functional>

namespace app_test {
namespace {

constexpr Fwd kFwd{.prio = 4, .srcPorts = 0x80, .srcGems = 0x3, .dstPorts = 0x1};
constexpr unsigned kActive = e_STATUS_ACTIVE;

using Build = std::function<void(const FwdInfo *, FlowHdl *)>;

class FlowBuilders : public AppTest {
  protected:
    void SetUp() override {
        AppTest::SetUp();
        test::Capture([&] { app::App_ConfigPacTablePgMode(0, 0, &pac_); });
        orxemu_clearLog();
    }

    // Builds the next flow and compares what the driver got of it.
    std::string Builds(const Build &build, const FlowImage &flow) {
        const FwdInfo fwd = kFwd.Record();
        FlowHdl hdl = UnsetFlow();
        const std::size_t n = orxemu_numRequests();
        std::string out = test::CaptureMasked([&] { build(&fwd, &hdl); });
        EXPECT_EQ(hdl.f1.id, flow.Flow());
        EXPECT_EQ(orxemu_numRequests(), n + 1);
        ExpectFlowRequest(n, flow, flow.UsesPac() ? std::optional<uint32_t>(0) : std::nullopt,
                          static_cast<uint32_t>(n));
        return out;
    }

    // The tables' contents do not matter: whether they are given does.
    AsTblHdl as_ = test::AsHdl(200);
    DscpTblHdl dscp_ = test::DscpHdl(200);
    PacTblHdl pac_{};
};

// ---- The calls, in their order -------------------------------------------------------------------------

constexpr const char *kFwdInfo = "QIR_Set_FwdInfo";
constexpr const char *kAs = "QIR_Set_AsOverride";
constexpr const char *kPac = "QIR_Set_PacInfo";
constexpr const char *kHdr = "QIR_Alloc_Hdr";
constexpr const char *kEthF = "QIR_Config_EthFilter";
constexpr const char *kVlanF = "QIR_Config_VlanFilter";
constexpr const char *kIpF = "QIR_Config_Ipv4Filter";
constexpr const char *kEthA = "QIR_Config_EthAction";
constexpr const char *kVlanA = "QIR_Config_VlanAction";
constexpr const char *kActivate = "QIR_Activate_FCB";
constexpr const char *kDump = "QIR_Dump_FCB";

// When no flow is left, every call behind the allocation is refused for its handle and so shows its name.
TEST_F(FlowBuilders, MakeTheirCallsInOrderWhateverTheResults) {
    for (int i = 0; i < 512; ++i) {
        FlowHdl hdl{};
        ASSERT_EQ(QIR_Alloc_FCB(2, &hdl), 0u);
    }
    const struct {
        const char *name;
        Build build;
        std::vector<std::string> steps; // a call, or a text that ends in a line end
    } rows[] = {
        {"untagged, not IP",
         [](auto fwd_p, auto flow_p) { app::App_ConfigFlow_UntaggedNonIP(fwd_p, flow_p); },
         {kFwdInfo, kAs, kHdr, kEthF, kEthF, kHdr, kActivate, kDump}},
        {"upstream untagged IP",
         [this](auto fwd_p, auto flow_p) {
             app::App_ConfigUsUcastFlow_UntaggedDscp2Pbits(fwd_p, &as_, &dscp_, &pac_, flow_p, 1);
         },
         {kFwdInfo, kAs, kPac, kHdr, kEthF, kHdr, kHdr, kEthA, kVlanA, kVlanA, kVlanA, kActivate, kDump}},
        {"upstream untagged IP without PAC table",
         [](auto fwd_p, auto flow_p) {
             app::App_ConfigUsUcastFlow_UntaggedDscp2Pbits(fwd_p, nullptr, nullptr, nullptr, flow_p, 1);
         },
         {kFwdInfo, kAs, kHdr, kEthF, kHdr, kHdr, kEthA, kVlanA, kVlanA, kVlanA, kActivate, kDump}},
        {"upstream PPPoE",
         [this](auto fwd_p, auto flow_p) { app::App_ConfigUsUcastFlow_PPPoE(fwd_p, &as_, flow_p, 1); },
         {kFwdInfo, kAs, kHdr, kEthF, kHdr, kHdr, kEthA, kVlanA, kVlanA, kVlanA, kActivate, kDump}},
        {"downstream PPPoE",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_PPPoE(fwd_p, flow_p); },
         {kFwdInfo, kHdr, kHdr, kVlanF, kEthF, kHdr, kEthA, kActivate, kDump}},
        {"upstream VLAN translation",
         [this](auto fwd_p, auto flow_p) {
             app::App_ConfigUsUcastFlow_VlanTrans(fwd_p, &as_, &pac_, flow_p, 11, 22);
         },
         {kFwdInfo, "US: cVid 11 -> nwVid 22\n", kAs, kPac, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kHdr,
          kVlanA, "Activating Flow\n", kActivate, kDump}},
        {"upstream VLAN translation without PAC table",
         [](auto fwd_p, auto flow_p) {
             app::App_ConfigUsUcastFlow_VlanTrans(fwd_p, nullptr, nullptr, flow_p, 0, 65535);
         },
         {kFwdInfo, "US: cVid 0 -> nwVid 65535\n", kAs, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kHdr, kVlanA,
          "Activating Flow\n", kActivate, kDump}},
        {"downstream VLAN translation",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_VlanTrans(fwd_p, flow_p, 11, 22); },
         {kFwdInfo, "DS: nwVid 22 -> cVid 11\n", kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kHdr, kVlanA,
          kActivate, kDump}},
        {"downstream translation of two tags",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_DoubleVlanTrans(fwd_p, flow_p); },
         {kFwdInfo, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kVlanF, kVlanF, kHdr, kHdr, kVlanA, kHdr, kEthA,
          kActivate, kDump}},
        {"multicast of any source",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 0, 65534); },
         {kFwdInfo, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kIpF, kHdr, kEthA, kActivate, kDump}},
        {"multicast of one source and any tag",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 1, 65535); },
         {kFwdInfo, kHdr, kEthF, kHdr, kHdr, kIpF, kIpF, kHdr, kEthA, kActivate, kDump}},
        {"multicast of unknown type",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 2, 1500); },
         {kFwdInfo, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, "*** ERROR ***: Invalid Mcast Type <2>\n", kHdr,
          kEthA, kActivate, kDump}},
        {"multicast VLAN translation",
         [](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_MultiVlanTrans(fwd_p, flow_p); },
         {kFwdInfo, kHdr, kEthF, kHdr, kVlanF, kVlanF, kHdr, kHdr, kVlanA, kVlanA, kActivate, kDump}},
    };
    const FwdInfo fwd = kFwd.Record();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        std::string expected = test::Err("QIR_Alloc_FCB", "No Free FCB available") +
                               test::Refusal("QIR_Alloc_FCB", "e_RET_ERR_RESRC_UNAVAIL", 12);
        for (const std::string &step : row.steps) {
            if (step.back() == '\n') {
                expected += step;
            } else {
                expected += test::Err("Validate_FlowHdl", "Value out of range for flowHdl<65535>") +
                            test::CodeLine("Validate_FlowHdl", "e_RET_ERR_INVALID_HDL") +
                            test::RetVal(step, 3);
            }
        }
        FlowHdl hdl = UnsetFlow();
        EXPECT_EQ(test::CaptureMasked([&] { row.build(&fwd, &hdl); }), expected);
    }
    EXPECT_EQ(orxemu_numRequests(), 0u);
}

// ---- The flows -----------------------------------------------------------------------------------------

TEST_F(FlowBuilders, BuildUntaggedNonIpFlowsInSection0) {
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigFlow_UntaggedNonIP(fwd_p, flow_p); },
           UntaggedNonIp(0, kFwd));
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[0].cfgFlows, 1u);
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[1].cfgFlows, 0u);
}

TEST_F(FlowBuilders, OverrideAddressScreeningUnlessAnAsTableIsGiven) {
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigUsUcastFlow_PPPoE(fwd_p, nullptr, flow_p, 77); },
           UsPppoe(0, kFwd, kAsNotInUse, 77));
    Builds([this](auto fwd_p, auto flow_p) { app::App_ConfigUsUcastFlow_PPPoE(fwd_p, &as_, flow_p, 77); },
           UsPppoe(1, kFwd, kAsInUse, 77));
    EXPECT_EQ(qirCtxt_gp->cfg.flowSection[1].cfgFlows, 2u);
}

TEST_F(FlowBuilders, BuildUpstreamUntaggedIpFlows) {
    const auto build = [](const AsTblHdl *as_p, const DscpTblHdl *dscp_p, PacTblHdl *pac_p) {
        return [=](auto fwd_p, auto flow_p) {
            app::App_ConfigUsUcastFlow_UntaggedDscp2Pbits(fwd_p, as_p, dscp_p, pac_p, flow_p, 4095);
        };
    };
    Builds(build(nullptr, nullptr, nullptr), UsUntaggedIp(0, kFwd, kAsNotInUse, {}, 4095));
    Builds(build(nullptr, &dscp_, nullptr), UsUntaggedIp(1, kFwd, kAsNotInUse, {}, 4095));
    Builds(build(&as_, &dscp_, &pac_), UsUntaggedIp(2, kFwd, kAsInUse, PacWord(0), 4095));
    EXPECT_EQ(qirCtxt_gp->pacTblPool[0].refCnt, 1u);
}

TEST_F(FlowBuilders, BuildDownstreamPppoeFlows) {
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_PPPoE(fwd_p, flow_p); },
           DsPppoe(0, kFwd));
}

TEST_F(FlowBuilders, BuildVlanTranslationsOfBothDirections) {
    const auto upstream = [](const AsTblHdl *as_p, PacTblHdl *pac_p) {
        return [=](auto fwd_p, auto flow_p) {
            app::App_ConfigUsUcastFlow_VlanTrans(fwd_p, as_p, pac_p, flow_p, 0, 4095);
        };
    };
    Builds(upstream(nullptr, nullptr), UsVlanTrans(0, kFwd, kAsNotInUse, {}, 0, 4095));
    Builds(upstream(&as_, nullptr), UsVlanTrans(1, kFwd, kAsInUse, {}, 0, 4095));
    Builds(upstream(nullptr, &pac_), UsVlanTrans(2, kFwd, kAsNotInUse, PacWord(0), 0, 4095));
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_VlanTrans(fwd_p, flow_p, 1, 2); },
           DsVlanTrans(3, kFwd, 1, 2));
}

std::string Dump(unsigned flow, const std::string &filterBlock, const std::string &actionBlock) {
    return "\n\n"
           "************* FCB ************* \n"
           "FCB Status<e_STATUS_ACTIVE> Hdl<" +
           std::to_string(flow) +
           "> Section<1> \n"
           "\n"
           "AS Override<e_AS_OVERRIDE_DISABLE> \n"
           "------- Filter Block ----------\n" +
           filterBlock +
           "\n"
           "------- Action Block ----------\n" +
           actionBlock +
           "\n"
           "------- Fwd Block ----------\n"
           "flowPrio<4> FwdAction<ARL_OVRD> \n"
           "src portMask<0x00000080> gemPortIdxMask<0x00000003> \n"
           "dst portMask<0x00000001> gemPortIdxMask<0x00000000> \n"
           "******************************* \n";
}

constexpr char kPopBlock[] = "HdrBmap<0x01> totalTags<0> pushedTags<0> poppedTags<1> \n"
                             "------ Action EthHdr -------\n"
                             "type<e_ETH_ACTION_POP_TAG> , \n";

// The action block's VLAN headers come before the Ethernet header that they need: they and the action of the
// inner tag are refused, and the flow goes into the hardware without them.
TEST_F(FlowBuilders, BuildTheDoubleTagTranslationWithoutItsVlanActions) {
    const std::string tooEarly = test::CodeLine("IsSet_ActionAllReqdHdr", "e_RET_ERR_HDROUTOFORDER") +
                                 test::RetVal("QIR_Alloc_Hdr", 10);
    EXPECT_EQ(
        Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsUcastFlow_DoubleVlanTrans(fwd_p, flow_p); },
               DsDoubleVlanTrans(0, kFwd)),
        tooEarly + tooEarly + test::Refusal("QIR_Config_VlanAction", "e_RET_ERR_HDRNOTCFG", 11) +
            Dump(0,
                 "HdrBmap<0x07> totalTags<2> \n"
                 "------ Filter EthHdr -------\n"
                 "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>, \n"
                 "------ Filter VlanHdr[0] ------\n"
                 "type<e_VLAN_FILT_TPID> val<0x9100> cmpOp<e_CMP_EQ>, \n"
                 "type<e_VLAN_FILT_VID> val<400> cmpOp<e_CMP_EQ>, \n"
                 "------ Filter VlanHdr[1] ------\n"
                 "type<e_VLAN_FILT_TPID> val<0x8100> cmpOp<e_CMP_EQ>, \n"
                 "type<e_VLAN_FILT_VID> val<800> cmpOp<e_CMP_EQ>, \n",
                 kPopBlock));
}

TEST_F(FlowBuilders, BuildTheMulticastVlanTranslation) {
    EXPECT_EQ(
        Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_MultiVlanTrans(fwd_p, flow_p); },
               DsMultiVlanTrans(0, kFwd)),
        Dump(0,
             "HdrBmap<0x03> totalTags<1> \n"
             "------ Filter EthHdr -------\n"
             "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>, \n"
             "------ Filter VlanHdr[0] ------\n"
             "type<e_VLAN_FILT_TPID> val<0x9100> cmpOp<e_CMP_EQ>, \n"
             "type<e_VLAN_FILT_VID> val<600> cmpOp<e_CMP_EQ>, \n",
             "HdrBmap<0x03> totalTags<1> pushedTags<0> poppedTags<0> \n"
             "------ Action EthHdr -------\n"
             "------ Action VlanHdr[0] -------\n"
             "type<e_VLAN_ACTION_SET_TPID> val<0x8100> , \n"
             "type<e_VLAN_ACTION_SET_VID> val<4095> , \n"));
}

TEST_F(FlowBuilders, BuildMulticastFlowsOfAnySourceAndOfOne) {
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 0, 4095); },
           DsIpTvAnySource(0, kFwd, 4095));
    Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 1, 0); },
           DsIpTvOneSource(1, kFwd, 0));
}

TEST_F(FlowBuilders, BuildMulticastFlowsOfAnyTagForVid65535) {
    EXPECT_EQ(
        Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 0, 65535); },
               DsIpTvAnyTagAnySource(0, kFwd)),
        Dump(0,
             "HdrBmap<0x83> totalTags<1> \n"
             "------ Filter EthHdr -------\n"
             "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>, \n"
             "------ Filter VlanHdr[0] ------\n"
             "type<e_IPV4_FILT_DA> <224.1.2.3> </32> cmpOp<e_CMP_EQ>, \n"
             "\n\n\n\n",
             kPopBlock));
}

TEST_F(FlowBuilders, ActivateMulticastFlowsOfUnknownTypeWithoutIpFilters) {
    const std::string dump0 = Dump(0,
                                   "HdrBmap<0x83> totalTags<1> \n"
                                   "------ Filter EthHdr -------\n"
                                   "type<e_ETH_FILT_ETHTYPE> val<0x0800> cmpOp<e_CMP_EQ>, \n"
                                   "------ Filter VlanHdr[0] ------\n"
                                   "type<e_VLAN_FILT_TPID> val<0x8100> cmpOp<e_CMP_EQ>, \n"
                                   "type<e_VLAN_FILT_VID> val<1500> cmpOp<e_CMP_EQ>, \n"
                                   "\n\n\n\n",
                                   kPopBlock);
    EXPECT_EQ(Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, 2, 1500); },
                     DsIpTvUnknownType(0, kFwd, 1500)),
              "*** ERROR ***: Invalid Mcast Type <2>\n" + dump0);
    const std::string second =
        Builds([](auto fwd_p, auto flow_p) { app::App_ConfigDsMcastFlow_IpTv(fwd_p, flow_p, ~0u, 1500); },
               DsIpTvUnknownType(1, kFwd, 1500));
    EXPECT_EQ(second.rfind("*** ERROR ***: Invalid Mcast Type <-1>\n", 0), 0u) << second;
    EXPECT_EQ(qirCtxt_gp->fcbPool[0].status, kActive);
    EXPECT_EQ(qirCtxt_gp->fcbPool[1].status, kActive);
}

// A VID above 4095 is no VID: the filter is refused, and the flow goes into the hardware without it.
TEST_F(FlowBuilders, CarryOnBehindARefusedFilter) {
    const FwdInfo fwd = kFwd.Record();
    FlowHdl hdl = UnsetFlow();
    const std::string out =
        test::CaptureMasked([&] { app::App_ConfigDsMcastFlow_IpTv(&fwd, &hdl, 0, 65534); });
    EXPECT_EQ(out.rfind(test::CodeLine("Validate_Config_VlanFilter", "e_RET_ERR_INVALID_PARAM") +
                            test::RetVal("QIR_Config_VlanFilter", 25),
                        0),
              0u)
        << out;
    EXPECT_EQ(qirCtxt_gp->fcbPool[0].status, kActive);
}

TEST_F(FlowBuilders, DumpTheFlowWhenTheDriverRefusesIt) {
    orxemu_failRequest(29, 1, EIO);
    const FwdInfo fwd = kFwd.Record();
    FlowHdl hdl = UnsetFlow();
    const test::Output output = test::CaptureBoth([&] { app::App_ConfigDsUcastFlow_PPPoE(&fwd, &hdl); });
    EXPECT_EQ(test::Mask(output.out)
                  .rfind(test::RetVal("QIR_Activate_FCB", 1) +
                             "\n\n************* FCB ************* \n"
                             "FCB Status<e_STATUS_CFG> Hdl<0> Section<1> \n",
                         0),
              0u)
        << output.out;
    EXPECT_EQ(output.err, "pktOrxDevIoctl <29> error\n");
}

} // namespace
} // namespace app_test
