#include "session/session_doc.h"

#include "time/master_time.h"

#include <QDateTime>
#include <QString>

#include <array>
#include <set>

namespace korvalume {

namespace {

constexpr std::array<std::string_view, 2> cameraKindNames = {"camera", "recorder"};
constexpr std::array<std::string_view, 3> cameraLinkNames = {"bluetooth", "wifi", "scan"};
constexpr std::array<std::string_view, 5> eventKindNames = {"recStart", "recStop", "tcScan",
                                                            "marker", "linkLost"};

template <class Enum, std::size_t N>
std::optional<Enum> parseCaseName(const std::array<std::string_view, N>& names,
                                  std::string_view text) {
    for (std::size_t i = 0; i < N; ++i)
        if (names[i] == text)
            return static_cast<Enum>(i);
    return std::nullopt;
}

std::string upperCased(const std::string& text) {
    return QString::fromStdString(text).toUpper().toStdString();
}

} // namespace

std::optional<Camera::Kind> Camera::parseKind(std::string_view caseName) {
    return parseCaseName<Kind>(cameraKindNames, caseName);
}

std::optional<Camera::Link> Camera::parseLink(std::string_view caseName) {
    return parseCaseName<Link>(cameraLinkNames, caseName);
}

std::optional<SyncEvent::Kind> SyncEvent::parseKind(std::string_view caseName) {
    return parseCaseName<Kind>(eventKindNames, caseName);
}

std::string_view caseName(Camera::Kind kind) {
    return cameraKindNames.at(std::size_t(kind));
}
std::string_view caseName(Camera::Link link) {
    return cameraLinkNames.at(std::size_t(link));
}
std::string_view caseName(SyncEvent::Kind kind) {
    return eventKindNames.at(std::size_t(kind));
}

SessionDoc SessionDoc::newSession(std::string name, FrameRate fps, double startedAt,
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
    return MasterTime::zoneFromOffset(zone);
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

std::size_t std::hash<korvalume::Camera>::operator()(const korvalume::Camera& c) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = hashOf(c.id);
    for (std::size_t part :
         {hashOf(int(c.kind)), hashOf(c.name), hashOf(c.model), hashOf(int(c.link)),
          hashOf(c.address), hashOf(c.ownerID), hashOf(c.ownerName), hashOf(c.note),
          hashOf(c.removed), hashOf(c.updatedAt)})
        h = hashCombine(h, part);
    return h;
}

std::size_t
std::hash<korvalume::SyncEvent>::operator()(const korvalume::SyncEvent& e) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = hashOf(e.id);
    for (std::size_t part : {hashOf(e.cameraID), hashOf(int(e.kind)), hashOf(e.at),
                             hashOf(e.timecode), hashOf(e.label)})
        h = hashCombine(h, part);
    return h;
}

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
