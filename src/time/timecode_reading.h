#pragma once

#include "time/frame_rate.h"
#include "time/timecode.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

// Turns repeated, noisy readings of a camera's timecode display into one
// pairing of a master-clock instant with a timecode.
namespace korvalume::timecodereading {

struct Sample {
    double at = 0;     // master-clock time of the reading
    Timecode timecode; // what was read
    friend bool operator==(const Sample&, const Sample&) = default;
};

struct Lock {
    double at = 0;            // master-clock instant at which the frame `timecode` began
    Timecode timecode;        // the last sample's timecode
    double spread = 0;        // remaining uncertainty of `at`, seconds
    std::int64_t samples = 0; // readings kept after outliers were dropped
    friend bool operator==(const Lock&, const Lock&) = default;
};

inline constexpr std::int64_t samplesNeeded = 16;
inline constexpr std::int64_t samplesLimit = 48;

// The first plausible timecode in recognised text, tolerating look-alike
// letters, spaces around separators and surrounding text. `base` is the
// camera's counting base (FrameRate::tcBase).
std::optional<Timecode> parse(std::string_view text, std::int64_t base);

// Samples oldest first.
std::optional<Lock> lock(std::span<const Sample> samples, const FrameRate& rate);

// 0...1: how close the series is to a lock, for a progress bar.
double progress(std::span<const Sample> samples, const FrameRate& rate);

} // namespace korvalume::timecodereading
