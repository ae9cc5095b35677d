// Every request's record in both byte orders, written by hand.
#include "tests/journal/image.h"

namespace {

using namespace journal_test;
using namespace orxemu::journal;

struct RecordCase {
    const char *request;
    std::size_t size;
    void (*put)(Image &image);
    const char *fields;
};

void PutAsEntry(Image &image, std::size_t at) {
    image.PutBytes(at, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
    image.PutBytes(at + 12, {0xA0, 0xB1, 0xC2, 0xD3, 0xE4, 0xF5, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06});
    image.Put32(at + 24, 0x0A000102).Put32(at + 28, 24).Put16(at + 32, 0x0800).Put16(at + 34, 100);
    image.Put16(at + 36, 4095).Put16(at + 38, 8080).Put8(at + 40, 17);
    image.Put32(at + 44, 0x20000203).Put32(at + 48, 1);
}

// Slot 0 holds an entry, the others none.
void PutAsTable(Image &image) {
    image.Put32(4, 0x7700C30F).Put32(8, 0x01020304).Put32(12, 0x105).Put16(16, 3).Put32(20, 2);
    for (std::size_t slot = 0; slot < 8; ++slot) {
        image.Put32(24 + 56 * slot + 52, slot == 0 ? 1 : 0);
    }
    PutAsEntry(image, 24);
}

void PutDscpTable(Image &image) {
    image.Put32(4, 5).Put32(8, 0xFFFFFFFF).Put32(12, 8).Put8(16, 7).Put16(20, 0x0102).Put32(24, 3);
    for (unsigned dscp = 0; dscp < 64; ++dscp) {
        image.Put8(28 + dscp, dscp % 8);
    }
}

void PutPacCfg(Image &image, std::size_t at, unsigned ovrd) {
    image.Put16(at, ovrd).Put8(at + 2, 31).Put8(at + 3, 6);
    image.Put32(at + 4, 1).PutBytes(at + 8, {12, 2, 0xAB, 0xCD, 0xF0, 0x0F});
    image.Put32(at + 16, 0).PutBytes(at + 20, {0, 0, 0, 0, 0, 0});
}

void PutPacTable(Image &image) {
    image.Put32(4, 9).Put32(8, 6).Put16(40, 511).Put32(44, 9);
    PutPacCfg(image, 12, 0x1D);
    for (unsigned pbits = 0; pbits < 8; ++pbits) {
        PutPacCfg(image, 48 + 28 * pbits, pbits == 7 ? 0x8002 : 0);
    }
}

void PutFlow(Image &image) {
    image.Put32(4, 1884).Put32(8, 0x08049F40).Put32(12, 5).Put32(16, 0xFFFFFFFF);
}

void PutFwdInfo(Image &image, std::size_t at) {
    image.Put32(at, 31).Put32(at + 4, 0x80000001).Put32(at + 8, 0x81);
    for (unsigned gem = 0; gem < 32; ++gem) {
        image.Put8(at + 12 + gem, gem % 8);
    }
    image.Put32(at + 44, 0x12345678).PutBytes(at + 48, {0, 1, 2, 3, 4, 5, 6, 7, 8});
    image.Put32(at + 60, 0x1FF).Put32(at + 64, 0x0E);
}

const char kAsTableFields[] = R"("tbl":{"hdl":15,"hwTblIdx":16909060,"cfg":{"srcPortMask":261},"refCnt":3,
  "status":"e_STATUS_CFG","ent":[
  {"ent":{"macDA":"00:11:22:33:44:55","macDAMask":"ff:ff:ff:ff:ff:00","macSA":"a0:b1:c2:d3:e4:f5",
   "macSAMask":"01:02:03:04:05:06","ipAddr":"10.0.1.2","ipPrefixLen":24,"ethType":2048,"vlanTag0":100,
   "vlanTag1":4095,"destPort":8080,"ipProto":17,
   "aclMask":["AS_ENT_MASK_MAC_SA","AS_ENT_MASK_IP","AS_ENT_MASK_MAC_DA",536870912],"aclType":1},
   "status":"e_STATUS_ALLOC"},
  {"ent":"unset","status":"e_STATUS_FREE"},{"ent":"unset","status":"e_STATUS_FREE"},
  {"ent":"unset","status":"e_STATUS_FREE"},{"ent":"unset","status":"e_STATUS_FREE"},
  {"ent":"unset","status":"e_STATUS_FREE"},{"ent":"unset","status":"e_STATUS_FREE"},
  {"ent":"unset","status":"e_STATUS_FREE"}]})";
const char kDscpTableFields[] =
    R"("tbl":{"hdl":5,"hwTblIdx":4294967295,"cfg":{"srcPort":8,"pbits":7},"refCnt":258,
  "status":"e_STATUS_ACTIVE","pbits":[0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,
  0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7]})";

