#pragma once

// The states a live log goes through in the autosave crash test: a session with one
// camera, then one more marker each time. Both the probe and the test build them.
#include "support/shoot_builder.h"

namespace korvalume::testing {

inline SessionDoc autosaveState(double startedAt, int markers) {
    SessionDoc doc = session("CRASH / TEST", FrameRate::pal(), startedAt);
    doc.ownerID = "0WNE0000-0000-4000-8000-000000000009";
    doc.cameras.push_back(camera(1, "CAM A"));
    for (int i = 1; i <= markers; ++i) {
        doc.events.push_back(event(unsigned(i), SyncEvent::Kind::marker, startedAt + i));
        doc.events.back().label = "MARK " + std::to_string(i) + std::string(200, '.');
    }
    return doc;
}

} // namespace korvalume::testing
