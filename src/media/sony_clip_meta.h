#pragma once

#include "media/clip_file.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Sony cameras' per-clip XML sidecars (C0001M01.XML beside C0001.MP4).
namespace korvalume::sonyclipmeta {

// The values collected from the sidecar's elements, before they become a record.
struct Fields {
    std::int64_t durationFrames = 0;
    std::int64_t tcBase = 0;
    std::optional<std::string> firstLTC;
    std::optional<double> created; // seconds since 1970 UTC
    std::string captureFps;
    std::string formatFps;
    std::string model;
    std::string serial;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t channels = 0;

    friend bool operator==(const Fields&, const Fields&) = default;
};

// The sidecar beside a clip: base name + "M01.XML", then + "M01.xml".
std::optional<std::string> sidecar(const std::string& clipPath);

// Collects the fields from the sidecar's start elements; nullopt when the
// XML is not well formed.
std::optional<Fields> parse(std::string_view xml);

// Builds the clip's record; nullopt without a positive duration or a usable rate.
std::optional<ClipFile> clipFrom(const Fields& fields, const std::string& clipPath);

// parse + clipFrom.
std::optional<ClipFile> read(const std::string& clipPath, std::string_view xml);

// An LTC value as Sony writes it: 8 hex digits of BCD, frames byte first in
// the text, hours last; bit 30 flags drop-frame.
std::optional<Timecode> timecode(std::string_view ltc);

} // namespace korvalume::sonyclipmeta
