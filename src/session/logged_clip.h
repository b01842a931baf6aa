#pragma once

#include "session/uuid.h"
#include "time/master_instant.h"

#include <optional>
#include <string>

// One camera's recordings as the log saw them; the queries that derive them are in
// session/logged_recordings.h.
namespace korvalume {

struct LoggedClip {
    Uuid id; // the recStart event that opened the recording
    Uuid cameraID;
    MasterInstant start;
    std::optional<MasterInstant> end; // absent while still running
    // Closed by a link loss: the real end is unknown and lies at or after `end`.
    bool openEnded = false;

    // end - start, or now - start while running.
    double duration(MasterInstant now) const { return end.value_or(now) - start; }

    friend bool operator==(const LoggedClip&, const LoggedClip&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::LoggedClip> {
    std::size_t operator()(const korvalume::LoggedClip& clip) const noexcept {
        using korvalume::hashCombine;
        std::size_t h = std::hash<korvalume::Uuid>{}(clip.id);
        h = hashCombine(h, std::hash<korvalume::Uuid>{}(clip.cameraID));
        h = hashCombine(h, std::hash<korvalume::MasterInstant>{}(clip.start));
        h = hashCombine(h, std::hash<std::optional<korvalume::MasterInstant>>{}(clip.end));
        return hashCombine(h, clip.openEnded ? 1 : 0);
    }
};
