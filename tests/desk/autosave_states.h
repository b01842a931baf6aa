#pragma once

// The states a live log goes through in the autosave crash test: a session with one
// camera, then one more marker each time. Both the probe and the test build them.
#include "session/session_doc.h"

#include <cstdio>
#include <string>

namespace korvalume::testing {

inline SessionDoc autosaveState(double startedAt, int markers) {
    SessionDoc doc;
    doc.id = *Uuid::parse("C8A5B0B0-0000-4000-8000-00000000CAFE");
    doc.name = "CRASH / TEST";
    doc.fps = FrameRate{25, false};
    doc.startedAt = startedAt;
    doc.ownerID = "0WNE0000-0000-4000-8000-000000000009";
    Camera camera;
    camera.id = *Uuid::parse("C8A5B0B0-0000-4000-8000-000000000001");
    camera.name = "CAM A";
    doc.cameras.push_back(camera);
    for (int i = 1; i <= markers; ++i) {
        SyncEvent marker;
        char id[37];
        std::snprintf(id, sizeof id, "C8A5B0B0-0000-4000-8000-%012X", unsigned(i));
        marker.id = *Uuid::parse(id);
        marker.kind = SyncEvent::Kind::marker;
        marker.at = startedAt + i;
        marker.label = "MARK " + std::to_string(i) + std::string(200, '.');
        doc.events.push_back(marker);
    }
    return doc;
}

} // namespace korvalume::testing
