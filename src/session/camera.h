#pragma once

#include "session/uuid.h"
#include "time/master_instant.h"

#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// A camera or sound recorder taking part in a session.
struct Camera {
    // Enumerators carry the stored case names.
    enum class Kind { camera, recorder };
    // How the phone follows the camera; `scan` means it only reads the camera's display.
    enum class Link { bluetooth, wifi, scan };

    Uuid id;
    Kind kind = Kind::camera;
    std::string name; // "CAM A", "SOUND A"
    std::string model;
    Link link = Link::bluetooth;
    std::string address;
    std::string ownerID;   // the phone that looks after this camera
    std::string ownerName; // that phone's name as people see it
    std::string note;
    bool removed = false;    // taken out of the session; kept for its history
    MasterInstant updatedAt; // last change of this camera's own fields; newer wins on combining

    static std::optional<Kind> parseKind(std::string_view caseName);
    static std::optional<Link> parseLink(std::string_view caseName);

    friend bool operator==(const Camera&, const Camera&) = default;
};

// The stored case name of each enumerator: "camera", "bluetooth".
std::string_view caseName(Camera::Kind kind);
std::string_view caseName(Camera::Link link);

} // namespace korvalume

template <> struct std::hash<korvalume::Camera> {
    std::size_t operator()(const korvalume::Camera& camera) const noexcept;
};
