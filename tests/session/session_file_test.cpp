#include "session/session_doc.h"
#include "session_builders.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

using namespace korvalume;
using namespace korvalume::testing;
using Kind = SyncEvent::Kind;

namespace {

constexpr std::string_view sessionKeys =
    R"("fps":{"ntsc":false,"timebase":25},"id":"3F2A9C1D-0000-4000-8000-00000000BEEF",)"
    R"("name":"SHOOT 15 NOV","startedAt":1700000000)";

SessionDoc fullDoc() {
    SessionDoc doc = session();
    doc.endedAt = 1700003600.5;
    doc.endedForAll = 1700003601.25;
    doc.zone = -18000;
    doc.ownerID = "DESK-1";
    Camera a = camera(1, "CAM A", Camera::Link::wifi, 1700000001.5);
    a.kind = Camera::Kind::recorder;
    a.model = "FX6";
    a.address = "10.0.0.7";
    a.ownerID = "PHONE-1";
    a.ownerName = "Ana's \"phone\"";
    a.note = "line 1\nline 2\ttab \u00e9";
    a.removed = true;
    doc.cameras = {a, camera(2, "CAM B")};
    SyncEvent scan = event(1, Kind::tcScan, 1700000010.04, 1);
    scan.timecode = "10:00:00;12";
    scan.label = "first";
    SyncEvent marker = event(2, Kind::marker, 1700000020);
    marker.label = "MARK 1";
    doc.events = {scan, marker, event(3, Kind::linkLost, 1700000030, 2)};
    return doc;
}

std::string encode(const SessionDoc& doc) {
    auto bytes = doc.encoded();
    EXPECT_TRUE(bytes) << bytes.error();
    return bytes ? *bytes : std::string{};
}

void expectKeysSortedAndNoNulls(const nlohmann::ordered_json& value, const std::string& where) {
    if (value.is_object()) {
        std::string previous;
        bool first = true;
        for (const auto& [key, member] : value.items()) {
            EXPECT_TRUE(first || previous < key) << where << ": " << previous << " before " << key;
            EXPECT_FALSE(member.is_null()) << where << "." << key << " written as null";
            previous = key;
            first = false;
            expectKeysSortedAndNoNulls(member, where + "." + key);
        }
    } else if (value.is_array()) {
        for (std::size_t i = 0; i < value.size(); ++i)
            expectKeysSortedAndNoNulls(value[i], where + "[" + std::to_string(i) + "]");
    }
}

} // namespace

TEST(SessionFile, WritesCompactJsonWithAbsentOptionalsLeftOut) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A")};
    doc.events = {event(1, Kind::marker, 1700000000.5)};
    const std::string expected =
        R"({"cameras":[{"address":"","id":"AB000000-0000-0000-0000-000000000001","kind":"camera",)"
        R"("link":"bluetooth","model":"","name":"CAM A","note":"","ownerID":"","ownerName":"",)"
        R"("removed":false,"updatedAt":0}],"events":[{"at":1700000000.5,)"
        R"("id":"AB000000-0000-0000-0000-0000000F4241","kind":"marker"}],)" +
        std::string(sessionKeys) + "}";
    EXPECT_EQ(encode(doc), expected);
}

TEST(SessionFile, EveryObjectHasItsKeysInByteOrder) {
    const std::string bytes = encode(fullDoc());
    const auto parsed = nlohmann::ordered_json::parse(bytes);
    expectKeysSortedAndNoNulls(parsed, "doc");
    EXPECT_EQ(parsed["cameras"][0].size(), 11u);
    EXPECT_EQ(parsed["events"][0].size(), 6u);
    EXPECT_EQ(parsed.size(), 10u);
    EXPECT_EQ(bytes.find_first_of("\n\r\t "), bytes.find(' ')); // spaces only inside strings
    EXPECT_EQ(parsed["cameras"][0]["note"], "line 1\nline 2\ttab \u00e9");
    EXPECT_EQ(parsed["cameras"][0]["ownerName"], "Ana's \"phone\"");
}

TEST(SessionFile, ReadsBackEqualAndWritesTheSameBytesAgain) {
    const SessionDoc doc = fullDoc();
    const std::string bytes = encode(doc);
    const auto decoded = SessionDoc::decode(bytes);
    ASSERT_TRUE(decoded) << decoded.error();
    EXPECT_EQ(*decoded, doc);
    EXPECT_EQ(encode(*decoded), bytes);

    // Absent optionals stay absent through a save, never becoming null or a default.
    SessionDoc bare = session();
    bare.events = {event(1, Kind::marker, 5)};
    const auto reread = SessionDoc::decode(encode(bare));
    ASSERT_TRUE(reread);
    EXPECT_FALSE(reread->zone);
    EXPECT_FALSE(reread->endedAt);
    EXPECT_FALSE(reread->ownerID);
    EXPECT_FALSE(reread->events[0].cameraID);
    EXPECT_FALSE(reread->events[0].label);
    EXPECT_EQ(encode(*reread).find("null"), std::string::npos);
}

