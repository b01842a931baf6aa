#pragma once

// Shoots built in code for every test: sessions, cameras and events with readable ids,
// logs written where a test wants them, and clip records filled in by hand so that
// placement and export are tested without media. Instants are given as plain seconds on
// the master clock, for readable tests.

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "session/session_file.h"
#include "support/media_fixtures.h"
#include "sync/placed_clip.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace korvalume::testing {

// An instant as a test writes it: plain seconds on the master clock or a MasterInstant.
struct At {
    MasterInstant instant;
    At(double seconds) : instant(seconds) {}
    At(MasterInstant given) : instant(given) {}
    operator MasterInstant() const { return instant; }
};

// A readable, stable id: number n in the last group.
inline Uuid uuidNumber(unsigned n) {
    Uuid id;
    for (int i = 0; i < 4; ++i)
        id.bytes[std::size_t(15 - i)] = std::uint8_t(n >> (8 * i));
    id.bytes[0] = 0xAB;
    return id;
}

inline SessionDoc session(std::string name = "SHOOT 15 NOV", FrameRate fps = FrameRate::pal(),
                          At startedAt = 1'700'000'000,
                          std::optional<std::int64_t> zone = std::nullopt) {
    SessionDoc doc;
    doc.id = *Uuid::parse("3F2A9C1D-0000-4000-8000-00000000BEEF");
    doc.name = std::move(name);
    doc.fps = fps;
    doc.startedAt = startedAt;
    doc.zone = zone;
    return doc;
}

inline Camera camera(unsigned n, std::string name, Camera::Link link = Camera::Link::bluetooth,
                     At updatedAt = 0.0) {
    Camera c;
    c.id = uuidNumber(n);
    c.name = std::move(name);
    c.link = link;
    c.updatedAt = updatedAt;
    return c;
}

inline SyncEvent event(unsigned n, SyncEvent::Kind kind, At at,
                       std::optional<unsigned> cameraNumber = std::nullopt) {
    std::optional<Uuid> cameraID;
    if (cameraNumber)
        cameraID = uuidNumber(*cameraNumber);
    return {uuidNumber(1000000 + n), cameraID, kind, at.instant, {}, {}};
}

inline void addMarker(SessionDoc& doc, At at, std::optional<std::string> label) {
    doc.events.push_back(
        {Uuid::random(), {}, SyncEvent::Kind::marker, at.instant, {}, std::move(label)});
}

// A session of its own (a fresh id) built camera by camera, as the phones log it.
struct ShootLog {
    SessionDoc doc;

    explicit ShootLog(std::string name = "QUAY", FrameRate fps = FrameRate::pal(),
                      At startedAt = 1'700'000'000.0)
        : doc(session(std::move(name), fps, startedAt, 0)) {
        doc.id = Uuid::random();
    }
    Uuid camera(std::string name, Camera::Kind kind = Camera::Kind::camera,
                Camera::Link link = Camera::Link::scan) {
        Camera added;
        added.id = Uuid::random();
        added.name = std::move(name);
        added.kind = kind;
        added.link = link;
        doc.cameras.push_back(added);
        return added.id;
    }
    void add(SyncEvent::Kind kind, std::optional<Uuid> camera, At at,
             std::optional<std::string> timecode = std::nullopt) {
        doc.events.push_back({Uuid::random(), camera, kind, at.instant, std::move(timecode), {}});
    }
    void scan(const Uuid& camera, At at, std::string timecode) {
        add(SyncEvent::Kind::tcScan, camera, at, std::move(timecode));
    }
    void recording(const Uuid& camera, At start, At end,
                   SyncEvent::Kind ending = SyncEvent::Kind::recStop) {
        add(SyncEvent::Kind::recStart, camera, start);
        add(ending, camera, end);
    }
    // The log as its file, events in time order; returns `path`.
    std::string write(const std::string& path) {
        std::stable_sort(doc.events.begin(), doc.events.end(),
                         [](const SyncEvent& a, const SyncEvent& b) { return a.at < b.at; });
        fixtures::writeFile(path, *sessionfile::encoded(doc));
        return path;
    }
};

inline ClipFile movie(std::string path, double seconds, FrameRate rate = FrameRate::pal(),
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

inline PlacedClip placedAt(ClipFile file, At start,
                           PlacedClip::Method method = PlacedClip::Method::timecode) {
    return {std::move(file), start.instant, method, std::nullopt};
}

inline PlacedClip notPlaced(ClipFile file, std::string note = "No timecode found in this file.") {
    return {std::move(file), std::nullopt, PlacedClip::Method::unplaced, std::move(note)};
}

inline CameraPlan cameraPlan(std::string name, std::vector<PlacedClip> clips) {
    Camera camera;
    camera.name = std::move(name);
    return {camera, std::move(clips), {}};
}

} // namespace korvalume::testing

namespace korvalume {
inline void PrintTo(MasterInstant instant, std::ostream* out) {
    *out << std::to_string(instant.seconds) << " s";
}
// Failures show a log as its JSON rather than raw bytes.
inline void PrintTo(const SessionDoc& doc, std::ostream* out) {
    const auto bytes = sessionfile::encoded(doc);
    *out << (bytes ? *bytes : bytes.message());
}
} // namespace korvalume
