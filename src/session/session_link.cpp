#include "session/session_link.h"

#include "session/json_read.h"
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

using jsonread::Reader;
using jsonread::Value;
using simdjson::ondemand::json_type;

// The JSON of a link is small and untrusted: deep nesting is refused.
constexpr int linkDepth = 16;

// A value of the wrong type: the link does not read, but the rest of its
// text is still checked.
struct WrongValue {};

// Reads a value of `type` with `read`, or skips it whole and throws WrongValue.
template <class Read> auto readTyped(Reader& reader, Value& value, json_type type, Read&& read) {
    if (reader.typeOf(value) != type) {
        reader.skipValue(value);
        throw WrongValue{};
    }
    try {
        return read();
    } catch (const jsonread::JsonSyntaxError&) {
        throw;
    } catch (const jsonread::NumberRangeError&) {
        throw;
    } catch (const jsontext::JsonTextError&) {
        throw WrongValue{}; // a number that is not a whole one
    }
}

std::int64_t readInt(Reader& reader, Value& value) {
    return readTyped(reader, value, json_type::number,
                     [&] { return reader.readInt(value, "int"); });
}

std::string readString(Reader& reader, Value& value) {
    return readTyped(reader, value, json_type::string,
                     [&] { return std::string(reader.readString(value, "string")); });
}

double readDouble(Reader& reader, Value& value) {
    return readTyped(reader, value, json_type::number,
                     [&] { return reader.readDouble(value, "double"); });
}

bool readBool(Reader& reader, Value& value) {
    return readTyped(reader, value, json_type::boolean,
                     [&] { return reader.readBool(value, "bool"); });
}

// The last value of a repeated key counts, good or wrong.
template <class T> struct Latest {
    T value{};
    bool present = false;
    bool wrong = false;

    template <class Read> void take(Read&& read) {
        present = true;
        try {
            value = read();
            wrong = false;
        } catch (const WrongValue&) {
            wrong = true;
        }
    }
    bool good() const { return present && !wrong; }
};

// Reads the payload's JSON whole with `read`; nullopt when any of it is wrong.
template <class Read>
std::optional<SessionLink> readPayload(std::string_view payload, json_type rootType, Read&& read) {
    const auto bytes = decodeBase64Url(payload);
    if (!bytes)
        return std::nullopt;
    try {
        Reader reader(*bytes, linkDepth);
        Value root = reader.root(rootType, "link");
        auto link = read(reader, root);
        reader.expectEnd();
        return link;
    } catch (const WrongValue&) {
        return std::nullopt;
    } catch (const jsontext::JsonTextError&) {
        return std::nullopt;
    }
}

// [2, id, name, timebase, ntsc as 0 or 1, startedAt, zone or null, ownerID or null]
std::optional<SessionLink> fromArrayForm(std::string_view payload) {
    return readPayload(payload, json_type::array,
                       [](Reader& reader, Value& root) -> std::optional<SessionLink> {
                           SessionLink link;
                           std::optional<Uuid> id;
                           std::int64_t version = 0;
                           std::size_t count = 0;
                           reader.readArray(root, "link", [&](std::size_t index, Value& element) {
                               count = index + 1;
                               switch (index) {
                               case 0:
                                   version = readInt(reader, element);
                                   break;
                               case 1:
                                   id = Uuid::parse(readString(reader, element));
                                   break;
                               case 2:
                                   link.name = readString(reader, element);
                                   break;
                               case 3:
                                   link.fps.timebase = readInt(reader, element);
                                   break;
                               case 4:
                                   link.fps.ntsc = readInt(reader, element) == 1;
                                   break;
                               case 5:
                                   link.startedAt = MasterInstant(readDouble(reader, element));
                                   break;
                               // The optional tail is taken where it has the right type, else left
                               // out.
                               case 6:
                                   try {
                                       link.zone = readInt(reader, element);
                                   } catch (const WrongValue&) {
                                       link.zone.reset();
                                   }
                                   break;
                               case 7:
                                   try {
                                       link.ownerID = readString(reader, element);
                                   } catch (const WrongValue&) {
                                       link.ownerID.reset();
                                   }
                                   break;
                               default:
                                   reader.skipValue(element);
                               }
                           });
                           if (count < 6 || version != linkVersion || !id)
                               return std::nullopt;
                           link.id = *id;
                           return link;
                       });
}

