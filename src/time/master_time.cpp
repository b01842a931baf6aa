#include "time/master_time.h"

#include "base/programming_error.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace korvalume::mastertime {

namespace {

int offsetAt(MasterInstant t, const QTimeZone& zone) {
    if (!t.isFinite())
        return 0;
    // Outside QDateTime's range the offset at the nearest representable moment is used.
    const double ms = std::clamp(std::floor(t.seconds) * 1000.0, -8.0e15, 8.0e15);
    return zone.offsetFromUtc(QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(ms), Qt::UTC));
}

} // namespace

double secondsOfDay(MasterInstant t, const QTimeZone& zone) {
    const double local = t.seconds + offsetAt(t, zone);
    return local - std::floor(local / 86400.0) * 86400.0;
}

Timecode timeOfDay(MasterInstant t, const FrameRate& rate, const QTimeZone& zone) {
    const double s = secondsOfDay(t, zone);
    const std::int64_t base = rate.tcBase();
    if (!std::isfinite(s) || base < 1) {
        programmingError("timeOfDay needs a finite instant and a positive base");
    }
    const auto whole = static_cast<std::int64_t>(s);
    const double part = (s - double(whole)) * double(base);
    const std::int64_t frames = std::min(base - 1, static_cast<std::int64_t>(part));
    return Timecode{whole / 3600, (whole / 60) % 60, whole % 60, frames, false};
}

std::string clock(double duration) {
    if (std::isinf(duration) && duration > 0) {
        programmingError("clock of an infinite duration");
    }
    const double clamped = (std::isnan(duration) || duration < 0) ? 0 : duration;
    const auto s = static_cast<long long>(std::min(clamped, 9.0e18));
    char buffer[64];
    if (s < 3600)
        std::snprintf(buffer, sizeof buffer, "%02lld:%02lld", s / 60, s % 60);
    else
        std::snprintf(buffer, sizeof buffer, "%lld:%02lld:%02lld", s / 3600, (s / 60) % 60, s % 60);
    return buffer;
}

QTimeZone zoneFromOffset(std::optional<std::int64_t> secondsEast) {
    if (secondsEast && *secondsEast >= -14 * 3600 && *secondsEast <= 14 * 3600) {
        QTimeZone zone(static_cast<int>(*secondsEast));
        if (zone.isValid())
            return zone;
    }
    return QTimeZone::systemTimeZone();
}

} // namespace korvalume::mastertime
