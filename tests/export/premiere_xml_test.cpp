#include "export/lanes.h"
#include "export/premiere_xml.h"

#include "shoot_builder.h"
#include "xmeml_reader.h"

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
using namespace std::string_literals;

const FrameRate fps25{25, false};
const FrameRate fps2997{30, true};
const FrameRate fps5994{60, true};

// 2024-05-13 09:59:59 UTC, a whole second.
constexpr double origin = 1715594399.0;

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

Xmeml parsed(const SessionDoc& doc, const std::vector<CameraPlan>& plans) {
    auto result = readXmeml(PremiereXML::exportDocument(doc, plans));
    return result ? *result : Xmeml{};
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

TEST(PremiereXml, EmptySessionIsAValidDocument) {
    auto doc = session("Empty", fps25, origin + 0.9);
    addMarker(doc, origin + 2.0, "After the start");
    const std::vector<CameraPlan> plans{
        cameraPlan("CAM A", {notPlaced(movie("/A/C0001.MP4", 5, fps25, {}, 2, 3840, 2160))})};
    const auto xml = PremiereXML::exportDocument(doc, plans);
    const auto empty = readXmeml(xml);
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->videoTracks.empty());
    EXPECT_TRUE(empty->audioTracks.empty());
    EXPECT_EQ(empty->sequence.at("duration"), "1");
    EXPECT_EQ(empty->sequence.at("media/video/format/samplecharacteristics/width"), "1920");
    EXPECT_EQ(xml.find("C0001"), std::string::npos);
    // The origin is the session's start rounded down to the second.
    EXPECT_EQ(empty->markers.at(0).at("in"), "50");
}

TEST(PremiereXml, ClipIdsAndFileReferences) {
    const auto x = movie("/A/X.MP4", 2.0);
    const auto w = wave("/S/W.WAV", 1.0, 2, 36000.0);
    const auto doc = parsed(
        session("Ids", fps25, origin),
        {cameraPlan("CAM A", {placedAt(x, origin), placedAt(movie("/A/Y.MP4", 2.0), origin + 5),
                              placedAt(x, origin + 10)}),
         cameraPlan("SOUND A", {placedAt(w, origin), placedAt(w, origin + 5)})});
    ASSERT_EQ(doc.videoTracks.size(), 1u);
    ASSERT_EQ(doc.audioTracks.size(), 4u);
    const auto& video = doc.videoTracks[0];
    EXPECT_EQ(ids(video), (Ids{"clipitem-10", "clipitem-20", "clipitem-30"}));
    // Each file is described once, in full, numbered after the clip that first used it.
    EXPECT_EQ((std::pair{video[0].fileId, video[0].fullFile}), (std::pair{"file-1"s, true}));
    EXPECT_EQ((std::pair{video[1].fileId, video[1].fullFile}), (std::pair{"file-2"s, true}));
    EXPECT_EQ((std::pair{video[2].fileId, video[2].fullFile}), (std::pair{"file-1"s, false}));
    EXPECT_EQ(video[2].links, (Ids{"clipitem-30", "clipitem-31", "clipitem-32"}));
    EXPECT_EQ(ids(doc.audioTracks[0]), (Ids{"clipitem-11", "clipitem-21", "clipitem-31"}));
    EXPECT_EQ(ids(doc.audioTracks[1]), (Ids{"clipitem-12", "clipitem-22", "clipitem-32"}));
    EXPECT_FALSE(doc.audioTracks[0][0].fullFile);
    // The WAV: its first audio item describes it, every other item refers to it.
    const auto& sound = doc.audioTracks[2];
    EXPECT_EQ(ids(sound), (Ids{"clipitem-41", "clipitem-51"}));
    EXPECT_EQ((std::pair{sound[0].fileId, sound[0].fullFile}), (std::pair{"file-4"s, true}));
    EXPECT_EQ((std::pair{sound[1].fileId, sound[1].fullFile}), (std::pair{"file-4"s, false}));
    EXPECT_EQ(doc.audioTracks[3][0].fileId, "file-4");
    EXPECT_EQ(sound[0].links, (Ids{"clipitem-41", "clipitem-42"}));
}

