#include "session/camera.h"

#include <algorithm>
#include <array>

namespace korvalume {

namespace {

constexpr std::array<std::string_view, 2> kindNames = {"camera", "recorder"};
constexpr std::array<std::string_view, 3> linkNames = {"bluetooth", "wifi", "scan"};

template <class Enum, std::size_t N>
std::optional<Enum> fromCaseName(const std::array<std::string_view, N>& names,
                                 std::string_view text) {
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end())
        return std::nullopt;
    return static_cast<Enum>(found - names.begin());
}

} // namespace

std::optional<Camera::Kind> Camera::parseKind(std::string_view caseName) {
    return fromCaseName<Kind>(kindNames, caseName);
}

std::optional<Camera::Link> Camera::parseLink(std::string_view caseName) {
    return fromCaseName<Link>(linkNames, caseName);
}

std::string_view caseName(Camera::Kind kind) {
    return kindNames.at(std::size_t(kind));
}

std::string_view caseName(Camera::Link link) {
    return linkNames.at(std::size_t(link));
}

} // namespace korvalume

std::size_t std::hash<korvalume::Camera>::operator()(const korvalume::Camera& c) const noexcept {
    using korvalume::hashCombine;
    const auto hashOf = [](const auto& value) {
        return std::hash<std::decay_t<decltype(value)>>{}(value);
    };
    std::size_t h = hashOf(c.id);
    for (std::size_t part :
         {hashOf(int(c.kind)), hashOf(c.name), hashOf(c.model), hashOf(int(c.link)),
          hashOf(c.address), hashOf(c.ownerID), hashOf(c.ownerName), hashOf(c.note),
          hashOf(c.removed), hashOf(c.updatedAt)})
        h = hashCombine(h, part);
    return h;
}
