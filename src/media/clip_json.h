#pragma once

#include "media/clip_file.h"

#include <nlohmann/json.hpp>

// The JSON form of a clip record as `korvalume scan --json` prints it: keys as
// the record's fields plus "name", the start timecode as text, the date as
// ISO 8601 in UTC, absent optionals left out.
namespace korvalume {

void to_json(nlohmann::json& out, const ClipFile& clip);

} // namespace korvalume
