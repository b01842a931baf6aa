#pragma once

#include "time/master_instant.h"

#include <QTimeZone>

#include <string>

namespace korvalume {

// A master-clock instant as wall-clock text in `zone`: "2023-11-14 23:13:20 +01:00",
// with milliseconds when they are not zero. Instants outside years 1..9999 are
// shown as their number of seconds.
std::string formatInstant(MasterInstant instant, const QTimeZone& zone);

} // namespace korvalume
