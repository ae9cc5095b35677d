// Logs compared by meaning: what is no difference, and what each difference is called.
#include "emu/tool/differences.h"
#include "qirapi/driver/driver_records.h"
#include "tests/orxemu_show/journal_kit.h"

#include <cerrno>

namespace {

using namespace journal_kit;
using namespace orxemu::tool;
using orxemu::journal::FaultMark;
using orxemu::journal::Load;
using orxemu::journal::Store;

// "- 3 activate-flow", "+ 4 open", "~ 1 2 set-global: fields.flowMissAction 1 2": a text that tests compare.
std::vector<std::string> Described(const Differences &differences) {
    std::vector<std::string> lines;
    for (const Difference &difference : differences) {
        if (difference.after == nullptr) {
            lines.push_back("- " + difference.before->name + " " + difference.before->kind);
        } else if (difference.before == nullptr) {
            lines.push_back("+ " + difference.after->name + " " + difference.after->kind);
        } else {
            std::string line = "~ " + difference.before->name + " " + difference.after->name + " " +
                               difference.before->kind + ":";
            for (const Change &change : difference.changes) {
                line += " " + change.path + " [" + change.before + "] [" + change.after + "]";
            }
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<std::string> Compare(const Log &a, const Log &b) {
    Meanings meaningsA = MeaningOf(a);
    Meanings meaningsB = MeaningOf(b);
    return Described(CompareLogs(meaningsA, meaningsB));
}

using Lines = std::vector<std::string>;

// Tables and flows that refer to each other: requests 1 to 9.
Log SampleLog() {
    PacTblHdl first = PacTable(1);
    PacTblHdl second = PacTable(2);
    EXPECT_EQ(QIR_Activate_PacTable(&first), e_RET_OK);
    EXPECT_EQ(QIR_Activate_PacTable(&second), e_RET_OK);
    FlowHdl flows[] = {TranslatingFlow(200, 1200), TranslatingFlow(201, 1201)};
    EXPECT_EQ(QIR_Set_PacInfo(&flows[0], e_TBLSTATUS_ENABLE, 0, &first), e_RET_OK);
    EXPECT_EQ(QIR_Set_PacInfo(&flows[1], e_TBLSTATUS_ENABLE, 0, &second), e_RET_OK);
    FcbHits hits = {};
    EXPECT_EQ(QIR_Activate_FCB(&flows[0]), e_RET_OK);
    EXPECT_EQ(QIR_Activate_FCB(&flows[1]), e_RET_OK);
    EXPECT_EQ(QIR_Get_FCBHits(&flows[1], &hits), e_RET_OK);
    EXPECT_EQ(QIR_Set_FlowMissAction(1), e_RET_OK);
    EXPECT_EQ(QIR_Deactivate_FCB(&flows[1]), e_RET_OK);
    EXPECT_EQ(QIR_Deactivate_PacTable(&second), e_RET_OK);
    EXPECT_EQ(QIR_Set_PortPadLen(3, 64), e_RET_OK);
    return RecordedLog();
}

// The words of a log that carry an index of the kind that `request` tells: out of activations, into the rest.
void ShiftIndexes(Log &log, std::uint32_t by) {
    // cppcheck-suppress constParameter ; Store writes to them
    const auto shift = [&](Bytes &bytes, std::size_t offset) {
        if (const std::uint32_t index = Load(bytes, offset, 4, log.order); index != 0xFFFFFFFF) {
            Store(bytes, offset, 4, log.order, index + by);
        }
    };
    for (LogEntry &entry : log.entries) {
        switch (entry.request) {
        case qir::kOrxActivatePacTbl:
            shift(entry.out, 0);
            break;
        case qir::kOrxDeactivatePacTbl:
            for (Bytes *bytes : {&entry.in, &entry.out}) {
                shift(*bytes, 0);
                shift(*bytes, 8); // hwTblIdx
            }
            break;
        case qir::kOrxActivateFlow:
            shift(entry.out, 0);
            shift(entry.in, 12); // PAC table
            shift(entry.out, 12);
            break;
        case qir::kOrxDeactivateFlow:
            for (Bytes *bytes : {&entry.in, &entry.out}) {
                shift(*bytes, 0);
                shift(*bytes, 12);
            }
            shift(entry.fcb, offsetof(qir::Fcb, hwFlowIdx));
            break;
        case qir::kOrxGetFlowHits:
            shift(entry.in, 0);
            shift(entry.out, 0);
            break;
        default:
            break;
        }
    }
}

class OrxemuDiffLogs : public JournalTest {};

TEST_F(OrxemuDiffLogs, ALogIsEqualToItself) {
    const Log log = SampleLog();
    EXPECT_EQ(Compare(log, log), Lines());
    EXPECT_EQ(Compare(Log(), Log()), Lines());
}

TEST_F(OrxemuDiffLogs, ByteOrderDoesNotCount) {
    const Log log = SampleLog();
    EXPECT_EQ(Compare(log, InOtherOrder(log)), Lines());
}

TEST_F(OrxemuDiffLogs, AssignedIndexesDoNotCount) {
    const Log log = SampleLog();
    Log shifted = log;
    ShiftIndexes(shifted, 3);
    EXPECT_EQ(Compare(log, shifted), Lines());
}

TEST_F(OrxemuDiffLogs, UnsetBytesAddressesAndHandlesDoNotCount) {
    const Log log = SampleLog();
    Log other = log;
    // cppcheck-suppress constVariable ; Store writes to its bytes
    for (LogEntry &entry : other.entries) {
        if (entry.request == qir::kOrxActivatePacTbl) {
            Store(entry.in, 0, 4, other.order, 0x11111111);  // unset: the driver assigns it
            Store(entry.in, 4 + 38, 2, other.order, 0x2222); // spare
            Store(entry.in, 4, 1, other.order, Load(entry.in, 4, 1, other.order) ^ 0x40);
            Store(entry.in, 7, 1, other.order, Load(entry.in, 7, 1, other.order) ^ 0x40);
        } else if (entry.request == qir::kOrxActivateFlow) {
            Store(entry.in, 0, 4, other.order, 0x11111111);
            Store(entry.in, 8, 4, other.order, 0x00400000); // address
            Store(entry.fcb, offsetof(qir::Fcb, flowHdl), 4, other.order, 0x01010101);
            Store(entry.fcb, offsetof(qir::Fcb, reserved1), 4, other.order, 0);
            Store(entry.fcb, offsetof(qir::Fcb, reqPool) + 31 * sizeof(qir::ReqNode) + 20, 4, other.order, 0);
        } else if (entry.request == qir::kOrxSetPortCfg) {
            Store(entry.in, 4, 4, other.order, 0x11111111); // the part of another setting
        }
    }
    EXPECT_EQ(Compare(log, other), Lines());
}

TEST_F(OrxemuDiffLogs, AnAdditionalRequestIsThatAndNoMore) {
    const Log log = SampleLog();
    Log more = log;
    // A table in front of all others: each index behind it would be another.
    LogEntry activation = log.entries[0];
    Store(activation.in, 4 + 8 + 2, 1, log.order, 30); // GEM port
    Store(activation.out, 0, 4, log.order, 9);
    more.entries.insert(more.entries.begin(), activation);
    EXPECT_EQ(Compare(log, more), Lines({"+ 1 activate-pac-table"}));
    EXPECT_EQ(Compare(more, log), Lines({"- 1 activate-pac-table"}));

    Log fewer = log;
    fewer.entries.erase(fewer.entries.begin() + 5);
    EXPECT_EQ(Compare(log, fewer), Lines({"- 6 set-global"}));
}

TEST_F(OrxemuDiffLogs, AChangedRequestSaysItsFields) {
    const Log log = SampleLog();
    Log other = log;
    Store(other.entries[2].fcb, offsetof(qir::Fcb, fwdInfo) + offsetof(FwdInfo, dst.gemPortIdxMask), 4,
          other.order, 0x4);
    Store(other.entries[5].in, 4, 4, other.order, 2);
    EXPECT_EQ(Compare(log, other),
              Lines({"~ 3 3 activate-flow: fcb.forwarding.dst.gemPortIdxMask [0x8] [0x4]",
                     "~ 6 6 set-global: fields.flowMissAction [1] [2]"}));
}

TEST_F(OrxemuDiffLogs, AChangedFilterIsToldByItsType) {
    FlowHdl flow = TranslatingFlow(200, 1200);
    ASSERT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    const Log before = RecordedLog();
    orxemu_clearLog();
    ASSERT_EQ(QIR_Deactivate_FCB(&flow), e_RET_OK);
    ASSERT_EQ(QIR_Free_FCB(&flow), e_RET_OK);
    orxemu_clearLog();
    FlowHdl changed = TranslatingFlow(300, 1200);
    EthFilter filter = {};
    filter.type = e_ETH_FILT_ETHTYPE;
    filter.val.ethType = 0x0800;
    ASSERT_EQ(QIR_Config_EthFilter(&changed, &filter), e_RET_OK);
    ASSERT_EQ(QIR_Activate_FCB(&changed), e_RET_OK);
    EXPECT_EQ(Compare(before, RecordedLog()),
              Lines({"~ 1 1 activate-flow: fcb.filter.vlan0.e_VLAN_FILT_VID.val [200] [300] "
                     "fcb.filter.eth.e_ETH_FILT_ETHTYPE.cmpOp [] [e_CMP_EQ] "
                     "fcb.filter.eth.e_ETH_FILT_ETHTYPE.val [] [0x0800]"}));
}

// The activation of a flow that forwarding information was not set for, with what `change` does to it.
Log NotSetLog(const std::function<void(FlowHdl &)> &change) {
    orxemu_clearLog();
    FlowHdl flow = {};
    EXPECT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH});
    change(flow);
    EXPECT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    return RecordedLog();
}

void AddPorts(FlowHdl &flow, uint32_t portMask) {
    DstMask dst = {};
    dst.portMask = portMask;
    EXPECT_EQ(QIR_Add_DstPortInfo(&flow, &dst), e_RET_OK);
}

TEST_F(OrxemuDiffLogs, DestinationsOfForwardingThatIsNotSetCount) {
    const Log log = NotSetLog([](FlowHdl &) {});
    EXPECT_EQ(Compare(log, NotSetLog([](FlowHdl &flow) { AddPorts(flow, 0x2); })),
              Lines({"~ 1 1 activate-flow: fcb.forwarding.dst.portMask [0x0] [0x2]"}));
    // The queue of the first port of a call is that of all its ports: here none.
    EXPECT_EQ(Compare(log, NotSetLog([](FlowHdl &flow) { AddPorts(flow, 0x102); })),
              Lines({"~ 1 1 activate-flow: fcb.forwarding.dst.portQid[8] [0] [] "
                     "fcb.forwarding.dst.portMask [0x0] [0x102]"}));
    const Log set = NotSetLog([](FlowHdl &flow) {
        FwdInfo fwd = {};
        fwd.src.portMask = 1;
        fwd.dst.portMask = 2;
        fwd.fwdAction = e_FWD_ACTION_LRN_ENABLE;
        EXPECT_EQ(QIR_Set_FwdInfo(&flow, &fwd), e_RET_OK);
    });
    const Lines lines = Compare(log, set);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("~ 1 1 activate-flow: fcb.fwdInfoSet [0] [1] ", 0), 0u) << lines[0];
}

TEST_F(OrxemuDiffLogs, TheValueOfATranslationOfPbitsCounts) {
    const auto log = [](uint32_t value) {
        return NotSetLog([value](FlowHdl &flow) {
            AllocHdrs(flow, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
            VlanAction action = {};
            action.type = e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP;
            std::memcpy(&action.val, &value, sizeof value);
            EXPECT_EQ(QIR_Config_VlanAction(&flow, &action), e_RET_OK);
        });
    };
    const Log before = log(0x10002);
    EXPECT_EQ(Compare(before, log(0x20002)),
              Lines({"~ 1 1 activate-flow: fcb.action.vlan0.e_VLAN_ACTION_XLATE_PBITS_FROM_DSCP.val "
                     "[65538] [131074]"}));
    EXPECT_EQ(Compare(before, InOtherOrder(before)), Lines());
}

// A flow with these actions on its outer tag.
Log ActionsLog(std::initializer_list<uint32_t> types) {
    orxemu_clearLog();
    FlowHdl flow = {};
    EXPECT_EQ(QIR_Alloc_FCB(1, &flow), e_RET_OK);
    AllocHdrs(flow, e_BLKTYPE_ACTION, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    AllocHdrs(flow, e_BLKTYPE_FILTER, {e_FLOWHDR_ETH, e_FLOWHDR_VLAN0});
    for (const uint32_t type : types) {
        VlanAction action = {};
        action.type = type;
        EXPECT_EQ(QIR_Config_VlanAction(&flow, &action), e_RET_OK);
        VlanFilter filter = {};
        filter.type = type;
        EXPECT_EQ(QIR_Config_VlanFilter(&flow, &filter), e_RET_OK);
    }
    EXPECT_EQ(QIR_Activate_FCB(&flow), e_RET_OK);
    return RecordedLog();
}

TEST_F(OrxemuDiffLogs, TheOrderOfActionsCountsAndThatOfFiltersDoesNot) {
    static_assert(e_VLAN_ACTION_SET_PBITS == static_cast<int>(e_VLAN_FILT_PBITS));
    static_assert(e_VLAN_ACTION_SET_VID == static_cast<int>(e_VLAN_FILT_VID));
    const Log log = ActionsLog({e_VLAN_ACTION_SET_PBITS, e_VLAN_ACTION_SET_VID});
    EXPECT_EQ(Compare(log, ActionsLog({e_VLAN_ACTION_SET_VID, e_VLAN_ACTION_SET_PBITS})),
              Lines({"~ 1 1 activate-flow: fcb.action.vlan0 [e_VLAN_ACTION_SET_PBITS e_VLAN_ACTION_SET_VID] "
                     "[e_VLAN_ACTION_SET_VID e_VLAN_ACTION_SET_PBITS]"}));
}

TEST_F(OrxemuDiffLogs, AReferenceToAnotherObjectIsADifference) {
    const Log log = SampleLog();
    Log other = log;
    Store(other.entries[3].in, 12, 4, other.order, 0); // the other PAC table
    Store(other.entries[4].in, 0, 4, other.order, 0);  // hits of the other flow
    EXPECT_EQ(Compare(log, other),
              Lines({"~ 4 4 activate-flow: fields.pacTblIdx [activate-pac-table 2] [activate-pac-table 1]",
                     "~ 5 5 get-flow-hits: fields.flowIdx [activate-flow 4] [activate-flow 3]"}));
}

TEST_F(OrxemuDiffLogs, ReferencesFollowAChangedObject) {
    const Log log = SampleLog();
    Log other = log;
    Store(other.entries[1].in, 4 + 8 + 2, 1, other.order, 17); // GEM port of the second table
    EXPECT_EQ(Compare(log, other), Lines({"~ 2 2 activate-pac-table: fields.tbl.cfg.dstGemPort [2] [17]"}));
}

TEST_F(OrxemuDiffLogs, ReferencesIntoTheTimeBeforeTheLog) {
    Log log = SampleLog();
    log.entries.erase(log.entries.begin()); // the first table was there before
    Log other = log;
    Store(other.entries[1].in, 12, 4, other.order, 7);
    EXPECT_EQ(Compare(log, log), Lines());
    EXPECT_EQ(Compare(log, other), Lines({"~ 2 2 activate-flow: fields.pacTblIdx [index 0] [index 7]"}));
    Store(other.entries[1].in, 12, 4, other.order, 0xFFFFFFFF);
    EXPECT_EQ(Compare(log, other), Lines({"~ 2 2 activate-flow: fields.pacTblIdx [index 0] [none]"}));
}

TEST_F(OrxemuDiffLogs, AReleasedObjectIsNoLongerTheSame) {
    Log log = SampleLog();
    log.entries.push_back(log.entries[4]); // hits of the flow that request 7 took out
    Log other = log;
    other.entries.erase(other.entries.begin() + 6);
    EXPECT_EQ(
        Compare(log, other),
        Lines(
            {"- 7 deactivate-flow",
             "~ 10 9 get-flow-hits: fields.flowIdx [activate-flow 4, taken out before] [activate-flow 4]"}));
}

TEST_F(OrxemuDiffLogs, AnswersCount) {
    const Log log = SampleLog();
    Log other = log;
    other.entries[5].err = EIO;
    EXPECT_EQ(Compare(log, other), Lines({"~ 6 6 set-global: answer.errno [] [EIO]"}));
    other.entries[5].fault = FaultMark::AnswerLost;
    EXPECT_EQ(Compare(log, other),
              Lines({"~ 6 6 set-global: answer.errno [] [EIO] answer.fault [] [answer-lost]"}));
    other = log;
    Store(other.entries[4].out, 8 + 4 * 3, 4, other.order, 55);
    EXPECT_EQ(Compare(log, other), Lines({"~ 5 5 get-flow-hits: answer.hits[3] [0] [55]"}));
}

TEST_F(OrxemuDiffLogs, AnObjectThatTheDriverRefusedIsNoTarget) {
    const Log log = SampleLog();
    Log refused = log;
    refused.entries[3].err = ENOSPC; // the second flow: the index that it is said to have is nobody's
    EXPECT_EQ(Compare(log, refused),
              Lines({"~ 4 4 activate-flow: answer.errno [] [ENOSPC]",
                     "~ 5 5 get-flow-hits: fields.flowIdx [activate-flow 4] [index 1]",
                     "~ 7 7 deactivate-flow: fields.flowIdx [activate-flow 4] [index 1]"}));
    refused.entries[3].fault = FaultMark::AnswerLost; // the hardware has it all the same
    EXPECT_EQ(Compare(log, refused),
              Lines({"~ 4 4 activate-flow: answer.errno [] [ENOSPC] answer.fault [] [answer-lost]"}));
}

TEST_F(OrxemuDiffLogs, OpeningsUnknownRequestsUnreadRecordsAndTheEnd) {
    Log log = SampleLog();
    LogEntry open;
    open.isOpen = true;
    open.err = ENOENT;
    LogEntry unknown;
    unknown.request = 99;
    unknown.err = ENOTTY;
    LogEntry unread;
    unread.request = qir::kOrxSetGblCfg;
    unread.err = EFAULT;
    log.entries.insert(log.entries.end(), {open, unknown, unread});
    EXPECT_EQ(Compare(log, log), Lines());
    Log other = log;
    other.entries[9].err = EACCES;
    other.entries[10].request = 98;
    other.end.openDescriptors = 2;
    EXPECT_EQ(Compare(log, other), Lines({"~ 10 10 open: answer.errno [ENOENT] [EACCES]", "- 11 request 99",
                                          "+ 11 request 98", "~ end end end: openDescriptors [0] [2]"}));
}

TEST_F(OrxemuDiffLogs, TheMostAlikeOfAChangedNeighbourhoodGoTogether) {
    Log log = SampleLog();
    log.entries.resize(3);
    Log other = log;
    // In front of the changed flow another one, quite different.
    LogEntry stranger = log.entries[2];
    for (std::size_t i = 0; i < sizeof(FwdInfo) - 4; ++i) {
        stranger.fcb[offsetof(qir::Fcb, fwdInfo) + i] = static_cast<std::uint8_t>(i);
    }
    Store(stranger.out, 0, 4, log.order, 40);
    Store(other.entries[2].fcb, offsetof(qir::Fcb, fwdInfo) + offsetof(FwdInfo, flowPrio), 4, other.order, 9);
    other.entries.insert(other.entries.begin() + 2, stranger);
    EXPECT_EQ(Compare(log, other),
              Lines({"+ 3 activate-flow", "~ 3 4 activate-flow: fcb.forwarding.flowPrio [0] [9]"}));
}

TEST(OrxemuLeaves, HandlesMeanNothing) {
    for (const char *name : {"hdl", "flowHdl", "epTblHdl", "pacTblHdl"}) {
        Json object;
        object[name] = 3;
        Leaves leaves;
        AddMeaning("", object, leaves);
        EXPECT_EQ(leaves, Leaves()) << name;
    }
}

TEST(OrxemuLeaves, AListOfNamesIsOneValue) {
    for (const char *name : {"aclMask", "ovrd", "fwdAction", "tables"}) {
        Json object;
        object[name] = Json::array({"A", "B"});
        Leaves leaves;
        AddMeaning("", object, leaves);
        EXPECT_EQ(leaves, (Leaves{{name, "A B"}})) << name;
    }
}

} // namespace