#define RAW_ACTIONS                                                                                             \
    R"("dstGemPort":31,"dstQid":6,"rawAction":[{"type":1,"ofst":12,"size":2,"val":[171,205],"mask":[240,15]},)" \
    R"({"type":0,"ofst":0,"size":0,"val":[0,0],"mask":[0,0]}])"
const char kPacTableFields[] =
    R"("tbl":{"hdl":9,"hwTblIdx":6,"cfg":{"ovrd":["PAC_OVRD_HW_A","PAC_OVRD_DSTQID_A","PAC_OVRD_DSTGEMPORT",)"
    R"("PAC_OVRD_DSTQID_B"],)" RAW_ACTIONS R"(},"refCnt":511,"status":9,"ent":[)"
    R"({"ovrd":[],)" RAW_ACTIONS R"(},{"ovrd":[],)" RAW_ACTIONS R"(},{"ovrd":[],)" RAW_ACTIONS
    R"(},{"ovrd":[],)" RAW_ACTIONS R"(},{"ovrd":[],)" RAW_ACTIONS R"(},{"ovrd":[],)" RAW_ACTIONS
    R"(},{"ovrd":[],)" RAW_ACTIONS R"(},{"ovrd":["PAC_OVRD_UNCHECKED",32768],)" RAW_ACTIONS "}]}";

std::string With(const char *index, const char *fields) {
    return "{\"index\":" + std::string(index) + "," + fields + "}";
}

const std::string kActivateAs = With("\"unset\"", kAsTableFields);
const std::string kDeactivateAs = With("258", kAsTableFields);
const std::string kActivateDscp = With("\"unset\"", kDscpTableFields);
const std::string kDeactivateDscp = With("258", kDscpTableFields);
const std::string kActivatePac = With("\"unset\"", kPacTableFields);
const std::string kDeactivatePac = With("258", kPacTableFields);

