#include "time/time_json.h"

#include <cmath>

namespace korvalume {

namespace json {

namespace {
[[noreturn]] void fail(std::string_view key, std::string_view problem) {
    throw JsonError("\"" + std::string(key) + "\" " + std::string(problem));
}
} // namespace

const nlohmann::json& require(const nlohmann::json& object, std::string_view key) {
    if (!object.is_object())
        fail(key, "is inside a value that is not an object");
    auto found = object.find(key);
    if (found == object.end())
        fail(key, "is missing");
    return *found;
}

std::int64_t asInt(const nlohmann::json& value, std::string_view key) {
    if (value.is_number_integer() && !value.is_number_unsigned())
        return value.get<std::int64_t>();
    if (value.is_number_unsigned()) {
        const auto u = value.get<std::uint64_t>();
        if (u <= std::uint64_t(INT64_MAX))
            return std::int64_t(u);
        fail(key, "does not fit a 64-bit integer");
    }
    if (value.is_number_float()) {
        const double d = value.get<double>();
        if (std::trunc(d) == d && d >= -9223372036854775808.0 && d < 9223372036854775808.0)
            return static_cast<std::int64_t>(d);
        fail(key, "is not a whole number");
    }
    fail(key, "is not a number");
}

double asDouble(const nlohmann::json& value, std::string_view key) {
    if (!value.is_number())
        fail(key, "is not a number");
    return value.get<double>();
}

std::int64_t requireInt(const nlohmann::json& object, std::string_view key) {
    return asInt(require(object, key), key);
}

double requireDouble(const nlohmann::json& object, std::string_view key) {
    return asDouble(require(object, key), key);
}

bool requireBool(const nlohmann::json& object, std::string_view key) {
    const auto& value = require(object, key);
    if (!value.is_boolean())
        fail(key, "is not true or false");
    return value.get<bool>();
}

const std::string& requireString(const nlohmann::json& object, std::string_view key) {
    const auto& value = require(object, key);
    if (!value.is_string())
        fail(key, "is not a string");
    return value.get_ref<const std::string&>();
}

} // namespace json

void to_json(nlohmann::json& out, const FrameRate& rate) {
    out = nlohmann::json{{"timebase", rate.timebase}, {"ntsc", rate.ntsc}};
}

void from_json(const nlohmann::json& in, FrameRate& rate) {
    rate = FrameRate{json::requireInt(in, "timebase"), json::requireBool(in, "ntsc")};
}

void to_json(nlohmann::json& out, const Timecode& timecode) {
    out = nlohmann::json{{"hours", timecode.hours},
                         {"minutes", timecode.minutes},
                         {"seconds", timecode.seconds},
                         {"frames", timecode.frames},
                         {"dropFrame", timecode.dropFrame}};
}

void from_json(const nlohmann::json& in, Timecode& timecode) {
    timecode = Timecode{json::requireInt(in, "hours"), json::requireInt(in, "minutes"),
                        json::requireInt(in, "seconds"), json::requireInt(in, "frames"),
                        json::requireBool(in, "dropFrame")};
}

} // namespace korvalume
