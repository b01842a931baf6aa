#pragma once

#include "time/frame_rate.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// A timecode label. It does not carry its rate: operations that need one take
// a counting base or a FrameRate.
//
// Range rules. `frameCount`, `fromFrameCount` and `fromSeconds` require
// in-range input (fields whose count fits 64 bits, a positive base, a finite
// seconds value whose frame count fits 64 bits) and end the process otherwise:
// that is a programming error. A timecode that comes from outside (a log, a
// sidecar, a file) goes through the `checked*` forms, which answer nullopt
// where the plain form would overflow, so the caller can treat it as unreadable.
struct Timecode {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t frames = 0;
    bool dropFrame = false;

    // The simple parser for clean text ("10:00:00:00", "10:00:00;00").
    static std::optional<Timecode> parse(std::string_view text);

    // "HH:MM:SS:FF", with ';' before the frames when drop-frame.
    std::string string() const;

    // Frames since 00:00:00:00 at counting base `base`; drop-frame is counted
    // only at base 30.
    std::int64_t frameCount(std::int64_t base) const;
    std::optional<std::int64_t> checkedFrameCount(std::int64_t base) const;

    static Timecode fromFrameCount(std::int64_t count, std::int64_t base, bool dropFrame);
    static std::optional<Timecode> checkedFromFrameCount(std::int64_t count, std::int64_t base,
                                                         bool dropFrame);

    // Seconds since 00:00:00:00 at the rate's real (NTSC-slowed) counting rate.
    double secondsAt(const FrameRate& rate) const;
    std::optional<double> checkedSecondsAt(const FrameRate& rate) const;

    // Negative seconds count as 0; the frame count is rounded half away from zero.
    static Timecode fromSeconds(double seconds, const FrameRate& rate, bool dropFrame);
    static std::optional<Timecode> checkedFromSeconds(double seconds, const FrameRate& rate,
                                                      bool dropFrame);

    friend constexpr bool operator==(const Timecode&, const Timecode&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::Timecode> {
    std::size_t operator()(const korvalume::Timecode& t) const noexcept {
        std::size_t h = std::hash<std::int64_t>{}(t.hours);
        for (auto v : {t.minutes, t.seconds, t.frames})
            h = h * 1000003u ^ std::hash<std::int64_t>{}(v);
        return h * 2 + (t.dropFrame ? 1 : 0);
    }
};
