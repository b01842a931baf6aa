#include "session/session_doc.h"

#include "time/master_time.h"

#include <QDateTime>
#include <QString>

#include <set>

namespace korvalume {

namespace {

std::string upperCased(const std::string& text) {
    return QString::fromStdString(text).toUpper().toStdString();
}

} // namespace

SessionDoc SessionDoc::newSession(std::string name, FrameRate fps, MasterInstant startedAt,
                                  std::optional<std::string> ownerID) {
    SessionDoc doc;
    doc.id = Uuid::random();
    doc.name = std::move(name);
    doc.fps = fps;
    doc.startedAt = startedAt;
    doc.zone = QDateTime::currentDateTime().offsetFromUtc();
    doc.ownerID = std::move(ownerID);
    return doc;
}

std::vector<Camera> SessionDoc::activeCameras() const {
    std::vector<Camera> active;
    for (const auto& camera : cameras)
        if (!camera.removed)
            active.push_back(camera);
    return active;
}

std::vector<SyncEvent> SessionDoc::markers() const {
    std::vector<SyncEvent> found;
    for (const auto& event : events)
        if (event.kind == SyncEvent::Kind::marker)
            found.push_back(event);
    return found;
}

QTimeZone SessionDoc::timeZone() const {
    return mastertime::zoneFromOffset(zone);
}

std::string SessionDoc::nextCameraName(Camera::Kind kind) const {
    const std::string prefix = kind == Camera::Kind::camera ? "CAM" : "SOUND";
    std::set<std::string> taken;
    std::size_t activeCount = 0;
    for (const auto& camera : cameras) {
        if (camera.removed)
            continue;
        taken.insert(upperCased(camera.name));
        ++activeCount;
    }
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        std::string candidate = prefix + ' ' + letter;
        if (!taken.contains(candidate))
            return candidate;
    }
    return prefix + ' ' + std::to_string(activeCount + 1);
}

} // namespace korvalume

namespace {

template <class T> std::size_t hashOf(const T& value) {
    return std::hash<T>{}(value);
}

} // namespace

std::size_t
std::hash<korvalume::SessionDoc>::operator()(const korvalume::SessionDoc& d) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = hashOf(d.id);
    for (std::size_t part : {hashOf(d.name), hashOf(d.fps), hashOf(d.startedAt), hashOf(d.endedAt),
                             hashOf(d.zone), hashOf(d.ownerID), hashOf(d.endedForAll)})
        h = hashCombine(h, part);
    for (const auto& camera : d.cameras)
        h = hashCombine(h, hashOf(camera));
    for (const auto& event : d.events)
        h = hashCombine(h, hashOf(event));
    return h;
}
