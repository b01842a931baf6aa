#include "session/logged_recordings.h"

#include "time/master_time.h"

#include <cmath>
#include <limits>

namespace korvalume {

namespace {

// The difference of two logged instants can overflow to infinity, which the
// clock form refuses; any huge value reads the same.
std::string runningTime(double duration) {
    const bool endless = std::isinf(duration) && duration > 0;
    return mastertime::clock(endless ? std::numeric_limits<double>::max() : duration);
}

bool concerns(const SyncEvent& event, const Uuid& cameraID) {
    return event.cameraID && *event.cameraID == cameraID;
}

} // namespace

std::vector<LoggedClip> clips(const SessionDoc& doc, const Uuid& cameraID) {
    std::vector<LoggedClip> found;
    const SyncEvent* pendingStart = nullptr;
    for (const auto& event : doc.events) {
        if (!concerns(event, cameraID))
            continue;
        switch (event.kind) {
        case SyncEvent::Kind::recStart:
            // A second start while rolling is a repeat; the first start stands.
            if (!pendingStart)
                pendingStart = &event;
            break;
        case SyncEvent::Kind::recStop:
        case SyncEvent::Kind::linkLost:
            if (pendingStart) {
                found.push_back(LoggedClip{pendingStart->id, cameraID, pendingStart->at, event.at,
                                           event.kind == SyncEvent::Kind::linkLost});
                pendingStart = nullptr;
            }
            break;
        case SyncEvent::Kind::tcScan:
        case SyncEvent::Kind::marker:
            break;
        }
    }
    if (pendingStart)
        found.push_back(
            LoggedClip{pendingStart->id, cameraID, pendingStart->at, std::nullopt, false});
    return found;
}

std::vector<SyncEvent> scans(const SessionDoc& doc, const Uuid& cameraID) {
    std::vector<SyncEvent> found;
    for (const auto& event : doc.events)
        if (event.kind == SyncEvent::Kind::tcScan && concerns(event, cameraID))
            found.push_back(event);
    return found;
}

bool isRolling(const SessionDoc& doc, const Uuid& cameraID) {
    const auto recordings = clips(doc, cameraID);
    return !recordings.empty() && !recordings.back().end;
}

CameraSummary summary(const SessionDoc& doc, const Camera& camera, MasterInstant now) {
    const auto recordings = clips(doc, camera.id);
    const auto& events = doc.events;
    if (!recordings.empty() && !recordings.back().end)
        return {"ROLLING " + runningTime(now - recordings.back().start), true, false};

    if (camera.link != Camera::Link::bluetooth) {
        for (auto it = events.rbegin(); it != events.rend(); ++it)
            if (it->kind == SyncEvent::Kind::tcScan && concerns(*it, camera.id))
                return {"TC LOCKED " + runningTime(now - it->at) + " AGO", false, false};
        return {"SCAN NEEDED", false, true};
    }

    // Scans don't tell whether the link is back, so they are passed over.
    for (auto it = events.rbegin(); it != events.rend(); ++it) {
        if (!concerns(*it, camera.id) || it->kind == SyncEvent::Kind::tcScan)
            continue;
        if (it->kind == SyncEvent::Kind::linkLost)
            return {"LINK LOST / USING TIMECODE", false, true};
        break;
    }
    return {"STANDBY", false, false};
}

} // namespace korvalume
