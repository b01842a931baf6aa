#include "sync/align.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace korvalume::syncmap {

namespace {

double fitTolerance(double logged) {
    const double proportional = 0.02 * logged;
    return proportional < 1.5 ? 1.5 : proportional;
}

} // namespace

bool durationsFit(double file, double logged) {
    return std::abs(file - logged) <= fitTolerance(logged);
}

std::vector<Match> align(std::span<const double> files, std::span<const double> logged) {
    const std::size_t n = files.size();
    const std::size_t m = logged.size();
    if (n == 0 || m == 0)
        return {};

    // The walk back from (n, m) takes, at each cell, the first of: a match when it
    // fits and accounts for the cell's cost exactly, dropping the file when that
    // does, else dropping the logged recording. Each cell's choice is known as soon
    // as the cell is filled, so two rows of costs and 2 bits per cell suffice.
    enum Step : std::uint8_t { matchBoth = 0, dropFile = 1, dropLogged = 2 };
    std::vector<std::uint8_t> steps((n * m + 3) / 4, 0);
    auto setStep = [&](std::size_t cell, Step step) {
        steps[cell / 4] |= static_cast<std::uint8_t>(step << (2 * (cell % 4)));
    };
    auto stepAt = [&](std::size_t cell) {
        return static_cast<Step>((steps[cell / 4] >> (2 * (cell % 4))) & 3);
    };

    std::vector<double> tolerances(m);
    for (std::size_t j = 0; j < m; ++j)
        tolerances[j] = fitTolerance(logged[j]);
    std::vector<double> above(m + 1);
    std::vector<double> row(m + 1);
    for (std::size_t j = 0; j <= m; ++j)
        above[j] = gapCost * double(j);
    for (std::size_t i = 1; i <= n; ++i) {
        row[0] = gapCost * double(i);
        const double file = files[i - 1];
        for (std::size_t j = 1; j <= m; ++j) {
            const double up = above[j];
            double best = std::min(row[j - 1], up) + gapCost;
            const double difference = std::abs(file - logged[j - 1]);
            const bool fit = difference <= tolerances[j - 1];
            double matchCost = 0;
            if (fit) {
                matchCost = above[j - 1] + difference;
                if (matchCost < best)
                    best = matchCost;
            }
            row[j] = best;
            const std::size_t cell = (i - 1) * m + (j - 1);
            if (fit && best == matchCost)
                setStep(cell, matchBoth);
            else if (best == up + gapCost)
                setStep(cell, dropFile);
            else
                setStep(cell, dropLogged);
        }
        std::swap(above, row);
    }

    std::vector<Match> result;
    std::size_t i = n;
    std::size_t j = m;
    while (i >= 1 && j >= 1) {
        switch (stepAt((i - 1) * m + (j - 1))) {
        case matchBoth:
            result.push_back({i - 1, j - 1});
            --i;
            --j;
            break;
        case dropFile:
            --i;
            break;
        case dropLogged:
            --j;
            break;
        }
    }
    std::reverse(result.begin(), result.end());
    return result;
}

} // namespace korvalume::syncmap
