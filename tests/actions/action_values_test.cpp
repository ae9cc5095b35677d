// Value limits of actions, on both sides. Validation looks at the request alone.
#include "qirapi/private/actions.h"
#include "tests/actions/action_kit.h"

#include <set>

namespace test {
namespace {

class ActionValues : public ActionFlowTest {
  protected:
    void Expect(const ActionMember &m, const AnyAction &req, bool accepted) {
        const ContextSnapshot before;
        u32 code = 99;
        const std::string out = CaptureMasked([&] { code = m.validateConfig(&req); });
        EXPECT_EQ(code, accepted ? 0u : 25u);
        EXPECT_EQ(out, accepted ? "" : CodeLine(m.Fn("Validate_Config_"), "e_RET_ERR_INVALID_PARAM"));
        EXPECT_TRUE(before.Unchanged());
    }
};

struct Limit {
    const char *header;
    u32 type;
    std::vector<u32> accepted;
    std::vector<u32> refused;
};

const std::vector<u32> kAnyWord = {0, 1, 255, 256, 65535, 0x80000000, 0xFFFFFFFF};
const std::vector<u32> kNoTag = {2, 3, 255, 256, 257, 0x10000, 0x10001, 0x01000000, 0x80000000, 0xFFFFFFFF};

const Limit kLimits[] = {
    {"Eth", 0, {0, 1, 255}, {}},
    {"Eth", 1, {0, 1, 255}, {}},
    {"Eth", 2, {0x0600, 0x0601, 0x0800, 0x8000, 0xFFFF}, {0, 1, 0x00FF, 0x0100, 0x05FE, 0x05FF}},
    {"Eth", 3, {0}, {}},
    {"Eth", 4, {0}, {}},
    {"Vlan[0]", 0, kAnyWord, {}},
    {"Vlan[0]", 1, {0, 1, 0x8100, 0xFFFF}, {}},
    {"Vlan[0]", 2, {0, 1, 0x8000, 0xFFFF}, {}},
    {"Vlan[0]", 3, {0, 1, 6, 7}, {8, 9, 128, 255}},
    {"Vlan[0]", 4, {0, 1}, {2, 3, 128, 255}},
    {"Vlan[0]", 5, {0, 1, 255, 256, 4094, 4095}, {4096, 4097, 0x8000, 0xFFFF}},
    {"Vlan[0]", 6, {1}, {0}},
    {"Vlan[0]", 7, {1}, {0}},
    {"Vlan[0]", 8, {1}, {0}},
    {"Vlan[0]", 9, {1}, {0}},
    {"Vlan[0]", 10, {1}, {0}},
    {"Vlan[0]", 11, {1}, {0}},
    {"Vlan[0]", 6, {}, kNoTag},
    {"Vlan[0]", 7, {}, kNoTag},
    {"Vlan[0]", 8, {}, kNoTag},
    {"Vlan[0]", 9, {}, kNoTag},
    {"Vlan[0]", 10, {}, kNoTag},
    {"Vlan[0]", 11, {}, kNoTag},
    {"Vlan[0]", 12, kAnyWord, {}},
    {"Vlan[0]", 13, kAnyWord, {}},
    {"Vlan[1]", 0, kAnyWord, {}},
    {"Vlan[1]", 1, {0, 0xFFFF}, {}},
    {"Vlan[1]", 2, {0, 0xFFFF}, {}},
    {"Vlan[1]", 3, {0, 7}, {8, 255}},
    {"Vlan[1]", 4, {0, 1}, {2, 255}},
    {"Vlan[1]", 5, {0, 4095}, {4096, 0xFFFF}},
    {"Vlan[1]", 6, {0}, {1}},
    {"Vlan[1]", 7, {0}, {1}},
    {"Vlan[1]", 8, {0}, {1}},
    {"Vlan[1]", 9, {0}, {1}},
    {"Vlan[1]", 10, {0}, {1}},
    {"Vlan[1]", 11, {0}, {1}},
    {"Vlan[1]", 6, {}, kNoTag},
    {"Vlan[1]", 7, {}, kNoTag},
    {"Vlan[1]", 8, {}, kNoTag},
    {"Vlan[1]", 9, {}, kNoTag},
    {"Vlan[1]", 10, {}, kNoTag},
    {"Vlan[1]", 11, {}, kNoTag},
    {"Vlan[1]", 12, kAnyWord, {}},
    {"Vlan[1]", 13, kAnyWord, {}},
    {"Pppoe", 0, kAnyWord, {}},
    {"Ipv4", 0, kAnyWord, {}},
    {"Ipv4", 1, kAnyWord, {}},
    {"Ipv4", 2, {0, 1, 63, 64, 254, 255}, {}},
    {"Ipv4", 3, {0, 1, 63, 64, 254, 255}, {}},
    {"Tcp", 0, {0, 1, 65535}, {}},
    {"Tcp", 1, {0, 1, 65535}, {}},
    {"Udp", 0, {0, 1, 65535}, {}},
    {"Udp", 1, {0, 1, 65535}, {}},
};

// Bytes that do not belong to the value (the rest of the value area) are not looked at, whatever they hold.
TEST_F(ActionValues, LimitsOnBothSides) {
    std::set<std::pair<std::string, u32>> seen;
    for (const Limit &limit : kLimits) {
        const ActionMember &m = ActionOf(limit.header);
        seen.insert({limit.header, limit.type});
        for (const u8 fill : {u8{0x00}, u8{0xFF}}) {
            SCOPED_TRACE(m.Label() + " " + m.types[limit.type].name + " spare bytes " + std::to_string(fill));
            for (const u32 value : limit.accepted) {
                SCOPED_TRACE(value);
                Expect(m, MakeAction(m, limit.type, value, fill), true);
            }
            for (const u32 value : limit.refused) {
                SCOPED_TRACE(value);
                Expect(m, MakeAction(m, limit.type, value, fill), false);
            }
        }
    }
    EXPECT_EQ(seen.size(), 5u + 2 * 14u + 1u + 4u + 2u + 2u) << "a type is missing from the table";
}

// The word behind an IPv4 address is printed as a prefix length, but any value is stored.
TEST_F(ActionValues, WordBehindAnAddressIsNotChecked) {
    const ActionMember &m = ActionOf("Ipv4");
    for (const u32 type : {e_IPV4_ACTION_DA, e_IPV4_ACTION_SA}) {
        AnyAction req = GoodAction(m, type);
        req.ipv4.val.ip.prefixLen = 33;
        Expect(m, req, true);
        req.ipv4.val.ip.prefixLen = 0xFFFFFFFF;
        Expect(m, req, true);
    }
}

TEST_F(ActionValues, EveryValueOfTheSmallTypes) {
    const struct {
        const char *header;
        u32 type;
        u32 lowest, highest, last;
    } rows[] = {{"Eth", e_ETH_ACTION_ETHTYPE, 0x0600, 0xFFFF, 0xFFFF},
                {"Vlan[0]", e_VLAN_ACTION_SET_TPID, 0, 0xFFFF, 0xFFFF},
                {"Vlan[0]", e_VLAN_ACTION_SET_TCI, 0, 0xFFFF, 0xFFFF},
                {"Vlan[0]", e_VLAN_ACTION_SET_PBITS, 0, 7, 0xFF},
                {"Vlan[0]", e_VLAN_ACTION_SET_DEI, 0, 1, 0xFF},
                {"Vlan[0]", e_VLAN_ACTION_SET_VID, 0, 4095, 0xFFFF},
                {"Ipv4", e_IPV4_ACTION_TOS, 0, 255, 0xFF},
                {"Ipv4", e_IPV4_ACTION_DSCP, 0, 255, 0xFF}};
    Findings findings;
    Capture([&] {
        for (const auto &row : rows) {
            const ActionMember &m = ActionOf(row.header);
            for (u32 value = 0; value <= row.last; ++value) {
                const AnyAction req = MakeAction(m, row.type, value);
                if (m.validateConfig(&req) != (value >= row.lowest && value <= row.highest ? 0u : 25u)) {
                    findings.Add(m.Label() + " " + m.types[row.type].name + " value " +
                                 std::to_string(value));
                }
            }
        }
    });
    EXPECT_EQ(findings.Text(), "");
}

// The value comes before the exclusion rules, so that a refused value records nothing.
TEST_F(ActionValues, RefusedValueChangesNothing) {
    const struct {
        const char *header;
        u32 type;
        u32 value;
    } rows[] = {{"Eth", 2, 0x05FF},   {"Vlan[0]", 3, 8}, {"Vlan[1]", 4, 2},
                {"Vlan[0]", 5, 4096}, {"Vlan[1]", 6, 1}, {"Vlan[0]", 11, 2}};
    for (const auto &row : rows) {
        const ActionMember &m = ActionOf(row.header);
        SCOPED_TRACE(m.Label() + " " + m.types[row.type].name);
        const ContextSnapshot before;
        EXPECT_EQ(CaptureMasked([&] { Config(m, MakeAction(m, row.type, row.value)); }),
                  CodeLine(m.Fn("Validate_Config_"), "e_RET_ERR_INVALID_PARAM") +
                      RetVal(m.Fn("QIR_Config_"), 25));
        EXPECT_TRUE(before.Unchanged());
        EXPECT_EQ(Config(m, GoodAction(m, row.type)), 0u) << "the type is still free";
        Restore();
    }
}

} // namespace
} // namespace test
