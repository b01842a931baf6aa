#pragma once

#include "session/camera.h"
#include "session/sync_event.h"
#include "session/uuid.h"
#include "time/frame_rate.h"
#include "time/master_instant.h"

#include <QTimeZone>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The session log: one shoot's identity, cameras and events. Every time in it is a
// master-clock instant. Its file form is in
// session/session_file.h, the recordings it logged in session/logged_recordings.h,
// combining logs in session/combining.h.
namespace korvalume {

struct SessionDoc {
    Uuid id; // two logs belong to the same session exactly when their ids are equal
    std::string name;
    FrameRate fps;
    MasterInstant startedAt;
    std::optional<MasterInstant> endedAt;     // end of this log's logging; absent while live
    std::optional<std::int64_t> zone;         // seconds east of UTC
    std::optional<std::string> ownerID;       // the device that started the session
    std::optional<MasterInstant> endedForAll; // the owner ended the session for everyone
    std::vector<Camera> cameras;              // in the order first seen
    std::vector<SyncEvent> events;            // ascending `at`

    static constexpr std::string_view fileExtension = "korvalume";

    // A new session: a fresh id, the machine's current UTC offset as `zone`, nothing logged.
    static SessionDoc newSession(std::string name, FrameRate fps, MasterInstant startedAt,
                                 std::optional<std::string> ownerID);

    // ---- Queries ----

    std::vector<Camera> activeCameras() const; // not removed, stored order
    std::vector<SyncEvent> markers() const;    // stored order
    // The zone of `zone` when present and valid, else the machine's zone.
    QTimeZone timeZone() const;
    // "CAM A".."CAM Z" / "SOUND A".."SOUND Z", the first free letter; then
    // prefix + (active cameras + 1).
    std::string nextCameraName(Camera::Kind kind) const;

    friend bool operator==(const SessionDoc&, const SessionDoc&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::SessionDoc> {
    std::size_t operator()(const korvalume::SessionDoc& doc) const noexcept;
};
