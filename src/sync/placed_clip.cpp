#include "sync/placed_clip.h"

#include <array>
#include <functional>
#include <utility>

namespace korvalume {

namespace {

constexpr std::array<std::pair<PlacedClip::Method, std::string_view>, 4> methodLabels{{
    {PlacedClip::Method::timecode, "TIMECODE"},
    {PlacedClip::Method::logged, "LOGGED"},
    {PlacedClip::Method::learned, "TIMECODE + LOG"},
    {PlacedClip::Method::unplaced, "NOT PLACED"},
}};

} // namespace

std::string_view label(PlacedClip::Method method) {
    for (const auto& [candidate, text] : methodLabels) {
        if (candidate == method)
            return text;
    }
    return "NOT PLACED";
}

std::vector<PlacedClip> CameraPlan::placed() const {
    std::vector<PlacedClip> result;
    for (const auto& clip : clips) {
        if (clip.start)
            result.push_back(clip);
    }
    return result;
}

} // namespace korvalume

std::size_t
std::hash<korvalume::PlacedClip>::operator()(const korvalume::PlacedClip& clip) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = std::hash<korvalume::ClipFile>{}(clip.file);
    h = hashCombine(h, std::hash<std::optional<korvalume::MasterInstant>>{}(clip.start));
    h = hashCombine(h, static_cast<std::size_t>(clip.method));
    return hashCombine(h, std::hash<std::optional<std::string>>{}(clip.note));
}

std::size_t
std::hash<korvalume::CameraPlan>::operator()(const korvalume::CameraPlan& plan) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = std::hash<korvalume::Camera>{}(plan.camera);
    for (const auto& clip : plan.clips)
        h = hashCombine(h, std::hash<korvalume::PlacedClip>{}(clip));
    for (const auto& warning : plan.warnings)
        h = hashCombine(h, std::hash<std::string>{}(warning));
    return h;
}
