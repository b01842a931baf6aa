#include "session/uuid.h"

#include "session/json_text.h"

#include <QRandomGenerator>

#include <cstring>

namespace korvalume {

namespace {

constexpr bool isHyphenPosition(std::size_t i) {
    return i == 8 || i == 13 || i == 18 || i == 23;
}

} // namespace

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36)
        return std::nullopt;
    Uuid uuid;
    std::size_t nibble = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isHyphenPosition(i)) {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        const int digit = jsontext::hexValue(text[i]);
        if (digit < 0)
            return std::nullopt;
        uuid.bytes[nibble / 2] = std::uint8_t(uuid.bytes[nibble / 2] << 4 | digit);
        ++nibble;
    }
    return uuid;
}

Uuid Uuid::random() {
    Uuid uuid;
    quint32 words[4];
    QRandomGenerator::system()->fillRange(words);
    std::memcpy(uuid.bytes.data(), words, sizeof words);
    uuid.bytes[6] = std::uint8_t((uuid.bytes[6] & 0x0F) | 0x40); // version 4
    uuid.bytes[8] = std::uint8_t((uuid.bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    return uuid;
}

std::string Uuid::string() const {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        text += hex[bytes[i] >> 4];
        text += hex[bytes[i] & 0xF];
    }
    return text;
}

} // namespace korvalume
