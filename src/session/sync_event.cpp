#include "session/sync_event.h"

#include <algorithm>
#include <array>

namespace korvalume {

namespace {

constexpr std::array<std::string_view, 5> kindNames = {"recStart", "recStop", "tcScan", "marker",
                                                       "linkLost"};

} // namespace

std::optional<SyncEvent::Kind> SyncEvent::parseKind(std::string_view caseName) {
    const auto found = std::find(kindNames.begin(), kindNames.end(), caseName);
    if (found == kindNames.end())
        return std::nullopt;
    return static_cast<Kind>(found - kindNames.begin());
}

std::string_view caseName(SyncEvent::Kind kind) {
    return kindNames.at(std::size_t(kind));
}

} // namespace korvalume

std::size_t
std::hash<korvalume::SyncEvent>::operator()(const korvalume::SyncEvent& e) const noexcept {
    using korvalume::hashCombine;
    const auto hashOf = [](const auto& value) {
        return std::hash<std::decay_t<decltype(value)>>{}(value);
    };
    std::size_t h = hashOf(e.id);
    for (std::size_t part : {hashOf(e.cameraID), hashOf(int(e.kind)), hashOf(e.at),
                             hashOf(e.timecode), hashOf(e.label)})
        h = hashCombine(h, part);
    return h;
}