// "port" cases: only the part that the type names is set.
const RecordCase kRecords[] = {
    {"set-global", 8, [](Image &image) { image.Put32(0, 1).Put32(4, 2); },
     R"({"cfgType":"flowMissAction","flowMissAction":2})"},
    {"set-global", 8, [](Image &image) { image.Put32(0, 7).Put32(4, 0x01020304); },
     R"({"cfgType":7,"flowMissAction":16909060})"},
    {"set-port", 32, [](Image &image) { image.Put32(0, 1).Put32(4, 8).Put32(8, 1); },
     R"({"cfgType":"defAcl","defAcl":{"srcPort":8,"aclType":1},"tpid":"unset","pad":"unset"})"},
    {"set-port", 32,
     [](Image &image) {
         image.Put32(0, 2).Put32(12, 3).Put16(16, 0x8100).Put16(18, 0x88A8).Put16(20, 0x9100).Put16(22, 1);
     },
     R"({"cfgType":"tpid","defAcl":"unset","tpid":{"portId":3,"tpid":[33024,34984,37120,1]},"pad":"unset"})"},
    {"set-port", 32, [](Image &image) { image.Put32(0, 4).Put32(24, 7).Put32(28, 255); },
     R"({"cfgType":"pad","defAcl":"unset","tpid":"unset","pad":{"srcPort":7,"padLen":255}})"},
    {"set-port", 32, [](Image &image) { image.Put32(0, 3); },
     R"({"cfgType":3,"defAcl":"unset","tpid":"unset","pad":"unset"})"},
    {"activate-as-table", 472, PutAsTable, kActivateAs.c_str()},
    {"deactivate-as-table", 472,
     [](Image &image) {
         image.Put32(0, 258);
         PutAsTable(image);
     },
     kDeactivateAs.c_str()},
    {"activate-dscp-table", 92, PutDscpTable, kActivateDscp.c_str()},
    {"deactivate-dscp-table", 92,
     [](Image &image) {
         image.Put32(0, 258);
         PutDscpTable(image);
     },
     kDeactivateDscp.c_str()},
    {"activate-pac-table", 272, PutPacTable, kActivatePac.c_str()},
    {"deactivate-pac-table", 272,
     [](Image &image) {
         image.Put32(0, 258);
         PutPacTable(image);
     },
     kDeactivatePac.c_str()},
    {"activate-flow", 20, PutFlow,
     R"({"flowIdx":"unset","fcbSize":1884,"fcbAddr":134520640,"pacTblIdx":5,"epTblIdx":-1})"},
    {"deactivate-flow", 20,
     [](Image &image) {
         image.Put32(0, 511);
         PutFlow(image);
     },
     R"({"flowIdx":511,"fcbSize":1884,"fcbAddr":134520640,"pacTblIdx":5,"epTblIdx":-1})"},
    {"get-flow-hits", 40, [](Image &image) { image.Put32(0, 258).Fill(4, 36, 0); },
     R"({"flowIdx":258,"hits":{"numFlows":0,"hits":[0,0,0,0,0,0,0,0]}})"},
    {"set-rl-status", 4, [](Image &image) { image.Put32(0, 1); }, R"({"rlStatus":1})"},
    {"set-rl-tci", 12, [](Image &image) { image.Put32(4, 1).Put16(8, 0x0102).Put16(10, 0xFFFE); },
     R"({"notSet":"unset","rlDir":1,"rlTciCfg":{"tci":[258,65534]}})"},
    {"activate-rl", 32,
     [](Image &image) {
         image.Put32(4, 1).Put32(12, 15).Put32(16, 7).Put32(20, 8064).Put32(24, 0).Put32(28, 900);
     },
     R"({"notSet0":"unset","rlDir":1,"notSet8":"unset","rlIndex":15,
        "rlEnt":{"tci":7,"cirRate":8064,"cirUnit":0,"cbs":900}})"},
    {"deactivate-rl", 32,
     [](Image &image) {
         image.Put32(4, 0).Put32(12, 3).Put32(16, 0xABCD).Put32(20, 0).Put32(24, 0).Put32(28, 0);
     },
     R"({"notSet0":"unset","rlDir":0,"notSet8":"unset","rlIndex":3,
        "rlEnt":{"tci":43981,"cirRate":0,"cirUnit":0,"cbs":0}})"},
    // Not set as a whole: a destination was added, and its queue written.
    {"update-forwarding", 72,
     [](Image &image) {
         image.Put32(0, 5)
             .Fill(4, 68, 0xA5)
             .Put32(4, 0)
             .Put32(12, 0)
             .Put32(48, 0)
             .Put8(52, 7)
             .Put8(60, 0)
             .Put32(64, 3);
         image.Put32(68, 4);
     },
     R"({"flowIdx":5,"fwdInfo":{"flowPrio":0,"src":{"gemPortIdxMask":"unset","portMask":0},
        "dst":{"gemQid":"unset","gemPortIdxMask":0,"portQid":[7,"unset","unset","unset","unset","unset",
        "unset","unset",0],"portMask":3},"fwdAction":["e_FWD_ACTION_LRN_ENABLE"]}})"},
    // Set as a whole: the bytes are numbers, whichever they are.
    {"update-forwarding", 72,
     [](Image &image) {
         image.Put32(0, 5)
             .Fill(4, 68, 0xA5)
             .Put32(4, 0)
             .Put32(12, 128)
             .Put32(48, 0)
             .Put32(64, 3)
             .Put32(68, 1);
     },
     R"({"flowIdx":5,"fwdInfo":{"flowPrio":0,"src":{"gemPortIdxMask":2779096485,"portMask":128},
        "dst":{"gemQid":[165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,165,
        165,165,165,165,165,165,165,165,165,165,165],"gemPortIdxMask":0,
        "portQid":[165,165,165,165,165,165,165,165,165],"portMask":3},"fwdAction":["e_FWD_ACTION_DROP"]}})"},
    {"update-forwarding", 72,
     [](Image &image) {
         image.Put32(0, 400);
         PutFwdInfo(image, 4);
     },
     R"({"flowIdx":400,"fwdInfo":{"flowPrio":31,"src":{"gemPortIdxMask":2147483649,"portMask":129},
        "dst":{"gemQid":[0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7,0,1,2,3,4,5,6,7],
        "gemPortIdxMask":305419896,"portQid":[0,1,2,3,4,5,6,7,8],"portMask":511},
        "fwdAction":["e_FWD_ACTION_ARL_OVRD","e_FWD_ACTION_LRN_ENABLE",8]}})"},
};

Bytes MakeRecord(const RecordCase &c, ByteOrder order) {
    Image image(c.size, order);
    c.put(image);
    return image.bytes();
}

const RequestInfo &InfoOf(const RecordCase &c) {
    return *qir::FindRequest(c.request);
}

std::string Context(const RecordCase &c, ByteOrder order) {
    return std::string(c.request) + ", " + NameOf(order) + ", " + c.fields;
}

TEST(JournalRecords, EveryRequestIsInTheTableOfCases) {
    for (const RequestInfo &info : qir::kRequestTable) {
        const bool found = std::ranges::any_of(
            kRecords, [&info](const RecordCase &c) { return std::string(c.request) == info.name; });
        EXPECT_TRUE(found) << info.name;
    }
}

