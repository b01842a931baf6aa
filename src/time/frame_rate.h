#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvalume {

// A nominal whole rate plus the NTSC 1000/1001 slow-down flag.
struct FrameRate {
    std::int64_t timebase = 0;
    bool ntsc = false;

    // A multiplication by this constant, not a division by 1.001, so every
    // rate derived here is bit-identical to what the phones compute.
    static constexpr double ntscFactor = 0.999000999000999;

    constexpr double fps() const { return double(timebase) * factor(); }
    // Timecode counting base: rates above 30 count labels at half their rate, once.
    constexpr std::int64_t tcBase() const { return timebase > 30 ? timebase / 2 : timebase; }
    constexpr double tcFps() const { return double(tcBase()) * factor(); }

    // "23.976", "29.97", "59.94", "48*", "25" ...; also the rate's identity key.
    std::string label() const;
    std::string id() const { return label(); }

    // Rate from a Sony metadata text such as "25p", "23.98p" or "59.94i".
    static std::optional<FrameRate> sony(std::string_view text);

    static constexpr FrameRate pal() { return {25, false}; }
    // Every known rate, in the order pickers list them.
    static constexpr std::array<FrameRate, 8> all() {
        return {{{24, true},
                 {24, false},
                 {25, false},
                 {30, true},
                 {30, false},
                 {50, false},
                 {60, true},
                 {60, false}}};
    }
    // The rates offered for a session: all but 30 and 60.
    static std::vector<FrameRate> sessionChoices();

    friend constexpr bool operator==(const FrameRate&, const FrameRate&) = default;

private:
    constexpr double factor() const { return ntsc ? ntscFactor : 1.0; }
};

} // namespace korvalume

template <> struct std::hash<korvalume::FrameRate> {
    std::size_t operator()(const korvalume::FrameRate& r) const noexcept {
        return std::hash<std::int64_t>{}(r.timebase) * 2 + (r.ntsc ? 1 : 0);
    }
};
