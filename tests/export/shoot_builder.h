#pragma once

// Small shoots built in code: a session, cameras and placed clips whose file
// records are filled in by hand, so the export can be tested without media.

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "sync/placed_clip.h"
#include "time/frame_rate.h"
#include "time/timecode.h"

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvalume::testing {

inline SessionDoc session(std::string name, FrameRate fps, double startedAt,
                          std::int64_t zone = 0) {
    SessionDoc doc;
    doc.id = Uuid::random();
    doc.name = std::move(name);
    doc.fps = fps;
    doc.startedAt = startedAt;
    doc.zone = zone;
    return doc;
}

inline void addMarker(SessionDoc& doc, double at, std::optional<std::string> label) {
    SyncEvent marker;
    marker.id = Uuid::random();
    marker.kind = SyncEvent::Kind::marker;
    marker.at = at;
    marker.label = std::move(label);
    doc.events.push_back(marker);
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
            "No scan or log for this device."};
}

inline CameraPlan cameraPlan(std::string name, std::vector<PlacedClip> clips,
                             Camera::Kind kind = Camera::Kind::camera) {
    Camera camera;
    camera.id = Uuid::random();
    camera.kind = kind;
    camera.name = std::move(name);
    return {camera, std::move(clips), {}};
}

} // namespace korvalume::testing
