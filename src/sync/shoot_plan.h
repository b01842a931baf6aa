#pragma once

#include "media/clip_file.h"
#include "session/session_doc.h"
#include "session/uuid.h"
#include "sync/placed_clip.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Planning a whole shoot: the cameras the user named, each with its card.
namespace korvalume::syncmap {

// The camera a user means by `nameOrID`: the one with that id, else the first whose
// name matches without regard to case, active cameras before removed ones.
std::optional<Camera> findCamera(const SessionDoc& doc, std::string_view nameOrID);

// What was read from one camera's card folder.
struct CameraCard {
    Uuid cameraID;
    std::string folder;
    std::vector<ClipFile> files;
};

// One plan per camera of the session that has a card, in the session's camera order;
// removed cameras get none. A camera
// with several cards is planned once over all of their files.
std::vector<CameraPlan> planCameras(const SessionDoc& doc, std::span<const CameraCard> cards);

} // namespace korvalume::syncmap
