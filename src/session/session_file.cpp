#include "session/session_file.h"
#include "session/json_read.h"
#include "session/json_text.h"

#include <bitset>

namespace korvalume {

using jsontext::JsonTextError;

namespace {

// ---- Writing ----
// Keys are written in byte order by hand; a test checks the order against a sort.

void writeCamera(jsontext::Writer& out, const Camera& camera) {
    out.beginObject();
    out.key("address").string(camera.address, "address");
    out.key("id").string(camera.id.string(), "id");
    out.key("kind").string(caseName(camera.kind), "kind");
    out.key("link").string(caseName(camera.link), "link");
    out.key("model").string(camera.model, "model");
    out.key("name").string(camera.name, "name");
    out.key("note").string(camera.note, "note");
    out.key("ownerID").string(camera.ownerID, "ownerID");
    out.key("ownerName").string(camera.ownerName, "ownerName");
    out.key("removed").boolean(camera.removed);
    out.key("updatedAt").number(camera.updatedAt.seconds, "updatedAt");
    out.endObject();
}

void writeEvent(jsontext::Writer& out, const SyncEvent& event) {
    out.beginObject();
    out.key("at").number(event.at.seconds, "at");
    if (event.cameraID)
        out.key("cameraID").string(event.cameraID->string(), "cameraID");
    out.key("id").string(event.id.string(), "id");
    out.key("kind").string(caseName(event.kind), "kind");
    if (event.label)
        out.key("label").string(*event.label, "label");
    if (event.timecode)
        out.key("timecode").string(*event.timecode, "timecode");
    out.endObject();
}

// Each element of a list, with its place named in an error: "events[12]".
template <class Element, class Write>
void writeList(jsontext::Writer& out, std::string_view name, const std::vector<Element>& items,
               Write&& write) {
    out.key(name).beginArray();
    for (std::size_t i = 0; i < items.size(); ++i) {
        out.setPlace(std::string(name) + "[" + std::to_string(i) + "]");
        write(out, items[i]);
    }
    out.setPlace({});
    out.endArray();
}

// ---- Reading ----

using jsonread::Reader;
using jsonread::Value;

// Deeper nesting than this is refused, even inside values nobody reads.
constexpr int maxDepth = 256;

Uuid readUuid(Reader& reader, Value& value, std::string_view what) {
    auto uuid = Uuid::parse(reader.readString(value, what));
    if (!uuid)
        throw JsonTextError("\"" + std::string(what) + "\" is not a UUID");
    return *uuid;
}

template <class Enum, class Parse>
Enum readCase(Reader& reader, Value& value, std::string_view what, Parse&& parse) {
    const std::string_view text = reader.readString(value, what);
    auto parsed = parse(text);
    if (!parsed)
        throw JsonTextError("\"" + std::string(what) + "\" has the unknown value \"" +
                            std::string(text) + "\"");
    return *parsed;
}

[[noreturn]] void missing(std::string_view key) {
    throw JsonTextError("\"" + std::string(key) + "\" is missing");
}

FrameRate readFrameRate(Reader& reader, Value& value) {
    FrameRate rate;
    std::bitset<2> seen;
    reader.readObject(value, "fps", [&](std::string_view key, Value& member) {
        if (key == "timebase") {
            rate.timebase = reader.readInt(member, "fps.timebase");
            seen[0] = true;
        } else if (key == "ntsc") {
            rate.ntsc = reader.readBool(member, "fps.ntsc");
            seen[1] = true;
        } else {
            reader.skipValue(member);
        }
    });
    if (!seen[0])
        missing("fps.timebase");
    if (!seen[1])
        missing("fps.ntsc");
    return rate;
}

// Cameras of older phones carry only id, name and link; every other key has a
// default, and a null counts as absent.
Camera readCamera(Reader& reader, Value& value) {
    Camera camera;
    bool hasID = false;
    bool hasName = false;
    bool hasLink = false;
    const auto readText = [&](std::string& field, Value& member, std::string_view key) {
        if (!reader.skipNull(member))
            field = reader.readString(member, key);
    };
    reader.readObject(value, "camera", [&](std::string_view key, Value& member) {
        if (key == "id") {
            camera.id = readUuid(reader, member, "id");
            hasID = true;
        } else if (key == "name") {
            camera.name = reader.readString(member, "name");
            hasName = true;
        } else if (key == "link") {
            camera.link = readCase<Camera::Link>(reader, member, "link", Camera::parseLink);
            hasLink = true;
        } else if (key == "kind") {
            if (!reader.skipNull(member))
                camera.kind = readCase<Camera::Kind>(reader, member, "kind", Camera::parseKind);
        } else if (key == "model") {
            readText(camera.model, member, "model");
        } else if (key == "address") {
            readText(camera.address, member, "address");
        } else if (key == "ownerID") {
            readText(camera.ownerID, member, "ownerID");
        } else if (key == "ownerName") {
            readText(camera.ownerName, member, "ownerName");
        } else if (key == "note") {
            readText(camera.note, member, "note");
        } else if (key == "removed") {
            if (!reader.skipNull(member))
                camera.removed = reader.readBool(member, "removed");
        } else if (key == "updatedAt") {
            if (!reader.skipNull(member))
                camera.updatedAt = MasterInstant(reader.readDouble(member, "updatedAt"));
        } else {
            reader.skipValue(member);
        }
    });
    if (!hasName)
        missing("name");
    if (!hasLink)
        missing("link");
    if (!hasID)
        missing("id");
    return camera;
}

SyncEvent readEvent(Reader& reader, Value& value) {
    SyncEvent event;
    bool hasID = false;
    bool hasKind = false;
    bool hasAt = false;
    reader.readObject(value, "event", [&](std::string_view key, Value& member) {
        if (key == "id") {
            event.id = readUuid(reader, member, "id");
            hasID = true;
        } else if (key == "kind") {
            event.kind = readCase<SyncEvent::Kind>(reader, member, "kind", SyncEvent::parseKind);
            hasKind = true;
        } else if (key == "at") {
            event.at = MasterInstant(reader.readDouble(member, "at"));
            hasAt = true;
        } else if (key == "cameraID") {
            event.cameraID = reader.skipNull(member)
                                 ? std::nullopt
                                 : std::optional(readUuid(reader, member, "cameraID"));
        } else if (key == "timecode") {
            event.timecode =
                reader.skipNull(member)
                    ? std::nullopt
                    : std::optional(std::string(reader.readString(member, "timecode")));
        } else if (key == "label") {
            event.label = reader.skipNull(member)
                              ? std::nullopt
                              : std::optional(std::string(reader.readString(member, "label")));
        } else {
            reader.skipValue(member);
        }
    });
    if (!hasAt)
        missing("at");
    if (!hasID)
        missing("id");
    if (!hasKind)
        missing("kind");
    return event;
}

template <class Read>
void readElements(Reader& reader, Value& value, std::string_view array, Read&& readOne) {
    reader.readArray(value, array, [&](std::size_t index, Value& element) {
        try {
            readOne(element);
        } catch (const jsonread::JsonSyntaxError&) {
            throw; // the byte offset says where
        } catch (const JsonTextError& error) {
            throw JsonTextError(std::string(array) + "[" + std::to_string(index) +
                                "]: " + error.what());
        }
    });
}

SessionDoc readDoc(Reader& reader) {
    SessionDoc doc;
    std::bitset<6> seen; // cameras, events, fps, id, name, startedAt
    Value root = reader.root(simdjson::ondemand::json_type::object, "session log");
    reader.readObject(root, "session log", [&](std::string_view key, Value& member) {
        if (key == "cameras") {
            doc.cameras.clear();
            readElements(reader, member, "cameras", [&](Value& element) {
                doc.cameras.push_back(readCamera(reader, element));
            });
            seen[0] = true;
        } else if (key == "events") {
            doc.events.clear();
            readElements(reader, member, "events",
                         [&](Value& element) { doc.events.push_back(readEvent(reader, element)); });
            seen[1] = true;
        } else if (key == "fps") {
            doc.fps = readFrameRate(reader, member);
            seen[2] = true;
        } else if (key == "id") {
            doc.id = readUuid(reader, member, "id");
            seen[3] = true;
        } else if (key == "name") {
            doc.name = reader.readString(member, "name");
            seen[4] = true;
        } else if (key == "startedAt") {
            doc.startedAt = MasterInstant(reader.readDouble(member, "startedAt"));
            seen[5] = true;
        } else if (key == "endedAt") {
            doc.endedAt = reader.skipNull(member)
                              ? std::nullopt
                              : std::optional(MasterInstant(reader.readDouble(member, "endedAt")));
        } else if (key == "endedForAll") {
            doc.endedForAll =
                reader.skipNull(member)
                    ? std::nullopt
                    : std::optional(MasterInstant(reader.readDouble(member, "endedForAll")));
        } else if (key == "zone") {
            doc.zone = reader.skipNull(member) ? std::nullopt
                                               : std::optional(reader.readInt(member, "zone"));
        } else if (key == "ownerID") {
            doc.ownerID = reader.skipNull(member)
                              ? std::nullopt
                              : std::optional(std::string(reader.readString(member, "ownerID")));
        } else {
            reader.skipValue(member);
        }
    });
    reader.expectEnd();
    constexpr std::string_view required[] = {"cameras", "events", "fps", "id", "name", "startedAt"};
    for (std::size_t i = 0; i < std::size(required); ++i)
        if (!seen[i])
            missing(required[i]);
    return doc;
}

} // namespace

namespace sessionfile {

Result<std::string> encoded(const SessionDoc& doc) {
    std::string text;
    // Roughly what a typical event or camera takes, to spare reallocations.
    text.reserve(256 + doc.cameras.size() * 240 + doc.events.size() * 140);
    jsontext::Writer out(text);
    out.beginObject();
    writeList(out, "cameras", doc.cameras, writeCamera);
    if (doc.endedAt)
        out.key("endedAt").number(doc.endedAt->seconds, "endedAt");
    if (doc.endedForAll)
        out.key("endedForAll").number(doc.endedForAll->seconds, "endedForAll");
    writeList(out, "events", doc.events, writeEvent);
    out.key("fps").beginObject();
    out.key("ntsc").boolean(doc.fps.ntsc);
    out.key("timebase").integer(doc.fps.timebase);
    out.endObject();
    out.key("id").string(doc.id.string(), "id");
    out.key("name").string(doc.name, "name");
    if (doc.ownerID)
        out.key("ownerID").string(*doc.ownerID, "ownerID");
    out.key("startedAt").number(doc.startedAt.seconds, "startedAt");
    if (doc.zone)
        out.key("zone").integer(*doc.zone);
    out.endObject();
    if (const auto& error = out.error())
        return Result<std::string>::failure(ErrorKind::invalid, *error);
    return text;
}

Result<SessionDoc> decode(std::string_view data) {
    try {
        Reader reader(data, maxDepth);
        return readDoc(reader);
    } catch (const JsonTextError& error) {
        return Result<SessionDoc>::failure(ErrorKind::unreadable, error.what());
    } catch (const std::bad_alloc&) {
        return Result<SessionDoc>::failure(ErrorKind::unreadable,
                                           "not enough memory to read the log");
    } catch (const std::length_error&) {
        return Result<SessionDoc>::failure(ErrorKind::unreadable,
                                           "not enough memory to read the log");
    }
}

} // namespace sessionfile

} // namespace korvalume
