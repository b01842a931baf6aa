// Decodes arbitrary bytes as a session log. Whatever is accepted must encode,
// read back equal, encode to the same bytes, be accepted by nlohmann-json too,
// and survive every operation on the document.
#include "session/camera_activity.h"
#include "session/combining.h"
#include "session/logged_recordings.h"
#include "session/session_doc.h"
#include "session/session_file.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "session_log_fuzzer: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    auto decoded = korvalume::sessionfile::decode(text);
    if (!decoded) {
        require(!decoded.message().empty(), "refusal without a reason");
        return 0;
    }
    const korvalume::SessionDoc& doc = *decoded;
    require(!nlohmann::json::parse(text, nullptr, false).is_discarded(),
            "accepted what nlohmann-json refuses");

    const auto bytes = korvalume::sessionfile::encoded(doc);
    require(bytes.ok(), "a decoded log does not encode");
    const auto again = korvalume::sessionfile::decode(*bytes);
    require(again.ok(), "an encoded log does not decode");
    require(*again == doc, "round trip changed the log");
    require(korvalume::sessionfile::encoded(*again).value() == *bytes, "same log, other bytes");

    // The operations must cope with whatever a file can hold.
    korvalume::SessionDoc combined = doc;
    (void)report(combined, doc);
    merge(combined, doc);
    // Combining sorts; once sorted, a log adds nothing to itself.
    require(covers(combined, doc), "a combined log does not cover its source");
    std::vector<korvalume::Uuid> ids;
    for (const auto& camera : doc.cameras) {
        ids.push_back(camera.id);
        (void)clips(doc, camera.id);
    }
    for (const auto& [id, seen] : activities(doc, ids))
        (void)seen;
    (void)doc.nextCameraName(korvalume::Camera::Kind::camera);
    const std::string device = doc.cameras.empty() ? "" : doc.cameras.front().ownerID;
    finish(combined, device, doc.startedAt, korvalume::FinishScope::everyone);
    require(korvalume::sessionfile::encoded(combined).ok(), "a finished log does not encode");
    return 0;
}
