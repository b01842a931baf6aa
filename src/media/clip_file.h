#pragma once

#include "time/frame_rate.h"
#include "time/timecode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// One media file's metadata. Identity is `path`, an absolute UTF-8 file path.
// A reader fills what it knows; everything else keeps these defaults (a WAV
// record therefore keeps 1920x1080).
struct ClipFile {
    std::string path;
    double duration = 0;
    std::int64_t frames = 0; // length at `rate`; 0 where there are no frames (WAV)
    std::optional<FrameRate> rate;
    std::optional<Timecode> startTC;
    // The first frame's time since 00:00:00:00 in seconds, exact to the file's own frame,
    // for movies above 30 fps whose timecode shows only every other frame.
    std::optional<double> startExact;
    // When recorded or, failing that, created: seconds since 1970-01-01 00:00
    // UTC, the same scale as every master-clock instant.
    std::optional<double> created;
    std::string model;
    std::string serial;
    std::int64_t width = 1920;
    std::int64_t height = 1080;
    std::int64_t audioChannels = 2;
    bool slowMotion = false;
    bool audioOnly = false;
    std::int64_t sampleRate = 48000;
    // Seconds after midnight of the device's clock, for files whose start is a
    // sample count rather than a timecode (WAV).
    std::optional<double> startTCSeconds;

    const std::string& id() const { return path; }
    // The file name with its extension, for display and export.
    std::string name() const;

    friend bool operator==(const ClipFile&, const ClipFile&) = default;
};

// Extensions, compared against a file's extension in lower case.
bool isVideoExtension(std::string_view lowerExtension);
bool isAudioExtension(std::string_view lowerExtension);

} // namespace korvalume

template <> struct std::hash<korvalume::ClipFile> {
    std::size_t operator()(const korvalume::ClipFile& clip) const noexcept;
};
