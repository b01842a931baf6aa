#include "export/lanes.h"
#include "export/premiere_xml.h"

#include "shoot_builder.h"
#include "support/xmeml_reader.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <random>
#include <sstream>

namespace korvalume {
namespace {

using namespace testing;
using Ids = std::vector<std::string>;

const FrameRate fps25{25, false};
const FrameRate fps2997{30, true};

// 2024-05-13 09:59:59 UTC, a whole second.
constexpr double origin = 1715594399.0;

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

Xmeml parsed(const SessionDoc& doc, const std::vector<CameraPlan>& plans) {
    return readXmeml(PremiereXML::exportDocument(doc, plans)).value_or(Xmeml{});
}

TEST(PremiereXml, SmallShootMatchesReviewedDocument) {
    // Two cameras (one with overlapping clips, one at 29.97 drop-frame), a sound
    // recorder, an unplaced clip, and markers before, at and after the origin.
    auto doc = session("Harbour Day & <Night>", fps25, origin + 1.4, 3600);
    addMarker(doc, origin - 9, "Early");
    addMarker(doc, origin, "Slate \"1\" & <go>");
    addMarker(doc, origin + 6.2, std::nullopt);
    const auto tc = [](std::int64_t h, std::int64_t m, std::int64_t s, std::int64_t f) {
        return Timecode{h, m, s, f, false};
    };
    const std::vector<CameraPlan> plans{
        cameraPlan(
            "CAM A",
            {placedAt(movie("/Shoot/CAM A/A001.MP4", 10, fps25, tc(10, 59, 59, 17), 4, 3840, 2160),
                      origin + 0.68),
             placedAt(movie("/Shoot/CAM A/A004.MP4", 5, fps25), origin + 40),
             notPlaced(movie("/Shoot/CAM A/A005.MP4", 1, fps25)),
             placedAt(movie("/Shoot/CAM A/A003.MP4", 2, fps25, tc(11, 0, 13, 12)), origin + 14.48),
             placedAt(movie("/Shoot/CAM A/A002.MP4", 4, fps25, tc(11, 0, 9, 15)), origin + 10.6)}),
        cameraPlan("CAM B", {placedAt(movie("/Shoot/CAM B/B&W 001.MOV", 3, fps2997,
                                            Timecode{11, 0, 5, 0, true}, 1),
                                      origin + 6.0)}),
        cameraPlan("SOUND A",
                   {placedAt(wave("/Shoot/SOUND A/ZOOM0001.WAV", 20, 2, 39599.5), origin + 0.5)}),
    };
    const auto xml = PremiereXML::exportDocument(doc, plans);
    const std::string expectedPath = KORVALUME_EXPORT_DATA "/harbour_shoot.xml";
    if (xml != readText(expectedPath)) {
        const auto actualPath = QDir::tempPath().toStdString() + "/harbour_shoot.actual.xml";
        std::ofstream(actualPath, std::ios::binary) << xml;
        FAIL() << "differs from " << expectedPath << "; written: " << actualPath;
    }
    EXPECT_TRUE(readXmeml(xml));
}

TEST(PremiereXml, EachFileIsDescribedOnceByTheFirstClipThatUsesIt) {
    const auto x = movie("/A/X.MP4", 2.0);
    const auto w = wave("/S/W.WAV", 2.5, 2, 36000.0);
    const auto doc = parsed(
        session("Ids", fps2997, origin),
        {cameraPlan("CAM A", {placedAt(x, origin), placedAt(movie("/A/Y.MP4", 2.0), origin + 5),
                              placedAt(x, origin + 10)}),
         cameraPlan("SOUND A", {placedAt(w, origin + 1), placedAt(w, origin + 5)})});
    ASSERT_EQ(doc.videoTracks.size(), 1u);
    ASSERT_EQ(doc.audioTracks.size(), 4u);
    EXPECT_EQ(fileUse(doc.videoTracks[0]),
              (Ids{"clipitem-10 file-1 full", "clipitem-20 file-2 full", "clipitem-30 file-1"}));
    EXPECT_EQ(fileUse(doc.audioTracks[1]),
              (Ids{"clipitem-12 file-1", "clipitem-22 file-2", "clipitem-32 file-1"}));
    EXPECT_EQ(doc.videoTracks[0][2].links, (Ids{"clipitem-30", "clipitem-31", "clipitem-32"}));
    // A WAV has no video item: its first audio item describes it.
    EXPECT_EQ(fileUse(doc.audioTracks[2]), (Ids{"clipitem-41 file-4 full", "clipitem-51 file-4"}));
    EXPECT_EQ(fileUse(doc.audioTracks[3]), (Ids{"clipitem-42 file-4", "clipitem-52 file-4"}));
    EXPECT_EQ(doc.audioTracks[2][0].links, (Ids{"clipitem-41", "clipitem-42"}));
    // 2.5 s at 29.97 is 74.925 frames: 75, also the source length of a file without frames.
    const auto& sound = doc.audioTracks[2][0].fields;
    EXPECT_EQ(sound.at("start") + " " + sound.at("end") + " " + sound.at("out"), "30 105 75");
    const auto& wav = doc.files.at("file-4");
    EXPECT_EQ(wav.count("media/video/samplecharacteristics/width"), 0u);
    EXPECT_EQ(wav.at("media/audio/samplecharacteristics/depth"), "24");
    // Its start seconds counted at the sequence rate: 36000 s x 29.97 = 1078921.08 frames
    // at base 30, so the label runs behind the clock.
    EXPECT_EQ(wav.at("timecode/string"), "09:59:24:01");
    EXPECT_EQ(wav.at("timecode/frame"), "1078921");
    EXPECT_EQ(wav.at("timecode/rate/ntsc"), "TRUE");
}

TEST(PremiereXml, OriginLanesAndMarkers) {
    // The session starts at 5.3 s, the earliest clip at 0.8 s: the origin is 0 s.
    auto doc = session("Lanes", fps25, origin + 5.3);
    addMarker(doc, origin - 0.01, "Before everything");
    addMarker(doc, origin, "At the origin");
    addMarker(doc, origin + 0.5, std::nullopt);
    // In frames: 1 is [20,45); 2 starts at 43 (overlap 2); 3 at 65, 3 frames before 2 ends.
    const auto xml =
        parsed(doc, {cameraPlan("CAM A", {placedAt(movie("/c/3.MP4", 0.1), origin + 2.6),
                                          placedAt(movie("/c/1.MP4", 1), origin + 0.8),
                                          placedAt(movie("/c/2.MP4", 1), origin + 1.72)})});
    const auto spans = [](const std::vector<XmemlItem>& track) {
        Ids out;
        for (const auto& item : track)
            out.push_back(item.fields.at("name") + " " + item.fields.at("start") + "-" +
                          item.fields.at("end"));
        return out;
    };
    ASSERT_EQ(xml.videoTracks.size(), 2u);
    EXPECT_EQ(spans(xml.videoTracks[0]), (Ids{"1.MP4 20-45", "2.MP4 43-68"}));
    // Halves round away from zero: a 2.5-frame clip lasts 3, a marker at 12.5 frames is at 13.
    EXPECT_EQ(spans(xml.videoTracks[1]), (Ids{"3.MP4 65-68"}));
    EXPECT_EQ(xml.sequence.at("duration"), "68");
    ASSERT_EQ(xml.markers.size(), 2u);
    EXPECT_EQ(xml.markers[0],
              (XmlFields{{"name", "At the origin"}, {"comment", ""}, {"in", "0"}, {"out", "-1"}}));
    EXPECT_EQ(xml.markers[1].at("name") + " " + xml.markers[1].at("in"), "Marker 13");
}

TEST(FirstFitLanes, AgreesWithAPlainScanOverManyOverlappingClips) {
    std::mt19937_64 random(7);
    std::uniform_int_distribution<std::int64_t> step(0, 40), length(1, 400);
    PremiereXML::FirstFitLanes lanes;
    std::vector<std::int64_t> ends;
    std::int64_t start = 0;
    for (int i = 0; i < 3000; ++i) {
        start += step(random);
        std::size_t expected = 0;
        while (expected < ends.size() && ends[expected] > start + PremiereXML::laneTolerance)
            ++expected;
        if (expected == ends.size())
            ends.emplace_back();
        ends[expected] = start + length(random);
        ASSERT_EQ(lanes.place(start, ends[expected]), expected) << "clip " << i;
    }
    EXPECT_GT(ends.size(), 8u); // the tree grew more than once
}

TEST(PremiereXml, LaneChannelCountIsTheLargestOfItsClipsFromOneToEight) {
    const auto doc =
        parsed(session("Channels", fps25, origin),
               {cameraPlan("CAM A", {placedAt(movie("/c/two.MOV", 1, fps25, {}, 2), origin),
                                     placedAt(movie("/c/six.MOV", 1, fps25, {}, 6), origin + 2)}),
                cameraPlan("CAM B", {placedAt(movie("/c/ten.MOV", 1, fps25, {}, 10), origin)}),
                cameraPlan("CAM C", {placedAt(movie("/c/silent.MOV", 1, fps25, {}, 0), origin)})});
    // Six tracks for CAM A's lane, ten channels limited to eight, and an empty one for the
    // silent movie, which gets no audio items and describes no sound.
    ASSERT_EQ(doc.audioTracks.size(), 6u + 8u + 1u);
    EXPECT_EQ(fileUse(doc.audioTracks[5]), (Ids{"clipitem-26 file-2"}));
    EXPECT_EQ(fileUse(doc.audioTracks[13]), (Ids{"clipitem-38 file-3"}));
    EXPECT_EQ(doc.files.at("file-3").at("media/audio/channelcount"), "10");
    EXPECT_EQ(doc.videoTracks[2][0].links, (Ids{"clipitem-40"}));
    EXPECT_TRUE(doc.audioTracks[14].empty());
    EXPECT_FALSE(doc.files.at("file-4").contains("media/audio/channelcount"));
}

TEST(PremiereXml, SequenceTimecodeIsTheOriginsTimeOfDayNonDrop) {
    // Without placed clips the origin is the session's start rounded down to the second.
    const double tenOClock = origin + 1; // UTC
    const std::vector unplaced{
        cameraPlan("CAM A", {notPlaced(movie("/A/C0001.MP4", 5, fps25, {}, 2, 3840, 2160))})};
    const auto sequence = [&](FrameRate rate, std::int64_t zone,
                              std::optional<QTimeZone> given = std::nullopt) {
        const auto xml = PremiereXML::exportDocument(session("TC", rate, tenOClock + 0.9, zone),
                                                     unplaced, given);
        return readXmeml(xml).value_or(Xmeml{});
    };
    const auto empty = sequence(fps25, 0);
    EXPECT_TRUE(empty.videoTracks.empty() && empty.audioTracks.empty() && empty.files.empty());
    EXPECT_EQ(empty.sequence.at("duration"), "1");
    EXPECT_EQ(empty.sequence.at("media/video/format/samplecharacteristics/width"), "1920");
    EXPECT_EQ(empty.sequence.at("timecode/frame"), "900000");
    // 36000 s x 29.97 at base 30, non-drop, for 29.97 and 59.94 alike.
    for (const FrameRate rate : {fps2997, FrameRate{60, true}}) {
        const auto fields = sequence(rate, 0).sequence;
        EXPECT_EQ(fields.at("timecode/string"), "09:59:24:01") << rate.label();
        EXPECT_EQ(fields.at("timecode/frame"), "1078921") << rate.label();
        EXPECT_EQ(fields.at("timecode/rate/timebase"), "30") << rate.label();
        EXPECT_EQ(fields.at("timecode/rate/ntsc"), "TRUE") << rate.label();
        EXPECT_EQ(fields.at("rate/timebase"), std::to_string(rate.timebase));
    }
    // The session's zone, unless one is given.
    EXPECT_EQ(sequence(fps25, 7200).sequence.at("timecode/string"), "12:00:00:00");
    EXPECT_EQ(sequence(fps25, 7200, QTimeZone(-3600)).sequence.at("timecode/string"),
              "09:00:00:00");
}

TEST(PremiereXml, EscapingOfNamesAndLabels) {
    auto doc = session("A&B <1> \"Dock\" 'North'", fps25, origin);
    addMarker(doc, origin + 1, "Cut <here> & \"there\"");
    const auto back = parsed(
        doc, {cameraPlan("CAM A", {placedAt(movie("/c/Rock & \"Roll\" <1>.MOV", 1), origin),
                                   placedAt(movie("/c/Broken \xFF\x01.MOV", 1), origin + 2)})});
    EXPECT_EQ(back.sequence.at("name"), "A&B <1> \"Dock\" 'North' SYNC MAP");
    EXPECT_EQ(back.markers.at(0).at("name"), "Cut <here> & \"there\"");
    EXPECT_EQ(back.files.at("file-1").at("name"), "Rock & \"Roll\" <1>.MOV");
    EXPECT_EQ(back.files.at("file-1").at("pathurl"),
              "file://localhost/c/Rock%20%26%20%22Roll%22%20%3C1%3E.MOV");
    // Bytes XML text cannot hold are replaced; the rest is kept.
    EXPECT_EQ(back.videoTracks.at(0).at(1).fields.at("name"), "Broken \uFFFD\uFFFD.MOV");
    EXPECT_EQ(back.files.at("file-2").at("pathurl"), "file://localhost/c/Broken%20%FF%01.MOV");
    EXPECT_EQ(PremiereXML::escapeText("&lt; 'N' \"Q\""), "&amp;lt; 'N' &quot;Q&quot;");
    EXPECT_EQ(PremiereXML::escapeText("a\x01"
                                      "b\tc\xFF\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xAC"
                                      "\xC0\xAF\xED\xA0\x80\xEF\xBF\xBF\xE2\x82"),
              "a\uFFFDb\tc\uFFFD\u00E4\u20AC\U0001F3AC\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
              "\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(PathUrl, SpacesAndNonAsciiLetters) {
    EXPECT_EQ(PremiereXML::pathURL("/Volumes/CARD 1/PRIVATE/M4ROOT/CLIP/C0001.MP4"),
              "file://localhost/Volumes/CARD%201/PRIVATE/M4ROOT/CLIP/C0001.MP4");
    EXPECT_EQ(PremiereXML::pathURL("/Users/zoë/Drehtag Ärger/Ton_№1.wav"),
              "file://localhost/Users/zo%C3%AB/Drehtag%20%C3%84rger/Ton_%E2%84%961.wav");
    // Characters a URL path may hold stay; "%", "#" and "?" would change its meaning, and
    // ";" would start a segment's parameters.
    EXPECT_EQ(PremiereXML::pathURL("/a/(b),c;d=e@f+g!h'i~j/50%#1?.mov"),
              "file://localhost/a/(b),c%3Bd=e@f+g!h'i~j/50%25%231%3F.mov");
    const auto relative = PremiereXML::pathURL("Clip 1.mov");
    EXPECT_TRUE(relative.starts_with("file://localhost/") && relative.ends_with("/Clip%201.mov"))
        << relative;
}

TEST(PremiereXml, AbsurdValuesAreLeftOutNotFatal) {
    auto doc = session("Damaged", fps25, origin);
    addMarker(doc, 1e300, "Far future");
    auto endless = movie("/c/endless.MOV", 1);
    endless.duration = 1e300;
    const std::vector<CameraPlan> plans{cameraPlan(
        "CAM A",
        {placedAt(endless, origin),
         placedAt(movie("/c/nowhere.MOV", 1), std::numeric_limits<double>::infinity()),
         placedAt(movie("/c/tc.MOV", 1, fps25, Timecode{INT64_MAX, 0, 0, 0, false}), origin + 3),
         placedAt(wave("/c/sound.WAV", 1, 2, 1e300), origin + 5)})};
    const auto result = PremiereXML::build(doc, plans);
    EXPECT_EQ(result.leftOut, (std::vector<PremiereXML::LeftOutClip>{{0, "/c/nowhere.MOV"},
                                                                     {0, "/c/endless.MOV"}}));
    const auto back = readXmeml(result.xml).value_or(Xmeml{});
    EXPECT_TRUE(back.markers.empty());
    // Timecodes that cannot be counted are not written; their clips still are.
    ASSERT_EQ(back.files.size(), 2u);
    EXPECT_EQ(back.files.at("file-1").count("timecode/string"), 0u);
    EXPECT_EQ(back.files.at("file-2").count("timecode/string"), 0u);
}

} // namespace
} // namespace korvalume
