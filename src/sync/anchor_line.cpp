#include "sync/anchor_line.h"

#include "base/programming_error.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace korvalume::syncmap {

namespace {

// Anchors whose offsets span this much or more describe more than one clock relation.
constexpr double consistentSpan = 2.0;

// Beyond this many whole days a literal day-by-day wrap would not end in useful
// time; such values only come from nonsense input, and are wrapped in one step.
constexpr int stepwiseWrapLimit = 1024;

} // namespace

AnchorLine::Point AnchorLine::point(const Anchor& anchor) const {
    double position = anchor.position(rate_);
    double offset = anchor.at.seconds - position;
    // A scan after midnight of a clock first seen before it: count its timecode on from the
    // first anchor's day, so that both describe one clock.
    if (!given_.empty()) {
        const double day = anchor.dayAt(rate_);
        const double reference = given_.front().offset;
        if (std::isfinite(day) && day > 0 && std::isfinite(offset - reference)) {
            const double days = std::round((offset - reference) / day);
            if (days != 0 && std::abs(days) <= stepwiseWrapLimit &&
                std::abs(offset - days * day - reference) < consistentSpan) {
                position += days * day;
                offset -= days * day;
            }
        }
    }
    return {position, offset, anchor.at.seconds, anchor.created.seconds};
}

AnchorLine::AnchorLine(std::span<const Anchor> anchors, const FrameRate& rate) : rate_(rate) {
    given_.reserve(anchors.size());
    for (const auto& anchor : anchors)
        given_.push_back(point(anchor));
    sorted_ = given_;
    std::stable_sort(sorted_.begin(), sorted_.end(),
                     [](const Point& a, const Point& b) { return a.position < b.position; });
    for (std::size_t i = 0; i < given_.size(); ++i) {
        const double offset = given_[i].offset;
        if (i == 0 || offset < smallestOffset_)
            smallestOffset_ = offset;
        if (i == 0 || offset > largestOffset_)
            largestOffset_ = offset;
    }
}

void AnchorLine::add(const Anchor& anchor) {
    const Point added = point(anchor);
    const double position = added.position;
    if (given_.empty() || added.offset < smallestOffset_)
        smallestOffset_ = added.offset;
    if (given_.empty() || added.offset > largestOffset_)
        largestOffset_ = added.offset;
    given_.push_back(added);
    // After every anchor of equal position: the newcomer is last in the given order.
    auto slot = std::upper_bound(
        sorted_.begin(), sorted_.end(), position,
        [](double value, const Point& existing) { return value < existing.position; });
    sorted_.insert(slot, added);
}

bool AnchorLine::consistent() const {
    return given_.size() < 2 || largestOffset_ - smallestOffset_ < consistentSpan;
}

double AnchorLine::wrapNear(double result, double reference, double day) const {
    const double half = day / 2;
    if (!std::isfinite(day) || day <= 0 || !std::isfinite(result - reference))
        return result;
    if (std::abs(result - reference) > stepwiseWrapLimit * day)
        result -= std::round((result - reference) / day) * day;
    // Bounded: at magnitudes where a day is below the precision of a double the
    // subtraction stops changing anything.
    for (int step = 0; step <= stepwiseWrapLimit && result - reference > half; ++step)
        result -= day;
    for (int step = 0; step <= stepwiseWrapLimit && reference - result > half; ++step)
        result += day;
    return result;
}

MasterInstant AnchorLine::place(double t, bool consistent, std::optional<MasterInstant> created,
                                std::optional<double> day) const {
    if (given_.empty()) {
        programmingError("a clip was placed without anchors");
    }
    double offset = 0;
    double reference = 0;
    if (consistent) {
        // Count the clip's timecode on into the anchors' days, as they were counted on.
        const double clipDay = day.value_or(double(rate_.tcBase()) * 86400 / rate_.tcFps());
        const double middle = (sorted_.front().position + sorted_.back().position) / 2;
        if (std::isfinite(clipDay) && clipDay > 0 && std::isfinite(middle - t)) {
            const double days = std::round((middle - t) / clipDay);
            if (std::abs(days) <= stepwiseWrapLimit)
                t += days * clipDay;
        }
        const Point& first = sorted_.front();
        // The smallest k with t <= position(k); none when t lies beyond every anchor.
        auto upper = std::lower_bound(
            sorted_.begin(), sorted_.end(), t,
            [](const Point& existing, double value) { return existing.position < value; });
        if (t <= first.position) {
            offset = first.offset;
            reference = first.at;
        } else if (upper == sorted_.end() || upper == sorted_.begin()) {
            offset = sorted_.back().offset;
            reference = sorted_.back().at;
        } else {
            const Point& a = *(upper - 1);
            const Point& b = *upper;
            const double fraction =
                a.position < b.position ? (t - a.position) / (b.position - a.position) : 0;
            offset = a.offset + fraction * (b.offset - a.offset);
            reference = fraction < 0.5 ? a.at : b.at;
        }
    } else if (created) {
        // After a timecode reset each clock gives the clip another place; the right one
        // is where it lands nearest the moment the file says it was recorded.
        const double clipDay = day.value_or(double(rate_.tcBase()) * 86400 / rate_.tcFps());
        std::optional<double> best;
        for (const Point& anchor : given_) {
            const double placed = wrapNear(t + anchor.offset, anchor.at, clipDay);
            if (!best || std::abs(placed - created->seconds) < std::abs(*best - created->seconds))
                best = placed;
        }
        return MasterInstant(*best);
    } else {
        offset = sorted_.back().offset;
        reference = sorted_.back().at;
    }
    return MasterInstant(wrapNear(t + offset, reference,
                                  day.value_or(double(rate_.tcBase()) * 86400 / rate_.tcFps())));
}

} // namespace korvalume::syncmap
