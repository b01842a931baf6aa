#pragma once

#include <cstddef>
#include <span>
#include <vector>

// Matching a camera's card files to its logged recordings by duration.
namespace korvalume::syncmap {

// A file matched to a logged recording.
struct Match {
    std::size_t file = 0;   // index into the file durations
    std::size_t logged = 0; // index into the logged durations

    friend bool operator==(const Match&, const Match&) = default;
};

// The gap cost of leaving one file or one logged recording unmatched.
inline constexpr double gapCost = 4.0;
// Whether a file of duration `file` may be matched to a recording of duration `logged`:
// within 1.5 seconds or 2 % of the logged duration, whichever is larger.
bool durationsFit(double file, double logged);

// Pairs card files with logged recordings by duration: a global alignment of
// minimum cost (gaps cost `gapCost`, a match its duration difference), ties going
// to a match, then to leaving a file out. Both indices strictly increase along the
// result. O(files x logged) time, and one 2-bit decision per table cell.
std::vector<Match> align(std::span<const double> files, std::span<const double> logged);

} // namespace korvalume::syncmap
