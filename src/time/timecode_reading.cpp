#include "time/timecode_reading.h"

#include <QRegularExpression>
#include <QString>

#include <algorithm>
#include <vector>

namespace korvalume::timecodereading {

namespace {

QString mapLookAlikes(QString text) {
    for (QChar& c : text) {
        switch (c.unicode()) {
        case 'O':
        case 'o':
        case 'D':
        case 'Q':
            c = u'0';
            break;
        case 'I':
        case 'l':
        case '|':
            c = u'1';
            break;
        case 'Z':
            c = u'2';
            break;
        case 'S':
            c = u'5';
            break;
        case 'B':
            c = u'8';
            break;
        default:
            break;
        }
    }
    return text;
}

// Offsets of each reading from its label's position; for a true offset o each lies in [o, o + F).
// Readings whose timecode cannot be counted carry no offset.
std::vector<double> sortedOffsets(std::span<const Sample> samples, const FrameRate& rate) {
    std::vector<double> offsets;
    offsets.reserve(samples.size());
    for (const auto& sample : samples) {
        if (auto seconds = sample.timecode.checkedSecondsAt(rate))
            offsets.push_back(sample.at - *seconds);
    }
    std::sort(offsets.begin(), offsets.end());
    return offsets;
}

} // namespace

std::optional<Timecode> parse(std::string_view text, std::int64_t base) {
    static const QRegularExpression spaces(QStringLiteral("\\s*([:;.,])\\s*"));
    static const QRegularExpression pattern(
        QStringLiteral("(?<!\\d)(\\d{2})[:;.,](\\d{2})[:;.,](\\d{2})([:;.,])(\\d{2})(?!\\d)"));
    if (!spaces.isValid() || !pattern.isValid())
        return std::nullopt;

    QString cleaned = mapLookAlikes(QString::fromUtf8(text.data(), qsizetype(text.size())));
    cleaned.replace(spaces, QStringLiteral("\\1"));

    auto matches = pattern.globalMatch(cleaned);
    while (matches.hasNext()) {
        const auto match = matches.next();
        bool ok[4] = {};
        const std::int64_t hours = match.captured(1).toLongLong(&ok[0]);
        const std::int64_t minutes = match.captured(2).toLongLong(&ok[1]);
        const std::int64_t seconds = match.captured(3).toLongLong(&ok[2]);
        const std::int64_t frames = match.captured(5).toLongLong(&ok[3]);
        if (!(ok[0] && ok[1] && ok[2] && ok[3]))
            continue;
        if (hours > 23 || minutes > 59 || seconds > 59 || frames >= base)
            continue;
        const QString separator = match.captured(4);
        const bool dropFrame = separator == u";" || separator == u".";
        return Timecode{hours, minutes, seconds, frames, dropFrame};
    }
    return std::nullopt;
}

std::optional<Lock> lock(std::span<const Sample> samples, const FrameRate& rate) {
    const auto n = static_cast<std::int64_t>(samples.size());
    if (n < samplesNeeded || rate.tcBase() <= 0)
        return std::nullopt;
    const double frame = 1.0 / rate.tcFps();

    const std::vector<double> offsets = sortedOffsets(samples, rate);
    if (offsets.empty())
        return std::nullopt;
    const double median = offsets[offsets.size() / 2];

    std::vector<double> kept;
    std::copy_if(offsets.begin(), offsets.end(), std::back_inserter(kept),
                 [&](double d) { return std::abs(d - median) < 0.25; });
    const auto k = static_cast<std::int64_t>(kept.size());
    if (k < samplesNeeded || double(k) < 0.6 * double(n))
        return std::nullopt;

    const double lo = kept[std::size_t(k / 20)];
    const double hi = kept[std::size_t(k - 1 - k / 20)];
    const double width = hi - lo;
    if (!(n > samplesLimit - 1 || width >= 0.6 * frame))
        return std::nullopt;

    const Timecode last = samples.back().timecode;
    const auto lastSeconds = last.checkedSecondsAt(rate);
    if (!lastSeconds)
        return std::nullopt;
    Lock result;
    result.timecode = last;
    result.at = (lo + hi) * 0.5 - frame * 0.5 + *lastSeconds;
    result.spread = width > frame ? 0.0 : 0.5 * (frame - width);
    result.samples = k;
    return result;
}

double progress(std::span<const Sample> samples, const FrameRate& rate) {
    const auto n = static_cast<std::int64_t>(samples.size());
    const double a = double(n) * 0.0625;
    if (n < 2)
        return a * 0.5;
    if (rate.tcBase() <= 0)
        return std::min(a * 0.5, 0.5);
    const std::vector<double> offsets = sortedOffsets(samples, rate);
    const auto m = static_cast<std::int64_t>(offsets.size());
    double width = 0;
    if (m >= 1)
        width = offsets[std::size_t(m - 1 - m / 20)] - offsets[std::size_t(m / 20)];
    const double countPart = a < 1 ? a * 0.5 : 0.5;
    const double coveragePart = 0.5 * std::min(width * rate.tcFps() / 0.6, 1.0);
    return std::min(countPart + coveragePart, 1.0);
}

} // namespace korvalume::timecodereading
