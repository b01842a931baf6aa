#pragma once

#include "time/frame_rate.h"
#include "time/master_instant.h"
#include "time/timecode.h"

#include <QTimeZone>

#include <optional>
#include <string>

// Conversions between master-clock instants and the local wall-clock day of a zone.
namespace korvalume::mastertime {

// Seconds since local midnight, in [0, 86400); daylight saving is that of t itself.
double secondsOfDay(MasterInstant t, const QTimeZone& zone = QTimeZone::systemTimeZone());

// The label a free-running time-of-day timecode shows at t: nominal base,
// never drop-frame, no NTSC slow-down. Requires a finite t.
Timecode timeOfDay(MasterInstant t, const FrameRate& rate,
                   const QTimeZone& zone = QTimeZone::systemTimeZone());

// The instant with local time of day `secondsOfDay` lying within half a day of `near`.
double instant(double secondsOfDay, double near,
               const QTimeZone& zone = QTimeZone::systemTimeZone());

// Running time: "MM:SS" below an hour, then "H:MM:SS" (hours not wrapped).
std::string clock(double duration);

// The zone of a session: `secondsEast` of UTC when it forms a valid zone,
// else the machine's zone.
QTimeZone zoneFromOffset(std::optional<std::int64_t> secondsEast);

} // namespace korvalume::mastertime
