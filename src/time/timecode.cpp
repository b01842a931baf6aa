#include "time/timecode.h"

#include "base/programming_error.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace korvalume {

namespace {

[[noreturn]] void rangeError(const char* what) {
    programmingError(std::string("timecode arithmetic out of range: ") + what);
}

// Strict integer: optional sign, then decimal digits only.
std::optional<std::int64_t> strictInteger(std::string_view piece) {
    std::string_view digits = piece;
    bool negative = false;
    if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
        negative = digits.front() == '-';
        digits.remove_prefix(1);
    }
    if (digits.empty() || digits.front() == '-' || digits.front() == '+')
        return std::nullopt;
    // Parse with the sign attached so INT64_MIN stays representable.
    std::string text = negative ? "-" + std::string(digits) : std::string(digits);
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool mulOverflows(std::int64_t a, std::int64_t b, std::int64_t& out) {
    return __builtin_mul_overflow(a, b, &out);
}
bool addOverflows(std::int64_t a, std::int64_t b, std::int64_t& out) {
    return __builtin_add_overflow(a, b, &out);
}
bool subOverflows(std::int64_t a, std::int64_t b, std::int64_t& out) {
    return __builtin_sub_overflow(a, b, &out);
}

} // namespace

std::optional<Timecode> Timecode::parse(std::string_view text) {
    std::vector<std::int64_t> numbers;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != ':' && text[i] != ';' && text[i] != '.')
            continue;
        if (i > start) {
            if (auto value = strictInteger(text.substr(start, i - start)))
                numbers.push_back(*value);
        }
        start = i + 1;
    }
    if (numbers.size() != 4)
        return std::nullopt;
    if (numbers[0] > 23 || numbers[1] > 59 || numbers[2] > 59 || numbers[3] > 59)
        return std::nullopt;
    // The flag comes from one fixed position: the character before the last two.
    bool dropFrame = false;
    if (text.size() > 2) {
        const char marker = text[text.size() - 3];
        dropFrame = marker == ';' || marker == '.';
    }
    return Timecode{numbers[0], numbers[1], numbers[2], numbers[3], dropFrame};
}

std::string Timecode::string() const {
    char buffer[128];
    std::snprintf(buffer, sizeof buffer, "%02lld:%02lld:%02lld%c%02lld",
                  static_cast<long long>(hours), static_cast<long long>(minutes),
                  static_cast<long long>(seconds), dropFrame ? ';' : ':',
                  static_cast<long long>(frames));
    return buffer;
}

std::optional<std::int64_t> Timecode::checkedFrameCount(std::int64_t base) const {
    std::int64_t totalMinutes = 0, totalSeconds = 0, count = 0;
    if (mulOverflows(60, hours, totalMinutes) || addOverflows(totalMinutes, minutes, totalMinutes))
        return std::nullopt;
    if (mulOverflows(60, totalMinutes, totalSeconds) ||
        addOverflows(totalSeconds, seconds, totalSeconds))
        return std::nullopt;
    if (mulOverflows(base, totalSeconds, count) || addOverflows(count, frames, count))
        return std::nullopt;
    if (dropFrame && base == 30) {
        std::int64_t dropped = 0;
        if (subOverflows(totalMinutes, totalMinutes / 10, dropped) ||
            mulOverflows(2, dropped, dropped) || subOverflows(count, dropped, count))
            return std::nullopt;
    }
    return count;
}

std::int64_t Timecode::frameCount(std::int64_t base) const {
    auto count = checkedFrameCount(base);
    if (!count)
        rangeError("frame count overflows");
    return *count;
}

std::optional<Timecode> Timecode::checkedFromFrameCount(std::int64_t n, std::int64_t base,
                                                        bool dropFrame) {
    if (base == 0)
        return std::nullopt;
    const bool df = dropFrame && base == 30;
    if (df) {
        const std::int64_t tens = n / 17982;
        const std::int64_t rest = n - 17982 * tens;
        std::int64_t skipped = 0;
        if (mulOverflows(18, tens, skipped) ||
            addOverflows(skipped, rest < 2 ? 0 : 2 * ((rest - 2) / 1798), skipped) ||
            addOverflows(n, skipped, n))
            return std::nullopt;
    }
    if (base == -1 && n == INT64_MIN)
        return std::nullopt;
    const std::int64_t s = n / base;
    return Timecode{(s / 3600) % 24, (s / 60) % 60, s % 60, n - s * base, df};
}

Timecode Timecode::fromFrameCount(std::int64_t count, std::int64_t base, bool dropFrame) {
    auto timecode = checkedFromFrameCount(count, base, dropFrame);
    if (!timecode)
        rangeError("zero base or frame count out of range");
    return *timecode;
}

std::optional<double> Timecode::checkedSecondsAt(const FrameRate& rate) const {
    auto count = checkedFrameCount(rate.tcBase());
    if (!count)
        return std::nullopt;
    return double(*count) / rate.tcFps();
}

double Timecode::secondsAt(const FrameRate& rate) const {
    return double(frameCount(rate.tcBase())) / rate.tcFps();
}

std::optional<Timecode> Timecode::checkedFromSeconds(double seconds, const FrameRate& rate,
                                                     bool dropFrame) {
    if (std::isnan(seconds))
        return std::nullopt;
    const double frames = std::round(std::max(seconds, 0.0) * rate.tcFps());
    // 2^63 is the first double that no longer fits.
    if (!(frames < 9223372036854775808.0) || !(frames >= -9223372036854775808.0))
        return std::nullopt;
    return checkedFromFrameCount(static_cast<std::int64_t>(frames), rate.tcBase(), dropFrame);
}

Timecode Timecode::fromSeconds(double seconds, const FrameRate& rate, bool dropFrame) {
    auto timecode = checkedFromSeconds(seconds, rate, dropFrame);
    if (!timecode)
        rangeError("seconds out of range");
    return *timecode;
}

} // namespace korvalume
