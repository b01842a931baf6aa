#include "media/media_reader.h"
#include "media/movie_meta.h"
#include "support/media_fixtures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

namespace korvalume {
namespace {

using fixtures::Container;

TEST(MovieMeta, NearestKnownRateKeepsTheEarlierOnTies) {
    EXPECT_EQ(MovieMeta::nearestRate(30000.0 / 1001), (FrameRate{30, true}));
    EXPECT_EQ(MovieMeta::nearestRate(59.9), (FrameRate{60, true}));
    EXPECT_EQ(MovieMeta::nearestRate(0), (FrameRate{24, true}));
    // Exactly halfway between two members: the one listed first.
    EXPECT_EQ(MovieMeta::nearestRate(24.5), (FrameRate{24, false}));
    EXPECT_EQ(MovieMeta::nearestRate(40), (FrameRate{30, false}));
}

TEST(MovieMeta, TimecodeTrackFrameNumbers) {
    const auto start = MovieMeta::timecodeFromFrameNumber;
    // Drop-frame skips labels 00 and 01 of minute 1.
    EXPECT_EQ(start(1800, 30, true), (Timecode{0, 1, 0, 2, true}));
    EXPECT_EQ(start(1800, 30, false), (Timecode{0, 1, 0, 0, false}));
    EXPECT_EQ(start(25 * 61, 25, true), (Timecode{0, 1, 1, 0, false})); // no drop-frame at 25
    EXPECT_EQ(start(24 * 3600 * 24 + 5, 24, false), (Timecode{0, 0, 0, 5, false})); // wraps
    EXPECT_FALSE(start(100, 0, false));

    EXPECT_FALSE(MovieMeta::timecodeFromText("-01:00:00:00", FrameRate{25, false}));
    EXPECT_FALSE(MovieMeta::timecodeFromText("garbage", FrameRate{25, false}));
}

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
    for (const Container container : {Container::Mov, Container::Mp4, Container::Mxf}) {
        for (const auto& [rate, written, expected, exact] : cases) {
            const std::string& path =
                fixtures::cachedMovie({.container = container,
                                       .rate = rate,
                                       .timecode = written,
                                       .height = 48,
                                       .creationTime = "2024-05-01T10:00:00Z"});
            SCOPED_TRACE(path);
            const auto clip = MediaReader::read(path);
            ASSERT_TRUE(clip);
            EXPECT_EQ(clip->rate, rate);
            EXPECT_EQ(clip->startTC, expected);
            ASSERT_EQ(clip->startExact.has_value(), exact.has_value());
            if (exact) {
                EXPECT_NEAR(*clip->startExact, *exact, 1e-6);
            }
            // ffmpeg's 1 s at an NTSC rate is a whole number of frames lasting 1.001 s.
            EXPECT_NEAR(clip->duration, std::ceil(rate.fps() - 1e-9) / rate.fps(), 0.002);
            EXPECT_EQ(clip->frames, rate.timebase);
            EXPECT_EQ(clip->width, 64);
            EXPECT_EQ(clip->height, 48);
            EXPECT_EQ(clip->created, 1714557600.0);
        }
    }
}

TEST(MovieMeta, ReportsTheSoundAsItIs) {
    using fixtures::Container;
    const auto read = [](fixtures::MovieSpec spec) {
        const auto clip = MediaReader::read(fixtures::cachedMovie(spec));
        return clip ? std::pair{clip->audioChannels, clip->sampleRate}
                    : std::pair<std::int64_t, std::int64_t>{-1, -1};
    };
    // A silent movie has no channels; the rest count every channel they carry.
    EXPECT_EQ(read({.container = Container::Mov, .withAudio = false}).first, 0);
    EXPECT_EQ(read({.container = Container::Mov,
                    .withAudio = true,
                    .audioChannels = 4,
                    .sampleRate = 44100}),
              (std::pair<std::int64_t, std::int64_t>{4, 44100}));
    EXPECT_EQ(read({.container = Container::Mp4, .withAudio = true, .audioChannels = 2}),
              (std::pair<std::int64_t, std::int64_t>{2, 48000}));
    EXPECT_EQ(read({.container = Container::Mxf, .withAudio = true}).first, 1);
}

TEST(MovieMeta, PictureSizesAsShown) {
    // MPEG-2 stores whole macroblocks: 36 lines are kept as 48, but 36 are shown.
    // MPEG-4 Part 2 in a QuickTime file has its size only in the stream's own headers.
    for (const auto& spec :
         {fixtures::MovieSpec{.container = fixtures::Container::Mxf},
          fixtures::MovieSpec{.container = fixtures::Container::Mov, .videoCodec = "mpeg4"}}) {
        const auto clip = MediaReader::read(fixtures::cachedMovie(spec));
        ASSERT_TRUE(clip);
        EXPECT_EQ(clip->width, 64);
        EXPECT_EQ(clip->height, 36);
    }
}

TEST(MovieMeta, MissingPartsAndUnreadableMovies) {
    // No timecode track and no date: still a record.
    const auto bare = MediaReader::read(fixtures::cachedMovie(
        {.container = Container::M4v, .rate = {30, true}, .timecode = std::nullopt}));
    ASSERT_TRUE(bare);
    EXPECT_FALSE(bare->startTC || bare->created);
    EXPECT_EQ(bare->rate, (FrameRate{30, true}));

    fixtures::TempDir dir;
    fixtures::writeFile(dir.file("empty.mp4"), "");
    fixtures::writeFile(dir.file("text.mov"), std::string(5000, 'x'));
    for (const char* name : {"missing.mov", "empty.mp4", "text.mov"})
        EXPECT_FALSE(MediaReader::read(dir.file(name))) << name;
    // A sound-only movie is not listed.
    EXPECT_FALSE(MediaReader::read(fixtures::cachedMovie(
        {.container = Container::Mov, .withVideo = false, .withAudio = true})));

    // QuickTime cut before its index (ffmpeg writes it last); MXF cut inside its header.
    for (const Container container : {Container::Mov, Container::Mxf}) {
        const std::string cut = dir.file(container == Container::Mov ? "cut.mov" : "cut.mxf");
        std::filesystem::copy_file(fixtures::cachedMovie({.container = container}), cut);
        const auto size = std::filesystem::file_size(cut);
        std::filesystem::resize_file(cut, container == Container::Mov ? size / 2 : 1024);
        EXPECT_FALSE(MediaReader::read(cut)) << cut;
    }
}

TEST(MovieMeta, ReadsHeadersNotMedia) {
    // A movie with sound; reading it costs a small part of the file.
    const std::string& path = fixtures::cachedMovie({.container = Container::Mov,
                                                     .seconds = 4.0,
                                                     .width = 320,
                                                     .height = 240,
                                                     .withAudio = true});
    FileSource file(path);
    CountingSource counted(file);
    const auto clip = MovieMeta::read(counted, path);
    ASSERT_TRUE(clip);
    EXPECT_EQ(clip->width, 320);
    EXPECT_LT(counted.count().bytes * 4, *file.size());
}

} // namespace
} // namespace korvalume
