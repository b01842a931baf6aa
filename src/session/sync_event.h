#pragma once

#include "session/uuid.h"
#include "time/master_instant.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// One thing the log saw happen, at a master-clock instant.
struct SyncEvent {
    enum class Kind { recStart, recStop, tcScan, marker, linkLost };

    Uuid id;
    std::optional<Uuid> cameraID; // absent for session-wide events such as markers
    Kind kind = Kind::marker;
    MasterInstant at;
    // The camera's timecode as read at `at`, as text ("10:00:00:00"). It is kept as
    // written; users parse it with Timecode::parse and the checked arithmetic.
    std::optional<std::string> timecode;
    std::optional<std::string> label;

    static std::optional<Kind> parseKind(std::string_view caseName);

    friend bool operator==(const SyncEvent&, const SyncEvent&) = default;
};

// The stored case name of each enumerator: "recStart", "tcScan".
std::string_view caseName(SyncEvent::Kind kind);

} // namespace korvalume

template <> struct std::hash<korvalume::SyncEvent> {
    std::size_t operator()(const korvalume::SyncEvent& event) const noexcept;
};
