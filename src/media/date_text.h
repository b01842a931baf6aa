#pragma once

#include <optional>
#include <string>
#include <string_view>

// Dates as media metadata writes them, as seconds since 1970-01-01 00:00 UTC.
namespace korvalume::datetext {

// An internet date-time with its zone and no fraction: "2023-05-10T14:23:11+09:00",
// "2023-05-10T14:23:11Z".
std::optional<double> internetDateTime(std::string_view text);

// A container's ISO 8601 time stamp as libavformat reports it
// ("2024-05-01T10:00:00.000000Z"); a fraction is kept, a missing zone is UTC.
std::optional<double> containerDate(std::string_view text);

// ISO 8601 in UTC, with milliseconds only when there are any: "2024-05-01T10:00:00Z".
std::string isoUtc(double secondsSinceEpoch);

} // namespace korvalume::datetext
