#include "media/date_text.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

#include <cmath>

namespace korvalume::datetext {

namespace {

// Qt reads more forms than media metadata writes ("24:00", no seconds, "+09",
// a decimal comma); only this one is a date here. 1: fraction, 2: zone.
constexpr auto shapePattern =
    R"(^\d{4}-\d{2}-\d{2}[T ]\d{2}:\d{2}:\d{2}(\.\d{1,9})?(Z|[+-]\d{2}:?\d{2})?$)";

enum class Form { internet, container };

std::optional<double> secondsSinceEpoch(std::string_view text, Form form) {
    static const QRegularExpression shape(QString::fromLatin1(shapePattern));
    const QString string = QString::fromUtf8(text.data(), qsizetype(text.size()));
    const auto match = shape.match(string);
    // Qt also reads "24:00:00" as the next midnight, which no metadata writes.
    if (!match.hasMatch() || QStringView(string).mid(11, 2) == u"24")
        return std::nullopt;
    const QString zone = match.captured(2);
    // The strict form: a "T", no fraction, a zone, and a colon in the zone.
    if (form == Form::internet && (string[10] != u'T' || match.hasCaptured(1) || zone.isEmpty() ||
                                   (zone != u"Z" && !zone.contains(u':'))))
        return std::nullopt;
    // Qt keeps milliseconds; the whole fraction as written is added to whole seconds instead.
    QDateTime moment =
        QDateTime::fromString(string.left(10) + u'T' + string.mid(11, 8) + zone, Qt::ISODateWithMs);
    if (!moment.isValid())
        return std::nullopt;
    if (zone.isEmpty())
        moment.setTimeZone(QTimeZone::utc());
    const double fraction = match.hasCaptured(1) ? match.captured(1).toDouble() : 0.0;
    return double(moment.toSecsSinceEpoch()) + fraction;
}

} // namespace

std::optional<double> internetDateTime(std::string_view text) {
    return secondsSinceEpoch(text, Form::internet);
}

std::optional<double> containerDate(std::string_view text) {
    return secondsSinceEpoch(text, Form::container);
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

} // namespace korvalume::datetext
