// Which parts of sequences belong together, against the plain way of finding it out.
#include "emu/tool/alignment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace orxemu::tool;
using Sequence = std::vector<std::size_t>;

std::size_t PlainLength(const Sequence &a, const Sequence &b) {
    std::vector<Sequence> best(a.size() + 1, Sequence(b.size() + 1, 0));
    for (std::size_t i = 1; i <= a.size(); ++i) {
        for (std::size_t j = 1; j <= b.size(); ++j) {
            best[i][j] =
                a[i - 1] == b[j - 1] ? best[i - 1][j - 1] + 1 : std::max(best[i - 1][j], best[i][j - 1]);
        }
    }
    return best[a.size()][b.size()];
}

bool Ascends(const Pairs &pairs) {
    for (std::size_t i = 1; i < pairs.size(); ++i) {
        if (pairs[i].first <= pairs[i - 1].first || pairs[i].second <= pairs[i - 1].second) {
            return false;
        }
    }
    return true;
}

TEST(OrxemuAlignment, TheCommonSubsequenceIsTheLongest) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        Sequence a(random() % 14);
        Sequence b(random() % 14);
        const std::size_t letters = 1 + random() % 5;
        std::generate(a.begin(), a.end(), [&] { return random() % letters; });
        std::generate(b.begin(), b.end(), [&] { return random() % letters; });
        const Pairs pairs = CommonSubsequence(a, b);
        ASSERT_EQ(pairs.size(), PlainLength(a, b)) << "round " << round;
        ASSERT_TRUE(Ascends(pairs)) << "round " << round;
        for (const auto &[i, j] : pairs) {
            ASSERT_EQ(a[i], b[j]) << "round " << round;
        }
    }
}

TEST(OrxemuAlignment, LongSequencesThatAreMuchAlike) {
    Sequence a(100'000);
    std::generate(a.begin(), a.end(), [n = std::size_t{0}]() mutable { return n++; });
    Sequence b = a;
    b.erase(b.begin() + 70'000);
    b.insert(b.begin() + 10, 200'000);
    EXPECT_EQ(CommonSubsequence(a, b).size(), 99'999u);
    EXPECT_TRUE(CommonSubsequence(a, {}).empty());
}

TEST(OrxemuAlignment, TheMostAlikeInOrder) {
    // Rows of A, columns of B.
    const double likeness[3][3] = {{1, 0, 1.9}, {0, 0, 1.2}, {0, 1.5, 1.1}};
    const auto alike = [&](std::size_t i, std::size_t j) { return likeness[i][j]; };
    EXPECT_EQ(MostAlikeInOrder(3, 3, alike), (Pairs{{0, 0}, {2, 1}}));
    EXPECT_EQ(MostAlike(3, 3, alike), (Pairs{{0, 2}, {2, 1}}));
    EXPECT_TRUE(MostAlikeInOrder(2, 0, alike).empty());
    EXPECT_TRUE(MostAlike(2, 2, [](std::size_t, std::size_t) { return 0.0; }).empty());
}

} // namespace
