// The function registry: two slots by which modules find each other's functions.
#include "tests/data_dump/data_dump_test.h"

namespace data_dump {
namespace {

using FunctionRegistry = DataDumpTest;

int calledFirst = 0;

void First() {
    ++calledFirst;
}

int Second(int value) {
    return value + 1;
}

// A function of any type is published as QelFun and cast back by its user.
QelFun Published() {
    return reinterpret_cast<QelFun>(Second);
}

TEST_F(FunctionRegistry, FunctionsAreFoundUnderTheirIds) {
    EXPECT_EQ(test::Capture([] {
                  qelFun_reg(0, First);
                  EXPECT_EQ(qelFun_get(0), First);
                  EXPECT_EQ(qelFun_get(1), nullptr);
                  qelFun_reg(1, Published());
                  EXPECT_EQ(qelFun_get(0), First);
                  EXPECT_EQ(qelFun_get(1), Published());
              }),
              "");
    calledFirst = 0;
    qelFun_get(0)();
    EXPECT_EQ(calledFirst, 1);
    EXPECT_EQ(reinterpret_cast<int (*)(int)>(qelFun_get(1))(41), 42);
}

TEST_F(FunctionRegistry, DeregistrationEmptiesItsSlotAlone) {
    qelFun_reg(0, First);
    qelFun_reg(1, Published());
    EXPECT_EQ(test::Capture([] { qelFun_dereg(1); }), "");
    EXPECT_EQ(qelFun_get(0), First);
    EXPECT_EQ(qelFun_get(1), nullptr);
    EXPECT_EQ(test::Capture([] { qelFun_dereg(1); }), "") << "an empty slot can be emptied";
    qelFun_dereg(0);
    EXPECT_EQ(qelFun_get(0), nullptr);
}

// ---- assertions -----------------------------------------------------------------------------------

TEST_F(FunctionRegistry, IdsOutOfRangeAreAsserted) {
    const std::string text = "funId < QEL_FUN_ID_MAX";
    EXPECT_EQ(test::CaptureMasked([] { qelFun_reg(2, First); }), Asserted("qelFun_reg", text));
    QelFun found = nullptr;
    EXPECT_EQ(test::CaptureMasked([&] { found = qelFun_get(2); }), Asserted("qelFun_get", text));
    EXPECT_EQ(found, First) << "the slot behind the last one is used all the same";
    EXPECT_EQ(test::CaptureMasked([] { qelFun_dereg(2); }), Asserted("qelFun_dereg", text));
    test::Capture([&] { found = qelFun_get(2); });
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(qelFun_get(0), nullptr);
    EXPECT_EQ(qelFun_get(1), nullptr);
}

// Whatever the id, the two slots are left alone.
TEST_F(FunctionRegistry, IdsOutOfRangeDisturbNoFunction) {
    for (const std::uint32_t funId : {2u, 3u, 4u, 0x10000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        SCOPED_TRACE(funId);
        qelFun_reg(0, First);
        qelFun_reg(1, Published());
        test::Capture([=] { qelFun_dereg(funId); });
        EXPECT_EQ(qelFun_get(0), First);
        EXPECT_EQ(qelFun_get(1), Published());
        qelFun_dereg(0);
        qelFun_dereg(1);
        test::Capture([=] { qelFun_reg(funId, First); });
        EXPECT_EQ(qelFun_get(0), nullptr);
        EXPECT_EQ(qelFun_get(1), nullptr);
    }
}

TEST_F(FunctionRegistry, NullAndIdAreAssertedInThisOrder) {
    EXPECT_EQ(test::CaptureMasked([] { qelFun_reg(2, nullptr); }),
              "[ASSERT qel_log] qelFun_reg,#: f\n"
              "[ASSERT qel_log] qelFun_reg,#: funId < QEL_FUN_ID_MAX\n");
}

} // namespace
} // namespace data_dump
