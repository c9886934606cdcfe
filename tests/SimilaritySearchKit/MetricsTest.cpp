#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "SimilaritySearchKit/CosineSimilarity.h"
#include "SimilaritySearchKit/DotProduct.h"
#include "SimilaritySearchKit/EuclideanDistance.h"

namespace folvane {
namespace {

using Vectors = std::vector<std::vector<float>>;

std::vector<int> positions(const std::vector<ScoredPosition>& scored) {
    std::vector<int> out;
    for (const auto& [score, position] : scored) out.push_back(position);
    return out;
}

std::vector<ScoredPosition> numbered(const std::vector<float>& scores) {
    std::vector<ScoredPosition> out;
    for (std::size_t i = 0; i < scores.size(); ++i) out.emplace_back(scores[i], int(i));
    return out;
}

TEST(MetricDistance, ScoresPairsOverTheirCommonLengthButCosineNormsOverWholeVectorsAndZeroIsNaN) {
    struct Case {
        const char* name;
        const DistanceMetricProtocol& metric;
        std::vector<float> a, b;
        float expected;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const DotProduct dot;
    const CosineSimilarity cosine;
    const EuclideanDistance euclid;
    const Case cases[] = {
        {"dot", dot, {1, 2, 3}, {4, 5, 6}, 32},
        {"dot ignores surplus of a", dot, {1, 2, 3, 100}, {4, 5, 6}, 32},
        {"dot ignores surplus of b", dot, {1, 2}, {4, 5, 6}, 14},
        {"cosine parallel", cosine, {1, 2, 3}, {2, 4, 6}, 1},
        {"cosine orthogonal", cosine, {1, 0}, {0, 3}, 0},
        {"cosine opposite", cosine, {1, 1}, {-2, -2}, -1},
        // dot over two elements is 1; norms are sqrt(1) and sqrt(1 + 3*3).
        {"cosine surplus counts in norm", cosine, {1, 0}, {1, 0, 3}, 1 / std::sqrt(10.0f)},
        {"cosine surplus of a in its norm", cosine, {1, 0, 3}, {1, 0}, 1 / std::sqrt(10.0f)},
        {"euclid", euclid, {0, 0}, {3, 4}, 5},
        {"euclid common length", euclid, {0, 0, 50}, {3, 4}, 5},
        {"euclid same", euclid, {1.5f, -2}, {1.5f, -2}, 0},
        {"empty", dot, {}, {1, 2}, 0},
        {"cosine of a zero vector", cosine, {0, 0}, {1, 2}, nan},
        {"cosine with a zero vector", cosine, {1, 2}, {0, 0}, nan},
    };
    for (const auto& c : cases) {
        const float distance = c.metric.distance(c.a, c.b);
        if (std::isnan(c.expected)) {
            EXPECT_TRUE(std::isnan(distance)) << c.name;
        } else {
            EXPECT_NEAR(distance, c.expected, 1e-6) << c.name;
        }
    }
}

TEST(MetricDistance, LongVectorsMatchAPlainSumAcrossTheUnrolledBodyAndTail) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (const std::size_t length : {1u, 15u, 16u, 17u, 33u, 767u, 768u}) {
        std::vector<float> a(length), b(length);
        for (auto& x : a) x = uniform(random);
        for (auto& x : b) x = uniform(random);
        double dotSum = 0, aa = 0, bb = 0, squared = 0;
        for (std::size_t i = 0; i < length; ++i) {
            dotSum += double(a[i]) * b[i];
            aa += double(a[i]) * a[i];
            bb += double(b[i]) * b[i];
            squared += double(a[i] - b[i]) * (a[i] - b[i]);
        }
        EXPECT_NEAR(DotProduct().distance(a, b), dotSum, 1e-4) << length;
        EXPECT_NEAR(CosineSimilarity().distance(a, b), dotSum / std::sqrt(aa * bb), 1e-5) << length;
        EXPECT_NEAR(EuclideanDistance().distance(a, b), std::sqrt(squared), 1e-4) << length;
    }
}

TEST(FindNearest, OrdersByEachMetricsDirection) {
    const std::vector<float> query{1, 0};
    const Vectors neighbors{{0.5f, 0}, {3, 0}, {-1, 0}, {1, 1}};
    // dot: 0.5, 3, -1, 1; cosine: 1, 1, -1, 0.707; distance: 0.5, 2, 2, 1.
    EXPECT_EQ(positions(DotProduct().findNearest(query, neighbors, 4)),
              (std::vector<int>{1, 3, 0, 2}));
    EXPECT_EQ(positions(CosineSimilarity().findNearest(query, neighbors, 4)),
              (std::vector<int>{0, 1, 3, 2}));
    EXPECT_EQ(positions(EuclideanDistance().findNearest(query, neighbors, 4)),
              (std::vector<int>{0, 3, 1, 2}));
    const auto scored = DotProduct().findNearest(query, neighbors, 2);
    ASSERT_EQ(scored.size(), 2u);
    EXPECT_FLOAT_EQ(scored[0].first, 3);
    EXPECT_FLOAT_EQ(scored[1].first, 1);
}

// Every later element scores 1 and so ties with the held worst one: the
// partial path lets each of them replace it, the full sort keeps the first.
TEST(TopKSelection, TiesAtTheCutFallDifferentlyInThePartialAndTheFullPath) {
    struct Case {
        std::size_t count;
        std::vector<int> expected;
    };
    const Case cases[] = {
        {59, {0, 1, 2, 3, 4}},   // 5 < 59 / 10 is false: stable full sort
        {60, {0, 1, 2, 3, 59}},  // 5 < 6: partial path, the last tie stays
    };
    for (const auto& c : cases) {
        std::vector<float> scores(c.count, 1.0f);
        EXPECT_EQ(positions(sortedScores(numbered(scores), 5)), c.expected) << c.count;
        EXPECT_EQ(positions(sortedDistances(numbered(scores), 5)), c.expected) << c.count;
    }
}

TEST(TopKSelection, PartialPathKeepsEarlierEqualScoresInFrontInsideTheList) {
    std::vector<float> scores(100, 0.0f);
    scores[10] = 5;
    scores[70] = 5;  // ties with 10, arrives later: placed behind it
    scores[40] = 7;
    scores[90] = 6;
    scores[2] = 5;  // among the first k, sorted in with the stable sort
    EXPECT_EQ(positions(sortedScores(numbered(scores), 4)), (std::vector<int>{40, 90, 2, 10}));
    EXPECT_EQ(positions(sortedScores(numbered(scores), 5)), (std::vector<int>{40, 90, 2, 10, 70}));
}

TEST(TopKSelection, BothPathsAgreeWithAFullSortWhenScoresAreDistinct) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (const int k : {1, 3, 5, 9, 10, 50, 200}) {
        std::vector<float> scores(200);
        for (auto& s : scores) s = uniform(random);
        const auto fullSort = [&](auto before) {
            auto sorted = numbered(scores);
            std::stable_sort(sorted.begin(), sorted.end(), [&](const auto& a, const auto& b) {
                return before(a.first, b.first);
            });
            sorted.resize(std::size_t(k));
            return sorted;
        };
        EXPECT_EQ(sortedScores(numbered(scores), k), fullSort(std::greater<float>())) << k;
        EXPECT_EQ(sortedDistances(numbered(scores), k), fullSort(std::less<float>())) << k;
    }
}

TEST(TopKSelection, NotANumberScoresAreRankedWithoutHarm) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::size_t count : {8u, 100u}) {
        std::vector<float> scores(count);
        for (std::size_t i = 0; i < count; ++i) scores[i] = (i % 3 == 0) ? nan : float(i);
        const auto top = sortedScores(numbered(scores), 3);
        ASSERT_EQ(top.size(), 3u) << count;
        for (const auto& [score, position] : top) {
            EXPECT_GE(position, 0);
            EXPECT_LT(position, int(count));
        }
    }
}

}  // namespace
}  // namespace folvane