TEST(SessionFile, DoublesTravelBitForBit) {
    std::vector<double> values = {0.1,
                                  1700000000.12345,
                                  1700000000.0,
                                  -0.0,
                                  5e-324,
                                  2.2250738585072014e-308,
                                  1e-7,
                                  9.999999999999999e-7,
                                  1e-6,
                                  1e21,
                                  9.999999999999999e20,
                                  9007199254740993.0,
                                  18446744073709551616.0,
                                  -1.7976931348623157e308,
                                  123456789.000001};
    std::mt19937_64 random(20240611);
    while (values.size() < 5000) {
        const double value = std::bit_cast<double>(random());
        if (std::isfinite(value))
            values.push_back(value);
    }
    SessionDoc doc = session();
    for (std::size_t i = 0; i < values.size(); ++i)
        doc.events.push_back(event(unsigned(i), Kind::marker, values[i]));
    doc.startedAt = values[1];
    const std::string bytes = encode(doc);
    const auto decoded = SessionDoc::decode(bytes);
    ASSERT_TRUE(decoded) << decoded.error();
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(std::bit_cast<std::uint64_t>(decoded->events[i].at),
                  std::bit_cast<std::uint64_t>(values[i]))
            << "value " << values[i];
    EXPECT_EQ(encode(*decoded), bytes);

    // Too small a magnitude reads as zero, keeping its sign.
    const auto tiny = SessionDoc::decode(
        R"({"cameras":[],"events":[],"fps":{"ntsc":false,"timebase":25},)"
        R"("id":"3F2A9C1D-0000-4000-8000-00000000BEEF","name":"X","startedAt":-1e-400})");
    ASSERT_TRUE(tiny) << tiny.error();
    EXPECT_EQ(std::bit_cast<std::uint64_t>(tiny->startedAt), std::bit_cast<std::uint64_t>(-0.0));

    // The chosen form: shortest digits, plain notation for instants.
    EXPECT_NE(bytes.find(R"("at":1700000000,)"), std::string::npos);
    EXPECT_NE(bytes.find(R"("at":1700000000.12345,)"), std::string::npos);
    EXPECT_NE(bytes.find(R"("at":0.1,)"), std::string::npos);
    EXPECT_NE(bytes.find(R"("at":1e-07,)"), std::string::npos);
}

TEST(SessionFile, EncodingRefusesWhatJsonCannotHold) {
    SessionDoc doc = session();
    doc.events = {event(1, Kind::marker, 1), event(2, Kind::marker, std::nan(""))};
    auto result = doc.encoded();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), R"(events[1]: "at" is not a finite number)");

    doc = session();
    doc.endedAt = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(doc.encoded());

    doc = session("bad \xC3\x28 text");
    result = doc.encoded();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), R"("name" is not valid UTF-8 text)");
}

TEST(SessionFile, OlderCamerasWithOnlyIdNameAndLinkOpen) {
    const std::string text =
        R"({"cameras":[{"id":"ab000000-0000-0000-0000-000000000001","name":"CAM A","link":"scan"},)"
        R"({"id":"AB000000-0000-0000-0000-000000000002","name":"B","link":"wifi","kind":null,)"
        R"("model":null,"removed":null,"updatedAt":null}],)"
        R"("events":[{"at":3,"id":"AB000000-0000-0000-0000-000000000009","kind":"recStart",)"
        R"("cameraID":null,"label":null,"timecode":null,"extra":{"deep":[1,[2,{"x":null}]]}}],)"
        R"("endedAt":null,"zone":null,"ownerID":null,"unknown":[true,false,"\u00e9"],)" +
        std::string(sessionKeys) + "}";
    const auto decoded = SessionDoc::decode(text);
    ASSERT_TRUE(decoded) << decoded.error();
    Camera expected = camera(1, "CAM A", Camera::Link::scan);
    EXPECT_EQ(decoded->cameras[0], expected);
    expected = camera(2, "B", Camera::Link::wifi);
    EXPECT_EQ(decoded->cameras[1], expected);
    const SyncEvent start{uuidNumber(9), std::nullopt, Kind::recStart, 3, {}, {}};
    EXPECT_EQ(decoded->events, std::vector{start});
    EXPECT_FALSE(decoded->zone);
    EXPECT_FALSE(decoded->endedAt);
}

