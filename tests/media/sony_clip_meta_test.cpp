#include "media/sony_clip_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

namespace korvalume {
namespace {

std::optional<ClipFile> readSidecar(const fixtures::SonySidecarSpec& recipe) {
    return SonyClipMeta::read("/card/C0001.MP4", fixtures::sonySidecarXml(recipe));
}

TEST(SonyClipMeta, LtcValuesDecodeFromBinaryCodedDecimal) {
    EXPECT_EQ(SonyClipMeta::timecode("00000001"), (Timecode{1, 0, 0, 0, false}));
    // Digit pairs read frames, seconds, minutes, hours from left to right.
    EXPECT_EQ(SonyClipMeta::timecode("23595910"), (Timecode{10, 59, 59, 23, false}));
    // Bit 6 of the frames byte flags drop-frame and does not add to the frames.
    EXPECT_EQ(SonyClipMeta::timecode("55000010"), (Timecode{10, 0, 0, 15, true}));
    EXPECT_EQ(SonyClipMeta::timecode("4a3b2c1d"), (Timecode{23, 32, 41, 10, true}));
    // Tens are masked: 2 bits for hours and frames, 3 for minutes and seconds.
    EXPECT_EQ(SonyClipMeta::timecode("FFFFFFFF"), (Timecode{45, 85, 85, 45, true}));
    for (const char* bad : {"0000001", "000000001", "0000001G", "+0000001", " 0000001", "0x000001"})
        EXPECT_FALSE(SonyClipMeta::timecode(bad)) << bad;
}

TEST(SonyClipMeta, BuildsTheRecordFromARealShapedSidecar) {
    const auto clip = readSidecar({.durationFrames = 1250,
                                   .formatFps = "29.97p",
                                   .captureFps = "29.97p",
                                   .tcFps = "30",
                                   .firstLtc = "12345601",
                                   .creationDate = "2024-05-01T12:00:00+02:00"});
    const FrameRate rate{30, true};
    const ClipFile expected{.path = "/card/C0001.MP4",
                            .duration = 1250 / rate.fps(),
                            .frames = 1250,
                            .rate = rate,
                            .startTC = Timecode{1, 56, 34, 12, false},
                            .created = 1714557600.0, // 10:00 UTC
                            .model = "ILME-FX6V",    // the rest as the fixture writes them
                            .serial = "0123456",
                            .width = 3840,
                            .height = 2160,
                            .audioChannels = 4};
    EXPECT_EQ(clip, expected);
}

TEST(SonyClipMeta, FieldRulesAndDefaults) {
    // The camera's unset serial, zero sizes and channels fall back to defaults.
    const auto unset =
        readSidecar({.serial = "4294967295", .width = 0, .height = 720, .channels = 0});
    ASSERT_TRUE(unset);
    EXPECT_EQ(std::tuple(unset->serial, unset->width, unset->height, unset->audioChannels),
              std::tuple("", 1920, 1080, 2));

    // Slow motion is a capture rate that differs from the format rate, as text.
    EXPECT_TRUE(readSidecar({.formatFps = "25p", .captureFps = "100p"}).value().slowMotion);
    EXPECT_FALSE(readSidecar({.formatFps = "25p", .captureFps = ""}).value().slowMotion);

    // A format rate Sony text cannot give falls back to the LTC table's base.
    EXPECT_EQ(readSidecar({.formatFps = "48p", .tcFps = "24"}).value().rate,
              (FrameRate{24, false}));
    EXPECT_FALSE(readSidecar({.formatFps = "48p", .tcFps = "0"}));
    // No positive duration, no record.
    EXPECT_FALSE(readSidecar({.durationFrames = 0}));

    // A bad LTC value or date loses only that field.
    const auto badValues = readSidecar({.firstLtc = "0000001", .creationDate = "2024-05-01 12:00"});
    ASSERT_TRUE(badValues);
    EXPECT_FALSE(badValues->startTC || badValues->created);
}

TEST(SonyClipMeta, ParsesStartElementsOnly) {
    // Only the first LtcChange at frame 0 counts; bad numbers keep the earlier
    // value; other elements, nesting and end tags play no part.
    const auto fields = SonyClipMeta::parse(
        R"(<NonRealTimeMeta xmlns="urn:schemas-professionalDisc:nonRealTimeMeta:ver.2.00">
  <Duration value="300"/>
  <Duration value="3x0"/>
  <LtcChangeTable tcFps="25" halfStep="false">
    <LtcChange frameCount="10" value="11111111" status="increment"/>
    <LtcChange frameCount="0" value="00000010" status="increment"/>
    <LtcChange frameCount="0" value="00000020" status="increment"/>
  </LtcChangeTable>
  <Wrapper><Device modelName="PXW-FX9" serialNo="77"/></Wrapper>
  <VideoLayout pixel="1920" numOfVerticalLine="bad"/>
  <CreationDate/>
</NonRealTimeMeta>)");
    EXPECT_EQ(fields, (SonyClipMeta::Fields{.durationFrames = 300,
                                            .tcBase = 25,
                                            .firstLTC = "00000010",
                                            .model = "PXW-FX9",
                                            .serial = "77",
                                            .width = 1920}));

    // Element names are compared with case.
    EXPECT_EQ(SonyClipMeta::parse(R"(<a><duration value="5"/></a>)").value().durationFrames, 0);
    for (const char* broken : {"", "<a>", "<a><b></a>", "not xml", "<a x='1' x='2'/>"})
        EXPECT_FALSE(SonyClipMeta::parse(broken)) << broken;
}

TEST(SonyClipMeta, SidecarBesideTheClip) {
    fixtures::TempDir dir;
    const std::string clip = dir.file("C0001.MP4");
    fixtures::writeFile(clip, "");
    EXPECT_FALSE(SonyClipMeta::sidecar(clip));
    const std::string lower = fixtures::writeSonySidecar(clip, {}, "M01.xml");
    EXPECT_EQ(SonyClipMeta::sidecar(clip), lower);
    const std::string upper = fixtures::writeSonySidecar(clip, {}, "M01.XML");
    EXPECT_EQ(SonyClipMeta::sidecar(clip), upper);

    // The base name keeps inner dots: take.2.mov looks for take.2M01.XML.
    const std::string dotted = dir.file("take.2.mov");
    fixtures::writeFile(dotted, "");
    EXPECT_EQ(SonyClipMeta::sidecar(dotted), fixtures::writeSonySidecar(dotted, {}));
}

} // namespace
} // namespace korvalume
