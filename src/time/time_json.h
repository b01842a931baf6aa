#pragma once

#include "time/frame_rate.h"
#include "time/timecode.h"

#include <nlohmann/json.hpp>

// JSON forms of the time values as `scan --json` writes them. Only written:
// reading JSON is simdjson's job (session/json_read.h).
namespace korvalume {

void to_json(nlohmann::json& out, const FrameRate& rate);
void to_json(nlohmann::json& out, const Timecode& timecode);

} // namespace korvalume
