#include "session/session_file.h"
#include "support/shoot_builder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <random>

using namespace korvalume;
using namespace korvalume::testing;
using enum SyncEvent::Kind;

namespace {

constexpr std::string_view sessionKeys =
    R"("fps":{"ntsc":false,"timebase":25},"id":"3F2A9C1D-0000-4000-8000-00000000BEEF",)"
    R"("name":"SHOOT 15 NOV","startedAt":1700000000)";

std::string encode(const SessionDoc& doc) {
    auto bytes = sessionfile::encoded(doc);
    EXPECT_TRUE(bytes) << bytes.message();
    return bytes ? *bytes : std::string{};
}

SessionDoc decode(std::string_view text) {
    auto doc = sessionfile::decode(text);
    EXPECT_TRUE(doc) << doc.message();
    return doc ? *doc : SessionDoc{};
}

} // namespace

TEST(SessionFile, WritesSortedCompactJsonAndReadsEveryFieldBack) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "CAM A")};
    doc.events = {event(1, marker, 1700000000.5)};
    const std::string expected =
        R"({"cameras":[{"address":"","id":"AB000000-0000-0000-0000-000000000001","kind":"camera",)"
        R"("link":"bluetooth","model":"","name":"CAM A","note":"","ownerID":"","ownerName":"",)"
        R"("removed":false,"updatedAt":0}],"events":[{"at":1700000000.5,)"
        R"("id":"AB000000-0000-0000-0000-0000000F4241","kind":"marker"}],)" +
        std::string(sessionKeys) + "}";
    EXPECT_EQ(encode(doc), expected);
    EXPECT_EQ(decode(expected), doc); // absent optionals stay absent

    doc.endedAt = MasterInstant(1700003600.5);
    doc.endedForAll = MasterInstant(1700003601.25);
    doc.zone = -18000;
    doc.ownerID = "DESK-1";
    doc.cameras = {{uuidNumber(1), Camera::Kind::recorder, "CAM A", "FX6", Camera::Link::wifi,
                    "10.0.0.7", "PHONE-1", "Ana's \"phone\"", "line 1\nline 2\ttab \u00e9", true,
                    MasterInstant(1700000001.5)}};
    doc.events = {
        {uuidNumber(2), uuidNumber(1), tcScan, MasterInstant(1700000010.04), "10:00:00;12", "x"}};
    const std::string bytes = encode(doc);
    // nlohmann's compact dump sorts keys bytewise: equal bytes mean ours are sorted too.
    EXPECT_EQ(bytes, nlohmann::json::parse(bytes).dump());
    EXPECT_EQ(decode(bytes), doc);
}

TEST(SessionFile, DoublesTravelBitForBitInTheirShortestForm) {
    const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    // Plain and exponent forms, their boundary, signed zero, extremes, beyond 2^53.
    std::vector<double> values = {
        1700000000.12345,   1700000000.0,           1e-7, -0.0, 5e-324, 9.999999999999999e20, 1e21,
        9007199254740993.0, -1.7976931348623157e308};
    for (std::mt19937_64 random(20240611); values.size() < 3000;)
        if (const double value = std::bit_cast<double>(random()); std::isfinite(value))
            values.push_back(value);
    SessionDoc doc = session();
    for (std::size_t i = 0; i < values.size(); ++i)
        doc.events.push_back(event(unsigned(i), marker, values[i]));
    const std::string bytes = encode(doc);
    const SessionDoc decoded = decode(bytes);
    ASSERT_EQ(decoded.events.size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(bits(decoded.events[i].at.seconds), bits(values[i])) << values[i];
    for (const char* at : {R"("at":1700000000,)", R"("at":1700000000.12345,)", R"("at":1e-07,)"})
        EXPECT_NE(bytes.find(at), std::string::npos) << at;

    // Too small a magnitude reads as zero, keeping its sign.
    const SessionDoc tiny = decode(R"({"cameras":[],"events":[],"fps":{"ntsc":false,)"
                                   R"("timebase":25},"id":"3F2A9C1D-0000-4000-8000-)"
                                   R"(00000000BEEF","name":"X","startedAt":-1e-400})");
    EXPECT_EQ(bits(tiny.startedAt.seconds), bits(-0.0));
}

TEST(SessionFile, EncodingRefusesWhatJsonCannotHold) {
    SessionDoc doc = session();
    doc.events = {event(1, marker, 1), event(2, marker, std::nan(""))};
    EXPECT_EQ(sessionfile::encoded(doc).message(), R"(events[1]: "at" is not a finite number)");
    doc = session("bad \xC3\x28 text");
    EXPECT_EQ(sessionfile::encoded(doc).message(), R"("name" is not valid UTF-8 text)");
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
    SessionDoc expected = session();
    expected.cameras = {camera(1, "CAM A", Camera::Link::scan), camera(2, "B", Camera::Link::wifi)};
    expected.events = {{uuidNumber(9), std::nullopt, recStart, MasterInstant(3), {}, {}}};
    EXPECT_EQ(decode(text), expected);
}

