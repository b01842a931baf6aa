#pragma once

#include "base/result.h"
#include "session/logged_clip.h"
#include "session/uuid.h"
#include "time/frame_rate.h"

#include <QTimeZone>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The session log: one shoot's identity, cameras and events, and its file form.
// Every time in it is a master-clock instant (double seconds since the Unix epoch).
namespace korvalume {

struct Camera {
    // Enumerators carry the stored case names.
    enum class Kind { camera, recorder };
    // How the phone follows the camera; `scan` means it only reads the camera's display.
    enum class Link { bluetooth, wifi, scan };

    Uuid id;
    Kind kind = Kind::camera;
    std::string name; // "CAM A", "SOUND A"
    std::string model;
    Link link = Link::bluetooth;
    std::string address;
    std::string ownerID;   // the phone that looks after this camera
    std::string ownerName; // that phone's name as people see it
    std::string note;
    bool removed = false; // taken out of the session; kept for its history
    double updatedAt = 0; // last change of this camera's own fields; newer wins on combining

    static std::optional<Kind> parseKind(std::string_view caseName);
    static std::optional<Link> parseLink(std::string_view caseName);

    friend bool operator==(const Camera&, const Camera&) = default;
};

struct SyncEvent {
    enum class Kind { recStart, recStop, tcScan, marker, linkLost };

    Uuid id;
    std::optional<Uuid> cameraID; // absent for session-wide events such as markers
    Kind kind = Kind::marker;
    double at = 0;
    // The camera's timecode as read at `at`, as text ("10:00:00:00"). It is kept as
    // written; users parse it with Timecode::parse and the checked arithmetic.
    std::optional<std::string> timecode;
    std::optional<std::string> label;

    static std::optional<Kind> parseKind(std::string_view caseName);

    friend bool operator==(const SyncEvent&, const SyncEvent&) = default;
};

std::string_view caseName(Camera::Kind kind);
std::string_view caseName(Camera::Link link);
std::string_view caseName(SyncEvent::Kind kind);

// Whose logging `SessionDoc::finish` ends.
enum class FinishScope {
    thisDevice, // only this device stops logging
    everyone,   // the owner ends the session for every device
};

struct SessionDoc {
    Uuid id; // two logs belong to the same session exactly when their ids are equal
    std::string name;
    FrameRate fps;
    double startedAt = 0;
    std::optional<double> endedAt;      // end of this log's logging; absent while live
    std::optional<std::int64_t> zone;   // seconds east of UTC
    std::optional<std::string> ownerID; // the device that started the session
    std::optional<double> endedForAll;  // the owner ended the session for everyone
    std::vector<Camera> cameras;        // in the order first seen
    std::vector<SyncEvent> events;      // ascending `at`

    static constexpr std::string_view fileExtension = "korvalume";

    // A new session: a fresh id, the machine's current UTC offset as `zone`, nothing logged.
    static SessionDoc newSession(std::string name, FrameRate fps, double startedAt,
                                 std::optional<std::string> ownerID);

    // ---- File form ----

    // Compact JSON, keys in byte order, absent optionals left out. Fails only for a
    // value JSON can't hold (a non-finite double, text that is not UTF-8), naming it.
    Result<std::string> encoded() const;
    // Strict reading of an untrusted file: malformed JSON, a missing required key, a
    // wrong type or an unknown case name refuses the whole file, with the reason.
    static Result<SessionDoc> decode(std::string_view data);

    // ---- Queries ----

    std::vector<Camera> activeCameras() const; // not removed, stored order
    std::vector<SyncEvent> markers() const;    // stored order
    // The zone of `zone` when present and valid, else the machine's zone.
    QTimeZone timeZone() const;
    // "CAM A".."CAM Z" / "SOUND A".."SOUND Z", the first free letter; then
    // prefix + (active cameras + 1).
    std::string nextCameraName(Camera::Kind kind) const;

    // ---- Logged recordings ----

    // The camera's recordings in the order they were closed, a still-running one last.
    std::vector<LoggedClip> clips(const Uuid& cameraID) const;
    // The camera's tcScan events, stored order.
    std::vector<SyncEvent> scans(const Uuid& cameraID) const;
    // The camera's last recording has no end yet.
    bool isRolling(const Uuid& cameraID) const;
    // The camera's status line at master-clock instant `now`.
    CameraSummary summary(const Camera& camera, double now) const;

    // ---- Combining ----

    // Combines a log of the same session into this one (another session changes nothing):
    // strictly newer cameras replace, new events are added, events sorted stably by `at`.
    void merge(const SessionDoc& other);
    // As merge, but this document's own `endedAt` stays exactly as it was.
    void mergeLive(const SessionDoc& other);
    // What `adding` would bring to this document, as sentences for the user.
    std::vector<std::string> report(const SessionDoc& adding) const;
    // `other` would add nothing but its end time.
    bool covers(const SessionDoc& other) const;
    // Ends this device's logging at `instant`: recordings of its cameras still rolling
    // become open-ended. True when the document was not finished before.
    bool finish(std::string_view deviceID, double instant, FinishScope scope);

    friend bool operator==(const SessionDoc&, const SessionDoc&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::Camera> {
    std::size_t operator()(const korvalume::Camera& camera) const noexcept;
};
template <> struct std::hash<korvalume::SyncEvent> {
    std::size_t operator()(const korvalume::SyncEvent& event) const noexcept;
};
template <> struct std::hash<korvalume::SessionDoc> {
    std::size_t operator()(const korvalume::SessionDoc& doc) const noexcept;
};
