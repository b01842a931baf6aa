#include "sync/sync_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace korvalume {
namespace {

using SyncMap::align;
using SyncMap::Match;

TEST(Align, ToleranceIsOneAndAHalfSecondsOrTwoPercent) {
    // Below 75 s of logged duration the 1.5 s floor holds.
    EXPECT_EQ(align(std::vector{51.5}, std::vector{50.0}), (std::vector<Match>{{0, 0}}));
    EXPECT_EQ(align(std::vector{48.5}, std::vector{50.0}), (std::vector<Match>{{0, 0}}));
    EXPECT_TRUE(align(std::vector{51.6}, std::vector{50.0}).empty());
    EXPECT_TRUE(align(std::vector{48.4}, std::vector{50.0}).empty());
    // From 75 s on, 2 % of the logged (not the file's) duration.
    for (double file : {196.0, 204.0})
        EXPECT_TRUE(SyncMap::durationsFit(file, 200.0)) << file;
    for (double file : {195.9, 204.1})
        EXPECT_FALSE(SyncMap::durationsFit(file, 200.0)) << file;
    EXPECT_TRUE(SyncMap::durationsFit(76.5, 75.0));
    EXPECT_FALSE(SyncMap::durationsFit(76.6, 75.0));
}

TEST(Align, GapsAndTieBreaks) {
    EXPECT_TRUE(align({}, std::vector{10.0}).empty());
    EXPECT_TRUE(align(std::vector{10.0}, {}).empty());
    // An extra file on the card is skipped at the cost of one gap.
    EXPECT_EQ(align(std::vector{10.0, 60.0, 30.0}, std::vector{60.0, 30.0}),
              (std::vector<Match>{{1, 0}, {2, 1}}));
    // Equal costs: the walk back from the end prefers a match, so the later of two
    // identical files (or recordings) is the one matched.
    EXPECT_EQ(align(std::vector{10.0, 10.0}, std::vector{10.0}), (std::vector<Match>{{1, 0}}));
    EXPECT_EQ(align(std::vector{10.0}, std::vector{10.0, 10.0}), (std::vector<Match>{{0, 1}}));
    // Files [A, B] against recordings [B', A']: matching either pair costs the same;
    // dropping the file first means A-A' wins.
    EXPECT_EQ(align(std::vector{20.0, 60.0}, std::vector{60.5, 20.5}),
              (std::vector<Match>{{0, 1}}));
    // Long recordings fit loosely, but a match dearer than two gaps is not taken.
    EXPECT_EQ(align(std::vector{1007.0}, std::vector{1000.0}), (std::vector<Match>{{0, 0}}));
    EXPECT_TRUE(align(std::vector{1010.0}, std::vector{1000.0}).empty());
}

// The straightforward form: the whole cost table, then a walk that recomputes each sum.
std::vector<Match> alignByFullTable(const std::vector<double>& files,
                                    const std::vector<double>& logged) {
    const std::size_t n = files.size(), m = logged.size();
    if (n == 0 || m == 0)
        return {};
    std::vector<std::vector<double>> d(n + 1, std::vector<double>(m + 1));
    for (std::size_t i = 0; i <= n; ++i)
        d[i][0] = 4.0 * double(i);
    for (std::size_t j = 0; j <= m; ++j)
        d[0][j] = 4.0 * double(j);
    for (std::size_t i = 1; i <= n; ++i) {
        for (std::size_t j = 1; j <= m; ++j) {
            double best = std::min(d[i][j - 1], d[i - 1][j]) + 4.0;
            if (SyncMap::durationsFit(files[i - 1], logged[j - 1])) {
                const double cand = d[i - 1][j - 1] + std::abs(files[i - 1] - logged[j - 1]);
                if (cand < best)
                    best = cand;
            }
            d[i][j] = best;
        }
    }
    std::vector<Match> pairs;
    std::size_t i = n, j = m;
    while (i >= 1 && j >= 1) {
        const double cost = std::abs(files[i - 1] - logged[j - 1]);
        if (SyncMap::durationsFit(files[i - 1], logged[j - 1]) &&
            d[i][j] == d[i - 1][j - 1] + cost) {
            pairs.push_back({i - 1, j - 1});
            --i, --j;
        } else if (d[i][j] == d[i - 1][j] + 4.0) {
            --i;
        } else {
            --j;
        }
    }
    return {pairs.rbegin(), pairs.rend()};
}

double alignmentCost(const std::vector<double>& files, const std::vector<double>& logged,
                     const std::vector<Match>& pairs) {
    double cost = 4.0 * double(files.size() + logged.size() - 2 * pairs.size());
    for (const auto& pair : pairs)
        cost += std::abs(files[pair.file] - logged[pair.logged]);
    return cost;
}

// Every monotone set of fitting pairs, for the cheapest cost.
double cheapestAlignment(const std::vector<double>& files, const std::vector<double>& logged,
                         std::size_t fromFile, std::size_t fromLogged, std::vector<Match>& chosen) {
    double best = alignmentCost(files, logged, chosen);
    for (std::size_t f = fromFile; f < files.size(); ++f) {
        for (std::size_t g = fromLogged; g < logged.size(); ++g) {
            if (!SyncMap::durationsFit(files[f], logged[g]))
                continue;
            chosen.push_back({f, g});
            best = std::min(best, cheapestAlignment(files, logged, f + 1, g + 1, chosen));
            chosen.pop_back();
        }
    }
    return best;
}

TEST(Align, IsACheapestAlignmentOnRandomShoots) {
    std::mt19937 random(20240517);
    // Quarter seconds keep every sum exact, so ties really tie.
    auto quarter = [&](int lo, int hi) {
        return std::uniform_int_distribution<int>(lo * 4, hi * 4)(random) / 4.0;
    };
    for (int round = 0; round < 3000; ++round) {
        std::vector<double> logged(std::uniform_int_distribution<int>(0, 6)(random));
        for (auto& duration : logged)
            duration = quarter(1, 120);
        std::vector<double> files;
        for (double duration : logged) {
            const int kind = std::uniform_int_distribution<int>(0, 3)(random);
            if (kind > 0) // mostly a near copy of a recording, sometimes none
                files.push_back(std::max(0.25, duration + quarter(-3, 3)));
            if (kind == 3) // and sometimes an unlogged extra
                files.push_back(quarter(1, 120));
        }
        files.resize(std::min<std::size_t>(files.size(), 6));

        const auto pairs = align(files, logged);
        for (std::size_t k = 0; k < pairs.size(); ++k) {
            ASSERT_TRUE(SyncMap::durationsFit(files[pairs[k].file], logged[pairs[k].logged]));
            if (k > 0) {
                ASSERT_LT(pairs[k - 1].file, pairs[k].file);
                ASSERT_LT(pairs[k - 1].logged, pairs[k].logged);
            }
        }
        std::vector<Match> scratch;
        ASSERT_EQ(alignmentCost(files, logged, pairs),
                  cheapestAlignment(files, logged, 0, 0, scratch))
            << "round " << round;
        ASSERT_EQ(pairs, alignByFullTable(files, logged)) << "round " << round;
    }
}

TEST(Align, NonsenseDurationsNeverMatch) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(align(std::vector{nan, inf, -inf}, std::vector{10.0, nan, 1e308}).empty());
    EXPECT_EQ(align(std::vector{nan, 10.0}, std::vector{10.0, inf}), (std::vector<Match>{{1, 0}}));
}

} // namespace
} // namespace korvalume
