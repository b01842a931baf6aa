#pragma once

#include "session/logged_clip.h"
#include "session/session_doc.h"

#include <vector>

// What a log saw of one camera: its recordings paired from recStart, recStop and
// linkLost events, and its timecode scans. Its live status is in camera_activity.h.
namespace korvalume {

// The camera's recordings in the order they were closed, a still-running one last.
std::vector<LoggedClip> clips(const SessionDoc& doc, const Uuid& cameraID);
// The camera's tcScan events, stored order.
std::vector<SyncEvent> scans(const SessionDoc& doc, const Uuid& cameraID);

} // namespace korvalume