TEST(SessionFile, RefusesMalformedLogsWithTheReasonEvenInValuesItSkips) {
    const std::string camera =
        R"({"id":"AB000000-0000-0000-0000-000000000001","name":"A","link":"wifi")";
    const std::string event =
        R"({"at":1,"id":"AB000000-0000-0000-0000-000000000002","kind":"marker")";
    const auto log = [](const std::string& cameras, const std::string& events,
                        const std::string& more = "") {
        return R"({"cameras":[)" + cameras + R"(],"events":[)" + events + "]," + more +
               std::string(sessionKeys) + "}";
    };
    const auto unknown = [&](const std::string& value) {
        return log("", "", "\"x\":" + value + ",");
    };
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    // The log itself is one level: 255 more are allowed. A byte order mark is passed over.
    for (const std::string& value : {nested(255), std::string(R"("\ud83d\ude00")"),
                                     std::string("123456789012345678901234567890")})
        EXPECT_TRUE(sessionfile::decode("\xEF\xBB\xBF" + unknown(value))) << value;

    const std::pair<std::string, std::string> cases[] = {
        {"", "malformed JSON at byte 0: unexpected end"},
        {log(camera + "}", event + "}") + " x", "unexpected text after the end"},
        {"[]", "\"session log\" is not an object"},
        {log(R"({"id":"AB000000-0000-0000-0000-000000000001","name":"A"})", ""),
         "cameras[0]: \"link\" is missing"},
        {log(camera + R"(,"link":"usb"})", ""),
         "cameras[0]: \"link\" has the unknown value \"usb\""},
        {log("", event + R"(,"kind":"recPause"})"), "events[0]: \"kind\" has the unknown value"},
        {log(camera + R"(,"removed":0})", ""), "cameras[0]: \"removed\" is not true or false"},
        {log("", event + R"(,"at":1e999})"), "\"at\" is out of the range of a double"},
        {log("", event + "}", R"("zone":9223372036854775808,)"), "does not fit a 64-bit integer"},
        {log("", "", "\"name\":\"\xFF\","), "invalid UTF-8"},
        {unknown("tru"), "unknown literal"},
        {unknown("01"), "bad number"},
        {unknown(R"("\ud800")"), "bad string or escape"},
        {unknown("\"a\x01\""), "control character"},
        {unknown(nested(256)), "nested too deeply"},
    };
    for (const auto& [text, reason] : cases) {
        const auto result = sessionfile::decode(text);
        ASSERT_FALSE(result) << text;
        EXPECT_NE(result.message().find(reason), std::string::npos) << result.message();
    }
}

TEST(SessionDoc, NextCameraNameTakesTheFirstFreeLetter) {
    SessionDoc doc = session();
    doc.cameras = {camera(1, "cam b"), camera(2, "CAM A")}; // compared upper-cased
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM C");
    doc.cameras[1].removed = true; // a removed camera frees its name
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM A");
    doc.cameras[1].removed = false;
    for (char letter = 'C'; letter <= 'Z'; ++letter)
        doc.cameras.push_back(camera(unsigned(letter), std::string("CAM ") + letter));
    doc.cameras.push_back(camera(99, "SOUND A"));
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::camera), "CAM 28"); // 27 active cameras
    EXPECT_EQ(doc.nextCameraName(Camera::Kind::recorder), "SOUND B");
}

TEST(Uuid, ReadsOnlyTheHyphenatedForm) {
    EXPECT_EQ(Uuid::parse("3f2a9c1d-5b6e-4f70-8a9b-0c1d2e3f4a5b").value_or(Uuid{}).string(),
              "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B");
    EXPECT_EQ(Uuid::parse("00000000-0000-0000-0000-000000000000"), Uuid{}); // nil is an id too
    for (const char* text :
         {"", "3F2A9C1D5B6E4F708A9B0C1D2E3F4A5B", "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5",
          "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B0", "3F2A9C1D-5B6E-4F70-8A9B_0C1D2E3F4A5B",
          "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5G", "3F2A9C1-D5B6E-4F70-8A9B-0C1D2E3F4A5B",
          "{3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A5B}", "3F2A9C1D-5B6E-4F70-8A9B-0C1D2E3F4A+B"})
        EXPECT_FALSE(Uuid::parse(text)) << text;
}
