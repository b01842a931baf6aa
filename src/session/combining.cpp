#include "session/combining.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace korvalume {

namespace {

// Ascending `at`; a NaN (never read from a file) sorts last so the order stays strict.
bool earlier(const SyncEvent& a, const SyncEvent& b) {
    if (std::isnan(a.at.seconds))
        return false;
    return std::isnan(b.at.seconds) || a.at < b.at;
}

// Stable sort by `at` of events whose first `sortedCount` are already in order:
// sorting only the tail and merging keeps combining linear for logs that are, and new
// events that all come after the old ones (the live case) cost only their own sort.
void sortEvents(std::vector<SyncEvent>& events, std::size_t sortedCount) {
    const auto tail = events.begin() + std::ptrdiff_t(sortedCount);
    if (std::is_sorted(events.begin(), tail, earlier)) {
        std::stable_sort(tail, events.end(), earlier);
        if (tail != events.begin() && tail != events.end() && earlier(*tail, *(tail - 1)))
            std::inplace_merge(events.begin(), tail, events.end(), earlier);
    } else {
        std::stable_sort(events.begin(), events.end(), earlier);
    }
}

EventIDs idsOf(const std::vector<SyncEvent>& events) {
    EventIDs ids;
    ids.reserve(events.size());
    for (const auto& event : events)
        ids.insert(event.id);
    return ids;
}

std::optional<MasterInstant> later(const std::optional<MasterInstant>& mine,
                                   const std::optional<MasterInstant>& theirs) {
    if (!theirs)
        return mine;
    if (!mine)
        return theirs;
    return std::max(*mine, *theirs);
}

// The cameras whose last recording has no end yet, in one pass over the events.
std::unordered_set<Uuid> rollingCameras(const std::vector<SyncEvent>& events) {
    std::unordered_set<Uuid> rolling;
    for (const auto& event : events) {
        if (!event.cameraID)
            continue;
        if (event.kind == SyncEvent::Kind::recStart)
            rolling.insert(*event.cameraID);
        else if (event.kind == SyncEvent::Kind::recStop || event.kind == SyncEvent::Kind::linkLost)
            rolling.erase(*event.cameraID);
    }
    return rolling;
}

// Whether combining may move this log's own end.
enum class EndOfThisLog { latest, kept };

// Takes the cameras of `other` that are new or strictly newer, noting which changed.
void combineCameras(std::vector<Camera>& cameras, const std::vector<Camera>& theirs,
                    std::vector<Uuid>& changed) {
    std::unordered_map<Uuid, std::size_t> cameraAt;
    cameraAt.reserve(cameras.size() + theirs.size());
    for (std::size_t i = 0; i < cameras.size(); ++i)
        cameraAt.emplace(cameras[i].id, i);
    for (const auto& camera : theirs) {
        auto found = cameraAt.find(camera.id);
        if (found == cameraAt.end()) {
            cameraAt.emplace(camera.id, cameras.size());
            cameras.push_back(camera);
            changed.push_back(camera.id);
        } else if (camera.updatedAt > cameras[found->second].updatedAt) {
            if (cameras[found->second] != camera)
                changed.push_back(camera.id);
            cameras[found->second] = camera;
        }
    }
}

LogChanges combine(SessionDoc& doc, const SessionDoc& other, EndOfThisLog end, EventIDs* known) {
    LogChanges changes;
    if (other.id != doc.id)
        return changes;
    combineCameras(doc.cameras, other.cameras, changes.cameras);

    // An event both logs hold is never replaced, whatever its contents.
    auto& events = doc.events;
    EventIDs ownIDs;
    if (!known) {
        ownIDs = idsOf(events);
        known = &ownIDs;
    }
    const std::size_t ownCount = events.size();
    for (const auto& event : other.events) {
        if (!known->insert(event.id).second)
            continue;
        events.push_back(event);
        if (event.cameraID)
            changes.cameras.push_back(*event.cameraID);
        changes.markersAdded = changes.markersAdded || event.kind == SyncEvent::Kind::marker;
    }
    changes.eventsAdded = events.size() - ownCount;
    if (changes.eventsAdded > 0)
        sortEvents(events, ownCount);
    std::sort(changes.cameras.begin(), changes.cameras.end());
    changes.cameras.erase(std::unique(changes.cameras.begin(), changes.cameras.end()),
                          changes.cameras.end());

    const auto before = std::tie(doc.endedAt, doc.endedForAll, doc.ownerID);
    const auto was = std::make_tuple(doc.endedAt, doc.endedForAll, doc.ownerID);
    if (end == EndOfThisLog::latest)
        doc.endedAt = later(doc.endedAt, other.endedAt);
    doc.endedForAll = later(doc.endedForAll, other.endedForAll);
    if (!doc.ownerID)
        doc.ownerID = other.ownerID;
    changes.sessionChanged = before != was;
    return changes;
}

} // namespace

