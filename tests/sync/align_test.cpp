#include "sync/align.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace korvalume {
namespace {

using syncmap::align;
using syncmap::durationsFit;
using Matches = std::vector<syncmap::Match>;

TEST(Align, ToleranceIsOneAndAHalfSecondsOrTwoPercentOfTheLoggedDuration) {
    using Pairs = std::vector<std::pair<double, double>>; // file, logged
    const double nan = std::nan(""), inf = HUGE_VAL;
    // The 1.5 s floor holds below 75 s; 196 s would miss 200 s at 2 % of the file's.
    const Pairs fit{{51.5, 50}, {48.5, 50}, {76.5, 75}, {196, 200}, {204, 200}};
    const Pairs misfit{{51.6, 50}, {48.4, 50}, {76.6, 75},   {195.9, 200}, {204.1, 200},
                       {nan, 10},  {10, nan},  {inf, 1e308}, {-inf, 10}};
    for (const bool fits : {true, false})
        for (const auto& [file, logged] : fits ? fit : misfit) {
            EXPECT_EQ(durationsFit(file, logged), fits) << file << " " << logged;
            // One pair costs less than two gaps, so it is matched exactly when it fits.
            EXPECT_EQ(align(std::vector{file}, std::vector{logged}).size(), fits ? 1u : 0u)
                << file << " " << logged;
        }
}

TEST(Align, EmptyInputsTieBreaksAndDearMatches) {
    EXPECT_TRUE(align({}, std::vector{10.0}).empty() && align(std::vector{10.0}, {}).empty());
    // Equal costs: the walk back from the end prefers a match, so the later of two
    // identical files (or recordings) is the one matched.
    EXPECT_EQ(align(std::vector{10.0, 10.0}, std::vector{10.0}), (Matches{{1, 0}}));
    EXPECT_EQ(align(std::vector{10.0}, std::vector{10.0, 10.0}), (Matches{{0, 1}}));
    // Files [A, B] against recordings [B', A']: either pair costs the same;
    // dropping the file first means A-A' wins.
    EXPECT_EQ(align(std::vector{20.0, 60.0}, std::vector{60.5, 20.5}), (Matches{{0, 1}}));
    // A match dearer than two gaps is not taken, though the durations fit.
    EXPECT_EQ(align(std::vector{1007.0}, std::vector{1000.0}), (Matches{{0, 0}}));
    EXPECT_TRUE(align(std::vector{1010.0}, std::vector{1000.0}).empty());
}

double alignmentCost(const std::vector<double>& files, const std::vector<double>& logged,
                     const Matches& pairs) {
    double cost = syncmap::gapCost * double(files.size() + logged.size() - 2 * pairs.size());
    for (const auto& pair : pairs)
        cost += std::abs(files[pair.file] - logged[pair.logged]);
    return cost;
}

// Tries every monotone set of fitting pairs from file f and recording g on.
double cheapestAlignment(const std::vector<double>& files, const std::vector<double>& logged,
                         std::size_t f = 0, std::size_t g = 0) {
    const auto gaps = [&](std::size_t i, std::size_t j) {
        return syncmap::gapCost * double(i - f + j - g);
    };
    double best = gaps(files.size(), logged.size());
    for (std::size_t i = f; i < files.size(); ++i)
        for (std::size_t j = g; j < logged.size(); ++j)
            if (durationsFit(files[i], logged[j]))
                best = std::min(best, gaps(i, j) + std::abs(files[i] - logged[j]) +
                                          cheapestAlignment(files, logged, i + 1, j + 1));
    return best;
}

TEST(Align, IsACheapestAlignmentOnRandomShoots) {
    std::mt19937 random(20240517);
    // Quarter seconds keep every sum exact, so ties really tie.
    auto quarter = [&](int lo, int hi) {
        return std::uniform_int_distribution<int>(lo * 4, hi * 4)(random) / 4.0;
    };
    for (int round = 0; round < 3000; ++round) {
        std::vector<double> logged(std::uniform_int_distribution<std::size_t>(0, 6)(random));
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
        for (std::size_t k = 0; k < pairs.size(); ++k)
            ASSERT_TRUE(durationsFit(files[pairs[k].file], logged[pairs[k].logged]) &&
                        (k == 0 || (pairs[k - 1].file < pairs[k].file &&
                                    pairs[k - 1].logged < pairs[k].logged)))
                << "round " << round << " pair " << k;
        ASSERT_EQ(alignmentCost(files, logged, pairs), cheapestAlignment(files, logged))
            << "round " << round;
    }
}

} // namespace
} // namespace korvalume
