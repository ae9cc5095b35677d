#include "tests/fuzz_checks/scene.h"

namespace fuzz_checks {

namespace {

void AddHeaders(FlowHdl &flow) {
    for (const uint32_t blk : {e_BLKTYPE_FILTER, e_BLKTYPE_ACTION}) {
        for (const uint32_t hdr : {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0, e_FLOWHDR_PPPOE, e_FLOWHDR_IPV4}) {
            const FlowHdr flowHdr{blk, hdr};
            ASSERT_EQ(QIR_Alloc_Hdr(&flow, &flowHdr), 0u) << "block " << blk << " header " << hdr;
        }
    }
}

void AddRequests(FlowHdl &flow) {
    EthFilter eth{};
    eth.type = e_ETH_FILT_ETHTYPE;
    eth.val.ethType = 0x0800;
    ASSERT_EQ(QIR_Config_EthFilter(&flow, &eth), 0u);
    VlanFilter vlan{};
    vlan.type = e_VLAN_FILT_VID;
    vlan.val.vid = 200;
    ASSERT_EQ(QIR_Config_VlanFilter(&flow, &vlan), 0u);
    vlan.type = e_VLAN_FILT_TPID;
    ASSERT_EQ(QIR_Config_VlanFilter(&flow, &vlan), 0u);
    PppoeAction pppoe{};
    ASSERT_EQ(QIR_Config_PppoeAction(&flow, &pppoe), 0u);
    EthAction action{};
    ASSERT_EQ(QIR_Config_EthAction(&flow, &action), 0u);
}

void MakeTables() {
    AsTblHdl as{};
    const AsTblCfg asCfg{1};
    AsEnt ent{};
    ent.aclMask = AS_ENT_MASK_MAC_SA;
    ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
    ASSERT_EQ(QIR_Set_AsTableCfg(&as, &asCfg), 0u);
    ASSERT_EQ(QIR_Set_AsTableEntry(&as, 2, &ent), 0u);
    ASSERT_EQ(QIR_Activate_AsTable(&as), 0u);
    DscpTblHdl dscp{};
    DscpDefPbits def{};
    def.pbits = 3;
    ASSERT_EQ(QIR_Alloc_DscpToPbitsTable(&dscp), 0u);
    ASSERT_EQ(QIR_Set_DscpToPbitsTable_DefPbits(&dscp, &def), 0u);
    ASSERT_EQ(QIR_Activate_DscpToPbitsTable(&dscp), 0u);
    PacTblHdl pac{};
    const PacTblCfg pacCfg{};
    ASSERT_EQ(QIR_Alloc_PacTable(&pac), 0u);
    ASSERT_EQ(QIR_Set_PacTableCfg(&pac, &pacCfg), 0u);
    ASSERT_EQ(QIR_Activate_PacTable(&pac), 0u);
    ASSERT_EQ(QIR_Alloc_AsTable(&as), 0u);
}

void MakeFlows() {
    FlowHdl first{};
    ASSERT_EQ(QIR_Alloc_FCB(1, &first), 0u);
    AddHeaders(first);
    AddRequests(first);
    PacTblHdl pac = test::PacHdl(0);
    ASSERT_EQ(QIR_Set_PacInfo(&first, e_TBLSTATUS_ENABLE, 1, &pac), 0u);
    FlowHdl second{};
    FwdInfo fwd{};
    fwd.src.portMask = 1;
    fwd.dst.portMask = 2;
    ASSERT_EQ(QIR_Alloc_FCB(2, &second), 0u);
    ASSERT_EQ(QIR_Set_FwdInfo(&second, &fwd), 0u);
    ASSERT_EQ(QIR_Activate_FCB(&second), 0u);
    FlowHdl third{};
    ASSERT_EQ(QIR_Alloc_FCB(1, &third), 0u);
}

} // namespace

void Scene::SetUp() {
    LibraryTest::SetUp();
    test::Capture([] {
        MakeTables();
        MakeFlows();
        ASSERT_EQ(QIR_Set_RL(1, 3, RlEnt{5, 100, 1, 0}), 0u);
        ASSERT_EQ(QIR_Activate_RL(1, 3), 0u);
        ASSERT_EQ(QIR_Set_PortPadLen(2, 64), 0u);
    });
}

} // namespace fuzz_checks
