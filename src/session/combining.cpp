#include "session/combining.h"

#include <algorithm>
#include <cmath>
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
// sorting only the tail and merging keeps combining linear for logs that are.
void sortEvents(std::vector<SyncEvent>& events, std::size_t sortedCount) {
    const auto tail = events.begin() + std::ptrdiff_t(sortedCount);
    if (std::is_sorted(events.begin(), tail, earlier)) {
        std::stable_sort(tail, events.end(), earlier);
        std::inplace_merge(events.begin(), tail, events.end(), earlier);
    } else {
        std::stable_sort(events.begin(), events.end(), earlier);
    }
}

std::unordered_set<Uuid> eventIDs(const std::vector<SyncEvent>& events) {
    std::unordered_set<Uuid> ids;
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

std::string counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

} // namespace

void merge(SessionDoc& doc, const SessionDoc& other) {
    if (other.id != doc.id)
        return;
    auto& cameras = doc.cameras;
    auto& events = doc.events;

    std::unordered_map<Uuid, std::size_t> cameraAt;
    cameraAt.reserve(cameras.size() + other.cameras.size());
    for (std::size_t i = 0; i < cameras.size(); ++i)
        cameraAt.emplace(cameras[i].id, i);
    for (const auto& theirs : other.cameras) {
        auto found = cameraAt.find(theirs.id);
        if (found == cameraAt.end()) {
            cameraAt.emplace(theirs.id, cameras.size());
            cameras.push_back(theirs);
        } else if (theirs.updatedAt > cameras[found->second].updatedAt) {
            cameras[found->second] = theirs;
        }
    }

    // An event both logs hold is never replaced, whatever its contents.
    const auto known = eventIDs(events);
    const std::size_t ownCount = events.size();
    for (const auto& event : other.events)
        if (!known.contains(event.id))
            events.push_back(event);
    sortEvents(events, ownCount);

    doc.endedAt = later(doc.endedAt, other.endedAt);
    doc.endedForAll = later(doc.endedForAll, other.endedForAll);
    if (!doc.ownerID)
        doc.ownerID = other.ownerID;
}

void mergeLive(SessionDoc& doc, const SessionDoc& other) {
    const auto ownEnd = doc.endedAt;
    merge(doc, other);
    doc.endedAt = ownEnd;
}

bool covers(const SessionDoc& doc, const SessionDoc& other) {
    SessionDoc combined = doc;
    merge(combined, other);
    combined.endedAt = doc.endedAt;
    return combined == doc;
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

std::vector<std::string> report(const SessionDoc& doc, const SessionDoc& adding) {
    struct NewCounts {
        std::size_t recordings = 0;
        std::size_t scans = 0;
    };
    const auto known = eventIDs(doc.events);
    std::unordered_map<Uuid, NewCounts> countsOf;
    std::size_t newMarkers = 0;
    for (const auto& event : adding.events) {
        if (known.contains(event.id))
            continue;
        if (event.kind == SyncEvent::Kind::marker)
            ++newMarkers;
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

    std::vector<std::string> lines;
    for (const auto& camera : adding.cameras) {
        if (camera.removed)
            continue;
        const auto found = countsOf.find(camera.id);
        const NewCounts counts = found == countsOf.end() ? NewCounts{} : found->second;
        std::string parts;
        if (counts.recordings > 0)
            parts = counted(counts.recordings, "recording");
        if (counts.scans > 0)
            parts += (parts.empty() ? "" : " and ") + counted(counts.scans, "timecode scan");

        const auto mine = existing.find(camera.id);
        if (mine == existing.end()) {
            lines.push_back(camera.name + " is new to this session" +
                            (parts.empty() ? "." : ", with " + parts + "."));
            continue;
        }
        const Camera& current = *mine->second;
        std::string line = current.name + " is already in this session. ";
        if (parts.empty())
            line += "This log had nothing new for it.";
        else
            line += "Added " + parts + " that " +
                    (counts.recordings + counts.scans == 1 ? "was" : "were") + "n't here.";
        if (camera.name != current.name) {
            if (!(camera.updatedAt > current.updatedAt))
                line +=
                    " Kept the name " + current.name + ", which is newer than " + camera.name + ".";
            else
                line += " Renamed to " + camera.name + ", the newer name.";
        }
        lines.push_back(std::move(line));
    }
    if (newMarkers > 0)
        lines.push_back("Added " + counted(newMarkers, "marker") + ".");
    if (lines.empty())
        lines.emplace_back("This log had no cameras or markers in it.");
    return lines;
}

} // namespace korvalume