TEST(PremiereXml, LanesShareATrackUpToTwoFramesOfOverlap) {
    // At 25 fps: 1 is [0,25); 2 starts at 23 (overlap 2); 3 at 45, 3 frames before 2 ends.
    const auto doc =
        parsed(session("Lanes", fps25, origin),
               {cameraPlan("CAM A", {placedAt(movie("/c/3.MP4", 1.0), origin + 1.8),
                                     placedAt(movie("/c/1.MP4", 1.0), origin),
                                     placedAt(movie("/c/2.MP4", 1.0), origin + 0.92)})});
    ASSERT_EQ(doc.videoTracks.size(), 2u);
    ASSERT_EQ(doc.videoTracks[0].size(), 2u);
    EXPECT_EQ(doc.videoTracks[0][0].fields.at("name"), "1.MP4");
    EXPECT_EQ(doc.videoTracks[0][1].fields.at("start"), "23");
    EXPECT_EQ(doc.videoTracks[1].at(0).fields.at("start"), "45");
    EXPECT_EQ(doc.audioTracks.size(), 4u);
    EXPECT_EQ(doc.sequence.at("duration"), "70");
}

TEST(FirstFitLanes, AgreesWithAPlainScanOverManyOverlappingClips) {
    std::mt19937_64 random(7);
    std::uniform_int_distribution<std::int64_t> step(0, 40), length(1, 400);
    PremiereXML::FirstFitLanes lanes;
    std::vector<std::int64_t> ends;
    std::int64_t start = 0;
    for (int i = 0; i < 3000; ++i) {
        start += step(random);
        const std::int64_t end = start + length(random);
        std::size_t expected = 0;
        while (expected < ends.size() && ends[expected] > start + PremiereXML::laneTolerance)
            ++expected;
        if (expected == ends.size())
            ends.push_back(end);
        else
            ends[expected] = end;
        ASSERT_EQ(lanes.place(start, end), expected) << "clip " << i;
    }
    EXPECT_GT(ends.size(), 8u); // the tree grew more than once
}

TEST(PremiereXml, ChannelCountsPerLane) {
    const auto doc =
        parsed(session("Channels", fps25, origin),
               {cameraPlan("CAM A", {placedAt(movie("/c/two.MOV", 1, fps25, {}, 2), origin),
                                     placedAt(movie("/c/six.MOV", 1, fps25, {}, 6), origin + 2)}),
                cameraPlan("CAM B", {placedAt(movie("/c/ten.MOV", 1, fps25, {}, 10), origin)}),
                cameraPlan("CAM C", {placedAt(movie("/c/silent.MOV", 1, fps25, {}, 0), origin)})});
    // 6 for CAM A's lane, 10 limited to 8 for CAM B, 1 for the camera without sound.
    ASSERT_EQ(doc.audioTracks.size(), 6u + 8u + 1u);
    EXPECT_EQ(ids(doc.audioTracks[1]), (Ids{"clipitem-12", "clipitem-22"}));
    EXPECT_EQ(ids(doc.audioTracks[5]), (Ids{"clipitem-26"}));
    EXPECT_EQ(doc.audioTracks[5][0].fields.at("sourcetrack/trackindex"), "6");
    EXPECT_EQ(ids(doc.audioTracks[13]), (Ids{"clipitem-38"}));
    EXPECT_EQ(doc.files.at("file-3").at("media/audio/channelcount"), "10");
    EXPECT_EQ(doc.videoTracks[2][0].links, (Ids{"clipitem-40", "clipitem-41"}));
}

TEST(PremiereXml, WaveClipsAndFileTimecodes) {
    const auto doc = parsed(
        session("Sound", fps2997, origin),
        {cameraPlan("SOUND A", {placedAt(wave("/S/T001.WAV", 2.5, 2, 36000.0), origin + 1)}),
         cameraPlan("CAM A",
                    {placedAt(movie("/c/df.MOV", 1, fps2997, Timecode{1, 0, 0, 0, true}), origin),
                     placedAt(movie("/c/50p.MOV", 1, {50, false}, Timecode{10, 0, 0, 10, false}),
                              origin + 2),
                     placedAt(movie("/c/none.MOV", 1), origin + 4)})});
    ASSERT_EQ(doc.audioTracks.size(), 4u);
    const auto& item = doc.audioTracks[0].at(0);
    EXPECT_EQ(item.id, "clipitem-11");
    EXPECT_EQ(ids(doc.audioTracks[1]), (Ids{"clipitem-12"}));
    // 2.5 s at 29.97 is 74.925 frames: 75, also the source length of a file without frames.
    EXPECT_EQ(item.fields.at("start"), "30");
    EXPECT_EQ(item.fields.at("end"), "105");
    EXPECT_EQ(item.fields.at("out"), "75");
    const auto& wav = doc.files.at("file-1");
    EXPECT_EQ(wav.count("media/video/samplecharacteristics/width"), 0u);
    EXPECT_EQ(wav.at("media/audio/samplecharacteristics/depth"), "24");
    // 36000 s x 29.97 = 1078921.08 frames at base 30: the label runs behind the clock.
    EXPECT_EQ(wav.at("timecode/string"), "09:59:24:01");
    EXPECT_EQ(wav.at("timecode/frame"), "1078921");
    EXPECT_EQ(wav.at("timecode/rate/ntsc"), "TRUE");

    EXPECT_EQ(doc.files.at("file-2").at("timecode/frame"), "107892");
    EXPECT_EQ(doc.files.at("file-2").at("timecode/displayformat"), "DF");
    EXPECT_EQ(doc.files.at("file-2").at("media/audio/samplecharacteristics/depth"), "16");
    EXPECT_EQ(doc.files.at("file-3").at("timecode/rate/timebase"), "25");
    EXPECT_EQ(doc.files.at("file-3").at("timecode/frame"), "900010");
    EXPECT_EQ(doc.files.at("file-4").count("timecode/string"), 0u);
    EXPECT_EQ(doc.sequence.at("media/video/format/samplecharacteristics/width"), "1920");
}

