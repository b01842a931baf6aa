#pragma once

#include <QString>

#include <optional>
#include <vector>

namespace korvalume {

// The modules of one QR symbol (error correction level M), without its quiet zone.
struct QrModules {
    int size = 0;           // modules per side
    std::vector<bool> dark; // row by row, size * size entries

    bool isDark(int x, int y) const {
        return x >= 0 && y >= 0 && x < size && y < size &&
               dark[static_cast<std::size_t>(y * size + x)];
    }

    // Nothing when the text does not fit a QR symbol.
    static std::optional<QrModules> encode(const QString& text);

    friend bool operator==(const QrModules&, const QrModules&) = default;
};

// The quiet zone that readers need around a symbol, in modules.
inline constexpr int qrQuietZone = 4;

} // namespace korvalume
