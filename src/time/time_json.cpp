#include "time/time_json.h"

namespace korvalume {

void to_json(nlohmann::json& out, const FrameRate& rate) {
    out = nlohmann::json{{"timebase", rate.timebase}, {"ntsc", rate.ntsc}};
}

void to_json(nlohmann::json& out, const Timecode& timecode) {
    out = nlohmann::json{{"hours", timecode.hours},
                         {"minutes", timecode.minutes},
                         {"seconds", timecode.seconds},
                         {"frames", timecode.frames},
                         {"dropFrame", timecode.dropFrame}};
}

} // namespace korvalume
