#pragma once

#include "session/uuid.h"
#include "sync/placed_clip.h"
#include "time/master_instant.h"

#include <optional>
#include <string>
#include <vector>

namespace korvalume {

// One clip of a camera's plan as the views show it, in the user's words.
struct ClipLine {
    std::string name;   // the file's name
    std::string method; // "TIMECODE", "LOGGED", ...
    std::optional<MasterInstant> start;
    double duration = 0;
    std::string note; // why it was not placed; empty when placed

    friend bool operator==(const ClipLine&, const ClipLine&) = default;
};

// A camera's plan as the views show it.
struct PlanLines {
    Uuid cameraID;
    std::string cameraName;
    std::vector<ClipLine> clips;
    std::vector<std::string> warnings;

    friend bool operator==(const PlanLines&, const PlanLines&) = default;
};

PlanLines planLines(const CameraPlan& plan);

} // namespace korvalume
