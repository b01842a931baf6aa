#pragma once

#include "session/camera.h"
#include "session/session_doc.h"
#include "session/uuid.h"
#include "time/master_instant.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

namespace korvalume {

// What the log saw of one camera, reduced to what its live status needs. It is derived
// in one pass over the events, so a live view keeps one per camera and redoes only the
// cameras that a change touched.
struct CameraActivity {
    std::size_t recordings = 0; // logged recordings, a running one included
    std::size_t scans = 0;
    std::optional<MasterInstant> rollingSince; // start of the recording that has no end yet
    std::optional<MasterInstant> lastScanAt;
    std::optional<std::string> lastScanTimecode;
    // The camera's latest event other than a scan is a link loss: scans do not say
    // whether the link came back.
    bool linkLost = false;

    friend bool operator==(const CameraActivity&, const CameraActivity&) = default;
};

// The activity of each of `cameras`, in one pass over the log's events.
std::unordered_map<Uuid, CameraActivity> activities(const SessionDoc& doc,
                                                    std::span<const Uuid> cameras);

// A camera's state at an instant, as its status line shows it.
struct CameraStatus {
    enum class State {
        rolling,        // recording; `elapsed` since it started
        timecodeLocked, // a camera without a Bluetooth link was scanned `elapsed` ago
        scanNeeded,     // a camera without a Bluetooth link was never scanned
        linkLost,       // the Bluetooth link was lost: placement falls back to timecode
        standby,
    };
    State state = State::standby;
    double elapsed = 0; // seconds; a difference of instants far apart may be infinite

    bool rolling() const { return state == State::rolling; }
    bool warning() const { return state == State::scanNeeded || state == State::linkLost; }

    friend bool operator==(const CameraStatus&, const CameraStatus&) = default;
};

CameraStatus status(const Camera& camera, const CameraActivity& activity, MasterInstant now);

} // namespace korvalume
