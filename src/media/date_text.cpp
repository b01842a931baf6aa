#include "media/date_text.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

#include <cmath>

namespace korvalume::DateText {

namespace {

// Groups: 1-6 date and time, 7 fraction, 8 zone ("Z" or signed), 9 sign, 10-11 offset.
constexpr auto dateTimePattern =
    R"(^(\d{4})-(\d{2})-(\d{2})[T ](\d{2}):(\d{2}):(\d{2})(\.\d{1,9})?(Z|([+-])(\d{2}):?(\d{2}))?$)";

std::optional<double> fromMatch(const QRegularExpressionMatch& match) {
    const auto number = [&match](int group) { return match.capturedView(group).toInt(); };
    const QDate date(number(1), number(2), number(3));
    const QTime time(number(4), number(5), number(6));
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    int offsetSeconds = 0;
    if (match.hasCaptured(9)) {
        if (number(10) > 23 || number(11) > 59)
            return std::nullopt;
        offsetSeconds = (number(10) * 3600 + number(11) * 60) * (match.captured(9) == "-" ? -1 : 1);
    }
    double fraction = 0;
    if (match.hasCaptured(7))
        fraction = match.captured(7).toDouble();
    const QDateTime asUtc(date, time, QTimeZone::utc());
    return double(asUtc.toSecsSinceEpoch() - offsetSeconds) + fraction;
}

} // namespace

std::optional<double> internetDateTime(std::string_view text) {
    static const QRegularExpression pattern(QString::fromLatin1(dateTimePattern));
    const auto match = pattern.match(QString::fromUtf8(text.data(), qsizetype(text.size())));
    // The strict form: a "T", no fraction, a zone, and a colon in the zone.
    if (!match.hasMatch() || text.size() < 11 || text[10] != 'T' || match.hasCaptured(7) ||
        !match.hasCaptured(8) || (match.hasCaptured(9) && text[text.size() - 3] != ':'))
        return std::nullopt;
    return fromMatch(match);
}

std::optional<double> containerDate(std::string_view text) {
    static const QRegularExpression pattern(QString::fromLatin1(dateTimePattern));
    const auto match = pattern.match(QString::fromUtf8(text.data(), qsizetype(text.size())));
    if (!match.hasMatch())
        return std::nullopt;
    return fromMatch(match);
}

std::string isoUtc(double secondsSinceEpoch) {
    if (!std::isfinite(secondsSinceEpoch) || std::abs(secondsSinceEpoch) > 1e15)
        return {};
    const auto milliseconds = std::llround(secondsSinceEpoch * 1000.0);
    // Qt::UTC, not the UTC zone object: only the former prints as "Z".
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
    const auto format = milliseconds % 1000 == 0 ? Qt::ISODate : Qt::ISODateWithMs;
    return moment.toString(format).toStdString();
}

} // namespace korvalume::DateText