TEST(PremiereXml, OriginBeforeTheSessionStartAndMarkers) {
    auto doc = session("Origin", fps25, origin + 5.3);
    addMarker(doc, origin - 0.01, "Before everything");
    addMarker(doc, origin, "At the origin");
    addMarker(doc, origin + 0.5, std::nullopt);
    const auto xml =
        parsed(doc, {cameraPlan("CAM A", {placedAt(movie("/late.MP4", 1), origin + 6),
                                          placedAt(movie("/early.MP4", 0.1), origin + 0.8)})});
    ASSERT_EQ(xml.markers.size(), 2u);
    EXPECT_EQ(xml.markers[0].at("name"), "At the origin");
    EXPECT_EQ(xml.markers[0].at("in"), "0");
    // Halves round away from zero: 12.5 frames is 13, a 2.5-frame clip lasts 3.
    EXPECT_EQ(xml.markers[1].at("name"), "Marker");
    EXPECT_EQ(xml.markers[1].at("in"), "13");
    const auto& track = xml.videoTracks.at(0);
    EXPECT_EQ(track.at(0).fields.at("start"), "20");
    EXPECT_EQ(track.at(0).fields.at("end"), "23");
    EXPECT_EQ(track.at(1).fields.at("start"), "150");
    EXPECT_EQ(xml.sequence.at("timecode/string"), "09:59:59:00");
}

TEST(PremiereXml, SequenceTimecode) {
    const double tenOClock = origin + 1; // UTC
    const auto sequence = [&](FrameRate rate, std::int64_t zone,
                              std::optional<QTimeZone> given = std::nullopt) {
        const auto xml =
            PremiereXML::exportDocument(session("TC", rate, tenOClock, zone), {}, given);
        const auto doc = readXmeml(xml);
        return doc ? doc->sequence : XmlFields{};
    };
    EXPECT_EQ(sequence(fps25, 0).at("timecode/string"), "10:00:00:00");
    EXPECT_EQ(sequence(fps25, 0).at("timecode/frame"), "900000");
    // 36000 s x 29.97 at base 30, non-drop, for 29.97 and 59.94 alike.
    for (const FrameRate rate : {fps2997, fps5994}) {
        const auto fields = sequence(rate, 0);
        EXPECT_EQ(fields.at("timecode/string"), "09:59:24:01") << rate.label();
        EXPECT_EQ(fields.at("timecode/frame"), "1078921") << rate.label();
        EXPECT_EQ(fields.at("timecode/rate/timebase"), "30") << rate.label();
        EXPECT_EQ(fields.at("timecode/rate/ntsc"), "TRUE") << rate.label();
        EXPECT_EQ(fields.at("rate/timebase"), std::to_string(rate.timebase));
    }
    // The session's zone, unless one is given.
    EXPECT_EQ(sequence(fps25, 7200).at("timecode/string"), "12:00:00:00");
    EXPECT_EQ(sequence(fps25, 7200, QTimeZone(-3600)).at("timecode/string"), "09:00:00:00");
}

