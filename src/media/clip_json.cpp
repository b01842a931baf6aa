#include "media/clip_json.h"

#include "media/date_text.h"
#include "time/time_json.h"

namespace korvalume {

void to_json(nlohmann::json& out, const ClipFile& clip) {
    out = nlohmann::json{
        {"path", clip.path},
        {"name", clip.name()},
        {"duration", clip.duration},
        {"frames", clip.frames},
        {"model", clip.model},
        {"serial", clip.serial},
        {"width", clip.width},
        {"height", clip.height},
        {"audioChannels", clip.audioChannels},
        {"slowMotion", clip.slowMotion},
        {"audioOnly", clip.audioOnly},
        {"sampleRate", clip.sampleRate},
    };
    if (clip.rate)
        out["rate"] = *clip.rate;
    if (clip.startTC)
        out["startTC"] = clip.startTC->string();
    if (clip.created)
        out["created"] = datetext::isoUtc(*clip.created);
    if (clip.startTCSeconds)
        out["startTCSeconds"] = *clip.startTCSeconds;
}

} // namespace korvalume
