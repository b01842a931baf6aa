#include "media/clip_file.h"

#include <algorithm>
#include <array>
#include <functional>

namespace korvalume {

std::string ClipFile::name() const {
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool isVideoExtension(std::string_view lowerExtension) {
    static constexpr std::array<std::string_view, 4> video{"mp4", "mov", "mxf", "m4v"};
    return std::ranges::find(video, lowerExtension) != video.end();
}

bool isAudioExtension(std::string_view lowerExtension) {
    return lowerExtension == "wav" || lowerExtension == "bwf";
}

} // namespace korvalume

std::size_t
std::hash<korvalume::ClipFile>::operator()(const korvalume::ClipFile& clip) const noexcept {
    std::size_t h = std::hash<std::string>{}(clip.path);
    const auto mix = [&h](std::size_t v) { h = h * 1000003u ^ v; };
    mix(std::hash<double>{}(clip.duration));
    mix(std::hash<std::int64_t>{}(clip.frames));
    mix(clip.rate ? std::hash<korvalume::FrameRate>{}(*clip.rate) : 0x5151);
    mix(clip.startTC ? std::hash<korvalume::Timecode>{}(*clip.startTC) : 0x7171);
    mix(clip.created ? std::hash<double>{}(*clip.created) : 0x9191);
    mix(std::hash<std::string>{}(clip.model));
    mix(std::hash<std::string>{}(clip.serial));
    for (auto v : {clip.width, clip.height, clip.audioChannels, clip.sampleRate})
        mix(std::hash<std::int64_t>{}(v));
    mix((clip.slowMotion ? 2u : 0u) | (clip.audioOnly ? 1u : 0u));
    mix(clip.startTCSeconds ? std::hash<double>{}(*clip.startTCSeconds) : 0xb1b1);
    return h;
}
