// What is printed of return codes. (Their numbers and names are in the table of return codes.)
#include "qirapi/private/report.h"
#include "tests/support/library.h"

namespace context_test {
namespace {

using ReturnCodeLines = test::LibraryTest;

TEST_F(ReturnCodeLines, SuccessDriverFailureAndUnusedNumbersHaveNoName) {
    for (const uint32_t code :
         {0u, 1u, 4u, 5u, 8u, 16u, 20u, 24u, 26u, 29u, 31u, 32u, 33u, 34u, 35u, 38u, 58u, 73u, 0xFFFFFFFFu}) {
        EXPECT_EQ(qir::RetCodeName(code), nullptr) << "code " << code;
    }
    EXPECT_STREQ(qir::RetCodeName(72), "e_RET_ERR_INVALID_RLRATE");
}

TEST_F(ReturnCodeLines, CannotBeSilenced) {
    test::RaiseLog(0);
    uint32_t code = 0;
    EXPECT_EQ(test::Capture([&] { code = qir::Close("Fn", 4, qir::Refuse("Fn", 3, e_RET_ERR_NULL_PTR)); }),
              "[ERROR orxapi] Fn        ,3: \"e_RET_ERR_NULL_PTR\"\n"
              "[ERROR orxapi] Fn        ,4: retVal <2>\n");
    EXPECT_EQ(code, 2u);
    EXPECT_EQ(test::Capture([&] { code = qir::Close("Fn", 4, 0); }), "");
    EXPECT_EQ(code, 0u);
}

} // namespace
} // namespace context_test
