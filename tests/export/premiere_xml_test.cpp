#include "export/lanes.h"
#include "export/premiere_xml.h"

#include "support/shoot_builder.h"
#include "support/xmeml_reader.h"

#include <QDir>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <random>

namespace korvalume {
namespace {

using namespace testing;
using Ids = std::vector<std::string>;

const FrameRate fps25{25, false};
const FrameRate fps2997{30, true};

// 2024-05-13 09:59:59 UTC, a whole second.
constexpr double origin = 1715594399.0;

Xmeml parsed(const SessionDoc& doc, const std::vector<CameraPlan>& plans) {
    return readXmeml(premierexml::exportDocument(doc, plans)).value_or(Xmeml{});
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
    const auto xml = premierexml::exportDocument(doc, plans);
    const std::string expectedPath = KORVALUME_EXPORT_DATA "/harbour_shoot.xml";
    std::ifstream expected(expectedPath, std::ios::binary);
    if (xml != std::string(std::istreambuf_iterator<char>(expected), {})) {
        const auto actualPath = QDir::tempPath().toStdString() + "/harbour_shoot.actual.xml";
        std::ofstream(actualPath, std::ios::binary) << xml;
        FAIL() << "differs from " << expectedPath << "; written: " << actualPath;
    }
    EXPECT_TRUE(readXmeml(xml));
}

TEST(PremiereXml, AFileUsedTwiceIsDescribedOnceByTheFirstClipThatUsesIt) {
    const auto x = movie("/A/X.MP4", 2.0);
    const auto w = wave("/S/W.WAV", 2.5, 2, 36000.0);
    const auto doc =
        parsed(session("Ids", fps2997, origin),
               {cameraPlan("CAM A", {placedAt(x, origin), placedAt(x, origin + 10)}),
                cameraPlan("SOUND A", {placedAt(w, origin + 1), placedAt(w, origin + 5)})});
    // The reader refuses a second description, or a reference before the description.
    EXPECT_EQ(fileUse(doc.videoTracks.at(0)),
              (Ids{"clipitem-10 file-1 full", "clipitem-20 file-1"}));
    EXPECT_EQ(fileUse(doc.audioTracks.at(2)),
              (Ids{"clipitem-31 file-3 full", "clipitem-41 file-3"}));
    // The WAV's start seconds counted at the sequence rate: 36000 s x 29.97 = 1078921.08
    // frames at base 30, so the label runs behind the clock.
    EXPECT_EQ(doc.files.at("file-3").at("timecode/string"), "09:59:24:01");
}

// The golden document shows the lane tolerance on both sides and the origin's rules.
TEST(PremiereXml, HalfFramesRoundAwayFromZeroAndMarkersBeforeTheOriginAreLeftOut) {
    auto doc = session("Halves", fps25, origin);
    addMarker(doc, origin - 0.01, "Before the origin");
    addMarker(doc, origin + 0.5, "Half a second");
    // 12.5 frames in, 2.5 frames long.
    const auto xml =
        parsed(doc, {cameraPlan("CAM A", {placedAt(movie("/c/C.MP4", 0.1), origin + 0.5)})});
    const auto& clip = xml.videoTracks.at(0).at(0).fields;
    EXPECT_EQ(clip.at("start") + "-" + clip.at("end"), "13-16");
    ASSERT_EQ(xml.markers.size(), 1u);
    EXPECT_EQ(xml.markers[0].at("name") + " " + xml.markers[0].at("in"), "Half a second 13");
}

TEST(FirstFitLanes, AgreesWithAPlainScanOverManyOverlappingClips) {
    std::mt19937_64 random(7);
    std::uniform_int_distribution<std::int64_t> step(0, 40), length(1, 400);
    premierexml::FirstFitLanes lanes;
    std::vector<std::int64_t> ends;
    std::int64_t start = 0;
    for (int i = 0; i < 3000; ++i) {
        start += step(random);
        std::size_t expected = 0;
        while (expected < ends.size() && ends[expected] > start + premierexml::laneTolerance)
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
    EXPECT_TRUE(doc.audioTracks[14].empty());
    EXPECT_FALSE(doc.files.at("file-4").contains("media/audio/channelcount"));
}

TEST(PremiereXml, SequenceTimecodeIsTheOriginsTimeOfDayNonDrop) {
    // Without placed clips the origin is the session's start rounded down to the second,
    // and an unplaced 4K clip does not set the sequence's format.
    const std::vector unplaced{
        cameraPlan("CAM A", {notPlaced(movie("/A/C0001.MP4", 5, fps25, {}, 2, 3840, 2160))})};
    // 29.97 and 59.94 alike count 36000 s x 29.97 at base 30, non-drop.
    for (const auto& [rate, expected] :
         std::vector<std::pair<FrameRate, std::string>>{{fps25, "10:00:00:00 25 FALSE"},
                                                        {fps2997, "09:59:24:01 30 TRUE"},
                                                        {{60, true}, "09:59:24:01 30 TRUE"}}) {
        const auto got = parsed(session("TC", rate, origin + 1.9, 0), unplaced).sequence;
        EXPECT_EQ(got.at("timecode/string") + " " + got.at("timecode/rate/timebase") + " " +
                      got.at("timecode/rate/ntsc"),
                  expected);
        EXPECT_EQ(got.at("duration") + " " +
                      got.at("media/video/format/samplecharacteristics/width"),
                  "1 1920");
    }
}

// Names and paths whose bytes are not UTF-8 go through the whole export in the night shoots.
TEST(PremiereXml, TextXmlCannotHoldIsReplacedAndPathsArePercentEncoded) {
    EXPECT_EQ(premierexml::escapeText("a\x01"
                                      "b\tc\xFF\xC3\xA4\xE2\x82\xAC\xF0\x9F\x8E\xAC"
                                      "\xC0\xAF\xED\xA0\x80\xEF\xBF\xBF\xE2\x82"),
              "a\uFFFDb\tc\uFFFD\u00E4\u20AC\U0001F3AC\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"
              "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(premierexml::pathURL("/Users/zoë/Drehtag Ärger/Ton_№1.wav"),
              "file://localhost/Users/zo%C3%AB/Drehtag%20%C3%84rger/Ton_%E2%84%961.wav");
    // Characters a URL path may hold stay; "%", "#" and "?" would change its meaning, and
    // ";" would start a segment's parameters.
    EXPECT_EQ(premierexml::pathURL("/a/(b),c;d=e@f+g!h'i~j/50%#1?.mov"),
              "file://localhost/a/(b),c%3Bd=e@f+g!h'i~j/50%25%231%3F.mov");
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
    const auto result = premierexml::build(doc, plans);
    EXPECT_EQ(result.leftOut, (std::vector<premierexml::LeftOutClip>{{0, "/c/nowhere.MOV"},
                                                                     {0, "/c/endless.MOV"}}));
    const auto back = readXmeml(result.xml).value_or(Xmeml{});
    EXPECT_TRUE(back.markers.empty());
    // Timecodes that cannot be counted are not written; their clips still are.
    ASSERT_EQ(back.files.size(), 2u);
    for (const auto& [id, fields] : back.files)
        EXPECT_FALSE(fields.contains("timecode/string")) << id;
}

} // namespace
} // namespace korvalume
