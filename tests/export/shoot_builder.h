#pragma once

// Small shoots built in code, with file records filled in by hand, so that the
// export is tested without media.

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "sync/placed_clip.h"

#include <cmath>
#include <optional>
#include <string>
#include <vector>

namespace korvalume::testing {

inline SessionDoc session(std::string name, FrameRate fps, double startedAt,
                          std::int64_t zone = 0) {
    SessionDoc doc;
    doc.name = std::move(name);
    doc.fps = fps;
    doc.startedAt = startedAt;
    doc.zone = zone;
    return doc;
}

inline void addMarker(SessionDoc& doc, double at, std::optional<std::string> label) {
    doc.events.push_back({Uuid::random(), {}, SyncEvent::Kind::marker, at, {}, std::move(label)});
}

inline ClipFile movie(std::string path, double seconds, FrameRate rate = {25, false},
                      std::optional<Timecode> startTC = std::nullopt, std::int64_t channels = 2,
                      std::int64_t width = 1920, std::int64_t height = 1080) {
    ClipFile file;
    file.path = std::move(path);
    file.duration = seconds;
    file.frames = std::llround(seconds * rate.fps());
    file.rate = rate;
    file.startTC = startTC;
    file.audioChannels = channels;
    file.width = width;
    file.height = height;
    return file;
}

inline ClipFile wave(std::string path, double seconds, std::int64_t channels,
                     std::optional<double> startTCSeconds) {
    ClipFile file;
    file.path = std::move(path);
    file.duration = seconds;
    file.audioChannels = channels;
    file.audioOnly = true;
    file.startTCSeconds = startTCSeconds;
    return file;
}

inline PlacedClip placedAt(ClipFile file, double start) {
    return {std::move(file), start, PlacedClip::Method::timecode, std::nullopt};
}

inline PlacedClip notPlaced(ClipFile file) {
    return {std::move(file), std::nullopt, PlacedClip::Method::unplaced,
            "No timecode found in this file."};
}

inline CameraPlan cameraPlan(std::string name, std::vector<PlacedClip> clips) {
    Camera camera;
    camera.name = std::move(name);
    return {camera, std::move(clips), {}};
}

} // namespace korvalume::testing
