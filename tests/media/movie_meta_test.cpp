#include "media/media_reader.h"
#include "media/movie_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace korvalume {
namespace {

using fixtures::Container;

TEST(MovieMeta, TimecodeTracksAtEveryRateInEveryContainer) {
    // Starts away from whole seconds, so a wrong base or drop rule shows. Above 30
    // labels a second the base is halved, as cameras display it, while the exact start
    // keeps the file's own odd frame: frame 49 of 50p is 0.98 s into its second, and
    // 10:01:00;05 at 59.94 drop-frame is frame 2,161,441 (4 labels dropped a minute).
    const std::tuple<FrameRate, std::string, Timecode, std::optional<double>> cases[] = {
        {{24, true}, "01:02:03:04", {1, 2, 3, 4, false}, {}},
        {{25, false}, "10:00:59:24", {10, 0, 59, 24, false}, {}},
        {{30, true}, "10:01:00;02", {10, 1, 0, 2, true}, {}},
        {{50, false}, "10:00:00:49", {10, 0, 0, 24, false}, 36'000.98},
        {{60, true}, "10:01:00;05", {10, 1, 0, 2, true}, 2'161'441 / FrameRate{60, true}.fps()},
    };
    const std::string may1 = "2024-05-01T10:00:00Z";
    for (const Container container : {Container::Mov, Container::Mp4, Container::Mxf}) {
        for (const auto& [rate, written, expected, exact] : cases) {
            const auto clip = mediareader::read(fixtures::cachedMovie(
                {.container = container, .rate = rate, .timecode = written, .creationTime = may1}));
            SCOPED_TRACE(written + " in container " + std::to_string(int(container)));
            ASSERT_TRUE(clip);
            EXPECT_EQ(clip->rate, rate);
            EXPECT_EQ(clip->startTC, expected);
            EXPECT_NEAR(clip->startExact.value_or(-1), exact.value_or(-1), 1e-6);
            // ffmpeg's 1 s at an NTSC rate is a whole number of frames lasting 1.001 s.
            EXPECT_NEAR(clip->duration, std::ceil(rate.fps() - 1e-9) / rate.fps(), 0.002);
            EXPECT_EQ(clip->frames, rate.timebase);
            EXPECT_EQ(clip->created, 1714557600.0);
        }
    }
}

TEST(MovieMeta, SoundAndPictureSizeAsShown) {
    // A silent movie has no channels; the rest count every channel they carry. MPEG-2 (in
    // MXF) stores whole macroblocks: 36 lines are kept as 48, but 36 are shown. MPEG-4 Visual
    // in a QuickTime file has its size only in the stream's own headers.
    using Recipe = fixtures::MovieSpec;
    for (const Recipe& recipe :
         {Recipe{.container = Container::Mov, .videoCodec = "mpeg4"},
          Recipe{.withAudio = true, .audioChannels = 4, .sampleRate = 44100}, // QuickTime
          Recipe{.container = Container::Mp4, .withAudio = true, .audioChannels = 2},
          Recipe{.container = Container::Mxf, .withAudio = true}}) {
        const auto clip = mediareader::read(fixtures::cachedMovie(recipe));
        ASSERT_TRUE(clip);
        EXPECT_EQ(std::tuple(clip->audioChannels, clip->width, clip->height),
                  std::tuple(recipe.withAudio ? recipe.audioChannels : 0, 64, 36));
        if (recipe.withAudio) {
            EXPECT_EQ(clip->sampleRate, recipe.sampleRate);
        }
    }
}

TEST(MovieMeta, MissingPartsAndUnreadableMovies) {
    // No timecode track and no date: still a record.
    const auto bare = mediareader::read(fixtures::cachedMovie(
        {.container = Container::M4v, .rate = {30, true}, .timecode = std::nullopt}));
    ASSERT_TRUE(bare);
    EXPECT_FALSE(bare->startTC || bare->created);

    fixtures::TempDir dir;
    fixtures::writeFile(dir.file("empty.mp4"), "");
    fixtures::writeFile(dir.file("text.mov"), std::string(5000, 'x'));
    for (const char* name : {"missing.mov", "empty.mp4", "text.mov"})
        EXPECT_FALSE(mediareader::read(dir.file(name))) << name;
    // Timecode data no container should hold; a sound-only movie is not listed.
    EXPECT_FALSE(moviemeta::timecodeFromFrameNumber(100, 0, false));
    EXPECT_FALSE(moviemeta::timecodeFromText("-01:00:00:00", FrameRate{25, false}));
    EXPECT_FALSE(mediareader::read(fixtures::cachedMovie({.withVideo = false, .withAudio = true})));

    // QuickTime cut before its index (ffmpeg writes it last); MXF cut inside its header.
    for (const Container container : {Container::Mov, Container::Mxf}) {
        const std::string cut = dir.file(container == Container::Mov ? "cut.mov" : "cut.mxf");
        std::filesystem::copy_file(fixtures::cachedMovie({.container = container}), cut);
        const auto size = std::filesystem::file_size(cut);
        std::filesystem::resize_file(cut, container == Container::Mov ? size / 2 : 1024);
        EXPECT_FALSE(mediareader::read(cut)) << cut;
    }
}

} // namespace
} // namespace korvalume