TEST(JournalRecords, EveryRecordDecodesFromBothOrders) {
    for (const RecordCase &c : kRecords) {
        for (const ByteOrder order : kBothOrders) {
            ASSERT_EQ(c.size, InfoOf(c).recordSize) << c.request;
            const Json decoded = DecodeRecord(InfoOf(c), MakeRecord(c, order), order);
            EXPECT_EQ(Json::parse(c.fields).dump(1), decoded.dump(1)) << Context(c, order);
        }
    }
}

TEST(JournalRecords, AConvertedRecordIsTheOneOfTheOtherOrder) {
    for (const RecordCase &c : kRecords) {
        for (const ByteOrder order : kBothOrders) {
            Bytes record = MakeRecord(c, order);
            ConvertRecord(InfoOf(c), record, order);
            EXPECT_EQ(MakeRecord(c, Other(order)), record) << Context(c, order);
            ConvertRecord(InfoOf(c), record, Other(order));
            EXPECT_EQ(MakeRecord(c, order), record) << Context(c, order) << " and back";
        }
    }
}

TEST(JournalRecords, OtherNumbersAndNamesAreNoRequests) {
    for (const int number : {-1, 0, 16, 18, 20, 25, 26, 31, 37, 44, 0x7FFFFFFF}) {
        EXPECT_EQ(nullptr, qir::FindRequest(number)) << number;
    }
    for (const char *name : {"", "activate", "activate-flo", "activate-flows", "Activate-flow", "29"}) {
        EXPECT_EQ(nullptr, qir::FindRequest(name)) << name;
    }
}

TEST(JournalRecords, AnswersAreAssignedIndexesAndHitCounters) {
    for (const ByteOrder order : kBothOrders) {
        for (const RequestInfo &info : qir::kRequestTable) {
            Image image(info.recordSize, order);
            image.Put32(0, 258);
            Json expected = Json::object();
            if (info.assigns()) {
                expected["index"] = 258;
            } else if (info.number == 38) {
                for (unsigned i = 0; i < 9; ++i) {
                    image.Put32(4 + 4 * i, 0x01020300 + i);
                }
                expected["numFlows"] = 0x01020300;
                for (unsigned i = 1; i < 9; ++i) {
                    expected["hits"].push_back(0x01020300 + i);
                }
            }
            EXPECT_EQ(expected.dump(), DecodeAnswer(info, image.bytes(), order).dump()) << info.name;
        }
    }
}

struct TableCase {
    IndexKind kind;
    std::size_t size;
    void (*put)(Image &image);
    const std::string *fields;
};

const TableCase kTables[] = {
    {IndexKind::AsTable, 468, PutAsTable, &kActivateAs},
    {IndexKind::DscpTable, 88, PutDscpTable, &kActivateDscp},
    {IndexKind::PacTable, 268, PutPacTable, &kActivatePac},
};

Bytes MakeTable(const TableCase &c, ByteOrder order) {
    Image image(4 + c.size, order);
    c.put(image);
    return {image.bytes().begin() + 4, image.bytes().end()};
}

TEST(JournalRecords, TablesDecodeAndConvertWithoutTheirIndexWord) {
    for (const TableCase &c : kTables) {
        EXPECT_EQ(c.size, TableRow(kTableKinds, c.kind).recordSize);
        for (const ByteOrder order : kBothOrders) {
            Bytes record = MakeTable(c, order);
            EXPECT_EQ(Json::parse(*c.fields)["tbl"].dump(1), DecodeTable(c.kind, record, order).dump(1));
            ConvertTable(c.kind, record, order);
            EXPECT_EQ(MakeTable(c, Other(order)), record) << c.size;
        }
    }
}

TEST(JournalRecords, ALimitersConfigurationDecodesAndConverts) {
    const auto make = [](ByteOrder order) {
        return Image(16, order).Put32(0, 0x01020304).Put32(4, 1000).Put32(8, 1).Put32(12, 77).bytes();
    };
    for (const ByteOrder order : kBothOrders) {
        Bytes cfg = make(order);
        EXPECT_EQ(R"({"tci":16909060,"cirRate":1000,"cirUnit":1,"cbs":77})", DecodeRlCfg(cfg, order).dump());
        ConvertRlCfg(cfg, order);
        EXPECT_EQ(make(Other(order)), cfg);
    }
}

TEST(JournalRecords, ForwardingInformationDecodesByItself) {
    for (const ByteOrder order : kBothOrders) {
        Image image(68, order);
        PutFwdInfo(image, 0);
        EXPECT_EQ(Json::parse(kRecords[std::size(kRecords) - 1].fields)["fwdInfo"].dump(1),
                  DecodeFwdInfo(image.bytes(), order).dump(1));
    }
}

} // namespace
