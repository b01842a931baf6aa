#pragma once

#include "time/frame_rate.h"
#include "time/timecode.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string_view>

// JSON forms of the time values, as stored inside session logs. Reading is
// strict: a missing or mistyped key throws JsonError naming the key, never
// takes a default.
namespace korvalume {

struct JsonError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

namespace json {
// Strict field readers for untrusted objects. An integer accepts any JSON
// number with an exact 64-bit integer value (25 and 25.0, not 25.5).
const nlohmann::json& require(const nlohmann::json& object, std::string_view key);
std::int64_t requireInt(const nlohmann::json& object, std::string_view key);
double requireDouble(const nlohmann::json& object, std::string_view key);
bool requireBool(const nlohmann::json& object, std::string_view key);
const std::string& requireString(const nlohmann::json& object, std::string_view key);
std::int64_t asInt(const nlohmann::json& value, std::string_view key);
double asDouble(const nlohmann::json& value, std::string_view key);
} // namespace json

void to_json(nlohmann::json& out, const FrameRate& rate);
void from_json(const nlohmann::json& in, FrameRate& rate);
void to_json(nlohmann::json& out, const Timecode& timecode);
void from_json(const nlohmann::json& in, Timecode& timecode);

} // namespace korvalume
