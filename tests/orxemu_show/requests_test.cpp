// Requests of every kind in a line, from the bytes that reach the driver, in both byte orders.
#include "emu/journal/rule_text.h"
#include "tests/orxemu_show/journal_kit.h"

#include <set>

namespace {

using namespace journal_kit;
using namespace orxemu::journal;

std::string TextOfEntry(const LogEntry &entry, ByteOrder order) {
    const RequestInfo *info = qir::FindRequest(entry.request);
    if (info == nullptr) {
        return "unknown request";
    }
    const Json fcb = entry.fcb.empty() ? Json() : DecodeFcb(entry.fcb, order);
    return RequestText(*info, DecodeRecord(*info, entry.in, order), fcb);
}

struct RequestCase {
    std::function<uint32_t()> operation;
    std::string text;
};

AsTblHdl AsTable() {
    AsTblHdl table = {};
    EXPECT_EQ(QIR_Alloc_AsTable(&table), e_RET_OK);
    const AsTblCfg cfg = {0x81};
    EXPECT_EQ(QIR_Set_AsTableCfg(&table, &cfg), e_RET_OK);
    AsEnt ent = {};
    ent.aclMask = AS_ENT_MASK_IPPROTO;
    EXPECT_EQ(QIR_Set_AsTableEntry(&table, 4, &ent), e_RET_OK);
    return table;
}

DscpTblHdl DscpTable() {
    DscpTblHdl table = {};
    EXPECT_EQ(QIR_Alloc_DscpToPbitsTable(&table), e_RET_OK);
    const DscpDefPbits cfg = {8, 1, {}};
    EXPECT_EQ(QIR_Set_DscpToPbitsTable_DefPbits(&table, &cfg), e_RET_OK);
    for (const DscpMapping &mapping : {DscpMapping{0, 10, 20, 3}, DscpMapping{0, 63, 63, 7}}) {
        EXPECT_EQ(QIR_Set_DscpToPbitsTable(&table, &mapping), e_RET_OK);
    }
    return table;
}

PacTblHdl PacTableWithOwnEntry() {
    PacTblHdl table = PacTable(5);
    PacTblCfg entry = {};
    entry.ovrd = PAC_OVRD_DSTQID_A | PAC_OVRD_HW_A;
    entry.dstQid = 2;
    entry.rawAction[1] = {1, 12, 2, {1, 2}, {255, 255}, {}};
    EXPECT_EQ(QIR_Set_PacTableEntry(&table, 3, &entry), e_RET_OK);
    return table;
}

class OrxemuRequests : public JournalTest {};

TEST_F(OrxemuRequests, EveryKindHasALine) {
    AsTblHdl as = AsTable();
    DscpTblHdl dscp = DscpTable();
    PacTblHdl pac = PacTableWithOwnEntry();
    FlowHdl flow = TranslatingFlow(200, 1200);
    const std::string rule = "in uni0 vlan 200 → set vid 1200 → gpon gem 3 q7";
    const TpidCfg tpid = {7, {0x8100, 0x88A8, 0x9100, 0}};
    DstMask more = {};
    more.portMask = 0x02;
    FcbHits hits = {};
    const std::string dscpText = "host pbits 1; dscp 10-20 pbits 3; dscp 63 pbits 7";
    const std::string pacText = "gem 5; pbits 3 ovrd PAC_OVRD_HW_A q2 1 raw action";
    const RequestCase cases[] = {
        {[] { return QIR_Set_FlowMissAction(2); }, "flow-miss action 2"},
        {[] { return QIR_Set_PortDefAcl(8, 1); }, "host default acl 1"},
        {[&] { return QIR_Set_Tpid(&tpid); }, "gpon tpid 0x8100 0x88a8 0x9100 0x0000"},
        {[] { return QIR_Set_PortPadLen(3, 64); }, "uni3 pad length 64"},
        {[&] { return QIR_Activate_AsTable(&as); }, "uni0 gpon, 1 entry"},
        {[&] { return QIR_Deactivate_AsTable(&as); }, "index 0: uni0 gpon, 1 entry"},
        {[&] { return QIR_Activate_DscpToPbitsTable(&dscp); }, dscpText},
        {[&] { return QIR_Deactivate_DscpToPbitsTable(&dscp); }, "index 0: " + dscpText},
        {[&] { return QIR_Activate_PacTable(&pac); }, pacText},
        {[&] { return QIR_Deactivate_PacTable(&pac); }, "index 0: " + pacText},
        {[&] { return QIR_Activate_FCB(&flow); }, rule},
        {[&] { return QIR_Get_FCBHits(&flow, &hits); }, "flow 0"},
        {[&] { return QIR_Add_DstPortInfo(&flow, &more); }, "flow 0: in uni0 → uni1 q0 gpon gem 3 q7"},
        {[&] { return QIR_Deactivate_FCB(&flow); },
         "flow 0: in uni0 vlan 200 → set vid 1200 → uni1 q0 gpon gem 3 q7"},
        {[] { return QIR_Set_RLStatus(1); }, "enabled"},
        {[] {
             return QIR_Set_RLTciCfg(1, {{0x1234, 0x0005}});
         },
         "direction 1 tci 0x1234 0x0005"},
        {[] {
             return QIR_Set_RL(1, 9, {0x10, 500, 1, 64}), QIR_Activate_RL(1, 9);
         },
         "direction 1 limiter 9 rate 500 unit 1 burst 64 tci 0x0010"},
        {[] { return QIR_Deactivate_RL(1, 9); }, "direction 1 limiter 9"},
    };
    std::set<int> seen;
    for (const RequestCase &c : cases) {
        const std::size_t before = orxemu_numRequests();
        ASSERT_EQ(c.operation(), e_RET_OK) << c.text;
        ASSERT_EQ(orxemu_numRequests(), before + 1) << c.text;
        const Log log = RecordedLog();
        const Log other = InOtherOrder(log);
        EXPECT_EQ(TextOfEntry(log.entries.back(), log.order), c.text);
        EXPECT_EQ(TextOfEntry(other.entries.back(), other.order), c.text);
        seen.insert(log.entries.back().request);
    }
    EXPECT_EQ(seen.size(), std::size(qir::kRequestTable)) << "a kind of request has no row here";
}

// Nothing that was not written is told as a number, and it is no difference.
TEST_F(OrxemuRequests, DestinationsOfForwardingThatWasNotSet) {
    FlowHdl flow = {};
    ASSERT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    ASSERT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    DstMask more = {};
    more.portMask = 0x101;
    ASSERT_EQ(QIR_Add_DstPortInfo(&flow, &more), e_RET_OK);
    ASSERT_EQ(QIR_Rem_DstPortInfo(&flow, &more), e_RET_OK);
    const Log log = RecordedLog();
    ASSERT_EQ(log.entries.size(), 3u);
    const std::string texts[] = {
        "flow 0: → uni0 host queue unset learn no-override forwarding-not-set",
        "flow 0: → no port learn no-override forwarding-not-set",
    };
    for (const Log &either : {log, InOtherOrder(log)}) {
        for (std::size_t i = 0; i < std::size(texts); ++i) {
            const LogEntry &entry = either.entries[i + 1];
            EXPECT_EQ(TextOfEntry(entry, either.order), texts[i]);
            const Json fields = DecodeRecord(*qir::FindRequest(entry.request), entry.in, either.order);
            EXPECT_EQ(fields.dump().find("165"), std::string::npos) << fields;
            EXPECT_EQ(fields.dump().find("2779096485"), std::string::npos) << fields;
        }
    }
}

TEST_F(OrxemuRequests, RowsThatSayTheSameStandTogether) {
    PacTblHdl table = PacTable(5);
    constexpr uint8_t kOwn[] = {0, 2, 4, 5, 6, 7};
    for (const uint8_t pbits : kOwn) {
        PacTblCfg entry = {};
        entry.ovrd = PAC_OVRD_DSTGEMPORT;
        entry.dstGemPort = pbits < 3 ? 6 : 7;
        ASSERT_EQ(QIR_Set_PacTableEntry(&table, pbits, &entry), e_RET_OK);
    }
    ASSERT_EQ(QIR_Activate_PacTable(&table), e_RET_OK);
    EXPECT_EQ(TextOfEntry(RecordedLog().entries.back(), kHostOrder),
              "gem 5; pbits 0,2 gem 6; pbits 4-7 gem 7");
}

TEST(OrxemuFields, FramesAndMasksAreHexadecimal) {
    EXPECT_EQ(FieldText("portMask", 8), "0x8");
    EXPECT_EQ(FieldText("srcPortMask", 0x101), "0x101");
    EXPECT_EQ(FieldText("gemPortIdxMask", 0x80000000), "0x80000000");
    EXPECT_EQ(FieldText("hwTblIdx", 0xA5A5A5A5), "0xa5a5a5a5");
    EXPECT_EQ(FieldText("fcbAddr", 0x8049F40), "0x08049f40");
    EXPECT_EQ(FieldText("ethType", 0x800), "0x0800");
    EXPECT_EQ(FieldText("tpid", Json::array({0x8100, 0})), "0x8100 0x0000");
    EXPECT_EQ(FieldText("e_VLAN_FILT_TPID", 0x8100), "0x8100");
    EXPECT_EQ(FieldText("e_VLAN_FILT_VID", 200), "200");
    EXPECT_EQ(FieldText("refCnt", 17), "17");
    EXPECT_EQ(FieldText("pacTblIdx", -1), "-1");
    EXPECT_EQ(FieldText("status", "e_STATUS_CFG"), "e_STATUS_CFG");
    EXPECT_EQ(FieldText("aclMask", Json::array()), "none");
    EXPECT_EQ(FieldText("aclMask", Json::array({"AS_ENT_MASK_IP", 1024})), "AS_ENT_MASK_IP 1024");
    EXPECT_EQ(FieldText("ethType", kUnset), "unset");
}

} // namespace
