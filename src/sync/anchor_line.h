#pragma once

#include "sync/sync_map.h"
#include "time/frame_rate.h"

#include <optional>
#include <span>
#include <vector>

namespace korvalume::syncmap {

// Anchors made ready for placing many clips at one rate: positions and offsets
// are computed once and kept sorted, so each placement is a binary search.
// `place` of SyncMap is this class used once.
class AnchorLine {
public:
    AnchorLine(std::span<const Anchor> anchors, const FrameRate& rate);

    // Adds one more anchor as if it had been last in the given list.
    void add(const Anchor& anchor);

    bool empty() const { return given_.empty(); }
    const FrameRate& rate() const { return rate_; }
    // isConsistent of the anchors at this line's rate.
    bool consistent() const;
    // place of `t` with these anchors at this line's rate, wrapping by `day` seconds (the
    // real length of 24 hours of the clip's own timecode; this rate's non-drop day when
    // absent). Requires !empty().
    MasterInstant place(double t, bool consistent, std::optional<MasterInstant> created,
                        std::optional<double> day = std::nullopt) const;

private:
    // Master-clock seconds and timecode seconds side by side: an offset is the one
    // minus the other, so the line works in plain doubles.
    struct Point {
        double position = 0;
        double offset = 0;
        double at = 0;
        double created = 0;
    };

    // The anchor as a point of this line, counted on across midnight from the first one.
    Point point(const Anchor& anchor) const;
    double wrapNear(double result, double reference, double day) const;

    FrameRate rate_;
    std::vector<Point> given_;  // in the given order
    std::vector<Point> sorted_; // by position; equal positions keep the given order
    double smallestOffset_ = 0;
    double largestOffset_ = 0;
};

} // namespace korvalume::syncmap
