#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace korvalume {

// A 128-bit identifier of sessions, cameras and events.
struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    // The 36-character hyphenated form, hex digits in either case; anything else is nullopt.
    static std::optional<Uuid> parse(std::string_view text);
    // A fresh version 4 (random) identifier.
    static Uuid random();

    // Canonical form: 36 characters, upper-case hex, hyphens after 8, 12, 16 and 20 digits.
    std::string string() const;

    friend bool operator==(const Uuid&, const Uuid&) = default;
    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

// Folds one more hash into a running one (boost's mixing constant).
constexpr std::size_t hashCombine(std::size_t seed, std::size_t value) {
    return seed ^ (value + 0x9e3779b97f4a7c15ull + (seed << 6) + (seed >> 2));
}

} // namespace korvalume

template <> struct std::hash<korvalume::Uuid> {
    std::size_t operator()(const korvalume::Uuid& uuid) const noexcept {
        std::uint64_t high = 0;
        std::uint64_t low = 0;
        for (std::size_t i = 0; i < 8; ++i) {
            high = high << 8 | uuid.bytes[i];
            low = low << 8 | uuid.bytes[i + 8];
        }
        return korvalume::hashCombine(std::hash<std::uint64_t>{}(high),
                                      std::hash<std::uint64_t>{}(low));
    }
};
