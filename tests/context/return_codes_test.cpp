// The return codes: numbers, names, and how a refusal and the end of an operation are printed.
#include "qirapi/private/report.h"
#include "tests/support/library.h"

#include <iterator>

namespace context_test {
namespace {

struct Code {
    unsigned value;
    const char *name;
    int constant;
};

#define CODE(value, name)                                                                                    \
    { value, #name, name }

const Code kCodes[] = {
    CODE(2, e_RET_ERR_NULL_PTR),
    CODE(3, e_RET_ERR_INVALID_HDL),
    CODE(6, e_RET_ERR_NO_SUCH_ENTRY),
    CODE(7, e_RET_ERR_OVERFLOW),
    CODE(9, e_RET_ERR_REQOUTOFORDER),
    CODE(10, e_RET_ERR_HDROUTOFORDER),
    CODE(11, e_RET_ERR_HDRNOTCFG),
    CODE(12, e_RET_ERR_RESRC_UNAVAIL),
    CODE(13, e_RET_ERR_RESRC_BUSY),
    CODE(14, e_RET_ERR_RESRC_NOT_ACTIVE),
    CODE(15, e_RET_ERR_RESRC_ALREADY_ACTIVE),
    CODE(17, e_RET_ERR_STATE_NOTCFG),
    CODE(18, e_RET_ERR_STATE_NOT_ACTIVE),
    CODE(19, e_RET_ERR_STATE_ALREADY_ACTIVE),
    CODE(21, e_RET_ERR_INVALID_CMPOPSEQ),
    CODE(22, e_RET_ERR_INVALID_FILTSEQ),
    CODE(23, e_RET_ERR_INVALID_ACTIONSEQ),
    CODE(25, e_RET_ERR_INVALID_PARAM),
    CODE(27, e_RET_ERR_INVALID_SECTION),
    CODE(28, e_RET_ERR_INVALID_NUMFLOWS),
    CODE(30, e_RET_ERR_INVALID_FWDACTION),
    CODE(36, e_RET_ERR_INVALID_SRCPORT),
    CODE(37, e_RET_ERR_INVALID_SRCPORTMASK),
    CODE(39, e_RET_ERR_INVALID_DSTPORTMASK),
    CODE(40, e_RET_ERR_INVALID_DSTQID),
    CODE(41, e_RET_ERR_INVALID_GEMPORTIDXMASK),
    CODE(42, e_RET_ERR_INVALID_HDRTYPE),
    CODE(43, e_RET_ERR_INVALID_BLOCKTYPE),
    CODE(44, e_RET_ERR_INVALID_TAGNUM),
    CODE(45, e_RET_ERR_INVALID_CONFIGOPER),
    CODE(46, e_RET_ERR_INVALID_CMPOPER),
    CODE(47, e_RET_ERR_INVALID_FILT),
    CODE(48, e_RET_ERR_INVALID_ACTION),
    CODE(49, e_RET_ERR_INVALID_ASENT),
    CODE(50, e_RET_ERR_INVALID_ASOVRD),
    CODE(51, e_RET_ERR_INVALID_ACLTYPE),
    CODE(52, e_RET_ERR_INVALID_OVRD),
    CODE(53, e_RET_ERR_INVALID_ENTIDX),
    CODE(54, e_RET_ERR_INVALID_IPPREFIXLENVAL),
    CODE(55, e_RET_ERR_INVALID_PBITS),
    CODE(56, e_RET_ERR_INVALID_DSCPVAL),
    CODE(57, e_RET_ERR_INVALID_GEMPORTIDX),
    CODE(59, e_RET_ERR_INVALID_FLOWPRIO),
    CODE(60, e_RET_ERR_INVALID_TBLSTATUS),
    CODE(61, e_RET_ERR_INVALID_ETHTYPE),
    CODE(62, e_RET_ERR_INVALID_VLANTAG),
    CODE(63, e_RET_ERR_INVALID_PBITS_SOURCE),
    CODE(64, e_RET_ERR_INVALID_RAWACTION_TYPE),
    CODE(65, e_RET_ERR_INVALID_RAWACTION_OFFSET),
    CODE(66, e_RET_ERR_INVALID_RAWACTION_SIZE),
    CODE(67, e_RET_ERR_INVALID_PADLEN),
    CODE(68, e_RET_ERR_INVALID_RLSTATUS),
    CODE(69, e_RET_ERR_INVALID_RLINDEX),
    CODE(70, e_RET_ERR_INVALID_RLDIR),
    CODE(71, e_RET_ERR_INVALID_RLUNIT),
    CODE(72, e_RET_ERR_INVALID_RLRATE),
};

#undef CODE

// 0 and 1 have no name; these are kept unused.
const unsigned kUnusedCodes[] = {4, 5, 8, 16, 20, 24, 26, 29, 31, 32, 33, 34, 35, 38, 58};

const char *ExpectedName(unsigned value) {
    for (const Code &code : kCodes) {
        if (code.value == value) {
            return code.name;
        }
    }
    return nullptr;
}

TEST(ReturnCodes, HaveTheirNumbers) {
    EXPECT_EQ(e_RET_OK, 0);
    EXPECT_EQ(e_RET_DRIVER_FAILURE, 1);
    for (const Code &code : kCodes) {
        EXPECT_EQ(static_cast<unsigned>(code.constant), code.value) << code.name;
    }
}

TEST(ReturnCodes, HaveTheNamesThatLogsPrint) {
    for (unsigned value = 0; value <= 80; ++value) {
        EXPECT_STREQ(qir::RetCodeName(value), ExpectedName(value)) << "code " << value;
    }
    EXPECT_EQ(qir::RetCodeName(0xFFFFFFFF), nullptr);
}

TEST(ReturnCodes, GapsInTheNumberingHaveNoName) {
    for (const unsigned value : kUnusedCodes) {
        EXPECT_EQ(qir::RetCodeName(value), nullptr) << "code " << value;
    }
    // Every number up to the last is either success, the driver's failure, a named code or a gap.
    EXPECT_EQ(2 + std::size(kCodes) + std::size(kUnusedCodes), 73u);
}

using ReturnCodeLines = test::LibraryTest;

TEST_F(ReturnCodeLines, ARefusalPrintsTheNameInQuotesAndYieldsTheCode) {
    for (const Code &code : kCodes) {
        uint32_t yielded = 0;
        EXPECT_EQ(test::Capture([&] { yielded = qir::Refuse("QIR_Free_FCB", 17, code.value); }),
                  std::string("[ERROR orxapi] QIR_Free_FCB,17: \"") + code.name + "\"\n");
        EXPECT_EQ(yielded, code.value);
    }
}

TEST_F(ReturnCodeLines, AnOperationEndsWithItsCodeUnlessItSucceeded) {
    for (const uint32_t code : {1u, 2u, 25u, 72u}) {
        uint32_t yielded = 0;
        EXPECT_EQ(test::Capture([&] { yielded = qir::Close("Fn", 4, code); }),
                  "[ERROR orxapi] Fn        ,4: retVal <" + std::to_string(code) + ">\n");
        EXPECT_EQ(yielded, code);
    }
    uint32_t yielded = 1;
    EXPECT_EQ(test::Capture([&] { yielded = qir::Close("Fn", 4, 0); }), "");
    EXPECT_EQ(yielded, 0u);
}

TEST_F(ReturnCodeLines, CannotBeSilenced) {
    test::RaiseLog(0);
    EXPECT_EQ(test::Capture([] { qir::Close("Fn", 4, qir::Refuse("Fn", 3, e_RET_ERR_NULL_PTR)); }),
              "[ERROR orxapi] Fn        ,3: \"e_RET_ERR_NULL_PTR\"\n"
              "[ERROR orxapi] Fn        ,4: retVal <2>\n");
}

} // namespace
} // namespace context_test