TEST(SessionFile, RefusesMalformedLogsWithTheReason) {
    const std::string camera =
        R"({"id":"AB000000-0000-0000-0000-000000000001","name":"A","link":"wifi")";
    const std::string event =
        R"({"at":1,"id":"AB000000-0000-0000-0000-000000000002","kind":"marker")";
    const auto log = [](const std::string& cameras, const std::string& events,
                        const std::string& more = "") {
        return R"({"cameras":[)" + cameras + R"(],"events":[)" + events + "]," + more +
               std::string(sessionKeys) + "}";
    };
    const struct {
        std::string text;
        std::string reason;
    } cases[] = {
        {"", "malformed JSON at byte 0: unexpected end"},
        {"hello", "malformed JSON at byte 0: unexpected character"},
        {"[]", "\"session log\" is not an object"},
        {log(camera + "}", event + "}") + " x", "unexpected text after the end"},
        {log(camera + "}", event + "}").substr(0, 80), "malformed JSON"},
        {log(camera + "}", event + "},"), "malformed JSON"},
        {R"({"cameras":[],"events":[],"fps":{"ntsc":false,"timebase":25},"id":"3F2A9C1D-0000-4000-8000-00000000BEEF","name":"X"})",
         "\"startedAt\" is missing"},
        {R"({"events":[],"fps":{"ntsc":false,"timebase":25},"id":"3F2A9C1D-0000-4000-8000-00000000BEEF","name":"X","startedAt":0})",
         "\"cameras\" is missing"},
        {log(R"({"id":"AB000000-0000-0000-0000-000000000001","name":"A"})", ""),
         "cameras[0]: \"link\" is missing"},
        {log(R"({"id":"AB000000-0000-0000-0000-000000000001","link":"wifi"})", ""),
         "cameras[0]: \"name\" is missing"},
        {log(R"({"name":"A","link":"wifi"})", ""), "cameras[0]: \"id\" is missing"},
        {log(camera + R"(,"link":"usb"})", ""),
         "cameras[0]: \"link\" has the unknown value \"usb\""},
        {log(camera + R"(,"kind":"drone"})", ""), "\"kind\" has the unknown value \"drone\""},
        {log(camera + R"(,"removed":0})", ""), "cameras[0]: \"removed\" is not true or false"},
        {log(camera + R"(,"updatedAt":"now"})", ""), "\"updatedAt\" is not a number"},
        {log("", event + R"(,"kind":"recPause"})"), "events[0]: \"kind\" has the unknown value"},
        {log("", camera + "}"), "events[0]: \"at\" is missing"},
        {log("", event + R"(,"cameraID":"CAM A"})"), "events[0]: \"cameraID\" is not a UUID"},
        {log("", event + R"(,"at":null})"), "events[0]: \"at\" is not a number"},
        {log("", event + R"(,"at":1e999})"), "\"at\" is out of the range of a double"},
        {log("", event + R"(,"timecode":10})"), "\"timecode\" is not a string"},
        {log("", "", R"("x":[1,{"y":-12e400}],)"), "\"value\" is out of the range of a double"},
        {log("", event + "}", R"("zone":3600.5,)"), "\"zone\" is not a whole 64-bit number"},
        {log("", event + "}", R"("zone":9223372036854775808,)"), "does not fit a 64-bit integer"},
        {log("", "", R"("fps":{"timebase":25},)"), "\"fps.ntsc\" is missing"},
        {log("", "", R"("id":"nope",)"), "\"id\" is not a UUID"},
        {log("", "", R"("name":"\ud800",)"), "lone high surrogate"},
        {log("", "", "\"name\":\"a\x01\","), "control character in a string"},
        {log("", "", "\"name\":\"\xFF\","), "invalid UTF-8"},
        {log("", "", R"("x":01,)"), "malformed JSON"},
        {log("", "", R"("x":[1,],)"), "malformed JSON"},
        {log("", "", "\"x\":" + std::string(100000, '[') + std::string(100000, ']') + ","),
         "nested too deeply"},
        {R"({"cameras":{},"events":[]})", "\"cameras\" is not an array"},
    };
    for (const auto& c : cases) {
        const auto result = SessionDoc::decode(c.text);
        ASSERT_FALSE(result) << c.text;
        EXPECT_NE(result.error().find(c.reason), std::string::npos)
            << "reason: " << result.error() << "\nexpected: " << c.reason;
    }
}

TEST(SessionFile, NextCameraNameTakesTheFirstFreeLetter) {
    SessionDoc doc = session();
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM A");
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::recorder), "SOUND A");

    doc.cameras = {camera(1, "cam b")}; // compared upper-cased
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM A");
    doc.cameras.push_back(camera(2, "CAM A"));
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM C");
    doc.cameras[1].removed = true; // a removed camera frees its name
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM A");

    doc.cameras.clear();
    for (char letter = 'A'; letter <= 'Z'; ++letter)
        doc.cameras.push_back(camera(unsigned(letter), std::string("CAM ") + letter));
    doc.cameras.push_back(camera(99, "SOUND A"));
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM 28"); // 27 active cameras
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::recorder), "SOUND B");
}
