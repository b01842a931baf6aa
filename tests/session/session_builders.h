#pragma once

#include "session/session_doc.h"
#include "session/session_file.h"

#include <ostream>
#include <string>

// Small builders so each test states only what matters to it.
namespace korvalume::testing {

// A readable, stable id: number n in the last group.
inline Uuid uuidNumber(unsigned n) {
    Uuid id;
    for (int i = 0; i < 4; ++i)
        id.bytes[std::size_t(15 - i)] = std::uint8_t(n >> (8 * i));
    id.bytes[0] = 0xAB;
    return id;
}

inline Camera camera(unsigned n, std::string name, Camera::Link link = Camera::Link::bluetooth,
                     double updatedAt = 0) {
    Camera c;
    c.id = uuidNumber(n);
    c.name = std::move(name);
    c.link = link;
    c.updatedAt = updatedAt;
    return c;
}

inline SyncEvent event(unsigned n, SyncEvent::Kind kind, double at,
                       std::optional<unsigned> cameraNumber = std::nullopt) {
    std::optional<Uuid> cameraID;
    if (cameraNumber)
        cameraID = uuidNumber(*cameraNumber);
    return {uuidNumber(1000000 + n), cameraID, kind, at, {}, {}};
}

inline SessionDoc session(std::string name = "SHOOT 15 NOV") {
    SessionDoc doc;
    doc.id = *Uuid::parse("3F2A9C1D-0000-4000-8000-00000000BEEF");
    doc.name = std::move(name);
    doc.fps = FrameRate{25, false};
    doc.startedAt = 1700000000;
    return doc;
}

} // namespace korvalume::testing

namespace korvalume {
// Failures show a log as its JSON rather than raw bytes.
inline void PrintTo(const SessionDoc& doc, std::ostream* out) {
    const auto bytes = sessionfile::encoded(doc);
    *out << (bytes ? *bytes : bytes.error());
}
} // namespace korvalume
