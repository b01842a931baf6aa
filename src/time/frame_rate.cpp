#include "time/frame_rate.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace korvalume {

std::string FrameRate::label() const {
    if (ntsc) {
        switch (timebase) {
        case 24:
            return "23.976";
        case 30:
            return "29.97";
        case 60:
            return "59.94";
        default:
            return std::to_string(timebase) + "*";
        }
    }
    return std::to_string(timebase);
}

std::optional<FrameRate> FrameRate::sony(std::string_view text) {
    constexpr std::string_view trimmed = "pPiI ";
    auto first = text.find_first_not_of(trimmed);
    if (first == std::string_view::npos)
        return std::nullopt;
    auto last = text.find_last_not_of(trimmed);
    std::string_view number = text.substr(first, last - first + 1);

    double value = 0;
    auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || end != number.data() + number.size() || !std::isfinite(value))
        return std::nullopt;

    const double rounded = std::round(value); // halves away from zero
    constexpr std::array<double, 7> accepted = {24, 25, 30, 50, 60, 100, 120};
    if (std::find(accepted.begin(), accepted.end(), rounded) == accepted.end())
        return std::nullopt;
    return FrameRate{static_cast<std::int64_t>(rounded), std::fabs(value - rounded) > 0.001};
}

std::vector<FrameRate> FrameRate::sessionChoices() {
    std::vector<FrameRate> choices;
    for (const auto& rate : all()) {
        if (rate != FrameRate{30, false} && rate != FrameRate{60, false})
            choices.push_back(rate);
    }
    return choices;
}

} // namespace korvalume
