#include "session/uuid.h"

#include <QUuid>

#include <cstring>

namespace korvalume {

std::optional<Uuid> Uuid::parse(std::string_view text) {
    // QUuid also takes braces and other lengths; ids are stored in this one form only.
    if (text.size() != 36)
        return std::nullopt;
    for (const std::size_t hyphen : {8u, 13u, 18u, 23u}) {
        if (text[hyphen] != '-')
            return std::nullopt;
    }
    const QUuid parsed = QUuid::fromString(QLatin1StringView(text.data(), qsizetype(text.size())));
    // QUuid gives the nil id for text it cannot read, and for the nil id itself.
    if (parsed.isNull() && text != "00000000-0000-0000-0000-000000000000")
        return std::nullopt;
    Uuid uuid;
    const QByteArray bytes = parsed.toRfc4122();
    std::memcpy(uuid.bytes.data(), bytes.constData(), uuid.bytes.size());
    return uuid;
}

Uuid Uuid::random() {
    Uuid uuid;
    const QByteArray bytes = QUuid::createUuid().toRfc4122();
    std::memcpy(uuid.bytes.data(), bytes.constData(), uuid.bytes.size());
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
