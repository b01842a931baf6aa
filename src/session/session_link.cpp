#include "session/session_link.h"

#include "session/json_text.h"
#include "time/time_json.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <nlohmann/json.hpp>

#include <cmath>

namespace korvalume {

namespace {

constexpr std::int64_t linkVersion = 2;
// A join link is a few hundred bytes; anything far larger is not one.
constexpr std::size_t longestPayload = 64 * 1024;

std::string base64UrlWithoutPadding(std::string_view bytes) {
    return QByteArray(bytes.data(), qsizetype(bytes.size()))
        .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals)
        .toStdString();
}

// Either alphabet, padded or not: links pass through chat apps that rewrite them.
std::optional<std::string> decodeBase64Url(std::string_view payload) {
    if (payload.size() > longestPayload)
        return std::nullopt;
    QByteArray text(payload.data(), qsizetype(payload.size()));
    text.replace('+', '-').replace('/', '_');
    // A lone character after the last whole group of four cannot encode a byte.
    if (text.size() % 4 == 1)
        return std::nullopt;
    while (text.size() % 4 != 0)
        text += '=';
    const auto decoded = QByteArray::fromBase64Encoding(
        text, QByteArray::Base64UrlEncoding | QByteArray::AbortOnBase64DecodingErrors);
    if (decoded.decodingStatus != QByteArray::Base64DecodingStatus::Ok)
        return std::nullopt;
    return decoded.decoded.toStdString();
}

// The JSON of a link is small and untrusted: refuse deep nesting before
// nlohmann builds a tree of it.
std::optional<nlohmann::json> parseSmallJson(std::string_view text) {
    if (jsontext::nestingDepth(text, 16) > 16)
        return std::nullopt;
    auto parsed = nlohmann::json::parse(text, nullptr, false);
    if (parsed.is_discarded())
        return std::nullopt;
    return parsed;
}

std::optional<SessionLink> fromArrayForm(std::string_view payload) {
    const auto bytes = decodeBase64Url(payload);
    if (!bytes)
        return std::nullopt;
    const auto parsed = parseSmallJson(*bytes);
    if (!parsed || !parsed->is_array() || parsed->size() < 6)
        return std::nullopt;
    const auto& array = *parsed;
    try {
        if (json::asInt(array[0], "version") != linkVersion)
            return std::nullopt;
        if (!array[1].is_string() || !array[2].is_string())
            return std::nullopt;
        auto id = Uuid::parse(array[1].get_ref<const std::string&>());
        if (!id)
            return std::nullopt;
        SessionLink link;
        link.id = *id;
        link.name = array[2].get<std::string>();
        link.fps.timebase = json::asInt(array[3], "timebase");
        link.fps.ntsc = json::asInt(array[4], "ntsc") == 1;
        link.startedAt = json::asDouble(array[5], "startedAt");
        // The optional tail is taken where it has the right type, else left out.
        if (array.size() > 6 && array[6].is_number()) {
            try {
                link.zone = json::asInt(array[6], "zone");
            } catch (const JsonError&) {
                link.zone.reset();
            }
        }
        if (array.size() > 7 && array[7].is_string())
            link.ownerID = array[7].get<std::string>();
        return link;
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

std::optional<SessionLink> fromKeyedForm(std::string_view payload) {
    const auto bytes = decodeBase64Url(payload);
    if (!bytes)
        return std::nullopt;
    const auto parsed = parseSmallJson(*bytes);
    if (!parsed)
        return std::nullopt;
    try {
        return parsed->get<SessionLink>();
    } catch (const JsonError&) {
        return std::nullopt;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

} // namespace

SessionLink SessionLink::from(const SessionDoc& doc) {
    return SessionLink{doc.id, doc.name, doc.fps, doc.startedAt, doc.zone, doc.ownerID};
}

SessionDoc SessionLink::doc() const {
    SessionDoc result;
    result.id = id;
    result.name = name;
    result.fps = fps;
    result.startedAt = startedAt;
    result.zone = zone;
    result.ownerID = ownerID;
    return result;
}

std::string SessionLink::url() const {
    std::string payload;
    try {
        std::string array = "[";
        jsontext::appendInt(array, linkVersion);
        array += ",\"" + id.string() + "\",";
        jsontext::appendString(array, name, "name");
        array += ',';
        jsontext::appendInt(array, fps.timebase);
        array += fps.ntsc ? ",1," : ",0,";
        // std::round rounds halves away from zero.
        jsontext::appendDouble(array, std::round(startedAt * 1000) / 1000, "startedAt");
        array += ',';
        if (zone)
            jsontext::appendInt(array, *zone);
        else
            array += "null";
        array += ',';
        if (ownerID)
            jsontext::appendString(array, *ownerID, "ownerID");
        else
            array += "null";
        array += ']';
        payload = base64UrlWithoutPadding(array);
    } catch (const jsontext::JsonTextError&) {
        // A value JSON can't hold: the link carries an empty payload.
    }
    return std::string(webApp) + "#j=" + payload;
}

std::optional<SessionLink> SessionLink::parse(std::string_view text) {
    if (text.size() > longestPayload)
        return std::nullopt;
    const QUrl url(QString::fromUtf8(text.data(), qsizetype(text.size())));
    if (!url.isValid())
        return std::nullopt;
    const std::string fragment = url.fragment(QUrl::FullyEncoded).toStdString();
    if (fragment.starts_with("j=")) {
        if (auto link = fromArrayForm(std::string_view(fragment).substr(2)))
            return link;
    }
    if (url.scheme() != "korvalume" || url.host() != "join")
        return std::nullopt;
    // The last path component, a trailing slash aside.
    QString path = url.path(QUrl::FullyDecoded);
    while (path.endsWith('/'))
        path.chop(1);
    return fromKeyedForm(path.mid(path.lastIndexOf('/') + 1).toStdString());
}

void to_json(nlohmann::json& out, const SessionLink& link) {
    out = nlohmann::json{{"id", link.id.string()},
                         {"name", link.name},
                         {"fps", link.fps},
                         {"startedAt", link.startedAt}};
    if (link.zone)
        out["zone"] = *link.zone;
    if (link.ownerID)
        out["ownerID"] = *link.ownerID;
}

void from_json(const nlohmann::json& in, SessionLink& link) {
    auto id = Uuid::parse(json::requireString(in, "id"));
    if (!id)
        throw JsonError("\"id\" is not a UUID");
    link.id = *id;
    link.name = json::requireString(in, "name");
    link.fps = json::require(in, "fps").get<FrameRate>();
    link.startedAt = json::requireDouble(in, "startedAt");
    const auto zone = in.find("zone");
    link.zone = zone == in.end() || zone->is_null() ? std::nullopt
                                                    : std::optional(json::asInt(*zone, "zone"));
    const auto owner = in.find("ownerID");
    if (owner == in.end() || owner->is_null()) {
        link.ownerID.reset();
    } else if (owner->is_string()) {
        link.ownerID = owner->get<std::string>();
    } else {
        throw JsonError("\"ownerID\" is not a string");
    }
}

} // namespace korvalume

std::size_t
std::hash<korvalume::SessionLink>::operator()(const korvalume::SessionLink& link) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = std::hash<korvalume::Uuid>{}(link.id);
    for (std::size_t part :
         {std::hash<std::string>{}(link.name), std::hash<korvalume::FrameRate>{}(link.fps),
          std::hash<double>{}(link.startedAt), std::hash<std::optional<std::int64_t>>{}(link.zone),
          std::hash<std::optional<std::string>>{}(link.ownerID)})
        h = hashCombine(h, part);
    return h;
}
