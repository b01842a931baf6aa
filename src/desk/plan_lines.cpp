#include "desk/plan_lines.h"

namespace korvalume {

PlanLines planLines(const CameraPlan& plan) {
    PlanLines lines{plan.camera.id, plan.camera.name, {}, plan.warnings};
    lines.clips.reserve(plan.clips.size());
    for (const PlacedClip& clip : plan.clips)
        lines.clips.push_back({clip.file.name(), std::string(label(clip.method)), clip.start,
                               clip.file.duration, clip.note.value_or("")});
    return lines;
}

} // namespace korvalume
