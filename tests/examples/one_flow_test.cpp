// The flow example: what reaches the driver, what it prints, and what it does when an operation fails.
#include "qirapi/private/fcb_records.h"
#include "tests/support/library.h"

#include <cerrno>
#include <cstdlib>

extern "C" {
// one_flow.c, and copies of it whose VLAN ids are other ones.
int one_flow_main(void);
int other_vids_main(void);
int bad_filter_vid_main(void);
int bad_action_vid_main(void);
}

namespace {

class OneFlow : public test::LibraryTest {
  protected:
    void Run(int (*entry)()) {
        output_ = test::CaptureBoth([&] { status_ = entry(); });
    }

    static std::vector<int> Requests() {
        std::vector<int> numbers;
        for (std::size_t i = 0; i < orxemu_numRequests(); ++i) {
            numbers.push_back(orxemu_request(i)->request);
        }
        return numbers;
    }

    test::Output output_;
    int status_ = -1;
};

using Numbers = std::vector<int>;

// The first request behind the head node of a list.
template <class Request> Request FirstRequest(const qir::Fcb &fcb, const qir::HdrEntry &hdr) {
    Request request{};
    std::memcpy(&request, fcb.reqPool[fcb.reqPool[hdr.reqList].next].req, sizeof request);
    return request;
}

// The flow as the hardware got it.
void ExpectTranslation(uint16_t customerVid, uint16_t networkVid) {
    const OrxEmuRequest *const activation = orxemu_request(0);
    ASSERT_NE(activation, nullptr);
    ASSERT_EQ(activation->request, 29);
    ASSERT_EQ(activation->fcbSize, sizeof(qir::Fcb));
    qir::Fcb fcb;
    std::memcpy(&fcb, activation->fcb, sizeof fcb);

    EXPECT_EQ(fcb.fwdInfo.flowPrio, 0u);
    EXPECT_EQ(fcb.fwdInfo.src.portMask, 0x01u);
    EXPECT_EQ(fcb.fwdInfo.dst.portMask, 0x80u);
    EXPECT_EQ(fcb.fwdInfo.dst.gemPortIdxMask, 0x08u);
    EXPECT_EQ(fcb.fwdInfo.dst.gemQid[3], 7);
    EXPECT_EQ(fcb.fwdInfo.fwdAction, 2u);

    EXPECT_EQ(fcb.filterBlk.hdrBmap, 0x3);
    EXPECT_EQ(fcb.filterBlk.eth.hdr.reqCount, 0);
    ASSERT_EQ(fcb.filterBlk.vlan[0].hdr.reqCount, 1);
    const auto filter = FirstRequest<VlanFilter>(fcb, fcb.filterBlk.vlan[0].hdr);
    EXPECT_EQ(filter.toTagNum, 0u);
    EXPECT_EQ(filter.type, e_VLAN_FILT_VID);
    EXPECT_EQ(filter.cmpOp, e_CMP_EQ);
    EXPECT_EQ(filter.val.vid, customerVid);

    EXPECT_EQ(fcb.actionBlk.hdrBmap, 0x3);
    EXPECT_EQ(fcb.actionBlk.eth.reqCount, 0);
    ASSERT_EQ(fcb.actionBlk.vlan[0].reqCount, 1);
    const auto action = FirstRequest<VlanAction>(fcb, fcb.actionBlk.vlan[0]);
    EXPECT_EQ(action.toTagNum, 0u);
    EXPECT_EQ(action.type, e_VLAN_ACTION_SET_VID);
    EXPECT_EQ(action.val.vid, networkVid);
}

TEST_F(OneFlow, TranslatesTheVlanIdAndLeavesNothingBehind) {
    Run(one_flow_main);
    EXPECT_EQ(status_, EXIT_SUCCESS);
    EXPECT_EQ(output_.out, "flow 0 is active: VLAN id 200 becomes 1200\n"
                           "hits: 0 0 0 0 0 0 0 0\n");
    EXPECT_EQ(output_.err, "");
    EXPECT_EQ(Requests(), (Numbers{29, 38, 30}));
    ExpectTranslation(200, 1200);
    EXPECT_EQ(orxemu_state()->flow[0].active, 0);
    EXPECT_EQ(Is_Orx_free(0), 1u);
}

TEST_F(OneFlow, TakesTheVlanIdsThatItsReaderWritesAtTheTop) {
    Run(other_vids_main);
    EXPECT_EQ(status_, EXIT_SUCCESS);
    EXPECT_EQ(output_.out, "flow 0 is active: VLAN id 10 becomes 4095\n"
                           "hits: 0 0 0 0 0 0 0 0\n");
    ExpectTranslation(10, 4095);
}

TEST_F(OneFlow, NamesTheOperationThatRefusesAVlanId) {
    struct Row {
        int (*entry)();
        const char *operation;
        const char *message;
    };
    const Row rows[] = {
        {bad_filter_vid_main, "QIR_Config_VlanFilter",
         "one_flow: cannot match the customer's VLAN id: QIR_Config_VlanFilter returned 25\n"},
        {bad_action_vid_main, "QIR_Config_VlanAction",
         "one_flow: cannot set the network's VLAN id: QIR_Config_VlanAction returned 25\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.operation);
        Run(row.entry);
        EXPECT_EQ(status_, EXIT_FAILURE);
        EXPECT_EQ(output_.err, row.message);
        EXPECT_NE(test::Mask(output_.out).find(test::RetVal(row.operation, 25)), std::string::npos)
            << output_.out;
        EXPECT_EQ(Requests(), Numbers{});
        EXPECT_EQ(Is_Orx_free(0), 1u);
    }
}

TEST_F(OneFlow, CleansUpWhenTheDriverRefuses) {
    struct Row {
        int request;
        const char *messages;
        Numbers requests;
        int active; // in the hardware, at the end
        uint32_t isFree;
    };
    const Row rows[] = {
        {29,
         "pktOrxDevIoctl <29> error\n"
         "one_flow: cannot activate the flow: QIR_Activate_FCB returned 1, the driver is missing or "
         "refused\n",
         {29},
         0,
         1},
        {38,
         "pktOrxDevIoctl <38> error\n"
         "one_flow: cannot read the hit counters: QIR_Get_FCBHits returned 1, the driver is missing or "
         "refused\n",
         {29, 38, 30},
         0,
         1},
        {30,
         "pktOrxDevIoctl <30> error\n"
         "one_flow: cannot deactivate the flow: QIR_Deactivate_FCB returned 1, the driver is missing or "
         "refused\n"
         "one_flow: cannot free the flow: QIR_Free_FCB returned 15\n",
         {29, 38, 30},
         1,
         0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.request);
        orxemu_reset();
        orxemu_failRequest(row.request, 1, EIO);
        Run(one_flow_main);
        EXPECT_EQ(status_, EXIT_FAILURE);
        EXPECT_EQ(output_.err, row.messages);
        EXPECT_EQ(Requests(), row.requests);
        EXPECT_EQ(orxemu_state()->flow[0].active, row.active);
        EXPECT_EQ(Is_Orx_free(0), row.isFree);
    }
}

TEST_F(OneFlow, SaysThatTheDeviceIsMissing) {
    orxemu_setPresent(0);
    Run(one_flow_main);
    EXPECT_EQ(status_, EXIT_FAILURE);
    EXPECT_EQ(output_.err, "qel_dev_open </dev/pktorx> error no 2\n"
                           "one_flow: cannot activate the flow: QIR_Activate_FCB returned 1, the driver is "
                           "missing or refused\n");
}

} // namespace
