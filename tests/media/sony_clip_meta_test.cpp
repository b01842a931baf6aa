#include "media/sony_clip_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

TEST(SonyClipMeta, LtcValuesDecodeFromBinaryCodedDecimal) {
    // Digit pairs read frames, seconds, minutes, hours from left to right.
    EXPECT_EQ(sonyclipmeta::timecode("23595910"), (Timecode{10, 59, 59, 23, false}));
    // Bit 6 of the frames byte flags drop-frame and does not add to the frames.
    EXPECT_EQ(sonyclipmeta::timecode("4a3b2c1d"), (Timecode{23, 32, 41, 10, true}));
    // Tens are masked: 2 bits for hours and frames, 3 for minutes and seconds.
    EXPECT_EQ(sonyclipmeta::timecode("FFFFFFFF"), (Timecode{45, 85, 85, 45, true}));
    for (const char* bad : {"0000001", "000000001", "0000001G", "+0000001", " 0000001", "0x000001"})
        EXPECT_FALSE(sonyclipmeta::timecode(bad)) << bad;
}

TEST(SonyClipMeta, BuildsTheRecordFromARealShapedSidecar) {
    const auto clip = sonyclipmeta::read("/card/C0001.MP4", fixtures::sonySidecarXml({})).value();
    const FrameRate rate{30, true}; // 29.97p, LTC counted at 30
    EXPECT_EQ(std::tuple(clip.frames, clip.duration, clip.rate, clip.startTC, clip.created,
                         clip.model, clip.serial, clip.width, clip.height, clip.audioChannels),
              std::tuple(1250, 1250 / rate.fps(), rate, Timecode{1, 56, 34, 12, false},
                         1714557600.0, "ILME-FX6V", "0123456", 3840, 2160, 4)); // 12:00+02:00
}

TEST(SonyClipMeta, RecordRulesAndDefaults) {
    const auto clip = [](sonyclipmeta::Fields f) { return sonyclipmeta::clipFrom(f, "/C1.MP4"); };
    // The camera's unset serial, zero sizes and channels fall back to defaults.
    const auto unset =
        clip({.durationFrames = 1, .formatFps = "25p", .serial = "4294967295", .height = 720})
            .value();
    EXPECT_EQ(std::tuple(unset.serial, unset.width, unset.height, unset.audioChannels),
              std::tuple("", 1920, 1080, 2));
    // Slow motion is a capture rate that differs from the format rate, as text.
    EXPECT_TRUE(
        clip({.durationFrames = 1, .captureFps = "100p", .formatFps = "25p"}).value().slowMotion);
    EXPECT_FALSE(
        clip({.durationFrames = 1, .captureFps = "", .formatFps = "25p"}).value().slowMotion);
    // A format rate Sony text cannot give falls back to the LTC table's base.
    EXPECT_EQ(clip({.durationFrames = 1, .tcBase = 24, .formatFps = "48p"}).value().rate,
              (FrameRate{24, false}));
    EXPECT_FALSE(clip({.durationFrames = 1, .tcBase = 0, .formatFps = "48p"}));
    // No positive duration, no record; a bad LTC value loses only the start.
    EXPECT_FALSE(clip({.durationFrames = 0, .formatFps = "25p"}));
    const auto badLtc = clip({.durationFrames = 1, .firstLTC = "0000001", .formatFps = "25p"});
    EXPECT_FALSE(badLtc.value().startTC);
}

TEST(SonyClipMeta, ParsesStartElementsOnly) {
    // Only the first LtcChange at frame 0 counts; a bad number keeps the earlier value and a
    // bad date gives none; names compare with case; other elements and end tags play no part.
    const auto fields = sonyclipmeta::parse(
        R"(<NonRealTimeMeta xmlns="urn:schemas-professionalDisc:nonRealTimeMeta:ver.2.00">
  <Duration value="300"/><Duration value="3x0"/><duration value="5"/>
  <LtcChangeTable tcFps="25" halfStep="false">
    <LtcChange frameCount="10" value="11111111"/>
    <LtcChange frameCount="0" value="00000010"/><LtcChange frameCount="0" value="00000020"/>
  </LtcChangeTable>
  <CreationDate value="2024-05-01 12:00"/>
</NonRealTimeMeta>)");
    using Fields = sonyclipmeta::Fields;
    EXPECT_EQ(fields, (Fields{.durationFrames = 300, .tcBase = 25, .firstLTC = "00000010"}));
    for (const char* broken : {"", "<a>", "<a><b></a>", "not xml", "<a x='1' x='2'/>"})
        EXPECT_FALSE(sonyclipmeta::parse(broken)) << broken;
}

} // namespace
} // namespace korvalume