// {"id", "name", "fps": {"timebase", "ntsc"}, "startedAt"} and optional "zone"
// and "ownerID", where null counts as absent.
std::optional<SessionLink> fromKeyedForm(std::string_view payload) {
    return readPayload(
        payload, json_type::object, [](Reader& reader, Value& root) -> std::optional<SessionLink> {
            Latest<std::string> id;
            Latest<std::string> name;
            Latest<FrameRate> fps;
            Latest<double> startedAt;
            Latest<std::optional<std::int64_t>> zone;
            Latest<std::optional<std::string>> ownerID;
            const auto orNull = [&](Value& value, auto&& read) {
                return reader.skipNull(value) ? std::nullopt : std::optional(read(reader, value));
            };
            reader.readObject(root, "link", [&](std::string_view key, Value& member) {
                if (key == "id") {
                    id.take([&] { return readString(reader, member); });
                } else if (key == "name") {
                    name.take([&] { return readString(reader, member); });
                } else if (key == "startedAt") {
                    startedAt.take([&] { return readDouble(reader, member); });
                } else if (key == "zone") {
                    zone.take([&] { return orNull(member, readInt); });
                } else if (key == "ownerID") {
                    ownerID.take([&] { return orNull(member, readString); });
                } else if (key == "fps") {
                    fps.take([&] {
                        return readTyped(reader, member, json_type::object, [&] {
                            Latest<std::int64_t> timebase;
                            Latest<bool> ntsc;
                            reader.readObject(
                                member, "fps", [&](std::string_view fpsKey, Value& item) {
                                    if (fpsKey == "timebase")
                                        timebase.take([&] { return readInt(reader, item); });
                                    else if (fpsKey == "ntsc")
                                        ntsc.take([&] { return readBool(reader, item); });
                                    else
                                        reader.skipValue(item);
                                });
                            if (!timebase.good() || !ntsc.good())
                                throw WrongValue{};
                            return FrameRate{timebase.value, ntsc.value};
                        });
                    });
                } else {
                    reader.skipValue(member);
                }
            });
            if (!id.good() || !name.good() || !fps.good() || !startedAt.good() || zone.wrong ||
                ownerID.wrong)
                return std::nullopt;
            const auto uuid = Uuid::parse(id.value);
            if (!uuid)
                return std::nullopt;
            return SessionLink{*uuid,      name.value,   fps.value, MasterInstant(startedAt.value),
                               zone.value, ownerID.value};
        });
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
    std::string array;
    jsontext::Writer out(array);
    out.beginArray();
    out.integer(linkVersion);
    out.string(id.string(), "id");
    out.string(name, "name");
    out.integer(fps.timebase);
    out.integer(fps.ntsc ? 1 : 0);
    // std::round rounds halves away from zero.
    out.number(std::round(startedAt.seconds * 1000) / 1000, "startedAt");
    if (zone)
        out.integer(*zone);
    else
        out.null();
    if (ownerID)
        out.string(*ownerID, "ownerID");
    else
        out.null();
    out.endArray();
    // A value JSON can't hold: the link carries an empty payload.
    const std::string payload = out.error() ? std::string() : base64UrlWithoutPadding(array);
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
                         {"startedAt", link.startedAt.seconds}};
    if (link.zone)
        out["zone"] = *link.zone;
    if (link.ownerID)
        out["ownerID"] = *link.ownerID;
}

} // namespace korvalume

std::size_t
std::hash<korvalume::SessionLink>::operator()(const korvalume::SessionLink& link) const noexcept {
    using korvalume::hashCombine;
    std::size_t h = std::hash<korvalume::Uuid>{}(link.id);
    for (std::size_t part :
         {std::hash<std::string>{}(link.name), std::hash<korvalume::FrameRate>{}(link.fps),
          std::hash<korvalume::MasterInstant>{}(link.startedAt),
          std::hash<std::optional<std::int64_t>>{}(link.zone),
          std::hash<std::optional<std::string>>{}(link.ownerID)})
        h = hashCombine(h, part);
    return h;
}
