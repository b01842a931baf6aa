#pragma once

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "session/uuid.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume {

// Where one file of a camera's card starts on the master clock, and how that was found.
struct PlacedClip {
    enum class Method {
        timecode, // the file's start timecode through scan anchors
        logged,   // the start of the logged recording matched to the file
        learned,  // the file's start timecode through anchors learned from matched files
        unplaced, // no start
    };

    ClipFile file;
    std::optional<MasterInstant> start; // absent when not placed
    Method method = Method::unplaced;
    std::optional<std::string> note; // why the file was not placed; absent otherwise

    const std::string& id() const { return file.path; }

    friend bool operator==(const PlacedClip&, const PlacedClip&) = default;
};

// The stored text of a method, which is also its label: "TIMECODE", "LOGGED",
// "TIMECODE + LOG", "NOT PLACED".
std::string_view label(PlacedClip::Method method);

// One camera's placed files, in the engine's file order, and what to tell the user
// about the camera as a whole.
struct CameraPlan {
    Camera camera;
    std::vector<PlacedClip> clips;
    std::vector<std::string> warnings;

    const Uuid& id() const { return camera.id; }
    // The clips that have a start, in order.
    std::vector<PlacedClip> placed() const;

    friend bool operator==(const CameraPlan&, const CameraPlan&) = default;
};

} // namespace korvalume

template <> struct std::hash<korvalume::PlacedClip> {
    std::size_t operator()(const korvalume::PlacedClip& clip) const noexcept;
};
template <> struct std::hash<korvalume::CameraPlan> {
    std::size_t operator()(const korvalume::CameraPlan& plan) const noexcept;
};