EventIDs eventIDs(const SessionDoc& doc) {
    return idsOf(doc.events);
}

LogChanges merge(SessionDoc& doc, const SessionDoc& other, EventIDs* known) {
    return combine(doc, other, EndOfThisLog::latest, known);
}

LogChanges mergeLive(SessionDoc& doc, const SessionDoc& other, EventIDs* known) {
    return combine(doc, other, EndOfThisLog::kept, known);
}

bool covers(const SessionDoc& doc, const SessionDoc& other) {
    SessionDoc combined = doc;
    return !mergeLive(combined, other).any();
}

bool finish(SessionDoc& doc, std::string_view deviceID, MasterInstant instant, FinishScope scope) {
    if (scope == FinishScope::everyone && !doc.endedForAll)
        doc.endedForAll = instant;
    if (doc.endedAt)
        return false;

    auto& events = doc.events;
    auto rolling = rollingCameras(events);
    const std::size_t ownCount = events.size();
    for (const auto& camera : doc.cameras) {
        if (camera.removed || camera.ownerID != deviceID || !rolling.contains(camera.id))
            continue;
        // The real end is unknown: close the recording as open-ended.
        rolling.erase(camera.id);
        events.push_back(
            SyncEvent{Uuid::random(), camera.id, SyncEvent::Kind::linkLost, instant, {}, {}});
    }
    sortEvents(events, ownCount);
    doc.endedAt = instant;
    return true;
}

CombiningReport report(const SessionDoc& doc, const SessionDoc& adding) {
    struct NewCounts {
        std::size_t recordings = 0;
        std::size_t scans = 0;
    };
    const auto known = idsOf(doc.events);
    std::unordered_map<Uuid, NewCounts> countsOf;
    CombiningReport result;
    for (const auto& event : adding.events) {
        if (known.contains(event.id))
            continue;
        if (event.kind == SyncEvent::Kind::marker)
            ++result.markers;
        if (!event.cameraID)
            continue;
        if (event.kind == SyncEvent::Kind::recStart)
            ++countsOf[*event.cameraID].recordings;
        else if (event.kind == SyncEvent::Kind::tcScan)
            ++countsOf[*event.cameraID].scans;
    }

    std::unordered_map<Uuid, const Camera*> existing;
    existing.reserve(doc.cameras.size());
    for (const auto& camera : doc.cameras)
        existing.emplace(camera.id, &camera);

    for (const auto& camera : adding.cameras) {
        if (camera.removed)
            continue;
        const auto found = countsOf.find(camera.id);
        const NewCounts counts = found == countsOf.end() ? NewCounts{} : found->second;
        CameraGain gain{camera.name, false, counts.recordings, counts.scans, std::nullopt, false};
        const auto mine = existing.find(camera.id);
        if (mine == existing.end()) {
            gain.isNew = true;
        } else {
            gain.name = mine->second->name;
            if (camera.name != gain.name) {
                gain.otherName = camera.name;
                gain.renamed = camera.updatedAt > mine->second->updatedAt;
            }
        }
        result.cameras.push_back(std::move(gain));
    }
    return result;
}

} // namespace korvalume
