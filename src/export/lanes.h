#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace korvalume::premierexml {

// Frame values stay below this bound so that a start plus a length, and every
// sum the writer forms from them, cannot overflow 64 bits.
inline constexpr std::int64_t frameLimit = std::int64_t{1} << 61;

// Seconds (or seconds times a rate) to whole frames, halves away from zero;
// nullopt for a value that is not finite or lies beyond frameLimit.
inline std::optional<std::int64_t> roundedFrames(double value) {
    const double rounded = std::round(value);
    if (!(std::fabs(rounded) < double(frameLimit)))
        return std::nullopt;
    return static_cast<std::int64_t>(rounded);
}

// Clips that overlap by this many frames or fewer still share a track.
inline constexpr std::int64_t laneTolerance = 2;

// First-fit assignment of clips, taken in start order, to lanes: a clip goes
// into the earliest-opened lane whose last clip ends at or before its start
// plus the tolerance, else into a new lane. A min-tree over the lanes' ends
// keeps each placement logarithmic in the number of lanes, so a pile of
// overlapping clips does not make the export quadratic.
class FirstFitLanes {
public:
    // The lane for a clip of frames [start, end); both below frameLimit in size.
    std::size_t place(std::int64_t start, std::int64_t end) {
        const std::int64_t reach = start + laneTolerance;
        std::size_t lane = count_;
        if (count_ > 0 && tree_[1] <= reach) {
            std::size_t node = 1;
            while (node < capacity_)
                node = tree_[2 * node] <= reach ? 2 * node : 2 * node + 1;
            lane = node - capacity_;
        } else {
            if (count_ == capacity_)
                grow();
            ++count_;
        }
        setEnd(lane, end);
        return lane;
    }

    std::size_t count() const { return count_; }

private:
    static constexpr std::int64_t unopened = std::numeric_limits<std::int64_t>::max();

    void setEnd(std::size_t lane, std::int64_t end) {
        std::size_t node = capacity_ + lane;
        tree_[node] = end;
        for (node /= 2; node >= 1; node /= 2)
            tree_[node] = std::min(tree_[2 * node], tree_[2 * node + 1]);
    }

    void grow() {
        const std::size_t oldCapacity = capacity_;
        capacity_ = capacity_ == 0 ? 4 : capacity_ * 2;
        std::vector<std::int64_t> tree(2 * capacity_, unopened);
        for (std::size_t lane = 0; lane < oldCapacity; ++lane)
            tree[capacity_ + lane] = tree_[oldCapacity + lane];
        for (std::size_t node = capacity_ - 1; node >= 1; --node)
            tree[node] = std::min(tree[2 * node], tree[2 * node + 1]);
        tree_ = std::move(tree);
    }

    std::vector<std::int64_t> tree_;
    std::size_t capacity_ = 0;
    std::size_t count_ = 0;
};

} // namespace korvalume::premierexml