TEST(PremiereXml, EscapingOfNamesAndLabels) {
    auto doc = session("A&B <1> \"Dock\" 'North'", fps25, origin);
    addMarker(doc, origin + 1, "Cut <here> & \"there\"");
    const std::vector<CameraPlan> plans{
        cameraPlan("CAM A", {placedAt(movie("/c/Rock & \"Roll\" <1>.MOV", 1), origin),
                             placedAt(movie("/c/Broken \xFF\x01.MOV", 1), origin + 2)})};
    const auto xml = PremiereXML::exportDocument(doc, plans);
    EXPECT_NE(xml.find("<name>A&amp;B &lt;1&gt; &quot;Dock&quot; 'North' SYNC MAP</name>"),
              std::string::npos);
    EXPECT_NE(xml.find("<name>Cut &lt;here&gt; &amp; &quot;there&quot;</name>"), std::string::npos);
    EXPECT_EQ(PremiereXML::escapeText("&lt;"), "&amp;lt;");
    // Bytes XML text cannot hold are replaced; the rest is kept.
    EXPECT_EQ(PremiereXML::escapeText("a\x01"
                                      "b\tc\xFF\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xAC"
                                      "\xC0\xAF\xED\xA0\x80\xEF\xBF\xBF\xE2\x82"),
              "a\uFFFDb\tc\uFFFD\u00E4\u20AC\U0001F3AC\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
              "\uFFFD\uFFFD\uFFFD\uFFFD");

    const auto back = readXmeml(xml);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->sequence.at("name"), "A&B <1> \"Dock\" 'North' SYNC MAP");
    EXPECT_EQ(back->markers.at(0).at("name"), "Cut <here> & \"there\"");
    EXPECT_EQ(back->files.at("file-1").at("name"), "Rock & \"Roll\" <1>.MOV");
    EXPECT_EQ(back->files.at("file-1").at("pathurl"),
              "file://localhost/c/Rock%20%26%20%22Roll%22%20%3C1%3E.MOV");
    EXPECT_EQ(back->videoTracks.at(0).at(1).fields.at("name"), "Broken \uFFFD\uFFFD.MOV");
    EXPECT_EQ(back->files.at("file-2").at("pathurl"), "file://localhost/c/Broken%20%FF%01.MOV");
}

TEST(PathUrl, SpacesAndNonAsciiLetters) {
    EXPECT_EQ(PremiereXML::pathURL("/Volumes/CARD 1/PRIVATE/M4ROOT/CLIP/C0001.MP4"),
              "file://localhost/Volumes/CARD%201/PRIVATE/M4ROOT/CLIP/C0001.MP4");
    EXPECT_EQ(PremiereXML::pathURL("/Users/zoë/Drehtag Ärger/Ton_№1.wav"),
              "file://localhost/Users/zo%C3%AB/Drehtag%20%C3%84rger/Ton_%E2%84%961.wav");
    // Characters a URL path may hold stay; "%", "#" and "?" would change its meaning.
    EXPECT_EQ(PremiereXML::pathURL("/a/(b),c;d=e@f+g!h'i~j/50%#1?.mov"),
              "file://localhost/a/(b),c;d=e@f+g!h'i~j/50%25%231%3F.mov");
    const auto relative = PremiereXML::pathURL("Clip 1.mov");
    EXPECT_EQ(relative.rfind("file://localhost/", 0), 0u);
    EXPECT_TRUE(relative.ends_with("/Clip%201.mov")) << relative;
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
    const auto back = readXmeml(result.xml);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->markers.empty());
    // Timecodes that cannot be counted are not written; their clips still are.
    ASSERT_EQ(back->files.size(), 2u);
    EXPECT_EQ(back->files.at("file-1").count("timecode/string"), 0u);
    EXPECT_EQ(back->files.at("file-2").count("timecode/string"), 0u);
}

TEST(SaveSyncMap, WritesTheFileOrSaysWhyNot) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const auto doc = session("SHOOT 15/NOV", fps25, origin);
    EXPECT_EQ(PremiereXML::fileName(doc), "SHOOT 15-NOV SYNC MAP.xml");
    const std::string path = dir.filePath("map.xml").toStdString();
    const auto xml = PremiereXML::exportDocument(doc, {});
    EXPECT_EQ(PremiereXML::save(path, xml), std::nullopt);
    EXPECT_EQ(readText(path), xml);
    const std::string nowhere = dir.filePath("missing/x.xml").toStdString();
    EXPECT_EQ(PremiereXML::save(nowhere, xml)
                  .value_or("")
                  .rfind("Could not save the sync map: " + nowhere + ": ", 0),
              0u);
}

} // namespace
} // namespace korvalume
