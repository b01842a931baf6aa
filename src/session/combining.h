#pragma once

#include "session/session_doc.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

// Combining logs of one session, finishing a log, and what a log would add.
namespace korvalume {

// What combining a log changed in the open one, so that plans and views redo only that.
struct LogChanges {
    std::size_t eventsAdded = 0;
    // Cameras that are new, whose own fields changed, or that gained events; sorted.
    std::vector<Uuid> cameras;
    bool markersAdded = false;
    bool sessionChanged = false; // its end, its end for everyone or its owner changed

    bool any() const { return eventsAdded > 0 || !cameras.empty() || sessionChanged; }
    friend bool operator==(const LogChanges&, const LogChanges&) = default;
};

// The ids of a log's events, kept beside a log that takes in many small logs, so that
// combining a few new events does not look at every old one again.
using EventIDs = std::unordered_set<Uuid>;
EventIDs eventIDs(const SessionDoc& doc);

// Combines a log of the same session into `doc` (another session changes nothing):
// strictly newer cameras replace, new events are added, events sorted stably by `at`.
// `known`, when given, holds the ids of `doc`'s events and is kept up to date.
LogChanges merge(SessionDoc& doc, const SessionDoc& other, EventIDs* known = nullptr);
// As merge, but `doc`'s own `endedAt` stays exactly as it was: what is left to report
// is then exactly what `other` adds.
LogChanges mergeLive(SessionDoc& doc, const SessionDoc& other, EventIDs* known = nullptr);
// `other` would add nothing to `doc` but its end time.
bool covers(const SessionDoc& doc, const SessionDoc& other);

// What one log would bring to another, camera by camera.
struct CameraGain {
    std::string name; // the open log's name for it, or the adding log's for a new camera
    bool isNew = false;
    std::size_t recordings = 0; // recordings and scans it gains
    std::size_t scans = 0;
    // The adding log's name for it where that differs, and whether that name is newer
    // and so replaces `name`.
    std::optional<std::string> otherName;
    bool renamed = false;

    friend bool operator==(const CameraGain&, const CameraGain&) = default;
};
struct CombiningReport {
    std::vector<CameraGain> cameras; // active cameras of the adding log, in its order
    std::size_t markers = 0;         // markers it adds

    friend bool operator==(const CombiningReport&, const CombiningReport&) = default;
};
CombiningReport report(const SessionDoc& doc, const SessionDoc& adding);

// Whose logging `finish` ends.
enum class FinishScope {
    thisDevice, // only this device stops logging
    everyone,   // the owner ends the session for every device
};

// Ends this device's logging at `instant`: recordings of its cameras still rolling
// become open-ended. True when the document was not finished before.
bool finish(SessionDoc& doc, std::string_view deviceID, MasterInstant instant, FinishScope scope);

} // namespace korvalume
