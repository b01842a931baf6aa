#pragma once

#include <cmath>
#include <compare>
#include <cstddef>
#include <functional>

namespace korvalume {

// An instant on a session's master clock: seconds since 1970-01-01 00:00 UTC as the
// master clock counts them. A file's own recording date, a timecode's seconds since
// midnight and a duration are other quantities; this type keeps them apart, and the
// few places that cross over say so by constructing one.
struct MasterInstant {
    double seconds = 0;

    constexpr MasterInstant() = default;
    constexpr explicit MasterInstant(double secondsSinceEpoch) : seconds(secondsSinceEpoch) {}

    bool isFinite() const { return std::isfinite(seconds); }

    friend constexpr double operator-(MasterInstant a, MasterInstant b) {
        return a.seconds - b.seconds;
    }
    friend constexpr MasterInstant operator+(MasterInstant a, double duration) {
        return MasterInstant(a.seconds + duration);
    }
    friend constexpr MasterInstant operator-(MasterInstant a, double duration) {
        return MasterInstant(a.seconds - duration);
    }
    constexpr MasterInstant& operator+=(double duration) {
        seconds += duration;
        return *this;
    }
    friend constexpr auto operator<=>(MasterInstant, MasterInstant) = default;
    friend constexpr bool operator==(MasterInstant, MasterInstant) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::MasterInstant> {
    std::size_t operator()(korvalume::MasterInstant instant) const noexcept {
        return std::hash<double>{}(instant.seconds);
    }
};
