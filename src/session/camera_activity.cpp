#include "session/camera_activity.h"

#include <algorithm>

namespace korvalume {

namespace {

// Pairs starts with stops as the logged recordings do: a repeated start keeps the first,
// a stop or link loss without a start is passed over.
struct ActivityBuilder {
    CameraActivity activity;
    std::optional<MasterInstant> pendingStart;

    void add(const SyncEvent& event) {
        switch (event.kind) {
        case SyncEvent::Kind::recStart:
            if (!pendingStart)
                pendingStart = event.at;
            break;
        case SyncEvent::Kind::recStop:
        case SyncEvent::Kind::linkLost:
            if (pendingStart) {
                ++activity.recordings;
                pendingStart.reset();
            }
            break;
        case SyncEvent::Kind::tcScan:
            ++activity.scans;
            activity.lastScanAt = event.at;
            activity.lastScanTimecode = event.timecode;
            return; // a scan leaves the link state as it was
        case SyncEvent::Kind::marker:
            break;
        }
        activity.linkLost = event.kind == SyncEvent::Kind::linkLost;
    }

    CameraActivity finished() {
        if (pendingStart) {
            ++activity.recordings;
            activity.rollingSince = pendingStart;
        }
        return activity;
    }
};

} // namespace

std::unordered_map<Uuid, CameraActivity> activities(const SessionDoc& doc,
                                                    std::span<const Uuid> cameras) {
    std::unordered_map<Uuid, ActivityBuilder> builders;
    builders.reserve(cameras.size());
    for (const auto& id : cameras)
        builders.try_emplace(id);
    for (const auto& event : doc.events) {
        if (!event.cameraID)
            continue;
        if (const auto found = builders.find(*event.cameraID); found != builders.end())
            found->second.add(event);
    }
    std::unordered_map<Uuid, CameraActivity> result;
    result.reserve(builders.size());
    for (auto& [id, builder] : builders)
        result.emplace(id, builder.finished());
    return result;
}

CameraStatus status(const Camera& camera, const CameraActivity& activity, MasterInstant now) {
    if (activity.rollingSince)
        return {CameraStatus::State::rolling, now - *activity.rollingSince};
    if (camera.link != Camera::Link::bluetooth) {
        if (activity.lastScanAt)
            return {CameraStatus::State::timecodeLocked, now - *activity.lastScanAt};
        return {CameraStatus::State::scanNeeded, 0};
    }
    if (activity.linkLost)
        return {CameraStatus::State::linkLost, 0};
    return {CameraStatus::State::standby, 0};
}

} // namespace korvalume
