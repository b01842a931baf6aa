#pragma once

#include "session/session_doc.h"
#include "session/uuid.h"
#include "time/frame_rate.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// What a phone needs to join a live session: enough to log against the same
// session and clock. Travels as a web link whose fragment "#j=" carries it, so
// it never reaches a web server; a "korvalume://join/..." form is read too.
struct SessionLink {
    Uuid id;
    std::string name;
    FrameRate fps;
    MasterInstant startedAt;
    std::optional<std::int64_t> zone; // seconds east of UTC
    std::optional<std::string> ownerID;

    // The base address of the web application, ending in "/korvalume/app/".
    static constexpr std::string_view webApp = "https://korvalume.app/korvalume/app/";

    static SessionLink from(const SessionDoc& doc);
    // A session log with these fields and no cameras or events.
    SessionDoc doc() const;

    // webApp + "#j=" + base64url of the compact array form (version 2).
    std::string url() const;
    // Reads the fragment form, then the custom-scheme form; nullopt for anything else.
    static std::optional<SessionLink> parse(std::string_view url);

    friend bool operator==(const SessionLink&, const SessionLink&) = default;
};

// Writes the keyed JSON form, which parse() reads behind the custom scheme.
void to_json(nlohmann::json& out, const SessionLink& link);

} // namespace korvalume

template <> struct std::hash<korvalume::SessionLink> {
    std::size_t operator()(const korvalume::SessionLink& link) const noexcept;
};
