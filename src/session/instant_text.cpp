#include "session/instant_text.h"

#include "session/json_text.h"

#include <QDateTime>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace korvalume {

namespace {

// Seconds of 0001-01-01 and 9999-12-31 relative to the epoch, rounded inwards.
constexpr double earliest = -62135596800.0;
constexpr double latest = 253402214400.0;

std::string offsetText(int secondsEast) {
    const int minutes = std::abs(secondsEast) / 60;
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%c%02d:%02d", secondsEast < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return buffer;
}

} // namespace

std::string formatInstant(MasterInstant at, const QTimeZone& zone) {
    const double instant = at.seconds;
    if (!std::isfinite(instant) || instant < earliest || instant > latest) {
        std::string text;
        if (!jsontext::appendDouble(text, instant))
            text = std::isnan(instant) ? "nan" : (instant < 0 ? "-inf" : "inf");
        return text + " s";
    }
    const auto ms = static_cast<qint64>(std::llround(instant * 1000));
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(ms, zone);
    const QString pattern = ms % 1000 == 0 ? "yyyy-MM-dd HH:mm:ss" : "yyyy-MM-dd HH:mm:ss.zzz";
    return time.toString(pattern).toStdString() + " " + offsetText(time.offsetFromUtc());
}

} // namespace korvalume
