#include "session/logged_recordings.h"

namespace korvalume {

namespace {

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

} // namespace korvalume
